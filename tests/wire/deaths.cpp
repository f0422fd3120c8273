// The agent ends, or stands still, at every point of a conversation: a process of its own is killed, closes
// its sockets, resets them or is stopped and continued, while the client is idle, in calls of one or several
// threads, or in a call from within a callback.
//
// What must hold: a call that waits ends at once when the agent does, and at the deadline when it stands
// still, never later than 50 ms past it; the application hears once that the connection is lost; a new one
// works. An agent that goes on within the deadline has done no harm.
#include <signal.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <quorvel_client_notification.h>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "raw_agent.hpp"
#include "scale.hpp"
#include "stopwatch.hpp"
#include "support.hpp"

namespace {

using namespace wire;
using integration::Connection;
using integration::pump_until;
using quorvel::test::Stopwatch;
using namespace std::chrono_literals;

constexpr int kRounds = 10;
constexpr double kDeadline = 300;
constexpr double kOvershoot = kMeasures ? 50 : 2000;
constexpr double kSoon = kMeasures ? 100 : 2000;

enum class Cut {
    before_accept,
    before_welcome,
    inside_welcome,
    before_first_answer,  // to what the library asks when it is connected
    inside_first_answer,
    after_first_answer,
    idle,
    before_answer,
    after_length_of_answer,
    before_last_byte_of_answer,
    inside_callback,
    after_callback,
    count
};
constexpr const char* kCuts[] = {"before accepting",
                                 "before the welcome",
                                 "inside the welcome",
                                 "before the first answer",
                                 "inside the first answer",
                                 "after the first answer",
                                 "idle",
                                 "before an answer",
                                 "after an answer's length",
                                 "before an answer's last byte",
                                 "inside a callback",
                                 "after a callback"};
enum class Action { kill, stop, close, reset, count };
constexpr const char* kActions[] = {"killed", "stopped", "closed", "reset"};
enum class State { idle, in_call, in_call_aside, in_calls_of_four, in_call_of_callback, count };
constexpr const char* kStates[] = {"idle", "in a call", "in a call of another thread",
                                   "in calls of four threads", "in a call from a callback"};

// Seen by both processes.
struct Shared {
    std::atomic<double> ended_at;
    std::atomic<bool> stopped;
};
Shared* shared;

double now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// The agent's process.

struct Plan {
    Cut cut;
    Action action;
    bool done = false;

    /// At the point in question: does not come back, but after a stop.
    void meet(Cut here, AgentSide& side)
    {
        if (done || here != cut)
            return;
        done = true;
        if (action == Action::reset) {
            // Bytes that nobody read are what makes a close a reset.
            side.await_input();
        }
        shared->ended_at = now();
        switch (action) {
            case Action::kill:
                raise(SIGKILL);
                break;
            case Action::stop:
                shared->stopped = true;
                raise(SIGSTOP);
                break;
            case Action::close:
            case Action::reset:
                side.close();
                _exit(0);
            case Action::count:
                break;
        }
    }
};

void talk(AgentSide& side, Plan plan)
{
    plan.meet(Cut::before_accept, side);
    side.accept();
    plan.meet(Cut::before_welcome, side);
    const std::string welcome = frame("QVRP" + int32(0));
    side.send_main(welcome.substr(0, 5));
    plan.meet(Cut::inside_welcome, side);
    side.send_main(welcome.substr(5));
    std::string head;
    for (;;) {
        const std::string request = side.request();
        const std::int32_t method = int32_at(request, 0);
        if (method == kSetApiVersion) {
            plan.meet(Cut::before_first_answer, side);
            const std::string answer = frame(done());
            side.send_main(answer.substr(0, 6));
            plan.meet(Cut::inside_first_answer, side);
            side.send_main(answer.substr(6));
            plan.meet(Cut::after_first_answer, side);
        } else if (method == kSetNotificationCb) {
            head = callback_head(request);
            side.answer(done());
        } else if (method == kGetUiMetadata && vid_of(request) == "fire") {
            side.answer(answer_to_metadata(request));
            side.call_back(head + text("a") + text("b") + text("c"));
        } else if (method == kGetUiMetadata && vid_of(request) == "arm") {
            side.answer(answer_to_metadata(request));
            // A call may be on its way by then.
            usleep(3000);
            plan.meet(Cut::idle, side);
        } else if (method == kGetUiMetadata) {
            plan.meet(Cut::before_answer, side);
            const std::string callback = frame(head + text("a") + text("b") + text("c"));
            if (plan.cut == Cut::inside_callback || plan.cut == Cut::after_callback) {
                side.send_callback(callback.substr(0, 7));
                plan.meet(Cut::inside_callback, side);
                side.send_callback(callback.substr(7));
                plan.meet(Cut::after_callback, side);
            }
            const std::string answer = frame(answer_to_metadata(request));
            side.send_main(answer.substr(0, 4));
            plan.meet(Cut::after_length_of_answer, side);
            side.send_main(answer.substr(4, answer.size() - 5));
            plan.meet(Cut::before_last_byte_of_answer, side);
            side.send_main(answer.substr(answer.size() - 1));
        } else {
            side.answer(done());
        }
    }
}

void serve(AgentSide& side)
{
    talk(side, {Cut::count, Action::count});
}

// The client's.

struct Case {
    Cut cut;
    Action action;
    State state;
    bool in_time;  // of a stop: continued within the deadline
};

struct Call {
    int code = 1;
    bool right = false;
    double began = 0;
    double ended = 0;  // without what the machine took
};

Call call(quorvel_client_h handle, const std::string& vid)
{
    Call made;
    std::string answer;
    const Stopwatch watch;
    made.began = now();
    made.code = integration::ask_metadata(handle, vid, answer);
    made.ended = made.began + std::chrono::duration<double, std::milli>{watch.own()}.count();
    made.right = made.code == 0 && answer == "metadata of " + vid;
    return made;
}

struct Notified {
    quorvel_client_h handle = nullptr;
    bool calls = false;
    std::vector<Call> made;
};

struct Worst {
    double after_death = 0;
    double past_deadline = 0;
};

class Failure : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

void expect(bool holds, const std::string& what)
{
    if (!holds)
        throw Failure{what};
}

std::vector<Call> act(const Case& test, Connection& connection, Notified& notified)
{
    std::vector<Call> calls;
    const quorvel_client_h handle = connection.handle;
    if (test.cut == Cut::idle) {
        const Call armed = call(handle, "arm");
        expect(armed.right, "a call before the point is answered");
        if (test.state == State::idle && test.action == Action::reset)
            calls.push_back(call(handle, "unread"));
    }
    switch (test.state) {
        case State::idle:
            if (test.cut != Cut::idle)
                calls.push_back(call(handle, "after a while"));
            else
                usleep(5000);
            break;
        case State::in_call:
            calls.push_back(call(handle, "question"));
            break;
        case State::in_call_aside:
        case State::in_calls_of_four: {
            const std::size_t threads = test.state == State::in_call_aside ? 1 : 4;
            calls.resize(threads);
            std::atomic<std::size_t> left{threads};
            std::vector<std::jthread> callers;
            for (std::size_t i = 0; i < threads; ++i) {
                callers.emplace_back([&, i] {
                    calls[i] = call(handle, "question " + std::to_string(i));
                    --left;
                });
            }
            pump_until([&] { return left == 0; });
            break;
        }
        case State::in_call_of_callback:
            notified.calls = true;
            // The agent's end may come before its callback does.
            call(handle, "fire");
            pump_until([&] { return !notified.made.empty() || connection.disconnected > 0; });
            calls = notified.made;
            break;
        case State::count:
            break;
    }
    return calls;
}

void run(const Case& test, const integration::TemporaryHome& home, Worst& worst)
{
    const std::string socket = home.socket();
    shared->ended_at = 0;
    shared->stopped = false;
    bool survives = false;
    {
        RawAgent agent{socket, [&](AgentSide& side) { talk(side, {test.cut, test.action}); }};
        std::atomic<bool> over{false};
        std::jthread continuer{[&] {
            while (!over && !shared->stopped)
                usleep(1000);
            for (double until = now() + (test.in_time ? 100 : kDeadline + 150); !over && now() < until;)
                usleep(1000);
            agent.signal(SIGCONT);
        }};
        survives = test.action == Action::stop && test.in_time;
        Connection connection;
        expect(connection.connect() == 0, "a connect can be asked for");
        const auto told = [&] {
            return connection.connected + connection.disconnected + connection.rejected;
        };
        expect(pump_until([&] { return told() > 0; }), "something is heard of the connect");
        Notified notified;
        std::vector<Call> calls;
        if (connection.connected == 1 && connection.disconnected == 0) {
            notified.handle = connection.handle;
            quorvel_client_set_notification_cb(
                connection.handle,
                [](const char*, const char*, const char*, void* data) {
                    auto& self = *static_cast<Notified*>(data);
                    if (std::exchange(self.calls, false))
                        self.made.push_back(call(self.handle, "nested"));
                },
                &notified);
            calls = act(test, connection, notified);
        }
        const double ended = shared->ended_at;
        for (const Call& each : calls) {
            if (survives) {
                expect(each.right, "a call that an agent answers in time is answered");
            } else if (each.code != 0 && each.began < ended + kDeadline && ended > 0) {
                expect(each.code == QUORVEL_CLIENT_ERROR_UNKNOWN
                           || each.code == QUORVEL_CLIENT_ERROR_NOT_CONNECTED,
                       "a call without an answer says so");
                const double since = each.ended - std::max(each.began, ended);
                if (test.action == Action::stop)
                    worst.past_deadline = std::max(worst.past_deadline, each.ended - each.began - kDeadline);
                else
                    worst.after_death = std::max(worst.after_death, since);
            } else {
                expect(each.code != 0 || each.right, "an answer is the one to the question");
            }
        }
        if (survives) {
            expect(connection.connected == 1 && connection.disconnected + connection.rejected == 0,
                   "an agent that goes on in time has lost nobody");
            expect(call(connection.handle, "afterwards").right, "and answers on");
        } else {
            expect(pump_until([&] { return connection.disconnected + connection.rejected > 0; }, 3s),
                   "the end is heard");
            pump_until([] { return false; }, 30ms);
            expect(connection.disconnected + connection.rejected == 1, "and heard once");
            expect(call(connection.handle, "too late").code == QUORVEL_CLIENT_ERROR_NOT_CONNECTED,
                   "nothing is connected then");
        }
        over = true;
    }
    RawAgent agent{socket, serve};
    Connection connection;
    expect(connection.establish(), "a new connection is made");
    expect(call(connection.handle, "new").right, "and answers");
}

}  // namespace

int main()
{
    setenv("QUORVEL_DEADLINE_MS", "300", 1);
    setenv("QUORVEL_CONNECT_DEADLINE_MS", "300", 1);
    shared = static_cast<Shared*>(
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    const integration::TemporaryHome home;
    home.install("2.4.0", "/bin/false");
    constexpr long full = kRounds * static_cast<long>(Cut::count) * static_cast<long>(Action::count)
                          * static_cast<long>(State::count);
    const long wanted = scaled(full, full / kRounds);
    const long rounds = std::max(1L, wanted * kRounds / full);
    // Less than a round is every nth case of one.
    const long stride = std::max(1L, full / kRounds / wanted);
    long offered = 0;
    long done = 0;
    long failed = 0;
    Worst worst;
    for (int round = 0; round < rounds; ++round) {
        for (int cut = 0; cut < static_cast<int>(Cut::count); ++cut) {
            for (int action = 0; action < static_cast<int>(Action::count); ++action) {
                for (int state = 0; state < static_cast<int>(State::count); ++state) {
                    if (offered++ % stride != 0)
                        continue;
                    // Who asks nothing misses nothing: a halt is then without harm however long it lasts.
                    const bool unnoticed =
                        cut == static_cast<int>(Cut::idle) && state == static_cast<int>(State::idle);
                    const Case test{static_cast<Cut>(cut), static_cast<Action>(action),
                                    static_cast<State>(state), unnoticed || (round + cut + state) % 2 == 0};
                    const auto attempt = [&] {
                        Worst here;
                        run(test, home, here);
                        // A machine with other work may have let us wait: once more then, and now it counts.
                        expect(here.after_death < kSoon, "a call ends within 100 ms of the agent's death");
                        expect(here.past_deadline < kOvershoot, "a call ends within 50 ms of its deadline");
                        worst.after_death = std::max(worst.after_death, here.after_death);
                        worst.past_deadline = std::max(worst.past_deadline, here.past_deadline);
                    };
                    try {
                        try {
                            attempt();
                        } catch (const Failure& first) {
                            std::printf("again, after: %s (agent %s %s, client %s)\n", first.what(),
                                        kActions[action], kCuts[cut], kStates[state]);
                            attempt();
                        }
                    } catch (const Failure& failure) {
                        ++failed;
                        std::printf(
                            "FAILED: agent %s %s%s, client %s: %s\n", kActions[action], kCuts[cut],
                            test.action == Action::stop ? (test.in_time ? " for a moment" : " for long") : "",
                            kStates[state], failure.what());
                    }
                    ++done;
                }
            }
        }
    }
    report("deaths and halts of the agent", done, full);
    std::printf(
        "%ld failed; a call ended at most %.1f ms after the agent's death, and at most %.1f ms after its deadline\n",
        failed, worst.after_death, worst.past_deadline);
    return failed == 0 ? 0 : 1;
}
