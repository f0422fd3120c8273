// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "service/home_service.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;
using home::parse_json;
using home::rfc3339;
using home::to_text;

namespace {

// A representation may be given as it is read ({"properties": {…}}) or as its properties alone.
Json properties_of(const Json& given)
{
    return given.is_object() && given.contains("properties") ? given["properties"] : given;
}

}  // namespace

int HomeService::subscribe(Client& client, std::string_view device_id, std::string_view resource_uris,
                           std::string_view options, const Delegate<subscribe_cb>& on_event)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr)
        return code(Status::no_data);
    Subscription subscription{on_event, std::string{resource_uris}, split_uris(resource_uris),
                              std::string{options}};
    if (subscription.each.empty())
        return code(Status::invalid);
    if (subscription.each.front() == "*") {
        subscription.each.clear();
        for (const auto& resource : device->model->resources)
            if (resource.observable)
                subscription.each.push_back(resource.uri);
    }
    for (const auto& uri : subscription.each) {
        const home::Resource* resource = device->model->resource(uri);
        if (resource == nullptr)
            return code(Status::no_data);
        if (!resource->observable)
            return code(Status::invalid);
    }
    auto& list = subscriptions_[device->id];
    std::erase_if(list, [&](const Subscription& each) {
        return each.uris == resource_uris && each.delegate.client.lock().get() == &client;
    });
    list.push_back(std::move(subscription));
    return 0;
}

int HomeService::unsubscribe(Client& client, std::string_view device_id, std::string_view resource_uris)
{
    const auto list = subscriptions_.find(std::string{device_id});
    if (list == subscriptions_.end())
        return code(Status::no_data);
    const auto removed = std::erase_if(list->second, [&](const Subscription& each) {
        return each.delegate.client.lock().get() == &client
               && (resource_uris.empty() || each.uris == resource_uris);
    });
    if (list->second.empty())
        subscriptions_.erase(list);
    return code(removed > 0 ? Status::ok : Status::no_data);
}

// The state of now comes first, so that a watcher need not ask for it.
int HomeService::start_monitoring_network_state(Client& client, std::string_view device_id, std::string_view,
                                                const Delegate<start_monitoring_network_state_cb>& on_state)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr)
        return code(Status::no_data);
    auto& list = monitors_[device->id];
    std::erase_if(list, [&](const auto& each) { return each.client.lock().get() == &client; });
    list.push_back(on_state);
    return answer_later(on_state, device->id, home_.cloud_state(*device), std::string{"now"},
                        rfc3339(home_.clock().now()));
}

int HomeService::stop_monitoring_network_state(Client& client, std::string_view device_id)
{
    const auto list = monitors_.find(std::string{device_id});
    if (list == monitors_.end())
        return code(Status::no_data);
    const auto removed =
        std::erase_if(list->second, [&](const auto& each) { return each.client.lock().get() == &client; });
    if (list->second.empty())
        monitors_.erase(list);
    return code(removed > 0 ? Status::ok : Status::no_data);
}

namespace {

// The four methods below are two: reading or writing, and what is fired in the end.
struct Exchange {
    std::string device;
    std::string uri;
    std::optional<Json> write;
    bool whole;  // the representation, not its properties alone
    std::string query;
    std::string options;
};

template <typename Kind>
void finish(Home& home, const Exchange& exchange, const Delegate<Kind>& delegate, bool arrived)
{
    Status status = arrived ? Status::ok : Status::unreachable;
    std::string body;
    const home::Device* device = home.devices().find(exchange.device);
    const home::Resource* resource = device == nullptr ? nullptr : device->model->resource(exchange.uri);
    if (arrived && resource == nullptr)
        status = Status::no_data;
    else if (arrived && !home.reachable(*device))
        status = Status::unreachable;
    else if (arrived && exchange.write)
        status = home.write_resource(exchange.device, exchange.uri, *exchange.write, body);
    if (status == Status::ok && resource != nullptr) {
        const Status kept = home.commit();
        status = kept;
        body = to_text(exchange.whole ? representation_json(home, *device, *resource)
                                      : home.properties(*device, *resource));
    } else if (!body.empty()) {
        body = to_text({{"error", {{"code", code(status)}, {"message", body}}}});
    }
    fire(delegate, exchange.device, exchange.uri, body, exchange.query, exchange.options, code(status));
}

}  // namespace

int HomeService::set_remote_representation(Client&, std::string_view device_id, std::string_view resource_uri,
                                           std::string_view representation, std::string_view query,
                                           std::string_view options,
                                           const Delegate<remote_representation_cb>& on_result)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr || device->model->resource(resource_uri) == nullptr)
        return code(Status::no_data);
    const auto given = parse_json(representation);
    if (!given || !properties_of(*given).is_object())
        return code(Status::invalid);
    const Exchange exchange{device->id, std::string{resource_uri}, properties_of(*given),
                            true,       std::string{query},        std::string{options}};
    at_device(
        *device, [this, exchange, on_result] { finish(home_, exchange, on_result, true); },
        [this, exchange, on_result] { finish(home_, exchange, on_result, false); });
    return 0;
}

int HomeService::get_remote_representation(Client&, std::string_view device_id, std::string_view resource_uri,
                                           std::string_view query, std::string_view options,
                                           const Delegate<remote_representation_cb>& on_result)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr || device->model->resource(resource_uri) == nullptr)
        return code(Status::no_data);
    const Exchange exchange{device->id, std::string{resource_uri}, std::nullopt,
                            true,       std::string{query},        std::string{options}};
    at_device(
        *device, [this, exchange, on_result] { finish(home_, exchange, on_result, true); },
        [this, exchange, on_result] { finish(home_, exchange, on_result, false); });
    return 0;
}

int HomeService::set_remote_attributes(Client&, std::string_view device_id, std::string_view resource_uri,
                                       std::string_view attributes, std::string_view query,
                                       std::string_view options,
                                       const Delegate<remote_attributes_cb>& on_result)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr || device->model->resource(resource_uri) == nullptr)
        return code(Status::no_data);
    const auto given = parse_json(attributes);
    if (!given || !given->is_object())
        return code(Status::invalid);
    const Exchange exchange{device->id, std::string{resource_uri}, *given,
                            false,      std::string{query},        std::string{options}};
    at_device(
        *device, [this, exchange, on_result] { finish(home_, exchange, on_result, true); },
        [this, exchange, on_result] { finish(home_, exchange, on_result, false); });
    return 0;
}

int HomeService::get_remote_attributes(Client&, std::string_view device_id, std::string_view resource_uri,
                                       std::string_view query, std::string_view options,
                                       const Delegate<remote_attributes_cb>& on_result)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr || device->model->resource(resource_uri) == nullptr)
        return code(Status::no_data);
    const Exchange exchange{device->id, std::string{resource_uri}, std::nullopt,
                            false,      std::string{query},        std::string{options}};
    at_device(
        *device, [this, exchange, on_result] { finish(home_, exchange, on_result, true); },
        [this, exchange, on_result] { finish(home_, exchange, on_result, false); });
    return 0;
}

int HomeService::get_resource_uris(Client&, std::string_view device_id, std::string_view resource_type,
                                   Out<array_string>& resource_uris, int& count)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr)
        return code(Status::no_data);
    for (const auto& resource : device->model->resources)
        if (resource_type == "*"
            || std::find(resource.types.begin(), resource.types.end(), resource_type) != resource.types.end())
            resource_uris.made().push_back(resource.uri);
    count = static_cast<int>(resource_uris.get().size());
    return code(count > 0 ? Status::ok : Status::no_data);
}

int HomeService::get_resource_types_by_resource_uri(Client&, std::string_view device_id,
                                                    std::string_view resource_uri,
                                                    Out<array_string>& resource_types, int& count)
{
    const home::Device* device = home_.devices().find(device_id);
    const home::Resource* resource = device == nullptr ? nullptr : device->model->resource(resource_uri);
    if (resource == nullptr)
        return code(Status::no_data);
    resource_types.borrow(resource->types);
    count = static_cast<int>(resource->types.size());
    return 0;
}

// Accessories are the devices that are reached through another one.
int HomeService::get_accessory_list(Client&, const Delegate<get_accessory_list_cb>& on_list)
{
    Json list = Json::array();
    for (const auto& device : home_.devices())
        if (!device.parent.empty())
            list.push_back({{"deviceId", device.id},
                            {"name", device.shown_name()},
                            {"vid", device.model->vid},
                            {"parentDeviceId", device.parent},
                            {"cloudDeviceState", home_.cloud_state(device)}});
    return answer_later(on_list, to_text({{"accessories", std::move(list)}}), 0);
}

int HomeService::get_file_transfer_data(Client&, std::string_view device_id, std::string_view resource_uri,
                                        std::string_view options,
                                        const Delegate<file_transfer_data_cb>& on_files)
{
    const home::Device* device = home_.devices().find(device_id);
    if (device == nullptr || device->model->resource(resource_uri) == nullptr)
        return code(Status::no_data);
    // The text may name one file.
    at_device(
        *device,
        [this, id = device->id, uri = std::string{resource_uri}, wanted = std::string{options}, on_files] {
            array_transfer_data_s files;
            const home::Device* still = home_.devices().find(id);
            if (still != nullptr && home_.reachable(*still))
                for (const auto& file : still->files)
                    if (file.uri == uri && (wanted.empty() || wanted == file.name)) {
                        transfer_data_s record;
                        record.file_name = file.name;
                        record.file_data.add("TransferData", std::as_bytes(std::span{file.bytes}));
                        record.file_length = static_cast<int>(file.bytes.size());
                        files.push_back(std::move(record));
                    }
            const bool away = still == nullptr || !home_.reachable(*still);
            fire(on_files, files, static_cast<int>(files.size()),
                 files.empty() ? away ? "no data: the device cannot be reached" : "no data" : "complete",
                 code(away ? Status::unreachable : Status::ok));
        },
        [on_files] {
            fire(on_files, array_transfer_data_s{}, 0, "no data: the device did not answer",
                 code(Status::unreachable));
        });
    return 0;
}

}  // namespace quorvel::agent
