// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "service/home_service.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;
using home::parse_json;

namespace {

// A favorite that the caller may name so: in this location, and seen with this visibility.
const home::Favorite* favorite_in(const Home& home, std::string_view location, std::string_view id,
                                  std::string_view visibility)
{
    const home::Favorite* favorite = home.favorites().find(id);
    if (favorite == nullptr || (!location.empty() && favorite->location != location)
        || (!visibility.empty() && favorite->visibility != visibility))
        return nullptr;
    return favorite;
}

}  // namespace

// Without a visibility all favorites of the location are listed.
int HomeService::core_get_favorites_list(Client&, std::string_view location_id, std::string_view visibility,
                                         Out<array_favorite_s>& favorites, int& count)
{
    if (!home_.locations().contains(location_id))
        return code(Status::no_data);
    std::vector<const home::Favorite*> found;
    for (const auto& favorite : home_.favorites())
        if (favorite.location == location_id && (visibility.empty() || favorite.visibility == visibility))
            found.push_back(&favorite);
    std::stable_sort(found.begin(), found.end(),
                     [](const auto* a, const auto* b) { return a->sort_order < b->sort_order; });
    for (const auto* favorite : found)
        favorites.made().push_back(favorite_record(*favorite));
    count = static_cast<int>(found.size());
    return 0;
}

int HomeService::core_create_favorite(Client&, std::string_view location_id, std::string_view visibility,
                                      std::string_view favorite, Out<favorite_s>& created)
{
    if (!home_.locations().contains(location_id))
        return code(Status::no_data);
    const auto description = parse_json(favorite);
    std::string id;
    std::string problem;
    const Status status = description ? home_.add_favorite(location_id, visibility, *description, id, problem)
                                      : Status::invalid;
    if (status != Status::ok)
        return code(status);
    created = favorite_record(*home_.favorites().find(id));
    return 0;
}

int HomeService::core_replace_favorites(Client&, std::string_view location_id, std::string_view visibility,
                                        std::string_view favorites, Out<array_favorite_s>& replaced,
                                        int& count)
{
    if (!home_.locations().contains(location_id))
        return code(Status::no_data);
    const auto descriptions = parse_json(favorites);
    std::vector<std::string> ids;
    std::string problem;
    const Status status = descriptions
                              ? home_.replace_favorites(location_id, visibility, *descriptions, ids, problem)
                              : Status::invalid;
    if (status != Status::ok)
        return code(status);
    for (const auto& id : ids)
        replaced.made().push_back(favorite_record(*home_.favorites().find(id)));
    count = static_cast<int>(ids.size());
    return 0;
}

int HomeService::core_delete_favorites(Client&, std::string_view location_id, std::string_view visibility)
{
    return code(home_.remove_favorites(location_id, visibility));
}

int HomeService::core_get_favorite(Client&, std::string_view location_id, std::string_view favorite_id,
                                   std::string_view visibility, Out<favorite_s>& favorite)
{
    const home::Favorite* found = favorite_in(home_, location_id, favorite_id, visibility);
    if (found == nullptr)
        return code(Status::no_data);
    favorite = favorite_record(*found);
    return 0;
}

int HomeService::core_delete_favorite(Client&, std::string_view location_id, std::string_view favorite_id,
                                      std::string_view visibility)
{
    if (favorite_in(home_, location_id, favorite_id, visibility) == nullptr)
        return code(Status::no_data);
    return code(home_.remove_favorite(favorite_id));
}

int HomeService::core_get_favorite_migration_status(Client&, std::string_view location_id,
                                                    Out<favorite_s>& status)
{
    const home::Location* location = home_.locations().find(location_id);
    if (location == nullptr)
        return code(Status::no_data);
    Bundle& b = status.made().bundle_data;
    // Clients read "true" as: there is still something to move.
    b.add("isMigrated", location->favorites_migrated ? "false" : "true");
    b.add("lastUpdatedDate", location->migration_date);
    b.add("deviceModel", location->migration_model);
    return 0;
}

// The status is JSON, {"isMigrated": true, "deviceModel": "…"}, or one of the words true and false.
int HomeService::core_update_favorite_migration_status(Client&, std::string_view location_id,
                                                       std::string_view status, Text& result)
{
    const home::Location* location = home_.locations().find(location_id);
    if (location == nullptr)
        return fails(result, Status::no_data, "no such location");
    const auto json = parse_json(status);
    const Json flag = !json ? Json() : json->is_object() ? json->value("isMigrated", Json()) : *json;
    if (!flag.is_boolean())
        return fails(result, Status::invalid, "expected {\"isMigrated\": true or false, \"deviceModel\": …}");
    home_.set_favorite_migration(location_id, flag.get<bool>(), home::text_at(*json, "deviceModel"));
    return done(result, {{"locationId", location->id},
                         {"isMigrated", location->favorites_migrated},
                         {"lastUpdatedDate", location->migration_date},
                         {"deviceModel", location->migration_model}});
}

}  // namespace quorvel::agent
