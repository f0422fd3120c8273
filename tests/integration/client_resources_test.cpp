// Resources of devices and the services of the account, against the reference agent.
#include <gmock/gmock.h>

#include "reference_home.hpp"

namespace {

using namespace integration;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

constexpr int invalid = QUORVEL_CLIENT_ERROR_INVALID_PARAMETER;
constexpr int no_data = QUORVEL_CLIENT_ERROR_NO_DATA;

using Names = std::vector<std::string>;

// --- Reading and writing -----------------------------------------------------------------------------------

class ClientResources : public ReferenceHome {
protected:
    int set_representation(const char* device, const char* uri, const char* value)
    {
        return quorvel_client_set_remote_representation(client(), device, uri, value, "query", "options",
                                                        hear<quorvel_client_remote_representation_cb>,
                                                        &heard);
    }
    int get_representation(const char* device, const char* uri)
    {
        return quorvel_client_get_remote_representation(
            client(), device, uri, "query", "options", hear<quorvel_client_remote_representation_cb>, &heard);
    }
    int set_attributes(const char* device, const char* uri, const char* value)
    {
        return quorvel_client_set_remote_attributes(client(), device, uri, value, "query", "options",
                                                    hear<quorvel_client_remote_attributes_cb>, &heard);
    }
    int get_attributes(const char* device, const char* uri)
    {
        return quorvel_client_get_remote_attributes(client(), device, uri, "query", "options",
                                                    hear<quorvel_client_remote_attributes_cb>, &heard);
    }
    /// The next thing heard, by the number of those before.
    std::string next()
    {
        EXPECT_TRUE(heard.wait(++answers)) << "answer " << answers;
        return heard.lines.size() >= answers ? heard.lines[answers - 1] : "";
    }
    int subscribe(const char* device, const char* uris)
    {
        return quorvel_client_subscribe(client(), device, uris, "mine", hear<quorvel_client_subscribe_cb>,
                                        &heard);
    }
    int watch(const char* device)
    {
        return quorvel_client_start_monitoring_cloud_device_state(
            client(), device, "", hear<quorvel_client_cloud_device_state_cb>, &heard);
    }

    Heard heard;
    std::size_t answers = 0;
};

TEST_F(ClientResources, AreReadAsRepresentationAndAsAttributes)
{
    ASSERT_EQ(get_representation("lamp-1", "/switch"), 0);
    const std::string whole = next();
    // The fifth value stands before the fourth.
    EXPECT_THAT(whole, MatchesRegex(R"(0\|lamp-1\|/switch\|\{.*\}\|options\|query)"));
    EXPECT_THAT(whole, HasSubstr(R"("uri":"/switch")"));
    EXPECT_THAT(whole, HasSubstr(R"("types":["qv.r.switch"])"));
    EXPECT_THAT(whole, HasSubstr(R"("observable":true)"));
    EXPECT_THAT(whole, HasSubstr(R"("properties":{"value":true})"));

    ASSERT_EQ(get_attributes("lamp-1", "/switch"), 0);
    EXPECT_EQ(next(), R"(0|lamp-1|/switch|{"value":true}|options|query)");
}

TEST_F(ClientResources, HoldWhatIsWrittenInEitherForm)
{
    ASSERT_EQ(set_representation("lamp-1", "/switch", R"({"properties": {"value": false}})"), 0);
    const std::string written = next();
    EXPECT_THAT(written, StartsWith("0|lamp-1|/switch|{"));
    EXPECT_THAT(written, HasSubstr(R"("properties":{"value":false})"));
    EXPECT_EQ(attributes_of("lamp-1", "/switch"), R"(0|lamp-1|/switch|{"value":false}||)");

    ASSERT_EQ(set_attributes("lamp-1", "/switch", R"({"value": true})"), 0);
    EXPECT_EQ(next(), R"(0|lamp-1|/switch|{"value":true}|options|query)");
    ASSERT_EQ(get_representation("lamp-1", "/switch"), 0);
    EXPECT_THAT(next(), HasSubstr(R"("properties":{"value":true})"));
}

TEST_F(ClientResources, AreToldInTheAnswerWhenTheDeviceRefusesOrIsAway)
{
    ASSERT_EQ(set_attributes("motion-1", "/motion", R"({"value": true})"), 0);
    EXPECT_THAT(next(),
                StartsWith(std::to_string(QUORVEL_CLIENT_ERROR_AGENT_DEFINED_3) + "|motion-1|/motion|"));
    EXPECT_EQ(attributes_of("motion-1", "/motion"), R"(0|motion-1|/motion|{"value":false}||)");

    order(R"({"do": "link", "device": "hall-light", "online": false})");
    const std::string away = std::to_string(QUORVEL_CLIENT_ERROR_NETWORK_UNREACHABLE);
    ASSERT_EQ(get_representation("hall-light", "/switch"), 0);
    EXPECT_THAT(next(), StartsWith(away + "|hall-light|/switch|"));
    ASSERT_EQ(set_representation("hall-light", "/switch", R"({"value": true})"), 0);
    EXPECT_THAT(next(), StartsWith(away + "|hall-light|/switch|"));
}

TEST_F(ClientResources, StayAsTheyAreWhenARequestIsWrong)
{
    for (const auto& [device, uri] :
         {std::pair{"no-such-device", "/switch"}, std::pair{"lamp-1", "/no-such-resource"}}) {
        EXPECT_EQ(get_representation(device, uri), no_data) << device << uri;
        EXPECT_EQ(set_representation(device, uri, R"({"value": false})"), no_data) << device << uri;
        EXPECT_EQ(get_attributes(device, uri), no_data) << device << uri;
        EXPECT_EQ(set_attributes(device, uri, R"({"value": false})"), no_data) << device << uri;
    }
    EXPECT_EQ(set_representation("lamp-1", "/switch", "not JSON"), invalid);
    EXPECT_EQ(set_attributes("lamp-1", "/switch", "[]"), invalid);
    settle();
    EXPECT_THAT(heard.lines, IsEmpty());
    EXPECT_EQ(attributes_of("lamp-1", "/switch"), R"(0|lamp-1|/switch|{"value":true}||)");
}

TEST_F(ClientResources, AreFoundByTypeAndNameTheirTypes)
{
    char** list = nullptr;
    int count = 0;
    ASSERT_EQ(quorvel_client_get_resource_uris(client(), "lamp-1", "qv.r.switch", &list, &count), 0);
    EXPECT_EQ(take_texts(list, count), Names{"/switch"});
    ASSERT_EQ(quorvel_client_get_resource_types_by_resource_uri(client(), "lamp-1", "/level", &list, &count),
              0);
    EXPECT_EQ(take_texts(list, count), Names{"qv.r.level"});

    list = nullptr;
    EXPECT_EQ(quorvel_client_get_resource_uris(client(), "no-such-device", "qv.r.switch", &list, &count),
              no_data);
    EXPECT_EQ(quorvel_client_get_resource_uris(client(), "lamp-1", "no-such-type", &list, &count), no_data);
    EXPECT_EQ(quorvel_client_get_resource_types_by_resource_uri(client(), "lamp-1", "/no-such-resource",
                                                                &list, &count),
              no_data);
    EXPECT_EQ(list, nullptr);
}

// --- Subscriptions and monitoring --------------------------------------------------------------------------

TEST_F(ClientResources, TellTheirSubscriberOfEachChange)
{
    ASSERT_EQ(subscribe("lamp-1", "/switch,/level"), 0);
    order(R"({"do": "set", "device": "lamp-1", "attribute": "switch", "value": "off"})");
    const std::string event = next();
    // Device, URI, types, representation; then the time, and what was given when subscribing.
    EXPECT_THAT(event, MatchesRegex(R"(lamp-1\|/switch\|qv\.r\.switch\|\{.*\}\|[^|]+\|mine)"));
    EXPECT_THAT(event, HasSubstr(R"("properties":{"value":false})"));

    // Those of others are not of interest.
    order(R"({"do": "set", "device": "lamp-2", "attribute": "level", "value": 5})");
    order(R"({"do": "set", "device": "lamp-1", "attribute": "level", "value": 5})");
    EXPECT_THAT(next(), StartsWith("lamp-1|/level|qv.r.level|"));

    EXPECT_EQ(quorvel_client_unsubscribe(client(), "lamp-1", "/switch,/level"), 0);
    order(R"({"do": "set", "device": "lamp-1", "attribute": "switch", "value": "on"})");
    settle();
    EXPECT_THAT(heard.lines, SizeIs(2));
    EXPECT_EQ(quorvel_client_unsubscribe(client(), "lamp-1", "/switch,/level"), no_data);
}

TEST_F(ClientResources, AreAllUnsubscribedByTheDeviceAlone)
{
    ASSERT_EQ(subscribe("lamp-2", "*"), 0);
    ASSERT_EQ(subscribe("lamp-2", "/level"), 0);
    order(R"({"do": "set", "device": "lamp-2", "attribute": "level", "value": 5})");
    EXPECT_THAT(next(), StartsWith("lamp-2|/level|"));
    EXPECT_THAT(next(), StartsWith("lamp-2|/level|"));
    EXPECT_EQ(quorvel_client_unsubscribe(client(), "lamp-2", nullptr), 0);
    order(R"({"do": "set", "device": "lamp-2", "attribute": "level", "value": 6})");
    settle();
    EXPECT_THAT(heard.lines, SizeIs(2));
}

TEST_F(ClientResources, CannotBeSubscribedToWhenTheyDoNotExistOrCannotBeObserved)
{
    EXPECT_EQ(subscribe("no-such-device", "/switch"), no_data);
    EXPECT_EQ(subscribe("lamp-1", "/no-such-resource"), no_data);
    EXPECT_EQ(subscribe("lamp-1", "/platform"), invalid);
    EXPECT_EQ(quorvel_client_unsubscribe(client(), "no-such-device", "/switch"), no_data);
}

TEST_F(ClientResources, CannotBeSubscribedToWhileTheAgentGathers)
{
    order(R"({"do": "caching", "ms": 60000})");
    quorvel_client_device_detail_h* list = nullptr;
    int count = 0;
    const int code = quorvel_client_get_device_detail_list(client(), &list, &count);
    if (code == 0)
        take_records(list, count, quorvel_client_device_detail_get_string,
                     QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_ID, quorvel_client_device_detail_destroy);
    EXPECT_EQ(subscribe("lamp-1", "/switch"), no_data);
    // This is left alone, and answered well.
    EXPECT_EQ(quorvel_client_unsubscribe(client(), "lamp-1", "/switch"), 0);
}

TEST_F(ClientResources, AreWatchedBeginningWithTheStateOfNow)
{
    ASSERT_EQ(watch("lamp-1"), 0);
    // Device and state; then the time, and the reason.
    EXPECT_THAT(next(), MatchesRegex(R"(lamp-1\|0\|[^|]+\|now)"));
    order(R"({"do": "health", "device": "lamp-1", "state": "DISCONNECTED", "detail": "unplugged"})");
    EXPECT_THAT(next(), MatchesRegex(R"(lamp-1\|1\|[^|]+\|unplugged)"));

    EXPECT_EQ(quorvel_client_stop_monitoring_cloud_device_state(client(), "lamp-1"), 0);
    order(R"({"do": "health", "device": "lamp-1", "state": "CONNECTED"})");
    settle();
    EXPECT_THAT(heard.lines, SizeIs(2));

    EXPECT_EQ(quorvel_client_stop_monitoring_cloud_device_state(client(), "lamp-1"), no_data);
    EXPECT_EQ(watch("no-such-device"), no_data);
}

// --- Services ----------------------------------------------------------------------------------------------

class ClientServices : public ReferenceHome {
protected:
    struct Files {
        int answers = 0;
        int result = 1;
        std::string status;
        std::vector<std::pair<std::string, std::string>> files;
        static void take(int result, quorvel_client_file_h* list, int count, const char* status,
                         void* user_data)
        {
            auto& self = *static_cast<Files*>(user_data);
            self.result = result;
            self.status = status;
            for (int i = 0; i < count; ++i) {
                char* name = nullptr;
                unsigned char* data = nullptr;
                int length = 0;
                EXPECT_EQ(quorvel_client_file_get_details(list[i], &name, &data, &length), 0);
                self.files.emplace_back(Text{name}.get(), std::string{data, data + length});
                std::free(data);
                EXPECT_EQ(quorvel_client_file_destroy(list[i]), 0);
            }
            std::free(list);
            ++self.answers;
        }
        bool wait()
        {
            return pump_until([&] { return answers > 0; });
        }
    };
    struct PushStatus {
        int answers = 0;
        bool enabled = false;
        Names topics;
        static void take(int, bool enabled, char** list, int count, void* user_data)
        {
            auto& self = *static_cast<PushStatus*>(user_data);
            self.enabled = enabled;
            self.topics = take_texts(list, count);
            ++self.answers;
        }
    };
    PushStatus push_status() const
    {
        PushStatus status;
        EXPECT_EQ(quorvel_client_get_third_party_notification_status(client(), PushStatus::take, &status), 0);
        EXPECT_TRUE(pump_until([&] { return status.answers > 0; }));
        return status;
    }
    void set_push(bool enabled, const char* topic) const
    {
        Heard heard;
        EXPECT_EQ(quorvel_client_set_third_party_notification_status(
                      client(), enabled, &topic, topic != nullptr ? 1 : 0,
                      hear<quorvel_client_third_party_notification_cb>, &heard),
                  0);
        EXPECT_TRUE(heard.wait());
        EXPECT_EQ(heard.lines, Names{"true"});
    }
    Names devices_of_home(int property) const
    {
        quorvel_client_group_h group = nullptr;
        EXPECT_EQ(quorvel_client_get_group(client(), "home", &group), 0);
        Names ids = texts_of(quorvel_client_group_get_string_array, group, property);
        quorvel_client_group_destroy(group);
        return ids;
    }
    std::string device_token() const
    {
        Heard heard;
        EXPECT_EQ(
            quorvel_client_get_vxr_device_token(client(), hear<quorvel_client_vxr_device_token_cb>, &heard),
            0);
        EXPECT_TRUE(heard.wait());
        return heard.lines.empty() ? "" : heard.lines.front();
    }
};

TEST_F(ClientServices, ListTheDevicesBehindAnotherOneAsAccessories)
{
    Heard heard;
    ASSERT_EQ(quorvel_client_get_accessory_list(client(), hear<quorvel_client_accessory_list_cb>, &heard), 0);
    ASSERT_TRUE(heard.wait());
    const std::string& line = heard.lines.front();
    EXPECT_THAT(line, StartsWith("0|{"));
    for (const char* id : {"shade-1", "leak-1", "smoke-1", "motion-1", "door-1", "lock-1", "button-1"})
        EXPECT_THAT(line, HasSubstr("\"deviceId\":\"" + std::string{id} + '"'));
    EXPECT_THAT(line, HasSubstr(R"("parentDeviceId":"hub-1")"));
    EXPECT_THAT(line, Not(HasSubstr(R"("deviceId":"lamp-1")")));
}

TEST_F(ClientServices, MigrateTheDevicesOfTheEarlierPlatform)
{
    EXPECT_EQ(devices_of_home(QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V1), Names{"old-plug"});
    Heard heard;
    ASSERT_EQ(quorvel_client_activate_vxr_migration(client(), hear<quorvel_client_vxr_migration_cb>, &heard),
              0);
    ASSERT_TRUE(heard.wait());
    EXPECT_EQ(heard.lines, Names{"true"});
    EXPECT_THAT(devices_of_home(QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V1), IsEmpty());
    EXPECT_THAT(devices_of_home(QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V2), testing::Contains("old-plug"));
}

TEST_F(ClientServices, HandOutTokensThatStayUntilTheyAreRenewed)
{
    const std::string token = device_token();
    EXPECT_THAT(token, StartsWith("0|sim-"));
    EXPECT_EQ(device_token(), token);
    order(R"({"do": "tokens"})");
    EXPECT_NE(device_token(), token);

    Heard heard;
    const auto cb = hear<quorvel_client_vxr_device_peer_token_cb>;
    ASSERT_EQ(quorvel_client_get_vxr_device_peer_token(client(), "lamp-1", cb, &heard), 0);
    ASSERT_TRUE(heard.wait());
    EXPECT_THAT(heard.lines.front(), MatchesRegex(R"(0\|lamp-1\|sim-[0-9a-f]+\|(true|false))"));
    EXPECT_EQ(quorvel_client_get_vxr_device_peer_token(client(), "no-such-device", cb, &heard), no_data);
    settle();
    EXPECT_THAT(heard.lines, SizeIs(1));
}

TEST_F(ClientServices, KeepTheTopicsOfNotificationsAndTellOfChanges)
{
    EXPECT_TRUE(push_status().enabled);
    EXPECT_THAT(push_status().topics, IsEmpty());
    Heard changes;
    ASSERT_EQ(quorvel_client_set_third_party_notification_status_updated_cb(
                  client(), hear<quorvel_client_third_party_notification_status_updated_cb>, &changes),
              0);
    set_push(true, "leak");
    ASSERT_TRUE(changes.wait());
    set_push(true, "smoke");
    EXPECT_EQ(push_status().topics, (Names{"leak", "smoke"}));
    set_push(false, "leak");
    EXPECT_EQ(push_status().topics, Names{"smoke"});
    ASSERT_TRUE(changes.wait(3));

    EXPECT_EQ(quorvel_client_unset_third_party_notification_status_updated_cb(client()), 0);
    set_push(false, "smoke");
    settle();
    EXPECT_THAT(changes.lines, SizeIs(3));
    EXPECT_EQ(quorvel_client_set_third_party_notification_status(
                  client(), true, nullptr, 0, hear<quorvel_client_third_party_notification_cb>, &changes),
              QUORVEL_CLIENT_ERROR_OPERATION_FAILED);
}

TEST_F(ClientServices, StopForwardingNotificationsWhenTheyAreSwitchedOff)
{
    Heard heard;
    ASSERT_EQ(quorvel_client_set_notification_cb(client(), hear<quorvel_client_notification_cb>, &heard), 0);
    set_push(false, nullptr);
    EXPECT_FALSE(push_status().enabled);
    order(R"({"do": "push", "kind": "message", "title": "Unheard", "body": ""})");
    set_push(true, nullptr);
    order(R"({"do": "push", "kind": "message", "title": "Heard", "body": ""})");
    ASSERT_TRUE(heard.wait());
    EXPECT_EQ(heard.lines, Names{"message|Heard|"});
}

TEST_F(ClientServices, RegisterAnotherApplicationForNotifications)
{
    Heard changes;
    ASSERT_EQ(quorvel_client_set_third_party_notification_status_updated_cb(
                  client(), hear<quorvel_client_third_party_notification_status_updated_cb>, &changes),
              0);
    Heard heard;
    const auto cb = hear<quorvel_client_third_party_notification_cb>;
    ASSERT_EQ(quorvel_client_set_third_party_notification(client(), "provider", "registration-1",
                                                          "org.example.app", "en-GB", cb, &heard),
              0);
    ASSERT_TRUE(heard.wait());
    EXPECT_EQ(heard.lines, Names{"true"});
    EXPECT_TRUE(changes.wait());
    EXPECT_EQ(
        quorvel_client_set_third_party_notification(client(), "provider", "", "app", "en-GB", cb, &heard),
        invalid);
}

TEST_F(ClientServices, HandOverTheFilesOfADevice)
{
    Files all;
    ASSERT_EQ(quorvel_client_get_files(client(), "camera-1", "/camera", "", Files::take, &all), 0);
    ASSERT_TRUE(all.wait());
    EXPECT_EQ(all.result, 0);
    EXPECT_EQ(all.status, "complete");
    ASSERT_THAT(all.files, SizeIs(1));
    EXPECT_EQ(all.files[0].first, "hall.txt");
    EXPECT_EQ(all.files[0].second, "a picture of an empty hall\n");

    Files other;
    ASSERT_EQ(quorvel_client_get_files(client(), "camera-1", "/camera", "other.txt", Files::take, &other), 0);
    ASSERT_TRUE(other.wait());
    EXPECT_THAT(other.status, StartsWith("no data"));
    EXPECT_THAT(other.files, IsEmpty());

    Files none;
    EXPECT_EQ(quorvel_client_get_files(client(), "camera-1", "/no-such-resource", "", Files::take, &none),
              no_data);
    EXPECT_EQ(quorvel_client_get_files(client(), "no-such-device", "/camera", "", Files::take, &none),
              no_data);
    settle();
    EXPECT_EQ(none.answers, 0);
    EXPECT_EQ(quorvel_client_file_destroy(nullptr), invalid);
}

TEST_F(ClientServices, KnowWhatAThingNeedsToSignItselfUp)
{
    ASSERT_EQ(quorvel_client_internal_set_server_env(client(), 0, 2), 0);
    quorvel_client_self_sign_up_info_h info = nullptr;
    ASSERT_EQ(quorvel_client_get_self_sign_up_info(client(), "cabin", "", &info), 0);
    const auto text = [&](int property) {
        return text_of(quorvel_client_self_sign_up_info_get_string, info, property);
    };
    EXPECT_THAT(text(QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_JWT), StartsWith("sim-"));
    EXPECT_THAT(text(QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_CLIENT_ID), Not(IsEmpty()));
    EXPECT_EQ(text(QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_UID), "user-demo");
    EXPECT_THAT(text(QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_HOST_ADDRESS), Not(IsEmpty()));
    EXPECT_THAT(text(QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_JWT_AUTH_PROVIDER), Not(IsEmpty()));
    // The environment that was chosen above.
    EXPECT_EQ(text(QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_SERVER_DEPLOYMENT_ENV), "development");
    char* value = nullptr;
    EXPECT_EQ(quorvel_client_self_sign_up_info_get_string(info, 6, &value), invalid);
    EXPECT_EQ(quorvel_client_self_sign_up_info_destroy(info), 0);

    quorvel_client_self_sign_up_info_h nothing = nullptr;
    EXPECT_EQ(quorvel_client_get_self_sign_up_info(client(), "no-such-group", "", &nothing), no_data);
    EXPECT_EQ(nothing, nullptr);
    EXPECT_EQ(quorvel_client_self_sign_up_info_destroy(nullptr), invalid);
}

}  // namespace
