#include "places.hpp"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>

#include "log.hpp"

namespace quorvel::platform {
namespace {

const char* variable(const char* name) noexcept
{
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : nullptr;
}

bool is_directory(const std::string& path) noexcept
{
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// A directory of the user's own: $XDG_<kind>_HOME, or its place under the home directory.
std::string user_directory(const char* xdg_variable, const char* under_home)
{
    if (const char* directory = variable(xdg_variable))
        return directory;
    if (const char* home = variable("HOME"))
        return std::string(home) + under_home;
    passwd entry{};
    passwd* found = nullptr;
    char text[2048];
    if (getpwuid_r(geteuid(), &entry, text, sizeof text, &found) == 0 && found != nullptr)
        return std::string(found->pw_dir) + under_home;
    return {};
}

}  // namespace

std::string socket_directory()
{
    if (const char* home = variable("QUORVEL_HOME_DIR"))
        return std::string(home) + "/run";
    if (const char* runtime = variable("XDG_RUNTIME_DIR"))
        return std::string(runtime) + "/quorvel";
    const std::string uid = std::to_string(geteuid());
    if (is_directory("/run/user/" + uid))
        return "/run/user/" + uid + "/quorvel";
    return "/tmp/quorvel-" + uid;
}

std::string state_directory()
{
    if (const char* home = variable("QUORVEL_HOME_DIR"))
        return std::string(home) + "/state";
    return user_directory("XDG_STATE_HOME", "/.local/state") + "/quorvel";
}

std::vector<std::string> package_directories()
{
    if (const char* home = variable("QUORVEL_HOME_DIR"))
        return {std::string(home) + "/packages"};
    return {user_directory("XDG_DATA_HOME", "/.local/share") + "/quorvel/packages", QUORVEL_PACKAGES_DIR};
}

long long setting(const char* name, long long lowest, long long highest, long long fallback)
{
    const char* text = variable(name);
    if (text == nullptr)
        return fallback;
    long long value = 0;
    const char* end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, value);
    if (error != std::errc{} || stop != end || value < lowest || value > highest) {
        QV_LOG(DLOG_ERROR, "%s=%s is not a whole number from %lld to %lld: %lld is used", name, text, lowest,
               highest, fallback);
        return fallback;
    }
    return value;
}

Timing read_timing()
{
    constexpr long long longest = 24LL * 3600 * 1000;
    return {std::chrono::milliseconds{setting("QUORVEL_DEADLINE_MS", 1, longest, 30000)},
            std::chrono::milliseconds{setting("QUORVEL_CONNECT_DEADLINE_MS", 1, longest, 10000)}};
}

AgentLimits read_agent_limits()
{
    return {static_cast<std::size_t>(setting("QUORVEL_AGENT_CONNECTIONS", 1, 4096, 16)),
            static_cast<std::size_t>(setting("QUORVEL_AGENT_QUEUE_BYTES", 1, 1LL << 32, 16LL << 20))};
}

std::string own_app_id()
{
    if (const char* id = variable("QUORVEL_APP_ID"))
        return id;
    return program_invocation_short_name;
}

}  // namespace quorvel::platform
