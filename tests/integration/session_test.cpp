// Connecting to an agent, and losing it.
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "support.hpp"

namespace {

using namespace integration;

using Session = WithEchoAgent;

TEST_F(Session, StartsTheInstalledAgentAndConnects)
{
    Connection connection;
    ASSERT_TRUE(connection.establish());
    EXPECT_EQ(connection.last_result, 0);
    bool is_signed_in = false;
    EXPECT_EQ(quorvel_client_is_signed_in(connection.handle, &is_signed_in), 0);
    EXPECT_TRUE(is_signed_in);
    std::string answer;
    EXPECT_EQ(ask_metadata(connection.handle, "vid-1", answer), 0);
    EXPECT_EQ(answer, "metadata of vid-1");
}

TEST_F(Session, IsConnectedOnlyOnceTheCallbackHasRun)
{
    Connection connection;
    ASSERT_EQ(connection.connect(), 0);
    bool is_signed_in = false;
    EXPECT_EQ(quorvel_client_is_signed_in(connection.handle, &is_signed_in),
              QUORVEL_CLIENT_ERROR_NOT_CONNECTED);
    EXPECT_EQ(connection.connected, 0);
    ASSERT_TRUE(pump_until([&] { return connection.connected == 1; }));
    EXPECT_EQ(quorvel_client_is_signed_in(connection.handle, &is_signed_in), 0);
}

TEST_F(Session, HandsOutTheDevicesOfTheAgent)
{
    Connection connection;
    ASSERT_TRUE(connection.establish());
    quorvel_client_device_h* devices = nullptr;
    int count = 0;
    ASSERT_EQ(quorvel_client_get_device_list(connection.handle, &devices, &count), 0);
    ASSERT_EQ(count, 12);
    EXPECT_EQ(devices[12], nullptr);
    for (int i = 0; i < count; ++i) {
        char* id = nullptr;
        EXPECT_EQ(quorvel_client_device_get_string(devices[i], QUORVEL_CLIENT_DEVICE_PROP_DEVICE_ID, &id), 0);
        EXPECT_EQ("device-" + std::to_string(i), Text{id}.get());
        quorvel_client_device_destroy(devices[i]);
    }
    std::free(devices);
}

TEST_F(Session, WithoutTheAgentInstalledIsNotSupportedAndTouchesNoPort)
{
    home.uninstall();
    Connection connection;
    EXPECT_EQ(connection.connect(), QUORVEL_CLIENT_ERROR_NOT_SUPPORTED);
    EXPECT_FALSE(std::filesystem::exists(home.sockets()));
}

TEST_F(Session, IsRefusedByAnAgentThatIsTooOld)
{
    home.install("0.9.1", ECHO_AGENT);
    Connection connection;
    EXPECT_EQ(connection.connect(), QUORVEL_CLIENT_ERROR_LOWER_VERSION);
}

TEST_F(Session, IsRejectedWhenTheAgentCannotBeStarted)
{
    home.install("2.4.0", "/bin/false");
    Connection connection;
    ASSERT_EQ(connection.connect(), 0);
    ASSERT_TRUE(pump_until([&] { return connection.rejected == 1; }));
    EXPECT_EQ(connection.last_result, QUORVEL_CLIENT_ERROR_PERMISSION_DENIED);
    EXPECT_EQ(connection.connected, 0);
    connection.disconnect();

    // A new connect is allowed, and works once the agent can be started.
    home.install("2.4.0", ECHO_AGENT);
    Connection second;
    EXPECT_TRUE(second.establish());
}

TEST_F(Session, IsRejectedAtTheSocketOfAnotherUser)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root, to be two users";
    // The stranger is whoever called listen().
    std::filesystem::create_directory(home.sockets());
    std::filesystem::permissions(home.sockets(), std::filesystem::perms::owner_all);
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t stranger = fork();
    if (stranger == 0) {
        const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = home.socket();
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || setgid(65534) != 0
            || setuid(65534) != 0 || listen(listener, 4) != 0)
            _exit(1);
        const char byte = 'r';
        if (write(ready[1], &byte, 1) != 1)
            _exit(1);
        char received = 0;
        const int peer = TEMP_FAILURE_RETRY(accept(listener, nullptr, nullptr));
        // Nothing may be said to a stranger.
        _exit(TEMP_FAILURE_RETRY(recv(peer, &received, 1, 0)) > 0 ? 2 : 0);
    }
    char byte = 0;
    ASSERT_EQ(TEMP_FAILURE_RETRY(read(ready[0], &byte, 1)), 1);
    Connection connection;
    ASSERT_EQ(connection.connect(), 0);
    EXPECT_TRUE(pump_until([&] { return connection.rejected == 1; }));
    EXPECT_EQ(connection.connected, 0);
    EXPECT_EQ(connection.last_result, QUORVEL_CLIENT_ERROR_PERMISSION_DENIED);
    int status = 0;
    TEMP_FAILURE_RETRY(waitpid(stranger, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "a byte was sent to the stranger";
}

TEST_F(Session, HearsOnceThatTheAgentDiedBetweenCallsAndConnectsAnew)
{
    Connection connection;
    ASSERT_TRUE(connection.establish());
    home.kill_agent(SIGKILL);
    ASSERT_TRUE(pump_until([&] { return connection.disconnected > 0; }));
    EXPECT_FALSE(pump_until([&] { return connection.disconnected > 1; }, 200ms));
    std::string answer;
    EXPECT_EQ(ask_metadata(connection.handle, "vid", answer), QUORVEL_CLIENT_ERROR_NOT_CONNECTED);
    connection.disconnect();

    Connection second;
    ASSERT_TRUE(second.establish());
    EXPECT_EQ(ask_metadata(second.handle, "vid", answer), 0);
}

TEST_F(Session, EndsACallWhenTheAgentDiesInIt)
{
    Connection connection;
    ASSERT_TRUE(connection.establish());
    std::string answer;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(ask_metadata(connection.handle, "die", answer), QUORVEL_CLIENT_ERROR_UNKNOWN);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
    ASSERT_TRUE(pump_until([&] { return connection.disconnected > 0; }));
    EXPECT_FALSE(pump_until([&] { return connection.disconnected > 1; }, 200ms));
    connection.disconnect();
    Connection second;
    EXPECT_TRUE(second.establish());
}

TEST_F(Session, ReportsAnAgentThatDiedBeforeTheFirstCall)
{
    Connection connection;
    ASSERT_EQ(connection.connect(), 0);
    ASSERT_TRUE(pump_until([&] { return connection.connected == 1; }));
    home.kill_agent(SIGKILL);
    bool is_signed_in = false;
    // The event is not delivered before the main context is iterated; the call itself finds the agent gone.
    EXPECT_EQ(quorvel_client_is_signed_in(connection.handle, &is_signed_in), QUORVEL_CLIENT_ERROR_UNKNOWN);
    EXPECT_TRUE(pump_until([&] { return connection.disconnected == 1; }));
}

TEST_F(Session, EndsACallThatIsNotAnsweredAtTheDeadlineAndClosesTheConnection)
{
    setenv("QUORVEL_DEADLINE_MS", "300", 1);
    Connection connection;
    ASSERT_TRUE(connection.establish());
    std::string answer;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(ask_metadata(connection.handle, "mute", answer), QUORVEL_CLIENT_ERROR_UNKNOWN);
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(took, 290ms);
    EXPECT_LT(took, 3s);
    EXPECT_TRUE(pump_until([&] { return connection.disconnected == 1; }));
    connection.disconnect();
    Connection second;
    EXPECT_TRUE(second.establish());
    EXPECT_EQ(ask_metadata(second.handle, "vid", answer), 0);
}

TEST_F(Session, MayConnectAnewInsideTheDisconnectedCallback)
{
    Connection connection;
    Connection second;
    connection.on_disconnected = [&] {
        connection.disconnect();
        second.connect();
    };
    // While it dies the agent's socket may still take a connection, which ends with it.
    second.on_disconnected = [&] {
        second.disconnect();
        second.connect();
    };
    ASSERT_TRUE(connection.establish());
    home.kill_agent(SIGKILL);
    std::string answer;
    EXPECT_TRUE(pump_until([&] { return ask_metadata(second.handle, "vid", answer) == 0; }));
}

TEST_F(Session, LeavesNothingBehindInAThousandConnections)
{
    const int cycles = scaled("connections", 1000, 200);
    {
        Connection first;
        ASSERT_TRUE(first.establish());
    }
    const int descriptors = open_descriptors();
    for (int i = 0; i < cycles; ++i) {
        Connection connection;
        ASSERT_TRUE(connection.establish()) << i;
        bool is_signed_in = false;
        ASSERT_EQ(quorvel_client_is_signed_in(connection.handle, &is_signed_in), 0);
    }
    // What the loop itself holds goes at its next turn. Bytes are the leak sanitizer's affair.
    EXPECT_TRUE(pump_until([&] { return open_descriptors() <= descriptors; }, 2s)) << open_descriptors();
}

}  // namespace
