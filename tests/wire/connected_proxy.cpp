#include "fake_port.hpp"
#include "interface.hpp"

namespace wire {

ConnectedProxy::ConnectedProxy()
{
    static constexpr rpc_port_proxy_qv_client_callback_s nobody_listens{};
    rpc_port_proxy_qv_client_create("agent", &nobody_listens, nullptr, &proxy_);
    reconnect();
}

ConnectedProxy::~ConnectedProxy()
{
    rpc_port_proxy_qv_client_destroy(proxy_);
}

void ConnectedProxy::reconnect()
{
    rpc_port_proxy_qv_client_connect(proxy_);
    FakePort::instance().tell_connected();
}

}  // namespace wire
