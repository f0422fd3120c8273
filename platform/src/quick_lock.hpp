// A lock that costs little while nobody waits for it, and may be waited for until a deadline.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "places.hpp"

namespace quorvel::platform {

// One atomic word while nobody has to wait. The waiting is built of a mutex and a condition, which thread
// sanitizers follow; they lose sight of timed mutexes that wait by the monotonic clock.
class QuickLock {
public:
    bool lock_until(Deadline deadline) { return try_lock() || wait_until(deadline); }

    void lock()
    {
        if (!try_lock())
            wait();
    }

    bool try_lock() noexcept
    {
        State expected = State::free;
        return state_.compare_exchange_strong(expected, State::taken);
    }

    void unlock() noexcept
    {
        if (state_.exchange(State::free) == State::awaited)
            wake_one();
    }

private:
    enum class State { free, taken, awaited };

    // Waiting and waking stand apart: they need room on the stack, which those who do neither need not make.
    [[gnu::noinline]] bool wait_until(Deadline deadline)
    {
        std::unique_lock lock{mutex_};
        return condition_.wait_until(lock, deadline, [this] { return take_awaited(); });
    }

    [[gnu::noinline]] void wait()
    {
        std::unique_lock lock{mutex_};
        condition_.wait(lock, [this] { return take_awaited(); });
    }

    [[gnu::noinline]] void wake_one() noexcept
    {
        // Not before the one that saw the lock taken waits for it.
        {
            const std::lock_guard lock{mutex_};
        }
        condition_.notify_one();
    }

    // Whoever waits says so in the word, and goes on saying so when he has it: there may be others.
    bool take_awaited() noexcept { return state_.exchange(State::awaited) == State::free; }

    std::atomic<State> state_{State::free};
    std::mutex mutex_;
    std::condition_variable condition_;
};

// Unlocks on the way out, if it was locked at all.
class TimedGuard {
public:
    TimedGuard(QuickLock& lock, Deadline deadline) : lock_(lock), owns_(lock.lock_until(deadline)) {}
    ~TimedGuard()
    {
        if (owns_)
            lock_.unlock();
    }
    TimedGuard(const TimedGuard&) = delete;
    TimedGuard& operator=(const TimedGuard&) = delete;
    explicit operator bool() const noexcept { return owns_; }

private:
    QuickLock& lock_;
    bool owns_;
};

}  // namespace quorvel::platform
