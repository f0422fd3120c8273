// SPDX-License-Identifier: Apache-2.0
// What the home does: commands, resources, dynamics, scenes, rules, places, collections.
#include "support.hpp"

namespace quorvel::home {
namespace {

// --- Commands and resources --------------------------------------------------------------------------------

TEST_F(HomeTest, ACommandChangesWhatTheResourceShows)
{
    EXPECT_EQ(home.command("light", "main", "switch", "on", Json()).status, Status::ok);
    const Device& light = *home.devices().find("light");
    EXPECT_EQ(home.properties(light, *light.model->resource("/switch")), (Json{{"value", true}}));
}

TEST_F(HomeTest, AWrittenResourceChangesWhatTheCapabilityShows)
{
    std::string problem;
    EXPECT_EQ(home.write_resource("light", "/switch", {{"value", true}}, problem), Status::ok);
    EXPECT_EQ(value("light", "switch"), "on");
}

TEST_F(HomeTest, AResourceRefusesWhatOnlyTheDeviceMayChange)
{
    std::string problem;
    EXPECT_EQ(home.write_resource("motion", "/battery", {{"charge", 5}}, problem), Status::refused);
    EXPECT_EQ(problem, "property 'charge' can only be read");
    EXPECT_EQ(value("motion", "battery"), 100);
}

TEST_F(HomeTest, AResourceIsWrittenAsAWholeOrNotAtAll)
{
    std::string problem;
    EXPECT_EQ(home.write_resource("lamp", "/color", {{"hue", 120}, {"saturation", 900}}, problem),
              Status::invalid);
    EXPECT_EQ(value("lamp", "hue"), 0.0);
}

TEST_F(HomeTest, CommandsTakeTheirArgumentsByPlaceAndByName)
{
    EXPECT_EQ(home.command("lamp", "main", "color", "setColor", Json::parse("[120, 50]")).status, Status::ok);
    EXPECT_EQ(value("lamp", "hue"), 120);
    EXPECT_EQ(home.command("lamp", "main", "level", "setLevel", Json::parse(R"({"level": 7})")).status,
              Status::ok);
    EXPECT_EQ(value("lamp", "level"), 7);
}

TEST_F(HomeTest, ACommandThatCannotBeMeantChangesNothingAndSaysWhy)
{
    const auto fails = [&](const char* device, const char* capability, const char* command,
                           const char* arguments) {
        const CommandResult result =
            home.command(device, "main", capability, command, Json::parse(arguments));
        return std::pair{result.status, result.message};
    };
    EXPECT_EQ(fails("nobody", "switch", "on", "[]"),
              (std::pair{Status::no_data, std::string{"no device 'nobody'"}}));
    EXPECT_EQ(fails("light", "level", "setLevel", "[1]").first, Status::no_data);
    EXPECT_EQ(fails("lamp", "level", "glow", "[]"),
              (std::pair{Status::invalid, std::string{"capability 'level' has no command 'glow'"}}));
    EXPECT_EQ(fails("lamp", "level", "setLevel", "[]"),
              (std::pair{Status::invalid, std::string{"command 'setLevel' needs the argument 'level'"}}));
    EXPECT_EQ(fails("lamp", "level", "setLevel", "[101]"),
              (std::pair{Status::invalid, std::string{"expected a whole number from 0 to 100 for 'level'"}}));
    EXPECT_EQ(fails("lamp", "level", "setLevel", "[1, 2]"),
              (std::pair{Status::invalid, std::string{"command 'setLevel' takes 1 arguments"}}));
    EXPECT_EQ(value("lamp", "level"), 40);
}

TEST_F(HomeTest, AStepStopsAtTheEndOfTheRange)
{
    for (int i = 0; i < 20; ++i)
        home.command("lamp", "main", "level", "brighter", Json());
    EXPECT_EQ(value("lamp", "level"), 100);
}

TEST_F(HomeTest, ADeviceBehindAHubCannotBeReachedWithoutIt)
{
    EXPECT_TRUE(home.reachable(*home.devices().find("motion")));
    home.set_health("hub", "DISCONNECTED");
    home.commit();
    EXPECT_FALSE(home.reachable(*home.devices().find("motion")));
    std::vector<std::string> told;
    for (const auto& event : take<event::HealthChanged>())
        told.push_back(event.device + " " + event.state);
    EXPECT_EQ(told, (std::vector<std::string>{"hub DISCONNECTED", "motion DISCONNECTED"}));
}

TEST_F(HomeTest, WithoutTheCloudNoDeviceCanBeReached)
{
    home.set_cloud(false);
    EXPECT_EQ(home.command("light", "main", "switch", "on", Json()).status, Status::unreachable);
    home.set_cloud(true);
    EXPECT_EQ(home.command("light", "main", "switch", "on", Json()).status, Status::ok);
}

// --- What changes by itself --------------------------------------------------------------------------------

TEST_F(HomeTest, MotionEndsAfterItsTimeAndMotionSeenAgainBeginsItAnew)
{
    report("motion", "motion", "active");
    clock.advance(20'000);
    report("motion", "motion", "inactive");
    report("motion", "motion", "active");
    clock.advance(20'000);
    EXPECT_EQ(value("motion", "motion"), "active");
    clock.advance(10'000);
    EXPECT_EQ(value("motion", "motion"), "inactive");
}

TEST_F(HomeTest, ARoomHeatsTowardTheSetpointAndStaysThere)
{
    EXPECT_EQ(
        home.command("heater", "main", "thermostat", "setHeatingSetpoint", Json::parse("[21.5]")).status,
        Status::ok);
    clock.advance(24'000);
    EXPECT_DOUBLE_EQ(value("heater", "temperature").get<double>(), 21.2);
    clock.advance(3'600'000);
    EXPECT_DOUBLE_EQ(value("heater", "temperature").get<double>(), 21.5);
}

TEST_F(HomeTest, APlugMetersWhatItDraws)
{
    home.command("plug", "main", "switch", "on", Json());
    EXPECT_EQ(value("plug", "power"), 1850);
    clock.advance(3'600'000);
    EXPECT_NEAR(value("plug", "energy").get<double>(), 1.85, 0.001);
    home.command("plug", "main", "switch", "off", Json());
    clock.advance(3'600'000);
    EXPECT_EQ(value("plug", "power"), 0);
    EXPECT_NEAR(value("plug", "energy").get<double>(), 1.85, 0.001);
}

TEST_F(HomeTest, ABatteryDrainsSlowlyAndNotBelowNothing)
{
    clock.advance(8 * 3'600'000);
    EXPECT_EQ(value("motion", "battery"), 99);
    clock.advance(200LL * 8 * 3'600'000);
    EXPECT_EQ(value("motion", "battery"), 0);
}

TEST_F(HomeTest, AWasherIsDoneWhenItsTimeIsUp)
{
    home.command("washer", "main", "program", "start", Json::parse("[3]"));
    EXPECT_EQ(value("washer", "machineState"), "running");
    EXPECT_EQ(value("washer", "power"), 480);
    clock.advance(3 * 60'000);
    EXPECT_EQ(value("washer", "machineState"), "stopped");
    EXPECT_EQ(value("washer", "remainingMinutes"), 0);
    EXPECT_EQ(value("washer", "power"), 1);
}

TEST_F(HomeTest, AButtonPressedTwiceIsTwoEvents)
{
    report("button", "button", "pushed");
    report("button", "button", "pushed");
    EXPECT_EQ(take<event::AttributeChanged>().size(), 2U);
}

TEST_F(HomeTest, AValueThatStaysTheSameIsNoEvent)
{
    report("lamp", "level", 40);
    EXPECT_TRUE(take<event::AttributeChanged>().empty());
}

// --- Scenes and rules --------------------------------------------------------------------------------------

TEST_F(HomeTest, ASceneChangesTheDevicesThatItNames)
{
    home.command("light", "main", "switch", "on", Json());
    std::vector<CommandResult> results;
    EXPECT_EQ(home.run_scene("dark", results), Status::ok);
    EXPECT_EQ(results.size(), 2U);
    EXPECT_EQ(value("light", "switch"), "off");
}

TEST_F(HomeTest, ASceneThatRunsInPartTellsWhichPartFailed)
{
    home.set_health("lamp", "DISCONNECTED");
    home.command("light", "main", "switch", "on", Json());
    std::vector<CommandResult> results;
    EXPECT_EQ(home.run_scene("dark", results), Status::unreachable);
    EXPECT_EQ(results[0].message, "device 'lamp' cannot be reached");
    EXPECT_EQ(results[1].status, Status::ok);
    EXPECT_EQ(value("light", "switch"), "off");
}

TEST_F(HomeTest, ScenesThatRunEachOtherInARingEnd)
{
    std::string id;
    std::string problem;
    ASSERT_EQ(home.add_scene("home", Json::parse(R"({"name": "ring", "actions": [{"scene": "scene-1"}]})"),
                             id, problem),
              Status::ok);
    ASSERT_EQ(id, "scene-1");
    std::vector<CommandResult> results;
    EXPECT_EQ(home.run_scene(id, results), Status::failed);
}

TEST_F(HomeTest, ARuleActsWhenItsConditionBecomesTrueAndWhenItEnds)
{
    report("motion", "motion", "active");
    EXPECT_EQ(value("light", "switch"), "on");
    clock.advance(30'000);
    EXPECT_EQ(value("light", "switch"), "off");
}

TEST_F(HomeTest, ARuleDoesNotActAgainWhileItsConditionHolds)
{
    report("motion", "motion", "active");
    home.command("light", "main", "switch", "off", Json());
    home.commit();
    report("motion", "illuminance", 50);
    EXPECT_EQ(value("light", "switch"), "off");
}

TEST_F(HomeTest, ADisabledRuleDoesNothing)
{
    home.enable_rule("on-motion", false);
    report("motion", "motion", "active");
    EXPECT_EQ(value("light", "switch"), "off");
}

TEST_F(HomeTest, ARuleWithATimeWaitsForItAndForgetsWhenTheConditionEnds)
{
    std::string id;
    std::string problem;
    ASSERT_EQ(home.add_rule("home", Json::parse(R"({"name": "hot", "for": "1min",
        "when": {"device": "heater", "attribute": "temperature", "above": 25},
        "then": [{"device": "lamp", "set": {"level": 1}}]})"),
                            id, problem),
              Status::ok)
        << problem;
    report("heater", "temperature", 26);
    clock.advance(59'000);
    EXPECT_EQ(value("lamp", "level"), 40);
    clock.advance(1'000);
    EXPECT_EQ(value("lamp", "level"), 1);
}

TEST_F(HomeTest, ARuleByTheClockActsEachTime)
{
    std::string id;
    std::string problem;
    ASSERT_EQ(home.add_rule("home", Json::parse(R"({"name": "tick", "when": {"every": "10min"},
        "then": [{"device": "lamp", "capability": "level", "command": "dimmer"}]})"),
                            id, problem),
              Status::ok)
        << problem;
    clock.advance(30 * 60'000);
    EXPECT_EQ(value("lamp", "level"), 10);
    home.remove_rule(id);
    clock.advance(30 * 60'000);
    EXPECT_EQ(value("lamp", "level"), 10);
}

TEST_F(HomeTest, RulesThatTriggerEachOtherForEverDoNotHoldTheHome)
{
    std::string id;
    std::string problem;
    for (const char* rule : {R"({"name": "a", "when": {"device": "light", "attribute": "switch", "is": "on"},
              "then": [{"device": "light", "set": {"switch": "off"}}]})",
                             R"({"name": "b", "when": {"device": "light", "attribute": "switch", "is": "off"},
              "then": [{"device": "light", "set": {"switch": "on"}}]})"})
        ASSERT_EQ(home.add_rule("home", Json::parse(rule), id, problem), Status::ok) << problem;
    report("light", "switch", "on");
    EXPECT_EQ(home.commit(), Status::ok);
}

TEST_F(HomeTest, ARuleThatCannotBeMeantIsRefusedWithItsReason)
{
    const auto problem_of = [&](const char* rule) {
        std::string id;
        std::string problem;
        EXPECT_EQ(home.add_rule("home", Json::parse(rule), id, problem), Status::invalid);
        return problem;
    };
    EXPECT_EQ(problem_of("[]"), "expected a JSON object with a name");
    EXPECT_EQ(problem_of(R"({"name": "x"})"), "expected a condition");
    EXPECT_EQ(problem_of(R"({"name": "x", "when": {"device": "y"}})"), "no device 'y'");
    EXPECT_EQ(problem_of(R"({"name": "x", "when": {"every": "1min"}})"), "expected a list of actions");
    EXPECT_EQ(problem_of(R"({"name": "x", "when": {"every": "1min"}, "then": [{"scene": "dark"}, {}]})"),
              "expected 'device', 'scene' or 'notify' in an action");
    EXPECT_EQ(problem_of(R"({"name": "x", "when": {"at": "25:00"}, "then": [{"notify": "x"}]})"),
              "expected 'at' to be a time of the day such as 18:30");
    EXPECT_EQ(home.rules().size(), 1U);
}

TEST_F(HomeTest, ALaunchConditionThatIsMetLaunchesTheApplication)
{
    LaunchCondition condition;
    condition.app = "org.example.lights";
    condition.device = "light";
    condition.uri = "/switch";
    condition.property = "value";
    condition.value = "true";
    condition.bundle = "{}";
    EXPECT_EQ(home.add_condition(condition), Status::ok);
    EXPECT_EQ(home.add_condition(condition), Status::conflict);
    home.command("light", "main", "switch", "on", Json());
    home.commit();
    const auto told = take<event::Notified>();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].kind, "app-launch");
    EXPECT_EQ(told[0].title, "org.example.lights");
    EXPECT_EQ(home.remove_condition(condition), Status::ok);
    EXPECT_EQ(home.remove_condition(condition), Status::no_data);
}

// --- Places and devices ------------------------------------------------------------------------------------

TEST_F(HomeTest, ARenamedDeviceShowsItsNameEverywhere)
{
    EXPECT_EQ(home.set_nick("lamp", "Sun"), Status::ok);
    EXPECT_EQ(home.devices().find("lamp")->shown_name(), "Sun");
    EXPECT_EQ(home.devices().find("lamp")->name, "Lamp");
    EXPECT_EQ(home.set_name("lamp", "Moon"), Status::ok);
    EXPECT_EQ(home.devices().find("lamp")->shown_name(), "Moon");
    EXPECT_EQ(home.devices().find("lamp")->name, "Moon");
}

TEST_F(HomeTest, ADeviceThatIsMovedLeavesTheOnePlaceAndIsInTheOther)
{
    EXPECT_EQ(home.move_device("lamp", "cabin", "den"), Status::ok);
    EXPECT_FALSE(home.rooms().find("living")->devices.contains({home.devices().find("lamp")->order, "lamp"}));
    EXPECT_TRUE(home.rooms().find("den")->devices.contains({home.devices().find("lamp")->order, "lamp"}));
    EXPECT_TRUE(
        home.locations().find("cabin")->devices.contains({home.devices().find("lamp")->order, "lamp"}));
}

TEST_F(HomeTest, ADeviceIsNotMovedIntoARoomOfAnotherPlace)
{
    EXPECT_EQ(home.move_device("lamp", "home", "den"), Status::no_data);
    EXPECT_EQ(home.devices().find("lamp")->room, "living");
}

TEST_F(HomeTest, ARemovedRoomLeavesItsDevicesInTheLocation)
{
    EXPECT_EQ(home.remove_room("living"), Status::ok);
    EXPECT_EQ(home.devices().find("lamp")->location, "home");
    EXPECT_EQ(home.devices().find("lamp")->room, "");
    EXPECT_FALSE(home.rooms().contains("living"));
}

TEST_F(HomeTest, ARemovedLocationGivesItsDevicesToAnotherAndTheLastOneStays)
{
    EXPECT_EQ(home.remove_location("cabin"), Status::ok);
    EXPECT_EQ(home.devices().find("plug")->location, "home");
    EXPECT_FALSE(home.rooms().contains("den"));
    EXPECT_EQ(home.remove_location("home"), Status::failed);
    EXPECT_TRUE(home.locations().contains("home"));
}

TEST_F(HomeTest, ARemovedDeviceIsGoneFromGroupsAndFavorites)
{
    EXPECT_EQ(home.remove_device("lamp"), Status::ok);
    EXPECT_EQ(home.groups().find("lights")->devices, std::vector<std::string>{"light"});
    EXPECT_EQ(home.favorites().size(), 1U);
    EXPECT_EQ(home.remove_device("lamp"), Status::no_data);
}

TEST_F(HomeTest, WhatWasBehindARemovedHubStays)
{
    EXPECT_EQ(home.remove_device("hub"), Status::ok);
    EXPECT_EQ(home.devices().find("motion")->parent, "");
    EXPECT_TRUE(home.reachable(*home.devices().find("motion")));
}

TEST_F(HomeTest, WhatIsDoneIsWrittenIntoTheHistoryAndWhatHappensByItselfIsNot)
{
    home.command("light", "main", "switch", "on", Json());
    home.commit();
    const auto last = std::prev(home.history().end());
    EXPECT_EQ(last->text, "switch is on");
    EXPECT_EQ(last->device, "light");
    const std::size_t before = home.history().size();
    clock.advance(8 * 3'600'000);
    EXPECT_EQ(home.history().size(), before);
}

// --- Collections -------------------------------------------------------------------------------------------

TEST_F(HomeTest, FavoritesAreReplacedAsAWholeOrNotAtAll)
{
    std::vector<std::string> ids;
    std::string problem;
    EXPECT_EQ(
        home.replace_favorites("home", "", Json::parse(R"([{"memberId": "light"}, {"memberId": "nobody"}])"),
                               ids, problem),
        Status::no_data);
    EXPECT_EQ(home.favorites().size(), 2U);
    EXPECT_EQ(home.replace_favorites("home", "", Json::parse(R"([{"memberId": "light"}])"), ids, problem),
              Status::ok);
    EXPECT_EQ(home.favorites().size(), 1U);
    EXPECT_EQ(home.favorites().front().member, "light");
}

TEST_F(HomeTest, AnAppIsInstalledWhenItsQuestionsAreAnswered)
{
    std::string id;
    std::string problem;
    EXPECT_EQ(home.begin_installation("no-app", "home", Json::object(), id), Status::no_data);
    ASSERT_EQ(home.begin_installation("clock-app", "home", Json::object(), id), Status::ok);
    const std::string configuration = home.apps().find(id)->configuration;
    EXPECT_EQ(home.complete_installation(id, configuration, Json::object(), problem), Status::invalid);
    EXPECT_EQ(problem, "expected the setting 'time'");
    EXPECT_EQ(home.complete_installation(id, configuration, {{"time", "7:00"}}, problem), Status::ok);
    EXPECT_EQ(home.apps().find(id)->status, "ACTIVE");
    EXPECT_EQ(home.cancel_installation(id), Status::failed);
}

TEST_F(HomeTest, AHubFindsWhatWaitsAndTakesItInWhenItMayJoin)
{
    EXPECT_EQ(home.start_search("lamp", 5, true, false, 0), Status::invalid);
    EXPECT_EQ(home.start_search("hub", 5, true, false, 0), Status::ok);
    home.commit();
    clock.advance(299);
    EXPECT_TRUE(take<event::HubFound>().empty());
    clock.advance(1);
    const auto found = take<event::HubFound>();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_TRUE(found[0].joined);
    EXPECT_EQ(home.devices().find("found")->parent, "hub");
    EXPECT_TRUE(home.searching("hub"));
    clock.advance(5'000);
    EXPECT_FALSE(home.searching("hub"));
}

TEST_F(HomeTest, AnInfraredDeviceNeedsAHubThatCanSpeakToIt)
{
    std::string id;
    EXPECT_EQ(home.create_infrared("lamp", {{"name", "TV"}}, id), Status::invalid);
    EXPECT_EQ(home.create_infrared("nobody", {{"name", "TV"}}, id), Status::no_data);
    EXPECT_EQ(home.create_infrared("hub", {{"name", "TV"}, {"keys", {"power", "up", "mute"}}}, id),
              Status::ok);
    EXPECT_EQ(home.command(id, "main", "infraredRemote", "press", Json::parse(R"(["power"])")).status,
              Status::ok);
}

TEST_F(HomeTest, MigrationTakesOverWhatBelongedToTheOlderPlatform)
{
    EXPECT_TRUE(home.devices().find("old")->legacy);
    EXPECT_EQ(home.migrate(), 1);
    EXPECT_FALSE(home.devices().find("old")->legacy);
    EXPECT_EQ(home.migrate(), 0);
}

TEST_F(HomeTest, ASnapshotBringsEverythingBack)
{
    const Json saved = home.save();
    home.remove_device("lamp");
    home.set_nick("light", "Changed");
    home.commit();
    home.restore(saved);
    home.commit();
    Json restored = home.save();
    restored["agent"]["time"] = saved["agent"]["time"];
    EXPECT_EQ(restored["devices"], saved["devices"]);
    EXPECT_EQ(restored["places"], saved["places"]);
}

TEST_F(HomeTest, ABadSnapshotChangesNothing)
{
    const Json before = home.save();
    Json bad = before;
    bad["devices"][0]["model"] = "no.model";
    EXPECT_NE(message_of([&] { home.restore(bad); }), "");
    EXPECT_EQ(home.save()["devices"], before["devices"]);
}

TEST_F(HomeTest, GatheringGrowsWithTime)
{
    home.set_caching(1000);
    EXPECT_TRUE(home.caching());
    clock.advance(500);
    EXPECT_DOUBLE_EQ(home.gathered(), 0.5);
    clock.advance(500);
    EXPECT_FALSE(home.caching());
    EXPECT_EQ(take<event::CacheFilled>().size(), 1U);
}

}  // namespace
}  // namespace quorvel::home
