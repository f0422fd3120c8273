// SPDX-License-Identifier: Apache-2.0
// Locations and rooms; the client family calls them groups and subgroups.
#include <algorithm>

#include "home/home.hpp"

namespace quorvel::home {

namespace {

constexpr std::size_t most_locations = 100;
constexpr std::size_t most_rooms = 1000;

void set(std::string& target, const std::optional<std::string>& value)
{
    if (value)
        target = *value;
}

void apply(Location& place, const Home::PlaceValues& values)
{
    set(place.name, values.name);
    set(place.nick, values.nick);
    set(place.image, values.image);
    set(place.country, values.country);
    set(place.latitude, values.latitude);
    set(place.longitude, values.longitude);
    set(place.radius, values.radius);
    set(place.scale, values.scale);
    set(place.locale, values.locale);
    set(place.parent_type, values.parent_type);
    set(place.parent_id, values.parent_id);
    set(place.time_zone, values.time_zone);
}

bool well(const Home::PlaceValues& values)
{
    return (!values.name || !values.name->empty())
           && (!values.scale || *values.scale == "C" || *values.scale == "F");
}

}  // namespace

Status Home::add_location(const PlaceValues& values, std::string& id)
{
    if (!values.name || !well(values))
        return Status::invalid;
    if (c_.locations.size() >= most_locations)
        return Status::no_space;
    Location place;
    place.order = next_order();
    place.id = id = new_id("location");
    place.owner = c_.account.user;
    place.scale = "C";
    place.locale = "en-GB";
    place.time_zone = "UTC";
    place.users.push_back({c_.account.user, c_.account.login, "owner"});
    apply(place, values);
    c_.locations.add(std::move(place));
    touch(Kind::place, id);
    tell(event::LocationChanged{What::added, id, *values.name});
    return Status::ok;
}

Status Home::change_location(std::string_view id, const PlaceValues& values)
{
    Location* place = c_.locations.find(id);
    if (place == nullptr)
        return Status::no_data;
    if (!well(values))
        return Status::invalid;
    apply(*place, values);
    touch(Kind::place, place->id);
    tell(event::LocationChanged{What::changed, place->id, place->name});
    return Status::ok;
}

Status Home::remove_location(std::string_view id)
{
    Location* place = c_.locations.find(id);
    if (place == nullptr)
        return Status::no_data;
    // An account always has a place to put its devices.
    if (c_.locations.size() == 1)
        return Status::failed;
    const std::string gone = place->id;
    const std::string name = place->name;
    const auto refuge = std::find_if(c_.locations.begin(), c_.locations.end(),
                                     [&](const Location& each) { return each.id != gone; });
    const Members rooms = place->rooms;
    const Members devices = place->devices;
    const Members scenes = place->scenes;
    const Members rules = place->rules;
    for (const auto& [order, device] : devices)
        move_device(device, refuge->id, {});
    for (const auto& [order, room] : rooms)
        remove_room(room);
    for (const auto& [order, scene] : scenes)
        remove_scene(scene);
    for (const auto& [order, rule] : rules)
        remove_rule(rule);
    const auto of_place = [&](const auto& table) {
        std::vector<std::string> ids;
        for (const auto& each : table)
            if (each.location == gone)
                ids.push_back(each.id);
        return ids;
    };
    for (const auto& group : of_place(c_.groups))
        remove_group(group);
    for (const auto& favorite : of_place(c_.favorites))
        remove_favorite(favorite);
    for (const auto& app : of_place(c_.apps)) {
        c_.apps.remove(app);
        touch(Kind::app, app);
        tell(event::AppChanged{What::removed, app, gone, "REMOVED"});
    }
    c_.locations.remove(gone);
    touch(Kind::place, gone);
    tell(event::LocationChanged{What::removed, gone, name});
    return Status::ok;
}

Status Home::add_room(std::string_view location, const PlaceValues& values, std::string& id)
{
    Location* place = c_.locations.find(location);
    if (place == nullptr)
        return Status::no_data;
    if (!values.name || values.name->empty())
        return Status::invalid;
    if (c_.rooms.size() >= most_rooms)
        return Status::no_space;
    Room room;
    room.order = next_order();
    room.id = id = new_id("room");
    room.location = place->id;
    set(room.name, values.name);
    set(room.nick, values.nick);
    set(room.image, values.image);
    place->rooms.emplace(room.order, room.id);
    c_.rooms.add(std::move(room));
    touch(Kind::place, place->id);
    tell(event::RoomChanged{What::added, id, place->id, *values.name});
    return Status::ok;
}

Status Home::change_room(std::string_view id, const PlaceValues& values)
{
    Room* room = c_.rooms.find(id);
    if (room == nullptr)
        return Status::no_data;
    if (values.name && values.name->empty())
        return Status::invalid;
    set(room->name, values.name);
    set(room->nick, values.nick);
    set(room->image, values.image);
    touch(Kind::place, room->location);
    tell(event::RoomChanged{What::changed, room->id, room->location, room->name});
    return Status::ok;
}

Status Home::remove_room(std::string_view id)
{
    Room* room = c_.rooms.find(id);
    if (room == nullptr)
        return Status::no_data;
    const std::string gone = room->id;
    const std::string location = room->location;
    const std::string name = room->name;
    // What stood in the room stays in the location.
    const Members devices = room->devices;
    for (const auto& [order, device] : devices)
        move_device(device, location, {});
    for (auto& group : c_.groups)
        if (group.room == gone) {
            group.room.clear();
            touch(Kind::group, group.id);
            tell(event::DeviceGroupChanged{What::changed, group.id, group.location});
        }
    c_.locations.find(location)->rooms.erase({room->order, gone});
    c_.rooms.remove(gone);
    touch(Kind::place, location);
    tell(event::RoomChanged{What::removed, gone, location, name});
    return Status::ok;
}

}  // namespace quorvel::home
