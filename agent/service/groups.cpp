// SPDX-License-Identifier: Apache-2.0
// A group of the client family is a location of the home, a subgroup a room.
#include "service/home_service.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;

int HomeService::set_group_list_cb(Client&, const Delegate<group_list_cb>& on_changed)
{
    return group_lists_.set(on_changed);
}

int HomeService::unset_group_list_cb(Client& client)
{
    return group_lists_.unset(client);
}

int HomeService::get_group(Client&, std::string_view group_id, Out<group_s>& group)
{
    if (const home::Location* location = home_.locations().find(group_id))
        group = group_record(home_, *location);
    else if (const home::Room* room = home_.rooms().find(group_id))
        group = group_record(home_, *room);
    else
        return code(Status::no_data);
    return 0;
}

int HomeService::get_group_list(Client&, std::string_view group_type, Out<array_group_s>& groups, int& count)
{
    if (group_type == "group") {
        for (const auto& location : home_.locations())
            groups.made().push_back(group_record(home_, location));
    } else if (group_type == "subgroup") {
        for (const auto& room : home_.rooms())
            groups.made().push_back(group_record(home_, room));
    } else {
        return code(Status::invalid);
    }
    count = static_cast<int>(groups.get().size());
    return 0;
}

// With a parent it is a subgroup of it, without one a group.
int HomeService::add_group(Client&, std::string_view parent_id, std::string_view group_name,
                           std::string_view group_type, std::string_view background_image, std::string_view,
                           const Delegate<group_result_cb>& on_result)
{
    const bool subgroup = !parent_id.empty();
    if (group_name.empty() || (!group_type.empty() && group_type != (subgroup ? "subgroup" : "group")))
        return code(Status::invalid);
    Home::PlaceValues values;
    values.name = group_name;
    if (!background_image.empty())
        values.image = background_image;
    std::string id;
    const Status status = subgroup ? home_.add_room(parent_id, values, id) : home_.add_location(values, id);
    if (status != Status::ok)
        return code(status);
    return answer_later(on_result, id, std::string{"added"}, 0);
}

int HomeService::remove_group(Client&, std::string_view group_id, std::string_view,
                              const Delegate<group_result_cb>& on_result)
{
    const std::string id{group_id};
    const Status status = home_.rooms().contains(id) ? home_.remove_room(id) : home_.remove_location(id);
    if (status != Status::ok)
        return code(status);
    return answer_later(on_result, id, std::string{"removed"}, 0);
}

int HomeService::update_group(Client&, std::string_view group_id, std::string_view group_name,
                              std::string_view group_nick, std::string_view group_type,
                              std::string_view background_image, std::string_view,
                              const Delegate<group_result_cb>& on_result)
{
    const std::string id{group_id};
    const bool subgroup = home_.rooms().contains(id);
    if (!group_type.empty() && group_type != (subgroup ? "subgroup" : "group"))
        return code(Status::invalid);
    // An empty text leaves its value alone.
    Home::PlaceValues values;
    if (!group_name.empty())
        values.name = group_name;
    if (!group_nick.empty())
        values.nick = group_nick;
    if (!background_image.empty())
        values.image = background_image;
    const Status status = subgroup ? home_.change_room(id, values) : home_.change_location(id, values);
    if (status != Status::ok)
        return code(status);
    return answer_later(on_result, id, std::string{"updated"}, 0);
}

}  // namespace quorvel::agent
