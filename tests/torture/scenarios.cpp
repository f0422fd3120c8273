#include "scenarios.hpp"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>
#include <tuple>

#include "internal/locks.hpp"
#include "live.hpp"

namespace torture {

namespace {

/// What ends what: the richer way through a function that ends something has that something.
std::string beginning_of(std::string_view name)
{
    static constexpr std::pair<std::string_view, std::string_view> opposites[] = {
        {"_unset_", "_set_"}, {"_unsubscribe", "_subscribe"}, {"_stop_monitoring_", "_start_monitoring_"}};
    for (const auto& [end, begin] : opposites) {
        const std::size_t at = name.find(end);
        if (at != std::string_view::npos)
            return std::string{name.substr(0, at)}.append(begin).append(name.substr(at + end.size()));
    }
    return {};
}

/// How many callbacks of the agent's a function registers.
std::size_t callbacks_of(const Row& row)
{
    return row.takes_client
               ? static_cast<std::size_t>(std::ranges::count(row.types, Shape::callback, &Type::shape))
               : 0;
}

constexpr std::string_view setup_begin = "quorvel_client_easy_setup_initialize";

/// An easy setup starts only once the agent has told that it can.
bool wants_setup(std::string_view name)
{
    return name.starts_with("quorvel_client_easy_setup_start");
}

/// What a case found; the first finding counts.
class Findings {
public:
    void require(bool holds, const std::string& otherwise)
    {
        if (!holds && first_.empty())
            first_ = otherwise;
    }
    const Finding& first() const { return first_; }

private:
    Finding first_;
};

/// The client of one scenario.
class Session {
public:
    Session() { scripted::agent().install("2.4.0"); }

    quorvel_client_h client() const { return client_; }
    bool begin()
    {
        client_ = connect();
        return client_ != nullptr;
    }
    void take(quorvel_client_h client) { client_ = client; }
    void end()
    {
        if (client_ != nullptr)
            quorvel_client_disconnect(std::exchange(client_, nullptr));
    }
    void forget() { client_ = nullptr; }

private:
    quorvel_client_h client_ = nullptr;
};

void on_state(int, int, void*) {}

/// The faults that are planted to see that they are found: where a call's own would be.
void plant_fault()
{
    static void* volatile lost = nullptr;
    if (is_planted("leak"))
        lost = std::malloc(1);
    if (is_planted("leak of the platform's"))
        lost = scripted::make_bundle({});
    std::ignore = lost;
    if (is_planted("crash"))
        raise(SIGSEGV);
    if (is_planted("abort"))
        std::abort();
    if (is_planted("hang"))
        pause();
    if (is_planted("descriptor leak"))
        std::ignore = dup(STDIN_FILENO);
    if (is_planted("thread leak"))
        std::thread{[] { pause(); }}.detach();
    if (is_planted("lock left held"))
        quorvel::locks::clients.lock();
    if (is_planted("double release")) {
        bundle* const made = scripted::make_bundle({});
        bundle_free(made);
        bundle_free(made);
    }
}

/// Functions that the description gives no line for when they have no memory for a copy.
bool is_silent_without_memory(std::string_view name)
{
    return name.ends_with("_get_string") || name == "quorvel_client_app_launch_condition_set_string"
           || name == "quorvel_core_get_favorite_migration_status";
}

/// A thread that has ended is listed for a moment longer.
Held held_without_ended(int threads, std::chrono::milliseconds at_most)
{
    const auto end = std::chrono::steady_clock::now() + at_most;
    Held now = held();
    while (now.threads > threads && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
        now = held();
    }
    return now;
}

/// A failure is told in a line. A method's code is told by whoever invokes it; the setters of properties pass
/// the platform's code on as it came; and a delegate that no proxy has is not disposed of without one.
bool must_tell(const Row& row, int code)
{
    const bool is_silent = (code == QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY && is_silent_without_memory(row.name))
                           || row.name.find("_property_set_") != std::string_view::npos;
    return code != 0 && !is_silent && row.family != Row::Family::invoke && !row.name.ends_with("_dispose");
}

}  // namespace

std::string_view ending_of(const Row& beginning)
{
    for (const Row& row : rows()) {
        if (row.takes_client && beginning_of(row.name) == beginning.name)
            return row.name;
    }
    return "quorvel_client_unsubscribe";
}

std::vector<Scenario> scenarios()
{
    std::vector<Scenario> all;
    for (const Row& row : rows()) {
        const std::string name{row.name};
        std::vector<const Row*> before;
        if (const std::string beginning = beginning_of(name); row.takes_client && !beginning.empty())
            before.push_back(&row_of(beginning));
        if (wants_setup(name))
            before.push_back(&row_of(setup_begin));
        all.push_back({.name = name, .row = &row, .before = before});
        if (row.takes_client || row.family == Row::Family::invoke)
            all.push_back({.name = name + ":refused", .row = &row, .before = before, .is_refused = true});
        const std::size_t callbacks = callbacks_of(row);
        if (callbacks == 0)
            continue;
        before.push_back(&row);
        all.push_back({.name = name + ":again", .row = &row, .before = before});
        for (std::size_t i = 1; i <= callbacks; ++i)
            all.push_back({.name = name + ":callback" + std::to_string(i),
                           .what = Scenario::What::callback,
                           .before = before,
                           .delegate = i});
    }
    all.push_back({.name = "event:connected", .what = Scenario::What::connected});
    all.push_back({.name = "event:rejected", .what = Scenario::What::rejected});
    all.push_back({.name = "event:disconnected", .what = Scenario::What::disconnected});
    return all;
}

Finding run(const Scenario& scenario, const std::function<void()>& arm, const std::function<void()>& disarm,
            bool must_succeed)
{
    using What = Scenario::What;
    Findings findings;
    const Held at_first = held();
    {
        Session session;
        const bool begins_itself = scenario.what == What::connected || scenario.what == What::rejected;
        const bool is_connect = scenario.row != nullptr && scenario.row->name == "quorvel_client_connect";
        if (begins_itself) {
            answer_everything();
            quorvel_client_h client = nullptr;
            findings.require(quorvel_client_connect(&client, on_state, nullptr) == 0, "cannot connect");
            session.take(client);
        } else if (!is_connect) {
            findings.require(session.begin(), "cannot connect");
        }
        for (const Row* const row : scenario.before) {
            Attempt attempt{*row, session.client()};
            attempt.run();
            findings.require(attempt.succeeded(), "a call before failed: " + std::to_string(attempt.code()));
            if (row->name == setup_begin && scenario.name.find(setup_begin) == std::string::npos)
                fire(sent_delegates().back());
        }
        scripted::clear_log();
        if (!findings.first().empty())
            return findings.first();

        switch (scenario.what) {
            case What::call: {
                Attempt attempt{*scenario.row, session.client()};
                if (scenario.is_refused)
                    refuse_everything();
                arm();
                attempt.call();
                disarm();
                attempt.settle();
                plant_fault();
                findings.require(attempt.complaint().empty(), attempt.complaint());
                findings.require(attempt.succeeded() || !must_succeed || scenario.is_refused
                                     || scenario.row->name.ends_with("_dispose"),
                                 "failed without a fault: " + std::to_string(attempt.code()));
                const int code = is_planted("code that nobody documented") ? 7 : attempt.code();
                // A method answers whatever the agent does.
                findings.require(is_documented(code) || scenario.row->family == Row::Family::invoke,
                                 "the code is not documented: " + std::to_string(code));
                findings.require(scenario.is_unheard || !must_tell(*scenario.row, attempt.code())
                                     || !scripted::errors().empty(),
                                 "failed without a line: " + std::to_string(attempt.code()));
                if (is_connect) {
                    session.take(attempt.take_client());
                    if (session.client() != nullptr)
                        scripted::agent().connect();
                } else if (scenario.row->name == "quorvel_client_disconnect" && attempt.succeeded()) {
                    session.forget();
                }
                break;
            }
            case What::callback: {
                const auto sent = sent_delegates();
                if (sent.size() < scenario.delegate)
                    return "no delegate was sent";
                arm();
                fire(sent[sent.size() - scenario.delegate]);
                disarm();
                break;
            }
            case What::connected:
                arm();
                scripted::agent().connect();
                disarm();
                break;
            case What::rejected:
                arm();
                scripted::agent().reject();
                disarm();
                session.end();
                break;
            case What::disconnected:
                arm();
                scripted::agent().disconnect();
                disarm();
                session.end();
                break;
        }

        answer_everything();
        // The fault is over: what always worked works again, at the latest after a new connection.
        if (session.client() == nullptr || !ordinary_call_works(session.client())) {
            session.end();
            findings.require(session.begin() && ordinary_call_works(session.client()),
                             "an ordinary call fails afterwards");
        }
        session.end();
    }
    findings.require(scripted::live() == scripted::Live{}, "objects of the platform are left alive");
    for (const std::string& misuse : scripted::misuses())
        findings.require(false, misuse);
    scripted::reset();
    const Held at_last = held();
    findings.require(at_first == at_last, difference(at_first, at_last));
    return findings.first();
}

Finding repeated(long times, const std::function<Finding()>& once)
{
    const int threads = held().threads;
    Held at_first;
    for (long i = 0; i < times; ++i) {
        scripted::keep_log(false);
        Finding finding = once();
        if (finding.empty() && scripted::live() != scripted::Live{})
            finding = "objects of the platform are left alive";
        for (const std::string& misuse : scripted::misuses())
            finding = misuse;
        if (!finding.empty())
            return finding + ", at time " + std::to_string(i + 1);
        scripted::reset();
        // A sanitizer may have made a thread that stays.
        if (i == 0)
            at_first = held_without_ended(threads, std::chrono::milliseconds{50});
    }
    const Held at_last = held_without_ended(at_first.threads, std::chrono::seconds{1});
    return at_last == at_first ? Finding{} : difference(at_first, at_last);
}

void warm_up()
{
    sample({.kind = quorvel::catalogue::Kind::bundle, .name = ""}, "");
    for (const char* const name :
         {"quorvel_client_subscribe", "quorvel_client_get_device_list", "__qv_client_delegate_device_cb"}) {
        Scenario scenario{.name = name, .row = &row_of(name)};
        run(
            scenario, [] {}, [] {});
    }
}

}  // namespace torture
