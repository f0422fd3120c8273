// Bytes of the wire, written out.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace wire {

inline std::string int32(std::int32_t value)
{
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<char>(static_cast<std::uint32_t>(value) >> shift));
    return bytes;
}

inline std::string text(std::string_view value)
{
    return int32(static_cast<std::int32_t>(value.size() + 1)) + std::string(value) + '\0';
}

inline std::string frame(std::string_view payload)
{
    return int32(static_cast<std::int32_t>(payload.size())) + std::string(payload);
}

inline std::int32_t int32_at(std::string_view bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value |= std::uint32_t{static_cast<unsigned char>(bytes[at + i])} << (8 * i);
    return static_cast<std::int32_t>(value);
}

}  // namespace wire
