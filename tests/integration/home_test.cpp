// The reference agent's home, through the library.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <set>

#include "support.hpp"

namespace {

using namespace integration;

class ReferenceHome : public testing::Test {
protected:
    ReferenceHome() { home.install("2.4.0", REFERENCE_AGENT); }
    ~ReferenceHome() override { home.kill_agent(9); }

    void SetUp() override { ASSERT_TRUE(connection.establish()); }

    std::set<std::string> device_ids()
    {
        quorvel_client_device_h* devices = nullptr;
        int count = 0;
        EXPECT_EQ(quorvel_client_get_device_list(connection.handle, &devices, &count), 0);
        return take_ids(devices, count);
    }
    static std::set<std::string> take_ids(quorvel_client_device_h* devices, int count)
    {
        std::set<std::string> ids;
        for (int i = 0; i < count; ++i) {
            char* id = nullptr;
            quorvel_client_device_get_string(devices[i], QUORVEL_CLIENT_DEVICE_PROP_DEVICE_ID, &id);
            ids.insert(Text{id}.get());
            quorvel_client_device_destroy(devices[i]);
        }
        std::free(devices);
        return ids;
    }
    std::string nick_of(const char* device_id)
    {
        quorvel_client_device_detail_h detail = nullptr;
        if (quorvel_client_get_device_detail(connection.handle, device_id, &detail) != 0)
            return {};
        char* nick = nullptr;
        quorvel_client_device_detail_get_string(detail, QUORVEL_CLIENT_DEVICE_DETAIL_PROP_NICK, &nick);
        quorvel_client_device_detail_destroy(detail);
        const Text owner{nick};
        return nick != nullptr ? nick : "";
    }
    /// One command on the agent's control socket; answers its line.
    std::string control(const std::string& command) const
    {
        const int control = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = home.sockets() / "com.veltrane.norvik.quorvel-client.control.sock";
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        std::string answer;
        if (connect(control, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0
            && write(control, (command + "\n").data(), command.size() + 1) > 0) {
            char byte = 0;
            while (read(control, &byte, 1) == 1 && byte != '\n')
                answer += byte;
        }
        close(control);
        return answer;
    }

    struct Outcome {
        int answers = 0;
        int result = 1;
        static void take(int result, void* user_data)
        {
            auto& outcome = *static_cast<Outcome*>(user_data);
            ++outcome.answers;
            outcome.result = result;
        }
    };

    TemporaryHome home;
    Connection connection;
};

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
