// "Did you mean": the word that is nearest to a mistyped one.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorvel::cli {

// Empty when nothing is near enough.
std::string nearest(std::string_view word, const std::vector<std::string>& words);

}  // namespace quorvel::cli
