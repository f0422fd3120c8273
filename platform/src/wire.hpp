// Little-endian integers in byte buffers, which need not be aligned, and strings.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

// Whether one of a block's bytes is NUL, for blocks of two sizes.

inline bool is_nul_among_8(const char* at) noexcept
{
    constexpr std::uint64_t ones = 0x0101010101010101;
    const std::uint64_t word = get<std::uint64_t>(at);
    return ((word - ones) & ~word & (ones << 7)) != 0;
}

inline bool is_nul_among_16(const char* at) noexcept
{
#ifdef __SSE2__
    __m128i bytes{};
    std::memcpy(&bytes, at, sizeof bytes);
    return _mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())) != 0;
#else
    return is_nul_among_8(at) || is_nul_among_8(at + 8);
#endif
}

// Whether a NUL is among so many bytes: a block at a time and without a call, since lists carry tens of
// thousands of short texts. The last block may overlap its predecessor.
inline bool holds_nul(const char* bytes, std::size_t size) noexcept
{
    const char* const end = bytes + size;
    if (size >= 16) {
        for (; end - bytes > 16; bytes += 16) {
            if (is_nul_among_16(bytes))
                return true;
        }
        return is_nul_among_16(end - 16);
    }
    if (size >= 8)
        return is_nul_among_8(bytes) || is_nul_among_8(end - 8);
    while (bytes != end && *bytes != '\0')
        ++bytes;
    return bytes != end;
}

// The size of the string at `from`, its NUL counted, or 0 when no whole string lies there:
// int32 size, the bytes, the NUL, which is the only one.
inline std::size_t wire_string_size(const char* from, std::size_t room) noexcept
{
    if (room < sizeof(std::int32_t))
        return 0;
    // As unsigned numbers nothing and less than nothing are too much.
    const std::size_t last = static_cast<std::size_t>(get<std::uint32_t>(from)) - 1;
    const char* text = from + sizeof(std::int32_t);
    if (last >= room - sizeof(std::int32_t) || text[last] != '\0' || holds_nul(text, last))
        return 0;
    return last + 1;
}

}  // namespace quorvel::platform
