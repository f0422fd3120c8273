// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include "service/home_service.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;

namespace {

std::string no_location(std::string_view id)
{
    return fmt::format("no location '{}'", id);
}

std::string no_room(std::string_view location, std::string_view room)
{
    return fmt::format("no room '{}' in '{}'", room, location);
}

Home::PlaceValues values_of(const Bundle& bundle)
{
    const auto text = [&](const char* key) -> std::optional<std::string> {
        const auto found = bundle.text(key);
        return found ? std::optional<std::string>{std::string{*found}} : std::nullopt;
    };
    Home::PlaceValues values;
    values.name = text("name");
    values.country = text("countryCode");
    values.latitude = text("latitude");
    values.longitude = text("longitude");
    values.radius = text("regionRadius");
    values.scale = text("temperatureScale");
    values.locale = text("locale");
    values.parent_type = text("parentType");
    values.parent_id = text("parentId");
    return values;
}

}  // namespace

int HomeService::core_get_location_json(Client&, std::string_view location_id, Text& json)
{
    const home::Location* location = home_.locations().find(location_id);
    return location == nullptr ? fails(json, Status::no_data, no_location(location_id))
                               : done(json, location_json(home_, *location));
}

int HomeService::core_get_room_json(Client&, std::string_view location_id, std::string_view room_id,
                                    Text& json)
{
    const home::Room* room = home_.room_in(location_id, room_id);
    return room == nullptr ? fails(json, Status::no_data, no_room(location_id, room_id))
                           : done(json, room_json(home_, *room));
}

int HomeService::core_get_location_list(Client&, Out<array_location_s>& locations, int& count)
{
    for (const auto& location : home_.locations())
        locations.made().push_back(location_record(location));
    count = static_cast<int>(locations.get().size());
    return 0;
}

int HomeService::core_get_room_list(Client&, std::string_view location_id, Out<array_room_s>& rooms,
                                    int& count)
{
    const home::Location* location = home_.locations().find(location_id);
    if (location == nullptr)
        return code(Status::no_data);
    for (const auto& [order, room] : location->rooms)
        rooms.made().push_back(room_record(*home_.rooms().find(room)));
    count = static_cast<int>(rooms.get().size());
    return 0;
}

int HomeService::core_get_location(Client&, std::string_view location_id, Out<location_s>& location)
{
    const home::Location* found = home_.locations().find(location_id);
    if (found == nullptr)
        return code(Status::no_data);
    location = location_record(*found);
    return 0;
}

int HomeService::core_get_room(Client&, std::string_view location_id, std::string_view room_id,
                               Out<room_s>& room)
{
    const home::Room* found = home_.room_in(location_id, room_id);
    if (found == nullptr)
        return code(Status::no_data);
    room = room_record(*found);
    return 0;
}

int HomeService::core_create_location(Client&, const location_s& location, Text& result)
{
    std::string id;
    const Status status = home_.add_location(values_of(location.bundle_data), id);
    return status == Status::ok
               ? done(result, location_json(home_, *home_.locations().find(id)))
               : fails(result, status, "expected a name, and C or F as temperature scale if one is given");
}

int HomeService::core_update_location(Client&, std::string_view location_id, const location_s& location,
                                      Text& result)
{
    const Status status = home_.change_location(location_id, values_of(location.bundle_data));
    if (status == Status::no_data)
        return fails(result, status, no_location(location_id));
    return status == Status::ok
               ? done(result, location_json(home_, *home_.locations().find(location_id)))
               : fails(result, status, "expected a name, and C or F as temperature scale if one is given");
}

int HomeService::core_delete_location(Client&, std::string_view location_id, Text& result)
{
    const std::string id{location_id};
    const Status status = home_.remove_location(id);
    if (status == Status::no_data)
        return fails(result, status, no_location(id));
    return status == Status::ok ? done(result, {{"locationId", id}, {"deleted", true}})
                                : fails(result, status, "the last location cannot be deleted");
}

int HomeService::core_create_room(Client&, std::string_view location_id, const room_s& room, Text& result)
{
    std::string id;
    const Status status = home_.add_room(location_id, values_of(room.bundle_data), id);
    if (status == Status::no_data)
        return fails(result, status, no_location(location_id));
    return status == Status::ok ? done(result, room_json(home_, *home_.rooms().find(id)))
                                : fails(result, status, "expected a name");
}

int HomeService::core_update_room(Client&, std::string_view location_id, std::string_view room_id,
                                  const room_s& room, Text& result)
{
    if (home_.room_in(location_id, room_id) == nullptr)
        return fails(result, Status::no_data, no_room(location_id, room_id));
    const Status status = home_.change_room(room_id, values_of(room.bundle_data));
    return status == Status::ok ? done(result, room_json(home_, *home_.rooms().find(room_id)))
                                : fails(result, status, "expected a name");
}

int HomeService::core_delete_room(Client&, std::string_view location_id, std::string_view room_id,
                                  Text& result)
{
    if (home_.room_in(location_id, room_id) == nullptr)
        return fails(result, Status::no_data, no_room(location_id, room_id));
    const std::string id{room_id};
    home_.remove_room(id);
    return done(result, {{"roomId", id}, {"deleted", true}});
}

int HomeService::core_get_location_users(Client&, std::string_view location_id, Text& json)
{
    const home::Location* location = home_.locations().find(location_id);
    return location == nullptr ? fails(json, Status::no_data, no_location(location_id))
                               : done(json, users_json(*location));
}

int HomeService::core_get_all_location_users(Client&, Text& json)
{
    Json list = Json::array();
    for (const auto& location : home_.locations())
        list.push_back(users_json(location));
    return done(json, {{"locations", std::move(list)}});
}

}  // namespace quorvel::agent
