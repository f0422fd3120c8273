// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

// Where the agent's files lie. QUORVEL_HOME_DIR moves all of them, like the platform's own.
namespace quorvel::agent {

inline constexpr const char* app_id = "com.veltrane.norvik.quorvel-client";

std::string package_directory();
std::string models_directory();
// The control socket lies beside the port's.
std::string control_path();

}  // namespace quorvel::agent
