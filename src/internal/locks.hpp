#pragma once

#include <atomic>
#include <mutex>

/// The library's process-wide locks. Each is held for a few instructions only, never while an application's
/// callback runs, while the agent is asked, or, `requests` aside, while a line is logged. Where two are held,
/// they are taken in the order in which they stand here.
namespace quorvel::locks {

/// One atomic word, since a callback takes three locks that are nearly always free. What one thread did under
/// it is seen by the next, and by thread sanitizers.
class Lock {
public:
    void lock() noexcept;
    void unlock() noexcept
    {
        if (state_.exchange(State::free) == State::awaited)
            wake_one();
    }

private:
    enum class State : int { free, taken, awaited };

    void wait() noexcept;
    void wake_one() noexcept;

    std::atomic<State> state_{State::free};
};

extern Lock requests;   ///< the tables of subscriptions and monitoring
extern Lock clients;    ///< the live client records and what they hold
extern Lock delegates;  ///< the live proxies and their delegate lists
extern Lock calls;      ///< the calls in progress and what waits for them

}  // namespace quorvel::locks
