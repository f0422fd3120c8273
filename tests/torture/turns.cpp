// Many threads, one connection: every call gets its own answer, none is lost, and what comes too late goes to
// nobody.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>

#include "live.hpp"
#include "scenarios.hpp"
#include "stopwatch.hpp"

using namespace torture;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int method_get_ui_metadata = 41;
constexpr int threads_of_a_case = 16;

/// An agent with a thread of its own: each answer is due some time after its request arrived, so that delays
/// overlap, and answers leave in the order of the requests.
class SlowAgent {
public:
    struct Plan {
        Clock::duration delay{};
        bool is_lost = false;  // it never comes, or comes when the deadline has passed
    };
    using Planner = std::function<Plan()>;

    explicit SlowAgent(Planner plan) : plan_{std::move(plan)}, thread_{[this] { work(); }}
    {
        scripted::agent().on_request(
            [this](const scripted::Sent& request) -> std::optional<scripted::Values> {
                if (request.number(0) != method_get_ui_metadata)
                    return good_answer(request);
                const std::lock_guard lock{mutex_};
                const Plan next = plan_();
                waiting_.push_back({Clock::now() + next.delay, next.is_lost, request.string(1)});
                changed_.notify_one();
                return std::nullopt;
            });
    }
    ~SlowAgent()
    {
        {
            const std::lock_guard lock{mutex_};
            is_over_ = true;
        }
        changed_.notify_one();
        thread_.join();
        answer_everything();
    }
    SlowAgent(const SlowAgent&) = delete;
    SlowAgent& operator=(const SlowAgent&) = delete;

    /// Waits until a connection that is being closed is closed, and what was late has been sent on it.
    void finish_closing() { const std::lock_guard lock{mutex_}; }

    /// The port's part when an answer misses its deadline: it closes the connection.
    std::atomic<int> closed{0};

private:
    struct Waiting {
        Clock::time_point due;
        bool is_lost;
        std::string nonce;
    };

    void work()
    {
        std::unique_lock lock{mutex_};
        for (;;) {
            changed_.wait(lock, [this] { return is_over_ || !waiting_.empty(); });
            if (is_over_)
                return;
            Waiting next = std::move(waiting_.front());
            waiting_.pop_front();
            changed_.wait_until(lock, next.due, [this] { return is_over_; });
            if (is_planted("swapped answer") && !waiting_.empty())
                std::swap(next.nonce, waiting_.front().nonce);
            if (is_planted("lost answer") && next.nonce == "3-7")
                continue;
            const scripted::Values answer = scripted::result(0, {scripted::text(next.nonce)});
            if (!next.is_lost) {
                scripted::agent().deliver(answer);
                continue;
            }
            // Those behind it are lost with the connection; then the answer comes after all.
            waiting_.clear();
            scripted::agent().break_connection();
            ++closed;
            scripted::agent().deliver(answer);
        }
    }

    Planner plan_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Waiting> waiting_;
    bool is_over_ = false;
    std::thread thread_;
};

/// One call that carries a nonce; whether the answer brought it back.
enum class Answer { own, wrong, none };

Answer ask(quorvel_client_h client, const std::string& nonce)
{
    char* text = nullptr;
    const int code = quorvel_client_get_ui_metadata(client, nonce.c_str(), &text);
    const Answer answer = code != 0 || text == nullptr ? Answer::none
                          : nonce == text              ? Answer::own
                                                       : Answer::wrong;
    std::free(text);
    return answer;
}

Finding no_answer_is_swapped_or_lost(long calls, unsigned seed, Proof& proof)
{
    scripted::keep_log(false);
    quorvel_client_h const client = connect();
    scripted::agent().let_reads_wait(is_planted("lost answer") ? 200ms : 30s);
    std::atomic<long> wrong{0};
    std::atomic<long> lost{0};
    std::atomic<long> done{0};
    {
        std::mt19937 random{seed};
        SlowAgent agent{[&random]() -> SlowAgent::Plan {
            return {.delay = std::chrono::microseconds{random() % 5'000}};
        }};
        std::vector<std::thread> threads;
        for (int thread = 0; thread < threads_of_a_case; ++thread) {
            threads.emplace_back([&, thread] {
                for (long i = 0; i < calls / threads_of_a_case; ++i) {
                    const Answer answer = ask(client, std::to_string(thread) + "-" + std::to_string(i));
                    wrong += answer == Answer::wrong ? 1 : 0;
                    lost += answer == Answer::none ? 1 : 0;
                    if (++done % 1'000 == 0)
                        scripted::agent().forget_requests();
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
    }
    proof.did(done);
    quorvel_client_disconnect(client);
    return wrong == 0 && lost == 0 ? Finding{}
                                   : std::to_string(wrong) + " swapped, " + std::to_string(lost) + " lost";
}

/// The main loop: it hears of a closed connection, and connects again.
Finding late_answers_go_to_nobody(long calls, unsigned seed, Proof& proof)
{
    scripted::keep_log(false);
    quorvel_client_h client = connect();
    scripted::agent().let_reads_wait(30s);
    long wrong = 0;
    long failed = 0;
    long reconnected = 0;
    long closed = 0;
    {
        std::mt19937 random{seed};
        SlowAgent agent{[&random]() -> SlowAgent::Plan {
            const bool is_lost = random() % 100 == 0;
            return {.delay = is_lost ? 2ms : 0ms, .is_lost = is_lost};
        }};
        for (long i = 0; i < calls; ++i) {
            const Answer answer = ask(client, std::to_string(i));
            wrong += answer == Answer::wrong ? 1 : 0;
            if (i % 1'000 == 0)
                scripted::agent().forget_requests();
            if (answer != Answer::none)
                continue;
            ++failed;
            agent.finish_closing();
            // One disconnected event for one missed deadline, and a new connection works.
            if (scripted::agent().run_events() != 1)
                return "not one event for a closed connection";
            quorvel_client_disconnect(client);
            quorvel_client_connect(
                &client, [](int, int, void*) {}, nullptr);
            scripted::agent().connect();
            ++reconnected;
        }
        closed = agent.closed;
    }
    quorvel_client_disconnect(client);
    proof.did(calls);
    if (wrong != 0 || failed != closed || reconnected != closed || closed == 0)
        return std::to_string(wrong) + " wrong, " + std::to_string(failed) + " failed, "
               + std::to_string(closed) + " closed, " + std::to_string(reconnected) + " reconnected";
    return {};
}

/// A disconnect while threads are in calls that nobody answers, and a callback runs: all end at once.
Finding disconnect_ends_all_calls(int callers)
{
    scripted::keep_log(false);
    quorvel_client_h const client = connect();
    Attempt{row_of("quorvel_client_set_sign_in_state_changed_cb"), client}.run();
    const SentDelegate delegate = sent_delegates().back();
    scripted::agent().let_reads_wait(30s);
    std::atomic<int> asked{0};
    scripted::agent().on_request([&](const scripted::Sent&) -> std::optional<scripted::Values> {
        ++asked;
        return std::nullopt;
    });
    std::vector<std::thread> threads;
    std::atomic<int> answered{0};
    for (int i = 0; i < callers; ++i)
        threads.emplace_back([&] { answered += ask(client, "nobody") == Answer::none ? 0 : 1; });
    while (asked < callers)
        std::this_thread::yield();
    std::atomic<bool> in_callback{false};
    std::atomic<bool> is_disconnected{false};
    ears().action = [&] {
        in_callback = true;
        while (!is_disconnected)
            std::this_thread::yield();
    };
    std::thread loop{[&] { fire(delegate); }};
    while (!in_callback)
        std::this_thread::yield();
    const quorvel::test::Stopwatch watch;
    if (!is_planted("hang"))
        quorvel_client_disconnect(client);
    for (std::thread& thread : threads)
        thread.join();
    const auto took = watch.own();
    is_disconnected = true;
    loop.join();
    ears().action = nullptr;
    scripted::reset();
    if (answered != 0)
        return "a call went well without an answer";
    const auto most = counts_memory ? 50ms : 500ms;
    return took <= most
               ? Finding{}
               : "blocked calls ended after "
                     + std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(took).count())
                     + " ms";
}

constexpr long calls_of_a_case = 16'000;

}  // namespace

int main(int argc, char** argv)
{
    constexpr long own_calls = 320'000;
    constexpr long late_calls = 20'000;
    constexpr long disconnects = 1'000;
    Proof proof{argc, argv, "turns", own_calls + late_calls + disconnects};
    proof.scale(0.05);
    warm_up();
    for (long done = 0; done < proof.scaled(own_calls); done += calls_of_a_case)
        proof.check_always(
            "own answers/" + std::to_string(done),
            [&] {
                return no_answer_is_swapped_or_lost(calls_of_a_case,
                                                    proof.seed() + static_cast<unsigned>(done), proof);
            },
            120);
    proof.check_always(
        "late answers",
        [&] { return late_answers_go_to_nobody(proof.scaled(late_calls), proof.seed(), proof); }, 300);
    for (long i = 0; i < proof.scaled(disconnects); ++i)
        proof.check_always("disconnect under load/" + std::to_string(i), [&] {
            return disconnect_ends_all_calls(1 + static_cast<int>(i % threads_of_a_case));
        });
    return proof.report();
}
