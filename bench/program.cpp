#include "program.hpp"

#include <sys/prctl.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <thread>
#include <vector>

// There when allocations.cpp is preloaded.
extern "C" unsigned long bench_allocations() __attribute__((weak));

namespace bench {

namespace {

unsigned long allocations()
{
    return bench_allocations != nullptr ? bench_allocations() : 0;
}

double now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

bool do_workload(Client& client, const std::string& workload, int count)
{
    const auto times = [count](auto&& ask) {
        for (int i = 0; i < count; ++i)
            ask();
        return true;
    };
    if (workload == "W1")
        return times([&] { client.ask_small(); });
    if (workload == "W2")
        return times([&] { client.ask_large(); });
    if (workload == "W3")
        return times([&] { client.ask_details(); });
    if (workload == "W4") {
        client.hear(count);
        return true;
    }
    if (workload == "W6") {
        client.ask_from_threads(count / 4);
        return true;
    }
    return client.other(workload, count);
}

int be_driven(Client& client)
{
    std::array<char, 64> workload{};
    int count = 0;
    while (std::scanf("%63s %d", workload.data(), &count) == 2) {
        const unsigned long allocated = allocations();
        const double begin = now();
        if (!do_workload(client, workload.data(), count))
            give_up(std::string{"there is no workload "} + workload.data());
        const double seconds = now() - begin;
        std::printf("%.9f %lu\n", seconds, allocations() - allocated);
        std::fflush(stdout);
    }
    return 0;
}

/// Does `use(line)` with each line of a file of /proc.
template <typename Use>
void for_each_line(const char* path, Use&& use)
{
    std::FILE* const file = std::fopen(path, "re");
    if (file == nullptr)
        give_up(std::string{"cannot read "} + path);
    char* line = nullptr;
    std::size_t size = 0;
    while (getline(&line, &size, file) > 0)
        use(line);
    std::free(line);
    std::fclose(file);
}

long peak_kib()
{
    constexpr std::string_view name = "VmHWM:";
    long peak = 0;
    for_each_line("/proc/self/status", [&](const char* line) {
        if (std::string_view{line}.starts_with(name))
            peak = std::atol(line + name.size());
    });
    return peak;
}

/// The address space that files other than the program, libc and libstdc++ take.
long mapped_kib()
{
    constexpr std::array<std::string_view, 5> not_counted{"libc.so", "libstdc++.so", "ld-linux", "libm.so",
                                                          "libgcc_s"};
    unsigned long sum = 0;
    for_each_line("/proc/self/maps", [&](const char* line) {
        const char* const slash = std::strchr(line, '/');
        if (slash == nullptr)
            return;
        const std::string_view path = slash;
        bool counted = path.find(".so") != std::string_view::npos;
        for (const std::string_view name : not_counted)
            counted = counted && path.find(name) == std::string_view::npos;
        char* end = nullptr;
        const unsigned long from = std::strtoul(line, &end, 16);
        const unsigned long to = std::strtoul(end + 1, nullptr, 16);
        if (counted)
            sum += to - from;
    });
    return static_cast<long>(sum / 1024);
}

}  // namespace

bool Client::other(const std::string&, int)
{
    return false;
}

void Client::from_four_threads(int each, const std::function<void()>& ask)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int call = 0; call < each; ++call)
                ask();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

void give_up(const std::string& what)
{
    std::fprintf(stderr, "bench: %s\n", what.c_str());
    _exit(1);
}

int run(int argc, char** argv, const std::function<int(const std::string&)>& serve,
        const std::function<std::unique_ptr<Client>(const std::string&)>& connect)
{
    if (argc != 3)
        give_up("say serve, client or start, and an address");
    const std::string_view role = argv[1];
    const std::string address = argv[2];
    signal(SIGPIPE, SIG_IGN);
    if (role == "serve") {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        return serve(address);
    }
    const std::unique_ptr<Client> client = connect(address);
    if (role == "client")
        return be_driven(*client);
    client->ask_small();
    const double answered = now();
    std::printf("%.9f %ld %ld\n", answered, peak_kib(), mapped_kib());
    return 0;
}

}  // namespace bench
