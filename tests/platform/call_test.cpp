// Calls and callbacks from the client's side, mostly against an agent made of bare sockets.
#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <thread>

#include "support.hpp"

namespace quorvel::platform::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class CallTest : public testing::Test {
protected:
    void connect()
    {
        client_.connect();
        link_ = agent_.accept();
        ASSERT_TRUE(run_until([this] { return client_.connected == 1; }));
    }
    std::string request() { return read_frame(link_.main.get()); }
    void answer(const std::string& value) { write_all(link_.main.get(), frame(text(value))); }

    Home home_;
    RawAgent agent_{home_};
    Client client_;
    Link link_;
};

class CallWithShortDeadline : public CallTest {
protected:
    CallWithShortDeadline() { connect(); }
    ScopedVariable deadline_{"QUORVEL_DEADLINE_MS", "300"};
    // The client reads its deadline as it connects; the members above are made before that.
};

TEST_F(CallTest, GetsItsAnswer)
{
    connect();
    auto result = call_aside(client_.main, "ping");
    EXPECT_EQ(request(), text("ping"));
    answer("pong");
    const Answer got = result.get();
    EXPECT_EQ(got.send, 0);
    EXPECT_EQ(got.read, 0);
    EXPECT_EQ(got.text, "pong");
}

TEST_F(CallTest, GetsItsAnswerByteByByte)
{
    connect();
    auto result = call_aside(client_.main, "ping");
    request();
    for (const char byte : frame(text("pong"))) {
        write_all(link_.main.get(), {&byte, 1});
        std::this_thread::sleep_for(3ms);
    }
    EXPECT_EQ(result.get().text, "pong");
}

TEST_F(CallTest, GetsAnswersThatArriveTogetherOneByOne)
{
    connect();
    write_all(link_.main.get(), frame(text("one")) + frame(text("two")) + frame(text("three")));
    EXPECT_EQ(call(client_.main, "a").text, "one");
    EXPECT_EQ(call(client_.main, "b").text, "two");
    EXPECT_EQ(call(client_.main, "c").text, "three");
}

TEST_F(CallTest, CarriesSixteenMebibytesThereAndBack)
{
    connect();
    const std::string large(std::size_t{16} << 20, 'x');
    auto result = call_aside(client_.main, large);
    EXPECT_EQ(request(), text(large));
    answer(large);
    EXPECT_EQ(result.get().text, large);
}

TEST_F(CallTest, SendsWholeRequestsFromManyThreads)
{
    connect();
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([this, i] {
            for (int k = 0; k < 50; ++k)
                EXPECT_EQ(send_text(client_.main, std::string(20000, static_cast<char>('a' + i))), 0);
        });
    }
    for (int i = 0; i < 8 * 50; ++i) {
        const std::string got = request();
        ASSERT_EQ(got.size(), 20005U);
        EXPECT_EQ(got, text(std::string(20000, got[4])));
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(CallWithShortDeadline, EndsWithTheConnectionWhenNoAnswerComes)
{
    const Stopwatch watch;
    const Answer got = call(client_.main, "ping");
    EXPECT_EQ(got.send, 0);
    EXPECT_EQ(got.read, RPC_PORT_ERROR_IO_ERROR);
    EXPECT_GE(watch.passed(), 300ms);
    EXPECT_LT(watch.own(), 300ms + kSlack);
    EXPECT_EQ(client_.disconnected, 0);
    EXPECT_TRUE(run_until([&] { return client_.disconnected == 1; }));
    request();
    EXPECT_TRUE(is_at_end(link_.main.get()));
    EXPECT_TRUE(is_at_end(link_.callback.get()));
    run_for(20ms);
    EXPECT_EQ(client_.ended(), 1);
}

TEST_F(CallWithShortDeadline, DoesNotTakeALateAnswerForTheNextCalls)
{
    EXPECT_EQ(call(client_.main, "first").read, RPC_PORT_ERROR_IO_ERROR);
    answer("late");
    const Answer second = call(client_.main, "second");
    EXPECT_EQ(second.send, RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(second.read, RPC_PORT_ERROR_IO_ERROR);
}

TEST_F(CallWithShortDeadline, EndsAtTheDeadlineAlsoWhenAnAnswerTricklesForever)
{
    std::atomic<bool> stop{false};
    std::thread trickle{[&] {
        write_all(link_.main.get(), int32(1000));
        while (!stop && write_all(link_.main.get(), "x"))
            std::this_thread::sleep_for(2ms);
    }};
    const Stopwatch watch;
    EXPECT_EQ(call(client_.main, "ping").read, RPC_PORT_ERROR_IO_ERROR);
    EXPECT_LT(watch.own(), 300ms + kSlack);
    stop = true;
    trickle.join();
}

TEST_F(CallWithShortDeadline, CountsFromTheSendNotFromTheRead)
{
    send_text(client_.main, "ping");
    std::this_thread::sleep_for(200ms);
    const Stopwatch watch;
    rpc_port_parcel_h parcel = nullptr;
    EXPECT_EQ(rpc_port_parcel_create_from_port(&parcel, client_.main), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(parcel, nullptr);
    EXPECT_LT(watch.own(), 100ms + kSlack);
}

TEST_F(CallWithShortDeadline, TakesAnAnswerThatIsThereAlthoughTheDeadlinePassedMeanwhile)
{
    send_text(client_.main, "ping");
    answer("pong");
    std::this_thread::sleep_for(350ms);
    rpc_port_parcel_h parcel = nullptr;
    ASSERT_EQ(rpc_port_parcel_create_from_port(&parcel, client_.main), 0);
    rpc_port_parcel_destroy(parcel);
}

TEST_F(CallWithShortDeadline, EndsAfterTheDeadlineAlsoWhenThereIsAlwaysMoreToRead)
{
    send_text(client_.main, "ping");
    // More than one receive takes, less than the socket holds.
    constexpr int sent = 20'000;
    std::string parcels;
    for (int i = 0; i < sent; ++i)
        parcels += frame("");
    ASSERT_TRUE(write_all(link_.main.get(), parcels));
    std::this_thread::sleep_for(350ms);
    int read = 0;
    rpc_port_parcel_h parcel = nullptr;
    while (rpc_port_parcel_create_from_port(&parcel, client_.main) == 0) {
        rpc_port_parcel_destroy(parcel);
        ++read;
    }
    EXPECT_GT(read, 0);
    EXPECT_LT(read, sent);
    EXPECT_TRUE(run_until([&] { return client_.disconnected == 1; }));
}

TEST_F(CallWithShortDeadline, ClosesOverARequestThatStaysHalfWritten)
{
    const std::string large(std::size_t{1} << 20, 'x');
    const Stopwatch watch;
    const Answer got = call(client_.main, large);
    EXPECT_EQ(got.send, RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(got.read, RPC_PORT_ERROR_IO_ERROR);
    EXPECT_GE(watch.passed(), 300ms);
    EXPECT_LT(watch.own(), 300ms + kSlack);
    EXPECT_TRUE(run_until([&] { return client_.disconnected == 1; }));
}

TEST_F(CallWithShortDeadline, ClosesNothingOverARequestOfWhichNoByteLeft)
{
    // The agent reads nothing, until not even a small request fits into the socket.
    int sent = 0;
    std::optional<Stopwatch> watch{std::in_place};
    while (send_text(client_.main, "small") == 0) {
        ++sent;
        watch.emplace();
    }
    EXPECT_GE(watch->passed(), 300ms);
    EXPECT_LT(watch->own(), 300ms + kSlack);

    // There is no answer to wait for, and the thread is told so at once.
    watch.emplace();
    rpc_port_parcel_h parcel = nullptr;
    EXPECT_EQ(rpc_port_parcel_create_from_port(&parcel, client_.main), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_LT(watch->own(), 50ms + kSlack);
    run_for(20ms);
    EXPECT_EQ(client_.ended(), 0);

    for (int i = 0; i < sent; ++i)
        ASSERT_EQ(request(), text("small"));
    answer("pong");
    EXPECT_EQ(call(client_.main, "next").text, "pong");
}

TEST_F(CallTest, RefusesARequestThatIsTooLongAndClosesNothing)
{
    connect();
    rpc_port_parcel_h parcel = nullptr;
    rpc_port_parcel_create(&parcel);
    const std::string half(std::size_t{33} << 20, 'x');
    rpc_port_parcel_write_string(parcel, half.c_str());
    rpc_port_parcel_write_string(parcel, half.c_str());
    EXPECT_EQ(rpc_port_parcel_send(parcel, client_.main), RPC_PORT_ERROR_INVALID_PARAMETER);
    rpc_port_parcel_destroy(parcel);

    // There is nothing to wait for, and the thread is told so at once.
    const Stopwatch watch;
    EXPECT_EQ(rpc_port_parcel_create_from_port(&parcel, client_.main), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_LT(watch.own(), 50ms + kSlack);

    auto result = call_aside(client_.main, "small");
    EXPECT_EQ(request(), text("small"));
    answer("fine");
    EXPECT_EQ(result.get().text, "fine");
}

TEST_F(CallTest, ReadsAnAnswerThatWasThereBeforeTheAgentLeft)
{
    connect();
    auto result = call_aside(client_.main, "last");
    request();
    answer("words");
    link_ = {};
    EXPECT_EQ(result.get().text, "words");
    EXPECT_TRUE(run_until([&] { return client_.disconnected == 1; }));
}

TEST_F(CallTest, EndsAtOnceWhenTheAgentDies)
{
    connect();
    auto result = call_aside(client_.main, "ping");
    request();
    const Stopwatch watch;
    link_ = {};
    EXPECT_EQ(result.get().read, RPC_PORT_ERROR_IO_ERROR);
    EXPECT_LT(watch.own(), 50ms + kSlack);
    EXPECT_TRUE(run_until([&] { return client_.disconnected == 1; }));
    run_for(20ms);
    EXPECT_EQ(client_.ended(), 1);
}

TEST_F(CallTest, EndsWhenOnlyTheCallbackSocketIsClosed)
{
    connect();
    link_.callback.reset();
    EXPECT_TRUE(run_until([&] { return client_.disconnected == 1; }));
    EXPECT_TRUE(is_at_end(link_.main.get()));
}

TEST_F(CallTest, EndsForEveryThreadWhenTheProxyIsDestroyed)
{
    connect();
    std::vector<std::future<Answer>> calls;
    for (int i = 0; i < 4; ++i)
        calls.push_back(call_aside(client_.main, "ping"));
    std::this_thread::sleep_for(50ms);
    const Stopwatch watch;
    client_.destroy();
    for (auto& one : calls)
        EXPECT_EQ(one.get().read, RPC_PORT_ERROR_IO_ERROR);
    EXPECT_LT(watch.own(), kSlack);
    run_for(20ms);
    EXPECT_EQ(client_.ended(), 0);
}

TEST_F(CallTest, ClosesOverAnAnswerThatAnnouncesAnImpossibleLength)
{
    connect();
    for (const std::int32_t length : {-1, (64 << 20) + 1}) {
        Client client;
        client.connect();
        const Link link = agent_.accept();
        ASSERT_TRUE(run_until([&] { return client.connected == 1; }));
        auto result = call_aside(client.main, "ping");
        read_frame(link.main.get());
        write_all(link.main.get(), int32(length));
        EXPECT_EQ(result.get().read, RPC_PORT_ERROR_IO_ERROR);
        EXPECT_TRUE(run_until([&] { return client.disconnected == 1; }));
    }
}

TEST_F(CallTest, IsNotDisturbedBySignals)
{
    connect();
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr);
    const itimerval often{{0, 1000}, {0, 1000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    auto result = call_aside(client_.main, "ping");
    request();
    std::this_thread::sleep_for(60ms);
    answer("pong");
    const Answer got = result.get();
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    EXPECT_EQ(got.text, "pong");
}

TEST_F(CallTest, DoesNotRaiseASignalOverAClosedSocket)
{
    connect();
    link_ = {};
    signal(SIGPIPE, SIG_DFL);
    EXPECT_EQ(send_text(client_.main, "into the void"), RPC_PORT_ERROR_IO_ERROR);
}

// Callbacks.

class CallbackTest : public CallTest {
protected:
    CallbackTest() { connect(); }
    void fire(const std::string& value) { write_all(link_.callback.get(), frame(text(value))); }
};

TEST_F(CallbackTest, AreToldInTheirOrder)
{
    std::string stream;
    std::vector<std::string> expected;
    for (int i = 0; i < 1000; ++i) {
        expected.push_back(std::to_string(i));
        stream += frame(text(expected.back()));
    }
    std::thread writer{[&] { write_all(link_.callback.get(), stream); }};
    EXPECT_TRUE(run_until([&] { return client_.received.size() == 1000; }));
    writer.join();
    EXPECT_EQ(client_.received, expected);
}

TEST_F(CallbackTest, AreToldOnlyOnceTheyAreWhole)
{
    for (const char byte : frame(text("slow"))) {
        EXPECT_TRUE(client_.received.empty());
        write_all(link_.callback.get(), {&byte, 1});
        run_for(6ms);
    }
    EXPECT_EQ(client_.received, std::vector<std::string>{"slow"});
}

TEST_F(CallbackTest, AreToldAtMostSixtyFourATurn)
{
    std::string stream;
    for (int i = 0; i < 200; ++i)
        stream += frame(text("x"));
    write_all(link_.callback.get(), stream);
    std::size_t before = 0;
    while (client_.received.size() < 200) {
        g_main_context_iteration(nullptr, TRUE);
        EXPECT_LE(client_.received.size() - before, 64U);
        before = client_.received.size();
    }
}

TEST_F(CallbackTest, LeaveTheLoopAfterFiveMilliseconds)
{
    for (int i = 0; i < 20; ++i)
        fire("x");
    client_.on_received = [] { std::this_thread::sleep_for(2ms); };
    std::size_t before = 0;
    while (client_.received.size() < 20) {
        g_main_context_iteration(nullptr, TRUE);
        EXPECT_LE(client_.received.size() - before, 4U);
        before = client_.received.size();
    }
}

TEST_F(CallbackTest, AreToldBeforeTheEndOfTheConnection)
{
    std::string stream;
    for (int i = 0; i < 300; ++i)
        stream += frame(text("x"));
    write_all(link_.callback.get(), stream);
    link_ = {};
    std::size_t told_at_end = 0;
    client_.on_disconnected = [&] { told_at_end = client_.received.size(); };
    EXPECT_TRUE(run_until([&] { return client_.disconnected == 1; }));
    EXPECT_EQ(told_at_end, 300U);
}

TEST_F(CallbackTest, DoNotKeepAnAnswerFromAThreadThatWaits)
{
    // The agent writes more callbacks than sockets hold before it answers, and nobody runs the loop.
    auto result = call_aside(client_.main, "ping");
    request();
    std::size_t sent = 0;
    for (std::size_t bytes = 0; bytes < (std::size_t{4} << 20); bytes += 4 + 1005, ++sent)
        fire(std::string(1000, static_cast<char>('a' + sent % 26)));
    answer("pong");
    EXPECT_EQ(result.get().text, "pong");
    EXPECT_TRUE(client_.received.empty());
    EXPECT_TRUE(run_until([&] { return client_.received.size() == sent; }));
    for (std::size_t i = 0; i < sent; ++i)
        ASSERT_EQ(client_.received[i], std::string(1000, static_cast<char>('a' + i % 26))) << i;
}

TEST_F(CallbackTest, DoNotKeepARequestFromLeaving)
{
    // The agent reads nothing before it has written its callbacks.
    auto result = std::async(std::launch::async,
                             [this] { return call(client_.main, std::string(std::size_t{2} << 20, 'x')); });
    std::size_t sent = 0;
    for (std::size_t bytes = 0; bytes < (std::size_t{4} << 20); bytes += 1009, ++sent)
        fire(std::string(1000, 'c'));
    EXPECT_EQ(request().size(), (std::size_t{2} << 20) + 5);
    answer("pong");
    EXPECT_EQ(result.get().text, "pong");
    EXPECT_TRUE(run_until([&] { return client_.received.size() == sent; }));
}

TEST_F(CallbackTest, UpToSixteenMebibytesWaitAndNoneIsLost)
{
    auto result = call_aside(client_.main, "ping");
    request();
    // 4 bytes of length and 1020 of payload each: exactly 16 MiB.
    const std::string one(1020 - 5, 'x');
    for (int i = 0; i < (16 << 20) / 1024; ++i)
        fire(one);
    std::this_thread::sleep_for(50ms);
    answer("pong");
    EXPECT_EQ(result.get().text, "pong");
    EXPECT_TRUE(run_until([&] { return client_.received.size() == (16 << 20) / 1024; }, 60s));
    EXPECT_EQ(client_.ended(), 0);
}

TEST_F(CallbackTest, PastSixteenMebibytesEndTheConnectionAndThoseThatCameAreTold)
{
    auto result = call_aside(client_.main, "ping");
    request();
    const std::string one(1020 - 5, 'x');
    for (int i = 0; i < (16 << 20) / 1024 + 1; ++i)
        fire(one);
    EXPECT_EQ(result.get().read, RPC_PORT_ERROR_IO_ERROR);
    EXPECT_TRUE(run_until([&] { return client_.disconnected == 1; }, 60s));
    EXPECT_EQ(client_.received.size(), std::size_t{(16 << 20) / 1024 + 1});
}

TEST_F(CallbackTest, OfImpossibleLengthEndTheConnection)
{
    fire("good");
    write_all(link_.callback.get(), int32(-5));
    EXPECT_TRUE(run_until([&] { return client_.disconnected == 1; }));
    EXPECT_EQ(client_.received, std::vector<std::string>{"good"});
}

TEST_F(CallbackTest, MayDestroyTheProxyTheyComeThrough)
{
    client_.on_received = [this] { client_.destroy(); };
    fire("one");
    fire("two");
    run_for(50ms);
    EXPECT_EQ(client_.received, std::vector<std::string>{"one"});
    EXPECT_EQ(client_.ended(), 0);
    EXPECT_TRUE(is_at_end(link_.main.get()));
}

TEST_F(CallbackTest, MayRunTheLoopThemselves)
{
    int depth = 0;
    int deepest = 0;
    client_.on_received = [&] {
        deepest = std::max(deepest, ++depth);
        if (depth < 3)
            run_until([&] { return client_.received.size() == 3; });
        --depth;
    };
    fire("one");
    fire("two");
    fire("three");
    EXPECT_TRUE(run_until([&] { return client_.received.size() == 3; }));
    EXPECT_EQ(client_.received, (std::vector<std::string>{"one", "two", "three"}));
    EXPECT_EQ(deepest, 3);
}

TEST_F(CallbackTest, MayMakeACallThatTheAgentAnswers)
{
    std::thread agent{[this] {
        request();
        answer("pong");
    }};
    std::string got;
    client_.on_received = [&] { got = call(client_.main, "ping").text; };
    fire("now");
    EXPECT_TRUE(run_until([&] { return !got.empty(); }));
    EXPECT_EQ(got, "pong");
    agent.join();
}

TEST_F(CallbackTest, ReceivedDescriptorsAreDropped)
{
    run_for(10ms);
    const std::size_t before = open_descriptors();
    const std::string bytes = frame(text("with a gift"));
    iovec part{const_cast<char*>(bytes.data()), bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))]{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* head = CMSG_FIRSTHDR(&message);
    head->cmsg_level = SOL_SOCKET;
    head->cmsg_type = SCM_RIGHTS;
    head->cmsg_len = CMSG_LEN(sizeof(int));
    const int gift = 0;
    memcpy(CMSG_DATA(head), &gift, sizeof gift);
    ASSERT_EQ(sendmsg(link_.callback.get(), &message, 0), static_cast<ssize_t>(bytes.size()));
    EXPECT_TRUE(run_until([&] { return client_.received.size() == 1; }));
    EXPECT_EQ(open_descriptors(), before);
}

TEST_F(CallTest, LetsTheDisconnectedEventDestroyTheProxy)
{
    connect();
    client_.on_disconnected = [this] { client_.destroy(); };
    link_ = {};
    EXPECT_TRUE(run_until([&] { return client_.disconnected == 1; }));
    run_for(20ms);
}

TEST_F(CallTest, LetsTheConnectedEventDestroyTheProxy)
{
    client_.on_connected = [this] { client_.destroy(); };
    client_.connect();
    link_ = agent_.accept();
    EXPECT_TRUE(run_until([&] { return client_.connected == 1; }));
    run_for(20ms);
    EXPECT_EQ(client_.ended(), 0);
    EXPECT_TRUE(is_at_end(link_.callback.get()));
}

TEST_F(CallTest, LeavesAnApplicationsExceptionAlone)
{
    {
        // GLib itself never comes to release its hold on the source that it was dispatching.
        const NoLeakCheck unreleased;
        connect();
    }
    client_.on_received = [] { throw std::runtime_error{"the application's own"}; };
    write_all(link_.callback.get(), frame(text("x")));
    EXPECT_THROW(run_for(200ms), std::runtime_error);
}

// Callbacks that are read by somebody who was not told of them.

class CallbackReadUntold : public CallbackTest {
protected:
    std::string value_;
};

TEST_F(CallbackReadUntold, IsWaitedForAndToldToNobodyElse)
{
    std::thread agent{[&] {
        const std::string bytes = frame(text("event"));
        write_all(link_.callback.get(), bytes.substr(0, 6));
        std::this_thread::sleep_for(20ms);
        write_all(link_.callback.get(), bytes.substr(6));
    }};
    EXPECT_EQ(read_one(client_.callback, &value_), 0);
    agent.join();
    EXPECT_EQ(value_, "event");
    run_for(20ms);
    EXPECT_TRUE(client_.received.empty());
}

TEST_F(CallbackReadUntold, EndsWithTheConnection)
{
    link_.callback.reset();
    EXPECT_EQ(read_one(client_.callback, &value_), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(read_one(client_.callback, &value_), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_TRUE(run_until([&] { return client_.disconnected == 1; }));
}

TEST_F(CallWithShortDeadline, OfTheCallbackPortIsWaitedForUntilTheDeadlineAndClosesNothing)
{
    rpc_port_parcel_h parcel = nullptr;
    const Stopwatch watch;
    EXPECT_EQ(rpc_port_parcel_create_from_port(&parcel, client_.callback), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_GE(watch.passed(), 300ms);
    EXPECT_LT(watch.own(), 300ms + kSlack);
    auto result = call_aside(client_.main, "x");
    request();
    answer("y");
    EXPECT_EQ(result.get().text, "y");
}

TEST_F(CallTest, SendsNothingThroughTheCallbackPortAndNothingThatCouldNotBeWritten)
{
    connect();
    EXPECT_EQ(send_text(client_.callback, "x"), RPC_PORT_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(send_text(client_.main, std::string(std::size_t{64} << 20, 'x')),
              RPC_PORT_ERROR_INVALID_PARAMETER);
    auto result = call_aside(client_.main, "small");
    EXPECT_EQ(request(), text("small"));
    answer("fine");
    EXPECT_EQ(result.get().text, "fine");
}

}  // namespace
}  // namespace quorvel::platform::test
