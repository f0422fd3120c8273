// A port without sockets: the library and the real parcels in one process, and between them whatever a test
// says that the agent sent. A program that is linked with the target fake_port has the platform's calls that
// would need an agent redirected here (ld's --wrap); parcels, bundles, the log and the rest are the host
// platform's own.
#pragma once

#include <rpc-port.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

namespace wire {

class FakePort {
public:
    static FakePort& instance();

    /// Payloads of the parcels that the agent sent on the main port and that nobody has read.
    std::deque<std::string> answers;
    /// Asked before each send; its result is the send's. What was sent is the parcel's payload.
    std::function<int(std::string_view sent)> on_send;
    /// What a connect answers at once.
    int connect_result = 0;
    /// The agent's installed version; empty: it is not installed.
    std::string version = "99.0.0";

    // The events of the proxy that was created last, from here as from the main loop. Nothing happens when it
    // is gone.
    void tell_connected();
    void tell_disconnected();
    void tell_rejected();
    /// A callback that came.
    void tell_received(std::string_view payload);

    /// Puts everything back, for the next run in the same process.
    void reset();

    // The redirected functions'.
    struct Proxy;
    Proxy* current = nullptr;
    std::deque<std::string> callbacks;
};

/// A received parcel of these bytes, as the port would hand it out. They end where their heap block ends, so
/// that an address sanitizer sees who reads past them.
rpc_port_parcel_h parcel_of(std::string_view payload, bool is_answer = true);

/// What was written into a parcel.
std::string_view payload_of(rpc_port_parcel_h parcel);

// Bytes of the wire.
std::string int32(std::int32_t value);
std::string text(std::string_view value);

}  // namespace wire
