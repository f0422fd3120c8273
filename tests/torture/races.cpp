// Threads do everything at once: calls, every registration, subscriptions, disconnects, while events arrive.
// The thread sanitizer's build proves that nothing races; any build, that nothing hangs, crashes or stays
// behind.
//
// The order of the threads is stirred by a seed: before a lock is taken the thread may give its turn away.
// The application's own rule is kept: a handle is used no more once a new connection may be begun.
#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>

#include "live.hpp"
#include "scenarios.hpp"

using namespace torture;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

std::atomic<unsigned> stirring{0};  // 0: not at all
thread_local std::minstd_rand stir_random;
thread_local bool is_seeded = false;
std::atomic<unsigned long> own_locks{0};  // that came through here

void stir()
{
    const unsigned seed = stirring.load(std::memory_order_relaxed);
    if (seed == 0)
        return;
    if (!std::exchange(is_seeded, true))
        stir_random.seed(
            seed + static_cast<unsigned>(std::hash<std::thread::id>{}(std::this_thread::get_id()) % 997));
    if (stir_random() % 4 == 0)
        sched_yield();
}

}  // namespace

// The linker sends the library's pthread_mutex_lock and its own locks' lock() here.
extern "C" {
void __real__ZN7quorvel5locks4Lock4lockEv(void* lock);
void __wrap__ZN7quorvel5locks4Lock4lockEv(void* lock);

void __wrap__ZN7quorvel5locks4Lock4lockEv(void* lock)
{
    stir();
    // Relaxed, so that the count itself orders nothing that a sanitizer looks at.
    own_locks.fetch_add(1, std::memory_order_relaxed);
    __real__ZN7quorvel5locks4Lock4lockEv(lock);
}

int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    stir();
    return __real_pthread_mutex_lock(mutex);
}
}

namespace {

/// The one connection of the process, and who uses it.
class Connection {
public:
    /// Calls with the handle, if there is one. A disconnect may come in the middle; a new connection waits.
    template <typename Use>
    void use(Use work)
    {
        quorvel_client_h client = nullptr;
        {
            const std::lock_guard lock{mutex_};
            client = client_;
            users_ += client != nullptr ? 1 : 0;
        }
        if (client == nullptr) {
            std::this_thread::yield();
            return;
        }
        work(client);
        const std::lock_guard lock{mutex_};
        if (--users_ == 0)
            unused_.notify_all();
    }

    void begin()
    {
        std::unique_lock lock{mutex_};
        unused_.wait(lock, [this] { return users_ == 0; });
        client_ = connect();
    }
    void end()
    {
        quorvel_client_h client = nullptr;
        {
            const std::lock_guard lock{mutex_};
            client = std::exchange(client_, nullptr);
        }
        if (client != nullptr)
            quorvel_client_disconnect(client);
    }

private:
    std::mutex mutex_;
    std::condition_variable unused_;
    quorvel_client_h client_ = nullptr;
    int users_ = 0;
};

/// What the threads call: all that registers, ends or asks.
std::vector<const Row*> busy_rows()
{
    std::vector<const Row*> chosen;
    for (const Row& row : rows()) {
        const bool is_connection =
            row.name == "quorvel_client_disconnect" || row.name == "quorvel_client_connect";
        if (row.family == Row::Family::public_api && row.takes_client && !is_connection)
            chosen.push_back(&row);
    }
    return chosen;
}

Finding everything_at_once(unsigned seed, Clock::duration how_long, Clock::duration between_disconnects,
                           Proof& proof)
{
    constexpr int workers = 16;
    scripted::keep_log(false);
    stirring = seed;
    Connection connection;
    std::atomic<bool> is_over{false};
    std::atomic<long> calls{0};
    long unguarded = 0;  // for the planted race alone
    connection.begin();
    const auto rows_to_call = busy_rows();
    std::vector<std::thread> threads;
    for (unsigned worker = 0; worker < workers; ++worker) {
        threads.emplace_back([&, worker] {
            std::minstd_rand random{seed * 31 + worker};
            while (!is_over) {
                const Row& row = *rows_to_call[random() % rows_to_call.size()];
                connection.use([&](quorvel_client_h client) { Attempt{row, client}.run(); });
                ++calls;
                if (is_planted("race")) {
                    const long before = unguarded;
                    sched_yield();
                    unguarded = before + 1;
                }
            }
        });
    }
    // The main loop: events for whatever is registered, known or not.
    std::thread loop{[&] {
        std::minstd_rand random{seed};
        const auto kinds = description().delegates;
        while (!is_over) {
            const auto& kind = kinds[random() % kinds.size()];
            connection.use([&](quorvel_client_h) {
                try {
                    scripted::agent().fire(kind.id, 1 + static_cast<int>(random() % 40), kind.is_once,
                                           sample(kind.parameters));
                } catch (const std::logic_error&) {
                    // The connection has ended meanwhile.
                }
            });
            scripted::agent().run_events();
        }
    }};
    const auto end = Clock::now() + how_long;
    auto next_disconnect = Clock::now() + between_disconnects;
    while (Clock::now() < end) {
        std::this_thread::sleep_for(std::min<Clock::duration>(1ms, between_disconnects));
        if (Clock::now() < next_disconnect)
            continue;
        next_disconnect += between_disconnects;
        connection.end();
        scripted::agent().forget_requests();
        connection.begin();
    }
    is_over = true;
    for (std::thread& thread : threads)
        thread.join();
    loop.join();
    connection.end();
    stirring = 0;
    proof.did(1);
    if (own_locks == 0)
        return "the library takes its locks without being stirred";
    if (is_planted("race") && unguarded != calls)
        return "counts were lost in a race";
    if (scripted::live() != scripted::Live{})
        return "objects of the platform are left alive";
    for (const std::string& misuse : scripted::misuses()) {
        // A disconnect destroys the port that calls are using; the port says so.
        if (misuse.find("port") == std::string::npos)
            return misuse;
    }
    return {};
}

}  // namespace

int main(int argc, char** argv)
{
    constexpr long seeds = 2'000;
    constexpr long seconds = 60;
    Proof proof{argc, argv, "races", seeds};
    proof.scale(0.02);
    warm_up();
    const std::chrono::seconds long_run{proof.scaled(seconds)};
    proof.check_always(
        "long", [&] { return everything_at_once(0, long_run, 500ms, proof); }, 300);
    proof.also_report("one run of " + std::to_string(long_run.count()) + " of " + std::to_string(seconds)
                      + " s");
    for (long seed = 1; seed <= proof.scaled(seeds); ++seed)
        proof.check_always(
            "seed/" + std::to_string(seed),
            [&] {
                return everything_at_once(proof.seed() * 10'000 + static_cast<unsigned>(seed), 20ms, 5ms,
                                          proof);
            },
            60);
    return proof.report();
}
