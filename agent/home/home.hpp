// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "home/clock.hpp"
#include "home/document.hpp"
#include "home/events.hpp"
#include "home/model.hpp"
#include "home/status.hpp"
#include "home/store.hpp"
#include "home/table.hpp"
#include "home/things.hpp"

// A home: what is in it, and what may happen to it.
//
// Problem: the interface shows one home through two families of methods (groups and locations, nicknames
// and labels, resources and capabilities), and through events. If each method kept what it needs, the
// families would soon tell different stories.
//
// Use: there is one Home. Every change is one of its member functions; it checks, changes, notes which
// things must be written and queues what happened. `commit` then writes all of it in one transaction and
// tells the listeners. Listeners (rules among them) may change the home again; that is written and told
// before `commit` returns. Whoever answers a client commits first.
//
// Goals: nothing outside changes a thing; every cost is that of the things concerned, not of the home;
// loading anything broken leaves the home as it was.
namespace quorvel::home {

enum class Kind {
    agent,
    place,
    device,
    scene,
    rule,
    group,
    favorite,
    app,
    store_app,
    condition,
    history,
    enrollee,
    findable
};

// Everything that a home holds. Loading fills a new one and then takes it as a whole.
struct Contents {
    Account account;
    Table<Location> locations;
    Table<Room> rooms;
    Table<Device> devices;
    Table<Scene> scenes;
    Table<Rule> rules;
    Table<DeviceGroup> groups;
    Table<Favorite> favorites;
    Table<InstalledApp> apps;
    Table<StoreApp> store_apps;
    Table<LaunchCondition> conditions;
    Table<HistoryItem> history;
    Table<Enrollee> enrollees;
    Table<Findable> findables;
    std::vector<AccessPoint> access_points;
    Order next_order = 1;
};

// What came of one command.
struct CommandResult {
    Status status = Status::ok;
    std::string message;
};

// The grammar of a saved thing is that of the home file; these are its two directions (home_file.cpp).
Contents read_home(const Node& root, ModelLibrary& models, std::int64_t now);
Contents read_state(const Store& store, ModelLibrary& models, std::int64_t now);
Json write_home(const Contents& contents);
// The body of one thing for the store; none when it is no more.
std::optional<std::pair<Json, Order>> write_thing(const Contents& contents, Kind kind, std::string_view id);
const char* kind_name(Kind kind);

class Home {
public:
    Home(ModelLibrary& models, Clock& clock);
    ~Home();
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;

    // --- Where it comes from and where it is kept --------------------------------------------------------
    // Each throws DocumentError and then leaves the home, and what is kept of it, as it was.
    void load(const Node& home_file);
    // A store that holds a home is where it goes on; an empty one gets this home.
    void keep_in(std::unique_ptr<Store> store);
    Json save() const;
    void restore(const Json& saved);
    bool kept() const { return store_ != nullptr; }

    // Writes what changed and tells what happened. Everything is kept when it returns ok.
    Status commit();

    // Who causes the changes that follow; it stands in the history and in events.
    class Cause {
    public:
        Cause(Home& home, std::string text) : home_(home), previous_(std::move(home.cause_))
        {
            home_.cause_ = std::move(text);
        }
        ~Cause() { home_.cause_ = std::move(previous_); }
        Cause(const Cause&) = delete;
        Cause& operator=(const Cause&) = delete;

    private:
        Home& home_;
        std::string previous_;
    };

    // --- What it holds -----------------------------------------------------------------------------------
    const Account& account() const { return c_.account; }
    const Table<Location>& locations() const { return c_.locations; }
    const Table<Room>& rooms() const { return c_.rooms; }
    const Table<Device>& devices() const { return c_.devices; }
    const Table<Scene>& scenes() const { return c_.scenes; }
    const Table<Rule>& rules() const { return c_.rules; }
    const Table<DeviceGroup>& groups() const { return c_.groups; }
    const Table<Favorite>& favorites() const { return c_.favorites; }
    const Table<InstalledApp>& apps() const { return c_.apps; }
    const Table<StoreApp>& store_apps() const { return c_.store_apps; }
    const Table<LaunchCondition>& conditions() const { return c_.conditions; }
    const Table<HistoryItem>& history() const { return c_.history; }
    const Table<Enrollee>& enrollees() const { return c_.enrollees; }
    const std::vector<AccessPoint>& access_points() const { return c_.access_points; }
    const Room* room_in(std::string_view location, std::string_view room) const;
    const Scene* scene_in(std::string_view location, std::string_view scene) const;
    const Rule* rule_in(std::string_view location, std::string_view rule) const;

    ModelLibrary& models() { return models_; }
    Clock& clock() { return clock_; }
    EventBus& bus() { return bus_; }
    std::mt19937& random() { return random_; }

    bool reachable(const Device& device) const;
    std::string cloud_state(const Device& device) const;
    // How long an answer of the device takes this time, or none when it is lost on the way.
    std::optional<std::int64_t> trip(const Device& device);
    const Json& value(const Device& device, std::size_t slot) const { return device.attributes[slot].value; }

    // --- Account (account.cpp) ---------------------------------------------------------------------------
    void sign_in(bool signed_in);
    void set_cloud(bool up);
    void set_environment(int type, int value);
    void set_suspended(bool suspended);
    void set_version(const std::string& version);
    void set_update_waiting(bool waiting);
    void set_caching(std::int64_t milliseconds);
    bool caching() const;
    // How much of the devices is gathered by now, from 0 to 1.
    double gathered() const;
    void refresh_devices();
    std::string token(std::string_view purpose) const;
    void renew_tokens();
    void bump_metadata(const std::string& vid);
    void register_push(PushRegistration registration);
    void set_push(bool enabled, const std::vector<std::string>& topics);
    // Takes every device of the older home platform over; how many there were.
    int migrate();
    void notify(const std::string& kind, const std::string& title, const std::string& body,
                const std::string& location = {}, const std::string& device = {});
    void set_last_setup_error(const std::string& code);
    Status announce_upload(const std::string& content, const std::string& type);

    // --- Devices (devices.cpp) ---------------------------------------------------------------------------
    Status add_device(Device device);
    Status add_device(const Node& description);
    Status remove_device(std::string_view id);
    Status set_nick(std::string_view id, const std::string& nick);
    Status set_name(std::string_view id, const std::string& name);
    Status move_device(std::string_view id, std::string_view location, std::string_view room);
    Status set_labels(std::string_view id, const Json& components);
    Status set_preferences(std::string_view id, std::string_view name, const Json& values);
    Status set_health(std::string_view id, const std::string& state, const std::string& detail = {});
    Status set_link(std::string_view id, const Link& link);
    Status set_firmware(std::string_view id, const std::string& version);
    Status migrate_local(std::string_view id, std::string_view hub);
    Status create_infrared(std::string_view parent, const Json& description, std::string& id);
    // Sets one attribute as the device itself does; also what nobody else may set.
    Status report(std::string_view device, std::string_view attribute, const Json& value,
                  std::string& problem);
    CommandResult command(std::string_view device, std::string_view component, std::string_view capability,
                          std::string_view command, const Json& arguments);
    // [{component, capability, command, arguments}] or {commands: […]}: a result for each.
    Status execute(std::string_view device, const Json& commands, std::vector<CommandResult>& results);
    // The properties of a resource, and writing some of them. `problem` tells what is wrong.
    Json properties(const Device& device, const Resource& resource) const;
    Status write_resource(std::string_view device, std::string_view uri, const Json& properties,
                          std::string& problem);

    // --- Places (places.cpp) -----------------------------------------------------------------------------
    struct PlaceValues {
        std::optional<std::string> name, nick, image, country, latitude, longitude, radius, scale, locale,
            parent_type, parent_id, time_zone;
    };
    Status add_location(const PlaceValues& values, std::string& id);
    Status change_location(std::string_view id, const PlaceValues& values);
    Status remove_location(std::string_view id);
    Status add_room(std::string_view location, const PlaceValues& values, std::string& id);
    Status change_room(std::string_view room, const PlaceValues& values);
    Status remove_room(std::string_view room);

    // --- Scenes, rules and what launches applications (automation.cpp) -----------------------------------
    Status add_scene(std::string_view location, const Json& body, std::string& id, std::string& problem);
    Status change_scene(std::string_view id, const Json& body, std::string& problem);
    Status remove_scene(std::string_view id);
    Status run_scene(std::string_view id, std::vector<CommandResult>& results);
    Status run_actions(std::string_view location, const Json& body, std::vector<CommandResult>& results,
                       std::string& problem);
    Status add_rule(std::string_view location, const Json& body, std::string& id, std::string& problem);
    Status change_rule(std::string_view id, const Json& body, std::string& problem);
    Status remove_rule(std::string_view id);
    Status enable_rule(std::string_view id, bool enabled);
    Status run_rule(std::string_view id, std::vector<CommandResult>& results);
    Status add_condition(LaunchCondition condition);
    Status remove_condition(const LaunchCondition& condition);
    const LaunchCondition* find_condition(const LaunchCondition& condition) const;

    // --- Groups, favorites, apps, history (collections.cpp) ----------------------------------------------
    Status add_group(const DeviceGroup& group, std::string& id);
    Status change_group(std::string_view id, const std::string& name, const std::vector<std::string>& devices,
                        const std::string& room);
    Status remove_group(std::string_view id);
    Status add_favorite(std::string_view location, std::string_view visibility, const Json& description,
                        std::string& id, std::string& problem);
    Status replace_favorites(std::string_view location, std::string_view visibility, const Json& descriptions,
                             std::vector<std::string>& ids, std::string& problem);
    Status remove_favorite(std::string_view id);
    Status remove_favorites(std::string_view location, std::string_view visibility);
    Status set_favorite_migration(std::string_view location, bool migrated, const std::string& model);
    Status begin_installation(const std::string& app, const std::string& location, const Json& options,
                              std::string& id);
    Status cancel_installation(std::string_view id);
    Status complete_installation(std::string_view id, const std::string& configuration, const Json& settings,
                                 std::string& problem);
    Status run_app(std::string_view id, const Json& request, Json& result);
    void record(const std::string& kind, const std::string& title, const std::string& text,
                const std::string& location, const std::string& device, Json details = Json::object());

    // --- Hubs --------------------------------------------------------------------------------------------
    Status start_search(std::string_view hub, int seconds, bool join, bool known, int protocol);
    Status stop_search(std::string_view hub);
    bool searching(std::string_view hub) const { return searches_.contains(std::string{hub}); }

    // --- For the onboarding (setup.cpp) ------------------------------------------------------------------
    const Enrollee* enrollee(std::string_view id) const { return c_.enrollees.find(id); }
    Status add_enrollee(const Node& description);
    Status add_enrollee(Enrollee enrollee);
    Status remove_enrollee(std::string_view id);
    void own_enrollee(std::string_view id, bool owned);
    // Counts a failure that the enrollee was told to have.
    bool fail_enrollee(std::string_view id, std::string_view stage, int& code);
    void tell(Event event) { events_.push_back(std::move(event)); }

    // Tells whether an id is of something that can be in a list of favorites.
    bool exists(std::string_view member_type, std::string_view member) const;
    std::string new_id(std::string_view kind);

private:
    friend class Cause;
    struct Undo;

    void take(Contents contents, bool told);
    void touch(Kind kind, std::string_view id) { dirty_.emplace(kind, id); }
    Order next_order() { return c_.next_order++; }
    bool taken(std::string_view id) const;

    // devices.cpp
    void set_attribute(Device& device, std::size_t slot, Json value);
    void device_changed(const Device& device, const char* aspect);
    void enter(Device& device);
    void leave(Device& device);
    bool holds(const Device& device, const std::vector<std::pair<std::size_t, Json>>& when) const;
    void wake_dynamics(Device& device, std::optional<std::size_t> changed);
    void step_dynamic(const std::string& device, std::size_t dynamic);
    void stop_dynamics(Device& device);

    // automation.cpp
    struct Act;
    bool check_actions(const Json& actions, std::string& problem) const;
    bool check_condition(const Json& condition, std::string& problem) const;
    bool check_rule(const Json& body, std::string& problem) const;
    void run(const Json& actions, const std::string& location, std::vector<CommandResult>& results);
    void run_one(const Json& action, const std::string& location, std::vector<CommandResult>& results);
    CommandResult set_by_action(std::string_view device, const Json& values);
    bool holds(const Json& condition) const;
    void index_rule(const Rule& rule, bool add);
    void each_device_of(const Json& condition, const std::function<void(const std::string&)>& visit) const;
    void arm_rule(Rule& rule);
    void look_at_rule(Rule& rule);
    void fire_rule(Rule& rule, bool well);
    void hear(const Event& event);
    void look_at_conditions(const event::AttributeChanged& change);
    void write_history(const Event& event);

    ModelLibrary& models_;
    Clock& clock_;
    EventBus bus_;
    std::mt19937 random_{0x51564831};
    Contents c_;
    std::unique_ptr<Store> store_;
    std::set<std::pair<Kind, std::string>, std::less<>> dirty_;
    std::vector<Event> events_;
    bool committing_ = false;
    std::string cause_ = "app";
    std::int64_t caching_since_ = 0;
    Clock::Timer caching_timer_ = Clock::none;
    std::unordered_map<std::string, std::set<std::string>> rules_of_device_;
    std::unordered_map<std::string, std::set<std::string>> rules_of_scene_;
    std::unordered_map<std::string, std::set<std::string>> conditions_of_device_;
    struct Search {
        std::vector<Clock::Timer> timers;
    };
    std::unordered_map<std::string, Search> searches_;
    int depth_ = 0;  // of actions that run actions
};

}  // namespace quorvel::home
