// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

// Where the agent's files lie. QUORVEL_HOME_DIR moves all of them, like the platform's own.
namespace quorvel::agent {

inline constexpr const char* agent_app_id = "com.veltrane.norvik.quorvel-client";

std::string package_directory();
std::string models_directory();
// Rewrites the version in the user's package file; false when there is none.
bool set_package_version(const std::string& version);
// Puts the user's package file out of sight of clients, or back.
void hide_package(bool hidden);
// The control socket lies beside the port's.
std::string control_path();

}  // namespace quorvel::agent
