// A lock that is waited for until a deadline.
#pragma once

#include <condition_variable>
#include <mutex>

#include "places.hpp"

namespace quorvel::platform {

// Built of a mutex and a condition, which thread sanitizers follow; they lose sight of timed mutexes that
// wait by the monotonic clock.
class TimedLock {
public:
    bool lock_until(Deadline deadline)
    {
        std::unique_lock lock{mutex_};
        ++waiting_;
        const bool free = condition_.wait_until(lock, deadline, [this] { return !taken_; });
        --waiting_;
        if (free)
            taken_ = true;
        return free;
    }

    void unlock() noexcept
    {
        bool wake = false;
        {
            const std::lock_guard lock{mutex_};
            taken_ = false;
            wake = waiting_ != 0;
        }
        if (wake)
            condition_.notify_one();
    }

private:
    std::mutex mutex_;
    std::condition_variable condition_;
    unsigned waiting_ = 0;
    bool taken_ = false;
};

// Unlocks on the way out, if it was locked at all.
class TimedGuard {
public:
    TimedGuard(TimedLock& lock, Deadline deadline) : lock_(lock), owns_(lock.lock_until(deadline)) {}
    ~TimedGuard()
    {
        if (owns_)
            lock_.unlock();
    }
    TimedGuard(const TimedGuard&) = delete;
    TimedGuard& operator=(const TimedGuard&) = delete;
    explicit operator bool() const noexcept { return owns_; }

private:
    TimedLock& lock_;
    bool owns_;
};

}  // namespace quorvel::platform
