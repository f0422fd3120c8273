#include <quorvel_client_qc_api.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "internal/answer.hpp"
#include "internal/cloud_device_state.hpp"
#include "internal/named.hpp"
#include "internal/parameters.hpp"
#include "internal/properties.hpp"
#include "internal/registration.hpp"
#include "internal/request_tables.hpp"

using namespace quorvel;

// Subscriptions and the state of devices in the cloud.

namespace {

/// What a live request is found by. A key is cut to its size, so requests whose keys begin alike are one,
/// which is meant so.
template <std::size_t size>
struct RequestKey {
    char text[size] = {};
};

/// The step that makes the key of a subscription: its URIs stand in it as a digest.
auto subscription_key(RequestKey<102>& key, const char* device_id, const char* resource_uris)
{
    return [=, &key](const ApiCall& call) {
        gchar* const digest = g_compute_checksum_for_string(G_CHECKSUM_SHA256, resource_uris, -1);
        static_cast<void>(std::snprintf(key.text, sizeof key.text, "%s_%s", device_id, digest));
        g_free(digest);
        log_api(DLOG_DEBUG, call.at(), QC_TEXT("device_id [%s]"), device_id);
        log_api(DLOG_DEBUG, call.at(), QC_TEXT("res_uris [%s]"), resource_uris);
    };
}

/// The step that makes the key of a device that is monitored.
auto monitoring_key(RequestKey<99>& key, const char* device_id)
{
    return [=, &key](const ApiCall& call) {
        static_cast<void>(std::snprintf(key.text, sizeof key.text, "%s", device_id));
        log_api(DLOG_DEBUG, call.at(), QC_TEXT("s_request_id [%s]"), key.text);
    };
}

/// The step that ends the one request of that key.
auto ended(RequestTable table, const char* key)
{
    return [=](ApiCall& call) {
        RequestEntryPtr entry;
        call.require(table.take(key, entry), RequestTable::missing, RequestTable::missing_code);
        dispose_of(std::move(entry));
    };
}

/// The step that ends the subscriptions to a device, and to every other whose id begins with this one's,
/// which is meant so.
auto all_ended(const char* device_id)
{
    return [=](ApiCall& call) {
        // NOLINTNEXTLINE(clang-analyzer-core.NonNullParamChecker): the id was checked by a step before.
        char* const beginning = strdup(device_id);
        call.require(beginning != nullptr, "memory allocation is failed", QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
        if (!call.ok())
            return;
        RequestEntryPtr entries;
        call.require(subscriptions.take_all(beginning, entries), RequestTable::missing,
                     RequestTable::missing_code);
        std::free(beginning);
        dispose_of(std::move(entries));
    };
}

/// An event of a live request: its callback is found by the key, which more than one request may share.
template <typename Callback, typename... Values>
void tell_request(Event& event, RequestTable table, void* key, Values... values)
{
    const Request request = table.find(key);
    event.require(request.callback != nullptr, "request or request->user_cb is NULL");
    if (event.ok())
        reinterpret_cast<Callback>(request.callback)(values..., request.user_data);
}

}  // namespace

int quorvel_client_subscribe(quorvel_client_h handle, const char* device_id, const char* resource_uris,
                             const char* extra, quorvel_client_subscribe_cb cb, void* user_data)
{
    RequestKey<102> key;
    return ApiCall{handle}
        .agent(1, 0)
        .require(is_set(device_id), "device_id is invalid")
        .require(is_set(resource_uris), "res_uris is invalid")
        .require(cb != nullptr, "user_cb is NULL")
        .require(!session::is_caching, "Caching Data", QUORVEL_CLIENT_ERROR_NO_DATA)
        .proxied()
        .then(subscription_key(key, device_id, resource_uris))
        .invoke(METHOD(subscribe), device_id, resource_uris, extra,
                tabled_before_asking(subscriptions, key.text, "Already subscribed", DELEGATE(subscribe_cb),
                                     _subscribe_cb, cb, user_data))
        .result();
}

// The sixth value comes before the fifth, which is meant so.
void _subscribe_cb(void* key, const char* first, const char* second, const char* third, const char* fourth,
                   const char* fifth, const char* sixth)
{
    Event event{key};
    tell_request<quorvel_client_subscribe_cb>(event, subscriptions, key, first, second, third, fourth, sixth,
                                              fifth);
}

int quorvel_client_unsubscribe(quorvel_client_h handle, const char* device_id, const char* resource_uris)
{
    ApiCall call{handle};
    call.agent(1, 0).require(is_set(device_id), "device_id is invalid");
    // Unlike subscribing this is no failure, and nothing is done.
    if (call.ok() && session::is_caching) {
        log_api(DLOG_INFO, call.at(), QC_TEXT("Caching Data"));
        return call.result();
    }
    call.invoke(METHOD(unsubscribe), device_id, resource_uris);
    if (!is_set(resource_uris))
        return call.then(all_ended(device_id)).result();
    RequestKey<102> key;
    return call.then(subscription_key(key, device_id, resource_uris))
        .then(ended(subscriptions, key.text))
        .result();
}

int quorvel_client_start_monitoring_cloud_device_state(quorvel_client_h handle, const char* device_id,
                                                       const char* extra,
                                                       quorvel_client_cloud_device_state_cb cb,
                                                       void* user_data)
{
    RequestKey<99> key;
    return ApiCall{handle}
        .agent(1, 0)
        .require(is_set(device_id), "device_id is invalid")
        .require(cb != nullptr, "user_cb is NULL")
        .proxied()
        .then(monitoring_key(key, device_id))
        .invoke(METHOD(start_monitoring_network_state), device_id, extra,
                tabled_when_agreed(monitoring, key.text, "Already monitoring",
                                   DELEGATE(start_monitoring_network_state_cb),
                                   _start_monitoring_network_state_cb, cb, user_data))
        .result();
}

// The fourth value comes before the third, which is meant so; and no state is an unknown one, while in a
// device's details it is a connected one.
void _start_monitoring_network_state_cb(void* key, const char* first, const char* state, const char* third,
                                        const char* fourth)
{
    Event event{key};
    tell_request<quorvel_client_cloud_device_state_cb>(
        event, monitoring, key, first, cloud_device_state(state != nullptr ? state : ""), fourth, third);
}

int quorvel_client_stop_monitoring_cloud_device_state(quorvel_client_h handle, const char* device_id)
{
    RequestKey<99> key;
    return ApiCall{handle}
        .agent(1, 0)
        .require(is_set(device_id), "device_id is invalid")
        .invoke(METHOD(stop_monitoring_network_state), device_id)
        .then(monitoring_key(key, device_id))
        .then(ended(monitoring, key.text))
        .result();
}

// Resources of remote devices.

namespace {

/// The checks that the calls on one resource share; a good URI is logged.
ApiCall& on_resource(ApiCall& call, const char* device_id, const char* resource_uri)
{
    return call.agent(1, 0)
        .require(is_set(device_id), "device_id is invalid")
        .require(is_set(resource_uri), "res_uri is invalid")
        .then([&] { log_api(DLOG_DEBUG, call.at(), QC_TEXT("res_uri [%s]"), resource_uri); });
}

auto representation(quorvel_client_remote_representation_cb cb, void* user_data)
{
    return one_answer(DELEGATE(remote_representation_cb), _remote_representation_cb, cb, user_data);
}

auto attributes(quorvel_client_remote_attributes_cb cb, void* user_data)
{
    return one_answer(DELEGATE(remote_attributes_cb), _remote_attributes_cb, cb, user_data);
}

/// A query that the agent answers with strings about a device.
template <typename Routine>
int query_strings(ApiCall& call, const Method<Routine>& method, const char* device_id, const char* text,
                  const char* bad_text, char*** list, int* count)
{
    return call.require(is_set(device_id), "device_id is invalid")
        .require(is_set(text), bad_text)
        .require(list != nullptr && count != nullptr)
        .invoke(method, device_id, text, StringsOut{list, count}, Unused{})
        .result();
}

}  // namespace

int quorvel_client_set_remote_representation(quorvel_client_h handle, const char* device_id,
                                             const char* resource_uri, const char* value, const char* extra1,
                                             const char* extra2, quorvel_client_remote_representation_cb cb,
                                             void* user_data)
{
    ApiCall call{handle};
    return on_resource(call, device_id, resource_uri)
        .require(is_set(value), "value is invalid")
        .invoke(METHOD(set_remote_representation), device_id, resource_uri, value, extra1, extra2,
                representation(cb, user_data))
        .result();
}

int quorvel_client_get_remote_representation(quorvel_client_h handle, const char* device_id,
                                             const char* resource_uri, const char* extra1, const char* extra2,
                                             quorvel_client_remote_representation_cb cb, void* user_data)
{
    ApiCall call{handle};
    return on_resource(call, device_id, resource_uri)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(get_remote_representation), device_id, resource_uri, extra1, extra2,
                representation(cb, user_data))
        .result();
}

// The order of the values is meant so, here and for the attributes.
void _remote_representation_cb(void* request, const char* first, const char* second, const char* third,
                               const char* fourth, const char* fifth, int sixth)
{
    Answer{request}.tell<quorvel_client_remote_representation_cb>(sixth, first, second, third, fifth, fourth);
}

int quorvel_client_set_remote_attributes(quorvel_client_h handle, const char* device_id,
                                         const char* resource_uri, const char* value, const char* extra1,
                                         const char* extra2, quorvel_client_remote_attributes_cb cb,
                                         void* user_data)
{
    ApiCall call{handle};
    return on_resource(call, device_id, resource_uri)
        .require(is_set(value), "value is invalid")
        .invoke(METHOD(set_remote_attributes), device_id, resource_uri, value, extra1, extra2,
                attributes(cb, user_data))
        .result();
}

int quorvel_client_get_remote_attributes(quorvel_client_h handle, const char* device_id,
                                         const char* resource_uri, const char* extra1, const char* extra2,
                                         quorvel_client_remote_attributes_cb cb, void* user_data)
{
    ApiCall call{handle};
    return on_resource(call, device_id, resource_uri)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(get_remote_attributes), device_id, resource_uri, extra1, extra2,
                attributes(cb, user_data))
        .result();
}

void _remote_attributes_cb(void* request, const char* first, const char* second, const char* third,
                           const char* fourth, const char* fifth, int sixth)
{
    Answer{request}.tell<quorvel_client_remote_attributes_cb>(sixth, first, second, third, fifth, fourth);
}

int quorvel_client_get_resource_uris(quorvel_client_h handle, const char* device_id,
                                     const char* resource_type, char*** list, int* count)
{
    ApiCall call{handle};
    return query_strings(call.agent(2, 2), METHOD(get_resource_uris), device_id, resource_type,
                         "res_type is invalid", list, count);
}

int quorvel_client_get_resource_types_by_resource_uri(quorvel_client_h handle, const char* device_id,
                                                      const char* resource_uri, char*** list, int* count)
{
    ApiCall call{handle};
    // Reported without the "_by_resource_uri" of the method, which is meant so.
    return query_strings(
        call.agent(1, 5),
        METHOD(get_resource_types_by_resource_uri).reported_as(METHOD_NAME(get_resource_types)), device_id,
        resource_uri, "resource_uri is invalid", list, count);
}

int quorvel_client_get_accessory_list(quorvel_client_h handle, quorvel_client_accessory_list_cb cb,
                                      void* user_data)
{
    return ApiCall{handle}
        .agent(1, 3)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(get_accessory_list),
                one_answer(DELEGATE(get_accessory_list_cb), _get_accessory_list_cb, cb, user_data))
        .result();
}

// The number comes first, which is meant so, here and for the tokens.
void _get_accessory_list_cb(void* request, const char* first, int second)
{
    Answer{request}.tell<quorvel_client_accessory_list_cb>(second, first);
}

// Services of the account.

int quorvel_client_activate_vxr_migration(quorvel_client_h handle, quorvel_client_vxr_migration_cb cb,
                                          void* user_data)
{
    return ApiCall{handle}
        .agent(1, 0)
        .invoke(METHOD(activate_vxr_migration),
                one_answer(DELEGATE(activate_vxr_migration_cb), _activate_vxr_migration_cb, cb, user_data))
        .result();
}

void _activate_vxr_migration_cb(void* request, const char* state)
{
    Answer{request}.tell<quorvel_client_vxr_migration_cb>(says_true(state));
}

int quorvel_client_get_vxr_device_token(quorvel_client_h handle, quorvel_client_vxr_device_token_cb cb,
                                        void* user_data)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(get_vxr_device_token),
                one_answer(DELEGATE(get_vxr_device_token_cb), _get_vxr_device_token_cb, cb, user_data))
        .result();
}

void _get_vxr_device_token_cb(void* request, const char* first, int second)
{
    Answer{request}.tell<quorvel_client_vxr_device_token_cb>(second, first);
}

int quorvel_client_get_vxr_device_peer_token(quorvel_client_h handle, const char* device_id,
                                             quorvel_client_vxr_device_peer_token_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 2)
        .require(is_set(device_id), "device_id is invalid")
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(
            METHOD(get_vxr_device_peer_token), device_id,
            one_answer(DELEGATE(get_vxr_device_peer_token_cb), _get_vxr_device_peer_token_cb, cb, user_data))
        .result();
}

void _get_vxr_device_peer_token_cb(void* request, const char* first, const char* second, bool third,
                                   int fourth)
{
    Answer{request}.tell<quorvel_client_vxr_device_peer_token_cb>(fourth, first, second, third);
}

namespace {

auto notification_result(quorvel_client_third_party_notification_cb cb, void* user_data)
{
    return one_answer(DELEGATE(set_third_party_notification_cb), _set_third_party_notification_cb, cb,
                      user_data);
}

}  // namespace

int quorvel_client_set_third_party_notification(quorvel_client_h handle, const char* push_provider,
                                                const char* push_reg_id, const char* push_app_id,
                                                const char* locale,
                                                quorvel_client_third_party_notification_cb cb,
                                                void* user_data)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(is_set(push_provider), "push_provider is invalid")
        .require(is_set(push_reg_id), "push_reg_id is invalid")
        .require(is_set(push_app_id), "push_app_id is invalid")
        .require(is_set(locale), "locale is invalid")
        .invoke(METHOD(set_third_party_notification), push_provider, push_reg_id, push_app_id, locale,
                notification_result(cb, user_data))
        .result();
}

int quorvel_client_set_third_party_notification_status(quorvel_client_h handle, bool enabled,
                                                       const char* const* list, int count,
                                                       quorvel_client_third_party_notification_cb cb,
                                                       void* user_data)
{
    StringsIn strings{list, count};
    return ApiCall{handle}
        .agent(2, 2)
        // An argument like any other: looked at before the proxy.
        .then([&](ApiCall& call) { strings.prepare(call); })
        .invoke(METHOD(set_third_party_notification_status), enabled, strings.argument(), count,
                notification_result(cb, user_data))
        .result();
}

void _set_third_party_notification_cb(void* request, const char* state)
{
    Answer{request}.tell<quorvel_client_third_party_notification_cb>(says_true(state));
}

int quorvel_client_get_third_party_notification_status(quorvel_client_h handle,
                                                       quorvel_client_third_party_notification_status_cb cb,
                                                       void* user_data)
{
    return ApiCall{handle}
        .agent(2, 2)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(get_third_party_notification_status),
                one_answer(DELEGATE(third_party_notification_status_cb), _third_party_notification_status_cb,
                           cb, user_data))
        .result();
}

void _third_party_notification_status_cb(void* request, int first, bool second,
                                         rpc_port_array_string_h strings, int)
{
    Answer answer{request};
    const auto callback = answer.request.callback<quorvel_client_third_party_notification_status_cb>();
    // Without memory for the strings the rest is told all the same.
    Copies copies{answer.event, strings, rpc_port_array_string_get_array_strings};
    if (callback != nullptr)
        callback(first, second, copies.hand_over(), copies.count(), answer.request.user_data());
}

namespace {

Slot notification_status_slot;

}  // namespace

int quorvel_client_set_third_party_notification_status_updated_cb(
    quorvel_client_h handle, quorvel_client_third_party_notification_status_updated_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(2, 2)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(set_third_party_notification_status_updated_cb),
                registration(notification_status_slot, DELEGATE(third_party_notification_status_updated_cb),
                             _third_party_notification_status_updated_cb,
                             &Client::third_party_notification_status, cb, user_data))
        .result();
}

int quorvel_client_unset_third_party_notification_status_updated_cb(quorvel_client_h handle)
{
    return ApiCall{handle}
        .agent(2, 2)
        .proxied()
        .then(unregistered(notification_status_slot, &Client::third_party_notification_status))
        .invoke(METHOD(unset_third_party_notification_status_updated_cb))
        .result();
}

void _third_party_notification_status_updated_cb(void* user_data)
{
    Event{user_data}.has_user_data().tell(&Client::third_party_notification_status);
}

// Files.

int quorvel_client_get_files(quorvel_client_h handle, const char* device_id, const char* resource_uri,
                             const char* extra, quorvel_client_files_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 2)
        .require(is_set(device_id), "device_id is invalid")
        .require(is_set(resource_uri), "res_uri is invalid")
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(get_file_transfer_data), device_id, resource_uri, extra,
                one_answer(DELEGATE(file_transfer_data_cb), _file_transfer_data_cb, cb, user_data))
        .result();
}

void _file_transfer_data_cb(void* request, rpc_port_array_transfer_data_s_h files, int, const char* status,
                            int fourth)
{
    Answer answer{request};
    const auto callback = answer.request.callback<quorvel_client_files_cb>();
    Copies copies{answer.event, files, rpc_port_array_transfer_data_s_get_array_transfer_data_ss};
    if (!answer.event.ok() || callback == nullptr)
        return;
    // Anything may follow these words, and elements may have come with them.
    if (status != nullptr && std::strncmp(status, "no data", 7) == 0)
        copies.release();
    callback(fourth, reinterpret_cast<quorvel_client_file_h*>(copies.hand_over()), copies.count(), status,
             answer.request.user_data());
}

namespace {

/// A copy of a file's bytes, to be freed; NULL, which is no failure, when it came without them. Its size is
/// that of the bytes, whatever length the agent tells.
unsigned char* copy_bytes(LocalCall& call, rpc_port_transfer_data_s_h file)
{
    const BundleCopy contents{rpc_port_transfer_data_s_get_file_data, file};
    void* bytes = nullptr;
    std::size_t size = 0;
    if (contents.get() == nullptr || bundle_get_byte(contents.get(), "TransferData", &bytes, &size) != 0
        || bytes == nullptr) {
        log_api(DLOG_INFO, call.at(), QC_TEXT("Transfer file data is null or fail to bundle get byte"));
        return nullptr;
    }
    auto* const copy = static_cast<unsigned char*>(std::calloc(1, size));
    call.require(copy != nullptr, "fail to calloc", QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
    if (call.ok())
        std::memcpy(copy, bytes, size);
    return copy;
}

}  // namespace

int quorvel_client_file_get_details(quorvel_client_file_h file, char** file_name, unsigned char** data,
                                    int* length)
{
    return LocalCall{}
        .agent(1, 2)
        .require(file != nullptr, "file handle is NULL")
        .require(file_name != nullptr && data != nullptr && length != nullptr)
        .then([=](LocalCall& call) {
            const auto record = static_cast<rpc_port_transfer_data_s_h>(file);
            unsigned char* const bytes = copy_bytes(call, record);
            if (!call.ok())
                return;
            *data = bytes;
            char* name = nullptr;
            rpc_port_transfer_data_s_get_file_name(record, &name);
            hand_out_unless_empty(name, file_name);
            rpc_port_transfer_data_s_get_file_length(record, length);
            *length = std::max(*length, -1);
        })
        .result();
}

int quorvel_client_file_destroy(quorvel_client_file_h file)
{
    return LocalCall{}
        .agent(1, 2)
        .require(file != nullptr, "file handle is NULL")
        .then(released<rpc_port_transfer_data_s_h>(file))
        .result();
}

// Self sign-up.

int quorvel_client_get_self_sign_up_info(quorvel_client_h handle, const char* group_id, const char* extra,
                                         quorvel_client_self_sign_up_info_h* info)
{
    return ApiCall{handle}
        .agent(2, 0)
        .require(info != nullptr, "invalid parameter(sign_up_info)")
        .require(is_set(group_id), "invalid parameter(group_id)")
        .invoke(METHOD(get_self_signup_info_for_thing), group_id, extra,
                record_out<rpc_port_self_signup_info_s_h>(info))
        .result();
}

int quorvel_client_self_sign_up_info_get_string(quorvel_client_self_sign_up_info_h info, int property_id,
                                                char** value)
{
    static constexpr const char* keys[] = {"jwt",         "clientID",        "uid",
                                           "hostAddress", "jwtAuthProvider", "serverDeploymentEnv"};
    static constexpr PropertyMessages messages = {QC_TEXT("invalid property id [%d]"),
                                                  QC_TEXT("get self_sign_up_info_e[%d] failed")};
    return LocalCall{}
        .agent(2, 0)
        .require(info != nullptr && value != nullptr)
        .then(bundle_text_property(keys, rpc_port_self_signup_info_s_get_bundle_data, info, property_id,
                                   value, messages))
        .result();
}

int quorvel_client_self_sign_up_info_destroy(quorvel_client_self_sign_up_info_h info)
{
    return LocalCall{}
        .agent(2, 0)
        .require(info != nullptr)
        .then(released<rpc_port_self_signup_info_s_h>(info))
        .result();
}
