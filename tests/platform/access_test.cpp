// Who may be on the other side, and where the socket may lie. Every attack is refused before a byte is sent.
#include <fcntl.h>
#include <grp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "support.hpp"

namespace quorvel::platform::test {
namespace {

using namespace std::chrono_literals;

constexpr uid_t kStranger = 65534;

class Access : public testing::Test {
protected:
    std::string directory() const { return home_.path() + "/run"; }
    // The client hears "rejected", and the agent that was set up, if any, never got a byte.
    void expect_rejected()
    {
        Client client;
        EXPECT_EQ(client.connect(), 0);
        EXPECT_TRUE(run_until([&] { return client.ended() + client.connected != 0; }));
        EXPECT_EQ(client.rejected, 1);
        EXPECT_EQ(client.connected, 0);
    }
    static void expect_no_byte(RawAgent& agent)
    {
        Descriptor fd = agent.accept_one();
        if (!fd)
            return;
        char byte = 0;
        EXPECT_LE(recv(fd.get(), &byte, 1, 0), 0);
    }

    Home home_;
};

TEST_F(Access, RefusesADirectoryThatOthersCanEnter)
{
    RawAgent agent{home_};
    for (const mode_t mode : {0755U, 0777U, 0770U, 01777U, 0710U, 0701U}) {
        chmod(directory().c_str(), mode);
        expect_rejected();
        Agent stub;
        EXPECT_EQ(stub.listen(), RPC_PORT_ERROR_PERMISSION_DENIED);
    }
}

TEST_F(Access, RefusesADirectoryThatIsReachedThroughALink)
{
    std::filesystem::create_directory(home_.path() + "/elsewhere");
    chmod((home_.path() + "/elsewhere").c_str(), 0700);
    std::filesystem::create_symlink(home_.path() + "/elsewhere", directory());
    expect_rejected();
    Agent stub;
    EXPECT_EQ(stub.listen(), RPC_PORT_ERROR_PERMISSION_DENIED);
    EXPECT_TRUE(std::filesystem::is_empty(home_.path() + "/elsewhere"));
}

TEST_F(Access, RefusesADirectoryAboveWhichALinkStands)
{
    RawAgent agent{home_};
    const std::string link = home_.path() + "-link";
    std::filesystem::create_symlink(home_.path(), link);
    const ScopedVariable moved{"QUORVEL_HOME_DIR", link};
    expect_rejected();
    std::filesystem::remove(link);
}

TEST_F(Access, RefusesTheCommonDirectoryForTemporaryFiles)
{
    const ScopedVariable moved{"QUORVEL_HOME_DIR", "/tmp/.."};
    // "/tmp/../run" is the system's own, and everybody may enter it.
    expect_rejected();
}

TEST_F(Access, RefusesAPathThatIsTooLongForASocket)
{
    const ScopedVariable moved{"QUORVEL_HOME_DIR", home_.path() + "/" + std::string(120, 'd')};
    expect_rejected();
    Agent stub;
    EXPECT_EQ(stub.listen(), RPC_PORT_ERROR_PERMISSION_DENIED);
}

TEST_F(Access, RefusesASocketThatIsALink)
{
    RawAgent agent{home_};
    std::filesystem::rename(home_.socket(), home_.path() + "/real.sock");
    std::filesystem::create_symlink(home_.path() + "/real.sock", home_.socket());
    expect_rejected();
}

TEST_F(Access, RefusesAFileWhereTheSocketShouldBe)
{
    std::filesystem::create_directory(directory());
    chmod(directory().c_str(), 0700);
    close(open(home_.socket().c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    expect_rejected();
}

TEST_F(Access, MakesTheDirectoryForTheUserAlone)
{
    Agent stub;
    EXPECT_EQ(stub.listen(), 0);
    struct stat info {};
    ASSERT_EQ(stat(directory().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0700U);
    ASSERT_EQ(stat(home_.socket().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600U);
}

class AccessOfASecondUser : public Access {
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "needs root, to become a second user";
    }
    // Runs in a process of the second user; the exit status is what it says.
    template <typename Body>
    static int as_stranger(Body&& body)
    {
        const pid_t child = fork();
        if (child == 0) {
            if (setgroups(0, nullptr) != 0 || setresgid(kStranger, kStranger, kStranger) != 0
                || setresuid(kStranger, kStranger, kStranger) != 0)
                _exit(99);
            _exit(body());
        }
        return child;
    }
    static int wait_for(pid_t child)
    {
        int status = 0;
        waitpid(child, &status, 0);
        return WEXITSTATUS(status);
    }
};

TEST_F(AccessOfASecondUser, RefusesADirectoryOfAnotherUser)
{
    RawAgent agent{home_};
    ASSERT_EQ(chown(directory().c_str(), kStranger, kStranger), 0);
    expect_rejected();
}

TEST_F(AccessOfASecondUser, RefusesASocketOfAnotherUser)
{
    RawAgent agent{home_};
    ASSERT_EQ(chown(home_.socket().c_str(), kStranger, kStranger), 0);
    expect_rejected();
}

TEST_F(AccessOfASecondUser, RefusesAnAgentThatAnotherUserRuns)
{
    // The directory and the socket look right, but somebody else listens.
    std::filesystem::create_directory(directory());
    chmod(home_.path().c_str(), 0755);
    chmod(directory().c_str(), 0777);
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = as_stranger([&] {
        RawAgent agent{home_};
        static_cast<void>(!write(ready[1], "x", 1));
        const Descriptor fd = agent.accept_one();
        char byte = 0;
        return fd && recv(fd.get(), &byte, 1, 0) <= 0 ? 0 : 1;
    });
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    chmod(directory().c_str(), 0700);
    ASSERT_EQ(chown(home_.socket().c_str(), 0, 0), 0);
    expect_rejected();
    EXPECT_EQ(wait_for(child), 0);
}

TEST_F(AccessOfASecondUser, TurnsAStrangerAwayWhoReachesTheAgentsSocket)
{
    Agent agent;
    ASSERT_EQ(agent.listen(), 0);
    chmod(home_.path().c_str(), 0755);
    chmod(directory().c_str(), 0755);
    chmod(home_.socket().c_str(), 0777);
    const pid_t child = as_stranger([&] {
        const Link link = introduce_raw(home_);
        return link.main && is_at_end(link.main.get()) ? 0 : 1;
    });
    run_for(200ms);
    EXPECT_EQ(wait_for(child), 0);
    EXPECT_TRUE(agent.instances.empty());
}

TEST_F(AccessOfASecondUser, LetsRootsAgentServeNobodyButRoot)
{
    // A client of another user trusts root's agent, which does not trust it: that is a rejection, too.
    Home theirs;
    std::filesystem::create_directory(theirs.path() + "/run");
    chmod((theirs.path() + "/run").c_str(), 0700);
    Agent agent;
    ASSERT_EQ(agent.listen(), 0);
    ASSERT_EQ(chown(theirs.path().c_str(), kStranger, kStranger), 0);
    ASSERT_EQ(chown((theirs.path() + "/run").c_str(), kStranger, kStranger), 0);
    chmod(theirs.socket().c_str(), 0777);
    const pid_t child = as_stranger([] {
        Client client;
        client.connect();
        run_until([&] { return client.ended() + client.connected != 0; });
        return client.rejected == 1 ? 0 : 1;
    });
    run_for(300ms);
    EXPECT_EQ(wait_for(child), 0);
    EXPECT_TRUE(agent.instances.empty());
}

}  // namespace
}  // namespace quorvel::platform::test
