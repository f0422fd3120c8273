#include "stub/server.hpp"

#include <exception>

#include "stub/log.hpp"

namespace quorvel::stub {

void BasicService::on_client_connected(Client&) {}

void BasicService::on_client_disconnected(Client&) {}

int BasicService::unserved(const char* method)
{
    STUB_LOG_ERROR("%s is not served", method);
    return not_supported;
}

void Interceptor::before(const Request&, Plan&) {}

void Interceptor::after(const Request&, int&) {}

void Interceptor::firing(const Request&, CallbackPlan&) {}

Later Plan::hold()
{
    if (ticket_ == 0)
        ticket_ = client_.wait();
    client_.waiting(ticket_)->is_held = true;
    return {client_.weak_from_this(), ticket_};
}

Call::Call(Client& client, Interceptor* interceptor, int id, const char* name,
           rpc_port_parcel_h parcel) noexcept
    : client_{client}, interceptor_{interceptor}, id_{id}, name_{name}, in_{parcel}, plan_{client}
{
    client_.current_ = this;
}

Call::~Call()
{
    client_.current_ = nullptr;
}

bool Call::complete()
{
    if (!in_.good()) {
        STUB_LOG_ERROR("%s sent a malformed %s and is dropped", client_.instance().c_str(), name_);
        is_well_ = false;
        return false;
    }
    if (interceptor_ != nullptr)
        interceptor_->before(request(), plan_);
    is_well_ = !plan_.drop_client;
    return is_well_;
}

int Call::failed() const noexcept
{
    try {
        throw;
    } catch (const std::exception& error) {
        STUB_LOG_ERROR("%s failed: %s", name_, error.what());
    } catch (...) {
        STUB_LOG_ERROR("%s failed", name_);
    }
    return operation_failed;
}

int Call::intercepted(int result)
{
    if (interceptor_ != nullptr && !is_postponed_)
        interceptor_->after(request(), result);
    return result;
}

bool Call::is_answered_now() noexcept
{
    return !is_postponed_ && client_.alive();
}

rpc_port_parcel_h Call::begin() noexcept
{
    rpc_port_parcel_h parcel = nullptr;
    if (rpc_port_parcel_create(&parcel) == RPC_PORT_ERROR_NONE)
        return parcel;
    STUB_LOG_ERROR("there is no parcel for the answer to %s: %s is dropped", name_,
                   client_.instance().c_str());
    is_well_ = false;
    return nullptr;
}

void Call::finish(rpc_port_parcel_h parcel, bool good)
{
    if (good) {
        client_.answer(plan_.ticket_, parcel, plan_);
        return;
    }
    // A part of an answer would be taken for a whole one.
    STUB_LOG_ERROR("the answer to %s cannot be written: %s is dropped", name_, client_.instance().c_str());
    rpc_port_parcel_destroy(parcel);
    is_well_ = false;
}

BasicServer::BasicServer(BasicService& service, std::span<const MethodEntry> methods, int first_id,
                         std::string port_name)
    : service_{service}, methods_{methods}, first_id_{first_id}, port_name_{std::move(port_name)}
{
    state_ = rpc_port_stub_create(&stub_, port_name_.c_str());
    if (state_ != RPC_PORT_ERROR_NONE) {
        stub_ = nullptr;
        return;
    }
    // No exception of a service may reach the port.
    const auto on_connected = [](const char* sender, const char* instance, void* data) {
        try {
            static_cast<BasicServer*>(data)->connected(sender, instance);
        } catch (const std::exception& error) {
            STUB_LOG_ERROR("%s cannot be served: %s", instance, error.what());
        }
    };
    const auto on_disconnected = [](const char*, const char* instance, void* data) {
        try {
            static_cast<BasicServer*>(data)->disconnected(instance);
        } catch (const std::exception& error) {
            STUB_LOG_ERROR("%s went badly: %s", instance, error.what());
        }
    };
    const auto on_received = [](const char*, const char* instance, rpc_port_h port, void* data) {
        try {
            return static_cast<BasicServer*>(data)->received(instance, port) ? 0 : -1;
        } catch (const std::exception& error) {
            STUB_LOG_ERROR("%s is dropped: %s", instance, error.what());
            return -1;
        }
    };
    for (const int result : {rpc_port_stub_add_connected_event_cb(stub_, on_connected, this),
                             rpc_port_stub_add_disconnected_event_cb(stub_, on_disconnected, this),
                             rpc_port_stub_add_received_event_cb(stub_, on_received, this)}) {
        if (state_ == RPC_PORT_ERROR_NONE)
            state_ = result;
    }
}

BasicServer::~BasicServer()
{
    if (stub_ != nullptr)
        rpc_port_stub_destroy(stub_);
    // Delegates that the service still keeps find that their clients are gone.
    for (const auto& [instance, client] : clients_)
        client->end();
}

int BasicServer::listen()
{
    return state_ == RPC_PORT_ERROR_NONE ? rpc_port_stub_listen(stub_) : state_;
}

void BasicServer::for_each_client(const std::function<void(Client&)>& visit)
{
    for (const auto& [instance, client] : clients_)
        visit(*client);
}

void BasicServer::connected(const char* sender, const char* instance)
{
    disconnected(instance);
    const auto client = std::make_shared<Client>(*this, sender, instance);
    clients_.emplace(instance, client);
    service_.on_client_connected(*client);
}

void BasicServer::disconnected(const char* instance)
{
    const auto found = clients_.find(std::string_view{instance});
    if (found == clients_.end())
        return;
    const std::shared_ptr<Client> client = std::move(found->second);
    clients_.erase(found);
    client->end();
    service_.on_client_disconnected(*client);
}

bool BasicServer::received(const char* instance, rpc_port_h port)
{
    const auto found = clients_.find(std::string_view{instance});
    if (found == clients_.end()) {
        STUB_LOG_ERROR("a request came from %s, which is not connected", instance);
        return false;
    }
    const std::shared_ptr<Client> client = found->second;
    client->main_port_ = port;
    rpc_port_parcel_h parcel = nullptr;
    bool is_well = client->alive();
    if (is_well && rpc_port_parcel_create_from_port(&parcel, port) != RPC_PORT_ERROR_NONE) {
        STUB_LOG_ERROR("a request of %s cannot be read", instance);
        is_well = false;
    } else if (is_well) {
        try {
            is_well = serve(*client, parcel);
        } catch (const std::exception& error) {
            STUB_LOG_ERROR("%s is dropped: %s", instance, error.what());
            is_well = false;
        }
        rpc_port_parcel_destroy(parcel);
    }
    if (!is_well)
        disconnected(instance);
    return is_well;
}

bool BasicServer::serve(Client& client, rpc_port_parcel_h parcel)
{
    int id = 0;
    if (rpc_port_parcel_read_int32(parcel, &id) != RPC_PORT_ERROR_NONE) {
        STUB_LOG_ERROR("%s sent a request without a method and is dropped", client.instance().c_str());
        return false;
    }
    const auto row = static_cast<std::size_t>(static_cast<long long>(id) - first_id_);
    const MethodEntry* method =
        row < methods_.size() && methods_[row].name != nullptr ? &methods_[row] : nullptr;
    Call call{client, interceptor_, id, method != nullptr ? method->name : "?", parcel};
    if (method != nullptr) {
        method->serve(service_, call);
    } else {
        // A newer client may know more methods: it gets a result, and may stay.
        STUB_LOG_ERROR("%s asked for method %d, which is not known", client.instance().c_str(), id);
        call.answer([] { return not_supported; });
    }
    return call.is_well() && client.alive();
}

}  // namespace quorvel::stub
