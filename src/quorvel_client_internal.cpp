#include <quorvel_client_internal.h>
#include <quorvel_core_device.h>
#include <quorvel_core_location.h>

#include "internal/core_call.hpp"
#include "internal/parameters.hpp"

using namespace quorvel;

// Failures are reported under the names of methods that set and get a "dev mode", which is meant so.

namespace {

constexpr unsigned last_server_env_type = QUORVEL_CLIENT_INTERNAL_SERVER_ENV_TYPE_1;
constexpr unsigned last_server_env = QUORVEL_CLIENT_INTERNAL_SERVER_ENV_2;
// Goes where the type of a server environment does.
constexpr int suspend_mode_type = 2;

constexpr auto set_configuration = METHOD(set_test_configuration).reported_as(METHOD_NAME(set_dev_mode));

}  // namespace

int quorvel_client_internal_get_server_env(quorvel_client_h handle, unsigned int type, int* env)
{
    return ApiCall{handle}
        .agent(1, 2)
        .require(env != nullptr, "invalid parameter (env)")
        .require(type <= last_server_env_type, "invalid parameter (type)")
        .invoke(METHOD(get_test_configuration).reported_as(METHOD_NAME(get_dev_mode)), static_cast<int>(type),
                value_out(env))
        .result();
}

int quorvel_client_internal_set_server_env(quorvel_client_h handle, unsigned int type, unsigned int env)
{
    return ApiCall{handle}
        .agent(1, 2)
        .require(type <= last_server_env_type, "invalid parameter (type)")
        .require(env <= last_server_env, "invalid parameter (env)")
        .invoke(set_configuration, static_cast<int>(type), static_cast<int>(env))
        .result();
}

int quorvel_client_internal_set_suspend_mode(quorvel_client_h handle, bool suspend)
{
    return ApiCall{handle}
        .agent(1, 2)
        .invoke(set_configuration, suspend_mode_type, static_cast<int>(suspend))
        .result();
}

// Three functions of the core family, which belong to devices and locations.

int quorvel_core_migrate_local_mqtt_device(quorvel_client_h handle, const char* device_id, const char* hub_id,
                                           char** result)
{
    return ask(ApiCall{handle}.agent(2, 4), METHOD(core_migrate_local_mqtt_device), text_out(result),
               device_id, hub_id);
}

int quorvel_core_get_location_users(quorvel_client_h handle, const char* location_id, char** json_str)
{
    return ask(command(ApiCall{handle}, json_str, "invalid json_str"), METHOD(core_get_location_users),
               text_out(json_str), location_id);
}

int quorvel_core_get_all_location_users(quorvel_client_h handle, char** json_str)
{
    return ask(command(ApiCall{handle}, json_str, "invalid json_str"), METHOD(core_get_all_location_users),
               text_out(json_str));
}
