// Devices: quorvel_client_device.cpp over the scripted platform.
#include <quorvel_client_device.h>

#include "api_contract.hpp"
#include "callback_contract.hpp"
#include "connected_client.hpp"
#include "failing_allocations.hpp"
#include "home_values.hpp"

extern "C" {
void _device_list_cb(void* user_data, rpc_port_array_device_s_h devices, int extra);
void _device_result_cb(void* request, int result);
}

namespace scripted {
namespace {

using Device = OwnedRecord<rpc_port_device_s_h>;
using Devices = OwnedRecords<rpc_port_device_s_h>;

constexpr auto source = "quorvel_client_device";
constexpr int invalid_parameter = -22;
constexpr int operation_failed = -1073741825;
// The device commands blame the easy setup's delegate, which is meant so.
constexpr auto easy_setup_delegate = "rpc_port_qv_client_easy_setup_result_cb_create";
constexpr const char* two_ids[] = {"lamp", "fan"};

void on_result(int, void*) {}
void on_list(quorvel_client_device_h*, int, void*) {}

[[maybe_unused]] const bool contracts = register_contracts(
    source,
    {
        Contract("quorvel_client_get_device_list", {1, 0},
                 [](auto client) {
                     OwnedRecords devices{rpc_port_device_s_destroy};
                     return quorvel_client_get_device_list(client, devices, devices);
                 })
            .asks(12, "get_device_list", {count(0), i32(0)}),
        Contract::local(
            "quorvel_client_device_destroy", {1, 0},
            destroys(rpc_port_device_s_create, rpc_port_device_s_destroy, quorvel_client_device_destroy)),
        Contract::local("quorvel_client_device_get_string", {1, 0},
                        with_record(rpc_port_device_s_create, rpc_port_device_s_destroy,
                                    [](auto device) {
                                        return quorvel_client_device_get_string(device, 0, OwnedText{});
                                    })),
        Contract::local("quorvel_client_device_get_string_array", {1, 0},
                        with_record(rpc_port_device_s_create, rpc_port_device_s_destroy,
                                    [](auto device) {
                                        OwnedTexts types;
                                        return quorvel_client_device_get_string_array(device, 1, types,
                                                                                      types);
                                    })),
        Contract(
            "quorvel_client_set_device_list_updated_cb", {1, 0},
            [](auto client) { return quorvel_client_set_device_list_updated_cb(client, on_list, nullptr); })
            .asks(9, "set_device_list_cb"),
        Contract("quorvel_client_unset_device_list_updated_cb", {1, 0},
                 quorvel_client_unset_device_list_updated_cb)
            .asks(10, "unset_device_list_cb"),
        Contract("quorvel_client_move_devices", {1, 4},
                 [](auto client) {
                     return quorvel_client_move_devices(client, two_ids, 2, "den", nullptr, on_result,
                                                        nullptr);
                 })
            .asks(58, "move_devices"),
        // Reported under the name of another method, which is meant so.
        Contract("quorvel_client_change_device_nick", {1, 4},
                 [](auto client) {
                     return quorvel_client_change_device_nick(client, "lamp", "Sun", on_result, nullptr);
                 })
            .asks(59, "set_device_profile"),
        // Reported without "invoke_", which is meant so.
        Contract("quorvel_client_remove_device", {1, 6},
                 [](auto client) { return quorvel_client_remove_device(client, "lamp", on_result, nullptr); })
            .asks(83, "remove_device")
            .reported_as("rpc_port_proxy_qv_client_remove_device"),
    });

void hear_result(int, void* heard)
{
    static_cast<Heard*>(heard)->hear();
}

void hear_list(quorvel_client_device_h* list, int count, void* heard)
{
    const OwnedRecords devices{rpc_port_device_s_destroy, list, count};
    static_cast<Heard*>(heard)->hear();
}

[[maybe_unused]] const bool repeating_callbacks = register_callbacks({
    RepeatingCallback("quorvel_client_set_device_list_updated_cb", source)
        .set([](auto client, Heard& heard) {
            return quorvel_client_set_device_list_updated_cb(client, hear_list, &heard);
        })
        .unset(quorvel_client_unset_device_list_updated_cb)
        .speaks(9, 10, 3, {count(1), text("lamp"), texts({"light", "dimmer"}), i32(0)}),
});

[[maybe_unused]] const bool answers = register_callbacks({
    OneAnswer("quorvel_client_move_devices", source)
        .command([](auto client, bool with_callback, Heard& heard) {
            return quorvel_client_move_devices(client, two_ids, 2, "den", nullptr,
                                               with_callback ? hear_result : nullptr, &heard);
        })
        .answered(22, {i32(0)}, easy_setup_delegate)
        .staying_when_refused(),
    OneAnswer("quorvel_client_change_device_nick", source)
        .command([](auto client, bool with_callback, Heard& heard) {
            return quorvel_client_change_device_nick(client, "lamp", "Sun",
                                                     with_callback ? hear_result : nullptr, &heard);
        })
        .answered(22, {i32(0)}, easy_setup_delegate)
        .staying_when_refused(),
    OneAnswer("quorvel_client_remove_device", source)
        .command([](auto client, bool with_callback, Heard& heard) {
            return quorvel_client_remove_device(client, "lamp", with_callback ? hear_result : nullptr,
                                                &heard);
        })
        .answered(22, {i32(0)}, easy_setup_delegate),
});

LogLine error(const char* function, const std::string& text)
{
    return qc_error(source, function, text);
}

class DeviceTest : public ConnectedClient {
protected:
    // A device as an application gets one: out of the list.
    void* received(const DeviceValues& values)
    {
        agent().answer_next_with(0, {list_of<DeviceValues>({values}), i32(0)});
        void** list = nullptr;
        int count = 0;
        EXPECT_EQ(quorvel_client_get_device_list(client, &list, &count), 0);
        void* const device = list[0];
        std::free(list);
        forget();
        return device;
    }

    // Calls with a client that has no proxy: what is checked before it still fails first.
    template <typename Calls>
    void without_proxy(Calls calls)
    {
        void*& proxy = *static_cast<void**>(client);
        void* const taken = std::exchange(proxy, nullptr);
        calls();
        proxy = taken;
        EXPECT_THAT(agent().requests(), testing::IsEmpty());
    }
};

// ---------------------------------------------------------------------------------------------------------
// The list

TEST_F(DeviceTest, ListIsHandedOutWithItsCount)
{
    agent().answer_next_with(0,
                             {list_of<DeviceValues>({{"lamp", {"light", "dimmer"}}, {"fan", {}}}), i32(99)});
    Devices devices{rpc_port_device_s_destroy};
    EXPECT_EQ(quorvel_client_get_device_list(client, devices, devices), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(12)}));
    ASSERT_EQ(devices.count(), 2) << "the number behind the list is not used";
    EXPECT_EQ(devices.list()[2], nullptr) << "one more slot ends the vector";
    OwnedText id;
    OwnedTexts types;
    EXPECT_EQ(quorvel_client_device_get_string(devices.list()[1], 0, id), 0);
    EXPECT_EQ(quorvel_client_device_get_string_array(devices.list()[0], 1, types, types), 0);
    EXPECT_STREQ(id.get(), "fan");
    EXPECT_EQ(types.strings(), (Strings{"light", "dimmer"}));
}

TEST_F(DeviceTest, ListOfNoDevicesIsNullAndZero)
{
    void* preset = nullptr;
    void** list = &preset;
    int number = 5;
    agent().answer_next_with(0, {count(0), i32(99)});
    EXPECT_EQ(quorvel_client_get_device_list(client, &list, &number), 0);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(number, 0);
}

TEST_F(DeviceTest, ListBlamesAMissingOutPointerBeforeTheProxy)
{
    without_proxy([this] {
        void** list = nullptr;
        int number = 0;
        EXPECT_EQ(quorvel_client_get_device_list(client, nullptr, &number), invalid_parameter);
        EXPECT_EQ(quorvel_client_get_device_list(client, &list, nullptr), invalid_parameter);
    });
    const auto line = error("quorvel_client_get_device_list", "invalid parameter");
    EXPECT_THAT(errors(), Lines(line, line));
}

TEST_F(DeviceTest, ListLeavesTheOutValuesAloneWhenTheAgentRefuses)
{
    void* preset = nullptr;
    void** list = &preset;
    int number = 5;
    agent().answer_next_with(-61, {list_of<DeviceValues>({{"lamp", {}}}), i32(0)});
    EXPECT_EQ(quorvel_client_get_device_list(client, &list, &number), -61);
    EXPECT_EQ(list, &preset);
    EXPECT_EQ(number, 5);
}

TEST_F(DeviceTest, ListThatWasCutShortIsNoSuccess)
{
    const Values whole = result(0, {list_of<DeviceValues>({{"lamp", {"light"}}, {"fan", {}}}), i32(99)});
    for (std::size_t length = 1; length < whole.size(); ++length) {
        forget();
        void** list = nullptr;
        int number = 0;
        agent().answer_next_raw(whole.first(length));
        EXPECT_EQ(quorvel_client_get_device_list(client, &list, &number), -1073741824) << whole.first(length);
        EXPECT_EQ(list, nullptr);
    }
}

// ---------------------------------------------------------------------------------------------------------
// Properties

TEST_F(DeviceTest, ReadsTheId)
{
    const Device device{rpc_port_device_s_destroy, received({"lamp", {}})};
    OwnedText id;
    EXPECT_EQ(quorvel_client_device_get_string(device.get(), 0, id), 0);
    EXPECT_STREQ(id.get(), "lamp");
}

TEST_F(DeviceTest, ReadsAnEmptyIdAsNullAndSucceeds)
{
    const Device device{rpc_port_device_s_destroy, received({"", {}})};
    char preset[] = "preset";
    char* id = preset;
    EXPECT_EQ(quorvel_client_device_get_string(device.get(), 0, &id), 0);
    EXPECT_EQ(id, nullptr);
}

TEST_F(DeviceTest, ReadsNoTypesAsNullAndZero)
{
    const Device device{rpc_port_device_s_destroy, received({"lamp", {}})};
    char* preset = nullptr;
    char** list = &preset;
    int number = 5;
    EXPECT_EQ(quorvel_client_device_get_string_array(device.get(), 1, &list, &number), 0);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(number, 0);
}

TEST_F(DeviceTest, RefusesTheNumberOfTheOtherGetterAndUnknownOnes)
{
    const Device device{rpc_port_device_s_destroy, received({"lamp", {"light"}})};
    for (const int id : {-2147483647 - 1, -1, 0, 1, 2, 2147483647}) {
        const std::string message = "invalid property id [" + std::to_string(id) + "]";
        if (id != 0) {
            clear_log();
            char preset[] = "preset";
            char* value = preset;
            EXPECT_EQ(quorvel_client_device_get_string(device.get(), id, &value), invalid_parameter);
            EXPECT_EQ(value, preset);
            EXPECT_THAT(errors(), Lines(error("quorvel_client_device_get_string", message)));
        }
        if (id != 1) {
            clear_log();
            char* preset = nullptr;
            char** list = &preset;
            int number = 5;
            EXPECT_EQ(quorvel_client_device_get_string_array(device.get(), id, &list, &number),
                      invalid_parameter);
            EXPECT_EQ(list, &preset);
            EXPECT_EQ(number, 5);
            EXPECT_THAT(errors(), Lines(error("quorvel_client_device_get_string_array", message)));
        }
    }
}

TEST_F(DeviceTest, BlamesAMissingPointerBeforeABadNumber)
{
    const Device device{rpc_port_device_s_destroy, received({"lamp", {}})};
    char* value = nullptr;
    char** list = nullptr;
    int number = 0;
    EXPECT_EQ(quorvel_client_device_get_string(nullptr, 99, &value), invalid_parameter);
    EXPECT_EQ(quorvel_client_device_get_string(device.get(), 99, nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_device_get_string_array(nullptr, 99, &list, &number), invalid_parameter);
    EXPECT_EQ(quorvel_client_device_get_string_array(device.get(), 99, nullptr, &number), invalid_parameter);
    EXPECT_EQ(quorvel_client_device_get_string_array(device.get(), 99, &list, nullptr), invalid_parameter);
    EXPECT_EQ(errors().size(), 5U);
    EXPECT_THAT(errors(), testing::Each(testing::Field("text", &LogLine::text, "invalid parameter")));
}

TEST_F(DeviceTest, IsNotDestroyedWhenItIsMissing)
{
    EXPECT_EQ(quorvel_client_device_destroy(nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_device_destroy", "invalid parameter")));
}

// ---------------------------------------------------------------------------------------------------------
// Events

struct ToldOfDevices {
    int times = 0;
    Strings ids;
    bool is_null = false;
    int count = -1;
};

void tell_devices(quorvel_client_device_h* list, int count, void* user_data)
{
    auto& told = *static_cast<ToldOfDevices*>(user_data);
    const Devices devices{rpc_port_device_s_destroy, list, count};
    told = {told.times + 1, {}, list == nullptr, count};
    for (int i = 0; i < count; ++i) {
        OwnedText id;
        quorvel_client_device_get_string(list[i], 0, id);
        told.ids.emplace_back(id.get());
    }
}

class DeviceEvent : public DeviceTest {
protected:
    void SetUp() override
    {
        DeviceTest::SetUp();
        agent().answer_next_with(0);
        ASSERT_EQ(quorvel_client_set_device_list_updated_cb(client, tell_devices, &told), 0);
        forget();
    }
    ToldOfDevices told;
};

TEST_F(DeviceEvent, HandsOverTheListItsCountAndTheUserData)
{
    agent().fire(3, 1, false, {list_of<DeviceValues>({{"lamp", {}}, {"fan", {"air"}}}), i32(99)});
    EXPECT_EQ(told.times, 1);
    EXPECT_EQ(told.ids, (Strings{"lamp", "fan"}));
    EXPECT_EQ(told.count, 2);
}

TEST_F(DeviceEvent, OfNoDevicesHandsOverNullAndZero)
{
    agent().fire(3, 1, false, {count(0), i32(99)});
    EXPECT_EQ(told.times, 1);
    EXPECT_TRUE(told.is_null);
    EXPECT_EQ(told.count, 0);
}

TEST_F(DeviceEvent, IsHeardInTheOrderSent)
{
    for (int i = 0; i < 100; ++i)
        agent().post(3, 1, false, {list_of<DeviceValues>({{"device " + std::to_string(i), {}}}), i32(0)});
    EXPECT_EQ(agent().run_events(), 100);
    EXPECT_EQ(told.times, 100);
    EXPECT_EQ(told.ids, Strings{"device 99"});
}

TEST_F(DeviceEvent, WithoutUserDataIsLogged)
{
    _device_list_cb(nullptr, nullptr, 0);
    EXPECT_THAT(errors(), Lines(error("_device_list_cb", "No user data")));
    EXPECT_THAT(log(), HasLine(qc_info(source, "_device_list_cb", "ENTER v[2.4.29]")));
}

TEST_F(DeviceTest, EventWithoutACallbackIsLogged)
{
    _device_list_cb(client, nullptr, 0);
    EXPECT_THAT(errors(), Lines(error("_device_list_cb", "No device list cb")));
}

TEST_F(DeviceEvent, ThatCannotBeCopiedIsLogged)
{
    _device_list_cb(client, nullptr, 0);
    EXPECT_EQ(told.times, 0);
    EXPECT_EQ(errors().back(),
              error("_device_list_cb", "rpc_port_array_device_s_get_array_device_ss is failed"));
}

TEST_F(DeviceTest, SettingNoCallbackIsRefusedBeforeTheProxyIsLookedFor)
{
    without_proxy([this] {
        EXPECT_EQ(quorvel_client_set_device_list_updated_cb(client, nullptr, this), invalid_parameter);
    });
    EXPECT_THAT(errors(), Lines(error("quorvel_client_set_device_list_updated_cb", "user_cb is NULL")));
}

// ---------------------------------------------------------------------------------------------------------
// Commands

TEST_F(DeviceTest, MovingSendsTheIdsTheirCountTheGroupTheSecondStringAndTheDelegate)
{
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_client_move_devices(client, two_ids, 2, "den", "2nd", on_result, nullptr), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(58), texts({"lamp", "fan"}), i32(2), text("den"), text("2nd"),
                                       delegate(22, 1, true)}));
}

TEST_F(DeviceTest, MovingSendsAnAbsentSecondStringAndAbsentIdsAsEmptyOnes)
{
    const char* const ids[] = {nullptr, "fan"};
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_client_move_devices(client, ids, 2, "den", nullptr, on_result, nullptr), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(58), texts({"", "fan"}), i32(2), text("den"), text(""), delegate(22, 1, true)}));
}

TEST_F(DeviceTest, MovingChecksTheListTheCountAndTheGroupInThisOrderBeforeTheProxy)
{
    without_proxy([this] {
        EXPECT_EQ(quorvel_client_move_devices(client, nullptr, 0, "", nullptr, on_result, nullptr),
                  invalid_parameter);
        EXPECT_EQ(quorvel_client_move_devices(client, two_ids, 0, "", nullptr, on_result, nullptr),
                  invalid_parameter);
        EXPECT_EQ(quorvel_client_move_devices(client, two_ids, -1, "", nullptr, on_result, nullptr),
                  invalid_parameter);
        EXPECT_EQ(quorvel_client_move_devices(client, two_ids, 2, "", nullptr, on_result, nullptr),
                  invalid_parameter);
        EXPECT_EQ(quorvel_client_move_devices(client, two_ids, 2, nullptr, nullptr, on_result, nullptr),
                  invalid_parameter);
    });
    const auto function = "quorvel_client_move_devices";
    EXPECT_THAT(errors(), Lines(error(function, "device id list is NULL"),
                                error(function, "device id count is less than 0"),
                                error(function, "device id count is less than 0"),
                                error(function, "group_id is NULL"), error(function, "group_id is NULL")));
}

TEST_F(DeviceTest, MovingFailsWithoutMemoryForTheListOfIds)
{
    std::vector<std::string> texts;
    bool happened = true;
    for (int nth = 1; happened; ++nth) {
        forget();
        agent().otherwise_answer(0);
        FailingAllocation failing{nth};
        const int code = quorvel_client_move_devices(client, two_ids, 2, "den", nullptr, on_result, nullptr);
        happened = failing.happened();
        for (const LogLine& line : errors()) {
            if (line.function != "quorvel_client_move_devices")
                continue;
            texts.push_back(line.text);
            if (line.text.starts_with("rpc_port_array_string_")) {
                EXPECT_EQ(code, operation_failed);
                EXPECT_THAT(agent().requests(), testing::IsEmpty());
            }
        }
    }
    EXPECT_THAT(texts, testing::Contains("rpc_port_array_string_create is failed"));
    EXPECT_THAT(texts, testing::Contains("rpc_port_array_string_set_array_strings is failed"));
}

TEST_F(DeviceTest, ChangingTheNickSendsIdNickAndDelegate)
{
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_client_change_device_nick(client, "lamp", "Sun", on_result, nullptr), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(59), text("lamp"), text("Sun"), delegate(22, 1, true)}));
}

TEST_F(DeviceTest, ChangingTheNickBlamesTheIdBeforeTheNickAndBothBeforeTheProxy)
{
    without_proxy([this] {
        for (const char* missing : {static_cast<const char*>(nullptr), ""}) {
            EXPECT_EQ(quorvel_client_change_device_nick(client, missing, missing, on_result, nullptr),
                      invalid_parameter);
            EXPECT_EQ(quorvel_client_change_device_nick(client, "lamp", missing, on_result, nullptr),
                      invalid_parameter);
        }
    });
    const auto id = error("quorvel_client_change_device_nick", "device_id is NULL");
    const auto nick = error("quorvel_client_change_device_nick", "nick_name is NULL");
    EXPECT_THAT(errors(), Lines(id, nick, id, nick));
}

TEST_F(DeviceTest, ARefusedNickIsReportedUnderTheNameOfAnotherMethod)
{
    agent().answer_next_with(-61);
    EXPECT_EQ(quorvel_client_change_device_nick(client, "lamp", "Sun", on_result, nullptr), -61);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_change_device_nick",
                                      "rpc_port_proxy_qv_client_invoke_set_device_profile is failed [-61]")));
}

TEST_F(DeviceTest, RemovingSendsIdAndDelegate)
{
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_client_remove_device(client, "lamp", on_result, nullptr), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(83), text("lamp"), delegate(22, 1, true)}));
}

TEST_F(DeviceTest, RemovingBlamesTheIdBeforeTheProxy)
{
    without_proxy([this] {
        EXPECT_EQ(quorvel_client_remove_device(client, nullptr, on_result, nullptr), invalid_parameter);
        EXPECT_EQ(quorvel_client_remove_device(client, "", on_result, nullptr), invalid_parameter);
    });
    const auto line = error("quorvel_client_remove_device", "device_id is NULL");
    EXPECT_THAT(errors(), Lines(line, line));
}

TEST_F(DeviceTest, ARefusedRemovalDisposesOfItsDelegateWhileTheOtherCommandsLeaveTheirs)
{
    const auto disposal = [](const LogLine& line) {
        return line.function == "rpc_port_proxy_qv_client_device_result_cb_dispose";
    };
    agent().otherwise_answer(-61);
    quorvel_client_move_devices(client, two_ids, 2, "den", nullptr, on_result, nullptr);
    quorvel_client_change_device_nick(client, "lamp", "Sun", on_result, nullptr);
    EXPECT_THAT(log(), testing::Not(testing::Contains(testing::Truly(disposal))));
    quorvel_client_remove_device(client, "lamp", on_result, nullptr);
    EXPECT_THAT(log(), testing::Contains(testing::Truly(disposal)));
}

TEST_F(DeviceTest, ResultIsToldWithTheUserData)
{
    struct Told {
        int result = 0;
    } told;
    const auto cb = [](int result, void* user_data) { static_cast<Told*>(user_data)->result = result; };
    agent().answer_next_with(0);
    ASSERT_EQ(quorvel_client_remove_device(client, "lamp", cb, &told), 0);
    agent().fire(22, 1, true, {i32(-61)});
    EXPECT_EQ(told.result, -61);
}

TEST_F(DeviceTest, ResultWithoutARequestOrACallbackIsLogged)
{
    const auto line = error("_device_result_cb", "request or request->user_cb is NULL");
    _device_result_cb(nullptr, 0);
    EXPECT_THAT(errors(), Lines(line));
    agent().answer_next_with(0);
    ASSERT_EQ(quorvel_client_remove_device(client, "lamp", nullptr, nullptr), 0);
    agent().fire(22, 1, true, {i32(0)});
    EXPECT_THAT(errors(), Lines(line, line));
}

TEST_F(DeviceTest, ResultFreesARequestThatTheLibraryDoesNotKnow)
{
    void** const request = static_cast<void**>(std::calloc(2, sizeof(void*)));
    _device_result_cb(request, 0);
}

}  // namespace
}  // namespace scripted
