// SPDX-License-Identifier: Apache-2.0
#include "service/home_service.hpp"

#include <algorithm>
#include <iterator>

#include "service/views.hpp"

namespace quorvel::agent {

using home::code;
using home::to_text;

namespace {

// What an agent does without an account: say so, speak about itself, and let callbacks come and go.
constexpr int open_methods[] = {
    method::connect::id,
    method::disconnect::id,
    method::check_update_state::id,
    method::set_sign_in_state_cb::id,
    method::unset_sign_in_state_cb::id,
    method::is_signed_in::id,
    method::set_device_list_cb::id,
    method::unset_device_list_cb::id,
    method::get_device::id,
    method::set_device_detail_list_cb::id,
    method::unset_device_detail_list_cb::id,
    method::set_group_list_cb::id,
    method::unset_group_list_cb::id,
    method::set_scene_list_cb::id,
    method::unset_scene_list_cb::id,
    method::unsubscribe::id,
    method::stop_monitoring_network_state::id,
    method::set_ui_metadata_cb::id,
    method::unset_ui_metadata_cb::id,
    method::get_ui_metadata::id,
    method::get_device_id::id,
    method::set_notification_cb::id,
    method::unset_notification_cb::id,
    method::get_test_configuration::id,
    method::set_test_configuration::id,
    method::get_client_state::id,
    method::set_api_version::id,
    method::get_is_caching_data::id,
    method::set_easy_setup_otm_support_feature_cb::id,
    method::set_easy_setup_random_pin_cb::id,
    method::set_easy_setup_state_cb::id,
    method::unset_easy_setup_state_cb::id,
    method::stop_easy_setup::id,
    method::set_easy_setup_enrollee_state_cb::id,
    method::unset_easy_setup_enrollee_state_cb::id,
    method::set_easy_setup_enrollee_owned_cb::id,
    method::set_easy_setup_prov_info_cb::id,
    method::get_easysetup_last_error_code::id,
    method::set_third_party_notification_status_updated_cb::id,
    method::unset_third_party_notification_status_updated_cb::id,
    method::unset_server_sent_event::id,
    method::unset_server_sent_event_by_filter::id,
};

// Methods that the cloud answers; the others are the agent's own.
bool of_cloud(int method)
{
    return (method >= method::core_get_device_json::id && method != method::get_easysetup_last_error_code::id
            && method != method::set_easy_setup_prov_info_cb::id
            && method != method::unset_server_sent_event::id
            && method != method::unset_server_sent_event_by_filter::id)
           || method == method::get_udo_upload_url::id || method == method::get_udo_download_url::id
           || method == method::activate_vxr_migration::id || method == method::get_vxr_device_token::id
           || method == method::get_vxr_device_peer_token::id
           || method == method::get_self_signup_info_for_thing::id
           || method == method::set_third_party_notification::id
           || method == method::set_third_party_notification_status::id;
}

}  // namespace

HomeService::HomeService(Home& home, Post post)
    : home_(home),
      setup_(home),
      post_(std::move(post)),
      listening_(home.bus().listen([this](const home::Event& event) { hear(event); }))
{
}

HomeService::~HomeService()
{
    home_.bus().forget(listening_);
}

std::optional<Status> HomeService::refusal(const Home& home, int method)
{
    const bool open =
        std::find(std::begin(open_methods), std::end(open_methods), method) != std::end(open_methods);
    if (open)
        return std::nullopt;
    if (home.account().suspended)
        return Status::suspended;
    if (!home.account().signed_in)
        return Status::denied;
    if (!home.account().cloud && of_cloud(method))
        return Status::unreachable;
    return std::nullopt;
}

void HomeService::on_client_connected(Client& client)
{
    if (admits && !admits(client))
        client.reject();
}

void HomeService::on_client_disconnected(Client& client)
{
    sign_in_.forget(&client);
    device_lists_.forget(&client);
    detail_lists_.forget(&client);
    group_lists_.forget(&client);
    scene_lists_.forget(&client);
    metadata_.forget(&client);
    notifications_.forget(&client);
    push_status_.forget(&client);
    setup_ownership_.forget(&client);
    setup_pin_.forget(&client);
    setup_state_.forget(&client);
    setup_error_.forget(&client);
    setup_owned_.forget(&client);
    setup_info_.forget(&client);
    const auto gone = [&](const auto& delegate) {
        const auto held = delegate.client.lock();
        return held == nullptr || held.get() == &client;
    };
    for (auto entry = subscriptions_.begin(); entry != subscriptions_.end();) {
        std::erase_if(entry->second, [&](const Subscription& each) { return gone(each.delegate); });
        entry = entry->second.empty() ? subscriptions_.erase(entry) : std::next(entry);
    }
    for (auto entry = monitors_.begin(); entry != monitors_.end();) {
        std::erase_if(entry->second, gone);
        entry = entry->second.empty() ? monitors_.erase(entry) : std::next(entry);
    }
    std::erase_if(events_, [&](const TypedEvents& each) { return gone(each.delegate); });
    std::erase_if(filtered_events_, [&](const FilteredEvents& each) { return gone(each.delegate); });
    setup_.leave(owner(client));
    home_.commit();
}

Json HomeService::registrations() const
{
    std::size_t subscriptions = 0;
    for (const auto& [device, list] : subscriptions_)
        subscriptions += list.size();
    std::size_t monitors = 0;
    for (const auto& [device, list] : monitors_)
        monitors += list.size();
    return {{"sign_in_state_cb", sign_in_.all().size()},
            {"device_list_cb", device_lists_.all().size()},
            {"device_detail_list_cb", detail_lists_.all().size()},
            {"group_list_cb", group_lists_.all().size()},
            {"scene_list_cb", scene_lists_.all().size()},
            {"ui_metadata_cb", metadata_.all().size()},
            {"notification_cb", notifications_.all().size()},
            {"subscribe_cb", subscriptions},
            {"start_monitoring_network_state_cb", monitors},
            {"server_sent_event_cb", events_.size() + filtered_events_.size()}};
}

int HomeService::done(Text& out, const Json& json)
{
    out = to_text(json);
    return code(Status::ok);
}

int HomeService::fails(Text& out, Status status, const std::string& message)
{
    out = to_text({{"error", {{"code", code(status)}, {"message", message}}}});
    return code(status);
}

int HomeService::results(Text& out, Status status, const std::vector<home::CommandResult>& results,
                         Json about)
{
    about["results"] = Json::array();
    for (const auto& each : results) {
        Json item{{"status", each.status == Status::ok ? "COMPLETED" : "FAILED"}};
        if (each.status != Status::ok) {
            item["code"] = code(each.status);
            item["message"] = each.message;
        }
        about["results"].push_back(std::move(item));
    }
    out = to_text(about);
    return code(status);
}

void HomeService::at_device(const home::Device& device, std::function<void()> there,
                            std::function<void()> lost)
{
    // What is lost on the way is noticed by its silence.
    constexpr std::int64_t silence = 3000;
    const auto trip = home_.trip(device);
    if (trip == 0) {
        post_(std::move(there));
        return;
    }
    home_.clock().after(trip.value_or(silence), [this, action = trip ? std::move(there) : std::move(lost)] {
        action();
        home_.commit();
    });
}

}  // namespace quorvel::agent
