#include "commands/run.hpp"

#include <fmt/format.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "commands/program.hpp"
#include "core/raw.hpp"
#include "core/suggest.hpp"
#include "trace/request.hpp"

namespace quorvel::cli {
namespace {

// An answer's own code, which comes first where it has one.
void check_answer(const Function& function, Json& values)
{
    if (values.empty() || !values.begin()->is_number_integer()) {
        if (values.contains("result") && values["result"] == Json(false))
            throw Failure(failed, "the agent said no",
                          fmt::format("{}: its callback got false", function.name), "qvctl agent log");
        values.erase("result");
        return;
    }
    const int code = values.begin()->get<int>();
    if (code < 0)
        throw code_failure(function.name, code);
    if (values.begin().key() == "result") {
        if (code != 0)
            throw code_failure(function.name, code);
        values.erase("result");
    }
}

// The command gets the event on its stdin and in QVCTL_EVENT.
void run_for_event(const std::string& command, const Json& event)
{
    const std::string text = event.dump(-1, ' ', false, Json::error_handler_t::replace);
    setenv("QVCTL_EVENT", text.c_str(), 1);
    // NOLINTNEXTLINE(cert-env33-c): what the user gave for the shell to run.
    FILE* pipe = popen(command.c_str(), "w");
    if (pipe == nullptr)
        return;
    // Who does not read its input does not want it.
    static_cast<void>(std::fprintf(pipe, "%s\n", text.c_str()));
    pclose(pipe);
}

std::string event_name(std::string_view function)
{
    std::string name(function);
    for (const char* prefix :
         {"quorvel_client_set_", "quorvel_core_set_", "quorvel_client_", "quorvel_core_"})
        if (name.starts_with(prefix)) {
            name.erase(0, std::string_view(prefix).size());
            break;
        }
    if (name.ends_with("_cb"))
        name.erase(name.size() - 3);
    return name;
}

}  // namespace

const Function& function_named(std::string_view name)
{
    if (const Function* found = find_function(name))
        return *found;
    std::vector<std::string> names;
    for (const Function& function : functions())
        names.emplace_back(function.name);
    const std::string near = nearest(name, names);
    throw Failure(usage, fmt::format("there is no function '{}'", name),
                  "the public functions of the library",
                  near.empty() ? "qvctl api list" : fmt::format("did you mean '{}'?", near));
}

Json ask(Context& context, std::string_view name, const Arguments& arguments)
{
    const Function& function = function_named(name);
    std::vector<Json> answers;
    Invocation invocation(context.session, function,
                          [&](std::string_view, Json values) { answers.push_back(std::move(values)); });
    const bool answers_later = std::ranges::any_of(
        function.parameters, [](const Parameter& parameter) { return parameter.kind == Kind::callback; });
    Json result = invocation.call(arguments);
    if (!answers_later)
        return result;
    const auto end = context.session.wait([&] { return !answers.empty(); }, context.session.timeout());
    // The library may call back for as long as it is connected.
    if (end != Session::End::done) {
        context.session.disconnect();
        if (end == Session::End::lost)
            throw Failure(lost, "the connection to the agent was lost",
                          fmt::format("{}: waiting for its answer", name), "qvctl status");
        throw Failure(timed_out, "no answer in time",
                      fmt::format("{}: accepted, but its callback did not come within {} ms", name,
                                  context.session.timeout().count()),
                      "give it more time with --timeout 30s");
    }
    context.session.disconnect();
    Json values = answers.front();
    check_answer(function, values);
    if (values.empty())
        return nullptr;
    return values.size() == 1 ? *values.begin() : values;
}

int watch(Context& context, const std::vector<Watched>& pairs, const Arguments& arguments)
{
    const Globals& globals = context.globals;
    context.session.connect();
    context.session.catch_signals();
    int seen = 0;
    bool over = false;
    std::vector<std::unique_ptr<Invocation>> registered;
    for (const Watched& pair : pairs) {
        const std::string event = event_name(pair.set);
        const auto sink = [&, event](std::string_view callback, const Json& values) {
            if (over)
                return;
            Json line = Json::object();
            line["time"] = now();
            line["callback"] = callback == "cb" ? event : std::string(callback);
            line.update(values);
            context.out.stream(line);
            if (!globals.exec.empty())
                run_for_event(globals.exec, line);
            over = (globals.limit > 0 && ++seen >= globals.limit)
                   || (!globals.until.empty() && holds(line, globals.until));
        };
        registered.push_back(std::make_unique<Invocation>(context.session, function_named(pair.set), sink));
        registered.back()->call(arguments);
    }
    const auto end = context.session.wait(
        [&] { return over; }, globals.has_timeout ? globals.timeout : std::chrono::milliseconds(0));
    if (end != Session::End::lost)
        for (const Watched& pair : pairs)
            if (!pair.unset.empty())
                Invocation(context.session, function_named(pair.unset)).call(arguments);
    context.session.disconnect();
    switch (end) {
        case Session::End::done:
            return ok;
        case Session::End::signalled:
            return signalled + context.session.signal();
        case Session::End::lost:
            throw Failure(lost, "the connection to the agent was lost", "while watching", "qvctl status");
        case Session::End::timed_out:
            break;
    }
    if (globals.until.empty() && globals.limit == 0)
        return ok;
    throw Failure(timed_out, "what was waited for did not come",
                  globals.until.empty() ? fmt::format("{} of {} events", seen, globals.limit)
                                        : fmt::format("--until {}", globals.until),
                  "give it more time with --timeout");
}

bool only_shown(Context& context, std::string_view name, const Arguments& arguments)
{
    const Function& function = function_named(name);
    if (!context.globals.code.empty())
        write_stdout(program_text(function, arguments, context.globals.code == "cpp"));
    else if (context.globals.dry_run)
        write_stdout(fmt::format("{}\n/* method {} */\n{}", call_text(function, arguments),
                                 fmt::join(methods_of(name), ", "),
                                 parcels_text(context, function, arguments)));
    else
        return false;
    return true;
}

}  // namespace quorvel::cli
