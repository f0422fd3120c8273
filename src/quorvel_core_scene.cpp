#include <quorvel_core_scene.h>

#include "internal/bundle_records.hpp"
#include "internal/core_call.hpp"

using namespace quorvel;

namespace {

constexpr TextProperty texts[] = {
    {QUORVEL_CORE_SCENE_PROP_SCENE_ID, "sceneId"},
    {QUORVEL_CORE_SCENE_PROP_SCENE_JSON, "sceneJson"},
};

constexpr RecordFamily<rpc_port_core_scene_s_h> scenes{RECORD(core_scene_s), texts};

constexpr auto invalid_json = "invalid scene json str";

}  // namespace

int quorvel_core_get_scene(quorvel_client_h handle, const char* location_id, const char* scene_id,
                           quorvel_core_scene_h* scene)
{
    return ask(ApiCall{handle}.agent(2, 4).missing_proxy(QUORVEL_CLIENT_ERROR_OPERATION_FAILED),
               METHOD(core_get_scene), record_out<rpc_port_core_scene_s_h>(scene), location_id, scene_id);
}

int quorvel_core_get_scene_list(quorvel_client_h handle, const char* location_id, quorvel_core_scene_h** list,
                                int* count)
{
    return ask(ApiCall{handle}.agent(2, 4).missing_proxy(QUORVEL_CLIENT_ERROR_OPERATION_FAILED),
               METHOD(core_get_scene_list), list_out<rpc_port_array_core_scene_s_h>(list, count),
               location_id);
}

// Here alone a missing location is told in words of its own, which is meant so.
int quorvel_core_create_scene(quorvel_client_h handle, const char* location_id, const char* scene_json,
                              char** result_str)
{
    return ask(command(ApiCall{handle}, result_str)
                   .require(is_set(location_id), "invalid location id")
                   .require(is_set(scene_json), invalid_json),
               METHOD(core_create_scene), result_out(result_str), location_id, scene_json);
}

// The scene's id is not checked, and a failure is reported under the name of another method: both meant so.
int quorvel_core_update_scene(quorvel_client_h handle, const char* location_id, const char* scene_id,
                              const char* scene_json, char** result_str)
{
    return ask(command(ApiCall{handle}, result_str)
                   .require(is_set(location_id))
                   .require(is_set(scene_json), invalid_json),
               METHOD(core_update_scene).reported_as(METHOD_NAME(core_create_scene)), result_out(result_str),
               location_id, Unchecked{scene_id}, scene_json);
}

int quorvel_core_delete_scene(quorvel_client_h handle, const char* location_id, const char* scene_id,
                              char** result_str)
{
    return ask(command(ApiCall{handle}, result_str), METHOD(core_delete_scene), result_out(result_str),
               location_id, scene_id);
}

int quorvel_core_execute_scene(quorvel_client_h handle, const char* location_id, const char* scene_id,
                               char** result_str)
{
    return ask(command(ApiCall{handle}, result_str), METHOD(core_execute_scene), result_out(result_str),
               location_id, scene_id);
}

// Reported under the name of another method, which is meant so.
int quorvel_core_execute_adhoc_scene(quorvel_client_h handle, const char* location_id, const char* scene_json,
                                     char** result_str)
{
    return ask(command(ApiCall{handle}, result_str)
                   .require(is_set(location_id))
                   .require(is_set(scene_json), invalid_json),
               METHOD(core_execute_adhoc_scene).reported_as(METHOD_NAME(core_create_scene)),
               result_out(result_str), location_id, scene_json);
}

int quorvel_core_scene_get_string(quorvel_core_scene_h scene, int property_id, char** value)
{
    return get_text(scenes, scene, property_id, value);
}

int quorvel_core_scene_destroy(quorvel_core_scene_h scene)
{
    return destroy(scenes, scene);
}
