// The core family's devices, against the reference agent.
#include "core_family.hpp"

namespace {

using namespace integration;

constexpr auto device_id = QUORVEL_CORE_DEVICE_PROP_DEVICE_ID;

// --- What there is -----------------------------------------------------------------------------------------

TEST_F(CoreFamily, ShowsADeviceAsItIs)
{
    const auto found = device("lamp-1");
    ASSERT_EQ(found.code, 0);
    const Device& lamp = found.front();
    EXPECT_EQ(lamp.text(device_id), "lamp-1");
    EXPECT_EQ(lamp.text(QUORVEL_CORE_DEVICE_PROP_NAME), "Floor lamp");
    EXPECT_EQ(lamp.text(QUORVEL_CORE_DEVICE_PROP_MANUFACTURER_NAME), "Hallam Lighting");
    EXPECT_EQ(lamp.text(QUORVEL_CORE_DEVICE_PROP_PRESENTATION_ID), "qv-hl-2207");
    EXPECT_EQ(lamp.text(QUORVEL_CORE_DEVICE_PROP_LOCATION_ID), "home");
    EXPECT_EQ(lamp.text(QUORVEL_CORE_DEVICE_PROP_ROOM_ID), "living");
    EXPECT_THAT(lamp.text(QUORVEL_CORE_DEVICE_PROP_COMPONENTS),
                AllOf(HasSubstr(member("id", "main")), HasSubstr(member("id", "colorTemperature"))));
    EXPECT_EQ(lamp.text(QUORVEL_CORE_DEVICE_PROP_PROFILE), "{" + member("id", "light.color") + "}");
    EXPECT_EQ(lamp.text(QUORVEL_CORE_DEVICE_PROP_TYPE), "CLOUD");
    EXPECT_EQ(lamp.text(QUORVEL_CORE_DEVICE_PROP_DEVICE_MODEL), "HL-2207");
    EXPECT_EQ(lamp.text(QUORVEL_CORE_DEVICE_PROP_HEALTH_STATE), "ONLINE");
    EXPECT_EQ(lamp.text(QUORVEL_CORE_DEVICE_PROP_OCF_DEVICE_TYPE), "qv.d.light");
    EXPECT_EQ(lamp.text(QUORVEL_CORE_DEVICE_PROP_PARENT_DEVICE_ID), "");

    const auto lock = device("lock-1");
    ASSERT_EQ(lock.code, 0);
    EXPECT_EQ(lock.front().text(QUORVEL_CORE_DEVICE_PROP_PARENT_DEVICE_ID), "hub-1");
    const auto hub = device("hub-1");
    ASSERT_EQ(hub.code, 0);
    EXPECT_THAT(hub.front().text(QUORVEL_CORE_DEVICE_PROP_CHILD_DEVICES),
                HasSubstr(member("deviceId", "lock-1")));

    EXPECT_THAT(
        ask(quorvel_core_get_device_json, "lock-1"),
        Answers(AllOf(HasSubstr(member("name", "Front door lock")),
                      HasSubstr(member("parentDeviceId", "hub-1")), HasSubstr(member("roomId", "hall")))));

    EXPECT_EQ(device("lamp-9").code, no_data);
    EXPECT_THAT(ask(quorvel_core_get_device_json, "lamp-9"), Refuses(no_data));
}

TEST_F(CoreFamily, ListsTheDevicesThatPassAFilter)
{
    const auto ids = [&](const char* filter) {
        const auto found = list<Device>(quorvel_core_get_device_list, filter);
        EXPECT_EQ(found.code, 0) << filter;
        return found.texts(device_id);
    };
    EXPECT_EQ(ids(nullptr).size(), 18U);
    EXPECT_EQ(ids("home").size(), 17U);
    EXPECT_EQ(ids("locationId=cabin"), std::set<std::string>{"cabin-plug"});
    EXPECT_EQ(ids("locationId=home&roomId=living"),
              (std::set<std::string>{"lamp-1", "lamp-2", "tv-1", "shade-1"}));
    EXPECT_EQ(ids("model=light.dimmer"), std::set<std::string>{"lamp-2"});
    EXPECT_EQ(ids("roomId=bedroom&parentDeviceId=hub-1"), std::set<std::string>{"button-1"});
    EXPECT_EQ(ids("deviceId=lamp-9"), std::set<std::string>{});

    EXPECT_THAT(ask(quorvel_core_get_device_list_json, "locationId=home&roomId=living"),
                Answers(AllOf(HasSubstr("\"count\":4"), HasSubstr(member("deviceId", "tv-1")))));
    EXPECT_THAT(ask(quorvel_core_get_device_list_json, "deviceId=lamp-9"), Answers(HasSubstr("\"count\":0")));

    EXPECT_EQ(list<Device>(quorvel_core_get_device_list, "color=red").code, invalid);
    EXPECT_THAT(ask(quorvel_core_get_device_list_json, "color=red"), Refuses(invalid));
}

// --- Health and statistics ---------------------------------------------------------------------------------

TEST_F(CoreFamily, KnowsWhichDevicesAreOnline)
{
    listen();
    const auto health = [&](const char* id) {
        int number = -1;
        return std::pair{call(quorvel_core_get_device_health_data, id, &number), number};
    };
    EXPECT_EQ(health("lamp-1"), (std::pair{0, 1}));
    EXPECT_THAT(ask(quorvel_core_get_home_insight_device_statistics, "home"),
                Answers(AllOf(HasSubstr("\"devices\":17"), HasSubstr("\"online\":17"),
                              HasSubstr("\"offline\":0"), HasSubstr(member("locationId", "home")))));

    world(R"({"do": "health", "device": "lamp-1", "state": "DISCONNECTED"})");
    EXPECT_EQ(health("lamp-1"), (std::pair{0, 0}));
    EXPECT_EQ(health("lamp-2"), (std::pair{0, 1}));
    EXPECT_THAT(
        ask(quorvel_core_get_device_health_data_json, "lamp-1"),
        Answers(AllOf(HasSubstr(member("deviceId", "lamp-1")), HasSubstr(member("state", "OFFLINE")))));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_DEVICE_HEALTH,
                            {member("deviceId", "lamp-1"), member("state", "OFFLINE")}));
    EXPECT_THAT(ask(quorvel_core_get_home_insight_device_statistics, "home"),
                Answers(AllOf(HasSubstr("\"online\":16"), HasSubstr("\"offline\":1"))));

    EXPECT_EQ(health("lamp-9"), (std::pair{no_data, -1}));
    EXPECT_THAT(ask(quorvel_core_get_device_health_data_json, "lamp-9"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_home_insight_device_statistics, "nowhere"), Refuses(no_data));
}

// --- Status and commands -----------------------------------------------------------------------------------

TEST_F(CoreFamily, ShowsWhatADeviceHoldsAsAWholeAndInParts)
{
    EXPECT_THAT(ask(quorvel_core_get_device_status, "lamp-1"),
                Answers(AllOf(HasSubstr(member("deviceId", "lamp-1")),
                              HasSubstr("\"components\":{\"main\":{"), HasSubstr("\"value\":40"))));
    EXPECT_THAT(ask(quorvel_core_get_device_component_status, "lamp-1", "main"),
                Answers(AllOf(HasSubstr("\"switch\":{"), HasSubstr("\"colorTemperature\":{"),
                              Not(HasSubstr("\"components\"")))));
    EXPECT_THAT(ask(quorvel_core_get_device_capability_status, "lamp-1", "main", "level"),
                Answers(AllOf(HasSubstr("\"value\":40"), HasSubstr(member("unit", "%")),
                              Not(HasSubstr("\"switch\"")))));

    EXPECT_THAT(ask(quorvel_core_get_device_status, "lamp-9"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_device_component_status, "lamp-9", "main"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_device_component_status, "lamp-1", "freezer"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_device_capability_status, "lamp-9", "main", "level"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_device_capability_status, "lamp-1", "freezer", "level"),
                Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_device_capability_status, "lamp-1", "main", "lock"), Refuses(no_data));
}

TEST_F(CoreFamily, DoesWhatADeviceIsToldAndSaysWhichCommandFailed)
{
    listen();
    EXPECT_THAT(
        ask(quorvel_core_execute_device, "lamp-1",
            R"([{"component": "main", "capability": "level", "command": "setLevel", "arguments": [70]}])"),
        Answers(HasSubstr(R"("results":[{"status":"COMPLETED"}])")));
    EXPECT_THAT(status("lamp-1", "level"), HasSubstr("\"value\":70"));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_DEVICE,
                            {member("deviceId", "lamp-1"), member("attribute", "level"), "\"value\":70",
                             "\"previous\":40", member("cause", "app")}));

    const Answer half = ask(quorvel_core_execute_device, "lamp-1",
                            R"({"commands": [{"capability": "switch", "command": "off"},)"
                            R"( {"capability": "lock", "command": "lock"}]})");
    EXPECT_EQ(half.code, no_data);
    EXPECT_THAT(half.text, AllOf(HasSubstr(member("status", "COMPLETED")),
                                 HasSubstr(member("status", "FAILED")), HasSubstr("\"code\":-61")));
    EXPECT_THAT(status("lamp-1", "switch"), HasSubstr(member("value", "off")));

    EXPECT_THAT(ask(quorvel_core_execute_device, "lamp-9", R"([{"capability": "switch", "command": "on"}])"),
                Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_execute_device, "lamp-1", "switch on"), Explains(invalid));
    world(R"({"do": "link", "device": "lamp-1", "online": false})");
    EXPECT_EQ(
        ask(quorvel_core_execute_device, "lamp-1", R"([{"capability": "switch", "command": "on"}])").code,
        QUORVEL_CLIENT_ERROR_NETWORK_UNREACHABLE);
    EXPECT_THAT(status("lamp-1", "switch"), HasSubstr(member("value", "off")));
}

// --- Preferences and presentation --------------------------------------------------------------------------

TEST_F(CoreFamily, KeepsThePreferencesOfADevice)
{
    EXPECT_THAT(
        ask(quorvel_core_get_device_preferences, "lamp-1", "*"),
        Answers(AllOf(HasSubstr("\"fadeMilliseconds\":400"), HasSubstr(member("powerOnBehavior", "last")))));
    EXPECT_THAT(ask(quorvel_core_get_device_preferences, "lamp-1", "powerOnBehavior"),
                Answers("{" + member("powerOnBehavior", "last") + "}"));

    EXPECT_EQ(
        ask(quorvel_core_update_device_preferences, "lamp-1", "*", R"({"powerOnBehavior": "off"})").code, 0);
    EXPECT_EQ(ask(quorvel_core_update_device_preferences, "lamp-1", "fadeMilliseconds", "250").code, 0);
    const Answer changed = ask(quorvel_core_get_device_preferences, "lamp-1", "all");
    EXPECT_THAT(changed, Answers(AllOf(HasSubstr("\"fadeMilliseconds\":250"),
                                       HasSubstr(member("powerOnBehavior", "off")))));

    EXPECT_THAT(ask(quorvel_core_update_device_preferences, "lamp-9", "*", R"({"powerOnBehavior": "on"})"),
                Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_update_device_preferences, "lamp-1", "*", "not json"), Explains(invalid));
    EXPECT_EQ(ask(quorvel_core_get_device_preferences, "lamp-1", "all").text, changed.text);
    EXPECT_THAT(ask(quorvel_core_get_device_preferences, "lamp-9", "*"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_device_preferences, "lamp-1", "volume"), Refuses(no_data));
}

TEST_F(CoreFamily, ShowsHowADeviceIsPresented)
{
    EXPECT_THAT(
        ask(quorvel_core_get_device_presentation, "lamp-1", "qv-hl-2207", "de-DE", false),
        Answers(AllOf(HasSubstr(member("presentationId", "qv-hl-2207")), HasSubstr(member("locale", "de-DE")),
                      HasSubstr("\"dashboard\""), Not(HasSubstr("\"detailView\"")))));
    EXPECT_THAT(ask(quorvel_core_get_device_presentation, "lamp-1", "qv-hl-2207", "de-DE", true),
                Answers(HasSubstr("\"detailView\"")));
    EXPECT_THAT(ask(quorvel_core_get_device_presentation, "lamp-9", "qv-hl-2207", "de-DE", true),
                Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_device_presentation, "lamp-1", "qv-none", "de-DE", true),
                Refuses(no_data));
}

// --- Name, place, labels, removal --------------------------------------------------------------------------

TEST_F(CoreFamily, MovesRenamesAndLabelsADevice)
{
    listen();
    EXPECT_EQ(ask(quorvel_core_move_device, "lamp-2", "cabin", "cabin-room").code, 0);
    EXPECT_EQ(ask(quorvel_core_change_device_name, "lamp-2", "Stove lamp").code, 0);
    EXPECT_EQ(ask(quorvel_core_update_device_components, "lamp-2",
                  R"([{"id": "main", "label": "Left", "icon": "bulb"}])")
                  .code,
              0);
    const auto lamp = device("lamp-2");
    ASSERT_EQ(lamp.code, 0);
    EXPECT_EQ(lamp.front().text(QUORVEL_CORE_DEVICE_PROP_LOCATION_ID), "cabin");
    EXPECT_EQ(lamp.front().text(QUORVEL_CORE_DEVICE_PROP_ROOM_ID), "cabin-room");
    EXPECT_EQ(lamp.front().text(QUORVEL_CORE_DEVICE_PROP_NAME), "Stove lamp");
    // Renaming a device sets its label too.
    EXPECT_EQ(lamp.front().text(QUORVEL_CORE_DEVICE_PROP_LABEL), "Stove lamp");
    EXPECT_THAT(lamp.front().text(QUORVEL_CORE_DEVICE_PROP_COMPONENTS),
                AllOf(HasSubstr(member("label", "Left")), HasSubstr(member("icon", "bulb"))));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_DEVICE_LIFECYCLE,
                            {member("deviceId", "lamp-2"), member("lifecycle", "UPDATED"),
                             member("roomId", "cabin-room"), member("name", "Stove lamp")}));

    const std::string before = ask(quorvel_core_get_device_json, "lamp-2").text;
    EXPECT_THAT(ask(quorvel_core_move_device, "lamp-2", "home", "cabin-room"), Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_move_device, "lamp-2", "nowhere", "attic"), Explains(no_data));
    EXPECT_THAT(
        ask(quorvel_core_update_device_components, "lamp-2", R"([{"id": "freezer", "label": "Ice"}])"),
        Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_update_device_components, "lamp-2", "not json"), Explains(invalid));
    EXPECT_EQ(ask(quorvel_core_get_device_json, "lamp-2").text, before);
    EXPECT_THAT(ask(quorvel_core_move_device, "lamp-9", "home", "living"), Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_change_device_name, "lamp-9", "Nothing"), Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_update_device_components, "lamp-9", R"([{"id": "main", "label": "A"}])"),
                Explains(no_data));
}

TEST_F(CoreFamily, ForgetsADeletedDeviceInBothFamilies)
{
    listen();
    EXPECT_EQ(call(quorvel_core_delete_device, "washer-1"), 0);
    EXPECT_EQ(device("washer-1").code, no_data);
    EXPECT_EQ(list<Device>(quorvel_core_get_device_list, nullptr).records.size(), 17U);
    EXPECT_FALSE(device_ids().contains("washer-1"));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_DEVICE_LIFECYCLE,
                            {member("deviceId", "washer-1"), member("lifecycle", "DELETED")}));
    EXPECT_EQ(call(quorvel_core_delete_device, "washer-1"), no_data);
    EXPECT_EQ(list<Device>(quorvel_core_get_device_list, nullptr).records.size(), 17U);
}

// --- Behind a hub ------------------------------------------------------------------------------------------

TEST_F(CoreFamily, PutsAnInfraredDeviceBehindAHub)
{
    const Answer created =
        ask(quorvel_core_create_ir_device, "hub-1", R"({"name": "Old radio", "keys": ["power", "mute"]})");
    ASSERT_THAT(created, Answers(HasSubstr(member("type", "INFRARED"))));
    const std::string id = text_at(created.text, "deviceId");
    EXPECT_THAT(ask(quorvel_core_get_ir_device, "hub-1", id.c_str()),
                Answers(AllOf(HasSubstr(member("name", "Old radio")), HasSubstr(member("roomId", "hall")),
                              HasSubstr(member("parentDeviceId", "hub-1")))));
    EXPECT_THAT(ask(quorvel_core_get_hub_json, "home", "hub-1").text, HasSubstr("\"" + id + "\""));
    EXPECT_EQ(ask(quorvel_core_execute_device, id.c_str(),
                  R"([{"capability": "infraredRemote", "command": "press", "arguments": ["mute"]}])")
                  .code,
              0);
    EXPECT_THAT(status(id.c_str(), "infraredRemote"), HasSubstr(member("value", "mute")));

    EXPECT_THAT(ask(quorvel_core_get_ir_device, "lamp-1", id.c_str()), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_ir_device, "hub-1", "lamp-1"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_create_ir_device, "hub-9", R"({"name": "Old radio"})"), Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_create_ir_device, "lamp-1", R"({"name": "Old radio"})"), Explains(invalid));
    EXPECT_THAT(ask(quorvel_core_create_ir_device, "hub-1", "not json"), Explains(invalid));
    EXPECT_EQ(list<Device>(quorvel_core_get_device_list, nullptr).records.size(), 19U);
}

TEST_F(CoreFamily, MovesALocalDeviceBehindAHubOnce)
{
    EXPECT_EQ(device("cabin-plug").front().text(QUORVEL_CORE_DEVICE_PROP_TYPE), "LOCAL");
    EXPECT_THAT(ask(quorvel_core_migrate_local_mqtt_device, "cabin-plug", "lamp-1"), Refuses(invalid));
    EXPECT_THAT(ask(quorvel_core_migrate_local_mqtt_device, "cabin-plug", "hub-9"), Refuses(no_data));
    EXPECT_EQ(device("cabin-plug").front().text(QUORVEL_CORE_DEVICE_PROP_TYPE), "LOCAL");

    EXPECT_EQ(ask(quorvel_core_migrate_local_mqtt_device, "cabin-plug", "hub-1").code, 0);
    const auto plug = device("cabin-plug");
    ASSERT_EQ(plug.code, 0);
    EXPECT_EQ(plug.front().text(QUORVEL_CORE_DEVICE_PROP_TYPE), "CLOUD");
    EXPECT_EQ(plug.front().text(QUORVEL_CORE_DEVICE_PROP_PARENT_DEVICE_ID), "hub-1");
    EXPECT_THAT(ask(quorvel_core_migrate_local_mqtt_device, "cabin-plug", "hub-1"), Refuses(out_of_order));
    EXPECT_THAT(ask(quorvel_core_migrate_local_mqtt_device, "lamp-9", "hub-1"), Refuses(no_data));
}

TEST_F(CoreFamily, LetsAHubLookForDevicesAndTakeWhatItFinds)
{
    listen();
    // First only looking, and telling of what is known too.
    ASSERT_EQ(call(quorvel_core_start_hub_device_discover, "hub-1", 60, false, true, 0), 0);
    EXPECT_THAT(ask(quorvel_core_get_hub_json, "home", "hub-1"), Answers(HasSubstr("\"searching\":true")));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_HUB, {member("deviceId", "hub-1"), "\"searching\":true"}));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_HUB, {member("foundDeviceId", "door-1")}));
    EXPECT_TRUE(
        events.hear(QUORVEL_CORE_SSE_TYPE_HUB, {member("foundDeviceId", "found-bulb"), "\"joined\":false"}));
    EXPECT_EQ(device("found-bulb").code, no_data);
    EXPECT_EQ(call(quorvel_core_stop_hub_device_discover, "hub-1"), 0);
    EXPECT_THAT(ask(quorvel_core_get_hub_json, "home", "hub-1"), Answers(HasSubstr("\"searching\":false")));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_HUB, {"\"searching\":false"}));

    // Then only the one that speaks the second protocol, which may join.
    events.all.clear();
    ASSERT_EQ(call(quorvel_core_start_hub_device_discover, "hub-1", 60, true, false, 2), 0);
    EXPECT_TRUE(
        events.hear(QUORVEL_CORE_SSE_TYPE_HUB, {member("foundDeviceId", "found-tag"), "\"joined\":true"}));
    EXPECT_EQ(events.count(QUORVEL_CORE_SSE_TYPE_HUB, {"\"foundDeviceId\""}), 1);
    const auto tag = device("found-tag");
    ASSERT_EQ(tag.code, 0);
    EXPECT_EQ(tag.front().text(QUORVEL_CORE_DEVICE_PROP_PARENT_DEVICE_ID), "hub-1");

    EXPECT_EQ(call(quorvel_core_start_hub_device_discover, "hub-9", 5, true, false, 0), no_data);
    EXPECT_EQ(call(quorvel_core_start_hub_device_discover, "lamp-1", 5, true, false, 0), invalid);
    EXPECT_EQ(call(quorvel_core_stop_hub_device_discover, "hub-9"), no_data);
    EXPECT_EQ(call(quorvel_core_stop_hub_device_discover, "lamp-1"), invalid);
}

}  // namespace
