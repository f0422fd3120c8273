// Runs every test in a process of its own.
//
// The library keeps state for the life of a process: the agent's version, slots, numbers that only rise. A
// test must not see what another left there, and a crash or a hang must cost one test only. So each test
// runs in a forked child, with 30 seconds to live; its output is shown when it fails, and what the
// sanitizers find at its end is a failure too.
//
//     name_of_binary [--no-fork] [--verbose] [the options of GoogleTest, e.g. --gtest_filter=…]
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

namespace {

constexpr unsigned seconds_to_live = 30;

struct Outcome {
    int status = -1;
    std::string output;
    bool says(const char* words) const { return output.find(words) != std::string::npos; }
    bool skipped() const { return ended_well() && says("[  SKIPPED ] 1 test"); }
    // A test that left by exit(0) did not pass.
    bool passed() const { return ended_well() && says("[  PASSED  ] 1 test"); }

private:
    bool ended_well() const { return WIFEXITED(status) && WEXITSTATUS(status) == 0; }
};

// Runs the tests that the filter names in a child and keeps what it prints.
Outcome run_in_child(const std::string& filter, bool list_only)
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
        alarm(seconds_to_live);
        dup2(fileno(captured), STDOUT_FILENO);
        dup2(fileno(captured), STDERR_FILENO);
        testing::GTEST_FLAG(filter) = filter;
        testing::GTEST_FLAG(list_tests) = list_only;
        std::exit(RUN_ALL_TESTS());
    }
    Outcome outcome;
    if (child < 0 || waitpid(child, &outcome.status, 0) != child) {
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

// "Suite.\n  First\n  Second  # GetParam() = …\n" as names of tests.
std::vector<std::string> names_of_tests()
{
    const std::string list = run_in_child(testing::GTEST_FLAG(filter), true).output;
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

}  // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    bool fork_tests = !testing::GTEST_FLAG(list_tests);
    bool verbose = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--no-fork") == 0) {
            fork_tests = false;
        } else if (std::strcmp(argv[i], "--verbose") == 0) {
            verbose = true;
        } else {
            std::cerr << argv[0] << ": unknown option " << argv[i] << '\n';
            return EXIT_FAILURE;
        }
    }
    if (!fork_tests) {
        return RUN_ALL_TESTS();
    }

    const std::vector<std::string> names = names_of_tests();
    std::vector<std::string> failed;
    std::size_t skipped = 0;
    for (const std::string& name : names) {
        const Outcome outcome = run_in_child(name, false);
        const bool bad = !outcome.passed() && !outcome.skipped();
        skipped += outcome.skipped() ? 1 : 0;
        if (verbose || !outcome.passed()) {
            std::cout << outcome.output;
        }
        if (bad) {
            failed.push_back(name);
            std::cout << "[ FAILED ] " << name << ' ' << how_it_ended(outcome.status) << '\n';
        }
    }
    std::cout << names.size()
              << " tests, each in a process of its own: " << names.size() - skipped - failed.size()
              << " passed, " << skipped << " skipped, " << failed.size() << " failed\n";
    for (const std::string& name : failed) {
        std::cout << "    " << name << '\n';
    }
    return failed.empty() && !names.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}
