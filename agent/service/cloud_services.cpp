// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include "service/home_service.hpp"

namespace quorvel::agent {

using home::code;

int HomeService::activate_vxr_migration(Client&, const Delegate<activate_vxr_migration_cb>& on_result)
{
    home_.migrate();
    return answer_later(on_result, std::string{"TRUE"});
}

int HomeService::get_vxr_device_token(Client&, const Delegate<get_vxr_device_token_cb>& on_token)
{
    return answer_later(on_token, home_.token("vxr"), 0);
}

int HomeService::get_vxr_device_peer_token(Client&, std::string_view device_id,
                                           const Delegate<get_vxr_device_peer_token_cb>& on_token)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr)
        return code(Status::no_data);
    return answer_later(on_token, device->id, home_.token("peer/" + device->id),
                        device->owner == home_.account().user, 0);
}

int HomeService::set_third_party_notification(Client&, std::string_view push_provider,
                                              std::string_view push_registration_id,
                                              std::string_view push_app_id, std::string_view locale,
                                              const Delegate<set_third_party_notification_cb>& on_result)
{
    if (push_provider.empty() || push_registration_id.empty() || push_app_id.empty() || locale.empty())
        return code(Status::invalid);
    home_.register_push({std::string{push_provider}, std::string{push_registration_id},
                         std::string{push_app_id}, std::string{locale}});
    return answer_later(on_result, std::string{"TRUE"});
}

int HomeService::set_third_party_notification_status(
    Client&, bool enabled, const array_string& topics, int count,
    const Delegate<set_third_party_notification_cb>& on_result)
{
    if (count != static_cast<int>(topics.size()))
        return code(Status::invalid);
    home_.set_push(enabled, topics);
    return answer_later(on_result, std::string{"TRUE"});
}

int HomeService::get_third_party_notification_status(
    Client&, const Delegate<third_party_notification_status_cb>& on_status)
{
    const home::Account& account = home_.account();
    return answer_later(on_status, 0, account.push_enabled, account.push_topics,
                        static_cast<int>(account.push_topics.size()));
}

int HomeService::set_third_party_notification_status_updated_cb(
    Client&, const Delegate<third_party_notification_status_updated_cb>& on_changed)
{
    return push_status_.set(on_changed);
}

int HomeService::unset_third_party_notification_status_updated_cb(Client& client)
{
    return push_status_.unset(client);
}

int HomeService::get_self_signup_info_for_thing(Client&, std::string_view group_id, std::string_view,
                                                Out<self_signup_info_s>& info)
{
    if (!home_.locations().contains(group_id))
        return code(Status::no_data);
    static constexpr const char* environments[] = {"production", "staging", "development"};
    Bundle& b = info.made().bundle_data;
    b.add("jwt", home_.token(fmt::format("jwt/{}", group_id)));
    b.add("clientID", fmt::format("client-{}", home_.account().device));
    b.add("uid", home_.account().user);
    b.add("hostAddress", "coaps+tcp://cloud.quorvel.test:443");
    b.add("jwtAuthProvider", "https://account.quorvel.test");
    b.add("serverDeploymentEnv", environments[home_.account().environments[0]]);
    return 0;
}

}  // namespace quorvel::agent
