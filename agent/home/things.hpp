// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "home/clock.hpp"
#include "home/json.hpp"
#include "home/model.hpp"

// The things that a home is made of. Plain values; the rules that keep them consistent are Home's.
namespace quorvel::home {

using Order = std::uint64_t;  // when a thing came, and so its place in lists

struct User {
    std::string id;
    std::string name;
    std::string role;  // owner, member or guest
};

struct AttributeState {
    Json value;
    std::int64_t time = 0;
};

// How well a device can be reached.
struct Link {
    std::int64_t latency = 0;
    std::int64_t jitter = 0;
    double drop = 0;
    bool online = true;
};

struct DeviceFile {
    std::string name;
    std::string uri;  // the resource that it lies behind
    std::string bytes;
};

struct Device {
    Order order = 0;
    std::string id;
    std::string name;
    std::string nick;
    const Model* model = nullptr;
    std::string location;
    std::string room;    // empty: in no room
    std::string parent;  // the hub or the device that it is reached through
    std::string owner;
    std::string firmware;
    std::string color;
    std::string locale;
    std::string serial;
    std::string cloud_state = "CONNECTED";  // CONNECTED, DISCONNECTED or INACTIVE
    bool legacy = false;                    // still belongs to the older home platform
    bool local = false;                     // reached through the local message broker
    Link link;
    Json preferences = Json::object();
    Json labels = Json::object();  // component id: {label, icon}
    Json infrared = nullptr;       // what makes an infrared device
    std::vector<DeviceFile> files;
    std::int64_t created = 0;
    std::vector<AttributeState> attributes;  // by the model's slots

    std::set<std::pair<Order, std::string>> children;
    std::vector<Clock::Timer> timers;  // by the model's dynamics

    const std::string& shown_name() const { return nick.empty() ? name : nick; }
};

using Members = std::set<std::pair<Order, std::string>>;

struct Location {
    Order order = 0;
    std::string id;
    std::string name;
    std::string nick;
    std::string image;
    std::string owner;
    std::string country;
    std::string latitude;
    std::string longitude;
    std::string radius;
    std::string scale;
    std::string time_zone;
    std::string locale;
    std::string parent_type;
    std::string parent_id;
    std::vector<User> users;
    bool favorites_migrated = false;
    std::string migration_date;
    std::string migration_model;

    Members rooms;
    Members devices;
    Members scenes;
    Members rules;
};

struct Room {
    Order order = 0;
    std::string id;
    std::string location;
    std::string name;
    std::string nick;
    std::string image;

    Members devices;
};

struct Scene {
    Order order = 0;
    std::string id;
    std::string location;
    Json body;  // {name, icon, actions}
    std::int64_t last_run = 0;
};

struct Rule {
    Order order = 0;
    std::string id;
    std::string location;
    bool enabled = true;
    Json body;  // {name, when, for, then, else}
    std::int64_t last_run = 0;

    bool holds = false;  // what the condition was when it was last looked at
    Clock::Timer timer = Clock::none;
};

struct DeviceGroup {
    Order order = 0;
    std::string id;
    std::string name;
    std::string type;  // UNDETERMINED, GENERIC, VIDEO CAMERA or LIGHTING
    std::string location;
    std::string room;
    std::vector<std::string> devices;
};

struct Favorite {
    Order order = 0;
    std::string id;
    std::string location;
    std::string visibility;
    std::string member;
    std::string member_type;  // DEVICE, SCENE, DEVICE_GROUP, INSTALLED_APP
    std::string additional;
    std::string bucket;
    std::string device_model;
    std::int64_t sort_order = 0;
    std::int64_t created = 0;
    std::int64_t updated = 0;
};

struct InstalledApp {
    Order order = 0;
    std::string id;
    std::string app;
    std::string name;
    std::string type;
    std::string status;  // PENDING while it is being installed, then ACTIVE
    std::string location;
    std::string configuration;
    Json notices = Json::array();
    Json settings = Json::object();
    Json dashboard = nullptr;
    std::int64_t created = 0;
    std::int64_t updated = 0;
    std::int64_t runs = 0;
};

// An app that may be installed.
struct StoreApp {
    Order order = 0;
    std::string id;
    std::string name;
    std::string type;
    std::vector<std::string> asks;  // settings that the user must give
};

struct LaunchCondition {
    Order order = 0;
    std::string id;
    std::string app;
    std::string device;
    std::string uri;
    std::string property;
    std::string type;
    std::string value;
    std::string bundle;
    std::string reserved;
};

struct HistoryItem {
    Order order = 0;
    std::string id;
    std::string kind;  // activity or notification
    std::int64_t time = 0;
    std::string location;
    std::string device;
    std::string title;
    std::string text;
    Json details = Json::object();
};

struct AccessPoint {
    std::string ssid;
    std::string mac;
    std::string channel;
    std::string encryption;
    std::string security;
    std::string rate;
    std::string signal;
    std::string frequency;
    std::string password;  // empty: open
};

// A device that waits to be taken into the home.
struct Enrollee {
    Order order = 0;
    std::string id;
    std::string name;
    std::string model;
    std::string address;  // of its own network; what an onboarding with a host address names
    std::string serial;
    bool owned = false;
    bool asks_ownership = false;
    std::string pin;
    std::int64_t stage_time = 150;  // how long each stage of its onboarding takes
    std::string fails_at;           // a stage
    int fails_with = 0;
    int fails_times = 0;
    std::vector<AccessPoint> access_points;
};

// A device that a hub finds when it is told to look.
struct Findable {
    Order order = 0;
    std::string id;
    std::string hub;  // empty: whichever hub looks
    std::string name;
    std::string model;
    std::int64_t after = 500;
    int protocol = 0;
};

struct PushRegistration {
    std::string provider;
    std::string registration;
    std::string app;
    std::string locale;
};

struct Account {
    std::string version = "2.4.0";
    bool signed_in = true;
    std::string login = "demo@example.test";
    std::string user = "user-1";
    std::string device = "agent-1";  // the id of the device that the agent runs on
    std::int64_t caching = 0;
    int environments[2] = {0, 0};
    bool suspended = false;
    bool cloud = true;
    bool update_waiting = false;
    bool migrated = false;  // away from the older home platform
    bool dynamics = true;
    bool push_enabled = true;
    std::vector<std::string> push_topics;
    std::vector<PushRegistration> registrations;
    std::map<std::string, std::string> uploads;  // content id: its type
    std::uint64_t next_id = 1;
    std::uint64_t token_generation = 1;
    std::uint64_t metadata_version = 1;
    std::string last_setup_error;
    std::int64_t time = 0;  // of the home's clock when this was written
};

}  // namespace quorvel::home
