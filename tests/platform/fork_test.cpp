#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "support.hpp"

namespace quorvel::platform::test {
namespace {

using namespace std::chrono_literals;

class ForkTest : public testing::Test {
protected:
    void SetUp() override
    {
        // The agent lives in a process of its own, so that calls can be made on this thread.
        agent_ = fork_with_parent();
        if (agent_ == 0) {
            Agent agent;
            agent.listen();
            run_for(30s);
            _exit(0);
        }
        while (access(home_.socket().c_str(), F_OK) != 0)
            std::this_thread::sleep_for(5ms);
        ASSERT_TRUE(client_.connect_to_open());
    }
    void TearDown() override
    {
        kill(agent_, SIGKILL);
        waitpid(agent_, nullptr, 0);
    }
    template <typename Body>
    static int in_child(Body&& body)
    {
        const pid_t child = fork();
        if (child == 0) {
            alarm(20);
            _exit(body());
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    static int sockets()
    {
        int count = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            if (std::stoi(entry.path().filename()) <= STDERR_FILENO)
                continue;
            std::error_code gone;
            const std::string target = std::filesystem::read_symlink(entry.path(), gone).string();
            count += target.starts_with("socket:") ? 1 : 0;
        }
        return count;
    }

    Home home_;
    pid_t agent_ = 0;
    Client client_;
};

TEST_F(ForkTest, TheChildIsDisconnectedAndTheParentLosesNothing)
{
    EXPECT_GE(sockets(), 2);
    EXPECT_EQ(in_child([&] {
                  const Answer answer = call(client_.main, "from the child");
                  rpc_port_h port = nullptr;
                  return answer.send == RPC_PORT_ERROR_IO_ERROR && answer.read == RPC_PORT_ERROR_IO_ERROR
                                 && rpc_port_proxy_get_port(client_.proxy, RPC_PORT_PORT_MAIN, &port)
                                        == RPC_PORT_ERROR_IO_ERROR
                                 && sockets() == 0
                             ? 0
                             : 1;
              }),
              0);
    EXPECT_EQ(call(client_.main, "from the parent").text, "echo:from the parent");
}

TEST_F(ForkTest, TheChildMayDestroyWhatItInheritedAndRunTheLoop)
{
    EXPECT_EQ(in_child([&] {
                  run_for(30ms);
                  client_.destroy();
                  run_for(30ms);
                  return client_.ended();
              }),
              0);
    EXPECT_EQ(call(client_.main, "x").text, "echo:x");
}

TEST_F(ForkTest, TheChildMayConnectOnItsOwn)
{
    EXPECT_EQ(in_child([] {
                  Client own;
                  return own.connect_to_open() && call(own.main, "own").text == "echo:own" ? 0 : 1;
              }),
              0);
    EXPECT_EQ(call(client_.main, "x").text, "echo:x");
}

TEST_F(ForkTest, WithThreadsInTheMidstOfCallsLeavesTheChildAbleToAct)
{
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    // One caller alone, since nothing here tells two answers apart; the others keep the locks busy.
    std::thread caller{[&] {
        for (int i = 0; !stop; ++i) {
            if (call(client_.main, std::to_string(i)).text != "echo:" + std::to_string(i))
                ++wrong;
        }
    }};
    std::vector<std::thread> others;
    for (int i = 0; i < 3; ++i) {
        others.emplace_back([&] {
            while (!stop) {
                rpc_port_proxy_h proxy = nullptr;
                rpc_port_proxy_create(&proxy);
                rpc_port_proxy_destroy(proxy);
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(in_child([&] {
                      const Answer answer = call(client_.main, "x");
                      client_.destroy();
                      Client own;
                      return answer.send != 0 && answer.read != 0 && own.connect_to_open() ? 0 : 1;
                  }),
                  0);
    }
    stop = true;
    caller.join();
    for (std::thread& thread : others)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(ForkTest, AProgramThatIsRunSeesItsStandardStreamsOnly)
{
    const pid_t child = fork();
    if (child == 0) {
        // Without the child handlers' help: what is left open must be closed by the exec itself.
        execl("/bin/sh", "sh", "-c",
              "test \"$(ls /proc/$$/fd | sort -n | head -3 | tr '\\n' ' ')\" = '0 1 2 ' "
              "&& ! readlink /proc/$$/fd/* | grep socket:",
              nullptr);
        _exit(126);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST(ForkOfAnAgent, LeavesTheChildWithoutClientsAndTheAgentWithAllOfThem)
{
    const Home home;
    Agent agent;
    ASSERT_EQ(agent.listen(), 0);
    Client client;
    ASSERT_TRUE(client.connect_to_open());
    const Descriptor not_introduced = connect_raw(home);
    run_for(20ms);
    const rpc_port_h port = agent.port(RPC_PORT_PORT_CALLBACK);
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        run_for(30ms);
        const bool is_alone = send_text(port, "from the child") == RPC_PORT_ERROR_IO_ERROR
                              && agent.listen() == RPC_PORT_ERROR_INVALID_PARAMETER;
        rpc_port_stub_destroy(std::exchange(agent.stub, nullptr));
        _exit(is_alone ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    // The child took neither the socket's file nor what was sent to the agent.
    EXPECT_EQ(access(home.socket().c_str(), F_OK), 0);
    auto answer = call_aside(client.main, "x");
    EXPECT_TRUE(run_until([&] { return answer.wait_for(0s) == std::future_status::ready; }));
    EXPECT_EQ(answer.get().text, "echo:x");
    EXPECT_TRUE(agent.gone.empty());
}

}  // namespace
}  // namespace quorvel::platform::test
