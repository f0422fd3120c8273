// Preloaded into a program: SIGALRM every millisecond, in it and in its forked children, with a handler that
// does not ask for system calls to be begun again. SIGPIPE stays as it is: it would end the program.
#include <pthread.h>
#include <signal.h>
#include <time.h>

namespace {

void go_on(int)
{
    // Being interrupted is all that it is for.
}

// Not the process's one alarm: tests use that to end what hangs.
void begin()
{
    struct sigaction action {};
    action.sa_handler = go_on;
    sigaction(SIGALRM, &action, nullptr);
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGALRM;
    timer_t timer{};
    if (timer_create(CLOCK_MONOTONIC, &event, &timer) != 0)
        return;
    const itimerspec each_millisecond{{0, 1'000'000}, {0, 1'000'000}};
    timer_settime(timer, 0, &each_millisecond, nullptr);
}

__attribute__((constructor)) void load()
{
    begin();
    pthread_atfork(nullptr, nullptr, begin);
}

}  // namespace
