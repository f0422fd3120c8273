// Everything that can be called, and how to call it well.
//
// Problem: each promise of the library is proved over all of its functions, so every proof needs to know how
// each is called: its arguments, what the agent answers, what is released afterwards. Written once per proof
// and function that would be thousands of lines, and one that is forgotten would be missed by nobody.
//
// Here the list comes from the files that decide what there is (see make_rows.py), and the arguments from the
// C types of the functions: a text in, a record in, a list out. What the types do not tell (which record,
// which property) stands in one small table. An agent that knows the interface's catalogue answers every
// request well.
//
//     for (const Row& row : rows())
//         Attempt{row, client}.run();
//
// An attempt can be made worse at one or two places (Change), tells what it broke, and releases what it was
// given.
#ifndef QUORVEL_TESTS_TORTURE_CALLS_HPP
#define QUORVEL_TESTS_TORTURE_CALLS_HPP

#include <quorvel_client.h>
#include <quorvel_client_proxy.h>

#include <atomic>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/catalogue.hpp"
#include "scripted.hpp"

namespace torture {

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
    std::span<const Type> types;
    Answered (*call)(const Slot* slots);

    /// What a successful call releases its first argument.
    bool consumes() const;
    /// The delegate type that a function of the family of delegates is one of.
    const Known* known_delegate() const;
};

std::span<const Row> rows();
const Row& row_of(std::string_view name);  // one that is not there ends the program
const Known& known_type_named(std::string_view name);

// ---------------------------------------------------------------------------------------------------------------
// The agent

/// The description's catalogue.
const quorvel::catalogue::Interface& description();
/// A good value of a type: what an agent would send.
scripted::Values sample(const quorvel::catalogue::Type& type, std::string_view name);
scripted::Values sample(std::span<const quorvel::catalogue::Parameter> parameters);
/// From now on the agent answers all that it is asked, and well.
void answer_everything();
/// The same, but each answer says that it is refused: with the values that a good one has.
void refuse_everything();
scripted::Values good_answer(const scripted::Sent& request);

/// The delegate that came with a request.
struct SentDelegate {
    int id = 0;
    int seq_id = 0;
    bool once = false;
};
/// Those of all requests that brought one, in their order.
std::vector<SentDelegate> sent_delegates();
/// Its callback, with good parameters.
void fire(const SentDelegate& delegate);

// ---------------------------------------------------------------------------------------------------------------
// Calls

/// What the listening callbacks heard, and what they do then.
struct Ears {
    std::atomic<int> heard = 0;
    std::function<void()> action;
};
Ears& ears();

/// One argument that is not as it should be.
struct Change {
    std::size_t place;
    enum class To { null, number, text } to = To::null;
    long long number = 0;
    const char* text = nullptr;
};

class Attempt {
public:
    /// Prepares good arguments. Without a client, a function that wants one gets NULL.
    Attempt(const Row& row, quorvel_client_h client, std::span<const Change> changes = {});
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
    quorvel_client_h client_;
    rpc_port_proxy_qv_client_h proxy_;
    std::vector<Place> places_;
    std::vector<Slot> slots_;
    int code_ = 0;
    bool succeeded_ = false;
    quorvel_client_h made_client_ = nullptr;
    std::string complaint_;
};

/// Codes that the headers tell of, and those that some functions pass on as they come.
bool is_documented(int code);

/// Connects a client: the agent is installed and answers everything.
quorvel_client_h connect();
/// The record at the beginning of a client shows its proxy.
rpc_port_proxy_qv_client_h proxy_of(quorvel_client_h client);
/// Whether a call that always worked still does.
bool ordinary_call_works(quorvel_client_h client);

}  // namespace torture

#endif
