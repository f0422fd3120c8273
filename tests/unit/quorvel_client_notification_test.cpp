// Notifications: quorvel_client_notification.cpp over the scripted platform.
#include <quorvel_client_notification.h>
#include <quorvel_client_proxy.h>

#include "api_contract.hpp"
#include "callback_contract.hpp"
#include "connected_client.hpp"
#include "hearing.hpp"

extern "C" void _notification_cb(void* user_data, const char* first, const char* second, const char* third);

namespace scripted {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto source = "quorvel_client_notification";
constexpr int invalid_parameter = -22;
constexpr int lower_version = -1073741830;

const Values three = {text("one"), text("two"), text("three")};

void count(const char*, const char*, const char*, void* heard)
{
    static_cast<Heard*>(heard)->hear();
}

[[maybe_unused]] const bool contracts = register_contracts(
    source,
    {
        Contract("quorvel_client_set_notification_cb", {1, 1},
                 [](auto client) { return quorvel_client_set_notification_cb(client, count, nullptr); })
            .asks(43, "set_notification_cb"),
        Contract("quorvel_client_unset_notification_cb", {1, 1}, quorvel_client_unset_notification_cb)
            .asks(44, "unset_notification_cb"),
    });

[[maybe_unused]] const bool callbacks = register_callbacks({
    RepeatingCallback("quorvel_client_set_notification_cb", source)
        .set([](auto client, Heard& heard) {
            return quorvel_client_set_notification_cb(client, count, &heard);
        })
        .unset(quorvel_client_unset_notification_cb)
        .speaks(43, 44, 18, three),
});

class Notifications : public ConnectedClient {
protected:
    int set()
    {
        return quorvel_client_set_notification_cb(client, hears<quorvel_client_notification_cb>, &ear);
    }
    rpc_port_proxy_qv_client_h& proxy() const { return *static_cast<rpc_port_proxy_qv_client_h*>(client); }
    Ear ear;
};

TEST_F(Notifications, TellTheThreeTextsInTheirOrder)
{
    agent().answer_next_with(0);
    ASSERT_EQ(set(), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(43), delegate(18, 1, false)}));
    agent().fire(18, 1, false, three);
    EXPECT_THAT(ear.heard, ElementsAre(Strings{"one", "two", "three"}));
    EXPECT_THAT(log(), HasLine(qc_info(source, "_notification_cb", "ENTER v[2.4.29]")));
}

TEST_F(Notifications, CallAMissingCallbackInvalidBeforeTheyLookForTheProxy)
{
    void* const taken = std::exchange(proxy(), nullptr);
    EXPECT_EQ(quorvel_client_set_notification_cb(client, nullptr, &ear), invalid_parameter);
    proxy() = static_cast<rpc_port_proxy_qv_client_h>(taken);
    EXPECT_THAT(errors(),
                Lines(qc_error(source, "quorvel_client_set_notification_cb", "user_cb is invalid")));
    EXPECT_THAT(agent().requests(), IsEmpty());
}

TEST_F(Notifications, SetTwiceLeaveOneDelegateWithTheProxy)
{
    agent().otherwise_answer(0);
    ASSERT_EQ(set(), 0);
    ASSERT_EQ(set(), 0);
    ASSERT_NE(proxy()->delegates, nullptr);
    EXPECT_EQ(g_list_length(proxy()->delegates), 1U);
    EXPECT_EQ(agent().request(), (Sent{i32(43), delegate(18, 2, false)}));
}

TEST_F(Notifications, SayNothingWhenNobodyListens)
{
    _notification_cb(client, "one", "two", "three");
    EXPECT_THAT(errors(), IsEmpty());
    _notification_cb(nullptr, "one", "two", "three");
    EXPECT_THAT(errors(), Lines(qc_error(source, "_notification_cb", "No user data")));
}

class OldAgent : public ConnectedClient {
    std::string version() const override { return "1.0.9"; }
};

TEST_F(OldAgent, KnowsNoNotificationsAndSaysSoTwice)
{
    const auto refused = [](const char* function) {
        return testing::ElementsAre(
            qc_error("quorvel_client", "check_agent", "Lower version error"),
            qc_error("quorvel_client", "check_api_precondition", "Fail to check condition[-1073741830]"),
            qc_error(source, function, "Fail to check condition[-1073741830]"));
    };
    EXPECT_EQ(quorvel_client_set_notification_cb(client, count, nullptr), lower_version);
    EXPECT_THAT(errors(), refused("quorvel_client_set_notification_cb"));
    clear_log();
    EXPECT_EQ(quorvel_client_unset_notification_cb(client), lower_version);
    EXPECT_THAT(errors(), refused("quorvel_client_unset_notification_cb"));
}

}  // namespace
}  // namespace scripted
