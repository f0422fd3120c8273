// The 181 methods of the interface, as the two catalogues tell them.
#include <functional>
#include <memory>
#include <tuple>
#include <utility>

#include "proxy_catalogue.hpp"

namespace catalogue {
namespace {

using scripted::agent;
using scripted::errors;
using scripted::HasText;
using scripted::log;
using scripted::platform;
using scripted::proxy_error;
using scripted::result;
using scripted::Sent;

// One method: what goes in, what comes out, and which function sends it.
struct Method {
    int id;
    const char* name;
    Method(int method_id, const char* method_name) : id(method_id), name(method_name) {}
    virtual ~Method() = default;

    std::string function() const { return std::string("rpc_port_proxy_qv_client_invoke_") + name; }

    // What the tables say.
    virtual Values parameters() const = 0;
    virtual Values parameters_where_all_texts_are_null() const = 0;
    virtual Values reply() const = 0;  // the out values
    virtual Values answer(int status) const = 0;
    virtual int parameter_count() const = 0;
    virtual int out_count() const = 0;
    virtual bool may_be_null(int parameter) const = 0;
    virtual Values untouched() const = 0;     // the out values before a call
    virtual Values nothing_read() const = 0;  // the out values when an answer ended too early
    virtual int no_answer() const = 0;        // what is returned without an answer

    // One call with made values. What came out is told as it would be written.
    struct Outcome {
        int returned;
        Values outs;
    };
    enum class Nothing { is_null, proxy, one_parameter, one_out, all_texts };
    virtual Outcome call(rpc_port_proxy_qv_client_h proxy, Nothing nothing = Nothing::is_null,
                         int which = -1) const = 0;
};

std::ostream& operator<<(std::ostream& out, const Method& method)
{
    return out << method.name;
}

template <typename Return, typename Parameters, typename Reply>
class MethodOf;

template <typename Return, typename... Ins, typename... Outs>
class MethodOf<Return, void(Ins...), void(Outs...)> : public Method {
public:
    using Function = Return (*)(rpc_port_proxy_qv_client_h, typename Wire<Ins>::In...,
                                typename Wire<Outs>::Out*...);

    MethodOf(int method_id, const char* method_name, Function invoke)
        : Method(method_id, method_name), invoke_(invoke)
    {
    }

    Values parameters() const override
    {
        Values all;
        int n = 0;
        (all.add(Wire<Ins>::values(n++)), ...);
        return all;
    }
    Values parameters_where_all_texts_are_null() const override
    {
        Values all;
        int n = 0;
        [[maybe_unused]] const auto add = [&all, &n](bool is_text, const Values& values) {
            all.add(is_text ? Values{text("")} : values);
            ++n;
        };
        (add(std::is_same_v<Ins, string>, Wire<Ins>::values(n)), ...);
        return all;
    }
    Values reply() const override
    {
        Values all;
        int n = 50;
        (all.add(Wire<Outs>::values(n++)), ...);
        return all;
    }
    Values answer(int status) const override
    {
        if constexpr (std::is_same_v<Return, bool>) {
            return {i32(0), reply(), flag(status != 0)};
        } else {
            return result(status, reply());
        }
    }
    int parameter_count() const override { return sizeof...(Ins); }
    int out_count() const override { return sizeof...(Outs); }
    bool may_be_null(int parameter) const override
    {
        const bool each[] = {Wire<Ins>::may_be_null..., true};
        return each[parameter];
    }
    Values untouched() const override
    {
        Values all;
        (all.add(Wire<Outs>::read(Wire<Outs>::preset())), ...);
        return all;
    }
    Values nothing_read() const override
    {
        Values all;
        (all.add(Wire<Outs>::empty()), ...);
        return all;
    }
    int no_answer() const override { return std::is_same_v<Return, bool> ? 0 : -1; }

    Outcome call(rpc_port_proxy_qv_client_h proxy, Nothing nothing, int which) const override
    {
        return call_with(nothing == Nothing::proxy ? nullptr : proxy, nothing, which,
                         std::index_sequence_for<Ins...>(), std::index_sequence_for<Outs...>());
    }

private:
    template <typename T>
    static T or_null(T value, bool null)
    {
        if constexpr (std::is_pointer_v<T>) {
            return null ? nullptr : value;
        } else {
            return value;
        }
    }

    template <std::size_t... I, std::size_t... O>
    Outcome call_with(rpc_port_proxy_qv_client_h proxy, [[maybe_unused]] Nothing nothing,
                      [[maybe_unused]] int which, std::index_sequence<I...>, std::index_sequence<O...>) const
    {
        std::tuple<typename Wire<Ins>::In...> made{Wire<Ins>::make(I)...};
        std::tuple<typename Wire<Outs>::Out...> outs{Wire<Outs>::preset()...};
        [[maybe_unused]] const auto is = [nothing, which](Nothing what, std::size_t place) {
            return nothing == what && which == static_cast<int>(place);
        };
        Outcome outcome{invoke_(proxy,
                                or_null(std::get<I>(made), is(Nothing::one_parameter, I)
                                                               || (nothing == Nothing::all_texts
                                                                   && std::is_same_v<Ins, string>))...,
                                (is(Nothing::one_out, O) ? nullptr : &std::get<O>(outs))...),
                        {}};
        (Wire<Ins>::dispose(std::get<I>(made)), ...);
        (outcome.outs.add(Wire<Outs>::read(std::get<O>(outs))), ...);
        (Wire<Outs>::release(std::get<O>(outs)), ...);
        return outcome;
    }

    Function invoke_;
};

#define METHOD(id, name, in, out) \
    std::make_shared<MethodOf<int, void in, void out>>(id, #name, rpc_port_proxy_qv_client_invoke_##name)
// The one method whose return value is a bool.
#define METHOD_RETURNING_BOOL(id, name, in, out) \
    std::make_shared<MethodOf<bool, void in, void out>>(id, #name, rpc_port_proxy_qv_client_invoke_##name)

// clang-format off
const std::vector<std::shared_ptr<const Method>>& client_methods()
{
    static const std::vector<std::shared_ptr<const Method>> all = {
        METHOD(2, connect, (), ()),
        METHOD(3, disconnect, (), ()),
        METHOD_RETURNING_BOOL(4, check_update_state, (), ()),
        METHOD(5, get_access_token, (), (string)),
        METHOD(6, set_sign_in_state_cb, (sign_in_state_cb), ()),
        METHOD(7, unset_sign_in_state_cb, (), ()),
        METHOD(8, is_signed_in, (), (string)),
        METHOD(9, set_device_list_cb, (device_list_cb), ()),
        METHOD(10, unset_device_list_cb, (), ()),
        METHOD(11, get_device, (), (device_s)),
        METHOD(12, get_device_list, (), (array_device_s, int32)),
        METHOD(13, set_device_detail_list_cb, (device_detail_list_cb), ()),
        METHOD(14, unset_device_detail_list_cb, (), ()),
        METHOD(15, get_device_detail, (string), (device_detail_s)),
        METHOD(16, get_device_detail_list, (), (array_device_detail_s, int32)),
        METHOD(17, set_group_list_cb, (group_list_cb), ()),
        METHOD(18, unset_group_list_cb, (), ()),
        METHOD(19, get_group, (string), (group_s)),
        METHOD(20, get_group_list, (string), (array_group_s, int32)),
        METHOD(21, set_scene_list_cb, (scene_list_cb), ()),
        METHOD(22, unset_scene_list_cb, (), ()),
        METHOD(23, get_scene, (string), (scene_s)),
        METHOD(24, get_scene_list, (), (array_scene_s, int32)),
        METHOD(25, refresh_device_information, (), ()),
        METHOD(26, do_scene, (string, string, scene_cb), ()),
        METHOD(27, subscribe, (string, string, string, subscribe_cb), ()),
        METHOD(28, unsubscribe, (string, string), ()),
        METHOD(29, start_monitoring_network_state, (string, string, start_monitoring_network_state_cb), ()),
        METHOD(30, stop_monitoring_network_state, (string), ()),
        METHOD(31, set_remote_representation, (string, string, string, string, string, remote_representation_cb), ()),
        METHOD(32, get_remote_representation, (string, string, string, string, remote_representation_cb), ()),
        METHOD(33, set_remote_attributes, (string, string, string, string, string, remote_attributes_cb), ()),
        METHOD(34, get_remote_attributes, (string, string, string, string, remote_attributes_cb), ()),
        METHOD(35, get_resource_uris, (string, string), (array_string, int32)),
        METHOD(36, activate_vxr_migration, (activate_vxr_migration_cb), ()),
        METHOD(37, get_vxr_device_token, (get_vxr_device_token_cb), ()),
        METHOD(38, set_third_party_notification, (string, string, string, string, set_third_party_notification_cb), ()),
        METHOD(39, set_ui_metadata_cb, (ui_metadata_cb), ()),
        METHOD(40, unset_ui_metadata_cb, (), ()),
        METHOD(41, get_ui_metadata, (string), (string)),
        METHOD(42, get_device_id, (), (string)),
        METHOD(43, set_notification_cb, (notification_cb), ()),
        METHOD(44, unset_notification_cb, (), ()),
        METHOD(45, get_file_transfer_data, (string, string, string, file_transfer_data_cb), ()),
        METHOD(46, get_vxr_device_peer_token, (string, get_vxr_device_peer_token_cb), ()),
        METHOD(47, get_test_configuration, (int32), (int32)),
        METHOD(48, set_test_configuration, (int32, int32), ()),
        METHOD(49, get_connected_uid, (), (string)),
        METHOD(50, get_client_state, (), (int32)),
        METHOD(51, get_accessory_list, (get_accessory_list_cb), ()),
        METHOD(52, set_api_version, (string), ()),
        METHOD(53, add_app_launch_condition, (app_launch_condition_s), ()),
        METHOD(54, remove_app_launch_condition, (app_launch_condition_s), ()),
        METHOD(55, is_app_launch_condition_added, (app_launch_condition_s), (boolean)),
        METHOD(56, get_all_app_launch_conditions, (), (array_app_launch_condition_s, int32)),
        METHOD(57, get_is_caching_data, (), (boolean)),
        METHOD(58, move_devices, (array_string, int32, string, string, device_result_cb), ()),
        METHOD(59, change_device_nick, (string, string, device_result_cb), ()),
        METHOD(60, start_easy_setup, (), ()),
        METHOD(61, set_easy_setup_otm_support_feature_cb, (easy_setup_otm_support_feature_cb), ()),
        METHOD(62, set_easy_setup_random_pin_cb, (easy_setup_random_pin_cb), ()),
        METHOD(63, start_easy_setup_ble, (string, boolean), ()),
        METHOD(64, set_easy_setup_otm_support_feature, (int32), ()),
        METHOD(65, configure_cloud_prop, (cloud_prop_s, easy_setup_result_cb), ()),
        METHOD(66, configure_device_prop, (device_prop_s, easy_setup_result_cb), ()),
        METHOD(67, set_easy_setup_state_cb, (easy_setup_state_cb), ()),
        METHOD(68, unset_easy_setup_state_cb, (), ()),
        METHOD(69, get_access_point_list, (access_point_list_cb), ()),
        METHOD(70, set_bookmark_location, (bookmark_location_s, ocf_result_cb), ()),
        METHOD(71, send_easy_setup_log, (string, easy_setup_result_cb), ()),
        METHOD(72, get_easy_setup_device_conf, (easy_setup_device_conf_cb), ()),
        METHOD(73, monitor_enrollee_sign_in, (monitor_enrollee_sign_in_cb), ()),
        METHOD(74, stop_easy_setup, (), ()),
        METHOD(75, set_easy_setup_enrollee_state_cb, (easy_setup_enrollee_state_cb), ()),
        METHOD(76, unset_easy_setup_enrollee_state_cb, (), ()),
        METHOD(77, send_reset_provisioning_info, (ocf_result_cb), ()),
        METHOD(78, set_easy_setup_enrollee_owned_cb, (easy_setup_enrollee_owned_cb), ()),
        METHOD(79, init_easy_setup, (int32, easy_setup_init_cb), ()),
        METHOD(80, start_easy_setup_v2, (string, boolean), ()),
        METHOD(81, set_easy_setup_random_pin, (string), ()),
        METHOD(82, get_resource_types_by_resource_uri, (string, string), (array_string, int32)),
        METHOD(83, remove_device, (string, device_result_cb), ()),
        METHOD(84, add_scene, (string, string, scene_cb), ()),
        METHOD(85, remove_scene, (string, scene_cb), ()),
        METHOD(86, update_scene, (string, string, scene_cb), ()),
        METHOD(87, add_group, (string, string, string, string, string, group_result_cb), ()),
        METHOD(88, remove_group, (string, string, group_result_cb), ()),
        METHOD(89, update_group, (string, string, string, string, string, string, group_result_cb), ()),
        METHOD(90, get_udo_upload_url, (string, string, string, int32), (string, string)),
        METHOD(91, get_udo_download_url, (string, string, string), (string)),
        METHOD(92, get_login_id, (), (string)),
        METHOD(93, get_self_signup_info_for_thing, (string, string), (self_signup_info_s)),
        METHOD(94, set_third_party_notification_status, (boolean, array_string, int32, set_third_party_notification_cb), ()),
        METHOD(95, get_third_party_notification_status, (third_party_notification_status_cb), ()),
        METHOD(96, set_third_party_notification_status_updated_cb, (third_party_notification_status_updated_cb), ()),
        METHOD(97, unset_third_party_notification_status_updated_cb, (), ()),
        METHOD(148, get_easysetup_last_error_code, (), (easy_setup_error_code_s)),
        METHOD(160, set_easy_setup_prov_info_cb, (easy_setup_prov_info_cb), ()),
    };
    return all;
}

const std::vector<std::shared_ptr<const Method>>& core_methods()
{
    static const std::vector<std::shared_ptr<const Method>> all = {
        METHOD(98, core_get_device_json, (string), (string)),
        METHOD(99, core_get_device_list_json, (string), (string)),
        METHOD(100, core_get_device_health_data_json, (string), (string)),
        METHOD(101, core_get_device_status, (string), (string)),
        METHOD(102, core_get_device_component_status, (string, string), (string)),
        METHOD(103, core_get_device_capability_status, (string, string, string), (string)),
        METHOD(104, core_execute_device_commands, (string, string), (string)),
        METHOD(105, core_get_device_preferences, (string, string), (string)),
        METHOD(106, core_update_device_preferences, (string, string, string), (string)),
        METHOD(107, core_get_location_json, (string), (string)),
        METHOD(108, core_get_room_json, (string, string), (string)),
        METHOD(109, core_get_installed_app_dashboard_json, (string), (string)),
        METHOD(110, core_execute_installed_app, (string, string), (string)),
        METHOD(111, core_get_rule_json, (string, string), (string)),
        METHOD(112, core_get_rule_list_json, (string), (string)),
        METHOD(113, core_create_rule, (string, string), (string)),
        METHOD(114, core_update_rule, (string, string, string), (string)),
        METHOD(115, core_delete_rule, (string, string), (string)),
        METHOD(116, core_get_hub_json, (string, string), (string)),
        METHOD(117, core_get_activity_history, (string), (string)),
        METHOD(118, core_get_notification_history, (string), (string)),
        METHOD(119, core_get_home_insight_device_statics, (string), (string)),
        METHOD(120, get_installed_app_list, (), (array_installed_app_s, int32)),
        METHOD(121, get_installed_app, (string), (installed_app_s)),
        METHOD(122, set_server_sent_event, (int32, server_sent_event_cb), ()),
        METHOD(123, unset_server_sent_event, (), ()),
        METHOD(124, set_server_sent_event_by_filter, (int32, string, server_sent_event_cb), ()),
        METHOD(125, unset_server_sent_event_by_filter, (int32, string), ()),
        METHOD(126, core_get_broker_url, (string, boolean), (string)),
        METHOD(127, core_get_location_list, (), (array_location_s, int32)),
        METHOD(128, core_get_room_list, (string), (array_room_s, int32)),
        METHOD(129, core_get_device, (string), (core_device_s)),
        METHOD(130, core_get_device_list, (string), (array_core_device_s, int32)),
        METHOD(131, core_get_device_health_data, (string), (int32)),
        METHOD(132, core_get_device_presentation, (string, string, string, string), (string)),
        METHOD(133, core_get_favorites_list, (string, string), (array_favorite_s, int32)),
        METHOD(134, core_create_favorite, (string, string, string), (favorite_s)),
        METHOD(135, core_replace_favorites, (string, string, string), (array_favorite_s, int32)),
        METHOD(136, core_delete_favorites, (string, string), ()),
        METHOD(137, core_get_favorite, (string, string, string), (favorite_s)),
        METHOD(138, core_delete_favorite, (string, string, string), ()),
        METHOD(139, core_get_favorite_migration_status, (string), (favorite_s)),
        METHOD(140, core_update_favorite_migration_status, (string, string), (string)),
        METHOD(141, core_initialize_installation, (string, string, string, string), (string)),
        METHOD(142, core_cancel_installation, (string, string, string), ()),
        METHOD(143, core_start_completing_app_installation, (string, string, string, string, string), (string)),
        METHOD(144, core_create_ir_device, (string, string), (string)),
        METHOD(145, core_get_ir_device, (string, string), (string)),
        METHOD(146, core_delete_device, (string), ()),
        METHOD(147, core_get_hub_device_list, (string), (array_string, int32)),
        METHOD(149, core_get_location, (string), (location_s)),
        METHOD(150, core_get_room, (string, string), (room_s)),
        METHOD(151, core_get_rule, (string, string), (core_rule_s)),
        METHOD(152, core_get_rule_list, (string), (array_core_rule_s, int32)),
        METHOD(153, core_create_scene, (string, string), (string)),
        METHOD(154, core_update_scene, (string, string, string), (string)),
        METHOD(155, core_delete_scene, (string, string), (string)),
        METHOD(156, core_get_scene, (string, string), (core_scene_s)),
        METHOD(157, core_get_scene_list, (string), (array_core_scene_s, int32)),
        METHOD(158, core_start_hub_device_discovery, (string, int32, boolean, boolean, int32), ()),
        METHOD(159, core_stop_hub_device_discovery, (string), ()),
        METHOD(161, core_create_location, (location_s), (string)),
        METHOD(162, core_update_location, (string, location_s), (string)),
        METHOD(163, core_delete_location, (string), (string)),
        METHOD(164, core_create_room, (string, room_s), (string)),
        METHOD(165, core_update_room, (string, string, room_s), (string)),
        METHOD(166, core_delete_room, (string, string), (string)),
        METHOD(167, core_migrate_local_mqtt_device, (string, string), (string)),
        METHOD(168, core_execute_rule, (string, string), (string)),
        METHOD(169, core_update_rule_status, (string, string, boolean), (string)),
        METHOD(170, core_execute_scene, (string, string), (string)),
        METHOD(171, core_execute_adhoc_scene, (string, string), (string)),
        METHOD(172, core_update_device, (string, string, string, string, string, string), (string)),
        METHOD(173, core_send_active_user_event, (int32, int32, string, string), ()),
        METHOD(174, core_get_device_group, (string), (device_group_s)),
        METHOD(175, core_get_device_group_list, (), (array_device_group_s, int32)),
        METHOD(176, core_create_device_group, (string, string, string, string), (string)),
        METHOD(177, core_update_device_group, (string, string, string, string), (string)),
        METHOD(178, core_delete_device_group, (string), (string)),
        METHOD(179, core_execute_device_group, (string, string), (string)),
        METHOD(180, core_get_device_group_devices_status, (string), (string)),
        METHOD(181, core_get_location_users, (string), (string)),
        METHOD(182, core_get_all_location_users, (), (string)),
    };
    return all;
}
// clang-format on

std::vector<std::shared_ptr<const Method>> all_methods()
{
    auto all = client_methods();
    all.insert(all.end(), core_methods().begin(), core_methods().end());
    return all;
}

TEST(MethodCatalogue, HoldsNinetyEightClientAndEightyThreeCoreMethodsNumberedFrom2WithoutAGap)
{
    EXPECT_EQ(client_methods().size(), 98U);
    EXPECT_EQ(core_methods().size(), 83U);
    std::vector<int> times(183, 0);
    for (const auto& method : all_methods()) {
        ++times.at(static_cast<std::size_t>(method->id));
    }
    for (int id = 2; id <= 182; ++id) {
        EXPECT_EQ(times[static_cast<std::size_t>(id)], 1) << "method " << id;
    }
}

class EveryMethod : public ConnectedProxy, public testing::WithParamInterface<std::shared_ptr<const Method>> {
protected:
    const Method& method = *GetParam();
    using Nothing = Method::Nothing;

    void expect_nothing_sent_or_touched(const Method::Outcome& outcome)
    {
        EXPECT_EQ(outcome.returned, method.no_answer());
        EXPECT_EQ(outcome.outs, method.untouched());
        EXPECT_TRUE(agent().requests().empty());
        EXPECT_EQ(get_last_result(), last_result_before);
    }
};

TEST_P(EveryMethod, SendsItsNumberAndItsParametersInTheOrderOfTheCatalogue)
{
    agent().answer_next_raw(method.answer(0));
    method.call(proxy);
    EXPECT_EQ(agent().requests(), (std::vector<Sent>{{i32(method.id), method.parameters()}}));
}

TEST_P(EveryMethod, HandsOutTheReplyInTheOrderOfTheCatalogueAndReturnsWhatIsReadLast)
{
    agent().answer_next_raw(method.answer(0));
    const Method::Outcome outcome = method.call(proxy);
    EXPECT_EQ(outcome.returned, 0);
    EXPECT_EQ(outcome.outs, method.reply());
    EXPECT_EQ(get_last_result(), 0);
    EXPECT_THAT(errors(), testing::IsEmpty());
}

TEST_P(EveryMethod, ReadsTheReplyWhateverTheReturnValueIs)
{
    agent().answer_next_raw(method.answer(-1073741826));
    const Method::Outcome outcome = method.call(proxy);
    EXPECT_EQ(outcome.returned, method.no_answer() == 0 ? 1 : -1073741826);
    EXPECT_EQ(outcome.outs, method.reply());
    EXPECT_EQ(get_last_result(), 0) << "the call itself was answered";
}

TEST_P(EveryMethod, SendsAnAbsentTextAsAnEmptyOne)
{
    agent().answer_next_raw(method.answer(0));
    EXPECT_EQ(method.call(proxy, Nothing::all_texts).returned, 0);
    EXPECT_EQ(agent().request(), (Sent{i32(method.id), method.parameters_where_all_texts_are_null()}));
}

TEST_P(EveryMethod, WithoutAnAnswerReturnsMinusOneAndLeavesTheOutValuesAlone)
{
    agent().no_answer_next();
    const Method::Outcome outcome = method.call(proxy);
    EXPECT_EQ(outcome.returned, method.no_answer());
    EXPECT_EQ(outcome.outs, method.untouched());
    EXPECT_EQ(get_last_result(), -5);
    EXPECT_THAT(errors(), scripted::Lines(proxy_error(method.function(), "Invalid protocol")));
}

TEST_P(EveryMethod, RefusesAMissingProxyOutPointerRecordArrayOrDelegateAndSendsNothing)
{
    const auto expect_refused = [this](Nothing nothing, int which) {
        SCOPED_TRACE("the one at " + std::to_string(which));
        scripted::clear_log();
        expect_nothing_sent_or_touched(method.call(proxy, nothing, which));
        EXPECT_THAT(errors(), scripted::Lines(proxy_error(method.function(), "Invalid parameter")));
    };
    expect_refused(Nothing::proxy, -1);
    for (int out = 0; out < method.out_count(); ++out) {
        expect_refused(Nothing::one_out, out);
    }
    for (int parameter = 0; parameter < method.parameter_count(); ++parameter) {
        if (!method.may_be_null(parameter)) {
            expect_refused(Nothing::one_parameter, parameter);
        }
    }
}

TEST_P(EveryMethod, WhileNotConnectedMakesNoParcel)
{
    agent().disconnect();
    scripted::clear_log();
    const int made = platform().uses("rpc_port_parcel_create");
    expect_nothing_sent_or_touched(method.call(proxy));
    EXPECT_EQ(platform().uses("rpc_port_parcel_create"), made);
    EXPECT_THAT(errors(), scripted::Lines(proxy_error(method.function(), "Not connected")));
}

TEST_P(EveryMethod, SendsNothingWhenNoParcelCanBeMade)
{
    platform().fail("rpc_port_parcel_create");
    expect_nothing_sent_or_touched(method.call(proxy));
}

TEST_P(EveryMethod, TakesAnAnswerThatEndsEarlyForNoSuccessAndLosesNothing)
{
    const Values whole = method.answer(0);
    for (std::size_t length = 1; length < whole.size(); ++length) {
        SCOPED_TRACE("the answer has " + std::to_string(length) + " values");
        agent().answer_next_raw(whole.first(length));
        const Method::Outcome outcome = method.call(proxy);
        EXPECT_EQ(outcome.returned, method.no_answer()) << "the return value was not there to be read";
        if (length == 1) {
            EXPECT_EQ(outcome.outs, method.nothing_read());
        }
    }
}

TEST_P(EveryMethod, FreesWhatItHadWhenThePlatformFailsAnywhere)
{
    const scripted::Live before = scripted::live();
    for (const std::string& function : platform().functions()) {
        if (function == "dlog_print" || function.rfind("rpc_port_stub", 0) == 0) {
            continue;
        }
        for (int nth = 1; nth <= 3; ++nth) {
            SCOPED_TRACE(function + ", use " + std::to_string(nth));
            agent().forget_script();
            agent().answer_next_raw(method.answer(0));
            const int used = platform().uses(function);
            platform().fail(function, nth, -12);
            method.call(proxy);
            platform().fail_no_more();
            EXPECT_EQ(scripted::live(), before);
            if (platform().uses(function) - used < nth) {
                break;
            }
        }
        // What was left unread must not be taken for the next call's answer.
        agent().break_connection();
        agent().run_events();
        agent().connect();
    }
}

INSTANTIATE_TEST_SUITE_P(Catalogue, EveryMethod, testing::ValuesIn(all_methods()),
                         [](const auto& tested) { return std::string(tested.param->name); });

}  // namespace
}  // namespace catalogue
