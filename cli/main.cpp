// The command line: the only place that knows the argument parser.
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "command.hpp"
#include "commands/complete.hpp"
#include "core/suggest.hpp"
#include "trace/record.hpp"
#include "trace/request.hpp"

namespace quorvel::cli {
namespace {

struct Given {
    Globals globals;
    std::string form = "table";
    bool json = false;
    std::vector<std::string> fields;
    std::string timeout;
    bool no_color = false;
    bool quiet = false;
    bool version = false;
    std::map<const Command*, std::map<std::string, std::vector<std::string>, std::less<>>> values;
    std::map<const Command*, std::map<std::string, bool, std::less<>>> flags;
};

const std::map<std::string, std::string, std::less<>>& noun_helps()
{
    static const std::map<std::string, std::string, std::less<>> helps{
        {"account", "The account, its token, signing in and out"},
        {"ui-metadata", "UI metadata of device models"},
        {"state", "The agent's state"},
        {"device", "Devices"},
        {"accessory", "Accessories"},
        {"group", "Groups and subgroups"},
        {"scene", "Scenes"},
        {"launch", "Conditions on which this application is launched"},
        {"notify", "Notifications"},
        {"cloud-state", "Whether devices are connected to the cloud"},
        {"resource", "Resources of devices"},
        {"resource attrs", "Attributes of resources"},
        {"file", "Files of devices"},
        {"signup", "Self sign-up"},
        {"push", "Third-party notifications"},
        {"push status", "The status of third-party notifications"},
        {"service", "Account services"},
        {"setup", "Onboarding of new devices"},
        {"internal", "Servers and suspending, for tests"},
        {"internal env", "The servers that are used"},
        {"udo", "URLs of user data"},
        {"core", "The core family: the cloud's own objects"},
        {"core location", "Locations"},
        {"core room", "Rooms"},
        {"core device", "Devices"},
        {"core device prefs", "Preferences of devices"},
        {"core device ir", "Infrared devices"},
        {"core group", "Device groups"},
        {"core favorite", "Favorites"},
        {"core favorite migration", "The migration of favorites"},
        {"core rule", "Rules"},
        {"core scene", "Scenes"},
        {"core app", "Installed apps"},
        {"core app install", "Installing apps"},
        {"core history", "What happened"},
        {"core hub", "Hubs"},
        {"core hub discover", "Looking for devices"},
        {"core events", "Server-sent events"},
        {"api", "The library's functions"},
        {"agent", "The reference agent"},
        {"home", "Home files"},
        {"sim", "Things that happen in the reference agent's home"},
        {"sim fault", "Faults of the reference agent"},
        {"sim snapshot", "Snapshots of the home"},
        {"sim enrollee", "Devices that wait to be onboarded"},
        {"trace", "Captured traffic"},
    };
    return helps;
}

std::chrono::milliseconds duration(const std::string& text)
{
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    const std::string unit(end);
    const double factor = unit == "ms"                   ? 1
                          : unit.empty() || unit == "s"  ? 1000
                          : unit == "m" || unit == "min" ? 60000
                          : unit == "h"                  ? 3600000
                                                         : -1;
    if (end == text.c_str() || factor < 0 || !(number > 0) || number * factor > 2e9)
        throw Failure(usage, fmt::format("'{}' is not a time", text), "--timeout", "e.g. 500ms, 10s or 2m");
    return std::chrono::milliseconds(static_cast<long long>(std::max(1.0, number * factor)));
}

CLI::App* below(CLI::App* app, const std::string& name)
{
    const auto found = app->get_subcommands([&](const CLI::App* sub) { return sub->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

CLI::App* noun_of(CLI::App& app, const std::string& path)
{
    CLI::App* here = &app;
    std::string so_far;
    for (const std::string& word : words_of(path)) {
        so_far += (so_far.empty() ? "" : " ") + word;
        CLI::App* next = below(here, word);
        if (next == nullptr) {
            const auto help = noun_helps().find(so_far);
            next = here->add_subcommand(word, help == noun_helps().end() ? "" : help->second);
            next->fallthrough();
            next->group("Commands");
        }
        here = next;
    }
    return here;
}

void add_command(CLI::App& app, const Command& command, Given& given, const Command*& chosen)
{
    CLI::App* sub = noun_of(app, command.path);
    sub->description(command.help);
    sub->group(command.hidden ? "" : "Commands");
    for (const Argument& argument : command.arguments) {
        if (argument.form == Argument::Form::flag) {
            sub->add_flag(argument.word, given.flags[&command][argument.name], argument.help);
            continue;
        }
        const bool option = argument.form == Argument::Form::option;
        CLI::Option* added = sub->add_option(option ? argument.word : argument.name,
                                             given.values[&command][argument.name], argument.help);
        added->required(argument.required)
            ->type_name(option ? "TEXT" : argument.word)
            ->allow_extra_args(false);
        if (argument.repeated)
            continue;
        if (argument.many)
            added->expected(1, 100000)->allow_extra_args(true);
        else
            added->expected(1);
    }
    sub->final_callback([&chosen, &command] { chosen = &command; });
}

void add_globals(CLI::App& app, Given& given)
{
    Globals& globals = given.globals;
    app.add_option("-o,--output", given.form, "table, json, jsonl or tsv")
        ->check(CLI::IsMember({"table", "json", "jsonl", "tsv"}));
    app.add_flag("--json", given.json, "Short for -o json");
    app.add_option("--fields", given.fields, "What to show of each thing, e.g. device_id,a.b")
        ->delimiter(',')
        ->allow_extra_args(false);
    app.add_option("--agent", globals.agent,
                   "sim[:HOME] for an agent of its own, running for none started on demand");
    app.add_option("--timeout", given.timeout, "How long an answer may take (10s); how long to watch");
    app.add_flag("--no-color", given.no_color, "No colours; the environment's NO_COLOR does the same");
    app.add_flag("-q,--quiet", given.quiet, "Only data, and errors");
    app.add_flag("-v,--verbose", globals.verbose, "The library's log on stderr");
    app.add_option("--trace", globals.trace, "Record what crosses the port into this file");
    app.add_flag("--secrets", globals.secrets, "Mask nothing in traces and in parcels that are shown");
    app.add_flag("--dry-run", globals.dry_run, "Print the C call and its parcels instead of making it");
    app.add_option("--code", globals.code, "Print a program that does the same: c or cpp")
        ->check(CLI::IsMember({"c", "cpp"}));
    app.add_option("--until", globals.until,
                   "Watch until PATH, PATH=VALUE, PATH!=VALUE, PATH<N or PATH>N holds");
    app.add_option("--limit", globals.limit, "Watch so many events")->check(CLI::PositiveNumber);
    app.add_option("--exec", globals.exec, "Run this for each event, with the event on its stdin");
    app.add_flag("--version", given.version, "Print the version");
}

// A word where a noun or verb should be, and none of that name: before the parser speaks of anything else.
void check_words(CLI::App& app, const std::vector<std::string>& words)
{
    CLI::App* here = &app;
    std::string path;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word == "--")
            return;
        if (word.size() > 1 && word[0] == '-') {
            const CLI::Option* option = app.get_option_no_throw(word.substr(0, word.find('=')));
            if (option != nullptr && option->get_items_expected_max() > 0
                && word.find('=') == std::string::npos)
                ++i;
            continue;
        }
        const auto subs = here->get_subcommands([](const CLI::App*) { return true; });
        if (subs.empty())
            return;
        CLI::App* next = below(here, word);
        if (next == nullptr) {
            std::vector<std::string> names;
            for (const CLI::App* sub : subs)
                if (!sub->get_group().empty())
                    names.push_back(sub->get_name());
            const std::string near = nearest(word, names);
            throw Failure(usage, fmt::format("'{}' is not a command", word), fmt::format("qvctl{}", path),
                          near.empty() ? fmt::format("qvctl{} --help", path)
                                       : fmt::format("did you mean 'qvctl{} {}'?", path, near));
        }
        path += " " + word;
        here = next;
    }
}

std::string path_of(const CLI::App* app)
{
    std::string path;
    for (; app->get_parent() != nullptr; app = app->get_parent())
        path.insert(0, " " + app->get_name());
    return "qvctl" + path;
}

const CLI::App* deepest(const CLI::App* app)
{
    while (!app->get_subcommands().empty())
        app = app->get_subcommands().front();
    return app;
}

Failure parse_failure(CLI::App& app, const CLI::ParseError& error, const std::vector<std::string>& words)
{
    const CLI::App* at = deepest(&app);
    std::string next = path_of(at) + " --help";
    for (const std::string& word : words) {
        if (!word.starts_with("--"))
            continue;
        const std::string name = word.substr(0, word.find('='));
        std::vector<std::string> names;
        bool known = false;
        for (const CLI::App* here = at; here != nullptr; here = here->get_parent())
            for (const CLI::Option* option : here->get_options())
                for (const std::string& one : option->get_lnames()) {
                    names.push_back("--" + one);
                    known = known || names.back() == name;
                }
        if (known)
            continue;
        if (const std::string near = nearest(name, names); !near.empty())
            next = fmt::format("did you mean '{}'?", near);
        return Failure(usage, fmt::format("there is no option '{}'", name), path_of(at), next);
    }
    std::string what = error.what();
    return Failure(usage, what.substr(0, what.find('\n')), path_of(at), next);
}

void report(const Failure& failure, bool json, bool colour)
{
    if (json) {
        std::string text =
            nlohmann::ordered_json{{"error",
                                    {{"what", failure.what()},
                                     {"why", failure.why},
                                     {"next", failure.next},
                                     {"code", failure.code ? nlohmann::ordered_json(*failure.code)
                                                           : nlohmann::ordered_json(nullptr)},
                                     {"exit_status", failure.status}}}}
                .dump(-1, ' ', false, Json::error_handler_t::replace);
        fmt::print(stderr, "{}\n", text);
        return;
    }
    const char* red = colour ? "\033[1;31m" : "";
    const char* plain = colour ? "\033[0m" : "";
    fmt::print(stderr, "{}qvctl: {}{}\n", red, failure.what(), plain);
    if (!failure.why.empty())
        fmt::print(stderr, "  where: {}\n", failure.why);
    if (!failure.next.empty())
        fmt::print(stderr, "  next:  {}\n", failure.next);
}

bool may_colour(const Given& given, int fd)
{
    const char* no_color = std::getenv("NO_COLOR");
    return !given.no_color && (no_color == nullptr || *no_color == '\0') && isatty(fd) != 0;
}

int run(int argc, char** argv)
{
    Given given;
    std::vector<std::string> words(argv + 1, argv + argc);
    try {
        if (!words.empty() && words[0] == "__complete")
            return complete({words.begin() + 1, words.end()});
        if (!words.empty() && words[0] == "__commands")
            return describe_commands();
        // So that the report of a mistake can be seen without one.
        if (!words.empty() && words[0] == "__bug")
            throw std::logic_error("__bug was asked for");
        if (!words.empty() && words[0] == "__answer")
            return answer_everything();
        if (words.size() == 2 && words[0] == "__call")
            return call_once(words[1]);
        CLI::App app("Control a smart home through its agent, from a shell", "qvctl");
        app.require_subcommand(0, 1);
        app.fallthrough();
        const Command* chosen = nullptr;
        add_globals(app, given);
        for (const Command& command : commands())
            add_command(app, command, given, chosen);
        app.footer("Exit status and everything else: man qvctl. Start with: qvctl status");
        for (std::size_t i = 0; i < words.size(); ++i)
            given.json = given.json || words[i] == "--json" || words[i] == "-ojson"
                         || words[i] == "--output=json"
                         || ((words[i] == "-o" || words[i] == "--output") && i + 1 < words.size()
                             && words[i + 1] == "json");
        check_words(app, words);
        try {
            app.parse(argc, argv);
        } catch (const CLI::CallForHelp&) {
            std::cout << deepest(&app)->help(
                path_of(deepest(&app)).substr(0, path_of(deepest(&app)).rfind(' ')));
            return ok;
        } catch (const CLI::ParseError& error) {
            throw parse_failure(app, error, words);
        }
        if (given.version) {
            fmt::print("qvctl {}\n", QVCTL_VERSION);
            return ok;
        }
        if (chosen == nullptr) {
            const CLI::App* at = deepest(&app);
            if (at != &app)
                throw Failure(usage, "a command is missing", path_of(at), path_of(at) + " --help");
            std::cout << app.help();
            return usage;
        }
        Globals& globals = given.globals;
        globals.has_timeout = !given.timeout.empty();
        if (globals.has_timeout)
            globals.timeout = duration(given.timeout);
        if (!globals.agent.empty() && globals.agent != "running" && globals.agent != "sim"
            && !globals.agent.starts_with("sim:"))
            throw Failure(usage, fmt::format("there is no agent '{}'", globals.agent), "--agent",
                          "sim, sim:HOME or running");
        setenv("QUORVEL_LOG", globals.verbose ? "*:info" : "*:silent", globals.verbose ? 1 : 0);
        if (const char* capture = std::getenv("QUORVEL_CAPTURE"); capture != nullptr)
            globals.capture_before = capture;
        Output output;
        output.form = given.json              ? Form::json
                      : given.form == "jsonl" ? Form::jsonl
                      : given.form == "tsv"   ? Form::tsv
                                              : Form::table;
        output.fields = given.fields;
        output.colour = may_colour(given, STDOUT_FILENO);
        winsize size{};
        if (isatty(STDOUT_FILENO) != 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0)
            output.width = size.ws_col;
        output.quiet = given.quiet;
        // The connection is closed before a trace of it is made.
        const auto run_chosen = [&] {
            Context context(globals, output);
            for (auto& [name, texts] : given.values[chosen])
                if (!texts.empty())
                    context.values[name] = texts;
            for (const auto& [name, set] : given.flags[chosen])
                if (set)
                    context.values[name] = {"true"};
            return chosen->run(context);
        };
        return globals.trace.empty() ? run_chosen()
                                     : trace::record_while(globals.trace, globals.secrets, run_chosen);
    } catch (const Failure& failure) {
        report(failure, given.json || given.form == "json", may_colour(given, STDERR_FILENO));
        return failure.status;
    } catch (const std::exception& error) {
        report(Failure(bug, "this is a mistake in qvctl", error.what(),
                       "please report it, with the command line"),
               given.json, may_colour(given, STDERR_FILENO));
        return bug;
    }
}

}  // namespace

const std::vector<Command>& commands()
{
    static const std::vector<Command> all = [] {
        std::vector<Command> list;
        for (const auto& part : {session_commands(), function_commands(), setup_commands(), api_commands(),
                                 simulator_commands(), trace_commands(), completion_commands()})
            list.insert(list.end(), part.begin(), part.end());
        return list;
    }();
    return all;
}

std::vector<std::string> words_of(std::string_view text)
{
    std::istringstream stream{std::string(text)};
    return {std::istream_iterator<std::string>(stream), {}};
}

std::string file_or_text(const std::string& text)
{
    if (text == "-")
        return {std::istreambuf_iterator<char>(std::cin), {}};
    if (!text.starts_with('@'))
        return text;
    std::ifstream file(text.substr(1));
    if (!file)
        throw Failure(usage, fmt::format("{} cannot be read", text.substr(1)), std::strerror(errno),
                      "@FILE takes the text from a file");
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace quorvel::cli

int main(int argc, char** argv)
{
    static_cast<void>(std::setlocale(LC_ALL, ""));
    return quorvel::cli::run(argc, argv);
}
