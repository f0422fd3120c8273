#include "fork.hpp"

#include <pthread.h>

#include <mutex>

#include "chunk.hpp"
#include "handles.hpp"

namespace quorvel::platform {
namespace {

// The tables are held still while the process is copied; everything else is mended in the child.
void before_fork() noexcept
{
    Handles::lock();
    lock_chunk_pool();
}

void in_parent() noexcept
{
    unlock_chunk_pool();
    Handles::unlock();
}

void in_child() noexcept
{
    unlock_chunk_pool();
    Handles::unlock();
    Handles::after_fork();
}

}  // namespace

void watch_forks() noexcept
{
    static constinit std::once_flag once;
    std::call_once(once, [] { pthread_atfork(before_fork, in_parent, in_child); });
}

}  // namespace quorvel::platform
