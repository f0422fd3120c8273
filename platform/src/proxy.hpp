// The client's end of a port, as the application holds it.
#pragma once

#include <mutex>

#include "client_connection.hpp"
#include "exports.hpp"
#include "handles.hpp"
#include "listeners.hpp"

namespace quorvel::platform {

struct ProxyEvents {
    Listeners<rpc_port_proxy_connected_event_cb> connected;
    Listeners<rpc_port_proxy_disconnected_event_cb> disconnected;
    Listeners<rpc_port_proxy_rejected_event_cb> rejected;
    Listeners<rpc_port_proxy_received_event_cb> received;
};

// What an application created and listens to. It makes one connection after the other; each of them tells
// what happens to it through the proxy's events.
class Proxy final : public Counted {
public:
    int connect(const Ref<Proxy>& self, const char* app_id, const char* port_name);
    int port(HandleTag tag, rpc_port_h* port);
    void destroy() noexcept;

    EventGate<ProxyEvents>& events() noexcept { return events_; }

    // The connection is over: the next one can be made.
    void forget(const Ref<ClientConnection>& connection) noexcept;

    void after_fork() noexcept override;

private:
    EventGate<ProxyEvents> events_;
    std::mutex mutex_;
    bool destroyed_ = false;
    Ref<ClientConnection> connection_;
};

}  // namespace quorvel::platform
