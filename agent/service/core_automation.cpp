// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include "service/home_service.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;
using home::parse_json;

namespace {

std::string none(const char* what, std::string_view location, std::string_view id)
{
    return fmt::format("no {} '{}' in '{}'", what, id, location);
}

constexpr const char* not_json = "expected a JSON object";

}  // namespace

int HomeService::core_get_rule_json(Client&, std::string_view location_id, std::string_view rule_id,
                                    Text& json)
{
    const home::Rule* rule = home_.rule_in(location_id, rule_id);
    return rule == nullptr ? fails(json, Status::no_data, none("rule", location_id, rule_id))
                           : done(json, rule_json(*rule));
}

int HomeService::core_get_rule_list_json(Client&, std::string_view location_id, Text& json)
{
    const home::Location* location = home_.locations().find(location_id);
    if (location == nullptr)
        return fails(json, Status::no_data, fmt::format("no location '{}'", location_id));
    Json items = Json::array();
    for (const auto& [order, rule] : location->rules)
        items.push_back(rule_json(*home_.rules().find(rule)));
    return done(json, {{"count", items.size()}, {"items", std::move(items)}});
}

int HomeService::core_create_rule(Client&, std::string_view location_id, std::string_view rule, Text& result)
{
    const auto body = parse_json(rule);
    std::string id;
    std::string problem = not_json;
    const Status status = body ? home_.add_rule(location_id, *body, id, problem) : Status::invalid;
    return status == Status::ok ? done(result, rule_json(*home_.rules().find(id)))
                                : fails(result, status, problem);
}

int HomeService::core_update_rule(Client&, std::string_view location_id, std::string_view rule_id,
                                  std::string_view rule, Text& result)
{
    if (home_.rule_in(location_id, rule_id) == nullptr)
        return fails(result, Status::no_data, none("rule", location_id, rule_id));
    const auto body = parse_json(rule);
    std::string problem = not_json;
    const Status status = body ? home_.change_rule(rule_id, *body, problem) : Status::invalid;
    return status == Status::ok ? done(result, rule_json(*home_.rules().find(rule_id)))
                                : fails(result, status, problem);
}

int HomeService::core_delete_rule(Client&, std::string_view location_id, std::string_view rule_id,
                                  Text& result)
{
    if (home_.rule_in(location_id, rule_id) == nullptr)
        return fails(result, Status::no_data, none("rule", location_id, rule_id));
    const std::string id{rule_id};
    home_.remove_rule(id);
    return done(result, {{"ruleId", id}, {"deleted", true}});
}

int HomeService::core_get_rule(Client&, std::string_view location_id, std::string_view rule_id,
                               Out<core_rule_s>& rule)
{
    const home::Rule* found = home_.rule_in(location_id, rule_id);
    if (found == nullptr)
        return code(Status::no_data);
    rule = core_rule_record(*found);
    return 0;
}

int HomeService::core_get_rule_list(Client&, std::string_view location_id, Out<array_core_rule_s>& rules,
                                    int& count)
{
    const home::Location* location = home_.locations().find(location_id);
    if (location == nullptr)
        return code(Status::no_data);
    for (const auto& [order, rule] : location->rules)
        rules.made().push_back(core_rule_record(*home_.rules().find(rule)));
    count = static_cast<int>(rules.get().size());
    return 0;
}

int HomeService::core_execute_rule(Client&, std::string_view location_id, std::string_view rule_id,
                                   Text& result)
{
    if (home_.rule_in(location_id, rule_id) == nullptr)
        return fails(result, Status::no_data, none("rule", location_id, rule_id));
    std::vector<home::CommandResult> all;
    const Status status = home_.run_rule(rule_id, all);
    return results(result, status, all, {{"ruleId", rule_id}});
}

int HomeService::core_update_rule_status(Client&, std::string_view location_id, std::string_view rule_id,
                                         bool enabled, Text& result)
{
    if (home_.rule_in(location_id, rule_id) == nullptr)
        return fails(result, Status::no_data, none("rule", location_id, rule_id));
    home_.enable_rule(rule_id, enabled);
    return done(result, rule_json(*home_.rules().find(rule_id)));
}

int HomeService::core_create_scene(Client&, std::string_view location_id, std::string_view scene,
                                   Text& result)
{
    const auto body = parse_json(scene);
    std::string id;
    std::string problem = not_json;
    const Status status = body ? home_.add_scene(location_id, *body, id, problem) : Status::invalid;
    return status == Status::ok ? done(result, scene_json(*home_.scenes().find(id)))
                                : fails(result, status, problem);
}

int HomeService::core_update_scene(Client&, std::string_view location_id, std::string_view scene_id,
                                   std::string_view scene, Text& result)
{
    if (home_.scene_in(location_id, scene_id) == nullptr)
        return fails(result, Status::no_data, none("scene", location_id, scene_id));
    const auto body = parse_json(scene);
    std::string problem = not_json;
    const Status status = body ? home_.change_scene(scene_id, *body, problem) : Status::invalid;
    return status == Status::ok ? done(result, scene_json(*home_.scenes().find(scene_id)))
                                : fails(result, status, problem);
}

int HomeService::core_delete_scene(Client&, std::string_view location_id, std::string_view scene_id,
                                   Text& result)
{
    if (home_.scene_in(location_id, scene_id) == nullptr)
        return fails(result, Status::no_data, none("scene", location_id, scene_id));
    const std::string id{scene_id};
    home_.remove_scene(id);
    return done(result, {{"sceneId", id}, {"deleted", true}});
}

int HomeService::core_get_scene(Client&, std::string_view location_id, std::string_view scene_id,
                                Out<core_scene_s>& scene)
{
    const home::Scene* found = home_.scene_in(location_id, scene_id);
    if (found == nullptr)
        return code(Status::no_data);
    scene = core_scene_record(*found);
    return 0;
}

int HomeService::core_get_scene_list(Client&, std::string_view location_id, Out<array_core_scene_s>& scenes,
                                     int& count)
{
    const home::Location* location = home_.locations().find(location_id);
    if (location == nullptr)
        return code(Status::no_data);
    for (const auto& [order, scene] : location->scenes)
        scenes.made().push_back(core_scene_record(*home_.scenes().find(scene)));
    count = static_cast<int>(scenes.get().size());
    return 0;
}

int HomeService::core_execute_scene(Client&, std::string_view location_id, std::string_view scene_id,
                                    Text& result)
{
    if (home_.scene_in(location_id, scene_id) == nullptr)
        return fails(result, Status::no_data, none("scene", location_id, scene_id));
    std::vector<home::CommandResult> all;
    const Status status = home_.run_scene(scene_id, all);
    return results(result, status, all, {{"sceneId", scene_id}});
}

int HomeService::core_execute_adhoc_scene(Client&, std::string_view location_id, std::string_view scene,
                                          Text& result)
{
    const auto body = parse_json(scene);
    std::vector<home::CommandResult> all;
    std::string problem = not_json;
    const Status status = body ? home_.run_actions(location_id, *body, all, problem) : Status::invalid;
    return all.empty() ? fails(result, status, problem)
                       : results(result, status, all, {{"locationId", location_id}});
}

}  // namespace quorvel::agent
