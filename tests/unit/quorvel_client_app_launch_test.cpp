// App launch conditions: quorvel_client_app_launch.cpp over the scripted platform.
#include <quorvel_client_app_launch.h>
#include <quorvel_client_proxy.h>

#include <limits>

#include "api_contract.hpp"
#include "connected_client.hpp"
#include "failing_allocations.hpp"

namespace scripted {
namespace {

using testing::IsEmpty;

constexpr auto source = "quorvel_client_app_launch";
constexpr int invalid_parameter = -22;
constexpr int out_of_memory = -12;
constexpr int no_space = -28;
constexpr int operation_failed = -1073741825;

constexpr auto create = rpc_port_app_launch_condition_s_create;
constexpr auto destroy = rpc_port_app_launch_condition_s_destroy;

// A condition with nothing set, as an agent sends and receives it: seven texts and a reserved one.
const Values unset = {text(""), text(""), text(""), text(""), text(""), text(""), text(""), text("")};

[[maybe_unused]] const bool contracts = register_contracts(
    source,
    {
        Contract("quorvel_client_add_app_launch_condition", {1, 4},
                 [](auto client) {
                     OwnedRecord condition{destroy};
                     create(reinterpret_cast<rpc_port_app_launch_condition_s_h*>(
                         static_cast<void**>(condition)));
                     return quorvel_client_add_app_launch_condition(client, condition.get());
                 })
            .asks(53, "add_app_launch_condition"),
        Contract("quorvel_client_remove_app_launch_condition", {1, 4},
                 [](auto client) {
                     OwnedRecord condition{destroy};
                     create(reinterpret_cast<rpc_port_app_launch_condition_s_h*>(
                         static_cast<void**>(condition)));
                     return quorvel_client_remove_app_launch_condition(client, condition.get());
                 })
            .asks(54, "remove_app_launch_condition"),
        Contract("quorvel_client_is_app_launch_condition_added", {1, 4},
                 [](auto client) {
                     OwnedRecord condition{destroy};
                     create(reinterpret_cast<rpc_port_app_launch_condition_s_h*>(
                         static_cast<void**>(condition)));
                     bool added = false;
                     return quorvel_client_is_app_launch_condition_added(client, condition.get(), &added);
                 })
            .asks(55, "is_app_launch_condition_added", {flag(true)}),
        Contract("quorvel_client_get_all_app_launch_conditions", {1, 4},
                 [](auto client) {
                     OwnedRecords conditions{destroy};
                     return quorvel_client_get_all_app_launch_conditions(client, conditions, conditions);
                 })
            .asks(56, "get_all_app_launch_conditions", {count(1), unset, i32(1)}),
        Contract::local("quorvel_client_app_launch_condition_create", {1, 4},
                        [](auto) {
                            OwnedRecord condition{destroy};
                            return quorvel_client_app_launch_condition_create(condition);
                        }),
        Contract::local("quorvel_client_app_launch_condition_set_string", {1, 4},
                        with_record(create, destroy,
                                    [](auto condition) {
                                        return quorvel_client_app_launch_condition_set_string(condition, 0,
                                                                                              "app");
                                    }))
            .entering_silently(),
        Contract::local("quorvel_client_app_launch_condition_get_string", {1, 4},
                        with_record(create, destroy,
                                    [](auto condition) {
                                        return quorvel_client_app_launch_condition_get_string(condition, 0,
                                                                                              OwnedText{});
                                    }))
            .entering_silently(),
        Contract::local("quorvel_client_app_launch_condition_destroy", {1, 4},
                        destroys(create, destroy, quorvel_client_app_launch_condition_destroy)),
    });

class Conditions : public ConnectedClient {
protected:
    void SetUp() override
    {
        ConnectedClient::SetUp();
        ASSERT_EQ(quorvel_client_app_launch_condition_create(&condition), 0);
        clear_log();
    }
    void TearDown() override
    {
        EXPECT_EQ(quorvel_client_app_launch_condition_destroy(condition), 0);
        ConnectedClient::TearDown();
    }
    void refused(const char* function, const char* message, int code, int expected = invalid_parameter)
    {
        EXPECT_EQ(code, expected);
        EXPECT_THAT(errors(), Lines(qc_error(source, function, message)));
        EXPECT_THAT(agent().requests(), IsEmpty());
        clear_log();
    }
    int set(int id, const char* value)
    {
        return quorvel_client_app_launch_condition_set_string(condition, id, value);
    }
    int get(int id, char** value)
    {
        return quorvel_client_app_launch_condition_get_string(condition, id, value);
    }
    void set_all()
    {
        const char* const values[] = {"zero", "one", "two", "three", "four", "five", "six"};
        for (int id = 0; id < 7; ++id)
            ASSERT_EQ(set(id, values[id]), 0);
    }

    quorvel_client_app_launch_condition_h condition = nullptr;
};

// In the order of the property ids.
const Values all_set = {text("zero"), text("one"),  text("two"), text("three"),
                        text("four"), text("five"), text("six"), text("")};

TEST_F(Conditions, KeepEachPropertyUnderItsId)
{
    set_all();
    const char* const values[] = {"zero", "one", "two", "three", "four", "five", "six"};
    for (int id = 0; id < 7; ++id) {
        OwnedText value;
        EXPECT_EQ(get(id, value), 0);
        EXPECT_STREQ(value.get(), values[id]);
    }
    const auto record = static_cast<rpc_port_app_launch_condition_s_h>(condition);
    EXPECT_STREQ(record->app_id, "zero");
    EXPECT_STREQ(record->device_id, "one");
    EXPECT_STREQ(record->res_uri, "two");
    EXPECT_STREQ(record->property_name, "three");
    EXPECT_STREQ(record->property_type, "four");
    EXPECT_STREQ(record->property_value, "five");
    EXPECT_STREQ(record->bundle_json, "six");
}

TEST_F(Conditions, TakeANewValueInPlaceOfTheOld)
{
    ASSERT_EQ(set(3, "old"), 0);
    ASSERT_EQ(set(3, "new"), 0);
    OwnedText value;
    EXPECT_EQ(get(3, value), 0);
    EXPECT_STREQ(value.get(), "new");
}

TEST_F(Conditions, AreSentToBeAddedRemovedOrLookedUp)
{
    set_all();
    agent().otherwise_answer(0);
    EXPECT_EQ(quorvel_client_add_app_launch_condition(client, condition), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(53), all_set}));
    EXPECT_EQ(quorvel_client_remove_app_launch_condition(client, condition), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(54), all_set}));
    bool added = false;
    agent().answer_next_with(0, {flag(true)});
    EXPECT_EQ(quorvel_client_is_app_launch_condition_added(client, condition, &added), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(55), all_set}));
    EXPECT_TRUE(added);
    agent().answer_next_with(0, {flag(false)});
    EXPECT_EQ(quorvel_client_is_app_launch_condition_added(client, condition, &added), 0);
    EXPECT_FALSE(added);
}

TEST_F(Conditions, SendUnsetPropertiesAsEmptyTexts)
{
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_client_add_app_launch_condition(client, condition), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(53), unset}));
}

TEST_F(Conditions, LeaveTheTruthUntouchedWhenTheAgentRefuses)
{
    bool added = true;
    agent().answer_next_with(no_space, {flag(false)});
    EXPECT_EQ(quorvel_client_is_app_launch_condition_added(client, condition, &added), no_space);
    EXPECT_TRUE(added);
}

TEST_F(Conditions, OfTheAgentAreListedAndBelongToTheCaller)
{
    agent().answer_next_with(0, {count(2), all_set, unset, i32(9)});
    OwnedRecords conditions{destroy};
    EXPECT_EQ(quorvel_client_get_all_app_launch_conditions(client, conditions, conditions), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(56)}));
    ASSERT_EQ(conditions.count(), 2);
    EXPECT_EQ(conditions.list()[2], nullptr);
    OwnedText value;
    EXPECT_EQ(quorvel_client_app_launch_condition_get_string(conditions.list()[0], 6, value), 0);
    EXPECT_STREQ(value.get(), "six");
    char* none = nullptr;
    // The agent's empty text reads as none.
    EXPECT_EQ(quorvel_client_app_launch_condition_get_string(conditions.list()[1], 6, &none), 0);
    EXPECT_EQ(none, nullptr);
}

TEST_F(Conditions, OfAnAgentWithoutAnyAreNullAndNone)
{
    agent().answer_next_with(0, {count(0), i32(9)});
    int target = 0;
    void* element = &target;
    void** list = &element;
    int number = 7;
    EXPECT_EQ(quorvel_client_get_all_app_launch_conditions(client, &list, &number), 0);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(number, 0);
}

TEST_F(Conditions, BlameTheConditionInWordsOfEachFunctionsOwn)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    bool added = false;
    OwnedRecords list{destroy};

    constexpr auto add = "quorvel_client_add_app_launch_condition";
    refused(add, "invalid condition_h", quorvel_client_add_app_launch_condition(client, nullptr));
    refused(add, "rpc_h is null", quorvel_client_add_app_launch_condition(client, condition));

    constexpr auto remove = "quorvel_client_remove_app_launch_condition";
    refused(remove, "invalid condition handle", quorvel_client_remove_app_launch_condition(client, nullptr));
    refused(remove, "rpc_h is null", quorvel_client_remove_app_launch_condition(client, condition));

    constexpr auto is_added = "quorvel_client_is_app_launch_condition_added";
    refused(is_added, "invalid condition handle",
            quorvel_client_is_app_launch_condition_added(client, nullptr, nullptr));
    refused(is_added, "invalid condition handle",
            quorvel_client_is_app_launch_condition_added(client, nullptr, &added));
    refused(is_added, "invalid parameter",
            quorvel_client_is_app_launch_condition_added(client, condition, nullptr));
    refused(is_added, "rpc_h is null",
            quorvel_client_is_app_launch_condition_added(client, condition, &added));

    // Here it is the list that is missing.
    constexpr auto get_all = "quorvel_client_get_all_app_launch_conditions";
    refused(get_all, "invalid condition handle",
            quorvel_client_get_all_app_launch_conditions(client, nullptr, nullptr));
    refused(get_all, "invalid parameter",
            quorvel_client_get_all_app_launch_conditions(client, list, nullptr));
    refused(get_all, "rpc_h is null", quorvel_client_get_all_app_launch_conditions(client, list, list));
    proxy = taken;

    refused("quorvel_client_app_launch_condition_destroy", "quorvel_client condition is NULL",
            quorvel_client_app_launch_condition_destroy(nullptr));
    refused("quorvel_client_app_launch_condition_create", "invalid parameter",
            quorvel_client_app_launch_condition_create(nullptr));
}

TEST_F(Conditions, CreateAndDestroyLogTheirEntryAndTheOthersDoNot)
{
    OwnedText value;
    set(0, "app");
    get(0, value);
    EXPECT_THAT(log_of(public_tag), IsEmpty());
    quorvel_client_app_launch_condition_h other = nullptr;
    ASSERT_EQ(quorvel_client_app_launch_condition_create(&other), 0);
    ASSERT_EQ(quorvel_client_app_launch_condition_destroy(other), 0);
    EXPECT_THAT(log_of(public_tag),
                Lines(qc_info(source, "quorvel_client_app_launch_condition_create", "ENTER v[2.4.29]"),
                      qc_info(source, "quorvel_client_app_launch_condition_destroy", "ENTER v[2.4.29]")));
}

TEST_F(Conditions, RefuseToSetWithoutConditionOrValue)
{
    constexpr auto function = "quorvel_client_app_launch_condition_set_string";
    refused(function, "invalid parameter", quorvel_client_app_launch_condition_set_string(nullptr, 7, "app"));
    refused(function, "invalid parameter", set(7, nullptr));
    // So a property cannot be set back to empty.
    refused(function, "invalid parameter", set(0, ""));
}

TEST_F(Conditions, RefuseIdsThatTheyDoNotKnow)
{
    char untouched[] = "untouched";
    char* value = untouched;
    for (const int id : {7, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        const std::string message = "invalid property id [" + std::to_string(id) + "]";
        refused("quorvel_client_app_launch_condition_set_string", message.c_str(), set(id, "app"));
        refused("quorvel_client_app_launch_condition_get_string", message.c_str(), get(id, &value));
    }
    EXPECT_EQ(value, untouched);
}

TEST_F(Conditions, RefuseToGetWithoutConditionOrOutPointer)
{
    OwnedText value;
    constexpr auto function = "quorvel_client_app_launch_condition_get_string";
    refused(function, "invalid parameter", quorvel_client_app_launch_condition_get_string(nullptr, 7, value));
    refused(function, "invalid parameter", get(7, nullptr));
}

TEST_F(Conditions, ReadAPropertyThatWasNeverSetAsNull)
{
    for (int id = 0; id < 7; ++id) {
        char untouched[] = "untouched";
        char* value = untouched;
        EXPECT_EQ(get(id, &value), 0);
        EXPECT_EQ(value, nullptr);
    }
    EXPECT_THAT(log_of(public_tag), IsEmpty());
}

TEST_F(Conditions, TellALackOfMemoryWhenSettingWithoutALineOfTheirOwn)
{
    // The first copy comes before the id is looked at.
    for (const int id : {0, 7}) {
        FailingAllocation lack{1};
        EXPECT_EQ(set(id, "app"), out_of_memory);
        EXPECT_TRUE(lack.happened());
    }
    EXPECT_THAT(log(), IsEmpty());
    // The second is the record's.
    FailingAllocation lack{2};
    EXPECT_EQ(set(0, "app"), out_of_memory);
    EXPECT_TRUE(lack.happened());
    EXPECT_THAT(log_of(public_tag), IsEmpty());
}

TEST_F(Conditions, NameTheirOwnReaderWhenACopyFails)
{
    set_all();
    const char* const readers[] = {"app_id",        "device_id",      "res_uri",    "property_name",
                                   "property_type", "property_value", "bundle_json"};
    for (int id = 0; id < 7; ++id) {
        clear_log();
        char untouched[] = "untouched";
        char* value = untouched;
        FailingAllocation lack{1};
        EXPECT_EQ(get(id, &value), operation_failed);
        EXPECT_TRUE(lack.happened());
        EXPECT_EQ(value, untouched);
        EXPECT_EQ(errors().back(),
                  qc_error(source, "quorvel_client_app_launch_condition_get_string",
                           std::string("rpc_port_app_launch_condition_s_get_") + readers[id] + " failed"));
    }
}

TEST_F(Conditions, TellALackOfMemoryWhenMade)
{
    int target = 0;
    void* untouched = &target;
    FailingAllocation lack{1};
    EXPECT_EQ(quorvel_client_app_launch_condition_create(&untouched), operation_failed);
    EXPECT_TRUE(lack.happened());
    EXPECT_EQ(untouched, &target);
    EXPECT_EQ(errors().back(), qc_error(source, "quorvel_client_app_launch_condition_create",
                                        "rpc_port_app_launch_condition_s_create failed"));
}

}  // namespace
}  // namespace scripted
