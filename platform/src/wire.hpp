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

// A quick look at a string that begins with so many bytes, whatever they are: no call, and no loop for one
// that is not longer, since lists carry tens of thousands of those.
inline constexpr std::size_t kQuickString = 48;

#ifdef __SSE2__

inline constexpr std::size_t kBlock = sizeof(__m128i);

// A bit for each byte of a block that is NUL.
inline std::uint64_t nuls_of(__m128i block) noexcept
{
    return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_setzero_si128())));
}
inline std::uint64_t nuls_at(const char* bytes) noexcept
{
    __m128i block{};
    std::memcpy(&block, bytes, sizeof block);
    return nuls_of(block);
}
// A bit for each of the first kQuickString bytes that is NUL; the lowest is what counts.
inline std::uint64_t nuls_at_beginning(const char* text) noexcept
{
    return nuls_at(text) | nuls_at(text + kBlock) << kBlock | nuls_at(text + 2 * kBlock) << (2 * kBlock);
}

// Of a string with room for kQuickString bytes, none of them NUL; 0 also for one of more than 256 bytes.
inline std::size_t medium_wire_string_size(const char* from, std::size_t room) noexcept
{
    const char* text = from + sizeof(std::int32_t);
    const std::uint32_t size = get<std::uint32_t>(from);
    if (size <= kQuickString || size > 256 || size > room - sizeof(std::int32_t))
        return 0;
    // The last block overlaps, so that nothing behind the string is looked at.
    const std::size_t last = size - kBlock;
    for (std::size_t at = kQuickString; at < last; at += kBlock) {
        if (nuls_at(text + at) != 0)
            return 0;
    }
    return nuls_at(text + last) == std::uint64_t{1} << (kBlock - 1) ? size : 0;
}

#else

inline std::uint64_t nuls_at_beginning(const char* text) noexcept
{
    const auto* nul = static_cast<const char*>(std::memchr(text, '\0', kQuickString));
    return nul != nullptr ? std::uint64_t{1} << (nul - text) : 0;
}

inline std::size_t medium_wire_string_size(const char*, std::size_t) noexcept
{
    return 0;
}

#endif

// The same as wire_string_size(), for most strings; 0 also for any other.
inline std::size_t quick_wire_string_size(const char* from, std::size_t room) noexcept
{
    if (room < sizeof(std::int32_t) + kQuickString)
        return 0;
    const std::uint64_t nuls = nuls_at_beginning(from + sizeof(std::int32_t));
    if (nuls == 0)
        return medium_wire_string_size(from, room);
    const auto size = static_cast<std::size_t>(std::countr_zero(nuls)) + 1;
    return size == get<std::uint32_t>(from) ? size : 0;
}

// Copies a text of 4 to 256 bytes and looks whether a NUL is in it, in one go and without a call. False if
// there is one, and for any other text; then it has to be written with more care.
inline bool copy_short_text(char* to, const char* from, std::size_t size) noexcept
{
#ifdef __SSE2__
    // Its beginning and its end, which overlap.
    const auto copy_ends = [&](auto begin, auto end) {
        static_assert(sizeof begin == sizeof end);
        std::memcpy(&begin, from, sizeof begin);
        std::memcpy(&end, from + size - sizeof end, sizeof end);
        std::memcpy(to, &begin, sizeof begin);
        std::memcpy(to + size - sizeof end, &end, sizeof end);
        constexpr long long no_nul = -1;
        if constexpr (sizeof begin == 4)
            return nuls_of(_mm_set_epi64x(no_nul, static_cast<long long>(end) << 32 | begin)) == 0;
        else
            return nuls_of(_mm_set_epi64x(static_cast<long long>(end), static_cast<long long>(begin))) == 0;
    };
    if (size < kBlock) {
        if (size >= 8)
            return copy_ends(std::uint64_t{}, std::uint64_t{});
        return size >= 4 && copy_ends(std::uint32_t{}, std::uint32_t{});
    }
    if (size > 256)
        return false;
    __m128i smallest = _mm_set1_epi8(-1);
    const auto copy_block = [&](std::size_t at) {
        __m128i block{};
        std::memcpy(&block, from + at, sizeof block);
        std::memcpy(to + at, &block, sizeof block);
        smallest = _mm_min_epu8(smallest, block);
    };
    for (std::size_t at = 0; at + kBlock < size; at += kBlock)
        copy_block(at);
    copy_block(size - kBlock);
    return nuls_of(smallest) == 0;
#else
    static_cast<void>(to);
    static_cast<void>(from);
    static_cast<void>(size);
    return false;
#endif
}

}  // namespace quorvel::platform
