#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "failing_calls.hpp"
#include "support.hpp"

namespace quorvel::platform::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class Connect : public testing::Test {
protected:
    Home home_;
};

TEST_F(Connect, TellsOfTheConnectionOnlyFromTheLoop)
{
    Agent agent;
    ASSERT_EQ(agent.listen(), 0);
    Client client;
    EXPECT_EQ(client.connect(), 0);
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(client.connected, 0);
    EXPECT_TRUE(run_until([&] { return client.connected == 1; }));
    EXPECT_NE(client.main, nullptr);
    EXPECT_NE(client.callback, nullptr);
    EXPECT_NE(client.main, client.callback);
    EXPECT_EQ(agent.instances.size(), 1U);
}

TEST_F(Connect, IsRejectedWhenNobodyListensAndNothingIsInstalled)
{
    Client client;
    EXPECT_EQ(client.connect(), 0);
    EXPECT_EQ(client.rejected, 0);
    EXPECT_TRUE(run_until([&] { return client.ended() != 0; }));
    EXPECT_EQ(client.rejected, 1);
    EXPECT_EQ(client.connected, 0);
    run_for(30ms);
    EXPECT_EQ(client.ended(), 1);
}

TEST_F(Connect, IsRejectedWhenTheAgentSaysSo)
{
    RawAgent agent{home_};
    Client client;
    client.connect();
    const Link link = agent.accept(-87);
    EXPECT_TRUE(run_until([&] { return client.ended() != 0; }));
    EXPECT_EQ(client.rejected, 1);
}

TEST_F(Connect, IsRejectedByAnAgentThatSpeaksSomethingElse)
{
    RawAgent agent{home_};
    Client client;
    client.connect();
    const Descriptor one = agent.accept_one();
    const Descriptor other = agent.accept_one();
    for (const int fd : {one.get(), other.get()})
        write_all(fd, frame("HTTP/1.1 400"));
    EXPECT_TRUE(run_until([&] { return client.ended() != 0; }));
    EXPECT_EQ(client.rejected, 1);
}

TEST_F(Connect, IsDisconnectedWhenTheAgentGoesAwayInTheMiddle)
{
    RawAgent agent{home_};
    Client client;
    client.connect();
    agent.accept_one().reset();
    EXPECT_TRUE(run_until([&] { return client.ended() != 0; }));
    EXPECT_EQ(client.disconnected, 1);
}

TEST_F(Connect, IsDisconnectedAtTheDeadlineWhenTheAgentIsMute)
{
    const ScopedVariable deadline{"QUORVEL_CONNECT_DEADLINE_MS", "300"};
    RawAgent agent{home_};
    Client client;
    const Stopwatch watch;
    client.connect();
    EXPECT_TRUE(run_until([&] { return client.ended() != 0; }));
    EXPECT_EQ(client.disconnected, 1);
    EXPECT_GE(watch.passed(), 300ms);
    EXPECT_LT(watch.own(), 300ms + kSlack);
}

TEST_F(Connect, CanBeDestroyedWhileTheAgentIsMuteAndNothingIsToldAfterwards)
{
    RawAgent agent{home_};
    Client client;
    client.connect();
    const Link link{agent.accept_one(), agent.accept_one()};
    client.destroy();
    write_all(link.main.get(), frame("QVRP" + int32(0)));
    run_for(30ms);
    EXPECT_EQ(client.connected + client.ended(), 0);
    read_frame(link.main.get());
    EXPECT_TRUE(is_at_end(link.main.get()));
}

// Another thread destroys the proxy, and has a moment to do it before this one goes on. It may have to wait
// for this one.
class Destruction {
public:
    explicit Destruction(Client& client) : proxy_{std::exchange(client.proxy, nullptr)} {}
    ~Destruction() { thread_.join(); }
    Destruction(const Destruction&) = delete;
    Destruction& operator=(const Destruction&) = delete;

    rpc_port_proxy_h proxy() const { return proxy_; }
    void begin()
    {
        thread_ = std::thread{[this] {
            rpc_port_proxy_destroy(proxy_);
            is_done_ = true;
        }};
        for (int i = 0; i < 20 && !is_done_; ++i)
            std::this_thread::sleep_for(1ms);
    }
    bool has_begun() const { return thread_.joinable(); }

private:
    rpc_port_proxy_h proxy_;
    std::atomic<bool> is_done_ = false;
    std::thread thread_;
};

TEST_F(Connect, LeavesTheLoopAloneWhenTheProxyIsDestroyedAtAnyPointOfIt)
{
    int nth = 1;
    for (bool has_begun = true; has_begun; ++nth) {
        Client client;
        {
            Destruction destruction{client};
            {
                const FailingCall before{"pthread_mutex_lock", nth,
                                         [](void* data) { static_cast<Destruction*>(data)->begin(); },
                                         &destruction};
                rpc_port_proxy_connect(destruction.proxy(), kApp, kPort);
            }
            has_begun = destruction.has_begun();
            if (!has_begun)
                destruction.begin();
        }
        run_for(2ms);
        EXPECT_FALSE(g_main_context_pending(nullptr)) << nth;
        EXPECT_EQ(client.connected + client.ended(), 0);
    }
    // That many locks it takes at the least.
    EXPECT_GT(nth, 4);
}

TEST_F(Connect, IsRefusedWhileAConnectionIsThere)
{
    Agent agent;
    agent.listen();
    Client client;
    ASSERT_TRUE(client.connect_to_open());
    EXPECT_EQ(client.connect(), RPC_PORT_ERROR_INVALID_PARAMETER);
}

TEST_F(Connect, CanBeDoneAgainFromWithinTheDisconnectedEvent)
{
    Client client;
    client.on_disconnected = [&] { EXPECT_EQ(client.connect(), 0); };
    {
        Agent agent;
        agent.listen();
        ASSERT_TRUE(client.connect_to_open());
    }
    Agent next;
    next.listen();
    EXPECT_TRUE(run_until([&] { return client.connected == 2; }));
    EXPECT_EQ(client.disconnected, 1);
    auto answer = call_aside(client.main, "again");
    run_until([&] { return answer.wait_for(0s) == std::future_status::ready; });
    EXPECT_EQ(answer.get().text, "echo:again");
}

TEST_F(Connect, ChecksItsArguments)
{
    Client client;
    const int invalid = RPC_PORT_ERROR_INVALID_PARAMETER;
    rpc_port_h port = nullptr;
    EXPECT_EQ(rpc_port_proxy_create(nullptr), invalid);
    EXPECT_EQ(rpc_port_proxy_destroy(nullptr), invalid);
    EXPECT_EQ(rpc_port_proxy_connect(nullptr, kApp, kPort), invalid);
    EXPECT_EQ(rpc_port_proxy_connect(client.proxy, nullptr, kPort), invalid);
    EXPECT_EQ(rpc_port_proxy_connect(client.proxy, kApp, nullptr), invalid);
    EXPECT_EQ(rpc_port_proxy_add_connected_event_cb(client.proxy, nullptr, nullptr), invalid);
    EXPECT_EQ(rpc_port_proxy_add_received_event_cb(nullptr, nullptr, nullptr), invalid);
    EXPECT_EQ(rpc_port_proxy_get_port(client.proxy, RPC_PORT_PORT_MAIN, nullptr), invalid);
    EXPECT_EQ(rpc_port_proxy_get_port(client.proxy, static_cast<rpc_port_port_type_e>(7), &port), invalid);
    EXPECT_EQ(rpc_port_proxy_get_port(client.proxy, RPC_PORT_PORT_MAIN, &port), RPC_PORT_ERROR_IO_ERROR);
    // Names that would lead out of the directory are heard as no such agent.
    EXPECT_EQ(client.connect("../x"), 0);
    EXPECT_TRUE(run_until([&] { return client.rejected == 1; }));
}

TEST_F(Connect, AHandleThatWasDestroyedIsAnErrorAndNotACrash)
{
    Agent agent;
    agent.listen();
    Client client;
    ASSERT_TRUE(client.connect_to_open());
    const rpc_port_proxy_h stale = client.proxy;
    client.destroy();
    rpc_port_h port = nullptr;
    EXPECT_EQ(rpc_port_proxy_destroy(stale), RPC_PORT_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(rpc_port_proxy_connect(stale, kApp, kPort), RPC_PORT_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(rpc_port_proxy_get_port(stale, RPC_PORT_PORT_MAIN, &port), RPC_PORT_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(call(client.main, "x").send, RPC_PORT_ERROR_IO_ERROR);
    EXPECT_EQ(call(client.main, "x").read, RPC_PORT_ERROR_IO_ERROR);
    // One kind of handle is not taken for another.
    EXPECT_EQ(send_text(stale, "x"), RPC_PORT_ERROR_INVALID_PARAMETER);
}

TEST_F(Connect, ManyTimesLeavesNeitherDescriptorsNorThreadsBehind)
{
    Agent agent;
    agent.listen();
    const auto cycle = [] {
        Client client;
        ASSERT_TRUE(client.connect_to_open());
    };
    cycle();
    run_for(20ms);
    const std::size_t before = open_descriptors();
    for (int i = 0; i < 100; ++i)
        cycle();
    EXPECT_TRUE(run_until([&] { return agent.gone.size() == 101; }));
    run_for(20ms);
    EXPECT_EQ(open_descriptors(), before);
}

int connect_without_a_loop()
{
    // The agent answers in a process of its own; here nobody iterates the main context.
    const Home home;
    const pid_t agent = fork_with_parent();
    if (agent == 0) {
        Agent echo;
        echo.listen();
        run_for(10s);
        _exit(0);
    }
    while (access(home.socket().c_str(), F_OK) != 0)
        std::this_thread::sleep_for(5ms);
    Client client;
    client.connect();
    std::this_thread::sleep_for(2500ms);
    kill(agent, SIGKILL);
    return 0;
}
const RoleAdder without_a_loop{"connect-without-a-loop", connect_without_a_loop};

TEST(ConnectWithoutALoop, IsExplainedAfterTwoSeconds)
{
    const std::string errors = run_role("connect-without-a-loop").errors;
    EXPECT_NE(errors.find("nobody iterates the default main context; run g_main_loop_run()"),
              std::string::npos)
        << errors;
}

int connect_to_a_mute_agent()
{
    const Home home;
    const ScopedVariable deadline{"QUORVEL_CONNECT_DEADLINE_MS", "2700"};
    const RawAgent agent{home};
    Client client;
    client.connect();
    // Longer than the loop is given to deliver something that came.
    return run_until([&] { return client.disconnected == 1; }, 5s) ? 0 : 1;
}
const RoleAdder to_a_mute_agent{"connect-to-a-mute-agent", connect_to_a_mute_agent};

TEST(ConnectToAMuteAgent, IsNotBlamedOnTheLoop)
{
    const Outcome outcome = run_role("connect-to-a-mute-agent");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors.find("nobody iterates"), std::string::npos) << outcome.errors;
}

}  // namespace
}  // namespace quorvel::platform::test
