// Starting an installed agent.
#pragma once

#include <optional>
#include <string>

#include "descriptor.hpp"
#include "packages.hpp"

namespace quorvel::platform {

// Starts the package's program in a session of its own, no child of this process: nobody here has to reap
// it, and it stays when this process ends. What it prints goes to a log file among the state. Gives a
// descriptor that becomes readable when the program ends, or nothing, logged, when it could not be run.
std::optional<Descriptor> start_program(const Package& package);

}  // namespace quorvel::platform
