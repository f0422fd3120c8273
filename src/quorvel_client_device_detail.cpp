#include <quorvel_client_device_detail.h>

#include "internal/cloud_device_state.hpp"
#include "internal/json.hpp"
#include "internal/named.hpp"
#include "internal/parameters.hpp"
#include "internal/properties.hpp"
#include "internal/property_table.hpp"
#include "internal/registration.hpp"
#include "internal/session.hpp"

using namespace quorvel;

namespace {

using Detail = rpc_port_device_detail_s_h;

Slot device_detail_list_slot;

/// Asks the agent whether it is still gathering its data. When it does not tell, the flag keeps its value.
void ask_whether_caching(ApiCall& call)
{
    bool is_caching = false;
    if (rpc_port_proxy_qv_client_invoke_get_is_caching_data(call.proxy(), &is_caching) == 0)
        session::is_caching = is_caching;
    log_api(DLOG_DEBUG, call.at(), QC_TEXT("is_caching[%d]"), session::is_caching ? 1 : 0);
}

/// An agent of 1.2 or later keeps several values in `reserved`, as JSON; one before that, the group id alone.
bool has_values_in_reserved()
{
    return session::agent_version() > 101;
}

constexpr char group_id[] = "group_id";
constexpr char ui_meta_version[] = "ui_meta_ver";
constexpr char subgroup_id[] = "subgroup_id";

template <const char* key>
int read_reserved(Detail detail, char** value)
{
    char* reserved = nullptr;
    const int result = rpc_port_device_detail_s_get_reserved(detail, &reserved);
    const Json json{reserved};
    std::free(reserved);
    *value = copy_text(json.member(key));
    return result;
}

int read_group_id(Detail detail, char** value)
{
    const auto read =
        has_values_in_reserved() ? read_reserved<group_id> : rpc_port_device_detail_s_get_reserved;
    return read(detail, value);
}

/// An empty or missing state reads as connected, which is meant so.
int read_cloud_device_state(Detail detail, int* state)
{
    char* word = nullptr;
    const int result = rpc_port_device_detail_s_get_cloud_device_state(detail, &word);
    *state = is_set(word) ? cloud_device_state(word) : QUORVEL_CLIENT_CLOUD_DEVICE_STATE_CONNECTED;
    std::free(word);
    return result;
}

constexpr Property<TextGetter<Detail>> text_properties[] = {
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_ID, rpc_port_device_detail_s_get_device_id},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_NAME, rpc_port_device_detail_s_get_device_name},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_NICK, rpc_port_device_detail_s_get_nick},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_PREFIX, rpc_port_device_detail_s_get_prefix},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_COLOR, rpc_port_device_detail_s_get_color},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_LOCALE, rpc_port_device_detail_s_get_locale},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_GROUP_ID, read_group_id},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_FIRMWARE_VERSION, rpc_port_device_detail_s_get_firmware_version},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_MANUFACTURE_NAME, rpc_port_device_detail_s_get_manufacture_name},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_VID, rpc_port_device_detail_s_get_vid},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_UI_META_VERSION, read_reserved<ui_meta_version>},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_SUBGROUP_ID, read_reserved<subgroup_id>},
};
constexpr Property<NumberGetter<Detail>> number_properties[] = {
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_CLOUD_DEVICE_STATE, read_cloud_device_state},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_COUNT, rpc_port_device_detail_s_get_resource_count},
};
constexpr Property<TextListGetter<Detail>> text_list_properties[] = {
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_TYPE, rpc_port_device_detail_s_get_device_type},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_URIS, rpc_port_device_detail_s_get_resource_uris},
    {QUORVEL_CLIENT_DEVICE_DETAIL_PROP_OBSERVABLE_RESOURCE_URIS,
     rpc_port_device_detail_s_get_observable_resource_uris},
};
constexpr auto texts = property_table<text_properties>();
constexpr auto numbers = property_table<number_properties>();
constexpr auto text_lists = property_table<text_list_properties>();

}  // namespace

int quorvel_client_get_device_detail_list(quorvel_client_h handle, quorvel_client_device_detail_h** list,
                                          int* count)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(list != nullptr && count != nullptr)
        .proxied()
        .then(ask_whether_caching)
        // A list that cannot be opened is reported as one of devices, which is meant so.
        .invoke(METHOD(get_device_detail_list),
                list_out<rpc_port_array_device_detail_s_h>(list, count)
                    .opened_as("rpc_port_array_device_s_get_array_device_ss"),
                Unused{})
        .result();
}

int quorvel_client_get_device_detail(quorvel_client_h handle, const char* device_id,
                                     quorvel_client_device_detail_h* detail)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(is_set(device_id) && detail != nullptr)
        .invoke(METHOD(get_device_detail), device_id, record_copy_out<Detail>(detail))
        .result();
}

int quorvel_client_device_detail_destroy(quorvel_client_device_detail_h detail)
{
    return LocalCall{}.agent(1, 0).require(detail != nullptr).then(released<Detail>(detail)).result();
}

int quorvel_client_device_detail_get_int(quorvel_client_device_detail_h detail, int property_id, int* value)
{
    return LocalCall{}
        .agent(1, 0)
        .require(detail != nullptr && value != nullptr)
        .then(number_property(numbers.by_id, detail, property_id, value))
        .result();
}

int quorvel_client_device_detail_get_string(quorvel_client_device_detail_h detail, int property_id,
                                            char** value)
{
    const bool is_only_in_reserved = property_id == QUORVEL_CLIENT_DEVICE_DETAIL_PROP_UI_META_VERSION
                                     || property_id == QUORVEL_CLIENT_DEVICE_DETAIL_PROP_SUBGROUP_ID;
    return LocalCall{}
        .agent(1, 0)
        .require(detail != nullptr && value != nullptr)
        .require(!is_only_in_reserved || has_values_in_reserved(), "Lower version error",
                 QUORVEL_CLIENT_ERROR_LOWER_VERSION)
        .then(text_property(texts.by_id, detail, property_id, value))
        .result();
}

int quorvel_client_device_detail_get_string_array(quorvel_client_device_detail_h detail, int property_id,
                                                  char*** list, int* count)
{
    return LocalCall{}
        .agent(1, 0)
        .require(detail != nullptr && list != nullptr && count != nullptr)
        .then(text_list_property(text_lists.by_id, detail, property_id, list, count))
        .result();
}

int quorvel_client_set_device_detail_list_updated_cb(quorvel_client_h handle,
                                                     quorvel_client_device_detail_list_updated_cb cb,
                                                     void* user_data)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(set_device_detail_list_cb),
                registration(device_detail_list_slot, DELEGATE(device_detail_list_cb), _device_detail_list_cb,
                             &Client::device_detail_list, cb, user_data))
        .result();
}

int quorvel_client_unset_device_detail_list_updated_cb(quorvel_client_h handle)
{
    return ApiCall{handle}
        .agent(1, 0)
        .proxied()
        .then(unregistered(device_detail_list_slot, &Client::device_detail_list))
        .invoke(METHOD(unset_device_detail_list_cb))
        .result();
}

void _device_detail_list_cb(void* user_data, rpc_port_array_device_detail_s_h details, int)
{
    Event event{user_data};
    // The first list ends the agent's caching, whether anyone wants to hear of it or not.
    session::is_caching = false;
    log_api(DLOG_DEBUG, event.at(), QC_TEXT("Unset caching flag"));
    // The line of a missing callback speaks of devices, which is meant so.
    const auto pair = event.has_user_data().callback(&Client::device_detail_list, "No device list cb");
    Detail* list = nullptr;
    int count = 0;
    if (event.ok()
        && copy_out(event, details, rpc_port_array_device_detail_s_get_array_device_detail_ss, &list, &count))
        pair.callback(reinterpret_cast<quorvel_client_device_detail_h*>(list), count, pair.user_data);
}
