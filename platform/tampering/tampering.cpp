#include "qv-port-tampering.h"

#include "agent_connection.hpp"
#include "guard.hpp"

namespace {

using namespace quorvel::platform;

template <typename Use>
int with_client(rpc_port_h port, Use&& use)
{
    const HandleTag tag = Handles::tag_of(port);
    return guarded([&] {
        const auto client = Handles::find<AgentConnection>(port, HandleKind::agent_connection, tag);
        return client ? use(*client, tag) : static_cast<int>(RPC_PORT_ERROR_IO_ERROR);
    });
}

int send(rpc_port_parcel_h parcel, rpc_port_h port, const Tampering& tampering)
{
    return with_client(port, [&](AgentConnection& client, HandleTag tag) {
        return client.send(*static_cast<Parcel*>(parcel), tag, tampering);
    });
}

}  // namespace

int qv_port_disconnect(rpc_port_h port)
{
    return with_client(port, [](AgentConnection& client, HandleTag) {
        client.release_answers();
        client.doom();
        return static_cast<int>(RPC_PORT_ERROR_NONE);
    });
}

int qv_port_reject(rpc_port_h port)
{
    return with_client(port, [](AgentConnection& client, HandleTag) {
        client.reject();
        return static_cast<int>(RPC_PORT_ERROR_NONE);
    });
}

int qv_port_send_in_slices(rpc_port_parcel_h parcel, rpc_port_h port, int bytes)
{
    return send(parcel, port, {.slice = static_cast<std::size_t>(bytes < 1 ? 1 : bytes)});
}

int qv_port_send_and_break(rpc_port_parcel_h parcel, rpc_port_h port, int bytes)
{
    return send(parcel, port, {.break_after = static_cast<std::size_t>(bytes < 0 ? 0 : bytes)});
}
