#include "sockets.hpp"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "log.hpp"
#include "packages.hpp"
#include "wire.hpp"

namespace quorvel::platform {
namespace {

constexpr std::int32_t kMagic = 0x50525651;  // "QVRP"
constexpr std::int32_t kVersion = 1;
constexpr std::size_t kLongestSender = 255;

int open_without_links(const char* path) noexcept
{
    open_how how{};
    how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS;
    const long fd = syscall(SYS_openat2, AT_FDCWD, path, &how, sizeof how);
    // Where the kernel or a sandbox does not have it, at least the last part is no link.
    if (fd < 0 && (errno == ENOSYS || errno == EPERM))
        return open(path, O_PATH | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
    return static_cast<int>(fd);
}

// The directory and, where they are missing, those above it.
void make_directory(const std::string& path) noexcept
{
    if (mkdir(path.c_str(), 0700) == 0 || errno != ENOENT)
        return;
    const std::size_t slash = path.find_last_of('/');
    if (slash == std::string::npos || slash == 0)
        return;
    make_directory(path.substr(0, slash));
    static_cast<void>(mkdir(path.c_str(), 0700));
}

}  // namespace

int milliseconds_until(Deadline deadline) noexcept
{
    using namespace std::chrono_literals;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds>(left, 0ms, 24h).count());
}

bool secure_directory(const std::string& path)
{
    make_directory(path);
    const Descriptor directory{open_without_links(path.c_str())};
    if (!directory) {
        QV_LOG(DLOG_ERROR, "socket directory %s is refused: %s", path.c_str(),
               errno == ELOOP || errno == ENOTDIR ? "it is reached through a link, or is no directory"
                                                  : std::strerror(errno));
        return false;
    }
    struct stat info {};
    if (fstat(directory.get(), &info) != 0 || info.st_uid != geteuid() || (info.st_mode & 0777) != 0700) {
        QV_LOG(DLOG_ERROR,
               "socket directory %s is refused: it must be your own, with mode 0700 (now: uid %d, %04o)",
               path.c_str(), static_cast<int>(info.st_uid), static_cast<unsigned>(info.st_mode & 07777));
        return false;
    }
    return true;
}

std::optional<std::string> socket_path(std::string_view app_id, std::string_view port_name)
{
    if (!is_plain_name(app_id) || !is_plain_name(port_name)) {
        QV_LOG(DLOG_ERROR,
               "\"%.*s\", \"%.*s\": an application's id and a port's name are letters, digits and ._-",
               static_cast<int>(app_id.size()), app_id.data(), static_cast<int>(port_name.size()),
               port_name.data());
        return std::nullopt;
    }
    std::string path =
        socket_directory() + "/" + std::string(app_id) + "." + std::string(port_name) + ".sock";
    constexpr std::size_t longest = sizeof(sockaddr_un::sun_path) - 1;
    if (path.size() > longest) {
        QV_LOG(DLOG_ERROR, "socket path %s is refused: %zu bytes, where %zu are possible", path.c_str(),
               path.size(), longest);
        return std::nullopt;
    }
    return path;
}

std::optional<Peer> peer_of(int fd) noexcept
{
    ucred credentials{};
    socklen_t size = sizeof credentials;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0)
        return std::nullopt;
    return Peer{credentials.uid, credentials.pid};
}

bool is_trusted(const Peer& peer, const char* what) noexcept
{
    if (peer.uid == geteuid() || peer.uid == 0)
        return true;
    QV_LOG(DLOG_ERROR, "%s belongs to a stranger: uid %d, process %d. Nothing was sent", what,
           static_cast<int>(peer.uid), static_cast<int>(peer.pid));
    return false;
}

Reached reach(const std::string& path)
{
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0)
        return {errno == ENOENT ? Reach::absent : Reach::refused, {}, {}};
    if (!S_ISSOCK(info.st_mode) || (info.st_uid != geteuid() && info.st_uid != 0)) {
        QV_LOG(DLOG_ERROR, "%s is refused: it must be a socket of your own or of root's", path.c_str());
        return {Reach::refused, {}, {}};
    }

    Descriptor fd{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    if (!fd)
        return {Reach::busy, {}, {}};
    if (connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        switch (errno) {
            case ECONNREFUSED:
            case ENOENT:
                return {Reach::absent, {}, {}};
            case EAGAIN:
            case EINTR:
                return {Reach::busy, {}, {}};
            default:
                QV_LOG(DLOG_ERROR, "%s cannot be connected to: %s", path.c_str(), std::strerror(errno));
                return {Reach::refused, {}, {}};
        }
    }
    const std::optional<Peer> peer = peer_of(fd.get());
    if (!peer || !is_trusted(*peer, path.c_str()) || fcntl(fd.get(), F_SETFL, 0) != 0)
        return {Reach::refused, {}, {}};
    return {Reach::connected, std::move(fd), *peer};
}

bool fill_random(Token& token) noexcept
{
    ssize_t count = 0;
    do {
        count = getrandom(token.data(), token.size(), 0);
    } while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(token.size());
}

void write_introduction(Parcel& parcel, const Introduction& introduction)
{
    put(parcel.append(4), kMagic);
    put(parcel.append(4), kVersion);
    put(parcel.append(4), static_cast<std::int32_t>(introduction.port));
    std::memcpy(parcel.append(introduction.token.size()), introduction.token.data(),
                introduction.token.size());
    const std::string_view sender = std::string_view(introduction.sender).substr(0, kLongestSender);
    put(parcel.append(4), static_cast<std::int32_t>(sender.size() + 1));
    char* text = parcel.append(sender.size() + 1);
    sender.copy(text, sender.size());
    text[sender.size()] = '\0';
}

std::optional<Introduction> read_introduction(Parcel& parcel)
{
    const char* head = parcel.skip(12);
    const char* token = parcel.skip(sizeof(Token));
    std::size_t length = 0;
    const char* sender = parcel.next_string(length);
    if (sender == nullptr || length > kLongestSender || get<std::int32_t>(head) != kMagic
        || get<std::int32_t>(head + 4) != kVersion)
        return std::nullopt;
    const std::int32_t port = get<std::int32_t>(head + 8);
    if (port != static_cast<std::int32_t>(PortKind::main)
        && port != static_cast<std::int32_t>(PortKind::callback))
        return std::nullopt;
    Introduction introduction{static_cast<PortKind>(port), {}, std::string(sender, length)};
    std::memcpy(introduction.token.data(), token, introduction.token.size());
    return introduction;
}

void write_welcome(Parcel& parcel, std::int32_t status)
{
    put(parcel.append(4), kMagic);
    put(parcel.append(4), status);
}

std::optional<std::int32_t> read_welcome(Parcel& parcel) noexcept
{
    const char* at = parcel.skip(8);
    if (at == nullptr || get<std::int32_t>(at) != kMagic)
        return std::nullopt;
    return get<std::int32_t>(at + 4);
}

bool send_at_once(int fd, std::string_view bytes) noexcept
{
    ssize_t count = 0;
    do {
        count = send(fd, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    } while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(bytes.size());
}

Descriptor lock_file(const std::string& path) noexcept
{
    Descriptor file{open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)};
    if (file && flock(file.get(), LOCK_EX | LOCK_NB) != 0)
        file.reset();
    return file;
}

}  // namespace quorvel::platform
