#include "good_calls.hpp"

#include <quorvel_client_device_detail.h>
#include <quorvel_client_easy_setup.h>
#include <quorvel_client_group.h>
#include <quorvel_core_device.h>
#include <quorvel_core_device_group.h>
#include <quorvel_core_favorite.h>
#include <quorvel_core_installed_app.h>
#include <quorvel_core_location.h>
#include <quorvel_core_room.h>
#include <quorvel_core_rule.h>
#include <quorvel_core_scene.h>

#include <cstdlib>
#include <map>

namespace torture {

namespace {

/// The numbers that are good where 1 is not: mostly properties.
const std::map<std::string_view, int> good_numbers = {
    {"quorvel_client_device_get_string", 0},
    {"quorvel_client_device_detail_get_int", QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_COUNT},
    {"quorvel_client_device_detail_get_string", QUORVEL_CLIENT_DEVICE_DETAIL_PROP_GROUP_ID},
    {"quorvel_client_device_detail_get_string_array", QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_URIS},
    {"quorvel_client_group_get_string_array", QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V1},
    {"quorvel_client_easy_setup_initialize", QUORVEL_CLIENT_EASY_SETUP_TYPE_HOST_ADDRESS},
    {"quorvel_client_easy_setup_access_point_get_string", 0},
    {"quorvel_client_easy_setup_device_property_set_string", 0},
    {"quorvel_client_easy_setup_device_property_get_string", 0},
    {"quorvel_client_easy_setup_device_property_set_string_array", 13},
    {"quorvel_client_easy_setup_device_property_get_string_array", 13},
    {"quorvel_client_easy_setup_cloud_property_set_string", 0},
    {"quorvel_client_easy_setup_cloud_property_get_string", 0},
    {"quorvel_client_easy_setup_device_conf_get_bool", 0},
    {"quorvel_client_easy_setup_device_conf_get_int", QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_FREQ},
    {"quorvel_client_easy_setup_device_conf_get_string",
     QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_DEVICE_NAME},
    {"quorvel_client_easy_setup_device_conf_get_int_array",
     QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_WIFI_MODES},
    {"quorvel_client_provisioning_info_get_bool", QUORVEL_CLIENT_PROVISIONING_INFO_PROP_OWNED},
    {"quorvel_client_provisioning_info_get_int", QUORVEL_CLIENT_PROVISIONING_INFO_PROP_OTM_SUPPORT},
    {"quorvel_client_provisioning_info_get_string", QUORVEL_CLIENT_PROVISIONING_INFO_PROP_SOFT_AP_ADDRESS},
    {"quorvel_client_provisioning_info_get_string_array",
     QUORVEL_CLIENT_PROVISIONING_INFO_PROP_PROTOCOL_LIST},
    {"quorvel_client_self_sign_up_info_get_string", 0},
    {"quorvel_core_device_get_string", QUORVEL_CORE_DEVICE_PROP_DEVICE_ID},
    {"quorvel_core_device_group_get_string", QUORVEL_CORE_DEVICE_GROUP_PROP_GROUP_ID},
    {"quorvel_core_device_group_get_int", QUORVEL_CORE_DEVICE_GROUP_PROP_RESTRICTION_TIER},
    {"quorvel_core_location_get_string", QUORVEL_CORE_LOCATION_PROP_LOCATION_ID},
    {"quorvel_core_room_get_string", QUORVEL_CORE_ROOM_PROP_ROOM_ID},
    {"quorvel_core_favorite_get_string", QUORVEL_CORE_FAVORITE_PROP_FAVORITE_ID},
    {"quorvel_core_favorite_get_int", QUORVEL_CORE_FAVORITE_PROP_SORT_ORDER},
    {"quorvel_core_rule_get_string", QUORVEL_CORE_RULE_PROP_RULE_ID},
    {"quorvel_core_scene_get_string", QUORVEL_CORE_SCENE_PROP_SCENE_ID},
    {"quorvel_core_installed_app_get_string", QUORVEL_CORE_INSTALLED_APP_PROP_INSTALLED_APP_ID},
};

const quorvel::catalogue::Delegate& described(const Known& delegate)
{
    return *description().delegate(std::string_view{delegate.name});
}

/// A property is added, never replaced: a setter gets a record without any.
bool wants_empty_record(std::string_view function)
{
    return function.find("_property_set_") != std::string_view::npos;
}

}  // namespace

int GoodValues::number_for(const Row& row, std::size_t)
{
    const auto found = good_numbers.find(row.name);
    return found != good_numbers.end() ? found->second : 1;
}

void* GoodValues::record(const Known& type, const Row& row)
{
    void* const made = type.create();
    if (wants_empty_record(row.name) || made == nullptr)
        return made;
    scripted::Values content;
    const std::string_view name = type.name;
    if (const auto* const record = description().record(name))
        content = sample({.kind = quorvel::catalogue::Kind::record, .name = name, .record = record}, name);
    else
        content = sample(
            {.kind = quorvel::catalogue::Kind::array, .name = name, .array = description().array(name)},
            name);
    rpc_port_parcel_h const parcel = scripted::make_parcel(content);
    static_cast<rpc_port_parcelable_t*>(made)->from(parcel, made);
    rpc_port_parcel_destroy(parcel);
    return made;
}

rpc_port_proxy_qv_client_h GoodValues::proxy()
{
    return client_ != nullptr ? proxy_of(client_) : nullptr;
}

bundle* GoodValues::dictionary()
{
    const auto content = sample({.kind = quorvel::catalogue::Kind::bundle, .name = ""}, "");
    return scripted::make_bundle(*std::get<scripted::Dictionary>(content[0]).items);
}

rpc_port_parcel_h GoodValues::parameters_of(const Known& delegate)
{
    return scripted::make_parcel(sample(described(delegate).parameters));
}

rpc_port_parcel_h GoodValues::written(const Known& delegate)
{
    return scripted::make_parcel(
        {scripted::i32(described(delegate).id), scripted::i32(1), scripted::flag(true)});
}

bool is_documented(int code)
{
    switch (code) {
        case QUORVEL_CLIENT_ERROR_NONE:
        case QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY:
        case QUORVEL_CLIENT_ERROR_PERMISSION_DENIED:
        case QUORVEL_CLIENT_ERROR_INVALID_PARAMETER:
        case QUORVEL_CLIENT_ERROR_NO_SPACE:
        case QUORVEL_CLIENT_ERROR_NO_DATA:
        case QUORVEL_CLIENT_ERROR_NETWORK_UNREACHABLE:
        case QUORVEL_CLIENT_ERROR_NOT_SUPPORTED:
        case QUORVEL_CLIENT_ERROR_UNKNOWN:
        case QUORVEL_CLIENT_ERROR_OPERATION_FAILED:
        case QUORVEL_CLIENT_ERROR_AGENT_DEFINED_1:
        case QUORVEL_CLIENT_ERROR_AGENT_DEFINED_2:
        case QUORVEL_CLIENT_ERROR_IO_ERROR:
        case QUORVEL_CLIENT_ERROR_AGENT_DEFINED_3:
        case QUORVEL_CLIENT_ERROR_LOWER_VERSION:
        case QUORVEL_CLIENT_ERROR_AGENT_DEFINED_4:
        case QUORVEL_CLIENT_ERROR_ALREADY_CONNECTING:
        case QUORVEL_CLIENT_ERROR_ALREADY_CONNECTED:
        case QUORVEL_CLIENT_ERROR_NOT_CONNECTED:
        case -1:
            return true;  // the proxy's own, and what the filtered registrations pass on
        default:
            return false;
    }
}

namespace {

void on_state(int, int, void*) {}

}  // namespace

quorvel_client_h connect()
{
    quorvel_client_h client = nullptr;
    scripted::agent().install("2.4.0");
    answer_everything();
    if (quorvel_client_connect(&client, on_state, nullptr) != QUORVEL_CLIENT_ERROR_NONE)
        return nullptr;
    scripted::agent().connect();
    return client;
}

rpc_port_proxy_qv_client_h proxy_of(quorvel_client_h client)
{
    return *static_cast<rpc_port_proxy_qv_client_h*>(client);
}

bool ordinary_call_works(quorvel_client_h client)
{
    char* id = nullptr;
    const int code = quorvel_client_get_device_id(client, &id);
    const bool works = code == QUORVEL_CLIENT_ERROR_NONE && id != nullptr;
    std::free(id);
    return works;
}

}  // namespace torture
