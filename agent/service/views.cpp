// SPDX-License-Identifier: Apache-2.0
#include "service/views.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace quorvel::agent {

using namespace quorvel::stub;
using home::rfc3339;
using home::to_text;

namespace {

Json label_of(const home::Device& device, const std::string& component, const char* key)
{
    const auto found = device.labels.find(component);
    return found != device.labels.end() && found->contains(key) ? (*found)[key] : Json();
}

Json components_json(const home::Device& device)
{
    Json list = Json::array();
    for (const auto& component : device.model->components) {
        const Json label = label_of(device, component.id, "label");
        const Json icon = label_of(device, component.id, "icon");
        Json item{{"id", component.id},
                  {"label", label.is_string() ? label : Json(component.label)},
                  {"categories", Json::array({Json{{"name", device.model->category}}})},
                  {"capabilities", Json::array()}};
        if (icon.is_string())
            item["icon"] = icon;
        for (const auto& use : component.capabilities)
            item["capabilities"].push_back({{"id", use.capability->id}, {"version", 1}});
        list.push_back(std::move(item));
    }
    return list;
}

Json children_json(const home::Device& device)
{
    Json list = Json::array();
    for (const auto& [order, child] : device.children)
        list.push_back({{"deviceId", child}});
    return list;
}

std::string health_of(const Home& home, const home::Device& device)
{
    return home.cloud_state(device) == "CONNECTED" ? "ONLINE" : "OFFLINE";
}

Json icons_json(const home::Model& model)
{
    return {{"on", model.category + "-on"}, {"off", model.category + "-off"}};
}

std::string member_list(const Home& home, const home::Members& members)
{
    Json first = Json::array();
    Json second = Json::array();
    for (const auto& [order, id] : members) {
        const home::Device* device = home.devices().find(id);
        if (device != nullptr)
            (device->legacy ? first : second).push_back(id);
    }
    return to_text({{"v1", std::move(first)}, {"v2", std::move(second)}});
}

}  // namespace

Json device_json(const Home& home, const home::Device& device)
{
    Json json{{"deviceId", device.id},
              {"name", device.name},
              {"label", device.shown_name()},
              {"manufacturerName", device.model->maker},
              {"manufacturerCode", device.model->mnmn},
              {"presentationId", device.model->vid},
              {"locationId", device.location},
              {"roomId", device.room},
              {"ownerId", device.owner},
              {"components", components_json(device)},
              {"childDevices", children_json(device)},
              {"profile", {{"id", device.model->id}}},
              {"type", device.infrared.is_null() ? device.local ? "LOCAL" : "CLOUD" : "INFRARED"},
              {"restrictionTier", device.model->tier},
              {"deviceModel", device.model->number},
              {"firmwareVersion", device.firmware},
              {"createTime", rfc3339(device.created)},
              {"healthState", health_of(home, device)},
              {"deviceType", device.model->type}};
    if (!device.parent.empty())
        json["parentDeviceId"] = device.parent;
    if (!device.infrared.is_null())
        json["infrared"] = device.infrared;
    return json;
}

Json device_health_json(const Home& home, const home::Device& device)
{
    std::int64_t last = device.created;
    for (const auto& state : device.attributes)
        last = std::max(last, state.time);
    return {{"deviceId", device.id}, {"state", health_of(home, device)}, {"lastUpdatedDate", rfc3339(last)}};
}

Json capability_status_json(const home::Device& device, const home::Component::Use& use)
{
    Json json = Json::object();
    for (std::size_t i = 0; i < use.capability->attributes.size(); ++i) {
        const auto& state = device.attributes[use.first + i];
        const auto& def = use.capability->attributes[i];
        Json item{{"value", state.value}, {"timestamp", rfc3339(state.time)}};
        if (!def.unit.empty())
            item["unit"] = def.unit;
        json[def.name] = std::move(item);
    }
    return json;
}

Json component_status_json(const home::Device& device, const home::Component& component)
{
    Json json = Json::object();
    for (const auto& use : component.capabilities)
        json[use.capability->id] = capability_status_json(device, use);
    return json;
}

Json device_status_json(const home::Device& device)
{
    Json components = Json::object();
    for (const auto& component : device.model->components)
        components[component.id] = component_status_json(device, component);
    return {{"deviceId", device.id}, {"components", std::move(components)}};
}

Json presentation_json(const home::Model& model, const std::string& locale, bool detailed)
{
    Json json{{"presentationId", model.vid},
              {"manufacturerCode", model.mnmn},
              {"name", model.name},
              {"locale", locale.empty() ? "en-GB" : locale},
              {"icon", icons_json(model)},
              {"dashboard", {{"states", Json::array()}, {"actions", Json::array()}}}};
    for (const auto& component : model.components)
        for (const auto& use : component.capabilities) {
            const auto& capability = *use.capability;
            if (component.id == "main" && json["dashboard"]["states"].empty()
                && !capability.attributes.empty())
                json["dashboard"]["states"].push_back(
                    {{"capability", capability.id}, {"attribute", capability.attributes.front().name}});
            for (const auto& command : capability.commands)
                if (component.id == "main" && command.toggles)
                    json["dashboard"]["actions"].push_back(
                        {{"capability", capability.id}, {"command", command.name}});
        }
    if (!detailed)
        return json;
    json["detailView"] = Json::array();
    for (const auto& component : model.components)
        for (const auto& use : component.capabilities) {
            Json item{{"component", component.id},
                      {"capability", use.capability->id},
                      {"attributes", Json::array()},
                      {"commands", Json::array()}};
            for (const auto& attribute : use.capability->attributes) {
                Json shown{{"name", attribute.name}, {"expects", attribute.expected()}};
                if (!attribute.unit.empty())
                    shown["unit"] = attribute.unit;
                item["attributes"].push_back(std::move(shown));
            }
            for (const auto& command : use.capability->commands)
                item["commands"].push_back(command.name);
            json["detailView"].push_back(std::move(item));
        }
    return json;
}

Json metadata_json(const Home& home, const home::Model& model)
{
    Json json = presentation_json(model, "", true);
    json["vid"] = model.vid;
    json["version"] = home.account().metadata_version;
    json["deviceType"] = model.type;
    return json;
}

Json location_json(const Home& home, const home::Location& location)
{
    Json rooms = Json::array();
    for (const auto& [order, room] : location.rooms)
        rooms.push_back(room_json(home, *home.rooms().find(room)));
    return {{"locationId", location.id},
            {"name", location.name},
            {"nick", location.nick},
            {"countryCode", location.country},
            {"latitude", location.latitude},
            {"longitude", location.longitude},
            {"regionRadius", location.radius},
            {"temperatureScale", location.scale},
            {"timeZoneId", location.time_zone},
            {"locale", location.locale},
            {"parentType", location.parent_type},
            {"parentId", location.parent_id},
            {"ownerId", location.owner},
            {"backgroundImage", location.image},
            {"deviceCount", location.devices.size()},
            {"rooms", std::move(rooms)}};
}

Json room_json(const Home&, const home::Room& room)
{
    Json devices = Json::array();
    for (const auto& [order, device] : room.devices)
        devices.push_back(device);
    return {{"roomId", room.id},
            {"name", room.name},
            {"nick", room.nick},
            {"locationId", room.location},
            {"backgroundImage", room.image},
            {"deviceIds", std::move(devices)}};
}

Json users_json(const home::Location& location)
{
    Json users = Json::array();
    for (const auto& user : location.users)
        users.push_back({{"userId", user.id}, {"name", user.name}, {"role", user.role}});
    return {{"locationId", location.id}, {"users", std::move(users)}};
}

Json scene_json(const home::Scene& scene)
{
    Json json = scene.body;
    json["sceneId"] = scene.id;
    json["locationId"] = scene.location;
    if (scene.last_run != 0)
        json["lastExecuted"] = rfc3339(scene.last_run);
    return json;
}

Json rule_json(const home::Rule& rule)
{
    Json json = rule.body;
    json["ruleId"] = rule.id;
    json["locationId"] = rule.location;
    json["enabled"] = rule.enabled;
    if (rule.last_run != 0)
        json["lastExecuted"] = rfc3339(rule.last_run);
    return json;
}

Json hub_json(const Home& home, const home::Device& hub)
{
    Json json{{"hubId", hub.id},
              {"name", hub.shown_name()},
              {"locationId", hub.location},
              {"firmwareVersion", hub.firmware},
              {"healthState", health_of(home, hub)},
              {"searching", home.searching(hub.id)},
              {"deviceIds", Json::array()}};
    for (const auto& [order, child] : hub.children)
        json["deviceIds"].push_back(child);
    if (const auto slot = hub.model->slot("hub.channel"))
        json["channel"] = home.value(hub, *slot);
    return json;
}

Json history_json(const home::HistoryItem& item)
{
    Json json = item.details;
    json["id"] = item.id;
    json["time"] = rfc3339(item.time);
    json["epoch"] = item.time;
    json["locationId"] = item.location;
    json["title"] = item.title;
    json["text"] = item.text;
    if (!item.device.empty())
        json["deviceId"] = item.device;
    return json;
}

Json representation_json(const Home& home, const home::Device& device, const home::Resource& resource)
{
    return {{"uri", resource.uri},
            {"types", resource.types},
            {"observable", resource.observable},
            {"properties", home.properties(device, resource)}};
}

// --- Records of the client family --------------------------------------------------------------------------

device_s device_record(const home::Device& device)
{
    return {device.id, {device.model->type}};
}

device_detail_s detail_record(const Home& home, const home::Device& device)
{
    device_detail_s record;
    record.resource_count = static_cast<int>(device.model->resources.size());
    record.device_id = device.id;
    record.device_name = device.name;
    record.prefix = device.model->mnmn;
    record.cloud_device_state = home.cloud_state(device);
    record.nick = device.nick;
    record.color = device.color;
    record.locale = device.locale;
    record.firmware_version = device.firmware;
    record.manufacture_name = device.model->maker;
    record.vid = device.model->vid;
    record.device_type = {device.model->type};
    for (const auto& resource : device.model->resources) {
        record.resource_uris.push_back(resource.uri);
        if (resource.observable)
            record.observable_resource_uris.push_back(resource.uri);
    }
    Json reserved{{"group_id", device.location},
                  {"ui_meta_ver", std::to_string(home.account().metadata_version)}};
    if (!device.room.empty())
        reserved["subgroup_id"] = device.room;
    record.reserved = to_text(reserved);
    return record;
}

group_s group_record(const Home& home, const home::Location& location)
{
    group_s record;
    record.group_id = location.id;
    record.group_name = location.name;
    record.group_nick = location.nick;
    record.group_owner = location.owner;
    record.group_type = "group";
    record.group_background_image = location.image;
    record.device_list.push_back(member_list(home, location.devices));
    for (const auto& [order, room] : location.rooms)
        record.subgroup_list.push_back(room);
    return record;
}

group_s group_record(const Home& home, const home::Room& room)
{
    group_s record;
    record.parent_id = room.location;
    record.group_id = room.id;
    record.group_name = room.name;
    record.group_nick = room.nick;
    record.group_owner = home.locations().find(room.location)->owner;
    record.group_type = "subgroup";
    record.group_background_image = room.image;
    record.device_list.push_back(member_list(home, room.devices));
    return record;
}

scene_s scene_record(const home::Scene& scene)
{
    return {scene.id, to_text(scene_json(scene))};
}

app_launch_condition_s condition_record(const home::LaunchCondition& condition)
{
    return {condition.app,  condition.device, condition.uri,    condition.property,
            condition.type, condition.value,  condition.bundle, condition.reserved};
}

// --- Records of bundles: every key of the family is there, empty when there is nothing to say --------------

core_device_s core_device_record(const Home& home, const home::Device& device)
{
    core_device_s record;
    Bundle& b = record.bundle_data;
    b.add("deviceId", device.id);
    b.add("name", device.name);
    b.add("label", device.shown_name());
    b.add("manufacturerName", device.model->maker);
    b.add("presentationId", device.model->vid);
    b.add("deviceManufactureCode", device.model->mnmn);
    b.add("locationId", device.location);
    b.add("ownerId", device.owner);
    b.add("roomId", device.room);
    b.add("components", to_text(components_json(device)));
    b.add("childDevices", to_text(children_json(device)));
    b.add("profile", to_text({{"id", device.model->id}}));
    b.add("type", device.infrared.is_null() ? device.local ? "LOCAL" : "CLOUD" : "INFRARED");
    b.add("details", to_text({{"firmwareVersion", device.firmware}, {"serialNumber", device.serial}}));
    b.add("restrictionTier", std::to_string(device.model->tier));
    // The doubled word is the key that clients read.
    b.add("parentDeviceIdparentDeviceId", device.parent);
    b.add("deviceModel", device.model->number);
    b.add("sharedLocations", "[]");
    b.add("createTime", rfc3339(device.created));
    b.add("healthState", health_of(home, device));
    b.add("externalId", device.serial);
    b.add("ocfDeviceType", device.model->type);
    b.add("possibleIcons", to_text(Json::array({device.model->category, "generic"})));
    b.add("icons", to_text(icons_json(*device.model)));
    return record;
}

location_s location_record(const home::Location& location)
{
    location_s record;
    Bundle& b = record.bundle_data;
    b.add("locationId", location.id);
    b.add("name", location.name);
    b.add("countryCode", location.country);
    b.add("latitude", location.latitude);
    b.add("longitude", location.longitude);
    b.add("regionRadius", location.radius);
    b.add("temperatureScale", location.scale);
    b.add("timeZoneId", location.time_zone);
    b.add("locale", location.locale);
    b.add("parentType", location.parent_type);
    b.add("parentId", location.parent_id);
    return record;
}

room_s room_record(const home::Room& room)
{
    room_s record;
    record.bundle_data.add("roomId", room.id);
    record.bundle_data.add("name", room.name);
    record.bundle_data.add("locationId", room.location);
    return record;
}

core_scene_s core_scene_record(const home::Scene& scene)
{
    core_scene_s record;
    record.bundle_data.add("sceneId", scene.id);
    record.bundle_data.add("sceneJson", to_text(scene_json(scene)));
    return record;
}

core_rule_s core_rule_record(const home::Rule& rule)
{
    core_rule_s record;
    record.bundle_data.add("ruleId", rule.id);
    record.bundle_data.add("ruleJson", to_text(rule_json(rule)));
    return record;
}

favorite_s favorite_record(const home::Favorite& favorite)
{
    favorite_s record;
    Bundle& b = record.bundle_data;
    b.add("favoriteId", favorite.id);
    b.add("locationId", favorite.location);
    b.add("memberId", favorite.member);
    b.add("memberType", favorite.member_type);
    b.add("additionalId", favorite.additional);
    b.add("bucket", favorite.bucket);
    b.add("deviceModel", favorite.device_model);
    b.add("createdDate", rfc3339(favorite.created));
    b.add("lastUpdatedDate", rfc3339(favorite.updated));
    b.add("sortOrder", std::to_string(favorite.sort_order));
    return record;
}

device_group_s device_group_record(const Home& home, const home::DeviceGroup& group)
{
    // A group can do what each of its devices can.
    std::set<std::string> common;
    bool first = true;
    int tier = 0;
    for (const auto& id : group.devices) {
        const home::Device* device = home.devices().find(id);
        if (device == nullptr)
            continue;
        tier = std::max(tier, device->model->tier);
        std::set<std::string> own;
        for (const auto& use : device->model->components.front().capabilities)
            own.insert(use.capability->id);
        if (first)
            common = std::move(own);
        else
            std::erase_if(common, [&](const std::string& each) { return !own.contains(each); });
        first = false;
    }
    device_group_s record;
    Bundle& b = record.bundle_data;
    b.add("deviceGroupId", group.id);
    b.add("deviceGroupName", group.name);
    b.add("deviceGroupType", group.type);
    b.add("deviceGroupLocationId", group.location);
    b.add("deviceGroupRoomId", group.room);
    b.add("deviceGroupDevicesJson", to_text(group.devices));
    b.add("deviceGroupCapabilitiesJson", to_text(common));
    b.add("deviceGroupRestrictionTier", std::to_string(tier));
    return record;
}

installed_app_s installed_app_record(const home::InstalledApp& app)
{
    installed_app_s record;
    Bundle& b = record.bundle_data;
    b.add("installedAppId", app.id);
    b.add("type", app.type);
    b.add("status", app.status);
    b.add("displayName", app.name);
    b.add("appId", app.app);
    b.add("referenceId", app.configuration);
    b.add("locationId", app.location);
    b.add("ownerType", "USER");
    b.add("ownerId", app.app);
    b.add("notices", to_text(app.notices));
    b.add("createdDate", rfc3339(app.created));
    b.add("lastUpdatedDate", rfc3339(app.updated));
    return record;
}

access_point_s access_point_record(const home::AccessPoint& point)
{
    access_point_s record;
    Bundle& b = record.bundle_data;
    b.add("ssid", point.ssid);
    b.add("macAddr", point.mac);
    b.add("channel", point.channel);
    b.add("encType", point.encryption);
    b.add("secType", point.security);
    b.add("maxRate", point.rate);
    b.add("rssi", point.signal);
    b.add("freq", point.frequency);
    return record;
}

// --- Filters -----------------------------------------------------------------------------------------------

std::optional<Filter> Filter::read(std::string_view text, std::initializer_list<std::string_view> keys)
{
    Filter filter;
    if (text.empty())
        return filter;
    if (text.find('=') == std::string_view::npos) {
        filter.values_.emplace_back("locationId", text);
        return filter;
    }
    while (!text.empty()) {
        const auto end = std::min(text.find('&'), text.size());
        const std::string_view part = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        const auto equals = part.find('=');
        if (equals == std::string_view::npos
            || std::find(keys.begin(), keys.end(), part.substr(0, equals)) == keys.end())
            return std::nullopt;
        filter.values_.emplace_back(part.substr(0, equals), part.substr(equals + 1));
    }
    return filter;
}

std::string Filter::value(std::string_view key) const
{
    for (const auto& [name, value] : values_)
        if (name == key)
            return value;
    return {};
}

bool Filter::matches(std::string_view key, std::string_view value) const
{
    return std::all_of(values_.begin(), values_.end(),
                       [&](const auto& each) { return each.first != key || each.second == value; });
}

std::vector<std::string> split_uris(std::string_view text)
{
    std::vector<std::string> uris;
    if (text.starts_with('[')) {
        if (const auto json = home::parse_json(text); json && json->is_array())
            for (const auto& item : *json)
                if (item.is_string())
                    uris.push_back(item.get<std::string>());
        return uris;
    }
    while (!text.empty()) {
        const auto end = std::min(text.find_first_of(",; "), text.size());
        if (end > 0)
            uris.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return uris;
}

}  // namespace quorvel::agent
