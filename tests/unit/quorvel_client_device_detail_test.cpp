// Device details: quorvel_client_device_detail.cpp over the scripted platform.
#include <quorvel_client_device_detail.h>
#include <quorvel_client_qc_api.h>

#include <algorithm>
#include <chrono>

#include "api_contract.hpp"
#include "callback_contract.hpp"
#include "connected_client.hpp"
#include "failing_allocations.hpp"
#include "home_values.hpp"

extern "C" void _device_detail_list_cb(void* user_data, rpc_port_array_device_detail_s_h details, int extra);

namespace scripted {
namespace {

using Details = OwnedRecords<rpc_port_device_detail_s_h>;
using Detail = OwnedRecord<rpc_port_device_detail_s_h>;

constexpr auto source = "quorvel_client_device_detail";
constexpr auto handler = "_device_detail_list_cb";
constexpr int invalid_parameter = -22;
constexpr int operation_failed = -1073741825;
constexpr int lower_version = -1073741830;

LogLine error(const char* function, const std::string& text)
{
    return qc_error(source, function, text);
}

void hear_list(quorvel_client_device_detail_h* list, int count, void* heard)
{
    const Details details{rpc_port_device_detail_s_destroy, list, count};
    static_cast<Heard*>(heard)->hear();
}

const auto with_detail = [](auto function) {
    return with_record(rpc_port_device_detail_s_create, rpc_port_device_detail_s_destroy, function);
};

[[maybe_unused]] const bool contracts = register_contracts(
    source,
    {
        Contract("quorvel_client_get_device_detail_list", {1, 0},
                 [](auto client) {
                     Details details{rpc_port_device_detail_s_destroy};
                     // The question whether the agent is caching comes first.
                     agent().answer_next_with(0, {flag(false)});
                     return quorvel_client_get_device_detail_list(client, details, details);
                 })
            .asks(16, "get_device_detail_list", {count(0), i32(0)})
            .with_codes_of_its_own(),
        Contract("quorvel_client_get_device_detail", {1, 0},
                 [](auto client) {
                     return quorvel_client_get_device_detail(client, "lamp",
                                                             Detail{rpc_port_device_detail_s_destroy});
                 })
            .asks(15, "get_device_detail", DetailValues{}.on_the_wire()),
        Contract::local("quorvel_client_device_detail_destroy", {1, 0},
                        destroys(rpc_port_device_detail_s_create, rpc_port_device_detail_s_destroy,
                                 quorvel_client_device_detail_destroy)),
        Contract::local("quorvel_client_device_detail_get_int", {1, 0}, with_detail([](auto detail) {
                            int value = 0;
                            return quorvel_client_device_detail_get_int(detail, 12, &value);
                        })),
        Contract::local("quorvel_client_device_detail_get_string", {1, 0}, with_detail([](auto detail) {
                            return quorvel_client_device_detail_get_string(detail, 0, OwnedText{});
                        })),
        Contract::local("quorvel_client_device_detail_get_string_array", {1, 0}, with_detail([](auto detail) {
                            OwnedTexts list;
                            return quorvel_client_device_detail_get_string_array(detail, 1, list, list);
                        })),
        Contract("quorvel_client_set_device_detail_list_updated_cb", {1, 0},
                 [](auto client) {
                     return quorvel_client_set_device_detail_list_updated_cb(client, hear_list, nullptr);
                 })
            .asks(13, "set_device_detail_list_cb"),
        Contract("quorvel_client_unset_device_detail_list_updated_cb", {1, 0},
                 quorvel_client_unset_device_detail_list_updated_cb)
            .asks(14, "unset_device_detail_list_cb"),
    });

[[maybe_unused]] const bool callbacks = register_callbacks({
    RepeatingCallback("quorvel_client_set_device_detail_list_updated_cb", source)
        .set([](auto client, Heard& heard) {
            return quorvel_client_set_device_detail_list_updated_cb(client, hear_list, &heard);
        })
        .unset(quorvel_client_unset_device_detail_list_updated_cb)
        .speaks(13, 14, 5, {list_of<DetailValues>({{.id = "lamp"}}), i32(0)}),
});

class DeviceDetail : public ConnectedClient {
protected:
    // What the agent says of the lamp.
    void* received(const DetailValues& values)
    {
        agent().answer_next_with(0, values.on_the_wire());
        quorvel_client_device_detail_h detail = nullptr;
        EXPECT_EQ(quorvel_client_get_device_detail(client, "lamp", &detail), 0);
        forget();
        return detail;
    }

    static int read_int(const DetailValues& values, int id, int* value, DeviceDetail& test)
    {
        const Detail detail{rpc_port_device_detail_s_destroy, test.received(values)};
        return quorvel_client_device_detail_get_int(detail.get(), id, value);
    }

    int state_of(const std::string& word)
    {
        int state = -1;
        EXPECT_EQ(read_int({.state = word}, 5, &state, *this), 0);
        return state;
    }

    // The text of a property; "(null)" for none.
    std::string text_of(const DetailValues& values, int id)
    {
        const Detail detail{rpc_port_device_detail_s_destroy, received(values)};
        char* value = strdup("preset");
        char* const preset = value;
        EXPECT_EQ(quorvel_client_device_detail_get_string(detail.get(), id, &value), 0);
        const std::string read = value != nullptr ? value : "(null)";
        std::free(preset);
        if (value != preset)
            std::free(value);
        return read;
    }

    int code_of(const DetailValues& values, int id)
    {
        const Detail detail{rpc_port_device_detail_s_destroy, received(values)};
        return quorvel_client_device_detail_get_string(detail.get(), id, OwnedText{});
    }

    Strings texts_of(const DetailValues& values, int id)
    {
        const Detail detail{rpc_port_device_detail_s_destroy, received(values)};
        OwnedTexts list;
        EXPECT_EQ(quorvel_client_device_detail_get_string_array(detail.get(), id, list, list), 0);
        EXPECT_EQ(list.list() == nullptr, list.count() == 0);
        return list.strings();
    }

    const DetailValues all_different{
        .resource_count = 7,
        .id = "lamp",
        .name = "Lamp A1",
        .prefix = "den",
        .state = "INACTIVE",
        .nick = "Sun",
        .color = "white",
        .locale = "de_DE",
        .firmware = "1.2.3",
        .manufacturer = "Norvik",
        .vid = "VID-1",
        .types = {"light", "dimmer"},
        .observable_uris = {"/power"},
        .uris = {"/power", "/level", "/color"},
        .reserved = R"({"group_id":"g1","ui_meta_ver":"v7","subgroup_id":"s3"})"};
};

class DeviceDetailOfAnAgentOf1_1 : public DeviceDetail {
protected:
    std::string version() const override { return "1.1.9"; }
};

class DeviceDetailOfAnAgentOf1_2 : public DeviceDetail {
protected:
    std::string version() const override { return "1.2.0"; }
};

// ---------------------------------------------------------------------------------------------------------
// The list

class DeviceDetailList : public DeviceDetail {
protected:
    int get() { return quorvel_client_get_device_detail_list(client, details_, details_); }
    LogLine flag_line(int flag) const
    {
        return qc_line(DLOG_DEBUG, source, "quorvel_client_get_device_detail_list",
                       "is_caching[" + std::to_string(flag) + "]");
    }
    static Values two_details()
    {
        return {list_of<DetailValues>({{.id = "lamp", .nick = "Sun"}, {.id = "fan", .nick = "Wind"}}),
                i32(99)};
    }

    Details details_{rpc_port_device_detail_s_destroy};
};

TEST_F(DeviceDetailList, AsksWhetherTheAgentIsCachingAndThenForTheList)
{
    agent().answer_next_with(0, {flag(true)});
    agent().answer_next_with(0, two_details());
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(agent().requests(), (std::vector<Sent>{{i32(57)}, {i32(16)}}));
    ASSERT_EQ(details_.count(), 2);
    OwnedText first, second;
    quorvel_client_device_detail_get_string(details_.list()[0], 0, first);
    quorvel_client_device_detail_get_string(details_.list()[1], 3, second);
    EXPECT_STREQ(first.get(), "lamp");
    EXPECT_STREQ(second.get(), "Wind");
    EXPECT_EQ(details_.list()[2], nullptr) << "one more slot ends the vector";
    EXPECT_THAT(log(), HasLine(flag_line(1)));
}

TEST_F(DeviceDetailList, WarnsOfEachListThatIsEmptyForItsDevicesAreHandedOutAsCopies)
{
    agent().answer_next_with(0, {flag(false)});
    agent().answer_next_with(
        0, {list_of<DetailValues>(
                {{.id = "lamp"}, {.id = "fan", .types = {"fan"}, .uris = {"/power"}}, all_different}),
            i32(0)});
    EXPECT_EQ(get(), 0);
    ASSERT_EQ(details_.count(), 3);
    const auto warning = [](const char* list) {
        return scripted::proxy_warning("rpc_port_device_detail_s_clone", std::string{list} + " is empty");
    };
    EXPECT_THAT(log(), HasLineTimes(warning("device_type"), 1));
    EXPECT_THAT(log(), HasLineTimes(warning("observable_resource_uris"), 2));
    EXPECT_THAT(log(), HasLineTimes(warning("resource_uris"), 1));
}

TEST_F(DeviceDetailList, IsAskedForAlsoWhenTheQuestionIsRefusedAndTheFlagKeepsItsValue)
{
    agent().answer_next_with(-28, {flag(true)});
    agent().answer_next_with(0, two_details());
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(details_.count(), 2);
    EXPECT_THAT(log(), HasLine(flag_line(0)));
}

TEST_F(DeviceDetailList, KeepsASetFlagWhenTheQuestionIsRefused)
{
    agent().answer_next_with(0, {flag(true)});
    agent().answer_next_with(0, {count(0), i32(0)});
    EXPECT_EQ(get(), 0);
    agent().answer_next_with(-28, {flag(false)});
    agent().answer_next_with(0, {count(0), i32(0)});
    EXPECT_EQ(get(), 0);
    EXPECT_THAT(log(), HasLineTimes(flag_line(1), 2));
}

TEST_F(DeviceDetailList, IsAskedForAlsoWhenTheQuestionGetsNoAnswer)
{
    agent().no_answer_next();
    agent().answer_next_with(0, two_details());
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(details_.count(), 2);
}

TEST_F(DeviceDetailList, OfNoDevicesIsNullAndZero)
{
    int count = 5;
    void* preset = nullptr;
    void** list = &preset;
    agent().answer_next_with(0, {flag(false)});
    agent().answer_next_with(0, {scripted::count(0), i32(0)});
    EXPECT_EQ(quorvel_client_get_device_detail_list(client, &list, &count), 0);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(count, 0);
}

TEST_F(DeviceDetailList, RefusesAMissingOutPointerBeforeItLooksForTheProxy)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    void** list = nullptr;
    int count = 0;
    EXPECT_EQ(quorvel_client_get_device_detail_list(client, nullptr, &count), invalid_parameter);
    EXPECT_EQ(quorvel_client_get_device_detail_list(client, &list, nullptr), invalid_parameter);
    proxy = taken;
    const auto line = error("quorvel_client_get_device_detail_list", "invalid parameter");
    EXPECT_THAT(errors(), Lines(line, line));
}

TEST_F(DeviceDetailList, LeavesTheOutValuesAloneWhenTheAgentRefuses)
{
    void* preset = nullptr;
    void** list = &preset;
    int count = 5;
    agent().answer_next_with(0, {flag(false)});
    agent().answer_next_with(-61, two_details());
    EXPECT_EQ(quorvel_client_get_device_detail_list(client, &list, &count), -61);
    EXPECT_EQ(list, &preset);
    EXPECT_EQ(count, 5);
    EXPECT_THAT(errors(),
                Lines(error("quorvel_client_get_device_detail_list",
                            "rpc_port_proxy_qv_client_invoke_get_device_detail_list is failed [-61]")));
}

TEST_F(DeviceDetailList, ReportsACodeOutsideTheTableAsUnknown)
{
    agent().answer_next_with(0, {flag(false)});
    agent().answer_next_with(-7, {count(0), i32(0)});
    EXPECT_EQ(get(), -1073741824);
    EXPECT_THAT(
        errors(),
        Lines(qc_error("quorvel_client", "quorvel_client_get_error_code", "Unknown error [-7]"),
              error("quorvel_client_get_device_detail_list",
                    "rpc_port_proxy_qv_client_invoke_get_device_detail_list is failed [-1073741824]")));
}

TEST_F(DeviceDetailList, ReportsMissingAnswersAsUnknown)
{
    EXPECT_EQ(get(), -1073741824);
    EXPECT_EQ(agent().requests().size(), 2U);
}

TEST_F(DeviceDetailList, HoldsSubscriptionsBackWhileTheAgentIsCachingUntilTheFirstEvent)
{
    const auto subscribe = [this] {
        return quorvel_client_subscribe(
            client, "lamp", "/power", "oic.r.switch.binary",
            [](const char*, const char*, const char*, const char*, const char*, const char*, void*) {},
            nullptr);
    };
    Heard heard;
    agent().answer_next_with(0);
    ASSERT_EQ(quorvel_client_set_device_detail_list_updated_cb(client, hear_list, &heard), 0);
    agent().answer_next_with(0, {flag(true)});
    agent().answer_next_with(0, {count(0), i32(0)});
    ASSERT_EQ(get(), 0);
    EXPECT_EQ(subscribe(), -61);
    agent().fire(5, 1, false, {count(0), i32(0)});
    agent().answer_next_with(0);
    EXPECT_EQ(subscribe(), 0);
}

// ---------------------------------------------------------------------------------------------------------
// One device

TEST_F(DeviceDetail, SendsTheIdAndHandsOutACopy)
{
    agent().answer_next_with(0, all_different.on_the_wire());
    Detail detail{rpc_port_device_detail_s_destroy};
    EXPECT_EQ(quorvel_client_get_device_detail(client, "lamp", detail), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(15), text("lamp")}));
    OwnedText nick;
    EXPECT_EQ(quorvel_client_device_detail_get_string(detail.get(), 3, nick), 0);
    EXPECT_STREQ(nick.get(), "Sun");
}

TEST_F(DeviceDetail, RefusesBadArgumentsBeforeItLooksForTheProxy)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    void* detail = &proxy;
    EXPECT_EQ(quorvel_client_get_device_detail(client, nullptr, &detail), invalid_parameter);
    EXPECT_EQ(quorvel_client_get_device_detail(client, "", &detail), invalid_parameter);
    EXPECT_EQ(quorvel_client_get_device_detail(client, "lamp", nullptr), invalid_parameter);
    proxy = taken;
    EXPECT_EQ(detail, &proxy);
    const auto line = error("quorvel_client_get_device_detail", "invalid parameter");
    EXPECT_THAT(errors(), Lines(line, line, line));
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(DeviceDetail, LeavesTheOutValueAloneWhenTheAgentRefuses)
{
    void* detail = this;
    agent().answer_next_with(-61, all_different.on_the_wire());
    EXPECT_EQ(quorvel_client_get_device_detail(client, "lamp", &detail), -61);
    EXPECT_EQ(detail, this);
}

TEST_F(DeviceDetail, FailsWithoutMemoryForTheCopyAndLeavesTheOutValueAlone)
{
    bool was_seen = false;
    bool happened = true;
    for (int nth = 1; happened; ++nth) {
        forget();
        agent().answer_next_with(0, all_different.on_the_wire());
        void* detail = this;
        FailingAllocation failing{nth};
        const int code = quorvel_client_get_device_detail(client, "lamp", &detail);
        happened = failing.happened();
        if (code == 0) {
            rpc_port_device_detail_s_destroy(static_cast<rpc_port_device_detail_s_h>(detail));
            continue;
        }
        EXPECT_EQ(detail, this);
        if (code == operation_failed) {
            was_seen = true;
            EXPECT_EQ(errors().back(),
                      error("quorvel_client_get_device_detail", "rpc_port_device_detail_s_clone is failed"));
        }
    }
    EXPECT_TRUE(was_seen);
}

TEST_F(DeviceDetail, IsNotDestroyedWhenItIsMissing)
{
    EXPECT_EQ(quorvel_client_device_detail_destroy(nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_device_detail_destroy", "invalid parameter")));
}

// ---------------------------------------------------------------------------------------------------------
// Properties

TEST_F(DeviceDetail, ReadsEveryTextByItsNumber)
{
    const std::pair<int, const char*> properties[] = {
        {0, "lamp"}, {2, "Lamp A1"}, {3, "Sun"},     {4, "den"},    {6, "white"}, {7, "de_DE"},
        {8, "g1"},   {9, "1.2.3"},   {10, "Norvik"}, {11, "VID-1"}, {15, "v7"},   {16, "s3"}};
    for (const auto& [id, value] : properties)
        EXPECT_EQ(text_of(all_different, id), value) << "property " << id;
}

TEST_F(DeviceDetail, ReadsEveryListByItsNumber)
{
    EXPECT_EQ(texts_of(all_different, 1), (Strings{"light", "dimmer"}));
    EXPECT_EQ(texts_of(all_different, 13), (Strings{"/power", "/level", "/color"}));
    EXPECT_EQ(texts_of(all_different, 14), (Strings{"/power"}));
}

TEST_F(DeviceDetail, ReadsTheNumberOfResources)
{
    int value = -1;
    EXPECT_EQ(read_int(all_different, 12, &value, *this), 0);
    EXPECT_EQ(value, 7);
}

TEST_F(DeviceDetail, ReadsAnEmptyTextAsNullAndAnEmptyListAsNullAndZero)
{
    for (const int id : {0, 2, 3, 4, 6, 7, 8, 9, 10, 11, 15, 16})
        EXPECT_EQ(text_of({}, id), "(null)") << "property " << id;
    for (const int id : {1, 13, 14}) {
        char* preset = nullptr;
        char** list = &preset;
        int count = 5;
        const Detail detail{rpc_port_device_detail_s_destroy, received({})};
        EXPECT_EQ(quorvel_client_device_detail_get_string_array(detail.get(), id, &list, &count), 0);
        EXPECT_EQ(list, nullptr);
        EXPECT_EQ(count, 0);
    }
}

TEST_F(DeviceDetail, RefusesTheNumbersOfOtherGettersAndUnknownOnes)
{
    const Detail detail{rpc_port_device_detail_s_destroy, received(all_different)};
    const std::vector<int> texts = {0, 2, 3, 4, 6, 7, 8, 9, 10, 11, 15, 16};
    const std::vector<int> lists = {1, 13, 14};
    const std::vector<int> numbers = {5, 12};
    const auto is_in = [](const std::vector<int>& ids, int id) {
        return std::find(ids.begin(), ids.end(), id) != ids.end();
    };
    for (const int id :
         {-2147483647 - 1, -1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 2147483647}) {
        clear_log();
        const std::string message = "invalid property id [" + std::to_string(id) + "]";
        OwnedText text;
        EXPECT_EQ(quorvel_client_device_detail_get_string(detail.get(), id, text),
                  is_in(texts, id) ? 0 : invalid_parameter);
        EXPECT_THAT(errors(), testing::Contains(error("quorvel_client_device_detail_get_string", message))
                                  .Times(is_in(texts, id) ? 0 : 1));
        OwnedTexts list;
        EXPECT_EQ(quorvel_client_device_detail_get_string_array(detail.get(), id, list, list),
                  is_in(lists, id) ? 0 : invalid_parameter);
        EXPECT_THAT(errors(),
                    testing::Contains(error("quorvel_client_device_detail_get_string_array", message))
                        .Times(is_in(lists, id) ? 0 : 1));
        int value = 77;
        EXPECT_EQ(quorvel_client_device_detail_get_int(detail.get(), id, &value),
                  is_in(numbers, id) ? 0 : invalid_parameter);
        EXPECT_EQ(value == 77, !is_in(numbers, id)) << "a refused getter leaves the out-value alone";
        EXPECT_THAT(errors(), testing::Contains(error("quorvel_client_device_detail_get_int", message))
                                  .Times(is_in(numbers, id) ? 0 : 1));
    }
}

TEST_F(DeviceDetail, BlamesAMissingPointerBeforeABadNumber)
{
    const Detail detail{rpc_port_device_detail_s_destroy, received(all_different)};
    char* text = nullptr;
    char** list = nullptr;
    int value = 0;
    EXPECT_EQ(quorvel_client_device_detail_get_int(nullptr, 99, &value), invalid_parameter);
    EXPECT_EQ(quorvel_client_device_detail_get_int(detail.get(), 99, nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_device_detail_get_string(nullptr, 99, &text), invalid_parameter);
    EXPECT_EQ(quorvel_client_device_detail_get_string(detail.get(), 99, nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_device_detail_get_string_array(nullptr, 99, &list, &value), invalid_parameter);
    EXPECT_EQ(quorvel_client_device_detail_get_string_array(detail.get(), 99, nullptr, &value),
              invalid_parameter);
    EXPECT_EQ(quorvel_client_device_detail_get_string_array(detail.get(), 99, &list, nullptr),
              invalid_parameter);
    EXPECT_EQ(errors().size(), 7U);
    EXPECT_THAT(errors(), testing::Each(testing::Field("text", &LogLine::text, "invalid parameter")));
}

TEST_F(DeviceDetail, TellsTheStateByTheBeginningOfItsWord)
{
    EXPECT_EQ(state_of("CONNECTED"), 0);
    EXPECT_EQ(state_of("CONNECTEDX"), 0);
    EXPECT_EQ(state_of("DISCONNECTED"), 1);
    EXPECT_EQ(state_of("DISCONNECTED_BY_USER"), 1);
    EXPECT_EQ(state_of("DISCONNECTE"), 1) << "only eleven characters are compared";
    EXPECT_EQ(state_of("DISCONNECT"), 3);
    EXPECT_EQ(state_of("INACTIVE"), 2);
    EXPECT_EQ(state_of("INACTIVE_SINCE_MAY"), 2);
    EXPECT_EQ(state_of("OFFLINE"), 3);
    EXPECT_EQ(state_of("connected"), 3);
}

TEST_F(DeviceDetail, ReadsAnEmptyOrAbsentStateAsConnected)
{
    EXPECT_EQ(state_of(""), 0);
    rpc_port_device_detail_s_h absent = nullptr;
    ASSERT_EQ(rpc_port_device_detail_s_create(&absent), 0);
    int state = -1;
    EXPECT_EQ(quorvel_client_device_detail_get_int(absent, 5, &state), 0);
    EXPECT_EQ(state, 0);
    rpc_port_device_detail_s_destroy(absent);
}

// ---------------------------------------------------------------------------------------------------------
// What newer agents keep in `reserved`

TEST_F(DeviceDetailOfAnAgentOf1_1, ReadsTheWholeOfReservedAsTheGroupId)
{
    EXPECT_EQ(text_of({.reserved = R"({"group_id":"g1"})"}, 8), R"({"group_id":"g1"})");
    EXPECT_EQ(text_of({.reserved = "g1"}, 8), "g1");
    EXPECT_EQ(text_of({.reserved = ""}, 8), "(null)");
}

TEST_F(DeviceDetailOfAnAgentOf1_1, HasNoUiMetadataVersionAndNoSubgroupId)
{
    for (const int id : {15, 16}) {
        clear_log();
        EXPECT_EQ(code_of(all_different, id), lower_version);
        EXPECT_THAT(errors(), Lines(error("quorvel_client_device_detail_get_string", "Lower version error")));
    }
}

// Nobody can be connected to it, but a record may be read all the same.
TEST_F(Scripted, DeviceDetailOfAnAgentOfUnknownVersionHasNoUiMetadataVersionAndNoSubgroupId)
{
    rpc_port_device_detail_s_h detail = nullptr;
    ASSERT_EQ(rpc_port_device_detail_s_create(&detail), 0);
    agent().install("2.4.0");
    agent().package_version_unreadable();
    for (const int id : {15, 16}) {
        clear_log();
        EXPECT_EQ(quorvel_client_device_detail_get_string(detail, id, OwnedText{}), lower_version);
        EXPECT_THAT(errors(), Lines(qc_error("quorvel_client", "check_agent", "Lower version error"),
                                    error("quorvel_client_device_detail_get_string",
                                          "Fail to check condition[-1073741830]")));
    }
    rpc_port_device_detail_s_destroy(detail);
}

TEST_F(DeviceDetailOfAnAgentOf1_2, ReadsValuesOutOfTheJson)
{
    EXPECT_EQ(text_of(all_different, 8), "g1");
    EXPECT_EQ(text_of(all_different, 15), "v7");
    EXPECT_EQ(text_of(all_different, 16), "s3");
}

TEST_F(DeviceDetail, FindsTheKeyHoweverItsLettersAreCased)
{
    EXPECT_EQ(text_of({.reserved = R"({"GROUP_ID":"g1"})"}, 8), "g1");
    EXPECT_EQ(text_of({.reserved = R"({"Ui_Meta_Ver":"v7"})"}, 15), "v7");
}

TEST_F(DeviceDetail, ReadsWhatIsNoStringInTheJsonAsNull)
{
    EXPECT_EQ(text_of({.reserved = R"({"group_id":5})"}, 8), "(null)");
    EXPECT_EQ(text_of({.reserved = R"({"group_id":null})"}, 8), "(null)");
    EXPECT_EQ(text_of({.reserved = R"({"group_id":["g1"]})"}, 8), "(null)");
    EXPECT_EQ(text_of({.reserved = R"({"group_id":""})"}, 8), "(null)");
    EXPECT_EQ(text_of({.reserved = R"({"other":"g1"})"}, 8), "(null)");
}

TEST_F(DeviceDetail, ReadsReservedThatIsNoJsonObjectAsNull)
{
    for (const char* reserved : {"not json", "{", R"(["group_id"])", R"("group_id")", "5", "null"})
        EXPECT_EQ(text_of({.reserved = reserved}, 8), "(null)") << reserved;
}

TEST_F(DeviceDetail, ReadsJsonThatIsNestedTooDeeplyAsNull)
{
    const std::string deep(1'000'000, '[');
    EXPECT_EQ(text_of({.reserved = deep}, 8), "(null)");
    EXPECT_EQ(text_of({.reserved = R"({"group_id":"g1","x":)" + deep + "}"}, 8), "(null)");
}

TEST_F(DeviceDetail, FindsAKeyBehindAHundredThousandOthersFast)
{
    std::string json = "{";
    for (int i = 0; i < 100'000; ++i)
        json += "\"k" + std::to_string(i) + "\":1,";
    json += R"("group_id":"g1"})";
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(text_of({.reserved = json}, 8), "g1");
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds{2});
}

// ---------------------------------------------------------------------------------------------------------
// Events

TEST_F(DeviceDetail, EventHandsOverTheListItsCountAndTheUserData)
{
    struct Told {
        Strings ids;
        bool is_ended_by_null = false;
    } told;
    const auto cb = [](quorvel_client_device_detail_h* list, int count, void* user_data) {
        auto& heard = *static_cast<Told*>(user_data);
        const Details details{rpc_port_device_detail_s_destroy, list, count};
        for (int i = 0; i < count; ++i) {
            OwnedText id;
            quorvel_client_device_detail_get_string(list[i], 0, id);
            heard.ids.emplace_back(id.get());
        }
        heard.is_ended_by_null = list[count] == nullptr;
    };
    agent().answer_next_with(0);
    ASSERT_EQ(quorvel_client_set_device_detail_list_updated_cb(client, cb, &told), 0);
    clear_log();
    agent().fire(5, 1, false, {list_of<DetailValues>({{.id = "lamp"}, {.id = "fan"}}), i32(99)});
    EXPECT_EQ(told.ids, (Strings{"lamp", "fan"}));
    EXPECT_TRUE(told.is_ended_by_null);
    const auto lines = log_of(public_tag);
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[0], qc_info(source, handler, "ENTER v[2.4.29]"));
    EXPECT_EQ(lines[1], qc_line(DLOG_DEBUG, source, handler, "Unset caching flag"));
}

TEST_F(DeviceDetail, EventOfNoDevicesHandsOverNullAndZero)
{
    struct Told {
        int times = 0;
        bool is_null = false;
        int count = -1;
    } told;
    const auto cb = [](quorvel_client_device_detail_h* list, int count, void* user_data) {
        *static_cast<Told*>(user_data) = {1, list == nullptr, count};
    };
    agent().answer_next_with(0);
    ASSERT_EQ(quorvel_client_set_device_detail_list_updated_cb(client, cb, &told), 0);
    agent().fire(5, 1, false, {count(0), i32(0)});
    EXPECT_EQ(told.times, 1);
    EXPECT_TRUE(told.is_null);
    EXPECT_EQ(told.count, 0);
}

TEST_F(DeviceDetail, EventWithoutUserDataIsLoggedAfterTheFlagIsCleared)
{
    _device_detail_list_cb(nullptr, nullptr, 0);
    EXPECT_THAT(log(), HasLine(qc_line(DLOG_DEBUG, source, handler, "Unset caching flag")));
    EXPECT_THAT(errors(), Lines(error(handler, "No user data")));
}

TEST_F(DeviceDetail, EventWithoutACallbackBlamesTheDeviceList)
{
    _device_detail_list_cb(client, nullptr, 0);
    EXPECT_THAT(errors(), Lines(error(handler, "No device list cb")));
}

TEST_F(DeviceDetail, EventThatCannotBeCopiedIsLogged)
{
    Heard heard;
    agent().answer_next_with(0);
    ASSERT_EQ(quorvel_client_set_device_detail_list_updated_cb(client, hear_list, &heard), 0);
    clear_log();
    _device_detail_list_cb(client, nullptr, 0);
    EXPECT_EQ(heard.times, 0);
    EXPECT_EQ(errors().back(),
              error(handler, "rpc_port_array_device_detail_s_get_array_device_detail_ss is failed"));
}

TEST_F(DeviceDetail, SettingNoCallbackIsRefusedBeforeTheProxyIsLookedFor)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    EXPECT_EQ(quorvel_client_set_device_detail_list_updated_cb(client, nullptr, this), invalid_parameter);
    proxy = taken;
    EXPECT_THAT(errors(),
                Lines(error("quorvel_client_set_device_detail_list_updated_cb", "user_cb is NULL")));
}

}  // namespace
}  // namespace scripted
