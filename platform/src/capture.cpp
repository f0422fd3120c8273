#include "capture.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>

#include "log.hpp"
#include "wire.hpp"

namespace quorvel::platform {

constinit std::atomic<bool> Capture::on_{false};

namespace {

constexpr std::string_view kHead =
    "quorvel-capture 1\n"
    "# Every parcel, its bytes as they were: tokens, passwords and PINs too. Keep this file to yourself.\n"
    "\n";

constinit std::once_flag opened_once;
constinit std::atomic<int> file{-1};
constinit std::atomic<std::int32_t> connections{0};

bool prepare(int fd) noexcept
{
    struct stat info {};
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_uid != geteuid() || fchmod(fd, 0600) != 0)
        return false;
    // Several processes may write to one file; the first one writes the head.
    flock(fd, LOCK_EX);
    const bool ready = fstat(fd, &info) == 0
                       && (info.st_size != 0
                           || ::write(fd, kHead.data(), kHead.size()) == static_cast<ssize_t>(kHead.size()));
    flock(fd, LOCK_UN);
    return ready;
}

bool open_file() noexcept
{
    const char* path = std::getenv("QUORVEL_CAPTURE");
    if (path == nullptr || *path == '\0')
        return false;
    const int fd =
        open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK, 0600);
    if (fd < 0 || !prepare(fd)) {
        QV_LOG(DLOG_ERROR, "nothing is captured: %s must be a file of yours that can be written: %s", path,
               std::strerror(errno));
        if (fd >= 0)
            close(fd);
        return false;
    }
    file.store(fd);
    return true;
}

}  // namespace

CaptureMark Capture::next_connection(CaptureRole role)
{
    std::call_once(opened_once, [] { on_.store(open_file()); });
    return {connections.fetch_add(1) + 1, role};
}

void Capture::write(const CaptureMark& mark, CaptureKind kind, bool callback_port, CaptureDirection direction,
                    std::string_view bytes) noexcept
{
    constexpr std::size_t fields = 20;
    char head[4 + fields];
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    put(head, static_cast<std::int32_t>(fields + bytes.size()));
    put(head + 4, static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec);
    put(head + 12, static_cast<std::int32_t>(getpid()));
    put(head + 16, mark.connection);
    head[20] = static_cast<char>(kind);
    head[21] = static_cast<char>(mark.role);
    head[22] = static_cast<char>(callback_port);
    head[23] = static_cast<char>(direction);
    const iovec parts[] = {{head, sizeof head}, {const_cast<char*>(bytes.data()), bytes.size()}};
    // One appending write, so that records of several threads and processes stay whole.
    ssize_t count = 0;
    do {
        count = writev(file.load(std::memory_order_relaxed), parts, 2);
    } while (count < 0 && errno == EINTR);
    if (count != static_cast<ssize_t>(sizeof head + bytes.size()) && on_.exchange(false))
        QV_LOG(DLOG_ERROR, "capturing ends: %s", count < 0 ? std::strerror(errno) : "the disk is full");
}

}  // namespace quorvel::platform
