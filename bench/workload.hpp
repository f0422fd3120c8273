#pragma once

#include <cstddef>
#include <string>

/// What the agent of the benchmark answers with, so that the floor can move the same bytes.
namespace bench {

inline constexpr int devices = 1000;
inline constexpr auto signed_in = "TRUE";

inline std::string device_id(int i)
{
    std::string id = "00000000-0000-4000-8000-000000000000";
    const std::string number = std::to_string(i);
    return id.replace(id.size() - number.size(), number.size(), number);
}
inline constexpr auto device_type = "device.light.color";

// On the wire: a length before each frame and each text, a NUL behind each text.
inline constexpr std::size_t frame(std::size_t payload)
{
    return 4 + payload;
}
inline constexpr std::size_t text(std::size_t length)
{
    return 4 + length + 1;
}

inline constexpr std::size_t bare_request = frame(4);
inline constexpr std::size_t signed_in_answer = frame(4 + text(4) + 4);
inline constexpr std::size_t list_answer = frame(4 + 4 + devices * (text(36) + 4 + text(18)) + 4 + 4);
inline constexpr std::size_t notification = frame(4 + 4 + 4 + 1 + text(16) + text(40) + text(64));

}  // namespace bench
