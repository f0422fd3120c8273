// Subscriptions and monitoring: the live requests of quorvel_client_qc_api.cpp over the scripted platform.
#include <quorvel_client_device_detail.h>
#include <quorvel_client_proxy.h>
#include <quorvel_client_qc_api.h>

#include <atomic>
#include <thread>

#include "api_contract.hpp"
#include "connected_client.hpp"
#include "failing_allocations.hpp"
#include "hearing.hpp"

extern "C" {
void _subscribe_cb(void* key, const char* first, const char* second, const char* third, const char* fourth,
                   const char* fifth, const char* sixth);
void _start_monitoring_network_state_cb(void* key, const char* first, const char* state, const char* third,
                                        const char* fourth);
}

namespace scripted {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr auto source = "quorvel_client_qc_api";
constexpr int subscribe_id = 10;
constexpr int monitoring_id = 11;
constexpr int invalid_parameter = -22;
constexpr int out_of_memory = -12;
constexpr int no_space = -28;
constexpr int no_data = -61;
constexpr int not_connected = -1073741834;

const Values six = {text("one"), text("two"), text("three"), text("four"), text("five"), text("six")};
// The sixth value comes before the fifth.
const Strings six_heard = {"one", "two", "three", "four", "six", "five"};
const Values state_of_lamp = {text("lamp"), text("CONNECTED"), text("third"), text("fourth")};
// The state is the second, and the fourth comes before the third.
const Strings state_of_lamp_heard = {"lamp", "0", "fourth", "third"};

LogLine no_request(const char* handler)
{
    return qc_error(source, handler, "request or request->user_cb is NULL");
}

LogLine disposed(const char* delegate, const char* how)
{
    return proxy_info(std::string("rpc_port_proxy_qv_client_") + delegate + "_dispose", how);
}

std::string many(std::size_t count, char letter = 'a')
{
    return std::string(count, letter);
}

[[maybe_unused]] const bool contracts = register_contracts(
    source, {
                Contract("quorvel_client_subscribe", {1, 0},
                         [](auto client) {
                             static Ear ear;
                             return quorvel_client_subscribe(client, "lamp", "/light", "deep",
                                                             hears<quorvel_client_subscribe_cb>, &ear);
                         })
                    .asks(27, "subscribe"),
                Contract("quorvel_client_unsubscribe", {1, 0},
                         [](auto client) { return quorvel_client_unsubscribe(client, "lamp", "/light"); })
                    .asks(28, "unsubscribe"),
                Contract("quorvel_client_start_monitoring_cloud_device_state", {1, 0},
                         [](auto client) {
                             static Ear ear;
                             return quorvel_client_start_monitoring_cloud_device_state(
                                 client, "lamp", "deep", hears<quorvel_client_cloud_device_state_cb>, &ear);
                         })
                    .asks(29, "start_monitoring_network_state"),
                Contract("quorvel_client_stop_monitoring_cloud_device_state", {1, 0},
                         [](auto client) {
                             return quorvel_client_stop_monitoring_cloud_device_state(client, "lamp");
                         })
                    .asks(30, "stop_monitoring_network_state"),
            });

class LiveRequests : public ConnectedClient {
protected:
    int subscribe(const std::string& device_id, const std::string& uris, Ear& listener,
                  const char* extra = nullptr)
    {
        return quorvel_client_subscribe(client, device_id.c_str(), uris.c_str(), extra,
                                        hears<quorvel_client_subscribe_cb>, &listener);
    }
    int unsubscribe(const std::string& device_id, const char* uris)
    {
        return quorvel_client_unsubscribe(client, device_id.c_str(), uris);
    }
    int start(const std::string& device_id, Ear& listener, const char* extra = nullptr)
    {
        return quorvel_client_start_monitoring_cloud_device_state(
            client, device_id.c_str(), extra, hears<quorvel_client_cloud_device_state_cb>, &listener);
    }
    int stop(const std::string& device_id)
    {
        return quorvel_client_stop_monitoring_cloud_device_state(client, device_id.c_str());
    }
    void agent_is_still_gathering()
    {
        agent().answer_next_with(0, {flag(true)});
        agent().answer_next_with(0, {count(0), i32(0)});
        OwnedRecords details{rpc_port_device_detail_s_destroy};
        ASSERT_EQ(quorvel_client_get_device_detail_list(client, details, details), 0);
        forget();
    }
    rpc_port_proxy_qv_client_h& proxy() const { return *static_cast<rpc_port_proxy_qv_client_h*>(client); }
    // What the port would deliver, if the connection could still deliver it.
    void dispatch_late(void (*dispatch)(GList**, rpc_port_parcel_h, int, int), int id, int seq_id,
                       const Values& values)
    {
        rpc_port_parcel_h parcel = make_parcel(values);
        dispatch(&proxy()->delegates, parcel, seq_id, id);
        rpc_port_parcel_destroy(parcel);
    }

    Ear ear;
    Ear other;
};

// ---------------------------------------------------------------------------------------------------------

class Subscribe : public LiveRequests {};

TEST_F(Subscribe, SendsIdUrisExtraAndARepeatingDelegate)
{
    agent().answer_next_with(0);
    EXPECT_EQ(subscribe("lamp", "/light", ear, "deep"), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(27), text("lamp"), text("/light"), text("deep"), delegate(subscribe_id, 1, false)}));
}

TEST_F(Subscribe, SendsAMissingExtraAsAnEmptyText)
{
    agent().answer_next_with(0);
    EXPECT_EQ(subscribe("lamp", "/light", ear), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(27), text("lamp"), text("/light"), text(""), delegate(subscribe_id, 1, false)}));
}

TEST_F(Subscribe, LogsDeviceAndUrisForDebugging)
{
    agent().answer_next_with(0);
    EXPECT_EQ(subscribe("lamp", "/light", ear), 0);
    EXPECT_THAT(log_at(DLOG_DEBUG),
                Lines(qc_line(DLOG_DEBUG, source, "quorvel_client_subscribe", "device_id [lamp]"),
                      qc_line(DLOG_DEBUG, source, "quorvel_client_subscribe", "res_uris [/light]")));
}

TEST_F(Subscribe, BlamesDeviceThenUrisThenCallbackThenCachingThenProxy)
{
    agent_is_still_gathering();
    void* const taken = std::exchange(proxy(), nullptr);
    const auto refused = [&](const char* device_id, const char* uris, quorvel_client_subscribe_cb cb,
                             int code, const char* message) {
        clear_log();
        EXPECT_EQ(quorvel_client_subscribe(client, device_id, uris, "deep", cb, &ear), code);
        EXPECT_THAT(errors(), Lines(qc_error(source, "quorvel_client_subscribe", message)));
    };
    const auto cb = hears<quorvel_client_subscribe_cb>;
    refused(nullptr, nullptr, nullptr, invalid_parameter, "device_id is invalid");
    refused("", "/light", cb, invalid_parameter, "device_id is invalid");
    refused("lamp", nullptr, nullptr, invalid_parameter, "res_uris is invalid");
    refused("lamp", "", cb, invalid_parameter, "res_uris is invalid");
    refused("lamp", "/light", nullptr, invalid_parameter, "user_cb is NULL");
    refused("lamp", "/light", cb, no_data, "Caching Data");
    proxy() = static_cast<rpc_port_proxy_qv_client_h>(taken);
    EXPECT_THAT(agent().requests(), IsEmpty());
}

TEST_F(Subscribe, WorksOnceTheAgentHasGatheredItsData)
{
    agent_is_still_gathering();
    EXPECT_EQ(subscribe("lamp", "/light", ear), no_data);
    agent().answer_next_with(0, {flag(false)});
    agent().answer_next_with(0, {count(0), i32(0)});
    OwnedRecords details{rpc_port_device_detail_s_destroy};
    ASSERT_EQ(quorvel_client_get_device_detail_list(client, details, details), 0);
    agent().answer_next_with(0);
    EXPECT_EQ(subscribe("lamp", "/light", ear), 0);
}

TEST_F(Subscribe, TellsTheSixthValueBeforeTheFifth)
{
    agent().answer_next_with(0);
    ASSERT_EQ(subscribe("lamp", "/light", ear), 0);
    agent().fire(subscribe_id, 1, false, six);
    agent().fire(subscribe_id, 1, true, six);
    EXPECT_THAT(ear.heard, ElementsAre(six_heard, six_heard));
    EXPECT_THAT(log(), HasLineTimes(qc_info(source, "_subscribe_cb", "ENTER v[2.4.29]"), 2));
}

TEST_F(Subscribe, TellsEachSubscriptionItsOwnEvents)
{
    agent().otherwise_answer(0);
    ASSERT_EQ(subscribe("lamp", "/light", ear), 0);
    ASSERT_EQ(subscribe("lamp", "/heat", other), 0);
    agent().fire(subscribe_id, 2, false, six);
    EXPECT_THAT(ear.heard, IsEmpty());
    EXPECT_THAT(other.heard, ElementsAre(six_heard));
    agent().fire(subscribe_id, 1, false, six);
    EXPECT_THAT(ear.heard, ElementsAre(six_heard));
}

TEST_F(Subscribe, KeepsARequestUnderTheDeviceAndTheDigestOfTheUris)
{
    agent().answer_next_with(0);
    ASSERT_EQ(subscribe("lamp", "/light", ear), 0);
    char key[] = "lamp_db98477659cfa8aafb72b9b649fa4aed8a77b7ab4e1d790a7a79801ea55d5b1b";
    _subscribe_cb(key, "one", "two", "three", "four", "five", "six");
    EXPECT_THAT(ear.heard, ElementsAre(six_heard));
}

TEST_F(Subscribe, CutsAKeyAt101Characters)
{
    agent().otherwise_answer(0);
    ASSERT_EQ(subscribe(many(60), "/light", ear), 0);
    // 60 characters, the "_" and 40 of the 64 digits.
    std::string key = many(60) + "_db98477659cfa8aafb72b9b649fa4aed8a77b7ab";
    ASSERT_THAT(key, SizeIs(101));
    _subscribe_cb(key.data(), "one", "two", "three", "four", "five", "six");
    EXPECT_THAT(ear.heard, SizeIs(1));
}

TEST_F(Subscribe, TakesKeysThatAreCutAlikeForOneSubscription)
{
    agent().otherwise_answer(0);
    // The digests begin with e9 and e2: one digit of them is left behind 99 characters, two behind 98.
    ASSERT_EQ(subscribe(many(98), "/fan", ear), 0);
    ASSERT_EQ(subscribe(many(98), "/heat", ear), 0);
    EXPECT_THAT(log(), HasNoText("Already subscribed"));
    ASSERT_EQ(subscribe(many(99), "/fan", ear), 0);
    EXPECT_THAT(log(), HasNoText("Already subscribed"));
    ASSERT_EQ(subscribe(many(99), "/heat", ear), 0);
    EXPECT_THAT(log(), HasText("Already subscribed"));
}

TEST_F(Subscribe, TakesAllIdsThatAgreeIn101CharactersForOneSubscription)
{
    agent().otherwise_answer(0);
    ASSERT_EQ(subscribe(many(101) + "x", "/fan", ear), 0);
    ASSERT_EQ(subscribe(many(101) + "y", "/light", other), 0);
    EXPECT_THAT(log(), HasText("Already subscribed"));
    agent().fire(subscribe_id, 1, false, six);
    agent().fire(subscribe_id, 2, false, six);
    EXPECT_THAT(ear.heard, IsEmpty());
    EXPECT_THAT(other.heard, ElementsAre(six_heard));
}

TEST_F(Subscribe, ReplacesAnEarlierOneBeforeTheAgentIsAskedAgain)
{
    agent().answer_next_with(0);
    ASSERT_EQ(subscribe("lamp", "/light", ear), 0);
    forget();
    agent().on_request([](const Sent&) {
        EXPECT_THAT(log(),
                    HasLine(qc_line(DLOG_DEBUG, source, "quorvel_client_subscribe", "Already subscribed")));
        EXPECT_THAT(log(), HasLine(disposed("subscribe_cb", "id(10), seq_id(1), once(false)")));
        return result(0);
    });
    EXPECT_EQ(subscribe("lamp", "/light", other, "deep"), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(27), text("lamp"), text("/light"), text("deep"), delegate(subscribe_id, 2, false)}));
    agent().fire(subscribe_id, 1, false, six);
    EXPECT_THAT(other.heard, IsEmpty());
    agent().fire(subscribe_id, 2, false, six);
    EXPECT_THAT(other.heard, ElementsAre(six_heard));
    EXPECT_THAT(ear.heard, IsEmpty());
}

TEST_F(Subscribe, LeavesNothingBehindWhenTheAgentRefuses)
{
    agent().answer_next_with(no_space);
    EXPECT_EQ(subscribe("lamp", "/light", ear), no_space);
    EXPECT_EQ(proxy()->delegates, nullptr);
    clear_log();
    agent().fire(subscribe_id, 1, false, six);
    EXPECT_THAT(ear.heard, IsEmpty());
    EXPECT_THAT(errors(), IsEmpty());
    char key[] = "lamp_db98477659cfa8aafb72b9b649fa4aed8a77b7ab4e1d790a7a79801ea55d5b1b";
    _subscribe_cb(key, "one", "two", "three", "four", "five", "six");
    EXPECT_THAT(ear.heard, IsEmpty());
}

TEST_F(Subscribe, HasLostTheEarlierSubscriptionWhenTheAgentRefusesTheNewOne)
{
    agent().answer_next_with(0);
    ASSERT_EQ(subscribe("lamp", "/light", ear), 0);
    agent().answer_next_with(no_space);
    EXPECT_EQ(subscribe("lamp", "/light", other), no_space);
    EXPECT_EQ(proxy()->delegates, nullptr);
    agent().fire(subscribe_id, 1, false, six);
    EXPECT_THAT(ear.heard, IsEmpty());
}

TEST_F(Subscribe, HearsAnEventThatComesBeforeTheAnswer)
{
    agent().on_request([](const Sent&) {
        agent().fire(subscribe_id, 1, false, six);
        return result(0);
    });
    EXPECT_EQ(subscribe("lamp", "/light", ear), 0);
    EXPECT_THAT(ear.heard, ElementsAre(six_heard));
}

TEST_F(Subscribe, HearsAnEventThatComesBeforeARefusal)
{
    agent().on_request([](const Sent&) {
        agent().fire(subscribe_id, 1, false, six);
        return result(no_space);
    });
    EXPECT_EQ(subscribe("lamp", "/light", ear), no_space);
    EXPECT_THAT(ear.heard, SizeIs(1));
    EXPECT_EQ(proxy()->delegates, nullptr);
}

TEST_F(Subscribe, LeavesNothingBehindWhenTheRequestCannotBeSent)
{
    agent().fail_next_send(-5);
    EXPECT_EQ(subscribe("lamp", "/light", ear), -1073741824);
    EXPECT_EQ(proxy()->delegates, nullptr);
    platform().fail("rpc_port_parcel_create");
    EXPECT_EQ(subscribe("lamp", "/light", ear), -1073741824);
    EXPECT_EQ(proxy()->delegates, nullptr);
}

TEST_F(Subscribe, TellsALackOfMemoryForKeyEntryAndDelegate)
{
    const char* const lines[] = {"memory allocation is failed", "memory allocation is failed",
                                 "rpc_port_qv_client_subscribe_cb_create is failed"};
    for (int nth = 1; nth <= 3; ++nth) {
        clear_log();
        FailingAllocation lack{nth};
        EXPECT_EQ(subscribe("lamp", "/light", ear), out_of_memory) << nth;
        EXPECT_TRUE(lack.happened());
        EXPECT_EQ(errors().back(), qc_error(source, "quorvel_client_subscribe", lines[nth - 1]));
    }
    EXPECT_THAT(agent().requests(), IsEmpty());
}

TEST_F(Subscribe, DoesNotLoseTheEarlierSubscriptionToALackOfMemory)
{
    agent().answer_next_with(0);
    ASSERT_EQ(subscribe("lamp", "/light", ear), 0);
    {
        FailingAllocation lack{3};
        EXPECT_EQ(subscribe("lamp", "/light", other), out_of_memory);
    }
    agent().fire(subscribe_id, 1, false, six);
    EXPECT_THAT(ear.heard, ElementsAre(six_heard));
}

TEST_F(Subscribe, MayUnsubscribeItselfInItsCallback)
{
    agent().otherwise_answer(0);
    ASSERT_EQ(subscribe("lamp", "/light", ear), 0);
    ear.then = [this] { EXPECT_EQ(unsubscribe("lamp", "/light"), 0); };
    agent().fire(subscribe_id, 1, false, six);
    agent().fire(subscribe_id, 1, false, six);
    EXPECT_THAT(ear.heard, SizeIs(1));
    EXPECT_EQ(proxy()->delegates, nullptr);
}

TEST_F(Subscribe, MayReplaceItselfInItsCallback)
{
    agent().otherwise_answer(0);
    ASSERT_EQ(subscribe("lamp", "/light", ear), 0);
    ear.then = [this] { EXPECT_EQ(subscribe("lamp", "/light", other), 0); };
    agent().fire(subscribe_id, 1, false, six);
    agent().fire(subscribe_id, 1, false, six);
    agent().fire(subscribe_id, 2, false, six);
    EXPECT_THAT(ear.heard, SizeIs(1));
    EXPECT_THAT(other.heard, SizeIs(1));
}

TEST_F(Subscribe, MaySubscribeToMoreInItsCallback)
{
    agent().otherwise_answer(0);
    ASSERT_EQ(subscribe("lamp", "/light", ear), 0);
    ear.then = [this] { EXPECT_EQ(subscribe("fan", "/fan", other), 0); };
    agent().fire(subscribe_id, 1, false, six);
    ear.then = nullptr;
    agent().fire(subscribe_id, 1, false, six);
    agent().fire(subscribe_id, 2, false, six);
    EXPECT_THAT(ear.heard, SizeIs(2));
    EXPECT_THAT(other.heard, SizeIs(1));
}

TEST_F(Subscribe, MayDisconnectInItsCallback)
{
    agent().answer_next_with(0);
    ASSERT_EQ(subscribe("lamp", "/light", ear), 0);
    ear.then = [this] { EXPECT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0); };
    agent().fire(subscribe_id, 1, false, six);
    EXPECT_THAT(ear.heard, ElementsAre(six_heard));
}

TEST_F(Subscribe, DropsAnEventThatComesAfterTheConnectionEnded)
{
    agent().answer_next_with(0);
    ASSERT_EQ(subscribe("lamp", "/light", ear), 0);
    agent().disconnect();
    clear_log();
    dispatch_late(__qv_client_delegate_subscribe_cb, subscribe_id, 1, six);
    EXPECT_THAT(ear.heard, IsEmpty());
    EXPECT_THAT(errors(), Lines(no_request("_subscribe_cb")));
}

TEST_F(Subscribe, DropsAnEventThatNamesNoRequest)
{
    _subscribe_cb(nullptr, "one", "two", "three", "four", "five", "six");
    char key[] = "nobody";
    _subscribe_cb(key, "one", "two", "three", "four", "five", "six");
    EXPECT_THAT(errors(), Lines(no_request("_subscribe_cb"), no_request("_subscribe_cb")));
}

TEST_F(Subscribe, TakesUrisThatAreNoText)
{
    agent().otherwise_answer(0);
    const std::string bytes = "\x80\xff\xc0\n%s%n";
    ASSERT_EQ(subscribe(bytes, bytes, ear), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(27), text(bytes), text(bytes), text(""), delegate(subscribe_id, 1, false)}));
    EXPECT_EQ(unsubscribe(bytes, bytes.c_str()), 0);
    EXPECT_EQ(proxy()->delegates, nullptr);
}

// ---------------------------------------------------------------------------------------------------------

class Unsubscribe : public LiveRequests {
protected:
    // Subscriptions 1 to 4.
    void subscribe_to_four()
    {
        agent().otherwise_answer(0);
        ASSERT_EQ(subscribe("lamp", "/light", lamp), 0);
        ASSERT_EQ(subscribe("lamp", "/heat", lamp), 0);
        ASSERT_EQ(subscribe("lamp2", "/light", lamp2), 0);
        ASSERT_EQ(subscribe("fan", "/light", fan), 0);
        forget();
    }
    void fire_all()
    {
        for (int seq_id = 1; seq_id <= 4; ++seq_id)
            agent().fire(subscribe_id, seq_id, false, six);
    }

    Ear lamp;
    Ear lamp2;
    Ear fan;
};

TEST_F(Unsubscribe, SendsIdAndUrisAndDropsThatOne)
{
    subscribe_to_four();
    agent().answer_next_with(0);
    EXPECT_EQ(unsubscribe("lamp", "/light"), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(28), text("lamp"), text("/light")}));
    EXPECT_THAT(log(), HasLine(disposed("subscribe_cb", "id(10), seq_id(1), once(false)")));
    EXPECT_THAT(log_at(DLOG_DEBUG),
                Lines(qc_line(DLOG_DEBUG, source, "quorvel_client_unsubscribe", "device_id [lamp]"),
                      qc_line(DLOG_DEBUG, source, "quorvel_client_unsubscribe", "res_uris [/light]")));
    clear_log();
    fire_all();
    EXPECT_THAT(lamp.heard, SizeIs(1));
    EXPECT_THAT(lamp2.heard, SizeIs(1));
    EXPECT_THAT(fan.heard, SizeIs(1));
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(Unsubscribe, WithoutUrisDropsEveryDeviceWhoseIdBeginsWithThisOne)
{
    subscribe_to_four();
    agent().answer_next_with(0);
    EXPECT_EQ(unsubscribe("lamp", nullptr), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(28), text("lamp"), text("")}));
    EXPECT_THAT(log_at(DLOG_DEBUG), IsEmpty());
    fire_all();
    EXPECT_THAT(lamp.heard, IsEmpty());
    EXPECT_THAT(lamp2.heard, IsEmpty());
    EXPECT_THAT(fan.heard, SizeIs(1));
}

TEST_F(Unsubscribe, WithEmptyUrisDoesTheSame)
{
    subscribe_to_four();
    agent().answer_next_with(0);
    EXPECT_EQ(unsubscribe("lamp2", ""), 0);
    fire_all();
    EXPECT_THAT(lamp.heard, SizeIs(2));
    EXPECT_THAT(lamp2.heard, IsEmpty());
    EXPECT_THAT(fan.heard, SizeIs(1));
}

TEST_F(Unsubscribe, WithoutUrisDropsAThousandAtOnce)
{
    agent().otherwise_answer(0);
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(subscribe("lamp", "/light/" + std::to_string(i), lamp), 0);
    EXPECT_EQ(unsubscribe("lamp", nullptr), 0);
    EXPECT_EQ(proxy()->delegates, nullptr);
}

TEST_F(Unsubscribe, IsTrueOfWhatWasNeverSubscribedToo)
{
    agent().otherwise_answer(0);
    EXPECT_EQ(unsubscribe("lamp", "/light"), 0);
    EXPECT_EQ(unsubscribe("lamp", nullptr), 0);
    EXPECT_THAT(agent().requests(), SizeIs(2));
}

TEST_F(Unsubscribe, LeavesAllInPlaceWhenTheAgentRefuses)
{
    subscribe_to_four();
    agent().otherwise_answer(no_space);
    EXPECT_EQ(unsubscribe("lamp", "/light"), no_space);
    EXPECT_EQ(unsubscribe("lamp", nullptr), no_space);
    fire_all();
    EXPECT_THAT(lamp.heard, SizeIs(2));
    EXPECT_THAT(lamp2.heard, SizeIs(1));
}

TEST_F(Unsubscribe, DoesNothingAndSucceedsWhileTheAgentIsGathering)
{
    subscribe_to_four();
    agent_is_still_gathering();
    EXPECT_EQ(unsubscribe("lamp", "/light"), 0);
    EXPECT_EQ(unsubscribe("lamp", nullptr), 0);
    EXPECT_THAT(log(), HasLineTimes(qc_info(source, "quorvel_client_unsubscribe", "Caching Data"), 2));
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_THAT(agent().requests(), IsEmpty());
    fire_all();
    EXPECT_THAT(lamp.heard, SizeIs(2));
}

TEST_F(Unsubscribe, BlamesTheDeviceEvenWhileTheAgentIsGathering)
{
    agent_is_still_gathering();
    EXPECT_EQ(quorvel_client_unsubscribe(client, nullptr, nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_unsubscribe(client, "", "/light"), invalid_parameter);
    EXPECT_THAT(errors(), Lines(qc_error(source, "quorvel_client_unsubscribe", "device_id is invalid"),
                                qc_error(source, "quorvel_client_unsubscribe", "device_id is invalid")));
}

TEST_F(Unsubscribe, WithoutUrisTellsALackOfMemoryAndKeepsAll)
{
    subscribe_to_four();
    agent().answer_next_with(0);
    {
        FailingAllocation lack{1};
        EXPECT_EQ(unsubscribe("lamp", nullptr), out_of_memory);
        EXPECT_TRUE(lack.happened());
    }
    EXPECT_THAT(errors(),
                Lines(qc_error(source, "quorvel_client_unsubscribe", "memory allocation is failed")));
    fire_all();
    EXPECT_THAT(lamp.heard, SizeIs(2));
}

TEST_F(Unsubscribe, ReadsMissingTablesAsNotConnected)
{
    // An old client's disconnect takes the tables of the new connection along.
    agent().disconnect();
    quorvel_client_h old = client;
    ASSERT_EQ(quorvel_client_connect(
                  &client, [](int, int, void*) {}, nullptr),
              0);
    agent().answer_next_with(0);
    agent().connect();
    forget();
    agent().on_request([&old](const Sent&) {
        EXPECT_EQ(quorvel_client_disconnect(std::exchange(old, nullptr)), 0);
        return result(0);
    });
    EXPECT_EQ(unsubscribe("lamp", "/light"), not_connected);
    EXPECT_THAT(errors(),
                Lines(qc_error(source, "quorvel_client_unsubscribe", "quorvel_client is not connected")));
}

// ---------------------------------------------------------------------------------------------------------

class StartMonitoring : public LiveRequests {};

TEST_F(StartMonitoring, SendsIdExtraAndARepeatingDelegate)
{
    agent().answer_next_with(0);
    EXPECT_EQ(start("lamp", ear, "deep"), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(29), text("lamp"), text("deep"), delegate(monitoring_id, 1, false)}));
    EXPECT_THAT(log_at(DLOG_DEBUG),
                Lines(qc_line(DLOG_DEBUG, source, "quorvel_client_start_monitoring_cloud_device_state",
                              "s_request_id [lamp]")));
}

TEST_F(StartMonitoring, BlamesTheDeviceBeforeTheCallbackBeforeTheProxy)
{
    void* const taken = std::exchange(proxy(), nullptr);
    const auto refused = [&](const char* device_id, quorvel_client_cloud_device_state_cb cb,
                             const char* message) {
        clear_log();
        EXPECT_EQ(quorvel_client_start_monitoring_cloud_device_state(client, device_id, "deep", cb, &ear),
                  invalid_parameter);
        EXPECT_THAT(errors(),
                    Lines(qc_error(source, "quorvel_client_start_monitoring_cloud_device_state", message)));
    };
    refused(nullptr, nullptr, "device_id is invalid");
    refused("", hears<quorvel_client_cloud_device_state_cb>, "device_id is invalid");
    refused("lamp", nullptr, "user_cb is NULL");
    proxy() = static_cast<rpc_port_proxy_qv_client_h>(taken);
    EXPECT_THAT(agent().requests(), IsEmpty());
}

TEST_F(StartMonitoring, WorksWhileTheAgentIsGathering)
{
    agent_is_still_gathering();
    agent().answer_next_with(0);
    EXPECT_EQ(start("lamp", ear), 0);
}

TEST_F(StartMonitoring, TellsTheStateAndTheFourthValueBeforeTheThird)
{
    agent().answer_next_with(0);
    ASSERT_EQ(start("lamp", ear), 0);
    agent().fire(monitoring_id, 1, false, state_of_lamp);
    EXPECT_THAT(ear.heard, ElementsAre(state_of_lamp_heard));
    EXPECT_THAT(log(), HasLine(qc_info(source, "_start_monitoring_network_state_cb", "ENTER v[2.4.29]")));
}

TEST_F(StartMonitoring, ComparesTheStateByItsBeginningAndTakesNoneForUnknown)
{
    agent().answer_next_with(0);
    ASSERT_EQ(start("lamp", ear), 0);
    const std::pair<const char*, const char*> words[] = {
        {"CONNECTED", "0"},    {"CONNECTEDX", "0"},
        {"CONNECTE", "3"},     {"connected", "3"},
        {"DISCONNECTED", "1"}, {"DISCONNECTE", "1"},
        {"DISCONNECT", "3"},   {"DISCONNECTED_BY_USER", "1"},
        {"INACTIVE", "2"},     {"INACTIVE_NOW", "2"},
        {"INACTIV", "3"},      {"OFFLINE", "3"},
        {" CONNECTED", "3"},   {"", "3"},
    };
    for (const auto& [word, number] : words) {
        agent().fire(monitoring_id, 1, false, {text("lamp"), text(word), text("third"), text("fourth")});
        EXPECT_EQ(ear.heard.back()[1], number) << word;
    }
    char key[] = "lamp";
    _start_monitoring_network_state_cb(key, "first", nullptr, "third", "fourth");
    EXPECT_EQ(ear.heard.back(), (Strings{"first", "3", "fourth", "third"}));
}

TEST_F(StartMonitoring, CutsTheIdAt98CharactersAndTakesIdsThatAgreeInThemForOne)
{
    agent().otherwise_answer(0);
    ASSERT_EQ(start(many(98) + "x", ear), 0);
    EXPECT_EQ(agent().request()[1], text(many(98) + "x"));
    EXPECT_THAT(log(), HasText("s_request_id [" + many(98) + "]"));
    EXPECT_THAT(log(), HasNoText("Already monitoring"));
    ASSERT_EQ(start(many(98) + "y", other), 0);
    EXPECT_THAT(log(),
                HasLine(qc_line(DLOG_DEBUG, source, "quorvel_client_start_monitoring_cloud_device_state",
                                "Already monitoring")));
    agent().fire(monitoring_id, 1, false, state_of_lamp);
    EXPECT_THAT(ear.heard, IsEmpty());
    agent().fire(monitoring_id, 2, false, state_of_lamp);
    EXPECT_THAT(other.heard, SizeIs(1));
    std::string key = many(98);
    _start_monitoring_network_state_cb(key.data(), "first", "", "third", "fourth");
    EXPECT_THAT(other.heard, SizeIs(2));
}

TEST_F(StartMonitoring, TellsIdsOf97CharactersApart)
{
    agent().otherwise_answer(0);
    ASSERT_EQ(start(many(97) + "x", ear), 0);
    ASSERT_EQ(start(many(97) + "y", other), 0);
    EXPECT_THAT(log(), HasNoText("Already monitoring"));
    agent().fire(monitoring_id, 1, false, state_of_lamp);
    EXPECT_THAT(ear.heard, SizeIs(1));
}

TEST_F(StartMonitoring, RemovesAnEarlierOneBeforeTheAgentIsAskedAgain)
{
    agent().answer_next_with(0);
    ASSERT_EQ(start("lamp", ear), 0);
    forget();
    agent().on_request([](const Sent&) {
        EXPECT_THAT(log(),
                    HasLine(disposed("start_monitoring_network_state_cb", "id(11), seq_id(1), once(false)")));
        return result(no_space);
    });
    EXPECT_EQ(start("lamp", other), no_space);
    // Both are gone.
    EXPECT_EQ(proxy()->delegates, nullptr);
    char key[] = "lamp";
    _start_monitoring_network_state_cb(key, "first", "", "third", "fourth");
    EXPECT_THAT(ear.heard, IsEmpty());
    EXPECT_THAT(other.heard, IsEmpty());
}

TEST_F(StartMonitoring, DropsAnEventThatComesBeforeTheAgentAgreed)
{
    agent().on_request([](const Sent&) {
        agent().fire(monitoring_id, 1, false, state_of_lamp);
        return result(0);
    });
    EXPECT_EQ(start("lamp", ear), 0);
    EXPECT_THAT(ear.heard, IsEmpty());
    EXPECT_THAT(errors(), Lines(no_request("_start_monitoring_network_state_cb")));
    agent().fire(monitoring_id, 1, false, state_of_lamp);
    EXPECT_THAT(ear.heard, SizeIs(1));
}

TEST_F(StartMonitoring, LeavesNothingBehindWhenTheAgentRefusesOrNothingCanBeSent)
{
    agent().answer_next_with(no_space);
    EXPECT_EQ(start("lamp", ear), no_space);
    platform().fail("rpc_port_parcel_create");
    EXPECT_EQ(start("lamp", ear), -1073741824);
    EXPECT_EQ(proxy()->delegates, nullptr);
    clear_log();
    agent().fire(monitoring_id, 1, false, state_of_lamp);
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_THAT(ear.heard, IsEmpty());
}

TEST_F(StartMonitoring, TellsALackOfMemoryForKeyEntryAndDelegate)
{
    const char* const lines[] = {"memory allocation is failed", "memory allocation is failed",
                                 "rpc_port_qv_client_start_monitoring_network_state_cb_create is failed"};
    for (int nth = 1; nth <= 3; ++nth) {
        clear_log();
        FailingAllocation lack{nth};
        EXPECT_EQ(start("lamp", ear), out_of_memory) << nth;
        EXPECT_TRUE(lack.happened());
        EXPECT_EQ(errors().back(),
                  qc_error(source, "quorvel_client_start_monitoring_cloud_device_state", lines[nth - 1]));
    }
    EXPECT_THAT(agent().requests(), IsEmpty());
}

TEST_F(StartMonitoring, LosesTheEarlierOneToALackOfMemoryToo)
{
    agent().answer_next_with(0);
    ASSERT_EQ(start("lamp", ear), 0);
    {
        FailingAllocation lack{1};
        EXPECT_EQ(start("lamp", other), out_of_memory);
    }
    agent().fire(monitoring_id, 1, false, state_of_lamp);
    EXPECT_THAT(ear.heard, IsEmpty());
}

TEST_F(StartMonitoring, DoesNotMeetASubscriptionOfTheSameDevice)
{
    agent().otherwise_answer(0);
    ASSERT_EQ(start("lamp", ear), 0);
    ASSERT_EQ(subscribe("lamp", "/light", other), 0);
    EXPECT_EQ(unsubscribe("lamp", nullptr), 0);
    agent().fire(monitoring_id, 1, false, state_of_lamp);
    EXPECT_THAT(ear.heard, SizeIs(1));
}

TEST_F(StartMonitoring, MayStopReplaceOrDisconnectItselfInItsCallback)
{
    agent().otherwise_answer(0);
    ASSERT_EQ(start("lamp", ear), 0);
    ear.then = [this] { EXPECT_EQ(start("lamp", other), 0); };
    agent().fire(monitoring_id, 1, false, state_of_lamp);
    other.then = [this] { EXPECT_EQ(stop("lamp"), 0); };
    agent().fire(monitoring_id, 2, false, state_of_lamp);
    EXPECT_EQ(proxy()->delegates, nullptr);
    ear.then = [this] { EXPECT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0); };
    ASSERT_EQ(start("lamp", ear), 0);
    agent().fire(monitoring_id, 3, false, state_of_lamp);
    EXPECT_THAT(ear.heard, SizeIs(2));
    EXPECT_THAT(other.heard, SizeIs(1));
}

TEST_F(StartMonitoring, DropsAnEventThatComesAfterTheConnectionEnded)
{
    agent().answer_next_with(0);
    ASSERT_EQ(start("lamp", ear), 0);
    agent().reject();
    clear_log();
    dispatch_late(__qv_client_delegate_start_monitoring_network_state_cb, monitoring_id, 1, state_of_lamp);
    EXPECT_THAT(ear.heard, IsEmpty());
    EXPECT_THAT(errors(), Lines(no_request("_start_monitoring_network_state_cb")));
}

TEST_F(StartMonitoring, ReadsAMissingTableAsNotConnectedAndKeepsNothing)
{
    agent().disconnect();
    quorvel_client_h old = client;
    ASSERT_EQ(quorvel_client_connect(
                  &client, [](int, int, void*) {}, nullptr),
              0);
    agent().answer_next_with(0);
    agent().connect();
    forget();
    agent().on_request([&old](const Sent&) {
        EXPECT_EQ(quorvel_client_disconnect(std::exchange(old, nullptr)), 0);
        return result(0);
    });
    EXPECT_EQ(start("lamp", ear), not_connected);
    EXPECT_EQ(proxy()->delegates, nullptr);
}

// ---------------------------------------------------------------------------------------------------------

class StopMonitoring : public LiveRequests {};

TEST_F(StopMonitoring, SendsTheIdAndDropsTheRequest)
{
    agent().otherwise_answer(0);
    ASSERT_EQ(start("lamp", ear), 0);
    ASSERT_EQ(start("lamp2", other), 0);
    clear_log();
    EXPECT_EQ(stop("lamp"), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(30), text("lamp")}));
    EXPECT_THAT(log(),
                HasLine(qc_line(DLOG_DEBUG, source, "quorvel_client_stop_monitoring_cloud_device_state",
                                "s_request_id [lamp]")));
    EXPECT_THAT(log(),
                HasLine(disposed("start_monitoring_network_state_cb", "id(11), seq_id(1), once(false)")));
    agent().fire(monitoring_id, 1, false, state_of_lamp);
    agent().fire(monitoring_id, 2, false, state_of_lamp);
    EXPECT_THAT(ear.heard, IsEmpty());
    EXPECT_THAT(other.heard, SizeIs(1));
}

TEST_F(StopMonitoring, LeavesTheRequestWhenTheAgentRefuses)
{
    agent().answer_next_with(0);
    ASSERT_EQ(start("lamp", ear), 0);
    agent().answer_next_with(no_space);
    EXPECT_EQ(stop("lamp"), no_space);
    agent().fire(monitoring_id, 1, false, state_of_lamp);
    EXPECT_THAT(ear.heard, SizeIs(1));
}

TEST_F(StopMonitoring, IsTrueOfWhatWasNeverStartedToo)
{
    agent().answer_next_with(0);
    EXPECT_EQ(stop("lamp"), 0);
}

TEST_F(StopMonitoring, BlamesTheDevice)
{
    EXPECT_EQ(stop(""), invalid_parameter);
    EXPECT_EQ(quorvel_client_stop_monitoring_cloud_device_state(client, nullptr), invalid_parameter);
    const auto line =
        qc_error(source, "quorvel_client_stop_monitoring_cloud_device_state", "device_id is invalid");
    EXPECT_THAT(errors(), Lines(line, line));
}

// ---------------------------------------------------------------------------------------------------------

class Reconnect : public LiveRequests {};

TEST_F(Reconnect, InsideTheCallbackKeepsTheRequestsOfTheNewConnection)
{
    struct Application {
        quorvel_client_h client = nullptr;
        quorvel_client_h old = nullptr;
        int connected = 0;
        static void on_state(int, int state, void* user_data)
        {
            auto& self = *static_cast<Application*>(user_data);
            if (state == QUORVEL_CLIENT_CONNECTION_CONNECTED) {
                ++self.connected;
                return;
            }
            self.old = self.client;
            EXPECT_EQ(quorvel_client_connect(&self.client, on_state, &self), 0);
        }
    };
    ASSERT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0);
    agent().otherwise_answer(0);
    Application application;
    ASSERT_EQ(quorvel_client_connect(&application.client, Application::on_state, &application), 0);
    agent().connect();
    for (int round = 0; round < 100; ++round) {
        client = application.client;
        ASSERT_EQ(subscribe("lamp", "/light", ear), 0);
        ASSERT_EQ(start("lamp", ear), 0);
        agent().disconnect();
        agent().connect();
        client = application.client;
        // The old connection's events have nothing to say in the new one, nor has its end.
        ear.heard.clear();
        ASSERT_EQ(subscribe("lamp", "/light", ear), 0);
        agent().fire(subscribe_id, round * 2 + 2, false, six);
        ASSERT_THAT(ear.heard, ElementsAre(six_heard));
        // Before the next round: an application disconnects the old client first, which ends the new one too.
        ASSERT_EQ(quorvel_client_disconnect(std::exchange(application.old, nullptr)), 0);
        ASSERT_EQ(quorvel_client_disconnect(std::exchange(application.client, nullptr)), 0);
        ASSERT_EQ(quorvel_client_connect(&application.client, Application::on_state, &application), 0);
        agent().connect();
    }
    EXPECT_EQ(application.connected, 201);
    client = application.client;
}

// ---------------------------------------------------------------------------------------------------------

class SeveralThreads : public LiveRequests {};

// The subscriptions of one key that win are replaced, lose, are refused and hear events, all at once.
TEST_F(SeveralThreads, MaySubscribeAndUnsubscribeOneKeyWhileItsEventsArrive)
{
    static constexpr int rounds = 3000;
    static std::atomic<int> requests;
    static std::atomic<int> last_seq_id;
    static std::atomic<int> events;
    keep_log(false);
    agent().let_reads_wait(std::chrono::seconds(10));
    agent().on_request([](const Sent& sent) {
        if (sent.number(0) == 27)
            last_seq_id = sent.number(5);
        // Every other is refused.
        return result(++requests % 2 == 0 ? 0 : no_space);
    });
    static constexpr quorvel_client_subscribe_cb on_event = [](auto... values) {
        const auto all = std::tuple{values...};
        EXPECT_STREQ(std::get<4>(all), "six");
        EXPECT_EQ(std::get<6>(all), static_cast<void*>(&events));
        ++events;
    };

    std::atomic<int> running = 2;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 2; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                quorvel_client_subscribe(client, "lamp", "/light", "", on_event, &events);
                if (round % 3 == 0)
                    quorvel_client_unsubscribe(client, "lamp", round % 2 == 0 ? "/light" : nullptr);
            }
            --running;
        });
    }
    while (running > 0) {
        agent().fire(subscribe_id, last_seq_id, false, six);
        agent().fire(subscribe_id, last_seq_id - 1, false, six);
    }
    for (std::thread& thread : threads)
        thread.join();

    // At the end at most one is left, and it works.
    agent().on_request([](const Sent&) { return result(0); });
    EXPECT_EQ(unsubscribe("lamp", "/light"), 0);
    EXPECT_EQ(proxy()->delegates, nullptr);
    EXPECT_EQ(subscribe("lamp", "/light", ear), 0);
    agent().fire(subscribe_id, 2 * rounds + 1, false, six);
    EXPECT_THAT(ear.heard, ElementsAre(six_heard));
}

TEST_F(SeveralThreads, MayStartAndStopMonitoringOneDeviceWhileItsEventsArrive)
{
    static constexpr int rounds = 3000;
    static std::atomic<int> requests;
    static std::atomic<int> last_seq_id;
    keep_log(false);
    agent().let_reads_wait(std::chrono::seconds(10));
    agent().on_request([](const Sent& sent) {
        if (sent.number(0) == 29)
            last_seq_id = sent.number(4);
        return result(++requests % 2 == 0 ? 0 : no_space);
    });
    static constexpr quorvel_client_cloud_device_state_cb on_event = [](const char*, int, const char* fourth,
                                                                        const char*, void* user_data) {
        EXPECT_STREQ(fourth, "fourth");
        EXPECT_EQ(user_data, static_cast<void*>(&requests));
    };

    std::atomic<int> running = 2;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 2; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                quorvel_client_start_monitoring_cloud_device_state(client, "lamp", "", on_event, &requests);
                if (round % 3 == 0)
                    quorvel_client_stop_monitoring_cloud_device_state(client, "lamp");
            }
            --running;
        });
    }
    while (running > 0)
        agent().fire(monitoring_id, last_seq_id, false, state_of_lamp);
    for (std::thread& thread : threads)
        thread.join();

    agent().on_request([](const Sent&) { return result(0); });
    EXPECT_EQ(stop("lamp"), 0);
    EXPECT_EQ(proxy()->delegates, nullptr);
}

TEST_F(SeveralThreads, MayLoseTheConnectionWhileTheySubscribe)
{
    keep_log(false);
    agent().let_reads_wait(std::chrono::seconds(10));
    for (int round = 0; round < 100; ++round) {
        agent().otherwise_answer(0);
        std::atomic<bool> is_over = false;
        std::thread thread([&] {
            while (!is_over) {
                quorvel_client_subscribe(client, "lamp", "/light", "", hears<quorvel_client_subscribe_cb>,
                                         &ear);
                quorvel_client_start_monitoring_cloud_device_state(
                    client, "lamp", "", hears<quorvel_client_cloud_device_state_cb>, &ear);
                quorvel_client_unsubscribe(client, "lamp", nullptr);
            }
        });
        std::this_thread::yield();
        agent().disconnect();
        is_over = true;
        thread.join();
        ASSERT_EQ(quorvel_client_disconnect(client), 0);
        ASSERT_EQ(quorvel_client_connect(
                      &client, [](int, int, void*) {}, nullptr),
                  0);
        agent().connect();
    }
}

}  // namespace
}  // namespace scripted
