// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace quorvel::home {

// What the agent answers. The numbers are the client's public error codes; docs/agent.md tells which
// situation gives which code.
enum class Status : int {
    ok = 0,
    out_of_memory = -12,
    denied = -13,        // signed out, or not the caller's to do
    invalid = -22,       // an argument that cannot be right for any home
    no_space = -28,      // a limit of the home is reached
    no_data = -61,       // there is no such thing, or nothing yet
    unreachable = -101,  // the cloud or the device cannot be reached
    unsupported = -1073741822,
    failed = -1073741825,    // right in itself, but not now: wrong order, wrong state
    busy = -1073741826,      // agent defined 1: another client is onboarding
    conflict = -1073741827,  // agent defined 2: there is one like it already
    io_error = -1073741828,
    refused = -1073741829,  // agent defined 3: the device itself refused
    lower_version = -1073741830,
    suspended = -1073741831,  // agent defined 4: the agent is suspended
};

constexpr int code(Status status)
{
    return static_cast<int>(status);
}

}  // namespace quorvel::home
