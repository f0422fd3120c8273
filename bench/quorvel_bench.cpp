// The library beside a bare write and read of the same bytes on a Unix stream socket, both between two
// processes, in interleaved repetitions; figures are medians of the ratios within a repetition.
#include <glib.h>
#include <quorvel_client.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "workload.hpp"

namespace {

using Seconds = std::chrono::duration<double>;

double seconds_of(const std::function<void()>& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return Seconds{std::chrono::steady_clock::now() - begin}.count();
}

[[noreturn]] void give_up(const char* what)
{
    std::fprintf(stderr, "quorvel_bench: %s\n", what);
    std::exit(1);
}

bool move_all(ssize_t (*move)(int, void*, std::size_t), int descriptor, char* bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t moved = move(descriptor, bytes, size);
        if (moved <= 0)
            return false;
        bytes += moved;
        size -= static_cast<std::size_t>(moved);
    }
    return true;
}

bool read_all(int descriptor, char* bytes, std::size_t size)
{
    return move_all(read, descriptor, bytes, size);
}

bool write_all(int descriptor, char* bytes, std::size_t size)
{
    return move_all([](int d, void* b, std::size_t s) { return write(d, b, s); }, descriptor, bytes, size);
}

/// The floor: a process that answers every request of one size with one of another.
class PingPong {
public:
    PingPong(std::size_t request, std::size_t answer) : request_(request), answer_(answer)
    {
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_.data()) != 0)
            give_up("no socket");
        child_ = fork();
        if (child_ == 0) {
            close(ends_[0]);
            while (read_all(ends_[1], request_.data(), request_.size())
                   && write_all(ends_[1], answer_.data(), answer_.size())) {
            }
            _exit(0);
        }
        close(ends_[1]);
    }
    ~PingPong()
    {
        close(ends_[0]);
        waitpid(child_, nullptr, 0);
    }
    PingPong(const PingPong&) = delete;
    PingPong& operator=(const PingPong&) = delete;

    void play(int rounds)
    {
        for (int i = 0; i < rounds; ++i) {
            if (!write_all(ends_[0], request_.data(), request_.size())
                || !read_all(ends_[0], answer_.data(), answer_.size()))
                give_up("the floor broke");
        }
    }

private:
    std::vector<char> request_;
    std::vector<char> answer_;
    std::array<int, 2> ends_{};
    pid_t child_ = 0;
};

/// The floor of a flood: a process that writes so many messages, one by one, read in bulk here.
void flood(int messages)
{
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        give_up("no socket");
    const pid_t child = fork();
    if (child == 0) {
        std::vector<char> message(bench::notification);
        for (int i = 0; i < messages && write_all(ends[1], message.data(), message.size()); ++i) {
        }
        _exit(0);
    }
    close(ends[1]);
    std::vector<char> buffer(65536);
    while (read(ends[0], buffer.data(), buffer.size()) > 0) {
    }
    close(ends[0]);
    waitpid(child, nullptr, 0);
}

/// The library, connected to the agent of the benchmark.
class Client {
public:
    Client()
    {
        std::string name = std::filesystem::temp_directory_path() / "quorvel-bench-XXXXXX";
        home_ = mkdtemp(name.data());
        std::filesystem::create_directory(home_ / "packages");
        std::ofstream{home_ / "packages/com.veltrane.norvik.quorvel-client.package"}
            << "id=com.veltrane.norvik.quorvel-client\nversion=2.4.0\nexec=" << BENCH_AGENT << "\n";
        setenv("QUORVEL_HOME_DIR", home_.c_str(), 1);
        const auto on_state = [](int, int state, void* user_data) { *static_cast<int*>(user_data) = state; };
        if (quorvel_client_connect(&handle, on_state, &state_) != 0)
            give_up("cannot connect");
        while (state_ < 0)
            g_main_context_iteration(nullptr, TRUE);
        if (state_ != QUORVEL_CLIENT_CONNECTION_CONNECTED)
            give_up("no connection");
        const auto on_notification = [](const char*, const char*, const char*, void* user_data) {
            ++*static_cast<int*>(user_data);
        };
        if (quorvel_client_set_notification_cb(handle, on_notification, &heard_) != 0)
            give_up("no notifications");
    }
    ~Client()
    {
        quorvel_client_disconnect(handle);
        for (const auto& process : std::filesystem::directory_iterator{"/proc"}) {
            std::error_code gone;
            const auto program = std::filesystem::read_symlink(process.path() / "exe", gone);
            if (!gone && program == BENCH_AGENT)
                kill(std::atoi(process.path().filename().c_str()), SIGTERM);
        }
        std::filesystem::remove_all(home_);
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void ask_signed_in(int rounds) const
    {
        bool is_signed_in = false;
        for (int i = 0; i < rounds; ++i) {
            if (quorvel_client_is_signed_in(handle, &is_signed_in) != 0 || !is_signed_in)
                give_up("is_signed_in failed");
        }
    }
    void ask_devices(int rounds) const
    {
        for (int round = 0; round < rounds; ++round) {
            quorvel_client_device_h* list = nullptr;
            int count = 0;
            if (quorvel_client_get_device_list(handle, &list, &count) != 0 || count != bench::devices)
                give_up("get_device_list failed");
            for (int i = 0; i < count; ++i)
                quorvel_client_device_destroy(list[i]);
            std::free(list);
        }
    }
    void hear(int events)
    {
        heard_ = 0;
        char* nothing = nullptr;
        if (quorvel_client_get_ui_metadata(handle, std::to_string(events).c_str(), &nothing) != 0)
            give_up("the storm did not begin");
        std::free(nothing);
        while (heard_ < events)
            g_main_context_iteration(nullptr, TRUE);
    }

    quorvel_client_h handle = nullptr;

private:
    std::filesystem::path home_;
    int state_ = -1;
    int heard_ = 0;
};

struct Workload {
    const char* name;
    int operations;
    std::function<void(int)> ours;
    std::function<void(int)> floor;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void pin_to_one_cpu()
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(0, &one);
    sched_setaffinity(0, sizeof one, &one);
}

}  // namespace

// quorvel_bench [--one-cpu] [--repetitions N] [--only WORKLOAD]
int main(int argc, char** argv)
{
    int repetitions = 5;
    std::string only;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--one-cpu")
            pin_to_one_cpu();
        else if (option == "--repetitions" && i + 1 < argc)
            repetitions = std::max(1, std::atoi(argv[++i]));
        else if (option == "--only" && i + 1 < argc)
            only = argv[++i];
        else
            give_up("there are --one-cpu, --repetitions N and --only WORKLOAD");
    }
    signal(SIGPIPE, SIG_IGN);

    Client client;
    PingPong small{bench::bare_request, bench::signed_in_answer};
    PingPong large{bench::bare_request, bench::list_answer};
    const std::vector<Workload> workloads = {
        {"is_signed_in", 20000, [&](int n) { client.ask_signed_in(n); }, [&](int n) { small.play(n); }},
        {"get_device_list of 1,000", 500, [&](int n) { client.ask_devices(n); },
         [&](int n) { large.play(n); }},
        {"events", 100000, [&](int n) { client.hear(n); }, flood},
    };

    std::printf("%-26s %14s %14s %8s\n", "", "ours", "bare socket", "ratio");
    for (const Workload& workload : workloads) {
        if (!only.empty() && only != workload.name)
            continue;
        std::vector<double> ours;
        std::vector<double> floor;
        std::vector<double> ratios;
        for (int i = 0; i < repetitions; ++i) {
            floor.push_back(seconds_of([&] { workload.floor(workload.operations); }));
            ours.push_back(seconds_of([&] { workload.ours(workload.operations); }));
            ratios.push_back(ours.back() / floor.back());
        }
        const auto each = [&](const std::vector<double>& times) {
            return median(times) / workload.operations * 1e6;
        };
        std::printf("%-26s %11.2f us %11.2f us %8.2f\n", workload.name, each(ours), each(floor),
                    median(ratios));
        if (std::strcmp(workload.name, "events") == 0)
            std::printf("%-26s %11.0f /s %11.0f /s\n", "", 1e6 / each(ours), 1e6 / each(floor));
    }
    return 0;
}
