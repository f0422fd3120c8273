#include "core/places.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "core/failure.hpp"
#include "trace/record.hpp"

namespace quorvel::cli {
namespace {

namespace fs = std::filesystem;

std::string environment(const char* name)
{
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

fs::path data_directory(const char* variable, const char* below_home)
{
    if (const std::string set = environment(variable); !set.empty())
        return fs::path(set) / "quorvel";
    return fs::path(environment("HOME")) / below_home / "quorvel";
}

// What a child does between fork and exec may only be what is safe there.
pid_t spawn(const std::vector<std::string>& words, bool detached, bool dies_with_us, const fs::path& log)
{
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const int output = log.empty() ? -1 : open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    const int nothing = output < 0 ? -1 : open("/dev/null", O_RDONLY | O_CLOEXEC);
    const pid_t pid = fork();
    if (pid == 0) {
        if (detached)
            setsid();
        if (dies_with_us)
            prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (output >= 0) {
            dup2(nothing, 0);
            dup2(output, 1);
            dup2(output, 2);
        }
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    if (output >= 0)
        close(output);
    if (nothing >= 0)
        close(nothing);
    if (pid < 0)
        throw Failure(failed, fmt::format("{} cannot be started", words[0]), std::strerror(errno),
                      "try again later");
    return pid;
}

}  // namespace

fs::path socket_directory()
{
    if (const std::string home = environment("QUORVEL_HOME_DIR"); !home.empty())
        return fs::path(home) / "run";
    if (const std::string runtime = environment("XDG_RUNTIME_DIR"); !runtime.empty())
        return fs::path(runtime) / "quorvel";
    const fs::path user = fmt::format("/run/user/{}", getuid());
    std::error_code error;
    return fs::is_directory(user, error) ? user / "quorvel"
                                         : fs::path(fmt::format("/tmp/quorvel-{}", getuid()));
}

fs::path state_directory()
{
    if (const std::string home = environment("QUORVEL_HOME_DIR"); !home.empty())
        return fs::path(home) / "state";
    return data_directory("XDG_STATE_HOME", ".local/state");
}

fs::path agent_socket()
{
    return socket_directory() / fmt::format("{}.qv_client.sock", agent_id);
}
fs::path control_socket()
{
    return socket_directory() / fmt::format("{}.control.sock", agent_id);
}
fs::path agent_log()
{
    return state_directory() / fmt::format("{}.log", agent_id);
}

fs::path installed_agent()
{
    const std::string name = fmt::format("{}.package", agent_id);
    std::vector<fs::path> directories;
    if (const std::string home = environment("QUORVEL_HOME_DIR"); !home.empty())
        directories = {fs::path(home) / "packages"};
    else
        directories = {data_directory("XDG_DATA_HOME", ".local/share") / "packages",
                       "/usr/share/quorvel/packages"};
    std::error_code error;
    for (const fs::path& directory : directories)
        if (fs::exists(directory / name, error))
            return directory / name;
    return {};
}

fs::path agent_program()
{
    if (const std::string set = environment("QVCTL_AGENT_PROGRAM"); !set.empty())
        return set;
    std::error_code error;
    const fs::path own = fs::read_symlink("/proc/self/exe", error).parent_path() / "quorvel-agent";
    return fs::exists(own, error) ? own : fs::path("quorvel-agent");
}

bool listens(const fs::path& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string text = path.string();
    if (text.size() >= sizeof address.sun_path)
        return false;
    std::memcpy(address.sun_path, text.c_str(), text.size() + 1);
    const int socket_fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket_fd < 0)
        return false;
    const bool there = connect(socket_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(socket_fd);
    return there;
}

int run_program(const std::vector<std::string>& words, const fs::path& log)
{
    return wait_for(spawn(words, false, false, log));
}

int wait_for(pid_t pid)
{
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR)
        continue;
    return WIFEXITED(status) ? WEXITSTATUS(status) : signalled + WTERMSIG(status);
}

pid_t start_program(const std::vector<std::string>& words, bool detached, const fs::path& log)
{
    return spawn(words, detached, !detached, log);
}

PrivateAgent::PrivateAgent(const std::string& home_file)
{
    // What this program says is recorded, not what its agent hears.
    const trace::Variable capture("QUORVEL_CAPTURE", "");
    char pattern[] = "/tmp/qvctl-XXXXXX";
    if (mkdtemp(pattern) == nullptr)
        throw Failure(failed, "no directory for an agent of our own", std::strerror(errno), "look at /tmp");
    directory_ = pattern;
    fs::create_directory(directory_ / "state");
    fs::create_directory(directory_ / "run");
    fs::permissions(directory_ / "run", fs::perms::owner_all);
    setenv("QUORVEL_HOME_DIR", directory_.c_str(), 1);
    std::vector<std::string> words{agent_program()};
    if (!home_file.empty())
        words.insert(words.end(), {"--home", home_file});
    // Installed, so that the library finds it; it runs already when the library looks.
    auto install = words;
    install.emplace_back("--install");
    run_program(install, agent_log());
    int status = 0;
    pid_ = start_program(words, false, agent_log());
    for (int tries = 0; tries < 500 && !listens(agent_socket()); ++tries) {
        if (waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = 0;
            std::string why = fmt::format("{} ended with status {}", words[0], WEXITSTATUS(status));
            fs::remove_all(directory_);
            throw Failure(WEXITSTATUS(status) == 6 ? bad_argument : no_agent,
                          "the agent of our own does not run", why,
                          home_file.empty() ? "qvctl doctor" : fmt::format("qvctl home check {}", home_file));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

PrivateAgent::~PrivateAgent()
{
    if (pid_ > 0) {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }
    std::error_code error;
    fs::remove_all(directory_, error);
}

}  // namespace quorvel::cli
