// Onboarding the devices that wait in the default home, against the reference agent.
#include <gmock/gmock.h>

#include "reference_home.hpp"

namespace {

using namespace integration;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr int invalid = QUORVEL_CLIENT_ERROR_INVALID_PARAMETER;
constexpr int no_data = QUORVEL_CLIENT_ERROR_NO_DATA;
constexpr int failed = QUORVEL_CLIENT_ERROR_OPERATION_FAILED;
constexpr int set_before = -18350079;

using Names = std::vector<std::string>;

/// A record that the test made, or was handed.
using Record = std::unique_ptr<void, int (*)(void*)>;

// The states, as the callback tells them: the stage, and what became of it.
constexpr auto prepared = "1|1";
constexpr auto waits_for_network = "5|3";
constexpr auto done = "10|1";
constexpr auto stopped = "0|1";
// What the callback for errors tells in the same words; no state has a second number above 3.
constexpr auto wrong_pin = "4|4";
constexpr auto wrong_network = "6|5";
constexpr auto wrong_password = "6|6";

constexpr auto sensor = "192.168.8.1";
constexpr auto plug = "192.168.8.2";

class ClientEasySetup : public ReferenceHome {
protected:
    struct AccessPoints {
        int answers = 0;
        std::vector<Names> points;
        static void take(quorvel_client_easy_setup_access_point_h* list, int count, void* user_data)
        {
            auto& self = *static_cast<AccessPoints*>(user_data);
            ++self.answers;
            for (int i = 0; i < count; ++i) {
                Names& values = self.points.emplace_back();
                for (int property = QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_SSID;
                     property <= QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_FREQ; ++property)
                    values.push_back(
                        text_of(quorvel_client_easy_setup_access_point_get_string, list[i], property));
            }
            if (count == 0)
                return;
            // One on its own; the others close up, and go together with the vector.
            EXPECT_EQ(quorvel_client_easy_setup_destroy_access_point(list[0]), 0);
            std::copy(list + 1, list + count + 1, list);
            EXPECT_EQ(quorvel_client_easy_setup_destroy_access_point_list(list), 0);
        }
    };
    static Record make(int (*create)(void**), int (*destroy)(void*))
    {
        void* made = nullptr;
        EXPECT_EQ(create(&made), 0);
        return {made, destroy};
    }
    static Record device_property()
    {
        return make(quorvel_client_easy_setup_device_property_create,
                    quorvel_client_easy_setup_device_property_destroy);
    }
    static Record cloud_property()
    {
        return make(quorvel_client_easy_setup_cloud_property_create,
                    quorvel_client_easy_setup_cloud_property_destroy);
    }

    /// Hears of states and errors from here on. Errors come with the user data of the states.
    void watch()
    {
        ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client(), hear<quorvel_client_easy_setup_state_cb>,
                                                         &states),
                  0);
        ASSERT_EQ(quorvel_client_set_easy_setup_enrollee_error_cb(
                      client(), hear<quorvel_client_easy_setup_enrollee_error_cb>, &asked),
                  0);
    }
    int initialize()
    {
        Outcome outcome;
        const int code = quorvel_client_easy_setup_initialize(
            client(), QUORVEL_CLIENT_EASY_SETUP_TYPE_HOST_ADDRESS, Outcome::take, &outcome);
        return code != 0 ? code : outcome.wait();
    }
    int start(const char* address)
    {
        return quorvel_client_easy_setup_start(client(), address, false,
                                               hear<quorvel_client_easy_setup_otm_feature_cb>,
                                               hear<quorvel_client_easy_setup_random_pin_cb>,
                                               hear<quorvel_client_easy_setup_enrollee_owned_cb>, &asked);
    }
    int start_v2(const char* address, quorvel_client_easy_setup_provisioning_info_cb on_info)
    {
        return quorvel_client_easy_setup_start_v2(
            client(), address, false, hear<quorvel_client_easy_setup_otm_feature_cb>,
            hear<quorvel_client_easy_setup_random_pin_cb>, on_info, &asked);
    }
    int provision(const char* ssid, const char* password)
    {
        const Record property = device_property();
        const auto set = quorvel_client_easy_setup_device_property_set_string;
        EXPECT_EQ(set(property.get(), QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_SSID, ssid), 0);
        EXPECT_EQ(set(property.get(), QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_PASSWORD, password), 0);
        Outcome outcome;
        const int code =
            quorvel_client_easy_setup_device_provisioning(client(), property.get(), Outcome::take, &outcome);
        return code != 0 ? code : outcome.wait();
    }
    int provision_cloud()
    {
        const Record property = cloud_property();
        EXPECT_EQ(quorvel_client_easy_setup_cloud_property_set_string(
                      property.get(), QUORVEL_CLIENT_EASY_SETUP_CLOUD_PROP_CI_HOST_ADDRESS,
                      "coaps+tcp://cloud.example:443"),
                  0);
        Outcome outcome;
        const int code =
            quorvel_client_easy_setup_cloud_provisioning(client(), property.get(), Outcome::take, &outcome);
        return code != 0 ? code : outcome.wait();
    }
    int bookmark(const char* group, const char* subgroup)
    {
        Outcome outcome;
        const int code = quorvel_client_easy_setup_set_bookmark_location(client(), "3600", group, subgroup,
                                                                         Outcome::take, &outcome);
        return code != 0 ? code : outcome.wait();
    }
    int reset()
    {
        Outcome outcome;
        const int code =
            quorvel_client_easy_setup_send_reset_provisioning_info(client(), Outcome::take, &outcome);
        return code != 0 ? code : outcome.wait();
    }
    /// These two callbacks never get user data, so what they hear has a place of its own.
    inline static Names sign_ins;
    inline static Record configuration{nullptr, nullptr};

    int watch_sign_in()
    {
        return quorvel_client_easy_setup_monitoring_enrollee_sign_in(
            client(),
            [](bool signed_in, void* user_data) {
                EXPECT_EQ(user_data, nullptr);
                sign_ins.emplace_back(in_words(signed_in));
            },
            this);
    }
    int read_configuration()
    {
        configuration = Record{nullptr, nullptr};
        return quorvel_client_easy_setup_get_device_conf(
            client(),
            [](quorvel_client_easy_setup_device_conf_h conf, void* user_data) {
                EXPECT_EQ(user_data, nullptr);
                configuration = Record{conf, quorvel_client_easy_setup_device_conf_destroy};
            },
            this);
    }
    static int configured(int property)
    {
        int value = -1;
        EXPECT_EQ(quorvel_client_easy_setup_device_conf_get_int(configuration.get(), property, &value), 0);
        return value;
    }
    std::string last_error() const
    {
        char* code = nullptr;
        EXPECT_EQ(quorvel_client_easy_setup_get_last_error_code(client(), &code), 0);
        const Text owner{code};
        return code != nullptr ? code : "";
    }
    /// Gets the plug, which asks nothing, as far as the choice of its network.
    void meet_plug()
    {
        watch();
        ASSERT_EQ(initialize(), 0);
        ASSERT_EQ(start(plug), 0);
        ASSERT_TRUE(states.wait_for(waits_for_network));
    }

    Heard states;
    Heard asked;
};

TEST_F(ClientEasySetup, BringsADeviceThatAsksForAPinIntoTheHome)
{
    watch();
    ASSERT_EQ(initialize(), 0);
    EXPECT_TRUE(states.wait_for(prepared));
    EXPECT_FALSE(device_ids().contains("new-sensor"));

    // It has no owner, and offers both ways: 1 and 2.
    ASSERT_EQ(start(sensor), 0);
    ASSERT_TRUE(asked.wait(2));
    EXPECT_EQ(asked.lines, (Names{"false", "3"}));
    EXPECT_EQ(quorvel_client_easy_setup_set_supported_otm_feature(client(), 4), invalid);
    ASSERT_EQ(quorvel_client_easy_setup_set_supported_otm_feature(client(), 2), 0);
    // The PIN has four digits.
    ASSERT_TRUE(asked.wait(3));
    EXPECT_EQ(asked.lines.back(), "4");
    ASSERT_EQ(quorvel_client_easy_setup_set_random_pin(client(), "1234"), 0);
    ASSERT_TRUE(states.wait_for(waits_for_network));

    ASSERT_EQ(provision("Demo home", "quorvel-demo"), 0);
    EXPECT_EQ(bookmark("home", "no-such-room"), no_data);
    ASSERT_EQ(bookmark("home", "bedroom"), 0);
    ASSERT_EQ(provision_cloud(), 0);
    ASSERT_EQ(watch_sign_in(), 0);
    ASSERT_TRUE(pump_until([] { return !sign_ins.empty(); }));
    EXPECT_EQ(sign_ins, Names{"true"});
    EXPECT_TRUE(states.wait_for(done));

    EXPECT_TRUE(device_ids().contains("new-sensor"));
    EXPECT_EQ(detail_of("new-sensor", QUORVEL_CLIENT_DEVICE_DETAIL_PROP_SUBGROUP_ID), "bedroom");
    EXPECT_EQ(last_error(), "");
    EXPECT_EQ(quorvel_client_easy_setup_stop(client()), 0);
    EXPECT_TRUE(states.wait_for(stopped));
    EXPECT_EQ(quorvel_client_easy_setup_stop(client()), failed);
}

TEST_F(ClientEasySetup, ShowsTheAccessPointsThatTheDeviceSees)
{
    meet_plug();
    AccessPoints seen;
    ASSERT_EQ(quorvel_client_easy_setup_get_access_point_list(client(), AccessPoints::take, &seen), 0);
    ASSERT_TRUE(pump_until([&] { return seen.answers > 0; }));
    ASSERT_THAT(seen.points, SizeIs(3));
    EXPECT_EQ(seen.points[2][QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_SSID], "Café guest");
    const Names& second = seen.points[1];
    EXPECT_EQ(second[QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_SSID], "Demo home 5");
    EXPECT_EQ(second[QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_MAC_ADDR], "02:51:56:00:00:02");
    EXPECT_EQ(second[QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_CHANNEL], "36");
    EXPECT_EQ(second[QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_MAX_RATE], "866");
    EXPECT_EQ(second[QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_RSSI], "-61");
    EXPECT_EQ(second[QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_FREQ], "5180");
    EXPECT_EQ(quorvel_client_easy_setup_destroy_access_point(nullptr), invalid);
    EXPECT_EQ(quorvel_client_easy_setup_destroy_access_point_list(nullptr), invalid);
}

TEST_F(ClientEasySetup, ShowsInTheConfigurationWhatTheDeviceWasGiven)
{
    meet_plug();
    ASSERT_EQ(read_configuration(), 0);
    ASSERT_TRUE(pump_until([] { return configuration != nullptr; }));
    EXPECT_EQ(configured(QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_PROV_STATUS), 0);
    EXPECT_EQ(configured(QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_NET_CONNECTION_STATE), 0);

    ASSERT_EQ(provision("Demo home", "quorvel-demo"), 0);
    ASSERT_EQ(read_configuration(), 0);
    ASSERT_TRUE(pump_until([] { return configuration != nullptr; }));
    EXPECT_EQ(configured(QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_PROV_STATUS), 1);
    EXPECT_EQ(configured(QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_NET_CONNECTION_STATE), 1);
    EXPECT_EQ(configured(QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_LAST_ERROR_CODE), 0);
    const auto text = [](int property) {
        return text_of(quorvel_client_easy_setup_device_conf_get_string, configuration.get(), property);
    };
    EXPECT_EQ(text(QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_DEVICE_NAME), "New plug");
    EXPECT_EQ(text(QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_MODEL_NUMBER), "OE-20");
    EXPECT_EQ(text(QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_DEVICE_TYPE), "qv.d.plug");
    EXPECT_EQ(text(QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_HUB_ID), "hub-1");
    bool accessible = false;
    EXPECT_EQ(
        quorvel_client_easy_setup_device_conf_get_bool(
            configuration.get(), QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_IS_CLOUD_ACCESSIBLE, &accessible),
        0);
    EXPECT_TRUE(accessible);
    int* modes = nullptr;
    int count = 0;
    EXPECT_EQ(quorvel_client_easy_setup_device_conf_get_int_array(
                  configuration.get(), QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_WIFI_MODES, &modes, &count),
              0);
    EXPECT_GT(count, 0);
    std::free(modes);
    // Each property belongs to one getter.
    int number = 0;
    EXPECT_EQ(quorvel_client_easy_setup_device_conf_get_int(
                  configuration.get(), QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_DEVICE_NAME, &number),
              invalid);
    configuration.reset();
    EXPECT_EQ(quorvel_client_easy_setup_device_conf_destroy(nullptr), invalid);
}

TEST_F(ClientEasySetup, TellsOfTheDeviceWhenItIsStartedTheSecondWay)
{
    watch();
    ASSERT_EQ(initialize(), 0);
    ASSERT_EQ(start_v2(plug,
                       [](quorvel_client_provisioning_info_h info, void* user_data) {
                           const auto text = [&](int property) {
                               return text_of(quorvel_client_provisioning_info_get_string, info, property);
                           };
                           EXPECT_EQ(text(QUORVEL_CLIENT_PROVISIONING_INFO_PROP_SOFT_AP_ADDRESS), plug);
                           EXPECT_EQ(text(QUORVEL_CLIENT_PROVISIONING_INFO_PROP_FIRMWARE_VER), "1.3.0");
                           EXPECT_EQ(text(QUORVEL_CLIENT_PROVISIONING_INFO_PROP_COUNTRY_CODE), "GB");
                           EXPECT_EQ(text(QUORVEL_CLIENT_PROVISIONING_INFO_PROP_VID), "qv-oe-20");
                           bool owned = true;
                           EXPECT_EQ(quorvel_client_provisioning_info_get_bool(
                                         info, QUORVEL_CLIENT_PROVISIONING_INFO_PROP_OWNED, &owned),
                                     0);
                           EXPECT_FALSE(owned);
                           int features = 0;
                           EXPECT_EQ(quorvel_client_provisioning_info_get_int(
                                         info, QUORVEL_CLIENT_PROVISIONING_INFO_PROP_OTM_SUPPORT, &features),
                                     0);
                           // Without a PIN there is only the way that just works.
                           EXPECT_EQ(features, 1);
                           EXPECT_THAT(texts_of(quorvel_client_provisioning_info_get_string_array, info,
                                                QUORVEL_CLIENT_PROVISIONING_INFO_PROP_PROTOCOL_LIST),
                                       Not(IsEmpty()));
                           EXPECT_EQ(quorvel_client_provisioning_info_destroy(info), 0);
                           static_cast<Heard*>(user_data)->lines.emplace_back("info");
                       }),
              0);
    ASSERT_TRUE(states.wait_for(waits_for_network));
    EXPECT_EQ(asked.lines, Names{"info"});
    EXPECT_EQ(quorvel_client_provisioning_info_destroy(nullptr), invalid);
}

TEST_F(ClientEasySetup, LetsADeviceLeaveAgainWhenItIsReset)
{
    meet_plug();
    ASSERT_EQ(provision("Demo home", "quorvel-demo"), 0);
    ASSERT_EQ(provision_cloud(), 0);
    ASSERT_TRUE(states.wait_for(done));
    EXPECT_TRUE(device_ids().contains("new-plug"));
    EXPECT_EQ(bookmark("cabin", "cabin-room"), 0);
    EXPECT_EQ(detail_of("new-plug", QUORVEL_CLIENT_DEVICE_DETAIL_PROP_GROUP_ID), "cabin");
    EXPECT_EQ(reset(), 0);
    EXPECT_FALSE(device_ids().contains("new-plug"));

    // It waits as it did before.
    EXPECT_EQ(initialize(), 0);
    EXPECT_EQ(start(plug), 0);
}

TEST_F(ClientEasySetup, AsksAgainForAPinThatIsWrongAndGivesUpAtTheThird)
{
    watch();
    ASSERT_EQ(initialize(), 0);
    ASSERT_EQ(start(sensor), 0);
    ASSERT_TRUE(asked.wait(2));
    ASSERT_EQ(quorvel_client_easy_setup_set_supported_otm_feature(client(), 2), 0);
    for (std::size_t attempt = 1; attempt <= 3; ++attempt) {
        // Those that it asks: the owner, the way, and then the PIN each time.
        ASSERT_TRUE(asked.wait(2 + attempt));
        ASSERT_EQ(quorvel_client_easy_setup_set_random_pin(client(), "4321"), 0);
        ASSERT_TRUE(pump_until([&] {
            return std::count(states.lines.begin(), states.lines.end(), wrong_pin)
                   == static_cast<long>(attempt);
        }));
    }
    EXPECT_THAT(asked.lines, SizeIs(5));
    EXPECT_EQ(last_error(), "404");
    EXPECT_FALSE(device_ids().contains("new-sensor"));
}

TEST_F(ClientEasySetup, TellsWhatIsWrongWithTheNetworkUntilTheCallbacksAreTakenBack)
{
    meet_plug();
    EXPECT_EQ(provision("Demo home", "guess"), failed);
    EXPECT_TRUE(states.wait_for(wrong_password));
    EXPECT_EQ(last_error(), "606");

    EXPECT_EQ(quorvel_client_unset_easy_setup_enrollee_error_cb(client()), 0);
    EXPECT_EQ(provision("No such network", "guess"), failed);
    settle();
    EXPECT_EQ(last_error(), "605");
    EXPECT_FALSE(states.has(wrong_network));

    EXPECT_EQ(quorvel_client_unset_easy_setup_state_cb(client()), 0);
    const std::size_t before = states.lines.size();
    EXPECT_EQ(provision("Demo home", "quorvel-demo"), 0);
    settle();
    EXPECT_EQ(states.lines.size(), before);
}

TEST_F(ClientEasySetup, RefusesWhatComesOutOfOrder)
{
    const auto nothing_works = [&] {
        EXPECT_EQ(quorvel_client_easy_setup_set_supported_otm_feature(client(), 1), failed);
        EXPECT_EQ(quorvel_client_easy_setup_set_random_pin(client(), "1234"), failed);
        AccessPoints seen;
        EXPECT_EQ(quorvel_client_easy_setup_get_access_point_list(client(), AccessPoints::take, &seen),
                  failed);
        EXPECT_EQ(provision("Demo home", "quorvel-demo"), failed);
        EXPECT_EQ(read_configuration(), failed);
        EXPECT_EQ(provision_cloud(), failed);
        EXPECT_EQ(watch_sign_in(), failed);
        EXPECT_EQ(bookmark("home", "bedroom"), failed);
        EXPECT_EQ(reset(), failed);
        settle();
        EXPECT_EQ(seen.answers, 0);
    };
    EXPECT_EQ(start(plug), failed);
    EXPECT_EQ(quorvel_client_easy_setup_stop(client()), failed);
    nothing_works();
    ASSERT_EQ(initialize(), 0);
    nothing_works();
    EXPECT_EQ(start(""), invalid);
    EXPECT_EQ(start("192.168.8.99"), no_data);
    EXPECT_THAT(asked.lines, IsEmpty());
    EXPECT_EQ(device_ids().size(), 18U);
}

TEST_F(ClientEasySetup, RecordsKeepTheFirstValueOfAProperty)
{
    const Record device = device_property();
    const auto set = quorvel_client_easy_setup_device_property_set_string;
    const auto get = quorvel_client_easy_setup_device_property_get_string;
    for (int property = QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_LANGUAGE;
         property <= QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_WIFI_ENC_TYPE; ++property) {
        const std::string value = "value " + std::to_string(property);
        EXPECT_EQ(set(device.get(), property, value.c_str()), 0);
        EXPECT_EQ(set(device.get(), property, "other"), set_before);
        EXPECT_EQ(text_of(get, device.get(), property), value);
    }
    const char* const places[] = {"home", "cabin"};
    const auto set_list = quorvel_client_easy_setup_device_property_set_string_array;
    constexpr int locations = QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_QC_LOCATIONS;
    EXPECT_EQ(set(device.get(), locations, "home"), invalid);
    EXPECT_EQ(set_list(device.get(), locations, places, 2), 0);
    EXPECT_EQ(set_list(device.get(), locations, places, 1), set_before);
    EXPECT_EQ(texts_of(quorvel_client_easy_setup_device_property_get_string_array, device.get(), locations),
              (Names{"home", "cabin"}));

    const Record cloud = cloud_property();
    const auto set_cloud = quorvel_client_easy_setup_cloud_property_set_string;
    constexpr int host = QUORVEL_CLIENT_EASY_SETUP_CLOUD_PROP_CI_HOST_ADDRESS;
    constexpr int terms = QUORVEL_CLIENT_EASY_SETUP_CLOUD_PROP_TC_RESULT;
    EXPECT_EQ(set_cloud(cloud.get(), host, "coaps://one"), 0);
    EXPECT_EQ(set_cloud(cloud.get(), host, "coaps://two"), set_before);
    EXPECT_EQ(text_of(quorvel_client_easy_setup_cloud_property_get_string, cloud.get(), host), "coaps://one");
    // This one can be set, and not read.
    EXPECT_EQ(set_cloud(cloud.get(), terms, "agreed"), 0);
    char* value = nullptr;
    EXPECT_EQ(quorvel_client_easy_setup_cloud_property_get_string(cloud.get(), terms, &value), invalid);
    EXPECT_EQ(quorvel_client_easy_setup_device_property_destroy(nullptr), invalid);
    EXPECT_EQ(quorvel_client_easy_setup_cloud_property_destroy(nullptr), invalid);
}

}  // namespace
