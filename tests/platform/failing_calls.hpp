// Lets a call of the system fail at a chosen point: the calls of this program's own objects are redirected
// (ld's
// --wrap), those of the shared libraries are not.
//
//     FailingCall nth{"bind", EADDRINUSE, 2};   // the second from here on, on this thread
//     EXPECT_EQ(agent.listen(), RPC_PORT_ERROR_IO_ERROR);
//     EXPECT_TRUE(nth.happened());
//
// Or lets something be done right before such a call, which then goes well: what otherwise another thread
// does at just that moment.
#pragma once

namespace quorvel::platform::test {

class FailingCall {
public:
    FailingCall(const char* name, int error, int nth = 1);
    FailingCall(const char* name, int nth, void (*before)(void* data), void* data);
    ~FailingCall();
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;

    // Did it come that far? No more call fails after this.
    bool happened();
};

}  // namespace quorvel::platform::test
