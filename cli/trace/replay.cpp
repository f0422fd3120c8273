#include "trace/replay.hpp"

#include <fmt/format.h>
#include <glib.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>

#include "catalogue/qv_client_catalogue.hpp"
#include "core/places.hpp"
#include "trace/difference.hpp"
#include "trace/port.hpp"
#include "trace/view.hpp"

namespace quorvel::cli::trace {
namespace {

using catalogue::Kind;

constexpr int operation_failed = -1073741825;

// A connection of the recording: what was asked, and what happened after each answer.
struct Line {
    struct Turn {
        Step step;
        std::string answer;  // its bytes; empty when there was none
        std::vector<Step> callbacks;
        bool used = false;
    };

    std::vector<Turn> turns;
    std::vector<Step> early;  // callbacks before the first call
};

// The connections in the order in which they were opened.
std::vector<Line> lines_of(const Loaded& loaded, const Filter& filter)
{
    const bool by_agent =
        std::ranges::none_of(loaded.records, [](const Record& record) { return !record.by_agent; });
    Conversation conversation;
    std::vector<Line> lines;
    std::map<std::pair<int, int>, std::size_t> numbers;
    for (const Record& record : loaded.records) {
        if (record.by_agent != by_agent || !filter.wants_connection(record))
            continue;
        const Entry entry = conversation.add(record);
        const std::pair key{record.process, record.connection};
        if (entry.kind == Entry::Kind::opened || !numbers.contains(key)) {
            numbers[key] = lines.size();
            lines.emplace_back();
        }
        Line& line = lines[numbers[key]];
        if (entry.kind == Entry::Kind::request) {
            line.turns.push_back({{entry.call, {}, record}, "", {}, false});
        } else if (entry.kind == Entry::Kind::answer && entry.call) {
            for (Line::Turn& turn : line.turns)
                if (turn.step.call == entry.call)
                    turn.answer = record.bytes;
        } else if (entry.kind == Entry::Kind::callback) {
            (line.turns.empty() ? line.early : line.turns.back().callbacks)
                .push_back({nullptr, entry.message, record});
        }
    }
    return lines;
}

// Calls are the same when their methods and arguments are. The version that a library reports is its own
// affair.
std::string key_of(const Message& request, bool is_masked)
{
    if (request.method != nullptr && request.method->name == "set_api_version")
        return std::string(request.method->name);
    Step step;
    step.call = std::make_shared<Call>();
    step.call->request = is_masked ? masked(request) : request;
    return step.key();
}

class Agent {
public:
    Agent(const Loaded& loaded, const Filter& filter, bool secrets)
        : is_masked_(loaded.head.contains("masked")), secrets_(secrets), lines_(lines_of(loaded, filter))
    {
    }

    void connected(AgentPort::Client& client)
    {
        const std::size_t number = live_.size();
        Live& live = live_[client.instance];
        if (number < lines_.size())
            live.line = &lines_[number];
        else
            problems_.push_back(fmt::format("connection {} was not recorded", number + 1));
    }

    bool request(AgentPort::Client& client, const std::string& bytes)
    {
        Live& live = live_[client.instance];
        const Message asked = read_request(bytes);
        const std::string key = key_of(asked, is_masked_);
        Line::Turn* turn = nullptr;
        if (live.line != nullptr)
            for (Line::Turn& one : live.line->turns)
                if (turn == nullptr && !one.used && key_of(one.step.call->request, is_masked_) == key)
                    turn = &one;
        if (turn == nullptr) {
            tell_unrecorded(live, asked);
            return asked.method != nullptr
                   && send_bytes(client.main, empty_answer(*asked.method, operation_failed));
        }
        turn->used = true;
        const Message& recorded = turn->step.call->request;
        for (std::size_t i = 0; i < asked.values.size() && i < recorded.values.size(); ++i)
            if (asked.values[i].type.kind == Kind::delegate)
                live.sequences[{asked.values[i].type.delegate->id,
                                recorded.values[i].json.value("sequence", 0)}] =
                    asked.values[i].json.value("sequence", 0);
        // A call without an answer was one whose agent went away.
        if (turn->answer.empty() || !send_bytes(client.main, turn->answer))
            return false;
        for (const Step& callback : turn->callbacks)
            live.waiting.push_back(callback.record.bytes);
        fire(client, live);
        return true;
    }

    // Calls that were recorded and not made.
    void finish()
    {
        for (const Line& line : lines_)
            for (const Line::Turn& turn : line.turns)
                if (!turn.used)
                    problems_.push_back(
                        fmt::format("{} was recorded and not called", text(turn.step.call->request)));
    }
    [[nodiscard]] const std::vector<std::string>& problems() const { return problems_; }

private:
    struct Live {
        Line* line = nullptr;
        std::map<std::pair<int, int>, int> sequences;  // recorded numbers of delegates, and what they are now
        std::vector<std::string> waiting;
    };

    // Callbacks whose delegates are here; the others wait for the call that brings theirs.
    static void fire(AgentPort::Client& client, Live& live)
    {
        std::erase_if(live.waiting, [&](const std::string& bytes) {
            std::string now = bytes;
            if (bytes.size() >= 12) {
                const auto found = live.sequences.find(
                    {number_at<std::int32_t>(bytes, 4), number_at<std::int32_t>(bytes, 8)});
                if (found == live.sequences.end())
                    return false;
                std::string sequence;
                put(sequence, static_cast<std::int32_t>(found->second));
                now.replace(8, 4, sequence);
            }
            send_bytes(client.callback, now);
            return true;
        });
    }

    [[nodiscard]] std::string text(const Message& request) const
    {
        return request_text(secrets_ ? request : masked(request), false);
    }

    void tell_unrecorded(const Live& live, const Message& asked)
    {
        std::string problem = fmt::format("{} was not recorded", text(asked));
        Line::Turn* near = nullptr;
        if (live.line != nullptr)
            for (Line::Turn& one : live.line->turns)
                if (near == nullptr && !one.used && one.step.call->request.method == asked.method)
                    near = &one;
        if (near != nullptr) {
            near->used = true;  // told here, and not once more at the end
            problem += "\n"
                       + change_text(change("changed", "arguments", near->step,
                                            differences(near->step.call->request, asked), secrets_));
            problem.pop_back();
        }
        problems_.push_back(std::move(problem));
    }

    bool is_masked_;
    bool secrets_;
    std::vector<Line> lines_;
    std::map<std::string, Live> live_;
    std::vector<std::string> problems_;
};

void ended(GPid /*pid*/, gint status, gpointer result)
{
    *static_cast<int*>(result) = WIFEXITED(status) ? WEXITSTATUS(status) : signalled + WTERMSIG(status);
}

}  // namespace

int replay_as_agent(Context& context, const std::string& file, const std::vector<std::string>& command)
{
    const Loaded loaded = load(file);
    loaded.rethrow();
    Agent agent(loaded, filter_of(context), context.globals.secrets);
    Tap tap;
    const auto version = loaded.head.find("agent");
    AgentPort port(
        tap, version == loaded.head.end() ? QVCTL_VERSION : version->second,
        [&](AgentPort::Client& client, const std::string& bytes) { return agent.request(client, bytes); });
    port.on_connected = [&](AgentPort::Client& client) { agent.connected(client); };
    pid_t pid = 0;
    {
        const Variable capture("QUORVEL_CAPTURE", context.globals.capture_before);
        pid = start_program(command, false, {});
    }
    int status = -1;
    g_child_watch_add(pid, ended, &status);
    context.session.catch_signals();
    const std::chrono::milliseconds time =
        context.globals.has_timeout ? context.globals.timeout : std::chrono::milliseconds(0);
    const auto end = context.session.wait([&] { return status >= 0; }, time);
    if (end != Session::End::done) {
        kill(pid, end == Session::End::signalled ? context.session.signal() : SIGTERM);
        context.session.wait([&] { return status >= 0; }, std::chrono::milliseconds(2000));
        if (status < 0)
            kill(pid, SIGKILL);
        if (end == Session::End::signalled)
            return signalled + context.session.signal();
    }
    agent.finish();
    for (const std::string& problem : agent.problems())
        fmt::print(stderr, "qvctl: {}\n", problem);
    if (end != Session::End::done)
        throw Failure(timed_out, fmt::format("{} did not end in time", command[0]),
                      fmt::format("--timeout {} ms", context.globals.timeout.count()),
                      "give it more time with --timeout");
    if (status == 127 && agent.problems().empty())
        throw Failure(usage, fmt::format("{} cannot be run", command[0]), "or it ended with status 127",
                      "a path?");
    return status != 0 ? status : agent.problems().empty() ? ok : failed;
}

int replay_as_client(Context& context, const std::string& file)
{
    const Loaded loaded = load(file);
    loaded.rethrow();
    const bool secrets = context.globals.secrets;
    const bool is_masked = loaded.head.contains("masked");
    const auto comparable = [&](const Message& message) { return is_masked ? masked(message) : message; };
    const std::vector<std::string> words = context.texts("ignore");
    const Ignored ignored(words.begin(), words.end());
    const bool wants_events = context.has("events");
    std::vector<Json> changes;
    std::size_t asked = 0;

    context.session.prepare();
    g_setenv("QUORVEL_DEADLINE_MS", std::to_string(context.globals.timeout.count()).c_str(), FALSE);
    Tap tap;
    for (const Line& line : lines_of(loaded, filter_of(context))) {
        std::vector<Message> came;
        ClientPort port(context.session, tap, [&](Message message) { came.push_back(std::move(message)); });
        std::vector<Step> expected;
        // Callbacks that a call is answered with come before the next call is made, as they did.
        const auto check_callbacks = [&] {
            for (const Step& step : expected) {
                const auto is_it = [&](const Message& one) {
                    return one.delegate_id == step.callback.delegate_id
                           && one.sequence == step.callback.sequence;
                };
                context.session.wait([&] { return std::ranges::any_of(came, is_it) || port.is_over(); },
                                     context.globals.timeout);
                const auto found = std::ranges::find_if(came, is_it);
                if (found == came.end()) {
                    changes.push_back(change("missing", "callback", step, {}, secrets));
                    continue;
                }
                const auto differing = differences(comparable(step.callback), comparable(*found), ignored);
                if (!differing.empty())
                    changes.push_back(change("changed", "callback", step, differing, secrets));
                came.erase(found);
            }
            expected.clear();
        };
        for (const Line::Turn& turn : line.turns) {
            check_callbacks();
            const Message& request = turn.step.call->request;
            const auto answer = port.ask(request);
            ++asked;
            if (!answer || turn.answer.empty()) {
                if (answer || !turn.answer.empty())
                    changes.push_back(change(answer ? "added" : "missing", "answer", turn.step, {}, secrets));
                if (!answer)
                    break;
                continue;
            }
            const auto differing =
                differences(comparable(turn.step.call->answer), comparable(*answer), ignored);
            if (!differing.empty())
                changes.push_back(change("changed", "answer", turn.step, differing, secrets));
            for (const Step& callback : turn.callbacks)
                if (callback.callback.once || wants_events)
                    expected.push_back(callback);
        }
        check_callbacks();
    }
    if (context.out.form == Form::table) {
        for (const Json& one : changes)
            write_stdout(change_text(one));
        context.out.note(fmt::format("{} calls sent, {} differences", asked, changes.size()));
    } else {
        context.out.show(Json(changes));
    }
    return changes.empty() ? ok : failed;
}

}  // namespace quorvel::cli::trace
