// SPDX-License-Identifier: Apache-2.0
// What happens in the home, told to every client that asked to hear it.
#include <algorithm>

#include "service/home_service.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;
using home::Overloaded;
using home::rfc3339;
using home::to_text;
using home::What;

namespace event = home::event;

namespace {

enum EventType {
    all = 1,
    device = 2,
    health = 3,
    lifecycle = 4,
    device_group = 5,
    location = 6,
    room = 7,
    favorite = 8,
    rule = 9,
    scene = 10,
    app = 11,
    hub = 12,
};

enum FilterType { by_user = 0, by_location = 1, by_room = 2, by_app = 3, by_device = 4 };

const char* word(What what)
{
    return what == What::added ? "CREATED" : what == What::removed ? "DELETED" : "UPDATED";
}

}  // namespace

// --- Server-sent events ------------------------------------------------------------------------------------

int HomeService::set_server_sent_event(Client& client, int type,
                                       const Delegate<server_sent_event_cb>& on_event)
{
    if (type < all || type > hub)
        return code(Status::invalid);
    unset_server_sent_event(client);
    events_.push_back({on_event, type});
    return 0;
}

int HomeService::unset_server_sent_event(Client& client)
{
    std::erase_if(events_,
                  [&](const TypedEvents& each) { return each.delegate.client.lock().get() == &client; });
    return 0;
}

int HomeService::set_server_sent_event_by_filter(Client&, int filter_type, std::string_view filter,
                                                 const Delegate<server_sent_event_cb>& on_event)
{
    const bool known = filter_type == by_user       ? filter == home_.account().user
                       : filter_type == by_location ? home_.locations().contains(filter)
                       : filter_type == by_room     ? home_.rooms().contains(filter)
                       : filter_type == by_app      ? home_.apps().contains(filter)
                                                    : home_.devices().contains(filter);
    if (filter_type < by_user || filter_type > by_device)
        return code(Status::invalid);
    if (!known)
        return code(Status::no_data);
    filtered_events_.push_back({on_event, filter_type, std::string{filter}});
    return 0;
}

int HomeService::unset_server_sent_event_by_filter(Client& client, int filter_type, std::string_view filter)
{
    if (filter_type < by_user || filter_type > by_device)
        return code(Status::invalid);
    const auto removed = std::erase_if(filtered_events_, [&](const FilteredEvents& each) {
        return each.delegate.client.lock().get() == &client && each.type == filter_type
               && each.filter == filter;
    });
    return code(removed > 0 ? Status::ok : Status::no_data);
}

void HomeService::send_event(int type, const char* name, const Subject& subject, Json details)
{
    if (events_.empty() && filtered_events_.empty())
        return;
    const std::int64_t now = home_.clock().now();
    details["eventId"] = ++event_number_;
    details["eventType"] = name;
    details["time"] = rfc3339(now);
    if (!subject.location.empty())
        details["locationId"] = subject.location;
    if (!subject.device.empty())
        details["deviceId"] = subject.device;
    const std::string text = to_text(details);
    for (const auto& each : events_)
        if (each.type == all || each.type == type)
            fire(each.delegate, type, now, text);
    for (const auto& each : filtered_events_) {
        const std::string& of = each.type == by_user       ? home_.account().user
                                : each.type == by_location ? subject.location
                                : each.type == by_room     ? subject.room
                                : each.type == by_app      ? subject.app
                                                           : subject.device;
        if (of == each.filter)
            fire(each.delegate, type, now, text);
    }
}

HomeService::Subject HomeService::subject_of(const home::Device& of) const
{
    return {of.location, of.room, {}, of.id};
}

// --- What is told at the end of a turn ---------------------------------------------------------------------

void HomeService::push_lists(bool devices, bool details)
{
    device_news_ = device_news_ || devices;
    detail_news_ = detail_news_ || details;
    if (flushing_)
        return;
    flushing_ = true;
    post_([this] { flush(); });
}

void HomeService::news_of_group(const char* what, const std::string& id, const std::string& parent,
                                const std::string& name)
{
    if (group_lists_.empty())
        return;
    const bool update = std::string_view{what} == "update_group";
    const bool told = update
                      && std::any_of(group_news_.begin(), group_news_.end(),
                                     [&](const GroupNews& each) { return each.id == id; });
    if (!told)
        group_news_.push_back({what, id, parent, name});
    push_lists(false, false);
}

void HomeService::news_of_place_of(const std::string& of_location, const std::string& of_room)
{
    if (home_.locations().contains(of_location))
        news_of_group("update_group", of_location);
    if (home_.rooms().contains(of_room))
        news_of_group("update_group", of_room);
}

void HomeService::news_of_scene(const char* what, const std::string& id)
{
    if (scene_lists_.empty())
        return;
    scene_news_.emplace_back(what, id);
    push_lists(false, false);
}

void HomeService::flush()
{
    flushing_ = false;
    const bool devices = std::exchange(device_news_, false);
    const bool details = std::exchange(detail_news_, false);
    const auto groups = std::exchange(group_news_, {});
    const auto scenes = std::exchange(scene_news_, {});
    if (devices && !device_lists_.empty()) {
        const auto list = device_list();
        device_lists_.tell(list, static_cast<int>(list.size()));
    }
    if (details && !detail_lists_.empty()) {
        const auto list = detail_list();
        detail_lists_.tell(list, static_cast<int>(list.size()));
    }
    for (const auto& news : groups) {
        group_s record;
        bool subgroup = !news.parent.empty();
        if (const home::Location* of_location = home_.locations().find(news.id)) {
            record = group_record(home_, *of_location);
        } else if (const home::Room* of_room = home_.rooms().find(news.id)) {
            record = group_record(home_, *of_room);
            subgroup = true;
        } else if (std::string_view{news.event} == "delete_group") {
            record.parent_id = news.parent;
            record.group_id = news.id;
            record.group_name = news.name;
            record.group_type = subgroup ? "subgroup" : "group";
        } else {
            continue;
        }
        group_lists_.tell(news.event, subgroup ? "subgroup" : "group", array_group_s{record}, 1);
    }
    for (const auto& [what, id] : scenes) {
        const home::Scene* found = home_.scenes().find(id);
        if (found == nullptr && std::string_view{what} != "delete_scene")
            continue;
        scene_lists_.tell(what, array_scene_s{found ? scene_record(*found) : scene_s{id, {}}}, 1);
    }
}

// --- What happens ------------------------------------------------------------------------------------------

void HomeService::attribute_changed(const event::AttributeChanged& change)
{
    const home::Device* of = home_.devices().find(change.device);
    if (of == nullptr)
        return;
    const home::Slot& slot = of->model->slots[change.slot];
    Json details{{"componentId", of->model->components[slot.component].id},
                 {"capability", slot.capability->id},
                 {"attribute", slot.attribute->name},
                 {"value", change.value},
                 {"previous", change.previous},
                 {"cause", change.cause}};
    if (!slot.attribute->unit.empty())
        details["unit"] = slot.attribute->unit;
    send_event(device, "DEVICE", subject_of(*of), std::move(details));

    const auto list = subscriptions_.find(change.device);
    if (list == subscriptions_.end())
        return;
    const std::string time = rfc3339(home_.clock().now());
    for (const auto& resource : of->model->resources) {
        if (resource.def == nullptr || change.slot < resource.first
            || change.slot >= resource.first + slot.capability->attributes.size()
            || of->model->slots[resource.first].capability != slot.capability
            || of->model->slots[resource.first].component != slot.component)
            continue;
        std::string types;
        for (const auto& type : resource.types)
            types += (types.empty() ? "" : ",") + type;
        const std::string body = to_text(representation_json(home_, *of, resource));
        for (const auto& each : list->second)
            if (std::find(each.each.begin(), each.each.end(), resource.uri) != each.each.end())
                fire(each.delegate, change.device, resource.uri, types, body, each.options, time);
    }
}

void HomeService::health_changed(const event::HealthChanged& change)
{
    const std::string time = rfc3339(home_.clock().now());
    if (const auto list = monitors_.find(change.device); list != monitors_.end())
        for (const auto& each : list->second)
            fire(each, change.device, change.state, change.detail, time);
    if (const home::Device* of = home_.devices().find(change.device))
        send_event(
            health, "DEVICE_HEALTH", subject_of(*of),
            {{"state", change.state == "CONNECTED" ? "ONLINE" : "OFFLINE"}, {"reason", change.detail}});
    push_lists(false, true);
}

void HomeService::device_changed(const event::DeviceChanged& change)
{
    push_lists(true, true);
    news_of_place_of(change.location, change.room);
    if (change.previous_location != change.location || change.previous_room != change.room)
        news_of_place_of(change.previous_location, change.previous_room);
    if (change.what == What::removed) {
        subscriptions_.erase(change.id);
        monitors_.erase(change.id);
    }
    send_event(lifecycle, "DEVICE_LIFECYCLE", {change.location, change.room, {}, change.id},
               {{"lifecycle", word(change.what)},
                {"aspect", change.aspect},
                {"name", change.name},
                {"roomId", change.room}});
    // A name is also a property of the device's own resource.
    const home::Device* of = home_.devices().find(change.id);
    const auto list = subscriptions_.find(change.id);
    if (of == nullptr || list == subscriptions_.end() || change.aspect != "name")
        return;
    const home::Resource* resource = of->model->resource("/device");
    const std::string body = to_text(representation_json(home_, *of, *resource));
    for (const auto& each : list->second)
        if (std::find(each.each.begin(), each.each.end(), resource->uri) != each.each.end())
            fire(each.delegate, change.id, resource->uri, resource->types.front(), body, each.options,
                 rfc3339(home_.clock().now()));
}

void HomeService::hear(const home::Event& happened)
{
    std::visit(
        Overloaded{
            [&](const event::SignIn& e) {
                sign_in_.tell(e.signed_in ? "TRUE" : "FALSE");
                push_lists(true, true);
            },
            [&](const event::DeviceChanged& e) { device_changed(e); },
            [&](const event::AttributeChanged& e) { attribute_changed(e); },
            [&](const event::HealthChanged& e) { health_changed(e); },
            [&](const event::LocationChanged& e) {
                news_of_group(e.what == What::added     ? "add_group"
                              : e.what == What::removed ? "delete_group"
                                                        : "update_group",
                              e.id, {}, e.name);
                send_event(location, "LOCATION", {e.id, {}, {}, {}},
                           {{"lifecycle", word(e.what)}, {"name", e.name}});
            },
            [&](const event::RoomChanged& e) {
                news_of_group(e.what == What::added     ? "add_group"
                              : e.what == What::removed ? "delete_group"
                                                        : "update_group",
                              e.id, e.location, e.name);
                if (e.what != What::changed && home_.locations().contains(e.location))
                    news_of_group("update_group", e.location);
                send_event(room, "ROOM", {e.location, e.id, {}, {}},
                           {{"lifecycle", word(e.what)}, {"roomId", e.id}, {"name", e.name}});
            },
            [&](const event::SceneChanged& e) {
                news_of_scene(e.what == What::added     ? "add_scene"
                              : e.what == What::removed ? "delete_scene"
                                                        : "update_scene",
                              e.id);
                send_event(scene, "SCENE", {e.location, {}, {}, {}},
                           {{"lifecycle", word(e.what)}, {"sceneId", e.id}});
            },
            [&](const event::SceneRan& e) {
                send_event(
                    scene, "SCENE", {e.location, {}, {}, {}},
                    {{"lifecycle", "EXECUTED"}, {"sceneId", e.id}, {"name", e.name}, {"well", e.well}});
            },
            [&](const event::RuleChanged& e) {
                send_event(rule, "RULE", {e.location, {}, {}, {}},
                           {{"lifecycle", word(e.what)}, {"ruleId", e.id}});
            },
            [&](const event::RuleRan& e) {
                send_event(rule, "RULE", {e.location, {}, {}, {}},
                           {{"lifecycle", "EXECUTED"}, {"ruleId", e.id}, {"well", e.well}});
            },
            [&](const event::DeviceGroupChanged& e) {
                send_event(device_group, "DEVICE_GROUP", {e.location, {}, {}, {}},
                           {{"lifecycle", word(e.what)}, {"deviceGroupId", e.id}});
            },
            [&](const event::FavoriteChanged& e) {
                send_event(favorite, "FAVORITE", {e.location, {}, {}, {}},
                           {{"lifecycle", word(e.what)}, {"favoriteId", e.id}, {"memberId", e.member}});
            },
            [&](const event::AppChanged& e) {
                send_event(app, "INSTALLED_APP", {e.location, {}, e.id, {}},
                           {{"lifecycle", word(e.what)}, {"installedAppId", e.id}, {"status", e.status}});
            },
            [&](const event::Notified& e) {
                if (home_.account().push_enabled)
                    notifications_.tell(e.kind, e.title, e.body);
            },
            [&](const event::MetadataChanged& e) {
                if (const home::Model* model = home_.models().find_vid(e.vid))
                    metadata_.tell(e.vid, to_text(metadata_json(home_, *model)));
                push_lists(false, true);
            },
            [&](const event::PushChanged&) { push_status_.tell(); },
            [&](const event::CacheFilled&) { push_lists(true, true); },
            [&](const event::HubSearch& e) {
                if (const home::Device* of = home_.devices().find(e.hub))
                    send_event(hub, "HUB", subject_of(*of), {{"searching", e.looking}});
            },
            [&](const event::HubFound& e) {
                if (const home::Device* of = home_.devices().find(e.hub))
                    send_event(hub, "HUB", subject_of(*of),
                               {{"foundDeviceId", e.device},
                                {"name", e.name},
                                {"model", e.model},
                                {"joined", e.joined}});
            },
            [&](const event::SetupState& e) { setup_state_.tell(e.stage, e.detail); },
            [&](const event::SetupError& e) { setup_error_.tell(e.stage, e.code); },
            [&](const event::SetupAsksOwnership& e) { setup_ownership_.tell(e.features); },
            [&](const event::SetupAsksPin& e) { setup_pin_.tell("", e.length); },
            [&](const event::SetupOwned& e) { setup_owned_.tell(e.owned); },
            [&](const event::SetupInfo& e) {
                easy_setup_prov_info_s record;
                for (const auto& [key, value] : e.values)
                    record.bundle_data.add(key.c_str(), value);
                record.bundle_data.add("protocolList", e.protocols);
                setup_info_.tell(record);
            },
        },
        happened);
}

}  // namespace quorvel::agent
