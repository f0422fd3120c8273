// SPDX-License-Identifier: Apache-2.0
#include "service/places.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <tuple>

namespace quorvel::agent {

namespace {

std::string variable(const char* name)
{
    const char* value = std::getenv(name);
    return value == nullptr ? std::string{} : std::string{value};
}

std::string data_directory()
{
    if (const std::string data = variable("XDG_DATA_HOME"); !data.empty())
        return data + "/quorvel";
    return variable("HOME") + "/.local/share/quorvel";
}

std::string socket_directory()
{
    if (const std::string home = variable("QUORVEL_HOME_DIR"); !home.empty())
        return home + "/run";
    if (const std::string runtime = variable("XDG_RUNTIME_DIR"); !runtime.empty())
        return runtime + "/quorvel";
    const std::string uid = std::to_string(geteuid());
    struct stat info {};
    if (stat(("/run/user/" + uid).c_str(), &info) == 0 && S_ISDIR(info.st_mode))
        return "/run/user/" + uid + "/quorvel";
    return "/tmp/quorvel-" + uid;
}

}  // namespace

std::string package_directory()
{
    const std::string home = variable("QUORVEL_HOME_DIR");
    return home.empty() ? data_directory() + "/packages" : home + "/packages";
}

bool set_package_version(const std::string& version)
{
    const std::string path = package_directory() + "/" + agent_app_id + ".package";
    std::ifstream read{path};
    std::ostringstream text;
    for (std::string line; std::getline(read, line);)
        text << (line.starts_with("version=") ? "version=" + version : line) << '\n';
    if (!read.eof())
        return false;
    read.close();
    std::ofstream write{path, std::ios::trunc};
    write << text.str();
    write.close();
    return static_cast<bool>(write);
}

void hide_package(bool hidden)
{
    const std::string seen = package_directory() + "/" + agent_app_id + ".package";
    const std::string away = seen + ".hidden";
    // One that is hidden already, or was never there, stays so.
    std::ignore = std::rename((hidden ? seen : away).c_str(), (hidden ? away : seen).c_str());
}

std::string models_directory()
{
    const std::string home = variable("QUORVEL_HOME_DIR");
    return home.empty() ? data_directory() + "/models" : home + "/models";
}

std::string control_path()
{
    const std::string id = variable("QUORVEL_APP_ID");
    return socket_directory() + "/" + (id.empty() ? agent_app_id : id) + ".control.sock";
}

}  // namespace quorvel::agent
