// Core devices: quorvel_core_device.cpp over the scripted platform, and the one function that belongs to
// devices but lives in quorvel_client_internal.cpp.
#include <quorvel_core_device.h>

#include <climits>

#include "connected_client.hpp"
#include "core_properties.hpp"
#include "core_question.hpp"
#include "failing_allocations.hpp"

namespace scripted {
namespace {

constexpr auto source = "quorvel_core_device";
constexpr int invalid_parameter = -22;

[[maybe_unused]] const bool properties = register_properties(
    PropertyFamily(source, makes(rpc_port_core_device_s_create, rpc_port_core_device_s_set_bundle_data))
        .read_by("quorvel_core_device_get_string", quorvel_core_device_get_string)
        .released_by("quorvel_core_device_destroy", quorvel_core_device_destroy)
        .holding({{0, "deviceId"},
                  {1, "name"},
                  {2, "label"},
                  {3, "manufacturerName"},
                  {4, "presentationId"},
                  {5, "deviceManufactureCode"},
                  {6, "locationId"},
                  {7, "ownerId"},
                  {8, "roomId"},
                  {9, "components"},
                  {10, "childDevices"},
                  {11, "profile"},
                  {12, "type"},
                  {13, "details"},
                  {14, "restrictionTier"},
                  {15, "parentDeviceIdparentDeviceId"},
                  {16, "deviceModel"},
                  {17, "sharedLocations"},
                  {18, "createTime"},
                  {19, "healthState"},
                  {20, "externalId"},
                  {21, "ocfDeviceType"},
                  {22, "possibleIcons"},
                  {23, "icons"}}));

[[maybe_unused]] const bool questions = register_questions(
    source,
    {
        Question("quorvel_core_get_device", {2, 3}, 129, "core_get_device")
            .given({required("lamp")})
            .answers_record(rpc_port_core_device_s_destroy, rpc_port_core_device_s_get_bundle_data,
                            [](auto client, Texts t, void** device) {
                                return quorvel_core_get_device(client, t[0], device);
                            }),
        Question("quorvel_core_get_device_list", {2, 3}, 130, "core_get_device_list")
            .given({unchecked("filter")})
            .answers_list(rpc_port_core_device_s_destroy, rpc_port_core_device_s_get_bundle_data,
                          [](auto client, Texts t, void*** list, int* count) {
                              return quorvel_core_get_device_list(client, t[0], list, count);
                          }),
        Question("quorvel_core_get_device_json", {2, 3}, 98, "core_get_device_json")
            .given({required("lamp")})
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_device_json(client, t[0], json);
            }),
        Question("quorvel_core_get_device_list_json", {2, 3}, 99, "core_get_device_list_json")
            .given({unchecked("filter")})
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_device_list_json(client, t[0], json);
            }),
        Question("quorvel_core_get_device_health_data_json", {2, 3}, 100, "core_get_device_health_data_json")
            .given({required("lamp")})
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_device_health_data_json(client, t[0], json);
            }),
        Question("quorvel_core_get_device_status", {2, 3}, 101, "core_get_device_status")
            .given({required("lamp")})
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_device_status(client, t[0], json);
            }),
        Question("quorvel_core_get_device_component_status", {2, 3}, 102, "core_get_device_component_status")
            .given({required("lamp"), required("main")})
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_device_component_status(client, t[0], t[1], json);
            }),
        Question("quorvel_core_get_device_capability_status", {2, 3}, 103,
                 "core_get_device_capability_status")
            .given({required("lamp"), required("main"), required("switch")})
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_device_capability_status(client, t[0], t[1], t[2], json);
            }),
        // Reported under a name that no method has, which is meant so.
        Question("quorvel_core_get_device_preferences", {2, 3}, 105, "core_get_device_preferences_json")
            .given({required("lamp"), required("colour")})
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_device_preferences(client, t[0], t[1], json);
            }),
        Question("quorvel_core_get_home_insight_device_statistics", {2, 3}, 119,
                 "core_get_home_insight_device_statics")
            .given({required("home")})
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_home_insight_device_statistics(client, t[0], json);
            }),
        Question("quorvel_core_get_device_presentation", {2, 3}, 132, "core_get_device_presentation")
            .given({required("lamp"), required("tile"), unchecked("de")})
            .sends([](Texts t) {
                return Sent{i32(132), text(t[0]), text(t[1]), text(t[2] != nullptr ? t[2] : ""), text("1")};
            })
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_device_presentation(client, t[0], t[1], t[2], true, json);
            }),
        Question("quorvel_core_get_ir_device", {2, 3}, 145, "core_get_ir_device")
            .given({required("blaster"), required("tv")})
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_ir_device(client, t[0], t[1], json);
            }),
        Question("quorvel_core_execute_device", {2, 3}, 104, "core_execute_device_commands")
            .given({required("lamp"), required("[]")})
            .with_errors()
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_execute_device(client, t[0], t[1], result);
            }),
        // The first two texts change places, which is meant so.
        Question("quorvel_core_update_device_preferences", {2, 3}, 106, "core_update_device_preferences")
            .given({required("lamp"), required("colour"), required("{}")})
            .sends([](Texts) {
                return Sent{i32(106), text("colour"), text("lamp"), text("{}")};
            })
            .with_errors()
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_update_device_preferences(client, t[0], t[1], t[2], result);
            }),
        Question("quorvel_core_create_ir_device", {2, 3}, 144, "core_create_ir_device")
            .given({required("blaster"), required("{}")})
            .with_errors()
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_create_ir_device(client, t[0], t[1], result);
            }),
        Question("quorvel_core_move_device", {2, 3}, 172, "core_update_device")
            .given({required("lamp", "invalid device id"), required("home", "invalid location id"),
                    unchecked("den")})
            .sends([](Texts t) {
                return Sent{i32(172), text(t[0]), text(""), text(t[1]), text(t[2] != nullptr ? t[2] : ""),
                            text(""), text("")};
            })
            .with_errors()
            .clearing_out_first()
            .missing_out("invalid result_str")
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_move_device(client, t[0], t[1], t[2], result);
            }),
        // A missing name is told as a missing location, which is meant so.
        Question("quorvel_core_change_device_name", {2, 3}, 172, "core_update_device")
            .given({required("lamp", "invalid device id"), required("Sun", "invalid location id")})
            .sends([](Texts t) {
                return Sent{i32(172), text(t[0]), text(t[1]), text(""), text(""), text(""), text("")};
            })
            .with_errors()
            .clearing_out_first()
            .missing_out("invalid result_str")
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_change_device_name(client, t[0], t[1], result);
            }),
        // So are missing components.
        Question("quorvel_core_update_device_components", {2, 3}, 172, "core_update_device")
            .given({required("lamp", "invalid device id"), required("[1]", "invalid location id")})
            .sends([](Texts t) {
                return Sent{i32(172), text(t[0]), text(""), text(""), text(""), text(t[1]), text("")};
            })
            .with_errors()
            .clearing_out_first()
            .missing_out("invalid result_str")
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_update_device_components(client, t[0], t[1], result);
            }),
        Question("quorvel_core_delete_device", {2, 3}, 146, "core_delete_device")
            .given({required("lamp")})
            .answers_nothing([](auto client, Texts t) { return quorvel_core_delete_device(client, t[0]); }),
        Question("quorvel_core_start_hub_device_discover", {2, 3}, 158, "core_start_hub_device_discovery")
            .given({required("hub")})
            .sends(
                [](Texts) { return Sent{i32(158), text("hub"), i32(60), flag(true), flag(false), i32(-7)}; })
            .answers_nothing([](auto client, Texts t) {
                return quorvel_core_start_hub_device_discover(client, t[0], 60, true, false, -7);
            }),
        Question("quorvel_core_stop_hub_device_discover", {2, 3}, 159, "core_stop_hub_device_discovery")
            .given({required("hub")})
            .answers_nothing(
                [](auto client, Texts t) { return quorvel_core_stop_hub_device_discover(client, t[0]); }),
    });

[[maybe_unused]] const bool internal_questions = register_questions(
    "quorvel_client_internal",
    {
        Question("quorvel_core_migrate_local_mqtt_device", {2, 4}, 167, "core_migrate_local_mqtt_device")
            .given({required("lamp"), required("hub")})
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_migrate_local_mqtt_device(client, t[0], t[1], result);
            }),
    });

[[maybe_unused]] const bool contracts = register_contracts(
    source, {
                Contract("quorvel_core_get_hub_device_id_list", {2, 3},
                         [](auto client) {
                             OwnedTexts ids;
                             return quorvel_core_get_hub_device_id_list(client, "hub", ids, ids);
                         })
                    .asks(147, "core_get_hub_device_list", {texts({"lamp"}), i32(0)}),
                Contract("quorvel_core_get_device_health_data", {2, 3},
                         [](auto client) {
                             int health = 0;
                             return quorvel_core_get_device_health_data(client, "lamp", &health);
                         })
                    .asks(131, "core_get_device_health_data", {i32(1)}),
            });

class CoreDevice : public ConnectedClient {
protected:
    static LogLine error(const std::string& function, const std::string& words)
    {
        return qc_error(source, function, words);
    }
};

TEST_F(CoreDevice, PresentationSendsAFalseFlagAsTheTextZero)
{
    agent().answer_next_with(0, {text("{}")});
    OwnedText json;
    EXPECT_EQ(quorvel_core_get_device_presentation(client, "lamp", "tile", nullptr, false, json), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(132), text("lamp"), text("tile"), text(""), text("0")}));
}

TEST_F(CoreDevice, ParentIsReadUnderTheDoubledKeyOnly)
{
    const auto make = makes(rpc_port_core_device_s_create, rpc_port_core_device_s_set_bundle_data);
    const BundleItems items = {{"parentDeviceId", "hub"}};
    const OwnedRecord device{rpc_port_core_device_s_destroy, make(&items)};
    OwnedText parent;
    EXPECT_EQ(quorvel_core_device_get_string(device.get(), QUORVEL_CORE_DEVICE_PROP_PARENT_DEVICE_ID, parent),
              operation_failed);
    EXPECT_THAT(errors(), HasLine(error("quorvel_core_device_get_string", "Failed to get enum[15]")));
}

// Discovery

TEST_F(CoreDevice, DiscoveryRefusesANegativeDurationAndTakesZero)
{
    for (const int duration : {-1, INT_MIN}) {
        clear_log();
        EXPECT_EQ(quorvel_core_start_hub_device_discover(client, "hub", duration, true, true, 1),
                  invalid_parameter);
        EXPECT_THAT(errors(), Lines(error("quorvel_core_start_hub_device_discover", "invalid parameter")));
    }
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_core_start_hub_device_discover(client, "hub", 0, false, true, INT_MIN), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(158), text("hub"), i32(0), flag(false), flag(true), i32(INT_MIN)}));
}

// Health

TEST_F(CoreDevice, HealthIsTheAgentsNumber)
{
    agent().answer_next_with(0, {i32(-5)});
    int health = 99;
    EXPECT_EQ(quorvel_core_get_device_health_data(client, "lamp", &health), 0);
    EXPECT_EQ(health, -5);
    EXPECT_EQ(agent().request(), (Sent{i32(131), text("lamp")}));
}

TEST_F(CoreDevice, HealthStaysAsItWasWhenTheAgentRefusesAndWithoutAnAnswer)
{
    int health = 99;
    agent().answer_next_with(-61, {i32(1)});
    EXPECT_EQ(quorvel_core_get_device_health_data(client, "lamp", &health), -61);
    EXPECT_EQ(quorvel_core_get_device_health_data(client, "lamp", &health), -1073741824);
    EXPECT_EQ(health, 99);
}

TEST_F(CoreDevice, HealthIsAskedAlsoWithoutAPlaceForIt)
{
    agent().answer_next_with(0, {i32(1)});
    EXPECT_EQ(quorvel_core_get_device_health_data(client, "lamp", nullptr), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(131), text("lamp")}));
}

TEST_F(CoreDevice, HealthNamesTheDeviceIdThatItRefuses)
{
    int health = 99;
    for (const char* const bad : {static_cast<const char*>(nullptr), ""}) {
        clear_log();
        EXPECT_EQ(quorvel_core_get_device_health_data(client, bad, &health), invalid_parameter);
        EXPECT_THAT(errors(),
                    Lines(error("quorvel_core_get_device_health_data", "invalid parameter (device_id)")));
    }
    EXPECT_EQ(health, 99);
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

// Ids of a hub's devices

TEST_F(CoreDevice, HubListsTheIdsOfItsDevices)
{
    agent().answer_next_with(0, {texts({"lamp", "", "fan"}), i32(77)});
    OwnedTexts ids;
    EXPECT_EQ(quorvel_core_get_hub_device_id_list(client, "hub", ids, ids), 0);
    EXPECT_EQ(ids.strings(), (Strings{"lamp", "", "fan"}));
    EXPECT_EQ(ids.list()[3], nullptr);
    EXPECT_EQ(agent().request(), (Sent{i32(147), text("hub")}));
}

TEST_F(CoreDevice, HubTakesAnyTextAsItsId)
{
    for (const char* const id : {static_cast<const char*>(nullptr), ""}) {
        agent().answer_next_with(0, {count(0), i32(0)});
        OwnedTexts ids;
        EXPECT_EQ(quorvel_core_get_hub_device_id_list(client, id, ids, ids), 0);
        EXPECT_EQ(ids.list(), nullptr);
        EXPECT_EQ(ids.count(), 0);
        EXPECT_EQ(agent().request(), (Sent{i32(147), text("")}));
    }
}

TEST_F(CoreDevice, HubRefusesAMissingListOrCount)
{
    OwnedTexts ids;
    EXPECT_EQ(quorvel_core_get_hub_device_id_list(client, "hub", nullptr, ids), invalid_parameter);
    EXPECT_EQ(quorvel_core_get_hub_device_id_list(client, "hub", ids, nullptr), invalid_parameter);
    EXPECT_THAT(errors(),
                testing::AllOf(testing::SizeIs(2), testing::Each(error("quorvel_core_get_hub_device_id_list",
                                                                       "invalid parameter"))));
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(CoreDevice, HubSaysThatThereIsNoMemoryForTheArrayThatItMakesBeforehand)
{
    OwnedTexts ids;
    FailingAllocation first{1};
    EXPECT_EQ(quorvel_core_get_hub_device_id_list(client, "hub", ids, ids), -12);
    ASSERT_TRUE(first.happened());
    EXPECT_EQ(errors().back(),
              error("quorvel_core_get_hub_device_id_list", "rpc_port_array_string_create failed"));
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
    EXPECT_EQ(ids.list(), nullptr);
}

// Results

TEST_F(CoreDevice, ResultOfACommandIsLeftAsItWasWithoutAnAnswer)
{
    char mark[] = "mark";
    char* result = mark;
    EXPECT_EQ(quorvel_core_execute_device(client, "lamp", "[]", &result), -1073741824);
    EXPECT_EQ(result, mark);
}

class WithoutAgent : public Scripted {};

TEST_F(WithoutAgent, ChangesOfADeviceRefuseAMissingResultFirst)
{
    EXPECT_EQ(quorvel_core_move_device(nullptr, nullptr, nullptr, nullptr, nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_core_change_device_name(nullptr, nullptr, nullptr, nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_core_update_device_components(nullptr, nullptr, nullptr, nullptr), invalid_parameter);
    EXPECT_THAT(errors(),
                Lines(qc_error(source, "quorvel_core_move_device", "invalid result_str"),
                      qc_error(source, "quorvel_core_change_device_name", "invalid result_str"),
                      qc_error(source, "quorvel_core_update_device_components", "invalid result_str")));
}

TEST_F(WithoutAgent, ChangesOfADeviceClearTheResultBeforeTheyFail)
{
    char mark[] = "mark";
    char* result = mark;
    EXPECT_EQ(quorvel_core_move_device(nullptr, "lamp", "home", "den", &result), -1073741822);
    EXPECT_EQ(result, nullptr);
}

}  // namespace
}  // namespace scripted
