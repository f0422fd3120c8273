#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "program.hpp"

/// Unix stream sockets for those systems that leave them to their user.
namespace bench {

inline sockaddr_un socket_address(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

inline int listen_at(const std::string& path)
{
    const sockaddr_un address = socket_address(path);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    unlink(path.c_str());
    if (listener < 0 || bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || listen(listener, 16) != 0)
        give_up("cannot listen at " + path);
    return listener;
}

inline int connect_to(const std::string& path)
{
    const sockaddr_un address = socket_address(path);
    const int connected = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connected < 0 || connect(connected, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        give_up("cannot connect to " + path);
    return connected;
}

/// A server that has a process for each connection.
inline int serve_each(const std::string& path, void (*serve_one)(int connected))
{
    signal(SIGCHLD, SIG_IGN);
    const int listener = listen_at(path);
    say_ready();
    for (;;) {
        const int connected = accept(listener, nullptr, nullptr);
        if (connected < 0)
            return 1;
        if (fork() == 0) {
            close(listener);
            serve_one(connected);
            _exit(0);
        }
        close(connected);
    }
}

}  // namespace bench
