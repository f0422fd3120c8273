#include <quorvel_client_easy_setup.h>

#include <platform_error.h>

#include <algorithm>
#include <initializer_list>

#include "internal/bundle_properties.hpp"
#include "internal/easy_setup_properties.hpp"
#include "internal/named.hpp"
#include "internal/parameters.hpp"
#include "internal/registration.hpp"

using namespace quorvel;

namespace {

// The session. It is the process's, not a client's.
std::atomic<bool> is_initialised = false;
std::atomic<int> session_type = QUORVEL_CLIENT_EASY_SETUP_TYPE_HOST_ADDRESS;
std::atomic<void*> start_user_data = nullptr;

Slot otm_feature_slot;
Slot random_pin_slot;
Slot enrollee_owned_slot;
Slot prov_info_slot;
Slot state_slot;
Slot enrollee_error_slot;

/// The step that takes back what the starts of the last session registered, so that the next start registers
/// its own. The agent is not told.
void take_back_start_callbacks(ApiCall& call)
{
    for (Slot* const slot : {&otm_feature_slot, &random_pin_slot, &enrollee_owned_slot, &prov_info_slot}) {
        slot->dispose(call.proxy());
        slot->empty();
    }
}

/// A callback given to a start, and the step that registers it.
template <typename Step>
struct StartCallback {
    bool is_given;
    Step registered;
};

template <typename Step>
StartCallback(bool, Step) -> StartCallback<Step>;

template <typename Callback, typename... Registration>
auto start_callback(Callback cb, Registration&&... registration)
{
    return StartCallback{cb != nullptr, registered_if_empty(std::forward<Registration>(registration)..., cb)};
}

auto otm_feature(quorvel_client_easy_setup_otm_feature_cb cb)
{
    return start_callback(cb, METHOD(set_easy_setup_otm_support_feature_cb), otm_feature_slot,
                          DELEGATE(easy_setup_otm_support_feature_cb), _easy_setup_otm_support_feature_cb,
                          &Client::easy_setup_otm_feature);
}

auto random_pin(quorvel_client_easy_setup_random_pin_cb cb)
{
    return start_callback(cb, METHOD(set_easy_setup_random_pin_cb), random_pin_slot,
                          DELEGATE(easy_setup_random_pin_cb), _easy_setup_random_pin_cb,
                          &Client::easy_setup_random_pin);
}

auto enrollee_owned(quorvel_client_easy_setup_enrollee_owned_cb cb)
{
    return start_callback(cb, METHOD(set_easy_setup_enrollee_owned_cb), enrollee_owned_slot,
                          DELEGATE(easy_setup_enrollee_owned_cb), _easy_setup_enrollee_owned_cb,
                          &Client::easy_setup_enrollee_owned);
}

auto provisioning_info(quorvel_client_easy_setup_provisioning_info_cb cb)
{
    return start_callback(cb, METHOD(set_easy_setup_prov_info_cb), prov_info_slot,
                          DELEGATE(easy_setup_prov_info_cb), _easy_setup_prov_info_cb,
                          &Client::easy_setup_prov_info);
}

/// Both versions of the start.
template <typename... Callbacks>
int start(ApiCall&& call, const char* host_address, bool flag, void* user_data, const Callbacks&... callbacks)
{
    // The host comes before the callbacks, and the user data is taken over before the proxy is looked for;
    // both are meant so.
    call.agent(1, 4)
        .require(session_type != QUORVEL_CLIENT_EASY_SETUP_TYPE_HOST_ADDRESS || is_set(host_address),
                 "host_address is invalid")
        .require((... && callbacks.is_given), "user_cb is NULL")
        .require(is_initialised, "Need to initialize", QUORVEL_CLIENT_ERROR_OPERATION_FAILED)
        .then([=] { start_user_data = user_data; })
        .proxied();
    (..., call.then(callbacks.registered));
    // Reported under the name of the first version's method, which is meant so.
    return call
        .invoke(METHOD(start_easy_setup_v2).reported_as(METHOD_NAME(start_easy_setup)), host_address, flag)
        .result();
}

auto setup_result(quorvel_client_easy_setup_result_cb cb, void* user_data)
{
    return one_answer(DELEGATE(easy_setup_result_cb), _easy_setup_result_cb, cb, user_data);
}

auto ocf_result(quorvel_client_easy_setup_result_cb cb, void* user_data)
{
    return one_answer(DELEGATE(ocf_result_cb), _ocf_result_cb, cb, user_data);
}

/// Closes a vector of copies up where one could not be made; one without any is NULL and 0.
void close_gaps(rpc_port_access_point_s_h*& list, int& count)
{
    if (list == nullptr)
        return;
    rpc_port_access_point_s_h* const end = std::remove(list, list + count, nullptr);
    std::fill(end, list + count, nullptr);
    count = static_cast<int>(end - list);
    if (count == 0)
        std::free(std::exchange(list, nullptr));
}

/// The place of the enrollee, made for one call: a step, and then a parameter.
class BookmarkLocation {
public:
    struct Entry {
        const char* key;
        const char* text;
    };

    BookmarkLocation() = default;
    ~BookmarkLocation()
    {
        if (record_ != nullptr)
            rpc_port_bookmark_location_s_destroy(record_);
    }
    BookmarkLocation(const BookmarkLocation&) = delete;
    BookmarkLocation& operator=(const BookmarkLocation&) = delete;

    void make(ApiCall& call, std::initializer_list<Entry> entries)
    {
        constexpr auto kind = RECORD(bookmark_location_s);
        const OwnedBundle place = new_bundle(call);
        for (const auto& [key, text] : entries) {
            // Only a missing text is left out; an empty one is sent.
            const int error = call.ok() && text != nullptr ? bundle_add_str(place.get(), key, text) : 0;
            if (error != BUNDLE_ERROR_NONE)
                call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, QC_TEXT("bundle_add_str() failed [%d : %s]"),
                          error, shown(get_error_message(error)));
        }
        if (call.ok())
            record_ = new_record(call, kind);
        if (call.ok() && kind.set_bundle(record_, place.get()) != 0)
            call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, QC_TEXT("%s failed"), kind.set_bundle_name);
    }
    rpc_port_bookmark_location_s_h argument() const { return record_; }

private:
    rpc_port_bookmark_location_s_h record_ = nullptr;
};

}  // namespace

// The session

int quorvel_client_easy_setup_initialize(quorvel_client_h handle, int setup_type,
                                         quorvel_client_easy_setup_result_cb cb, void* user_data)
{
    // The session is closed before anything is checked, which is meant so.
    return ApiCall{handle}
        .then([] { is_initialised = false; })
        .agent(1, 4)
        .require(cb != nullptr, "user_cb is NULL")
        .then([=] { session_type = setup_type; })
        .proxied()
        .then(take_back_start_callbacks)
        .invoke(METHOD(init_easy_setup), setup_type,
                one_answer(DELEGATE(easy_setup_init_cb), _easy_setup_init_cb, cb, user_data)
                    .destroyed_when_refused())
        .result();
}

void _easy_setup_init_cb(void* request, int result)
{
    Event event{request};
    if (result == QUORVEL_CLIENT_ERROR_NONE)
        is_initialised = true;
    event.answer<quorvel_client_easy_setup_result_cb>(result);
}

int quorvel_client_easy_setup_start(quorvel_client_h handle, const char* host_address, bool flag,
                                    quorvel_client_easy_setup_otm_feature_cb otm_feature_cb,
                                    quorvel_client_easy_setup_random_pin_cb random_pin_cb,
                                    quorvel_client_easy_setup_enrollee_owned_cb enrollee_owned_cb,
                                    void* user_data)
{
    return start(ApiCall{handle}, host_address, flag, user_data, otm_feature(otm_feature_cb),
                 random_pin(random_pin_cb), enrollee_owned(enrollee_owned_cb));
}

int quorvel_client_easy_setup_start_v2(quorvel_client_h handle, const char* host_address, bool flag,
                                       quorvel_client_easy_setup_otm_feature_cb otm_feature_cb,
                                       quorvel_client_easy_setup_random_pin_cb random_pin_cb,
                                       quorvel_client_easy_setup_provisioning_info_cb provisioning_info_cb,
                                       void* user_data)
{
    return start(ApiCall{handle}, host_address, flag, user_data, otm_feature(otm_feature_cb),
                 random_pin(random_pin_cb), provisioning_info(provisioning_info_cb));
}

void _easy_setup_otm_support_feature_cb(void* user_data, int feature)
{
    Event{user_data}.has_user_data().tell_exactly(&Client::easy_setup_otm_feature, feature,
                                                  start_user_data.load());
}

// The PIN itself, the first value, is not told, which is meant so.
void _easy_setup_random_pin_cb(void* user_data, const char*, int value)
{
    Event{user_data}.has_user_data().tell_exactly(&Client::easy_setup_random_pin, value,
                                                  start_user_data.load());
}

void _easy_setup_enrollee_owned_cb(void* user_data, bool owned)
{
    Event{user_data}.has_user_data().tell_exactly(&Client::easy_setup_enrollee_owned, owned,
                                                  start_user_data.load());
}

void _easy_setup_prov_info_cb(void* user_data, rpc_port_easy_setup_prov_info_s_h info)
{
    Event event{user_data};
    const auto pair = event.has_user_data().callback(&Client::easy_setup_prov_info);
    const auto copy = pair.callback != nullptr ? copy_out(event, info) : nullptr;
    if (copy != nullptr)
        pair.callback(copy, start_user_data);
}

int quorvel_client_easy_setup_stop(quorvel_client_h handle)
{
    return ApiCall{handle}.agent(1, 4).invoke(METHOD(stop_easy_setup)).result();
}

int quorvel_client_set_easy_setup_state_cb(quorvel_client_h handle, quorvel_client_easy_setup_state_cb cb,
                                           void* user_data)
{
    return ApiCall{handle}
        .agent(1, 4)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(set_easy_setup_state_cb),
                registration(state_slot, DELEGATE(easy_setup_state_cb), _easy_setup_state_cb,
                             &Client::easy_setup_state, cb, user_data))
        .result();
}

int quorvel_client_unset_easy_setup_state_cb(quorvel_client_h handle)
{
    return ApiCall{handle}
        .agent(1, 4)
        .proxied()
        .then(unregistered(state_slot, &Client::easy_setup_state))
        .invoke(METHOD(unset_easy_setup_state_cb))
        .result();
}

void _easy_setup_state_cb(void* user_data, int first, int second)
{
    Event{user_data}.has_user_data().tell(&Client::easy_setup_state, first, second);
}

int quorvel_client_set_easy_setup_enrollee_error_cb(quorvel_client_h handle,
                                                    quorvel_client_easy_setup_enrollee_error_cb cb,
                                                    void* user_data)
{
    return ApiCall{handle}
        .agent(1, 4)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(
            METHOD(set_easy_setup_enrollee_state_cb),
            registration(enrollee_error_slot, DELEGATE(easy_setup_enrollee_state_cb),
                         _easy_setup_enrollee_state_cb, &Client::easy_setup_enrollee_error, cb, user_data))
        .result();
}

int quorvel_client_unset_easy_setup_enrollee_error_cb(quorvel_client_h handle)
{
    return ApiCall{handle}
        .agent(1, 4)
        .proxied()
        .then(unregistered(enrollee_error_slot, &Client::easy_setup_enrollee_error))
        .invoke(METHOD(unset_easy_setup_enrollee_state_cb))
        .result();
}

void _easy_setup_enrollee_state_cb(void* user_data, int first, int second)
{
    Event event{user_data};
    const auto error = event.has_user_data().callback(&Client::easy_setup_enrollee_error);
    // The user data is that of the state callback, which is meant so.
    if (error.callback != nullptr)
        error.callback(first, second, event.client().easy_setup_state.load().user_data);
}

int quorvel_client_easy_setup_set_supported_otm_feature(quorvel_client_h handle, int feature)
{
    return ApiCall{handle}.agent(1, 4).invoke(METHOD(set_easy_setup_otm_support_feature), feature).result();
}

int quorvel_client_easy_setup_set_random_pin(quorvel_client_h handle, const char* pin)
{
    return ApiCall{handle}
        .agent(1, 4)
        .require(is_set(pin), "quorvel_client random pin is NULL")
        .invoke(METHOD(set_easy_setup_random_pin), pin)
        .result();
}

int quorvel_client_easy_setup_monitoring_enrollee_sign_in(quorvel_client_h handle,
                                                          quorvel_client_easy_setup_enrollee_sign_in_cb cb,
                                                          void* user_data)
{
    return ApiCall{handle}
        .agent(1, 4)
        .require(cb != nullptr, "invalid user_cb")
        .invoke(METHOD(monitor_enrollee_sign_in), one_answer(DELEGATE(monitor_enrollee_sign_in_cb),
                                                             _monitor_enrollee_sign_in_cb, cb, user_data))
        .result();
}

void _monitor_enrollee_sign_in_cb(void* request, bool signed_in)
{
    // The user data of the call is not passed on, which is meant so.
    Event{request}.answer_exactly<quorvel_client_easy_setup_enrollee_sign_in_cb>(signed_in, nullptr);
}

int quorvel_client_easy_setup_get_last_error_code(quorvel_client_h handle, char** error_code)
{
    return ApiCall{handle}
        .agent(2, 3)
        .require(error_code != nullptr)
        .invoke(METHOD(get_easysetup_last_error_code),
                BundleTextOut<rpc_port_easy_setup_error_code_s_h>{"error_code", error_code})
        .result();
}

// Access points

int quorvel_client_easy_setup_get_access_point_list(quorvel_client_h handle,
                                                    quorvel_client_easy_setup_access_point_list_cb cb,
                                                    void* user_data)
{
    return ApiCall{handle}
        .agent(1, 4)
        .require(cb != nullptr, "invalid user_cb")
        .invoke(METHOD(get_access_point_list),
                one_answer(DELEGATE(access_point_list_cb), _access_point_list_cb, cb, user_data))
        .result();
}

void _access_point_list_cb(void* request, rpc_port_array_access_point_s_h access_points, int)
{
    Event event{request};
    AnsweredRequest answered{request};
    const auto callback = event.answered<quorvel_client_easy_setup_access_point_list_cb>(answered);
    rpc_port_access_point_s_h* list = nullptr;
    int count = 0;
    if (callback == nullptr)
        return;
    if (!copy_out(event, access_points, rpc_port_array_access_point_s_get_array_access_point_ss, &list,
                  &count)) {
        // The request stays until the client goes, which is meant so.
        answered.abandon();
        return;
    }
    close_gaps(list, count);
    callback(reinterpret_cast<quorvel_client_easy_setup_access_point_h*>(list), count, answered.user_data());
}

int quorvel_client_easy_setup_access_point_get_string(quorvel_client_easy_setup_access_point_h access_point,
                                                      int property_id, char** value)
{
    return get_property(easy_setup::access_points, access_point, property_id, value);
}

int quorvel_client_easy_setup_destroy_access_point(quorvel_client_easy_setup_access_point_h access_point)
{
    // One alone needs a newer agent than the rest of its family, which is meant so.
    return LocalCall{}.agent(2, 3).then(record_released(easy_setup::access_points, access_point)).result();
}

int quorvel_client_easy_setup_destroy_access_point_list(quorvel_client_easy_setup_access_point_h* list)
{
    return LocalCall{}
        .agent(1, 4)
        .require(list != nullptr, "ap_h is NULL")
        .then(records_released<rpc_port_access_point_s_h>(list))
        .result();
}

// What the enrollee is set up with

int quorvel_client_easy_setup_device_property_create(quorvel_client_easy_setup_device_property_h* property)
{
    return LocalCall{}.agent(1, 4).then(record_made(RECORD(device_prop_s), property)).result();
}

int quorvel_client_easy_setup_device_property_set_string(quorvel_client_easy_setup_device_property_h property,
                                                         int property_id, const char* value)
{
    return set_property(easy_setup::device, property, property_id, value);
}

int quorvel_client_easy_setup_device_property_get_string(quorvel_client_easy_setup_device_property_h property,
                                                         int property_id, char** value)
{
    return get_property(easy_setup::device, property, property_id, value);
}

int quorvel_client_easy_setup_device_property_set_string_array(
    quorvel_client_easy_setup_device_property_h property, int property_id, const char* const* list, int count)
{
    return set_property(easy_setup::device, property, property_id, list, count);
}

int quorvel_client_easy_setup_device_property_get_string_array(
    quorvel_client_easy_setup_device_property_h property, int property_id, char*** list, int* count)
{
    return get_property(easy_setup::device, property, property_id, list, count);
}

int quorvel_client_easy_setup_device_property_destroy(quorvel_client_easy_setup_device_property_h property)
{
    return release_record(easy_setup::device, property);
}

int quorvel_client_easy_setup_device_provisioning(quorvel_client_h handle,
                                                  quorvel_client_easy_setup_device_property_h property,
                                                  quorvel_client_easy_setup_result_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 4)
        .require(property != nullptr, "invalid device_prop_h")
        .require(cb != nullptr, "invalid user_cb")
        .invoke(METHOD(configure_device_prop), static_cast<rpc_port_device_prop_s_h>(property),
                setup_result(cb, user_data))
        .result();
}

int quorvel_client_easy_setup_cloud_property_create(quorvel_client_easy_setup_cloud_property_h* property)
{
    return LocalCall{}.agent(1, 4).then(record_made(RECORD(cloud_prop_s), property)).result();
}

int quorvel_client_easy_setup_cloud_property_set_string(quorvel_client_easy_setup_cloud_property_h property,
                                                        int property_id, const char* value)
{
    return set_property(easy_setup::cloud, property, property_id, value);
}

int quorvel_client_easy_setup_cloud_property_get_string(quorvel_client_easy_setup_cloud_property_h property,
                                                        int property_id, char** value)
{
    return get_property(easy_setup::readable_cloud, property, property_id, value);
}

int quorvel_client_easy_setup_cloud_property_destroy(quorvel_client_easy_setup_cloud_property_h property)
{
    return release_record(easy_setup::cloud, property);
}

int quorvel_client_easy_setup_cloud_provisioning(quorvel_client_h handle,
                                                 quorvel_client_easy_setup_cloud_property_h property,
                                                 quorvel_client_easy_setup_result_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 4)
        .require(property != nullptr, "invalid cloud_prop_h")
        .require(cb != nullptr, "invalid user_cb")
        .invoke(METHOD(configure_cloud_prop), static_cast<rpc_port_cloud_prop_s_h>(property),
                setup_result(cb, user_data))
        .result();
}

void _easy_setup_result_cb(void* request, int result)
{
    Event{request}.answer<quorvel_client_easy_setup_result_cb>(result);
}

// What the enrollee made of it

int quorvel_client_easy_setup_get_device_conf(quorvel_client_h handle,
                                              quorvel_client_easy_setup_device_conf_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 4)
        .require(cb != nullptr, "invalid user_cb")
        // Reported under the name of the cloud's method, which is meant so.
        .invoke(METHOD(get_easy_setup_device_conf).reported_as(METHOD_NAME(configure_cloud_prop)),
                one_answer(DELEGATE(easy_setup_device_conf_cb), _easy_setup_device_conf_cb, cb, user_data))
        .result();
}

void _easy_setup_device_conf_cb(void* request, rpc_port_device_conf_s_h conf)
{
    Event event{request};
    const AnsweredRequest answered{request};
    const auto callback = event.answered<quorvel_client_easy_setup_device_conf_cb>(answered);
    const auto copy = callback != nullptr ? copy_out(event, conf) : nullptr;
    // The user data of the call is not passed on, which is meant so.
    if (copy != nullptr)
        callback(copy, nullptr);
}

int quorvel_client_easy_setup_device_conf_get_bool(quorvel_client_easy_setup_device_conf_h conf,
                                                   int property_id, bool* value)
{
    return get_property(easy_setup::device_conf, conf, property_id, value);
}

int quorvel_client_easy_setup_device_conf_get_int(quorvel_client_easy_setup_device_conf_h conf,
                                                  int property_id, int* value)
{
    return get_property(easy_setup::device_conf, conf, property_id, value);
}

int quorvel_client_easy_setup_device_conf_get_string(quorvel_client_easy_setup_device_conf_h conf,
                                                     int property_id, char** value)
{
    return get_property(easy_setup::device_conf, conf, property_id, value);
}

int quorvel_client_easy_setup_device_conf_get_int_array(quorvel_client_easy_setup_device_conf_h conf,
                                                        int property_id, int** list, int* count)
{
    return get_property(easy_setup::device_conf, conf, property_id, list, count);
}

int quorvel_client_easy_setup_device_conf_destroy(quorvel_client_easy_setup_device_conf_h conf)
{
    return release_record(easy_setup::device_conf, conf);
}

// Its place, and the way back

int quorvel_client_easy_setup_set_bookmark_location(quorvel_client_h handle, const char* expires_in,
                                                    const char* group_id, const char* subgroup_id,
                                                    quorvel_client_easy_setup_result_cb cb, void* user_data)
{
    BookmarkLocation location;
    return ApiCall{handle}
        .agent(1, 4)
        .require(is_set(expires_in), "expires_in is invalid")
        .require(is_set(group_id), "group_id is invalid")
        .require(cb != nullptr, "invalid user_cb")
        .then([&](ApiCall& call) {
            location.make(call,
                          {{"expires_in", expires_in}, {"group_id", group_id}, {"subgroup_id", subgroup_id}});
        })
        .invoke(METHOD(set_bookmark_location), location, ocf_result(cb, user_data))
        .result();
}

int quorvel_client_easy_setup_send_reset_provisioning_info(quorvel_client_h handle,
                                                           quorvel_client_easy_setup_result_cb cb,
                                                           void* user_data)
{
    return ApiCall{handle}
        .agent(1, 4)
        .require(cb != nullptr, "invalid user_cb")
        .invoke(METHOD(send_reset_provisioning_info), ocf_result(cb, user_data))
        .result();
}

void _ocf_result_cb(void* request, int result)
{
    Event{request}.answer<quorvel_client_easy_setup_result_cb>(result);
}

// What the enrollee tells of itself

int quorvel_client_provisioning_info_get_bool(quorvel_client_provisioning_info_h info, int property_id,
                                              bool* value)
{
    return get_property(easy_setup::prov_info, info, property_id, value);
}

int quorvel_client_provisioning_info_get_int(quorvel_client_provisioning_info_h info, int property_id,
                                             int* value)
{
    return get_property(easy_setup::prov_info, info, property_id, value);
}

int quorvel_client_provisioning_info_get_string(quorvel_client_provisioning_info_h info, int property_id,
                                                char** value)
{
    return get_property(easy_setup::prov_info, info, property_id, value);
}

int quorvel_client_provisioning_info_get_string_array(quorvel_client_provisioning_info_h info,
                                                      int property_id, char*** list, int* count)
{
    return get_property(easy_setup::prov_info, info, property_id, list, count);
}

int quorvel_client_provisioning_info_destroy(quorvel_client_provisioning_info_h info)
{
    return release_record(easy_setup::prov_info, info);
}
