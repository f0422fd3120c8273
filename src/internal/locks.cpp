#include "internal/locks.hpp"

#include <pthread.h>

#include "internal/session.hpp"

namespace quorvel {

namespace locks {

constinit std::mutex requests;
constinit std::mutex clients;
constinit std::mutex delegates;
constinit std::mutex calls;

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
