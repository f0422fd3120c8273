// System calls of the client's port fail, or move one byte at a time, while it connects, calls and hears
// callbacks. The functions below stand before the C library's, for the host platform alone: whoever else
// calls them goes through.
//
// What must hold: no crash and no hang; a call is answered with its own answer or says that it was not; the
// end of a connection is heard once at most; without the fault everything works again, with as many
// descriptors.
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

#include <quorvel_client_notification.h>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <span>

#include "scale.hpp"
#include "stopwatch.hpp"
#include "support.hpp"

namespace {

enum class Call { socket, connect, getsockopt, setsockopt, fcntl, getrandom, send, recv, poll, count };
constexpr const char* kNames[] = {"socket",    "connect", "getsockopt", "setsockopt", "fcntl",
                                  "getrandom", "send",    "recv",       "poll"};

// An error, or 0 for one byte.
struct Fault {
    Call call;
    int nth;
    int error;
};

std::atomic<bool> armed{false};
std::atomic<int> seen{0};
std::atomic<bool> happened{false};
Fault fault;

bool is_ports(const void* caller)
{
    Dl_info info{};
    return dladdr(caller, &info) != 0 && info.dli_fname != nullptr
           && std::strstr(info.dli_fname, "libqv-platform-host") != nullptr;
}

/// Whether this one is to fail, or to be short.
bool strikes(Call call, const void* caller)
{
    if (!armed || fault.call != call || !is_ports(caller))
        return false;
    if (++seen != fault.nth)
        return false;
    happened = true;
    return true;
}

template <typename Function>
Function real(const char* name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// The n-th fails; a transfer is short instead where there is no error.
template <typename Short, typename Whole>
auto pass(Call call, const void* caller, Short&& one_byte, Whole&& whole)
{
    if (!strikes(call, caller))
        return whole();
    if (fault.error == 0)
        return one_byte();
    errno = fault.error;
    return decltype(whole()){-1};
}

}  // namespace

#define REAL(name) (real<decltype(&::name)>(#name))
#define CALLER __builtin_return_address(0)

// For the shared libraries to find them.
#pragma GCC visibility push(default)
extern "C" {

int socket(int domain, int type, int protocol) noexcept
{
    const auto whole = [=] { return REAL(socket)(domain, type, protocol); };
    return pass(Call::socket, CALLER, whole, whole);
}

int connect(int fd, const sockaddr* address, socklen_t size)
{
    const auto whole = [=] { return REAL(connect)(fd, address, size); };
    return pass(Call::connect, CALLER, whole, whole);
}

int getsockopt(int fd, int level, int name, void* value, socklen_t* size) noexcept
{
    const auto whole = [=] { return REAL(getsockopt)(fd, level, name, value, size); };
    return pass(Call::getsockopt, CALLER, whole, whole);
}

int setsockopt(int fd, int level, int name, const void* value, socklen_t size) noexcept
{
    const auto whole = [=] { return REAL(setsockopt)(fd, level, name, value, size); };
    return pass(Call::setsockopt, CALLER, whole, whole);
}

int fcntl(int fd, int command, ...)
{
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    const auto whole = [=] { return REAL(fcntl)(fd, command, argument); };
    return pass(Call::fcntl, CALLER, whole, whole);
}

ssize_t getrandom(void* buffer, size_t size, unsigned flags)
{
    return pass(
        Call::getrandom, CALLER, [=] { return REAL(getrandom)(buffer, 1, flags); },
        [=] { return REAL(getrandom)(buffer, size, flags); });
}

ssize_t send(int fd, const void* bytes, size_t size, int flags)
{
    return pass(
        Call::send, CALLER, [=] { return REAL(send)(fd, bytes, std::min<size_t>(size, 1), flags); },
        [=] { return REAL(send)(fd, bytes, size, flags); });
}

ssize_t recv(int fd, void* bytes, size_t size, int flags)
{
    return pass(
        Call::recv, CALLER, [=] { return REAL(recv)(fd, bytes, std::min<size_t>(size, 1), flags); },
        [=] { return REAL(recv)(fd, bytes, size, flags); });
}

int poll(pollfd* descriptors, nfds_t count, int timeout)
{
    const auto whole = [=] { return REAL(poll)(descriptors, count, timeout); };
    return pass(Call::poll, CALLER, whole, whole);
}

}  // extern "C"
#pragma GCC visibility pop

namespace {

using integration::Connection;
using integration::pump_until;
using namespace std::chrono_literals;

constexpr int kMostNth = 20;
constexpr int kMostCycles = 40;
constexpr auto kDeadline = 300ms;

class Failure : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

void expect(bool holds, const std::string& what)
{
    if (!holds)
        throw Failure{what};
}

// What an application does with a connection; and what of it does not go well, if anything.
std::string talk(Connection& connection, int& heard, std::chrono::milliseconds& longest)
{
    int code = quorvel_client_set_notification_cb(
        connection.handle,
        [](const char*, const char*, const char*, void* data) { ++*static_cast<int*>(data); }, &heard);
    for (int i = 0; code == 0 && i < 4; ++i) {
        // One answer lets the caller wait for longer than it waits plainly.
        const std::string vid = i == 3 ? "storm:3" : i == 2 ? "slow:15" : std::to_string(i);
        std::string answer;
        const quorvel::test::Stopwatch watch;
        code = integration::ask_metadata(connection.handle, vid, answer);
        longest = std::max(longest, std::chrono::duration_cast<std::chrono::milliseconds>(watch.own()));
        expect(code != 0 || answer == "metadata of " + vid, "an answer is the one to the question");
    }
    if (code != 0)
        return "a call gives " + std::to_string(code);
    pump_until([&] { return heard == 3 || connection.disconnected > 0; }, 2s);
    return heard == 3 ? "" : std::to_string(heard) + " of 3 callbacks are heard";
}

// From the connect on.
std::string live(std::chrono::milliseconds& longest)
{
    int heard = 0;
    Connection connection;
    if (connection.connect() != 0)
        return "a connect is refused";
    const auto told = [&] { return connection.connected + connection.disconnected + connection.rejected; };
    expect(pump_until([&] { return told() > 0; }, 5s), "something is heard of a connect");
    std::string wrong = connection.connected == 1  ? talk(connection, heard, longest)
                        : connection.rejected == 1 ? "a connect is rejected"
                                                   : "a connect ends as disconnected";
    pump_until([] { return false; }, 1ms);
    expect(connection.disconnected + connection.rejected <= 1, "the end of a connection is heard once");
    return wrong;
}

struct Account {
    long runs = 0;
    long not_reached = 0;
    long harmless = 0;
    long failed = 0;
    std::chrono::milliseconds longest{0};
};

/// What happens to every program, and must not be seen by its user.
bool is_daily_life(const Fault& planned)
{
    if (planned.call == Call::fcntl)
        return false;
    return planned.error == EINTR || (planned.error == 0 && planned.call == Call::recv);
}

enum class Outcome { not_reached, harmless, noticed };

Outcome attempt(const Fault& planned, int descriptors, std::chrono::milliseconds& longest)
{
    fault = planned;
    seen = 0;
    happened = false;
    armed = true;
    bool well = true;
    for (int cycle = 0; cycle < kMostCycles && !happened; ++cycle)
        well = live(longest).empty() && well;
    armed = false;
    if (!happened)
        return Outcome::not_reached;
    expect(well || !is_daily_life(planned), "a signal or a short read does no harm");
    expect(longest < kDeadline + 50ms, "a call ends within 50 ms of its deadline");
    const std::string left = live(longest);
    expect(left.empty(), "everything works again, but " + left);
    expect(pump_until([&] { return integration::open_descriptors() <= descriptors; }, 2s),
           "no descriptor stays open");
    return well ? Outcome::harmless : Outcome::noticed;
}

void run(const Fault& planned, int descriptors, Account& account)
{
    // A machine with other work may keep an agent from answering within so short a deadline: what fails three
    // times fails.
    for (int left = 3; left > 0; --left) {
        std::chrono::milliseconds longest{0};
        try {
            const Outcome outcome = attempt(planned, descriptors, longest);
            account.not_reached += outcome == Outcome::not_reached ? 1 : 0;
            account.runs += outcome == Outcome::not_reached ? 0 : 1;
            account.harmless += outcome == Outcome::harmless ? 1 : 0;
            account.longest = std::max(account.longest, longest);
            return;
        } catch (const Failure& failure) {
            armed = false;
            std::printf("%s: %s, %s at its use %d: %s\n", left > 1 ? "again" : "FAILED",
                        kNames[static_cast<int>(planned.call)],
                        planned.error != 0 ? strerrorname_np(planned.error) : "one byte", planned.nth,
                        failure.what());
        }
    }
    ++account.failed;
}

}  // namespace

int main()
{
    setenv("QUORVEL_DEADLINE_MS", "300", 1);
    setenv("QUORVEL_CONNECT_DEADLINE_MS", "1000", 1);
    const integration::TemporaryHome home;
    home.install("2.4.0", ECHO_AGENT);

    constexpr int on_socket[] = {EMFILE, ENFILE, ENOBUFS, ENOMEM, EACCES, EAFNOSUPPORT};
    constexpr int on_connect[] = {EINTR, EAGAIN, ECONNREFUSED, ENOENT, EACCES, EPERM, ENOMEM};
    constexpr int on_option[] = {EBADF, ENOPROTOOPT, ENOMEM, ENOBUFS, EINVAL};
    constexpr int on_fcntl[] = {EBADF, EINTR, EACCES};
    constexpr int on_random[] = {EINTR, EAGAIN, ENOSYS, EFAULT, 0};
    constexpr int on_send[] = {EINTR, EAGAIN, EPIPE, ECONNRESET, ENOBUFS, ENOMEM, ENOTCONN, EINVAL, 0};
    constexpr int on_recv[] = {EINTR, EAGAIN, ECONNRESET, ENOMEM, ENOTCONN, EIO, EINVAL, 0};
    constexpr int on_poll[] = {EINTR, ENOMEM, EINVAL, EAGAIN};
    const std::span<const int> errors[] = {on_socket, on_connect, on_option, on_option, on_fcntl,
                                           on_random, on_send,    on_recv,   on_poll};
    static_assert(std::size(errors) == static_cast<std::size_t>(Call::count));

    std::chrono::milliseconds longest{0};
    if (const std::string wrong = live(longest); !wrong.empty()) {
        std::printf("FAILED: even without a fault %s\n", wrong.c_str());
        return 1;
    }
    pump_until([] { return false; }, 100ms);
    const int descriptors = integration::open_descriptors();
    Account account;
    long full = 0;
    const long stride = 1000 / wire::scaled(1000, 250);
    for (int call = 0; call < static_cast<int>(Call::count); ++call) {
        for (const int error : errors[call]) {
            for (int nth = 1; nth <= kMostNth; ++nth) {
                if (full++ % stride == 0)
                    run({static_cast<Call>(call), nth, error}, descriptors, account);
            }
        }
    }
    home.kill_agent(SIGKILL);
    wire::report("system calls of the port that failed", account.runs, full);
    std::printf(
        "%ld failed; %ld were not reached, %ld did no harm; the longest call took %lld ms of its 300\n",
        account.failed, account.not_reached, account.harmless,
        static_cast<long long>(account.longest.count()));
    return account.failed == 0 ? 0 : 1;
}
