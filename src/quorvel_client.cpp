#include <package_info.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "internal/named.hpp"
#include "internal/parameters.hpp"
#include "internal/registration.hpp"
#include "internal/request_tables.hpp"
#include "internal/session.hpp"
#include "proxy/connection.hpp"

using namespace quorvel;

// The process's connection.

namespace {

constexpr auto agent_package = "com.veltrane.norvik.quorvel-client";

// Read by every call; changed with locks::clients held, together with the client that it is about.
std::atomic<int> connection_state = session::disconnected;
Client* current_client = nullptr;

std::atomic<int> agent_present = -1;  // 1 once the agent was found; an absent one is looked for on every call
std::atomic<int> known_agent_version = -1;

session::RequestTables tables;   // guarded by locks::requests
Client* live_clients = nullptr;  // guarded by locks::clients

Slot sign_in_state_slot;
Slot ui_metadata_slot;

/// Releases both tables, with all that is in them.
void destroy(const session::RequestTables& unused)
{
    for (GHashTable* const table : {unused.subscriptions, unused.monitoring}) {
        if (table != nullptr)
            g_hash_table_destroy(table);
    }
}

session::RequestTables take_tables()
{
    const std::lock_guard lock{locks::requests};
    return std::exchange(tables, {});
}

void add_live(Client& client)
{
    const std::lock_guard lock{locks::clients};
    client.next_live = live_clients;
    live_clients = &client;
}

/// Answers whether the handle was that of a live client.
bool remove_live(const void* handle)
{
    const std::lock_guard lock{locks::clients};
    for (Client** link = &live_clients; *link != nullptr; link = &(*link)->next_live) {
        if (*link == handle) {
            *link = (*link)->next_live;
            return true;
        }
    }
    return false;
}

/// Package information, for as long as it is looked at.
class Package {
public:
    Package() { error_ = package_info_create(agent_package, &info_); }
    ~Package()
    {
        if (info_ != nullptr)
            package_info_destroy(info_);
    }
    Package(const Package&) = delete;
    Package& operator=(const Package&) = delete;

    bool is_unknown() const { return error_ == PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE; }
    /// The caller frees it; NULL when it cannot be read.
    char* version() const
    {
        char* version = nullptr;
        if (info_ == nullptr || package_info_get_version(info_, &version) != 0)
            return nullptr;
        return version;
    }

private:
    package_info_h info_ = nullptr;
    int error_;
};

bool is_agent_present()
{
    if (agent_present > 0)
        return true;
    // Any other failure than "no such package" counts as present; the version check then fails.
    agent_present = Package{}.is_unknown() ? 0 : 1;
    return agent_present != 0;
}

std::int64_t version_number(std::int64_t major, std::int64_t minor)
{
    return major * 100 + minor;
}

/// The number of a version text; 0, which is not remembered, for one of fewer than two fields.
std::int64_t parse_version(const char* text)
{
    const int known = known_agent_version;
    if (known >= 0)
        return known;
    const char* const dot = std::strchr(text, '.');
    if (dot == nullptr || dot[1] == '\0')
        return 0;
    const auto field = [](const char* digits) { return static_cast<int>(std::strtol(digits, nullptr, 10)); };
    const std::int64_t number = version_number(field(text), field(dot + 1));
    const int clamped = number > INT_MAX ? INT_MAX : number < INT_MIN ? INT_MIN : static_cast<int>(number);
    // The first number that was ever read stays in force.
    int unknown = -1;
    known_agent_version.compare_exchange_strong(unknown, clamped);
    return clamped;
}

bool is_agent_at_least(int major, int minor, bool force)
{
    const std::int64_t required = version_number(major, minor);
    const int known = known_agent_version;
    if (!force && known >= 0)
        return required <= known;
    const Package package;
    if (package.is_unknown())
        return false;
    char* const text = package.version();
    if (text == nullptr)
        return false;
    const std::int64_t number = parse_version(text);
    std::free(text);
    return required <= number;
}

int check_presence_and_version(int major, int minor, bool force, const CallSite& at)
{
    if (!is_agent_present()) {
        log_api(DLOG_ERROR, at, QC_TEXT("Not Supported"));
        return QUORVEL_CLIENT_ERROR_NOT_SUPPORTED;
    }
    if (!is_agent_at_least(major, minor, force)) {
        log_api(DLOG_ERROR, at, QC_TEXT("Lower version error"));
        return QUORVEL_CLIENT_ERROR_LOWER_VERSION;
    }
    return QUORVEL_CLIENT_ERROR_NONE;
}

/// The step that checks the agent in the two functions that log the outcome only once.
auto agent_is_there(bool force)
{
    return [force](auto& call) {
        const int code = check_presence_and_version(1, 0, force, call.at());
        if (code != QUORVEL_CLIENT_ERROR_NONE)
            call.fail(code);
    };
}

int connect_error(int port_error)
{
    switch (port_error) {
        case RPC_PORT_ERROR_NONE:
            return QUORVEL_CLIENT_ERROR_NONE;
        case RPC_PORT_ERROR_PERMISSION_DENIED:
            return QUORVEL_CLIENT_ERROR_PERMISSION_DENIED;
        case RPC_PORT_ERROR_IO_ERROR:
            return QUORVEL_CLIENT_ERROR_IO_ERROR;
        default:
            return QUORVEL_CLIENT_ERROR_OPERATION_FAILED;
    }
}

/// Gives up a client: performs what can be seen of its end, and leaves the memory to whoever uses it last.
void close(Client& client)
{
    client.clear_callbacks();
    const rpc_port_proxy_qv_client_h proxy = client.proxy();
    client.set_proxy(nullptr);
    if (proxy != nullptr)
        rpc_port_proxy_qv_client_destroy(proxy);
    destroy(take_tables());
    {
        const std::lock_guard lock{locks::clients};
        if (current_client == &client)
            current_client = nullptr;
        connection_state = session::disconnected;
    }
    client.retire();
}

bool begin_connecting(LocalCall& call)
{
    int state = session::disconnected;
    if (connection_state.compare_exchange_strong(state, session::connecting))
        return true;
    if (state == session::connected)
        call.fail(QUORVEL_CLIENT_ERROR_ALREADY_CONNECTED, QC_TEXT("quorvel_client is already connected"));
    else
        call.fail(QUORVEL_CLIENT_ERROR_ALREADY_CONNECTING, QC_TEXT("quorvel_client is already connecting"));
    return false;
}

void create_tables(LocalCall& call)
{
    const session::RequestTables made{new_request_table(), new_request_table()};
    if (made.subscriptions == nullptr) {
        call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED,
                  QC_TEXT("Fail to create qv_client_request_subscribe"));
    } else if (made.monitoring == nullptr) {
        call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED,
                  QC_TEXT("Fail to create qv_client_request_monitoring_cloud_device_state"));
    }
    if (!call.ok()) {
        destroy(made);
        return;
    }
    session::RequestTables displaced;
    {
        const std::lock_guard lock{locks::requests};
        displaced = std::exchange(tables, made);
    }
    destroy(displaced);
}

void create_client_proxy(LocalCall& call, Client& client)
{
    const rpc_port_proxy_qv_client_callback_s callbacks = {
        quorvel_client_rpc_connected_cb, quorvel_client_rpc_disconnected_cb, quorvel_client_rpc_rejected_cb};
    rpc_port_proxy_qv_client_h proxy = nullptr;
    if (rpc_port_proxy_qv_client_create(agent_package, &callbacks, &client, &proxy) != 0) {
        call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED,
                  QC_TEXT("rpc_port_proxy_qv_client_create() is failed"));
        return;
    }
    client.hold();
    proxy::proxy_of(proxy).release_user_data = Client::drop_kept;
    client.set_proxy(proxy);

    // From here on events arrive.
    {
        const std::lock_guard lock{locks::clients};
        current_client = &client;
    }
    const int code = connect_error(rpc_port_proxy_qv_client_connect(proxy));
    if (code != QUORVEL_CLIENT_ERROR_NONE)
        call.fail(code, QC_TEXT("rpc_port_proxy_qv_client_connect() is failed, err=[%d]"), code);
}

/// An event of the connection; its user data is the client's record.
class ConnectionEvent : public Event {
public:
    explicit ConnectionEvent(void* record, CallSite at = CallSite::here()) : Event{record, at}
    {
        require(record != nullptr, "no user data");
    }

    /// Sets the state to connected, unless the handle was disconnected meanwhile. Answers whether it was not.
    bool begin_connection() const
    {
        const std::lock_guard lock{locks::clients};
        if (current_client != &client())
            return false;
        int state = session::connecting;
        connection_state.compare_exchange_strong(state, session::connected);
        return true;
    }
    void tell(int result, int state) const
    {
        const auto pair = client().connection_state.load();
        if (pair.callback != nullptr)
            pair.callback(result, state, pair.user_data);
    }
    /// The connection is over. Its tables go after the application heard of it; one that connects anew
    /// meanwhile keeps its new ones.
    void end_connection(int result, int state) const
    {
        Destruction destruction;
        {
            const std::lock_guard tables_lock{locks::requests};
            const std::lock_guard clients_lock{locks::clients};
            if (current_client == &client()) {
                destruction.tables = std::exchange(tables, {});
                connection_state = session::disconnected;
            }
        }
        tell(result, state);
    }

private:
    struct Destruction {
        session::RequestTables tables;
        ~Destruction() { destroy(tables); }
    };
};

void tell_library_version(const Event& event, rpc_port_proxy_qv_client_h proxy)
{
    char* const version = strdup(library_version);
    if (version == nullptr) {
        log_api(DLOG_ERROR, event.at(), QC_TEXT("Fail to memory allocation"));
        return;
    }
    rpc_port_proxy_qv_client_invoke_set_api_version(proxy, version);
    std::free(version);
}

}  // namespace

namespace quorvel::session {

std::atomic<bool> is_caching = false;

bool is_connected() noexcept
{
    return connection_state == connected;
}

void set_disconnected() noexcept
{
    connection_state = disconnected;
}

int agent_version() noexcept
{
    return known_agent_version;
}

RequestTables& request_tables() noexcept
{
    return tables;
}

}  // namespace quorvel::session

int quorvel_client_get_error_code(int result)
{
    switch (result) {
        case QUORVEL_CLIENT_ERROR_NONE:
        case QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY:
        case QUORVEL_CLIENT_ERROR_PERMISSION_DENIED:
        case QUORVEL_CLIENT_ERROR_INVALID_PARAMETER:
        case QUORVEL_CLIENT_ERROR_NO_SPACE:
        case QUORVEL_CLIENT_ERROR_NO_DATA:
        case QUORVEL_CLIENT_ERROR_NETWORK_UNREACHABLE:
        case QUORVEL_CLIENT_ERROR_NOT_SUPPORTED:
        case QUORVEL_CLIENT_ERROR_OPERATION_FAILED:
        case QUORVEL_CLIENT_ERROR_AGENT_DEFINED_1:
        case QUORVEL_CLIENT_ERROR_AGENT_DEFINED_2:
        case QUORVEL_CLIENT_ERROR_IO_ERROR:
        case QUORVEL_CLIENT_ERROR_AGENT_DEFINED_3:
        case QUORVEL_CLIENT_ERROR_LOWER_VERSION:
        case QUORVEL_CLIENT_ERROR_AGENT_DEFINED_4:
            return result;
        default:
            log_api(DLOG_ERROR, CallSite::here(), QC_TEXT("Unknown error [%d]"), result);
            return QUORVEL_CLIENT_ERROR_UNKNOWN;
    }
}

int check_agent(int major, int minor, bool force)
{
    return check_presence_and_version(major, minor, force, CallSite::here());
}

// The patch level is not looked at.
int check_api_precondition(quorvel_client_h handle, int major, int minor, int)
{
    const CallSite at = CallSite::here();
    const int code = check_agent(major, minor, false);
    if (code != QUORVEL_CLIENT_ERROR_NONE) {
        log_api(DLOG_ERROR, at, QC_TEXT("Fail to check condition[%d]"), code);
        return code;
    }
    if (handle == nullptr) {
        log_api(DLOG_ERROR, at, QC_TEXT("quorvel_client handle is NULL"));
        return QUORVEL_CLIENT_ERROR_INVALID_PARAMETER;
    }
    if (!session::is_connected()) {
        log_api(DLOG_ERROR, at, QC_TEXT("quorvel_client is not connected"));
        return QUORVEL_CLIENT_ERROR_NOT_CONNECTED;
    }
    return QUORVEL_CLIENT_ERROR_NONE;
}

void quorvel_client_rpc_connected_cb(rpc_port_proxy_qv_client_h proxy, void* record)
{
    const ConnectionEvent event{record};
    if (!event.ok())
        return;
    if (is_agent_at_least(1, 3, false))
        tell_library_version(event, proxy);
    // Another thread may have disconnected while the agent was asked; a dead handle connects nothing.
    if (event.begin_connection())
        event.tell(QUORVEL_CLIENT_ERROR_NONE, QUORVEL_CLIENT_CONNECTION_CONNECTED);
}

void quorvel_client_rpc_disconnected_cb(rpc_port_proxy_qv_client_h, void* record)
{
    const ConnectionEvent event{record};
    if (event.ok())
        event.end_connection(QUORVEL_CLIENT_ERROR_NONE, QUORVEL_CLIENT_CONNECTION_DISCONNECTED);
}

void quorvel_client_rpc_rejected_cb(rpc_port_proxy_qv_client_h, void* record)
{
    const ConnectionEvent event{record};
    if (event.ok())
        event.end_connection(QUORVEL_CLIENT_ERROR_PERMISSION_DENIED, QUORVEL_CLIENT_CONNECTION_REJECTED);
}

int quorvel_client_connect(quorvel_client_h* handle, quorvel_client_connection_state_cb cb, void* user_data)
{
    const CallGuard guard;
    LocalCall call;
    call.then(agent_is_there(true))
        .require(handle != nullptr, "quorvel_client handle is NULL")
        .require(cb != nullptr, "connection_state_cb is NULL");
    if (!call.ok() || !begin_connecting(call))
        return call.result();

    create_tables(call);
    Client* client = nullptr;
    if (call.ok()) {
        *handle = nullptr;
        client = new (std::nothrow) Client;
        call.require(client != nullptr, "Memory allocation is failed", QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
    }
    if (call.ok()) {
        add_live(*client);
        client->connection_state.store(cb, user_data);
        create_client_proxy(call, *client);
    }
    if (!call.ok()) {
        if (client != nullptr && remove_live(client)) {
            close(*client);
        } else {
            destroy(take_tables());
            connection_state = session::disconnected;
        }
        return call.result();
    }
    *handle = client;
    log_api(DLOG_INFO, call.at(), QC_TEXT("EXIT"));
    return call.result();
}

int quorvel_client_disconnect(quorvel_client_h handle)
{
    const CallGuard guard;
    LocalCall call;
    call.then(agent_is_there(false)).require(handle != nullptr, "quorvel_client handle is NULL");
    // A handle that was disconnected before is only compared, never looked into.
    if (call.ok())
        call.require(remove_live(handle));
    if (!call.ok())
        return call.result();

    close(client_of(handle));
    log_api(DLOG_INFO, call.at(), QC_TEXT("EXIT"));
    return call.result();
}

// The out-pointer is not checked: without one the agent is asked all the same.
int quorvel_client_get_state(quorvel_client_h handle, int* state)
{
    return ApiCall{handle}.agent(1, 0).invoke(METHOD(get_client_state), value_out(state)).result();
}

// Account and service information.

namespace {

/// A query that the agent answers with one text.
template <typename Routine>
int query_text(quorvel_client_h handle, const Method<Routine>& method, char** text,
               CallSite at = CallSite::here())
{
    return ApiCall{handle, at}.agent(1, 0).require(text != nullptr).invoke(method, text_out(text)).result();
}

}  // namespace

int quorvel_client_is_signed_in(quorvel_client_h handle, bool* is_signed_in)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(is_signed_in != nullptr)
        .invoke(METHOD(is_signed_in), StateOut{is_signed_in})
        .result();
}

int quorvel_client_get_access_token(quorvel_client_h handle, char** token)
{
    return query_text(handle, METHOD(get_access_token), token);
}

int quorvel_client_get_device_id(quorvel_client_h handle, char** device_id)
{
    return query_text(handle, METHOD(get_device_id), device_id);
}

int quorvel_client_get_connected_user_id(quorvel_client_h handle, char** user_id)
{
    return query_text(handle, METHOD(get_connected_uid), user_id);
}

int quorvel_client_get_login_id(quorvel_client_h handle, char** login_id)
{
    return query_text(handle, METHOD(get_login_id), login_id);
}

int quorvel_client_get_ui_metadata(quorvel_client_h handle, const char* vid, char** ui_metadata)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(is_set(vid), "vid is invalid")
        .require(ui_metadata != nullptr)
        .invoke(METHOD(get_ui_metadata), vid, text_out(ui_metadata))
        .result();
}

int quorvel_client_refresh_device_information(quorvel_client_h handle)
{
    return ApiCall{handle}.agent(1, 0).invoke(METHOD(refresh_device_information)).result();
}

void _sign_in_state_cb(void* user_data, const char* state)
{
    Event{user_data}.has_user_data().tell(&Client::sign_in_state, says_true(state));
}

int quorvel_client_set_sign_in_state_changed_cb(quorvel_client_h handle,
                                                quorvel_client_sign_in_state_changed_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(set_sign_in_state_cb),
                registration(sign_in_state_slot, DELEGATE(sign_in_state_cb), _sign_in_state_cb,
                             &Client::sign_in_state, cb, user_data))
        .result();
}

int quorvel_client_unset_sign_in_state_changed_cb(quorvel_client_h handle)
{
    return ApiCall{handle}
        .agent(1, 0)
        .proxied()
        .then(unregistered(sign_in_state_slot, &Client::sign_in_state))
        .invoke(METHOD(unset_sign_in_state_cb))
        .result();
}

void _qc_service_ui_metadata_updated_cb(void* user_data, const char* first, const char* second)
{
    Event{user_data}.has_user_data().tell(&Client::ui_metadata, first, second);
}

int quorvel_client_set_ui_metadata_updated_cb(quorvel_client_h handle,
                                              quorvel_client_ui_metadata_updated_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(set_ui_metadata_cb),
                registration(ui_metadata_slot, DELEGATE(ui_metadata_cb), _qc_service_ui_metadata_updated_cb,
                             &Client::ui_metadata, cb, user_data))
        .result();
}

int quorvel_client_unset_ui_metadata_updated_cb(quorvel_client_h handle)
{
    return ApiCall{handle}
        .agent(1, 0)
        .proxied()
        .then(unregistered(ui_metadata_slot, &Client::ui_metadata))
        .invoke(METHOD(unset_ui_metadata_cb))
        .result();
}
