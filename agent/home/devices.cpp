// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "home/home.hpp"

namespace quorvel::home {

namespace {

constexpr std::size_t most_devices = 100'000;

double number_of(const Json& value)
{
    return value.is_number() ? value.get<double>() : 0;
}

// Keeps a step of a dynamic readable: 20.1, not 20.100000000000001.
double rounded(double value)
{
    return std::round(value * 1e6) / 1e6;
}

Json like(const AttributeDef& def, double value)
{
    const double bounded = std::clamp(value, def.least.value_or(-1e12), def.most.value_or(1e12));
    if (def.type == AttributeDef::Type::integer)
        return static_cast<std::int64_t>(std::llround(bounded));
    return rounded(bounded);
}

bool settable(const CapabilityDef& capability, std::size_t attribute)
{
    return std::any_of(
        capability.commands.begin(), capability.commands.end(), [&](const CommandDef& command) {
            const auto sets = [&](const auto& each) { return each.first == attribute; };
            return command.toggles == attribute || (command.steps && command.steps->first == attribute)
                   || std::any_of(command.sets.begin(), command.sets.end(), sets)
                   || std::any_of(command.arguments.begin(), command.arguments.end(),
                                  [&](const auto& argument) { return argument.attribute == attribute; });
        });
}

}  // namespace

// --- Entering and leaving ----------------------------------------------------------------------------------

void Home::enter(Device& device)
{
    c_.locations.find(device.location)->devices.emplace(device.order, device.id);
    if (!device.room.empty())
        c_.rooms.find(device.room)->devices.emplace(device.order, device.id);
    if (Device* parent = device.parent.empty() ? nullptr : c_.devices.find(device.parent))
        parent->children.emplace(device.order, device.id);
}

void Home::leave(Device& device)
{
    c_.locations.find(device.location)->devices.erase({device.order, device.id});
    if (!device.room.empty())
        c_.rooms.find(device.room)->devices.erase({device.order, device.id});
    if (Device* parent = device.parent.empty() ? nullptr : c_.devices.find(device.parent))
        parent->children.erase({device.order, device.id});
}

void Home::device_changed(const Device& device, const char* aspect)
{
    tell(event::DeviceChanged{What::changed, device.id, device.location, device.room, device.shown_name(),
                              aspect, device.location, device.room});
}

Status Home::add_device(Device device)
{
    if (taken(device.id))
        return Status::conflict;
    if (c_.devices.size() >= most_devices)
        return Status::no_space;
    if (device.location.empty())
        device.location = c_.locations.front().id;
    if (!c_.locations.contains(device.location)
        || (!device.room.empty() && room_in(device.location, device.room) == nullptr))
        return Status::no_data;
    device.order = next_order();
    device.created = clock_.now();
    if (device.nick.empty())
        device.nick = device.name;
    if (device.owner.empty())
        device.owner = c_.account.user;
    if (device.firmware.empty())
        device.firmware = device.model->firmware;
    if (device.color.empty())
        device.color = device.model->color;
    if (device.locale.empty())
        device.locale = "en-GB";
    if (device.attributes.empty())
        for (const auto& slot : device.model->slots)
            device.attributes.push_back({slot.initial, device.created});
    if (device.preferences.empty())
        device.preferences = device.model->preferences;
    Device& added = c_.devices.add(std::move(device));
    enter(added);
    touch(Kind::device, added.id);
    if (c_.account.dynamics)
        wake_dynamics(added, std::nullopt);
    tell(event::DeviceChanged{
        What::added, added.id, added.location, added.room, added.shown_name(), "added", {}, {}});
    return Status::ok;
}

Status Home::add_device(const Node& description)
{
    // Read in a small home of its own, so that it is checked by the one reader there is.
    Json home{{"quorvel-home", 1}, {"agent", {{"user-id", c_.account.user}}}};
    for (const auto& place : c_.locations) {
        Json item{{"id", place.id}, {"rooms", Json::array()}};
        for (const auto& [order, room] : place.rooms)
            item["rooms"].push_back(room);
        home["places"].push_back(std::move(item));
    }
    Json item = description.json();
    const std::string parent = text_at(item, "parent");
    if (item.is_object())
        item.erase("parent");
    home["devices"].push_back(std::move(item));
    Contents read = read_home(Node::from(home, "device"), models_, clock_.now());
    if (!parent.empty() && !c_.devices.contains(parent))
        return Status::no_data;
    Device device = std::move(read.devices.front());
    device.parent = parent;
    device.children.clear();
    return add_device(std::move(device));
}

Status Home::remove_device(std::string_view id)
{
    Device* device = c_.devices.find(id);
    if (device == nullptr)
        return Status::no_data;
    const std::string gone = device->id;
    stop_dynamics(*device);
    if (const auto search = searches_.find(gone); search != searches_.end()) {
        for (const auto timer : search->second.timers)
            clock_.cancel(timer);
        searches_.erase(search);
    }
    // What was behind a hub stays in the home, only no longer behind it.
    for (const auto& [order, child] : device->children) {
        c_.devices.find(child)->parent.clear();
        touch(Kind::device, child);
    }
    leave(*device);
    const event::DeviceChanged event{What::removed,        gone,      device->location, device->room,
                                     device->shown_name(), "removed", device->location, device->room};
    c_.devices.remove(gone);
    touch(Kind::device, gone);
    for (auto& group : c_.groups)
        if (std::erase(group.devices, gone) > 0) {
            touch(Kind::group, group.id);
            tell(event::DeviceGroupChanged{What::changed, group.id, group.location});
        }
    std::vector<std::string> favorites;
    for (const auto& favorite : c_.favorites)
        if (favorite.member_type == "DEVICE" && favorite.member == gone)
            favorites.push_back(favorite.id);
    for (const auto& favorite : favorites)
        remove_favorite(favorite);
    if (const auto watching = conditions_of_device_.find(gone); watching != conditions_of_device_.end()) {
        for (const auto& condition : watching->second) {
            c_.conditions.remove(condition);
            touch(Kind::condition, condition);
        }
        conditions_of_device_.erase(watching);
    }
    tell(event);
    return Status::ok;
}

// --- What it is called and where it stands -----------------------------------------------------------------

Status Home::set_nick(std::string_view id, const std::string& nick)
{
    Device* device = c_.devices.find(id);
    if (device == nullptr)
        return Status::no_data;
    if (nick.empty())
        return Status::invalid;
    device->nick = nick;
    touch(Kind::device, device->id);
    device_changed(*device, "name");
    return Status::ok;
}

Status Home::set_name(std::string_view id, const std::string& name)
{
    Device* device = c_.devices.find(id);
    if (device == nullptr)
        return Status::no_data;
    if (name.empty())
        return Status::invalid;
    // The cloud's name is what the user calls it, so the nickname goes with it.
    device->name = name;
    device->nick = name;
    touch(Kind::device, device->id);
    device_changed(*device, "name");
    return Status::ok;
}

Status Home::move_device(std::string_view id, std::string_view location, std::string_view room)
{
    Device* device = c_.devices.find(id);
    if (device == nullptr || !c_.locations.contains(location)
        || (!room.empty() && room_in(location, room) == nullptr))
        return Status::no_data;
    const std::string from = device->location;
    const std::string from_room = device->room;
    leave(*device);
    device->location = location;
    device->room = room;
    enter(*device);
    touch(Kind::device, device->id);
    tell(event::DeviceChanged{What::changed, device->id, device->location, device->room, device->shown_name(),
                              "place", from, from_room});
    return Status::ok;
}

Status Home::set_labels(std::string_view id, const Json& components)
{
    Device* device = c_.devices.find(id);
    if (device == nullptr)
        return Status::no_data;
    const Json& list =
        components.is_object() && components.contains("components") ? components["components"] : components;
    if (!list.is_array())
        return Status::invalid;
    Json labels = device->labels;
    for (const auto& item : list) {
        const std::string component = text_at(item, "id");
        if (component.empty())
            return Status::invalid;
        if (device->model->component(component) == nullptr)
            return Status::no_data;
        for (const char* key : {"label", "icon"})
            if (item.contains(key)) {
                if (!item[key].is_string())
                    return Status::invalid;
                labels[component][key] = item[key];
            }
    }
    device->labels = std::move(labels);
    touch(Kind::device, device->id);
    device_changed(*device, "components");
    return Status::ok;
}

Status Home::set_preferences(std::string_view id, std::string_view name, const Json& values)
{
    Device* device = c_.devices.find(id);
    if (device == nullptr)
        return Status::no_data;
    if (values.is_object())
        device->preferences.update(values);
    else if (!name.empty())
        device->preferences[std::string{name}] = values;
    else
        return Status::invalid;
    touch(Kind::device, device->id);
    device_changed(*device, "preferences");
    return Status::ok;
}

Status Home::set_health(std::string_view id, const std::string& state, const std::string& detail)
{
    Device* device = c_.devices.find(id);
    if (device == nullptr)
        return Status::no_data;
    if (state != "CONNECTED" && state != "DISCONNECTED" && state != "INACTIVE")
        return Status::invalid;
    std::vector<std::pair<std::string, std::string>> before{{device->id, cloud_state(*device)}};
    for (const auto& [order, child] : device->children)
        before.emplace_back(child, cloud_state(*c_.devices.find(child)));
    device->cloud_state = state;
    device->link.online = state == "CONNECTED";
    touch(Kind::device, device->id);
    for (const auto& [each, was] : before)
        if (const std::string now = cloud_state(*c_.devices.find(each)); now != was)
            tell(event::HealthChanged{each, now, detail});
    return Status::ok;
}

Status Home::set_link(std::string_view id, const Link& link)
{
    Device* device = c_.devices.find(id);
    if (device == nullptr)
        return Status::no_data;
    const std::string was = cloud_state(*device);
    device->link = link;
    touch(Kind::device, device->id);
    if (const std::string now = cloud_state(*device); now != was)
        tell(event::HealthChanged{device->id, now, "link"});
    return Status::ok;
}

Status Home::set_firmware(std::string_view id, const std::string& version)
{
    Device* device = c_.devices.find(id);
    if (device == nullptr)
        return Status::no_data;
    device->firmware = version;
    touch(Kind::device, device->id);
    device_changed(*device, "firmware");
    return Status::ok;
}

Status Home::migrate_local(std::string_view id, std::string_view hub)
{
    Device* device = c_.devices.find(id);
    const Device* target = c_.devices.find(hub);
    if (device == nullptr || target == nullptr)
        return Status::no_data;
    if (!target->model->hub)
        return Status::invalid;
    if (!device->local)
        return Status::failed;
    leave(*device);
    device->local = false;
    device->parent = target->id;
    enter(*device);
    touch(Kind::device, device->id);
    device_changed(*device, "migrated");
    return Status::ok;
}

Status Home::create_infrared(std::string_view parent, const Json& description, std::string& id)
{
    const Device* hub = c_.devices.find(parent);
    if (hub == nullptr)
        return Status::no_data;
    const Json keys = description.is_object() ? description.value("keys", Json::array()) : Json();
    const bool well =
        description.is_object() && !text_at(description, "name").empty() && keys.is_array()
        && std::all_of(keys.begin(), keys.end(), [](const Json& key) { return key.is_string(); });
    if (!hub->model->infrared || !well)
        return Status::invalid;
    Device device;
    device.id = id = new_id("ir");
    device.name = text_at(description, "name");
    device.model = models_.find("remote.infrared");
    if (device.model == nullptr)
        return Status::unsupported;
    device.location = hub->location;
    device.room = hub->room;
    device.parent = hub->id;
    device.infrared = description;
    if (keys.empty())
        device.infrared["keys"] = {"power", "up", "down"};
    return add_device(std::move(device));
}

// --- What it is doing --------------------------------------------------------------------------------------

void Home::set_attribute(Device& device, std::size_t slot, Json value)
{
    AttributeState& state = device.attributes[slot];
    const AttributeDef& def = *device.model->slots[slot].attribute;
    if (state.value == value && !def.event)
        return;
    Json previous = std::exchange(state.value, std::move(value));
    state.time = clock_.now();
    touch(Kind::device, device.id);
    tell(event::AttributeChanged{device.id, slot, state.value, std::move(previous), cause_});
    if (c_.account.dynamics)
        wake_dynamics(device, slot);
}

Status Home::report(std::string_view id, std::string_view attribute, const Json& value, std::string& problem)
{
    Device* device = c_.devices.find(id);
    if (device == nullptr) {
        problem = fmt::format("no device '{}'", id);
        return Status::no_data;
    }
    const auto slot = device->model->slot(attribute);
    if (!slot) {
        problem = fmt::format("model '{}' has no attribute '{}'{}", device->model->id, attribute,
                              did_you_mean(attribute, device->model->slot_names()));
        return Status::no_data;
    }
    const AttributeDef& def = *device->model->slots[*slot].attribute;
    auto accepted = def.accept(value);
    if (!accepted) {
        problem = fmt::format("expected {} for '{}'", def.expected(), attribute);
        return Status::invalid;
    }
    set_attribute(*device, *slot, std::move(*accepted));
    return Status::ok;
}

CommandResult Home::command(std::string_view id, std::string_view component_id,
                            std::string_view capability_id, std::string_view name, const Json& arguments)
{
    Device* device = c_.devices.find(id);
    if (device == nullptr)
        return {Status::no_data, fmt::format("no device '{}'", id)};
    const Component* component = device->model->component(component_id.empty() ? "main" : component_id);
    if (component == nullptr)
        return {Status::no_data, fmt::format("device '{}' has no component '{}'", id, component_id)};
    const Component::Use* use = component->use(capability_id);
    if (use == nullptr)
        return {Status::no_data, fmt::format("component '{}' of device '{}' has no capability '{}'",
                                             component->id, id, capability_id)};
    const CommandDef* def = use->capability->command(name);
    if (def == nullptr)
        return {Status::invalid, fmt::format("capability '{}' has no command '{}'", capability_id, name)};
    if (!arguments.is_null() && !arguments.is_array() && !arguments.is_object())
        return {Status::invalid, "expected a list of arguments"};
    if (!reachable(*device))
        return {Status::unreachable, fmt::format("device '{}' cannot be reached", id)};

    std::vector<std::pair<std::size_t, Json>> changes;
    for (const auto& [attribute, value] : def->sets)
        changes.emplace_back(use->first + attribute, value);
    for (std::size_t i = 0; i < def->arguments.size(); ++i) {
        const auto& argument = def->arguments[i];
        const Json* given = nullptr;
        if (arguments.is_array() && i < arguments.size())
            given = &arguments[i];
        else if (arguments.is_object() && arguments.contains(argument.name))
            given = &arguments[argument.name];
        if (given == nullptr) {
            if (argument.optional)
                continue;
            return {Status::invalid,
                    fmt::format("command '{}' needs the argument '{}'", name, argument.name)};
        }
        const AttributeDef& target = use->capability->attributes[argument.attribute];
        const auto accepted = target.accept(*given);
        if (!accepted)
            return {Status::invalid, fmt::format("expected {} for '{}'", target.expected(), argument.name)};
        changes.emplace_back(use->first + argument.attribute, *accepted);
    }
    if (arguments.is_array() && arguments.size() > def->arguments.size())
        return {Status::invalid, fmt::format("command '{}' takes {} arguments", name, def->arguments.size())};
    if (def->toggles) {
        const AttributeDef& target = use->capability->attributes[*def->toggles];
        const bool first = value(*device, use->first + *def->toggles) == Json(target.values[0]);
        changes.emplace_back(use->first + *def->toggles, target.values[first ? 1 : 0]);
    }
    if (def->steps) {
        const AttributeDef& target = use->capability->attributes[def->steps->first];
        const double now = number_of(value(*device, use->first + def->steps->first));
        changes.emplace_back(use->first + def->steps->first, like(target, now + def->steps->second));
    }
    for (auto& [slot, change] : changes)
        set_attribute(*device, slot, std::move(change));
    return {};
}

Status Home::execute(std::string_view id, const Json& commands, std::vector<CommandResult>& results)
{
    if (!c_.devices.contains(id))
        return Status::no_data;
    const Json& list =
        commands.is_object() && commands.contains("commands") ? commands["commands"] : commands;
    if (!list.is_array() || list.empty())
        return Status::invalid;
    for (const auto& item : list)
        if (!item.is_object() || text_at(item, "capability").empty() || text_at(item, "command").empty())
            return Status::invalid;
    Status status = Status::ok;
    for (const auto& item : list) {
        results.push_back(command(id, text_at(item, "component", "main"), text_at(item, "capability"),
                                  text_at(item, "command"),
                                  item.contains("arguments") ? item["arguments"] : Json()));
        if (status == Status::ok)
            status = results.back().status;
    }
    return status;
}

// --- Resources: the same attributes, seen from the client family -------------------------------------------

Json Home::properties(const Device& device, const Resource& resource) const
{
    Json values = Json::object();
    if (resource.def == nullptr) {
        if (resource.uri == "/device")
            return {{"id", device.id},
                    {"name", device.name},
                    {"nick", device.nick},
                    {"type", device.model->type},
                    {"firmware", device.firmware}};
        return {{"maker", device.model->maker},
                {"number", device.model->number},
                {"vid", device.model->vid},
                {"serial", device.serial}};
    }
    for (const auto& property : resource.def->properties) {
        const Json& attribute = value(device, resource.first + property.attribute);
        values[property.name] = attribute;
        for (const auto& [from, to] : property.words)
            if (from == attribute)
                values[property.name] = to;
    }
    return values;
}

Status Home::write_resource(std::string_view id, std::string_view uri, const Json& properties,
                            std::string& problem)
{
    Device* device = c_.devices.find(id);
    const Resource* resource = device == nullptr ? nullptr : device->model->resource(uri);
    if (resource == nullptr) {
        problem = device == nullptr ? fmt::format("no device '{}'", id)
                                    : fmt::format("device '{}' has no resource '{}'", id, uri);
        return Status::no_data;
    }
    if (!properties.is_object() || properties.empty()) {
        problem = "expected a JSON object of properties";
        return Status::invalid;
    }
    if (!reachable(*device)) {
        problem = fmt::format("device '{}' cannot be reached", id);
        return Status::unreachable;
    }
    if (resource->def == nullptr) {
        // The only thing that a device lets others write about itself is what it is called.
        const std::string nick = text_at(properties, "nick");
        if (resource->uri != "/device" || nick.empty() || properties.size() != 1) {
            problem = fmt::format("resource '{}' cannot be written", uri);
            return Status::refused;
        }
        return set_nick(id, nick);
    }
    std::vector<std::pair<std::size_t, Json>> changes;
    for (const auto& [name, given] : properties.items()) {
        const auto& all = resource->def->properties;
        const auto property = std::find_if(all.begin(), all.end(),
                                           [&key = name](const auto& each) { return each.name == key; });
        if (property == all.end()) {
            problem = fmt::format("resource '{}' has no property '{}'", uri, name);
            return Status::invalid;
        }
        const CapabilityDef& capability = *device->model->slots[resource->first].capability;
        if (property->read_only || !settable(capability, property->attribute)) {
            problem = fmt::format("property '{}' can only be read", name);
            return Status::refused;
        }
        const AttributeDef& def = capability.attributes[property->attribute];
        Json value = given;
        for (const auto& [from, to] : property->words)
            if (to == given) {
                value = from;
                break;
            }
        auto accepted = def.accept(value);
        if (!accepted || (!property->words.empty() && value == given && !given.is_string())) {
            problem = property->words.empty() ? fmt::format("expected {} for '{}'", def.expected(), name)
                                              : fmt::format("expected true or false for '{}'", name);
            return Status::invalid;
        }
        changes.emplace_back(resource->first + property->attribute, std::move(*accepted));
    }
    for (auto& [slot, value] : changes)
        set_attribute(*device, slot, std::move(value));
    return Status::ok;
}

// --- What changes by itself --------------------------------------------------------------------------------

bool Home::holds(const Device& device, const std::vector<std::pair<std::size_t, Json>>& when) const
{
    return std::all_of(when.begin(), when.end(),
                       [&](const auto& each) { return value(device, each.first) == each.second; });
}

void Home::stop_dynamics(Device& device)
{
    for (auto& timer : device.timers)
        clock_.cancel(std::exchange(timer, Clock::none));
}

// Looks at each dynamic after a change (or at the start): those that follow something do so now, those that
// take time get a timer while they have something to do.
void Home::wake_dynamics(Device& device, std::optional<std::size_t> changed)
{
    const auto& dynamics = device.model->dynamics;
    device.timers.resize(dynamics.size(), Clock::none);
    for (std::size_t i = 0; i < dynamics.size(); ++i) {
        const Dynamic& dynamic = dynamics[i];
        const bool active = holds(device, dynamic.when);
        bool wanted = false;
        const double now = number_of(value(device, dynamic.slot));
        const AttributeDef& def = *device.model->slots[dynamic.slot].attribute;
        using enum Dynamic::Kind;
        switch (dynamic.kind) {
            case follow:
                if (changed != dynamic.slot) {
                    const Cause cause{*this, "device"};
                    set_attribute(device, dynamic.slot, active ? dynamic.value : dynamic.otherwise);
                }
                break;
            case decay:
                wanted = value(device, dynamic.slot) != dynamic.value;
                // Being seen again starts the time anew.
                if (wanted && changed == dynamic.slot)
                    clock_.cancel(std::exchange(device.timers[i], Clock::none));
                break;
            case approach: {
                const double goal = dynamic.other ? number_of(value(device, *dynamic.other)) : dynamic.toward;
                wanted = active && std::abs(goal - now) > 1e-9;
                break;
            }
            case drain:
                wanted = active && now > def.least.value_or(0);
                break;
            case countdown:
                wanted = active;
                break;
            case accumulate:
                wanted = active && number_of(value(device, *dynamic.other)) > 0;
                break;
        }
        if (wanted && device.timers[i] == Clock::none)
            device.timers[i] = clock_.after(dynamic.per, [this, id = device.id, i] { step_dynamic(id, i); });
        else if (!wanted && device.timers[i] != Clock::none)
            clock_.cancel(std::exchange(device.timers[i], Clock::none));
    }
}

void Home::step_dynamic(const std::string& id, std::size_t index)
{
    Device* device = c_.devices.find(id);
    if (device == nullptr || index >= device->timers.size())
        return;
    device->timers[index] = Clock::none;
    const Dynamic& dynamic = device->model->dynamics[index];
    const AttributeDef& def = *device->model->slots[dynamic.slot].attribute;
    const double now = number_of(value(*device, dynamic.slot));
    {
        const Cause cause{*this, "device"};
        using enum Dynamic::Kind;
        switch (dynamic.kind) {
            case approach: {
                const double goal =
                    dynamic.other ? number_of(value(*device, *dynamic.other)) : dynamic.toward;
                const double step = std::clamp(goal - now, -dynamic.by, dynamic.by);
                set_attribute(*device, dynamic.slot, like(def, now + step));
                break;
            }
            case drain:
                set_attribute(*device, dynamic.slot, like(def, now - dynamic.by));
                break;
            case accumulate: {
                const double hours = static_cast<double>(dynamic.per) / 3'600'000;
                const double drawn = number_of(value(*device, *dynamic.other)) * hours / 1000;
                set_attribute(*device, dynamic.slot, like(def, now + drawn));
                break;
            }
            case countdown:
                set_attribute(*device, dynamic.slot, like(def, now - dynamic.by));
                if (now - dynamic.by <= def.least.value_or(0))
                    for (const auto& [slot, value] : dynamic.then)
                        set_attribute(*device, slot, value);
                break;
            case decay:
                set_attribute(*device, dynamic.slot, dynamic.value);
                break;
            case follow:
                break;
        }
        wake_dynamics(*device, std::nullopt);
    }
    commit();
}

}  // namespace quorvel::home
