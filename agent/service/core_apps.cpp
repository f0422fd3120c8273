// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "service/home_service.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;
using home::parse_json;
using home::to_text;

namespace {

// Newest first; "locationId=home&deviceId=lamp-1&limit=20&before=EPOCH", each part optional.
int history(const Home& home, const char* kind, std::string_view text, Json& json)
{
    constexpr std::size_t most = 500;
    const auto filter = Filter::read(text, {"locationId", "deviceId", "limit", "before"});
    std::int64_t limit = 50;
    std::int64_t before = INT64_MAX;
    const auto number = [](const std::string& value, std::int64_t& to) {
        if (value.empty())
            return true;
        const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), to);
        return error == std::errc{} && end == value.data() + value.size() && to > 0;
    };
    if (!filter || !number(filter->value("limit"), limit) || !number(filter->value("before"), before))
        return code(Status::invalid);
    const std::string location = filter->value("locationId");
    if (!location.empty() && !home.locations().contains(location))
        return code(Status::no_data);
    Json items = Json::array();
    const auto wanted = std::min<std::size_t>(static_cast<std::size_t>(limit), most);
    const auto& all = home.history();
    for (auto each = std::make_reverse_iterator(all.end());
         each != std::make_reverse_iterator(all.begin()) && items.size() < wanted; ++each)
        if (each->kind == kind && each->time < before && filter->matches("locationId", each->location)
            && filter->matches("deviceId", each->device))
            items.push_back(history_json(*each));
    json = {{"count", items.size()}, {"items", std::move(items)}};
    return 0;
}

}  // namespace

int HomeService::core_get_activity_history(Client&, std::string_view filter, Text& text)
{
    Json json;
    const int result = history(home_, "activity", filter, json);
    if (result == 0)
        text = to_text(json);
    return result;
}

int HomeService::core_get_notification_history(Client&, std::string_view filter, Text& text)
{
    Json json;
    const int result = history(home_, "notification", filter, json);
    if (result == 0)
        text = to_text(json);
    return result;
}

int HomeService::get_installed_app_list(Client&, Out<array_installed_app_s>& installed_apps, int& count)
{
    for (const auto& app : home_.apps())
        installed_apps.made().push_back(installed_app_record(app));
    count = static_cast<int>(installed_apps.get().size());
    return 0;
}

int HomeService::get_installed_app(Client&, std::string_view installed_app_id,
                                   Out<installed_app_s>& installed_app)
{
    const home::InstalledApp* app = home_.apps().find(installed_app_id);
    if (app == nullptr)
        return code(Status::no_data);
    installed_app = installed_app_record(*app);
    return 0;
}

int HomeService::core_get_installed_app_dashboard_json(Client&, std::string_view installed_app_id, Text& json)
{
    const home::InstalledApp* app = home_.apps().find(installed_app_id);
    if (app == nullptr)
        return fails(json, Status::no_data, fmt::format("no installed app '{}'", installed_app_id));
    Json dashboard{{"installedAppId", app->id}, {"title", app->name},
                   {"status", app->status},     {"settings", app->settings},
                   {"runs", app->runs},         {"lastUpdatedDate", home::rfc3339(app->updated)}};
    if (app->dashboard.is_object())
        dashboard.update(app->dashboard);
    return done(json, dashboard);
}

int HomeService::core_execute_installed_app(Client&, std::string_view installed_app_id,
                                            std::string_view request, Text& result)
{
    if (!home_.apps().contains(installed_app_id))
        return fails(result, Status::no_data, fmt::format("no installed app '{}'", installed_app_id));
    const auto wanted = parse_json(request);
    Json json;
    const Status status = wanted ? home_.run_app(installed_app_id, *wanted, json) : Status::invalid;
    if (json.is_null())
        return fails(result, status,
                     status == Status::failed ? "the app is not active" : "expected a JSON object");
    result = to_text(json);
    return code(status);
}

int HomeService::core_initialize_installation(Client&, std::string_view app_id, std::string_view location_id,
                                              std::string_view locale, std::string_view options,
                                              Text& installation)
{
    const auto given = options.empty() ? Json::object() : parse_json(options).value_or(Json());
    if (!given.is_object())
        return fails(installation, Status::invalid, "expected a JSON object of options");
    std::string id;
    const Status status = home_.begin_installation(std::string{app_id}, std::string{location_id}, given, id);
    if (status != Status::ok)
        return fails(installation, status,
                     fmt::format("no app '{}' or no location '{}'", app_id, location_id));
    const home::InstalledApp& app = *home_.apps().find(id);
    return done(installation, {{"appId", app.app},
                               {"installedAppId", app.id},
                               {"locationId", app.location},
                               {"configurationId", app.configuration},
                               {"locale", locale},
                               {"status", app.status},
                               {"asks", home_.store_apps().find(app.app)->asks}});
}

int HomeService::core_cancel_installation(Client&, std::string_view app_id, std::string_view installed_app_id,
                                          std::string_view location_id)
{
    const home::InstalledApp* found = home_.apps().find(installed_app_id);
    // Without its id, the one installation of this app that is under way.
    if (found == nullptr && installed_app_id.empty())
        for (const auto& app : home_.apps())
            if (app.app == app_id && app.status == "PENDING")
                found = &app;
    if (found == nullptr || found->app != app_id || (!location_id.empty() && found->location != location_id))
        return code(Status::no_data);
    return code(home_.cancel_installation(found->id));
}

int HomeService::core_start_completing_app_installation(Client&, std::string_view app_id,
                                                        std::string_view installed_app_id,
                                                        std::string_view location_id,
                                                        std::string_view configuration_id,
                                                        std::string_view request, Text& result)
{
    const home::InstalledApp* app = home_.apps().find(installed_app_id);
    if (app == nullptr || app->app != app_id || app->location != location_id)
        return fails(result, Status::no_data, fmt::format("no installation '{}'", installed_app_id));
    const auto settings = parse_json(request);
    std::string problem = "expected a JSON object of settings";
    const Status status =
        settings ? home_.complete_installation(app->id, std::string{configuration_id}, *settings, problem)
                 : Status::invalid;
    return status == Status::ok ? done(
               result, {{"installedAppId", app->id}, {"status", app->status}, {"settings", app->settings}})
                                : fails(result, status, problem);
}

int HomeService::core_send_active_user_event(Client&, int category, int action, std::string_view target_id,
                                             std::string_view details)
{
    if (category < 0 || category > 18 || action < 0 || action > 25)
        return code(Status::invalid);
    home_.record("activity", "User", fmt::format("category {}, action {}", category, action),
                 home_.locations().front().id, "",
                 {{"category", category}, {"action", action}, {"target", target_id}, {"details", details}});
    return 0;
}

}  // namespace quorvel::agent
