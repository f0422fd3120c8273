// A recording that acts: as the agent of an application, or as the application of an agent.
#pragma once

#include <string>
#include <vector>

#include "command.hpp"

namespace quorvel::cli::trace {

// Runs an application whose calls are answered from the recording; its status, or 1 when it called otherwise.
int replay_as_agent(Context& context, const std::string& file, const std::vector<std::string>& command);
// Sends the recorded calls, and shows where the agent answers otherwise.
int replay_as_client(Context& context, const std::string& file);

}  // namespace quorvel::cli::trace
