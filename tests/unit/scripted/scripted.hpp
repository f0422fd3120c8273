// The platform, scripted.
//
// Problem: the library talks to an agent through the platform's C functions. A test of one function needs
// an agent that says exactly one thing, a look at exactly what was sent, and faults that come when the
// test wants them. Sockets, a second process and a main loop only stand in the way.
//
// This library implements every function of the platform's headers in memory and in one process. There are
// no threads of its own, so nothing happens unless the test says so; everything may be used from several
// threads. A parcel is a list of typed values, so a test says what it means and a failure prints it:
//
//     agent().answer_next_with(0, {text("lamp")});
//     ...
//     EXPECT_EQ(agent().request(), (Sent{i32(58), texts({"lamp", "fan"}), i32(2), delegate(22, 1, true)}));
//     EXPECT_THAT(log(), HasLine(qc_error("quorvel_client_device", "quorvel_client_move_devices", "...")));
//
// What the library may rely on is what platform/include/*.h tells: a read that fails leaves numbers as they
// were, gives an allocated empty string and no bundle, and fails every later read of that parcel; reading a
// value as another type is such a failure.
#ifndef QUORVEL_TESTS_SCRIPTED_HPP
#define QUORVEL_TESTS_SCRIPTED_HPP

#include <chrono>
#include <compare>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "bundle.h"
#include "dlog.h"
#include "package_info.h"
#include "platform_error.h"
#include "rpc-port.h"

namespace scripted {

// ---------------------------------------------------------------------------------------------------------
// Values: what a parcel holds

using Bytes = std::vector<unsigned char>;
using Strings = std::vector<std::string>;
using BundleItem = std::variant<std::string, Strings, Bytes>;
using BundleItems = std::map<std::string, BundleItem>;

struct Int32 {
    int value;
    auto operator<=>(const Int32&) const = default;
};
struct Int64 {
    long long value;
    auto operator<=>(const Int64&) const = default;
};
struct Flag {
    bool value;
    auto operator<=>(const Flag&) const = default;
};
// An absent text or bundle is one that was given to the platform as NULL: it reads as an empty one, but a
// test can see that it was never there.
struct Text {
    std::optional<std::string> value;
    bool operator==(const Text&) const = default;
};
struct Dictionary {
    std::optional<BundleItems> items;
    bool operator==(const Dictionary&) const = default;
};
// The count in front of a list. One that announces more than the parcel holds is refused like on a socket;
// unless it is trusted: then it is handed to the reader as it is.
struct Count {
    int value;
    bool trusted = false;
    bool operator==(const Count& other) const { return value == other.value; }
};

using Value = std::variant<Int32, Int64, Flag, Text, Dictionary, Count>;

Value i32(int value);
Value i64(long long value);
Value flag(bool value);
Value text(std::string value);
Value no_text();
Value bundle_of(BundleItems items);  // bundle_of({{"name", "lamp"}, {"modes", Strings{"a", "b"}}})
Value no_bundle();
Value count(int value);
Value trusted_count(int value);

std::ostream& operator<<(std::ostream& out, const Value& value);

// The values of one parcel. Pieces that are lists themselves are laid flat, as they are on the wire.
class Values {
public:
    struct Piece {
        Piece(Value value);  // a piece is written as what it is
        Piece(const Values& values);
        std::vector<Value> values;
    };

    using value_type = Value;
    using const_iterator = std::vector<Value>::const_iterator;

    Values() = default;
    Values(std::initializer_list<Piece> pieces);

    void add(const Values& more);
    void add(Value value) { values_.push_back(std::move(value)); }
    Values first(std::size_t how_many) const;  // a parcel that was cut short
    std::size_t size() const { return values_.size(); }
    bool empty() const { return values_.empty(); }
    const Value& operator[](std::size_t index) const { return values_.at(index); }
    const_iterator begin() const { return values_.begin(); }
    const_iterator end() const { return values_.end(); }

    // Shorthands for programmable agents; a value of another type fails the test with an exception.
    int number(std::size_t index) const { return std::get<Int32>(values_.at(index)).value; }
    std::string string(std::size_t index) const
    {
        return std::get<Text>(values_.at(index)).value.value_or("");
    }

    bool operator==(const Values&) const = default;

private:
    std::vector<Value> values_;
};

std::ostream& operator<<(std::ostream& out, const Values& values);

using Sent = Values;

Values texts(const Strings& strings);                // count, then every string
Values delegate(int id, int seq_id, bool once);      // a delegate as a parameter of a request
Values result(int status, const Values& outs = {});  // 0, the out values, the return value
Values callback(int id, int seq_id, bool once, const Values& parameters = {});  // 1, id, number, once, ...

// ---------------------------------------------------------------------------------------------------------
// The agent at the other end

class Agent {
public:
    // Is the agent installed? Not before a test (or its fixture) says so.
    void install(std::string_view version);
    void uninstall();
    void package_error(int code);       // the package service fails with this code instead of answering
    void package_version_unreadable();  // the package is there, its version is not

    // What it answers. Each of these scripts the answer to one request, in the order of the requests.
    void answer_next_with(int status, const Values& outs = {});
    void answer_next_raw(const Values& parcel);                    // whatever it is
    void answer_next_parcels(const std::vector<Values>& parcels);  // several, one after the other
    void no_answer_next();
    // Where the script is at its end: this, and without it no answer at all.
    void otherwise_answer(int status, const Values& outs = {});
    void forget_script();
    // Asked before the script: the whole parcel to answer with, or nothing, and then the script decides.
    // It runs inside the send, with no lock held: it may call the library again.
    using Program = std::function<std::optional<Values>(const Sent&)>;
    void on_request(Program program);

    // A parcel on the main port at once, not asked for (before the request, late, or from another thread).
    void deliver(const Values& parcel);
    // A read of the main port finds no parcel and gives up at once, unless reads may wait.
    void let_reads_wait(std::chrono::milliseconds at_most);
    void fail_next_send(int code);  // the request does not arrive: it is among unsent()

    // What it was asked.
    Sent request() const;                // the last one; empty if there was none
    std::vector<Sent> requests() const;  // all, in order
    std::vector<Sent> requests_to(int method) const;
    std::vector<Sent> unsent() const;
    void forget_requests();

    // Port events, on the calling thread, for the newest connection that was asked for.
    void connect();
    void reject();
    void disconnect();
    void break_connection();  // closed, but the event is not delivered yet
    bool is_connected() const;
    int connections_asked_for() const;
    std::string connected_to_app() const;  // what the library named when it connected
    std::string connected_to_port() const;

    // Callbacks. fire… delivers at once, on the calling thread; post… leaves it to run_events(), like an
    // event that waits for the main loop, and may be called from inside a request.
    void fire(int id, int seq_id, bool once = false, const Values& parameters = {});
    void fire_raw(const Values& parcel);
    void post(int id, int seq_id, bool once = false, const Values& parameters = {});
    void post_raw(const Values& parcel);
    int run_events();             // how many were delivered
    void raise_received_event();  // although there is no parcel
};

Agent& agent();

// ---------------------------------------------------------------------------------------------------------
// Failures of the platform itself

struct Platform {
    // The n-th use of a platform function from now on (1 is the next) fails: with this code, or with NULL
    // where a pointer is returned.
    void fail(std::string_view function, int nth = 1, int code = -12);
    void fail_from(std::string_view function, int nth = 1, int code = -12);  // and all that follow
    void fail_no_more();
    // Strings are read without a failure, but NULL is what comes of them, as on a platform that knows absent
    // ones. One that is borrowed is an empty one.
    void read_strings_as_null();
    int uses(std::string_view function) const;   // since the start of the test
    std::vector<std::string> functions() const;  // the names of all that can fail
};

Platform& platform();

// Wrong uses seen so far: a handle that is not alive, a parcel on a port that takes none. The fixtures
// assert that there are none.
Strings misuses();

struct Live {
    int parcels = 0;
    int bundles = 0;
    int ports = 0;
    int package_infos = 0;
    bool operator==(const Live&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Live& live);
Live live();

// Everything as at the start of a process, but for what is still alive.
void reset();

// The strings of a bundle, as a test writes them.
BundleItems contents(bundle* b);
bundle* make_bundle(const BundleItems& items);  // to be freed with bundle_free
// A parcel outside any port, for what reads or writes one by itself; to be destroyed like any other.
rpc_port_parcel_h make_parcel(const Values& values);
Values contents(rpc_port_parcel_h parcel);  // all that was written, also what was read already
int unread(rpc_port_parcel_h parcel);       // how many values are left
bool has_failed(rpc_port_parcel_h parcel);  // a read failed

// ---------------------------------------------------------------------------------------------------------
// The client at the other end, for tests of the agent's side

class Client {
public:
    explicit Client(std::string sender = "org.example.app");
    void connect();
    void disconnect();
    // One request; the received event runs on the calling thread. What the event returned (0, or -1).
    int call(const Values& request);
    std::vector<Values> answers() const;    // everything sent to its main port
    std::vector<Values> callbacks() const;  // everything sent to its callback port
    const std::string& instance() const { return instance_; }

private:
    std::string sender_;
    std::string instance_;
};

// ---------------------------------------------------------------------------------------------------------
// The log

// Lines are equal when level, tag, source, function and text are; the number of the line is no one's
// business.
struct LogLine {
    int priority = 0;
    std::string tag;
    std::string source;  // the stem that the line names
    std::string function;
    std::string text;    // what follows the prefix
    std::string format;  // as the library passed it
    std::string whole;   // as it is printed
    int line = 0;

    bool operator==(const LogLine& other) const
    {
        return priority == other.priority && tag == other.tag && source == other.source
               && function == other.function && text == other.text;
    }
};
std::ostream& operator<<(std::ostream& out, const LogLine& line);

std::vector<LogLine> log();                 // all so far
std::vector<LogLine> log_at(int priority);  // those of one level, e.g. DLOG_ERROR
std::vector<LogLine> errors();              // log_at(DLOG_ERROR)
std::vector<LogLine> log_of(std::string_view tag);
void clear_log();
void keep_log(bool keep);  // long runs need no log

inline constexpr const char* public_tag = "QC_API";
inline constexpr const char* proxy_tag = "RPC_PORT_PROXY";

// Lines as they are expected.
LogLine qc_error(std::string source, std::string function, std::string text);
LogLine qc_info(std::string source, std::string function, std::string text);
LogLine qc_line(int priority, std::string source, std::string function, std::string text);
LogLine proxy_error(std::string function, std::string text);
LogLine proxy_warning(std::string function, std::string text);
LogLine proxy_info(std::string function, std::string text);

}  // namespace scripted

#endif
