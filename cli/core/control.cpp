#include "core/control.hpp"

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "core/failure.hpp"
#include "core/places.hpp"

namespace quorvel::cli {
namespace {

class Line {
public:
    explicit Line(std::chrono::milliseconds timeout) : fd_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const std::string path = control_socket().string();
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (path.size() < sizeof address.sun_path)
            std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
        if (fd_ < 0 || ::connect(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            const int error = errno;
            if (fd_ >= 0)
                close(fd_);
            throw Failure(error == EACCES ? refused : no_agent, "no reference agent can be reached",
                          fmt::format("{}: {}", path, std::strerror(error)), "qvctl agent start");
        }
        const timeval time{timeout.count() / 1000, timeout.count() % 1000 * 1000};
        setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
    }
    ~Line() { close(fd_); }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    std::string exchange(std::string text)
    {
        text += '\n';
        for (std::size_t sent = 0; sent < text.size();) {
            const ssize_t count = send(fd_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
            if (count <= 0)
                throw Failure(lost, "the agent went away", std::strerror(errno), "qvctl agent log");
            sent += static_cast<std::size_t>(count);
        }
        std::string answer;
        while (answer.find('\n') == std::string::npos) {
            char part[65536];
            const ssize_t count = recv(fd_, part, sizeof part, 0);
            if (count == 0)
                throw Failure(lost, "the agent went away", "it closed the control socket", "qvctl agent log");
            if (count < 0)
                throw Failure(errno == EAGAIN ? timed_out : lost, "the agent does not answer",
                              std::strerror(errno), "give it more time with --timeout 30s");
            answer.append(part, static_cast<std::size_t>(count));
        }
        return answer;
    }

private:
    int fd_;
};

}  // namespace

Json control(const Json& request, std::chrono::milliseconds timeout)
{
    const Json answer = Json::parse(Line(timeout).exchange(request.dump()), nullptr, false);
    if (answer.is_discarded() || !answer.is_object())
        throw Failure(failed, "the agent's answer cannot be read", "control socket", "qvctl agent log");
    if (answer.value("ok", false)) {
        Json rest = answer;
        rest.erase("ok");
        return rest;
    }
    const Json error = answer.value("error", Json::object());
    const Json code = error.value("code", Json(nullptr));
    const std::string message = error.value("message", "the agent refused");
    const std::string command = request.value("do", "");
    if (code.is_number_integer())
        throw code_failure(fmt::format("sim {}", command), code.get<int>(), message);
    throw Failure(failed, message, fmt::format("sim {}", command),
                  fmt::format("qvctl sim {} --help", command));
}

}  // namespace quorvel::cli
