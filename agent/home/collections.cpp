// SPDX-License-Identifier: Apache-2.0
// Device groups, favorites, installed apps, and hubs that look for devices.
#include <fmt/format.h>

#include <algorithm>

#include "home/home.hpp"

namespace quorvel::home {

namespace {

constexpr std::size_t most_groups = 1'000;
constexpr std::size_t most_favorites = 2'000;
constexpr std::size_t most_apps = 200;

}  // namespace

// --- Device groups -----------------------------------------------------------------------------------------

Status Home::add_group(const DeviceGroup& wanted, std::string& id)
{
    static constexpr std::string_view types[] = {"UNDETERMINED", "GENERIC", "VIDEO CAMERA", "LIGHTING"};
    if (wanted.name.empty() || wanted.devices.empty()
        || std::find(std::begin(types), std::end(types), wanted.type) == std::end(types))
        return Status::invalid;
    DeviceGroup group = wanted;
    for (const auto& device : group.devices)
        if (!c_.devices.contains(device))
            return Status::no_data;
    if (!group.room.empty()) {
        const Room* room = c_.rooms.find(group.room);
        if (room == nullptr)
            return Status::no_data;
        group.location = room->location;
    } else if (group.location.empty()) {
        group.location = c_.devices.find(group.devices.front())->location;
    }
    if (c_.groups.size() >= most_groups)
        return Status::no_space;
    group.order = next_order();
    group.id = id = new_id("group");
    touch(Kind::group, id);
    tell(event::DeviceGroupChanged{What::added, id, group.location});
    c_.groups.add(std::move(group));
    return Status::ok;
}

Status Home::change_group(std::string_view id, const std::string& name,
                          const std::vector<std::string>& devices, const std::string& room)
{
    DeviceGroup* group = c_.groups.find(id);
    if (group == nullptr)
        return Status::no_data;
    for (const auto& device : devices)
        if (!c_.devices.contains(device))
            return Status::no_data;
    if (!room.empty() && !c_.rooms.contains(room))
        return Status::no_data;
    if (!name.empty())
        group->name = name;
    if (!devices.empty())
        group->devices = devices;
    if (!room.empty()) {
        group->room = room;
        group->location = c_.rooms.find(room)->location;
    }
    touch(Kind::group, group->id);
    tell(event::DeviceGroupChanged{What::changed, group->id, group->location});
    return Status::ok;
}

Status Home::remove_group(std::string_view id)
{
    const DeviceGroup* group = c_.groups.find(id);
    if (group == nullptr)
        return Status::no_data;
    const event::DeviceGroupChanged event{What::removed, group->id, group->location};
    c_.groups.remove(event.id);
    touch(Kind::group, event.id);
    std::vector<std::string> favorites;
    for (const auto& favorite : c_.favorites)
        if (favorite.member_type == "DEVICE_GROUP" && favorite.member == event.id)
            favorites.push_back(favorite.id);
    for (const auto& favorite : favorites)
        remove_favorite(favorite);
    tell(event);
    return Status::ok;
}

// --- Favorites ---------------------------------------------------------------------------------------------

Status Home::add_favorite(std::string_view location, std::string_view visibility, const Json& description,
                          std::string& id, std::string& problem)
{
    if (!c_.locations.contains(location)) {
        problem = fmt::format("no location '{}'", location);
        return Status::no_data;
    }
    const std::string member = text_at(description, "memberId");
    const std::string type = text_at(description, "memberType", "DEVICE");
    if (member.empty()) {
        problem = "expected a JSON object with a memberId";
        return Status::invalid;
    }
    if (!exists(type, member)) {
        problem = fmt::format("no {} '{}'", type, member);
        return Status::no_data;
    }
    for (const auto& each : c_.favorites)
        if (each.location == location && each.visibility == visibility && each.member == member) {
            problem = fmt::format("'{}' is a favorite already", member);
            return Status::conflict;
        }
    if (c_.favorites.size() >= most_favorites)
        return Status::no_space;
    Favorite favorite;
    favorite.order = next_order();
    favorite.id = id = new_id("favorite");
    favorite.location = location;
    favorite.visibility = visibility;
    favorite.member = member;
    favorite.member_type = type;
    favorite.additional = text_at(description, "additionalId");
    favorite.bucket = text_at(description, "bucket");
    favorite.device_model = text_at(description, "deviceModel");
    favorite.sort_order = static_cast<std::int64_t>(favorite.order);
    if (description.contains("sortOrder") && description["sortOrder"].is_number_integer())
        favorite.sort_order =
            std::clamp<std::int64_t>(description["sortOrder"].get<std::int64_t>(), 0, 1'000'000);
    favorite.created = favorite.updated = clock_.now();
    touch(Kind::favorite, id);
    tell(event::FavoriteChanged{What::added, id, favorite.location, member});
    c_.favorites.add(std::move(favorite));
    return Status::ok;
}

Status Home::replace_favorites(std::string_view location, std::string_view visibility,
                               const Json& descriptions, std::vector<std::string>& ids, std::string& problem)
{
    if (!c_.locations.contains(location)) {
        problem = fmt::format("no location '{}'", location);
        return Status::no_data;
    }
    const Json& list = descriptions.is_object() && descriptions.contains("favorites")
                           ? descriptions["favorites"]
                           : descriptions;
    if (!list.is_array()) {
        problem = "expected a JSON list of favorites";
        return Status::invalid;
    }
    // Checked as a whole before the old ones go.
    std::set<std::string> members;
    for (const auto& item : list) {
        const std::string member = text_at(item, "memberId");
        if (member.empty() || !members.insert(member).second) {
            problem = member.empty() ? "expected a memberId in each favorite"
                                     : fmt::format("'{}' is there twice", member);
            return Status::invalid;
        }
        if (!exists(text_at(item, "memberType", "DEVICE"), member)) {
            problem = fmt::format("no {} '{}'", text_at(item, "memberType", "DEVICE"), member);
            return Status::no_data;
        }
    }
    remove_favorites(location, visibility);
    for (const auto& item : list) {
        std::string id;
        if (const Status status = add_favorite(location, visibility, item, id, problem); status != Status::ok)
            return status;
        ids.push_back(std::move(id));
    }
    return Status::ok;
}

Status Home::remove_favorite(std::string_view id)
{
    const Favorite* favorite = c_.favorites.find(id);
    if (favorite == nullptr)
        return Status::no_data;
    const event::FavoriteChanged event{What::removed, favorite->id, favorite->location, favorite->member};
    c_.favorites.remove(event.id);
    touch(Kind::favorite, event.id);
    tell(event);
    return Status::ok;
}

Status Home::remove_favorites(std::string_view location, std::string_view visibility)
{
    if (!c_.locations.contains(location))
        return Status::no_data;
    std::vector<std::string> ids;
    for (const auto& favorite : c_.favorites)
        if (favorite.location == location && favorite.visibility == visibility)
            ids.push_back(favorite.id);
    for (const auto& id : ids)
        remove_favorite(id);
    return Status::ok;
}

Status Home::set_favorite_migration(std::string_view location, bool migrated, const std::string& model)
{
    Location* place = c_.locations.find(location);
    if (place == nullptr)
        return Status::no_data;
    place->favorites_migrated = migrated;
    place->migration_date = rfc3339(clock_.now());
    place->migration_model = model;
    touch(Kind::place, place->id);
    tell(event::FavoriteChanged{What::changed, "", place->id, ""});
    return Status::ok;
}

// --- Installed apps ----------------------------------------------------------------------------------------

Status Home::begin_installation(const std::string& app, const std::string& location, const Json& options,
                                std::string& id)
{
    const StoreApp* offered = c_.store_apps.find(app);
    if (offered == nullptr || !c_.locations.contains(location))
        return Status::no_data;
    if (c_.apps.size() >= most_apps)
        return Status::no_space;
    InstalledApp installed;
    installed.order = next_order();
    installed.id = id = new_id("app");
    installed.app = offered->id;
    installed.name = offered->name;
    installed.type = offered->type;
    installed.status = "PENDING";
    installed.location = location;
    installed.configuration = new_id("configuration");
    installed.created = installed.updated = clock_.now();
    if (options.is_object())
        installed.settings = options;
    touch(Kind::app, id);
    tell(event::AppChanged{What::added, id, location, installed.status});
    c_.apps.add(std::move(installed));
    return Status::ok;
}

Status Home::cancel_installation(std::string_view id)
{
    const InstalledApp* app = c_.apps.find(id);
    if (app == nullptr)
        return Status::no_data;
    if (app->status != "PENDING")
        return Status::failed;
    const event::AppChanged event{What::removed, app->id, app->location, "CANCELLED"};
    c_.apps.remove(event.id);
    touch(Kind::app, event.id);
    tell(event);
    return Status::ok;
}

Status Home::complete_installation(std::string_view id, const std::string& configuration,
                                   const Json& settings, std::string& problem)
{
    InstalledApp* app = c_.apps.find(id);
    if (app == nullptr) {
        problem = fmt::format("no installation '{}'", id);
        return Status::no_data;
    }
    if (app->status != "PENDING" || app->configuration != configuration) {
        problem =
            app->status != "PENDING" ? "the app is installed already" : "another configuration was begun";
        return Status::failed;
    }
    if (!settings.is_object()) {
        problem = "expected a JSON object of settings";
        return Status::invalid;
    }
    Json merged = app->settings;
    merged.update(settings);
    if (const StoreApp* offered = c_.store_apps.find(app->app))
        for (const auto& asked : offered->asks)
            if (!merged.contains(asked)) {
                problem = fmt::format("expected the setting '{}'", asked);
                return Status::invalid;
            }
    app->settings = std::move(merged);
    app->status = "ACTIVE";
    app->updated = clock_.now();
    touch(Kind::app, app->id);
    tell(event::AppChanged{What::changed, app->id, app->location, app->status});
    return Status::ok;
}

Status Home::run_app(std::string_view id, const Json& request, Json& result)
{
    InstalledApp* app = c_.apps.find(id);
    if (app == nullptr)
        return Status::no_data;
    if (!request.is_object())
        return Status::invalid;
    if (app->status != "ACTIVE")
        return Status::failed;
    const std::string own = app->id;
    const Cause cause{*this, "app " + own};
    std::vector<CommandResult> results;
    if (request.contains("actions")) {
        std::string problem;
        if (!check_actions(request["actions"], problem)) {
            result = {{"installedAppId", own}, {"message", problem}};
            return Status::invalid;
        }
        run(request["actions"], app->location, results);
    }
    if (request.contains("settings") && request["settings"].is_object())
        app->settings.update(request["settings"]);
    ++app->runs;
    app->updated = clock_.now();
    touch(Kind::app, own);
    tell(event::AppChanged{What::changed, own, app->location, app->status});
    result = {{"installedAppId", own},
              {"runs", app->runs},
              {"settings", app->settings},
              {"results", Json::array()}};
    Status status = Status::ok;
    for (const auto& each : results) {
        result["results"].push_back({{"code", code(each.status)}, {"message", each.message}});
        if (status == Status::ok)
            status = each.status;
    }
    return status;
}

// --- Hubs --------------------------------------------------------------------------------------------------

Status Home::start_search(std::string_view hub, int seconds, bool join, bool known, int protocol)
{
    const Device* device = c_.devices.find(hub);
    if (device == nullptr)
        return Status::no_data;
    if (!device->model->hub || seconds < 0)
        return Status::invalid;
    if (!reachable(*device))
        return Status::unreachable;
    const std::string id = device->id;
    stop_search(id);
    Search& search = searches_[id];
    const std::int64_t limit = seconds == 0 ? 60'000 : seconds * 1000LL;
    for (const auto& thing : c_.findables) {
        if ((!thing.hub.empty() && thing.hub != id) || (protocol != 0 && thing.protocol != protocol)
            || thing.after > limit)
            continue;
        search.timers.push_back(clock_.after(thing.after, [this, id, join, found = thing.id] {
            const Findable* what = c_.findables.find(found);
            if (what == nullptr)
                return;
            event::HubFound event{id, what->id, what->name, what->model, false};
            if (join) {
                const Device& by = *c_.devices.find(id);
                Device added;
                added.id = what->id;
                added.name = what->name;
                added.model = models_.find(what->model);
                added.location = by.location;
                added.room = by.room;
                added.parent = id;
                if (added.model != nullptr && add_device(std::move(added)) == Status::ok) {
                    event.joined = true;
                    c_.findables.remove(found);
                    touch(Kind::findable, event.device);
                }
            }
            tell(event);
            commit();
        }));
    }
    if (known)
        for (const auto& [order, child] : device->children)
            search.timers.push_back(clock_.after(100, [this, id, child = child] {
                if (const Device* found = c_.devices.find(child))
                    tell(event::HubFound{id, found->id, found->shown_name(), found->model->id, true});
                commit();
            }));
    search.timers.push_back(clock_.after(limit, [this, id] {
        stop_search(id);
        commit();
    }));
    if (const auto slot = device->model->slot("hub.joining"))
        set_attribute(*c_.devices.find(id), *slot, "open");
    tell(event::HubSearch{id, true});
    return Status::ok;
}

Status Home::stop_search(std::string_view hub)
{
    Device* device = c_.devices.find(hub);
    if (device == nullptr)
        return Status::no_data;
    if (!device->model->hub)
        return Status::invalid;
    const auto search = searches_.find(device->id);
    if (search == searches_.end())
        return Status::ok;
    for (const auto timer : search->second.timers)
        clock_.cancel(timer);
    searches_.erase(search);
    if (const auto slot = device->model->slot("hub.joining"))
        set_attribute(*device, *slot, "closed");
    tell(event::HubSearch{device->id, false});
    return Status::ok;
}

// --- Enrollees ---------------------------------------------------------------------------------------------

Status Home::add_enrollee(const Node& description)
{
    const Json home{{"quorvel-home", 1},
                    {"places", Json::array({Json{{"id", "home"}}})},
                    {"enrollees", Json::array({description.json()})}};
    Contents read = read_home(Node::from(home, "enrollee"), models_, clock_.now());
    return add_enrollee(std::move(read.enrollees.front()));
}

Status Home::add_enrollee(Enrollee enrollee)
{
    if (c_.enrollees.contains(enrollee.id) || c_.devices.contains(enrollee.id))
        return Status::conflict;
    enrollee.order = next_order();
    touch(Kind::enrollee, enrollee.id);
    c_.enrollees.add(std::move(enrollee));
    return Status::ok;
}

Status Home::remove_enrollee(std::string_view id)
{
    const std::string gone{id};
    if (!c_.enrollees.remove(gone))
        return Status::no_data;
    touch(Kind::enrollee, gone);
    return Status::ok;
}

void Home::own_enrollee(std::string_view id, bool owned)
{
    if (Enrollee* enrollee = c_.enrollees.find(id)) {
        enrollee->owned = owned;
        touch(Kind::enrollee, id);
    }
}

bool Home::fail_enrollee(std::string_view id, std::string_view stage, int& error)
{
    Enrollee* enrollee = c_.enrollees.find(id);
    if (enrollee == nullptr || enrollee->fails_at != stage || enrollee->fails_times <= 0)
        return false;
    --enrollee->fails_times;
    touch(Kind::enrollee, enrollee->id);
    error = enrollee->fails_with;
    return true;
}

}  // namespace quorvel::home
