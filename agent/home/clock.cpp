// SPDX-License-Identifier: Apache-2.0
#include "home/clock.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <ctime>

namespace quorvel::home {

using std::chrono::steady_clock;
using std::chrono::system_clock;

Clock::Clock()
    : real_base_(steady_clock::now()),
      virtual_base_(std::chrono::duration<double, std::milli>(system_clock::now().time_since_epoch()).count())
{
}

std::int64_t Clock::now() const
{
    const std::chrono::duration<double, std::milli> real = steady_clock::now() - real_base_;
    return static_cast<std::int64_t>(std::floor(virtual_base_ + real.count() * speed_));
}

Clock::Timer Clock::after(std::int64_t milliseconds, std::function<void()> action)
{
    const Timer timer = ++last_;
    const std::int64_t time = now() + std::max<std::int64_t>(0, milliseconds);
    due_.emplace(Key{time, timer}, std::move(action));
    times_.emplace(timer, time);
    if (due_.begin()->first.second == timer)
        announce();
    return timer;
}

void Clock::cancel(Timer timer)
{
    const auto found = times_.find(timer);
    if (found == times_.end())
        return;
    due_.erase({found->second, timer});
    times_.erase(found);
}

// While timers run, the next one is not announced; afterwards it is, however that ends.
struct Clock::Running {
    explicit Running(Clock& clock) : clock_(clock) { clock_.running_ = true; }
    ~Running()
    {
        clock_.running_ = false;
        clock_.announce();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    Clock& clock_;
};

void Clock::run_due()
{
    // An action may add timers that are due at once; those wait for the next turn, so that a timer that
    // renews itself with no delay cannot hold the loop.
    const Timer newest = last_;
    const Running running{*this};
    for (auto next = due_.begin(); next != due_.end() && next->first.first <= now();) {
        if (next->first.second > newest) {
            ++next;
            continue;
        }
        const auto action = std::move(next->second);
        times_.erase(next->first.second);
        due_.erase(next);
        action();
        next = due_.begin();
    }
}

void Clock::advance(std::int64_t milliseconds)
{
    const std::int64_t end = now() + milliseconds;
    const Running running{*this};
    while (!due_.empty() && due_.begin()->first.first <= end) {
        const auto next = due_.begin();
        at_least(next->first.first);
        const auto action = std::move(next->second);
        times_.erase(next->first.second);
        due_.erase(next);
        action();
    }
    at_least(end);
}

void Clock::set_speed(double speed)
{
    rebase();
    speed_ = std::clamp(speed, 0.0, 1e6);
    announce();
}

void Clock::at_least(std::int64_t time)
{
    rebase();
    virtual_base_ = std::max(virtual_base_, static_cast<double>(time));
}

void Clock::rebase()
{
    const auto real = steady_clock::now();
    virtual_base_ += std::chrono::duration<double, std::milli>(real - real_base_).count() * speed_;
    real_base_ = real;
}

void Clock::announce()
{
    if (!on_next || running_)
        return;
    if (due_.empty() || speed_ <= 0) {
        on_next(-1);
        return;
    }
    const auto wait = static_cast<double>(due_.begin()->first.first - now()) / speed_;
    on_next(std::max<std::int64_t>(0, static_cast<std::int64_t>(std::ceil(std::min(wait, 3.6e6)))));
}

std::string rfc3339(std::int64_t milliseconds)
{
    const std::int64_t seconds = milliseconds / 1000 - (milliseconds % 1000 < 0 ? 1 : 0);
    const std::time_t time = seconds;
    std::tm parts{};
    gmtime_r(&time, &parts);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", parts.tm_year + 1900, parts.tm_mon + 1,
                       parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                       milliseconds - seconds * 1000);
}

}  // namespace quorvel::home
