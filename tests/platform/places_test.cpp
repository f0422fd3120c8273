// Where things lie when nothing, or something else, says where.
#include "places.hpp"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "support.hpp"

namespace quorvel::platform::test {
namespace {

// Nothing is said about any place.
class Places : public testing::Test {
protected:
    ScopedVariable home_{"QUORVEL_HOME_DIR", ""};
    ScopedVariable runtime_{"XDG_RUNTIME_DIR", ""};
    ScopedVariable state_{"XDG_STATE_HOME", ""};
    ScopedVariable data_{"XDG_DATA_HOME", ""};
    ScopedVariable user_{"HOME", "/home/ada"};
};

TEST_F(Places, LieUnderOneDirectoryWhereThatIsGiven)
{
    const ScopedVariable home{"QUORVEL_HOME_DIR", "/srv/quorvel"};
    EXPECT_EQ(socket_directory(), "/srv/quorvel/run");
    EXPECT_EQ(state_directory(), "/srv/quorvel/state");
    EXPECT_EQ(package_directories(), std::vector<std::string>{"/srv/quorvel/packages"});
}

TEST_F(Places, LieWhereTheDesktopSaysSo)
{
    const ScopedVariable runtime{"XDG_RUNTIME_DIR", "/run/user/7"};
    const ScopedVariable state{"XDG_STATE_HOME", "/var/ada"};
    const ScopedVariable data{"XDG_DATA_HOME", "/data/ada"};
    EXPECT_EQ(socket_directory(), "/run/user/7/quorvel");
    EXPECT_EQ(state_directory(), "/var/ada/quorvel");
    EXPECT_EQ(package_directories().front(), "/data/ada/quorvel/packages");
    EXPECT_EQ(package_directories().size(), 2U);
}

TEST_F(Places, LieUnderTheUsersHomeOtherwise)
{
    EXPECT_EQ(state_directory(), "/home/ada/.local/state/quorvel");
    EXPECT_EQ(package_directories().front(), "/home/ada/.local/share/quorvel/packages");
}

TEST_F(Places, LieUnderTheHomeOfTheUsersEntryWhenTheEnvironmentIsEmpty)
{
    const ScopedVariable user{"HOME", ""};
    const passwd* const entry = getpwuid(geteuid());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(state_directory(), std::string{entry->pw_dir} + "/.local/state/quorvel");
}

TEST_F(Places, OfSocketsAreTheUsersRuntimeDirectoryOrOneUnderTmp)
{
    const std::string uid = std::to_string(geteuid());
    struct stat info {};
    const bool has_runtime_directory = stat(("/run/user/" + uid).c_str(), &info) == 0;
    EXPECT_EQ(socket_directory(),
              has_runtime_directory ? "/run/user/" + uid + "/quorvel" : "/tmp/quorvel-" + uid);
}

TEST_F(Places, TakeNoNumberThatIsNoneOrOutOfRange)
{
    for (const char* text : {"", "x", "1x", "-1", "0", "11", "99999999999999999999", " 5", "5 "}) {
        const ScopedVariable number{"QUORVEL_TEST_NUMBER", text};
        EXPECT_EQ(setting("QUORVEL_TEST_NUMBER", 1, 10, 4), 4) << text;
    }
    const ScopedVariable lowest{"QUORVEL_TEST_NUMBER", "1"};
    EXPECT_EQ(setting("QUORVEL_TEST_NUMBER", 1, 10, 4), 1);
    const ScopedVariable highest{"QUORVEL_TEST_NUMBER", "10"};
    EXPECT_EQ(setting("QUORVEL_TEST_NUMBER", 1, 10, 4), 10);
}

}  // namespace
}  // namespace quorvel::platform::test
