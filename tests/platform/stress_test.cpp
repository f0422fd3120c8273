// Everything at once, which is what the thread sanitizer wants to see.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "support.hpp"

namespace quorvel::platform::test {
namespace {

using namespace std::chrono_literals;

#ifdef QUORVEL_SANITIZED
constexpr int kRounds = 40;
#else
constexpr int kRounds = 200;
#endif

// An agent in a process of its own that answers, and fires a callback with every answer.
class Stress : public testing::Test {
protected:
    void SetUp() override
    {
        agent_ = fork_with_parent();
        if (agent_ == 0) {
            setenv("QUORVEL_AGENT_CONNECTIONS", "64", 1);
            Agent agent;
            rpc_port_stub_add_received_event_cb(
                agent.stub,
                [](const char*, const char* instance, rpc_port_h, void* data) {
                    rpc_port_h port = nullptr;
                    rpc_port_stub_get_port(static_cast<Agent*>(data)->stub, RPC_PORT_PORT_CALLBACK, instance,
                                           &port);
                    send_text(port, "event");
                    return 0;
                },
                &agent);
            agent.listen();
            run_for(120s);
            _exit(0);
        }
        while (access(home_.socket().c_str(), F_OK) != 0)
            std::this_thread::sleep_for(5ms);
    }
    void TearDown() override
    {
        kill(agent_, SIGKILL);
        waitpid(agent_, nullptr, 0);
    }

    Home home_;
    pid_t agent_ = 0;
};

TEST_F(Stress, OneConnectionServesManyThreadsInTurnWhileCallbacksAreTold)
{
    Client client;
    ASSERT_TRUE(client.connect_to_open());
    // What a client's library does: one call at a time, since answers carry no number.
    std::mutex turn;
    std::atomic<int> wrong{0};
    std::atomic<int> running{4};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (int k = 0; k < 10 * kRounds; ++k) {
                const std::string question = std::to_string(i) + "/" + std::to_string(k);
                const std::lock_guard lock{turn};
                if (call(client.main, question).text != "echo:" + question)
                    ++wrong;
            }
            --running;
        });
    }
    run_until([&] { return running == 0; }, 60s);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_TRUE(run_until([&] { return client.received.size() == 4U * 10 * kRounds; }));
}

TEST_F(Stress, ProxiesAreDestroyedByOtherThreadsAtAnyMoment)
{
    // Events of a proxy that is destroyed elsewhere may be about to begin: their data outlives all of them.
    struct Shared {
        std::atomic<rpc_port_h> main{nullptr};
        std::atomic<int> events{0};
    } shared;
    std::atomic<int> running{3};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&, i] {
            for (int k = 0; k < kRounds; ++k) {
                rpc_port_proxy_h proxy = nullptr;
                rpc_port_proxy_create(&proxy);
                rpc_port_proxy_add_connected_event_cb(
                    proxy,
                    [](const char*, const char*, rpc_port_h port, void* data) {
                        static_cast<Shared*>(data)->main = port;
                        ++static_cast<Shared*>(data)->events;
                    },
                    &shared);
                rpc_port_proxy_add_disconnected_event_cb(
                    proxy, [](const char*, const char*, void* data) { ++static_cast<Shared*>(data)->events; },
                    &shared);
                rpc_port_proxy_connect(proxy, kApp, kPort);
                std::this_thread::sleep_for(std::chrono::microseconds{(k * 97 + i * 31) % 3000});
                rpc_port_proxy_destroy(proxy);
            }
            --running;
        });
    }
    // Others use whatever port there was last, alive or not.
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            while (running != 0) {
                if (rpc_port_h port = shared.main)
                    static_cast<void>(call(port, "x"));
                std::this_thread::yield();
            }
        });
    }
    run_until([&] { return running == 0; }, 60s);
    for (std::thread& thread : threads)
        thread.join();
    run_for(50ms);
    EXPECT_GT(shared.events, 0);
}

TEST_F(Stress, AConnectionIsClosedUnderItsCallers)
{
    for (int round = 0; round < kRounds / 4; ++round) {
        Client client;
        ASSERT_TRUE(client.connect_to_open());
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([&] {
                while (call(client.main, "x").send == 0) {
                }
            });
        }
        run_for(std::chrono::milliseconds{round % 5});
        client.destroy();
        for (std::thread& thread : threads)
            thread.join();
    }
}

}  // namespace
}  // namespace quorvel::platform::test
