// The agent's control socket: one JSON object a line in each direction.
#pragma once

#include <chrono>

#include "core/json.hpp"

namespace quorvel::cli {

// What the agent did; what it refused is a Failure.
Json control(const Json& request, std::chrono::milliseconds timeout);

}  // namespace quorvel::cli
