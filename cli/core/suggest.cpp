#include "core/suggest.hpp"

#include <algorithm>
#include <numeric>

namespace quorvel::cli {
namespace {

// The number of letters to insert, remove, replace or swap with their neighbour.
std::size_t distance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> before(b.size() + 1), row(b.size() + 1), next(b.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        next[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            next[j] = std::min({row[j] + 1, next[j - 1] + 1, row[j - 1] + (a[i - 1] == b[j - 1] ? 0U : 1U)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                next[j] = std::min(next[j], before[j - 2] + 1);
        }
        before = row;
        row = next;
    }
    return row[b.size()];
}

}  // namespace

std::string nearest(std::string_view word, const std::vector<std::string>& words)
{
    std::string best;
    std::size_t least = word.size() / 3 + 2;
    for (const std::string& candidate : words) {
        const std::size_t steps = distance(word, candidate);
        if (steps < least) {
            least = steps;
            best = candidate;
        }
    }
    return best;
}

}  // namespace quorvel::cli
