// SPDX-License-Identifier: Apache-2.0
#include "support.hpp"

namespace quorvel::home {
namespace {

struct BrokenHome {
    const char* name;
    const char* text;
    const char* message;
};

constexpr const char* head =
    "quorvel-home: 1\n"
    "places: [{id: home, rooms: [kitchen, hall]}, {id: cabin, rooms: [den]}]\n";

// A text that begins with + goes behind the two lines above.
const BrokenHome broken_homes[] = {
    {"IsEmpty", "", "home.yaml:1:1: expected a map, found an empty file"},
    {"IsNotYaml", "quorvel-home: [1", "home.yaml:1:1: not YAML: end of sequence flow not found"},
    {"IsAList", "- 1\n", "home.yaml:1:1: expected a home file: a map with 'quorvel-home: 1', found a list"},
    {"HasNoVersion", "places: [{id: home}]\n", "home.yaml:1:1: expected the key 'quorvel-home'"},
    {"HasALaterVersion", "quorvel-home: 2\n",
     "home.yaml:1:15: expected a whole number from 1 to 1, found '2'"},
    {"HasNoPlace", "quorvel-home: 1\n", "home.yaml:1:1: expected at least one place in 'places'"},
    {"HasAMisspeltSection", "+devcies: []\n",
     "home.yaml:3:1: unknown key 'devcies' (did you mean 'devices'?)"},
    {"HasASectionTwice", "+devices: []\ndevices: []\n",
     "home.yaml:4:1: key 'devices' given twice, first in line 3"},
    {"HasAMapForAList", "+devices: {id: x}\n", "home.yaml:3:10: expected a list, found a map"},
    {"NamesAnUnknownModel", "+devices:\n  - {id: lamp, model: ligth.color}\n",
     "home.yaml:4:23: no model 'ligth.color' (did you mean 'light.color'?)"},
    {"NamesAnUnknownRoom", "+devices:\n  - {id: lamp, model: light.color, room: kichen}\n",
     "home.yaml:4:42: no room 'kichen' (did you mean 'kitchen'?)"},
    {"PutsARoomIntoAnotherPlace", "+devices:\n  - {id: lamp, model: light.color, place: home, room: den}\n",
     "home.yaml:4:55: room 'den' is not in place 'home'"},
    {"HasADeviceWithoutId", "+devices:\n  - {model: light.color}\n", "home.yaml:4:5: expected the key 'id'"},
    {"HasADeviceTwice", "+devices:\n  - {id: a, model: light.color}\n  - {id: a, model: light.color}\n",
     "home.yaml:5:10: device 'a' is there twice"},
    {"HasAnIdWithASpace", "+devices:\n  - {id: my lamp, model: light.color}\n",
     "home.yaml:4:10: expected an id (1 to 90 characters, no spaces), found 'my lamp'"},
    {"SetsAnUnknownAttribute", "+devices:\n  - {id: a, model: light.color, state: {levl: 3}}\n",
     "home.yaml:4:41: model 'light.color' has no attribute 'levl' (did you mean 'level'?)"},
    {"SetsAValueOutOfRange", "+devices:\n  - {id: a, model: light.color, state: {level: 300}}\n",
     "home.yaml:4:48: expected a whole number from 0 to 100 for 'level'"},
    {"SetsAWrongWord", "+devices:\n  - {id: a, model: light.color, state: {switch: maybe}}\n",
     "home.yaml:4:49: expected one of off, on for 'switch'"},
    {"HasABadLatency", "+devices:\n  - {id: a, model: light.color, link: {latency-ms: soon}}\n",
     "home.yaml:4:52: expected a whole number from 0 to 600000, found 'soon'"},
    {"HasOneLatencyTooFew", "+devices:\n  - {id: a, model: light.color, link: {latency-ms: [4]}}\n",
     "home.yaml:4:52: expected a latency and its jitter, such as [40, 15]"},
    {"HasABadProbability", "+devices:\n  - {id: a, model: light.color, link: {drop: 120%}}\n",
     "home.yaml:4:46: expected a probability such as 0.5% or 0.005, found '120%'"},
    {"HasABadFlag", "+agent: {signed-in: maybe}\n", "home.yaml:3:20: expected true or false, found 'maybe'"},
    {"HasABadVersion", "+agent: {version: two}\n",
     "home.yaml:3:18: expected a version such as 2.4.0, found 'two'"},
    {"NamesAnUnknownDeviceInAScene", "+scenes:\n  - {id: s, set: {lamp: {level: 1}}}\n",
     "home.yaml:4:19: no device 'lamp'"},
    {"HasASceneThatDoesNothing", "+scenes:\n  - {id: s}\n",
     "home.yaml:4:5: expected 'set' or 'actions' in scene 's'"},
    {"HasARuleWithoutCondition", "+rules:\n  - {id: r, then: [{notify: x}]}\n",
     "home.yaml:4:5: expected the key 'when'"},
    {"ComparesWithNothing",
     "+devices: [{id: m, model: sensor.motion}]\nrules:\n  - {id: r, when: {device: m, attribute: motion}, then: "
     "[{notify: x}]}\n",
     "home.yaml:5:19: expected 'is', 'not', 'above' or 'below' in a condition on a device"},
    {"WaitsForAWrongWord",
     "+devices: [{id: m, model: sensor.motion}]\nrules:\n  - {id: r, when: {device: m, attribute: motion, is: 1}, "
     "then: [{notify: x}]}\n",
     "home.yaml:5:54: expected one of inactive, active for 'motion'"},
    {"RunsARuleTooOften", "+rules:\n  - {id: r, when: {every: 10ms}, then: [{notify: x}]}\n",
     "home.yaml:4:27: expected a time of at least 1s"},
    {"HasAnActionOfNothing", "+rules:\n  - {id: r, when: {every: 10s}, then: [{title: x}]}\n",
     "home.yaml:4:40: expected 'device', 'scene' or 'notify' in an action"},
    {"GivesAnUnknownCommand",
     "+devices: [{id: a, model: light.switch}]\nscenes:\n  - {id: s, actions: [{device: a, capability: switch, "
     "command: blink}]}\n",
     "home.yaml:5:64: capability 'switch' has no command 'blink'"},
    {"HasAParentThatIsNotThere", "+devices: [{id: a, model: light.switch, parent: hub}]\n",
     "home.yaml:3:48: no device 'hub'"},
    {"HasADeviceBehindItself", "+devices: [{id: a, model: light.switch, parent: a}]\n",
     "home.yaml:3:48: device 'a' cannot be its own parent"},
    {"HasABadPin", "+enrollees: [{id: e, model: light.switch, asks: [{pin: \"12\"}]}]\n",
     "home.yaml:3:55: expected a PIN of 4 to 8 digits, in quotes"},
    {"FailsAtAnUnknownStage", "+enrollees: [{id: e, model: light.switch, fails-at: {stage: clod}}]\n",
     "home.yaml:3:60: expected a stage (init, start, ownership, pin, wifi, device, configuration, cloud or sign-in), "
     "found 'clod' (did you mean 'cloud'?)"},
    {"HasAFavoriteOfNothing", "+favorites: [{place: home}]\n",
     "home.yaml:3:13: expected one of 'device', 'scene', 'device-group' or 'app' in a favorite"},
    {"HasARoomThatIsAPlace", "quorvel-home: 1\nplaces: [{id: home, rooms: [home]}]\n",
     "home.yaml:2:29: 'home' is a place already"},
};

class BrokenHomeFile : public testing::TestWithParam<BrokenHome> {};

TEST_P(BrokenHomeFile, IsRefusedWithPlaceAndReasonAndLeavesTheHomeAsItWas)
{
    Clock clock;
    ModelLibrary models;
    Home home{models, clock};
    home.load(read_yaml(embedded_home(), "default home"));
    const Json before = home.save();
    const std::string_view given = GetParam().text;
    const std::string text =
        given.starts_with('+') ? head + std::string{given.substr(1)} : std::string{given};
    EXPECT_EQ(message_of([&] { home.load(read_yaml(text, "home.yaml")); }), GetParam().message);
    Json after = home.save();
    after["agent"]["time"] = before["agent"]["time"];
    EXPECT_EQ(after, before);
}

INSTANTIATE_TEST_SUITE_P(Each, BrokenHomeFile, testing::ValuesIn(broken_homes),
                         [](const auto& each) { return std::string{each.param.name}; });

TEST(HomeFile, TheBuiltInHomeHasAtLeastTwelveDevicesInFourRooms)
{
    Clock clock;
    ModelLibrary models;
    Home home{models, clock};
    home.load(read_yaml(embedded_home(), "default home"));
    std::set<std::string> rooms;
    std::size_t devices = 0;
    for (const auto& [order, id] : home.locations().find("home")->devices) {
        ++devices;
        rooms.insert(home.devices().find(id)->room);
    }
    EXPECT_GE(devices, 12U);
    EXPECT_EQ(rooms.size(), 4U);
}

TEST_F(HomeTest, WhatIsWrittenReadsBackAsTheSameHome)
{
    const Json saved = home.save();
    Home other{models, clock};
    other.load(read_yaml(saved.dump(), "saved"));
    EXPECT_EQ(other.save(), saved);
}

TEST_F(HomeTest, AListKeepsTheOrderOfTheFile)
{
    std::vector<std::string> ids;
    for (const auto& device : home.devices())
        ids.push_back(device.id);
    EXPECT_EQ(ids, (std::vector<std::string>{"hub", "lamp", "light", "motion", "heater", "plug", "washer",
                                             "button", "old"}));
}

TEST(HomeFile, TenThousandDevicesAreReadInTimeThatGrowsWithTheirNumber)
{
    const auto time_of = [](int count) {
        std::string text = std::string{head} + "devices:\n";
        for (int i = 0; i < count; ++i)
            text += fmt::format("  - {{id: d{}, model: light.color, room: hall}}\n", i);
        Clock clock;
        ModelLibrary models;
        Home home{models, clock};
        const auto begin = std::chrono::steady_clock::now();
        home.load(read_yaml(text, "home.yaml"));
        EXPECT_EQ(home.devices().size(), static_cast<std::size_t>(count));
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    };
    time_of(100);
    const double thousand = time_of(1000);
    const double ten_thousand = time_of(10000);
    // Ten times as many; a quadratic reader would take a hundred times as long.
    EXPECT_LT(ten_thousand, thousand * 40 + 0.05);
}

}  // namespace
}  // namespace quorvel::home
