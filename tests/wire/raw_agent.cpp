#include "raw_agent.hpp"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

namespace wire {

namespace {

[[noreturn]] void give_up()
{
    _exit(1);
}

std::optional<std::string> read_exactly(int fd, std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t used = 0; used < size;) {
        const ssize_t count = recv(fd, bytes.data() + used, size - used, 0);
        if (count <= 0)
            return std::nullopt;
        used += static_cast<std::size_t>(count);
    }
    return bytes;
}

std::optional<std::string> read_frame(int fd)
{
    const std::optional<std::string> head = read_exactly(fd, 4);
    return head ? read_exactly(fd, static_cast<std::size_t>(int32_at(*head, 0))) : std::nullopt;
}

}  // namespace

AgentSide::AgentSide(const std::string& socket) : listener_{::socket(AF_UNIX, SOCK_STREAM, 0)}
{
    const std::filesystem::path path{socket};
    mkdir(path.parent_path().c_str(), 0700);
    unlink(socket.c_str());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socket.copy(address.sun_path, sizeof address.sun_path - 1);
    if (bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || listen(listener_, 64) != 0)
        give_up();
}

void AgentSide::accept()
{
    const int one = ::accept(listener_, nullptr, nullptr);
    const int other = ::accept(listener_, nullptr, nullptr);
    if (one < 0 || other < 0)
        give_up();
    // The port's kind stands behind the magic number and the version.
    const std::optional<std::string> introduction = read_frame(one);
    if (!introduction || !read_frame(other))
        give_up();
    const bool one_is_main = int32_at(*introduction, 8) == 0;
    main_ = one_is_main ? one : other;
    callback_ = one_is_main ? other : one;
}

void AgentSide::welcome()
{
    answer("QVRP" + int32(0));
}

std::string AgentSide::request()
{
    std::optional<std::string> request = read_frame(main_);
    if (!request)
        give_up();
    return *request;
}

std::optional<std::string> AgentSide::next_request()
{
    std::optional<std::string> request = read_frame(main_);
    if (!request) {
        ::close(main_);
        ::close(callback_);
    }
    return request;
}

void AgentSide::await_input() const
{
    pollfd waiting{main_, POLLIN, 0};
    poll(&waiting, 1, 1000);
}

void AgentSide::close()
{
    ::close(listener_);
    ::close(main_);
    ::close(callback_);
}

void AgentSide::send(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0)
            give_up();
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

RawAgent::RawAgent(const std::string& socket, const std::function<void(AgentSide&)>& run)
{
    int ready[2];
    if (pipe(ready) != 0)
        give_up();
    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        AgentSide side{socket};
        static_cast<void>(!write(ready[1], "x", 1));
        ::close(ready[0]);
        ::close(ready[1]);
        run(side);
        _exit(0);
    }
    ::close(ready[1]);
    char byte = 0;
    static_cast<void>(!read(ready[0], &byte, 1));
    ::close(ready[0]);
}

RawAgent::~RawAgent()
{
    signal(SIGKILL);
    waitpid(process_, nullptr, 0);
}

void RawAgent::signal(int number) const
{
    kill(process_, number);
}

std::string done()
{
    return int32(0) + int32(0);
}

std::string vid_of(std::string_view request)
{
    return std::string{request.substr(8, static_cast<std::size_t>(int32_at(request, 4)) - 1)};
}

std::string answer_to_metadata(std::string_view request)
{
    return int32(0) + text("metadata of " + vid_of(request)) + int32(0);
}

std::string callback_head(std::string_view request)
{
    constexpr std::size_t delegate_size = 9;
    return int32(1) + std::string{request.substr(request.size() - delegate_size)};
}

}  // namespace wire
