// Runs every test in a process of its own.
//
// The library keeps state for the life of a process: the agent's version, slots, numbers that only rise. A
// test must not see what another left there, and a crash or a hang must cost one test only. So each test
// runs in a forked child, with 30 seconds to live; its output is shown when it fails, and what the
// sanitizers find at its end is a failure too.
//
// Tests that leave nothing behind may share a child (--share=64) where a process for each costs too much, as
// it does under the sanitizers. When one of them fails, all in that child run again, each by itself.
//
//     name_of_binary [--share=N] [--no-fork] [--verbose] [the options of GoogleTest, e.g. --gtest_filter=…]
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

// Under valgrind QUORVEL_TEST_SECONDS gives them more.
unsigned seconds_to_live = 30;
constexpr unsigned share_lives_longer = 8;

struct Outcome {
    int status = -1;
    std::string output;

    bool says(const std::string& words) const { return output.find(words) != std::string::npos; }
    // A test that left by exit(0) did not pass.
    bool passed(std::size_t tests) const
    {
        return ended_well()
               && says("[  PASSED  ] " + std::to_string(tests) + (tests == 1 ? " test" : " tests"));
    }
    bool skipped() const { return ended_well() && says("[  SKIPPED ] 1 test"); }

private:
    bool ended_well() const { return WIFEXITED(status) && WEXITSTATUS(status) == 0; }
};

// Runs the tests that the filter names in a child and keeps what it prints.
Outcome run_in_child(const std::string& filter, unsigned seconds, bool list_only = false)
{
    std::FILE* const captured = std::tmpfile();
    if (!captured) {
        std::perror("tmpfile");
        std::exit(EXIT_FAILURE);
    }
    std::cout.flush();
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        alarm(seconds);
        dup2(fileno(captured), STDOUT_FILENO);
        dup2(fileno(captured), STDERR_FILENO);
        testing::GTEST_FLAG(filter) = filter;
        testing::GTEST_FLAG(list_tests) = list_only;
        std::exit(RUN_ALL_TESTS());
    }
    Outcome outcome;
    // The tests are also run with a signal every millisecond.
    if (child < 0 || TEMP_FAILURE_RETRY(waitpid(child, &outcome.status, 0)) != child) {
        std::perror("a child for a test");
        std::exit(EXIT_FAILURE);
    }
    std::rewind(captured);
    char piece[4096];
    for (std::size_t got = 0; (got = std::fread(piece, 1, sizeof piece, captured)) > 0;) {
        outcome.output.append(piece, got);
    }
    std::fclose(captured);
    return outcome;
}

// What GoogleTest itself needs is gone through once here, and each child has it: under valgrind, which
// translates all code that a process comes to, that is a third of its time.
void warm_up()
{
    const std::string filter = std::exchange(testing::GTEST_FLAG(filter), "-*");
    std::fflush(nullptr);
    const int output = dup(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDOUT_FILENO);
    const int status = RUN_ALL_TESTS();
    std::fflush(nullptr);
    dup2(output, STDOUT_FILENO);
    close(nowhere);
    close(output);
    testing::GTEST_FLAG(filter) = filter;
    if (status != 0)
        std::exit(status);
}

// "Suite.\n  First\n  Second  # GetParam() = …\n" as names of tests.
std::vector<std::string> names_of_tests()
{
    const std::string list = run_in_child(testing::GTEST_FLAG(filter), seconds_to_live, true).output;
    std::vector<std::string> names;
    std::string suite;
    std::size_t at = 0;
    while (at < list.size()) {
        const std::size_t end = std::min(list.find('\n', at), list.size());
        std::string line = list.substr(at, end - at);
        at = end + 1;
        line = line.substr(0, line.find("  #"));
        if (line.rfind("  ", 0) == 0) {
            names.push_back(suite + line.substr(2));
        } else if (!line.empty() && line.back() == '.') {
            suite = line;
        }
    }
    return names;
}

std::string how_it_ended(int status)
{
    if (WIFSIGNALED(status)) {
        return WTERMSIG(status) == SIGALRM ? "did not end in time"
                                           : std::string("was killed: ") + strsignal(WTERMSIG(status));
    }
    return "ended with " + std::to_string(WEXITSTATUS(status));
}

class Run {
public:
    explicit Run(bool verbose) : verbose_(verbose) {}

    void each_alone(const std::vector<std::string>& names)
    {
        for (const std::string& name : names) {
            const Outcome outcome = run_in_child(name, seconds_to_live);
            if (outcome.passed(1)) {
                ++passed_;
                show(outcome, verbose_);
            } else if (outcome.skipped()) {
                ++skipped_;
                show(outcome, true);
            } else {
                fail(name, outcome);
            }
        }
    }

    void together(const std::vector<std::string>& names)
    {
        std::string filter;
        for (const std::string& name : names) {
            filter += (filter.empty() ? "" : ":") + name;
        }
        const Outcome outcome = run_in_child(filter, share_lives_longer * seconds_to_live);
        if (outcome.passed(names.size())) {
            passed_ += names.size();
            show(outcome, verbose_);
            return;
        }
        const std::size_t failed_before = failed_.size();
        const std::size_t skipped_before = skipped_;
        each_alone(names);
        if (failed_.size() == failed_before && skipped_ == skipped_before) {
            fail("only together: " + names.front() + " and those after it", outcome);
        }
    }

    bool report() const
    {
        std::cout << passed_ + skipped_ + failed_.size() << " tests: " << passed_ << " passed, " << skipped_
                  << " skipped, " << failed_.size() << " failed\n";
        for (const std::string& name : failed_) {
            std::cout << "    " << name << '\n';
        }
        return failed_.empty() && passed_ + skipped_ > 0;
    }

private:
    static void show(const Outcome& outcome, bool wanted)
    {
        if (wanted) {
            std::cout << outcome.output;
        }
    }

    void fail(const std::string& name, const Outcome& outcome)
    {
        failed_.push_back(name);
        show(outcome, true);
        std::cout << "[ FAILED ] " << name << ' ' << how_it_ended(outcome.status) << std::endl;
    }

    bool verbose_;
    std::size_t passed_ = 0;
    std::size_t skipped_ = 0;
    std::vector<std::string> failed_;
};

}  // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    if (const char* const seconds = std::getenv("QUORVEL_TEST_SECONDS"); seconds && std::atoi(seconds) > 0)
        seconds_to_live = static_cast<unsigned>(std::atoi(seconds));
    bool fork_tests = !testing::GTEST_FLAG(list_tests);
    bool verbose = false;
    std::size_t share = 1;
    for (int i = 1; i < argc; ++i) {
        const std::string_view option = argv[i];
        if (option == "--no-fork") {
            fork_tests = false;
        } else if (option == "--verbose") {
            verbose = true;
        } else if (option.rfind("--share=", 0) == 0 && std::atoi(argv[i] + 8) > 0) {
            share = static_cast<std::size_t>(std::atoi(argv[i] + 8));
        } else {
            std::cerr << argv[0] << ": unknown option " << option << '\n';
            return EXIT_FAILURE;
        }
    }
    if (!fork_tests) {
        return RUN_ALL_TESTS();
    }

    warm_up();
    Run run(verbose);
    const std::vector<std::string> names = names_of_tests();
    for (auto begin = names.begin(); begin != names.end();) {
        const auto end =
            begin + std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(share), names.end() - begin);
        const std::vector<std::string> some(begin, end);
        if (some.size() == 1) {
            run.each_alone(some);
        } else {
            run.together(some);
        }
        begin = end;
    }
    return run.report() ? EXIT_SUCCESS : EXIT_FAILURE;
}
