// What outlives what: registrations and the connection they were made on, requests and answers that refuse
// them, callbacks and their user data. Each again and again, from one thread or from those that compete.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bitset>
#include <chrono>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "live.hpp"
#include "scenarios.hpp"

using namespace torture;
using namespace std::chrono_literals;

namespace {

constexpr int method_set_api_version = 52;

using Rows = std::vector<const Row*>;

/// The delegates that the last of these functions sends. What an easy setup waits for comes.
std::vector<SentDelegate> registered(const Rows& rows, quorvel_client_h client)
{
    for (const Row* const row : rows) {
        scripted::agent().forget_requests();
        Attempt{*row, client}.run();
        if (row != rows.back())
            fire(sent_delegates().back());
    }
    return sent_delegates();
}

/// How many callbacks a parcel makes.
int heard_of(const SentDelegate& delegate)
{
    const int before = ears().heard;
    fire(delegate);
    return ears().heard - before;
}

/// The functions whose callbacks come again and again, or once; each with what leads to it.
std::vector<Rows> registrations(bool once)
{
    std::vector<Rows> found;
    for (const Scenario& scenario : scenarios()) {
        if (scenario.what != Scenario::What::callback || scenario.delegate != 1)
            continue;
        quorvel_client_h const client = connect();
        const auto sent = registered(scenario.before, client);
        if (std::ranges::all_of(sent, [&](const SentDelegate& delegate) { return delegate.once == once; }))
            found.push_back(scenario.before);
        quorvel_client_disconnect(client);
        scripted::reset();
    }
    return found;
}

/// A registration's slot outlives its connection, and the ending of it. It then names a delegate that is
/// gone, whose address another kind's may get: that one must go on to be heard.
Finding stale_slots_take_nothing_away(long rounds, unsigned seed)
{
    std::minstd_rand random{seed};
    auto all = registrations(false);
    std::bitset<64> kinds;
    Finding finding = repeated(rounds, [&]() -> Finding {
        quorvel_client_h const client = connect();
        for (int twice = 0; twice < 2; ++twice) {
            std::ranges::shuffle(all, random);
            std::vector<SentDelegate> made;
            bool is_setup_started = false;
            for (const Rows& rows : all) {
                // There is one easy setup, and two ways to start it.
                if (rows.size() == 1 || !std::exchange(is_setup_started, true))
                    std::ranges::copy(registered(rows, client), std::back_inserter(made));
            }
            for (const SentDelegate& delegate : made) {
                kinds.set(static_cast<std::size_t>(delegate.id));
                if (const int heard = heard_of(delegate); heard != 1)
                    return "delegate " + std::to_string(delegate.id) + " was heard " + std::to_string(heard)
                           + " times";
            }
        }
        for (const Rows& rows : all) {
            if (random() % 2 == 0)
                Attempt{row_of(ending_of(*rows.back())), client}.run();
        }
        quorvel_client_disconnect(client);
        return {};
    });
    if (finding.empty() && kinds.count() < 15)
        finding = "only " + std::to_string(kinds.count()) + " kinds of callbacks";
    return finding;
}

/// When the agent calls back a command that it refuses.
enum class When { before_it_answers, while_it_answers, after_it_answered };

const char* told(When when)
{
    return when == When::before_it_answers  ? "before it answers"
           : when == When::while_it_answers ? "while it answers"
                                            : "after it answered";
}

/// These two stay registered although they are refused.
bool stays_although_refused(const Row& row)
{
    return row.name == "quorvel_client_move_devices" || row.name == "quorvel_client_change_device_nick";
}

/// The request belongs to whoever comes first: the callback, or the call that fails.
Finding refused_and_called_back(const Rows& rows, When when, int times)
{
    return repeated(times, [&]() -> Finding {
        quorvel_client_h const client = connect();
        const int before = ears().heard;
        std::thread loop;
        std::optional<SentDelegate> delegate;
        scripted::agent().on_request([&](const scripted::Sent& request) -> std::optional<scripted::Values> {
            if (!(delegate = delegate_of(request)))
                return good_answer(request);
            if (when != When::after_it_answered)
                loop = std::thread{[sent = *delegate] { fire(sent); }};
            if (when == When::before_it_answers)
                loop.join();
            return refusal(request);
        });
        registered(rows, client);
        if (loop.joinable())
            loop.join();
        if (!delegate)
            return "no delegate was sent";
        const int heard = ears().heard - before;
        const int heard_late = heard_of(*delegate);
        quorvel_client_disconnect(client);
        const bool is_well = when == When::before_it_answers        ? heard == 1 && heard_late == 0
                             : stays_although_refused(*rows.back()) ? heard + heard_late == 1
                             : when == When::while_it_answers       ? heard <= 1 && heard_late == 0
                                                                    : heard + heard_late == 0;
        return is_well ? Finding{}
                       : "heard " + std::to_string(heard) + " times, and " + std::to_string(heard_late)
                             + " times late";
    });
}

/// Two threads subscribe to one key, and half of it is refused, while its events arrive: who fails must not
/// take away what the other one has.
Finding one_key_on_two_threads(long calls)
{
    const Rows subscribe{&row_of("quorvel_client_subscribe")};
    return repeated(2, [&]() -> Finding {
        quorvel_client_h const client = connect();
        std::atomic<int> id{0};
        std::atomic<int> newest{0};
        std::atomic<long> asked{0};
        scripted::agent().on_request([&](const scripted::Sent& request) -> std::optional<scripted::Values> {
            const auto delegate = delegate_of(request);
            if (!delegate)
                return good_answer(request);
            id = delegate->id;
            newest = delegate->seq_id;
            return ++asked % 2 == 0 ? refusal(request) : good_answer(request);
        });
        registered(subscribe, client);
        std::atomic<int> working{2};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < 2; ++thread)
            threads.emplace_back([&] {
                for (long i = 0; i < calls / 2 / 2; ++i)
                    registered(subscribe, client);
                --working;
            });
        while (working > 0)
            fire({id, newest, false});
        for (std::thread& thread : threads)
            thread.join();
        answer_everything();
        const SentDelegate last = registered(subscribe, client).back();
        const int heard = heard_of(last);
        Attempt{row_of("quorvel_client_unsubscribe"), client}.run();
        const int heard_late = heard_of(last);
        quorvel_client_disconnect(client);
        return heard == 1 && heard_late == 0 ? Finding{}
                                             : "heard " + std::to_string(heard) + " times, and "
                                                   + std::to_string(heard_late) + " times late";
    });
}

/// An application that connects anew as soon as it hears that the connection is gone.
struct Persistent {
    quorvel_client_h client = nullptr;
    quorvel_client_h old = nullptr;

    static void on_state(int, int state, void* user_data)
    {
        auto& self = *static_cast<Persistent*>(user_data);
        if (state == QUORVEL_CLIENT_CONNECTION_DISCONNECTED) {
            self.old = self.client;
            self.connect();
        }
    }
    void connect() { quorvel_client_connect(&client, on_state, this); }
};

Finding reconnected_inside_the_callback(long rounds)
{
    const std::array both{Rows{&row_of("quorvel_client_subscribe")},
                          Rows{&row_of("quorvel_client_start_monitoring_cloud_device_state")}};
    return repeated(rounds, [&]() -> Finding {
        scripted::agent().install("2.4.0");
        answer_everything();
        Persistent application;
        application.connect();
        scripted::agent().connect();
        // What is left of the first connection takes nothing of the second one's with it.
        for (int connection = 1; connection <= 2; ++connection) {
            for (const Rows& rows : both) {
                if (heard_of(registered(rows, application.client).back()) != 1)
                    return std::string{rows.back()->name} + " was not heard on connection "
                           + std::to_string(connection);
            }
            if (connection == 2)
                break;
            scripted::agent().disconnect();
            scripted::agent().connect();
        }
        quorvel_client_disconnect(application.old);
        quorvel_client_disconnect(application.client);
        return {};
    });
}

/// Each callback belongs to its own user data.
constexpr int pairs = 4;
std::array<char, pairs> tags;
std::atomic<long> matched{0};
std::atomic<long> mixed{0};

template <int own>
void on_sign_in(bool, void* user_data)
{
    ++(user_data == &tags[own] ? matched : mixed);
}

Finding callbacks_keep_their_user_data(long registrations)
{
    constexpr std::array callbacks{on_sign_in<0>, on_sign_in<1>, on_sign_in<2>, on_sign_in<3>};
    scripted::keep_log(false);
    quorvel_client_h const client = connect();
    std::atomic<int> newest{0};
    std::atomic<int> id{0};
    scripted::agent().on_request([&](const scripted::Sent& request) -> std::optional<scripted::Values> {
        if (const auto delegate = delegate_of(request)) {
            id = delegate->id;
            newest = delegate->seq_id;
        }
        return good_answer(request);
    });
    const auto set = [&](long i) {
        quorvel_client_set_sign_in_state_changed_cb(client, callbacks[i % pairs], &tags[i % pairs]);
        if (i % 100 == 0)
            scripted::agent().forget_requests();
    };
    set(0);
    std::atomic<bool> is_over{false};
    std::thread loop{[&] {
        while (!is_over)
            fire({id, newest, false});
    }};
    for (long i = 1; i < registrations; ++i)
        set(i);
    is_over = true;
    loop.join();
    quorvel_client_disconnect(client);
    return mixed == 0 && matched > 0 ? Finding{}
                                     : std::to_string(mixed) + " of " + std::to_string(mixed + matched)
                                           + " with another's user data";
}

/// The main loop tells the agent the version and waits for its answer; another thread disconnects meanwhile.
Finding disconnected_while_the_version_is_told(long rounds)
{
    return repeated(rounds, [&]() -> Finding {
        quorvel_client_h client = nullptr;
        std::atomic<bool> is_asked{false};
        scripted::agent().install("2.4.0");
        scripted::agent().let_reads_wait(30s);
        scripted::agent().on_request([&](const scripted::Sent& request) -> std::optional<scripted::Values> {
            is_asked = is_asked || request.number(0) == method_set_api_version;
            return std::nullopt;
        });
        quorvel_client_connect(
            &client, [](int, int, void*) {}, nullptr);
        std::thread loop{[] { scripted::agent().connect(); }};
        while (!is_asked)
            std::this_thread::yield();
        quorvel_client_disconnect(client);
        loop.join();
        client = connect();
        if (client == nullptr || !ordinary_call_works(client))
            return "cannot connect again";
        quorvel_client_disconnect(client);
        return {};
    });
}

/// Filtered registrations stay in the list until the disconnect.
Finding many_filtered_registrations(long registrations)
{
    constexpr long most = 2L * 1024 * 1024;
    scripted::keep_log(false);
    const Rows filtered{&row_of("quorvel_core_set_sse_cb_by_device_id")};
    quorvel_client_h const client = connect();
    registered(filtered, client);
    const long before = held().bytes;
    for (long i = 0; i < registrations; ++i)
        registered(filtered, client);
    const long grown = held().bytes - before;
    quorvel_client_disconnect(client);
    return grown <= most ? Finding{} : "they take " + std::to_string(grown) + " bytes";
}

/// The process ends inside a callback, with another one waiting.
Finding exit_inside_a_callback()
{
    constexpr int status_of_the_end = 7;
    const pid_t child = fork();
    if (child == 0) {
        quorvel_client_h const client = connect();
        const SentDelegate delegate =
            registered({&row_of("quorvel_client_set_sign_in_state_changed_cb")}, client).back();
        ears().action = [] { std::exit(status_of_the_end); };
        for (int i = 0; i < 2; ++i)
            scripted::agent().post(delegate.id, delegate.seq_id, false,
                                   sample(description().delegate(delegate.id)->parameters));
        scripted::agent().run_events();
        _exit(EXIT_SUCCESS);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child)
        return "no child";
    return WIFEXITED(status) && WEXITSTATUS(status) == status_of_the_end
               ? Finding{}
               : "ended with " + std::to_string(status);
}

}  // namespace

int main(int argc, char** argv)
{
    constexpr long rounds = 1'000;
    constexpr long calls_of_a_thread = 100'000;
    constexpr long set_and_fired = 1'000'000;
    constexpr long disconnects = 200;
    constexpr long filtered = 10'000;
    constexpr int repetitions = 20;
    const auto commands = registrations(true);
    const long refused = 3L * repetitions * static_cast<long>(commands.size());
    Proof proof{argc, argv, "what outlives what",
                2 * rounds + 2 * calls_of_a_thread + set_and_fired + disconnects
                    + (counts_memory ? filtered : 0) + refused + 1};
    proof.scale(0.05);
    warm_up();

    const auto check = [&](const std::string& name, long whole, auto run) {
        const long scaled = proof.scaled(whole);
        proof.check_always(
            name,
            [&proof, scaled, run] {
                proof.did(scaled);
                return run(scaled);
            },
            600);
        proof.also_report(name + ": " + std::to_string(scaled) + " of " + std::to_string(whole));
    };
    check("stale slots", rounds,
          [&](long times) { return stale_slots_take_nothing_away(times, proof.seed()); });
    check("reconnected inside the callback", rounds, reconnected_inside_the_callback);
    check("one key on two threads", 2 * calls_of_a_thread, one_key_on_two_threads);
    check("pairs of callback and user data", set_and_fired, callbacks_keep_their_user_data);
    check("disconnected while the version is told", disconnects, disconnected_while_the_version_is_told);
    if (counts_memory)
        check("filtered registrations", filtered, many_filtered_registrations);
    check("exit inside a callback", 1, [](long) { return exit_inside_a_callback(); });
    for (const Rows& rows : commands) {
        for (const When when : {When::before_it_answers, When::while_it_answers, When::after_it_answered}) {
            const std::string name = std::string{rows.back()->name} + "/refused, called back " + told(when);
            proof.check_always(name, [&] {
                proof.did(repetitions);
                return refused_and_called_back(rows, when, repetitions);
            });
        }
    }
    proof.also_report(std::to_string(commands.size()) + " commands that are refused and called back");
    return proof.report();
}
