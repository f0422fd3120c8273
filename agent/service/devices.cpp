// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "service/home_service.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;

namespace {

home::LaunchCondition condition_of(const app_launch_condition_s& record)
{
    home::LaunchCondition condition;
    condition.app = record.app_id;
    condition.device = record.device_id;
    condition.uri = record.res_uri;
    condition.property = record.property_name;
    condition.type = record.property_type;
    condition.value = record.property_value;
    condition.bundle = record.bundle_json;
    condition.reserved = record.reserved;
    return condition;
}

}  // namespace

// While the agent still gathers what it knows, it knows the first few devices only.
std::size_t HomeService::gathered() const
{
    const auto all = static_cast<double>(home_.devices().size());
    return static_cast<std::size_t>(std::floor(all * home_.gathered()));
}

std::vector<device_s> HomeService::device_list() const
{
    std::vector<device_s> list;
    const std::size_t most = gathered();
    list.reserve(most);
    for (const auto& device : home_.devices())
        if (list.size() < most)
            list.push_back(device_record(device));
    return list;
}

std::vector<device_detail_s> HomeService::detail_list() const
{
    std::vector<device_detail_s> list;
    const std::size_t most = gathered();
    list.reserve(most);
    for (const auto& device : home_.devices())
        if (list.size() < most)
            list.push_back(detail_record(home_, device));
    return list;
}

int HomeService::set_device_list_cb(Client&, const Delegate<device_list_cb>& on_changed)
{
    return device_lists_.set(on_changed);
}

int HomeService::unset_device_list_cb(Client& client)
{
    return device_lists_.unset(client);
}

int HomeService::get_device(Client&, Out<device_s>& device)
{
    device = device_s{home_.account().device, {"qv.d.agent"}};
    return 0;
}

int HomeService::get_device_list(Client&, Out<array_device_s>& devices, int& count)
{
    devices = device_list();
    count = static_cast<int>(devices.get().size());
    return 0;
}

int HomeService::set_device_detail_list_cb(Client&, const Delegate<device_detail_list_cb>& on_changed)
{
    return detail_lists_.set(on_changed);
}

int HomeService::unset_device_detail_list_cb(Client& client)
{
    return detail_lists_.unset(client);
}

int HomeService::get_device_detail(Client&, std::string_view device_id, Out<device_detail_s>& detail)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr)
        return code(Status::no_data);
    detail = detail_record(home_, *device);
    return 0;
}

int HomeService::get_device_detail_list(Client&, Out<array_device_detail_s>& details, int& count)
{
    details = detail_list();
    count = static_cast<int>(details.get().size());
    return 0;
}

int HomeService::get_is_caching_data(Client&, bool& caching)
{
    caching = home_.caching();
    return 0;
}

// The text after the group is the subgroup; an empty one puts the devices into the group itself. The group
// may also be a subgroup itself, since ids tell them apart.
int HomeService::move_devices(Client&, const array_string& device_ids, int count, std::string_view group_id,
                              std::string_view options, const Delegate<device_result_cb>& on_result)
{
    if (device_ids.empty() || count != static_cast<int>(device_ids.size()))
        return code(Status::invalid);
    std::string location{group_id};
    std::string room{options};
    if (const home::Room* subgroup = home_.rooms().find(group_id); subgroup != nullptr && room.empty()) {
        location = subgroup->location;
        room = subgroup->id;
    }
    if (!home_.locations().contains(location) || (!room.empty() && home_.room_in(location, room) == nullptr))
        return code(Status::no_data);
    for (const auto& id : device_ids)
        if (!home_.devices().contains(id))
            return code(Status::no_data);
    for (const auto& id : device_ids)
        home_.move_device(id, location, room);
    return answer_later(on_result, 0);
}

int HomeService::change_device_nick(Client&, std::string_view device_id, std::string_view nick,
                                    const Delegate<device_result_cb>& on_result)
{
    if (const Status status = home_.set_nick(device_id, std::string{nick}); status != Status::ok)
        return code(status);
    return answer_later(on_result, 0);
}

int HomeService::remove_device(Client&, std::string_view device_id,
                               const Delegate<device_result_cb>& on_result)
{
    if (const Status status = home_.remove_device(device_id); status != Status::ok)
        return code(status);
    return answer_later(on_result, 0);
}

int HomeService::add_app_launch_condition(Client&, const app_launch_condition_s& condition)
{
    return code(home_.add_condition(condition_of(condition)));
}

int HomeService::remove_app_launch_condition(Client&, const app_launch_condition_s& condition)
{
    return code(home_.remove_condition(condition_of(condition)));
}

int HomeService::is_app_launch_condition_added(Client&, const app_launch_condition_s& condition, bool& added)
{
    added = home_.find_condition(condition_of(condition)) != nullptr;
    return 0;
}

int HomeService::get_all_app_launch_conditions(Client&, Out<array_app_launch_condition_s>& conditions,
                                               int& count)
{
    for (const auto& condition : home_.conditions())
        conditions.made().push_back(condition_record(condition));
    count = static_cast<int>(conditions.get().size());
    return 0;
}

}  // namespace quorvel::agent
