// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "home/home.hpp"
#include "stub/qv_client_stub.hpp"

// The home as clients see it: the JSON texts and the records, made from the one state when they are asked
// for. docs/agent.md shows each of them.
namespace quorvel::agent {

using home::Home;
using home::Json;

Json device_json(const Home& home, const home::Device& device);
Json device_health_json(const Home& home, const home::Device& device);
Json device_status_json(const home::Device& device);
Json component_status_json(const home::Device& device, const home::Component& component);
Json capability_status_json(const home::Device& device, const home::Component::Use& use);
Json presentation_json(const home::Model& model, const std::string& locale, bool detailed);
Json metadata_json(const Home& home, const home::Model& model);
Json location_json(const Home& home, const home::Location& location);
Json room_json(const Home& home, const home::Room& room);
Json users_json(const home::Location& location);
Json scene_json(const home::Scene& scene);
Json rule_json(const home::Rule& rule);
Json hub_json(const Home& home, const home::Device& hub);
Json history_json(const home::HistoryItem& item);
Json representation_json(const Home& home, const home::Device& device, const home::Resource& resource);

stub::device_s device_record(const home::Device& device);
stub::device_detail_s detail_record(const Home& home, const home::Device& device);
stub::group_s group_record(const Home& home, const home::Location& location);
stub::group_s group_record(const Home& home, const home::Room& room);
stub::scene_s scene_record(const home::Scene& scene);
stub::core_device_s core_device_record(const Home& home, const home::Device& device);
stub::location_s location_record(const home::Location& location);
stub::room_s room_record(const home::Room& room);
stub::core_scene_s core_scene_record(const home::Scene& scene);
stub::core_rule_s core_rule_record(const home::Rule& rule);
stub::favorite_s favorite_record(const home::Favorite& favorite);
stub::device_group_s device_group_record(const Home& home, const home::DeviceGroup& group);
stub::installed_app_s installed_app_record(const home::InstalledApp& app);
stub::app_launch_condition_s condition_record(const home::LaunchCondition& condition);
stub::access_point_s access_point_record(const home::AccessPoint& point);

// "locationId=home&roomId=living&limit=20". A text without = is a location's id; an empty one filters
// nothing. None when a key is not known.
class Filter {
public:
    static std::optional<Filter> read(std::string_view text, std::initializer_list<std::string_view> keys);

    std::string value(std::string_view key) const;
    bool matches(std::string_view key, std::string_view value) const;

private:
    std::vector<std::pair<std::string, std::string>> values_;
};

// The URIs of a subscription: a JSON list, or texts between commas.
std::vector<std::string> split_uris(std::string_view text);

}  // namespace quorvel::agent
