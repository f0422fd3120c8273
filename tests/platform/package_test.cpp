#include "package_info.h"

#include <sys/stat.h>

#include <cstdlib>

#include "packages.hpp"
#include "support.hpp"

namespace quorvel::platform::test {
namespace {

class PackageTest : public testing::Test {
protected:
    int create(const char* id)
    {
        package_info_h info = nullptr;
        const int result = package_info_create(id, &info);
        EXPECT_EQ(info != nullptr, result == 0);
        version_ = "none";
        char* version = nullptr;
        if (info != nullptr && package_info_get_version(info, &version) == 0) {
            version_ = version;
            free(version);
        }
        if (info != nullptr)
            package_info_destroy(info);
        return result;
    }

    Home home_;
    std::string version_;
};

TEST_F(PackageTest, IsFoundWithItsVersion)
{
    home_.install(
        "# a comment\n id = com.example.agent \r\nversion=2.3.15\nunknown=ignored\n\nexec=/bin/true\n");
    EXPECT_EQ(create(kApp), 0);
    EXPECT_EQ(version_, "2.3.15");
}

TEST_F(PackageTest, IsUnknownWhenThereIsNoFile)
{
    EXPECT_EQ(create(kApp), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
    EXPECT_EQ(create(""), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
    EXPECT_EQ(create("../packages/com.example.agent"), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
}

TEST_F(PackageTest, WithoutAVersionHasNone)
{
    home_.install("id=com.example.agent\n");
    EXPECT_EQ(create(kApp), 0);
    EXPECT_EQ(version_, "none");
}

TEST_F(PackageTest, IsUnknownWhenItsFileSpeaksOfAnother)
{
    home_.install("id=com.example.other\nversion=1.0\n");
    EXPECT_EQ(create(kApp), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
}

TEST_F(PackageTest, IsUnknownWhenItsFileIsMalformed)
{
    home_.install("id=com.example.agent\nwhat is this\n");
    EXPECT_EQ(create(kApp), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
    home_.install("id=com.example.agent\nexec=\"unfinished\n");
    EXPECT_EQ(create(kApp), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
}

TEST_F(PackageTest, IsUnknownWhenAnybodyMayWriteItsFile)
{
    home_.install("id=com.example.agent\nversion=1.0\n");
    chmod((home_.path() + "/packages/com.example.agent.package").c_str(), 0666);
    EXPECT_EQ(create(kApp), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
}

TEST_F(PackageTest, IsStartedBesideItsFileUnlessThePathIsWhole)
{
    home_.install("id=com.example.agent\nexec=../bin/agent --home \"my home\"\n");
    const std::vector<std::string> expected = {home_.path() + "/packages/../bin/agent", "--home", "my home"};
    EXPECT_EQ(find_package(kApp)->command, expected);
    home_.install("id=com.example.agent\nexec=/usr/bin/agent\n");
    EXPECT_EQ(find_package(kApp)->command, std::vector<std::string>{"/usr/bin/agent"});
}

TEST_F(PackageTest, ChecksItsArguments)
{
    package_info_h info = nullptr;
    EXPECT_EQ(package_info_create(nullptr, &info), -22);
    EXPECT_EQ(package_info_create(kApp, nullptr), -22);
    char* version = nullptr;
    EXPECT_EQ(package_info_get_version(nullptr, &version), -22);
    home_.install("id=com.example.agent\nversion=1.0\n");
    ASSERT_EQ(package_info_create(kApp, &info), 0);
    EXPECT_EQ(package_info_get_version(info, nullptr), -22);
    EXPECT_EQ(package_info_destroy(info), 0);
    EXPECT_EQ(package_info_destroy(nullptr), -22);
}

TEST_F(PackageTest, IsUnknownByANameThatIsNoPlainOne)
{
    EXPECT_EQ(create(".hidden"), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
    EXPECT_EQ(create("com.example/agent"), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
    EXPECT_EQ(create(std::string(300, 'a').c_str()), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
    home_.install("id=a_b-c.d\nversion=1.1\n", "a_b-c.d");
    EXPECT_EQ(create("a_b-c.d"), 0);
    EXPECT_EQ(version_, "1.1");
}

TEST_F(PackageTest, IsUnknownWhenItsFileIsNone)
{
    mkdir((home_.path() + "/packages").c_str(), 0700);
    ASSERT_EQ(mkdir((home_.path() + "/packages/com.example.agent.package").c_str(), 0700), 0);
    EXPECT_EQ(create(kApp), PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
}

TEST_F(PackageTest, IsFoundWhenItsFileEndsWithoutALineBreak)
{
    home_.install("id=com.example.agent\nexec=\nversion=1.2");
    EXPECT_EQ(create(kApp), 0);
    EXPECT_EQ(version_, "1.2");
}

}  // namespace
}  // namespace quorvel::platform::test
