#pragma once

#include <cstdint>
#include <span>
#include <string_view>

/// What there is on an interface: names and types of everything by number, for tracing, for tools and for
/// tests.
///
/// All of it is constant data, made by the generator; nothing here is allocated or freed.
namespace quorvel::catalogue {

/// How a value crosses the port.
enum class Kind : std::uint8_t {
    text,
    number,
    long_number,
    flag,
    bundle,
    text_list,
    record,
    array,
    delegate
};

struct Record;
struct Array;
struct Delegate;

/// A type. The pointer that its kind calls for is set, the others are not.
struct Type {
    Kind kind;
    std::string_view name;  ///< as the description writes it: "string", "device_s"
    const Record* record = nullptr;
    const Array* array = nullptr;
    const Delegate* delegate = nullptr;
};

struct Field {
    std::string_view name;
    Type type;
};

struct Record {
    std::string_view name;
    std::span<const Field> fields;  ///< in the order in which they cross the port
    std::string_view doc;
};

struct Array {
    std::string_view name;
    Type element;
    std::string_view doc;
};

struct Parameter {
    std::string_view name;
    Type type;
    bool is_secret;  ///< never to be logged or shown
};

/// A callback: after int32 1 it carries its number, its sequence number, a flag, and these parameters.
struct Delegate {
    int id;
    std::string_view name;
    std::span<const Parameter> parameters;
    bool is_once;  ///< the library makes it for one call only
    std::string_view doc;
};

/// A method: a request carries its number and `ins`; the answer int32 0, `outs` and a return value.
struct Method {
    int id;
    std::string_view name;
    std::string_view family;
    std::span<const Parameter> ins;
    std::span<const Parameter> outs;
    Kind returns;                             ///< number or flag
    bool is_secret;                           ///< one of its values is, or one that its delegate brings
    std::span<const std::string_view> users;  ///< the public functions that call it
    std::string_view doc;
};

struct Interface {
    std::string_view name;
    std::span<const Record> records;
    std::span<const Array> arrays;
    std::span<const Delegate> delegates;  ///< sorted by number
    std::span<const Method> methods;      ///< sorted by number

    /// nullptr when there is none.
    const Method* method(int id) const noexcept;
    const Method* method(std::string_view name) const noexcept;
    const Delegate* delegate(int id) const noexcept;
    const Delegate* delegate(std::string_view name) const noexcept;
    const Record* record(std::string_view name) const noexcept;
    const Array* array(std::string_view name) const noexcept;
};

}  // namespace quorvel::catalogue
