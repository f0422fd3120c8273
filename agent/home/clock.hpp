// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>

namespace quorvel::home {

// The home's own time.
//
// Rooms heat, batteries drain and motion ends by this clock, and every date that the agent gives comes
// from it. It runs with the wall clock, but may run faster, stand still or be moved forward, so that an
// hour of the home can be watched in a second and a test need not wait. It has no thread and no source of
// its own: whoever owns it is told when the next timer is due (`on_next`) and then calls `run_due`.
class Clock {
public:
    using Timer = std::uint64_t;
    static constexpr Timer none = 0;

    Clock();
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;

    // Milliseconds since 1970.
    std::int64_t now() const;

    Timer after(std::int64_t milliseconds, std::function<void()> action);
    // Cancelling a timer that fired or was cancelled does nothing.
    void cancel(Timer timer);
    // Runs what is due, in order of time.
    void run_due();

    // Moves the time forward and runs, in order, everything that falls due on the way.
    void advance(std::int64_t milliseconds);
    // 1 is real time, 60 a minute a second, 0 stands still.
    void set_speed(double speed);
    double speed() const { return speed_; }
    // Sets the time, for a saved state that is ahead of the wall clock.
    void at_least(std::int64_t time);

    // Told how many real milliseconds remain until the next timer, or -1 for none.
    std::function<void(std::int64_t)> on_next;

private:
    using Key = std::pair<std::int64_t, Timer>;
    struct Running;

    void rebase();
    void announce();

    std::chrono::steady_clock::time_point real_base_;
    double virtual_base_;
    double speed_ = 1;
    Timer last_ = none;
    bool running_ = false;
    std::map<Key, std::function<void()>> due_;
    std::unordered_map<Timer, std::int64_t> times_;
};

// 2026-01-31T12:34:56.789Z
std::string rfc3339(std::int64_t milliseconds);

}  // namespace quorvel::home
