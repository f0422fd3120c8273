// SPDX-License-Identifier: Apache-2.0
#include "home/home.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace quorvel::home {

namespace {

// A rule that triggers itself must not keep the agent from answering.
constexpr int most_rounds = 64;

}  // namespace

Home::Home(ModelLibrary& models, Clock& clock) : models_(models), clock_(clock)
{
    Location place;
    place.id = "home";
    place.name = "Home";
    place.order = next_order();
    c_.locations.add(std::move(place));
    bus_.listen([this](const Event& event) { hear(event); });
}

Home::~Home()
{
    clock_.cancel(caching_timer_);
    for (auto& device : c_.devices)
        stop_dynamics(device);
    for (auto& rule : c_.rules)
        clock_.cancel(rule.timer);
    for (auto& [hub, search] : searches_)
        for (const auto timer : search.timers)
            clock_.cancel(timer);
}

void Home::load(const Node& home_file)
{
    take(read_home(home_file, models_, clock_.now()), false);
}

void Home::keep_in(std::unique_ptr<Store> store)
{
    if (!store->empty()) {
        take(read_state(*store, models_, clock_.now()), false);
        store_ = std::move(store);
        return;
    }
    store_ = std::move(store);
    for (const auto& place : c_.locations)
        touch(Kind::place, place.id);
    const auto all = [this](Kind kind, const auto& table) {
        for (const auto& thing : table)
            touch(kind, thing.id);
    };
    touch(Kind::agent, "agent");
    all(Kind::device, c_.devices);
    all(Kind::scene, c_.scenes);
    all(Kind::rule, c_.rules);
    all(Kind::group, c_.groups);
    all(Kind::favorite, c_.favorites);
    all(Kind::app, c_.apps);
    all(Kind::store_app, c_.store_apps);
    all(Kind::condition, c_.conditions);
    all(Kind::history, c_.history);
    all(Kind::enrollee, c_.enrollees);
    all(Kind::findable, c_.findables);
    if (commit() != Status::ok) {
        const std::string path = store_->path();
        store_.reset();
        throw DocumentError(fmt::format("{}: cannot be written", path));
    }
}

Json Home::save() const
{
    Json saved = write_home(c_);
    saved["agent"]["time"] = clock_.now();
    return saved;
}

void Home::restore(const Json& saved)
{
    Contents contents = read_home(Node::from(saved, "snapshot"), models_, clock_.now());
    take(std::move(contents), true);
}

// Takes new contents as a whole. `told` also tells the listeners that everything may be another.
void Home::take(Contents contents, bool told)
{
    for (auto& device : c_.devices)
        stop_dynamics(device);
    for (auto& rule : c_.rules)
        clock_.cancel(rule.timer);
    for (auto& [hub, search] : searches_)
        for (const auto timer : search.timers)
            clock_.cancel(timer);
    searches_.clear();
    rules_of_device_.clear();
    rules_of_scene_.clear();
    conditions_of_device_.clear();

    Contents old = std::move(c_);
    c_ = std::move(contents);
    clock_.at_least(c_.account.time);

    for (const auto& condition : c_.conditions)
        conditions_of_device_[condition.device].insert(condition.id);
    for (auto& rule : c_.rules) {
        index_rule(rule, true);
        rule.holds = rule.enabled && rule.body.contains("when") && holds(rule.body["when"]);
        arm_rule(rule);
    }
    if (c_.account.dynamics)
        for (auto& device : c_.devices)
            if (!device.model->dynamics.empty())
                wake_dynamics(device, std::nullopt);
    caching_since_ = clock_.now();
    clock_.cancel(caching_timer_);
    if (c_.account.caching > 0)
        caching_timer_ = clock_.after(c_.account.caching, [this] {
            tell(event::CacheFilled{});
            commit();
        });
    if (!told) {
        events_.clear();
        return;
    }
    if (store_) {
        const auto both = [this](Kind kind, const auto& former, const auto& current) {
            for (const auto& thing : former)
                touch(kind, thing.id);
            for (const auto& thing : current)
                touch(kind, thing.id);
        };
        touch(Kind::agent, "agent");
        both(Kind::place, old.locations, c_.locations);
        both(Kind::device, old.devices, c_.devices);
        both(Kind::scene, old.scenes, c_.scenes);
        both(Kind::rule, old.rules, c_.rules);
        both(Kind::group, old.groups, c_.groups);
        both(Kind::favorite, old.favorites, c_.favorites);
        both(Kind::app, old.apps, c_.apps);
        both(Kind::store_app, old.store_apps, c_.store_apps);
        both(Kind::condition, old.conditions, c_.conditions);
        both(Kind::history, old.history, c_.history);
        both(Kind::enrollee, old.enrollees, c_.enrollees);
        both(Kind::findable, old.findables, c_.findables);
    }
    // What a client knows may all be another now. It is told as if the home had been refreshed.
    for (const auto& place : old.locations)
        if (!c_.locations.contains(place.id))
            tell(event::LocationChanged{What::removed, place.id, place.name});
    for (const auto& device : old.devices)
        if (!c_.devices.contains(device.id))
            tell(event::DeviceChanged{What::removed,
                                      device.id,
                                      device.location,
                                      device.room,
                                      device.shown_name(),
                                      "restored",
                                      {},
                                      {}});
    for (const auto& place : c_.locations)
        tell(event::LocationChanged{What::changed, place.id, place.name});
    for (const auto& device : c_.devices)
        device_changed(device, "restored");
}

Status Home::commit()
{
    // A listener that commits is served by the commit that is under way.
    if (committing_)
        return Status::ok;
    committing_ = true;
    Status status = Status::ok;
    for (int round = 0; round < most_rounds && (!dirty_.empty() || !events_.empty()); ++round) {
        if (store_ && !dirty_.empty()) {
            c_.account.time = clock_.now();
            std::vector<Store::Row> rows;
            for (const auto& [kind, id] : dirty_) {
                Store::Row row{kind_name(kind), id, 0, std::nullopt};
                if (const auto written = write_thing(c_, kind, id)) {
                    row.order = written->second;
                    row.body = to_text(written->first);
                }
                rows.push_back(std::move(row));
            }
            std::string problem;
            if (!store_->write(rows, problem)) {
                // What could not be written stays marked, so that the next commit tries it again.
                status = Status::io_error;
                break;
            }
        }
        dirty_.clear();
        const std::vector<Event> events = std::exchange(events_, {});
        for (const auto& event : events)
            bus_.tell(event);
    }
    committing_ = false;
    return status;
}

const Room* Home::room_in(std::string_view location, std::string_view room) const
{
    const Room* found = c_.rooms.find(room);
    return found != nullptr && found->location == location ? found : nullptr;
}

const Scene* Home::scene_in(std::string_view location, std::string_view scene) const
{
    const Scene* found = c_.scenes.find(scene);
    return found != nullptr && found->location == location ? found : nullptr;
}

const Rule* Home::rule_in(std::string_view location, std::string_view rule) const
{
    const Rule* found = c_.rules.find(rule);
    return found != nullptr && found->location == location ? found : nullptr;
}

bool Home::reachable(const Device& device) const
{
    if (!c_.account.cloud || !device.link.online || device.cloud_state != "CONNECTED")
        return false;
    // A device behind a hub is reached through it.
    if (device.parent.empty())
        return true;
    const Device* parent = c_.devices.find(device.parent);
    return parent == nullptr || (parent->link.online && parent->cloud_state == "CONNECTED");
}

std::string Home::cloud_state(const Device& device) const
{
    if (device.cloud_state == "INACTIVE")
        return device.cloud_state;
    return reachable(device) ? "CONNECTED" : "DISCONNECTED";
}

std::optional<std::int64_t> Home::trip(const Device& device)
{
    if (device.link.drop > 0 && std::bernoulli_distribution{device.link.drop}(random_))
        return std::nullopt;
    std::int64_t time = device.link.latency;
    if (device.link.jitter > 0)
        time += std::uniform_int_distribution<std::int64_t>{-device.link.jitter, device.link.jitter}(random_);
    return std::max<std::int64_t>(0, time);
}

bool Home::taken(std::string_view id) const
{
    return c_.locations.contains(id) || c_.rooms.contains(id) || c_.devices.contains(id)
           || c_.scenes.contains(id) || c_.rules.contains(id) || c_.groups.contains(id)
           || c_.favorites.contains(id) || c_.apps.contains(id) || c_.conditions.contains(id)
           || c_.history.contains(id);
}

std::string Home::new_id(std::string_view kind)
{
    std::string id;
    do
        id = fmt::format("{}-{}", kind, c_.account.next_id++);
    while (taken(id));
    touch(Kind::agent, "agent");
    return id;
}

bool Home::exists(std::string_view member_type, std::string_view member) const
{
    if (member_type == "DEVICE")
        return c_.devices.contains(member);
    if (member_type == "SCENE")
        return c_.scenes.contains(member);
    if (member_type == "DEVICE_GROUP")
        return c_.groups.contains(member);
    return member_type == "INSTALLED_APP" && c_.apps.contains(member);
}

}  // namespace quorvel::home
