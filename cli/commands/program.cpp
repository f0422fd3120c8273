#include "commands/program.hpp"

#include <fmt/format.h>

#include <set>

namespace quorvel::cli {
namespace {

std::string text_literal(const std::string& text)
{
    return Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
}

bool is_true(const Json& value)
{
    const std::string text = text_of(value);
    return text == "true" || text == "on" || text == "yes" || text == "1";
}

Json given(const Arguments& arguments, const Parameter& parameter)
{
    const auto found = arguments.find(parameter.name);
    return found == arguments.end() ? Json(nullptr) : found->second;
}

std::string constant_of(const Json& value, const Parameter& parameter)
{
    const int number = value.is_null() ? 0 : number_of(value, parameter);
    if (parameter.enumeration != nullptr)
        for (const Enumerator& one : parameter.enumeration->values)
            if (one.value == number)
                return std::string(one.constant);
    return std::to_string(number);
}

// Names of variables that other parameters of the program have already.
std::string variable(const Parameter& parameter)
{
    return std::string(parameter.name);
}

// The arguments as C, one text each.
std::vector<std::string> argument_texts(const Function& function, const Arguments& arguments, bool cpp)
{
    std::vector<std::string> texts;
    for (const Parameter& parameter : function.parameters) {
        const Json value = given(arguments, parameter);
        switch (parameter.kind) {
            case Kind::client:
                texts.emplace_back("client");
                break;
            case Kind::text:
                texts.push_back(value.is_null() ? cpp ? "nullptr" : "NULL" : text_literal(text_of(value)));
                break;
            case Kind::texts:
                texts.push_back(variable(parameter));
                texts.push_back(std::to_string(value.size()));
                break;
            case Kind::integer:
                texts.push_back(constant_of(value, parameter));
                break;
            case Kind::boolean:
                texts.emplace_back(is_true(value) ? "true" : "false");
                break;
            case Kind::record:
                texts.push_back(variable(parameter));
                break;
            case Kind::callback:
                texts.push_back("on_" + variable(parameter));
                break;
            case Kind::user_data:
                texts.emplace_back(cpp ? "nullptr" : "NULL");
                break;
            case Kind::out_texts:
            case Kind::out_records:
                texts.push_back("&" + variable(parameter));
                texts.emplace_back("&count");
                break;
            case Kind::client_out:
            case Kind::out_text:
            case Kind::out_integer:
            case Kind::out_boolean:
            case Kind::out_record:
            case Kind::long_integer:
            case Kind::records:
            case Kind::owned_texts:
            case Kind::none:
                texts.push_back("&" + variable(parameter));
                break;
        }
    }
    return texts;
}

std::string call_of(const Function& function, const Arguments& arguments, bool cpp)
{
    return fmt::format("{}({})", function.name, fmt::join(argument_texts(function, arguments, cpp), ", "));
}

std::string c_type(const Parameter& parameter, std::string_view name)
{
    const std::string type(parameter.type);
    return type + " " + std::string(name);
}

// A callback that prints what it is given, releases what it owns, and ends the loop unless it goes on.
std::string callback_text(const Parameter& parameter, bool streams)
{
    std::string list, body;
    for (const Parameter& one : parameter.callback->parameters) {
        list += (list.empty() ? "" : ", ") + c_type(one, one.name);
        const std::string name(one.name);
        switch (one.kind) {
            case Kind::text:
                body += fmt::format("    printf(\"{0}: %s\\n\", {0} ? {0} : \"\");\n", name);
                break;
            case Kind::integer:
            case Kind::boolean:
                body += fmt::format("    printf(\"{0}: %d\\n\", {0});\n", name);
                break;
            case Kind::long_integer:
                body += fmt::format("    printf(\"{0}: %lld\\n\", {0});\n", name);
                break;
            case Kind::record:
                body += fmt::format("    {}({});\n", one.record->destroy_name, name);
                break;
            case Kind::records:
                list += ", int count";
                body += fmt::format(
                    "    printf(\"{0}: %d\\n\", count);\n    for (int i = 0; i < count; i++)\n        {1}({0}[i]);\n    free({0});\n",
                    name, one.record->destroy_name);
                break;
            case Kind::owned_texts:
                list += ", int count";
                body += fmt::format(
                    "    for (int i = 0; i < count; i++) {{\n        printf(\"{0}: %s\\n\", {0}[i]);\n        free({0}[i]);\n    }}\n    free({0});\n",
                    name);
                break;
            case Kind::client:
            case Kind::client_out:
            case Kind::texts:
            case Kind::callback:
            case Kind::user_data:
            case Kind::out_text:
            case Kind::out_texts:
            case Kind::out_integer:
            case Kind::out_boolean:
            case Kind::out_record:
            case Kind::out_records:
            case Kind::none:
                break;
        }
    }
    return fmt::format("static void on_{}({})\n{{\n    (void)user_data;\n{}{}}}\n\n", parameter.name, list,
                       body, streams ? "    fflush(stdout);\n" : "    g_main_loop_quit(loop);\n");
}

std::string before_call(const Function& function, const Arguments& arguments, bool cpp)
{
    const std::string null = cpp ? "nullptr" : "NULL";
    std::string text;
    for (const Parameter& parameter : function.parameters) {
        const Json value = given(arguments, parameter);
        const std::string type(
            parameter.type.substr(0, parameter.type.size() - (parameter.type.ends_with('*') ? 1 : 0)));
        switch (parameter.kind) {
            case Kind::texts: {
                std::vector<std::string> items;
                for (const Json& one : value)
                    items.push_back(text_literal(text_of(one)));
                text += fmt::format("    const char* const {}[] = {{{}}};\n", parameter.name,
                                    fmt::join(items, ", "));
                break;
            }
            case Kind::record:
                text += fmt::format("    {} {} = {};\n    {}(&{});\n", parameter.type, parameter.name, null,
                                    parameter.record->create_name, parameter.name);
                for (const auto& [name, one] : value.items())
                    for (const Property& property : parameter.record->properties)
                        if (property.name == name)
                            text +=
                                fmt::format("    {}({}, {}, {});\n", parameter.record->set_text_name,
                                            parameter.name, property.constant, text_literal(text_of(one)));
                break;
            case Kind::out_text:
            case Kind::out_record:
                text += fmt::format("    {} {} = {};\n", type, parameter.name, null);
                break;
            case Kind::out_texts:
            case Kind::out_records:
                text += fmt::format("    {} {} = {};\n    int count = 0;\n", type, parameter.name, null);
                break;
            case Kind::out_integer:
                text += fmt::format("    int {} = 0;\n", parameter.name);
                break;
            case Kind::out_boolean:
                text += fmt::format("    bool {} = false;\n", parameter.name);
                break;
            case Kind::client:
            case Kind::client_out:
            case Kind::text:
            case Kind::integer:
            case Kind::long_integer:
            case Kind::boolean:
            case Kind::records:
            case Kind::owned_texts:
            case Kind::callback:
            case Kind::user_data:
            case Kind::none:
                break;
        }
    }
    return text;
}

std::string after_call(const Function& function)
{
    std::string text;
    for (const Parameter& parameter : function.parameters) {
        const std::string name(parameter.name);
        switch (parameter.kind) {
            case Kind::out_text:
                text += fmt::format("        printf(\"{0}: %s\\n\", {0} ? {0} : \"\");\n        free({0});\n",
                                    name);
                break;
            case Kind::out_integer:
            case Kind::out_boolean:
                text += fmt::format("        printf(\"{0}: %d\\n\", {0});\n", name);
                break;
            case Kind::out_record:
                text += fmt::format(
                    "        printf(\"{0}: %s\\n\", {0} ? \"there\" : \"none\");\n        {1}({0});\n", name,
                    parameter.record->destroy_name);
                break;
            case Kind::out_records:
                text += fmt::format(
                    "        printf(\"{0}: %d\\n\", count);\n        for (int i = 0; i < count; i++)\n            {1}({0}[i]);\n        free({0});\n",
                    name, parameter.record->destroy_name);
                break;
            case Kind::out_texts:
                text += fmt::format(
                    "        for (int i = 0; i < count; i++) {{\n            printf(\"{0}: %s\\n\", {0}[i]);\n            free({0}[i]);\n        }}\n        free({0});\n",
                    name);
                break;
            case Kind::client:
            case Kind::client_out:
            case Kind::text:
            case Kind::texts:
            case Kind::integer:
            case Kind::long_integer:
            case Kind::boolean:
            case Kind::record:
            case Kind::records:
            case Kind::owned_texts:
            case Kind::callback:
            case Kind::user_data:
            case Kind::none:
                break;
        }
    }
    return text;
}

}  // namespace

std::string call_text(const Function& function, const Arguments& arguments)
{
    return call_of(function, arguments, false) + ";";
}

std::string program_text(const Function& function, const Arguments& arguments, bool cpp)
{
    const bool streams = Invocation::streams(function);
    std::string callbacks, releases;
    std::set<std::string_view> headers{function.header, "quorvel_client.h"};
    for (const Parameter& parameter : function.parameters) {
        if (parameter.kind == Kind::callback)
            callbacks += callback_text(parameter, streams);
        if (parameter.kind == Kind::record)
            releases += fmt::format("    {}({});\n", parameter.record->destroy_name, parameter.name);
    }
    const std::string null = cpp ? "nullptr" : "NULL";
    std::string text = cpp ? "#include <cstdio>\n#include <cstdlib>\n"
                           : "#include <stdbool.h>\n#include <stdio.h>\n#include <stdlib.h>\n";
    text += "\n#include <glib.h>\n\n";
    for (const std::string_view header : headers)
        text += fmt::format("#include <{}>\n", header);
    text += fmt::format(
        "\nstatic GMainLoop* loop = {0};\nstatic quorvel_client_h client = {0};\nstatic int status = 0;\n\n",
        null);
    text += callbacks;
    text += "static void run(void)\n{\n" + before_call(function, arguments, cpp);
    text += fmt::format("    status = {};\n", call_of(function, arguments, cpp));
    text += fmt::format(
        "    if (status != QUORVEL_CLIENT_ERROR_NONE) {{\n        fprintf(stderr, \"{}: %d\\n\", status);\n        g_main_loop_quit(loop);\n    }} else {{\n{}{}    }}\n",
        function.name, after_call(function),
        callbacks.empty() ? "        g_main_loop_quit(loop);\n"
                          : "        /* The callback tells the rest. */\n");
    text += releases + "}\n\n";
    text +=
        "static void state_changed(int result, int state, void* user_data)\n{\n    (void)result;\n    (void)user_data;\n"
        "    if (state == QUORVEL_CLIENT_CONNECTION_CONNECTED) {\n        run();\n    } else {\n        status = 1;\n        g_main_loop_quit(loop);\n    }\n}\n\n";
    text += fmt::format(
        "int main({})\n{{\n    loop = g_main_loop_new({}, FALSE);\n"
        "    status = quorvel_client_connect(&client, state_changed, {});\n"
        "    if (status == QUORVEL_CLIENT_ERROR_NONE) {{\n        g_main_loop_run(loop);\n        quorvel_client_disconnect(client);\n    }}\n"
        "    g_main_loop_unref(loop);\n    return status == 0 ? 0 : 1;\n}}\n",
        cpp ? "" : "void", null, null);
    return text;
}

}  // namespace quorvel::cli
