#include <quorvel_client_device.h>

#include "internal/named.hpp"
#include "internal/parameters.hpp"
#include "internal/properties.hpp"
#include "internal/registration.hpp"

using namespace quorvel;

namespace {

Slot device_list_slot;

/// The answer to the three commands on devices. When it cannot be made, the easy setup's delegate is named,
/// which is meant so.
auto device_result(quorvel_client_device_result_cb cb, void* user_data)
{
    return one_answer(DELEGATE(device_result_cb), _device_result_cb, cb, user_data)
        .created_as("rpc_port_qv_client_easy_setup_result_cb_create");
}

}  // namespace

int quorvel_client_get_device_list(quorvel_client_h handle, quorvel_client_device_h** list, int* count)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(list != nullptr && count != nullptr)
        .invoke(METHOD(get_device_list), list_out<rpc_port_array_device_s_h>(list, count), Unused{})
        .result();
}

int quorvel_client_device_destroy(quorvel_client_device_h device)
{
    return LocalCall{}
        .agent(1, 0)
        .require(device != nullptr)
        .then(released<rpc_port_device_s_h>(device))
        .result();
}

int quorvel_client_device_get_string(quorvel_client_device_h device, int property_id, char** value)
{
    static constexpr TextGetter<rpc_port_device_s_h> properties[] = {rpc_port_device_s_get_device_id};
    return LocalCall{}
        .agent(1, 0)
        .require(device != nullptr && value != nullptr)
        .then(text_property(properties, device, property_id, value))
        .result();
}

int quorvel_client_device_get_string_array(quorvel_client_device_h device, int property_id, char*** list,
                                           int* count)
{
    static constexpr TextListGetter<rpc_port_device_s_h> properties[] = {nullptr,
                                                                         rpc_port_device_s_get_device_type};
    return LocalCall{}
        .agent(1, 0)
        .require(device != nullptr && list != nullptr && count != nullptr)
        .then(text_list_property(properties, device, property_id, list, count))
        .result();
}

int quorvel_client_set_device_list_updated_cb(quorvel_client_h handle,
                                              quorvel_client_device_list_updated_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(set_device_list_cb),
                registration(device_list_slot, DELEGATE(device_list_cb), _device_list_cb,
                             &Client::device_list, cb, user_data))
        .result();
}

int quorvel_client_unset_device_list_updated_cb(quorvel_client_h handle)
{
    return ApiCall{handle}
        .agent(1, 0)
        .proxied()
        .then(unregistered(device_list_slot, &Client::device_list))
        .invoke(METHOD(unset_device_list_cb))
        .result();
}

void _device_list_cb(void* user_data, rpc_port_array_device_s_h devices, int)
{
    Event event{user_data};
    const auto pair = event.has_user_data().callback(&Client::device_list, "No device list cb");
    rpc_port_device_s_h* list = nullptr;
    int count = 0;
    if (event.ok() && copy_out(event, devices, rpc_port_array_device_s_get_array_device_ss, &list, &count))
        pair.callback(reinterpret_cast<quorvel_client_device_h*>(list), count, pair.user_data);
}

int quorvel_client_move_devices(quorvel_client_h handle, const char* const* device_ids, int count,
                                const char* group_id, const char* second, quorvel_client_device_result_cb cb,
                                void* user_data)
{
    return ApiCall{handle}
        .agent(1, 4)
        .require(device_ids != nullptr, "device id list is NULL")
        // The text says "less than 0" of a 0 too.
        .require(count > 0, "device id count is less than 0")
        .require(is_set(group_id), "group_id is NULL")
        // Unlike that of a removal the request stays when the agent refuses, which is meant so here and for
        // the nickname.
        .invoke(METHOD(move_devices), StringsIn{device_ids, count}, count, group_id, second,
                device_result(cb, user_data).stays_when_refused())
        .result();
}

int quorvel_client_change_device_nick(quorvel_client_h handle, const char* device_id, const char* nick_name,
                                      quorvel_client_device_result_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 4)
        .require(is_set(device_id), "device_id is NULL")
        .require(is_set(nick_name), "nick_name is NULL")
        // Reported under the name of another method, which is meant so.
        .invoke(METHOD(change_device_nick).reported_as(METHOD_NAME(set_device_profile)), device_id, nick_name,
                device_result(cb, user_data).stays_when_refused())
        .result();
}

int quorvel_client_remove_device(quorvel_client_h handle, const char* device_id,
                                 quorvel_client_device_result_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 6)
        .require(is_set(device_id), "device_id is NULL")
        // Reported without the "invoke_" of the others, which is meant so.
        .invoke(METHOD(remove_device).reported_as("rpc_port_proxy_qv_client_remove_device"), device_id,
                device_result(cb, user_data))
        .result();
}

void _device_result_cb(void* request, int result)
{
    Event{request}.answer<quorvel_client_device_result_cb>(result);
}
