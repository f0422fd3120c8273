// SPDX-License-Identifier: Apache-2.0
// Scenes, rules and launch conditions: what the home does when it is told to and when something happens.
//
//   scene   {name, icon?, actions: [action]}
//   rule    {name, when: condition, for?: time, then: [action], else?: [action]}
//   action  {device, set: {attribute: value}}
//         | {device, component?, capability, command, arguments?}
//         | {scene} | {notify: text, title?} | {place: id}          (a scene of the same home; a
//         notification)
//   condition  {device, attribute, is | not | above | below: value}
//            | {all: [condition]} | {any: [condition]} | {every: time} | {at: "18:30"} | {scene: id}
#include <fmt/format.h>

#include <algorithm>

#include "home/home.hpp"

namespace quorvel::home {

namespace {

constexpr std::size_t most_scenes = 10'000;
constexpr std::size_t most_rules = 10'000;
constexpr std::size_t most_history = 5'000;
constexpr int deepest_run = 8;
constexpr std::int64_t day = 86'400'000;

std::optional<std::int64_t> time_in(const Json& value)
{
    if (value.is_number_unsigned())
        return value.get<std::int64_t>();
    if (!value.is_string())
        return std::nullopt;
    try {
        return Node::from(value, "time").milliseconds();
    } catch (const DocumentError&) {
        return std::nullopt;
    }
}

// "18:30" as milliseconds of the day.
std::optional<std::int64_t> time_of_day(const Json& value)
{
    if (!value.is_string())
        return std::nullopt;
    const std::string& text = value.get_ref<const std::string&>();
    const auto digit = [&](std::size_t i) { return text[i] - '0'; };
    if (text.size() != 5 || text[2] != ':' || text.find_first_not_of("0123456789:") != std::string::npos
        || text.find(':', 3) != std::string::npos)
        return std::nullopt;
    const int hours = digit(0) * 10 + digit(1);
    const int minutes = digit(3) * 10 + digit(4);
    if (hours > 23 || minutes > 59)
        return std::nullopt;
    return (hours * 60 + minutes) * 60'000LL;
}

std::string text_of(const Json& value)
{
    return value.is_string() ? value.get<std::string>() : to_text(value);
}

}  // namespace

// --- Actions -----------------------------------------------------------------------------------------------

bool Home::check_actions(const Json& actions, std::string& problem) const
{
    if (!actions.is_array() || actions.empty()) {
        problem = "expected a list of actions";
        return false;
    }
    for (const auto& action : actions) {
        const std::string device = text_at(action, "device");
        if (!device.empty()) {
            const Device* found = c_.devices.find(device);
            if (found == nullptr) {
                problem = fmt::format("no device '{}'", device);
                return false;
            }
            if (action.contains("set")) {
                if (!action["set"].is_object() || action["set"].empty()) {
                    problem = "expected 'set' to be a map of attributes";
                    return false;
                }
                for (const auto& [name, value] : action["set"].items()) {
                    const auto slot = found->model->slot(name);
                    if (!slot || !found->model->slots[*slot].attribute->accept(value)) {
                        problem = slot ? fmt::format("expected {} for '{}'",
                                                     found->model->slots[*slot].attribute->expected(), name)
                                       : fmt::format("device '{}' has no attribute '{}'", device, name);
                        return false;
                    }
                }
            } else if (text_at(action, "capability").empty() || text_at(action, "command").empty()) {
                problem = "expected 'set', or 'capability' and 'command', in an action on a device";
                return false;
            }
        } else if (text_at(action, "scene").empty() && text_at(action, "notify").empty()) {
            problem = "expected 'device', 'scene' or 'notify' in an action";
            return false;
        }
    }
    return true;
}

CommandResult Home::set_by_action(std::string_view id, const Json& values)
{
    Device* device = c_.devices.find(id);
    if (device == nullptr)
        return {Status::no_data, fmt::format("no device '{}'", id)};
    if (!reachable(*device))
        return {Status::unreachable, fmt::format("device '{}' cannot be reached", id)};
    std::vector<std::pair<std::size_t, Json>> changes;
    for (const auto& [name, value] : values.items()) {
        const auto slot = device->model->slot(name);
        if (!slot)
            return {Status::no_data, fmt::format("device '{}' has no attribute '{}'", id, name)};
        const AttributeDef& def = *device->model->slots[*slot].attribute;
        auto accepted = def.accept(value);
        if (!accepted)
            return {Status::invalid, fmt::format("expected {} for '{}'", def.expected(), name)};
        changes.emplace_back(*slot, std::move(*accepted));
    }
    for (auto& [slot, value] : changes)
        set_attribute(*device, slot, std::move(value));
    return {};
}

void Home::run_one(const Json& action, const std::string& location, std::vector<CommandResult>& results)
{
    const std::string device = text_at(action, "device");
    if (!device.empty() && action.contains("set")) {
        results.push_back(set_by_action(device, action["set"]));
    } else if (!device.empty()) {
        results.push_back(command(device, text_at(action, "component", "main"), text_at(action, "capability"),
                                  text_at(action, "command"),
                                  action.contains("arguments") ? action["arguments"] : Json()));
    } else if (const std::string scene = text_at(action, "scene"); !scene.empty()) {
        const Status status = run_scene(scene, results);
        if (status == Status::no_data && !c_.scenes.contains(scene))
            results.push_back({status, fmt::format("no scene '{}'", scene)});
    } else {
        notify("automation", text_at(action, "title", "Automation"), text_at(action, "notify"), location);
        results.push_back({});
    }
}

void Home::run(const Json& actions, const std::string& location, std::vector<CommandResult>& results)
{
    // A scene that runs itself, or a ring of them, ends here.
    if (depth_ >= deepest_run) {
        results.push_back({Status::failed, "scenes run each other too deeply"});
        return;
    }
    ++depth_;
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be removed while it runs.
    const Json list = actions;
    if (list.is_array())
        for (const auto& action : list)
            run_one(action, location, results);
    --depth_;
}

// --- Scenes ------------------------------------------------------------------------------------------------

Status Home::add_scene(std::string_view location, const Json& body, std::string& id, std::string& problem)
{
    Location* place = c_.locations.find(location);
    if (place == nullptr) {
        problem = fmt::format("no location '{}'", location);
        return Status::no_data;
    }
    if (!body.is_object() || text_at(body, "name").empty()) {
        problem = "expected a JSON object with a name";
        return Status::invalid;
    }
    if (!check_actions(body.value("actions", Json()), problem))
        return Status::invalid;
    if (c_.scenes.size() >= most_scenes)
        return Status::no_space;
    Scene scene;
    scene.order = next_order();
    scene.id = id = new_id("scene");
    scene.location = place->id;
    scene.body = body;
    place->scenes.emplace(scene.order, scene.id);
    c_.scenes.add(std::move(scene));
    touch(Kind::scene, id);
    tell(event::SceneChanged{What::added, id, place->id});
    return Status::ok;
}

Status Home::change_scene(std::string_view id, const Json& body, std::string& problem)
{
    Scene* scene = c_.scenes.find(id);
    if (scene == nullptr) {
        problem = fmt::format("no scene '{}'", id);
        return Status::no_data;
    }
    if (!body.is_object()) {
        problem = "expected a JSON object";
        return Status::invalid;
    }
    if (body.contains("actions") && !check_actions(body["actions"], problem))
        return Status::invalid;
    if (body.contains("name") && text_at(body, "name").empty()) {
        problem = "expected a name";
        return Status::invalid;
    }
    for (const auto& [key, value] : body.items())
        if (key != "sceneId" && key != "locationId" && key != "lastExecuted")
            scene->body[key] = value;
    touch(Kind::scene, scene->id);
    tell(event::SceneChanged{What::changed, scene->id, scene->location});
    return Status::ok;
}

Status Home::remove_scene(std::string_view id)
{
    const Scene* scene = c_.scenes.find(id);
    if (scene == nullptr)
        return Status::no_data;
    const event::SceneChanged event{What::removed, scene->id, scene->location};
    c_.locations.find(event.location)->scenes.erase({scene->order, scene->id});
    c_.scenes.remove(event.id);
    touch(Kind::scene, event.id);
    std::vector<std::string> favorites;
    for (const auto& favorite : c_.favorites)
        if (favorite.member_type == "SCENE" && favorite.member == event.id)
            favorites.push_back(favorite.id);
    for (const auto& favorite : favorites)
        remove_favorite(favorite);
    tell(event);
    return Status::ok;
}

Status Home::run_scene(std::string_view id, std::vector<CommandResult>& results)
{
    Scene* scene = c_.scenes.find(id);
    if (scene == nullptr)
        return Status::no_data;
    const std::string name = text_at(scene->body, "name", scene->id);
    const std::string location = scene->location;
    const std::string own = scene->id;
    scene->last_run = clock_.now();
    touch(Kind::scene, own);
    const Cause cause{*this, "scene " + own};
    const std::size_t before = results.size();
    run(scene->body["actions"], location, results);
    Status status = Status::ok;
    for (std::size_t i = before; i < results.size() && status == Status::ok; ++i)
        status = results[i].status;
    tell(event::SceneRan{own, location, name, status == Status::ok});
    return status;
}

Status Home::run_actions(std::string_view location, const Json& body, std::vector<CommandResult>& results,
                         std::string& problem)
{
    const Location* place = c_.locations.find(location);
    if (place == nullptr) {
        problem = fmt::format("no location '{}'", location);
        return Status::no_data;
    }
    const Json actions = body.is_object() ? body.value("actions", Json()) : body;
    if (!check_actions(actions, problem))
        return Status::invalid;
    const Cause cause{*this, "scene"};
    run(actions, place->id, results);
    Status status = Status::ok;
    for (const auto& result : results)
        if (status == Status::ok)
            status = result.status;
    tell(event::SceneRan{"", place->id, text_at(body, "name", "ad hoc"), status == Status::ok});
    return status;
}

// --- Rules -------------------------------------------------------------------------------------------------

bool Home::check_condition(const Json& condition, std::string& problem) const
{
    if (!condition.is_object()) {
        problem = "expected a condition";
        return false;
    }
    for (const char* list : {"all", "any"})
        if (condition.contains(list)) {
            if (!condition[list].is_array() || condition[list].empty()) {
                problem = fmt::format("expected '{}' to be a list of conditions", list);
                return false;
            }
            return std::all_of(condition[list].begin(), condition[list].end(),
                               [&](const Json& each) { return check_condition(each, problem); });
        }
    if (condition.contains("every")) {
        const auto time = time_in(condition["every"]);
        if (!time || *time < 1000)
            problem = "expected 'every' to be a time of at least 1s";
        return time && *time >= 1000;
    }
    if (condition.contains("at")) {
        if (!time_of_day(condition["at"]))
            problem = "expected 'at' to be a time of the day such as 18:30";
        return time_of_day(condition["at"]).has_value();
    }
    if (condition.contains("scene")) {
        const std::string scene = text_at(condition, "scene");
        if (!c_.scenes.contains(scene))
            problem = fmt::format("no scene '{}'", scene);
        return c_.scenes.contains(scene);
    }
    const std::string device = text_at(condition, "device");
    const Device* found = c_.devices.find(device);
    if (found == nullptr) {
        problem = device.empty() ? "expected 'device', 'all', 'any', 'every', 'at' or 'scene' in a condition"
                                 : fmt::format("no device '{}'", device);
        return false;
    }
    if (!found->model->slot(text_at(condition, "attribute"))) {
        problem = fmt::format("device '{}' has no attribute '{}'", device, text_at(condition, "attribute"));
        return false;
    }
    for (const char* test : {"is", "not"})
        if (condition.contains(test))
            return true;
    for (const char* test : {"above", "below"})
        if (condition.contains(test)) {
            if (!condition[test].is_number())
                problem = fmt::format("expected '{}' to be a number", test);
            return condition[test].is_number();
        }
    problem = "expected 'is', 'not', 'above' or 'below' in a condition on a device";
    return false;
}

bool Home::check_rule(const Json& body, std::string& problem) const
{
    if (!body.is_object() || text_at(body, "name").empty()) {
        problem = "expected a JSON object with a name";
        return false;
    }
    if (body.contains("for") && !time_in(body["for"])) {
        problem = "expected 'for' to be a time such as 30s";
        return false;
    }
    return check_condition(body.value("when", Json()), problem)
           && check_actions(body.value("then", Json()), problem)
           && (!body.contains("else") || check_actions(body["else"], problem));
}

bool Home::holds(const Json& condition) const
{
    if (condition.contains("all"))
        return std::all_of(condition["all"].begin(), condition["all"].end(),
                           [&](const Json& each) { return holds(each); });
    if (condition.contains("any"))
        return std::any_of(condition["any"].begin(), condition["any"].end(),
                           [&](const Json& each) { return holds(each); });
    const Device* device = c_.devices.find(text_at(condition, "device"));
    if (device == nullptr)
        return false;
    const auto slot = device->model->slot(text_at(condition, "attribute"));
    if (!slot)
        return false;
    const Json& now = value(*device, *slot);
    if (condition.contains("is"))
        return now == condition["is"];
    if (condition.contains("not"))
        return now != condition["not"];
    if (!now.is_number())
        return false;
    return condition.contains("above") ? now.get<double>() > condition["above"].get<double>()
                                       : now.get<double>() < condition.value("below", -1e300);
}

void Home::each_device_of(const Json& condition, const std::function<void(const std::string&)>& visit) const
{
    for (const char* list : {"all", "any"})
        if (condition.contains(list))
            for (const auto& each : condition[list])
                each_device_of(each, visit);
    if (const std::string device = text_at(condition, "device"); !device.empty())
        visit(device);
}

void Home::index_rule(const Rule& rule, bool add)
{
    const Json when = rule.body.is_object() ? rule.body.value("when", Json::object()) : Json::object();
    const auto update = [&](auto& index, const std::string& key) {
        if (add) {
            index[key].insert(rule.id);
        } else if (const auto found = index.find(key); found != index.end()) {
            found->second.erase(rule.id);
            if (found->second.empty())
                index.erase(found);
        }
    };
    each_device_of(when, [&](const std::string& device) { update(rules_of_device_, device); });
    if (const std::string scene = text_at(when, "scene"); !scene.empty())
        update(rules_of_scene_, scene);
}

// Sets the timer of a rule that goes by time.
void Home::arm_rule(Rule& rule)
{
    clock_.cancel(std::exchange(rule.timer, Clock::none));
    if (!rule.enabled || !rule.body.contains("when"))
        return;
    const Json& when = rule.body["when"];
    std::int64_t wait = 0;
    if (when.contains("every")) {
        wait = time_in(when["every"]).value_or(day);
    } else if (when.contains("at")) {
        const std::int64_t now = clock_.now() % day;
        wait = time_of_day(when["at"]).value_or(0) - now;
        if (wait <= 0)
            wait += day;
    } else {
        return;
    }
    rule.timer = clock_.after(wait, [this, id = rule.id] {
        if (Rule* found = c_.rules.find(id)) {
            found->timer = Clock::none;
            fire_rule(*found, true);
            if (Rule* still = c_.rules.find(id))
                arm_rule(*still);
            commit();
        }
    });
}

// A rule acts when its condition becomes true (and `for` passed), not for as long as it is.
void Home::look_at_rule(Rule& rule)
{
    const Json& when = rule.body["when"];
    if (!rule.enabled || when.contains("every") || when.contains("at") || when.contains("scene"))
        return;
    const bool now = holds(when);
    if (now == rule.holds)
        return;
    rule.holds = now;
    clock_.cancel(std::exchange(rule.timer, Clock::none));
    const auto hold = rule.body.contains("for") ? time_in(rule.body["for"]) : std::nullopt;
    if (!now || !hold) {
        fire_rule(rule, now);
        return;
    }
    rule.timer = clock_.after(*hold, [this, id = rule.id] {
        if (Rule* found = c_.rules.find(id)) {
            found->timer = Clock::none;
            fire_rule(*found, true);
            commit();
        }
    });
}

void Home::fire_rule(Rule& rule, bool well)
{
    if (!well && !rule.body.contains("else"))
        return;
    const std::string id = rule.id;
    const std::string location = rule.location;
    rule.last_run = clock_.now();
    touch(Kind::rule, id);
    const Cause cause{*this, "rule " + id};
    std::vector<CommandResult> results;
    run(rule.body[well ? "then" : "else"], location, results);
    const bool fine = std::all_of(results.begin(), results.end(),
                                  [](const CommandResult& each) { return each.status == Status::ok; });
    tell(event::RuleRan{id, location, fine});
}

Status Home::add_rule(std::string_view location, const Json& body, std::string& id, std::string& problem)
{
    Location* place = c_.locations.find(location);
    if (place == nullptr) {
        problem = fmt::format("no location '{}'", location);
        return Status::no_data;
    }
    if (!check_rule(body, problem))
        return Status::invalid;
    if (c_.rules.size() >= most_rules)
        return Status::no_space;
    Rule rule;
    rule.order = next_order();
    rule.id = id = new_id("rule");
    rule.location = place->id;
    rule.body = body;
    if (body.contains("enabled") && body["enabled"].is_boolean())
        rule.enabled = body["enabled"].get<bool>();
    rule.body.erase("enabled");
    rule.holds = holds(rule.body["when"]);
    place->rules.emplace(rule.order, rule.id);
    Rule& added = c_.rules.add(std::move(rule));
    index_rule(added, true);
    arm_rule(added);
    touch(Kind::rule, id);
    tell(event::RuleChanged{What::added, id, place->id});
    return Status::ok;
}

Status Home::change_rule(std::string_view id, const Json& body, std::string& problem)
{
    Rule* rule = c_.rules.find(id);
    if (rule == nullptr) {
        problem = fmt::format("no rule '{}'", id);
        return Status::no_data;
    }
    if (!body.is_object()) {
        problem = "expected a JSON object";
        return Status::invalid;
    }
    Json merged = rule->body;
    for (const auto& [key, value] : body.items())
        if (key != "ruleId" && key != "locationId" && key != "enabled" && key != "lastExecuted")
            merged[key] = value;
    if (!check_rule(merged, problem))
        return Status::invalid;
    index_rule(*rule, false);
    rule->body = std::move(merged);
    if (body.contains("enabled") && body["enabled"].is_boolean())
        rule->enabled = body["enabled"].get<bool>();
    rule->holds = holds(rule->body["when"]);
    index_rule(*rule, true);
    arm_rule(*rule);
    touch(Kind::rule, rule->id);
    tell(event::RuleChanged{What::changed, rule->id, rule->location});
    return Status::ok;
}

Status Home::remove_rule(std::string_view id)
{
    Rule* rule = c_.rules.find(id);
    if (rule == nullptr)
        return Status::no_data;
    const event::RuleChanged event{What::removed, rule->id, rule->location};
    index_rule(*rule, false);
    clock_.cancel(rule->timer);
    c_.locations.find(event.location)->rules.erase({rule->order, rule->id});
    c_.rules.remove(event.id);
    touch(Kind::rule, event.id);
    tell(event);
    return Status::ok;
}

Status Home::enable_rule(std::string_view id, bool enabled)
{
    Rule* rule = c_.rules.find(id);
    if (rule == nullptr)
        return Status::no_data;
    rule->enabled = enabled;
    rule->holds = holds(rule->body["when"]);
    arm_rule(*rule);
    touch(Kind::rule, rule->id);
    tell(event::RuleChanged{What::changed, rule->id, rule->location});
    return Status::ok;
}

Status Home::run_rule(std::string_view id, std::vector<CommandResult>& results)
{
    Rule* rule = c_.rules.find(id);
    if (rule == nullptr)
        return Status::no_data;
    const std::string own = rule->id;
    const std::string location = rule->location;
    rule->last_run = clock_.now();
    touch(Kind::rule, own);
    const Cause cause{*this, "rule " + own};
    run(rule->body["then"], location, results);
    Status status = Status::ok;
    for (const auto& result : results)
        if (status == Status::ok)
            status = result.status;
    tell(event::RuleRan{own, location, status == Status::ok});
    return status;
}

// --- Launch conditions -------------------------------------------------------------------------------------

const LaunchCondition* Home::find_condition(const LaunchCondition& wanted) const
{
    const auto watching = conditions_of_device_.find(wanted.device);
    if (watching == conditions_of_device_.end())
        return nullptr;
    for (const auto& id : watching->second) {
        const LaunchCondition& each = *c_.conditions.find(id);
        if (each.app == wanted.app && each.uri == wanted.uri && each.property == wanted.property
            && each.value == wanted.value)
            return &each;
    }
    return nullptr;
}

Status Home::add_condition(LaunchCondition condition)
{
    if (condition.app.empty() || condition.property.empty())
        return Status::invalid;
    const Device* device = c_.devices.find(condition.device);
    if (device == nullptr || device->model->resource(condition.uri) == nullptr)
        return Status::no_data;
    if (find_condition(condition) != nullptr)
        return Status::conflict;
    condition.order = next_order();
    condition.id = new_id("condition");
    conditions_of_device_[condition.device].insert(condition.id);
    touch(Kind::condition, condition.id);
    c_.conditions.add(std::move(condition));
    return Status::ok;
}

Status Home::remove_condition(const LaunchCondition& wanted)
{
    const LaunchCondition* found = find_condition(wanted);
    if (found == nullptr)
        return Status::no_data;
    const std::string id = found->id;
    auto& watching = conditions_of_device_[found->device];
    watching.erase(id);
    if (watching.empty())
        conditions_of_device_.erase(wanted.device);
    c_.conditions.remove(id);
    touch(Kind::condition, id);
    return Status::ok;
}

void Home::look_at_conditions(const event::AttributeChanged& change)
{
    const auto watching = conditions_of_device_.find(change.device);
    const Device* device = c_.devices.find(change.device);
    if (watching == conditions_of_device_.end() || device == nullptr)
        return;
    std::vector<LaunchCondition> met;
    for (const auto& id : watching->second) {
        const LaunchCondition& condition = *c_.conditions.find(id);
        const Resource* resource = device->model->resource(condition.uri);
        if (resource == nullptr || resource->def == nullptr)
            continue;
        const auto& all = resource->def->properties;
        const auto property = std::find_if(all.begin(), all.end(),
                                           [&](const auto& each) { return each.name == condition.property; });
        if (property == all.end() || resource->first + property->attribute != change.slot)
            continue;
        if (text_of(properties(*device, *resource)[condition.property]) == condition.value)
            met.push_back(condition);
    }
    for (const auto& condition : met) {
        record("activity", "Application launched",
               fmt::format("{} because {} of {} is {}", condition.app, condition.property,
                           device->shown_name(), condition.value),
               device->location, device->id, {{"applicationId", condition.app}});
        tell(event::Notified{"app-launch", condition.app, condition.bundle, device->location, device->id});
    }
}

// --- What follows from what happens ------------------------------------------------------------------------

void Home::hear(const Event& event)
{
    write_history(event);
    if (const auto* change = std::get_if<event::AttributeChanged>(&event)) {
        look_at_conditions(*change);
        if (const auto rules = rules_of_device_.find(change->device); rules != rules_of_device_.end())
            for (const std::string& id : std::set<std::string>{rules->second})
                if (Rule* rule = c_.rules.find(id))
                    look_at_rule(*rule);
    } else if (const auto* ran = std::get_if<event::SceneRan>(&event)) {
        if (const auto rules = rules_of_scene_.find(ran->id); rules != rules_of_scene_.end())
            for (const std::string& id : std::set<std::string>{rules->second})
                if (Rule* rule = c_.rules.find(id); rule != nullptr && rule->enabled)
                    fire_rule(*rule, true);
    }
}

void Home::record(const std::string& kind, const std::string& title, const std::string& text,
                  const std::string& location, const std::string& device, Json details)
{
    HistoryItem item;
    item.order = next_order();
    item.id = fmt::format("history-{}", item.order);
    item.kind = kind;
    item.time = clock_.now();
    item.location = location;
    item.device = device;
    item.title = title;
    item.text = text;
    item.details = std::move(details);
    touch(Kind::history, item.id);
    c_.history.add(std::move(item));
    while (c_.history.size() > most_history) {
        const std::string oldest = c_.history.front().id;
        c_.history.remove(oldest);
        touch(Kind::history, oldest);
    }
}

void Home::write_history(const Event& event)
{
    const auto verb = [](What what) {
        return what == What::added ? "added" : what == What::removed ? "removed" : "changed";
    };
    std::visit(
        Overloaded{
            [&](const event::AttributeChanged& change) {
                const Device* device = c_.devices.find(change.device);
                if (device == nullptr || change.cause == "device")
                    return;  // what changes by itself would bury what somebody did
                const Slot& slot = device->model->slots[change.slot];
                record("activity", device->shown_name(),
                       fmt::format("{} is {}", slot.attribute->name, text_of(change.value)), device->location,
                       device->id,
                       {{"component", device->model->components[slot.component].id},
                        {"capability", slot.capability->id},
                        {"attribute", slot.attribute->name},
                        {"value", change.value},
                        {"cause", change.cause}});
            },
            [&](const event::DeviceChanged& change) {
                if (change.aspect == "refreshed" || change.aspect == "restored")
                    return;
                record("activity", change.name,
                       change.what == What::changed ? fmt::format("{} changed", change.aspect)
                                                    : fmt::format("device {}", verb(change.what)),
                       change.location, change.id, {{"cause", cause_}});
            },
            [&](const event::HealthChanged& change) {
                if (const Device* device = c_.devices.find(change.device))
                    record("activity", device->shown_name(), fmt::format("is {}", change.state),
                           device->location, device->id, {{"state", change.state}});
            },
            [&](const event::SceneRan& ran) {
                record("activity", ran.name, ran.well ? "scene ran" : "scene ran in part", ran.location, "",
                       {{"sceneId", ran.id}});
            },
            [&](const event::RuleRan& ran) {
                const Rule* rule = c_.rules.find(ran.id);
                record("activity", rule ? text_at(rule->body, "name", ran.id) : ran.id,
                       ran.well ? "rule ran" : "rule ran in part", ran.location, "", {{"ruleId", ran.id}});
            },
            [&](const event::RoomChanged& change) {
                record("activity", change.name, fmt::format("room {}", verb(change.what)), change.location,
                       "");
            },
            [&](const event::LocationChanged& change) {
                record("activity", change.name, fmt::format("location {}", verb(change.what)), change.id, "");
            },
            [&](const event::AppChanged& change) {
                record("activity", change.id, fmt::format("app is {}", change.status), change.location, "",
                       {{"installedAppId", change.id}});
            },
            [](const auto&) {},
        },
        event);
}

}  // namespace quorvel::home
