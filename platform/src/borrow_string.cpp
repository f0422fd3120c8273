// The optional reader of strings, in a source of its own, so that a platform can be built without it.
#include "exports.hpp"
#include "parcel.hpp"

namespace quorvel::platform {
namespace {

int lend(const char* text, std::size_t length, const char** str, int* lent) noexcept
{
    *str = text;
    *lent = static_cast<int>(length);
    return RPC_PORT_ERROR_NONE;
}

// Apart, so that the others, of which there are so many, pay nothing for it.
[[gnu::noinline]] int lend_long(Parcel& parcel, const char** str, int* length) noexcept
{
    if (str == nullptr || length == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    if (const std::size_t size = parcel.string_size(); size != 0)
        return lend(parcel.pass_string(size), size - 1, str, length);
    parcel.fail();
    lend("", 0, str, length);
    return RPC_PORT_ERROR_IO_ERROR;
}

}  // namespace
}  // namespace quorvel::platform

using namespace quorvel::platform;

int qv_port_parcel_borrow_string(rpc_port_parcel_h h, const char** str, int* length)
{
    if (h == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    Parcel& parcel = *static_cast<Parcel*>(h);
    const std::size_t size = parcel.short_string_size();
    if (size == 0)
        return lend_long(parcel, str, length);
    if (str == nullptr || length == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    return lend(parcel.pass_string(size), size - 1, str, length);
}
