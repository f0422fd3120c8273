// The optional reader of strings, in a source of its own, so that a platform can be built without it.
#include "exports.hpp"
#include "parcel.hpp"

int qv_port_parcel_borrow_string(rpc_port_parcel_h h, const char** str, int* length)
{
    if (h == nullptr || str == nullptr || length == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    const auto text = static_cast<quorvel::platform::Parcel*>(h)->next_string();
    *str = text ? text->data() : "";
    *length = text ? static_cast<int>(text->size()) : 0;
    return text ? RPC_PORT_ERROR_NONE : RPC_PORT_ERROR_IO_ERROR;
}
