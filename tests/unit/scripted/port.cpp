// The client's end of a port, and the agent that a test scripts behind it.
#include <stdexcept>

#include "state.hpp"

using scripted::detail::Channel;
using scripted::detail::Connection;
using scripted::detail::Function;
using scripted::detail::Lock;
using scripted::detail::PendingEvent;
using scripted::detail::State;
using scripted::detail::state;
using scripted::detail::use;

namespace {

template <typename Callbacks, typename Callback>
int add_event(Function function, rpc_port_proxy_h h, Callbacks Connection::*callbacks, Callback cb,
              void* data)
{
    const Lock lock(state().mutex);
    if (const auto code = use(function)) {
        return *code;
    }
    const auto connection = state().connection(h);
    if (!connection || !cb) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    ((*connection).*callbacks).emplace_back(cb, data);
    return RPC_PORT_ERROR_NONE;
}

void close(const Connection& connection)
{
    for (const auto& channel : {connection.main, connection.callback}) {
        if (channel) {
            channel->open = false;
            channel->inbox.clear();
        }
    }
    state().arrived.notify_all();
}

// The newest connection that was asked for. The mutex is held.
std::shared_ptr<Connection> newest()
{
    const auto& all = state().connections;
    for (auto each = all.rbegin(); each != all.rend(); ++each) {
        if ((*each)->alive && (*each)->asked) {
            return *each;
        }
    }
    return nullptr;
}

std::shared_ptr<Connection> newest_or_throw()
{
    auto connection = newest();
    if (!connection) {
        throw std::logic_error("nobody asked for a connection");
    }
    return connection;
}

bool is_open(const Connection& connection)
{
    return connection.alive && connection.main && connection.main->open;
}

// Tells everyone who registered for an event; a proxy that one of them destroys tells nobody more.
template <typename Callbacks, typename... Arguments>
void tell(const std::shared_ptr<Connection>& connection, Callbacks Connection::*callbacks,
          Arguments... arguments)
{
    Callbacks copy;
    {
        const Lock lock(state().mutex);
        copy = (*connection).*callbacks;
    }
    for (const auto& [cb, data] : copy) {
        {
            const Lock lock(state().mutex);
            if (!connection->alive) {
                return;
            }
        }
        cb(connection->app.c_str(), connection->port_name.c_str(), arguments..., data);
    }
}

}  // namespace

namespace scripted {

Agent& agent()
{
    static Agent the_one;
    return the_one;
}

void Agent::install(std::string_view version)
{
    const Lock lock(state().mutex);
    state().version = version;
    state().package_error.reset();
    state().version_unreadable = false;
}

void Agent::uninstall()
{
    const Lock lock(state().mutex);
    state().version.reset();
}

void Agent::package_error(int code)
{
    const Lock lock(state().mutex);
    state().package_error = code;
}

void Agent::package_version_unreadable()
{
    const Lock lock(state().mutex);
    state().version_unreadable = true;
}

void Agent::answer_next_with(int status, const Values& outs)
{
    answer_next_raw(result(status, outs));
}

void Agent::answer_next_raw(const Values& parcel)
{
    answer_next_parcels({parcel});
}

void Agent::answer_next_parcels(const std::vector<Values>& parcels)
{
    const Lock lock(state().mutex);
    state().script.push_back(parcels);
}

void Agent::no_answer_next()
{
    answer_next_parcels({});
}

void Agent::otherwise_answer(int status, const Values& outs)
{
    const Lock lock(state().mutex);
    state().otherwise = result(status, outs);
}

void Agent::forget_script()
{
    const Lock lock(state().mutex);
    state().script.clear();
    state().otherwise.reset();
    state().program = nullptr;
}

void Agent::on_request(Program program)
{
    const Lock lock(state().mutex);
    state().program = std::move(program);
}

void Agent::deliver(const Values& parcel)
{
    const Lock lock(state().mutex);
    const auto connection = newest_or_throw();
    if (is_open(*connection)) {
        connection->main->inbox.push_back(parcel);
        state().arrived.notify_all();
    }
}

void Agent::let_reads_wait(std::chrono::milliseconds at_most)
{
    const Lock lock(state().mutex);
    state().patience = at_most;
}

void Agent::fail_next_send(int code)
{
    platform().fail("rpc_port_parcel_send", 1, code);
}

Sent Agent::request() const
{
    const Lock lock(state().mutex);
    return state().requests.empty() ? Sent() : state().requests.back();
}

std::vector<Sent> Agent::requests() const
{
    const Lock lock(state().mutex);
    return state().requests;
}

std::vector<Sent> Agent::requests_to(int method) const
{
    std::vector<Sent> found;
    for (const Sent& each : requests()) {
        if (!each.empty() && each[0] == i32(method)) {
            found.push_back(each);
        }
    }
    return found;
}

std::vector<Sent> Agent::unsent() const
{
    const Lock lock(state().mutex);
    return state().unsent;
}

void Agent::forget_requests()
{
    const Lock lock(state().mutex);
    state().requests.clear();
    state().unsent.clear();
}

void Agent::connect()
{
    std::shared_ptr<Connection> connection;
    {
        const Lock lock(state().mutex);
        connection = newest_or_throw();
        connection->main = state().new_channel(detail::Channel::Role::client_main, connection->main_handle);
        connection->callback =
            state().new_channel(detail::Channel::Role::client_callback, connection->callback_handle);
    }
    tell(connection, &Connection::on_connected, connection->main_handle);
}

void Agent::reject()
{
    std::shared_ptr<Connection> connection;
    {
        const Lock lock(state().mutex);
        connection = newest_or_throw();
        close(*connection);
    }
    tell(connection, &Connection::on_rejected);
}

void Agent::disconnect()
{
    std::shared_ptr<Connection> connection;
    {
        const Lock lock(state().mutex);
        connection = newest_or_throw();
        close(*connection);
    }
    tell(connection, &Connection::on_disconnected);
}

void Agent::break_connection()
{
    const Lock lock(state().mutex);
    const auto connection = newest_or_throw();
    close(*connection);
    state().events.push_back({PendingEvent::Kind::disconnected, connection});
}

bool Agent::is_connected() const
{
    const Lock lock(state().mutex);
    const auto connection = newest();
    return connection && is_open(*connection);
}

int Agent::connections_asked_for() const
{
    return platform().uses("rpc_port_proxy_connect");
}

std::string Agent::connected_to_app() const
{
    const Lock lock(state().mutex);
    const auto connection = newest();
    return connection ? connection->app : "";
}

std::string Agent::connected_to_port() const
{
    const Lock lock(state().mutex);
    const auto connection = newest();
    return connection ? connection->port_name : "";
}

void Agent::post_raw(const Values& parcel)
{
    const Lock lock(state().mutex);
    const auto connection = newest_or_throw();
    if (is_open(*connection)) {
        connection->callback->inbox.push_back(parcel);
        state().events.push_back({PendingEvent::Kind::received, connection});
    }
}

void Agent::post(int id, int seq_id, bool once, const Values& parameters)
{
    post_raw(callback(id, seq_id, once, parameters));
}

void Agent::fire(int id, int seq_id, bool once, const Values& parameters)
{
    fire_raw(callback(id, seq_id, once, parameters));
}

void Agent::fire_raw(const Values& parcel)
{
    post_raw(parcel);
    run_events();
}

int Agent::run_events()
{
    int delivered = 0;
    for (;;) {
        PendingEvent event;
        {
            const Lock lock(state().mutex);
            if (state().events.empty()) {
                return delivered;
            }
            event = state().events.front();
            state().events.pop_front();
            const bool is_disconnect = event.kind == PendingEvent::Kind::disconnected;
            if (!event.connection->alive || (!is_disconnect && !is_open(*event.connection))) {
                continue;
            }
        }
        if (event.kind == PendingEvent::Kind::disconnected) {
            tell(event.connection, &Connection::on_disconnected);
        } else {
            tell(event.connection, &Connection::on_received);
        }
        ++delivered;
    }
}

void Agent::raise_received_event()
{
    std::shared_ptr<Connection> connection;
    {
        const Lock lock(state().mutex);
        connection = newest_or_throw();
    }
    tell(connection, &Connection::on_received);
}

}  // namespace scripted

int rpc_port_proxy_create(rpc_port_proxy_h* h)
{
    const Lock lock(state().mutex);
    if (const auto code = use(Function::rpc_port_proxy_create)) {
        return *code;
    }
    if (!h) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    auto connection = std::make_shared<Connection>();
    connection->handle = state().new_handle();
    *h = connection->handle;
    state().connections.push_back(std::move(connection));
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_proxy_destroy(rpc_port_proxy_h h)
{
    const Lock lock(state().mutex);
    const auto code = use(Function::rpc_port_proxy_destroy);
    const auto connection = state().connection(h);
    if (!connection) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    close(*connection);
    connection->alive = false;
    std::erase(state().connections, connection);
    return code.value_or(RPC_PORT_ERROR_NONE);
}

int rpc_port_proxy_connect(rpc_port_proxy_h h, const char* appid, const char* port_name)
{
    const Lock lock(state().mutex);
    if (const auto code = use(Function::rpc_port_proxy_connect)) {
        return *code;
    }
    const auto connection = state().connection(h);
    if (!connection || !appid || !port_name) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    connection->app = appid;
    connection->port_name = port_name;
    connection->asked = true;
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_proxy_add_connected_event_cb(rpc_port_proxy_h h, rpc_port_proxy_connected_event_cb cb,
                                          void* data)
{
    return add_event(Function::rpc_port_proxy_add_connected_event_cb, h, &Connection::on_connected, cb, data);
}

int rpc_port_proxy_add_disconnected_event_cb(rpc_port_proxy_h h, rpc_port_proxy_disconnected_event_cb cb,
                                             void* data)
{
    return add_event(Function::rpc_port_proxy_add_disconnected_event_cb, h, &Connection::on_disconnected, cb,
                     data);
}

int rpc_port_proxy_add_rejected_event_cb(rpc_port_proxy_h h, rpc_port_proxy_rejected_event_cb cb, void* data)
{
    return add_event(Function::rpc_port_proxy_add_rejected_event_cb, h, &Connection::on_rejected, cb, data);
}

int rpc_port_proxy_add_received_event_cb(rpc_port_proxy_h h, rpc_port_proxy_received_event_cb cb, void* data)
{
    return add_event(Function::rpc_port_proxy_add_received_event_cb, h, &Connection::on_received, cb, data);
}

int rpc_port_proxy_get_port(rpc_port_proxy_h h, rpc_port_port_type_e type, rpc_port_h* port)
{
    const Lock lock(state().mutex);
    if (const auto code = use(Function::rpc_port_proxy_get_port)) {
        return *code;
    }
    const auto connection = state().connection(h);
    if (!connection || !port) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    rpc_port_h const handle =
        type == RPC_PORT_PORT_MAIN ? connection->main_handle : connection->callback_handle;
    if (!handle) {
        return RPC_PORT_ERROR_IO_ERROR;
    }
    *port = handle;
    return RPC_PORT_ERROR_NONE;
}
