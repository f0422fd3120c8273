// Package information, last result, error text.

#include "state.hpp"

using scripted::detail::Function;
using scripted::detail::Lock;
using scripted::detail::State;
using scripted::detail::state;
using scripted::detail::use;

namespace {

constexpr std::string_view agent_package = "com.veltrane.norvik.quorvel-client";
thread_local int last_result = 0;

}  // namespace

int package_info_create(const char* package_id, package_info_h* info)
{
    State& s = state();
    const Lock lock(s.mutex);
    if (const auto code = use(Function::package_info_create)) {
        return *code;
    }
    if (!package_id || !info) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    if (s.package_error) {
        return *s.package_error;
    }
    if (!s.version || package_id != agent_package) {
        return PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE;
    }
    *info = s.new_handle();
    s.package_infos.insert(*info);
    return PACKAGE_MANAGER_ERROR_NONE;
}

int package_info_get_version(package_info_h info, char** version)
{
    State& s = state();
    const Lock lock(s.mutex);
    if (const auto code = use(Function::package_info_get_version)) {
        return *code;
    }
    if (!version || s.package_infos.count(info) == 0) {
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    if (s.version_unreadable || !s.version) {
        return RPC_PORT_ERROR_IO_ERROR;
    }
    *version = scripted::detail::heap_copy(*s.version);
    return PACKAGE_MANAGER_ERROR_NONE;
}

int package_info_destroy(package_info_h info)
{
    State& s = state();
    const Lock lock(s.mutex);
    const auto code = use(Function::package_info_destroy);
    if (s.package_infos.erase(info) == 0) {
        if (info) {
            s.misuses.emplace_back("package_info_destroy: a package information that is not alive");
        }
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    return code.value_or(PACKAGE_MANAGER_ERROR_NONE);
}

void set_last_result(int result)
{
    last_result = result;
}

int get_last_result(void)
{
    return last_result;
}

char* get_error_message(int error)
{
    static char none[] = "Successful";
    static char memory[] = "Out of memory";
    static char parameter[] = "Invalid parameter";
    static char key[] = "Required key not available";
    static char other[] = "Unknown error";
    switch (error) {
        case 0:
            return none;
        case -12:
            return memory;
        case -22:
            return parameter;
        case -126:
            return key;
        default:
            return other;
    }
}
