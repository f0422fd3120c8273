// Starting an installed agent by connecting to it.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <thread>

#include "failing_calls.hpp"
#include "support.hpp"

namespace quorvel::platform::test {
namespace {

using namespace std::chrono_literals;

// The installed agent: notes that it was started, and answers until nobody has been connected for a while.
int serve_for_a_while()
{
    const std::string home = std::getenv("QUORVEL_HOME_DIR");
    const std::string fds = std::to_string(open_descriptors());
    std::ofstream{home + "/starts", std::ios::app} << getpid() << ' ' << getsid(0) << ' ' << fds << ' '
                                                   << std::getenv("QUORVEL_APP_ID") << ' '
                                                   << (std::getenv("QUORVEL_CAPTURE") == nullptr) << '\n';
    std::this_thread::sleep_for(100ms);
    Agent agent;
    if (agent.listen() != 0)
        return 1;
    run_until([&] { return !agent.instances.empty() && agent.gone.size() == agent.instances.size(); }, 5s);
    run_for(100ms);
    return 0;
}
const RoleAdder serve{"serve-for-a-while", serve_for_a_while};

int fail_at_once()
{
    return 3;
}
const RoleAdder fail{"fail-at-once", fail_at_once};

int never_listen()
{
    std::this_thread::sleep_for(2s);
    return 0;
}
const RoleAdder never{"never-listen", never_listen};

class Start : public testing::Test {
protected:
    void install(const std::string& role) { install(role, home_); }
    static void install(const std::string& role, const Home& home)
    {
        home.install("id=com.example.agent\nversion=1.0\nexec=\""
                     + std::filesystem::read_symlink("/proc/self/exe").string() + "\" --role " + role + "\n");
    }
    std::vector<std::string> starts()
    {
        std::istringstream lines{home_.read("starts")};
        std::vector<std::string> result;
        for (std::string line; std::getline(lines, line);)
            result.push_back(line);
        return result;
    }

    Home home_;
};

TEST_F(Start, HappensWhenAnInstalledAgentIsConnectedTo)
{
    install("serve-for-a-while");
    const ScopedVariable capture{"QUORVEL_CAPTURE", ""};
    Client client;
    ASSERT_TRUE(client.connect_to_open());
    EXPECT_EQ(call(client.main, "hello").text, "echo:hello");
    ASSERT_EQ(starts().size(), 1U);
}

TEST_F(Start, GivesTheAgentASessionAnIdentityAndNoDescriptorsOfOurs)
{
    install("serve-for-a-while");
    Client client;
    ASSERT_TRUE(client.connect_to_open());
    std::istringstream words{starts().at(0)};
    pid_t process = 0;
    pid_t session = 0;
    int descriptors = 0;
    std::string app;
    bool captureless = false;
    words >> process >> session >> descriptors >> app >> captureless;
    EXPECT_NE(session, getsid(0));
    // The three standard streams, and the directory that is being read to count them.
    EXPECT_EQ(descriptors, 4);
    EXPECT_EQ(app, kApp);
    EXPECT_TRUE(captureless);
    // No child of ours: there is nothing to reap.
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(Start, HappensOnceForManyClientsAtATime)
{
    install("serve-for-a-while");
    std::vector<pid_t> children;
    for (int i = 0; i < 6; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            Client client;
            const bool open = client.connect_to_open();
            _exit(open && call(client.main, "x").text == "echo:x" ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(starts().size(), 1U);
}

TEST_F(Start, HappensAgainAfterTheAgentHasDied)
{
    install("serve-for-a-while");
    Client client;
    ASSERT_TRUE(client.connect_to_open());
    // A new connection may meet the socket of the dying agent, and is then disconnected, too.
    client.on_disconnected = [&] { EXPECT_EQ(client.connect(), 0); };
    kill(std::stoi(starts().at(0)), SIGKILL);
    EXPECT_TRUE(run_until([&] { return client.connected == 2; }));
    client.on_disconnected = nullptr;
    EXPECT_EQ(call(client.main, "y").text, "echo:y");
    EXPECT_EQ(starts().size(), 2U);
}

TEST_F(Start, ThatFailsIsHeardAsRejectedSoon)
{
    home_.install("id=com.example.agent\nexec=/nonexistent/program\n");
    Client client;
    client.connect();
    EXPECT_TRUE(run_until([&] { return client.ended() != 0; }, 2s));
    EXPECT_EQ(client.rejected, 1);
}

TEST_F(Start, OfAnAgentThatEndsAtOnceIsHeardAsRejectedSoon)
{
    install("fail-at-once");
    Client client;
    client.connect();
    EXPECT_TRUE(run_until([&] { return client.ended() != 0; }, 5s));
    EXPECT_EQ(client.rejected, 1);
}

TEST_F(Start, OfAnAgentThatNeverListensEndsAtTheConnectDeadline)
{
    const ScopedVariable deadline{"QUORVEL_CONNECT_DEADLINE_MS", "300"};
    install("never-listen");
    Client client;
    const Stopwatch watch;
    client.connect();
    EXPECT_TRUE(run_until([&] { return client.ended() != 0; }, 5s));
    EXPECT_EQ(client.disconnected, 1);
    EXPECT_LT(watch.own(), 300ms + kSlack);
}

TEST_F(Start, OfAPackageWithoutAProgramIsHeardAsRejected)
{
    home_.install("id=com.example.agent\nversion=1.0\n");
    Client client;
    client.connect();
    EXPECT_TRUE(run_until([&] { return client.ended() != 0; }));
    EXPECT_EQ(client.rejected, 1);
}

struct StartFault {
    const char* call;
    int error;
    int uses;  // by a start, at the least
};
void PrintTo(const StartFault& fault, std::ostream* out)
{
    *out << fault.call << " fails with " << fault.error;
}

class StartUnderFaults : public Start, public testing::WithParamInterface<StartFault> {};

TEST_P(StartUnderFaults, IsHeardOfAndHappensTheNextTime)
{
    const std::size_t descriptors = open_descriptors();
    for (int nth = 1; nth <= GetParam().uses; ++nth) {
        // The agent of the round before may live for a while.
        const Home home;
        install("serve-for-a-while", home);
        {
            FailingCall fault{GetParam().call, GetParam().error, nth};
            Client client;
            EXPECT_EQ(client.connect(), 0);
            EXPECT_TRUE(run_until([&] { return client.connected + client.ended() != 0; }));
            EXPECT_TRUE(fault.happened()) << nth;
        }
        Client next;
        EXPECT_TRUE(next.connect_to_open()) << nth;
        EXPECT_EQ(call(next.main, "x").text, "echo:x");
    }
    EXPECT_TRUE(run_until([&] { return open_descriptors() <= descriptors; }, 1s));
}

INSTANTIATE_TEST_SUITE_P(Calls, StartUnderFaults,
                         testing::Values(StartFault{"open", EMFILE, 3}, StartFault{"pipe2", EMFILE, 1},
                                         StartFault{"_Fork", EAGAIN, 1}, StartFault{"waitpid", EINTR, 1},
                                         StartFault{"read", EINTR, 3}, StartFault{"read", EIO, 3},
                                         StartFault{"syscall", ENOSYS, 2}, StartFault{"mkdir", EACCES, 2}));

TEST_F(Start, CutsALogShortThatHasGrownTooLong)
{
    install("serve-for-a-while");
    std::filesystem::create_directory(home_.path() + "/state");
    const std::string log = home_.path() + "/state/com.example.agent.log";
    std::ofstream{log} << "old";
    std::filesystem::resize_file(log, (4 << 20) + 1);
    Client client;
    ASSERT_TRUE(client.connect_to_open());
    EXPECT_LT(std::filesystem::file_size(log), 1000U);
}

}  // namespace
}  // namespace quorvel::platform::test
