// What the scripted platform knows, shared by its sources only.
//
// One mutex guards all of it and is never held while the library or a test is called. Handles are numbers
// that are never used again, so that a handle which outlived its object is seen as what it is. Bundles alone
// are real pointers: where one was leaked, the sanitizer then tells who made it.
#ifndef QUORVEL_TESTS_SCRIPTED_STATE_HPP
#define QUORVEL_TESTS_SCRIPTED_STATE_HPP

#include <array>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

#include "scripted.hpp"

// Everything that can fail on purpose.
#define SCRIPTED_FUNCTIONS(F)                   \
    F(rpc_port_proxy_create)                    \
    F(rpc_port_proxy_destroy)                   \
    F(rpc_port_proxy_connect)                   \
    F(rpc_port_proxy_add_connected_event_cb)    \
    F(rpc_port_proxy_add_disconnected_event_cb) \
    F(rpc_port_proxy_add_rejected_event_cb)     \
    F(rpc_port_proxy_add_received_event_cb)     \
    F(rpc_port_proxy_get_port)                  \
    F(rpc_port_stub_create)                     \
    F(rpc_port_stub_destroy)                    \
    F(rpc_port_stub_listen)                     \
    F(rpc_port_stub_add_connected_event_cb)     \
    F(rpc_port_stub_add_disconnected_event_cb)  \
    F(rpc_port_stub_add_received_event_cb)      \
    F(rpc_port_stub_get_port)                   \
    F(rpc_port_parcel_create)                   \
    F(rpc_port_parcel_create_from_port)         \
    F(rpc_port_parcel_send)                     \
    F(rpc_port_parcel_destroy)                  \
    F(rpc_port_parcel_write_int32)              \
    F(rpc_port_parcel_write_int64)              \
    F(rpc_port_parcel_write_bool)               \
    F(rpc_port_parcel_write_string)             \
    F(rpc_port_parcel_write_bundle)             \
    F(rpc_port_parcel_write_array_count)        \
    F(rpc_port_parcel_write)                    \
    F(rpc_port_parcel_read_int32)               \
    F(rpc_port_parcel_read_int64)               \
    F(rpc_port_parcel_read_bool)                \
    F(rpc_port_parcel_read_string)              \
    F(rpc_port_parcel_read_bundle)              \
    F(rpc_port_parcel_read_array_count)         \
    F(rpc_port_parcel_read)                     \
    F(qv_port_parcel_borrow_string)             \
    F(bundle_create)                            \
    F(bundle_free)                              \
    F(bundle_dup)                               \
    F(bundle_get_count)                         \
    F(bundle_add_str)                           \
    F(bundle_get_str)                           \
    F(bundle_add_str_array)                     \
    F(bundle_get_str_array)                     \
    F(bundle_add_byte)                          \
    F(bundle_get_byte)                          \
    F(package_info_create)                      \
    F(package_info_get_version)                 \
    F(package_info_destroy)                     \
    F(dlog_print)

// What the library knows a bundle by.
struct _bundle_t {
    scripted::BundleItems items;
    // The vectors that were lent out, by key; they live as long as the bundle.
    std::map<std::string, std::vector<const char*>> lent;
};

namespace scripted::detail {

enum class Function {
#define SCRIPTED_NAME(name) name,
    SCRIPTED_FUNCTIONS(SCRIPTED_NAME)
#undef SCRIPTED_NAME
        how_many
};

struct Fault {
    int at;  // the use that fails
    int code;
    bool lasting;
};

struct FunctionRecord {
    int uses = 0;
    std::vector<Fault> faults;
};

struct Parcel {
    std::vector<Value> values;
    std::size_t next = 0;
    bool failed = false;
};

// One port, as the side that holds its handle sees it.
struct Channel {
    enum class Role { client_main, client_callback, agent_side };
    Role role = Role::agent_side;
    bool open = false;
    std::deque<Values> inbox;
    std::vector<Values> outbox;
};

struct Connection {
    rpc_port_proxy_h handle = nullptr;
    bool alive = true;
    bool asked = false;
    std::string app;
    std::string port_name;
    std::shared_ptr<Channel> main;
    std::shared_ptr<Channel> callback;
    rpc_port_h main_handle = nullptr;
    rpc_port_h callback_handle = nullptr;
    std::vector<std::pair<rpc_port_proxy_connected_event_cb, void*>> on_connected;
    std::vector<std::pair<rpc_port_proxy_disconnected_event_cb, void*>> on_disconnected;
    std::vector<std::pair<rpc_port_proxy_rejected_event_cb, void*>> on_rejected;
    std::vector<std::pair<rpc_port_proxy_received_event_cb, void*>> on_received;
};

struct Instance {
    std::string sender;
    std::shared_ptr<Channel> main;
    std::shared_ptr<Channel> callback;
    rpc_port_h main_handle = nullptr;
    rpc_port_h callback_handle = nullptr;
};

struct Stub {
    rpc_port_stub_h handle = nullptr;
    std::string port_name;
    bool listening = false;
    std::map<std::string, Instance> instances;
    std::vector<std::pair<rpc_port_stub_connected_event_cb, void*>> on_connected;
    std::vector<std::pair<rpc_port_stub_disconnected_event_cb, void*>> on_disconnected;
    std::vector<std::pair<rpc_port_stub_received_event_cb, void*>> on_received;
};

struct PendingEvent {
    enum class Kind { received, disconnected } kind;
    std::shared_ptr<Connection> connection;
};

struct State {
    std::mutex mutex;
    std::condition_variable arrived;
    // Requests reach the agent one after the other; a program may send from inside a request.
    std::recursive_mutex sending;

    // the agent's package
    std::optional<std::string> version;
    std::optional<int> package_error;
    bool version_unreadable = false;

    // the script
    std::deque<std::vector<Values>> script;
    std::optional<Values> otherwise;
    Agent::Program program;
    std::chrono::milliseconds patience{0};
    std::vector<Values> requests;
    std::vector<Values> unsent;
    std::deque<PendingEvent> events;

    // objects
    std::uintptr_t last_handle = 0x1000;
    std::unordered_map<void*, std::unique_ptr<Parcel>> parcels;
    std::unordered_map<void*, std::shared_ptr<Channel>> channels;
    std::vector<std::shared_ptr<Connection>> connections;
    std::vector<std::shared_ptr<Stub>> stubs;
    std::unordered_set<void*> package_infos;
    std::unordered_set<bundle*> bundles;
    int next_instance = 1;

    std::array<FunctionRecord, static_cast<std::size_t>(Function::how_many)> functions;
    Strings misuses;
    int misreads = 0;
    bool strings_are_null = false;

    std::vector<LogLine> log;
    bool keeps_log = true;

    void* new_handle() { return reinterpret_cast<void*>(++last_handle); }
    std::shared_ptr<Connection> connection(rpc_port_proxy_h handle);
    std::shared_ptr<Stub> stub(rpc_port_stub_h handle);
    Parcel* parcel(rpc_port_parcel_h handle,
                   const char* user);  // or null, which is noted unless NULL came in
    std::shared_ptr<Channel> new_channel(Channel::Role role, rpc_port_h& handle);
};

State& state();
using Lock = std::unique_lock<std::mutex>;

// Counts one use; the code to fail with, if this is one that fails. The mutex is held.
std::optional<int> use(Function function);

// A copy that the library frees. It is made out of reach of FailingAllocation, which is for the library only.
char* heap_copy(const std::string& string);

const char* name_of(Function function);
std::size_t bytes_left(const Parcel& parcel);
// The next value of a type; null, and the parcel has failed, when there is none.
template <typename T>
const T* next_value(Parcel& parcel)
{
    if (!parcel.failed && parcel.next < parcel.values.size()) {
        if (const T* value = std::get_if<T>(&parcel.values[parcel.next])) {
            ++parcel.next;
            return value;
        }
        ++state().misreads;
    }
    parcel.failed = true;
    return nullptr;
}

// The next string, where it lies.
const std::string* next_string(Parcel& parcel);

}  // namespace scripted::detail

#endif
