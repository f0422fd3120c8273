#include <quorvel_core_device_group.h>

#include "internal/bundle_records.hpp"
#include "internal/core_call.hpp"

using namespace quorvel;

namespace {

/// The types by their numbers, as the agent writes them.
constexpr const char* type_texts[] = {"UNDETERMINED", "GENERIC", "VIDEO CAMERA", "LIGHTING"};

/// A type that is not known is undetermined.
int type_of_text(const char* text)
{
    for (int type = 0; const char* const type_text : type_texts) {
        if (std::strcmp(text, type_text) == 0)
            return type;
        ++type;
    }
    return QUORVEL_CORE_DEVICE_GROUP_TYPE_UNDETERMINED;
}

/// NULL for a number that is no type.
const char* text_of_type(int type)
{
    return static_cast<unsigned>(type) < std::size(type_texts) ? type_texts[type] : nullptr;
}

constexpr TextProperty texts[] = {
    {QUORVEL_CORE_DEVICE_GROUP_PROP_GROUP_ID, "deviceGroupId"},
    {QUORVEL_CORE_DEVICE_GROUP_PROP_NAME, "deviceGroupName"},
    {QUORVEL_CORE_DEVICE_GROUP_PROP_LOCATION_ID, "deviceGroupLocationId"},
    {QUORVEL_CORE_DEVICE_GROUP_PROP_ROOM_ID, "deviceGroupRoomId"},
    {QUORVEL_CORE_DEVICE_GROUP_PROP_DEVICES_JSON, "deviceGroupDevicesJson"},
    {QUORVEL_CORE_DEVICE_GROUP_PROP_CAPABILITIES_JSON, "deviceGroupCapabilitiesJson"},
};

constexpr NumberProperty numbers[] = {
    {QUORVEL_CORE_DEVICE_GROUP_PROP_TYPE, "deviceGroupType", type_of_text},
    {QUORVEL_CORE_DEVICE_GROUP_PROP_RESTRICTION_TIER, "deviceGroupRestrictionTier", leading_number},
};

constexpr RecordFamily<rpc_port_device_group_s_h> groups{
    .kind = RECORD(device_group_s),
    .texts = texts,
    .numbers = numbers,
    // Of the two getters this one does not show the number, which is meant so.
    .wording = {.unknown_text = QC_TEXT("Invalid property id")},
};

/// A question about groups: a missing proxy is a failed operation.
ApiCall& question(ApiCall&& call)
{
    return call.agent(2, 4).missing_proxy(QUORVEL_CLIENT_ERROR_OPERATION_FAILED);
}

}  // namespace

int quorvel_core_get_device_group(quorvel_client_h handle, const char* group_id,
                                  quorvel_core_device_group_h* group)
{
    return ask(question(ApiCall{handle}), METHOD(core_get_device_group),
               record_out<rpc_port_device_group_s_h>(group), group_id);
}

int quorvel_core_get_device_group_list(quorvel_client_h handle, quorvel_core_device_group_h** list,
                                       int* count)
{
    return ask(question(ApiCall{handle}), METHOD(core_get_device_group_list),
               list_out<rpc_port_array_device_group_s_h>(list, count));
}

// The text is handed out together with an error too, as those of the commands are, but its place is not
// cleared first: both meant so.
int quorvel_core_get_device_group_devices_status(quorvel_client_h handle, const char* group_id,
                                                 char** status_json)
{
    return ask(question(ApiCall{handle})
                   .require(is_set(group_id), "invalid device_group_id")
                   .require(status_json != nullptr, "invalid status_json"),
               METHOD(core_get_device_group_devices_status), result_out(status_json), group_id);
}

int quorvel_core_create_device_group(quorvel_client_h handle, const char* name, int type,
                                     const char* devices_json, const char* room_id, char** result_str)
{
    const char* const type_text = text_of_type(type);
    return command(ApiCall{handle}, result_str)
        .require(is_set(name), "invalid name")
        .require(type_text != nullptr, "invalid type")
        .require(is_set(devices_json), "invalid devices")
        .invoke(METHOD(core_create_device_group), name, type_text, devices_json, room_id,
                result_out(result_str))
        .result();
}

int quorvel_core_update_device_group(quorvel_client_h handle, const char* group_id, const char* name,
                                     const char* devices_json, const char* room_id, char** result_str)
{
    return ask(command(ApiCall{handle}, result_str), METHOD(core_update_device_group), result_out(result_str),
               group_id, name, devices_json, Unchecked{room_id});
}

int quorvel_core_delete_device_group(quorvel_client_h handle, const char* group_id, char** result_str)
{
    return ask(command(ApiCall{handle}, result_str), METHOD(core_delete_device_group), result_out(result_str),
               group_id);
}

int quorvel_core_execute_device_group(quorvel_client_h handle, const char* group_id,
                                      const char* commands_json, char** result_str)
{
    return ask(command(ApiCall{handle}, result_str), METHOD(core_execute_device_group),
               result_out(result_str), group_id, commands_json);
}

int quorvel_core_device_group_get_string(quorvel_core_device_group_h group, int property_id, char** value)
{
    return get_text(groups, group, property_id, value);
}

int quorvel_core_device_group_get_int(quorvel_core_device_group_h group, int property_id, int* value)
{
    return get_number(groups, group, property_id, value);
}

int quorvel_core_device_group_destroy(quorvel_core_device_group_h group)
{
    return destroy(groups, group);
}
