// Every function of the platform fails, at every use that a call makes of it: once, and from there on.
#include <algorithm>

#include "scenarios.hpp"

using namespace torture;

namespace {

constexpr std::size_t most_functions = 100;

/// How often each function of the platform was used.
struct Uses {
    int of[most_functions];
};

Uses uses_of(const std::vector<std::string>& functions)
{
    Uses uses{};
    for (std::size_t i = 0; i < functions.size(); ++i)
        uses.of[i] = scripted::platform().uses(functions[i]);
    return uses;
}

// A log that fails is noticed by nobody; the first lines show that.
constexpr int most_uses_of_the_log = 2;

}  // namespace

int main(int argc, char** argv)
{
    Proof proof{argc, argv, "platform failures", 1'500};
    proof.scale(0.1);
    warm_up();

    const auto functions = scripted::platform().functions();
    Shared<Uses> counts;
    for (const Scenario& scenario : scenarios()) {
        counts.value() = {};
        proof.check_always(scenario.name + "/none", [&] {
            Uses before;
            return run(
                scenario, [&] { before = uses_of(functions); },
                [&] {
                    const Uses after = uses_of(functions);
                    for (std::size_t i = 0; i < functions.size(); ++i)
                        counts.value().of[i] = after.of[i] - before.of[i];
                },
                true);
        });
        for (std::size_t i = 0; i < functions.size(); ++i) {
            const std::string& function = functions[i];
            const bool is_log = function == "dlog_print";
            Scenario tried = scenario;
            tried.is_unheard = is_log;
            const int uses =
                is_log ? std::min(counts.value().of[i], most_uses_of_the_log) : counts.value().of[i];
            for (int nth = 1; nth <= uses; ++nth) {
                const std::string name = scenario.name + "/" + function + "/" + std::to_string(nth);
                const auto disarm = [] { scripted::platform().fail_no_more(); };
                proof.check(name + "/once", [&] {
                    return run(
                        tried, [&] { scripted::platform().fail(function, nth); }, disarm);
                });
                proof.check(name + "/all", [&] {
                    return run(
                        tried, [&] { scripted::platform().fail_from(function, nth); }, disarm);
                });
            }
        }
    }
    return proof.report();
}
