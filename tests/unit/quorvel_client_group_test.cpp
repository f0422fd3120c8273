// Groups: quorvel_client_group.cpp over the scripted platform.
#include <quorvel_client_group.h>

#include <chrono>

#include "api_contract.hpp"
#include "callback_contract.hpp"
#include "connected_client.hpp"
#include "failing_allocations.hpp"
#include "home_values.hpp"

extern "C" {
void _group_list_cb(void* user_data, const char* event, const char* type, rpc_port_array_group_s_h groups,
                    int extra);
void _group_result_cb(void* request, const char* group_id, const char* second, int result);
int _parse_device_list(char** device_list, int count, const char* key, char*** values, int* value_count);
}

namespace scripted {
namespace {

using Group = OwnedRecord<rpc_port_group_s_h>;
using Groups = OwnedRecords<rpc_port_group_s_h>;

constexpr auto source = "quorvel_client_group";
constexpr int invalid_parameter = -22;
constexpr int out_of_memory = -12;

LogLine error(const char* function, const std::string& text)
{
    return qc_error(source, function, text);
}

void hear_list(int, int, quorvel_client_group_h* list, int count, const char*, void* heard)
{
    const Groups groups{rpc_port_group_s_destroy, list, count};
    static_cast<Heard*>(heard)->hear();
}

void hear_result(int, const char*, const char*, void* heard)
{
    static_cast<Heard*>(heard)->hear();
}

const auto with_group = [](auto function) {
    return with_record(rpc_port_group_s_create, rpc_port_group_s_destroy, function);
};

int add(quorvel_client_h client, quorvel_client_group_result_cb cb, void* user_data)
{
    return quorvel_client_add_group(client, "1st", "den", "3rd", "4th", "5th", cb, user_data);
}

int remove(quorvel_client_h client, quorvel_client_group_result_cb cb, void* user_data)
{
    return quorvel_client_remove_group(client, "g1", "2nd", cb, user_data);
}

int update(quorvel_client_h client, quorvel_client_group_result_cb cb, void* user_data)
{
    return quorvel_client_update_group(client, "g1", "2nd", "3rd", "4th", "5th", "6th", cb, user_data);
}

Contract::Call called(int (*command)(quorvel_client_h, quorvel_client_group_result_cb, void*))
{
    return [command](auto client) { return command(client, nullptr, nullptr); };
}

OneAnswer::Command heard(int (*command)(quorvel_client_h, quorvel_client_group_result_cb, void*))
{
    return [command](auto client, bool with_callback, Heard& heard) {
        return command(client, with_callback ? hear_result : nullptr, &heard);
    };
}

[[maybe_unused]] const bool contracts = register_contracts(
    source, {
                Contract("quorvel_client_get_group_list", {1, 0},
                         [](auto client) {
                             Groups groups{rpc_port_group_s_destroy};
                             return quorvel_client_get_group_list(client, 1, groups, groups);
                         })
                    .asks(20, "get_group_list", {count(0), i32(0)}),
                Contract("quorvel_client_get_group", {1, 0},
                         [](auto client) {
                             return quorvel_client_get_group(client, "g1", Group{rpc_port_group_s_destroy});
                         })
                    .asks(19, "get_group", GroupValues{}.on_the_wire()),
                Contract::local("quorvel_client_group_destroy", {1, 0},
                                destroys(rpc_port_group_s_create, rpc_port_group_s_destroy,
                                         quorvel_client_group_destroy)),
                Contract::local("quorvel_client_group_get_string", {1, 0}, with_group([](auto group) {
                                    return quorvel_client_group_get_string(group, 0, OwnedText{});
                                })),
                Contract::local("quorvel_client_group_get_string_array", {1, 0}, with_group([](auto group) {
                                    OwnedTexts list;
                                    return quorvel_client_group_get_string_array(group, 7, list, list);
                                })),
                Contract("quorvel_client_set_group_list_updated_cb", {1, 0},
                         [](auto client) {
                             return quorvel_client_set_group_list_updated_cb(client, hear_list, nullptr);
                         })
                    .asks(17, "set_group_list_cb"),
                Contract("quorvel_client_unset_group_list_updated_cb", {1, 0},
                         quorvel_client_unset_group_list_updated_cb)
                    .asks(18, "unset_group_list_cb"),
                Contract("quorvel_client_add_group", {1, 6}, called(add)).asks(87, "add_group"),
                Contract("quorvel_client_remove_group", {1, 6}, called(remove)).asks(88, "remove_group"),
                Contract("quorvel_client_update_group", {1, 6}, called(update)).asks(89, "update_group"),
            });

[[maybe_unused]] const bool repeating_callbacks = register_callbacks({
    RepeatingCallback("quorvel_client_set_group_list_updated_cb", source)
        .set([](auto client, Heard& heard) {
            return quorvel_client_set_group_list_updated_cb(client, hear_list, &heard);
        })
        .unset(quorvel_client_unset_group_list_updated_cb)
        .speaks(17, 18, 7, {text("add_group"), text("group"), list_of<GroupValues>({{.id = "g1"}}), i32(0)}),
});

const Values result_values = {text("g1"), text("second"), i32(5)};
constexpr auto delegate_name = "rpc_port_qv_client_group_result_cb_create";
[[maybe_unused]] const bool answers = register_callbacks({
    OneAnswer("quorvel_client_add_group", source)
        .command(heard(add))
        .answered(34, result_values, delegate_name),
    OneAnswer("quorvel_client_remove_group", source)
        .command(heard(remove))
        .answered(34, result_values, delegate_name),
    OneAnswer("quorvel_client_update_group", source)
        .command(heard(update))
        .answered(34, result_values, delegate_name),
});

class GroupTest : public ConnectedClient {
protected:
    void* received(const GroupValues& values)
    {
        agent().answer_next_with(0, values.on_the_wire());
        quorvel_client_group_h group = nullptr;
        EXPECT_EQ(quorvel_client_get_group(client, "g1", &group), 0);
        forget();
        return group;
    }

    std::string text_of(const GroupValues& values, int id)
    {
        const Group group{rpc_port_group_s_destroy, received(values)};
        OwnedText value;
        EXPECT_EQ(quorvel_client_group_get_string(group.get(), id, value), 0);
        return value.get() != nullptr ? value.get() : "(null)";
    }

    // The strings of a list, "(null)" for a missing one; that an empty list is NULL is checked.
    Strings texts_of(const GroupValues& values, int id)
    {
        const Group group{rpc_port_group_s_destroy, received(values)};
        OwnedTexts list;
        EXPECT_EQ(quorvel_client_group_get_string_array(group.get(), id, list, list), 0);
        EXPECT_EQ(list.list() == nullptr, list.count() == 0);
        if (list.list() != nullptr) {
            EXPECT_EQ(list.list()[list.count()], nullptr) << "one more slot ends the vector";
        }
        return list.strings();
    }

    Strings devices_of(const Strings& entries, int id = 7) { return texts_of({.devices = entries}, id); }

    const GroupValues all_different{.parent = "p0",
                                    .id = "g1",
                                    .name = "Living room",
                                    .nick = "Den",
                                    .owner = "ann",
                                    .type = "group",
                                    .image = "sofa.png",
                                    .devices = {R"({"v1":["a","b"],"v2":["c"]})"},
                                    .subgroups = {"s1", "s2"}};
};

class GroupList : public GroupTest {
protected:
    Groups groups_{rpc_port_group_s_destroy};
};

// ---------------------------------------------------------------------------------------------------------
// The list and one group

TEST_F(GroupList, SendsTheTypeAsAWord)
{
    agent().answer_next_with(0, {list_of<GroupValues>({{.id = "g1"}, {.id = "g2"}}), i32(99)});
    EXPECT_EQ(quorvel_client_get_group_list(client, 1, groups_, groups_), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(20), text("group")}));
    ASSERT_EQ(groups_.count(), 2);
    EXPECT_EQ(groups_.list()[2], nullptr);
    OwnedText second;
    quorvel_client_group_get_string(groups_.list()[1], 0, second);
    EXPECT_STREQ(second.get(), "g2");
}

TEST_F(GroupList, SendsTwoAsSubgroup)
{
    agent().answer_next_with(0, {count(0), i32(0)});
    EXPECT_EQ(quorvel_client_get_group_list(client, 2, groups_, groups_), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(20), text("subgroup")}));
    EXPECT_EQ(groups_.list(), nullptr);
    EXPECT_EQ(groups_.count(), 0);
}

TEST_F(GroupList, RefusesAnyOtherType)
{
    for (const int type : {-2147483647 - 1, -1, 0, 3, 2147483647}) {
        clear_log();
        EXPECT_EQ(quorvel_client_get_group_list(client, type, groups_, groups_), invalid_parameter);
        EXPECT_THAT(errors(), Lines(error("quorvel_client_get_group_list", "group_type is invalid")));
    }
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(GroupList, BlamesAMissingOutPointerBeforeTheTypeAndTheTypeBeforeTheProxy)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    void** list = nullptr;
    int count = 0;
    EXPECT_EQ(quorvel_client_get_group_list(client, 3, nullptr, &count), invalid_parameter);
    EXPECT_EQ(quorvel_client_get_group_list(client, 3, &list, nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_get_group_list(client, 3, &list, &count), invalid_parameter);
    proxy = taken;
    const auto out = error("quorvel_client_get_group_list", "invalid parameter");
    EXPECT_THAT(errors(), Lines(out, out, error("quorvel_client_get_group_list", "group_type is invalid")));
}

TEST_F(GroupList, LeavesTheOutValuesAloneWhenTheAgentRefuses)
{
    void* preset = nullptr;
    void** list = &preset;
    int count = 5;
    agent().answer_next_with(-61, {list_of<GroupValues>({{.id = "g1"}}), i32(0)});
    EXPECT_EQ(quorvel_client_get_group_list(client, 1, &list, &count), -61);
    EXPECT_EQ(list, &preset);
    EXPECT_EQ(count, 5);
}

TEST_F(GroupTest, SendsTheIdAndHandsTheGroupOut)
{
    agent().answer_next_with(0, all_different.on_the_wire());
    Group group{rpc_port_group_s_destroy};
    EXPECT_EQ(quorvel_client_get_group(client, "g1", group), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(19), text("g1")}));
    OwnedText name;
    EXPECT_EQ(quorvel_client_group_get_string(group.get(), 1, name), 0);
    EXPECT_STREQ(name.get(), "Living room");
}

TEST_F(GroupTest, BlamesTheIdBeforeTheMissingOutPointerAndBothBeforeTheProxy)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    EXPECT_EQ(quorvel_client_get_group(client, nullptr, nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_get_group(client, "", nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_get_group(client, "g1", nullptr), invalid_parameter);
    proxy = taken;
    const auto id = error("quorvel_client_get_group", "group id is invalid");
    EXPECT_THAT(errors(), Lines(id, id, error("quorvel_client_get_group", "invalid parameter")));
}

TEST_F(GroupTest, LeavesTheOutValueAloneWhenTheAgentRefuses)
{
    void* group = this;
    agent().answer_next_with(-61, all_different.on_the_wire());
    EXPECT_EQ(quorvel_client_get_group(client, "g1", &group), -61);
    EXPECT_EQ(group, this);
}

TEST_F(GroupTest, IsNotDestroyedWhenItIsMissing)
{
    EXPECT_EQ(quorvel_client_group_destroy(nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_group_destroy", "invalid parameter")));
}

// ---------------------------------------------------------------------------------------------------------
// Properties

TEST_F(GroupTest, ReadsEveryTextByItsNumber)
{
    const char* const values[] = {"g1", "Living room", "Den", "ann", "group", "sofa.png"};
    for (int id = 0; id < 6; ++id)
        EXPECT_EQ(text_of(all_different, id), values[id]) << "property " << id;
}

TEST_F(GroupTest, ReadsTheParentAsNumberSixAlthoughItIsTheFirstField)
{
    EXPECT_EQ(text_of(all_different, 6), "p0");
}

TEST_F(GroupTest, ReadsAnEmptyTextAsNull)
{
    for (int id = 0; id <= 6; ++id) {
        const Group group{rpc_port_group_s_destroy, received({})};
        char preset[] = "preset";
        char* value = preset;
        EXPECT_EQ(quorvel_client_group_get_string(group.get(), id, &value), 0);
        EXPECT_EQ(value, nullptr) << "property " << id;
    }
}

TEST_F(GroupTest, RefusesTheNumbersOfTheOtherGetterAndUnknownOnes)
{
    const Group group{rpc_port_group_s_destroy, received(all_different)};
    for (const int id : {-2147483647 - 1, -1, 7, 8, 9, 10, 2147483647}) {
        clear_log();
        char preset[] = "preset";
        char* value = preset;
        EXPECT_EQ(quorvel_client_group_get_string(group.get(), id, &value), invalid_parameter);
        EXPECT_EQ(value, preset);
        EXPECT_THAT(errors(), Lines(error("quorvel_client_group_get_string",
                                          "invalid property id [" + std::to_string(id) + "]")));
    }
    for (const int id : {-2147483647 - 1, -1, 0, 1, 2, 3, 4, 5, 6, 10, 2147483647}) {
        clear_log();
        char* preset = nullptr;
        char** list = &preset;
        int count = 77;
        EXPECT_EQ(quorvel_client_group_get_string_array(group.get(), id, &list, &count), invalid_parameter);
        EXPECT_EQ(list, &preset);
        EXPECT_EQ(count, 77);
        EXPECT_THAT(errors(), Lines(error("quorvel_client_group_get_string_array",
                                          "invalid property id [" + std::to_string(id) + "]")));
    }
}

TEST_F(GroupTest, BlamesAMissingPointerBeforeABadNumber)
{
    const Group group{rpc_port_group_s_destroy, received(all_different)};
    char* text = nullptr;
    char** list = nullptr;
    int count = 0;
    EXPECT_EQ(quorvel_client_group_get_string(nullptr, 99, &text), invalid_parameter);
    EXPECT_EQ(quorvel_client_group_get_string(group.get(), 99, nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_group_get_string_array(nullptr, 99, &list, &count), invalid_parameter);
    EXPECT_EQ(quorvel_client_group_get_string_array(group.get(), 99, nullptr, &count), invalid_parameter);
    EXPECT_EQ(quorvel_client_group_get_string_array(group.get(), 99, &list, nullptr), invalid_parameter);
    EXPECT_EQ(errors().size(), 5U);
    EXPECT_THAT(errors(), testing::Each(testing::Field("text", &LogLine::text, "invalid parameter")));
}

TEST_F(GroupTest, ReadsTheSubgroupsAsTheyAre)
{
    EXPECT_EQ(texts_of(all_different, 9), (Strings{"s1", "s2"}));
    EXPECT_EQ(texts_of({}, 9), Strings{});
}

// ---------------------------------------------------------------------------------------------------------
// The devices, which come as pieces of JSON

TEST_F(GroupTest, ReadsTheDevicesOfEachGeneration)
{
    EXPECT_EQ(texts_of(all_different, 7), (Strings{"a", "b"}));
    EXPECT_EQ(texts_of(all_different, 8), (Strings{"c"}));
}

TEST_F(GroupTest, TakesTheDevicesOfTheFirstEntryThatHasTheKeyAndNoOther)
{
    EXPECT_EQ(devices_of({R"({"v2":["x"]})", R"({"v1":["b","c"]})", R"({"v1":["d"]})"}), (Strings{"b", "c"}));
}

TEST_F(GroupTest, HasNoDevicesWhenNoEntryHasTheKey)
{
    EXPECT_EQ(devices_of({}), Strings{});
    EXPECT_EQ(devices_of({R"({"v2":["x"]})"}), Strings{});
    EXPECT_EQ(devices_of({"not json", "", "[\"v1\"]"}), Strings{});
}

TEST_F(GroupTest, PassesAnEntryThatIsNotJsonOverInSilence)
{
    EXPECT_EQ(devices_of({"{", R"({"v1":["b"]})"}), Strings{"b"});
    EXPECT_THAT(errors(), testing::IsEmpty());
}

TEST_F(GroupTest, LetsAMemberThatIsThereDecideAlsoWithoutItemsOrWhenItIsNoList)
{
    EXPECT_EQ(devices_of({R"({"v1":[]})", R"({"v1":["d"]})"}), Strings{});
    EXPECT_EQ(devices_of({R"({"v1":"b"})", R"({"v1":["d"]})"}), Strings{});
    EXPECT_EQ(devices_of({R"({"v1":{"a":"b"}})", R"({"v1":["d"]})"}), Strings{});
    EXPECT_EQ(devices_of({R"({"v1":null})", R"({"v1":["d"]})"}), Strings{});
}

TEST_F(GroupTest, HoldsANullForAnItemThatIsNoString)
{
    EXPECT_EQ(devices_of({R"({"v1":["b",5,null,["x"],""]})"}),
              (Strings{"b", "(null)", "(null)", "(null)", ""}));
}

TEST_F(GroupTest, FindsTheKeyHoweverItsLettersAreCased)
{
    EXPECT_EQ(devices_of({R"({"V1":["b"]})"}), Strings{"b"});
    EXPECT_EQ(devices_of({R"({"V2":["b"]})"}, 8), Strings{"b"});
}

TEST_F(GroupTest, ReadsAHundredThousandDevicesFast)
{
    std::string json = R"({"v1":["0")";
    for (int i = 1; i < 100'000; ++i)
        json += ",\"" + std::to_string(i) + '"';
    json += "]}";
    const Group group{rpc_port_group_s_destroy, received({.devices = {json}})};
    OwnedTexts list;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(quorvel_client_group_get_string_array(group.get(), 7, list, list), 0);
    // A walk by index takes minutes. Sanitizers and a busy machine need some room.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds{2});
    ASSERT_EQ(list.count(), 100'000);
    EXPECT_STREQ(list.list()[99'999], "99999");
}

TEST_F(GroupTest, RefusesJsonThatIsNestedTooDeeply)
{
    EXPECT_EQ(devices_of({R"({"v1":)" + std::string(1'000'000, '['), R"({"v1":["b"]})"}), Strings{"b"});
}

TEST_F(GroupTest, FailsWithoutMemoryForTheDevicesAndLeavesTheOutValuesAlone)
{
    const Group group{rpc_port_group_s_destroy, received(all_different)};
    int failures = 0;
    bool happened = true;
    for (int nth = 1; happened; ++nth) {
        clear_log();
        char* preset = nullptr;
        char** list = &preset;
        int count = 77;
        FailingAllocation failing{nth};
        const int code = quorvel_client_group_get_string_array(group.get(), 7, &list, &count);
        happened = failing.happened();
        if (code == 0) {
            for (int i = 0; list != nullptr && i < count; ++i)
                std::free(list[i]);
            std::free(list);
            continue;
        }
        ++failures;
        EXPECT_EQ(code, out_of_memory);
        EXPECT_EQ(list, &preset);
        EXPECT_EQ(count, 77);
        EXPECT_EQ(errors().back(), error("_parse_device_list", "Fail to calloc"));
    }
    EXPECT_EQ(failures, 3) << "the vector and its two strings";
}

TEST_F(GroupTest, ParsesTheDevicesOfAnyListForWhoeverLinksTheArchive)
{
    char entry[] = R"({"v2":["a"]})";
    char* entries[] = {nullptr, entry};
    char** values = nullptr;
    int count = -1;
    EXPECT_EQ(_parse_device_list(entries, 2, "v2", &values, &count), 0);
    ASSERT_EQ(count, 1);
    EXPECT_STREQ(values[0], "a");
    std::free(values[0]);
    std::free(values);
}

// ---------------------------------------------------------------------------------------------------------
// Events

class GroupEvent : public GroupTest {
protected:
    struct Told {
        int times = 0;
        int event = -1;
        int type = -1;
        Strings ids;
        std::string group_id;
    };

    void SetUp() override
    {
        GroupTest::SetUp();
        const auto cb = [](int event, int type, quorvel_client_group_h* list, int count, const char* group_id,
                           void* user_data) {
            auto& now = *static_cast<Told*>(user_data);
            const Groups groups{rpc_port_group_s_destroy, list, count};
            now.ids.clear();
            for (int i = 0; i < count; ++i) {
                OwnedText id;
                quorvel_client_group_get_string(list[i], 0, id);
                now.ids.emplace_back(id.get() != nullptr ? id.get() : "(null)");
            }
            ++now.times;
            now.event = event;
            now.type = type;
            now.group_id = group_id != nullptr ? group_id : "(null)";
        };
        agent().answer_next_with(0);
        ASSERT_EQ(quorvel_client_set_group_list_updated_cb(client, cb, &told), 0);
        forget();
    }

    void fire(const std::string& event, const std::string& type, const Strings& ids)
    {
        std::vector<GroupValues> groups;
        for (const std::string& id : ids)
            groups.push_back({.id = id});
        agent().fire(7, 1, false, {text(event), text(type), list_of(groups), i32(99)});
    }

    Told told;
};

TEST_F(GroupEvent, HandsOverEventTypeListCountIdAndUserData)
{
    fire("delete_group", "subgroup", {"g7"});
    EXPECT_EQ(told.times, 1);
    EXPECT_EQ(told.event, 3);
    EXPECT_EQ(told.type, 2);
    EXPECT_EQ(told.ids, Strings{"g7"});
    EXPECT_EQ(told.group_id, "g7");
}

TEST_F(GroupEvent, TellsTheEventByItsExactWord)
{
    const std::pair<const char*, int> events[] = {{"add_group", 1},  {"update_group", 2}, {"delete_group", 3},
                                                  {"ADD_GROUP", 0},  {"add_group_x", 0},  {"", 0},
                                                  {"move_group", 0}, {"add_scene", 0}};
    for (const auto& [word, number] : events) {
        fire(word, "group", {});
        EXPECT_EQ(told.event, number) << word;
    }
}

TEST_F(GroupEvent, TakesAnyTypeButSubgroupForAGroup)
{
    const std::pair<const char*, int> types[] = {
        {"group", 1}, {"subgroup", 2}, {"SUBGROUP", 1}, {"subgroups", 1}, {"", 1}};
    for (const auto& [word, number] : types) {
        fire("add_group", word, {});
        EXPECT_EQ(told.type, number) << word;
    }
}

TEST_F(GroupEvent, TellsTheIdOfTheOnlyGroupWhateverTheEventIs)
{
    fire("something_else", "group", {"g7"});
    EXPECT_EQ(told.event, 0);
    EXPECT_EQ(told.group_id, "g7");
}

TEST_F(GroupEvent, TellsNoIdOfNoneOrOfTwoGroups)
{
    fire("add_group", "group", {});
    EXPECT_EQ(told.group_id, "(null)");
    EXPECT_EQ(told.ids, Strings{});
    fire("add_group", "group", {"g7", "g8"});
    EXPECT_EQ(told.group_id, "(null)");
    EXPECT_EQ(told.ids, (Strings{"g7", "g8"}));
}

TEST_F(GroupEvent, WithoutUserDataIsLogged)
{
    _group_list_cb(nullptr, "add_group", "group", nullptr, 0);
    EXPECT_THAT(errors(), Lines(error("_group_list_cb", "No user data")));
    EXPECT_THAT(log(), HasLine(qc_info(source, "_group_list_cb", "ENTER v[2.4.29]")));
}

TEST_F(GroupTest, EventWithoutACallbackIsLogged)
{
    _group_list_cb(client, "add_group", "group", nullptr, 0);
    EXPECT_THAT(errors(), Lines(error("_group_list_cb", "No group list cb")));
}

TEST_F(GroupEvent, ThatCannotBeCopiedIsLogged)
{
    _group_list_cb(client, "add_group", "group", nullptr, 0);
    EXPECT_EQ(told.times, 0);
    EXPECT_EQ(errors().back(),
              error("_group_list_cb", "rpc_port_array_group_s_get_array_group_ss is failed"));
}

// ---------------------------------------------------------------------------------------------------------
// Commands

TEST_F(GroupTest, SettingNoCallbackIsRefusedBeforeTheProxyIsLookedFor)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    EXPECT_EQ(quorvel_client_set_group_list_updated_cb(client, nullptr, this), invalid_parameter);
    proxy = taken;
    EXPECT_THAT(errors(), Lines(error("quorvel_client_set_group_list_updated_cb", "user_cb is NULL")));
}

TEST_F(GroupTest, CommandsSendTheirStringsInOrderAndThenTheDelegate)
{
    agent().otherwise_answer(0);
    EXPECT_EQ(add(client, hear_result, nullptr), 0);
    EXPECT_EQ(remove(client, hear_result, nullptr), 0);
    EXPECT_EQ(update(client, hear_result, nullptr), 0);
    EXPECT_EQ(agent().requests(),
              (std::vector<Sent>{{i32(87), text("1st"), text("den"), text("3rd"), text("4th"), text("5th"),
                                  delegate(34, 1, true)},
                                 {i32(88), text("g1"), text("2nd"), delegate(34, 2, true)},
                                 {i32(89), text("g1"), text("2nd"), text("3rd"), text("4th"), text("5th"),
                                  text("6th"), delegate(34, 3, true)}}));
}

TEST_F(GroupTest, CommandsSendAbsentStringsAsEmptyOnes)
{
    agent().otherwise_answer(0);
    EXPECT_EQ(quorvel_client_add_group(client, nullptr, "den", nullptr, nullptr, nullptr, nullptr, nullptr),
              0);
    EXPECT_EQ(quorvel_client_remove_group(client, "g1", nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(quorvel_client_update_group(client, "g1", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                          nullptr),
              0);
    EXPECT_EQ(
        agent().requests(),
        (std::vector<Sent>{
            {i32(87), text(""), text("den"), text(""), text(""), text(""), delegate(34, 1, true)},
            {i32(88), text("g1"), text(""), delegate(34, 2, true)},
            {i32(89), text("g1"), text(""), text(""), text(""), text(""), text(""), delegate(34, 3, true)}}));
}

TEST_F(GroupTest, CommandsExamineOneStringEachBeforeTheProxy)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    for (const char* missing : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(quorvel_client_add_group(client, "1st", missing, "3rd", "4th", "5th", nullptr, nullptr),
                  invalid_parameter);
        EXPECT_EQ(quorvel_client_remove_group(client, missing, "2nd", nullptr, nullptr), invalid_parameter);
        EXPECT_EQ(
            quorvel_client_update_group(client, missing, "2nd", "3rd", "4th", "5th", "6th", nullptr, nullptr),
            invalid_parameter);
    }
    proxy = taken;
    const auto name = error("quorvel_client_add_group", "group_name is invalid");
    const auto removed = error("quorvel_client_remove_group", "group_id is invalid");
    const auto updated = error("quorvel_client_update_group", "group_id is invalid");
    EXPECT_THAT(errors(), Lines(name, removed, updated, name, removed, updated));
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(GroupTest, ResultIsToldAsTheThirdValueThenTheFirstThenTheSecond)
{
    struct Told {
        int result = 0;
        std::string first, second;
    } told;
    const auto cb = [](int result, const char* group_id, const char* second, void* user_data) {
        *static_cast<Told*>(user_data) = {result, group_id, second};
    };
    agent().answer_next_with(0);
    ASSERT_EQ(add(client, cb, &told), 0);
    clear_log();
    agent().fire(34, 1, true, {text("g9"), text("made"), i32(-61)});
    EXPECT_EQ(told.result, -61);
    EXPECT_EQ(told.first, "g9");
    EXPECT_EQ(told.second, "made");
    EXPECT_THAT(log_of(public_tag),
                Lines(qc_info(source, "_group_result_cb", "ENTER v[2.4.29]"),
                      qc_line(DLOG_DEBUG, source, "_group_result_cb", "_group_result_cb group id [g9]")));
}

TEST_F(GroupTest, ResultWithoutARequestOrTextsIsDropped)
{
    _group_result_cb(nullptr, nullptr, nullptr, 0);
    EXPECT_THAT(log(), HasLine(qc_line(DLOG_DEBUG, source, "_group_result_cb",
                                       "_group_result_cb group id [(null)]")));
    EXPECT_THAT(errors(), testing::IsEmpty());
}

}  // namespace
}  // namespace scripted
