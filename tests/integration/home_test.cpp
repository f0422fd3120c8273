// The reference agent's home, through the library.
#include "reference_home.hpp"

namespace {

using namespace integration;

TEST_F(ReferenceHome, HoldsAtLeastTwelveDevices)
{
    EXPECT_GE(device_ids().size(), 12U);
}

TEST_F(ReferenceHome, TellsEveryListenerOfADeviceThatComes)
{
    struct Heard {
        std::set<std::string> ids;
        int events = 0;
        static void take(quorvel_client_device_h* list, int count, void* user_data)
        {
            auto& heard = *static_cast<Heard*>(user_data);
            heard.ids = take_ids(list, count);
            ++heard.events;
        }
    } heard;
    const auto before = device_ids();
    ASSERT_EQ(quorvel_client_set_device_list_updated_cb(connection.handle, Heard::take, &heard), 0);
    EXPECT_NE(control(R"({"do": "device-add", "device": {"id": "lamp-new", "name": "New", )"
                      R"("model": "light.dimmer", "room": "living"}})")
                  .find("\"ok\":true"),
              std::string::npos);
    ASSERT_TRUE(pump_until([&] { return heard.ids.contains("lamp-new"); }));
    EXPECT_EQ(heard.ids.size(), before.size() + 1);
    EXPECT_TRUE(device_ids().contains("lamp-new"));
}

TEST_F(ReferenceHome, KeepsTheNickThatADeviceIsGiven)
{
    Outcome outcome;
    ASSERT_EQ(quorvel_client_change_device_nick(connection.handle, "lamp-1", "Sun", Outcome::take, &outcome),
              0);
    ASSERT_TRUE(pump_until([&] { return outcome.answers > 0; }));
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(nick_of("lamp-1"), "Sun");
}

TEST_F(ReferenceHome, ForgetsADeviceThatIsRemoved)
{
    Outcome outcome;
    ASSERT_EQ(quorvel_client_remove_device(connection.handle, "plug-1", Outcome::take, &outcome), 0);
    ASSERT_TRUE(pump_until([&] { return outcome.answers > 0; }));
    EXPECT_EQ(outcome.result, 0);
    EXPECT_FALSE(device_ids().contains("plug-1"));
    EXPECT_EQ(outcome.answers, 1);
}

TEST_F(ReferenceHome, ShowsThroughTheClientFamilyWhatTheCoreFamilyChanged)
{
    char* result = nullptr;
    ASSERT_EQ(quorvel_core_change_device_name(connection.handle, "lamp-1", "Moon", &result), 0);
    const Text owner{result};
    EXPECT_EQ(nick_of("lamp-1"), "Moon");
}

TEST_F(ReferenceHome, KnowsTheAccount)
{
    bool is_signed_in = false;
    EXPECT_EQ(quorvel_client_is_signed_in(connection.handle, &is_signed_in), 0);
    EXPECT_TRUE(is_signed_in);
    for (const auto get : {quorvel_client_get_access_token, quorvel_client_get_device_id,
                           quorvel_client_get_connected_user_id, quorvel_client_get_login_id}) {
        char* text = nullptr;
        EXPECT_EQ(get(connection.handle, &text), 0);
        const Text owner{text};
        ASSERT_NE(text, nullptr);
        EXPECT_STRNE(text, "");
    }
}

}  // namespace
