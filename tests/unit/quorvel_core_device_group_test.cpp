// Device groups: quorvel_core_device_group.cpp over the scripted platform.
#include <quorvel_core_device_group.h>

#include <climits>

#include "connected_client.hpp"
#include "core_properties.hpp"
#include "core_question.hpp"

namespace scripted {
namespace {

constexpr auto source = "quorvel_core_device_group";
constexpr int invalid_parameter = -22;

const auto make_group = makes(rpc_port_device_group_s_create, rpc_port_device_group_s_set_bundle_data);

[[maybe_unused]] const bool properties = register_properties(
    PropertyFamily(source, make_group)
        .read_by("quorvel_core_device_group_get_string", quorvel_core_device_group_get_string)
        .released_by("quorvel_core_device_group_destroy", quorvel_core_device_group_destroy)
        // 2 and 7 are numbers; the words about an unknown one do not show it, which is meant so.
        .holding({{0, "deviceGroupId"},
                  {1, "deviceGroupName"},
                  {3, "deviceGroupLocationId"},
                  {4, "deviceGroupRoomId"},
                  {5, "deviceGroupDevicesJson"},
                  {6, "deviceGroupCapabilitiesJson"}})
        .saying([](int) { return "Invalid property id"; },
                [](int id) { return "Failed to get enum[" + std::to_string(id) + "]"; }));

[[maybe_unused]] const bool questions = register_questions(
    source,
    {
        Question("quorvel_core_get_device_group", {2, 4}, 174, "core_get_device_group")
            .given({required("group")})
            .without_proxy(operation_failed)
            .answers_record(rpc_port_device_group_s_destroy, rpc_port_device_group_s_get_bundle_data,
                            [](auto client, Texts t, void** group) {
                                return quorvel_core_get_device_group(client, t[0], group);
                            }),
        Question("quorvel_core_get_device_group_list", {2, 4}, 175, "core_get_device_group_list")
            .without_proxy(operation_failed)
            .answers_list(rpc_port_device_group_s_destroy, rpc_port_device_group_s_get_bundle_data,
                          [](auto client, Texts, void*** list, int* count) {
                              return quorvel_core_get_device_group_list(client, list, count);
                          }),
        Question("quorvel_core_get_device_group_devices_status", {2, 4}, 180,
                 "core_get_device_group_devices_status")
            .given({required("group", "invalid device_group_id")})
            .without_proxy(operation_failed)
            .with_errors()
            .missing_out("invalid status_json")
            .answers_text([](auto client, Texts t, char** status) {
                return quorvel_core_get_device_group_devices_status(client, t[0], status);
            }),
        Question("quorvel_core_create_device_group", {2, 4}, 176, "core_create_device_group")
            .given({required("Lights", "invalid name"), required("[]", "invalid devices"), unchecked("den")})
            .sends([](Texts t) {
                return Sent{i32(176), text(t[0]), text("LIGHTING"), text(t[1]),
                            text(t[2] != nullptr ? t[2] : "")};
            })
            .without_proxy(operation_failed)
            .with_errors()
            .clearing_out_first()
            .missing_out("invalid result_str")
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_create_device_group(client, t[0], 3, t[1], t[2], result);
            }),
        Question("quorvel_core_update_device_group", {2, 4}, 177, "core_update_device_group")
            .given({required("group"), required("Lights"), required("[]"), unchecked("den")})
            .without_proxy(operation_failed)
            .with_errors()
            .clearing_out_first()
            .missing_out("invalid result_str")
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_update_device_group(client, t[0], t[1], t[2], t[3], result);
            }),
        Question("quorvel_core_delete_device_group", {2, 4}, 178, "core_delete_device_group")
            .given({required("group")})
            .without_proxy(operation_failed)
            .with_errors()
            .clearing_out_first()
            .missing_out("invalid result_str")
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_delete_device_group(client, t[0], result);
            }),
        Question("quorvel_core_execute_device_group", {2, 4}, 179, "core_execute_device_group")
            .given({required("group"), required("[]")})
            .without_proxy(operation_failed)
            .with_errors()
            .clearing_out_first()
            .missing_out("invalid result_str")
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_execute_device_group(client, t[0], t[1], result);
            }),
    });

class DeviceGroup : public ConnectedClient {
protected:
    static LogLine error(const std::string& function, const std::string& words)
    {
        return qc_error(source, function, words);
    }
    static int create(quorvel_client_h client, const char* name, int type, const char* devices)
    {
        OwnedText result;
        return quorvel_core_create_device_group(client, name, type, devices, nullptr, result);
    }
};

TEST_F(DeviceGroup, TypesAreSentAsTexts)
{
    const char* const type_texts[] = {"UNDETERMINED", "GENERIC", "VIDEO CAMERA", "LIGHTING"};
    for (int type = 0; type <= 3; ++type) {
        agent().answer_next_with(0, {text("")});
        EXPECT_EQ(create(client, "Lights", type, "[]"), 0);
        EXPECT_EQ(agent().request(),
                  (Sent{i32(176), text("Lights"), text(type_texts[type]), text("[]"), text("")}));
    }
}

TEST_F(DeviceGroup, TypesOutsideTheRangeAreRefusedAlsoNegativeOnes)
{
    for (const int type : {4, INT_MAX, -1, INT_MIN}) {
        clear_log();
        EXPECT_EQ(create(client, "Lights", type, "[]"), invalid_parameter);
        EXPECT_THAT(errors(), Lines(error("quorvel_core_create_device_group", "invalid type")));
    }
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(DeviceGroup, TypeIsLookedAtBehindTheNameAndBeforeTheDevices)
{
    EXPECT_EQ(create(client, "", 4, ""), invalid_parameter);
    EXPECT_EQ(create(client, "Lights", 4, ""), invalid_parameter);
    EXPECT_EQ(create(client, "Lights", 3, ""), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("quorvel_core_create_device_group", "invalid name"),
                                error("quorvel_core_create_device_group", "invalid type"),
                                error("quorvel_core_create_device_group", "invalid devices")));
}

TEST_F(DeviceGroup, StatusNamesTheGroupBeforeTheMissingPlace)
{
    EXPECT_EQ(quorvel_core_get_device_group_devices_status(client, "", nullptr), invalid_parameter);
    EXPECT_THAT(errors(),
                Lines(error("quorvel_core_get_device_group_devices_status", "invalid device_group_id")));
}

// Numbers of a group; no agent is asked or needed.
class DeviceGroupNumber : public Scripted {
protected:
    static LogLine error(const std::string& words)
    {
        return qc_error(source, "quorvel_core_device_group_get_int", words);
    }
    static int read(const BundleItems& items, int id)
    {
        const OwnedRecord group{rpc_port_device_group_s_destroy, make_group(&items)};
        int value = 4711;
        EXPECT_EQ(quorvel_core_device_group_get_int(group.get(), id, &value), 0);
        return value;
    }
    static void expect_failure(const BundleItems* items, int id, int code, const std::string& words)
    {
        const OwnedRecord group{rpc_port_device_group_s_destroy, make_group(items)};
        clear_log();
        int value = 4711;
        EXPECT_EQ(quorvel_core_device_group_get_int(group.get(), id, &value), code);
        EXPECT_THAT(errors(), HasLine(error(words)));
        EXPECT_EQ(value, 4711);
    }
};

TEST_F(DeviceGroupNumber, TypeIsReadFromItsText)
{
    EXPECT_EQ(read({{"deviceGroupType", "UNDETERMINED"}}, 2), 0);
    EXPECT_EQ(read({{"deviceGroupType", "GENERIC"}}, 2), 1);
    EXPECT_EQ(read({{"deviceGroupType", "VIDEO CAMERA"}}, 2), 2);
    EXPECT_EQ(read({{"deviceGroupType", "LIGHTING"}}, 2), 3);
}

TEST_F(DeviceGroupNumber, TypeThatIsNotKnownIsUndetermined)
{
    for (const char* const unknown : {"", "lighting", "LIGHTINGS", "LIGHT", "VIDEO_CAMERA", "3"})
        EXPECT_EQ(read({{"deviceGroupType", unknown}}, 2), 0) << unknown;
}

TEST_F(DeviceGroupNumber, RestrictionTierIsTheNumberThatItsTextBeginsWith)
{
    const std::pair<const char*, int> tiers[] = {
        {"0", 0},
        {"2", 2},
        {"-3", -3},
        {" 7", 7},
        {"12 and more", 12},
        {"tier2", 0},
        {"", 0},
        {"+4", 4},
        {"2147483647", INT_MAX},
        // Too large for any number: what the system's own conversion makes of it.
        {"99999999999999999999", -1}};
    for (const auto& [words, tier] : tiers)
        EXPECT_EQ(read({{"deviceGroupRestrictionTier", words}}, 7), tier) << words;
}

TEST_F(DeviceGroupNumber, AbsentOnesAreNamedByTheirKeys)
{
    const BundleItems only_tier = {{"deviceGroupRestrictionTier", "1"}};
    const BundleItems only_type = {{"deviceGroupType", "GENERIC"}};
    expect_failure(&only_tier, 2, operation_failed, "Failed to get deviceGroupType");
    expect_failure(&only_type, 7, operation_failed, "Failed to get deviceGroupRestrictionTier");
    expect_failure(nullptr, 2, operation_failed, "Failed to get deviceGroupType");
}

TEST_F(DeviceGroupNumber, AllOthersAreRefusedWithTheirNumber)
{
    const BundleItems items = {{"deviceGroupId", "1"}, {"deviceGroupType", "GENERIC"}};
    for (const int id : {0, 1, 3, 4, 5, 6, 8, -1, INT_MIN, INT_MAX})
        expect_failure(&items, id, invalid_parameter, "Invalid property id[" + std::to_string(id) + "]");
    expect_failure(nullptr, 8, invalid_parameter, "Invalid property id[8]");
}

TEST_F(DeviceGroupNumber, MissingRecordAndOutValueAreRefused)
{
    const BundleItems items = {{"deviceGroupType", "GENERIC"}};
    const OwnedRecord group{rpc_port_device_group_s_destroy, make_group(&items)};
    int value = 4711;
    EXPECT_EQ(quorvel_core_device_group_get_int(nullptr, 2, &value), invalid_parameter);
    EXPECT_EQ(quorvel_core_device_group_get_int(group.get(), 2, nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("invalid parameter"), error("invalid parameter")));
    EXPECT_EQ(value, 4711);
}

}  // namespace
}  // namespace scripted
