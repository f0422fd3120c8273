// The noun "trace".
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <thread>

#include "catalogue/qv_client_catalogue.hpp"
#include "command.hpp"
#include "core/places.hpp"
#include "core/suggest.hpp"
#include "trace/difference.hpp"
#include "trace/record.hpp"
#include "trace/replay.hpp"
#include "trace/view.hpp"

namespace quorvel::cli {
namespace {

using namespace trace;
using ArgumentForm = Argument::Form;

std::string severity_name(Severity severity)
{
    return severity == Severity::error ? "error" : severity == Severity::warning ? "warning" : "note";
}

// Signals from the terminal reach the program as well; it decides what becomes of them.
class SignalsIgnored {
public:
    SignalsIgnored() : before_(std::signal(SIGINT, SIG_IGN)) {}
    ~SignalsIgnored() { static_cast<void>(std::signal(SIGINT, before_)); }
    SignalsIgnored(const SignalsIgnored&) = delete;
    SignalsIgnored& operator=(const SignalsIgnored&) = delete;

private:
    void (*before_)(int);
};

int record(Context& context)
{
    const std::string file = context.text("file");
    const std::vector<std::string> command = context.texts("command");
    context.session.prepare();
    Recorded recorded;
    const int status = record_while(
        file, context.globals.secrets,
        [&] {
            const pid_t pid = start_program(command, false, {});
            const SignalsIgnored ignored;
            return wait_for(pid);
        },
        &recorded);
    context.out.note(fmt::format("{}: {} call{} and {} callback{} recorded{}", file, recorded.calls,
                                 recorded.calls == 1 ? "" : "s", recorded.callbacks,
                                 recorded.callbacks == 1 ? "" : "s",
                                 context.globals.secrets ? ", secrets in clear" : ", secrets masked"));
    return status;
}

int show(Context& context)
{
    const Loaded loaded = load(context.text("file"));
    View view(context);
    for (const trace::Record& one : loaded.records)
        if (!view.over())
            view.add(one);
    view.finish();
    loaded.rethrow();
    return ok;
}

int follow(Context& context)
{
    const std::filesystem::path file = context.text("file");
    context.session.catch_signals();
    View view(context);
    const auto begin = std::chrono::steady_clock::now();
    const auto is_late = [&] {
        return context.globals.has_timeout
               && std::chrono::steady_clock::now() - begin > context.globals.timeout;
    };
    // A file that does not exist yet will be made by who is to be recorded.
    std::optional<Reader> reader;
    while (!view.over() && !is_late()) {
        std::error_code error;
        if (!reader && std::filesystem::exists(file, error))
            reader.emplace(file, true);
        bool came = false;
        while (reader && !view.over()) {
            const std::optional<trace::Record> one = reader->next();
            if (!one)
                break;
            view.add(*one);
            came = true;
        }
        if (!came
            && context.session.wait([] { return false; }, std::chrono::milliseconds(30))
                   == Session::End::signalled) {
            view.finish();
            return signalled + context.session.signal();
        }
    }
    const bool is_over = view.over();
    view.finish();
    const bool expects = !context.globals.until.empty() || context.globals.limit > 0;
    if (!is_over && expects)
        throw Failure(timed_out, "what was waited for did not come",
                      fmt::format("{} lines of {}", view.count(), file.string()),
                      "give it more time with --timeout");
    return ok;
}

double percentile(std::vector<double> sorted, double part)
{
    if (sorted.empty())
        return 0;
    const auto rank = static_cast<std::size_t>(std::ceil(part * static_cast<double>(sorted.size())));
    return std::round(sorted[std::max<std::size_t>(rank, 1) - 1] * 1000) / 1000;
}

int stats(Context& context)
{
    struct Row {
        std::vector<double> times;
        std::size_t calls = 0;
        std::size_t errors = 0;
        std::size_t unanswered = 0;
    };
    const Loaded loaded = load(context.text("file"));
    const Filter filter = filter_of(context);
    std::map<std::string, Row> methods;
    std::map<std::string, std::size_t> callbacks;
    Conversation conversation;
    std::vector<std::shared_ptr<Call>> calls;
    for (const trace::Record& one : loaded.records) {
        const Entry entry = conversation.add(one);
        if (!filter.wants(entry))
            continue;
        if (entry.kind == Entry::Kind::request)
            calls.push_back(entry.call);
        if (entry.kind == Entry::Kind::callback && entry.message.delegate != nullptr)
            ++callbacks[std::string(entry.message.delegate->name)];
    }
    for (const auto& call : calls) {
        Row& row = methods[call->request.method == nullptr ? method_name(call->request)
                                                           : std::string(call->request.method->name)];
        ++row.calls;
        row.unanswered += call->answered ? 0U : 1U;
        row.errors += call->answered && (call->answer.code() < 0 || !call->answer.problem.empty()) ? 1U : 0U;
        if (call->answered)
            row.times.push_back(call->milliseconds());
    }
    Json method_rows = Json::array();
    for (auto& [name, row] : methods) {
        std::ranges::sort(row.times);
        method_rows.push_back({{"method", name},
                               {"calls", row.calls},
                               {"p50_ms", percentile(row.times, 0.5)},
                               {"p99_ms", percentile(row.times, 0.99)},
                               {"max_ms", percentile(row.times, 1)},
                               {"errors", row.errors},
                               {"unanswered", row.unanswered}});
    }
    Json callback_rows = Json::array();
    for (const auto& [name, count] : callbacks)
        callback_rows.push_back({{"delegate", name}, {"callbacks", count}});
    Json open_rows = Json::array();
    for (const Conversation::Holding& one : conversation.holdings())
        open_rows.push_back({{"open_delegate", fmt::format("{}[{}.{}]", one.delegate, one.id, one.sequence)},
                             {"by", one.method},
                             {"connection", speaker(one.since)},
                             {"callbacks", one.called}});
    if (context.out.form == Form::table) {
        for (const Json& rows : {method_rows, callback_rows, open_rows})
            if (!rows.empty())
                context.out.show(rows);
    } else {
        context.out.show(
            {{"methods", method_rows}, {"delegates", callback_rows}, {"open_delegates", open_rows}});
    }
    loaded.rethrow();
    return ok;
}

int lint(Context& context)
{
    std::vector<std::string> names;
    for (const Rule& rule : rules())
        names.emplace_back(rule.name);
    if (context.has("rules")) {
        Json rows = Json::array();
        for (const Rule& rule : rules())
            rows.push_back(
                {{"rule", rule.name}, {"severity", severity_name(rule.severity)}, {"meaning", rule.meaning}});
        context.out.show(rows);
        return ok;
    }
    if (!context.has("file"))
        throw Failure(usage, "a trace is missing", "qvctl trace lint", "qvctl trace lint FILE, or --rules");
    const std::vector<std::string> ignored = context.texts("ignore");
    for (const std::string& name : ignored)
        if (std::ranges::find(names, name) == names.end()) {
            const std::string near = nearest(name, names);
            throw Failure(
                usage, fmt::format("there is no rule '{}'", name), "--ignore",
                near.empty() ? "qvctl trace lint --rules" : fmt::format("did you mean '{}'?", near));
        }
    const Loaded loaded = load(context.text("file"));
    Conversation conversation;
    for (const trace::Record& one : loaded.records)
        conversation.add(one);
    conversation.finish();
    Json rows = Json::array();
    bool fails = false;
    for (const Finding& finding : conversation.findings()) {
        if (std::ranges::find(ignored, finding.rule) != ignored.end())
            continue;
        const Severity severity = std::ranges::find(rules(), finding.rule, &Rule::name)->severity;
        rows.push_back({{"severity", severity_name(severity)},
                        {"rule", finding.rule},
                        {"offset", finding.where.offset},
                        {"connection", speaker(finding.where)},
                        {"what", finding.text}});
        fails =
            fails || severity == Severity::error || (severity == Severity::warning && context.has("strict"));
    }
    context.out.show(rows);
    loaded.rethrow();
    return fails ? failed : ok;
}

int diff(Context& context)
{
    const Loaded left = load(context.text("left"));
    left.rethrow();
    const Loaded right = load(context.text("right"));
    right.rethrow();
    const std::vector<std::string> words = context.texts("ignore");
    const std::vector<Json> changes = compare(steps_of(left), steps_of(right),
                                              Ignored(words.begin(), words.end()), context.globals.secrets);
    if (context.out.form == Form::table)
        for (const Json& one : changes)
            write_stdout(change_text(one));
    else
        context.out.show(Json(changes));
    return changes.empty() ? ok : failed;
}

int replay(Context& context)
{
    const std::vector<std::string> command = context.texts("command");
    const bool as_agent = context.has("as-agent");
    if (as_agent == context.has("as-client"))
        throw Failure(usage, "either --as-agent or --as-client is needed", "qvctl trace replay",
                      "qvctl trace replay --as-agent FILE -- COMMAND, or --as-client FILE");
    if (as_agent == command.empty())
        throw Failure(usage,
                      as_agent ? "a command is missing, which the recording is to answer"
                               : "there is no command with --as-client",
                      "qvctl trace replay",
                      "qvctl trace replay --as-agent FILE -- COMMAND, or --as-client FILE");
    return as_agent ? replay_as_agent(context, context.text("as-agent"), command)
                    : replay_as_client(context, context.text("as-client"));
}

std::vector<Argument> with_view_arguments(std::vector<Argument> arguments)
{
    const std::vector<Argument> more = view_arguments();
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

}  // namespace

std::vector<Command> trace_commands()
{
    const Argument file{"file", "FILE", "a trace"};
    const Argument ignore{
        "ignore", "--ignore", "a member's name that may differ", ArgumentForm::option, false, false, true};
    const std::vector<Argument> filters = view_arguments();
    return {
        {"trace record",
         "Run a program and record what it says to the agent, secrets masked",
         {{"file", "FILE", "where the records are appended"},
          {"command", "COMMAND", "the program and its arguments, behind --", ArgumentForm::positional, true,
           true}},
         {},
         record},
        {"trace show",
         "Show a trace, a line a call, an answer or a callback",
         with_view_arguments({file}),
         {},
         show},
        {"trace follow", "Show a trace while it is written", with_view_arguments({file}), {}, follow},
        {"trace stats",
         "Count calls, times, errors and open delegates",
         {file, filters[0], filters[1], filters[4]},
         {},
         stats},
        {"trace lint",
         "Look for what should not be in a trace",
         {{"file", "FILE", "a trace", ArgumentForm::positional, false},
          {"ignore", "--ignore", "a rule that may be broken", ArgumentForm::option, false, false, true},
          {"strict", "--strict", "fail on warnings too", ArgumentForm::flag, false},
          {"rules", "--rules", "list the rules", ArgumentForm::flag, false}},
         {},
         lint},
        {"trace diff",
         "Show how one trace differs from another",
         {{"left", "LEFT", "a trace"}, {"right", "RIGHT", "another"}, ignore},
         {},
         diff},
        {"trace replay",
         "Answer an application from a trace, or ask an agent what a trace asked",
         {{"command", "COMMAND", "the application and its arguments, behind --", ArgumentForm::positional,
           false, true},
          {"as-agent", "--as-agent", "the trace that answers", ArgumentForm::option, false},
          {"as-client", "--as-client", "the trace whose calls are made", ArgumentForm::option, false},
          filters[1],
          {"events", "--events", "with --as-client: wait for callbacks of lasting registrations too",
           ArgumentForm::flag, false},
          ignore},
         {},
         replay},
    };
}

}  // namespace quorvel::cli
