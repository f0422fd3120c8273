// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>

#include "service/home_service.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;
using home::parse_json;

namespace {

std::string no_device(std::string_view id)
{
    return fmt::format("no device '{}'", id);
}

// The devices that pass a filter, or none when the filter cannot be read. A filter by place or parent looks
// only at what is there.
std::optional<std::vector<const home::Device*>> filtered(const Home& home, std::string_view text)
{
    const auto filter = Filter::read(text, {"locationId", "roomId", "deviceId", "parentDeviceId",
                                            "capability", "type", "healthState", "model"});
    if (!filter)
        return std::nullopt;
    std::vector<const home::Device*> devices;
    const auto consider = [&](const home::Device& device) {
        if (!filter->matches("locationId", device.location) || !filter->matches("roomId", device.room)
            || !filter->matches("deviceId", device.id) || !filter->matches("parentDeviceId", device.parent)
            || !filter->matches("type", device.model->type) || !filter->matches("model", device.model->id)
            || !filter->matches("healthState", home.reachable(device) ? "ONLINE" : "OFFLINE"))
            return;
        if (const std::string wanted = filter->value("capability"); !wanted.empty()) {
            const auto& components = device.model->components;
            if (std::none_of(components.begin(), components.end(),
                             [&](const auto& component) { return component.use(wanted) != nullptr; }))
                return;
        }
        devices.push_back(&device);
    };
    const auto consider_members = [&](const home::Members& members) {
        for (const auto& [order, id] : members)
            consider(*home.devices().find(id));
    };
    if (const home::Room* room = home.rooms().find(filter->value("roomId")))
        consider_members(room->devices);
    else if (const home::Location* location = home.locations().find(filter->value("locationId")))
        consider_members(location->devices);
    else if (filter->value("roomId").empty() && filter->value("locationId").empty())
        for (const auto& device : home.devices())
            consider(device);
    return devices;
}

}  // namespace

int HomeService::core_get_device_json(Client&, std::string_view device_id, Text& json)
{
    const home::Device* device = home_.devices().find(device_id);
    return device == nullptr ? fails(json, Status::no_data, no_device(device_id))
                             : done(json, device_json(home_, *device));
}

int HomeService::core_get_device_list_json(Client&, std::string_view filter, Text& json)
{
    const auto devices = filtered(home_, filter);
    if (!devices)
        return fails(json, Status::invalid, "expected a filter such as locationId=home&roomId=living");
    Json items = Json::array();
    for (const auto* device : *devices)
        items.push_back(device_json(home_, *device));
    return done(json, {{"count", items.size()}, {"items", std::move(items)}});
}

int HomeService::core_get_device_health_data_json(Client&, std::string_view device_id, Text& json)
{
    const home::Device* device = home_.devices().find(device_id);
    return device == nullptr ? fails(json, Status::no_data, no_device(device_id))
                             : done(json, device_health_json(home_, *device));
}

int HomeService::core_get_device_status(Client&, std::string_view device_id, Text& status)
{
    const home::Device* device = home_.devices().find(device_id);
    return device == nullptr ? fails(status, Status::no_data, no_device(device_id))
                             : done(status, device_status_json(*device));
}

int HomeService::core_get_device_component_status(Client&, std::string_view device_id,
                                                  std::string_view component_id, Text& status)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr)
        return fails(status, Status::no_data, no_device(device_id));
    const home::Component* component = device->model->component(component_id);
    if (component == nullptr)
        return fails(status, Status::no_data,
                     fmt::format("device '{}' has no component '{}'", device_id, component_id));
    return done(status, component_status_json(*device, *component));
}

int HomeService::core_get_device_capability_status(Client&, std::string_view device_id,
                                                   std::string_view component_id,
                                                   std::string_view capability_id, Text& status)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr)
        return fails(status, Status::no_data, no_device(device_id));
    const home::Component* component = device->model->component(component_id);
    const home::Component::Use* use = component == nullptr ? nullptr : component->use(capability_id);
    if (use == nullptr)
        return fails(status, Status::no_data,
                     fmt::format("device '{}' has no capability '{}' in '{}'", device_id, capability_id,
                                 component_id));
    return done(status, capability_status_json(*device, *use));
}

int HomeService::core_execute_device_commands(Client&, std::string_view device_id, std::string_view commands,
                                              Text& result)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr)
        return fails(result, Status::no_data, no_device(device_id));
    const auto list = parse_json(commands);
    std::vector<home::CommandResult> all;
    const Status status = list ? home_.execute(device_id, *list, all) : Status::invalid;
    if (all.empty())
        return fails(result, status, "expected a JSON list of {component, capability, command, arguments}");
    return results(result, status, all, {{"deviceId", device_id}});
}

int HomeService::core_get_device_preferences(Client&, std::string_view device_id,
                                             std::string_view preference_name, Text& preferences)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr)
        return fails(preferences, Status::no_data, no_device(device_id));
    if (preference_name == "*" || preference_name == "all")
        return done(preferences, device->preferences);
    const auto found = device->preferences.find(std::string{preference_name});
    if (found == device->preferences.end())
        return fails(preferences, Status::no_data, fmt::format("no preference '{}'", preference_name));
    return done(preferences, {{preference_name, *found}});
}

int HomeService::core_update_device_preferences(Client&, std::string_view preference_name,
                                                std::string_view device_id, std::string_view preferences,
                                                Text& result)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr)
        return fails(result, Status::no_data, no_device(device_id));
    const auto values = parse_json(preferences);
    if (!values)
        return fails(result, Status::invalid, "expected JSON");
    if (const Status status = home_.set_preferences(device_id, preference_name, *values);
        status != Status::ok)
        return fails(result, status, "expected a JSON object of preferences");
    return done(result, {{"deviceId", device_id}, {"preferences", device->preferences}});
}

int HomeService::core_get_hub_json(Client&, std::string_view location_id, std::string_view hub_id, Text& json)
{
    const home::Device* hub = home_.devices().find(hub_id);
    if (hub == nullptr || !hub->model->hub || hub->location != location_id)
        return fails(json, Status::no_data, fmt::format("no hub '{}' in '{}'", hub_id, location_id));
    return done(json, hub_json(home_, *hub));
}

int HomeService::core_get_home_insight_device_statics(Client&, std::string_view location_id, Text& statistics)
{
    const home::Location* location = home_.locations().find(location_id);
    if (location == nullptr)
        return fails(statistics, Status::no_data, fmt::format("no location '{}'", location_id));
    std::size_t online = 0;
    double power = 0;
    double energy = 0;
    Json low = Json::array();
    std::map<std::string, std::size_t> types;
    for (const auto& [order, id] : location->devices) {
        const home::Device& device = *home_.devices().find(id);
        online += home_.reachable(device);
        ++types[device.model->category];
        const auto number = [&](const char* attribute) {
            const auto slot = device.model->slot(attribute);
            return slot && home_.value(device, *slot).is_number() ? home_.value(device, *slot).get<double>()
                                                                  : 0;
        };
        power += number("power.power");
        energy += number("energy.energy");
        if (device.model->slot("battery.battery") && number("battery.battery") < 20)
            low.push_back(id);
    }
    return done(statistics, {{"locationId", location->id},
                             {"devices", location->devices.size()},
                             {"online", online},
                             {"offline", location->devices.size() - online},
                             {"categories", types},
                             {"powerWatts", power},
                             {"energyKilowattHours", energy},
                             {"lowBattery", std::move(low)}});
}

int HomeService::core_get_broker_url(Client&, std::string_view hub_id, bool secure, Text& url)
{
    const home::Device* hub = home_.devices().find(hub_id);
    if (hub == nullptr || !hub->model->hub)
        return code(Status::no_data);
    url = fmt::format("{}://{}.quorvel.test:{}", secure ? "mqtts" : "mqtt", hub->id, secure ? 8883 : 1883);
    return 0;
}

int HomeService::core_get_device(Client&, std::string_view device_id, Out<core_device_s>& device)
{
    const home::Device* found = home_.devices().find(device_id);
    if (found == nullptr)
        return code(Status::no_data);
    device = core_device_record(home_, *found);
    return 0;
}

int HomeService::core_get_device_list(Client&, std::string_view filter, Out<array_core_device_s>& devices,
                                      int& count)
{
    const auto found = filtered(home_, filter);
    if (!found)
        return code(Status::invalid);
    devices.made().reserve(found->size());
    for (const auto* device : *found)
        devices.made().push_back(core_device_record(home_, *device));
    count = static_cast<int>(found->size());
    return 0;
}

int HomeService::core_get_device_health_data(Client&, std::string_view device_id, int& health)
{
    enum { offline = 0, online = 1 };
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr)
        return code(Status::no_data);
    health = home_.cloud_state(*device) == "CONNECTED" ? online : offline;
    return 0;
}

int HomeService::core_get_device_presentation(Client&, std::string_view device_id,
                                              std::string_view presentation_id, std::string_view locale,
                                              std::string_view detailed, Text& presentation)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr || device->model->vid != presentation_id)
        return fails(presentation, Status::no_data,
                     fmt::format("no device '{}' with presentation '{}'", device_id, presentation_id));
    return done(presentation, presentation_json(*device->model, std::string{locale}, detailed == "1"));
}

int HomeService::core_create_ir_device(Client&, std::string_view parent_device_id, std::string_view ir_device,
                                       Text& result)
{
    const auto description = parse_json(ir_device);
    std::string id;
    const Status status = !home_.devices().contains(parent_device_id) ? Status::no_data
                          : description ? home_.create_infrared(parent_device_id, *description, id)
                                        : Status::invalid;
    if (status == Status::no_data)
        return fails(result, status, no_device(parent_device_id));
    if (status != Status::ok)
        return fails(result, status, "expected a hub with infrared, and JSON with a name and a list of keys");
    return done(result, device_json(home_, *home_.devices().find(id)));
}

int HomeService::core_get_ir_device(Client&, std::string_view parent_device_id, std::string_view ir_device_id,
                                    Text& json)
{
    const home::Device* device = home_.devices().find(ir_device_id);
    if (device == nullptr || device->infrared.is_null() || device->parent != parent_device_id)
        return fails(json, Status::no_data,
                     fmt::format("no infrared device '{}' behind '{}'", ir_device_id, parent_device_id));
    return done(json, device_json(home_, *device));
}

int HomeService::core_delete_device(Client&, std::string_view device_id)
{
    return code(home_.remove_device(device_id));
}

int HomeService::core_get_hub_device_list(Client&, std::string_view hub_id, Out<array_string>& device_ids,
                                          int& count)
{
    // Without a hub, what is behind any of them.
    if (hub_id.empty()) {
        for (const auto& device : home_.devices())
            if (device.model->hub)
                for (const auto& [order, child] : device.children)
                    device_ids.made().push_back(child);
    } else {
        const home::Device* hub = home_.devices().find(hub_id);
        if (hub == nullptr || !hub->model->hub)
            return code(Status::no_data);
        for (const auto& [order, child] : hub->children)
            device_ids.made().push_back(child);
    }
    count = static_cast<int>(device_ids.get().size());
    return 0;
}

int HomeService::core_start_hub_device_discovery(Client&, std::string_view hub_id, int duration,
                                                 bool allow_join, bool include_known, int protocol)
{
    return code(home_.start_search(hub_id, duration, allow_join, include_known, protocol));
}

int HomeService::core_stop_hub_device_discovery(Client&, std::string_view hub_id)
{
    return code(home_.stop_search(hub_id));
}

int HomeService::core_migrate_local_mqtt_device(Client&, std::string_view device_id, std::string_view hub_id,
                                                Text& result)
{
    const Status status = home_.migrate_local(device_id, hub_id);
    if (status != Status::ok)
        return fails(result, status,
                     status == Status::no_data ? fmt::format("no device '{}' or hub '{}'", device_id, hub_id)
                     : status == Status::invalid ? fmt::format("'{}' is not a hub", hub_id)
                                                 : fmt::format("device '{}' is not local", device_id));
    return done(result, device_json(home_, *home_.devices().find(device_id)));
}

// An empty text leaves its value alone, so one request may change any of them.
int HomeService::core_update_device(Client&, std::string_view device_id, std::string_view name,
                                    std::string_view location_id, std::string_view room_id,
                                    std::string_view components, std::string_view, Text& result)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr)
        return fails(result, Status::no_data, no_device(device_id));
    const auto labels = components.empty() ? std::nullopt : parse_json(components);
    if (!components.empty() && !labels)
        return fails(result, Status::invalid, "expected a JSON list of components");
    Status status = Status::ok;
    if (!location_id.empty() || !room_id.empty()) {
        std::string location{location_id};
        if (const home::Room* room = home_.rooms().find(room_id); room != nullptr && location.empty())
            location = room->location;
        status = home_.move_device(device_id, location, room_id);
        if (status != Status::ok)
            return fails(result, status, fmt::format("no room '{}' in '{}'", room_id, location));
    }
    if (labels)
        status = home_.set_labels(device_id, *labels);
    if (status != Status::ok)
        return fails(result, status,
                     "expected a list of {id, label, icon} of components that the device has");
    if (!name.empty())
        home_.set_name(device_id, std::string{name});
    return done(result, device_json(home_, *device));
}

}  // namespace quorvel::agent
