// What there is to know of the public functions, read from the headers when this is built: so that a command
// is a row, and no function can be forgotten.
#pragma once

#include <span>
#include <string_view>

namespace quorvel::cli {

enum class Kind {
    client,        // quorvel_client_h
    client_out,    // quorvel_client_h*
    text,          // const char*
    texts,         // const char* const*, int
    integer,       // int, unsigned int
    long_integer,  // long long
    boolean,       // bool
    record,        // X_h, made from its properties
    records,       // X_h*, int: only callbacks get these
    owned_texts,   // char**, int: only callbacks get these
    callback,      // X_cb
    user_data,     // void*
    out_text,      // char**
    out_texts,     // char***, int*
    out_integer,   // int*
    out_boolean,   // bool*
    out_record,    // X_h*
    out_records,   // X_h**, int*
    none           // a parameter that only accessors and destroyers have
};

struct Enumerator {
    std::string_view constant;
    std::string_view name;  // what users read and type
    int value;
    std::string_view help;
};

struct Enumeration {
    std::string_view name;
    std::span<const Enumerator> values;
};

enum class PropertyKind { unknown, text, texts, integer, integers, boolean };

struct Property {
    std::string_view name;
    std::string_view constant;
    int id;
    PropertyKind kind;
};

// The accessors of a kind of record; null where it has none.
struct Record {
    std::string_view name;
    std::span<const Property> properties;
    int (*get_text)(void*, int, char**);
    int (*get_texts)(void*, int, char***, int*);
    int (*get_integer)(void*, int, int*);
    int (*get_integers)(void*, int, int**, int*);
    int (*get_boolean)(void*, int, bool*);
    int (*create)(void**);
    int (*set_text)(void*, int, const char*);
    int (*set_texts)(void*, int, const char* const*, int);
    int (*destroy)(void*);
    std::string_view create_name;
    std::string_view set_text_name;
    std::string_view destroy_name;
};

struct Callback;

struct Parameter {
    std::string_view name;
    std::string_view type;
    std::string_view help;
    Kind kind;
    const Record* record;
    const Callback* callback;
    const Enumeration* enumeration;
};

struct Callback {
    std::string_view name;
    std::span<const Parameter> parameters;
};

enum class Role { call, accessor, destroyer };

struct Function {
    std::string_view name;
    std::string_view header;
    std::string_view help;
    std::string_view agent;  // the oldest agent that it works with, or "any"
    std::string_view signature;
    std::span<const Parameter> parameters;
    Role role;
    void (*address)();
};

std::span<const Function> functions();
std::span<const Enumeration> enumerations();
std::span<const Record> records();

const Function* find_function(std::string_view name);
const Enumeration* find_enumeration(std::string_view name);

}  // namespace quorvel::cli
