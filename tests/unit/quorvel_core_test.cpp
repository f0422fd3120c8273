// The core family's frame: quorvel_core.cpp over the scripted platform.
#include <quorvel_core.h>

#include <climits>

#include "callback_contract.hpp"
#include "connected_client.hpp"
#include "core_question.hpp"
#include "failing_allocations.hpp"

// Internal functions that go by a name of their own.
extern "C" {
void _server_sent_event_cb(void* user_data, int type, long long time, const char* event);
void _server_sent_event_by_filter_cb(void* pair, int type, long long time, const char* event);
int _set_sse_cb_by_filter(quorvel_client_h handle, int filter_type, const char* filter,
                          quorvel_core_sse_cb cb, void* user_data);
int _unset_sse_cb_by_filter(quorvel_client_h handle, int filter_type, const char* filter);
}

namespace scripted {
namespace {

constexpr auto source = "quorvel_core";
constexpr int invalid_parameter = -22;
constexpr int out_of_memory = -12;
constexpr int sse_delegate = 37;

const std::string set_by_device = "quorvel_core_set_sse_cb_by_device_id";
const std::string unset_by_device = "quorvel_core_unset_sse_cb_by_device_id";
const std::string set_by_filter = "_set_sse_cb_by_filter";
const std::string unset_by_filter = "_unset_sse_cb_by_filter";
const std::string set_method = "rpc_port_proxy_qv_client_invoke_set_server_sent_event_by_filter";
const std::string unset_method = "rpc_port_proxy_qv_client_invoke_unset_server_sent_event_by_filter";

LogLine error(const std::string& function, const std::string& words)
{
    return qc_error(source, function, words);
}

std::string with_code(const std::string& words, int code)
{
    return words + " is failed [" + std::to_string(code) + "]";
}

void ignore(int, long long, const char*, void*) {}

void hear(int, long long, const char*, void* heard)
{
    static_cast<Heard*>(heard)->hear();
}

// Writes down what it is told.
struct Event {
    int type;
    long long time;
    std::string words;
    bool operator==(const Event&) const = default;
};
struct Diary {
    std::vector<Event> events;
    std::function<void()> then;
};
void write_down(int type, long long time, const char* words, void* diary)
{
    auto& [events, then] = *static_cast<Diary*>(diary);
    events.push_back({type, time, words});
    if (then)
        then();
}

// The condition is told by the function behind, and its code by the one in front.
Contract::ConditionLines told_by(const std::string& behind)
{
    return [behind](const std::string&, const std::string& function, int code) {
        return std::vector{error(behind, "Fail to check condition[" + std::to_string(code) + "]"),
                           error(function, with_code(behind, code))};
    };
}

[[maybe_unused]] const bool contracts = register_contracts(
    source, {
                Contract("quorvel_core_set_sse_cb", {2, 3},
                         [](auto client) { return quorvel_core_set_sse_cb(client, 1, ignore, nullptr); })
                    .asks(122, "set_server_sent_event"),
                Contract("quorvel_core_unset_sse_cb", {2, 3}, quorvel_core_unset_sse_cb)
                    .asks(123, "unset_server_sent_event"),
                Contract(set_by_device, {2, 3},
                         [](auto client) {
                             return quorvel_core_set_sse_cb_by_device_id(client, "lamp", ignore, nullptr);
                         })
                    .asks(124, "set_server_sent_event_by_filter")
                    .with_codes_of_its_own()
                    .telling_conditions_as(told_by(set_by_filter)),
                Contract(unset_by_device, {2, 3},
                         [](auto client) { return quorvel_core_unset_sse_cb_by_device_id(client, "lamp"); })
                    .asks(125, "unset_server_sent_event_by_filter")
                    .with_codes_of_its_own()
                    .telling_conditions_as(told_by(unset_by_filter)),
                Contract(set_by_filter, {2, 3},
                         [](auto client) { return _set_sse_cb_by_filter(client, 0, "me", ignore, nullptr); })
                    .asks(124, "set_server_sent_event_by_filter")
                    .with_codes_of_its_own()
                    .entering_silently(),
                Contract(unset_by_filter, {2, 3},
                         [](auto client) { return _unset_sse_cb_by_filter(client, 0, "me"); })
                    .asks(125, "unset_server_sent_event_by_filter")
                    .with_codes_of_its_own()
                    .entering_silently(),
            });

[[maybe_unused]] const bool questions = register_questions(
    source, {
                Question("quorvel_core_get_hub_json", {2, 3}, 116, "core_get_hub_json")
                    .given({required("home"), required("hub")})
                    .answers_text([](auto client, Texts t, char** json) {
                        return quorvel_core_get_hub_json(client, t[0], t[1], json);
                    }),
                Question("quorvel_core_get_mqtt_broker_url", {2, 3}, 126, "core_get_broker_url")
                    .given({required("hub")})
                    .sends([](Texts t) {
                        return Sent{i32(126), text(t[0]), flag(true)};
                    })
                    .answers_text([](auto client, Texts t, char** url) {
                        return quorvel_core_get_mqtt_broker_url(client, t[0], true, url);
                    }),
                // Reported under the name of another method, which is meant so.
                Question("quorvel_core_send_active_user_event", {2, 4}, 173, "core_send_active_user_event")
                    .given({unchecked("lamp"), unchecked("details")})
                    .sends([](Texts t) {
                        return Sent{i32(173), i32(18), i32(25), text(t[0] != nullptr ? t[0] : ""),
                                    text(t[1] != nullptr ? t[1] : "")};
                    })
                    .without_proxy(operation_failed)
                    .reported_as("rpc_port_proxy_Core_invoke_SetActiveUserCount")
                    .answers_nothing([](auto client, Texts t) {
                        return quorvel_core_send_active_user_event(client, 18, 25, t[0], t[1]);
                    }),
            });

[[maybe_unused]] const bool callbacks = register_callbacks({
    RepeatingCallback("quorvel_core_set_sse_cb", source)
        .set([](auto client, Heard& heard) { return quorvel_core_set_sse_cb(client, 3, hear, &heard); })
        .unset(quorvel_core_unset_sse_cb)
        .speaks(122, 123, sse_delegate, {i32(7), i64(8), text("nine")})
        .sending({i32(3)}),
});

class Core : public ConnectedClient {
protected:
    static Values event(const Event& values)
    {
        return {i32(values.type), i64(values.time), text(values.words)};
    }
    static void fire(int seq_id, const Event& values)
    {
        agent().fire(sse_delegate, seq_id, false, event(values));
    }
    // Registrations, with an agent that agrees.
    int register_all(quorvel_core_sse_cb cb, void* user_data)
    {
        agent().answer_next_with(0);
        return quorvel_core_set_sse_cb(client, 1, cb, user_data);
    }
    int unregister_all()
    {
        agent().answer_next_with(0);
        return quorvel_core_unset_sse_cb(client);
    }
    int register_device(const char* device, quorvel_core_sse_cb cb, void* user_data)
    {
        agent().answer_next_with(0);
        return quorvel_core_set_sse_cb_by_device_id(client, device, cb, user_data);
    }
    int unregister_device(const char* device)
    {
        agent().answer_next_with(0);
        return quorvel_core_unset_sse_cb_by_device_id(client, device);
    }
    void disconnect() { EXPECT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0); }

    Diary diary;
};

// The one registration for all events

TEST_F(Core, EventIsHandedOverValueByValue)
{
    EXPECT_EQ(register_all(write_down, &diary), 0);
    fire(1, {-7, LLONG_MIN, "on"});
    fire(1, {INT_MAX, 1'700'000'000'123, ""});
    EXPECT_THAT(diary.events,
                testing::ElementsAre(Event{-7, LLONG_MIN, "on"}, Event{INT_MAX, 1'700'000'000'123, ""}));
}

TEST_F(Core, TypesOfEventsBelowOneAreRefused)
{
    for (const int type : {0, -1, INT_MIN}) {
        clear_log();
        EXPECT_EQ(quorvel_core_set_sse_cb(client, type, ignore, nullptr), invalid_parameter);
        EXPECT_THAT(errors(), Lines(error("quorvel_core_set_sse_cb", "invalid parameter")));
    }
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(Core, TypesOfEventsFromOneOnAreTheAgentsBusiness)
{
    for (const int type : {1, 12, 13, INT_MAX}) {
        agent().answer_next_with(0);
        EXPECT_EQ(quorvel_core_set_sse_cb(client, type, ignore, nullptr), 0);
        EXPECT_EQ(agent().request()[1], i32(type));
    }
}

TEST_F(Core, MissingCallbackIsRefusedAndLeavesTheEarlierOne)
{
    register_all(write_down, &diary);
    EXPECT_EQ(quorvel_core_set_sse_cb(client, 1, nullptr, nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("quorvel_core_set_sse_cb", "invalid parameter")));
    fire(1, {1, 2, "still"});
    EXPECT_EQ(diary.events.size(), 1U);
}

TEST_F(Core, EventForALiveDelegateWithoutACallbackIsToldAndDropped)
{
    clear_log();
    _server_sent_event_cb(client, 1, 2, "lost");
    EXPECT_THAT(errors(), Lines(error("_server_sent_event_cb", "No server sent event cb")));
}

TEST_F(Core, EventWithoutAHandleIsToldAndDropped)
{
    _server_sent_event_cb(nullptr, 1, 2, "lost");
    EXPECT_THAT(errors(), Lines(error("_server_sent_event_cb", "No user data")));
}

// Registrations by device

TEST_F(Core, DeviceIsRegisteredWithItsIdAndADelegate)
{
    EXPECT_EQ(register_device("lamp", write_down, &diary), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(124), i32(4), text("lamp"), delegate(sse_delegate, 1, false)}));
    fire(1, {-7, LLONG_MAX, "on"});
    EXPECT_THAT(diary.events, testing::ElementsAre(Event{-7, LLONG_MAX, "on"}));
    EXPECT_THAT(errors(), testing::IsEmpty());
}

TEST_F(Core, DeviceIsUnregisteredWithItsIdAlone)
{
    EXPECT_EQ(unregister_device("lamp"), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(125), i32(4), text("lamp")}));
    EXPECT_THAT(errors(), testing::IsEmpty());
}

// By design the delegate stays until the connection ends.
TEST_F(Core, DevicesEventStillArrivesAfterItsUnregistration)
{
    register_device("lamp", write_down, &diary);
    unregister_device("lamp");
    fire(1, {1, 2, "late"});
    EXPECT_THAT(diary.events, testing::ElementsAre(Event{1, 2, "late"}));
}

TEST_F(Core, DevicesAndTheGlobalRegistrationDoNotTouchEachOther)
{
    Diary all, lamp, lamp_again, fan;
    EXPECT_EQ(register_device("lamp", write_down, &lamp), 0);
    EXPECT_EQ(register_all(write_down, &all), 0);
    EXPECT_EQ(register_device("lamp", write_down, &lamp_again), 0);
    EXPECT_EQ(register_device("fan", write_down, &fan), 0);
    unregister_device("fan");
    EXPECT_EQ(register_all(write_down, &all), 0);  // number 5 takes the place of number 2
    for (int seq_id = 1; seq_id <= 5; ++seq_id)
        fire(seq_id, {seq_id, 0, ""});
    unregister_all();
    for (int seq_id = 1; seq_id <= 5; ++seq_id)
        fire(seq_id, {10 * seq_id, 0, ""});
    EXPECT_THAT(lamp.events, testing::ElementsAre(Event{1, 0, ""}, Event{10, 0, ""}));
    EXPECT_THAT(lamp_again.events, testing::ElementsAre(Event{3, 0, ""}, Event{30, 0, ""}));
    EXPECT_THAT(fan.events, testing::ElementsAre(Event{4, 0, ""}, Event{40, 0, ""}));
    EXPECT_THAT(all.events, testing::ElementsAre(Event{5, 0, ""}));
}

TEST_F(Core, HundredDevicesHearTheirOwnEventsOnly)
{
    constexpr int how_many = 100;
    std::vector<Diary> diaries(how_many);
    for (int i = 0; i < how_many; ++i) {
        EXPECT_EQ(
            register_device(std::to_string(i).c_str(), write_down, &diaries[static_cast<std::size_t>(i)]), 0);
        // Events between the registrations, and for one that does not exist yet.
        fire(i / 2 + 1, {i, 1, "between"});
        fire(i + 2, {i, 2, "early"});
    }
    for (int i = how_many; i > 0; --i)
        fire(i, {i, 3, "after"});
    for (int i = 0; i < how_many; ++i) {
        std::vector<Event> expected;
        for (const int between : {2 * i, 2 * i + 1}) {
            if (between < how_many)
                expected.push_back({between, 1, "between"});
        }
        expected.push_back({i + 1, 3, "after"});
        EXPECT_EQ(diaries[static_cast<std::size_t>(i)].events, expected) << i;
    }
}

TEST_F(Core, DeviceIdAndCallbackAreCheckedBeforeAnythingElse)
{
    for (const char* const bad : {static_cast<const char*>(nullptr), ""}) {
        clear_log();
        EXPECT_EQ(quorvel_core_set_sse_cb_by_device_id(nullptr, bad, ignore, nullptr), invalid_parameter);
        EXPECT_EQ(quorvel_core_set_sse_cb_by_device_id(nullptr, bad, nullptr, nullptr), invalid_parameter);
        EXPECT_EQ(quorvel_core_unset_sse_cb_by_device_id(nullptr, bad), invalid_parameter);
        EXPECT_THAT(errors(), Lines(error(set_by_device, "invalid parameter"),
                                    error(set_by_device, "invalid parameter"),
                                    error(unset_by_device, "invalid parameter")));
    }
    clear_log();
    EXPECT_EQ(quorvel_core_set_sse_cb_by_device_id(nullptr, "lamp", nullptr, nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error(set_by_device, "invalid parameter")));
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(Core, FilterTypesFromFiveOnAreRefusedAlsoNegativeOnes)
{
    for (const int type : {5, INT_MAX, -1, INT_MIN}) {
        clear_log();
        EXPECT_EQ(_set_sse_cb_by_filter(client, type, "x", ignore, nullptr), invalid_parameter);
        EXPECT_EQ(_unset_sse_cb_by_filter(client, type, "x"), invalid_parameter);
        EXPECT_THAT(errors(), Lines(error(set_by_filter, "invalid filter type"),
                                    error(unset_by_filter, "invalid filter type")));
    }
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(Core, FilterTypesUpToFourAreSent)
{
    for (int type = 0; type <= 4; ++type) {
        agent().answer_next_with(0);
        EXPECT_EQ(_set_sse_cb_by_filter(client, type, nullptr, ignore, nullptr), 0);
        EXPECT_EQ(agent().request(),
                  (Sent{i32(124), i32(type), text(""), delegate(sse_delegate, type + 1, false)}));
        agent().answer_next_with(0);
        EXPECT_EQ(_unset_sse_cb_by_filter(client, type, "x"), 0);
        EXPECT_EQ(agent().request(), (Sent{i32(125), i32(type), text("x")}));
    }
}

TEST_F(Core, FilterTypeIsLookedAtBehindTheHandleAndBeforeTheProxy)
{
    EXPECT_EQ(_set_sse_cb_by_filter(nullptr, 5, "x", ignore, nullptr), invalid_parameter);
    EXPECT_THAT(errors(),
                testing::AllOf(HasText("quorvel_client handle is NULL"), HasNoText("invalid filter type")));
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    clear_log();
    EXPECT_EQ(_set_sse_cb_by_filter(client, 5, "x", ignore, nullptr), invalid_parameter);
    EXPECT_EQ(_unset_sse_cb_by_filter(client, 5, "x"), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error(set_by_filter, "invalid filter type"),
                                error(unset_by_filter, "invalid filter type")));
    proxy = taken;
}

TEST_F(Core, AgentsCodeComesBackAsItIs)
{
    for (const int code : {-7777, -22, 5, -28}) {
        agent().forget_script();
        clear_log();
        agent().answer_next_with(code);
        EXPECT_EQ(quorvel_core_set_sse_cb_by_device_id(client, "lamp", ignore, nullptr), code);
        agent().answer_next_with(code);
        EXPECT_EQ(quorvel_core_unset_sse_cb_by_device_id(client, "lamp"), code);
        EXPECT_THAT(errors(), Lines(error(set_by_filter, with_code(set_method, code)),
                                    error(set_by_device, with_code(set_by_filter, code)),
                                    error(unset_by_filter, with_code(unset_method, code)),
                                    error(unset_by_device, with_code(unset_by_filter, code))));
    }
}

TEST_F(Core, MissingAnswerComesBackAsMinusOne)
{
    EXPECT_EQ(quorvel_core_set_sse_cb_by_device_id(client, "lamp", ignore, nullptr), -1);
    EXPECT_EQ(quorvel_core_unset_sse_cb_by_device_id(client, "lamp"), -1);
    EXPECT_THAT(errors(), HasLine(error(set_by_device, with_code(set_by_filter, -1))));
    EXPECT_THAT(log(), HasNoText("Unknown error [-1]"));
}

TEST_F(Core, RefusedRegistrationHearsNothing)
{
    agent().answer_next_with(-28);
    EXPECT_EQ(quorvel_core_set_sse_cb_by_device_id(client, "lamp", write_down, &diary), -28);
    fire(1, {1, 2, "lost"});
    EXPECT_THAT(diary.events, testing::IsEmpty());
}

TEST_F(Core, RefusedRegistrationHearsWhatCameBeforeTheRefusal)
{
    agent().on_request([](const Sent&) {
        fire(1, {1, 2, "early"});
        return result(-28);
    });
    EXPECT_EQ(quorvel_core_set_sse_cb_by_device_id(client, "lamp", write_down, &diary), -28);
    agent().on_request(nullptr);
    fire(1, {3, 4, "lost"});
    EXPECT_THAT(diary.events, testing::ElementsAre(Event{1, 2, "early"}));
}

TEST_F(Core, RegistrationThatIsNeverSentHearsNothing)
{
    platform().fail("rpc_port_parcel_create", 1);
    EXPECT_EQ(quorvel_core_set_sse_cb_by_device_id(client, "lamp", write_down, &diary), -1);
    fire(1, {1, 2, "lost"});
    EXPECT_THAT(diary.events, testing::IsEmpty());
}

TEST_F(Core, EventOfARegistrationWithoutACallbackIsDroppedSilently)
{
    agent().answer_next_with(0);
    EXPECT_EQ(_set_sse_cb_by_filter(client, 0, "me", nullptr, nullptr), 0);
    clear_log();
    fire(1, {1, 2, "lost"});
    EXPECT_THAT(errors(), testing::IsEmpty());
}

TEST_F(Core, EventOfARegistrationWithoutItsPairIsToldAndDropped)
{
    _server_sent_event_by_filter_cb(nullptr, 1, 2, "lost");
    EXPECT_THAT(errors(), Lines(error("_server_sent_event_by_filter_cb", "No user data")));
}

TEST_F(Core, DevicesCallbackMayUnregisterItself)
{
    diary.then = [this] { EXPECT_EQ(unregister_device("lamp"), 0); };
    register_device("lamp", write_down, &diary);
    fire(1, {1, 2, "once"});
    EXPECT_EQ(diary.events.size(), 1U);
}

TEST_F(Core, DevicesCallbackMayRegisterAnother)
{
    Diary other;
    diary.then = [&] { EXPECT_EQ(register_device("lamp", write_down, &other), 0); };
    register_device("lamp", write_down, &diary);
    fire(1, {1, 2, "first"});
    fire(2, {3, 4, "second"});
    EXPECT_THAT(other.events, testing::ElementsAre(Event{3, 4, "second"}));
}

TEST_F(Core, DevicesCallbackMayDisconnect)
{
    diary.then = [this] { disconnect(); };
    register_device("lamp", write_down, &diary);
    register_device("fan", write_down, &diary);
    fire(1, {1, 2, "last"});
    EXPECT_EQ(diary.events.size(), 1U);
}

// One allocation after the other fails: the pair, the delegate, the note to keep the pair, then the call's.
TEST_F(Core, DeviceIsNotRegisteredWhereverMemoryRunsOut)
{
    const std::pair<int, std::string> own_failures[] = {{out_of_memory, "memory allocation is failed"},
                                                        {operation_failed, "handle is null"},
                                                        {out_of_memory, "memory allocation is failed"}};
    for (int nth = 1; nth <= 3; ++nth) {
        clear_log();
        const auto& [code, words] = own_failures[nth - 1];
        FailingAllocation failing{nth};
        EXPECT_EQ(quorvel_core_set_sse_cb_by_device_id(client, "lamp", write_down, &diary), code);
        ASSERT_TRUE(failing.happened());
        EXPECT_THAT(errors(), HasLine(error(set_by_filter, words)));
        EXPECT_EQ(errors().back(), error(set_by_device, with_code(set_by_filter, code)));
        EXPECT_THAT(agent().requests(), testing::IsEmpty());
        for (int seq_id = 1; seq_id <= 3; ++seq_id)
            fire(seq_id, {1, 2, "lost"});
    }
    EXPECT_THAT(diary.events, testing::IsEmpty());
}

// Hubs

TEST_F(Core, BrokerIsAskedForWithAFalseFlagToo)
{
    agent().answer_next_with(0, {text("mqtt://hub")});
    OwnedText url;
    EXPECT_EQ(quorvel_core_get_mqtt_broker_url(client, "hub", false, url), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(126), text("hub"), flag(false)}));
    EXPECT_STREQ(url.get(), "mqtt://hub");
}

// What the user does

TEST_F(Core, EveryCategoryAndEveryActionIsSent)
{
    agent().otherwise_answer(0);
    for (int category = 0; category <= 18; ++category) {
        EXPECT_EQ(quorvel_core_send_active_user_event(client, category, 0, "", ""), 0);
        EXPECT_EQ(agent().request(), (Sent{i32(173), i32(category), i32(0), text(""), text("")}));
    }
    for (int action = 0; action <= 25; ++action) {
        EXPECT_EQ(quorvel_core_send_active_user_event(client, 0, action, "a", "b"), 0);
        EXPECT_EQ(agent().request(), (Sent{i32(173), i32(0), i32(action), text("a"), text("b")}));
    }
}

TEST_F(Core, CategoriesAndActionsOutsideTheirRangeAreRefusedAlsoNegativeOnes)
{
    const auto refusal = [&](int category, int action) {
        clear_log();
        EXPECT_EQ(quorvel_core_send_active_user_event(client, category, action, "a", "b"), invalid_parameter);
        EXPECT_THAT(errors(), testing::SizeIs(1));
        return errors().front();
    };
    const LogLine bad_category = error("quorvel_core_send_active_user_event", "invalid parameter (category)");
    const LogLine bad_action = error("quorvel_core_send_active_user_event", "invalid parameter (action)");
    for (const int category : {19, INT_MAX, -1, INT_MIN})
        EXPECT_EQ(refusal(category, 0), bad_category);
    for (const int action : {26, INT_MAX, -1, INT_MIN})
        EXPECT_EQ(refusal(18, action), bad_action);
    EXPECT_EQ(refusal(19, 26), bad_category) << "the category is looked at first";
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

}  // namespace
}  // namespace scripted
