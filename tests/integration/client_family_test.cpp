// The client family against the reference agent: devices, groups, scenes, launch conditions. The account
// stands in client_account_test.cpp, resources and services in client_resources_test.cpp, onboarding in
// client_easy_setup_test.cpp.
#include <gmock/gmock.h>

#include "reference_home.hpp"

namespace {

using namespace integration;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr int invalid = QUORVEL_CLIENT_ERROR_INVALID_PARAMETER;
constexpr int no_data = QUORVEL_CLIENT_ERROR_NO_DATA;

using Names = std::vector<std::string>;

// --- Devices -----------------------------------------------------------------------------------------------

class ClientDevices : public ReferenceHome {
protected:
    struct Lists {
        std::vector<Names> lists;
        static void devices(quorvel_client_device_h* list, int count, void* user_data)
        {
            static_cast<Lists*>(user_data)->lists.push_back(
                take_records(list, count, quorvel_client_device_get_string,
                             QUORVEL_CLIENT_DEVICE_PROP_DEVICE_ID, quorvel_client_device_destroy));
        }
        static void details(quorvel_client_device_detail_h* list, int count, void* user_data)
        {
            static_cast<Lists*>(user_data)->lists.push_back(take_records(
                list, count, quorvel_client_device_detail_get_string,
                QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_ID, quorvel_client_device_detail_destroy));
        }
        bool wait(std::size_t count = 1)
        {
            return pump_until([&] { return lists.size() >= count; });
        }
    };
    int cloud_state(const char* device_id) const
    {
        quorvel_client_device_detail_h detail = nullptr;
        EXPECT_EQ(quorvel_client_get_device_detail(client(), device_id, &detail), 0);
        int state = -1;
        EXPECT_EQ(quorvel_client_device_detail_get_int(
                      detail, QUORVEL_CLIENT_DEVICE_DETAIL_PROP_CLOUD_DEVICE_STATE, &state),
                  0);
        quorvel_client_device_detail_destroy(detail);
        return state;
    }
    std::string subgroup_of(const char* device_id) const
    {
        return detail_of(device_id, QUORVEL_CLIENT_DEVICE_DETAIL_PROP_SUBGROUP_ID);
    }
};

TEST_F(ClientDevices, AreListedWithIdAndType)
{
    quorvel_client_device_h* list = nullptr;
    int count = 0;
    ASSERT_EQ(quorvel_client_get_device_list(client(), &list, &count), 0);
    ASSERT_EQ(count, 18);
    bool found = false;
    for (int i = 0; i < count; ++i) {
        if (text_of(quorvel_client_device_get_string, list[i], QUORVEL_CLIENT_DEVICE_PROP_DEVICE_ID)
            == "lamp-2") {
            found = true;
            EXPECT_EQ(texts_of(quorvel_client_device_get_string_array, list[i],
                               QUORVEL_CLIENT_DEVICE_PROP_DEVICE_TYPE),
                      Names{"qv.d.light"});
        }
        EXPECT_EQ(quorvel_client_device_destroy(list[i]), 0);
    }
    std::free(list);
    EXPECT_TRUE(found);
    EXPECT_EQ(quorvel_client_device_destroy(nullptr), invalid);
}

TEST_F(ClientDevices, HaveDetailsOfPlaceMakerAndResources)
{
    quorvel_client_device_detail_h lamp = nullptr;
    ASSERT_EQ(quorvel_client_get_device_detail(client(), "lamp-1", &lamp), 0);
    const auto text = [&](int property) {
        return text_of(quorvel_client_device_detail_get_string, lamp, property);
    };
    EXPECT_EQ(text(QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_ID), "lamp-1");
    EXPECT_EQ(text(QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_NAME), "Floor lamp");
    EXPECT_EQ(text(QUORVEL_CLIENT_DEVICE_DETAIL_PROP_GROUP_ID), "home");
    EXPECT_EQ(text(QUORVEL_CLIENT_DEVICE_DETAIL_PROP_SUBGROUP_ID), "living");
    EXPECT_EQ(text(QUORVEL_CLIENT_DEVICE_DETAIL_PROP_UI_META_VERSION), "1");
    EXPECT_EQ(text(QUORVEL_CLIENT_DEVICE_DETAIL_PROP_MANUFACTURE_NAME), "Hallam Lighting");
    EXPECT_EQ(text(QUORVEL_CLIENT_DEVICE_DETAIL_PROP_VID), "qv-hl-2207");
    EXPECT_EQ(text(QUORVEL_CLIENT_DEVICE_DETAIL_PROP_FIRMWARE_VERSION), "2.0.3");
    const auto texts = [&](int property) {
        return texts_of(quorvel_client_device_detail_get_string_array, lamp, property);
    };
    EXPECT_EQ(texts(QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_TYPE), Names{"qv.d.light"});
    const Names uris = texts(QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_URIS);
    EXPECT_THAT(uris, testing::IsSupersetOf({"/device", "/platform", "/switch", "/level"}));
    const Names observable = texts(QUORVEL_CLIENT_DEVICE_DETAIL_PROP_OBSERVABLE_RESOURCE_URIS);
    EXPECT_THAT(observable, Contains("/switch"));
    EXPECT_THAT(observable, Not(Contains("/platform")));
    int resources = 0;
    EXPECT_EQ(quorvel_client_device_detail_get_int(lamp, QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_COUNT,
                                                   &resources),
              0);
    EXPECT_EQ(static_cast<std::size_t>(resources), uris.size());
    EXPECT_EQ(quorvel_client_device_detail_destroy(lamp), 0);

    quorvel_client_device_detail_h nothing = nullptr;
    EXPECT_EQ(quorvel_client_get_device_detail(client(), "no-such-device", &nothing), no_data);
    EXPECT_EQ(nothing, nullptr);
    EXPECT_EQ(quorvel_client_device_detail_destroy(nullptr), invalid);
}

TEST_F(ClientDevices, AreTheSameInTheListOfDetails)
{
    quorvel_client_device_detail_h* list = nullptr;
    int count = 0;
    ASSERT_EQ(quorvel_client_get_device_detail_list(client(), &list, &count), 0);
    const Names ids =
        take_records(list, count, quorvel_client_device_detail_get_string,
                     QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_ID, quorvel_client_device_detail_destroy);
    EXPECT_EQ(ids.size(), 18U);
    EXPECT_EQ((std::set<std::string>{ids.begin(), ids.end()}), device_ids());
}

TEST_F(ClientDevices, AreToldAnewWhenTheyAreRefreshed)
{
    Lists devices;
    ASSERT_EQ(quorvel_client_set_device_list_updated_cb(client(), Lists::devices, &devices), 0);
    ASSERT_EQ(quorvel_client_refresh_device_information(client()), 0);
    ASSERT_TRUE(devices.wait());
    EXPECT_THAT(devices.lists.front(), SizeIs(18));

    EXPECT_EQ(quorvel_client_unset_device_list_updated_cb(client()), 0);
    const std::size_t before = devices.lists.size();
    order(R"({"do": "device-remove", "device": "lamp-2"})");
    settle();
    EXPECT_EQ(devices.lists.size(), before);
    EXPECT_EQ(device_ids().size(), 17U);
}

TEST_F(ClientDevices, AreToldInDetailWhenTheirStateChanges)
{
    Lists details;
    EXPECT_EQ(cloud_state("lamp-1"), QUORVEL_CLIENT_CLOUD_DEVICE_STATE_CONNECTED);
    ASSERT_EQ(quorvel_client_set_device_detail_list_updated_cb(client(), Lists::details, &details), 0);
    order(R"({"do": "health", "device": "lamp-1", "state": "DISCONNECTED"})");
    ASSERT_TRUE(details.wait());
    EXPECT_THAT(details.lists.front(), SizeIs(18));
    EXPECT_EQ(cloud_state("lamp-1"), QUORVEL_CLIENT_CLOUD_DEVICE_STATE_DISCONNECTED);
    order(R"({"do": "health", "device": "lamp-1", "state": "INACTIVE"})");
    EXPECT_EQ(cloud_state("lamp-1"), QUORVEL_CLIENT_CLOUD_DEVICE_STATE_INACTIVE);
    order(R"({"do": "health", "device": "lamp-1", "state": "CONNECTED"})");
    ASSERT_TRUE(details.wait(3));

    EXPECT_EQ(quorvel_client_unset_device_detail_list_updated_cb(client()), 0);
    const std::size_t before = details.lists.size();
    order(R"({"do": "health", "device": "lamp-2", "state": "DISCONNECTED"})");
    settle();
    EXPECT_EQ(details.lists.size(), before);
}

TEST_F(ClientDevices, MoveIntoAnotherSubgroup)
{
    const char* const two[] = {"lamp-1", "lamp-2"};
    Outcome outcome;
    ASSERT_EQ(quorvel_client_move_devices(client(), two, 2, "home", "kitchen", Outcome::take, &outcome), 0);
    EXPECT_EQ(outcome.wait(), 0);
    EXPECT_EQ(subgroup_of("lamp-1"), "kitchen");
    EXPECT_EQ(subgroup_of("lamp-2"), "kitchen");
    EXPECT_EQ(subgroup_of("tv-1"), "living");
}

TEST_F(ClientDevices, StayWhereTheyAreWhenOneOrThePlaceDoesNotExist)
{
    const char* const one_missing[] = {"lamp-1", "no-such-device"};
    Outcome outcome;
    EXPECT_EQ(
        quorvel_client_move_devices(client(), one_missing, 2, "home", "kitchen", Outcome::take, &outcome),
        no_data);
    EXPECT_EQ(
        quorvel_client_move_devices(client(), one_missing, 1, "no-such-group", "", Outcome::take, &outcome),
        no_data);
    // A room of another location is not in this one.
    EXPECT_EQ(
        quorvel_client_move_devices(client(), one_missing, 1, "cabin", "kitchen", Outcome::take, &outcome),
        no_data);
    settle();
    EXPECT_EQ(outcome.answers, 0);
    EXPECT_EQ(subgroup_of("lamp-1"), "living");
}

TEST_F(ClientDevices, CannotBeRenamedOrRemovedWhenTheyDoNotExist)
{
    Outcome outcome;
    EXPECT_EQ(quorvel_client_change_device_nick(client(), "no-such-device", "Sun", Outcome::take, &outcome),
              no_data);
    EXPECT_EQ(quorvel_client_remove_device(client(), "no-such-device", Outcome::take, &outcome), no_data);
    settle();
    EXPECT_EQ(outcome.answers, 0);
    EXPECT_EQ(device_ids().size(), 18U);
}

TEST_F(ClientDevices, TellOfANewNickAndOfARemoval)
{
    Lists devices;
    ASSERT_EQ(quorvel_client_set_device_list_updated_cb(client(), Lists::devices, &devices), 0);
    Outcome nick;
    ASSERT_EQ(quorvel_client_change_device_nick(client(), "lamp-2", "Reader", Outcome::take, &nick), 0);
    EXPECT_EQ(nick.wait(), 0);
    EXPECT_EQ(nick_of("lamp-2"), "Reader");
    ASSERT_TRUE(devices.wait());
    EXPECT_THAT(devices.lists.back(), Contains("lamp-2"));

    const std::size_t before = devices.lists.size();
    Outcome removal;
    ASSERT_EQ(quorvel_client_remove_device(client(), "lamp-2", Outcome::take, &removal), 0);
    EXPECT_EQ(removal.wait(), 0);
    ASSERT_TRUE(devices.wait(before + 1));
    EXPECT_THAT(devices.lists.back(), SizeIs(17));
    EXPECT_THAT(devices.lists.back(), Not(Contains("lamp-2")));
}

// --- Groups ------------------------------------------------------------------------------------------------

class ClientGroups : public ReferenceHome {
protected:
    struct Event {
        int event;
        int type;
        std::string id;
        std::string name;
    };
    struct Events {
        std::vector<Event> all;
        static void take(int event, int type, quorvel_client_group_h* list, int count, const char* group_id,
                         void* user_data)
        {
            const std::string name = count > 0 ? text_of(quorvel_client_group_get_string, list[0],
                                                         QUORVEL_CLIENT_GROUP_PROP_GROUP_NAME)
                                               : "";
            take_records(list, count, quorvel_client_group_get_string, QUORVEL_CLIENT_GROUP_PROP_GROUP_ID,
                         quorvel_client_group_destroy);
            static_cast<Events*>(user_data)->all.push_back(
                {event, type, group_id != nullptr ? group_id : "", name});
        }
        bool wait_for(int event, std::string_view id)
        {
            return pump_until([&] {
                return std::any_of(all.begin(), all.end(),
                                   [&](const Event& each) { return each.event == event && each.id == id; });
            });
        }
    };
    Names list(int type) const
    {
        quorvel_client_group_h* groups = nullptr;
        int count = 0;
        EXPECT_EQ(quorvel_client_get_group_list(client(), type, &groups, &count), 0);
        return take_records(groups, count, quorvel_client_group_get_string,
                            QUORVEL_CLIENT_GROUP_PROP_GROUP_ID, quorvel_client_group_destroy);
    }
    Names groups() const { return list(QUORVEL_CLIENT_GROUP_TYPE_GROUP); }
    Names subgroups() const { return list(QUORVEL_CLIENT_GROUP_TYPE_SUBGROUP); }

    std::string text(const std::string& group_id, int property) const
    {
        quorvel_client_group_h group = nullptr;
        EXPECT_EQ(quorvel_client_get_group(client(), group_id.c_str(), &group), 0);
        const std::string value = text_of(quorvel_client_group_get_string, group, property);
        quorvel_client_group_destroy(group);
        return value;
    }
    Names texts(const std::string& group_id, int property) const
    {
        quorvel_client_group_h group = nullptr;
        EXPECT_EQ(quorvel_client_get_group(client(), group_id.c_str(), &group), 0);
        Names values = texts_of(quorvel_client_group_get_string_array, group, property);
        quorvel_client_group_destroy(group);
        return values;
    }
    /// Adds a group; its id.
    std::string add(const char* parent, const char* name, const char* image)
    {
        Heard heard;
        EXPECT_EQ(quorvel_client_add_group(client(), parent, name, "", image, "",
                                           hear<quorvel_client_group_result_cb>, &heard),
                  0);
        EXPECT_TRUE(heard.wait());
        const std::string line = heard.lines.empty() ? "" : heard.lines.front();
        EXPECT_THAT(line, testing::MatchesRegex("0\\|.+\\|added"));
        const std::size_t bar = line.find('|') + 1;
        return line.substr(bar, line.rfind('|') - bar);
    }
};

TEST_F(ClientGroups, AreThePlacesOfTheHomeAndTheirRooms)
{
    EXPECT_THAT(groups(), UnorderedElementsAre("home", "cabin"));
    EXPECT_THAT(subgroups(), UnorderedElementsAre("living", "kitchen", "hall", "bedroom", "cabin-room"));
    quorvel_client_group_h* none = nullptr;
    int count = 0;
    EXPECT_EQ(quorvel_client_get_group_list(client(), 3, &none, &count), invalid);
    EXPECT_EQ(none, nullptr);
}

TEST_F(ClientGroups, HoldTheirDevicesByGeneration)
{
    EXPECT_EQ(text("home", QUORVEL_CLIENT_GROUP_PROP_GROUP_NAME), "Demo home");
    EXPECT_EQ(text("home", QUORVEL_CLIENT_GROUP_PROP_GROUP_TYPE), "group");
    EXPECT_EQ(text("home", QUORVEL_CLIENT_GROUP_PROP_GROUP_OWNER), "user-demo");
    EXPECT_EQ(text("home", QUORVEL_CLIENT_GROUP_PROP_PARENT_ID), "");
    EXPECT_EQ(texts("home", QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V1), Names{"old-plug"});
    EXPECT_THAT(texts("home", QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V2), SizeIs(16));
    EXPECT_EQ(texts("home", QUORVEL_CLIENT_GROUP_PROP_SUBGROUP_LIST),
              (Names{"living", "kitchen", "hall", "bedroom"}));

    EXPECT_EQ(text("kitchen", QUORVEL_CLIENT_GROUP_PROP_GROUP_TYPE), "subgroup");
    EXPECT_EQ(text("kitchen", QUORVEL_CLIENT_GROUP_PROP_PARENT_ID), "home");
    EXPECT_THAT(texts("kitchen", QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V2),
                UnorderedElementsAre("plug-1", "washer-1", "leak-1", "smoke-1"));

    quorvel_client_group_h nothing = nullptr;
    EXPECT_EQ(quorvel_client_get_group(client(), "no-such-group", &nothing), no_data);
    EXPECT_EQ(nothing, nullptr);
    EXPECT_EQ(quorvel_client_group_destroy(nullptr), invalid);
}

TEST_F(ClientGroups, AreAddedAsGroupsOrBelowAParent)
{
    Events events;
    ASSERT_EQ(quorvel_client_set_group_list_updated_cb(client(), Events::take, &events), 0);
    const std::string boat = add("", "Boat", "sea.png");
    EXPECT_THAT(groups(), Contains(boat));
    EXPECT_EQ(text(boat, QUORVEL_CLIENT_GROUP_PROP_GROUP_NAME), "Boat");
    EXPECT_EQ(text(boat, QUORVEL_CLIENT_GROUP_PROP_BACKGROUND_IMAGE), "sea.png");
    ASSERT_TRUE(events.wait_for(QUORVEL_CLIENT_GROUP_EVENT_ADD, boat));
    EXPECT_EQ(events.all.front().type, QUORVEL_CLIENT_GROUP_TYPE_GROUP);
    EXPECT_EQ(events.all.front().name, "Boat");

    const std::string study = add("home", "Study", "");
    EXPECT_THAT(texts("home", QUORVEL_CLIENT_GROUP_PROP_SUBGROUP_LIST), Contains(study));
    EXPECT_EQ(text(study, QUORVEL_CLIENT_GROUP_PROP_PARENT_ID), "home");
    ASSERT_TRUE(events.wait_for(QUORVEL_CLIENT_GROUP_EVENT_ADD, study));
    const auto told = std::find_if(events.all.begin(), events.all.end(),
                                   [&](const Event& each) { return each.id == study; });
    EXPECT_EQ(told->type, QUORVEL_CLIENT_GROUP_TYPE_SUBGROUP);
    EXPECT_TRUE(events.wait_for(QUORVEL_CLIENT_GROUP_EVENT_UPDATE, "home"));

    EXPECT_EQ(quorvel_client_unset_group_list_updated_cb(client()), 0);
    const std::size_t before = events.all.size();
    add("", "Van", "");
    settle();
    EXPECT_EQ(events.all.size(), before);
}

TEST_F(ClientGroups, ChangeWhatIsGivenAndKeepTheRest)
{
    Events events;
    ASSERT_EQ(quorvel_client_set_group_list_updated_cb(client(), Events::take, &events), 0);
    Heard heard;
    ASSERT_EQ(quorvel_client_update_group(client(), "kitchen", "Galley", "G", "", "blue.png", "",
                                          hear<quorvel_client_group_result_cb>, &heard),
              0);
    ASSERT_TRUE(heard.wait());
    EXPECT_EQ(heard.lines.front(), "0|kitchen|updated");
    ASSERT_TRUE(events.wait_for(QUORVEL_CLIENT_GROUP_EVENT_UPDATE, "kitchen"));
    ASSERT_EQ(quorvel_client_update_group(client(), "kitchen", "", "Gal", "", "", "",
                                          hear<quorvel_client_group_result_cb>, &heard),
              0);
    ASSERT_TRUE(heard.wait(2));
    EXPECT_EQ(text("kitchen", QUORVEL_CLIENT_GROUP_PROP_GROUP_NAME), "Galley");
    EXPECT_EQ(text("kitchen", QUORVEL_CLIENT_GROUP_PROP_GROUP_NICK), "Gal");
    EXPECT_EQ(text("kitchen", QUORVEL_CLIENT_GROUP_PROP_BACKGROUND_IMAGE), "blue.png");
}

TEST_F(ClientGroups, LeaveTheirDevicesToTheGroupAboveWhenTheyAreRemoved)
{
    Events events;
    ASSERT_EQ(quorvel_client_set_group_list_updated_cb(client(), Events::take, &events), 0);
    Heard heard;
    ASSERT_EQ(
        quorvel_client_remove_group(client(), "kitchen", "", hear<quorvel_client_group_result_cb>, &heard),
        0);
    ASSERT_TRUE(heard.wait());
    EXPECT_EQ(heard.lines.front(), "0|kitchen|removed");
    EXPECT_TRUE(events.wait_for(QUORVEL_CLIENT_GROUP_EVENT_DELETE, "kitchen"));
    EXPECT_THAT(subgroups(), Not(Contains("kitchen")));
    EXPECT_EQ(detail_of("plug-1", QUORVEL_CLIENT_DEVICE_DETAIL_PROP_GROUP_ID), "home");
    EXPECT_EQ(detail_of("plug-1", QUORVEL_CLIENT_DEVICE_DETAIL_PROP_SUBGROUP_ID), "");

    ASSERT_EQ(
        quorvel_client_remove_group(client(), "cabin", "", hear<quorvel_client_group_result_cb>, &heard), 0);
    ASSERT_TRUE(heard.wait(2));
    EXPECT_EQ(detail_of("cabin-plug", QUORVEL_CLIENT_DEVICE_DETAIL_PROP_GROUP_ID), "home");
    EXPECT_NE(quorvel_client_remove_group(client(), "home", "", hear<quorvel_client_group_result_cb>, &heard),
              0);
    EXPECT_EQ(groups(), Names{"home"});
}

TEST_F(ClientGroups, StayAsTheyAreWhenARequestIsWrong)
{
    Heard heard;
    const auto cb = hear<quorvel_client_group_result_cb>;
    EXPECT_EQ(quorvel_client_add_group(client(), "no-such-group", "Study", "", "", "", cb, &heard), no_data);
    EXPECT_EQ(quorvel_client_add_group(client(), "home", "Study", "group", "", "", cb, &heard), invalid);
    EXPECT_EQ(quorvel_client_add_group(client(), "home", "", "", "", "", cb, &heard), invalid);
    EXPECT_EQ(quorvel_client_update_group(client(), "no-such-group", "N", "", "", "", "", cb, &heard),
              no_data);
    EXPECT_EQ(quorvel_client_remove_group(client(), "no-such-group", "", cb, &heard), no_data);
    settle();
    EXPECT_THAT(heard.lines, IsEmpty());
    EXPECT_THAT(groups(), SizeIs(2));
    EXPECT_THAT(subgroups(), SizeIs(5));
}

// --- Scenes ------------------------------------------------------------------------------------------------

class ClientScenes : public ReferenceHome {
protected:
    struct Events {
        std::vector<std::pair<int, std::string>> all;
        static void take(int event, quorvel_client_scene_h* list, int count, const char* scene_id,
                         void* user_data)
        {
            take_records(list, count, quorvel_client_scene_get_string, QUORVEL_CLIENT_SCENE_PROP_SCENE_ID,
                         quorvel_client_scene_destroy);
            static_cast<Events*>(user_data)->all.emplace_back(event, scene_id != nullptr ? scene_id : "");
        }
        bool wait_for(int event, const std::string& id)
        {
            return pump_until([&] {
                return std::find(all.begin(), all.end(), std::pair{event, id}) != all.end();
            });
        }
    };
    /// Ids and bodies.
    std::vector<std::pair<std::string, std::string>> scenes() const
    {
        quorvel_client_scene_h* list = nullptr;
        int count = 0;
        EXPECT_EQ(quorvel_client_get_scene_list(client(), &list, &count), 0);
        std::vector<std::pair<std::string, std::string>> all;
        for (int i = 0; i < count; ++i) {
            all.emplace_back(
                text_of(quorvel_client_scene_get_string, list[i], QUORVEL_CLIENT_SCENE_PROP_SCENE_ID),
                text_of(quorvel_client_scene_get_string, list[i], QUORVEL_CLIENT_SCENE_PROP_SCENE));
            EXPECT_EQ(quorvel_client_scene_destroy(list[i]), 0);
        }
        std::free(list);
        return all;
    }
    int find(const std::string& scene_id) const
    {
        quorvel_client_scene_h scene = nullptr;
        const int code = quorvel_client_get_scene(client(), scene_id.c_str(), &scene);
        // Whether there is one, and no more, is what is told.
        EXPECT_EQ(scene, nullptr);
        return code;
    }
};

TEST_F(ClientScenes, AreListedWithTheirBody)
{
    const auto all = scenes();
    ASSERT_THAT(all, SizeIs(2));
    EXPECT_EQ(all[0].first, "movie");
    EXPECT_THAT(all[0].second, HasSubstr(R"("name":"Movie night")"));
    EXPECT_THAT(all[0].second, HasSubstr(R"("locationId":"home")"));
    EXPECT_EQ(all[1].first, "leaving");
    EXPECT_EQ(find("movie"), 0);
    EXPECT_EQ(find("no-such-scene"), no_data);
    EXPECT_EQ(quorvel_client_scene_destroy(nullptr), invalid);
}

TEST_F(ClientScenes, SetTheirDevicesWhenTheyRun)
{
    EXPECT_THAT(attributes_of("lamp-1", "/level"), HasSubstr("40"));
    Heard heard;
    ASSERT_EQ(quorvel_client_do_scene(client(), "movie", hear<quorvel_client_scene_result_cb>, &heard), 0);
    ASSERT_TRUE(heard.wait());
    EXPECT_THAT(heard.lines.front(), StartsWith("0|movie|{"));
    EXPECT_THAT(heard.lines.front(), testing::EndsWith("|ran"));
    EXPECT_THAT(attributes_of("lamp-1", "/level"), HasSubstr("10"));
    EXPECT_THAT(attributes_of("lamp-1", "/switch"), HasSubstr("true"));
    EXPECT_THAT(attributes_of("lamp-2", "/switch"), HasSubstr("false"));
    EXPECT_THAT(scenes().front().second, HasSubstr("lastExecuted"));
}

TEST_F(ClientScenes, AreAddedChangedAndRemoved)
{
    Events events;
    ASSERT_EQ(quorvel_client_set_scene_list_updated_cb(client(), Events::take, &events), 0);
    Heard heard;
    const auto cb = hear<quorvel_client_scene_result_cb>;
    ASSERT_EQ(
        quorvel_client_add_scene(
            client(), "home",
            R"({"name": "Reading", "actions": [{"device": "lamp-2", "set": {"level": 70}}]})", cb, &heard),
        0);
    ASSERT_TRUE(heard.wait());
    EXPECT_THAT(heard.lines[0], testing::EndsWith("|added"));
    ASSERT_THAT(scenes(), SizeIs(3));
    const std::string id = scenes().back().first;
    EXPECT_THAT(heard.lines[0], StartsWith("0|" + id + "|{"));
    EXPECT_EQ(find(id), 0);
    EXPECT_TRUE(events.wait_for(QUORVEL_CLIENT_SCENE_EVENT_ADD, id));

    ASSERT_EQ(quorvel_client_update_scene(client(), id.c_str(), R"({"name": "Late reading"})", cb, &heard),
              0);
    ASSERT_TRUE(heard.wait(2));
    EXPECT_THAT(heard.lines[1], testing::EndsWith("|updated"));
    EXPECT_THAT(scenes().back().second, HasSubstr(R"("name":"Late reading")"));
    EXPECT_THAT(scenes().back().second, HasSubstr("lamp-2"));
    EXPECT_TRUE(events.wait_for(QUORVEL_CLIENT_SCENE_EVENT_UPDATE, id));

    ASSERT_EQ(quorvel_client_remove_scene(client(), id.c_str(), cb, &heard), 0);
    ASSERT_TRUE(heard.wait(3));
    EXPECT_THAT(heard.lines[2], testing::EndsWith("|removed"));
    EXPECT_EQ(find(id), no_data);
    EXPECT_TRUE(events.wait_for(QUORVEL_CLIENT_SCENE_EVENT_DELETE, id));

    EXPECT_EQ(quorvel_client_unset_scene_list_updated_cb(client()), 0);
    const std::size_t before = events.all.size();
    ASSERT_EQ(quorvel_client_remove_scene(client(), "leaving", cb, &heard), 0);
    ASSERT_TRUE(heard.wait(4));
    settle();
    EXPECT_EQ(events.all.size(), before);
    EXPECT_THAT(scenes(), SizeIs(1));
}

TEST_F(ClientScenes, StayAsTheyAreWhenARequestIsWrong)
{
    Heard heard;
    const auto cb = hear<quorvel_client_scene_result_cb>;
    const auto before = scenes();
    EXPECT_EQ(quorvel_client_do_scene(client(), "no-such-scene", cb, &heard), no_data);
    EXPECT_EQ(
        quorvel_client_add_scene(client(), "no-such-group", R"({"name": "N", "actions": []})", cb, &heard),
        no_data);
    EXPECT_EQ(quorvel_client_add_scene(client(), "home", "not JSON", cb, &heard), invalid);
    EXPECT_EQ(quorvel_client_add_scene(client(), "home", R"({"actions": []})", cb, &heard), invalid);
    EXPECT_EQ(quorvel_client_update_scene(client(), "no-such-scene", R"({"name": "N"})", cb, &heard),
              no_data);
    EXPECT_EQ(quorvel_client_update_scene(client(), "movie", R"({"name": ""})", cb, &heard), invalid);
    EXPECT_EQ(quorvel_client_remove_scene(client(), "no-such-scene", cb, &heard), no_data);
    settle();
    EXPECT_THAT(heard.lines, IsEmpty());
    EXPECT_EQ(scenes(), before);
}

// --- Launch conditions -------------------------------------------------------------------------------------

class ClientLaunchConditions : public ReferenceHome {
protected:
    using Condition = std::unique_ptr<void, decltype(&quorvel_client_app_launch_condition_destroy)>;

    static Condition make(const Names& values)
    {
        quorvel_client_app_launch_condition_h made = nullptr;
        EXPECT_EQ(quorvel_client_app_launch_condition_create(&made), 0);
        int property = 0;
        for (const auto& value : values)
            EXPECT_EQ(quorvel_client_app_launch_condition_set_string(made, property++, value.c_str()), 0);
        return {made, quorvel_client_app_launch_condition_destroy};
    }
    bool is_added(const Condition& condition) const
    {
        bool added = false;
        EXPECT_EQ(quorvel_client_is_app_launch_condition_added(client(), condition.get(), &added), 0);
        return added;
    }
    /// Every condition with its seven strings.
    std::vector<Names> all() const
    {
        quorvel_client_app_launch_condition_h* list = nullptr;
        int count = 0;
        EXPECT_EQ(quorvel_client_get_all_app_launch_conditions(client(), &list, &count), 0);
        std::vector<Names> conditions;
        for (int i = 0; i < count; ++i) {
            Names& texts = conditions.emplace_back();
            for (int property = QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_APP_ID;
                 property <= QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_BUNDLE_JSON; ++property)
                texts.push_back(text_of(quorvel_client_app_launch_condition_get_string, list[i], property));
            EXPECT_EQ(quorvel_client_app_launch_condition_destroy(list[i]), 0);
        }
        std::free(list);
        return conditions;
    }
    const Names values{"org.example.hall", "motion-1", "/motion",           "value",
                       "boolean",          "true",     R"({"room":"hall"})"};
};

TEST_F(ClientLaunchConditions, AreKeptUntilTheyAreRemoved)
{
    const Condition condition = make(values);
    EXPECT_FALSE(is_added(condition));
    EXPECT_THAT(all(), IsEmpty());
    EXPECT_EQ(quorvel_client_remove_app_launch_condition(client(), condition.get()), no_data);

    ASSERT_EQ(quorvel_client_add_app_launch_condition(client(), condition.get()), 0);
    EXPECT_TRUE(is_added(condition));
    EXPECT_THAT(all(), testing::ElementsAre(values));
    EXPECT_EQ(quorvel_client_add_app_launch_condition(client(), condition.get()),
              QUORVEL_CLIENT_ERROR_AGENT_DEFINED_2);
    EXPECT_THAT(all(), SizeIs(1));

    ASSERT_EQ(quorvel_client_remove_app_launch_condition(client(), condition.get()), 0);
    EXPECT_FALSE(is_added(condition));
    EXPECT_THAT(all(), IsEmpty());
    EXPECT_EQ(quorvel_client_app_launch_condition_destroy(nullptr), invalid);
}

TEST_F(ClientLaunchConditions, LaunchTheApplicationWhenTheyAreMet)
{
    const Condition condition = make(values);
    ASSERT_EQ(quorvel_client_add_app_launch_condition(client(), condition.get()), 0);
    Heard heard;
    ASSERT_EQ(quorvel_client_set_notification_cb(client(), hear<quorvel_client_notification_cb>, &heard), 0);
    order(R"({"do": "set", "device": "motion-1", "attribute": "motion", "value": "active"})");
    EXPECT_TRUE(heard.wait_for(R"(app-launch|org.example.hall|{"room":"hall"})"));
}

TEST_F(ClientLaunchConditions, NeedADeviceAnApplicationAndAProperty)
{
    Names other = values;
    other[1] = "no-such-device";
    EXPECT_EQ(quorvel_client_add_app_launch_condition(client(), make(other).get()), no_data);
    other = values;
    other[2] = "/no-such-resource";
    EXPECT_EQ(quorvel_client_add_app_launch_condition(client(), make(other).get()), no_data);
    EXPECT_EQ(quorvel_client_add_app_launch_condition(client(), make({}).get()), invalid);
    EXPECT_THAT(all(), IsEmpty());
}

}  // namespace
