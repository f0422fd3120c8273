#include "commands/complete.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "commands/run.hpp"
#include "core/suggest.hpp"

namespace quorvel::cli {
namespace {

// What lists the things that a parameter names, and which property is the id.
struct Source {
    std::string_view parameter;
    std::string_view function;
    std::string_view property;
    bool by_location;
};

constexpr Source sources[] = {
    {"device_id", "quorvel_client_get_device_list", "device_id", false},
    {"device_ids", "quorvel_client_get_device_list", "device_id", false},
    {"device", "quorvel_client_get_device_list", "device_id", false},
    {"hub_id", "quorvel_client_get_device_list", "device_id", false},
    {"scene_id", "quorvel_client_get_scene_list", "scene_id", false},
    {"location_id", "quorvel_core_get_location_list", "location_id", false},
    {"room_id", "quorvel_core_get_room_list", "room_id", true},
    {"rule_id", "quorvel_core_get_rule_list", "rule_id", true},
    {"favorite_id", "quorvel_core_get_favorite_list", "favorite_id", true},
    {"installed_app_id", "quorvel_core_get_installed_app_list", "installed_app_id", false},
};

constexpr std::string_view global_options[] = {"--output",   "--json",   "--fields",  "--agent", "--timeout",
                                               "--no-color", "--quiet",  "--verbose", "--trace", "--secrets",
                                               "--dry-run",  "--code",   "--help",    "--until", "--limit",
                                               "--exec",     "--version"};
constexpr std::string_view with_value[] = {"-o",      "--output", "--fields", "--agent", "--timeout",
                                           "--trace", "--code",   "--until",  "--limit", "--exec"};

std::vector<std::string> ids(const Source& source)
{
    std::vector<std::string> list;
    // A shell waits for this: only an agent that runs is asked, and not for long.
    Globals globals;
    globals.agent = "running";
    globals.timeout = std::chrono::milliseconds(1500);
    Context context(globals, {});
    try {
        Json locations = Json::array({""});
        if (source.by_location) {
            locations = Json::array();
            for (const Json& location : ask(context, "quorvel_core_get_location_list"))
                locations.push_back(location.value("location_id", ""));
        }
        for (const Json& location : locations) {
            Arguments arguments;
            if (source.by_location) {
                arguments["location_id"] = location;
                arguments["visibility"] = "";
            }
            for (const Json& one : ask(context, source.function, arguments))
                list.push_back(one.value(std::string(source.property), ""));
        }
    } catch (const Failure&) {
        return list;
    }
    return list;
}

std::vector<std::string> values_of(const Command& command, const Argument& argument)
{
    if (const auto* source = std::ranges::find(sources, argument.name, &Source::parameter);
        source != std::end(sources))
        return ids(*source);
    std::vector<std::string> list;
    if (argument.name == "function" || argument.word == "FUNCTION")
        for (const Function& function : functions())
            list.emplace_back(function.name);
    if (command.path == "explain")
        for (const CodeRow& row : codes())
            list.emplace_back(row.name.substr(21));
    if (argument.word == "SHELL")
        return {"bash", "zsh", "fish"};
    for (const std::string& name : command.functions)
        for (const Parameter& parameter : function_named(name).parameters)
            if (parameter.name == argument.name && parameter.enumeration != nullptr)
                for (const Enumerator& one : parameter.enumeration->values)
                    list.emplace_back(one.name);
    if (command.path == "group show" || (argument.name == "group_id" && command.path.starts_with("group")))
        return ids({"", "quorvel_client_get_group_list", "group_id", false});
    if (argument.name == "group_id" && command.path.starts_with("core group"))
        return ids({"", "quorvel_core_get_device_group_list", "group_id", false});
    return list;
}

// The words of the line that are not options and not their values.
std::vector<std::string> plain_words(const std::vector<std::string>& words)
{
    std::vector<std::string> plain;
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        if (words[i].starts_with('-')) {
            if (std::ranges::find(with_value, words[i]) != std::end(with_value))
                ++i;
            continue;
        }
        plain.push_back(words[i]);
    }
    return plain;
}

const char* script_of(const std::string& shell)
{
    if (shell == "bash")
        return R"(_qvctl() {
    local IFS=$'\n'
    COMPREPLY=($(qvctl __complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null))
}
complete -o default -F _qvctl qvctl
)";
    if (shell == "zsh")
        return R"(#compdef qvctl
_qvctl() {
    local -a replies
    replies=("${(@f)$(qvctl __complete "${(@)words[2,CURRENT]}" 2>/dev/null)}")
    compadd -- $replies
}
if [ "$funcstack[1]" = "_qvctl" ]; then
    _qvctl "$@"
else
    compdef _qvctl qvctl
fi
)";
    if (shell == "fish")
        return R"(function __qvctl_complete
    set -l words (commandline -opc) (commandline -ct)
    qvctl __complete $words[2..-1] 2>/dev/null
end
complete -c qvctl -f -a '(__qvctl_complete)'
)";
    return nullptr;
}

int completion(Context& context)
{
    const std::string shell = context.text("shell");
    const char* script = script_of(shell);
    if (script == nullptr) {
        const std::string near = nearest(shell, {"bash", "zsh", "fish"});
        throw Failure(usage, fmt::format("there is no completion for '{}'", shell), "bash, zsh and fish",
                      near.empty() ? "qvctl completion bash" : fmt::format("did you mean '{}'?", near));
    }
    write_stdout(script);
    return ok;
}

}  // namespace

int complete(const std::vector<std::string>& words)
{
    setenv("QUORVEL_LOG", "*:silent", 0);
    const std::string last = words.empty() ? "" : words.back();
    std::vector<std::string> plain = plain_words(words);
    // The command whose path the words begin with; else the words that may follow.
    std::set<std::string> replies;
    const Command* found = nullptr;
    std::size_t length = 0;
    for (const Command& command : commands()) {
        if (command.hidden)
            continue;
        const std::vector<std::string> path = words_of(command.path);
        const std::size_t common = std::min(path.size(), plain.size());
        if (!std::equal(path.begin(), path.begin() + static_cast<std::ptrdiff_t>(common), plain.begin()))
            continue;
        if (path.size() <= plain.size()) {
            found = &command;
            length = path.size();
        } else {
            replies.insert(path[plain.size()]);
        }
    }
    if (last.starts_with('-')) {
        replies.clear();
        replies.insert(std::begin(global_options), std::end(global_options));
        if (found != nullptr)
            for (const Argument& argument : found->arguments)
                if (argument.form != Argument::Form::positional)
                    replies.insert(argument.word.substr(argument.word.rfind(',') + 1));
    } else if (words.size() > 1
               && (words[words.size() - 2] == "-o" || words[words.size() - 2] == "--output")) {
        replies = {"table", "json", "jsonl", "tsv"};
    } else if (found != nullptr) {
        replies.clear();
        const std::string before = words.size() > 1 ? words[words.size() - 2] : "";
        std::size_t position = plain.size() - length;
        for (const Argument& argument : found->arguments) {
            const bool here = argument.form == Argument::Form::positional
                                  ? (position == 0 || argument.many) && !before.starts_with("--")
                                  : argument.form == Argument::Form::option && argument.word == before;
            if (here)
                for (const std::string& value : values_of(*found, argument))
                    replies.insert(value);
            if (argument.form == Argument::Form::positional && position-- == 0)
                break;
        }
    }
    for (const std::string& reply : replies)
        if (reply.starts_with(last))
            write_stdout(reply + "\n");
    return ok;
}

int describe_commands()
{
    for (const Command& command : commands()) {
        Json arguments = Json::array();
        for (const Argument& argument : command.arguments)
            arguments.push_back({{"word", argument.word},
                                 {"option", argument.form != Argument::Form::positional},
                                 {"required", argument.required},
                                 {"many", argument.many || argument.repeated}});
        write_stdout(Json{{"command", command.path},
                          {"help", command.help},
                          {"functions", command.functions},
                          {"arguments", arguments}}
                         .dump()
                     + "\n");
    }
    for (const std::string_view option : global_options)
        write_stdout(Json{{"option", option}}.dump() + "\n");
    for (const StatusRow& row : statuses())
        write_stdout(Json{{"status", row.status}, {"meaning", row.meaning}}.dump() + "\n");
    return ok;
}

std::vector<Command> completion_commands()
{
    return {{"completion",
             "Print the completion for a shell",
             {{"shell", "SHELL", "bash, zsh or fish"}},
             {},
             completion}};
}

}  // namespace quorvel::cli
