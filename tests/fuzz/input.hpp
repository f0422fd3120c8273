// Reads a fuzzer's input as values; past its end everything is 0 or empty.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

namespace fuzz {

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : rest_{reinterpret_cast<const char*>(data), size} {}

    bool empty() const { return rest_.empty(); }

    std::uint8_t byte() { return static_cast<std::uint8_t>(bytes(1)[0]); }
    std::size_t below(std::size_t limit) { return (byte() | static_cast<std::size_t>(byte()) << 8) % limit; }
    int number()
    {
        std::int32_t value = 0;
        const std::string four = bytes(sizeof value);
        std::memcpy(&value, four.data(), sizeof value);
        return value;
    }
    /// Exactly that many bytes, with zeros where there are none.
    std::string bytes(std::size_t size)
    {
        std::string taken{rest_.substr(0, size)};
        rest_.remove_prefix(taken.size());
        taken.resize(size, '\0');
        return taken;
    }
    /// Two bytes of length, and as much of that as there is.
    std::string piece()
    {
        const std::size_t size = std::min(below(65536), rest_.size());
        return bytes(size);
    }
    std::string_view all() { return std::exchange(rest_, {}); }

private:
    std::string_view rest_;
};

}  // namespace fuzz
