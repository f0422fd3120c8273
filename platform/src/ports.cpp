// Parcels through ports, whichever end they are of.
#include "agent_connection.hpp"
#include "client_connection.hpp"
#include "exports.hpp"
#include "guard.hpp"

namespace quorvel::platform {
namespace {

// Does `use(connection, tag)` with the connection that a port belongs to; a port that is gone is an error.
template <typename Use>
int with_connection(rpc_port_h port, Use&& use)
{
    const HandleTag tag = Handles::tag_of(port);
    if (tag != HandleTag::main_port && tag != HandleTag::callback_port)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    return guarded([&] {
        if (const auto client = Handles::find<ClientConnection>(port, HandleKind::client_connection, tag))
            return use(*client, tag);
        if (const auto agent = Handles::find<AgentConnection>(port, HandleKind::agent_connection, tag))
            return use(*agent, tag);
        return static_cast<int>(RPC_PORT_ERROR_IO_ERROR);
    });
}

}  // namespace
}  // namespace quorvel::platform

using namespace quorvel::platform;

int rpc_port_parcel_create_from_port(rpc_port_parcel_h* h, rpc_port_h port)
{
    if (h == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    *h = nullptr;
    return with_connection(port, [h](auto& connection, HandleTag tag) {
        Parcel* parcel = nullptr;
        const int result = connection.receive(parcel, tag);
        *h = parcel;
        return result;
    });
}

int rpc_port_parcel_send(rpc_port_parcel_h h, rpc_port_h port)
{
    if (h == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    return with_connection(port, [h](auto& connection, HandleTag tag) {
        return connection.send(*static_cast<Parcel*>(h), tag);
    });
}
