// Completion: a small script for each shell, which asks qvctl itself.
#pragma once

#include <string>
#include <vector>

#include "command.hpp"

namespace quorvel::cli {

// The words that may come last on this command line, a line each.
int complete(const std::vector<std::string>& words);
std::vector<Command> completion_commands();

}  // namespace quorvel::cli
