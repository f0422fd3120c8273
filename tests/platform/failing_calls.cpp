#include "failing_calls.hpp"

#include <pthread.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>
#include <new>
#include <string_view>

#include "failing_allocations.hpp"

struct epoll_event;
struct iovec;
struct pollfd;
struct sockaddr;
struct stat;

namespace quorvel::platform::test {
namespace {

struct Plan {
    std::string_view name;
    int error = 0;
    int until = 0;  // calls that still succeed, and the one that fails
    bool happened = false;
    void (*before)(void* data) = nullptr;
    void* data = nullptr;
};
// Needs no making, since locks are taken before a thread is ready for that.
constinit thread_local Plan plan;

bool fails(std::string_view name)
{
    if (plan.until == 0 || name != plan.name || --plan.until != 0)
        return false;
    plan.happened = true;
    if (plan.before != nullptr) {
        plan.before(plan.data);
        return false;
    }
    errno = plan.error;
    return true;
}

}  // namespace

FailingCall::FailingCall(const char* name, int error, int nth)
{
    plan = {name, error, nth};
}

FailingCall::FailingCall(const char* name, int nth, void (*before)(void* data), void* data)
{
    plan = {name, 0, nth, false, before, data};
}

FailingCall::~FailingCall()
{
    plan.until = 0;
}

bool FailingCall::happened()
{
    plan.until = 0;
    return plan.happened;
}

}  // namespace quorvel::platform::test

using quorvel::platform::test::fails;

// The linker sends every call of bind to __wrap_bind, and __real_bind is bind.
#define FAILING(result, name, parameters, arguments)                \
    result __real_##name parameters;                                \
    result __wrap_##name parameters;                                \
    result __wrap_##name parameters                                 \
    {                                                               \
        return fails(#name) ? result{-1} : __real_##name arguments; \
    }

extern "C" {
FAILING(int, accept4, (int fd, sockaddr* address, unsigned* size, int flags), (fd, address, size, flags))
FAILING(int, bind, (int fd, const sockaddr* address, unsigned size), (fd, address, size))
FAILING(int, chmod, (const char* path, mode_t mode), (path, mode))
FAILING(int, connect, (int fd, const sockaddr* address, unsigned size), (fd, address, size))
FAILING(int, epoll_create1, (int flags), (flags))
FAILING(int, epoll_ctl, (int fd, int what, int of, epoll_event* event), (fd, what, of, event))
FAILING(int, fchmod, (int fd, mode_t mode), (fd, mode))
FAILING(int, fcntl, (int fd, int what, long value), (fd, what, value))
FAILING(int, flock, (int fd, int what), (fd, what))
FAILING(pid_t, _Fork, (), ())
FAILING(int, fstat, (int fd, struct stat* info), (fd, info))
FAILING(ssize_t, getrandom, (void* to, size_t size, unsigned flags), (to, size, flags))
FAILING(int, getsockopt, (int fd, int level, int name, void* value, unsigned* size),
        (fd, level, name, value, size))
FAILING(int, listen, (int fd, int backlog), (fd, backlog))
FAILING(int, mkdir, (const char* path, mode_t mode), (path, mode))
FAILING(int, open, (const char* path, int flags, mode_t mode), (path, flags, mode))
FAILING(int, pipe2, (int* ends, int flags), (ends, flags))
FAILING(int, poll, (pollfd * sockets, unsigned long count, int patience), (sockets, count, patience))
FAILING(int, pthread_mutex_lock, (pthread_mutex_t * mutex), (mutex))
FAILING(ssize_t, read, (int fd, void* to, size_t size), (fd, to, size))
FAILING(ssize_t, recv, (int fd, void* to, size_t size, int flags), (fd, to, size, flags))
FAILING(ssize_t, send, (int fd, const void* from, size_t size, int flags), (fd, from, size, flags))
FAILING(int, setsockopt, (int fd, int level, int name, const void* value, unsigned size),
        (fd, level, name, value, size))
FAILING(int, socket, (int domain, int type, int protocol), (domain, type, protocol))
FAILING(long, syscall, (long number, long a, long b, long c, long d, long e, long f),
        (number, a, b, c, d, e, f))
FAILING(pid_t, waitpid, (pid_t process, int* status, int options), (process, status, options))
FAILING(ssize_t, write, (int fd, const void* from, size_t size), (fd, from, size))
FAILING(ssize_t, writev, (int fd, const iovec* parts, int count), (fd, parts, count))

// An object of the host platform's, or of a template that it made.
void* __real__Znwm(std::size_t size);
void* __wrap__Znwm(std::size_t size);
void* __wrap__Znwm(std::size_t size)
{
    if (allocation_fails())
        throw std::bad_alloc{};
    return __real__Znwm(size);
}
}
