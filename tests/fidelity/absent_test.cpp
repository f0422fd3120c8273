// Every function that names a thing, called for one that there is not: its code, and that nothing changed.
#include "core_family.hpp"

namespace {

using namespace integration;

constexpr const char* nothing = "there-is-no-such";

/// Where a function may put what it hands out, and what it may call.
struct Asked {
    quorvel_client_h client = nullptr;
    int answers = 0;
    char* texts[3] = {};
    void* record = nullptr;
    void** records = nullptr;
    char** list = nullptr;
    int count = -1;
    bool flag = false;

    bool is_untouched() const
    {
        return answers == 0 && texts[0] == nullptr && texts[1] == nullptr && texts[2] == nullptr
               && record == nullptr && records == nullptr && list == nullptr && count == -1 && !flag;
    }
};

/// A callback of any type that counts its calls.
template <typename Callback>
struct CountedBy;
template <typename... Values>
struct CountedBy<void (*)(Values...)> {
    static void take(Values... values) { ++static_cast<Asked*>(last(values...))->answers; }

private:
    static void* last(auto... values) { return std::get<sizeof...(values) - 1>(std::tuple{values...}); }
};
template <typename Callback>
constexpr Callback counted = &CountedBy<Callback>::take;

constexpr auto device_result = counted<quorvel_client_device_result_cb>;
constexpr auto group_result = counted<quorvel_client_group_result_cb>;
constexpr auto scene_result = counted<quorvel_client_scene_result_cb>;
constexpr auto setup_result = counted<quorvel_client_easy_setup_result_cb>;

struct Row {
    const char* function;
    int code;
    int (*call)(Asked& asked);
};

#define ROW(function, code, ...)                                                                         \
    Row                                                                                                  \
    {                                                                                                    \
#function, code, [](Asked & asked) { return function(asked.client __VA_OPT__(, ) __VA_ARGS__); } \
    }

/// A launch condition of a device that there is not.
int with_condition(Asked& asked, auto* function, auto... more)
{
    void* condition = nullptr;
    EXPECT_EQ(quorvel_client_app_launch_condition_create(&condition), 0);
    for (int property = 0; property < 7; ++property)
        EXPECT_EQ(quorvel_client_app_launch_condition_set_string(condition, property, nothing), 0);
    const int code = function(asked.client, condition, more...);
    EXPECT_EQ(quorvel_client_app_launch_condition_destroy(condition), 0);
    return code;
}

int with_property(Asked& asked, auto* create, auto* function, auto* destroy)
{
    void* property = nullptr;
    EXPECT_EQ(create(&property), 0);
    const int code = function(asked.client, property, setup_result, &asked);
    EXPECT_EQ(destroy(property), 0);
    return code;
}

const char* const devices[] = {nothing};
constexpr const char* scene_json = R"({"name":"Any","actions":[{"device":"lamp-1","set":{"switch":"on"}}]})";
constexpr const char* rule_json =
    R"({"name":"Any","when":{"device":"motion-1","attribute":"motion","is":"active"},"then":[{"scene":"movie"}]})";
constexpr const char* commands = R"([{"component":"main","capability":"switch","command":"on"}])";

const Row rows[] = {
    // The client family.
    ROW(quorvel_client_get_ui_metadata, no_data, nothing, asked.texts),
    ROW(quorvel_client_internal_get_server_env, invalid, 77U, &asked.count),
    ROW(quorvel_client_internal_set_server_env, invalid, 77U, 1U),
    ROW(quorvel_client_get_udo_download_url, no_data, nothing, "image/png", "{}", asked.texts),
    ROW(quorvel_client_move_devices, no_data, const_cast<const char**>(devices), 1, "home", "living",
        device_result, &asked),
    ROW(quorvel_client_change_device_nick, no_data, nothing, "Nick", device_result, &asked),
    ROW(quorvel_client_remove_device, no_data, nothing, device_result, &asked),
    ROW(quorvel_client_get_device_detail, no_data, nothing, &asked.record),
    ROW(quorvel_client_get_group, no_data, nothing, &asked.record),
    ROW(quorvel_client_add_group, no_data, nothing, "Attic", "", "", "", group_result, &asked),
    ROW(quorvel_client_remove_group, no_data, nothing, "", group_result, &asked),
    ROW(quorvel_client_update_group, no_data, nothing, "Attic", "", "", "", "", group_result, &asked),
    ROW(quorvel_client_get_scene, no_data, nothing, &asked.record),
    ROW(quorvel_client_do_scene, no_data, nothing, scene_result, &asked),
    ROW(quorvel_client_add_scene, no_data, nothing, scene_json, scene_result, &asked),
    ROW(quorvel_client_remove_scene, no_data, nothing, scene_result, &asked),
    ROW(quorvel_client_update_scene, no_data, nothing, scene_json, scene_result, &asked),
    ROW(quorvel_client_subscribe, no_data, nothing, "/switch", "", counted<quorvel_client_subscribe_cb>,
        &asked),
    ROW(quorvel_client_unsubscribe, no_data, nothing, "/switch"),
    ROW(quorvel_client_start_monitoring_cloud_device_state, no_data, nothing, "",
        counted<quorvel_client_cloud_device_state_cb>, &asked),
    ROW(quorvel_client_stop_monitoring_cloud_device_state, no_data, nothing),
    ROW(quorvel_client_set_remote_representation, no_data, nothing, "/switch", R"({"value":true})", "", "",
        counted<quorvel_client_remote_representation_cb>, &asked),
    ROW(quorvel_client_get_remote_representation, no_data, nothing, "/switch", "", "",
        counted<quorvel_client_remote_representation_cb>, &asked),
    ROW(quorvel_client_set_remote_attributes, no_data, nothing, "/switch", R"({"value":true})", "", "",
        counted<quorvel_client_remote_attributes_cb>, &asked),
    ROW(quorvel_client_get_remote_attributes, no_data, nothing, "/switch", "", "",
        counted<quorvel_client_remote_attributes_cb>, &asked),
    ROW(quorvel_client_get_resource_uris, no_data, nothing, "qv.r.switch", &asked.list, &asked.count),
    ROW(quorvel_client_get_resource_types_by_resource_uri, no_data, nothing, "/switch", &asked.list,
        &asked.count),
    ROW(quorvel_client_get_vxr_device_peer_token, no_data, nothing,
        counted<quorvel_client_vxr_device_peer_token_cb>, &asked),
    ROW(quorvel_client_get_files, no_data, nothing, "/camera", "", counted<quorvel_client_files_cb>, &asked),
    ROW(quorvel_client_get_self_sign_up_info, no_data, nothing, "", &asked.record),
    {"quorvel_client_add_app_launch_condition", no_data,
     [](Asked& asked) { return with_condition(asked, quorvel_client_add_app_launch_condition); }},
    {"quorvel_client_remove_app_launch_condition", no_data,
     [](Asked& asked) { return with_condition(asked, quorvel_client_remove_app_launch_condition); }},
    {"quorvel_client_is_app_launch_condition_added", 0,
     [](Asked& asked) {
         return with_condition(asked, quorvel_client_is_app_launch_condition_added, &asked.flag);
     }},
    // Onboarding, while nothing is being onboarded.
    ROW(quorvel_client_easy_setup_start, out_of_order, nothing, false,
        counted<quorvel_client_easy_setup_otm_feature_cb>, counted<quorvel_client_easy_setup_random_pin_cb>,
        counted<quorvel_client_easy_setup_enrollee_owned_cb>, &asked),
    ROW(quorvel_client_easy_setup_start_v2, out_of_order, nothing, false,
        counted<quorvel_client_easy_setup_otm_feature_cb>, counted<quorvel_client_easy_setup_random_pin_cb>,
        counted<quorvel_client_easy_setup_provisioning_info_cb>, &asked),
    ROW(quorvel_client_easy_setup_stop, out_of_order),
    {"quorvel_client_easy_setup_device_provisioning", out_of_order,
     [](Asked& asked) {
         return with_property(asked, quorvel_client_easy_setup_device_property_create,
                              quorvel_client_easy_setup_device_provisioning,
                              quorvel_client_easy_setup_device_property_destroy);
     }},
    {"quorvel_client_easy_setup_cloud_provisioning", out_of_order,
     [](Asked& asked) {
         return with_property(asked, quorvel_client_easy_setup_cloud_property_create,
                              quorvel_client_easy_setup_cloud_provisioning,
                              quorvel_client_easy_setup_cloud_property_destroy);
     }},
    ROW(quorvel_client_easy_setup_set_supported_otm_feature, out_of_order, 1),
    ROW(quorvel_client_easy_setup_set_random_pin, out_of_order, "1234"),
    ROW(quorvel_client_easy_setup_get_access_point_list, out_of_order,
        counted<quorvel_client_easy_setup_access_point_list_cb>, &asked),
    ROW(quorvel_client_easy_setup_get_device_conf, out_of_order,
        counted<quorvel_client_easy_setup_device_conf_cb>, &asked),
    ROW(quorvel_client_easy_setup_monitoring_enrollee_sign_in, out_of_order,
        counted<quorvel_client_easy_setup_enrollee_sign_in_cb>, &asked),
    ROW(quorvel_client_easy_setup_set_bookmark_location, out_of_order, "3600", nothing, nothing, setup_result,
        &asked),
    ROW(quorvel_client_easy_setup_send_reset_provisioning_info, out_of_order, setup_result, &asked),
    // The core family.
    ROW(quorvel_core_set_sse_cb_by_device_id, no_data, nothing, counted<quorvel_core_sse_cb>, &asked),
    ROW(quorvel_core_unset_sse_cb_by_device_id, no_data, nothing),
    ROW(quorvel_core_get_hub_json, no_data, "home", nothing, asked.texts),
    ROW(quorvel_core_get_mqtt_broker_url, no_data, nothing, true, asked.texts),
    ROW(quorvel_core_get_device, no_data, nothing, &asked.record),
    ROW(quorvel_core_get_hub_device_id_list, no_data, nothing, &asked.list, &asked.count),
    ROW(quorvel_core_get_device_health_data, no_data, nothing, &asked.count),
    ROW(quorvel_core_get_device_json, no_data, nothing, asked.texts),
    ROW(quorvel_core_get_device_health_data_json, no_data, nothing, asked.texts),
    ROW(quorvel_core_get_device_status, no_data, nothing, asked.texts),
    ROW(quorvel_core_get_device_component_status, no_data, nothing, "main", asked.texts),
    ROW(quorvel_core_get_device_capability_status, no_data, nothing, "main", "switch", asked.texts),
    ROW(quorvel_core_get_device_preferences, no_data, nothing, "*", asked.texts),
    ROW(quorvel_core_get_home_insight_device_statistics, no_data, nothing, asked.texts),
    ROW(quorvel_core_get_device_presentation, no_data, nothing, nothing, "en", false, asked.texts),
    ROW(quorvel_core_get_ir_device, no_data, nothing, nothing, asked.texts),
    ROW(quorvel_core_migrate_local_mqtt_device, no_data, nothing, "hub-1", asked.texts),
    ROW(quorvel_core_execute_device, no_data, nothing, commands, asked.texts),
    ROW(quorvel_core_update_device_preferences, no_data, nothing, "any", "1", asked.texts),
    ROW(quorvel_core_create_ir_device, no_data, nothing, R"({"name":"Fan","keys":["power"]})", asked.texts),
    ROW(quorvel_core_move_device, no_data, nothing, "home", "living", asked.texts),
    ROW(quorvel_core_change_device_name, no_data, nothing, "Name", asked.texts),
    ROW(quorvel_core_update_device_components, no_data, nothing, R"([{"id":"main","label":"Main"}])",
        asked.texts),
    ROW(quorvel_core_delete_device, no_data, nothing),
    ROW(quorvel_core_start_hub_device_discover, no_data, nothing, 1, true, false, 0),
    ROW(quorvel_core_stop_hub_device_discover, no_data, nothing),
    ROW(quorvel_core_get_device_group, no_data, nothing, &asked.record),
    ROW(quorvel_core_get_device_group_devices_status, no_data, nothing, asked.texts),
    ROW(quorvel_core_create_device_group, no_data, "Lights", 1, R"(["lamp-1"])", nothing, asked.texts),
    ROW(quorvel_core_update_device_group, no_data, nothing, "Lights", R"(["lamp-1"])", "living", asked.texts),
    ROW(quorvel_core_delete_device_group, no_data, nothing, asked.texts),
    ROW(quorvel_core_execute_device_group, no_data, nothing, commands, asked.texts),
    ROW(quorvel_core_get_location, no_data, nothing, &asked.record),
    ROW(quorvel_core_get_location_json, no_data, nothing, asked.texts),
    ROW(quorvel_core_get_location_users, no_data, nothing, asked.texts),
    ROW(quorvel_core_update_location, no_data, nothing, "Name", "51.5", "0.1", "150", "C", "en_GB",
        asked.texts),
    ROW(quorvel_core_delete_location, no_data, nothing, asked.texts),
    ROW(quorvel_core_get_room, no_data, "home", nothing, &asked.record),
    ROW(quorvel_core_get_room_list, no_data, nothing, &asked.records, &asked.count),
    ROW(quorvel_core_get_room_json, no_data, "home", nothing, asked.texts),
    ROW(quorvel_core_create_room, no_data, nothing, "Attic", asked.texts),
    ROW(quorvel_core_change_room_name, no_data, "home", nothing, "Attic", asked.texts),
    ROW(quorvel_core_delete_room, no_data, "home", nothing, asked.texts),
    ROW(quorvel_core_get_favorite_list, no_data, nothing, "", &asked.records, &asked.count),
    ROW(quorvel_core_get_favorite, no_data, "home", nothing, "", &asked.record),
    ROW(quorvel_core_create_favorite, no_data, "home", "", R"({"memberId":"nothing","memberType":"DEVICE"})",
        &asked.record),
    ROW(quorvel_core_replace_favorites, no_data, nothing, "", "[]", &asked.records, &asked.count),
    ROW(quorvel_core_delete_favorites, no_data, nothing, ""),
    ROW(quorvel_core_delete_favorite, no_data, "home", nothing, ""),
    ROW(quorvel_core_get_favorite_migration_status, no_data, nothing, &asked.flag, &asked.texts[0],
        &asked.texts[1]),
    ROW(quorvel_core_update_favorite_migration_status, no_data, nothing, "true", asked.texts),
    ROW(quorvel_core_get_rule, no_data, "home", nothing, &asked.record),
    ROW(quorvel_core_get_rule_list, no_data, nothing, &asked.records, &asked.count),
    ROW(quorvel_core_create_rule, no_data, nothing, rule_json, asked.texts),
    ROW(quorvel_core_update_rule, no_data, "home", nothing, rule_json, asked.texts),
    ROW(quorvel_core_delete_rule, no_data, "home", nothing, asked.texts),
    ROW(quorvel_core_execute_rule, no_data, "home", nothing, asked.texts),
    ROW(quorvel_core_update_rule_status, no_data, "home", nothing, true, asked.texts),
    ROW(quorvel_core_get_scene, no_data, "home", nothing, &asked.record),
    ROW(quorvel_core_get_scene_list, no_data, nothing, &asked.records, &asked.count),
    ROW(quorvel_core_create_scene, no_data, nothing, scene_json, asked.texts),
    ROW(quorvel_core_update_scene, no_data, "home", nothing, scene_json, asked.texts),
    ROW(quorvel_core_delete_scene, no_data, "home", nothing, asked.texts),
    ROW(quorvel_core_execute_scene, no_data, "home", nothing, asked.texts),
    ROW(quorvel_core_execute_adhoc_scene, no_data, nothing, scene_json, asked.texts),
    ROW(quorvel_core_get_installed_app, no_data, nothing, &asked.record),
    ROW(quorvel_core_get_installed_app_dashboard_json, no_data, nothing, asked.texts),
    ROW(quorvel_core_execute_installed_app, no_data, nothing, R"({"settings":{}})", asked.texts),
    ROW(quorvel_core_oxbarrow_initialize, no_data, nothing, "home", "en", "{}", asked.texts),
    ROW(quorvel_core_oxbarrow_cancel_installation, no_data, "sunrise", nothing, "home"),
    ROW(quorvel_core_oxbarrow_complete_installation, no_data, "sunrise", nothing, "home", nothing, "{}",
        asked.texts),
};

// A filter is no name: nothing passes it, and that is well.
const Row filters[] = {
    ROW(quorvel_core_get_device_list, 0, nothing, &asked.records, &asked.count),
    ROW(quorvel_core_get_device_list_json, 0, nothing, asked.texts),
    ROW(quorvel_core_get_activity_history, 0, "deviceId=there-is-no-such", asked.texts),
    ROW(quorvel_core_get_notification_history, 0, "deviceId=there-is-no-such", asked.texts),
};

class Absent : public CoreFamily {
protected:
    /// The whole home and what is registered, with its clock standing still.
    std::string everything() const
    {
        const std::string status = control(R"({"do":"status"})");
        const auto registrations = status.find("\"registrations\"");
        return control(R"({"do":"home"})") + status.substr(std::min(registrations, status.size()));
    }
};

TEST_F(Absent, ThingsAreRefusedByEveryFunctionAndNothingChanges)
{
    order(R"({"do":"time","speed":0})");
    settle();
    for (const Row& row : rows) {
        SCOPED_TRACE(row.function);
        const std::string before = everything();
        ASSERT_NE(before.find("lamp-1"), std::string::npos);
        Asked asked;
        asked.client = client();
        EXPECT_EQ(row.call(asked), row.code);
        settle();
        EXPECT_EQ(asked.answers, 0) << "the callback came";
        const std::string reason = asked.texts[0] != nullptr ? asked.texts[0] : "";
        if (!reason.empty()) {
            EXPECT_TRUE(reason.starts_with(R"({"error":)")) << reason;
        }
        for (char*& text : asked.texts) {
            std::free(text);
            text = nullptr;
        }
        EXPECT_TRUE(asked.is_untouched()) << "something was handed out";
        EXPECT_TRUE(everything() == before) << "the home changed";
    }
}

TEST_F(Absent, ThingsPassNoFilterAndNothingChanges)
{
    order(R"({"do":"time","speed":0})");
    settle();
    const std::string before = everything();
    for (const Row& row : filters) {
        SCOPED_TRACE(row.function);
        Asked asked;
        asked.client = client();
        EXPECT_EQ(row.call(asked), row.code);
        EXPECT_LE(asked.count, 0);
        EXPECT_EQ(asked.records, nullptr);
        const Text text{asked.texts[0]};
        if (text != nullptr) {
            EXPECT_STREQ(text.get(), R"({"count":0,"items":[]})");
        }
    }
    EXPECT_TRUE(everything() == before);
}

}  // namespace
