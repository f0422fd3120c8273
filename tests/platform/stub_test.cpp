// The agent's end, mostly against a client made of bare sockets.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <thread>

#include "failing_calls.hpp"
#include "support.hpp"

namespace quorvel::platform::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class StubTest : public testing::Test {
protected:
    StubTest() { EXPECT_EQ(agent_.listen(), 0); }

    // A client that has been welcomed.
    Link connect(char token = 't')
    {
        const std::size_t before = agent_.instances.size();
        Link link = introduce_raw(home_, token);
        EXPECT_TRUE(run_until([&] { return agent_.instances.size() == before + 1; }));
        EXPECT_EQ(read_frame(link.main.get()), "QVRP" + int32(0));
        return link;
    }
    std::string ask(const Link& link, const std::string& request)
    {
        write_all(link.main.get(), frame(text(request)));
        return hear(link.main.get());
    }
    // The next frame, while the loop runs here.
    std::string hear(int fd)
    {
        auto got = std::async(std::launch::async, [fd] { return read_frame(fd); });
        run_until([&] { return got.wait_for(0s) == std::future_status::ready; });
        return got.get();
    }

    Home home_;
    Agent agent_;
};

class StubWithShortDeadlines : public testing::Test {
protected:
    StubWithShortDeadlines() { EXPECT_EQ(agent_.listen(), 0); }
    Home home_;
    ScopedVariable deadline_{"QUORVEL_DEADLINE_MS", "300"};
    ScopedVariable connect_deadline_{"QUORVEL_CONNECT_DEADLINE_MS", "200"};
    ScopedVariable connections_{"QUORVEL_AGENT_CONNECTIONS", "2"};
    ScopedVariable queue_{"QUORVEL_AGENT_QUEUE_BYTES", "1048576"};
    Agent agent_;
};

// Before an agent listens: who else holds the lock beside its socket.
class ListeningTest : public testing::Test {
protected:
    ListeningTest() { mkdir((home_.path() + "/run").c_str(), 0700); }

    Descriptor take_lock() const
    {
        Descriptor lock{open((home_.socket() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)};
        EXPECT_EQ(flock(lock.get(), LOCK_EX | LOCK_NB), 0);
        return lock;
    }
    std::chrono::nanoseconds since_begin() const { return Clock::now() - begin_; }

    Home home_;
    Agent agent_;
    Clock::time_point begin_ = Clock::now();
};

TEST_F(ListeningTest, WaitsForAPredecessorThatLostItsSocketButNotYetItsLock)
{
    Descriptor lock = take_lock();
    std::thread dying{[&lock] {
        std::this_thread::sleep_for(100ms);
        lock.reset();
    }};
    EXPECT_EQ(agent_.listen(), 0);
    EXPECT_GE(since_begin(), 100ms);
    dying.join();
}

TEST_F(ListeningTest, GivesUpOnAPredecessorThatKeepsTheLock)
{
    const Descriptor lock = take_lock();
    EXPECT_EQ(agent_.listen(), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_GE(since_begin(), 1s);
    EXPECT_LT(since_begin(), 5s);
}

TEST_F(ListeningTest, DoesNotWaitForAnAgentThatListens)
{
    EXPECT_EQ(agent_.listen(), 0);
    Agent other;
    begin_ = Clock::now();
    EXPECT_EQ(other.listen(), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_LT(since_begin(), 500ms);
}

TEST_F(StubTest, AnswersRequestsInTheirOrder)
{
    const Link link = connect();
    EXPECT_EQ(ask(link, "one"), text("echo:one"));
    std::string many;
    for (int i = 0; i < 500; ++i)
        many += frame(text(std::to_string(i)));
    write_all(link.main.get(), many);
    for (int i = 0; i < 500; ++i)
        ASSERT_EQ(hear(link.main.get()), text("echo:" + std::to_string(i)));
}

TEST_F(StubTest, ServesManyClientsEachItsOwn)
{
    const Link one = connect('1');
    const Link two = connect('2');
    EXPECT_NE(agent_.instances[0], agent_.instances[1]);
    EXPECT_EQ(ask(two, "two"), text("echo:two"));
    EXPECT_EQ(ask(one, "one"), text("echo:one"));
    send_text(agent_.port(RPC_PORT_PORT_CALLBACK, 0), "for one");
    send_text(agent_.port(RPC_PORT_PORT_CALLBACK, 1), "for two");
    EXPECT_EQ(hear(two.callback.get()), text("for two"));
    EXPECT_EQ(hear(one.callback.get()), text("for one"));
}

TEST_F(StubTest, LetsNoClientWaitForAnotherThatCallsWithoutPause)
{
    const Link busy = connect('1');
    const Link seldom = connect('2');
    std::atomic<bool> stop{false};
    std::thread caller{[&] {
        while (!stop) {
            write_all(busy.main.get(), frame(text("x")));
            read_frame(busy.main.get());
        }
    }};
    run_for(100ms);
    Clock::duration longest{};
    for (int i = 0; i < 20; ++i) {
        const Stopwatch watch;
        EXPECT_EQ(ask(seldom, "y"), text("echo:y"));
        longest = std::max(longest, watch.own());
    }
    EXPECT_LT(longest, 50ms + kSlack);
    stop = true;
    write_all(busy.main.get(), frame(text("x")));
    run_for(50ms);
    shutdown(busy.main.get(), SHUT_RDWR);
    caller.join();
}

TEST_F(StubTest, AnswersAllThatComesAtOnceFromAClientThatCallsWithoutPause)
{
    const Link busy = connect();
    // More than a client is served in one turn.
    constexpr int at_once = 300;
    std::string many;
    for (int i = 0; i < at_once; ++i)
        many += frame(text(std::to_string(i)));
    auto caller = std::async(std::launch::async, [&] {
        int answered = 0;
        for (const auto start = Clock::now(); Clock::now() - start < 100ms;) {
            write_all(busy.main.get(), frame(text("x")));
            read_frame(busy.main.get());
        }
        write_all(busy.main.get(), many);
        while (answered < at_once && read_frame(busy.main.get()) == text("echo:" + std::to_string(answered)))
            ++answered;
        return answered;
    });
    const bool is_over = run_until([&] { return caller.wait_for(0s) == std::future_status::ready; });
    EXPECT_TRUE(is_over);
    shutdown(busy.main.get(), SHUT_RDWR);
    EXPECT_EQ(caller.get(), at_once);
}

TEST_F(StubTest, LetsTheMainLoopRunWhileAClientCallsWithoutPause)
{
    const Link busy = connect();
    std::atomic<bool> stop{false};
    std::thread caller{[&] {
        while (!stop) {
            write_all(busy.main.get(), frame(text("x")));
            read_frame(busy.main.get());
        }
    }};
    int ticks = 0;
    const guint timer = g_timeout_add(
        10,
        [](gpointer data) -> gboolean {
            ++*static_cast<int*>(data);
            return G_SOURCE_CONTINUE;
        },
        &ticks);
    run_for(500ms);
    g_source_remove(timer);
    EXPECT_GT(ticks, 20);
    stop = true;
    run_for(50ms);
    shutdown(busy.main.get(), SHUT_RDWR);
    caller.join();
}

TEST_F(StubTest, TellsOnceThatAClientIsGoneAndServesWhatItAskedForBefore)
{
    Link link = connect();
    write_all(link.main.get(), frame(text("last wish")));
    link = {};
    EXPECT_TRUE(run_until([&] { return agent_.gone.size() == 1; }));
    EXPECT_EQ(agent_.requests, std::vector<std::string>{"last wish"});
    EXPECT_EQ(agent_.gone, agent_.instances);
    rpc_port_h port = nullptr;
    EXPECT_EQ(rpc_port_stub_get_port(agent_.stub, RPC_PORT_PORT_MAIN, agent_.gone[0].c_str(), &port),
              RPC_PORT_ERROR_INVALID_PARAMETER);
    run_for(20ms);
    EXPECT_EQ(agent_.gone.size(), 1U);
}

TEST_F(StubTest, SeesAClientGoThatClosesOnlyItsCallbackSocket)
{
    Link link = connect();
    link.callback.reset();
    EXPECT_TRUE(run_until([&] { return agent_.gone.size() == 1; }));
    EXPECT_TRUE(is_at_end(link.main.get()));
}

TEST_F(StubTest, DropsAClientWhoseRequestIsRefused)
{
    const Link link = connect();
    agent_.on_request = [](rpc_port_h) { return -1; };
    write_all(link.main.get(), frame(text("x")));
    EXPECT_TRUE(run_until([&] { return agent_.gone.size() == 1; }));
    EXPECT_TRUE(is_at_end(link.main.get()));
}

TEST_F(StubTest, AnswersWhatCameInOnePieceWithARequestThatIsRefused)
{
    const Link link = connect();
    agent_.on_request = [](rpc_port_h port) {
        rpc_port_parcel_h parcel = nullptr;
        char* request = nullptr;
        EXPECT_EQ(rpc_port_parcel_create_from_port(&parcel, port), 0);
        rpc_port_parcel_read_string(parcel, &request);
        const bool is_good = std::string{request} == "good";
        free(request);
        rpc_port_parcel_destroy(parcel);
        if (!is_good)
            return -1;
        rpc_port_parcel_create(&parcel);
        rpc_port_parcel_write_string(parcel, "answer");
        EXPECT_EQ(rpc_port_parcel_send(parcel, port), 0);
        rpc_port_parcel_destroy(parcel);
        return 0;
    };
    write_all(link.main.get(), frame(text("good")) + frame(text("good")) + frame(text("bad")));
    EXPECT_EQ(hear(link.main.get()), text("answer"));
    EXPECT_EQ(hear(link.main.get()), text("answer"));
    EXPECT_TRUE(run_until([&] { return agent_.gone.size() == 1; }));
    EXPECT_TRUE(is_at_end(link.main.get()));
}

TEST_F(StubTest, GoesOnWhenARequestIsReadByNobody)
{
    const Link link = connect();
    int asked = 0;
    agent_.on_request = [&](rpc_port_h) {
        ++asked;
        return 0;
    };
    write_all(link.main.get(), frame(text("x")) + frame(text("y")));
    EXPECT_TRUE(run_until([&] { return asked == 2; }));
    agent_.on_request = nullptr;
    EXPECT_EQ(ask(link, "z"), text("echo:z"));
}

TEST_F(StubTest, DropsAClientThatAnnouncesAnImpossibleLength)
{
    for (const std::int32_t length : {-1, INT32_MIN, (64 << 20) + 1}) {
        agent_.gone.clear();
        const Link link = connect();
        write_all(link.main.get(), int32(length));
        EXPECT_TRUE(run_until([&] { return agent_.gone.size() == 1; }));
    }
}

TEST_F(StubTest, IsNotHeldUpByHalfARequest)
{
    const Link half = connect('1');
    const Link whole = connect('2');
    write_all(half.main.get(), int32(100) + "only some");
    EXPECT_EQ(ask(whole, "x"), text("echo:x"));
    EXPECT_EQ(agent_.requests.size(), 1U);
}

TEST_F(StubTest, MayBeDestroyedFromWithinItsOwnEvent)
{
    const Link link = connect();
    agent_.on_request = [&](rpc_port_h) {
        rpc_port_stub_destroy(std::exchange(agent_.stub, nullptr));
        return 0;
    };
    write_all(link.main.get(), frame(text("x")) + frame(text("y")));
    EXPECT_TRUE(run_until([&] { return agent_.stub == nullptr; }));
    run_for(20ms);
    EXPECT_TRUE(agent_.gone.empty());
    EXPECT_TRUE(is_at_end(link.callback.get()));
    EXPECT_FALSE(connect_raw(home_));
}

TEST_F(StubTest, SendsWhatWasAnsweredBeforeItIsDestroyed)
{
    const Link link = connect();
    agent_.on_request = [&](rpc_port_h port) {
        std::string request;
        if (read_one(port, &request) == 0 && request == "x")
            return send_text(port, "answer");
        rpc_port_stub_destroy(std::exchange(agent_.stub, nullptr));
        return 0;
    };
    write_all(link.main.get(), frame(text("x")) + frame(text("y")));
    EXPECT_TRUE(run_until([&] { return agent_.stub == nullptr; }));
    EXPECT_EQ(read_frame(link.main.get()), text("answer"));
    EXPECT_TRUE(is_at_end(link.main.get()));
}

TEST_F(StubTest, MayBeDestroyedByAnotherThreadAndListenedOnAgain)
{
    const Link link = connect();
    std::thread{[this] { rpc_port_stub_destroy(std::exchange(agent_.stub, nullptr)); }}.join();
    run_for(20ms);
    EXPECT_TRUE(agent_.gone.empty());
    Agent next;
    EXPECT_EQ(next.listen(), 0);
    const Link again = introduce_raw(home_);
    EXPECT_TRUE(run_until([&] { return next.instances.size() == 1; }));
}

TEST_F(StubTest, ListensOnAPortOnlyOnce)
{
    Agent second;
    EXPECT_EQ(second.listen(), RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(agent_.listen(), RPC_PORT_ERROR_INVALID_PARAMETER);
    const Link link = connect();
    EXPECT_EQ(ask(link, "still here"), text("echo:still here"));
}

TEST_F(StubTest, TurnsAwayWhoeverDoesNotIntroduceItself)
{
    const Descriptor stranger = connect_raw(home_);
    write_all(stranger.get(), frame("GET / HTTP/1.1"));
    run_for(30ms);
    EXPECT_TRUE(is_at_end(stranger.get()));
    const Descriptor endless = connect_raw(home_);
    write_all(endless.get(), int32(-1));
    run_for(30ms);
    EXPECT_TRUE(is_at_end(endless.get()));
    EXPECT_TRUE(agent_.instances.empty());
}

TEST_F(StubTest, JoinsSocketsOnlyByTheSameToken)
{
    const Descriptor main = connect_raw(home_);
    const Descriptor other = connect_raw(home_);
    write_all(main.get(), introduction(0, 'a'));
    write_all(other.get(), introduction(1, 'b'));
    run_for(30ms);
    EXPECT_TRUE(agent_.instances.empty());
    const Descriptor right = connect_raw(home_);
    write_all(right.get(), introduction(1, 'a'));
    EXPECT_TRUE(run_until([&] { return agent_.instances.size() == 1; }));
}

TEST_F(StubTest, TurnsAwayAClientThatCouldHoldUpTheLoop)
{
    for (const int nth : {1, 2}) {
        FailingCall time_out{"setsockopt", ENOBUFS, nth};
        const Link link = introduce_raw(home_);
        run_for(20ms);
        EXPECT_TRUE(time_out.happened());
        EXPECT_TRUE(is_at_end(link.main.get())) << nth;
        EXPECT_TRUE(agent_.instances.empty()) << nth;
    }
    EXPECT_NE(connect().main.get(), -1);
}

TEST_F(StubTest, DoesNotJoinTwoMainSocketsWithOneToken)
{
    const Descriptor one = connect_raw(home_);
    const Descriptor two = connect_raw(home_);
    write_all(one.get(), introduction(0, 'a'));
    write_all(two.get(), introduction(0, 'a'));
    run_for(30ms);
    EXPECT_TRUE(agent_.instances.empty());
}

TEST_F(StubTest, ShowsTheNameOfAClientWithoutWhatCannotBePrinted)
{
    std::string seen;
    rpc_port_stub_add_connected_event_cb(
        agent_.stub,
        [](const char* sender, const char*, void* data) { *static_cast<std::string*>(data) = sender; },
        &seen);
    const Descriptor main = connect_raw(home_);
    const Descriptor callback = connect_raw(home_);
    write_all(main.get(), introduction(0, 'a', "evil\nname"));
    write_all(callback.get(), introduction(1, 'a', "evil\nname"));
    EXPECT_TRUE(run_until([&] { return !seen.empty(); }));
    EXPECT_EQ(seen, "evil?name");
}

TEST_F(StubWithShortDeadlines, TurnsAwayConnectionsPastTheLimitOfAUser)
{
    Client clients[3];
    EXPECT_TRUE(clients[0].connect_to_open());
    EXPECT_TRUE(clients[1].connect_to_open());
    clients[2].connect();
    EXPECT_TRUE(run_until([&] { return clients[2].ended() != 0; }));
    EXPECT_EQ(clients[2].rejected, 1);
    // One that goes makes room.
    clients[0].destroy();
    EXPECT_TRUE(run_until([&] { return agent_.gone.size() == 1; }));
    Client next;
    EXPECT_TRUE(next.connect_to_open());
}

TEST_F(StubWithShortDeadlines, TurnsAwayASocketThatSaysNothing)
{
    const Descriptor mute = connect_raw(home_);
    run_for(300ms);
    EXPECT_TRUE(is_at_end(mute.get()));
}

TEST_F(StubWithShortDeadlines, QueuesForASlowReaderUpToTheLimitThenDropsItAtTheDeadline)
{
    const Link link = introduce_raw(home_);
    ASSERT_TRUE(run_until([&] { return agent_.instances.size() == 1; }));
    const rpc_port_h port = agent_.port(RPC_PORT_PORT_CALLBACK);
    const std::string one(100000, 'x');
    const Stopwatch watch;
    int sent = 0;
    while (send_text(port, one) == 0)
        ++sent;
    // What the limit lets wait, and what the socket itself holds.
    EXPECT_GE(sent, 10);
    EXPECT_LE(sent, 16);
    EXPECT_GE(watch.passed(), 300ms);
    EXPECT_LT(watch.own(), 350ms + kSlack);
    EXPECT_TRUE(run_until([&] { return agent_.gone.size() == 1; }));
}

TEST_F(StubWithShortDeadlines, DeliversWhatWasQueuedOnceTheClientReads)
{
    const Link link = introduce_raw(home_);
    ASSERT_TRUE(run_until([&] { return agent_.instances.size() == 1; }));
    const rpc_port_h port = agent_.port(RPC_PORT_PORT_CALLBACK);
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(send_text(port, std::string(100000, static_cast<char>('a' + i))), 0);
    auto got = std::async(std::launch::async, [&] {
        std::string all;
        for (int i = 0; i < 10; ++i)
            all += read_frame(link.callback.get());
        return all;
    });
    EXPECT_TRUE(run_until([&] { return got.wait_for(0s) == std::future_status::ready; }));
    std::string expected;
    for (int i = 0; i < 10; ++i)
        expected += text(std::string(100000, static_cast<char>('a' + i)));
    EXPECT_EQ(got.get(), expected);
    EXPECT_TRUE(agent_.gone.empty());
}

TEST_F(StubWithShortDeadlines, SendsAFrameThatIsLongerThanTheQueueToAClientThatReads)
{
    const Link link = introduce_raw(home_);
    ASSERT_TRUE(run_until([&] { return agent_.instances.size() == 1; }));
    auto got = std::async(std::launch::async, [&] { return read_frame(link.callback.get()).size(); });
    EXPECT_EQ(send_text(agent_.port(RPC_PORT_PORT_CALLBACK), std::string(std::size_t{8} << 20, 'x')), 0);
    run_until([&] { return got.wait_for(0s) == std::future_status::ready; });
    EXPECT_EQ(got.get(), (std::size_t{8} << 20) + 5);
}

TEST_F(StubTest, ChecksItsArguments)
{
    const int invalid = RPC_PORT_ERROR_INVALID_PARAMETER;
    rpc_port_stub_h stub = nullptr;
    rpc_port_h port = nullptr;
    EXPECT_EQ(rpc_port_stub_create(nullptr, kPort), invalid);
    EXPECT_EQ(rpc_port_stub_create(&stub, nullptr), invalid);
    EXPECT_EQ(rpc_port_stub_destroy(nullptr), invalid);
    EXPECT_EQ(rpc_port_stub_listen(nullptr), invalid);
    EXPECT_EQ(rpc_port_stub_add_connected_event_cb(agent_.stub, nullptr, nullptr), invalid);
    EXPECT_EQ(rpc_port_stub_add_disconnected_event_cb(nullptr, nullptr, nullptr), invalid);
    EXPECT_EQ(rpc_port_stub_add_received_event_cb(agent_.stub, nullptr, nullptr), invalid);
    EXPECT_EQ(rpc_port_stub_get_port(agent_.stub, RPC_PORT_PORT_MAIN, "nobody", &port), invalid);
    EXPECT_EQ(rpc_port_stub_get_port(agent_.stub, RPC_PORT_PORT_MAIN, nullptr, &port), invalid);
    EXPECT_EQ(rpc_port_stub_get_port(agent_.stub, RPC_PORT_PORT_MAIN, "nobody", nullptr), invalid);
    EXPECT_EQ(rpc_port_stub_get_port(nullptr, RPC_PORT_PORT_MAIN, "nobody", &port), invalid);
    EXPECT_EQ(rpc_port_stub_get_port(agent_.stub, static_cast<rpc_port_port_type_e>(2), "nobody", &port),
              invalid);
    rpc_port_stub_h gone = nullptr;
    ASSERT_EQ(rpc_port_stub_create(&gone, kPort), 0);
    EXPECT_EQ(rpc_port_stub_destroy(gone), 0);
    EXPECT_EQ(rpc_port_stub_destroy(gone), invalid);
    EXPECT_EQ(rpc_port_stub_listen(gone), invalid);
}

// What is read when a request has more than one parcel.

TEST_F(StubWithShortDeadlines, WaitsForTheSecondParcelOfARequest)
{
    Client client;
    ASSERT_TRUE(client.connect_to_open());
    std::string second;
    agent_.on_request = [&](rpc_port_h port) {
        EXPECT_EQ(read_one(port), 0);
        EXPECT_EQ(read_one(port, &second), 0);
        return 0;
    };
    std::thread asking{[&] {
        send_text(client.main, "one");
        std::this_thread::sleep_for(30ms);
        send_text(client.main, "two");
    }};
    EXPECT_TRUE(run_until([&] { return !second.empty(); }));
    asking.join();
    EXPECT_EQ(second, "two");
}

TEST_F(StubWithShortDeadlines, WaitsUntilTheDeadlineForAParcelThatDoesNotCome)
{
    Client client;
    ASSERT_TRUE(client.connect_to_open());
    int result = 0;
    Clock::duration took{};
    Clock::duration own{};
    agent_.on_request = [&](rpc_port_h port) {
        EXPECT_EQ(read_one(port), 0);
        const Stopwatch watch;
        result = read_one(port);
        took = watch.passed();
        own = watch.own();
        return 0;
    };
    send_text(client.main, "alone");
    EXPECT_TRUE(run_until([&] { return result != 0; }));
    EXPECT_EQ(result, RPC_PORT_ERROR_IO_ERROR);
    EXPECT_GE(took, 300ms);
    EXPECT_LT(own, 300ms + kSlack);
    EXPECT_TRUE(agent_.gone.empty());
}

TEST_F(StubTest, DoesNotWaitForAParcelOfAClientThatIsGone)
{
    Link link = connect();
    std::vector<int> results;
    agent_.on_request = [&](rpc_port_h port) {
        EXPECT_EQ(read_one(port), 0);
        link.main.reset();
        results.push_back(read_one(port));
        results.push_back(read_one(port));
        return 0;
    };
    write_all(link.main.get(), frame(text("last words")));
    EXPECT_TRUE(run_until([&] { return agent_.gone.size() == 1; }));
    EXPECT_EQ(results, (std::vector<int>{RPC_PORT_ERROR_IO_ERROR, RPC_PORT_ERROR_IO_ERROR}));
}

TEST_F(StubTest, ReadsNothingFromTheCallbackPort)
{
    const Link link = connect();
    EXPECT_EQ(read_one(agent_.port(RPC_PORT_PORT_CALLBACK)), RPC_PORT_ERROR_INVALID_PARAMETER);
}

TEST_F(StubTest, RefusesAnAnswerThatIsTooLongAndKeepsTheClient)
{
    const Link link = connect();
    const rpc_port_h port = agent_.port(RPC_PORT_PORT_MAIN);
    const std::string half(std::size_t{33} << 20, 'x');
    rpc_port_parcel_h parcel = nullptr;
    rpc_port_parcel_create(&parcel);
    rpc_port_parcel_write_string(parcel, half.c_str());
    rpc_port_parcel_write_string(parcel, half.c_str());
    EXPECT_EQ(rpc_port_parcel_send(parcel, port), RPC_PORT_ERROR_INVALID_PARAMETER);
    rpc_port_parcel_destroy(parcel);
    // One whose write failed lacks what could not be written.
    const std::string whole(std::size_t{64} << 20, 'x');
    rpc_port_parcel_create(&parcel);
    rpc_port_parcel_write_string(parcel, whole.c_str());
    EXPECT_EQ(rpc_port_parcel_send(parcel, port), RPC_PORT_ERROR_INVALID_PARAMETER);
    rpc_port_parcel_destroy(parcel);
    EXPECT_EQ(ask(link, "still there?"), text("echo:still there?"));
}

TEST_F(StubWithShortDeadlines, TurnsAwaySocketsThatAreTooManyBeforeTheyIntroduceThemselves)
{
    // Two connections are possible, which have two sockets each.
    std::vector<Descriptor> silent;
    for (int i = 0; i < 4; ++i)
        silent.push_back(connect_raw(home_));
    run_for(20ms);
    const Descriptor one_more = connect_raw(home_);
    run_for(20ms);
    EXPECT_TRUE(is_at_end(one_more.get()));
    // The others had their time, and make room.
    run_for(300ms);
    EXPECT_TRUE(is_at_end(silent[0].get()));
    Client client;
    EXPECT_TRUE(client.connect_to_open());
}

}  // namespace
}  // namespace quorvel::platform::test
