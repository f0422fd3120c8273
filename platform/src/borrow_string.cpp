// The optional reader of strings, in a source of its own, so that a platform can be built without it.
#include "exports.hpp"
#include "parcel.hpp"

int qv_port_parcel_borrow_string(rpc_port_parcel_h h, const char** str, int* length)
{
    if (h == nullptr || str == nullptr || length == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    std::size_t size = 0;
    const char* text = static_cast<quorvel::platform::Parcel*>(h)->next_string(size);
    *str = text != nullptr ? text : "";
    *length = static_cast<int>(size);
    return text != nullptr ? RPC_PORT_ERROR_NONE : RPC_PORT_ERROR_IO_ERROR;
}
