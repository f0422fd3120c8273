// A record of every parcel, written when the environment asks for it.
#pragma once

#include <atomic>
#include <cstdint>
#include <string_view>

namespace quorvel::platform {

enum class CaptureKind : std::uint8_t { parcel = 0, opened = 1, closed = 2 };
enum class CaptureDirection : std::uint8_t { sent = 0, received = 1 };
enum class CaptureRole : std::uint8_t { client = 0, agent = 1 };

struct CaptureMark {
    std::int32_t connection;
    CaptureRole role;
};

class Capture {
public:
    // A number for a new connection, and the file that QUORVEL_CAPTURE names when it is the first one.
    static CaptureMark next_connection(CaptureRole role);

    static void parcel(const CaptureMark& mark, bool callback_port, CaptureDirection direction,
                       std::string_view payload) noexcept
    {
        if (on_.load(std::memory_order_relaxed))
            write(mark, CaptureKind::parcel, callback_port, direction, payload);
    }

    static void opened(const CaptureMark& mark, std::string_view name) noexcept
    {
        if (on_.load(std::memory_order_relaxed))
            write(mark, CaptureKind::opened, false, CaptureDirection::sent, name);
    }

    static void closed(const CaptureMark& mark) noexcept
    {
        if (on_.load(std::memory_order_relaxed))
            write(mark, CaptureKind::closed, false, CaptureDirection::sent, {});
    }

private:
    static void write(const CaptureMark& mark, CaptureKind kind, bool callback_port,
                      CaptureDirection direction, std::string_view bytes) noexcept;

    static std::atomic<bool> on_;
};

}  // namespace quorvel::platform
