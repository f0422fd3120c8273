// The optional reader of strings, in a source of its own, so that a platform can be built without it.
#include "exports.hpp"
#include "parcel.hpp"

using namespace quorvel::platform;

namespace {

int lend(Parcel& parcel, const char* from, std::size_t size, const char** str, int* length) noexcept
{
    *str = from + sizeof(std::int32_t);
    *length = static_cast<int>(size) - 1;
    parcel.pass(sizeof(std::int32_t) + size);
    return RPC_PORT_ERROR_NONE;
}

// Those that are not short stand apart, so that the short ones, of which there are so many, pay nothing for
// them; and so again with the long ones.
[[gnu::noinline]] int lend_long(Parcel& parcel, const char** str, int* length) noexcept
{
    const char* const from = parcel.at();
    if (const std::size_t size = wire_string_size(from, parcel.left()); size != 0)
        return lend(parcel, from, size, str, length);
    parcel.fail();
    *str = "";
    *length = 0;
    return RPC_PORT_ERROR_IO_ERROR;
}

[[gnu::noinline]] int lend_medium(Parcel& parcel, const char** str, int* length) noexcept
{
    const char* const from = parcel.at();
    const std::size_t size = medium_wire_string_size(from, parcel.left());
    return size != 0 ? lend(parcel, from, size, str, length) : lend_long(parcel, str, length);
}

}  // namespace

int qv_port_parcel_borrow_string(rpc_port_parcel_h h, const char** str, int* length)
{
    if (h == nullptr || str == nullptr || length == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    Parcel& parcel = *static_cast<Parcel*>(h);
    if (parcel.left() >= sizeof(std::int32_t) + kQuickString) {
        const char* const from = parcel.at();
        const std::uint64_t nuls = nuls_at_beginning(from + sizeof(std::int32_t));
        if (nuls == 0)
            return lend_medium(parcel, str, length);
        const auto size = static_cast<std::size_t>(std::countr_zero(nuls)) + 1;
        if (size == get<std::uint32_t>(from))
            return lend(parcel, from, size, str, length);
    }
    return lend_long(parcel, str, length);
}
