// Little-endian integers in byte buffers, which need not be aligned.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace quorvel::platform {

template <typename Integer>
Integer in_wire_order(Integer value) noexcept
{
    static_assert(std::is_integral_v<Integer>);
    if constexpr (std::endian::native == std::endian::big && sizeof(Integer) == 4)
        return static_cast<Integer>(__builtin_bswap32(static_cast<std::uint32_t>(value)));
    else if constexpr (std::endian::native == std::endian::big && sizeof(Integer) == 8)
        return static_cast<Integer>(__builtin_bswap64(static_cast<std::uint64_t>(value)));
    else
        return value;
}

template <typename Integer>
void put(char* at, Integer value) noexcept
{
    const Integer wire = in_wire_order(value);
    std::memcpy(at, &wire, sizeof wire);
}

template <typename Integer>
Integer get(const char* at) noexcept
{
    Integer wire{};
    std::memcpy(&wire, at, sizeof wire);
    return in_wire_order(wire);
}

}  // namespace quorvel::platform
