// What a command is, and what its body gets. A noun adds its commands here; main.cpp makes the command line.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "core/failure.hpp"
#include "core/output.hpp"
#include "core/session.hpp"

namespace quorvel::cli {

struct Argument {
    enum class Form { positional, option, flag };

    std::string name;  // how the body asks for it
    std::string word;  // DEVICE, or --location
    std::string help;
    Form form = Form::positional;
    bool required = true;
    bool many = false;
    bool repeated = false;   // an option that may stand several times, with a value each time
    bool from_file = false;  // @FILE and - stand for what is in the file or comes on stdin
};

struct Globals {
    std::string agent;
    std::chrono::milliseconds timeout{10000};
    bool has_timeout = false;
    bool verbose = false;
    bool dry_run = false;
    std::string code;  // --code: "", "c" or "cpp"
    std::string trace;
    std::string capture_before;  // what the environment recorded into without us
    bool secrets = false;        // --secrets: nothing is masked
    std::string until;
    int limit = 0;
    std::string exec;
};

class Context {
public:
    Context(Globals given, Output output)
        : globals(std::move(given)), out(std::move(output)), session({globals.agent, globals.timeout})
    {
    }

    Globals globals;
    Output out;
    Session session;
    std::map<std::string, std::vector<std::string>, std::less<>> values;

    [[nodiscard]] bool has(std::string_view name) const { return values.find(name) != values.end(); }
    [[nodiscard]] std::string text(std::string_view name, std::string_view otherwise = "") const
    {
        const auto found = values.find(name);
        return found == values.end() || found->second.empty() ? std::string(otherwise)
                                                              : found->second.front();
    }
    [[nodiscard]] std::vector<std::string> texts(std::string_view name) const
    {
        const auto found = values.find(name);
        return found == values.end() ? std::vector<std::string>() : found->second;
    }
};

struct Command {
    std::string path;  // "core room list"
    std::string help;
    std::vector<Argument> arguments;
    std::vector<std::string> functions;  // the public functions that it uses
    // The exit status; what goes wrong is thrown as a Failure.
    std::function<int(Context&)> run;
    bool watch = false;
    bool hidden = false;
};

// Each noun's, in the order in which the help shows them.
std::vector<Command> session_commands();    // status, doctor, explain, account, state, device list
std::vector<Command> function_commands();   // everything that is a row over a public function
std::vector<Command> simulator_commands();  // agent, home, sim
std::vector<Command> api_commands();        // api, call, raw
std::vector<Command> setup_commands();      // setup run
std::vector<Command> trace_commands();      // trace; defined in trace/

// All of them.
const std::vector<Command>& commands();

// The words between the blanks.
std::vector<std::string> words_of(std::string_view text);
std::string file_or_text(const std::string& text);

}  // namespace quorvel::cli
