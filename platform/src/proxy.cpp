#include "proxy.hpp"

#include <new>

#include "fork.hpp"
#include "guard.hpp"

namespace quorvel::platform {

int Proxy::connect(const Ref<Proxy>& self, const char* app_id, const char* port_name)
{
    if (app_id == nullptr || port_name == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    Ref<ClientConnection> connection;
    {
        const std::lock_guard lock{mutex_};
        if (destroyed_ || connection_)
            return RPC_PORT_ERROR_INVALID_PARAMETER;
        connection = connection_ = ClientConnection::make(self, app_id, port_name);
    }
    try {
        connection->begin(connection);
    } catch (...) {
        connection->abandon(connection);
        forget(connection);
        throw;
    }
    return RPC_PORT_ERROR_NONE;
}

int Proxy::port(HandleTag tag, rpc_port_h* port)
{
    const std::lock_guard lock{mutex_};
    if (!connection_ || !connection_->is_open())
        return RPC_PORT_ERROR_IO_ERROR;
    *port = connection_->port(tag);
    return RPC_PORT_ERROR_NONE;
}

void Proxy::destroy() noexcept
{
    events_.close();
    Ref<ClientConnection> connection;
    {
        const std::lock_guard lock{mutex_};
        destroyed_ = true;
        connection = std::exchange(connection_, Ref<ClientConnection>{});
    }
    if (connection)
        connection->abandon(connection);
}

void Proxy::forget(const Ref<ClientConnection>& connection) noexcept
{
    Ref<ClientConnection> dropped;
    const std::lock_guard lock{mutex_};
    if (connection_ && &*connection_ == &*connection)
        std::swap(dropped, connection_);
}

void Proxy::after_fork() noexcept
{
    events_.after_fork();
    new (&mutex_) std::mutex;
}

namespace {

Ref<Proxy> proxy_of(rpc_port_proxy_h h) noexcept
{
    return Handles::find<Proxy>(h, HandleKind::proxy);
}

template <typename Kind, typename Callback>
int add_listener(rpc_port_proxy_h h, Kind kind, Callback callback, void* data)
{
    const Ref<Proxy> proxy = proxy_of(h);
    if (!proxy)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    return guarded([&] { return proxy->events().listen(kind, callback, data); });
}

}  // namespace
}  // namespace quorvel::platform

using namespace quorvel::platform;

int rpc_port_proxy_create(rpc_port_proxy_h* h)
{
    if (h == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    *h = nullptr;
    return guarded([h] {
        watch_forks();
        const Ref<Proxy> proxy = Handles::add(new Proxy, HandleKind::proxy);
        *h = Handles::handle(proxy, HandleTag::owner);
        return RPC_PORT_ERROR_NONE;
    });
}

int rpc_port_proxy_destroy(rpc_port_proxy_h h)
{
    const Ref<Proxy> proxy = proxy_of(h);
    if (!proxy || !Handles::retire(proxy))
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    proxy->destroy();
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_proxy_connect(rpc_port_proxy_h h, const char* appid, const char* port_name)
{
    const Ref<Proxy> proxy = proxy_of(h);
    if (!proxy)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    return guarded([&] { return proxy->connect(proxy, appid, port_name); });
}

int rpc_port_proxy_add_connected_event_cb(rpc_port_proxy_h h, rpc_port_proxy_connected_event_cb cb,
                                          void* data)
{
    return add_listener(h, &ProxyEvents::connected, cb, data);
}

int rpc_port_proxy_add_disconnected_event_cb(rpc_port_proxy_h h, rpc_port_proxy_disconnected_event_cb cb,
                                             void* data)
{
    return add_listener(h, &ProxyEvents::disconnected, cb, data);
}

int rpc_port_proxy_add_rejected_event_cb(rpc_port_proxy_h h, rpc_port_proxy_rejected_event_cb cb, void* data)
{
    return add_listener(h, &ProxyEvents::rejected, cb, data);
}

int rpc_port_proxy_add_received_event_cb(rpc_port_proxy_h h, rpc_port_proxy_received_event_cb cb, void* data)
{
    return add_listener(h, &ProxyEvents::received, cb, data);
}

int rpc_port_proxy_get_port(rpc_port_proxy_h h, rpc_port_port_type_e type, rpc_port_h* port)
{
    const Ref<Proxy> proxy = proxy_of(h);
    if (!proxy || port == nullptr || (type != RPC_PORT_PORT_MAIN && type != RPC_PORT_PORT_CALLBACK))
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    return proxy->port(type == RPC_PORT_PORT_MAIN ? HandleTag::main_port : HandleTag::callback_port, port);
}
