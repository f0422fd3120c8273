// The core family's device groups, favorites and installed apps, against the reference agent.
#include "core_family.hpp"

namespace {

using namespace integration;

constexpr auto group_id = QUORVEL_CORE_DEVICE_GROUP_PROP_GROUP_ID;
constexpr auto member_id = QUORVEL_CORE_FAVORITE_PROP_MEMBER_ID;
constexpr auto app_id = QUORVEL_CORE_INSTALLED_APP_PROP_INSTALLED_APP_ID;

// --- Device groups -----------------------------------------------------------------------------------------

TEST_F(CoreFamily, ShowsTheDeviceGroups)
{
    EXPECT_EQ(list<DeviceGroup>(quorvel_core_get_device_group_list).texts(group_id),
              std::set<std::string>{"living-lights"});
    const auto found = one<DeviceGroup>(quorvel_core_get_device_group, "living-lights");
    ASSERT_EQ(found.code, 0);
    const DeviceGroup& lights = found.front();
    EXPECT_EQ(lights.text(QUORVEL_CORE_DEVICE_GROUP_PROP_NAME), "Living room lights");
    EXPECT_EQ(lights.text(QUORVEL_CORE_DEVICE_GROUP_PROP_LOCATION_ID), "home");
    EXPECT_EQ(lights.text(QUORVEL_CORE_DEVICE_GROUP_PROP_ROOM_ID), "living");
    EXPECT_EQ(lights.text(QUORVEL_CORE_DEVICE_GROUP_PROP_DEVICES_JSON), R"(["lamp-1","lamp-2"])");
    EXPECT_THAT(lights.text(QUORVEL_CORE_DEVICE_GROUP_PROP_CAPABILITIES_JSON), HasSubstr("\"switch\""));
    int number = -1;
    EXPECT_EQ(
        quorvel_core_device_group_get_int(lights.handle(), QUORVEL_CORE_DEVICE_GROUP_PROP_TYPE, &number), 0);
    EXPECT_EQ(number, QUORVEL_CORE_DEVICE_GROUP_TYPE_LIGHTING);
    EXPECT_EQ(
        quorvel_core_device_group_get_int(lights.handle(), QUORVEL_CORE_DEVICE_GROUP_PROP_NAME, &number),
        invalid);
    EXPECT_EQ(number, QUORVEL_CORE_DEVICE_GROUP_TYPE_LIGHTING);
    EXPECT_EQ(one<DeviceGroup>(quorvel_core_get_device_group, "no-group").code, no_data);
}

TEST_F(CoreFamily, CreatesChangesAndDeletesADeviceGroup)
{
    listen();
    const Answer created =
        ask(quorvel_core_create_device_group, "Sockets", QUORVEL_CORE_DEVICE_GROUP_TYPE_VIDEO_CAMERA,
            R"(["plug-1", "old-plug"])", "kitchen");
    ASSERT_THAT(created, Answers(HasSubstr(member("name", "Sockets"))));
    const std::string id = text_at(created.text, "deviceGroupId");
    const auto group = [&] { return one<DeviceGroup>(quorvel_core_get_device_group, id.c_str()); };
    {
        const auto sockets = group();
        ASSERT_EQ(sockets.code, 0);
        EXPECT_EQ(sockets.front().text(QUORVEL_CORE_DEVICE_GROUP_PROP_ROOM_ID), "kitchen");
        int type = -1;
        EXPECT_EQ(quorvel_core_device_group_get_int(sockets.front().handle(),
                                                    QUORVEL_CORE_DEVICE_GROUP_PROP_TYPE, &type),
                  0);
        EXPECT_EQ(type, QUORVEL_CORE_DEVICE_GROUP_TYPE_VIDEO_CAMERA);
    }
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_DEVICE_GROUP,
                            {member("lifecycle", "CREATED"), member("deviceGroupId", id)}));

    EXPECT_EQ(
        ask(quorvel_core_update_device_group, id.c_str(), "Plugs", R"(["plug-1", "cabin-plug"])", "hall")
            .code,
        0);
    EXPECT_THAT(ask(quorvel_core_update_device_group, id.c_str(), "Lamps", R"(["lamp-9"])", nullptr),
                Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_update_device_group, id.c_str(), "Lamps", "not json", nullptr),
                Explains(invalid));
    {
        const auto plugs = group();
        ASSERT_EQ(plugs.code, 0);
        EXPECT_EQ(plugs.front().text(QUORVEL_CORE_DEVICE_GROUP_PROP_NAME), "Plugs");
        EXPECT_EQ(plugs.front().text(QUORVEL_CORE_DEVICE_GROUP_PROP_ROOM_ID), "hall");
        EXPECT_EQ(plugs.front().text(QUORVEL_CORE_DEVICE_GROUP_PROP_DEVICES_JSON),
                  R"(["plug-1","cabin-plug"])");
    }

    EXPECT_THAT(ask(quorvel_core_create_device_group, "Lamps", QUORVEL_CORE_DEVICE_GROUP_TYPE_GENERIC,
                    R"(["lamp-9"])", nullptr),
                Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_create_device_group, "Lamps", QUORVEL_CORE_DEVICE_GROUP_TYPE_GENERIC,
                    R"(["lamp-1"])", "attic"),
                Explains(no_data));
    EXPECT_EQ(list<DeviceGroup>(quorvel_core_get_device_group_list).records.size(), 2U);

    EXPECT_EQ(ask(quorvel_core_delete_device_group, id.c_str()).code, 0);
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_DEVICE_GROUP,
                            {member("lifecycle", "DELETED"), member("deviceGroupId", id)}));
    EXPECT_EQ(group().code, no_data);
    EXPECT_THAT(ask(quorvel_core_delete_device_group, id.c_str()), Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_update_device_group, id.c_str(), "Lamps", R"(["lamp-1"])", nullptr),
                Explains(no_data));
}

TEST_F(CoreFamily, TellsAllDevicesOfAGroupAtOnce)
{
    constexpr auto on = R"([{"capability": "switch", "command": "on"}])";
    EXPECT_THAT(
        ask(quorvel_core_execute_device_group, "living-lights", on),
        Answers(AllOf(HasSubstr(member("deviceId", "lamp-1")), HasSubstr(member("deviceId", "lamp-2")),
                      HasSubstr(member("status", "COMPLETED")), Not(HasSubstr("FAILED")))));
    EXPECT_THAT(status("lamp-1", "switch"), HasSubstr(member("value", "on")));
    EXPECT_THAT(status("lamp-2", "switch"), HasSubstr(member("value", "on")));
    EXPECT_THAT(
        ask(quorvel_core_get_device_group_devices_status, "living-lights"),
        Answers(AllOf(HasSubstr(member("deviceGroupId", "living-lights")),
                      HasSubstr(member("deviceId", "lamp-1")), HasSubstr(member("deviceId", "lamp-2")),
                      HasSubstr(member("value", "on")), Not(HasSubstr(member("value", "off"))))));

    EXPECT_THAT(ask(quorvel_core_execute_device_group, "living-lights", "not json"), Explains(invalid));
    EXPECT_THAT(ask(quorvel_core_execute_device_group, "no-group", on), Explains(no_data));
    EXPECT_THAT(ask(quorvel_core_get_device_group_devices_status, "no-group"), Explains(no_data));
}

// --- Favorites ---------------------------------------------------------------------------------------------

constexpr auto television = R"({"memberId": "tv-1", "memberType": "DEVICE", "additionalId": "left",)"
                            R"( "bucket": "evening", "deviceModel": "QW-9", "sortOrder": 7})";

TEST_F(CoreFamily, KeepsAFavoriteWithWhatItWasGiven)
{
    listen();
    EXPECT_EQ(list<Favorite>(quorvel_core_get_favorite_list, "home", nullptr).texts(member_id),
              (std::set<std::string>{"lamp-1", "movie"}));
    std::string id;
    {
        const auto created = one<Favorite>(quorvel_core_create_favorite, "home", "mine", television);
        ASSERT_EQ(created.code, 0);
        id = created.front().text(QUORVEL_CORE_FAVORITE_PROP_FAVORITE_ID);
    }
    EXPECT_TRUE(
        events.hear(QUORVEL_CORE_SSE_TYPE_FAVORITE,
                    {member("lifecycle", "CREATED"), member("favoriteId", id), member("memberId", "tv-1")}));
    {
        const auto found = one<Favorite>(quorvel_core_get_favorite, "home", id.c_str(), "mine");
        ASSERT_EQ(found.code, 0);
        const Favorite& favorite = found.front();
        EXPECT_EQ(favorite.text(QUORVEL_CORE_FAVORITE_PROP_FAVORITE_ID), id);
        EXPECT_EQ(favorite.text(QUORVEL_CORE_FAVORITE_PROP_LOCATION_ID), "home");
        EXPECT_EQ(favorite.text(member_id), "tv-1");
        EXPECT_EQ(favorite.text(QUORVEL_CORE_FAVORITE_PROP_MEMBER_TYPE), "DEVICE");
        EXPECT_EQ(favorite.text(QUORVEL_CORE_FAVORITE_PROP_ADDITIONAL_ID), "left");
        EXPECT_EQ(favorite.text(QUORVEL_CORE_FAVORITE_PROP_BUCKET), "evening");
        EXPECT_EQ(favorite.text(QUORVEL_CORE_FAVORITE_PROP_DEVICE_MODEL), "QW-9");
        int order = -1;
        EXPECT_EQ(
            quorvel_core_favorite_get_int(favorite.handle(), QUORVEL_CORE_FAVORITE_PROP_SORT_ORDER, &order),
            0);
        EXPECT_EQ(order, 7);
        EXPECT_EQ(quorvel_core_favorite_get_int(favorite.handle(), member_id, &order), invalid);
    }
    // Each visibility is a list of its own, and listing without one gives all.
    EXPECT_EQ(list<Favorite>(quorvel_core_get_favorite_list, "home", "mine").texts(member_id),
              std::set<std::string>{"tv-1"});
    EXPECT_EQ(list<Favorite>(quorvel_core_get_favorite_list, "home", nullptr).records.size(), 3U);
    EXPECT_TRUE(list<Favorite>(quorvel_core_get_favorite_list, "home", "yours").records.empty());
    EXPECT_EQ(one<Favorite>(quorvel_core_get_favorite, "home", id.c_str(), "yours").code, no_data);
    EXPECT_EQ(one<Favorite>(quorvel_core_get_favorite, "home", "no-favorite", "mine").code, no_data);
    EXPECT_EQ(list<Favorite>(quorvel_core_get_favorite_list, "nowhere", nullptr).code, no_data);

    EXPECT_EQ(one<Favorite>(quorvel_core_create_favorite, "home", "mine", television).code, there_already);
    EXPECT_EQ(one<Favorite>(quorvel_core_create_favorite, "home", "mine", R"({"memberId": "lamp-9"})").code,
              no_data);
    EXPECT_EQ(one<Favorite>(quorvel_core_create_favorite, "nowhere", "mine", television).code, no_data);
    EXPECT_EQ(one<Favorite>(quorvel_core_create_favorite, "home", "mine", "not json").code, invalid);
    EXPECT_EQ(list<Favorite>(quorvel_core_get_favorite_list, "home", nullptr).records.size(), 3U);

    EXPECT_EQ(call(quorvel_core_delete_favorite, "home", id.c_str(), "yours"), no_data);
    EXPECT_EQ(call(quorvel_core_delete_favorite, "home", id.c_str(), "mine"), 0);
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_FAVORITE,
                            {member("lifecycle", "DELETED"), member("favoriteId", id)}));
    EXPECT_EQ(list<Favorite>(quorvel_core_get_favorite_list, "home", nullptr).texts(member_id),
              (std::set<std::string>{"lamp-1", "movie"}));
    EXPECT_EQ(call(quorvel_core_delete_favorite, "home", id.c_str(), "mine"), no_data);
}

TEST_F(CoreFamily, ReplacesAndDeletesTheFavoritesOfOneVisibility)
{
    const auto mine = [&] {
        return list<Favorite>(quorvel_core_get_favorite_list, "home", "mine").texts(member_id);
    };
    ASSERT_EQ(one<Favorite>(quorvel_core_create_favorite, "home", "mine", television).code, 0);
    const std::set<std::string> wanted{"lock-1", "leaving"};
    EXPECT_EQ(list<Favorite>(quorvel_core_replace_favorites, "home", "mine",
                             R"([{"memberId": "lock-1"}, {"memberId": "leaving", "memberType": "SCENE"}])")
                  .texts(member_id),
              wanted);
    EXPECT_EQ(mine(), wanted);

    EXPECT_EQ(list<Favorite>(quorvel_core_replace_favorites, "home", "mine",
                             R"([{"memberId": "tv-1"}, {"memberId": "lamp-9"}])")
                  .code,
              no_data);
    EXPECT_EQ(list<Favorite>(quorvel_core_replace_favorites, "home", "mine", "not json").code, invalid);
    EXPECT_EQ(mine(), wanted);
    EXPECT_EQ(list<Favorite>(quorvel_core_replace_favorites, "nowhere", "mine", "[]").code, no_data);

    EXPECT_EQ(call(quorvel_core_delete_favorites, "nowhere", "mine"), no_data);
    EXPECT_EQ(call(quorvel_core_delete_favorites, "home", "mine"), 0);
    EXPECT_TRUE(mine().empty());
    EXPECT_EQ(list<Favorite>(quorvel_core_get_favorite_list, "home", nullptr).texts(member_id),
              (std::set<std::string>{"lamp-1", "movie"}));
}

TEST_F(CoreFamily, RemembersThatTheFavoritesOfALocationHaveMoved)
{
    struct Migration {
        int code = 1;
        bool is_migrated = false;
        std::string model;
        std::string date;
    };
    const auto migration = [&](const char* location) {
        Migration found;
        char* date = nullptr;
        char* model = nullptr;
        found.code =
            call(quorvel_core_get_favorite_migration_status, location, &found.is_migrated, &date, &model);
        const Text date_owner{date};
        const Text model_owner{model};
        found.date = date != nullptr ? date : "";
        found.model = model != nullptr ? model : "";
        return found;
    };
    EXPECT_EQ(migration("home").code, 0);
    EXPECT_FALSE(migration("home").is_migrated);

    EXPECT_THAT(ask(quorvel_core_update_favorite_migration_status, "home",
                    R"({"isMigrated": true, "deviceModel": "QW-9"})"),
                Answers(HasSubstr("\"isMigrated\":true")));
    const Migration done = migration("home");
    EXPECT_TRUE(done.is_migrated);
    EXPECT_EQ(done.model, "QW-9");
    EXPECT_NE(done.date, "");
    EXPECT_FALSE(migration("cabin").is_migrated);

    EXPECT_THAT(ask(quorvel_core_update_favorite_migration_status, "home", "perhaps"), Refuses(invalid));
    EXPECT_THAT(ask(quorvel_core_update_favorite_migration_status, "nowhere", "true"), Refuses(no_data));
    EXPECT_TRUE(migration("home").is_migrated);
    EXPECT_EQ(migration("nowhere").code, no_data);
    EXPECT_EQ(ask(quorvel_core_update_favorite_migration_status, "home", "false").code, 0);
    EXPECT_FALSE(migration("home").is_migrated);
}

// --- Apps --------------------------------------------------------------------------------------------------

TEST_F(CoreFamily, ShowsAndRunsAnInstalledApp)
{
    listen();
    EXPECT_EQ(list<InstalledApp>(quorvel_core_get_installed_app_list).texts(app_id),
              std::set<std::string>{"app-vacation"});
    {
        const auto app = one<InstalledApp>(quorvel_core_get_installed_app, "app-vacation");
        ASSERT_EQ(app.code, 0);
        EXPECT_EQ(app.front().text(app_id), "app-vacation");
        EXPECT_EQ(app.front().text(QUORVEL_CORE_INSTALLED_APP_PROP_STATUS), "ACTIVE");
        EXPECT_EQ(app.front().text(QUORVEL_CORE_INSTALLED_APP_PROP_DISPLAY_NAME), "Vacation lights");
        EXPECT_EQ(app.front().text(QUORVEL_CORE_INSTALLED_APP_PROP_APP_ID), "vacation-lights");
        EXPECT_EQ(app.front().text(QUORVEL_CORE_INSTALLED_APP_PROP_LOCATION_ID), "home");
    }
    EXPECT_THAT(ask(quorvel_core_get_installed_app_dashboard_json, "app-vacation"),
                Answers(AllOf(HasSubstr("app-vacation"), HasSubstr(member("lights", "lamp-1")))));

    EXPECT_EQ(
        ask(quorvel_core_execute_installed_app, "app-vacation",
            R"({"actions": [{"device": "lamp-2", "set": {"switch": "on"}}], "settings": {"lights": "lamp-2"}})")
            .code,
        0);
    EXPECT_THAT(status("lamp-2", "switch"), HasSubstr(member("value", "on")));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_DEVICE,
                            {member("deviceId", "lamp-2"), member("cause", "app app-vacation")}));
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_INSTALLED_APP,
                            {member("installedAppId", "app-vacation"), member("lifecycle", "UPDATED")}));
    const Answer dashboard = ask(quorvel_core_get_installed_app_dashboard_json, "app-vacation");
    EXPECT_THAT(dashboard, Answers(HasSubstr(member("lights", "lamp-2"))));

    EXPECT_THAT(ask(quorvel_core_execute_installed_app, "app-vacation", "not json"), Explains(invalid));
    EXPECT_EQ(ask(quorvel_core_get_installed_app_dashboard_json, "app-vacation").text, dashboard.text);
    EXPECT_EQ(one<InstalledApp>(quorvel_core_get_installed_app, "no-app").code, no_data);
    EXPECT_THAT(ask(quorvel_core_get_installed_app_dashboard_json, "no-app"), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_execute_installed_app, "no-app", R"({"settings": {}})"), Explains(no_data));
}

TEST_F(CoreFamily, InstallsAnAppInTwoSteps)
{
    listen();
    const Answer begun = ask(quorvel_core_oxbarrow_initialize, "sunrise", "home", "en-GB", "{}");
    ASSERT_THAT(begun,
                Answers(AllOf(HasSubstr(member("status", "PENDING")), HasSubstr(member("appId", "sunrise")),
                              HasSubstr(R"("asks":["light","time"])"))));
    const std::string id = text_at(begun.text, "installedAppId");
    const std::string configuration = text_at(begun.text, "configurationId");
    const auto state = [&] {
        return one<InstalledApp>(quorvel_core_get_installed_app, id.c_str())
            .front()
            .text(QUORVEL_CORE_INSTALLED_APP_PROP_STATUS);
    };
    EXPECT_EQ(state(), "PENDING");
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_INSTALLED_APP,
                            {member("lifecycle", "CREATED"), member("installedAppId", id)}));

    constexpr auto settings = R"({"light": "lamp-2", "time": "06:30"})";
    const auto complete = [&](const char* app, const char* installed, const std::string& begun_as,
                              const char* with) {
        return ask(quorvel_core_oxbarrow_complete_installation, app, installed, "home", begun_as.c_str(),
                   with);
    };
    EXPECT_THAT(complete("sunrise", id.c_str(), configuration, R"({"light": "lamp-2"})"), Refuses(invalid));
    EXPECT_THAT(complete("sunrise", id.c_str(), "another", settings), Refuses(out_of_order));
    EXPECT_THAT(complete("sunrise", "no-app", configuration, settings), Refuses(no_data));
    EXPECT_THAT(complete("vacation-lights", id.c_str(), configuration, settings), Refuses(no_data));
    EXPECT_EQ(ask(quorvel_core_execute_installed_app, id.c_str(), "{}").code, out_of_order);
    EXPECT_EQ(state(), "PENDING");

    EXPECT_THAT(complete("sunrise", id.c_str(), configuration, settings),
                Answers(AllOf(HasSubstr(member("status", "ACTIVE")), HasSubstr(member("light", "lamp-2")))));
    EXPECT_EQ(state(), "ACTIVE");
    EXPECT_EQ(list<InstalledApp>(quorvel_core_get_installed_app_list).records.size(), 2U);
    EXPECT_THAT(complete("sunrise", id.c_str(), configuration, settings), Refuses(out_of_order));
    EXPECT_EQ(call(quorvel_core_oxbarrow_cancel_installation, "sunrise", id.c_str(), "home"), out_of_order);
    EXPECT_EQ(state(), "ACTIVE");
}

TEST_F(CoreFamily, TakesBackAnInstallationThatWasOnlyBegun)
{
    listen();
    const Answer begun = ask(quorvel_core_oxbarrow_initialize, "sunrise", "cabin", nullptr, nullptr);
    ASSERT_EQ(begun.code, 0);
    const std::string id = text_at(begun.text, "installedAppId");
    EXPECT_EQ(call(quorvel_core_oxbarrow_cancel_installation, "sunrise", "no-app", "cabin"), no_data);
    EXPECT_EQ(call(quorvel_core_oxbarrow_cancel_installation, "vacation-lights", id.c_str(), "cabin"),
              no_data);
    EXPECT_EQ(one<InstalledApp>(quorvel_core_get_installed_app, id.c_str()).code, 0);

    EXPECT_EQ(call(quorvel_core_oxbarrow_cancel_installation, "sunrise", id.c_str(), "cabin"), 0);
    EXPECT_EQ(one<InstalledApp>(quorvel_core_get_installed_app, id.c_str()).code, no_data);
    EXPECT_TRUE(events.hear(QUORVEL_CORE_SSE_TYPE_INSTALLED_APP,
                            {member("lifecycle", "DELETED"), member("installedAppId", id)}));
    EXPECT_EQ(call(quorvel_core_oxbarrow_cancel_installation, "sunrise", id.c_str(), "cabin"), no_data);

    EXPECT_THAT(ask(quorvel_core_oxbarrow_initialize, "no-app", "home", nullptr, nullptr), Refuses(no_data));
    EXPECT_THAT(ask(quorvel_core_oxbarrow_initialize, "sunrise", "nowhere", nullptr, nullptr),
                Refuses(no_data));
    EXPECT_EQ(list<InstalledApp>(quorvel_core_get_installed_app_list).records.size(), 1U);
}

}  // namespace
