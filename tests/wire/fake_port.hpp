// A port without sockets: the library and the real parcels in one process, and between them whatever a test
// says that the agent sent. A program that is linked with the target fake_port has the platform's calls that
// would need an agent redirected here (ld's --wrap); parcels, bundles, the log and the rest are the host
// platform's own.
#pragma once

#include <rpc-port.h>

#include <deque>
#include <functional>
#include <string>
#include <string_view>

#include "bytes.hpp"
#include "parcels.hpp"

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

}  // namespace wire
