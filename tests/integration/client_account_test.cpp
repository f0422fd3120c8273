// The session and the account against the reference agent.
#include <gmock/gmock.h>

#include "reference_home.hpp"

namespace {

using namespace integration;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

constexpr int refused = QUORVEL_CLIENT_ERROR_PERMISSION_DENIED;
constexpr int invalid = QUORVEL_CLIENT_ERROR_INVALID_PARAMETER;
constexpr int no_data = QUORVEL_CLIENT_ERROR_NO_DATA;
constexpr int suspended = QUORVEL_CLIENT_ERROR_AGENT_DEFINED_4;

class ClientAccount : public ReferenceHome {
protected:
    std::string ask(int (*get)(quorvel_client_h, char**)) const
    {
        char* text = nullptr;
        EXPECT_EQ(get(client(), &text), 0);
        const Text owner{text};
        return text != nullptr ? text : "";
    }
    bool signed_in() const
    {
        bool answer = false;
        EXPECT_EQ(quorvel_client_is_signed_in(client(), &answer), 0);
        return answer;
    }
    int state() const
    {
        int answer = -1;
        EXPECT_EQ(quorvel_client_get_state(client(), &answer), 0);
        return answer;
    }
    int environment(unsigned int type) const
    {
        int answer = -1;
        EXPECT_EQ(quorvel_client_internal_get_server_env(client(), type, &answer), 0);
        return answer;
    }
    int count_devices(int& count) const
    {
        quorvel_client_device_h* list = nullptr;
        const int code = quorvel_client_get_device_list(client(), &list, &count);
        take_ids(list, code == 0 ? count : 0);
        return code;
    }
};

TEST_F(ClientAccount, ConnectsOnceAndAgainAfterADisconnect)
{
    quorvel_client_h second = nullptr;
    EXPECT_EQ(quorvel_client_connect(&second, hear<quorvel_client_connection_state_cb>, nullptr),
              QUORVEL_CLIENT_ERROR_ALREADY_CONNECTED);
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(quorvel_client_disconnect(nullptr), invalid);
    EXPECT_EQ(device_ids().size(), 18U);

    EXPECT_EQ(quorvel_client_disconnect(client()), 0);
    connection.handle = nullptr;
    ASSERT_TRUE(connection.establish());
    EXPECT_EQ(device_ids().size(), 18U);
}

TEST_F(ClientAccount, KnowsWhoIsSignedIn)
{
    EXPECT_TRUE(signed_in());
    EXPECT_EQ(ask(quorvel_client_get_login_id), "demo@example.test");
    EXPECT_EQ(ask(quorvel_client_get_connected_user_id), "user-demo");
    EXPECT_EQ(ask(quorvel_client_get_device_id), "agent-demo");
    const std::string token = ask(quorvel_client_get_access_token);
    EXPECT_THAT(token, StartsWith("sim-"));
    EXPECT_EQ(ask(quorvel_client_get_access_token), token);
    order(R"({"do": "tokens"})");
    EXPECT_NE(ask(quorvel_client_get_access_token), token);
}

TEST_F(ClientAccount, HearsOfSigningOutAndInAndIsRefusedInBetween)
{
    Heard heard;
    ASSERT_EQ(quorvel_client_set_sign_in_state_changed_cb(
                  client(), hear<quorvel_client_sign_in_state_changed_cb>, &heard),
              0);
    order(R"({"do": "sign", "in": false})");
    ASSERT_TRUE(heard.wait());
    EXPECT_EQ(heard.lines.front(), "false");
    EXPECT_FALSE(signed_in());
    EXPECT_EQ(state(), 0);
    int count = -1;
    EXPECT_EQ(count_devices(count), refused);

    order(R"({"do": "sign", "in": true})");
    ASSERT_TRUE(heard.wait(2));
    EXPECT_EQ(heard.lines.back(), "true");
    EXPECT_TRUE(signed_in());
    EXPECT_EQ(count_devices(count), 0);
    EXPECT_EQ(count, 18);

    EXPECT_EQ(quorvel_client_unset_sign_in_state_changed_cb(client()), 0);
    order(R"({"do": "sign", "in": false})");
    order(R"({"do": "sign", "in": true})");
    settle();
    EXPECT_THAT(heard.lines, SizeIs(2));
}

TEST_F(ClientAccount, TellsTheStateThatTheAgentIsIn)
{
    EXPECT_EQ(state(), 1);
    order(R"({"do": "cloud", "up": false})");
    EXPECT_EQ(state(), 3);
    order(R"({"do": "cloud", "up": true})");
    order(R"({"do": "caching", "ms": 60000})");
    EXPECT_EQ(state(), 2);
}

TEST_F(ClientAccount, ServesNothingWhileItIsSuspended)
{
    ASSERT_EQ(quorvel_client_internal_set_suspend_mode(client(), true), 0);
    EXPECT_EQ(state(), 4);
    int count = -1;
    EXPECT_EQ(count_devices(count), suspended);
    ASSERT_EQ(quorvel_client_internal_set_suspend_mode(client(), false), 0);
    EXPECT_EQ(state(), 1);
    EXPECT_EQ(count_devices(count), 0);
}

TEST_F(ClientAccount, KeepsTheEnvironmentOfEachType)
{
    EXPECT_EQ(environment(0), 0);
    ASSERT_EQ(quorvel_client_internal_set_server_env(client(), 0, 2), 0);
    EXPECT_EQ(environment(0), 2);
    EXPECT_EQ(environment(1), 0);
    ASSERT_EQ(quorvel_client_internal_set_server_env(client(), 1, 1), 0);
    EXPECT_EQ(environment(1), 1);

    int answer = 7;
    EXPECT_EQ(quorvel_client_internal_get_server_env(client(), 2, &answer), invalid);
    EXPECT_EQ(answer, 7);
    EXPECT_EQ(quorvel_client_internal_set_server_env(client(), 2, 1), invalid);
    EXPECT_EQ(quorvel_client_internal_set_server_env(client(), 0, 3), invalid);
    EXPECT_EQ(environment(0), 2);
}

TEST_F(ClientAccount, KnowsTheMetadataOfAModelAndHearsOfAChange)
{
    std::string metadata;
    ASSERT_EQ(ask_metadata(client(), "qv-hl-2207", metadata), 0);
    EXPECT_THAT(metadata, HasSubstr(R"("vid":"qv-hl-2207")"));
    EXPECT_THAT(metadata, HasSubstr(R"("deviceType":"qv.d.light")"));
    EXPECT_THAT(metadata, HasSubstr(R"("version":1)"));
    EXPECT_EQ(ask_metadata(client(), "no-such-model", metadata), no_data);
    EXPECT_EQ(metadata, "");

    Heard heard;
    ASSERT_EQ(quorvel_client_set_ui_metadata_updated_cb(client(), hear<quorvel_client_ui_metadata_updated_cb>,
                                                        &heard),
              0);
    order(R"({"do": "metadata", "vid": "qv-hl-2207"})");
    ASSERT_TRUE(heard.wait());
    ASSERT_EQ(ask_metadata(client(), "qv-hl-2207", metadata), 0);
    EXPECT_EQ(heard.lines.front(), "qv-hl-2207|" + metadata);
    EXPECT_THAT(metadata, HasSubstr(R"("version":2)"));

    EXPECT_EQ(quorvel_client_unset_ui_metadata_updated_cb(client()), 0);
    order(R"({"do": "metadata", "vid": "qv-hl-2207"})");
    settle();
    EXPECT_THAT(heard.lines, SizeIs(1));
}

TEST_F(ClientAccount, DownloadsOnlyWhatWasAnnouncedForUpload)
{
    char* nothing = nullptr;
    EXPECT_EQ(quorvel_client_get_udo_download_url(client(), "picture", "image/png", "{}", &nothing), no_data);
    EXPECT_EQ(nothing, nullptr);

    char* upload = nullptr;
    char* content = nullptr;
    ASSERT_EQ(
        quorvel_client_get_udo_upload_url(client(), "picture", "image/png", "c0ffee", 12, &upload, &content),
        0);
    const Text upload_owner{upload};
    const Text content_owner{content};
    EXPECT_THAT(upload, HasSubstr("picture"));
    EXPECT_THAT(upload, HasSubstr("c0ffee"));
    EXPECT_THAT(content, HasSubstr("picture"));

    char* download = nullptr;
    ASSERT_EQ(quorvel_client_get_udo_download_url(client(), "picture", "image/png", "{}", &download), 0);
    const Text download_owner{download};
    EXPECT_THAT(download, StartsWith(content));
    EXPECT_EQ(quorvel_client_get_udo_download_url(client(), "picture", "image/gif", "{}", &nothing), no_data);
    EXPECT_EQ(
        quorvel_client_get_udo_upload_url(client(), "picture", "image/png", "c0ffee", 0, &nothing, &nothing),
        invalid);
    EXPECT_EQ(nothing, nullptr);
}

TEST_F(ClientAccount, ForwardsNotificationsUntilTheCallbackIsTakenBack)
{
    Heard heard;
    ASSERT_EQ(quorvel_client_set_notification_cb(client(), hear<quorvel_client_notification_cb>, &heard), 0);
    order(R"({"do": "push", "kind": "message", "title": "Hello", "body": "World"})");
    ASSERT_TRUE(heard.wait());
    EXPECT_EQ(heard.lines.front(), "message|Hello|World");
    // What a rule of the home tells of.
    order(R"({"do": "set", "device": "leak-1", "attribute": "water", "value": "wet"})");
    EXPECT_TRUE(heard.wait_for("|Leak|Water under the sink"));

    EXPECT_EQ(quorvel_client_unset_notification_cb(client()), 0);
    const std::size_t before = heard.lines.size();
    order(R"({"do": "push", "kind": "message", "title": "Hello", "body": "again"})");
    settle();
    EXPECT_EQ(heard.lines.size(), before);
}

}  // namespace
