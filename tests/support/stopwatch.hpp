#pragma once

#include <atomic>
#include <chrono>
#include <thread>

namespace quorvel::test {

/// Tells how long something took, without what the machine took.
///
/// Deadlines are kept to the millisecond, and tests of them share the machine with others, which may keep a
/// thread that has something to do from running for longer than that. So a thread that has nothing to do but
/// wake up every millisecond stands beside what is measured, and as much as it comes late is not counted. On
/// a machine at rest that is nothing.
class Stopwatch {
public:
    using Clock = std::chrono::steady_clock;

    Stopwatch() = default;
    Stopwatch(const Stopwatch&) = delete;
    Stopwatch& operator=(const Stopwatch&) = delete;

    /// For what must not be early.
    Clock::duration passed() const { return Clock::now() - start_; }

    /// For what must not be late.
    Clock::duration own() const
    {
        const Clock::duration late{late_.load()};
        // It may be kept waiting right now.
        const Clock::time_point due{Clock::duration{due_.load()}};
        return passed() - late - lateness(due);
    }

private:
    static constexpr std::chrono::milliseconds kBeat{1};

    static Clock::duration lateness(Clock::time_point due)
    {
        const Clock::duration late = Clock::now() - due;
        return late > kBeat ? late : Clock::duration::zero();
    }

    void beat(const std::stop_token& over)
    {
        while (!over.stop_requested()) {
            const Clock::time_point due = Clock::now() + kBeat;
            due_ = due.time_since_epoch().count();
            std::this_thread::sleep_until(due);
            late_ += lateness(due).count();
        }
    }

    const Clock::time_point start_ = Clock::now();
    std::atomic<Clock::rep> late_ = 0;
    std::atomic<Clock::rep> due_ = (start_ + kBeat).time_since_epoch().count();
    std::jthread metronome_{[this](const std::stop_token& over) { beat(over); }};
};

}  // namespace quorvel::test
