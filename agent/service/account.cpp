// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include "service/home_service.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;

int HomeService::connect(Client&)
{
    return 0;
}

int HomeService::disconnect(Client&)
{
    return 0;
}

bool HomeService::check_update_state(Client&)
{
    return home_.account().update_waiting;
}

int HomeService::get_access_token(Client&, Text& token)
{
    token = home_.token("access");
    return 0;
}

int HomeService::set_sign_in_state_cb(Client&, const Delegate<sign_in_state_cb>& on_changed)
{
    return sign_in_.set(on_changed);
}

int HomeService::unset_sign_in_state_cb(Client& client)
{
    return sign_in_.unset(client);
}

int HomeService::is_signed_in(Client&, Text& state)
{
    state.borrow(home_.account().signed_in ? "TRUE" : "FALSE");
    return 0;
}

int HomeService::refresh_device_information(Client&)
{
    home_.refresh_devices();
    return 0;
}

int HomeService::set_ui_metadata_cb(Client&, const Delegate<ui_metadata_cb>& on_changed)
{
    return metadata_.set(on_changed);
}

int HomeService::unset_ui_metadata_cb(Client& client)
{
    return metadata_.unset(client);
}

int HomeService::get_ui_metadata(Client&, std::string_view vid, Text& metadata)
{
    const home::Model* model = home_.models().find_vid(std::string{vid});
    return model == nullptr ? code(Status::no_data) : done(metadata, metadata_json(home_, *model));
}

int HomeService::get_device_id(Client&, Text& device_id)
{
    device_id.borrow(home_.account().device);
    return 0;
}

int HomeService::set_notification_cb(Client&, const Delegate<notification_cb>& on_notification)
{
    return notifications_.set(on_notification);
}

int HomeService::unset_notification_cb(Client& client)
{
    return notifications_.unset(client);
}

int HomeService::get_test_configuration(Client&, int type, int& value)
{
    if (type < 0 || type > 2)
        return code(Status::invalid);
    value = type == 2 ? home_.account().suspended : home_.account().environments[type];
    return 0;
}

int HomeService::set_test_configuration(Client&, int type, int value)
{
    if (type == 2 && (value == 0 || value == 1))
        home_.set_suspended(value == 1);
    else if ((type == 0 || type == 1) && value >= 0 && value <= 2)
        home_.set_environment(type, value);
    else
        return code(Status::invalid);
    return 0;
}

int HomeService::get_connected_uid(Client&, Text& user_id)
{
    user_id.borrow(home_.account().user);
    return 0;
}

int HomeService::get_client_state(Client&, int& state)
{
    enum { signed_out = 0, ready = 1, gathering = 2, no_cloud = 3, suspended = 4 };
    const home::Account& account = home_.account();
    state = account.suspended    ? suspended
            : !account.signed_in ? signed_out
            : !account.cloud     ? no_cloud
            : home_.caching()    ? gathering
                                 : ready;
    return 0;
}

int HomeService::set_api_version(Client& client, std::string_view version)
{
    client.data = std::string{version};
    return 0;
}

int HomeService::get_login_id(Client&, Text& login_id)
{
    login_id.borrow(home_.account().login);
    return 0;
}

int HomeService::get_udo_upload_url(Client&, std::string_view content_id, std::string_view content_type,
                                    std::string_view checksum, int content_length, Text& upload_url,
                                    Text& content_url)
{
    if (content_id.empty() || content_type.empty() || content_length < 1)
        return code(Status::invalid);
    if (const Status status = home_.announce_upload(std::string{content_id}, std::string{content_type});
        status != Status::ok)
        return code(status);
    upload_url = fmt::format("https://udo.quorvel.test/upload/{}?type={}&length={}&checksum={}&token={}",
                             content_id, content_type, content_length, checksum, home_.token("upload"));
    content_url = fmt::format("https://udo.quorvel.test/content/{}", content_id);
    return 0;
}

int HomeService::get_udo_download_url(Client&, std::string_view content_id, std::string_view content_type,
                                      std::string_view, Text& download_url)
{
    // Only what was announced for upload with this type can be fetched.
    const auto& uploads = home_.account().uploads;
    const auto upload = uploads.find(std::string{content_id});
    if (upload == uploads.end() || upload->second != content_type)
        return code(Status::no_data);
    download_url =
        fmt::format("https://udo.quorvel.test/content/{}?token={}", content_id, home_.token("download"));
    return 0;
}

}  // namespace quorvel::agent
