// How a proof is run: many small cases, each in a process of its own.
//
// A case is forked off a process that is ready for it, never started anew, so that tens of thousands take a
// minute. What a case finds, and that it crashed or hung, is told together with the command that runs it
// alone.
//
//     Proof proof{argc, argv, "allocation failures", 16'000};
//     proof.check("quorvel_client_connect/3/1", [] { ... return std::string{}; });   // empty: it is well
//     return proof.report();
//
//     program [--only CASE] [--planted FAULT] [--seed N] [--list]
//
// QUORVEL_TEST_SCALE says how much of the whole is done: "all", or a share of it that is spread over all of
// it. QUORVEL_TEST_SEED is the seed, unless --seed gives another.
#ifndef QUORVEL_TESTS_TORTURE_RUNNER_HPP
#define QUORVEL_TESTS_TORTURE_RUNNER_HPP

#include <sys/mman.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace torture {

/// What a case found wrong; empty when all is well.
using Finding = std::string;

class Proof {
public:
    /// The goal is the number of cases of a whole run, of which at least so many must have been done.
    Proof(int argc, char** argv, std::string name, long goal);

    /// Of how many cases one is run, by the scale; `share_in_ci` holds for "ci", a fifth of it for less.
    void scale(double share_in_ci);
    bool is_whole() const { return share_ >= 1; }
    /// How much of a figure is done at this scale.
    long scaled(long whole) const;

    /// Runs a case in a process of its own, unless the scale leaves it out.
    void check(const std::string& name, const std::function<Finding()>& run, unsigned seconds = 20);
    /// The same for a case that is not to be left out.
    void check_always(const std::string& name, const std::function<Finding()>& run, unsigned seconds = 20);
    /// Counts what a case did beyond being one; from inside a case.
    void did(long count);
    void also_report(const std::string& line) { lines_.push_back(line); }

    unsigned seed() const { return seed_; }
    /// The exit status; prints the figure.
    int report() const;

private:
    bool is_chosen(const std::string& name);
    void fail(const std::string& name, const std::string& why);

    std::string program_;
    std::string name_;
    long goal_;
    double share_ = 1;
    double due_ = 0;
    std::string only_;
    unsigned seed_;
    bool lists_ = false;
    long offered_ = 0;
    long done_ = 0;
    bool counts_itself_ = false;
    std::vector<std::string> failures_;
    std::vector<std::string> lines_;
};

/// A value that a case changes for the process that forked it.
template <typename Value>
class Shared {
public:
    Shared()
        : value_{static_cast<Value*>(
            mmap(nullptr, sizeof(Value), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))}
    {
    }
    ~Shared() { munmap(value_, sizeof(Value)); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;
    Value& value() { return *value_; }

private:
    Value* value_;
};

/// A fault that is planted on purpose, to see that it is found: see planted_faults_test.py.
bool is_planted(std::string_view fault);

}  // namespace torture

#endif
