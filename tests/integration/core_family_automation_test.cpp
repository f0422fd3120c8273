// The core family's rules and scenes, against the reference agent.
#include "core_family.hpp"

namespace {

using namespace integration;

// --- Rules -------------------------------------------------------------------------------------------------

constexpr auto door_rule =
    R"({"name": "Door", "when": {"device": "door-1", "attribute": "contact", "is": "open"},)"
    R"( "then": [{"device": "lamp-2", "set": {"switch": "on", "level": 30}}]})";

TEST_F(CoreFamily, ShowsTheRulesOfALocation)
{
    EXPECT_EQ(list<Rule>(quorvel_core_get_rule_list, "home").texts(QUORVEL_CORE_RULE_PROP_RULE_ID),
              (std::set<std::string>{"hall-motion", "leak-alarm"}));
    EXPECT_TRUE(list<Rule>(quorvel_core_get_rule_list, "cabin").records.empty());
    const auto rule = one<Rule>(quorvel_core_get_rule, "home", "hall-motion");
    ASSERT_EQ(rule.code, 0);
    EXPECT_EQ(rule.front().text(QUORVEL_CORE_RULE_PROP_RULE_ID), "hall-motion");
    EXPECT_THAT(rule.front().text(QUORVEL_CORE_RULE_PROP_RULE_JSON),
                AllOf(HasSubstr(member("name", "Hall light on motion")), HasSubstr("\"enabled\":true"),
                      HasSubstr(member("locationId", "home")), HasSubstr(member("device", "hall-light"))));

    EXPECT_EQ(one<Rule>(quorvel_core_get_rule, "home", "no-rule").code, no_data);
    EXPECT_EQ(one<Rule>(quorvel_core_get_rule, "cabin", "hall-motion").code, no_data);
    EXPECT_EQ(list<Rule>(quorvel_core_get_rule_list, "nowhere").code, no_data);
}

TEST_F(CoreFamily, CreatesARuleThatActs)
{
    listen();
    const Answer created = ask(quorvel_core_create_rule, "home", door_rule);
    ASSERT_THAT(created, Answers(AllOf(HasSubstr(member("name", "Door")), HasSubstr("\"enabled\":true"))));
    const std::string id = text_at(created.text, "ruleId");
    EXPECT_TRUE(
        events.hear(QUORVEL_CORE_SSE_TYPE_RULE, {member("lifecycle", "CREATED"), member("ruleId", id)}));
    EXPECT_EQ(one<Rule>(quorvel_core_get_rule, "home", id.c_str()).code, 0);

    world(R"({"do": "set", "device": "door-1", "attribute": "contact", "value": "open"})");
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_RULE,
                            {member("lifecycle", "EXECUTED"), member("ruleId", id), "\"well\":true"}));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_DEVICE,
                            {member("deviceId", "lamp-2"), member("cause", "rule " + id)}));
    EXPECT_THAT(status("lamp-2", "level"), HasSubstr("\"value\":30"));

    EXPECT_THAT(ask(quorvel_core_create_rule, "nowhere", door_rule), Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_create_rule, "home", "not json"), Explains(invalid));
    EXPECT_THAT(ask(quorvel_core_create_rule, "home", R"({"name": "Idle"})"), Explains(invalid));
    EXPECT_EQ(list<Rule>(quorvel_core_get_rule_list, "home").records.size(), 3U);
}

TEST_F(CoreFamily, ChangesAndDeletesARule)
{
    listen();
    const auto text = [&] {
        return one<Rule>(quorvel_core_get_rule, "home", "leak-alarm")
            .front()
            .text(QUORVEL_CORE_RULE_PROP_RULE_JSON);
    };
    EXPECT_EQ(ask(quorvel_core_update_rule, "home", "leak-alarm", R"({"name": "Flood"})").code, 0);
    const std::string changed = text();
    EXPECT_THAT(changed, AllOf(HasSubstr(member("name", "Flood")), HasSubstr(member("attribute", "water"))));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_RULE,
                            {member("lifecycle", "UPDATED"), member("ruleId", "leak-alarm")}));
    EXPECT_THAT(ask(quorvel_core_update_rule, "home", "leak-alarm", "not json"), Explains(invalid));
    EXPECT_THAT(ask(quorvel_core_update_rule, "cabin", "leak-alarm", R"({"name": "Wave"})"),
                Explains(no_data));
    EXPECT_EQ(text(), changed);

    EXPECT_THAT(ask(quorvel_core_delete_rule, "cabin", "leak-alarm"), Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_delete_rule, "home", "leak-alarm"),
                Answers(HasSubstr(member("ruleId", "leak-alarm"))));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_RULE,
                            {member("lifecycle", "DELETED"), member("ruleId", "leak-alarm")}));
    EXPECT_EQ(list<Rule>(quorvel_core_get_rule_list, "home").texts(QUORVEL_CORE_RULE_PROP_RULE_ID),
              std::set<std::string>{"hall-motion"});
    EXPECT_THAT(ask(quorvel_core_delete_rule, "home", "leak-alarm"), Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_update_rule, "home", "leak-alarm", R"({"name": "Wave"})"),
                Explains(no_data));
}

TEST_F(CoreFamily, RunsARuleThatIsAskedForAndNoneThatIsOff)
{
    listen();
    EXPECT_THAT(status("hall-light", "switch"), HasSubstr(member("value", "off")));
    EXPECT_THAT(ask(quorvel_core_execute_rule, "home", "hall-motion"),
                Answers(HasSubstr(member("status", "COMPLETED"))));
    EXPECT_THAT(status("hall-light", "switch"), HasSubstr(member("value", "on")));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_RULE,
                            {member("lifecycle", "EXECUTED"), member("ruleId", "hall-motion")}));
    EXPECT_THAT(ask(quorvel_core_execute_rule, "home", "no-rule"), Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_execute_rule, "cabin", "hall-motion"), Explains(no_data));

    ASSERT_EQ(
        ask(quorvel_core_execute_device, "hall-light", R"([{"capability": "switch", "command": "off"}])")
            .code,
        0);
    EXPECT_THAT(ask(quorvel_core_update_rule_status, "home", "hall-motion", false),
                Answers(HasSubstr("\"enabled\":false")));
    EXPECT_THAT(one<Rule>(quorvel_core_get_rule, "home", "hall-motion")
                    .front()
                    .text(QUORVEL_CORE_RULE_PROP_RULE_JSON),
                HasSubstr("\"enabled\":false"));
    world(R"({"do": "set", "device": "motion-1", "attribute": "motion", "value": "active"})");
    EXPECT_THAT(status("hall-light", "switch"), HasSubstr(member("value", "off")));

    world(R"({"do": "set", "device": "motion-1", "attribute": "motion", "value": "inactive"})");
    EXPECT_EQ(ask(quorvel_core_update_rule_status, "home", "hall-motion", true).code, 0);
    world(R"({"do": "set", "device": "motion-1", "attribute": "motion", "value": "active"})");
    EXPECT_TRUE(pump_until(
        [&] { return status("hall-light", "switch").find(member("value", "on")) != std::string::npos; }));
    EXPECT_THAT(ask(quorvel_core_update_rule_status, "home", "no-rule", true), Explains(no_data));
}

// --- Scenes ------------------------------------------------------------------------------------------------

TEST_F(CoreFamily, ShowsTheScenesOfALocation)
{
    EXPECT_EQ(list<Scene>(quorvel_core_get_scene_list, "home").texts(QUORVEL_CORE_SCENE_PROP_SCENE_ID),
              (std::set<std::string>{"movie", "leaving"}));
    EXPECT_TRUE(list<Scene>(quorvel_core_get_scene_list, "cabin").records.empty());
    const auto movie = one<Scene>(quorvel_core_get_scene, "home", "movie");
    ASSERT_EQ(movie.code, 0);
    EXPECT_EQ(movie.front().text(QUORVEL_CORE_SCENE_PROP_SCENE_ID), "movie");
    EXPECT_THAT(movie.front().text(QUORVEL_CORE_SCENE_PROP_SCENE_JSON),
                AllOf(HasSubstr(member("name", "Movie night")), HasSubstr(member("icon", "film")),
                      HasSubstr(member("device", "shade-1")), Not(HasSubstr("lastExecuted"))));

    EXPECT_EQ(one<Scene>(quorvel_core_get_scene, "home", "no-scene").code, no_data);
    EXPECT_EQ(one<Scene>(quorvel_core_get_scene, "cabin", "movie").code, no_data);
    EXPECT_EQ(list<Scene>(quorvel_core_get_scene_list, "nowhere").code, no_data);
}

TEST_F(CoreFamily, RunsAScene)
{
    listen();
    EXPECT_THAT(ask(quorvel_core_execute_scene, "home", "movie"),
                Answers(HasSubstr(member("status", "COMPLETED"))));
    EXPECT_THAT(status("lamp-1", "level"), HasSubstr("\"value\":10"));
    EXPECT_THAT(status("shade-1", "shade"), HasSubstr(member("value", "closed")));
    EXPECT_TRUE(
        events.hear(QUORVEL_CORE_SSE_TYPE_SCENE, {member("lifecycle", "EXECUTED"), member("sceneId", "movie"),
                                                  member("name", "Movie night"), "\"well\":true"}));
    EXPECT_EQ(events.count(QUORVEL_CORE_SSE_TYPE_DEVICE,
                           {member("deviceId", "lamp-1"), member("attribute", "level"),
                            member("cause", "scene movie")}),
              1);
    EXPECT_THAT(
        one<Scene>(quorvel_core_get_scene, "home", "movie").front().text(QUORVEL_CORE_SCENE_PROP_SCENE_JSON),
        HasSubstr("\"lastExecuted\":"));
    EXPECT_THAT(ask(quorvel_core_execute_scene, "home", "no-scene"), Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_execute_scene, "cabin", "leaving"), Explains(no_data));
    EXPECT_THAT(status("lamp-1", "switch"), HasSubstr(member("value", "on")));
}

TEST_F(CoreFamily, RunsASceneThatIsNotKept)
{
    listen();
    EXPECT_THAT(ask(quorvel_core_execute_adhoc_scene, "home",
                    R"({"actions": [{"device": "lamp-2", "set": {"switch": "on", "level": 55}}]})"),
                Answers(HasSubstr(member("status", "COMPLETED"))));
    EXPECT_THAT(status("lamp-2", "switch"), HasSubstr(member("value", "on")));
    EXPECT_THAT(status("lamp-2", "level"), HasSubstr("\"value\":55"));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_SCENE, {member("lifecycle", "EXECUTED")}));
    EXPECT_EQ(list<Scene>(quorvel_core_get_scene_list, "home").records.size(), 2U);

    EXPECT_THAT(ask(quorvel_core_execute_adhoc_scene, "nowhere",
                    R"({"actions": [{"device": "lamp-2", "set": {"switch": "off"}}]})"),
                Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_execute_adhoc_scene, "home", "not json"), Explains(invalid));
    EXPECT_THAT(status("lamp-2", "switch"), HasSubstr(member("value", "on")));
}

TEST_F(CoreFamily, CreatesChangesAndDeletesAScene)
{
    listen();
    const Answer created =
        ask(quorvel_core_create_scene, "home",
            R"({"name": "Tea", "actions": [{"device": "plug-1", "set": {"switch": "on"}}]})");
    ASSERT_THAT(created, Answers(HasSubstr(member("name", "Tea"))));
    const std::string id = text_at(created.text, "sceneId");
    const auto text = [&] {
        return one<Scene>(quorvel_core_get_scene, "home", id.c_str())
            .front()
            .text(QUORVEL_CORE_SCENE_PROP_SCENE_JSON);
    };
    EXPECT_THAT(text(), AllOf(HasSubstr(member("sceneId", id)), HasSubstr(member("locationId", "home"))));
    EXPECT_TRUE(
        events.hear(QUORVEL_CORE_SSE_TYPE_SCENE, {member("lifecycle", "CREATED"), member("sceneId", id)}));
    EXPECT_THAT(ask(quorvel_core_create_scene, "home", R"({"name": "Idle"})"), Explains(invalid));
    EXPECT_THAT(ask(quorvel_core_create_scene, "nowhere",
                    R"({"name": "Tea", "actions": [{"device": "plug-1", "set": {"switch": "on"}}]})"),
                Explains(no_data));
    EXPECT_EQ(list<Scene>(quorvel_core_get_scene_list, "home").records.size(), 3U);

    // Only what is given changes.
    EXPECT_EQ(ask(quorvel_core_update_scene, "home", id.c_str(), R"({"name": "Coffee"})").code, 0);
    const std::string changed = text();
    EXPECT_THAT(changed, AllOf(HasSubstr(member("name", "Coffee")), HasSubstr(member("device", "plug-1"))));
    EXPECT_TRUE(
        events.hear(QUORVEL_CORE_SSE_TYPE_SCENE, {member("lifecycle", "UPDATED"), member("sceneId", id)}));
    EXPECT_THAT(ask(quorvel_core_update_scene, "cabin", id.c_str(), R"({"name": "Cocoa"})"),
                Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_update_scene, "home", id.c_str(), "not json"), Explains(invalid));
    EXPECT_EQ(text(), changed);

    EXPECT_THAT(ask(quorvel_core_delete_scene, "home", id.c_str()),
                Answers(HasSubstr(member("sceneId", id))));
    EXPECT_TRUE(
        events.hear(QUORVEL_CORE_SSE_TYPE_SCENE, {member("lifecycle", "DELETED"), member("sceneId", id)}));
    EXPECT_EQ(list<Scene>(quorvel_core_get_scene_list, "home").records.size(), 2U);
    EXPECT_THAT(ask(quorvel_core_delete_scene, "home", id.c_str()), Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_update_scene, "home", id.c_str(), R"({"name": "Cocoa"})"),
                Explains(no_data));
}

}  // namespace
