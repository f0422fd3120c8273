#include "runner.hpp"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace torture {

namespace {

/// What a case leaves for the process that forked it.
struct Report {
    long did;
    char finding[4000];
};

Report& shared_report()
{
    static auto* const page = static_cast<Report*>(
        mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    return *page;
}

std::string& planted()
{
    static std::string fault;
    return fault;
}

bool is_case = false;  // this process was forked for one

unsigned seed_of_environment()
{
    const char* const seed = std::getenv("QUORVEL_TEST_SEED");
    return seed != nullptr ? static_cast<unsigned>(std::strtoul(seed, nullptr, 10)) : 1;
}

constexpr unsigned seconds_with_a_fault = 5;  // it is to be found, soon
constexpr std::size_t most_failures_told = 20;

}  // namespace

bool is_planted(std::string_view fault)
{
    return is_case && planted() == fault;
}

Proof::Proof(int argc, char** argv, std::string name, long goal)
    : program_{argv[0]}, name_{std::move(name)}, goal_{goal}, seed_{seed_of_environment()}
{
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    for (int i = 1; i < argc; ++i) {
        const std::string_view option = argv[i];
        const char* const value = i + 1 < argc ? argv[i + 1] : nullptr;
        if (option == "--list") {
            lists_ = true;
        } else if (option == "--only" && value != nullptr) {
            only_ = argv[++i];
        } else if (option == "--planted" && value != nullptr) {
            planted() = argv[++i];
        } else if (option == "--seed" && value != nullptr) {
            seed_ = static_cast<unsigned>(std::strtoul(argv[++i], nullptr, 10));
        } else {
            std::fprintf(stderr, "usage: %s [--only CASE] [--planted FAULT] [--seed N] [--list]\n", argv[0]);
            std::exit(2);
        }
    }
}

void Proof::scale(double share_in_ci)
{
    const char* const wanted = std::getenv("QUORVEL_TEST_SCALE");
    const std::string_view scale = wanted != nullptr ? wanted : "";
    share_ = scale == "all" ? 1 : scale == "ci" ? share_in_ci : share_in_ci / 5;
    if (!only_.empty())
        share_ = 1;
}

long Proof::scaled(long whole) const
{
    return std::max(1L, static_cast<long>(static_cast<double>(whole) * share_));
}

bool Proof::is_chosen(const std::string& name)
{
    if (lists_) {
        std::printf("%s\n", name.c_str());
        return false;
    }
    if (!only_.empty())
        return name == only_;
    ++offered_;
    due_ += share_;
    if (due_ < 1)
        return false;
    due_ -= 1;
    return true;
}

void Proof::check(const std::string& name, const std::function<Finding()>& run, unsigned seconds)
{
    if (is_chosen(name))
        check_always(name, run, seconds);
}

void Proof::check_always(const std::string& name, const std::function<Finding()>& run, unsigned seconds)
{
    if (lists_ || (!only_.empty() && name != only_))
        return;
    ++done_;
    Report& report = shared_report();
    report.did = 0;
    report.finding[0] = '\0';
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        is_case = true;
        alarm(planted().empty() ? seconds : std::min(seconds, seconds_with_a_fault));
        const Finding finding = run();
        std::snprintf(report.finding, sizeof report.finding, "%s", finding.c_str());
        // What is still alive was looked at; what is registered for the end belongs to the parent.
        _exit(finding.empty() ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        std::perror("a process for a case");
        std::exit(EXIT_FAILURE);
    }
    if (report.did > 0) {
        counts_itself_ = true;
        done_ += report.did - 1;
    }
    if (WIFSIGNALED(status))
        fail(name,
             WTERMSIG(status) == SIGALRM ? "hung" : std::string{"died: "} + strsignal(WTERMSIG(status)));
    else if (report.finding[0] != '\0')
        fail(name, report.finding);
    else if (WEXITSTATUS(status) != 0)
        fail(name, "ended with " + std::to_string(WEXITSTATUS(status)));
}

void Proof::did(long count)
{
    shared_report().did += count;
}

void Proof::fail(const std::string& name, const std::string& why)
{
    failures_.push_back(name);
    if (failures_.size() > most_failures_told)
        return;
    const char* const fault = planted().empty() ? "" : " --planted ";
    std::printf("FAILED %s: %s\n    again: %s --seed %u --only '%s'%s%s\n", name.c_str(), why.c_str(),
                program_.c_str(), seed_, name.c_str(), fault, planted().c_str());
}

int Proof::report() const
{
    if (lists_)
        return EXIT_SUCCESS;
    const bool is_alone = !only_.empty();
    for (const std::string& line : lines_)
        std::printf("%s\n", line.c_str());
    std::printf("%s: %ld of %ld done (%.3f of the whole), %zu failed\n", name_.c_str(), done_, goal_,
                static_cast<double>(done_) / static_cast<double>(goal_), failures_.size());
    if (share_ >= 1 && !is_alone && done_ < goal_) {
        std::printf("that is less than the goal\n");
        return EXIT_FAILURE;
    }
    return failures_.empty() && done_ > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace torture
