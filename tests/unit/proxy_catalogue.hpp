// The types of the interface, as its tables tell them.
//
// Written by hand from the tables, and never from the description that the proxy is generated from: were a
// field, a number or an order wrong there, the proxy and the agent's side would agree on it, and these tests
// are what disagrees. The C types of the generated functions are checked where a row is compiled.
//
// For every wire type there is a tag with the name that the tables use. Wire<tag> knows how a value of it is
// made for a request, how it lies in a parcel, how it is handed out by a reply and told to a callback. The
// value for a place n is another one than that for a place m, so that values in the wrong order are seen.
#ifndef QUORVEL_TESTS_PROXY_CATALOGUE_HPP
#define QUORVEL_TESTS_PROXY_CATALOGUE_HPP

#include <cstdlib>
#include <string>
#include <type_traits>
#include <vector>

#include "quorvel_client_proxy.h"
#include "with_agent.hpp"

namespace catalogue {

using scripted::bundle_of;
using scripted::flag;
using scripted::i32;
using scripted::i64;
using scripted::text;
using scripted::texts;
using scripted::Values;

template <typename Tag>
struct Wire;

inline std::string numbered(const std::string& name, int n)
{
    return name + "-" + std::to_string(n);
}

// ---------------------------------------------------------------------------------------------------------
// Plain values

struct string {};
struct int32 {};
struct int64 {};
struct boolean {};

template <>
struct Wire<string> {
    using In = const char*;
    using Out = char*;
    static constexpr bool may_be_null = true;

    // The text of a request must outlive the call: each place keeps its own.
    static In make(int n)
    {
        static std::vector<std::string> kept(100);
        kept.at(static_cast<std::size_t>(n)) = numbered("text", n);
        return kept.at(static_cast<std::size_t>(n)).c_str();
    }
    static void dispose(In) {}
    static Values values(int n) { return {text(numbered("text", n))}; }
    static Values values_of_null() { return {text("")}; }

    static Out preset()
    {
        static char untouched[] = "untouched";
        return untouched;
    }
    static Values read(Out out) { return {text(out ? out : "(null)")}; }
    static Values empty() { return {text("")}; }
    static void release(Out out)
    {
        if (out != preset()) {
            std::free(out);
        }
    }
    static Values told(In value) { return {value ? text(value) : scripted::no_text()}; }
};

template <typename T>
struct PlainWire {
    using In = T;
    using Out = T;
    static constexpr bool may_be_null = true;  // there is no such thing as a NULL number
    static void dispose(In) {}
    static void release(Out) {}
};

template <>
struct Wire<int32> : PlainWire<int> {
    static In make(int n) { return -1000 - n; }
    static Values values(int n) { return {i32(make(n))}; }
    static Values values_of_null() { return {i32(0)}; }
    static Out preset() { return 424242; }
    static Values read(Out out) { return {i32(out)}; }
    static Values empty() { return {i32(preset())}; }
    static Values told(In value) { return {i32(value)}; }
};

template <>
struct Wire<int64> : PlainWire<long long> {
    static In make(int n) { return (1LL << 40) + n; }
    static Values values(int n) { return {i64(make(n))}; }
    static Values values_of_null() { return {i64(0)}; }
    static Values told(In value) { return {i64(value)}; }
};

template <>
struct Wire<boolean> : PlainWire<bool> {
    static In make(int n) { return n % 2 == 0; }
    static Values values(int n) { return {flag(make(n))}; }
    static Values values_of_null() { return {flag(false)}; }
    static Out preset() { return true; }
    static Values read(Out out) { return {flag(out)}; }
    static Values empty() { return {flag(preset())}; }
    static Values told(In value) { return {flag(value)}; }
};

// ---------------------------------------------------------------------------------------------------------
// Records and arrays

// What an object writes of itself.
template <typename Handle>
Values written(Handle h)
{
    rpc_port_parcel_h parcel = scripted::make_parcel({});
    rpc_port_parcel_write(parcel, &h->parcelable, h);
    Values values = scripted::contents(parcel);
    rpc_port_parcel_destroy(parcel);
    return values;
}

template <typename Handle, auto create, auto destroy>
struct ObjectWire {
    using In = Handle;
    using Out = Handle;
    static constexpr bool may_be_null = false;

    static Handle create_empty()
    {
        Handle h = nullptr;
        EXPECT_EQ(create(&h), 0);
        return h;
    }
    static void dispose(In h)
    {
        if (h) {
            destroy(h);
        }
    }
    static Out preset()
    {
        static std::remove_pointer_t<Handle> untouched;
        return &untouched;
    }
    static Values read(Out out) { return out && out != preset() ? written(out) : Values{text("no object")}; }
    static void release(Out out)
    {
        if (out && out != preset()) {
            destroy(out);
        }
    }
    static Values told(In h) { return h ? written(h) : Values{text("no object")}; }
};

#define OBJECT_WIRE(name) ObjectWire<rpc_port_##name##_h, rpc_port_##name##_create, rpc_port_##name##_destroy>

inline const char* const* c_strings(const std::vector<std::string>& strings)
{
    static std::vector<const char*> pointers;
    pointers.clear();
    for (const std::string& each : strings) {
        pointers.push_back(each.c_str());
    }
    return pointers.data();
}

#define SET(record, field) rpc_port_##record##_set_##field(h, numbered(#field, n).c_str())
#define SET_LIST(record, field) rpc_port_##record##_set_##field(h, c_strings(two(#field, n)), 2)

// The two strings that stand in a list field.
inline const std::vector<std::string>& two(const std::string& name, int n)
{
    static std::vector<std::string> pair;
    pair = {numbered(name + "-a", n), numbered(name + "-b", n)};
    return pair;
}

struct device_s {};
template <>
struct Wire<device_s> : OBJECT_WIRE(device_s) {
    static In make(int n)
    {
        In h = create_empty();
        SET(device_s, device_id);
        SET_LIST(device_s, device_type);
        return h;
    }
    static Values values(int n) { return {text(numbered("device_id", n)), texts(two("device_type", n))}; }
    static Values empty() { return {text(""), texts({})}; }
};

struct group_s {};
template <>
struct Wire<group_s> : OBJECT_WIRE(group_s) {
    static In make(int n)
    {
        In h = create_empty();
        SET_LIST(group_s, subgroup_list);
        SET_LIST(group_s, device_list);
        SET(group_s, group_background_image);
        SET(group_s, group_type);
        SET(group_s, group_owner);
        SET(group_s, group_nick);
        SET(group_s, group_name);
        SET(group_s, group_id);
        SET(group_s, parent_id);
        return h;
    }
    static Values values(int n)
    {
        return {text(numbered("parent_id", n)),
                text(numbered("group_id", n)),
                text(numbered("group_name", n)),
                text(numbered("group_nick", n)),
                text(numbered("group_owner", n)),
                text(numbered("group_type", n)),
                text(numbered("group_background_image", n)),
                texts(two("device_list", n)),
                texts(two("subgroup_list", n))};
    }
    static Values empty()
    {
        return {text(""), text(""), text(""), text(""), text(""), text(""), text(""), texts({}), texts({})};
    }
};

struct device_detail_s {};
template <>
struct Wire<device_detail_s> : OBJECT_WIRE(device_detail_s) {
    static In make(int n)
    {
        In h = create_empty();
        rpc_port_device_detail_s_set_resource_count(h, 300 + n);
        SET(device_detail_s, reserved);
        SET_LIST(device_detail_s, resource_uris);
        SET_LIST(device_detail_s, observable_resource_uris);
        SET_LIST(device_detail_s, device_type);
        SET(device_detail_s, vid);
        SET(device_detail_s, manufacture_name);
        SET(device_detail_s, firmware_version);
        SET(device_detail_s, locale);
        SET(device_detail_s, color);
        SET(device_detail_s, nick);
        SET(device_detail_s, cloud_device_state);
        SET(device_detail_s, prefix);
        SET(device_detail_s, device_name);
        SET(device_detail_s, device_id);
        return h;
    }
    static Values values(int n)
    {
        return {i32(300 + n),
                text(numbered("device_id", n)),
                text(numbered("device_name", n)),
                text(numbered("prefix", n)),
                text(numbered("cloud_device_state", n)),
                text(numbered("nick", n)),
                text(numbered("color", n)),
                text(numbered("locale", n)),
                text(numbered("firmware_version", n)),
                text(numbered("manufacture_name", n)),
                text(numbered("vid", n)),
                texts(two("device_type", n)),
                texts(two("observable_resource_uris", n)),
                texts(two("resource_uris", n)),
                text(numbered("reserved", n))};
    }
    static Values empty()
    {
        return {i32(0),   text(""), text(""), text(""),  text(""),  text(""),  text(""), text(""),
                text(""), text(""), text(""), texts({}), texts({}), texts({}), text("")};
    }
};

struct scene_s {};
template <>
struct Wire<scene_s> : OBJECT_WIRE(scene_s) {
    static In make(int n)
    {
        In h = create_empty();
        SET(scene_s, scene);
        SET(scene_s, scene_id);
        return h;
    }
    static Values values(int n) { return {text(numbered("scene_id", n)), text(numbered("scene", n))}; }
    static Values empty() { return {text(""), text("")}; }
};

struct transfer_data_s {};
template <>
struct Wire<transfer_data_s> : OBJECT_WIRE(transfer_data_s) {
    static In make(int n)
    {
        In h = create_empty();
        bundle* data = scripted::make_bundle({{"TransferData", numbered("file_data", n)}});
        rpc_port_transfer_data_s_set_file_length(h, 700 + n);
        rpc_port_transfer_data_s_set_file_data(h, data);
        SET(transfer_data_s, file_name);
        bundle_free(data);
        return h;
    }
    static Values values(int n)
    {
        return {text(numbered("file_name", n)), bundle_of({{"TransferData", numbered("file_data", n)}}),
                i32(700 + n)};
    }
    static Values empty() { return {text(""), scripted::no_bundle(), i32(0)}; }
};

struct app_launch_condition_s {};
template <>
struct Wire<app_launch_condition_s> : OBJECT_WIRE(app_launch_condition_s) {
    static In make(int n)
    {
        In h = create_empty();
        SET(app_launch_condition_s, reserved);
        SET(app_launch_condition_s, bundle_json);
        SET(app_launch_condition_s, property_value);
        SET(app_launch_condition_s, property_type);
        SET(app_launch_condition_s, property_name);
        SET(app_launch_condition_s, res_uri);
        SET(app_launch_condition_s, device_id);
        SET(app_launch_condition_s, app_id);
        return h;
    }
    static Values values(int n)
    {
        return {text(numbered("app_id", n)),        text(numbered("device_id", n)),
                text(numbered("res_uri", n)),       text(numbered("property_name", n)),
                text(numbered("property_type", n)), text(numbered("property_value", n)),
                text(numbered("bundle_json", n)),   text(numbered("reserved", n))};
    }
    static Values empty()
    {
        return {text(""), text(""), text(""), text(""), text(""), text(""), text(""), text("")};
    }
};

#undef SET
#undef SET_LIST

#define BUNDLE_RECORD(name)                                                                            \
    struct name {};                                                                                    \
    template <>                                                                                        \
    struct Wire<name> : OBJECT_WIRE(name) {                                                            \
        static In make(int n)                                                                          \
        {                                                                                              \
            In h = create_empty();                                                                     \
            bundle* data = scripted::make_bundle({{"key of " #name, numbered("value", n)}});           \
            rpc_port_##name##_set_bundle_data(h, data);                                                \
            bundle_free(data);                                                                         \
            return h;                                                                                  \
        }                                                                                              \
        static Values values(int n) { return {bundle_of({{"key of " #name, numbered("value", n)}})}; } \
        static Values empty() { return {scripted::no_bundle()}; }                                      \
    }

BUNDLE_RECORD(cloud_prop_s);
BUNDLE_RECORD(device_prop_s);
BUNDLE_RECORD(access_point_s);
BUNDLE_RECORD(bookmark_location_s);
BUNDLE_RECORD(device_conf_s);
BUNDLE_RECORD(self_signup_info_s);
BUNDLE_RECORD(installed_app_s);
BUNDLE_RECORD(location_s);
BUNDLE_RECORD(room_s);
BUNDLE_RECORD(core_device_s);
BUNDLE_RECORD(favorite_s);
BUNDLE_RECORD(easy_setup_error_code_s);
BUNDLE_RECORD(core_rule_s);
BUNDLE_RECORD(core_scene_s);
BUNDLE_RECORD(easy_setup_prov_info_s);
BUNDLE_RECORD(device_group_s);
#undef BUNDLE_RECORD

// An array of two elements.
#define ARRAY(element)                                                             \
    struct array_##element {};                                                     \
    template <>                                                                    \
    struct Wire<array_##element> : OBJECT_WIRE(array_##element) {                  \
        static In make(int n)                                                      \
        {                                                                          \
            In h = create_empty();                                                 \
            rpc_port_##element##_h elements[] = {Wire<element>::make(10 * n + 1),  \
                                                 Wire<element>::make(10 * n + 2)}; \
            rpc_port_array_##element##_set_array_##element##s(h, elements, 2);     \
            Wire<element>::dispose(elements[0]);                                   \
            Wire<element>::dispose(elements[1]);                                   \
            return h;                                                              \
        }                                                                          \
        static Values values(int n)                                                \
        {                                                                          \
            return {scripted::count(2), Wire<element>::values(10 * n + 1),         \
                    Wire<element>::values(10 * n + 2)};                            \
        }                                                                          \
        static Values empty() { return {scripted::count(0)}; }                     \
    }

ARRAY(access_point_s);
ARRAY(app_launch_condition_s);
ARRAY(core_device_s);
ARRAY(core_rule_s);
ARRAY(core_scene_s);
ARRAY(device_detail_s);
ARRAY(device_group_s);
ARRAY(device_s);
ARRAY(favorite_s);
ARRAY(group_s);
ARRAY(installed_app_s);
ARRAY(location_s);
ARRAY(room_s);
ARRAY(scene_s);
ARRAY(transfer_data_s);
#undef ARRAY

struct array_string {};
template <>
struct Wire<array_string> : OBJECT_WIRE(array_string) {
    static In make(int n)
    {
        In h = create_empty();
        rpc_port_array_string_set_array_strings(h, c_strings(two("string", n)), 2);
        return h;
    }
    static Values values(int n) { return texts(two("string", n)); }
    static Values empty() { return {scripted::count(0)}; }
};
#undef OBJECT_WIRE

// ---------------------------------------------------------------------------------------------------------
// Delegates

// Every call that a delegate's callback got: the user data, then the parameters as values.
struct Call {
    void* user_data;
    Values parameters;
};
inline std::vector<Call>& calls()
{
    static std::vector<Call> all;
    return all;
}

// What is common to the records of all delegates; a row of the table below gives the rest.
template <typename Tag, typename Signature>
struct DelegateWire;

template <typename Tag, typename... Parameters>
struct DelegateWire<Tag, void(Parameters...)> {
    static constexpr bool may_be_null = false;
    using Callback = void (*)(void*, typename Wire<Parameters>::In...);

    static void record_call(void* user_data, typename Wire<Parameters>::In... parameters)
    {
        Values all;
        (all.add(Wire<Parameters>::told(parameters)), ...);
        calls().push_back({user_data, all});
    }
    // What an agent sends after id, seq_id and once.
    static Values parameters()
    {
        Values all;
        int n = 0;
        (all.add(Wire<Parameters>::values(++n)), ...);
        return all;
    }

    // As a parameter of a request, made for one call. Its number is how many of its type there were so far.
    static auto make(int)
    {
        ++made();
        return Tag::create(record_call, true, nullptr);
    }
    static int& made()
    {
        static int so_far = 0;
        return so_far;
    }
    template <typename Handle>
    static void dispose(Handle h)
    {
        if (h) {
            Tag::destroy(h);
        }
    }
    static Values values(int) { return scripted::delegate(Tag::id, made(), true); }
};

#define DELEGATE(number, delegate_name, parameter_list)                                     \
    struct delegate_name {                                                                  \
        using Handle = rpc_port_qv_client_##delegate_name##_h;                              \
        static constexpr int id = number;                                                   \
        static constexpr const char* name = #delegate_name;                                 \
        static constexpr auto create = rpc_port_qv_client_##delegate_name##_create;         \
        static constexpr auto destroy = rpc_port_qv_client_##delegate_name##_destroy;       \
        static constexpr auto dispose = rpc_port_proxy_qv_client_##delegate_name##_dispose; \
        static constexpr auto to = __qv_client_##delegate_name##_to;                        \
        static constexpr auto from = __qv_client_##delegate_name##_from;                    \
        static constexpr auto dispatch = __qv_client_delegate_##delegate_name;              \
    };                                                                                      \
    template <>                                                                             \
    struct Wire<delegate_name> : DelegateWire<delegate_name, void parameter_list> {         \
        using In = delegate_name::Handle;                                                   \
        static_assert(std::is_same_v<Callback, rpc_port_qv_client_##delegate_name##_cb>);   \
    }

DELEGATE(1, sign_in_state_cb, (string));
DELEGATE(2, device_cb, (device_s));
DELEGATE(3, device_list_cb, (array_device_s, int32));
DELEGATE(4, device_detail_cb, (device_detail_s));
DELEGATE(5, device_detail_list_cb, (array_device_detail_s, int32));
DELEGATE(6, group_cb, (group_s));
DELEGATE(7, group_list_cb, (string, string, array_group_s, int32));
DELEGATE(8, scene_list_cb, (string, array_scene_s, int32));
DELEGATE(9, scene_cb, (string, string, string, string, int32));
DELEGATE(10, subscribe_cb, (string, string, string, string, string, string));
DELEGATE(11, start_monitoring_network_state_cb, (string, string, string, string));
DELEGATE(12, remote_representation_cb, (string, string, string, string, string, int32));
DELEGATE(13, remote_attributes_cb, (string, string, string, string, string, int32));
DELEGATE(14, activate_vxr_migration_cb, (string));
DELEGATE(15, get_vxr_device_token_cb, (string, int32));
DELEGATE(16, set_third_party_notification_cb, (string));
DELEGATE(17, ui_metadata_cb, (string, string));
DELEGATE(18, notification_cb, (string, string, string));
DELEGATE(19, file_transfer_data_cb, (array_transfer_data_s, int32, string, int32));
DELEGATE(20, get_vxr_device_peer_token_cb, (string, string, boolean, int32));
DELEGATE(21, get_accessory_list_cb, (string, int32));
DELEGATE(22, device_result_cb, (int32));
DELEGATE(23, easy_setup_otm_support_feature_cb, (int32));
DELEGATE(24, easy_setup_random_pin_cb, (string, int32));
DELEGATE(25, easy_setup_result_cb, (int32));
DELEGATE(26, easy_setup_state_cb, (int32, int32));
DELEGATE(27, access_point_list_cb, (array_access_point_s, int32));
DELEGATE(28, ocf_result_cb, (int32));
DELEGATE(29, easy_setup_device_conf_cb, (device_conf_s));
DELEGATE(30, monitor_enrollee_sign_in_cb, (boolean));
DELEGATE(31, easy_setup_enrollee_state_cb, (int32, int32));
DELEGATE(32, easy_setup_enrollee_owned_cb, (boolean));
DELEGATE(33, easy_setup_init_cb, (int32));
DELEGATE(34, group_result_cb, (string, string, int32));
DELEGATE(35, third_party_notification_status_cb, (int32, boolean, array_string, int32));
DELEGATE(36, third_party_notification_status_updated_cb, ());
DELEGATE(37, server_sent_event_cb, (int32, int64, string));
DELEGATE(38, easy_setup_prov_info_cb, (easy_setup_prov_info_s));
#undef DELEGATE

// All of them, for tests that go through every type.
template <typename... Tags>
struct TagList {
};
using AllDelegates =
    TagList<sign_in_state_cb, device_cb, device_list_cb, device_detail_cb, device_detail_list_cb, group_cb,
            group_list_cb, scene_list_cb, scene_cb, subscribe_cb, start_monitoring_network_state_cb,
            remote_representation_cb, remote_attributes_cb, activate_vxr_migration_cb,
            get_vxr_device_token_cb, set_third_party_notification_cb, ui_metadata_cb, notification_cb,
            file_transfer_data_cb, get_vxr_device_peer_token_cb, get_accessory_list_cb, device_result_cb,
            easy_setup_otm_support_feature_cb, easy_setup_random_pin_cb, easy_setup_result_cb,
            easy_setup_state_cb, access_point_list_cb, ocf_result_cb, easy_setup_device_conf_cb,
            monitor_enrollee_sign_in_cb, easy_setup_enrollee_state_cb, easy_setup_enrollee_owned_cb,
            easy_setup_init_cb, group_result_cb, third_party_notification_status_cb,
            third_party_notification_status_updated_cb, server_sent_event_cb, easy_setup_prov_info_cb>;

// ---------------------------------------------------------------------------------------------------------
// A proxy to call on

// The proxy is connected; the agent answers nothing unless it is told to.
class ConnectedProxy : public scripted::WithAgent {
protected:
    static constexpr const char* app = "com.veltrane.norvik.quorvel-client";

    void SetUp() override
    {
        WithAgent::SetUp();
        const rpc_port_proxy_qv_client_callback_s callbacks = {nullptr, nullptr, nullptr};
        ASSERT_EQ(rpc_port_proxy_qv_client_create(app, &callbacks, nullptr, &proxy), 0);
        ASSERT_EQ(rpc_port_proxy_qv_client_connect(proxy), 0);
        scripted::agent().connect();
        scripted::clear_log();
        set_last_result(last_result_before);
    }
    void TearDown() override
    {
        if (proxy) {
            EXPECT_EQ(rpc_port_proxy_qv_client_destroy(proxy), 0);
        }
        WithAgent::TearDown();
    }

    static constexpr int last_result_before = 77;
    rpc_port_proxy_qv_client_h proxy = nullptr;
};

}  // namespace catalogue

#endif
