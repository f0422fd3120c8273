#include <quorvel_core_device.h>

#include "internal/bundle_records.hpp"
#include "internal/core_call.hpp"

using namespace quorvel;

namespace {

constexpr TextProperty texts[] = {
    {QUORVEL_CORE_DEVICE_PROP_DEVICE_ID, "deviceId"},
    {QUORVEL_CORE_DEVICE_PROP_NAME, "name"},
    {QUORVEL_CORE_DEVICE_PROP_LABEL, "label"},
    {QUORVEL_CORE_DEVICE_PROP_MANUFACTURER_NAME, "manufacturerName"},
    {QUORVEL_CORE_DEVICE_PROP_PRESENTATION_ID, "presentationId"},
    {QUORVEL_CORE_DEVICE_PROP_DEVICE_MANUFACTURE_CODE, "deviceManufactureCode"},
    {QUORVEL_CORE_DEVICE_PROP_LOCATION_ID, "locationId"},
    {QUORVEL_CORE_DEVICE_PROP_OWNER_ID, "ownerId"},
    {QUORVEL_CORE_DEVICE_PROP_ROOM_ID, "roomId"},
    {QUORVEL_CORE_DEVICE_PROP_COMPONENTS, "components"},
    {QUORVEL_CORE_DEVICE_PROP_CHILD_DEVICES, "childDevices"},
    {QUORVEL_CORE_DEVICE_PROP_PROFILE, "profile"},
    {QUORVEL_CORE_DEVICE_PROP_TYPE, "type"},
    {QUORVEL_CORE_DEVICE_PROP_DETAILS, "details"},
    {QUORVEL_CORE_DEVICE_PROP_RESTRICTION_TIER, "restrictionTier"},
    // Twice the name, which is meant so: the agent fills the bundle under the same key.
    {QUORVEL_CORE_DEVICE_PROP_PARENT_DEVICE_ID, "parentDeviceIdparentDeviceId"},
    {QUORVEL_CORE_DEVICE_PROP_DEVICE_MODEL, "deviceModel"},
    {QUORVEL_CORE_DEVICE_PROP_SHARED_LOCATIONS, "sharedLocations"},
    {QUORVEL_CORE_DEVICE_PROP_CREATE_TIME, "createTime"},
    {QUORVEL_CORE_DEVICE_PROP_HEALTH_STATE, "healthState"},
    {QUORVEL_CORE_DEVICE_PROP_EXTERNAL_ID, "externalId"},
    {QUORVEL_CORE_DEVICE_PROP_OCF_DEVICE_TYPE, "ocfDeviceType"},
    {QUORVEL_CORE_DEVICE_PROP_POSSIBLE_ICONS, "possibleIcons"},
    {QUORVEL_CORE_DEVICE_PROP_ICONS, "icons"},
};

constexpr RecordFamily<rpc_port_core_device_s_h> devices{RECORD(core_device_s), texts};

/// What a change of a device sends: the texts that it leaves alone are not there.
struct DeviceChange {
    const char* name = nullptr;
    const char* location_id = nullptr;
    const char* room_id = nullptr;
    const char* components = nullptr;
};

/// All changes of a device are one method. The text says "location id" of whatever the change is about, which
/// is meant so.
int update_device(quorvel_client_h handle, const char* device_id, const char* subject,
                  const DeviceChange& change, char** result_str, CallSite at = CallSite::here())
{
    return ApiCall{handle, at}
        .clears(result_str)
        .agent(2, 3)
        .require(is_set(device_id), "invalid device id")
        .require(is_set(subject), "invalid location id")
        .invoke(METHOD(core_update_device), device_id, change.name, change.location_id, change.room_id,
                change.components, nullptr, result_out(result_str))
        .result();
}

}  // namespace

int quorvel_core_get_device(quorvel_client_h handle, const char* device_id, quorvel_core_device_h* device)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_device),
               record_out<rpc_port_core_device_s_h>(device), device_id);
}

int quorvel_core_get_device_list(quorvel_client_h handle, const char* filter, quorvel_core_device_h** list,
                                 int* count)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_device_list),
               list_out<rpc_port_array_core_device_s_h>(list, count), Unchecked{filter});
}

int quorvel_core_get_hub_device_id_list(quorvel_client_h handle, const char* hub_id, char*** ids, int* count)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_hub_device_list), StringsOut{ids, count},
               Unchecked{hub_id});
}

// The out-pointer is not checked: without one the agent is asked all the same.
int quorvel_core_get_device_health_data(quorvel_client_h handle, const char* device_id, int* health)
{
    constexpr int unknown = 2;
    return ask(ApiCall{handle}.agent(2, 3).require(is_set(device_id), "invalid parameter (device_id)"),
               METHOD(core_get_device_health_data), value_out(health, unknown), device_id);
}

int quorvel_core_get_device_json(quorvel_client_h handle, const char* device_id, char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_device_json), text_out(json_str), device_id);
}

int quorvel_core_get_device_list_json(quorvel_client_h handle, const char* filter, char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_device_list_json), text_out(json_str),
               Unchecked{filter});
}

int quorvel_core_get_device_health_data_json(quorvel_client_h handle, const char* device_id, char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_device_health_data_json), text_out(json_str),
               device_id);
}

int quorvel_core_get_device_status(quorvel_client_h handle, const char* device_id, char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_device_status), text_out(json_str), device_id);
}

int quorvel_core_get_device_component_status(quorvel_client_h handle, const char* device_id,
                                             const char* component_id, char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_device_component_status), text_out(json_str),
               device_id, component_id);
}

int quorvel_core_get_device_capability_status(quorvel_client_h handle, const char* device_id,
                                              const char* component_id, const char* capability_id,
                                              char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_device_capability_status), text_out(json_str),
               device_id, component_id, capability_id);
}

// Reported under a name that no method has, which is meant so.
int quorvel_core_get_device_preferences(quorvel_client_h handle, const char* device_id,
                                        const char* preference_name, char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3),
               METHOD(core_get_device_preferences).reported_as(METHOD_NAME(core_get_device_preferences_json)),
               text_out(json_str), device_id, preference_name);
}

int quorvel_core_get_home_insight_device_statistics(quorvel_client_h handle, const char* location_id,
                                                    char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_home_insight_device_statics), text_out(json_str),
               location_id);
}

// The agent takes the truth as a text.
int quorvel_core_get_device_presentation(quorvel_client_h handle, const char* device_id,
                                         const char* presentation_id, const char* locale, bool detailed,
                                         char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_device_presentation), text_out(json_str),
               device_id, presentation_id, Unchecked{locale}, detailed ? "1" : "0");
}

int quorvel_core_get_ir_device(quorvel_client_h handle, const char* parent_device_id,
                               const char* ir_device_id, char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_ir_device), text_out(json_str), parent_device_id,
               ir_device_id);
}

int quorvel_core_execute_device(quorvel_client_h handle, const char* device_id, const char* commands_json,
                                char** result)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_execute_device_commands), result_out(result),
               device_id, commands_json);
}

// The first two texts change places, which is meant so.
int quorvel_core_update_device_preferences(quorvel_client_h handle, const char* device_id,
                                           const char* preference_name, const char* preferences_json,
                                           char** result)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_update_device_preferences), result_out(result),
               preference_name, device_id, preferences_json);
}

int quorvel_core_create_ir_device(quorvel_client_h handle, const char* parent_device_id,
                                  const char* ir_device_json, char** result)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_create_ir_device), result_out(result),
               parent_device_id, ir_device_json);
}

int quorvel_core_move_device(quorvel_client_h handle, const char* device_id, const char* location_id,
                             const char* room_id, char** result_str)
{
    return update_device(handle, device_id, location_id, {.location_id = location_id, .room_id = room_id},
                         result_str);
}

int quorvel_core_change_device_name(quorvel_client_h handle, const char* device_id, const char* name,
                                    char** result_str)
{
    return update_device(handle, device_id, name, {.name = name}, result_str);
}

int quorvel_core_update_device_components(quorvel_client_h handle, const char* device_id,
                                          const char* components_json, char** result_str)
{
    return update_device(handle, device_id, components_json, {.components = components_json}, result_str);
}

int quorvel_core_delete_device(quorvel_client_h handle, const char* device_id)
{
    return tell(ApiCall{handle}.agent(2, 3), METHOD(core_delete_device), device_id);
}

int quorvel_core_start_hub_device_discover(quorvel_client_h handle, const char* hub_id, int duration,
                                           bool allow_join, bool include_known, int protocol)
{
    return tell(ApiCall{handle}.agent(2, 3).require(is_set(hub_id) && duration >= 0),
                METHOD(core_start_hub_device_discovery), hub_id, duration, allow_join, include_known,
                protocol);
}

int quorvel_core_stop_hub_device_discover(quorvel_client_h handle, const char* hub_id)
{
    return tell(ApiCall{handle}.agent(2, 3), METHOD(core_stop_hub_device_discovery), hub_id);
}

int quorvel_core_device_get_string(quorvel_core_device_h device, int property_id, char** value)
{
    return get_text(devices, device, property_id, value);
}

int quorvel_core_device_destroy(quorvel_core_device_h device)
{
    return destroy(devices, device);
}
