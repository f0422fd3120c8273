// The agent's end of a port, and the client that a test plays in front of it.
#include <stdexcept>

#include "state.hpp"

using scripted::detail::Function;
using scripted::detail::Instance;
using scripted::detail::Lock;
using scripted::detail::state;
using scripted::detail::Stub;
using scripted::detail::use;

namespace {

template <typename Callbacks, typename Callback>
int add_event(Function function, rpc_port_stub_h h, Callbacks Stub::*callbacks, Callback cb, void* data)
{
    const Lock lock(state().mutex);
    if (const auto code = use(function)) {
        return *code;
    }
    const auto stub = state().stub(h);
    if (!stub || !cb) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    ((*stub).*callbacks).emplace_back(cb, data);
    return RPC_PORT_ERROR_NONE;
}

// The stub that has this client, or without a client the newest that listens. The mutex is held.
std::shared_ptr<Stub> stub_of(const std::string& instance)
{
    const auto& all = state().stubs;
    for (auto each = all.rbegin(); each != all.rend(); ++each) {
        if (instance.empty() ? (*each)->listening : (*each)->instances.count(instance) != 0) {
            return *each;
        }
    }
    throw std::logic_error(instance.empty() ? "no stub listens" : "this client is not connected");
}

}  // namespace

namespace scripted {

Client::Client(std::string sender) : sender_(std::move(sender)) {}

void Client::connect()
{
    std::shared_ptr<Stub> stub;
    {
        const Lock lock(state().mutex);
        stub = stub_of("");
        instance_ = sender_ + "/" + std::to_string(state().next_instance++);
        Instance instance{.sender = sender_, .main = nullptr, .callback = nullptr};
        instance.main = state().new_channel(detail::Channel::Role::agent_side, instance.main_handle);
        instance.callback = state().new_channel(detail::Channel::Role::agent_side, instance.callback_handle);
        stub->instances.emplace(instance_, std::move(instance));
    }
    for (const auto& [cb, data] : stub->on_connected) {
        cb(sender_.c_str(), instance_.c_str(), data);
    }
}

void Client::disconnect()
{
    std::shared_ptr<Stub> stub;
    {
        const Lock lock(state().mutex);
        stub = stub_of(instance_);
        Instance& instance = stub->instances.at(instance_);
        instance.main->open = false;
        instance.callback->open = false;
    }
    for (const auto& [cb, data] : stub->on_disconnected) {
        cb(sender_.c_str(), instance_.c_str(), data);
    }
}

int Client::call(const Values& request)
{
    std::shared_ptr<Stub> stub;
    rpc_port_h port = nullptr;
    {
        const Lock lock(state().mutex);
        stub = stub_of(instance_);
        Instance& instance = stub->instances.at(instance_);
        if (!instance.main->open) {
            throw std::logic_error("this client was dropped");
        }
        instance.main->inbox.push_back(request);
        port = instance.main_handle;
    }
    int verdict = 0;
    for (const auto& [cb, data] : stub->on_received) {
        verdict = cb(sender_.c_str(), instance_.c_str(), port, data);
    }
    if (verdict < 0) {
        disconnect();
    }
    return verdict;
}

std::vector<Values> Client::answers() const
{
    const Lock lock(state().mutex);
    return stub_of(instance_)->instances.at(instance_).main->outbox;
}

std::vector<Values> Client::callbacks() const
{
    const Lock lock(state().mutex);
    return stub_of(instance_)->instances.at(instance_).callback->outbox;
}

}  // namespace scripted

int rpc_port_stub_create(rpc_port_stub_h* h, const char* port_name)
{
    const Lock lock(state().mutex);
    if (const auto code = use(Function::rpc_port_stub_create)) {
        return *code;
    }
    if (!h || !port_name) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    auto stub = std::make_shared<Stub>();
    stub->handle = state().new_handle();
    stub->port_name = port_name;
    *h = stub->handle;
    state().stubs.push_back(std::move(stub));
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_stub_destroy(rpc_port_stub_h h)
{
    const Lock lock(state().mutex);
    const auto code = use(Function::rpc_port_stub_destroy);
    const auto stub = state().stub(h);
    if (!stub) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    for (auto& [name, instance] : stub->instances) {
        instance.main->open = false;
        instance.callback->open = false;
    }
    std::erase(state().stubs, stub);
    return code.value_or(RPC_PORT_ERROR_NONE);
}

int rpc_port_stub_listen(rpc_port_stub_h h)
{
    const Lock lock(state().mutex);
    if (const auto code = use(Function::rpc_port_stub_listen)) {
        return *code;
    }
    const auto stub = state().stub(h);
    if (!stub) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    stub->listening = true;
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_stub_add_connected_event_cb(rpc_port_stub_h h, rpc_port_stub_connected_event_cb cb, void* data)
{
    return add_event(Function::rpc_port_stub_add_connected_event_cb, h, &Stub::on_connected, cb, data);
}

int rpc_port_stub_add_disconnected_event_cb(rpc_port_stub_h h, rpc_port_stub_disconnected_event_cb cb,
                                            void* data)
{
    return add_event(Function::rpc_port_stub_add_disconnected_event_cb, h, &Stub::on_disconnected, cb, data);
}

int rpc_port_stub_add_received_event_cb(rpc_port_stub_h h, rpc_port_stub_received_event_cb cb, void* data)
{
    return add_event(Function::rpc_port_stub_add_received_event_cb, h, &Stub::on_received, cb, data);
}

int rpc_port_stub_get_port(rpc_port_stub_h h, rpc_port_port_type_e type, const char* instance,
                           rpc_port_h* port)
{
    const Lock lock(state().mutex);
    if (const auto code = use(Function::rpc_port_stub_get_port)) {
        return *code;
    }
    const auto stub = state().stub(h);
    if (!stub || !instance || !port) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    const auto found = stub->instances.find(instance);
    if (found == stub->instances.end()) {
        return RPC_PORT_ERROR_IO_ERROR;
    }
    *port = type == RPC_PORT_PORT_MAIN ? found->second.main_handle : found->second.callback_handle;
    return RPC_PORT_ERROR_NONE;
}
