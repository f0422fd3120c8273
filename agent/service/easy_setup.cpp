// SPDX-License-Identifier: Apache-2.0
#include "service/home_service.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;

namespace {

// What the keys of a bundle of settings are; a bundle cannot be asked for them.
constexpr const char* device_keys[] = {
    "language",   "country",     "location",         "discoveryChannel",
    "ZOAccount",  "UTCDateTime", "regionalDateTime", "registerMobileDevice",
    "bssid",      "ssid",        "password",         "wifiAuthType",
    "wifiEncType"};
constexpr const char* cloud_keys[] = {"ciHostAddress", "TCResult"};
constexpr const char* bookmark_keys[] = {"expires_in", "group_id", "subgroup_id"};

template <std::size_t N>
home::Setup::Values values_of(const Bundle& bundle, const char* const (&keys)[N])
{
    home::Setup::Values values;
    for (const char* key : keys)
        if (const auto text = bundle.text(key))
            values.emplace(key, *text);
    return values;
}

// Fires a one-answer delegate with a result.
template <typename Kind>
home::Setup::Result result_to(const Delegate<Kind>& delegate)
{
    return [delegate](int result) { fire(delegate, result); };
}

}  // namespace

int HomeService::start_easy_setup(Client& client)
{
    return code(setup_.begin(owner(client), "", false));
}

int HomeService::set_easy_setup_otm_support_feature_cb(
    Client&, const Delegate<easy_setup_otm_support_feature_cb>& on_features)
{
    return setup_ownership_.set(on_features);
}

int HomeService::set_easy_setup_random_pin_cb(Client&, const Delegate<easy_setup_random_pin_cb>& on_pin)
{
    return setup_pin_.set(on_pin);
}

int HomeService::start_easy_setup_ble(Client& client, std::string_view address, bool flag)
{
    return code(setup_.begin(owner(client), std::string{address}, flag));
}

int HomeService::set_easy_setup_otm_support_feature(Client& client, int feature)
{
    return code(setup_.choose_ownership(owner(client), feature));
}

int HomeService::configure_cloud_prop(Client& client, const cloud_prop_s& properties,
                                      const Delegate<easy_setup_result_cb>& on_result)
{
    return code(setup_.configure_cloud(owner(client), values_of(properties.bundle_data, cloud_keys),
                                       result_to(on_result)));
}

int HomeService::configure_device_prop(Client& client, const device_prop_s& properties,
                                       const Delegate<easy_setup_result_cb>& on_result)
{
    return code(setup_.configure_device(owner(client), values_of(properties.bundle_data, device_keys),
                                        result_to(on_result)));
}

int HomeService::set_easy_setup_state_cb(Client&, const Delegate<easy_setup_state_cb>& on_state)
{
    return setup_state_.set(on_state);
}

int HomeService::unset_easy_setup_state_cb(Client& client)
{
    return setup_state_.unset(client);
}

int HomeService::get_access_point_list(Client& client, const Delegate<access_point_list_cb>& on_list)
{
    return code(
        setup_.list_access_points(owner(client), [on_list](const std::vector<home::AccessPoint>& points) {
            array_access_point_s list;
            for (const auto& point : points)
                list.push_back(access_point_record(point));
            fire(on_list, list, static_cast<int>(list.size()));
        }));
}

int HomeService::set_bookmark_location(Client& client, const bookmark_location_s& location,
                                       const Delegate<ocf_result_cb>& on_result)
{
    return code(
        setup_.bookmark(owner(client), values_of(location.bundle_data, bookmark_keys), result_to(on_result)));
}

int HomeService::send_easy_setup_log(Client&, std::string_view log,
                                     const Delegate<easy_setup_result_cb>& on_result)
{
    home_.record("activity", "Onboarding", "log sent to the cloud", home_.locations().front().id, "",
                 {{"bytes", log.size()}});
    return answer_later(on_result, 0);
}

int HomeService::get_easy_setup_device_conf(Client& client,
                                            const Delegate<easy_setup_device_conf_cb>& on_configuration)
{
    return code(setup_.read_configuration(
        owner(client), [on_configuration](const home::Setup::Configuration& configuration) {
            device_conf_s record;
            for (const auto& [key, value] : configuration.values)
                record.bundle_data.add(key.c_str(), value);
            if (!configuration.wifi_modes.empty())
                record.bundle_data.add("wifiModes", configuration.wifi_modes);
            fire(on_configuration, record);
        }));
}

int HomeService::monitor_enrollee_sign_in(Client& client,
                                          const Delegate<monitor_enrollee_sign_in_cb>& on_signed_in)
{
    return code(setup_.watch_sign_in(owner(client),
                                     [on_signed_in](bool signed_in) { fire(on_signed_in, signed_in); }));
}

int HomeService::stop_easy_setup(Client& client)
{
    return code(setup_.stop(owner(client)));
}

int HomeService::set_easy_setup_enrollee_state_cb(Client&,
                                                  const Delegate<easy_setup_enrollee_state_cb>& on_state)
{
    return setup_error_.set(on_state);
}

int HomeService::unset_easy_setup_enrollee_state_cb(Client& client)
{
    return setup_error_.unset(client);
}

int HomeService::send_reset_provisioning_info(Client& client, const Delegate<ocf_result_cb>& on_result)
{
    return code(setup_.reset(owner(client), result_to(on_result)));
}

int HomeService::set_easy_setup_enrollee_owned_cb(Client&,
                                                  const Delegate<easy_setup_enrollee_owned_cb>& on_owned)
{
    return setup_owned_.set(on_owned);
}

int HomeService::init_easy_setup(Client& client, int setup_type,
                                 const Delegate<easy_setup_init_cb>& on_result)
{
    return code(setup_.prepare(owner(client), setup_type, result_to(on_result)));
}

int HomeService::start_easy_setup_v2(Client& client, std::string_view host_address, bool flag)
{
    return code(setup_.begin(owner(client), std::string{host_address}, flag));
}

int HomeService::set_easy_setup_random_pin(Client& client, std::string_view pin)
{
    return code(setup_.give_pin(owner(client), pin));
}

int HomeService::get_easysetup_last_error_code(Client&, Out<easy_setup_error_code_s>& error)
{
    error.made().bundle_data.add("error_code", home_.account().last_setup_error);
    return 0;
}

int HomeService::set_easy_setup_prov_info_cb(Client&, const Delegate<easy_setup_prov_info_cb>& on_info)
{
    return setup_info_.set(on_info);
}

}  // namespace quorvel::agent
