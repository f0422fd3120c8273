// Somebody else offers the agent's socket, or the way to it. The application hears that it was rejected, and
// whoever listens there hears not one byte. Some of these need a second user; they say when they could not
// be.
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <iterator>
#include <optional>

#include "scale.hpp"
#include "support.hpp"

namespace {

using integration::Connection;
using integration::pump_until;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr uid_t kStranger = 65534;

/// Somebody who listens on a socket, perhaps another user; says at the end whether anything was sent to him.
class Listener {
public:
    Listener(const fs::path& socket, uid_t user)
    {
        int ready[2];
        if (pipe(ready) != 0)
            std::abort();
        process_ = fork();
        if (process_ == 0) {
            sockaddr_un address{};
            address.sun_family = AF_UNIX;
            socket.string().copy(address.sun_path, sizeof address.sun_path - 1);
            const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
            if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
                _exit(3);
            if (user != geteuid() && (setgroups(0, nullptr) != 0 || setgid(user) != 0 || setuid(user) != 0))
                _exit(3);
            if (listen(listener, 4) != 0 || write(ready[1], "x", 1) != 1)
                _exit(3);
            for (;;) {
                pollfd waiting{listener, POLLIN, 0};
                if (poll(&waiting, 1, 600) <= 0)
                    _exit(0);
                char byte = 0;
                const int peer = accept(listener, nullptr, nullptr);
                if (recv(peer, &byte, 1, 0) > 0)
                    _exit(2);
                close(peer);
            }
        }
        close(ready[1]);
        char byte = 0;
        static_cast<void>(!read(ready[0], &byte, 1));
        close(ready[0]);
    }
    bool heard_nothing() const
    {
        int status = -1;
        waitpid(process_, &status, 0);
        return status == 0;
    }

private:
    pid_t process_ = 0;
};

struct Attack {
    const char* what;
    bool needs_second_user;
    /// Prepares it; the listener, where somebody listens.
    std::function<std::optional<Listener>(const integration::TemporaryHome& home, const fs::path& socket)>
        prepare;
};

void make_directory(const fs::path& path, mode_t mode)
{
    fs::create_directories(path);
    chmod(path.c_str(), mode);
}

const Attack attacks[] = {
    {"a directory that everybody may write to", false,
     [](const auto& home, const fs::path& socket) {
         make_directory(home.sockets(), 0777);
         return std::optional<Listener>{std::in_place, socket, geteuid()};
     }},
    {"a directory that the group may enter", false,
     [](const auto& home, const fs::path& socket) {
         make_directory(home.sockets(), 0750);
         return std::optional<Listener>{std::in_place, socket, geteuid()};
     }},
    {"a directory that is a link", false,
     [](const auto& home, const fs::path& socket) {
         make_directory(home.path() / "elsewhere", 0700);
         fs::create_directory_symlink(home.path() / "elsewhere", home.sockets());
         return std::optional<Listener>{std::in_place, socket, geteuid()};
     }},
    {"a socket that is a link", false,
     [](const auto& home, const fs::path& socket) {
         make_directory(home.sockets(), 0700);
         std::optional<Listener> listener{std::in_place, home.path() / "real.sock", geteuid()};
         fs::create_symlink(home.path() / "real.sock", socket);
         return listener;
     }},
    {"a directory like the common one for temporary files", false,
     [](const auto& home, const fs::path& socket) {
         make_directory(home.sockets(), 01777);
         return std::optional<Listener>{std::in_place, socket, geteuid()};
     }},
    {"a path that is too long for a socket", false,
     [](const auto& home, const fs::path&) {
         const fs::path far = home.path() / std::string(120, 'd');
         make_directory(far, 0700);
         fs::copy(home.path() / "packages", far / "packages");
         setenv("QUORVEL_HOME_DIR", far.c_str(), 1);
         return std::optional<Listener>{};
     }},
    {"another user behind a socket that looks right", true,
     [](const auto& home, const fs::path& socket) {
         make_directory(home.sockets(), 0700);
         return std::optional<Listener>{std::in_place, socket, kStranger};
     }},
    {"a directory of another user", true,
     [](const auto& home, const fs::path& socket) {
         make_directory(home.sockets(), 0700);
         std::optional<Listener> listener{std::in_place, socket, geteuid()};
         if (chown(home.sockets().c_str(), kStranger, kStranger) != 0)
             std::abort();
         return listener;
     }},
};

bool is_refused(const Attack& attack)
{
    const integration::TemporaryHome home;
    home.install("2.4.0", "/bin/false");
    const fs::path socket = home.socket();
    const std::optional<Listener> listener = attack.prepare(home, socket);
    bool rejected = false;
    {
        Connection connection;
        rejected = connection.connect() == 0 && pump_until([&] { return connection.rejected > 0; }, 5s)
                   && connection.connected == 0 && connection.disconnected == 0
                   && connection.last_result == QUORVEL_CLIENT_ERROR_PERMISSION_DENIED;
    }
    const bool heard_nothing = !listener || listener->heard_nothing();
    if (!rejected || !heard_nothing)
        std::printf("FAILED: %s: %s\n", attack.what, rejected ? "a byte was sent" : "it is not rejected");
    return rejected && heard_nothing;
}

}  // namespace

int main()
{
    long refused = 0;
    long skipped = 0;
    for (const Attack& attack : attacks) {
        if (attack.needs_second_user && geteuid() != 0) {
            ++skipped;
            std::printf("skipped, for want of a second user: %s\n", attack.what);
            continue;
        }
        refused += is_refused(attack) ? 1 : 0;
    }
    constexpr long full = std::size(attacks);
    wire::report("attacks that are refused before a byte is sent", refused, full);
    return refused + skipped == full ? 0 : 1;
}
