// The records of the easy setup: what an application reads from them and puts into them.
#include <quorvel_client_easy_setup.h>

#include <climits>
#include <functional>
#include <map>

#include "api_contract.hpp"
#include "failing_allocations.hpp"
#include "with_agent.hpp"

using namespace scripted;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr auto area = "quorvel_client_easy_setup";
constexpr int out_of_memory = -12;
constexpr int invalid_parameter = -22;
constexpr int operation_failed = -1073741825;
constexpr int key_exists = -18350079;  // 0xFEE80001

LogLine failure(const std::string& function, const std::string& text)
{
    return qc_error(area, function, text);
}

// A record with these values, or, without any, with no bundle at all.
template <typename Handle, int (*create)(Handle*), int (*destroy)(Handle), int (*set)(Handle, bundle*),
          int (*get)(Handle, bundle**)>
class Record {
public:
    Record() { create(&record_); }
    explicit Record(const BundleItems& items) : Record()
    {
        bundle* const values = make_bundle(items);
        set(record_, values);
        bundle_free(values);
    }
    ~Record()
    {
        if (record_ != nullptr)
            destroy(record_);
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    operator void*() const { return record_; }
    BundleItems items() const
    {
        bundle* copy = nullptr;
        if (get(record_, &copy) != 0)
            return {{"no", "bundle"}};
        const BundleItems items = contents(copy);
        bundle_free(copy);
        return items;
    }
    // For a function that releases it.
    void* release() { return std::exchange(record_, nullptr); }

private:
    Handle record_ = nullptr;
};

#define RECORD_OF(name)                                                              \
    Record<rpc_port_##name##_h, rpc_port_##name##_create, rpc_port_##name##_destroy, \
           rpc_port_##name##_set_bundle_data, rpc_port_##name##_get_bundle_data>

using AccessPoint = RECORD_OF(access_point_s);
using DeviceProperty = RECORD_OF(device_prop_s);
using CloudProperty = RECORD_OF(cloud_prop_s);
using DeviceConf = RECORD_OF(device_conf_s);
using ProvInfo = RECORD_OF(easy_setup_prov_info_s);

char* untouched()
{
    static char text[] = "untouched";
    return text;
}

// ---------------------------------------------------------------------------------------------------------
// What all functions have in common

template <typename Handle>
Contract destruction(const char* name, Version minimum, int (*create)(Handle*), int (*destroy)(Handle),
                     int (*function)(void*))
{
    return Contract::local(name, minimum, destroys(create, destroy, function));
}

const bool registered = register_contracts(
    area,
    {
        Contract::local("quorvel_client_easy_setup_access_point_get_string", {1, 4},
                        [](auto) {
                            const AccessPoint record{{{"ssid", "attic"}}};
                            OwnedText value;
                            return quorvel_client_easy_setup_access_point_get_string(record, 0, value);
                        }),
        destruction("quorvel_client_easy_setup_destroy_access_point", {2, 3}, rpc_port_access_point_s_create,
                    rpc_port_access_point_s_destroy, quorvel_client_easy_setup_destroy_access_point),
        Contract::local("quorvel_client_easy_setup_destroy_access_point_list", {1, 4},
                        [](auto) {
                            auto** const list = static_cast<void**>(std::calloc(1, sizeof(void*)));
                            const int code = quorvel_client_easy_setup_destroy_access_point_list(list);
                            if (code != 0)
                                std::free(list);
                            return code;
                        }),
        Contract::local("quorvel_client_easy_setup_device_property_create", {1, 4},
                        [](auto) {
                            OwnedRecord record{rpc_port_device_prop_s_destroy};
                            return quorvel_client_easy_setup_device_property_create(record);
                        }),
        Contract::local("quorvel_client_easy_setup_device_property_set_string", {1, 4},
                        [](auto) {
                            const DeviceProperty record{BundleItems{}};
                            return quorvel_client_easy_setup_device_property_set_string(record, 0, "cs");
                        }),
        Contract::local("quorvel_client_easy_setup_device_property_get_string", {1, 4},
                        [](auto) {
                            const DeviceProperty record{{{"language", "cs"}}};
                            OwnedText value;
                            return quorvel_client_easy_setup_device_property_get_string(record, 0, value);
                        }),
        Contract::local("quorvel_client_easy_setup_device_property_set_string_array", {1, 4},
                        [](auto) {
                            const DeviceProperty record{BundleItems{}};
                            const char* const list[] = {"den"};
                            return quorvel_client_easy_setup_device_property_set_string_array(record, 13,
                                                                                              list, 1);
                        }),
        Contract::local("quorvel_client_easy_setup_device_property_get_string_array", {1, 4},
                        [](auto) {
                            const DeviceProperty record{{{"qclocations", Strings{"den"}}}};
                            OwnedTexts values;
                            return quorvel_client_easy_setup_device_property_get_string_array(record, 13,
                                                                                              values, values);
                        }),
        destruction("quorvel_client_easy_setup_device_property_destroy", {1, 4},
                    rpc_port_device_prop_s_create, rpc_port_device_prop_s_destroy,
                    quorvel_client_easy_setup_device_property_destroy),
        Contract::local("quorvel_client_easy_setup_cloud_property_create", {1, 4},
                        [](auto) {
                            OwnedRecord record{rpc_port_cloud_prop_s_destroy};
                            return quorvel_client_easy_setup_cloud_property_create(record);
                        }),
        Contract::local("quorvel_client_easy_setup_cloud_property_set_string", {1, 4},
                        [](auto) {
                            const CloudProperty record{BundleItems{}};
                            return quorvel_client_easy_setup_cloud_property_set_string(record, 0, "h");
                        }),
        Contract::local("quorvel_client_easy_setup_cloud_property_get_string", {1, 4},
                        [](auto) {
                            const CloudProperty record{{{"ciHostAddress", "h"}}};
                            OwnedText value;
                            return quorvel_client_easy_setup_cloud_property_get_string(record, 0, value);
                        }),
        destruction("quorvel_client_easy_setup_cloud_property_destroy", {1, 4}, rpc_port_cloud_prop_s_create,
                    rpc_port_cloud_prop_s_destroy, quorvel_client_easy_setup_cloud_property_destroy),
        Contract::local("quorvel_client_easy_setup_device_conf_get_bool", {1, 4},
                        [](auto) {
                            const DeviceConf record{{{"isCloudAccessible", "1"}}};
                            bool value = false;
                            return quorvel_client_easy_setup_device_conf_get_bool(record, 0, &value);
                        }),
        Contract::local("quorvel_client_easy_setup_device_conf_get_int", {1, 4},
                        [](auto) {
                            const DeviceConf record{{{"freq", "1"}}};
                            int value = 0;
                            return quorvel_client_easy_setup_device_conf_get_int(record, 1, &value);
                        }),
        Contract::local("quorvel_client_easy_setup_device_conf_get_string", {1, 4},
                        [](auto) {
                            const DeviceConf record{{{"deviceName", "kettle"}}};
                            OwnedText value;
                            return quorvel_client_easy_setup_device_conf_get_string(record, 5, value);
                        }),
        Contract::local("quorvel_client_easy_setup_device_conf_get_int_array", {1, 4},
                        [](auto) {
                            const DeviceConf record{{{"wifiModes", Strings{"1"}}}};
                            int* list = nullptr;
                            int size = 0;
                            const int code =
                                quorvel_client_easy_setup_device_conf_get_int_array(record, 19, &list, &size);
                            std::free(list);
                            return code;
                        }),
        destruction("quorvel_client_easy_setup_device_conf_destroy", {1, 4}, rpc_port_device_conf_s_create,
                    rpc_port_device_conf_s_destroy, quorvel_client_easy_setup_device_conf_destroy),
        Contract::local("quorvel_client_provisioning_info_get_bool", {2, 3},
                        [](auto) {
                            const ProvInfo record{{{"owned", "1"}}};
                            bool value = false;
                            return quorvel_client_provisioning_info_get_bool(record, 0, &value);
                        }),
        Contract::local("quorvel_client_provisioning_info_get_int", {2, 3},
                        [](auto) {
                            const ProvInfo record{{{"otmSupport", "1"}}};
                            int value = 0;
                            return quorvel_client_provisioning_info_get_int(record, 2, &value);
                        }),
        Contract::local("quorvel_client_provisioning_info_get_string", {2, 3},
                        [](auto) {
                            const ProvInfo record{{{"vid", "kettle"}}};
                            OwnedText value;
                            return quorvel_client_provisioning_info_get_string(record, 18, value);
                        }),
        Contract::local("quorvel_client_provisioning_info_get_string_array", {2, 3},
                        [](auto) {
                            const ProvInfo record{{{"protocolList", Strings{"one"}}}};
                            OwnedTexts values;
                            return quorvel_client_provisioning_info_get_string_array(record, 19, values,
                                                                                     values);
                        }),
        destruction("quorvel_client_provisioning_info_destroy", {2, 3},
                    rpc_port_easy_setup_prov_info_s_create, rpc_port_easy_setup_prov_info_s_destroy,
                    quorvel_client_provisioning_info_destroy),
    });

// ---------------------------------------------------------------------------------------------------------
// Getters, family by family

// A record behind its handle, released with the test.
using AnyRecord = std::shared_ptr<void>;

template <typename Kind, typename... Items>
AnyRecord record_of(const Items&... items)
{
    const auto record = std::make_shared<Kind>(items...);
    return {record, static_cast<void*>(*record)};
}

template <typename Out>
struct Getter {
    const char* function;
    int (*get)(void* record, int id, Out* value);
    AnyRecord (*record)(const BundleItems& items);
    AnyRecord (*record_without_bundle)();
    std::map<int, const char*> keys;
    const char* invalid_id;                  // up to the number
    std::function<std::string(int)> absent;  // what is said of a key that is not there
};

template <typename Out>
void PrintTo(const Getter<Out>& getter, std::ostream* out)
{
    *out << getter.function;
}

std::string numbered(const char* text, int id)
{
    return std::string(text) + "[" + std::to_string(id) + "]";
}

std::function<std::string(int)> numbered_absence(const char* what)
{
    return [what](int id) { return numbered((std::string("get ") + what).c_str(), id) + " failed"; };
}

std::function<std::string(int)> plain_absence(const char* what)
{
    return [what](int) { return std::string("get ") + what + " failed"; };
}

template <typename Out>
class Getters : public WithAgent, public testing::WithParamInterface<Getter<Out>> {
protected:
    using Self = Getters;
    const Getter<Out>& getter() const { return this->GetParam(); }
    LogLine refusal(const std::string& text) const { return failure(getter().function, text); }

    void expect_null_record_and_out_to_be_refused_before_the_id(Out preset)
    {
        const auto record = getter().record({});
        Out value = preset;
        EXPECT_EQ(getter().get(nullptr, -1, &value), invalid_parameter);
        EXPECT_EQ(getter().get(record.get(), -1, nullptr), invalid_parameter);
        EXPECT_EQ(value, preset);
        EXPECT_THAT(errors(), Lines(refusal("invalid parameter"), refusal("invalid parameter")));
    }

    // Every number that is not the getter's own, with and without a bundle.
    void expect_other_ids_to_be_refused(Out preset)
    {
        for (const auto& record : {getter().record({}), getter().record_without_bundle()}) {
            for (const int id : {INT_MIN, -1, 0,  1,  2,  3,  4,  5,  6,  7,  8,  9,
                                 10,      11, 12, 13, 14, 15, 16, 17, 18, 19, 20, INT_MAX}) {
                if (getter().keys.count(id) != 0)
                    continue;
                clear_log();
                Out value = preset;
                EXPECT_EQ(getter().get(record.get(), id, &value), invalid_parameter) << id;
                EXPECT_EQ(value, preset);
                EXPECT_THAT(log_of(public_tag),
                            testing::Contains(refusal(numbered(getter().invalid_id, id))));
            }
        }
    }

    void expect_absent_keys_to_fail(Out preset)
    {
        for (const auto& [id, key] : getter().keys) {
            // All the other keys are there.
            BundleItems others;
            for (const auto& [other_id, other] : getter().keys) {
                if (other_id != id)
                    others[other] = "1";
            }
            for (const auto& record : {getter().record(others), getter().record_without_bundle(),
                                       getter().record({{key, Strings{"of another kind"}}})}) {
                clear_log();
                Out value = preset;
                EXPECT_EQ(getter().get(record.get(), id, &value), operation_failed) << key;
                EXPECT_EQ(value, preset);
                EXPECT_THAT(log_of(public_tag), testing::Contains(refusal(getter().absent(id))));
            }
        }
    }
};

using TextGetters = Getters<char*>;

TEST_P(TextGetters, HandOutACopyOfTheTextUnderTheKeyOfTheNumber)
{
    BundleItems items;
    for (const auto& [id, key] : getter().keys)
        items[key] = std::string("value of ") + key;
    const auto record = getter().record(items);
    for (const auto& [id, key] : getter().keys) {
        OwnedText value;
        EXPECT_EQ(getter().get(record.get(), id, value), 0);
        EXPECT_STREQ(value.get(), (std::string("value of ") + key).c_str());
    }
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_THAT(log(), NowhereContains("value of"));
}

TEST_P(TextGetters, HandOutNullForAnEmptyText)
{
    for (const auto& [id, key] : getter().keys) {
        const auto record = getter().record({{key, ""}});
        char* value = untouched();
        EXPECT_EQ(getter().get(record.get(), id, &value), 0);
        EXPECT_EQ(value, nullptr) << key;
    }
}

TEST_P(TextGetters, RefuseAMissingRecordOrOutPointerBeforeTheId)
{
    expect_null_record_and_out_to_be_refused_before_the_id(untouched());
}

TEST_P(TextGetters, RefuseEveryOtherId)
{
    expect_other_ids_to_be_refused(untouched());
}

TEST_P(TextGetters, FailWhenTheKeyIsAbsent)
{
    expect_absent_keys_to_fail(untouched());
}

TEST_P(TextGetters, FailWithoutMemoryAndLeaveTheOutValueAlone)
{
    const auto& [id, key] = *getter().keys.begin();
    const auto record = getter().record({{key, "x"}});
    char* value = untouched();
    FailingAllocation first(1);
    EXPECT_EQ(getter().get(record.get(), id, &value), out_of_memory);
    EXPECT_TRUE(first.happened());
    EXPECT_EQ(value, untouched());
}

#define FAMILY(kind)                                                           \
    .record = [](const BundleItems& items) { return record_of<kind>(items); }, \
    .record_without_bundle = [] { return record_of<kind>(); }

std::vector<Getter<char*>> text_getters()
{
    return {
        {.function = "quorvel_client_easy_setup_access_point_get_string",
         .get = quorvel_client_easy_setup_access_point_get_string,
         FAMILY(AccessPoint),
         .keys = {{0, "ssid"},
                  {1, "macAddr"},
                  {2, "channel"},
                  {3, "encType"},
                  {4, "secType"},
                  {5, "maxRate"},
                  {6, "rssi"},
                  {7, "freq"}},
         .invalid_id = "invalid property id ",
         .absent = numbered_absence("access_point_property_id_e")},
        {.function = "quorvel_client_easy_setup_device_property_get_string",
         .get = quorvel_client_easy_setup_device_property_get_string,
         FAMILY(DeviceProperty),
         .keys = {{0, "language"},
                  {1, "country"},
                  {2, "location"},
                  {3, "discoveryChannel"},
                  {4, "ZOAccount"},
                  {5, "UTCDateTime"},
                  {6, "regionalDateTime"},
                  {7, "registerMobileDevice"},
                  {8, "bssid"},
                  {9, "ssid"},
                  {10, "password"},
                  {11, "wifiAuthType"},
                  {12, "wifiEncType"}},
         .invalid_id = "invalid property id ",
         .absent = numbered_absence("easy_setup_device_property_id_e")},
        // Only one of the two can be read, and when it is absent the line tells of a language.
        {.function = "quorvel_client_easy_setup_cloud_property_get_string",
         .get = quorvel_client_easy_setup_cloud_property_get_string,
         FAMILY(CloudProperty),
         .keys = {{0, "ciHostAddress"}},
         .invalid_id = "invalid property id ",
         .absent = plain_absence("language")},
        {.function = "quorvel_client_easy_setup_device_conf_get_string",
         .get = quorvel_client_easy_setup_device_conf_get_string,
         FAMILY(DeviceConf),
         .keys = {{5, "deviceName"},
                  {6, "modelNumber"},
                  {7, "deviceType"},
                  {8, "deviceSubType"},
                  {9, "registerSetDevice"},
                  {10, "pnpPin"},
                  {11, "bssid"},
                  {12, "networkProvisioningInfo"},
                  {13, "esProtocolVersion"},
                  {14, "country"},
                  {15, "hubId"},
                  {17, "tcHeader"},
                  {18, "tcVersion"}},
         .invalid_id = "invalid config id ",
         .absent = numbered_absence("device_conf_info_id_e")},
        {.function = "quorvel_client_provisioning_info_get_string",
         .get = quorvel_client_provisioning_info_get_string,
         FAMILY(ProvInfo),
         .keys = {{5, "softApAddress"},
                  {6, "bleAddress"},
                  {7, "easysetupId"},
                  {8, "easysetupVer"},
                  {9, "setupId"},
                  {10, "targetSerialNum"},
                  {11, "firmwareVer"},
                  {12, "sessionId"},
                  {13, "lastStatus"},
                  {14, "nonce"},
                  {15, "countryCode"},
                  {16, "targetLogId"},
                  {17, "mnmn"},
                  {18, "vid"}},
         .invalid_id = "invalid id ",
         .absent = numbered_absence("enum")},
    };
}

const auto name_of_row = [](const auto& each) {
    return std::string(each.param.function).substr(std::string("quorvel_client_").size());
};

INSTANTIATE_TEST_SUITE_P(Each, TextGetters, testing::ValuesIn(text_getters()), name_of_row);

using NumberGetters = Getters<int>;

TEST_P(NumberGetters, ReadDigits)
{
    const std::pair<const char*, int> readings[] = {
        {"2412", 2412},
        {"", 0},  // an empty text is a number
        {"0", 0},
        {"007", 7},
        {"2147483647", INT_MAX},
        // Too large for an integer, and then for a long one: what atoi makes of them.
        {"4294967297", 1},
        {"99999999999999999999", -1},
    };
    for (const auto& [id, key] : getter().keys) {
        for (const auto& [digits, number] : readings) {
            const auto record = getter().record({{key, digits}});
            int value = 4711;
            EXPECT_EQ(getter().get(record.get(), id, &value), 0) << key << ' ' << digits;
            EXPECT_EQ(value, number) << key << ' ' << digits;
        }
    }
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_P(NumberGetters, RefuseEverythingElse)
{
    for (const auto& [id, key] : getter().keys) {
        for (const char* const text : {"-1", "+1", "24a", "a", " 1", "1 ", "1\n", "1.0", "0x1"}) {
            const auto record = getter().record({{key, text}});
            int value = 4711;
            EXPECT_EQ(getter().get(record.get(), id, &value), operation_failed) << key << ' ' << text;
            EXPECT_EQ(value, 4711);
        }
    }
}

TEST_P(NumberGetters, RefuseAMissingRecordOrOutPointerBeforeTheId)
{
    expect_null_record_and_out_to_be_refused_before_the_id(4711);
}

TEST_P(NumberGetters, RefuseEveryOtherId)
{
    expect_other_ids_to_be_refused(4711);
}

TEST_P(NumberGetters, FailWhenTheKeyIsAbsent)
{
    expect_absent_keys_to_fail(4711);
}

INSTANTIATE_TEST_SUITE_P(
    Each, NumberGetters,
    testing::Values(Getter<int>{.function = "quorvel_client_easy_setup_device_conf_get_int",
                                .get = quorvel_client_easy_setup_device_conf_get_int,
                                FAMILY(DeviceConf),
                                // The last one lies among the texts.
                                .keys = {{1, "freq"},
                                         {2, "provStatus"},
                                         {3, "lastErrorCode"},
                                         {4, "netConnectionState"},
                                         {16, "tcStatus"}},
                                .invalid_id = "invalid config id ",
                                .absent = numbered_absence("device_conf_info_id_e")},
                    Getter<int>{.function = "quorvel_client_provisioning_info_get_int",
                                .get = quorvel_client_provisioning_info_get_int,
                                FAMILY(ProvInfo),
                                .keys = {{2, "otmSupport"}, {3, "accessibility"}, {4, "supportedTokenType"}},
                                .invalid_id = "invalid id ",
                                .absent = numbered_absence("enum")}),
    name_of_row);

using TruthGetters = Getters<bool>;

TEST_P(TruthGetters, ReadTheSingleDigitsZeroAndOneOnly)
{
    for (const auto& [id, key] : getter().keys) {
        for (const bool expected : {true, false}) {
            const auto record = getter().record({{key, expected ? "1" : "0"}});
            bool value = !expected;
            EXPECT_EQ(getter().get(record.get(), id, &value), 0);
            EXPECT_EQ(value, expected);
        }
        for (const char* const text : {"", "2", "10", "01", "true", "TRUE", "-1", "1\n"}) {
            const auto record = getter().record({{key, text}});
            bool value = true;
            EXPECT_EQ(getter().get(record.get(), id, &value), operation_failed) << key << ' ' << text;
            EXPECT_TRUE(value);
        }
    }
}

TEST_P(TruthGetters, RefuseAMissingRecordOrOutPointerBeforeTheId)
{
    expect_null_record_and_out_to_be_refused_before_the_id(true);
}

TEST_P(TruthGetters, RefuseEveryOtherId)
{
    expect_other_ids_to_be_refused(true);
}

TEST_P(TruthGetters, FailWhenTheKeyIsAbsent)
{
    expect_absent_keys_to_fail(true);
}

INSTANTIATE_TEST_SUITE_P(
    Each, TruthGetters,
    testing::Values(Getter<bool>{.function = "quorvel_client_easy_setup_device_conf_get_bool",
                                 .get = quorvel_client_easy_setup_device_conf_get_bool,
                                 FAMILY(DeviceConf),
                                 .keys = {{0, "isCloudAccessible"}},
                                 .invalid_id = "invalid config id ",
                                 .absent = plain_absence("isCloudAccessible")},
                    Getter<bool>{.function = "quorvel_client_provisioning_info_get_bool",
                                 .get = quorvel_client_provisioning_info_get_bool,
                                 FAMILY(ProvInfo),
                                 .keys = {{0, "owned"}, {1, "provisioningReset"}},
                                 .invalid_id = "invalid id ",
                                 .absent = numbered_absence("enum")}),
    name_of_row);

// ---------------------------------------------------------------------------------------------------------
// Lists

struct TextListGetter {
    const char* function;
    int (*get)(void* record, int id, char*** list, int* count);
    AnyRecord (*record)(const BundleItems& items);
    AnyRecord (*record_without_bundle)();
    int id;
    const char* key;
    const char* invalid_id;
    const char* absent;
};

void PrintTo(const TextListGetter& getter, std::ostream* out)
{
    *out << getter.function;
}

class TextListGetters : public WithAgent, public testing::WithParamInterface<TextListGetter> {
protected:
    LogLine refusal(const std::string& text) const { return failure(GetParam().function, text); }
};

TEST_P(TextListGetters, HandOutCopiesWithANullBehindTheLastOne)
{
    const auto record = GetParam().record({{GetParam().key, Strings{"den", "", "attic"}}});
    OwnedTexts values;
    ASSERT_EQ(GetParam().get(record.get(), GetParam().id, values, values), 0);
    EXPECT_THAT(values.strings(), ElementsAre("den", "", "attic"));
    EXPECT_EQ(values.list()[3], nullptr);
}

TEST_P(TextListGetters, HandOutNullAndZeroForAnEmptyList)
{
    const auto record = GetParam().record({{GetParam().key, Strings{}}});
    char* text = untouched();
    char** list = &text;
    int size = 77;
    const int code = GetParam().get(record.get(), GetParam().id, &list, &size);
    ASSERT_EQ(code, 0);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(size, 0);
}

TEST_P(TextListGetters, RefuseWhatIsMissingBeforeTheId)
{
    const auto record = GetParam().record({});
    char** list = nullptr;
    int size = 77;
    EXPECT_EQ(GetParam().get(nullptr, -1, &list, &size), invalid_parameter);
    EXPECT_EQ(GetParam().get(record.get(), -1, nullptr, &size), invalid_parameter);
    EXPECT_EQ(GetParam().get(record.get(), -1, &list, nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(refusal("invalid parameter"), refusal("invalid parameter"),
                                refusal("invalid parameter")));
    EXPECT_EQ(size, 77);
}

TEST_P(TextListGetters, RefuseEveryOtherId)
{
    const auto record = GetParam().record({{GetParam().key, Strings{"den"}}});
    char** list = nullptr;
    int size = 77;
    for (int id = -1; id <= 20; ++id) {
        if (id == GetParam().id)
            continue;
        clear_log();
        EXPECT_EQ(GetParam().get(record.get(), id, &list, &size), invalid_parameter) << id;
        EXPECT_THAT(errors(), Lines(refusal(numbered(GetParam().invalid_id, id))));
    }
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(size, 77);
}

TEST_P(TextListGetters, FailWhenTheKeyIsAbsentOrHoldsNoList)
{
    for (const auto& record : {GetParam().record({}), GetParam().record_without_bundle(),
                               GetParam().record({{GetParam().key, "den"}})}) {
        clear_log();
        char** list = nullptr;
        int size = 77;
        EXPECT_EQ(GetParam().get(record.get(), GetParam().id, &list, &size), operation_failed);
        EXPECT_THAT(log_of(public_tag), testing::Contains(refusal(GetParam().absent)));
        EXPECT_EQ(list, nullptr);
        EXPECT_EQ(size, 77);
    }
}

TEST_P(TextListGetters, FailWithoutMemoryForTheListOrOneOfItsTexts)
{
    const auto record = GetParam().record({{GetParam().key, Strings{"den", "attic"}}});
    for (int nth = 1; nth <= 3; ++nth) {
        clear_log();
        char** list = nullptr;
        int size = 77;
        FailingAllocation failing(nth);
        EXPECT_EQ(GetParam().get(record.get(), GetParam().id, &list, &size), out_of_memory) << nth;
        EXPECT_TRUE(failing.happened());
        EXPECT_THAT(errors(), Lines(refusal("fail to calloc")));
        EXPECT_EQ(list, nullptr);
        EXPECT_EQ(size, 77);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Each, TextListGetters,
    testing::Values(TextListGetter{.function = "quorvel_client_easy_setup_device_property_get_string_array",
                                   .get = quorvel_client_easy_setup_device_property_get_string_array,
                                   FAMILY(DeviceProperty),
                                   .id = 13,
                                   .key = "qclocations",
                                   .invalid_id = "invalid property id ",
                                   .absent = "get locations failed"},
                    TextListGetter{.function = "quorvel_client_provisioning_info_get_string_array",
                                   .get = quorvel_client_provisioning_info_get_string_array,
                                   FAMILY(ProvInfo),
                                   .id = 19,
                                   .key = "protocolList",
                                   .invalid_id = "invalid id ",
                                   .absent = "get protocolList failed"}),
    name_of_row);

class WifiModes : public WithAgent {
protected:
    ~WifiModes() override { std::free(list_); }

    int get(const BundleItems& items, int id = 19)
    {
        const DeviceConf record{items};
        return quorvel_client_easy_setup_device_conf_get_int_array(record, id, &list_, &size_);
    }
    static LogLine refusal(const std::string& text)
    {
        return failure("quorvel_client_easy_setup_device_conf_get_int_array", text);
    }

    int* list_ = nullptr;
    int size_ = 77;
};

TEST_F(WifiModes, AreReadAsNumbers)
{
    ASSERT_EQ(get({{"wifiModes", Strings{"11", "", "2"}}}), 0);
    ASSERT_EQ(size_, 3);
    EXPECT_EQ(list_[0], 11);
    EXPECT_EQ(list_[1], 0);
    EXPECT_EQ(list_[2], 2);
}

TEST_F(WifiModes, AreNullAndZeroWhenThereAreNone)
{
    ASSERT_EQ(get({{"wifiModes", Strings{}}}), 0);
    EXPECT_EQ(list_, nullptr);
    EXPECT_EQ(size_, 0);
}

TEST_F(WifiModes, FailAltogetherWhenOneIsNoNumber)
{
    for (const auto& modes : {Strings{"1", "-2", "3"}, Strings{"a", "2", "3"}, Strings{"1", "2", "3a"}}) {
        EXPECT_EQ(get({{"wifiModes", modes}}), operation_failed);
        EXPECT_EQ(list_, nullptr);
        EXPECT_EQ(size_, 77);
    }
}

TEST_F(WifiModes, FailWhenTheyAreAbsentOrNoList)
{
    EXPECT_EQ(get({}), operation_failed);
    EXPECT_EQ(get({{"wifiModes", "1"}}), operation_failed);
    EXPECT_THAT(errors(), Lines(refusal("get wifiModes failed"), refusal("get wifiModes failed")));
}

TEST_F(WifiModes, RefuseEveryOtherId)
{
    for (const int id : {INT_MIN, -1, 0, 1, 5, 16, 18, 20, INT_MAX}) {
        clear_log();
        EXPECT_EQ(get({{"wifiModes", Strings{"1"}}}, id), invalid_parameter);
        EXPECT_THAT(errors(), Lines(refusal(numbered("invalid config id ", id))));
    }
}

TEST_F(WifiModes, RefuseWhatIsMissingBeforeTheId)
{
    const DeviceConf record{BundleItems{}};
    EXPECT_EQ(quorvel_client_easy_setup_device_conf_get_int_array(nullptr, -1, &list_, &size_),
              invalid_parameter);
    EXPECT_EQ(quorvel_client_easy_setup_device_conf_get_int_array(record, -1, nullptr, &size_),
              invalid_parameter);
    EXPECT_EQ(quorvel_client_easy_setup_device_conf_get_int_array(record, -1, &list_, nullptr),
              invalid_parameter);
    EXPECT_THAT(errors(), HasLineTimes(refusal("invalid parameter"), 3));
}

TEST_F(WifiModes, FailWithoutMemory)
{
    const DeviceConf record{{{"wifiModes", Strings{"1"}}}};
    FailingAllocation first(1);
    EXPECT_EQ(quorvel_client_easy_setup_device_conf_get_int_array(record, 19, &list_, &size_), out_of_memory);
    EXPECT_TRUE(first.happened());
    EXPECT_THAT(errors(), Lines(refusal("Fail to mem alloc")));
    EXPECT_EQ(size_, 77);
}

// ---------------------------------------------------------------------------------------------------------
// Setters

struct TextSetter {
    const char* name;
    const char* function;
    int (*set)(void* record, int id, const char* value);
    std::map<int, const char*> keys;
};

void PrintTo(const TextSetter& setter, std::ostream* out)
{
    *out << setter.name;
}

// Both families are read and written in the same way.
class TextSetters : public WithAgent, public testing::WithParamInterface<TextSetter> {
protected:
    static bool is_cloud() { return std::string(GetParam().name) == "Cloud"; }
    static LogLine refusal(const std::string& text) { return failure(GetParam().function, text); }

    // Sets in a record of the right kind, one after the other; what it holds in the end.
    template <typename Kind>
    static BundleItems after(const std::function<void(void*)>& calls, const Kind& record)
    {
        calls(record);
        return record.items();
    }
    static BundleItems after(const std::function<void(void*)>& calls, const BundleItems& before)
    {
        return is_cloud() ? after(calls, CloudProperty{before}) : after(calls, DeviceProperty{before});
    }
    static BundleItems after_without_bundle(const std::function<void(void*)>& calls)
    {
        return is_cloud() ? after(calls, CloudProperty{}) : after(calls, DeviceProperty{});
    }
};

TEST_P(TextSetters, KeepEachValueUnderTheKeyOfItsNumber)
{
    for (const auto& [id, key] : GetParam().keys) {
        const auto items =
            after([id = id](void* record) { EXPECT_EQ(GetParam().set(record, id, "sesame"), 0); },
                  BundleItems{{"other", "x"}});
        EXPECT_EQ(items, (BundleItems{{"other", "x"}, {key, "sesame"}}));
    }
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_THAT(log(), NowhereContains("sesame"));
}

TEST_P(TextSetters, AnswerThePlatformsCodeWhenTheKeyIsThereAndKeepTheFirstValue)
{
    const auto items = after(
        [](void* record) {
            EXPECT_EQ(GetParam().set(record, 0, "first"), 0);
            EXPECT_EQ(GetParam().set(record, 0, "second"), key_exists);
        },
        BundleItems{});
    EXPECT_EQ(items, (BundleItems{{GetParam().keys.at(0), "first"}}));
}

TEST_P(TextSetters, AnswerAnyCodeOfThePlatformUnchanged)
{
    platform().fail("bundle_add_str", 1, -4242);
    after([](void* record) { EXPECT_EQ(GetParam().set(record, 0, "x"), -4242); }, BundleItems{});
}

TEST_P(TextSetters, CopeWithARecordWithoutABundle)
{
    const auto items =
        after_without_bundle([](void* record) { EXPECT_EQ(GetParam().set(record, 0, "x"), 0); });
    EXPECT_EQ(items, (BundleItems{{GetParam().keys.at(0), "x"}}));
}

TEST_P(TextSetters, FailWithoutMemoryForABundle)
{
    platform().fail("bundle_create");
    const auto items =
        after_without_bundle([](void* record) { EXPECT_EQ(GetParam().set(record, 0, "x"), out_of_memory); });
    EXPECT_EQ(items, (BundleItems{{"no", "bundle"}}));
}

TEST_P(TextSetters, LoseNothingWhenTheMemoryIsGone)
{
    const auto items = after(
        [](void* record) {
            platform().fail_from("bundle_dup");
            platform().fail("bundle_add_str");
            EXPECT_EQ(GetParam().set(record, 0, "x"), out_of_memory);
            platform().fail_no_more();
        },
        BundleItems{{"other", "kept"}});
    EXPECT_EQ(items, (BundleItems{{"other", "kept"}}));
}

TEST_P(TextSetters, RefuseAMissingRecordOrValueBeforeTheId)
{
    after(
        [](void* record) {
            EXPECT_EQ(GetParam().set(nullptr, -1, "x"), invalid_parameter);
            EXPECT_EQ(GetParam().set(record, -1, nullptr), invalid_parameter);
            EXPECT_EQ(GetParam().set(record, -1, ""), invalid_parameter);
        },
        BundleItems{});
    EXPECT_THAT(errors(), Lines(refusal("invalid parameter"), refusal("invalid parameter"),
                                refusal("invalid parameter")));
}

TEST_P(TextSetters, RefuseEveryOtherId)
{
    const auto items = after(
        [](void* record) {
            for (const int id : {INT_MIN, -1, 2, 12, 13, 14, INT_MAX}) {
                if (GetParam().keys.count(id) != 0)
                    continue;
                clear_log();
                EXPECT_EQ(GetParam().set(record, id, "x"), invalid_parameter);
                EXPECT_THAT(errors(), Lines(refusal(numbered("invalid property id ", id))));
            }
        },
        BundleItems{});
    EXPECT_EQ(items, BundleItems{});
}

INSTANTIATE_TEST_SUITE_P(
    Each, TextSetters,
    testing::Values(TextSetter{.name = "Device",
                               .function = "quorvel_client_easy_setup_device_property_set_string",
                               .set = quorvel_client_easy_setup_device_property_set_string,
                               .keys = {{0, "language"},
                                        {1, "country"},
                                        {2, "location"},
                                        {3, "discoveryChannel"},
                                        {4, "ZOAccount"},
                                        {5, "UTCDateTime"},
                                        {6, "regionalDateTime"},
                                        {7, "registerMobileDevice"},
                                        {8, "bssid"},
                                        {9, "ssid"},
                                        {10, "password"},
                                        {11, "wifiAuthType"},
                                        {12, "wifiEncType"}}},
                    TextSetter{.name = "Cloud",
                               .function = "quorvel_client_easy_setup_cloud_property_set_string",
                               .set = quorvel_client_easy_setup_cloud_property_set_string,
                               .keys = {{0, "ciHostAddress"}, {1, "TCResult"}}}),
    [](const auto& each) { return each.param.name; });

class LocationsSetter : public WithAgent {
protected:
    static int set(void* record, int id, const char* const* list, int count)
    {
        return quorvel_client_easy_setup_device_property_set_string_array(record, id, list, count);
    }
    static LogLine refusal(const std::string& text)
    {
        return failure("quorvel_client_easy_setup_device_property_set_string_array", text);
    }
};

TEST_F(LocationsSetter, KeepsTheList)
{
    const DeviceProperty record{BundleItems{}};
    const char* const list[] = {"den", "attic"};
    EXPECT_EQ(set(record, 13, list, 2), 0);
    EXPECT_EQ(record.items(), (BundleItems{{"qclocations", Strings{"den", "attic"}}}));
    const char* const other[] = {"hall"};
    EXPECT_EQ(set(record, 13, other, 1), key_exists);
    EXPECT_EQ(record.items(), (BundleItems{{"qclocations", Strings{"den", "attic"}}}));
}

TEST_F(LocationsSetter, RefusesWhatIsMissingBeforeTheId)
{
    const DeviceProperty record{BundleItems{}};
    const char* const list[] = {"den"};
    const char* const no_first[] = {nullptr, "den"};
    EXPECT_EQ(set(nullptr, 0, list, 1), invalid_parameter);
    EXPECT_EQ(set(record, 0, nullptr, 1), invalid_parameter);
    EXPECT_EQ(set(record, 0, no_first, 2), invalid_parameter);
    EXPECT_THAT(errors(), HasLineTimes(refusal("invalid parameter"), 3));
}

TEST_F(LocationsSetter, DoesNotCheckTheCount)
{
    const char* const list[] = {"den", "attic"};
    const DeviceProperty none{BundleItems{}};
    EXPECT_EQ(set(none, 13, list, 0), 0);
    EXPECT_EQ(none.items(), (BundleItems{{"qclocations", Strings{}}}));
    const DeviceProperty record{BundleItems{}};
    EXPECT_EQ(set(record, 13, list, -1), BUNDLE_ERROR_INVALID_PARAMETER);  // as the platform says
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(LocationsSetter, RefusesEveryOtherId)
{
    const DeviceProperty record{BundleItems{}};
    const char* const list[] = {"den"};
    for (const int id : {INT_MIN, -1, 0, 12, 14, INT_MAX}) {
        clear_log();
        EXPECT_EQ(set(record, id, list, 1), invalid_parameter);
        EXPECT_THAT(errors(), Lines(refusal(numbered("invalid property id ", id))));
    }
    EXPECT_EQ(record.items(), BundleItems{});
}

// ---------------------------------------------------------------------------------------------------------
// Making and releasing

struct Maker {
    const char* function;
    int (*create)(void** record);
    int (*destroy)(void* record);
    int (*set)(void* record, int id, const char* value);
    int (*get)(void* record, int id, char** value);
    const char* failure;
};

void PrintTo(const Maker& maker, std::ostream* out)
{
    *out << maker.function;
}

class Makers : public WithAgent, public testing::WithParamInterface<Maker> {};

TEST_P(Makers, GiveARecordWithAnEmptyBundle)
{
    void* record = nullptr;
    ASSERT_EQ(GetParam().create(&record), 0);
    EXPECT_EQ(live().bundles, 1);
    ASSERT_EQ(GetParam().set(record, 0, "x"), 0);
    OwnedText value;
    EXPECT_EQ(GetParam().get(record, 0, value), 0);
    EXPECT_STREQ(value.get(), "x");
    EXPECT_EQ(GetParam().destroy(record), 0);
}

TEST_P(Makers, RefuseAMissingOutPointer)
{
    EXPECT_EQ(GetParam().create(nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(failure(GetParam().function, "invalid parameter")));
}

TEST_P(Makers, FailWithoutMemoryForTheRecordOrItsBundle)
{
    void* record = untouched();
    {
        FailingAllocation first(1);
        EXPECT_EQ(GetParam().create(&record), operation_failed);
        EXPECT_TRUE(first.happened());
    }
    EXPECT_THAT(errors(), HasLine(failure(GetParam().function, GetParam().failure)));
    platform().fail("bundle_create");
    EXPECT_EQ(GetParam().create(&record), operation_failed);
    EXPECT_THAT(errors(), HasLine(failure(GetParam().function, "bundle_create failed")));
    EXPECT_EQ(record, untouched());
}

INSTANTIATE_TEST_SUITE_P(Each, Makers,
                         testing::Values(Maker{.function = "quorvel_client_easy_setup_device_property_create",
                                               .create = quorvel_client_easy_setup_device_property_create,
                                               .destroy = quorvel_client_easy_setup_device_property_destroy,
                                               .set = quorvel_client_easy_setup_device_property_set_string,
                                               .get = quorvel_client_easy_setup_device_property_get_string,
                                               .failure = "rpc_port_device_prop_s_create failed"},
                                         Maker{.function = "quorvel_client_easy_setup_cloud_property_create",
                                               .create = quorvel_client_easy_setup_cloud_property_create,
                                               .destroy = quorvel_client_easy_setup_cloud_property_destroy,
                                               .set = quorvel_client_easy_setup_cloud_property_set_string,
                                               .get = quorvel_client_easy_setup_cloud_property_get_string,
                                               .failure = "rpc_port_cloud_prop_s_create failed"}),
                         name_of_row);

class EasySetupRecords : public WithAgent {};

TEST_F(EasySetupRecords, RefuseToReleaseNothingEachInItsOwnWords)
{
    EXPECT_EQ(quorvel_client_easy_setup_destroy_access_point(nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_easy_setup_destroy_access_point_list(nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_easy_setup_device_property_destroy(nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_easy_setup_cloud_property_destroy(nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_easy_setup_device_conf_destroy(nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_provisioning_info_destroy(nullptr), invalid_parameter);
    EXPECT_THAT(
        errors(),
        Lines(
            failure("quorvel_client_easy_setup_destroy_access_point", "ap_h is NULL"),
            failure("quorvel_client_easy_setup_destroy_access_point_list", "ap_h is NULL"),
            failure("quorvel_client_easy_setup_device_property_destroy", "quorvel_client condition is NULL"),
            failure("quorvel_client_easy_setup_cloud_property_destroy", "quorvel_client condition is NULL"),
            failure("quorvel_client_easy_setup_device_conf_destroy", "quorvel_client condition is NULL"),
            failure("quorvel_client_provisioning_info_destroy", "invalid parameter")));
}

TEST_F(EasySetupRecords, AreReleasedWithTheirBundles)
{
    EXPECT_EQ(quorvel_client_easy_setup_destroy_access_point(AccessPoint{BundleItems{}}.release()), 0);
    EXPECT_EQ(quorvel_client_easy_setup_device_property_destroy(DeviceProperty{BundleItems{}}.release()), 0);
    EXPECT_EQ(quorvel_client_easy_setup_cloud_property_destroy(CloudProperty{BundleItems{}}.release()), 0);
    EXPECT_EQ(quorvel_client_easy_setup_device_conf_destroy(DeviceConf{BundleItems{}}.release()), 0);
    EXPECT_EQ(quorvel_client_provisioning_info_destroy(ProvInfo{BundleItems{}}.release()), 0);
    EXPECT_EQ(live().bundles, 0);
}

TEST_F(EasySetupRecords, AreReleasedWithTheirListUpToItsNull)
{
    auto** const list = static_cast<void**>(std::calloc(4, sizeof(void*)));
    list[0] = AccessPoint{BundleItems{}}.release();
    list[1] = AccessPoint{BundleItems{}}.release();
    AccessPoint behind{BundleItems{}};
    list[3] = behind;
    EXPECT_EQ(quorvel_client_easy_setup_destroy_access_point_list(list), 0);
    EXPECT_EQ(live().bundles, 1);
}

}  // namespace
