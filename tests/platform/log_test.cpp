#include "log.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <regex>
#include <sstream>

#include "failing_allocations.hpp"
#include "failing_calls.hpp"
#include "package_info.h"
#include "platform_error.h"
#include "support.hpp"

namespace quorvel::platform::test {
namespace {

int write_some_lines()
{
    dlog_print(DLOG_INFO, "QC_API", "info %d", 1);
    dlog_print(DLOG_WARN, "RPC_PORT_PROXY", "warn %d", 2);
    dlog_print(DLOG_ERROR, "QC_API", "error %d", 3);
    return 0;
}
const RoleAdder lines{"log-lines", write_some_lines};

int write_odd_lines()
{
    dlog_print(DLOG_ERROR, "T", "%s", "one\nforged\x1b[31m\x7f");
    dlog_print(DLOG_ERROR, "T", "%s|", std::string(5000, 'x').c_str());
    dlog_print(static_cast<log_priority>(99), "T", "no such priority");
    dlog_print(static_cast<log_priority>(DLOG_VERBOSE - 1), "T", "no such priority");
    dlog_print(DLOG_ERROR, nullptr, "no tag");
    dlog_print(DLOG_ERROR, "T", nullptr);
    return 0;
}
const RoleAdder odd_lines{"log-odd-lines", write_odd_lines};

std::string lines_with(const char* filter)
{
    std::string errors = run_role("log-lines", {{"QUORVEL_LOG", filter}}).errors;
    // Times and processes differ from run to run.
    return std::regex_replace(errors, std::regex{R"(\d\d:\d\d:\d\d\.\d\d\d (\w)/(\w+)\[\d+\] )"}, "$1/$2 ");
}

TEST(Log, ShowsErrorsOnlyUnlessAskedOtherwise)
{
    EXPECT_EQ(lines_with(""), "E/QC_API error 3\n");
}

TEST(Log, ShowsWhatALevelForAllTagsLetsThrough)
{
    EXPECT_EQ(lines_with("info"), "I/QC_API info 1\nW/RPC_PORT_PROXY warn 2\nE/QC_API error 3\n");
    EXPECT_EQ(lines_with("*:warn"), "W/RPC_PORT_PROXY warn 2\nE/QC_API error 3\n");
    EXPECT_EQ(lines_with("silent"), "");
}

TEST(Log, ShowsWhatALevelOfATagLetsThrough)
{
    EXPECT_EQ(lines_with("RPC_PORT_PROXY:info,*:silent"), "W/RPC_PORT_PROXY warn 2\n");
    EXPECT_EQ(lines_with("QC_API:verbose"), "I/QC_API info 1\nE/QC_API error 3\n");
    EXPECT_EQ(lines_with("QC_API:silent, *:warn"), "W/RPC_PORT_PROXY warn 2\n");
}

TEST(Log, SaysHowAFilterIsWrittenThatItDoesNotUnderstand)
{
    EXPECT_NE(lines_with("loud").find("QUORVEL_LOG is not understood"), std::string::npos);
}

TEST(Log, ShowsControlCharactersInsteadOfObeyingThem)
{
    const std::string errors = run_role("log-odd-lines").errors;
    EXPECT_NE(errors.find("one\\x0aforged\\x1b[31m\\x7f\n"), std::string::npos);
}

TEST(Log, KeepsLongLinesWholeAndIgnoresImpossibleOnes)
{
    const std::string errors = run_role("log-odd-lines").errors;
    EXPECT_NE(errors.find(std::string(5000, 'x') + "|\n"), std::string::npos);
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 2);
}

int write_lines_under_faults()
{
    const std::string text(5000, 'x');
    {
        FailingAllocation first{1};
        dlog_print(DLOG_ERROR, "T", "%s|", text.c_str());
    }
    {
        FailingAllocation second{2};
        dlog_print(DLOG_ERROR, "T", "%s|", text.c_str());
    }
    {
        // What is shown in place of a character does not fit where the character would.
        FailingAllocation second{2};
        dlog_print(DLOG_ERROR, "T", "%s|", std::string(5000, '\n').c_str());
    }
    {
        FailingCall interrupted{"write", EINTR};
        dlog_print(DLOG_ERROR, "T", "interrupted");
    }
    {
        FailingCall lost{"write", EIO};
        dlog_print(DLOG_ERROR, "T", "lost");
    }
    dlog_print(DLOG_ERROR, "T", "the end");
    return 0;
}
const RoleAdder under_faults{"log-under-faults", write_lines_under_faults};

TEST(Log, CutsALongLineShortWhenThereIsNoMemoryAndLosesWhatCannotBeWritten)
{
    const Outcome outcome = run_role("log-under-faults");
    EXPECT_EQ(outcome.status, 0);
    std::istringstream errors{outcome.errors};
    std::vector<std::string> shown;
    for (std::string line; std::getline(errors, line);)
        shown.push_back(line);
    ASSERT_EQ(shown.size(), 5U);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(shown[static_cast<std::size_t>(i)].find('|'), std::string::npos) << i;
    EXPECT_TRUE(shown[0].ends_with("] " + std::string(100, 'x'))
                || shown[0].ends_with(std::string(100, 'x')));
    EXPECT_TRUE(shown[2].ends_with("\\x0a"));
    EXPECT_TRUE(shown[3].ends_with("interrupted"));
    EXPECT_TRUE(shown[4].ends_with("the end"));
}

TEST(Log, SaysSoWhenAFilterHasTooManyRulesOrTooLongATag)
{
    EXPECT_NE(lines_with((std::string(200, 'T') + ":info").c_str()).find("QUORVEL_LOG is not understood"),
              std::string::npos);
    std::string many;
    for (int i = 0; i < 200; ++i)
        many += "TAG" + std::to_string(i) + ":silent,";
    EXPECT_NE(lines_with(many.c_str()).find("QUORVEL_LOG is not understood"), std::string::npos);
}

TEST(Log, GivesTheJournalItsPriorities)
{
    // A stream that claims to be the journal's: the device and the inode of what stderr is.
    EXPECT_EQ(run_role("log-as-journal").errors, "<3>QC_API: error 3\n");
}

int log_as_journal()
{
    struct stat info {};
    fstat(STDERR_FILENO, &info);
    setenv("JOURNAL_STREAM", (std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino)).c_str(), 1);
    return write_some_lines();
}
const RoleAdder as_journal{"log-as-journal", log_as_journal};

TEST(LastResult, BelongsToTheThread)
{
    set_last_result(-5);
    EXPECT_EQ(get_last_result(), -5);
    std::async(std::launch::async, [] {
        EXPECT_EQ(get_last_result(), 0);
        set_last_result(-22);
    }).get();
    EXPECT_EQ(get_last_result(), -5);
    set_last_result(0);
}

TEST(ErrorMessage, NamesWhatIsKnownAndOwnsUpToWhatIsNot)
{
    EXPECT_STREQ(get_error_message(0), "Successful");
    EXPECT_STREQ(get_error_message(-12), "Cannot allocate memory");
    EXPECT_STREQ(get_error_message(-22), "Invalid argument");
    EXPECT_STREQ(get_error_message(-126), "Required key not available");
    EXPECT_STREQ(get_error_message(BUNDLE_ERROR_KEY_EXISTS), "Key exists");
    EXPECT_STREQ(get_error_message(PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE), "No such package");
    EXPECT_STREQ(get_error_message(12345), "Unknown error");
    EXPECT_STREQ(get_error_message(-99999999), "Unknown error");
}

}  // namespace
}  // namespace quorvel::platform::test
