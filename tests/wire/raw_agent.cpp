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

std::string read_exactly(int fd, std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t used = 0; used < size;) {
        const ssize_t count = recv(fd, bytes.data() + used, size - used, 0);
        if (count <= 0)
            give_up();
        used += static_cast<std::size_t>(count);
    }
    return bytes;
}

std::string read_frame(int fd)
{
    return read_exactly(fd, static_cast<std::size_t>(int32_at(read_exactly(fd, 4), 0)));
}

}  // namespace

std::string int32(std::int32_t value)
{
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<char>(static_cast<std::uint32_t>(value) >> shift));
    return bytes;
}

std::string text(std::string_view value)
{
    return int32(static_cast<std::int32_t>(value.size() + 1)) + std::string(value) + '\0';
}

std::string frame(std::string_view payload)
{
    return int32(static_cast<std::int32_t>(payload.size())) + std::string(payload);
}

std::int32_t int32_at(std::string_view bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i)
        value |= std::uint32_t{static_cast<unsigned char>(bytes[at + i])} << (8 * i);
    return static_cast<std::int32_t>(value);
}

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
    const bool one_is_main = int32_at(read_frame(one), 8) == 0;
    read_frame(other);
    main_ = one_is_main ? one : other;
    callback_ = one_is_main ? other : one;
}

void AgentSide::welcome()
{
    answer("QVRP" + int32(0));
}

std::string AgentSide::request()
{
    return read_frame(main_);
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
