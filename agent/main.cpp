// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "home/document.hpp"
#include "home/home.hpp"
#include "service/control.hpp"
#include "service/faults.hpp"
#include "service/gate.hpp"
#include "service/home_service.hpp"
#include "service/loop.hpp"
#include "service/places.hpp"

namespace {

using namespace quorvel;

struct Options {
    std::string home;
    std::string state;
    std::string models;
    std::string control;
    std::string log;
    bool no_control = false;
    bool check = false;
    bool print_home = false;
    bool install = false;
    bool uninstall = false;
};

enum Exit { well = 0, failed = 1, usage = 2, bad_file = 6, again = 256 };

void read_home(home::Home& home, const Options& options)
{
    home.load(options.home.empty() ? home::read_yaml(home::embedded_home(), "default home")
                                   : home::read_yaml_file(options.home));
}

// Writes the package file that lets clients find this agent and start it.
int install(const home::Home& home, const Options& options)
{
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path directory = agent::package_directory();
    std::filesystem::create_directories(directory, error);
    const std::filesystem::path path = directory / (std::string{agent::agent_app_id} + ".package");
    std::string exec = "'" + self.string() + "'";
    const auto add = [&](const char* option, const std::string& value) {
        if (!value.empty())
            exec += fmt::format(" {} '{}'", option, std::filesystem::absolute(value).string());
    };
    add("--home", options.home);
    add("--state", options.state);
    add("--models", options.models);
    std::ofstream file{path, std::ios::trunc};
    file << fmt::format("# Written by quorvel-agent --install.\nid={}\nversion={}\nexec={}\n",
                        agent::agent_app_id, home.account().version, exec);
    file.close();
    if (!file || chmod(path.c_str(), 0644) != 0) {
        fmt::print(stderr, "quorvel-agent: {}: cannot be written: {}\n", path.string(), std::strerror(errno));
        return failed;
    }
    fmt::print("{}\n", path.string());
    return well;
}

int uninstall()
{
    std::error_code error;
    const auto path =
        std::filesystem::path{agent::package_directory()} / (std::string{agent::agent_app_id} + ".package");
    std::filesystem::remove(path, error);
    if (error)
        fmt::print(stderr, "quorvel-agent: {}: cannot be removed: {}\n", path.string(), error.message());
    return error ? failed : well;
}

int serve(home::Home& home, home::Clock& clock, const Options& options)
{
    agent::Loop loop{clock};
    agent::HomeService service{home, [&loop](std::function<void()> action) { loop.post(std::move(action)); }};
    stub::Server server{service};
    agent::Faults faults{{home,
                          [&server] { server.for_each_client([](stub::Client& each) { each.drop(); }); },
                          [&loop] { loop.post([&loop] { loop.restart(); }); }}};
    agent::Gate gate{home, faults};
    server.intercept(&gate);
    if (const int result = server.listen(); result != 0) {
        fmt::print(stderr,
                   "quorvel-agent: the port cannot be listened on (code {}): is another agent running?\n",
                   result);
        return failed;
    }
    std::unique_ptr<agent::Control> control;
    if (!options.no_control) {
        control = std::make_unique<agent::Control>(
            options.control.empty() ? agent::control_path() : options.control,
            agent::Control::World{home, service, faults, server, loop});
        if (const auto problem = control->listen())
            fmt::print(stderr, "quorvel-agent: no control socket: {}\n", *problem);
    }
    service.admits = [&faults](stub::Client& client) { return faults.admits(client); };
    loop.run();
    server.intercept(nullptr);
    faults.clear();
    if (home.commit() != home::Status::ok)
        return failed;
    return loop.restarts() ? again : well;
}

int run(const Options& options)
{
    if (options.uninstall)
        return uninstall();
    home::Clock clock;
    home::ModelLibrary models;
    if (!options.models.empty())
        models.add_directory(options.models);
    else if (const std::string own = agent::models_directory(); std::filesystem::is_directory(own))
        models.add_directory(own);
    home::Home home{models, clock};
    read_home(home, options);
    if (options.check)
        return well;
    if (options.print_home) {
        fmt::print("{}\n", home.save().dump(2, ' ', false, home::Json::error_handler_t::replace));
        return well;
    }
    if (options.install)
        return install(home, options);
    if (!options.state.empty())
        home.keep_in(std::make_unique<home::Store>(options.state));
    return serve(home, clock, options);
}

}  // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app{"The reference agent: a simulated home behind the qv_client interface.", "quorvel-agent"};
    app.add_option("--home", options.home, "Start from this home file instead of the built-in home")
        ->type_name("FILE");
    app.add_option("--state", options.state,
                   "Keep the home in this file; it goes on from there the next time")
        ->type_name("FILE");
    app.add_option("--models", options.models, "Directory of device models beside the built-in ones")
        ->type_name("DIR");
    app.add_option("--control", options.control, "Path of the control socket")->type_name("PATH");
    app.add_flag("--no-control", options.no_control, "Offer no control socket");
    app.add_option("--log", options.log, "What is logged, e.g. '*:info' (see QUORVEL_LOG)")
        ->type_name("FILTER");
    app.add_flag("--check", options.check, "Check the home file and exit");
    app.add_flag("--print-home", options.print_home, "Print the home as a home file (JSON) and exit");
    app.add_flag("--install", options.install,
                 "Let clients of this user find and start this agent, and exit");
    app.add_flag("--uninstall", options.uninstall, "Undo --install and exit");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? well : usage;
    }
    if (!options.log.empty())
        setenv("QUORVEL_LOG", options.log.c_str(), 1);
    // The port is named after the application that offers it.
    setenv("QUORVEL_APP_ID", agent::agent_app_id, 0);
    try {
        const int status = run(options);
        if (status == again)
            execv("/proc/self/exe", argv);
        return status == again ? failed : status;
    } catch (const home::DocumentError& error) {
        fmt::print(stderr, "quorvel-agent: {}\n", error.what());
        return bad_file;
    } catch (const std::exception& error) {
        fmt::print(stderr, "quorvel-agent: {}\n", error.what());
        return failed;
    }
}
