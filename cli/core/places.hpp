// Where the agent lies: its sockets, its package, its log.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace quorvel::cli {

inline constexpr const char* agent_id = "com.veltrane.norvik.quorvel-client";

std::filesystem::path socket_directory();
std::filesystem::path state_directory();
std::filesystem::path agent_socket();
std::filesystem::path control_socket();
std::filesystem::path agent_log();
// Where a package manifest of the agent is, or empty.
std::filesystem::path installed_agent();
// The agent's program: beside qvctl, in the build beside it, or on the path.
std::filesystem::path agent_program();

// Whether somebody listens there.
bool listens(const std::filesystem::path& socket);

// Runs a program to its end and gives its status; 128 + n when a signal ended it. With a log, that is where
// it writes.
int run_program(const std::vector<std::string>& words, const std::filesystem::path& log = {});
// Waits for a program that was started; its status as run_program() gives it.
int wait_for(pid_t pid);
// Starts a program that ends with us.
pid_t start_program(const std::vector<std::string>& words, bool detached, const std::filesystem::path& log);

// An agent of our own, in a directory of its own, for as long as this lives.
class PrivateAgent {
public:
    explicit PrivateAgent(const std::string& home_file);
    ~PrivateAgent();
    PrivateAgent(const PrivateAgent&) = delete;
    PrivateAgent& operator=(const PrivateAgent&) = delete;

private:
    std::filesystem::path directory_;
    pid_t pid_ = 0;
};

}  // namespace quorvel::cli
