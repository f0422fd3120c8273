// The core family's events, hubs, history, locations and rooms, against the reference agent.
#include "core_family.hpp"

namespace {

using namespace integration;

// --- Server-sent events ------------------------------------------------------------------------------------

TEST_F(CoreFamily, TellsOfEveryKindOfEventUntilTheCallbackIsRemoved)
{
    listen();
    ASSERT_EQ(ask(quorvel_core_create_room, "home", "Attic").code, 0);
    ASSERT_EQ(ask(quorvel_core_change_device_name, "lamp-1", "Moon").code, 0);
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_DEVICE_LIFECYCLE,
                            {member("deviceId", "lamp-1"), member("lifecycle", "UPDATED"),
                             member("locationId", "home"), member("name", "Moon")}));
    EXPECT_EQ(events.count(QUORVEL_CORE_SSE_TYPE_ROOM, {member("eventType", "ROOM"), member("name", "Attic"),
                                                        member("lifecycle", "CREATED")}),
              1);
    // Milliseconds: today has thirteen digits of them.
    EXPECT_GT(events.all.front().time, 1'000'000'000'000);

    EXPECT_EQ(call(quorvel_core_unset_sse_cb), 0);
    const auto before = events.all.size();
    Events of_lamp;
    ASSERT_EQ(
        call(quorvel_core_set_sse_cb_by_device_id, "lamp-1", Events::take, static_cast<void*>(&of_lamp)), 0);
    ASSERT_EQ(ask(quorvel_core_create_room, "home", "Cellar").code, 0);
    ASSERT_EQ(ask(quorvel_core_change_device_name, "lamp-1", "Sun").code, 0);
    // Events keep their order, so what was not told before this one was not sent.
    EXPECT_TRUE(of_lamp.hear(QUORVEL_CORE_SSE_TYPE_DEVICE_LIFECYCLE, {member("name", "Sun")}));
    EXPECT_EQ(events.all.size(), before);
    connection.disconnect();
}

TEST_F(CoreFamily, TellsOnlyTheKindOfEventThatWasAskedFor)
{
    listen(QUORVEL_CORE_SSE_TYPE_ROOM);
    ASSERT_EQ(ask(quorvel_core_change_device_name, "lamp-1", "Moon").code, 0);
    ASSERT_EQ(ask(quorvel_core_create_room, "home", "Attic").code, 0);
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_ROOM, {member("name", "Attic")}));
    EXPECT_EQ(events.all.size(), 1U);
}

TEST_F(CoreFamily, LeavesItToTheAgentWhichKindsOfEventThereAre)
{
    void* const user_data = &events;
    EXPECT_EQ(call(quorvel_core_set_sse_cb, 13, Events::take, user_data), invalid);
    EXPECT_EQ(call(quorvel_core_set_sse_cb, 0, Events::take, user_data), invalid);
}

TEST_F(CoreFamily, TellsOnlyOfTheDeviceThatWasAskedFor)
{
    void* const user_data = &events;
    EXPECT_EQ(call(quorvel_core_set_sse_cb_by_device_id, "no-lamp", Events::take, user_data), no_data);
    ASSERT_EQ(call(quorvel_core_set_sse_cb_by_device_id, "lamp-2", Events::take, user_data), 0);
    Events of_door;
    ASSERT_EQ(
        call(quorvel_core_set_sse_cb_by_device_id, "door-1", Events::take, static_cast<void*>(&of_door)), 0);
    world(R"({"do": "set", "device": "lamp-1", "attribute": "level", "value": 30})");
    world(R"({"do": "set", "device": "lamp-2", "attribute": "level", "value": 41})");
    world(R"({"do": "set", "device": "door-1", "attribute": "contact", "value": "open"})");
    EXPECT_TRUE(of_door.hear(QUORVEL_CORE_SSE_TYPE_DEVICE, {member("attribute", "contact")}));
    ASSERT_EQ(events.all.size(), 1U);
    EXPECT_THAT(events.all.front().text,
                AllOf(HasSubstr(member("deviceId", "lamp-2")), HasSubstr("\"value\":41"),
                      HasSubstr("\"previous\":100"), HasSubstr(member("componentId", "main"))));

    EXPECT_EQ(call(quorvel_core_unset_sse_cb_by_device_id, "lamp-2"), 0);
    world(R"({"do": "set", "device": "lamp-2", "attribute": "level", "value": 42})");
    world(R"({"do": "set", "device": "door-1", "attribute": "contact", "value": "closed"})");
    EXPECT_TRUE(of_door.hear(QUORVEL_CORE_SSE_TYPE_DEVICE, {member("value", "closed")}));
    EXPECT_EQ(events.all.size(), 1U);
    EXPECT_EQ(call(quorvel_core_unset_sse_cb_by_device_id, "lamp-2"), no_data);
    connection.disconnect();
}

// --- Hubs, the broker, and what the user does --------------------------------------------------------------

TEST_F(CoreFamily, KnowsAHubAndTheDevicesBehindIt)
{
    const std::set<std::string> behind{"shade-1", "leak-1", "smoke-1", "motion-1",
                                       "door-1",  "lock-1", "button-1"};
    char** ids = nullptr;
    int count = 0;
    ASSERT_EQ(call(quorvel_core_get_hub_device_id_list, "hub-1", &ids, &count), 0);
    std::set<std::string> found;
    for (int i = 0; i < count; ++i)
        found.insert(Text{ids[i]}.get());
    EXPECT_EQ(ids[count], nullptr);
    std::free(ids);
    EXPECT_EQ(found, behind);

    const Answer hub = ask(quorvel_core_get_hub_json, "home", "hub-1");
    EXPECT_THAT(hub,
                Answers(AllOf(HasSubstr(member("hubId", "hub-1")), HasSubstr(member("name", "Home hub")),
                              HasSubstr(member("locationId", "home")), HasSubstr("\"searching\":false"))));
    for (const auto& id : behind)
        EXPECT_THAT(hub.text, HasSubstr("\"" + id + "\""));

    EXPECT_THAT(ask(quorvel_core_get_hub_json, "home", "hub-2"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_hub_json, "cabin", "hub-1"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_hub_json, "home", "lamp-1"), Refuses(no_data));
    char* nothing = nullptr;
    ids = &nothing;
    count = -1;
    EXPECT_EQ(call(quorvel_core_get_hub_device_id_list, "hub-2", &ids, &count), no_data);
    EXPECT_EQ(ids, &nothing);
    EXPECT_EQ(count, -1);
}

TEST_F(CoreFamily, GivesAHubTheBrokerThatItAskedFor)
{
    const Answer plain = ask(quorvel_core_get_mqtt_broker_url, "hub-1", false);
    const Answer secure = ask(quorvel_core_get_mqtt_broker_url, "hub-1", true);
    EXPECT_THAT(plain, Answers(HasSubstr("://")));
    EXPECT_THAT(secure, Answers(HasSubstr("://")));
    EXPECT_NE(plain.text, secure.text);
    EXPECT_THAT(ask(quorvel_core_get_mqtt_broker_url, "hub-2", true), Refuses(no_data));
}

TEST_F(CoreFamily, RemembersWhatTheUserDid)
{
    ASSERT_EQ(call(quorvel_core_send_active_user_event, QUORVEL_CORE_ACTIVE_USER_CATEGORY_DEVICE,
                   QUORVEL_CORE_ACTIVE_USER_ACTION_TURN_ON, "lamp-1", "by hand"),
              0);
    const Answer newest = ask(quorvel_core_get_activity_history, "limit=1");
    EXPECT_THAT(newest, Answers(AllOf(HasSubstr("\"count\":1"), HasSubstr("lamp-1"), HasSubstr("by hand"))));
    EXPECT_EQ(call(quorvel_core_send_active_user_event, 19, 0, "lamp-1", "out of range"), invalid);
    EXPECT_EQ(call(quorvel_core_send_active_user_event, 0, 26, "lamp-1", "out of range"), invalid);
    EXPECT_EQ(ask(quorvel_core_get_activity_history, "limit=1").text, newest.text);
}

TEST_F(CoreFamily, RefusesWhileNobodyIsSignedIn)
{
    world(R"({"do": "sign", "in": false})");
    constexpr int denied = QUORVEL_CLIENT_ERROR_PERMISSION_DENIED;
    EXPECT_EQ(device("lamp-1").code, denied);
    EXPECT_EQ(list<Location>(quorvel_core_get_location_list).code, denied);
    EXPECT_EQ(ask(quorvel_core_create_room, "home", "Attic").code, denied);
    EXPECT_EQ(call(quorvel_core_delete_device, "lamp-1"), denied);
    world(R"({"do": "sign", "in": true})");
    EXPECT_EQ(device("lamp-1").code, 0);
    EXPECT_EQ(list<Room>(quorvel_core_get_room_list, "home").records.size(), 4U);
}

// --- History -----------------------------------------------------------------------------------------------

TEST_F(CoreFamily, TellsWhatHappenedNewestFirst)
{
    // What the home began with.
    EXPECT_THAT(ask(quorvel_core_get_activity_history, "before=1767225600001"),
                Answers(AllOf(HasSubstr("\"count\":1"), HasSubstr(member("deviceId", "hub-1")),
                              HasSubstr(member("text", "device added")))));
    EXPECT_THAT(ask(quorvel_core_get_activity_history, "before=1767225600000"),
                Answers(HasSubstr("\"count\":0")));

    ASSERT_EQ(
        ask(quorvel_core_execute_device, "lamp-1", R"([{"capability": "switch", "command": "off"}])").code,
        0);
    EXPECT_THAT(ask(quorvel_core_get_activity_history, "deviceId=lamp-1&limit=1"),
                Answers(HasSubstr(member("deviceId", "lamp-1"))));
    EXPECT_THAT(ask(quorvel_core_get_activity_history, "deviceId=tv-1"), Answers(HasSubstr("\"count\":0")));
    EXPECT_THAT(ask(quorvel_core_get_activity_history, "locationId=nowhere"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_activity_history, "color=red"), Refuses(invalid));
}

TEST_F(CoreFamily, TellsTheNotificationsThatCame)
{
    EXPECT_THAT(ask(quorvel_core_get_notification_history, "limit=10"), Answers(HasSubstr("\"count\":0")));
    world(R"({"do": "push", "kind": "message", "title": "Parcel", "body": "at the door"})");
    EXPECT_THAT(ask(quorvel_core_get_notification_history, "limit=10"),
                Answers(AllOf(HasSubstr("\"count\":1"), HasSubstr("Parcel"), HasSubstr("at the door"))));
    EXPECT_THAT(ask(quorvel_core_get_notification_history, "locationId=nowhere"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_notification_history, "limit=none"), Refuses(invalid));
}

// --- Locations ---------------------------------------------------------------------------------------------

TEST_F(CoreFamily, ShowsALocationAsItIs)
{
    const auto home_found = one<Location>(quorvel_core_get_location, "home");
    ASSERT_EQ(home_found.code, 0);
    const Location& it = home_found.front();
    EXPECT_EQ(it.text(QUORVEL_CORE_LOCATION_PROP_LOCATION_ID), "home");
    EXPECT_EQ(it.text(QUORVEL_CORE_LOCATION_PROP_NAME), "Demo home");
    EXPECT_EQ(it.text(QUORVEL_CORE_LOCATION_PROP_COUNTRY_CODE), "GB");
    EXPECT_EQ(it.text(QUORVEL_CORE_LOCATION_PROP_LATITUDE), "51.5033");
    EXPECT_EQ(it.text(QUORVEL_CORE_LOCATION_PROP_LONGITUDE), "-0.1196");
    EXPECT_EQ(it.text(QUORVEL_CORE_LOCATION_PROP_REGION_RADIUS), "150");
    EXPECT_EQ(it.text(QUORVEL_CORE_LOCATION_PROP_TIME_ZONE_ID), "Europe/London");

    EXPECT_EQ(list<Location>(quorvel_core_get_location_list).texts(QUORVEL_CORE_LOCATION_PROP_LOCATION_ID),
              (std::set<std::string>{"home", "cabin"}));
    // All devices but the one in the cabin.
    EXPECT_THAT(ask(quorvel_core_get_location_json, "home"),
                Answers(AllOf(HasSubstr(member("name", "Demo home")), HasSubstr("\"deviceCount\":17"),
                              HasSubstr(member("roomId", "bedroom")),
                              Not(HasSubstr(member("roomId", "cabin-room"))))));

    EXPECT_EQ(one<Location>(quorvel_core_get_location, "nowhere").code, no_data);
    EXPECT_THAT(ask(quorvel_core_get_location_json, "nowhere"), Refuses(no_data));
}

TEST_F(CoreFamily, KnowsWhoBelongsToALocation)
{
    EXPECT_THAT(ask(quorvel_core_get_location_users, "home"),
                Answers(AllOf(HasSubstr(member("userId", "user-demo")),
                              HasSubstr(member("userId", "user-kim")), HasSubstr(member("role", "member")))));
    EXPECT_THAT(ask(quorvel_core_get_location_users, "cabin"), Answers(Not(HasSubstr("user-kim"))));
    EXPECT_THAT(ask(quorvel_core_get_location_users, "nowhere"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_all_location_users),
                Answers(AllOf(HasSubstr("\"locations\":["), HasSubstr(member("locationId", "home")),
                              HasSubstr(member("locationId", "cabin")), HasSubstr("user-kim"))));
}

TEST_F(CoreFamily, CreatesChangesAndDeletesALocation)
{
    listen();
    const Answer created = ask(quorvel_core_create_location, "Boat", "NL", "52.37", "4.89", "30", "C",
                               "nl-NL", "ACCOUNT", "user-demo");
    ASSERT_THAT(created, Answers(HasSubstr(member("name", "Boat"))));
    const std::string id = text_at(created.text, "locationId");
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_LOCATION,
                            {member("lifecycle", "CREATED"), member("locationId", id)}));
    {
        const auto boat = one<Location>(quorvel_core_get_location, id.c_str());
        ASSERT_EQ(boat.code, 0);
        EXPECT_EQ(boat.front().text(QUORVEL_CORE_LOCATION_PROP_COUNTRY_CODE), "NL");
        EXPECT_EQ(boat.front().text(QUORVEL_CORE_LOCATION_PROP_LATITUDE), "52.37");
        EXPECT_EQ(boat.front().text(QUORVEL_CORE_LOCATION_PROP_LONGITUDE), "4.89");
        EXPECT_EQ(boat.front().text(QUORVEL_CORE_LOCATION_PROP_REGION_RADIUS), "30");
        EXPECT_EQ(boat.front().text(QUORVEL_CORE_LOCATION_PROP_TEMPERATURE_SCALE), "C");
        EXPECT_EQ(boat.front().text(QUORVEL_CORE_LOCATION_PROP_LOCALE), "nl-NL");
        EXPECT_EQ(boat.front().text(QUORVEL_CORE_LOCATION_PROP_PARENT_TYPE), "ACCOUNT");
        EXPECT_EQ(boat.front().text(QUORVEL_CORE_LOCATION_PROP_PARENT_ID), "user-demo");
    }

    EXPECT_EQ(
        ask(quorvel_core_update_location, id.c_str(), "Ship", "52.4", nullptr, nullptr, "F", nullptr).code,
        0);
    {
        const auto ship = one<Location>(quorvel_core_get_location, id.c_str());
        ASSERT_EQ(ship.code, 0);
        EXPECT_EQ(ship.front().text(QUORVEL_CORE_LOCATION_PROP_NAME), "Ship");
        EXPECT_EQ(ship.front().text(QUORVEL_CORE_LOCATION_PROP_LATITUDE), "52.4");
        EXPECT_EQ(ship.front().text(QUORVEL_CORE_LOCATION_PROP_LONGITUDE), "4.89");
        EXPECT_EQ(ship.front().text(QUORVEL_CORE_LOCATION_PROP_TEMPERATURE_SCALE), "F");
    }

    const std::string before = ask(quorvel_core_get_location_json, id.c_str()).text;
    EXPECT_THAT(
        ask(quorvel_core_update_location, id.c_str(), "Raft", nullptr, nullptr, nullptr, "K", nullptr),
        Explains(invalid));
    EXPECT_EQ(ask(quorvel_core_get_location_json, id.c_str()).text, before);

    EXPECT_EQ(ask(quorvel_core_delete_location, id.c_str()).code, 0);
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_LOCATION,
                            {member("lifecycle", "DELETED"), member("locationId", id)}));
    EXPECT_EQ(list<Location>(quorvel_core_get_location_list).texts(QUORVEL_CORE_LOCATION_PROP_LOCATION_ID),
              (std::set<std::string>{"home", "cabin"}));
    EXPECT_THAT(ask(quorvel_core_delete_location, id.c_str()), Explains(no_data));
    EXPECT_THAT(
        ask(quorvel_core_update_location, id.c_str(), "Raft", nullptr, nullptr, nullptr, nullptr, nullptr),
        Explains(no_data));
}

TEST_F(CoreFamily, CreatesNoLocationWithATemperatureScaleThatThereIsNot)
{
    EXPECT_THAT(ask(quorvel_core_create_location, "Boat", "NL", nullptr, nullptr, nullptr, "K", nullptr,
                    nullptr, nullptr),
                Explains(invalid));
    EXPECT_EQ(list<Location>(quorvel_core_get_location_list).records.size(), 2U);
}

TEST_F(CoreFamily, MovesTheDevicesOfADeletedLocationAndKeepsTheLastLocation)
{
    EXPECT_EQ(ask(quorvel_core_delete_location, "cabin").code, 0);
    const auto plug = device("cabin-plug");
    ASSERT_EQ(plug.code, 0);
    EXPECT_EQ(plug.front().text(QUORVEL_CORE_DEVICE_PROP_LOCATION_ID), "home");
    EXPECT_THAT(ask(quorvel_core_delete_location, "home"), Explains(out_of_order));
    EXPECT_EQ(one<Location>(quorvel_core_get_location, "home").code, 0);
}

// --- Rooms -------------------------------------------------------------------------------------------------

TEST_F(CoreFamily, ShowsTheRoomsOfALocation)
{
    EXPECT_EQ(list<Room>(quorvel_core_get_room_list, "home").texts(QUORVEL_CORE_ROOM_PROP_ROOM_ID),
              (std::set<std::string>{"living", "kitchen", "hall", "bedroom"}));
    const auto living = one<Room>(quorvel_core_get_room, "home", "living");
    ASSERT_EQ(living.code, 0);
    EXPECT_EQ(living.front().text(QUORVEL_CORE_ROOM_PROP_ROOM_ID), "living");
    EXPECT_EQ(living.front().text(QUORVEL_CORE_ROOM_PROP_NAME), "Living room");
    EXPECT_EQ(living.front().text(QUORVEL_CORE_ROOM_PROP_LOCATION_ID), "home");
    EXPECT_THAT(ask(quorvel_core_get_room_json, "home", "living"),
                Answers(AllOf(HasSubstr(member("name", "Living room")), HasSubstr("\"lamp-1\""),
                              HasSubstr("\"shade-1\""), Not(HasSubstr("\"washer-1\"")))));

    EXPECT_EQ(list<Room>(quorvel_core_get_room_list, "nowhere").code, no_data);
    EXPECT_EQ(one<Room>(quorvel_core_get_room, "home", "attic").code, no_data);
    EXPECT_EQ(one<Room>(quorvel_core_get_room, "cabin", "living").code, no_data);
    EXPECT_THAT(ask(quorvel_core_get_room_json, "home", "attic"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_get_room_json, "cabin", "living"), Refuses(no_data));
}

TEST_F(CoreFamily, CreatesRenamesAndDeletesARoom)
{
    listen();
    const Answer created = ask(quorvel_core_create_room, "home", "Attic");
    ASSERT_THAT(created, Answers(HasSubstr(member("name", "Attic"))));
    const std::string id = text_at(created.text, "roomId");
    EXPECT_EQ(list<Room>(quorvel_core_get_room_list, "home").records.size(), 5U);

    EXPECT_THAT(ask(quorvel_core_change_room_name, "home", id.c_str(), "Loft"),
                Answers(HasSubstr(member("name", "Loft"))));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_ROOM,
                            {member("lifecycle", "UPDATED"), member("roomId", id), member("name", "Loft")}));
    EXPECT_EQ(one<Room>(quorvel_core_get_room, "home", id.c_str()).front().text(QUORVEL_CORE_ROOM_PROP_NAME),
              "Loft");
    EXPECT_THAT(ask(quorvel_core_change_room_name, "cabin", id.c_str(), "Shed"), Explains(no_data));
    EXPECT_EQ(one<Room>(quorvel_core_get_room, "home", id.c_str()).front().text(QUORVEL_CORE_ROOM_PROP_NAME),
              "Loft");

    EXPECT_THAT(ask(quorvel_core_delete_room, "home", id.c_str()),
                Answers(AllOf(HasSubstr(member("roomId", id)), HasSubstr("\"deleted\":true"))));
    EXPECT_TRUE(
        events.hear(QUORVEL_CORE_SSE_TYPE_ROOM, {member("lifecycle", "DELETED"), member("roomId", id)}));
    EXPECT_EQ(list<Room>(quorvel_core_get_room_list, "home").records.size(), 4U);
    EXPECT_THAT(ask(quorvel_core_delete_room, "home", id.c_str()), Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_create_room, "nowhere", "Attic"), Explains(no_data));
}

TEST_F(CoreFamily, LeavesTheDevicesOfADeletedRoomInTheLocation)
{
    EXPECT_EQ(ask(quorvel_core_delete_room, "home", "living").code, 0);
    const auto lamp = device("lamp-1");
    ASSERT_EQ(lamp.code, 0);
    EXPECT_EQ(lamp.front().text(QUORVEL_CORE_DEVICE_PROP_LOCATION_ID), "home");
    EXPECT_EQ(lamp.front().text(QUORVEL_CORE_DEVICE_PROP_ROOM_ID), "");
}

}  // namespace
