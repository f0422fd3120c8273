// Where sockets, packages and state lie, and what the environment sets.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace quorvel::platform {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

// One variable, QUORVEL_HOME_DIR, moves all of them under a directory of its own.
std::string socket_directory();
std::string state_directory();
std::vector<std::string> package_directories();

// A whole number from the environment; `fallback` where it is unset, malformed (which is logged) or out of
// range.
long long setting(const char* name, long long lowest, long long highest, long long fallback);

struct Timing {
    std::chrono::milliseconds deadline;          // of a call
    std::chrono::milliseconds connect_deadline;  // of a connect, starting the agent included
};
Timing read_timing();

struct AgentLimits {
    std::size_t connections;   // a uid
    std::size_t queued_bytes;  // a uid
};
AgentLimits read_agent_limits();

// The application's own id: QUORVEL_APP_ID, or the name of the program.
std::string own_app_id();

}  // namespace quorvel::platform
