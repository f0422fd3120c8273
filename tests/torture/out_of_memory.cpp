// Every allocation that the library makes fails: in every function and every callback, each once, two and
// three in a row, and all from there on.
#include <cjson/cJSON.h>

#include <climits>
#include <cstdlib>
#include <optional>

#include "failing_allocations.hpp"
#include "misreads.hpp"
#include "scenarios.hpp"

using namespace torture;

namespace {

/// The failing allocations of one case, from `arm` to `disarm`.
class Shortage {
public:
    Shortage(int nth, int how_many) : nth_{nth}, how_many_{how_many} {}

    Finding strike(const Scenario& scenario)
    {
        const Finding finding = run(
            scenario, [this] { failing_.emplace(nth_, how_many_); },
            [this] {
                seen_ = allocations_seen();
                failing_.reset();
            },
            how_many_ == 0);
        // Whoever has no memory for a value does not know where the next one begins.
        return finding.empty() && scripted::misreads() != 0 ? "a value is read from where another one lies"
                                                            : finding;
    }
    int seen() const { return seen_; }

private:
    int nth_;
    int how_many_;
    int seen_ = 0;
    std::optional<FailingAllocation> failing_;
};

}  // namespace

int main(int argc, char** argv)
{
    Proof proof{argc, argv, "allocation failures", 8'000};
    proof.scale(0.25);

    // The parser of JSON works for the library: its memory fails like the library's own.
    cJSON_Hooks hooks{std::malloc, std::free};
    cJSON_InitHooks(&hooks);
    warm_up();

    struct Row {
        int how_many;
        const char* name;
    };
    static constexpr Row ways[] = {{1, "once"}, {2, "two"}, {3, "three"}, {INT_MAX, "all"}};
    Shared<int> points;
    for (const Scenario& scenario : scenarios()) {
        proof.check_always(scenario.name + "/none", [&] {
            Shortage none{0, 0};
            const Finding finding = none.strike(scenario);
            points.value() = none.seen();
            return finding;
        });
        for (int point = 1; point <= points.value(); ++point) {
            for (const Row& way : ways)
                proof.check(scenario.name + "/" + std::to_string(point) + "/" + way.name, [&] {
                    return Shortage{point, way.how_many}.strike(scenario);
                });
        }
    }
    return proof.report();
}
