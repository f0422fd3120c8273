// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include "service/home_service.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;
using home::parse_json;
using home::to_text;

namespace {

// ["lamp-1", "lamp-2"], or the same with {"deviceId": "lamp-1"} as elements.
std::optional<std::vector<std::string>> ids_of(std::string_view text)
{
    const auto json = parse_json(text);
    if (!json || !json->is_array() || json->empty())
        return std::nullopt;
    std::vector<std::string> ids;
    for (const auto& item : *json) {
        ids.push_back(item.is_string() ? item.get<std::string>() : home::text_at(item, "deviceId"));
        if (ids.back().empty())
            return std::nullopt;
    }
    return ids;
}

Json group_json(const home::DeviceGroup& group)
{
    return {{"deviceGroupId", group.id},    {"name", group.name},   {"type", group.type},
            {"locationId", group.location}, {"roomId", group.room}, {"deviceIds", group.devices}};
}

std::string no_group(std::string_view id)
{
    return fmt::format("no device group '{}'", id);
}

}  // namespace

int HomeService::core_get_device_group(Client&, std::string_view device_group_id,
                                       Out<device_group_s>& device_group)
{
    const home::DeviceGroup* group = home_.groups().find(device_group_id);
    if (group == nullptr)
        return code(Status::no_data);
    device_group = device_group_record(home_, *group);
    return 0;
}

int HomeService::core_get_device_group_list(Client&, Out<array_device_group_s>& device_groups, int& count)
{
    for (const auto& group : home_.groups())
        device_groups.made().push_back(device_group_record(home_, group));
    count = static_cast<int>(device_groups.get().size());
    return 0;
}

int HomeService::core_create_device_group(Client&, std::string_view name, std::string_view type,
                                          std::string_view devices, std::string_view room_id, Text& result)
{
    const auto ids = ids_of(devices);
    home::DeviceGroup group;
    group.name = name;
    group.type = type;
    group.room = room_id;
    if (ids)
        group.devices = *ids;
    std::string id;
    const Status status = home_.add_group(group, id);
    if (status == Status::no_data)
        return fails(result, status, "a device or the room is not there");
    return status == Status::ok
               ? done(result, group_json(*home_.groups().find(id)))
               : fails(result, status, "expected a name, a type and a JSON list of device ids");
}

int HomeService::core_update_device_group(Client&, std::string_view device_group_id, std::string_view name,
                                          std::string_view devices, std::string_view room_id, Text& result)
{
    if (!home_.groups().contains(device_group_id))
        return fails(result, Status::no_data, no_group(device_group_id));
    const auto ids = ids_of(devices);
    if (!ids && !devices.empty())
        return fails(result, Status::invalid, "expected a JSON list of device ids");
    const Status status = home_.change_group(device_group_id, std::string{name},
                                             ids.value_or(std::vector<std::string>{}), std::string{room_id});
    return status == Status::ok ? done(result, group_json(*home_.groups().find(device_group_id)))
                                : fails(result, status, "a device or the room is not there");
}

int HomeService::core_delete_device_group(Client&, std::string_view device_group_id, Text& result)
{
    const std::string id{device_group_id};
    const Status status = home_.remove_group(id);
    return status == Status::ok ? done(result, {{"deviceGroupId", id}, {"deleted", true}})
                                : fails(result, status, no_group(id));
}

int HomeService::core_execute_device_group(Client&, std::string_view device_group_id,
                                           std::string_view commands, Text& result)
{
    const home::DeviceGroup* group = home_.groups().find(device_group_id);
    if (group == nullptr)
        return fails(result, Status::no_data, no_group(device_group_id));
    const auto list = parse_json(commands);
    if (!list)
        return fails(result, Status::invalid, "expected a JSON list of commands");
    Json devices = Json::array();
    Status status = Status::ok;
    for (const std::string& id : std::vector<std::string>{group->devices}) {
        std::vector<home::CommandResult> all;
        const Status each = home_.execute(id, *list, all);
        if (each == Status::invalid && all.empty())
            return fails(result, each, "expected a JSON list of {component, capability, command, arguments}");
        Json item{{"deviceId", id}, {"status", each == Status::ok ? "COMPLETED" : "FAILED"}};
        for (const auto& one : all)
            if (one.status != Status::ok && !item.contains("message"))
                item["message"] = one.message;
        devices.push_back(std::move(item));
        if (status == Status::ok)
            status = each;
    }
    result = to_text({{"deviceGroupId", device_group_id}, {"results", std::move(devices)}});
    return code(status);
}

int HomeService::core_get_device_group_devices_status(Client&, std::string_view device_group_id, Text& status)
{
    const home::DeviceGroup* group = home_.groups().find(device_group_id);
    if (group == nullptr)
        return fails(status, Status::no_data, no_group(device_group_id));
    Json devices = Json::array();
    for (const auto& id : group->devices)
        if (const home::Device* device = home_.devices().find(id))
            devices.push_back(device_status_json(*device));
    return done(status, {{"deviceGroupId", group->id}, {"devices", std::move(devices)}});
}

}  // namespace quorvel::agent
