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

// The size of the string at `from`, its NUL counted, or 0 when no whole string lies there:
// int32 size, the bytes, the NUL, which is the only one.
inline std::size_t wire_string_size(const char* from, std::size_t room) noexcept
{
    if (room < sizeof(std::int32_t))
        return 0;
    // As unsigned numbers nothing and less than nothing are too much.
    const std::size_t last = static_cast<std::size_t>(get<std::uint32_t>(from)) - 1;
    const char* text = from + sizeof(std::int32_t);
    if (last >= room - sizeof(std::int32_t) || std::memchr(text, '\0', last + 1) != text + last)
        return 0;
    return last + 1;
}

// The same for a string that is not long and has much behind it, without a call, and without a loop if it is
// short: lists carry tens of thousands of those. 0 also for any other.
inline std::size_t short_wire_string_size(const char* from, std::size_t room) noexcept
{
#ifdef __SSE2__
    constexpr std::size_t seen = 48;
    constexpr std::size_t block_size = sizeof(__m128i);
    constexpr std::uint32_t longest = 256;
    if (room < sizeof(std::int32_t) + seen)
        return 0;
    const char* text = from + sizeof(std::int32_t);
    // A bit for each byte that is NUL.
    const auto nuls_at = [text](std::size_t offset) {
        __m128i block{};
        std::memcpy(&block, text + offset, sizeof block);
        const int nuls = _mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_setzero_si128()));
        return static_cast<std::uint64_t>(static_cast<std::uint32_t>(nuls));
    };
    const std::uint64_t nuls = nuls_at(0) | nuls_at(16) << 16 | nuls_at(32) << 32;
    const std::uint32_t size = get<std::uint32_t>(from);
    if (nuls != 0)
        return static_cast<std::uint32_t>(std::countr_zero(nuls)) + 1 == size ? size : 0;
    if (size <= seen || size > longest || size > room - sizeof(std::int32_t))
        return 0;
    for (std::size_t at = seen; at + block_size < size; at += block_size) {
        if (nuls_at(at) != 0)
            return 0;
    }
    // The last block overlaps, so that nothing behind the string is looked at.
    constexpr std::uint64_t only_last = std::uint64_t{1} << (block_size - 1);
    return nuls_at(size - block_size) == only_last ? size : 0;
#else
    static_cast<void>(from);
    static_cast<void>(room);
    return 0;
#endif
}

// Copies a short text and looks whether a NUL is in it, in one go and without a call. False if there is one,
// and for a text that is not short; then it has to be written with more care.
inline bool copy_short_text(char* to, const char* from, std::size_t size) noexcept
{
#ifdef __SSE2__
    constexpr std::size_t block_size = sizeof(__m128i);
    constexpr std::size_t longest = 256;
    if (size < block_size || size > longest)
        return false;
    __m128i nuls = _mm_setzero_si128();
    const auto copy_block = [&](std::size_t at) {
        __m128i block{};
        std::memcpy(&block, from + at, sizeof block);
        std::memcpy(to + at, &block, sizeof block);
        nuls = _mm_or_si128(nuls, _mm_cmpeq_epi8(block, _mm_setzero_si128()));
    };
    for (std::size_t at = 0; at + block_size < size; at += block_size)
        copy_block(at);
    copy_block(size - block_size);
    return _mm_movemask_epi8(nuls) == 0;
#else
    static_cast<void>(to);
    static_cast<void>(from);
    static_cast<void>(size);
    return false;
#endif
}

}  // namespace quorvel::platform
