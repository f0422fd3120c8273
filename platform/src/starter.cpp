#include "starter.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <vector>

#include "log.hpp"
#include "places.hpp"

namespace quorvel::platform {
namespace {

constexpr off_t kLongestLog = 4 << 20;

struct Report {
    pid_t pid;
    int error;
};

// Descriptors that the program will not see, none of them where its standard streams go.
Descriptor lifted(Descriptor fd) noexcept
{
    if (fd && fd.get() <= STDERR_FILENO)
        return Descriptor{fcntl(fd.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1)};
    return fd;
}

Descriptor open_log(const std::string& id)
{
    const std::string directory = state_directory();
    for (std::size_t slash = directory.find('/', 1);; slash = directory.find('/', slash + 1)) {
        static_cast<void>(mkdir(directory.substr(0, slash).c_str(), 0700));
        if (slash == std::string::npos)
            break;
    }
    const std::string path = directory + "/" + id + ".log";
    Descriptor log{open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)};
    struct stat info {};
    if (log && fstat(log.get(), &info) == 0 && info.st_size > kLongestLog)
        static_cast<void>(!ftruncate(log.get(), 0));
    return log ? std::move(log) : Descriptor{open("/dev/null", O_WRONLY | O_CLOEXEC)};
}

std::vector<std::string> environment_for(const std::string& id)
{
    std::vector<std::string> result;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        // The capture is of this process; the program's identity is its own.
        if (!text.starts_with("QUORVEL_CAPTURE=") && !text.starts_with("QUORVEL_APP_ID="))
            result.emplace_back(text);
    }
    result.push_back("QUORVEL_APP_ID=" + id);
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& strings)
{
    std::vector<char*> result;
    result.reserve(strings.size() + 1);
    for (std::string& text : strings)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

// In the new process. Only what may be called after a fork of a process with threads.
[[noreturn]] void run(char* const* command, char* const* environment, int null, int log, int report) noexcept
{
    Report said{getpid(), 0};
    dup2(null, STDIN_FILENO);
    dup2(log, STDOUT_FILENO);
    dup2(log, STDERR_FILENO);
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    struct sigaction plain {};
    plain.sa_handler = SIG_DFL;
    for (int number = 1; number < NSIG; ++number)
        sigaction(number, &plain, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    static_cast<void>(!write(report, &said, sizeof said));
    execve(command[0], command, environment);
    said.error = errno;
    static_cast<void>(!write(report, &said, sizeof said));
    _exit(127);
}

// Forks twice. _Fork() runs no fork handlers: neither ours nor the application's are meant for this.
pid_t fork_detached(char* const* command, char* const* environment, int null, int log, int report) noexcept
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t child = _Fork();
    if (child == 0) {
        setsid();
        const pid_t grandchild = _Fork();
        if (grandchild == 0)
            run(command, environment, null, log, report);
        _exit(grandchild < 0 ? 1 : 0);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return child;
}

bool read_report(int fd, Report& report) noexcept
{
    ssize_t count = 0;
    do {
        count = read(fd, &report, sizeof report);
    } while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(sizeof report);
}

}  // namespace

std::optional<Descriptor> start_program(const Package& package)
{
    std::vector<std::string> command = package.command;
    std::vector<std::string> environment = environment_for(package.id);
    const std::vector<char*> command_words = pointers(command);
    const std::vector<char*> environment_words = pointers(environment);
    const Descriptor null = lifted(Descriptor{open("/dev/null", O_RDONLY | O_CLOEXEC)});
    const Descriptor log = lifted(open_log(package.id));
    int ends[2] = {-1, -1};
    if (!null || !log || pipe2(ends, O_CLOEXEC) != 0) {
        QV_LOG(DLOG_ERROR, "%s cannot be started: %s", package.id.c_str(), std::strerror(errno));
        return std::nullopt;
    }
    const Descriptor reports = lifted(Descriptor{ends[0]});
    Descriptor reporter = lifted(Descriptor{ends[1]});

    const pid_t child =
        fork_detached(command_words.data(), environment_words.data(), null.get(), log.get(), reporter.get());
    reporter.reset();
    if (child < 0) {
        QV_LOG(DLOG_ERROR, "%s cannot be started: %s", package.id.c_str(), std::strerror(errno));
        return std::nullopt;
    }
    // The process in between ends at once. An application that reaps every child may be first.
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }

    Report report{};
    Report failure{};
    if (!read_report(reports.get(), report)) {
        QV_LOG(DLOG_ERROR, "%s cannot be started", package.id.c_str());
        return std::nullopt;
    }
    Descriptor process{static_cast<int>(syscall(SYS_pidfd_open, report.pid, 0))};
    // The next thing to be heard is the end of the pipe, which closes as the program begins.
    if (read_report(reports.get(), failure)) {
        QV_LOG(DLOG_ERROR, "%s cannot be started: %s: %s", package.id.c_str(), command.front().c_str(),
               std::strerror(failure.error));
        return std::nullopt;
    }
    QV_LOG(DLOG_INFO, "%s started: process %d", package.id.c_str(), static_cast<int>(report.pid));
    return process;
}

}  // namespace quorvel::platform
