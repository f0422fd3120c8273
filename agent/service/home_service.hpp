// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "home/home.hpp"
#include "home/setup.hpp"
#include "stub/qv_client_stub.hpp"

// The home, served over the interface.
//
// Each method is a few lines: look the thing up, let the home do it, say what came of it. What happens in
// the home comes back over its bus and goes out to every client that asked (events.cpp). Requests are
// answered only when what they changed is kept: the interceptor commits before an answer leaves.
namespace quorvel::agent {

using namespace quorvel::stub;
using home::Home;
using home::Json;
using home::Status;

// The clients that asked for one kind of callback; each client has one, and asking again replaces it.
template <typename Kind>
class Listeners {
public:
    int set(const Delegate<Kind>& delegate)
    {
        forget(delegate.client.lock().get());
        delegates_.push_back(delegate);
        return 0;
    }
    int unset(const Client& client)
    {
        forget(&client);
        return 0;
    }
    void forget(const Client* client)
    {
        std::erase_if(delegates_, [&](const Delegate<Kind>& each) {
            const auto held = each.client.lock();
            return held == nullptr || held.get() == client;
        });
    }
    bool empty() const { return delegates_.empty(); }
    template <typename... Parameters>
    void tell(const Parameters&... parameters) const
    {
        for (const auto& delegate : delegates_)
            fire(delegate, parameters...);
    }
    const std::vector<Delegate<Kind>>& all() const { return delegates_; }

private:
    std::vector<Delegate<Kind>> delegates_;
};

class HomeService final : public Service {
public:
    // `post` runs an action when the request that is being served has been answered.
    using Post = std::function<void(std::function<void()>)>;

    HomeService(Home& home, Post post);
    ~HomeService() override;

    Home& the_home() { return home_; }
    home::Setup& setup() { return setup_; }
    // The code with which a method is refused before it is asked, or none: signed out, suspended.
    static std::optional<Status> refusal(const Home& home, int method);
    // How many callbacks are registered, by kind, for whoever looks at the agent.
    Json registrations() const;

    // Whether a client that connects may stay; everyone may while this is empty.
    std::function<bool(Client&)> admits;

    void on_client_connected(Client& client) override;
    void on_client_disconnected(Client& client) override;

    // Account and service information (account.cpp)
    int connect(Client& client) override;
    int disconnect(Client& client) override;
    bool check_update_state(Client& client) override;
    int get_access_token(Client& client, Text& token) override;
    int set_sign_in_state_cb(Client& client, const Delegate<sign_in_state_cb>& on_changed) override;
    int unset_sign_in_state_cb(Client& client) override;
    int is_signed_in(Client& client, Text& state) override;
    int refresh_device_information(Client& client) override;
    int set_ui_metadata_cb(Client& client, const Delegate<ui_metadata_cb>& on_changed) override;
    int unset_ui_metadata_cb(Client& client) override;
    int get_ui_metadata(Client& client, std::string_view vid, Text& metadata) override;
    int get_device_id(Client& client, Text& device_id) override;
    int set_notification_cb(Client& client, const Delegate<notification_cb>& on_notification) override;
    int unset_notification_cb(Client& client) override;
    int get_test_configuration(Client& client, int type, int& value) override;
    int set_test_configuration(Client& client, int type, int value) override;
    int get_connected_uid(Client& client, Text& user_id) override;
    int get_client_state(Client& client, int& state) override;
    int set_api_version(Client& client, std::string_view version) override;
    int get_udo_upload_url(Client& client, std::string_view content_id, std::string_view content_type,
                           std::string_view checksum, int content_length, Text& upload_url,
                           Text& content_url) override;
    int get_udo_download_url(Client& client, std::string_view content_id, std::string_view content_type,
                             std::string_view options, Text& download_url) override;
    int get_login_id(Client& client, Text& login_id) override;

    // Devices, details, launch conditions (devices.cpp)
    int set_device_list_cb(Client& client, const Delegate<device_list_cb>& on_changed) override;
    int unset_device_list_cb(Client& client) override;
    int get_device(Client& client, Out<device_s>& device) override;
    int get_device_list(Client& client, Out<array_device_s>& devices, int& count) override;
    int set_device_detail_list_cb(Client& client, const Delegate<device_detail_list_cb>& on_changed) override;
    int unset_device_detail_list_cb(Client& client) override;
    int get_device_detail(Client& client, std::string_view device_id, Out<device_detail_s>& detail) override;
    int get_device_detail_list(Client& client, Out<array_device_detail_s>& details, int& count) override;
    int add_app_launch_condition(Client& client, const app_launch_condition_s& condition) override;
    int remove_app_launch_condition(Client& client, const app_launch_condition_s& condition) override;
    int is_app_launch_condition_added(Client& client, const app_launch_condition_s& condition,
                                      bool& added) override;
    int get_all_app_launch_conditions(Client& client, Out<array_app_launch_condition_s>& conditions,
                                      int& count) override;
    int get_is_caching_data(Client& client, bool& caching) override;
    int move_devices(Client& client, const array_string& device_ids, int count, std::string_view group_id,
                     std::string_view options, const Delegate<device_result_cb>& on_result) override;
    int change_device_nick(Client& client, std::string_view device_id, std::string_view nick,
                           const Delegate<device_result_cb>& on_result) override;
    int remove_device(Client& client, std::string_view device_id,
                      const Delegate<device_result_cb>& on_result) override;

    // Groups (groups.cpp)
    int set_group_list_cb(Client& client, const Delegate<group_list_cb>& on_changed) override;
    int unset_group_list_cb(Client& client) override;
    int get_group(Client& client, std::string_view group_id, Out<group_s>& group) override;
    int get_group_list(Client& client, std::string_view group_type, Out<array_group_s>& groups,
                       int& count) override;
    int add_group(Client& client, std::string_view parent_id, std::string_view group_name,
                  std::string_view group_type, std::string_view background_image, std::string_view options,
                  const Delegate<group_result_cb>& on_result) override;
    int remove_group(Client& client, std::string_view group_id, std::string_view options,
                     const Delegate<group_result_cb>& on_result) override;
    int update_group(Client& client, std::string_view group_id, std::string_view group_name,
                     std::string_view group_nick, std::string_view group_type,
                     std::string_view background_image, std::string_view options,
                     const Delegate<group_result_cb>& on_result) override;

    // Scenes (scenes.cpp)
    int set_scene_list_cb(Client& client, const Delegate<scene_list_cb>& on_changed) override;
    int unset_scene_list_cb(Client& client) override;
    int get_scene(Client& client, std::string_view scene_id, Out<scene_s>& scene) override;
    int get_scene_list(Client& client, Out<array_scene_s>& scenes, int& count) override;
    int do_scene(Client& client, std::string_view scene_id, std::string_view options,
                 const Delegate<scene_cb>& on_result) override;
    int add_scene(Client& client, std::string_view group_id, std::string_view scene,
                  const Delegate<scene_cb>& on_result) override;
    int remove_scene(Client& client, std::string_view scene_id, const Delegate<scene_cb>& on_result) override;
    int update_scene(Client& client, std::string_view scene_id, std::string_view scene,
                     const Delegate<scene_cb>& on_result) override;

    // Onboarding (easy_setup.cpp)
    int start_easy_setup(Client& client) override;
    int set_easy_setup_otm_support_feature_cb(
        Client& client, const Delegate<easy_setup_otm_support_feature_cb>& on_features) override;
    int set_easy_setup_random_pin_cb(Client& client,
                                     const Delegate<easy_setup_random_pin_cb>& on_pin) override;
    int start_easy_setup_ble(Client& client, std::string_view address, bool flag) override;
    int set_easy_setup_otm_support_feature(Client& client, int feature) override;
    int configure_cloud_prop(Client& client, const cloud_prop_s& properties,
                             const Delegate<easy_setup_result_cb>& on_result) override;
    int configure_device_prop(Client& client, const device_prop_s& properties,
                              const Delegate<easy_setup_result_cb>& on_result) override;
    int set_easy_setup_state_cb(Client& client, const Delegate<easy_setup_state_cb>& on_state) override;
    int unset_easy_setup_state_cb(Client& client) override;
    int get_access_point_list(Client& client, const Delegate<access_point_list_cb>& on_list) override;
    int set_bookmark_location(Client& client, const bookmark_location_s& location,
                              const Delegate<ocf_result_cb>& on_result) override;
    int send_easy_setup_log(Client& client, std::string_view log,
                            const Delegate<easy_setup_result_cb>& on_result) override;
    int get_easy_setup_device_conf(Client& client,
                                   const Delegate<easy_setup_device_conf_cb>& on_configuration) override;
    int monitor_enrollee_sign_in(Client& client,
                                 const Delegate<monitor_enrollee_sign_in_cb>& on_signed_in) override;
    int stop_easy_setup(Client& client) override;
    int set_easy_setup_enrollee_state_cb(Client& client,
                                         const Delegate<easy_setup_enrollee_state_cb>& on_state) override;
    int unset_easy_setup_enrollee_state_cb(Client& client) override;
    int send_reset_provisioning_info(Client& client, const Delegate<ocf_result_cb>& on_result) override;
    int set_easy_setup_enrollee_owned_cb(Client& client,
                                         const Delegate<easy_setup_enrollee_owned_cb>& on_owned) override;
    int init_easy_setup(Client& client, int setup_type,
                        const Delegate<easy_setup_init_cb>& on_result) override;
    int start_easy_setup_v2(Client& client, std::string_view host_address, bool flag) override;
    int set_easy_setup_random_pin(Client& client, std::string_view pin) override;
    int get_easysetup_last_error_code(Client& client, Out<easy_setup_error_code_s>& error) override;
    int set_easy_setup_prov_info_cb(Client& client,
                                    const Delegate<easy_setup_prov_info_cb>& on_info) override;

    // Resources of devices (resources.cpp)
    int subscribe(Client& client, std::string_view device_id, std::string_view resource_uris,
                  std::string_view options, const Delegate<subscribe_cb>& on_event) override;
    int unsubscribe(Client& client, std::string_view device_id, std::string_view resource_uris) override;
    int start_monitoring_network_state(Client& client, std::string_view device_id, std::string_view options,
                                       const Delegate<start_monitoring_network_state_cb>& on_state) override;
    int stop_monitoring_network_state(Client& client, std::string_view device_id) override;
    int set_remote_representation(Client& client, std::string_view device_id, std::string_view resource_uri,
                                  std::string_view representation, std::string_view query,
                                  std::string_view options,
                                  const Delegate<remote_representation_cb>& on_result) override;
    int get_remote_representation(Client& client, std::string_view device_id, std::string_view resource_uri,
                                  std::string_view query, std::string_view options,
                                  const Delegate<remote_representation_cb>& on_result) override;
    int set_remote_attributes(Client& client, std::string_view device_id, std::string_view resource_uri,
                              std::string_view attributes, std::string_view query, std::string_view options,
                              const Delegate<remote_attributes_cb>& on_result) override;
    int get_remote_attributes(Client& client, std::string_view device_id, std::string_view resource_uri,
                              std::string_view query, std::string_view options,
                              const Delegate<remote_attributes_cb>& on_result) override;
    int get_resource_uris(Client& client, std::string_view device_id, std::string_view resource_type,
                          Out<array_string>& resource_uris, int& count) override;
    int get_file_transfer_data(Client& client, std::string_view device_id, std::string_view resource_uri,
                               std::string_view options,
                               const Delegate<file_transfer_data_cb>& on_files) override;
    int get_accessory_list(Client& client, const Delegate<get_accessory_list_cb>& on_list) override;
    int get_resource_types_by_resource_uri(Client& client, std::string_view device_id,
                                           std::string_view resource_uri, Out<array_string>& resource_types,
                                           int& count) override;

    // Services of the cloud (cloud_services.cpp)
    int activate_vxr_migration(Client& client, const Delegate<activate_vxr_migration_cb>& on_result) override;
    int get_vxr_device_token(Client& client, const Delegate<get_vxr_device_token_cb>& on_token) override;
    int set_third_party_notification(Client& client, std::string_view push_provider,
                                     std::string_view push_registration_id, std::string_view push_app_id,
                                     std::string_view locale,
                                     const Delegate<set_third_party_notification_cb>& on_result) override;
    int get_vxr_device_peer_token(Client& client, std::string_view device_id,
                                  const Delegate<get_vxr_device_peer_token_cb>& on_token) override;
    int get_self_signup_info_for_thing(Client& client, std::string_view group_id, std::string_view options,
                                       Out<self_signup_info_s>& info) override;
    int set_third_party_notification_status(
        Client& client, bool enabled, const array_string& topics, int count,
        const Delegate<set_third_party_notification_cb>& on_result) override;
    int get_third_party_notification_status(
        Client& client, const Delegate<third_party_notification_status_cb>& on_status) override;
    int set_third_party_notification_status_updated_cb(
        Client& client, const Delegate<third_party_notification_status_updated_cb>& on_changed) override;
    int unset_third_party_notification_status_updated_cb(Client& client) override;

    // Core: devices and hubs (core_devices.cpp)
    int core_get_device_json(Client& client, std::string_view device_id, Text& json) override;
    int core_get_device_list_json(Client& client, std::string_view filter, Text& json) override;
    int core_get_device_health_data_json(Client& client, std::string_view device_id, Text& json) override;
    int core_get_device_status(Client& client, std::string_view device_id, Text& status) override;
    int core_get_device_component_status(Client& client, std::string_view device_id,
                                         std::string_view component_id, Text& status) override;
    int core_get_device_capability_status(Client& client, std::string_view device_id,
                                          std::string_view component_id, std::string_view capability_id,
                                          Text& status) override;
    int core_execute_device_commands(Client& client, std::string_view device_id, std::string_view commands,
                                     Text& result) override;
    int core_get_device_preferences(Client& client, std::string_view device_id,
                                    std::string_view preference_name, Text& preferences) override;
    int core_update_device_preferences(Client& client, std::string_view preference_name,
                                       std::string_view device_id, std::string_view preferences,
                                       Text& result) override;
    int core_get_hub_json(Client& client, std::string_view location_id, std::string_view hub_id,
                          Text& json) override;
    int core_get_home_insight_device_statics(Client& client, std::string_view location_id,
                                             Text& statistics) override;
    int core_get_broker_url(Client& client, std::string_view hub_id, bool secure, Text& url) override;
    int core_get_device(Client& client, std::string_view device_id, Out<core_device_s>& device) override;
    int core_get_device_list(Client& client, std::string_view filter, Out<array_core_device_s>& devices,
                             int& count) override;
    int core_get_device_health_data(Client& client, std::string_view device_id, int& health) override;
    int core_get_device_presentation(Client& client, std::string_view device_id,
                                     std::string_view presentation_id, std::string_view locale,
                                     std::string_view detailed, Text& presentation) override;
    int core_create_ir_device(Client& client, std::string_view parent_device_id, std::string_view ir_device,
                              Text& result) override;
    int core_get_ir_device(Client& client, std::string_view parent_device_id, std::string_view ir_device_id,
                           Text& json) override;
    int core_delete_device(Client& client, std::string_view device_id) override;
    int core_get_hub_device_list(Client& client, std::string_view hub_id, Out<array_string>& device_ids,
                                 int& count) override;
    int core_start_hub_device_discovery(Client& client, std::string_view hub_id, int duration,
                                        bool allow_join, bool include_known, int protocol) override;
    int core_stop_hub_device_discovery(Client& client, std::string_view hub_id) override;
    int core_migrate_local_mqtt_device(Client& client, std::string_view device_id, std::string_view hub_id,
                                       Text& result) override;
    int core_update_device(Client& client, std::string_view device_id, std::string_view name,
                           std::string_view location_id, std::string_view room_id,
                           std::string_view components, std::string_view options, Text& result) override;

    // Core: locations and rooms (core_places.cpp)
    int core_get_location_json(Client& client, std::string_view location_id, Text& json) override;
    int core_get_room_json(Client& client, std::string_view location_id, std::string_view room_id,
                           Text& json) override;
    int core_get_location_list(Client& client, Out<array_location_s>& locations, int& count) override;
    int core_get_room_list(Client& client, std::string_view location_id, Out<array_room_s>& rooms,
                           int& count) override;
    int core_get_location(Client& client, std::string_view location_id, Out<location_s>& location) override;
    int core_get_room(Client& client, std::string_view location_id, std::string_view room_id,
                      Out<room_s>& room) override;
    int core_create_location(Client& client, const location_s& location, Text& result) override;
    int core_update_location(Client& client, std::string_view location_id, const location_s& location,
                             Text& result) override;
    int core_delete_location(Client& client, std::string_view location_id, Text& result) override;
    int core_create_room(Client& client, std::string_view location_id, const room_s& room,
                         Text& result) override;
    int core_update_room(Client& client, std::string_view location_id, std::string_view room_id,
                         const room_s& room, Text& result) override;
    int core_delete_room(Client& client, std::string_view location_id, std::string_view room_id,
                         Text& result) override;
    int core_get_location_users(Client& client, std::string_view location_id, Text& json) override;
    int core_get_all_location_users(Client& client, Text& json) override;

    // Core: rules and scenes (core_automation.cpp)
    int core_get_rule_json(Client& client, std::string_view location_id, std::string_view rule_id,
                           Text& json) override;
    int core_get_rule_list_json(Client& client, std::string_view location_id, Text& json) override;
    int core_create_rule(Client& client, std::string_view location_id, std::string_view rule,
                         Text& result) override;
    int core_update_rule(Client& client, std::string_view location_id, std::string_view rule_id,
                         std::string_view rule, Text& result) override;
    int core_delete_rule(Client& client, std::string_view location_id, std::string_view rule_id,
                         Text& result) override;
    int core_get_rule(Client& client, std::string_view location_id, std::string_view rule_id,
                      Out<core_rule_s>& rule) override;
    int core_get_rule_list(Client& client, std::string_view location_id, Out<array_core_rule_s>& rules,
                           int& count) override;
    int core_create_scene(Client& client, std::string_view location_id, std::string_view scene,
                          Text& result) override;
    int core_update_scene(Client& client, std::string_view location_id, std::string_view scene_id,
                          std::string_view scene, Text& result) override;
    int core_delete_scene(Client& client, std::string_view location_id, std::string_view scene_id,
                          Text& result) override;
    int core_get_scene(Client& client, std::string_view location_id, std::string_view scene_id,
                       Out<core_scene_s>& scene) override;
    int core_get_scene_list(Client& client, std::string_view location_id, Out<array_core_scene_s>& scenes,
                            int& count) override;
    int core_execute_rule(Client& client, std::string_view location_id, std::string_view rule_id,
                          Text& result) override;
    int core_update_rule_status(Client& client, std::string_view location_id, std::string_view rule_id,
                                bool enabled, Text& result) override;
    int core_execute_scene(Client& client, std::string_view location_id, std::string_view scene_id,
                           Text& result) override;
    int core_execute_adhoc_scene(Client& client, std::string_view location_id, std::string_view scene,
                                 Text& result) override;

    // Core: favorites (core_favorites.cpp)
    int core_get_favorites_list(Client& client, std::string_view location_id, std::string_view visibility,
                                Out<array_favorite_s>& favorites, int& count) override;
    int core_create_favorite(Client& client, std::string_view location_id, std::string_view visibility,
                             std::string_view favorite, Out<favorite_s>& created) override;
    int core_replace_favorites(Client& client, std::string_view location_id, std::string_view visibility,
                               std::string_view favorites, Out<array_favorite_s>& replaced,
                               int& count) override;
    int core_delete_favorites(Client& client, std::string_view location_id,
                              std::string_view visibility) override;
    int core_get_favorite(Client& client, std::string_view location_id, std::string_view favorite_id,
                          std::string_view visibility, Out<favorite_s>& favorite) override;
    int core_delete_favorite(Client& client, std::string_view location_id, std::string_view favorite_id,
                             std::string_view visibility) override;
    int core_get_favorite_migration_status(Client& client, std::string_view location_id,
                                           Out<favorite_s>& status) override;
    int core_update_favorite_migration_status(Client& client, std::string_view location_id,
                                              std::string_view status, Text& result) override;

    // Core: device groups (core_groups.cpp)
    int core_get_device_group(Client& client, std::string_view device_group_id,
                              Out<device_group_s>& device_group) override;
    int core_get_device_group_list(Client& client, Out<array_device_group_s>& device_groups,
                                   int& count) override;
    int core_create_device_group(Client& client, std::string_view name, std::string_view type,
                                 std::string_view devices, std::string_view room_id, Text& result) override;
    int core_update_device_group(Client& client, std::string_view device_group_id, std::string_view name,
                                 std::string_view devices, std::string_view room_id, Text& result) override;
    int core_delete_device_group(Client& client, std::string_view device_group_id, Text& result) override;
    int core_execute_device_group(Client& client, std::string_view device_group_id, std::string_view commands,
                                  Text& result) override;
    int core_get_device_group_devices_status(Client& client, std::string_view device_group_id,
                                             Text& status) override;

    // Core: server-sent events (events.cpp)
    int set_server_sent_event(Client& client, int type,
                              const Delegate<server_sent_event_cb>& on_event) override;
    int unset_server_sent_event(Client& client) override;
    int set_server_sent_event_by_filter(Client& client, int filter_type, std::string_view filter,
                                        const Delegate<server_sent_event_cb>& on_event) override;
    int unset_server_sent_event_by_filter(Client& client, int filter_type, std::string_view filter) override;

    // Core: apps and history (core_apps.cpp)
    int core_get_installed_app_dashboard_json(Client& client, std::string_view installed_app_id,
                                              Text& json) override;
    int core_execute_installed_app(Client& client, std::string_view installed_app_id,
                                   std::string_view request, Text& result) override;
    int core_get_activity_history(Client& client, std::string_view filter, Text& history) override;
    int core_get_notification_history(Client& client, std::string_view filter, Text& history) override;
    int get_installed_app_list(Client& client, Out<array_installed_app_s>& installed_apps,
                               int& count) override;
    int get_installed_app(Client& client, std::string_view installed_app_id,
                          Out<installed_app_s>& installed_app) override;
    int core_initialize_installation(Client& client, std::string_view app_id, std::string_view location_id,
                                     std::string_view locale, std::string_view options,
                                     Text& installation) override;
    int core_cancel_installation(Client& client, std::string_view app_id, std::string_view installed_app_id,
                                 std::string_view location_id) override;
    int core_start_completing_app_installation(Client& client, std::string_view app_id,
                                               std::string_view installed_app_id,
                                               std::string_view location_id,
                                               std::string_view configuration_id, std::string_view request,
                                               Text& result) override;
    int core_send_active_user_event(Client& client, int category, int action, std::string_view target_id,
                                    std::string_view details) override;

private:
    struct Subscription {
        Delegate<subscribe_cb> delegate;
        std::string uris;  // as they were given; they tell subscriptions apart
        std::vector<std::string> each;
        std::string options;
    };
    struct FilteredEvents {
        Delegate<server_sent_event_cb> delegate;
        int type;
        std::string filter;
    };
    struct TypedEvents {
        Delegate<server_sent_event_cb> delegate;
        int type;
    };
    // What a server-sent event is of, for the filters.
    struct Subject {
        std::string location;
        std::string room;
        std::string app;
        std::string device;
    };
    struct GroupNews {
        const char* event;
        std::string id;
        std::string parent;
        std::string name;
    };

    // Answers of methods with a text: the JSON, or what is wrong as JSON together with the code.
    static int done(Text& out, const Json& json);
    static int fails(Text& out, Status status, const std::string& message);
    static int results(Text& out, Status status, const std::vector<home::CommandResult>& results,
                       Json about = Json::object());

    // Fires a one-answer delegate after the request is answered; for a device, after its link took its time.
    template <typename Kind, typename... Values>
    int answer_later(const Delegate<Kind>& delegate, Values... values)
    {
        post_([delegate, values...] { fire(delegate, values...); });
        return 0;
    }
    // Runs `there` when the request has reached the device, or `lost` when it never does.
    void at_device(const home::Device& device, std::function<void()> there, std::function<void()> lost);

    home::Setup::Owner owner(const Client& client) const
    {
        return reinterpret_cast<home::Setup::Owner>(&client);
    }

    // events.cpp
    void hear(const home::Event& event);
    void send_event(int type, const char* name, const Subject& subject, Json details);
    Subject subject_of(const home::Device& device) const;
    void attribute_changed(const home::event::AttributeChanged& change);
    void health_changed(const home::event::HealthChanged& change);
    void device_changed(const home::event::DeviceChanged& change);
    void news_of_group(const char* event, const std::string& id, const std::string& parent = {},
                       const std::string& name = {});
    void news_of_place_of(const std::string& location, const std::string& room);
    void news_of_scene(const char* event, const std::string& id);
    void push_lists(bool devices, bool details);
    void flush();

    std::vector<device_s> device_list() const;
    std::vector<device_detail_s> detail_list() const;
    std::size_t gathered() const;

    Home& home_;
    home::Setup setup_;
    Post post_;
    home::EventBus::Id listening_;

    Listeners<sign_in_state_cb> sign_in_;
    Listeners<device_list_cb> device_lists_;
    Listeners<device_detail_list_cb> detail_lists_;
    Listeners<group_list_cb> group_lists_;
    Listeners<scene_list_cb> scene_lists_;
    Listeners<ui_metadata_cb> metadata_;
    Listeners<notification_cb> notifications_;
    Listeners<third_party_notification_status_updated_cb> push_status_;
    Listeners<easy_setup_otm_support_feature_cb> setup_ownership_;
    Listeners<easy_setup_random_pin_cb> setup_pin_;
    Listeners<easy_setup_state_cb> setup_state_;
    Listeners<easy_setup_enrollee_state_cb> setup_error_;
    Listeners<easy_setup_enrollee_owned_cb> setup_owned_;
    Listeners<easy_setup_prov_info_cb> setup_info_;
    std::unordered_map<std::string, std::vector<Subscription>> subscriptions_;  // by device
    std::unordered_map<std::string, std::vector<Delegate<start_monitoring_network_state_cb>>> monitors_;
    std::vector<TypedEvents> events_;
    std::vector<FilteredEvents> filtered_events_;
    std::uint64_t event_number_ = 0;

    // News that are told once at the end of a turn, however often it changed in it.
    bool flushing_ = false;
    bool device_news_ = false;
    bool detail_news_ = false;
    std::vector<GroupNews> group_news_;
    std::vector<std::pair<const char*, std::string>> scene_news_;
};

}  // namespace quorvel::agent
