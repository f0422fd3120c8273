// The floor: what the kernel takes for the same bytes, moved by bare writes and reads on a Unix stream
// socket.
#include <glib-unix.h>
#include <glib.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <mutex>

#include "sockets.hpp"
#include "workload.hpp"

namespace {

/// How a connection goes on: answers of one size to requests of another, or, without answers, a flood of
/// messages a request.
struct Exchange {
    std::uint32_t request;
    std::uint32_t answer;
    std::uint32_t message;
};

// As the library frames them: a length before each frame and each text, a NUL behind each text; a method and
// a result are four bytes each.
constexpr std::uint32_t frame(std::size_t payload)
{
    return static_cast<std::uint32_t>(4 + payload);
}
constexpr std::size_t text(std::size_t length)
{
    return 4 + length + 1;
}

std::uint32_t details_frame()
{
    std::size_t size = 4 + 4 + 4 + 4;
    for (const bench::Detail& detail : bench::details()) {
        size += 4;
        for (const std::string& value : detail.texts)
            size += text(value.size());
        for (const auto& list : detail.lists) {
            size += 4;
            for (const std::string& value : list)
                size += text(value.size());
        }
    }
    return frame(size);
}

constexpr Exchange small{frame(4), frame(4 + text(4) + 4), 0};
constexpr Exchange large{frame(4 + 3 * text(36)), frame(4 + text(bench::status_length) + 4), 0};
constexpr Exchange flood{sizeof(std::uint32_t), 0, frame(4 + 4 + 4 + 1 + text(16) + text(40) + text(64))};

bool move_all(ssize_t (*move)(int, void*, std::size_t), int descriptor, void* bytes, std::size_t size)
{
    auto* at = static_cast<char*>(bytes);
    while (size > 0) {
        const ssize_t moved = move(descriptor, at, size);
        if (moved <= 0)
            return false;
        at += moved;
        size -= static_cast<std::size_t>(moved);
    }
    return true;
}

bool read_all(int descriptor, void* bytes, std::size_t size)
{
    return move_all(read, descriptor, bytes, size);
}

bool write_all(int descriptor, void* bytes, std::size_t size)
{
    return move_all([](int d, void* b, std::size_t s) { return write(d, b, s); }, descriptor, bytes, size);
}

void serve_one(int connected)
{
    Exchange exchange{};
    char welcome = 'w';
    if (!write_all(connected, &welcome, 1) || !read_all(connected, &exchange, sizeof exchange))
        return;
    std::vector<char> request(exchange.request);
    std::vector<char> answer(std::max(exchange.answer, exchange.message));
    while (read_all(connected, request.data(), request.size())) {
        std::uint32_t messages = 1;
        if (exchange.message != 0)
            std::memcpy(&messages, request.data(), sizeof messages);
        for (; messages > 0; --messages) {
            if (!write_all(connected, answer.data(), answer.size()))
                return;
        }
    }
}

/// One connection, and the bytes that go over it.
class Line {
public:
    Line(const std::string& address, const Exchange& exchange)
        : socket_{bench::connect_to(address)}, request_(exchange.request), answer_(exchange.answer)
    {
        await_welcome();
        Exchange announced = exchange;
        if (!write_all(socket_, &announced, sizeof announced))
            bench::give_up("the floor broke");
    }
    ~Line() { close(socket_); }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    void ask()
    {
        if (!write_all(socket_, request_.data(), request_.size())
            || !read_all(socket_, answer_.data(), answer_.size()))
            bench::give_up("the floor broke");
    }
    /// In bulk, as much as is there each time.
    void hear(std::uint32_t messages)
    {
        std::size_t left = std::size_t{messages} * flood.message;
        std::vector<char> buffer(65536);
        if (!write_all(socket_, &messages, sizeof messages))
            bench::give_up("the floor broke");
        while (left > 0) {
            const ssize_t moved = read(socket_, buffer.data(), buffer.size());
            if (moved <= 0)
                bench::give_up("the floor broke");
            left -= static_cast<std::size_t>(moved);
        }
    }

private:
    /// Through the main loop, as every application hears of its connection.
    void await_welcome() const
    {
        bool connected = false;
        g_unix_fd_add(
            socket_, G_IO_IN,
            [](int descriptor, GIOCondition, void* data) -> gboolean {
                char welcome = 0;
                *static_cast<bool*>(data) = read(descriptor, &welcome, 1) == 1;
                return G_SOURCE_REMOVE;
            },
            &connected);
        while (!connected)
            g_main_context_iteration(nullptr, TRUE);
    }

    int socket_;
    std::vector<char> request_;
    std::vector<char> answer_;
};

class Floor : public bench::Client {
public:
    explicit Floor(const std::string& address) : address_{address} { line(small); }

    void ask_small() override { line(small).ask(); }
    void ask_large() override { line(large).ask(); }
    void ask_details() override
    {
        static const Exchange details{frame(4), details_frame(), 0};
        line(details).ask();
    }
    void hear(int callbacks) override { line(flood).hear(static_cast<std::uint32_t>(callbacks)); }
    void ask_from_threads(int each) override
    {
        Line& one = line(small);
        std::mutex mutex;
        from_four_threads(each, [&] {
            const std::lock_guard lock{mutex};
            one.ask();
        });
    }

private:
    /// One connection a workload.
    Line& line(const Exchange& exchange)
    {
        std::unique_ptr<Line>& made = lines_[exchange.request + exchange.answer + exchange.message];
        if (made == nullptr)
            made = std::make_unique<Line>(address_, exchange);
        return *made;
    }

    std::string address_;
    std::map<std::uint32_t, std::unique_ptr<Line>> lines_;
};

}  // namespace

int main(int argc, char** argv)
{
    return bench::run(
        argc, argv, [](const std::string& address) { return bench::serve_each(address, serve_one); },
        [](const std::string& address) { return std::make_unique<Floor>(address); });
}
