// Little-endian integers in byte buffers, which need not be aligned, and strings.
#pragma once

#include <bit>
#include <cstddef>
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

// Whether a NUL is among so many bytes. Eight at a time and without a call: lists carry tens of thousands of
// short strings.
inline bool holds_nul(const char* bytes, std::size_t size) noexcept
{
    using Word = std::uint64_t;
    constexpr Word ones = 0x0101010101010101;
    const auto among_eight = [](const char* at) {
        const Word word = get<Word>(at);
        return ((word - ones) & ~word & (ones << 7)) != 0;
    };
    const char* const end = bytes + size;
    if (size < sizeof(Word)) {
        while (bytes != end && *bytes != '\0')
            ++bytes;
        return bytes != end;
    }
    for (; end - bytes > static_cast<std::ptrdiff_t>(sizeof(Word)); bytes += sizeof(Word)) {
        if (among_eight(bytes))
            return true;
    }
    return among_eight(end - sizeof(Word));
}

// The size of the string at `from`, its NUL counted, or 0 when no whole string lies there:
// int32 size, the bytes, the NUL, which is the only one.
inline std::size_t wire_string_size(const char* from, std::size_t room) noexcept
{
    constexpr std::size_t much = 256;  // from where on the C library's way of looking is worth its call
    if (room < sizeof(std::int32_t))
        return 0;
    // As unsigned numbers nothing and less than nothing are too much.
    const std::size_t last = static_cast<std::size_t>(get<std::uint32_t>(from)) - 1;
    const char* text = from + sizeof(std::int32_t);
    if (last >= room - sizeof(std::int32_t) || text[last] != '\0')
        return 0;
    if (last < much ? holds_nul(text, last) : std::strlen(text) != last)
        return 0;
    return last + 1;
}

}  // namespace quorvel::platform
