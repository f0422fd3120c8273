// The proxy's connection, and the frame of a call.
#include <atomic>
#include <cstddef>
#include <functional>
#include <thread>

#include "failing_allocations.hpp"
#include "proxy_catalogue.hpp"

namespace catalogue {
namespace {

using scripted::agent;
using scripted::callback;
using scripted::clear_log;
using scripted::errors;
using scripted::HasLine;
using scripted::HasNoText;
using scripted::HasText;
using scripted::Lines;
using scripted::live;
using scripted::Live;
using scripted::log;
using scripted::LogLine;
using scripted::platform;
using scripted::proxy_error;
using scripted::result;
using scripted::Sent;
using scripted::Strings;

constexpr const char* app = "com.veltrane.norvik.quorvel-client";
constexpr const char* create_function = "rpc_port_proxy_qv_client_create";
constexpr const char* connect_function = "rpc_port_proxy_qv_client_connect";
constexpr const char* endpoint_message =
    "[__RPC_PORT__] endpoint(com.veltrane.norvik.quorvel-client), port_name(qv_client)";

auto IsEndpointLine()
{
    return testing::AllOf(testing::Field(&LogLine::text, endpoint_message),
                          testing::Field(&LogLine::priority, DLOG_INFO));
}

// ---------------------------------------------------------------------------------------------------------
// Creation

class ProxyCreation : public scripted::WithAgent {
protected:
    const rpc_port_proxy_qv_client_callback_s no_callbacks = {nullptr, nullptr, nullptr};
    rpc_port_proxy_qv_client_h proxy = nullptr;
};

TEST_F(ProxyCreation, NeedsAnIdATableAndAPlace)
{
    EXPECT_EQ(rpc_port_proxy_qv_client_create(nullptr, &no_callbacks, nullptr, &proxy), -1);
    EXPECT_EQ(rpc_port_proxy_qv_client_create(app, nullptr, nullptr, &proxy), -1);
    EXPECT_EQ(rpc_port_proxy_qv_client_create(app, &no_callbacks, nullptr, nullptr), -1);
    EXPECT_EQ(proxy, nullptr);
    EXPECT_EQ(platform().uses("rpc_port_proxy_create"), 0);
    const LogLine line = proxy_error(create_function, "Invalid parameter");
    EXPECT_THAT(errors(), Lines(line, line, line));
}

TEST_F(ProxyCreation, FillsTheToldFields)
{
    char id[] = "some.app";
    int user = 0;
    const rpc_port_proxy_qv_client_callback_s callbacks = {
        [](rpc_port_proxy_qv_client_h, void*) {},
        [](rpc_port_proxy_qv_client_h, void*) {},
        [](rpc_port_proxy_qv_client_h, void*) {},
    };
    ASSERT_EQ(rpc_port_proxy_qv_client_create(id, &callbacks, &user, &proxy), 0);
    id[0] = 'x';
    EXPECT_STREQ(proxy->stub_appid, "some.app") << "a copy";
    EXPECT_NE(proxy->proxy, nullptr);
    EXPECT_EQ(proxy->port, nullptr) << "not connected";
    EXPECT_EQ(proxy->callback.connected, callbacks.connected);
    EXPECT_EQ(proxy->callback.disconnected, callbacks.disconnected);
    EXPECT_EQ(proxy->callback.rejected, callbacks.rejected);
    EXPECT_EQ(proxy->user_data, &user);
    EXPECT_EQ(proxy->delegates, nullptr);
    EXPECT_EQ(rpc_port_proxy_qv_client_destroy(proxy), 0);
}

TEST_F(ProxyCreation, HasItsFieldsInTheToldOrder)
{
    using Proxy = rpc_port_proxy_qv_client_s;
    EXPECT_EQ(offsetof(Proxy, stub_appid), 0U);
    EXPECT_EQ(offsetof(Proxy, proxy), 1 * sizeof(void*));
    EXPECT_EQ(offsetof(Proxy, port), 2 * sizeof(void*));
    EXPECT_EQ(offsetof(Proxy, callback_port), 3 * sizeof(void*));
    EXPECT_EQ(offsetof(Proxy, callback), 4 * sizeof(void*));
    EXPECT_EQ(offsetof(Proxy, user_data), 7 * sizeof(void*));
    EXPECT_EQ(offsetof(Proxy, delegates), 8 * sizeof(void*));
    EXPECT_EQ(offsetof(Proxy, mutex), 9 * sizeof(void*));
}

TEST_F(ProxyCreation, FailsWhenThePortHasNoProxy)
{
    platform().fail("rpc_port_proxy_create", 1, -12);
    EXPECT_EQ(rpc_port_proxy_qv_client_create(app, &no_callbacks, nullptr, &proxy), -1);
    EXPECT_EQ(proxy, nullptr);
    EXPECT_THAT(errors(), Lines(proxy_error(create_function, "Failed to create proxy")));
}

TEST_F(ProxyCreation, FailsWithoutMemoryAndLeavesNothing)
{
    int failures = 0;
    for (int nth = 1; nth < 100; ++nth) {
        clear_log();
        FailingAllocation failing(nth);
        const int code = rpc_port_proxy_qv_client_create(app, &no_callbacks, nullptr, &proxy);
        if (!failing.happened()) {
            ASSERT_EQ(code, 0);
            break;
        }
        ++failures;
        EXPECT_EQ(code, -1);
        EXPECT_EQ(proxy, nullptr);
        EXPECT_EQ(live(), Live{});
        EXPECT_THAT(errors(), Lines(proxy_error(create_function, "Out of memory")));
    }
    EXPECT_GE(failures, 2) << "the record and the id";
    rpc_port_proxy_qv_client_destroy(proxy);
}

struct Registration {
    const char* event;
    int place;
};

std::ostream& operator<<(std::ostream& out, const Registration& registration)
{
    return out << registration.event;
}

class EveryRegistration : public ProxyCreation, public testing::WithParamInterface<Registration> {
protected:
    static std::string function(const char* event)
    {
        return std::string("rpc_port_proxy_add_") + event + "_event_cb";
    }
};

TEST_P(EveryRegistration, ThatFailsEndsTheCreationWithThePortsOwnError)
{
    static constexpr const char* in_order[] = {"connected", "disconnected", "rejected", "received"};
    platform().fail(function(GetParam().event), 1, -13);
    EXPECT_EQ(rpc_port_proxy_qv_client_create(app, &no_callbacks, nullptr, &proxy), -13);
    EXPECT_EQ(proxy, nullptr);
    EXPECT_EQ(live(), Live{});
    EXPECT_THAT(errors(), Lines(proxy_error(create_function, std::string("Failed to add ") + GetParam().event
                                                                 + " event cb. err = -13")));
    for (int place = 0; place < 4; ++place) {
        EXPECT_EQ(platform().uses(function(in_order[place])), place <= GetParam().place ? 1 : 0)
            << in_order[place];
    }
}

INSTANTIATE_TEST_SUITE_P(InOrder, EveryRegistration,
                         testing::Values(Registration{"connected", 0}, Registration{"disconnected", 1},
                                         Registration{"rejected", 2}, Registration{"received", 3}),
                         [](const auto& tested) { return std::string(tested.param.event); });

// ---------------------------------------------------------------------------------------------------------
// Connection and events

class ProxyConnection : public scripted::WithAgent {
protected:
    void SetUp() override
    {
        WithAgent::SetUp();
        const rpc_port_proxy_qv_client_callback_s callbacks = {note<&ProxyConnection::connected>,
                                                               note<&ProxyConnection::disconnected>,
                                                               note<&ProxyConnection::rejected>};
        ASSERT_EQ(rpc_port_proxy_qv_client_create(app, &callbacks, this, &proxy), 0);
        clear_log();
    }
    void TearDown() override
    {
        if (proxy) {
            EXPECT_EQ(rpc_port_proxy_qv_client_destroy(proxy), 0);
        }
        WithAgent::TearDown();
    }

    struct Event {
        int times = 0;
        bool port_was_set = false;
        std::size_t log_before = 0;
        std::function<void()> then = [] {};
    };
    template <Event ProxyConnection::*event>
    static void note(rpc_port_proxy_qv_client_h h, void* user_data)
    {
        auto& self = *static_cast<ProxyConnection*>(user_data);
        EXPECT_EQ(h, self.proxy);
        Event& mine = self.*event;
        ++mine.times;
        mine.port_was_set = h->port != nullptr;
        mine.log_before = log().size();
        mine.then();
    }

    rpc_port_proxy_qv_client_h proxy = nullptr;
    Event connected;
    Event disconnected;
    Event rejected;
};

TEST_F(ProxyConnection, AsksForThePortOfTheInterfaceAtTheAgent)
{
    EXPECT_EQ(rpc_port_proxy_qv_client_connect(proxy), 0);
    EXPECT_EQ(agent().connected_to_app(), app);
    EXPECT_EQ(agent().connected_to_port(), "qv_client");
    EXPECT_THAT(errors(), testing::IsEmpty());
}

TEST_F(ProxyConnection, NeedsAProxyThatHasAPort)
{
    EXPECT_EQ(rpc_port_proxy_qv_client_connect(nullptr), -1);
    rpc_port_proxy_h const port = proxy->proxy;
    proxy->proxy = nullptr;
    EXPECT_EQ(rpc_port_proxy_qv_client_connect(proxy), -1);
    proxy->proxy = port;
    const LogLine line = proxy_error(connect_function, "Invalid parameter");
    EXPECT_THAT(errors(), Lines(line, line));
    EXPECT_EQ(agent().connections_asked_for(), 0);
}

TEST_F(ProxyConnection, ReturnsThePortsErrorUnchanged)
{
    for (const int code : {-5, -13, -12, 1, 99}) {
        clear_log();
        platform().fail("rpc_port_proxy_connect", 1, code);
        EXPECT_EQ(rpc_port_proxy_qv_client_connect(proxy), code);
        EXPECT_THAT(errors(), Lines(proxy_error(connect_function,
                                                std::string("Failed to connect qv_client(") + app + ")")));
    }
}

TEST_F(ProxyConnection, CannotBeDestroyedWithoutAProxy)
{
    EXPECT_EQ(rpc_port_proxy_qv_client_destroy(nullptr), -1);
    EXPECT_THAT(errors(), Lines(proxy_error("rpc_port_proxy_qv_client_destroy", "Invalid parameter")));
}

TEST_F(ProxyConnection, TakesThePortsTellsTheApplicationAndThenLogs)
{
    ASSERT_EQ(rpc_port_proxy_qv_client_connect(proxy), 0);
    clear_log();
    agent().connect();
    EXPECT_EQ(connected.times, 1);
    EXPECT_TRUE(connected.port_was_set);
    EXPECT_EQ(connected.log_before, 0U);
    EXPECT_NE(proxy->callback_port, nullptr);
    EXPECT_THAT(log(), testing::ElementsAre(IsEndpointLine()));
}

TEST_F(ProxyConnection, ClearsThePortTellsTheApplicationAndThenLogsWhenItEnds)
{
    ASSERT_EQ(rpc_port_proxy_qv_client_connect(proxy), 0);
    agent().connect();
    clear_log();
    agent().disconnect();
    EXPECT_EQ(disconnected.times, 1);
    EXPECT_EQ(rejected.times, 0);
    EXPECT_FALSE(disconnected.port_was_set);
    EXPECT_EQ(disconnected.log_before, 0U);
    EXPECT_THAT(log(), testing::ElementsAre(IsEndpointLine()));
}

TEST_F(ProxyConnection, TellsThatItWasRejected)
{
    ASSERT_EQ(rpc_port_proxy_qv_client_connect(proxy), 0);
    clear_log();
    agent().reject();
    EXPECT_EQ(rejected.times, 1);
    EXPECT_EQ(disconnected.times, 0);
    EXPECT_FALSE(rejected.port_was_set);
    EXPECT_THAT(log(), testing::ElementsAre(IsEndpointLine()));
}

TEST_F(ProxyConnection, MayBeDestroyedByAnyOfItsEvents)
{
    const std::function<void()> destroy = [this] {
        EXPECT_EQ(rpc_port_proxy_qv_client_destroy(proxy), 0);
        proxy = nullptr;
    };
    connected.then = destroy;
    ASSERT_EQ(rpc_port_proxy_qv_client_connect(proxy), 0);
    agent().connect();
    EXPECT_EQ(live(), Live{});
}

TEST_F(ProxyConnection, MayBeDestroyedWhenItEnds)
{
    disconnected.then = [this] {
        EXPECT_EQ(rpc_port_proxy_qv_client_destroy(proxy), 0);
        proxy = nullptr;
    };
    ASSERT_EQ(rpc_port_proxy_qv_client_connect(proxy), 0);
    agent().connect();
    agent().disconnect();
    EXPECT_EQ(live(), Live{});
}

TEST_F(ProxyConnection, LetsTheApplicationCallFromTheConnectedEvent)
{
    connected.then = [this] {
        agent().answer_next_with(0);
        EXPECT_EQ(rpc_port_proxy_qv_client_invoke_set_api_version(proxy, "2.4.29"), 0);
    };
    ASSERT_EQ(rpc_port_proxy_qv_client_connect(proxy), 0);
    agent().connect();
    EXPECT_EQ(agent().request(), (Sent{i32(52), text("2.4.29")}));
}

TEST_F(ConnectedProxy, NeedsNoCallbacks)
{
    agent().disconnect();
    EXPECT_EQ(proxy->port, nullptr);
}

class Received : public ConnectedProxy {};

TEST_F(Received, SaysThatThereWasNoParcel)
{
    agent().raise_received_event();
    EXPECT_THAT(errors(), testing::ElementsAre(testing::Field(
                              &LogLine::text, "Failed to create parcel from port(qv_client)")));
}

TEST_F(Received, DropsWhatIsNoCallback)
{
    for (const int command : {0, 2, -1, 17}) {
        clear_log();
        agent().fire_raw({i32(command), scripted::delegate(17, 1, false)});
        EXPECT_THAT(errors(), testing::ElementsAre(testing::Field(&LogLine::text, "Invalid protocol")));
        EXPECT_THAT(log(), HasNoText(endpoint_message));
        EXPECT_EQ(live().parcels, 0);
    }
}

TEST_F(Received, DropsAParcelWithoutACommand)
{
    agent().fire_raw({});
    EXPECT_THAT(errors(), testing::ElementsAre(testing::Field(&LogLine::text, "Invalid protocol")));
    EXPECT_EQ(live().parcels, 0);
}

TEST_F(Received, LogsTheEndpointAfterACallbackWasDispatched)
{
    agent().fire(17, 1, false, {text("vid"), text("metadata")});
    const auto lines = log();
    ASSERT_FALSE(lines.empty());
    EXPECT_THAT(lines.back(), IsEndpointLine());
    EXPECT_THAT(errors(), testing::IsEmpty());
    EXPECT_EQ(live().parcels, 0);
}

TEST_F(Received, SurvivesACallbackParcelThatEndsAtAnyValue)
{
    const scripted::Values whole = callback(17, 1, false, {text("vid"), text("metadata")});
    for (std::size_t length = 0; length < whole.size(); ++length) {
        agent().fire_raw(whole.first(length));
    }
    EXPECT_EQ(live().parcels, 0);
}

// ---------------------------------------------------------------------------------------------------------
// The frame

class Frame : public ConnectedProxy {
protected:
    // is_signed_in: one text comes out.
    struct Outcome {
        int returned;
        std::string state;
    };
    Outcome is_signed_in()
    {
        char* state = nullptr;
        Outcome outcome{rpc_port_proxy_qv_client_invoke_is_signed_in(proxy, &state),
                        state ? state : "(none)"};
        std::free(state);
        return outcome;
    }
    // get_ui_metadata: one text goes in, one comes out.
    std::string metadata(const std::string& vid)
    {
        char* found = nullptr;
        const int code = rpc_port_proxy_qv_client_invoke_get_ui_metadata(proxy, vid.c_str(), &found);
        std::string outcome = code == 0 && found ? found : "failed";
        std::free(found);
        return outcome;
    }
    static std::optional<Values> echo(const Sent& sent)
    {
        return result(0, {text("answer to " + sent.string(1))});
    }
    const std::string function = "rpc_port_proxy_qv_client_invoke_is_signed_in";
};

TEST_F(Frame, GivesBackEveryParcel)
{
    agent().answer_next_with(0, {text("TRUE")});
    EXPECT_EQ(is_signed_in().state, "TRUE");
    EXPECT_EQ(live().parcels, 0);
}

TEST_F(Frame, ReturnsWhatTheMethodReturned)
{
    for (const int value : {0, 1, -1, -22, -1073741825, 12345}) {
        agent().answer_next_with(value, {text("TRUE")});
        const Outcome outcome = is_signed_in();
        EXPECT_EQ(outcome.returned, value);
        EXPECT_EQ(outcome.state, "TRUE");
        EXPECT_EQ(get_last_result(), 0);
    }
}

TEST_F(Frame, DiscardsACallbackThatComesOnTheMainPort)
{
    int called = 0;
    auto h = rpc_port_qv_client_ui_metadata_cb_create(
        [](void* user_data, const char*, const char*) { ++*static_cast<int*>(user_data); }, false, &called);
    agent().answer_next_with(0);
    ASSERT_EQ(rpc_port_proxy_qv_client_invoke_set_ui_metadata_cb(proxy, h), 0);
    agent().answer_next_parcels(
        {callback(17, 1, false, {text("vid"), text("metadata")}), result(0, {text("TRUE")})});
    EXPECT_EQ(is_signed_in().state, "TRUE");
    EXPECT_EQ(called, 0);
    EXPECT_EQ(live().parcels, 0);
}

TEST_F(Frame, ReadsOnPastWhatIsNoResult)
{
    agent().answer_next_parcels(
        {{i32(2)}, {i32(-1), text("x")}, {}, {text("no command")}, result(0, {text("TRUE")})});
    EXPECT_EQ(is_signed_in().returned, 0);
}

TEST_F(Frame, ReadsOnPastManyJunkParcels)
{
    scripted::keep_log(false);
    std::vector<Values> parcels(60000, Values{i32(1)});
    parcels.push_back(result(0, {text("TRUE")}));
    agent().answer_next_parcels(parcels);
    EXPECT_EQ(is_signed_in().state, "TRUE");
}

TEST_F(Frame, GivesUpAfterTooManyJunkParcelsAndUsesTheConnectionNoMore)
{
    std::vector<Values> parcels(70000, Values{i32(1)});
    parcels.push_back(result(0, {text("late")}));
    agent().answer_next_parcels(parcels);
    EXPECT_EQ(is_signed_in().returned, -1);
    EXPECT_EQ(get_last_result(), -5);
    EXPECT_THAT(log(), HasLine(proxy_error(function, "Invalid protocol")));
    EXPECT_EQ(proxy->port, nullptr);
    agent().answer_next_with(0, {text("TRUE")});
    clear_log();
    EXPECT_EQ(is_signed_in().returned, -1);
    EXPECT_THAT(errors(), Lines(proxy_error(function, "Not connected")));
}

TEST_F(Frame, TakesTheAnswerAlthoughTheSendFailed)
{
    agent().fail_next_send(-13);
    agent().deliver(result(0, {text("TRUE")}));
    const Outcome outcome = is_signed_in();
    EXPECT_EQ(outcome.returned, 0);
    EXPECT_EQ(outcome.state, "TRUE");
    EXPECT_EQ(get_last_result(), -5);
    EXPECT_THAT(errors(), Lines(proxy_error(function, "Failed to send parcel. result(-13)")));
    EXPECT_EQ(live().parcels, 0);
}

TEST_F(Frame, HasNoAnswerWhenTheSendFailedAndNothingComes)
{
    agent().fail_next_send(-5);
    const Outcome outcome = is_signed_in();
    EXPECT_EQ(outcome.returned, -1);
    EXPECT_EQ(outcome.state, "(none)");
    EXPECT_EQ(get_last_result(), -5);
    EXPECT_THAT(errors(), Lines(proxy_error(function, "Failed to send parcel. result(-5)"),
                                proxy_error(function, "Invalid protocol")));
}

TEST_F(Frame, TakesTheFirstResultForItsOwnOnAPortThatStaysOpen)
{
    agent().no_answer_next();
    EXPECT_EQ(is_signed_in().returned, -1);
    agent().answer_next_with(0, {text("TRUE")});
    EXPECT_EQ(is_signed_in().state, "TRUE");
}

TEST_F(Frame, LeavesTheMutexUnlocked)
{
    agent().answer_next_with(0, {text("TRUE")});
    is_signed_in();
    agent().no_answer_next();
    is_signed_in();
    // Otherwise this waits until the test's time is over.
    std::thread other([this] {
        g_rec_mutex_lock(&proxy->mutex);
        g_rec_mutex_unlock(&proxy->mutex);
    });
    other.join();
}

TEST_F(Frame, SendsBeforeItTakesTheMutex)
{
    g_rec_mutex_lock(&proxy->mutex);
    agent().on_request(echo);
    std::thread caller([this] { EXPECT_EQ(metadata("v"), "answer to v"); });
    while (agent().requests().empty()) {
        std::this_thread::yield();
    }
    g_rec_mutex_unlock(&proxy->mutex);
    caller.join();
}

TEST_F(Frame, ServesACallMadeFromInsideASend)
{
    std::string inner;
    agent().on_request([&](const Sent& sent) -> std::optional<Values> {
        if (sent.string(1) == "outer") {
            inner = metadata("inner");
        }
        return echo(sent);
    });
    EXPECT_EQ(metadata("outer"), "answer to outer");
    EXPECT_EQ(inner, "answer to inner");
    EXPECT_EQ(metadata("next"), "answer to next");
}

TEST_F(Frame, RegistersADelegateBeforeTheRequestIsSent)
{
    std::size_t listed = 0;
    agent().on_request([&](const Sent&) -> std::optional<Values> {
        listed = g_list_length(proxy->delegates);
        return result(0);
    });
    auto h = rpc_port_qv_client_ui_metadata_cb_create([](void*, const char*, const char*) {}, false, nullptr);
    EXPECT_EQ(rpc_port_proxy_qv_client_invoke_set_ui_metadata_cb(proxy, h), 0);
    EXPECT_EQ(listed, 1U);
}

// Methods whose values are secrets, and delegates that bring one.
TEST_F(Frame, NeverLogsASecret)
{
    const std::string secret = "tell-nobody";
    bundle* data = scripted::make_bundle({{"password", secret}});
    rpc_port_cloud_prop_s_h cloud = nullptr;
    rpc_port_device_prop_s_h device = nullptr;
    rpc_port_self_signup_info_s_h info = nullptr;
    rpc_port_cloud_prop_s_create(&cloud);
    rpc_port_device_prop_s_create(&device);
    rpc_port_cloud_prop_s_set_bundle_data(cloud, data);
    rpc_port_device_prop_s_set_bundle_data(device, data);
    bundle_free(data);

    agent().answer_next_with(0, {text(secret)});
    char* token = nullptr;
    rpc_port_proxy_qv_client_invoke_get_access_token(proxy, &token);
    EXPECT_EQ(token, secret);
    std::free(token);
    agent().otherwise_answer(0);
    auto on_token =
        rpc_port_qv_client_get_vxr_device_token_cb_create([](void*, const char*, int) {}, true, nullptr);
    rpc_port_proxy_qv_client_invoke_get_vxr_device_token(proxy, on_token);
    auto on_peer = rpc_port_qv_client_get_vxr_device_peer_token_cb_create(
        [](void*, const char*, const char*, bool, int) {}, true, nullptr);
    rpc_port_proxy_qv_client_invoke_get_vxr_device_peer_token(proxy, secret.c_str(), on_peer);
    auto on_pin =
        rpc_port_qv_client_easy_setup_random_pin_cb_create([](void*, const char*, int) {}, false, nullptr);
    rpc_port_proxy_qv_client_invoke_set_easy_setup_random_pin_cb(proxy, on_pin);
    auto on_result = rpc_port_qv_client_easy_setup_result_cb_create([](void*, int) {}, true, nullptr);
    rpc_port_proxy_qv_client_invoke_configure_cloud_prop(proxy, cloud, on_result);
    on_result = rpc_port_qv_client_easy_setup_result_cb_create([](void*, int) {}, true, nullptr);
    rpc_port_proxy_qv_client_invoke_configure_device_prop(proxy, device, on_result);
    rpc_port_proxy_qv_client_invoke_set_easy_setup_random_pin(proxy, secret.c_str());
    agent().answer_next_with(0, {bundle_of({{"code", secret}})});
    rpc_port_proxy_qv_client_invoke_get_self_signup_info_for_thing(proxy, secret.c_str(), secret.c_str(),
                                                                   &info);
    agent().fire(15, 1, true, {text(secret), i32(0)});
    agent().fire(20, 1, true, {text(secret), text(secret), flag(true), i32(0)});
    agent().fire(24, 1, false, {text(secret), i32(0)});

    EXPECT_EQ(agent().requests().size(), 8U);
    EXPECT_THAT(log(), scripted::NowhereContains(secret));
    rpc_port_cloud_prop_s_destroy(cloud);
    rpc_port_device_prop_s_destroy(device);
    rpc_port_self_signup_info_s_destroy(info);
}

// ---------------------------------------------------------------------------------------------------------
// Many threads on one proxy

class Turns : public Frame {
protected:
    void SetUp() override
    {
        Frame::SetUp();
        scripted::keep_log(false);
    }
    // Each thread calls, and counts the answers that are another's.
    int wrong_answers(int threads, int calls_each)
    {
        std::atomic<int> wrong{0};
        std::vector<std::thread> running;
        for (int t = 0; t < threads; ++t) {
            running.emplace_back([this, t, calls_each, &wrong] {
                for (int i = 0; i < calls_each; ++i) {
                    const std::string vid = std::to_string(t) + "." + std::to_string(i);
                    wrong += metadata(vid) == "answer to " + vid ? 0 : 1;
                }
            });
        }
        for (std::thread& thread : running) {
            thread.join();
        }
        return wrong;
    }
    // Waits until the agent has heard so many requests.
    static void wait_for_requests(std::size_t how_many)
    {
        while (agent().requests().size() < how_many) {
            std::this_thread::yield();
        }
    }
};

class TurnsOfSeveral : public Turns, public testing::WithParamInterface<int> {};

TEST_P(TurnsOfSeveral, BringEachAnswerToTheCallThatAsked)
{
    agent().on_request(echo);
    EXPECT_EQ(wrong_answers(GetParam(), 4000 / GetParam()), 0);
}

TEST_P(TurnsOfSeveral, BringLateAnswersToTheCallsThatAsked)
{
    const int threads = GetParam();
    const int calls_each = 800 / threads;
    agent().let_reads_wait(std::chrono::seconds(20));
    std::thread answering([threads, calls_each] {
        for (std::size_t answered = 0; answered < static_cast<std::size_t>(threads * calls_each);
             ++answered) {
            wait_for_requests(answered + 1);
            if (answered % 7 == 0) {
                std::this_thread::sleep_for(std::chrono::microseconds(300));
            }
            agent().deliver(*echo(agent().requests()[answered]));
        }
    });
    EXPECT_EQ(wrong_answers(threads, calls_each), 0);
    answering.join();
}

TEST_P(TurnsOfSeveral, GoOnWhenSomeSendsFail)
{
    agent().on_request(echo);
    std::atomic<bool> done{false};
    std::thread breaking([&done] {
        while (!done) {
            agent().fail_next_send(-5);
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    });
    std::atomic<int> swapped{0};
    std::vector<std::thread> running;
    for (int t = 0; t < GetParam(); ++t) {
        running.emplace_back([this, t, &swapped] {
            for (int i = 0; i < 200; ++i) {
                const std::string vid = std::to_string(t) + "." + std::to_string(i);
                const std::string got = metadata(vid);
                swapped += got == "failed" || got == "answer to " + vid ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
    done = true;
    breaking.join();
    EXPECT_EQ(swapped, 0);
    platform().fail_no_more();
    EXPECT_EQ(metadata("last"), "answer to last");
}

INSTANTIATE_TEST_SUITE_P(Threads, TurnsOfSeveral, testing::Values(1, 2, 4, 8, 16));

TEST_F(Turns, LetRequestsBeInFlightTogether)
{
    constexpr int threads = 16;
    agent().let_reads_wait(std::chrono::seconds(20));
    std::thread answering([] {
        wait_for_requests(threads);  // all of them, before the first answer
        for (const Sent& request : agent().requests()) {
            agent().deliver(*echo(request));
        }
    });
    EXPECT_EQ(wrong_answers(threads, 1), 0);
    answering.join();
}

TEST_F(Turns, DoNotGiveAnAnswerToACallWhoseRequestNeverLeft)
{
    agent().let_reads_wait(std::chrono::seconds(20));
    std::string first;
    std::string second;
    std::thread sent([&] { first = metadata("first"); });
    wait_for_requests(1);
    agent().fail_next_send(-5);
    std::thread unsent([&] { second = metadata("second"); });
    while (agent().unsent().empty()) {
        std::this_thread::yield();
    }
    agent().deliver(result(0, {text("answer to first")}));
    sent.join();
    agent().break_connection();  // what the other waits for never comes
    unsent.join();
    EXPECT_EQ(first, "answer to first");
    EXPECT_EQ(second, "failed");
}

TEST_F(Turns, DoNotGiveALaterCallsAnswerToACallWhoseRequestNeverLeft)
{
    agent().let_reads_wait(std::chrono::seconds(20));
    std::string first;
    std::string second;
    std::string third;
    std::thread sent([&] { first = metadata("first"); });
    wait_for_requests(1);
    agent().fail_next_send(-5);
    std::thread unsent([&] { second = metadata("second"); });
    while (agent().unsent().empty()) {
        std::this_thread::yield();
    }
    std::thread sent_later([&] { third = metadata("third"); });
    wait_for_requests(2);
    agent().deliver(result(0, {text("answer to first")}));
    agent().deliver(result(0, {text("answer to third")}));
    sent.join();
    unsent.join();
    sent_later.join();
    EXPECT_EQ(first, "answer to first");
    EXPECT_EQ(second, "failed");
    EXPECT_EQ(third, "answer to third");
}

TEST_F(Turns, DoNotTakeTheAnswerThatACallBeforeGaveUpWaitingFor)
{
    agent().let_reads_wait(std::chrono::seconds(20));
    std::string first;
    std::string second;
    std::thread sent([&] { first = metadata("first"); });
    wait_for_requests(1);
    std::thread sent_later([&] { second = metadata("second"); });
    wait_for_requests(2);
    for (int i = 0; i < 65536; ++i) {
        agent().deliver({i32(1)});
    }
    agent().deliver(result(0, {text("answer to first")}));
    agent().deliver(result(0, {text("answer to second")}));
    sent.join();
    sent_later.join();
    EXPECT_EQ(first, "failed");
    EXPECT_EQ(second, "failed");
}

TEST_F(Turns, EndWithTheConnection)
{
    constexpr int threads = 8;
    agent().let_reads_wait(std::chrono::seconds(20));
    std::atomic<int> failed{0};
    std::vector<std::thread> running;
    for (int t = 0; t < threads; ++t) {
        running.emplace_back(
            [this, &failed] { failed += metadata("v") == "failed" && get_last_result() == -5; });
    }
    wait_for_requests(threads);
    agent().disconnect();
    for (std::thread& thread : running) {
        thread.join();
    }
    EXPECT_EQ(failed, threads);
    EXPECT_EQ(proxy->port, nullptr);
}

TEST_F(Turns, EndWithTheProxyThatAnotherThreadDestroys)
{
    constexpr int threads = 8;
    agent().let_reads_wait(std::chrono::seconds(20));
    std::atomic<int> failed{0};
    std::vector<std::thread> running;
    for (int t = 0; t < threads; ++t) {
        running.emplace_back([this, &failed] { failed += metadata("v") == "failed"; });
    }
    wait_for_requests(threads);
    EXPECT_EQ(rpc_port_proxy_qv_client_destroy(proxy), 0);
    proxy = nullptr;
    for (std::thread& thread : running) {
        thread.join();
    }
    EXPECT_EQ(failed, threads);
}

TEST_F(Turns, SetTheLastResultOfTheirOwnThread)
{
    agent().no_answer_next();
    std::thread other([this] {
        EXPECT_EQ(metadata("v"), "failed");
        EXPECT_EQ(get_last_result(), -5);
    });
    other.join();
    EXPECT_EQ(get_last_result(), last_result_before);
}

}  // namespace
}  // namespace catalogue
