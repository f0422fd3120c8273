#include "log.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <regex>

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
    dlog_print(DLOG_ERROR, nullptr, "no tag");
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
    EXPECT_STREQ(get_error_message(12345), "Unknown error");
    EXPECT_STREQ(get_error_message(-99999999), "Unknown error");
}

}  // namespace
}  // namespace quorvel::platform::test
