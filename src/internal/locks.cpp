#include "internal/locks.hpp"

#include <pthread.h>

#include "internal/session.hpp"

namespace quorvel {

namespace locks {

constinit Lock requests;
constinit Lock clients;
constinit Lock delegates;
constinit Lock calls;

void Lock::lock() noexcept
{
    State expected = State::free;
    if (!state_.compare_exchange_strong(expected, State::taken))
        wait();
}

// Whoever waits says so in the word, and goes on saying so when he has it: there may be others.
[[gnu::noinline]] void Lock::wait() noexcept
{
    while (state_.exchange(State::awaited) != State::free)
        state_.wait(State::awaited);
}

[[gnu::noinline]] void Lock::wake_one() noexcept
{
    state_.notify_one();
}

}  // namespace locks

namespace {

// A child that was forked while another thread held a lock could never take it. All are held for moments
// only, so the fork waits for them, and what they guard is whole on both sides.
void before_fork()
{
    locks::requests.lock();
    locks::clients.lock();
    locks::delegates.lock();
    locks::calls.lock();
}

void after_fork()
{
    locks::calls.unlock();
    locks::delegates.unlock();
    locks::clients.unlock();
    locks::requests.unlock();
}

// The child shares its parent's sockets: the first of the two to read would take the other's answers.
void after_fork_in_child()
{
    after_fork();
    session::set_disconnected();
}

[[gnu::constructor]] void watch_forks()
{
    pthread_atfork(before_fork, after_fork, after_fork_in_child);
}

}  // namespace

}  // namespace quorvel
