// The reference agent: the program, its home file, and what happens in its home.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

#include "command.hpp"
#include "core/control.hpp"
#include "core/suggest.hpp"

namespace quorvel::cli {
namespace {

// A command over the control socket. Words: NAME a value, NAME? one that may be missing; JSON:NAME an object,
// TEXT:NAME a text even when it looks like a number. More values follow as name=value.
struct Act {
    std::string_view path;
    std::string_view does;
    std::string_view help;
    std::string_view words = {};
};

constexpr Act acts[] = {
    {"sim status", "status", "Show the agent, its clients and its time"},
    {"sim home", "home", "Print the whole home"},
    {"sim set", "set", "A device reports a value by itself", "TEXT:device TEXT:attribute value"},
    {"sim press", "press", "A button is pressed: pushed, double or held", "TEXT:device TEXT:kind?"},
    {"sim push", "push", "A notification comes", "TEXT:kind TEXT:title TEXT:body"},
    {"sim health", "health", "The cloud loses or finds a device", "TEXT:device TEXT:state TEXT:detail?"},
    {"sim link", "link", "How well a device is reached: latency-ms=N jitter-ms=N drop=P online=BOOL",
     "TEXT:device"},
    {"sim firmware", "firmware", "A device was updated", "TEXT:device TEXT:version"},
    {"sim device-add", "device-add", "A device comes, as it stands in a home file", "JSON:device"},
    {"sim device-remove", "device-remove", "A device goes", "TEXT:device"},
    {"sim enrollee add", "enrollee-add", "A device waits to be onboarded", "JSON:enrollee"},
    {"sim enrollee remove", "enrollee-remove", "A device waits no longer", "TEXT:id"},
    {"sim enrollee list", "enrollee-list", "List the devices that wait"},
    {"sim sign", "sign", "The account signs in or out: on or off", "in"},
    {"sim cloud", "cloud", "The cloud is reachable or not: on or off", "up"},
    {"sim suspend", "suspend", "The agent is suspended or not: on or off", "on"},
    {"sim update", "update", "An update of the agent waits or not: on or off", "waiting"},
    {"sim caching", "caching", "The agent gathers its devices anew, for so many milliseconds", "ms"},
    {"sim tokens", "tokens", "Every token is renewed"},
    {"sim metadata", "metadata", "The UI metadata of a model changed", "TEXT:vid"},
    {"sim time", "time", "Move the home's clock: advance=5min, speed=60"},
    {"sim fault add", "fault-add", "Set a fault", "JSON:fault"},
    {"sim fault preset", "fault-preset", "Set several: slow, failing or hostile", "TEXT:name"},
    {"sim fault remove", "fault-remove", "Remove a fault", "id"},
    {"sim fault list", "fault-list", "List the faults that are set"},
    {"sim fault names", "fault-names", "List the faults that there are"},
    {"sim fault clear", "fault-clear", "Remove all faults"},
    {"sim snapshot save", "snapshot-save", "Keep the home in a file", "TEXT:file?"},
    {"sim snapshot load", "snapshot-load", "Go back to a home that was kept", "TEXT:file"},
    {"sim fire", "fire", "Let a callback come that nobody asked for: seq=N id=TEXT", "TEXT:delegate"},
    {"sim drop", "drop", "Close connections: of a client, or all", "client?"},
};

// true, 12 and {"a": 1} as what they are; on and off as a switch says them; everything else is text.
Json value_of(const std::string& text)
{
    const Json value = Json::parse(text, nullptr, false);
    return value.is_discarded() ? Json(text) : value;
}

Json switch_of(const std::string& text)
{
    return text == "on" || text == "yes"   ? Json(true)
           : text == "off" || text == "no" ? Json(false)
                                           : value_of(text);
}

Json tell(Context& context, const Json& request)
{
    context.session.prepare();
    return control(request, context.globals.timeout);
}

void show(Context& context, Json answer)
{
    // One sentence is enough when there is nothing else.
    if (answer.is_object() && answer.size() == 1 && answer.contains("did") && context.out.form == Form::table)
        return context.out.show(answer["did"]);
    // So is a list when it is all there is.
    const bool is_list = answer.is_object() && answer.size() == 1 && answer.begin()->is_array();
    context.out.show(is_list ? *answer.begin() : answer);
}

// More values: name=value.
void add_more(Json& request, const std::vector<std::string>& more)
{
    for (const std::string& pair : more) {
        const std::size_t equals = pair.find('=');
        if (equals == std::string::npos || equals == 0)
            throw Failure(usage, fmt::format("'{}' is not NAME=VALUE", pair), "qvctl sim",
                          "e.g. latency-ms=200");
        request[pair.substr(0, equals)] = value_of(pair.substr(equals + 1));
    }
}

Command command_of(const Act& act)
{
    Command command{std::string(act.path), std::string(act.help), {}, {}, {}};
    struct Word {
        std::string name;
        std::string form;
    };
    std::vector<Word> words;
    for (std::string token : words_of(act.words)) {
        const bool required = !token.ends_with('?');
        if (!required)
            token.pop_back();
        const std::size_t colon = token.find(':');
        Word word{token.substr(colon == std::string::npos ? 0 : colon + 1),
                  colon == std::string::npos ? "" : token.substr(0, colon)};
        std::string shown = word.form == "JSON" ? "JSON" : word.name;
        std::ranges::transform(shown, shown.begin(), [](unsigned char c) { return std::toupper(c); });
        command.arguments.push_back({word.name, shown, word.form == "JSON" ? "as JSON, @FILE or -" : "",
                                     Argument::Form::positional, required});
        words.push_back(std::move(word));
    }
    command.arguments.push_back(
        {"more", "NAME=VALUE", "more of the command's values", Argument::Form::positional, false, true});
    const bool is_switch =
        act.words == "in" || act.words == "up" || act.words == "on" || act.words == "waiting";
    command.run = [does = std::string(act.does), words, is_switch](Context& context) {
        Json request{{"do", does}};
        for (const Word& word : words) {
            if (!context.has(word.name))
                continue;
            std::string text = context.text(word.name);
            if (word.form == "JSON")
                text = file_or_text(text);
            Json value = word.form == "TEXT" ? Json(text) : is_switch ? switch_of(text) : value_of(text);
            if (word.form == "JSON" && !value.is_object())
                throw Failure(usage, "a JSON object is needed", fmt::format("qvctl sim {}: {}", does, text),
                              "e.g. '{\"id\": \"lamp-9\", \"name\": \"Lamp\", \"model\": \"light.color\"}'");
            // The agent runs in another directory.
            if (word.name == "file")
                value = std::filesystem::absolute(text).string();
            request[word.name] = std::move(value);
        }
        add_more(request, context.texts("more"));
        if (context.globals.dry_run) {
            write_stdout(request.dump() + "\n");
            return static_cast<int>(ok);
        }
        show(context, tell(context, request));
        return static_cast<int>(ok);
    };
    return command;
}

// Any command, also one that this qvctl does not know.
int sim_do(Context& context)
{
    const std::string text = file_or_text(context.text("command"));
    Json request = value_of(text);
    if (!request.is_object())
        request = {{"do", text}};
    add_more(request, context.texts("more"));
    show(context, tell(context, request));
    return ok;
}

int agent_start(Context& context)
{
    if (listens(agent_socket())) {
        context.out.note("the agent is running already");
        return ok;
    }
    std::vector<std::string> words{agent_program()};
    for (const char* option : {"home", "state"})
        if (context.has(option)) {
            words.push_back(fmt::format("--{}", option));
            // What is installed is started from anywhere.
            words.push_back(std::filesystem::absolute(context.text(option)).string());
        }
    std::error_code error;
    std::filesystem::create_directories(state_directory(), error);
    if (installed_agent().empty()) {
        auto install = words;
        install.emplace_back("--install");
        if (const int status = run_program(install, agent_log()); status != ok)
            throw Failure(status == 6 ? bad_argument : no_agent, "the agent cannot be installed",
                          fmt::format("{} ended with status {}", words[0], status), "qvctl agent log");
    }
    start_program(words, true, agent_log());
    const auto end = std::chrono::steady_clock::now() + context.globals.timeout;
    while (!listens(agent_socket())) {
        if (std::chrono::steady_clock::now() > end)
            throw Failure(no_agent, "the agent does not start",
                          fmt::format("{} is not listening at {}", words[0], agent_socket().string()),
                          "qvctl agent log");
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    context.out.note(fmt::format("started; its log is {}", agent_log().string()));
    return ok;
}

int agent_stop(Context& context)
{
    show(context, control({{"do", "stop"}}, context.globals.timeout));
    return ok;
}

int agent_status(Context& context)
{
    show(context, tell(context, {{"do", "status"}}));
    return ok;
}

int agent_log_run(Context& context)
{
    if (!std::filesystem::exists(agent_log()))
        throw Failure(no_data, "there is no log", agent_log().string(),
                      "an agent that was started on demand has one");
    std::vector<std::string> words{"tail", "-n", context.text("lines", "200")};
    if (context.has("follow"))
        words.emplace_back("-f");
    words.push_back(agent_log());
    return run_program(words);
}

int home_check(Context& context)
{
    const int status = run_program({agent_program(), "--check", "--home", context.text("file")});
    if (status == 127)
        throw Failure(no_agent, "the agent's program is not there", agent_program().string(),
                      "QVCTL_AGENT_PROGRAM names it");
    return status == ok ? ok : status == 6 ? bad_argument : status;
}

int home_export(Context& context)
{
    Json home = tell(context, {{"do", "home"}});
    if (home.contains("home"))
        home = home["home"];
    Output json = context.out;
    json.form = Form::json;
    json.show(home);
    return ok;
}

int home_import(Context& context)
{
    std::error_code error;
    const auto file = std::filesystem::absolute(context.text("file"), error);
    show(context, tell(context, {{"do", "snapshot-load"}, {"file", file.string()}}));
    return ok;
}

}  // namespace

std::vector<Command> simulator_commands()
{
    const Argument file{"file", "FILE", "a home file"};
    const auto option = [](const char* name, const char* word, const char* help, Argument::Form form) {
        return Argument{name, word, help, form, false};
    };
    std::vector<Command> list{
        {"agent start",
         "Start the reference agent, and install it if it is not",
         {option("home", "--home", "the home file (the built-in home)", Argument::Form::option),
          option("state", "--state", "keep the home in this file", Argument::Form::option)},
         {},
         agent_start},
        {"agent stop", "Stop the reference agent", {}, {}, agent_stop},
        {"agent status", "Show the reference agent's state", {}, {}, agent_status},
        {"agent log",
         "Show the log of the agent",
         {option("follow", "-f,--follow", "go on as it grows", Argument::Form::flag),
          option("lines", "--lines", "how many lines (200)", Argument::Form::option)},
         {},
         agent_log_run},
        {"home check", "Check a home file", {file}, {}, home_check},
        {"home export", "Print the agent's home as a home file", {}, {}, home_export},
        {"home import", "Let the agent go on with this home", {file}, {}, home_import},
        {"sim do",
         "Send any command to the control socket",
         {{"command", "COMMAND", "its name, or the whole request as JSON"},
          {"more", "NAME=VALUE", "its values", Argument::Form::positional, false, true}},
         {},
         sim_do},
    };
    for (const Act& act : acts)
        list.push_back(command_of(act));
    return list;
}

}  // namespace quorvel::cli
