// Everything that can be called, and how to call it.
//
// Problem: each promise of the library is proved over all of its functions, so every proof needs to know how
// each is called: its arguments, what is released afterwards. Written once per proof and function that would
// be thousands of lines, and one that is forgotten would be missed by nobody.
//
// Here the list comes from the files that decide what there is (see make_rows.py), and the arguments from the
// C types of the functions: a text in, a record in, a list out. Where their values come from is each proof's
// own: a Source gives them. What is handed out is looked at by whoever listens (Ears), and released.
//
//     for (const Row& row : rows())
//         Attempt{row, source}.run();
//
// An attempt can be made worse at one or two places (Change), and tells what it broke.
#ifndef QUORVEL_TESTS_CALLS_HPP
#define QUORVEL_TESTS_CALLS_HPP

#include <quorvel_client.h>
#include <quorvel_client_proxy.h>

#include <atomic>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace calls {

// ---------------------------------------------------------------------------------------------------------------
// Types

/// A type of record, array or delegate, whatever its C type is.
struct Known {
    const char* name;
    bool is_delegate = false;
    int (*destroy)(void* object) = nullptr;
    void (*to)(rpc_port_parcel_h parcel, void* object) = nullptr;
    // Of records and arrays
    void* (*create)() = nullptr;
    // Of delegates
    void* (*create_delegate)(bool once, void* user_data) = nullptr;
    int (*dispose)(rpc_port_proxy_qv_client_h proxy, void* delegate) = nullptr;
    void (*dispatch)(GList** list, rpc_port_parcel_h parcel, int seq_id, int id) = nullptr;
};

using AnyFunction = void (*)();

enum class Shape {
    number,       // int, unsigned
    flag,         // bool
    text,         // const char*
    texts,        // const char* const*, and the number behind it
    pointer,      // void*: a client, a record or user data, as the place tells
    callback,     // a function of the application's
    callbacks,    // those of a proxy's events
    object,       // a record, an array or a delegate
    objects,      // several records, and the number behind them
    proxy,        // a proxy
    dictionary,   // a bundle
    parcel_list,  // a list of delegates
    out_number,
    out_flag,
    out_text,
    out_texts,  // with the number behind it, like the other lists
    out_numbers,
    out_bytes,
    out_pointer,
    out_pointers,
    out_object,
    out_objects,
    out_proxy,
    out_dictionary,
};

struct Type {
    Shape shape;
    const Known* known = nullptr;
    AnyFunction (*listener)() = nullptr;  // a callback of the type that listens

    bool is_pointer() const { return shape != Shape::number && shape != Shape::flag; }
    bool is_out() const { return shape >= Shape::out_number; }
};

/// The value of an argument.
union Slot {
    long long number;
    void* pointer;
    AnyFunction function;
};

struct Answered {
    enum class Kind { nothing, number, truth, object } kind;
    int number;
    void* object;
};

/// A function.
struct Row {
    enum class Family { public_api, invoke, record, delegate };

    Family family;
    std::string_view name;
    bool takes_client;
    const Known* record;  // what a public function's void* is, where it is one of a record
    std::span<const Type> types;
    Answered (*call)(const Slot* slots);

    /// What a successful call releases its first argument.
    bool consumes() const;
    /// Whether this argument names a property of the record before it.
    bool names_property(std::size_t place) const;
    /// Whether this argument is the length of the list before it.
    bool is_length(std::size_t place) const;
    /// The delegate type that a function of the family of delegates is one of.
    const Known* known_delegate() const;
};

std::span<const Row> rows();
/// Those of the public interface, in the order of its headers.
std::span<const Row> public_rows();
const Row& row_of(std::string_view name);  // one that is not there ends the program
const Known& known_type_named(std::string_view name);
/// What a record says of itself.
const Known& known_type_of(void* record);

// ---------------------------------------------------------------------------------------------------------------
// Calls

/// What the listening callbacks heard, and what they do then; who looks at what they and the calls hand out.
struct Ears {
    std::atomic<int> heard = 0;
    std::function<void()> action;
    std::function<void(const char* text)> on_text;
    std::function<void(const Known& type, void* record)> on_record;
};
Ears& ears();

/// Where the values of a call come from.
class Source {
public:
    Source() = default;
    virtual ~Source() = default;
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    virtual quorvel_client_h client() = 0;
    virtual const char* text() = 0;
    virtual std::vector<const char*> texts() = 0;
    virtual int number_for(const Row& row, std::size_t place) = 0;
    virtual bool flag() = 0;
    virtual bool has_callback() { return true; }
    /// A record for that call. It comes back unless the call releases it.
    virtual void* record(const Known& type, const Row& row) = 0;
    virtual void give_back(const Known& type, void* record) { type.destroy(record); }

    // What only functions of the proxy's take.
    virtual rpc_port_proxy_qv_client_h proxy() { return nullptr; }
    virtual bundle* dictionary() { return nullptr; }
    /// What a callback brings, and what a registration sends.
    virtual rpc_port_parcel_h parameters_of(const Known&) { return nullptr; }
    virtual rpc_port_parcel_h written(const Known&) { return nullptr; }
};

/// One argument that is not as it should be.
struct Change {
    std::size_t place;
    enum class To { null, number, text } to = To::null;
    long long number = 0;
    const char* text = nullptr;
};

class Attempt {
public:
    /// Prepares the arguments.
    Attempt(const Row& row, Source& source, std::span<const Change> changes = {});
    ~Attempt();
    Attempt(const Attempt&) = delete;
    Attempt& operator=(const Attempt&) = delete;

    /// Calls the function. Afterwards, outside of what may fail, `settle` looks at what came back and
    /// releases it.
    void call();
    void settle();
    void run()
    {
        call();
        settle();
    }

    int code() const { return code_; }
    bool succeeded() const { return succeeded_; }
    /// What was wrong with what came back; empty if nothing was.
    const std::string& complaint() const { return complaint_; }
    /// A client that was handed out; whoever asks takes it over.
    quorvel_client_h take_client() { return std::exchange(made_client_, nullptr); }

private:
    struct Place;

    void prepare(std::size_t place);
    void settle(std::size_t place);
    int number_behind(std::size_t place) const;

    const Row& row_;
    Source& source_;
    rpc_port_proxy_qv_client_h proxy_;
    std::vector<Place> places_;
    std::vector<Slot> slots_;
    int code_ = 0;
    bool succeeded_ = false;
    quorvel_client_h made_client_ = nullptr;
    std::string complaint_;
};

}  // namespace calls

#endif
