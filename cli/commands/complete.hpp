// Completion: a small script for each shell, which asks qvctl itself.
#pragma once

#include <string>
#include <vector>

#include "command.hpp"

namespace quorvel::cli {

// The words that may come last on this command line, a line each.
int complete(const std::vector<std::string>& words);
// Every command and exit status as a JSON object a line: the tests hold the manual and the library against
// it.
int describe_commands();
std::vector<Command> completion_commands();

}  // namespace quorvel::cli
