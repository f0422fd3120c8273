// The library itself: its functions, and a way to call each of them by its name.
#include <fmt/format.h>

#include <algorithm>

#include "commands/run.hpp"
#include "core/raw.hpp"
#include "trace/request.hpp"

namespace quorvel::cli {
namespace {

std::string_view role_name(Role role)
{
    return role == Role::call ? "call" : role == Role::accessor ? "accessor" : "destroyer";
}

// The command that uses a function, if there is one.
std::string command_for(std::string_view function)
{
    for (const Command& command : commands())
        if (std::ranges::find(command.functions, function) != command.functions.end())
            return "qvctl " + command.path;
    return {};
}

Json row_of(const Function& function)
{
    return {{"function", function.name},
            {"header", function.header},
            {"agent", function.agent},
            {"role", role_name(function.role)},
            {"command", command_for(function.name)},
            {"help", function.help}};
}

int api_list(Context& context)
{
    Json rows = Json::array();
    for (const Function& function : functions())
        rows.push_back(row_of(function));
    context.out.show(rows, {"function", "agent", "role", "command"});
    return ok;
}

std::string lower(std::string_view text)
{
    std::string copy(text);
    std::ranges::transform(copy, copy.begin(), [](unsigned char c) { return std::tolower(c); });
    return copy;
}

int api_search(Context& context)
{
    const std::string word = lower(context.text("word"));
    Json rows = Json::array();
    for (const Function& function : functions())
        if (lower(function.name).find(word) != std::string::npos
            || lower(function.help).find(word) != std::string::npos)
            rows.push_back(row_of(function));
    if (rows.empty())
        throw Failure(no_data, fmt::format("no function knows '{}'", word),
                      "names and descriptions of the functions", "qvctl api list");
    context.out.show(rows, {"function", "command", "help"});
    return ok;
}

int api_show(Context& context)
{
    const Function& function = function_named(context.text("name"));
    Json value = row_of(function);
    value["signature"] = function.signature;
    Json parameters = Json::array();
    for (const Parameter& parameter : function.parameters) {
        Json one{{"name", parameter.name}, {"type", parameter.type}, {"help", parameter.help}};
        if (parameter.enumeration != nullptr)
            for (const Enumerator& enumerator : parameter.enumeration->values)
                one["values"][std::string(enumerator.name)] = enumerator.value;
        if (parameter.record != nullptr)
            for (const Property& property : parameter.record->properties)
                one["properties"].push_back(property.name);
        parameters.push_back(std::move(one));
    }
    if (context.out.form != Form::table) {
        value["parameters"] = parameters;
        context.out.show(value);
        return ok;
    }
    std::string text = fmt::format("{}\n\n    {};\n    #include <{}>\n\n", function.help, function.signature,
                                   function.header);
    for (const Json& parameter : parameters) {
        text += fmt::format("    {:<16} {}\n", parameter["name"].get<std::string>(),
                            parameter["help"].get<std::string>());
        if (parameter.contains("values"))
            text += fmt::format("    {:<16} {}\n", "", parameter["values"].dump());
        if (parameter.contains("properties"))
            text += fmt::format("    {:<16} {}\n", "", parameter["properties"].dump());
    }
    text += fmt::format("\nAgent {} or newer.", function.agent);
    if (const std::string command = command_for(function.name); !command.empty())
        text += fmt::format(" As a command: {}", command);
    write_stdout(text + "\n");
    return ok;
}

int call(Context& context)
{
    const Function& function = function_named(context.text("function"));
    if (function.role != Role::call || function.name == "quorvel_client_connect"
        || function.name == "quorvel_client_disconnect")
        throw Failure(usage, fmt::format("{} is not called by hand", function.name),
                      "qvctl connects, reads records and releases them by itself",
                      "qvctl api list shows the others");
    const std::vector<std::string> given = context.texts("arguments");
    Arguments arguments;
    std::size_t at = 0;
    std::string wanted;
    for (const Parameter& parameter : function.parameters) {
        if (!Invocation::takes(parameter))
            continue;
        const std::string name(parameter.name);
        wanted += (wanted.empty() ? "" : " ") + name;
        if (parameter.kind == Kind::texts) {
            // A list is one argument: JSON, or words between commas.
            const std::string text = at < given.size() ? given[at++] : "";
            Json list = text_or_json(text.c_str());
            if (!list.is_array()) {
                list = Json::array();
                for (std::size_t begin = 0; begin < text.size();) {
                    const std::size_t comma = std::min(text.find(',', begin), text.size());
                    list.push_back(text.substr(begin, comma - begin));
                    begin = comma + 1;
                }
            }
            arguments[name] = list;
        } else if (at < given.size()) {
            const std::string& text = given[at++];
            arguments[name] =
                parameter.kind == Kind::record ? text_or_json(file_or_text(text).c_str()) : Json(text);
        } else if (parameter.kind != Kind::text) {
            throw Failure(usage, fmt::format("the argument {} is missing", name),
                          std::string(function.signature),
                          fmt::format("qvctl call {} {}", function.name, wanted));
        }
    }
    if (at < given.size())
        throw Failure(usage, fmt::format("'{}' is one argument too many", given[at]),
                      std::string(function.signature),
                      fmt::format("qvctl call {} {}", function.name, wanted));
    if (only_shown(context, function.name, arguments))
        return ok;
    if (Invocation::streams(function))
        return watch(context, {{std::string(function.name), ""}}, arguments);
    context.out.show(ask(context, function.name, arguments));
    return ok;
}

int raw(Context& context)
{
    const std::string method = context.text("method");
    if (method.empty()) {
        context.out.show(raw_request("", {}), {"id", "method", "family"});
    } else if (context.globals.dry_run) {
        context.out.show(raw_request(method, context.texts("arguments")));
        if (context.out.form == Form::table)
            write_stdout(parcels_text(context, method, context.texts("arguments")));
    } else {
        context.out.show(raw_call(context.session, method, context.texts("arguments"), context.globals.limit,
                                  context.globals.has_timeout));
    }
    return ok;
}

}  // namespace

std::vector<Command> api_commands()
{
    return {
        {"api list", "List the library's functions", {}, {}, api_list},
        {"api show", "Show a function", {{"name", "FUNCTION", "its name"}}, {}, api_show},
        {"api search",
         "Look for functions",
         {{"word", "WORD", "part of a name or a description"}},
         {},
         api_search},
        {"call",
         "Call any function of the library",
         {{"function", "FUNCTION", "its name"},
          {"arguments", "ARG",
           "its arguments without handle, callbacks and what it hands out; texts may be left out "
           "(NULL)",
           Argument::Form::positional, false, true}},
         {},
         call},
        {"raw",
         "Call a method of the agent without the library; list the methods",
         {{"method", "METHOD", "its name or number; all of them when missing", Argument::Form::positional,
           false},
          {"arguments", "ARG", "its values: texts as they are, everything else as JSON",
           Argument::Form::positional, false, true}},
         {},
         raw},
    };
}

}  // namespace quorvel::cli
