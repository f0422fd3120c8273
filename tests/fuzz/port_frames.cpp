// Fuzzes what the port reads from the other end: framing in pieces of any size, then every reader of a
// parcel.
//
// The first sixteen bytes of an input are the plan: how large the pieces are, and which values are read from
// each frame. The rest is the stream. What the frames hold is compared with a plain parse of the whole
// stream.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "frames.hpp"
#include "rpc-port.h"
#include "sockets.hpp"
#include "wire.hpp"

namespace {

using namespace quorvel::platform;

constexpr std::size_t kPlan = 16;

void require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "port_frames: %s\n", what);
        std::abort();
    }
}

struct Parsed {
    std::vector<std::string_view> frames;
    bool refused = false;
};

Parsed parse_plainly(std::string_view stream)
{
    Parsed parsed;
    while (stream.size() >= kFrameHead) {
        const auto announced = get<std::int32_t>(stream.data());
        if (announced < 0 || static_cast<std::size_t>(announced) > kLongestFrame) {
            parsed.refused = true;
            break;
        }
        const auto size = static_cast<std::size_t>(announced);
        if (stream.size() - kFrameHead < size)
            break;
        parsed.frames.push_back(stream.substr(kFrameHead, size));
        stream.remove_prefix(kFrameHead + size);
    }
    return parsed;
}

// Both readers of strings do the same.
void read_string(rpc_port_parcel_h parcel, bool borrow, bool failed_before)
{
    if (borrow) {
        const char* text = nullptr;
        int length = -1;
        const int result = qv_port_parcel_borrow_string(parcel, &text, &length);
        require(text != nullptr && std::strlen(text) == static_cast<std::size_t>(length),
                "a lent string is as long as it says");
        require(result == 0 || length == 0, "a failed one is empty");
        require(result != 0 || !failed_before, "nothing is read after a failure");
    } else {
        char* text = nullptr;
        const int result = rpc_port_parcel_read_string(parcel, &text);
        require(text != nullptr, "there is always a string");
        require(result == 0 || *text == '\0', "a failed one is empty");
        require(result != 0 || !failed_before, "nothing is read after a failure");
        std::free(text);
    }
}

void read_bundle(rpc_port_parcel_h parcel)
{
    bundle* b = nullptr;
    const int result = rpc_port_parcel_read_bundle(parcel, &b);
    require((result == 0) == (b != nullptr), "a failed bundle read gives none");
    if (b == nullptr)
        return;
    // What was read can be written, and is then read as the same.
    rpc_port_parcel_h again = nullptr;
    rpc_port_parcel_create(&again);
    require(rpc_port_parcel_write_bundle(again, b) == 0, "a bundle that was read can be written");
    bundle* second = nullptr;
    require(rpc_port_parcel_read_bundle(again, &second) == 0, "and read again");
    require(bundle_get_count(b) == bundle_get_count(second), "with as many entries");
    bundle* copy = bundle_dup(second);
    require(copy != nullptr && bundle_get_count(copy) == bundle_get_count(b), "a copy has them all");
    bundle_free(copy);
    bundle_free(second);
    bundle_free(b);
    rpc_port_parcel_destroy(again);
}

void read_values(rpc_port_parcel_h parcel, const std::uint8_t* plan)
{
    Parcel& inside = *static_cast<Parcel*>(parcel);
    for (std::size_t step = 0; step < 64 && inside.left() != 0; ++step) {
        const bool failed_before = inside.failed();
        int number = 4711;
        long long large = 4712;
        bool flag = true;
        int count = 7;
        switch (plan[1 + step % (kPlan - 1)] % 7) {
            case 0:
                require(rpc_port_parcel_read_int32(parcel, &number) == 0 || number == 4711,
                        "int32 untouched");
                break;
            case 1:
                require(rpc_port_parcel_read_int64(parcel, &large) == 0 || large == 4712, "int64 untouched");
                break;
            case 2:
                require(rpc_port_parcel_read_bool(parcel, &flag) == 0 || flag, "bool untouched");
                break;
            case 3:
                read_string(parcel, false, failed_before);
                break;
            case 4:
                read_string(parcel, true, failed_before);
                break;
            case 5:
                read_bundle(parcel);
                break;
            default:
                require(rpc_port_parcel_read_array_count(parcel, &count) == 0 || count == 0, "no count");
                require(count >= 0 && static_cast<std::size_t>(count) <= inside.left() / 4,
                        "a count that fits");
                break;
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < kPlan)
        return 0;
    const std::string_view stream{reinterpret_cast<const char*>(data) + kPlan, size - kPlan};
    const Parsed expected = parse_plainly(stream);

    FrameInput input;
    std::string_view rest = stream;
    std::size_t next = 0;
    bool refused = false;
    for (std::size_t piece = 0; !rest.empty() && !refused; ++piece) {
        const FrameInput::Room room = input.room();
        require(room.size != 0, "there is always room");
        const std::size_t wanted = 1 + data[piece % kPlan] * (data[0] % 8 == 0 ? 1U : 37U);
        const std::size_t count = std::min({room.size, rest.size(), wanted});
        rest.copy(room.at, count);
        rest.remove_prefix(count);
        refused = !input.received(count);
        // Some frames stay for a while, so that they lie behind each other.
        if (data[1] % 2 == 0 && !rest.empty() && !refused)
            continue;
        for (;;) {
            rpc_port_parcel_h parcel = nullptr;
            rpc_port_parcel_create(&parcel);
            if (!input.take(*static_cast<Parcel*>(parcel), false)) {
                rpc_port_parcel_destroy(parcel);
                break;
            }
            Parcel& inside = *static_cast<Parcel*>(parcel);
            require(next < expected.frames.size(), "no frame too many");
            require(std::string_view(inside.payload(), inside.size()) == expected.frames[next],
                    "a frame holds its bytes");
            ++next;
            read_values(parcel, data);
            rpc_port_parcel_destroy(parcel);
        }
    }
    require(next == expected.frames.size(), "no frame too few");
    require(refused == expected.refused, "an impossible length is refused");
    return 0;
}
