// Remote resources and the services of the account: quorvel_client_qc_api.cpp over the scripted platform.
// Its subscriptions have tests of their own, quorvel_client_qc_api_requests_test.cpp.
#include <quorvel_client_proxy.h>
#include <quorvel_client_qc_api.h>

#include <cstring>

#include "api_contract.hpp"
#include "callback_contract.hpp"
#include "connected_client.hpp"
#include "failing_allocations.hpp"
#include "hearing.hpp"

extern "C" {
void _third_party_notification_status_cb(void* request, int first, bool second,
                                         rpc_port_array_string_h strings, int fifth);
void _file_transfer_data_cb(void* request, rpc_port_array_transfer_data_s_h files, int second,
                            const char* status, int fourth);
}

namespace scripted {
namespace {

using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

constexpr auto source = "quorvel_client_qc_api";
constexpr int invalid_parameter = -22;
constexpr int out_of_memory = -12;
constexpr int no_space = -28;
constexpr int operation_failed = -1073741825;
constexpr int lower_version = -1073741830;

constexpr const char* two_topics[] = {"mail", "news"};

using Representation = quorvel_client_remote_representation_cb;
using Attributes = quorvel_client_remote_attributes_cb;
using Accessories = quorvel_client_accessory_list_cb;
using Migration = quorvel_client_vxr_migration_cb;
using Token = quorvel_client_vxr_device_token_cb;
using PeerToken = quorvel_client_vxr_device_peer_token_cb;
using Notification = quorvel_client_third_party_notification_cb;

// ---------------------------------------------------------------------------------------------------------
// What all of them share

void* const nobody = nullptr;
void ignore_status(int, bool, char** list, int count, void*)
{
    for (int i = 0; i < count; ++i)
        std::free(list[i]);
    std::free(list);
}
void ignore_files(int, quorvel_client_file_h* list, int count, const char*, void*)
{
    const OwnedRecords files{rpc_port_transfer_data_s_destroy, list, count};
}

[[maybe_unused]] const bool contracts = register_contracts(
    source,
    {
        Contract("quorvel_client_set_remote_representation", {1, 0},
                 [](auto client) {
                     return quorvel_client_set_remote_representation(client, "lamp", "/light", "{}", "q", "o",
                                                                     nullptr, nobody);
                 })
            .asks(31, "set_remote_representation"),
        Contract("quorvel_client_get_remote_representation", {1, 0},
                 [](auto client) {
                     return quorvel_client_get_remote_representation(client, "lamp", "/light", "q", "o",
                                                                     hears<Representation>, nobody);
                 })
            .asks(32, "get_remote_representation"),
        Contract("quorvel_client_set_remote_attributes", {1, 0},
                 [](auto client) {
                     return quorvel_client_set_remote_attributes(client, "lamp", "/light", "{}", "q", "o",
                                                                 nullptr, nobody);
                 })
            .asks(33, "set_remote_attributes"),
        Contract("quorvel_client_get_remote_attributes", {1, 0},
                 [](auto client) {
                     return quorvel_client_get_remote_attributes(client, "lamp", "/light", "q", "o",
                                                                 hears<Attributes>, nobody);
                 })
            .asks(34, "get_remote_attributes"),
        Contract("quorvel_client_get_resource_uris", {2, 2},
                 [](auto client) {
                     OwnedTexts uris;
                     return quorvel_client_get_resource_uris(client, "lamp", "light", uris, uris);
                 })
            .asks(35, "get_resource_uris", {texts({"/light"}), i32(1)}),
        // Reported without the "_by_resource_uri" of the method, which is meant so.
        Contract("quorvel_client_get_resource_types_by_resource_uri", {1, 5},
                 [](auto client) {
                     OwnedTexts types;
                     return quorvel_client_get_resource_types_by_resource_uri(client, "lamp", "/light", types,
                                                                              types);
                 })
            .asks(82, "get_resource_types", {texts({"light"}), i32(1)}),
        Contract(
            "quorvel_client_get_accessory_list", {1, 3},
            [](auto client) { return quorvel_client_get_accessory_list(client, hears<Accessories>, nobody); })
            .asks(51, "get_accessory_list"),
        Contract("quorvel_client_activate_vxr_migration", {1, 0},
                 [](auto client) { return quorvel_client_activate_vxr_migration(client, nullptr, nobody); })
            .asks(36, "activate_vxr_migration"),
        Contract(
            "quorvel_client_get_vxr_device_token", {1, 0},
            [](auto client) { return quorvel_client_get_vxr_device_token(client, hears<Token>, nobody); })
            .asks(37, "get_vxr_device_token"),
        Contract("quorvel_client_get_vxr_device_peer_token", {1, 2},
                 [](auto client) {
                     return quorvel_client_get_vxr_device_peer_token(client, "lamp", hears<PeerToken>,
                                                                     nobody);
                 })
            .asks(46, "get_vxr_device_peer_token"),
        Contract("quorvel_client_set_third_party_notification", {1, 0},
                 [](auto client) {
                     return quorvel_client_set_third_party_notification(client, "provider", "registration",
                                                                        "app", "en", nullptr, nobody);
                 })
            .asks(38, "set_third_party_notification"),
        Contract("quorvel_client_set_third_party_notification_status", {2, 2},
                 [](auto client) {
                     return quorvel_client_set_third_party_notification_status(client, true, two_topics, 2,
                                                                               nullptr, nobody);
                 })
            .asks(94, "set_third_party_notification_status"),
        Contract("quorvel_client_get_third_party_notification_status", {2, 2},
                 [](auto client) {
                     return quorvel_client_get_third_party_notification_status(client, ignore_status, nobody);
                 })
            .asks(95, "get_third_party_notification_status"),
        Contract("quorvel_client_set_third_party_notification_status_updated_cb", {2, 2},
                 [](auto client) {
                     return quorvel_client_set_third_party_notification_status_updated_cb(
                         client, [](void*) {}, nobody);
                 })
            .asks(96, "set_third_party_notification_status_updated_cb"),
        Contract("quorvel_client_unset_third_party_notification_status_updated_cb", {2, 2},
                 quorvel_client_unset_third_party_notification_status_updated_cb)
            .asks(97, "unset_third_party_notification_status_updated_cb"),
        Contract("quorvel_client_get_files", {1, 2},
                 [](auto client) {
                     return quorvel_client_get_files(client, "cam", "/images", "o", ignore_files, nobody);
                 })
            .asks(45, "get_file_transfer_data"),
        Contract::local("quorvel_client_file_get_details", {1, 2},
                        with_record(rpc_port_transfer_data_s_create, rpc_port_transfer_data_s_destroy,
                                    [](auto file) {
                                        OwnedText name;
                                        unsigned char* data = nullptr;
                                        int length = 0;
                                        const int code =
                                            quorvel_client_file_get_details(file, name, &data, &length);
                                        std::free(data);
                                        return code;
                                    })),
        Contract::local("quorvel_client_file_destroy", {1, 2},
                        destroys(rpc_port_transfer_data_s_create, rpc_port_transfer_data_s_destroy,
                                 quorvel_client_file_destroy)),
        Contract("quorvel_client_get_self_sign_up_info", {2, 0},
                 [](auto client) {
                     OwnedRecord info{rpc_port_self_signup_info_s_destroy};
                     return quorvel_client_get_self_sign_up_info(client, "den", "o", info);
                 })
            .asks(93, "get_self_signup_info_for_thing", {bundle_of({{"jwt", "token"}})}),
        Contract::local("quorvel_client_self_sign_up_info_get_string", {2, 0},
                        [](auto) {
                            OwnedRecord info{rpc_port_self_signup_info_s_destroy};
                            rpc_port_self_signup_info_s_h record = nullptr;
                            rpc_port_self_signup_info_s_create(&record);
                            *static_cast<void**>(info) = record;
                            bundle* const values = make_bundle({{"uid", "me"}});
                            rpc_port_self_signup_info_s_set_bundle_data(record, values);
                            bundle_free(values);
                            return quorvel_client_self_sign_up_info_get_string(record, 2, OwnedText{});
                        }),
        Contract::local("quorvel_client_self_sign_up_info_destroy", {2, 0},
                        destroys(rpc_port_self_signup_info_s_create, rpc_port_self_signup_info_s_destroy,
                                 quorvel_client_self_sign_up_info_destroy)),
    });

// A callback that only counts; the user data comes last.
template <typename Callback>
struct Counting;

template <typename... Parameters>
struct Counting<void (*)(Parameters...)> {
    static void count(Parameters... parameters)
    {
        static_cast<Heard*>(std::get<sizeof...(Parameters) - 1>(std::tuple{parameters...}))->hear();
    }
};

template <typename Callback>
Callback counts(bool is_wanted)
{
    return is_wanted ? Counting<Callback>::count : nullptr;
}

void count_status(int first, bool second, char** list, int count, void* heard)
{
    ignore_status(first, second, list, count, heard);
    static_cast<Heard*>(heard)->hear();
}

void count_files(int fourth, quorvel_client_file_h* list, int count, const char* status, void* heard)
{
    ignore_files(fourth, list, count, status, heard);
    static_cast<Heard*>(heard)->hear();
}

const Values five_and_six = {text("one"), text("two"), text("three"), text("four"), text("five"), i32(6)};
const Values two_files = {count(2), text("a.png"), bundle_of({{"TransferData", Bytes{1, 2, 3}}}),
                          i32(3),   text("b.png"), bundle_of({}),
                          i32(-5)};

[[maybe_unused]] const bool repeating_callbacks = register_callbacks({
    RepeatingCallback("quorvel_client_set_third_party_notification_status_updated_cb", source)
        .set([](auto client, Heard& heard) {
            return quorvel_client_set_third_party_notification_status_updated_cb(
                client, counts<quorvel_client_third_party_notification_status_updated_cb>(true), &heard);
        })
        .unset(quorvel_client_unset_third_party_notification_status_updated_cb)
        .speaks(96, 97, 36, {}),
});

[[maybe_unused]] const bool answers = register_callbacks({
    OneAnswer("quorvel_client_set_remote_representation", source)
        .command([](auto client, bool wanted, Heard& heard) {
            return quorvel_client_set_remote_representation(client, "lamp", "/light", "{}", "q", "o",
                                                            counts<Representation>(wanted), &heard);
        })
        .answered(12, five_and_six, "rpc_port_qv_client_remote_representation_cb_create"),
    OneAnswer("quorvel_client_get_remote_representation", source)
        .command([](auto client, bool wanted, Heard& heard) {
            return quorvel_client_get_remote_representation(client, "lamp", "/light", "q", "o",
                                                            counts<Representation>(wanted), &heard);
        })
        .answered(12, five_and_six, "rpc_port_qv_client_remote_representation_cb_create")
        .needing_a_callback(),
    OneAnswer("quorvel_client_set_remote_attributes", source)
        .command([](auto client, bool wanted, Heard& heard) {
            return quorvel_client_set_remote_attributes(client, "lamp", "/light", "{}", "q", "o",
                                                        counts<Attributes>(wanted), &heard);
        })
        .answered(13, five_and_six, "rpc_port_qv_client_remote_attributes_cb_create"),
    OneAnswer("quorvel_client_get_remote_attributes", source)
        .command([](auto client, bool wanted, Heard& heard) {
            return quorvel_client_get_remote_attributes(client, "lamp", "/light", "q", "o",
                                                        counts<Attributes>(wanted), &heard);
        })
        .answered(13, five_and_six, "rpc_port_qv_client_remote_attributes_cb_create")
        .needing_a_callback(),
    OneAnswer("quorvel_client_get_accessory_list", source)
        .command([](auto client, bool wanted, Heard& heard) {
            return quorvel_client_get_accessory_list(client, counts<Accessories>(wanted), &heard);
        })
        .answered(21, {text("[]"), i32(2)}, "rpc_port_qv_client_get_accessory_list_cb_create")
        .needing_a_callback(),
    OneAnswer("quorvel_client_activate_vxr_migration", source)
        .command([](auto client, bool wanted, Heard& heard) {
            return quorvel_client_activate_vxr_migration(client, counts<Migration>(wanted), &heard);
        })
        .answered(14, {text("TRUE")}, "rpc_port_qv_client_activate_vxr_migration_cb_create"),
    OneAnswer("quorvel_client_get_vxr_device_token", source)
        .command([](auto client, bool wanted, Heard& heard) {
            return quorvel_client_get_vxr_device_token(client, counts<Token>(wanted), &heard);
        })
        .answered(15, {text("token"), i32(2)}, "rpc_port_qv_client_get_vxr_device_token_cb_create")
        .needing_a_callback(),
    OneAnswer("quorvel_client_get_vxr_device_peer_token", source)
        .command([](auto client, bool wanted, Heard& heard) {
            return quorvel_client_get_vxr_device_peer_token(client, "lamp", counts<PeerToken>(wanted),
                                                            &heard);
        })
        .answered(20, {text("lamp"), text("token"), flag(true), i32(4)},
                  "rpc_port_qv_client_get_vxr_device_peer_token_cb_create")
        .needing_a_callback(),
    OneAnswer("quorvel_client_set_third_party_notification", source)
        .command([](auto client, bool wanted, Heard& heard) {
            return quorvel_client_set_third_party_notification(client, "provider", "registration", "app",
                                                               "en", counts<Notification>(wanted), &heard);
        })
        .answered(16, {text("TRUE")}, "rpc_port_qv_client_set_third_party_notification_cb_create"),
    OneAnswer("quorvel_client_set_third_party_notification_status", source)
        .command([](auto client, bool wanted, Heard& heard) {
            return quorvel_client_set_third_party_notification_status(client, true, two_topics, 2,
                                                                      counts<Notification>(wanted), &heard);
        })
        .answered(16, {text("TRUE")}, "rpc_port_qv_client_set_third_party_notification_cb_create"),
    OneAnswer("quorvel_client_get_third_party_notification_status", source)
        .command([](auto client, bool wanted, Heard& heard) {
            return quorvel_client_get_third_party_notification_status(client, wanted ? count_status : nullptr,
                                                                      &heard);
        })
        .answered(35, {i32(1), flag(true), texts({"mail", "news"}), i32(2)},
                  "rpc_port_qv_client_third_party_notification_status_cb_create")
        .needing_a_callback(),
    OneAnswer("quorvel_client_get_files", source)
        .command([](auto client, bool wanted, Heard& heard) {
            return quorvel_client_get_files(client, "cam", "/images", "o", wanted ? count_files : nullptr,
                                            &heard);
        })
        .answered(19, {two_files, i32(2), text("done"), i32(0)},
                  "rpc_port_qv_client_file_transfer_data_cb_create")
        .needing_a_callback(),
});

class QcApi : public ConnectedClient {
protected:
    // Each call is refused with this message, and nothing is sent.
    template <typename Call>
    void refused(const char* function, const char* message, Call call, int code = invalid_parameter)
    {
        clear_log();
        EXPECT_EQ(call(), code) << message;
        EXPECT_THAT(errors(), testing::Contains(qc_error(source, function, message)));
        EXPECT_EQ(errors().back(), qc_error(source, function, message));
        EXPECT_THAT(agent().requests(), IsEmpty());
    }
    // A handle without a proxy, for as long as this lives: checks that come before are seen to do so.
    struct WithoutProxy {
        explicit WithoutProxy(quorvel_client_h handle)
            : proxy{*static_cast<void**>(handle)}, taken{std::exchange(proxy, nullptr)}
        {
        }
        ~WithoutProxy() { proxy = taken; }
        WithoutProxy(const WithoutProxy&) = delete;
        WithoutProxy& operator=(const WithoutProxy&) = delete;
        void*& proxy;
        void* taken;
    };

    Ear ear;
};

// ---------------------------------------------------------------------------------------------------------

class RemoteResource : public QcApi {};

TEST_F(RemoteResource, SendsDeviceUriValueAndTheTwoExtrasToSet)
{
    agent().otherwise_answer(0);
    EXPECT_EQ(quorvel_client_set_remote_representation(client, "lamp", "/light", "{\"on\":1}", "query",
                                                       "options", hears<Representation>, &ear),
              0);
    EXPECT_EQ(agent().request(), (Sent{i32(31), text("lamp"), text("/light"), text("{\"on\":1}"),
                                       text("query"), text("options"), delegate(12, 1, true)}));
    EXPECT_EQ(quorvel_client_set_remote_attributes(client, "lamp", "/light", "{\"on\":1}", nullptr, nullptr,
                                                   hears<Attributes>, &ear),
              0);
    EXPECT_EQ(agent().request(), (Sent{i32(33), text("lamp"), text("/light"), text("{\"on\":1}"), text(""),
                                       text(""), delegate(13, 1, true)}));
}

TEST_F(RemoteResource, SendsDeviceUriAndTheTwoExtrasToGet)
{
    agent().otherwise_answer(0);
    EXPECT_EQ(quorvel_client_get_remote_representation(client, "lamp", "/light", "query", "options",
                                                       hears<Representation>, &ear),
              0);
    EXPECT_EQ(agent().request(), (Sent{i32(32), text("lamp"), text("/light"), text("query"), text("options"),
                                       delegate(12, 1, true)}));
    EXPECT_EQ(quorvel_client_get_remote_attributes(client, "lamp", "/light", nullptr, nullptr,
                                                   hears<Attributes>, &ear),
              0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(34), text("lamp"), text("/light"), text(""), text(""), delegate(13, 1, true)}));
}

TEST_F(RemoteResource, TellsTheSixthFirstAndTheFifthBeforeTheFourth)
{
    agent().otherwise_answer(0);
    const Strings told = {"6", "one", "two", "three", "five", "four"};
    quorvel_client_set_remote_representation(client, "lamp", "/light", "{}", "", "", hears<Representation>,
                                             &ear);
    quorvel_client_get_remote_representation(client, "lamp", "/light", "", "", hears<Representation>, &ear);
    quorvel_client_set_remote_attributes(client, "lamp", "/light", "{}", "", "", hears<Attributes>, &ear);
    quorvel_client_get_remote_attributes(client, "lamp", "/light", "", "", hears<Attributes>, &ear);
    agent().fire(12, 1, true, five_and_six);
    agent().fire(12, 2, false, five_and_six);
    EXPECT_THAT(ear.heard, ElementsAre(told, told));
    agent().fire(13, 1, true, five_and_six);
    agent().fire(13, 2, false, five_and_six);
    EXPECT_THAT(ear.heard, ElementsAre(told, told, told, told));
    EXPECT_THAT(log(), HasLineTimes(qc_info(source, "_remote_representation_cb", "ENTER v[2.4.29]"), 2));
    EXPECT_THAT(log(), HasLineTimes(qc_info(source, "_remote_attributes_cb", "ENTER v[2.4.29]"), 2));
}

TEST_F(RemoteResource, BlamesDeviceThenUriThenValueThenProxyOfASetting)
{
    const WithoutProxy without{client};
    const auto both = [&](const char* device_id, const char* uri, const char* value, const char* message) {
        refused("quorvel_client_set_remote_representation", message, [&] {
            return quorvel_client_set_remote_representation(client, device_id, uri, value, "", "", nullptr,
                                                            nobody);
        });
        refused("quorvel_client_set_remote_attributes", message, [&] {
            return quorvel_client_set_remote_attributes(client, device_id, uri, value, "", "", nullptr,
                                                        nobody);
        });
    };
    both(nullptr, nullptr, nullptr, "device_id is invalid");
    both("", "/light", "{}", "device_id is invalid");
    both("lamp", nullptr, nullptr, "res_uri is invalid");
    both("lamp", "", "{}", "res_uri is invalid");
    EXPECT_THAT(log_at(DLOG_DEBUG), IsEmpty());
    both("lamp", "/light", nullptr, "value is invalid");
    both("lamp", "/light", "", "value is invalid");
    both("lamp", "/light", "{}", "rpc_h is null");
}

TEST_F(RemoteResource, BlamesDeviceThenUriThenCallbackThenProxyOfAGetting)
{
    const WithoutProxy without{client};
    const auto both = [&](const char* device_id, const char* uri, bool wanted, const char* message) {
        refused("quorvel_client_get_remote_representation", message, [&] {
            return quorvel_client_get_remote_representation(client, device_id, uri, "", "",
                                                            wanted ? hears<Representation> : nullptr, nobody);
        });
        refused("quorvel_client_get_remote_attributes", message, [&] {
            return quorvel_client_get_remote_attributes(client, device_id, uri, "", "",
                                                        wanted ? hears<Attributes> : nullptr, nobody);
        });
    };
    both(nullptr, nullptr, false, "device_id is invalid");
    both("", "/light", true, "device_id is invalid");
    both("lamp", nullptr, false, "res_uri is invalid");
    both("lamp", "", false, "res_uri is invalid");
    both("lamp", "/light", false, "user_cb is NULL");
    both("lamp", "/light", true, "rpc_h is null");
}

TEST_F(RemoteResource, LogsAGoodUriForDebuggingEvenIfTheValueIsBad)
{
    quorvel_client_set_remote_representation(client, "lamp", "/light", "", "", "", nullptr, nobody);
    quorvel_client_get_remote_attributes(client, "lamp", "/heat", "", "", nullptr, nobody);
    EXPECT_THAT(
        log_at(DLOG_DEBUG),
        Lines(qc_line(DLOG_DEBUG, source, "quorvel_client_set_remote_representation", "res_uri [/light]"),
              qc_line(DLOG_DEBUG, source, "quorvel_client_get_remote_attributes", "res_uri [/heat]")));
}

TEST_F(RemoteResource, DropsTheAnswerToASettingWithoutACallbackWithoutALine)
{
    agent().otherwise_answer(0);
    EXPECT_EQ(quorvel_client_set_remote_attributes(client, "lamp", "/light", "{}", "", "", nullptr, nobody),
              0);
    clear_log();
    agent().fire(13, 1, true, five_and_six);
    EXPECT_THAT(errors(), IsEmpty());
    EXPECT_THAT(log_of(public_tag), Lines(qc_info(source, "_remote_attributes_cb", "ENTER v[2.4.29]")));
}

// ---------------------------------------------------------------------------------------------------------

class ResourceStrings : public QcApi {
protected:
    int uris(const char* device_id, const char* type, char*** list, int* number)
    {
        return quorvel_client_get_resource_uris(client, device_id, type, list, number);
    }
    int types(const char* device_id, const char* uri, char*** list, int* number)
    {
        return quorvel_client_get_resource_types_by_resource_uri(client, device_id, uri, list, number);
    }
};

TEST_F(ResourceStrings, AreAskedForByDeviceAndTypeOrUri)
{
    agent().answer_next_with(0, {texts({"/light", "/heat", ""}), i32(7)});
    OwnedTexts list;
    EXPECT_EQ(uris("lamp", "light", list, list), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(35), text("lamp"), text("light")}));
    EXPECT_THAT(list.strings(), ElementsAre("/light", "/heat", ""));
    EXPECT_EQ(list.list()[3], nullptr);

    agent().answer_next_with(0, {texts({"light", "dimmer"}), i32(0)});
    OwnedTexts other;
    EXPECT_EQ(types("lamp", "/light", other, other), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(82), text("lamp"), text("/light")}));
    EXPECT_THAT(other.strings(), ElementsAre("light", "dimmer"));
}

TEST_F(ResourceStrings, AreNullAndNoneWhenThereAreNone)
{
    agent().answer_next_with(0, {texts({}), i32(0)});
    char* unchanged = nullptr;
    char** list = &unchanged;
    int number = 7;
    EXPECT_EQ(uris("lamp", "light", &list, &number), 0);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(number, 0);
}

TEST_F(ResourceStrings, StayUntouchedWhenTheAgentRefuses)
{
    agent().answer_next_with(no_space, {texts({"/light"}), i32(1)});
    char* unchanged = nullptr;
    char** list = &unchanged;
    int number = 7;
    EXPECT_EQ(types("lamp", "/light", &list, &number), no_space);
    EXPECT_EQ(list, &unchanged);
    EXPECT_EQ(number, 7);
}

TEST_F(ResourceStrings, BlameDeviceThenTextThenOutPointersThenProxy)
{
    const WithoutProxy without{client};
    OwnedTexts list;
    const auto uris_refused = [&](const char* device_id, const char* type, char*** out, int* number,
                                  const char* message) {
        refused("quorvel_client_get_resource_uris", message,
                [&] { return uris(device_id, type, out, number); });
    };
    uris_refused(nullptr, nullptr, nullptr, nullptr, "device_id is invalid");
    uris_refused("", "light", list, list, "device_id is invalid");
    uris_refused("lamp", nullptr, nullptr, nullptr, "res_type is invalid");
    uris_refused("lamp", "", list, list, "res_type is invalid");
    uris_refused("lamp", "light", nullptr, list, "invalid parameter");
    uris_refused("lamp", "light", list, nullptr, "invalid parameter");
    uris_refused("lamp", "light", list, list, "rpc_h is null");
    const auto types_refused = [&](const char* device_id, const char* uri, char*** out, int* number,
                                   const char* message) {
        refused("quorvel_client_get_resource_types_by_resource_uri", message,
                [&] { return types(device_id, uri, out, number); });
    };
    types_refused(nullptr, nullptr, nullptr, nullptr, "device_id is invalid");
    types_refused("", "/light", list, list, "device_id is invalid");
    types_refused("lamp", nullptr, nullptr, nullptr, "resource_uri is invalid");
    types_refused("lamp", "", list, list, "resource_uri is invalid");
    types_refused("lamp", "/light", nullptr, list, "invalid parameter");
    types_refused("lamp", "/light", list, nullptr, "invalid parameter");
    types_refused("lamp", "/light", list, list, "rpc_h is null");
}

TEST_F(ResourceStrings, TellALackOfMemoryForTheArrayBeforeAnythingIsSent)
{
    OwnedTexts list;
    for (const char* function :
         {"quorvel_client_get_resource_uris", "quorvel_client_get_resource_types_by_resource_uri"}) {
        FailingAllocation lack{1};
        const bool is_uris = std::strcmp(function, "quorvel_client_get_resource_uris") == 0;
        refused(
            function, "rpc_port_array_string_create failed",
            [&] { return is_uris ? uris("lamp", "light", list, list) : types("lamp", "/light", list, list); },
            out_of_memory);
    }
}

class OldAgent : public QcApi {
    std::string version() const override { return "2.1.0"; }
};

TEST_F(OldAgent, OfVersion21KnowsNoResourceUris)
{
    OwnedTexts list;
    refused(
        "quorvel_client_get_resource_uris", "Fail to check condition[-1073741830]",
        [&] { return quorvel_client_get_resource_uris(client, "lamp", "light", list, list); }, lower_version);
}

// ---------------------------------------------------------------------------------------------------------

class Accounts : public QcApi {};

TEST_F(Accounts, TellAccessoriesWithTheNumberFirst)
{
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_client_get_accessory_list(client, hears<Accessories>, &ear), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(51), delegate(21, 1, true)}));
    agent().fire(21, 1, true, {text("first"), i32(2)});
    EXPECT_THAT(ear.heard, ElementsAre(Strings{"2", "first"}));
    EXPECT_THAT(log(), HasLine(qc_info(source, "_get_accessory_list_cb", "ENTER v[2.4.29]")));
}

TEST_F(Accounts, TellTheTokenWithTheNumberFirst)
{
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_client_get_vxr_device_token(client, hears<Token>, &ear), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(37), delegate(15, 1, true)}));
    agent().fire(15, 1, true, {text("first"), i32(2)});
    EXPECT_THAT(ear.heard, ElementsAre(Strings{"2", "first"}));
}

TEST_F(Accounts, TellThePeersTokenWithTheNumberFirst)
{
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_client_get_vxr_device_peer_token(client, "lamp", hears<PeerToken>, &ear), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(46), text("lamp"), delegate(20, 1, true)}));
    agent().fire(20, 1, true, {text("first"), text("second"), flag(true), i32(4)});
    EXPECT_THAT(ear.heard, ElementsAre(Strings{"4", "first", "second", "true"}));
}

TEST_F(Accounts, NeverLogTokens)
{
    agent().otherwise_answer(0);
    quorvel_client_get_vxr_device_token(client, hears<Token>, &ear);
    quorvel_client_get_vxr_device_peer_token(client, "lamp", hears<PeerToken>, &ear);
    agent().fire(15, 1, true, {text("hush-token"), i32(2)});
    agent().fire(20, 1, true, {text("hush-first"), text("hush-second"), flag(true), i32(4)});
    EXPECT_THAT(ear.heard, SizeIs(2));
    EXPECT_THAT(log(), NowhereContains("hush"));
}

TEST_F(Accounts, BlameDeviceThenCallbackThenProxy)
{
    const WithoutProxy without{client};
    refused("quorvel_client_get_vxr_device_peer_token", "device_id is invalid",
            [&] { return quorvel_client_get_vxr_device_peer_token(client, nullptr, nullptr, nobody); });
    refused("quorvel_client_get_vxr_device_peer_token", "device_id is invalid",
            [&] { return quorvel_client_get_vxr_device_peer_token(client, "", hears<PeerToken>, nobody); });
    refused("quorvel_client_get_vxr_device_peer_token", "user_cb is NULL",
            [&] { return quorvel_client_get_vxr_device_peer_token(client, "lamp", nullptr, nobody); });
    refused("quorvel_client_get_vxr_device_token", "user_cb is NULL",
            [&] { return quorvel_client_get_vxr_device_token(client, nullptr, nobody); });
    refused("quorvel_client_get_accessory_list", "user_cb is NULL",
            [&] { return quorvel_client_get_accessory_list(client, nullptr, nobody); });
    refused("quorvel_client_get_third_party_notification_status", "user_cb is NULL",
            [&] { return quorvel_client_get_third_party_notification_status(client, nullptr, nobody); });
    refused("quorvel_client_set_third_party_notification_status_updated_cb", "user_cb is NULL", [&] {
        return quorvel_client_set_third_party_notification_status_updated_cb(client, nullptr, nobody);
    });
}

// What an answer says when it begins with the four capitals.
const std::pair<const char*, const char*> truths[] = {
    {"TRUE", "true"},   {"TRUEX", "true"}, {"true", "false"}, {"TRU", "false"},
    {"FALSE", "false"}, {"", "false"},     {" TRUE", "false"}};

TEST_F(Accounts, TakeOnlyFourCapitalsForATruth)
{
    int seq_id = 0;
    for (const auto& [word, truth] : truths) {
        agent().otherwise_answer(0);
        ASSERT_EQ(quorvel_client_activate_vxr_migration(client, hears<Migration>, &ear), 0);
        ASSERT_EQ(quorvel_client_set_third_party_notification(client, "a", "b", "c", "d", hears<Notification>,
                                                              &ear),
                  0);
        ++seq_id;
        ear.heard.clear();
        agent().fire(14, seq_id, true, {text(word)});
        agent().fire(16, seq_id, true, {text(word)});
        EXPECT_THAT(ear.heard, ElementsAre(Strings{truth}, Strings{truth})) << word;
    }
}

TEST_F(Accounts, ActivateTheMigrationAlsoWithoutACallback)
{
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_client_activate_vxr_migration(client, nullptr, nobody), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(36), delegate(14, 1, true)}));
    clear_log();
    agent().fire(14, 1, true, {text("TRUE")});
    EXPECT_THAT(errors(), IsEmpty());
}

// ---------------------------------------------------------------------------------------------------------

class ThirdPartyNotification : public QcApi {
protected:
    int set_status(const char* const* list, int number, bool enabled = true)
    {
        return quorvel_client_set_third_party_notification_status(client, enabled, list, number,
                                                                  hears<Notification>, &ear);
    }
    // Copies of what the status callback was told.
    struct Status {
        int first = 0;
        bool second = false;
        bool has_list = false;
        Strings list{};
        int times = 0;
        static void hear(int first, bool second, char** list, int number, void* user_data)
        {
            auto& self = *static_cast<Status*>(user_data);
            Strings copies;
            for (int i = 0; i < number; ++i) {
                copies.emplace_back(list[i]);
                std::free(list[i]);
            }
            self = {first, second, list != nullptr, copies, self.times + 1};
            std::free(list);
        }
    };
};

TEST_F(ThirdPartyNotification, SendsItsFourTextsInOrder)
{
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_client_set_third_party_notification(client, "provider", "registration", "app", "en",
                                                          hears<Notification>, &ear),
              0);
    EXPECT_EQ(agent().request(), (Sent{i32(38), text("provider"), text("registration"), text("app"),
                                       text("en"), delegate(16, 1, true)}));
}

TEST_F(ThirdPartyNotification, BlamesItsFourTextsInOrderBeforeTheProxy)
{
    const WithoutProxy without{client};
    const auto texts_refused = [&](const char* provider, const char* reg_id, const char* app_id,
                                   const char* locale, const char* message) {
        refused("quorvel_client_set_third_party_notification", message, [&] {
            return quorvel_client_set_third_party_notification(client, provider, reg_id, app_id, locale,
                                                               nullptr, nobody);
        });
    };
    texts_refused(nullptr, nullptr, nullptr, nullptr, "push_provider is invalid");
    texts_refused("", "r", "a", "l", "push_provider is invalid");
    texts_refused("p", nullptr, nullptr, nullptr, "push_reg_id is invalid");
    texts_refused("p", "", "a", "l", "push_reg_id is invalid");
    texts_refused("p", "r", nullptr, nullptr, "push_app_id is invalid");
    texts_refused("p", "r", "", "l", "push_app_id is invalid");
    texts_refused("p", "r", "a", nullptr, "locale is invalid");
    texts_refused("p", "r", "a", "", "locale is invalid");
    texts_refused("p", "r", "a", "l", "rpc_h is null");
}

TEST_F(ThirdPartyNotification, SendsItsStatusAsTruthListAndCount)
{
    agent().otherwise_answer(0);
    EXPECT_EQ(set_status(two_topics, 2), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(94), flag(true), texts({"mail", "news"}), i32(2), delegate(16, 1, true)}));
    EXPECT_EQ(set_status(two_topics, 0, false), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(94), flag(false), texts({}), i32(0), delegate(16, 2, true)}));
    const char* const holes[] = {"mail", nullptr};
    EXPECT_EQ(set_status(holes, 2), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(94), flag(true), texts({"mail", ""}), i32(2), delegate(16, 3, true)}));
    agent().fire(16, 1, true, {text("TRUE")});
    EXPECT_THAT(ear.heard, ElementsAre(Strings{"true"}));
}

TEST_F(ThirdPartyNotification, LooksAtTheListBeforeTheProxy)
{
    const WithoutProxy without{client};
    constexpr auto function = "quorvel_client_set_third_party_notification_status";
    constexpr auto message = "rpc_port_array_string_set_array_strings is failed";
    refused(
        function, message, [&] { return set_status(nullptr, 2); }, operation_failed);
    refused(
        function, message, [&] { return set_status(two_topics, -1); }, operation_failed);
    {
        FailingAllocation lack{1};
        refused(
            function, "rpc_port_array_string_create is failed", [&] { return set_status(two_topics, 2); },
            operation_failed);
    }
    refused(function, "rpc_h is null", [&] { return set_status(two_topics, 2); });
}

TEST_F(ThirdPartyNotification, TellsItsStatusWithTheCountOfTheListThatCame)
{
    agent().answer_next_with(0);
    Status status;
    EXPECT_EQ(quorvel_client_get_third_party_notification_status(client, Status::hear, &status), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(95), delegate(35, 1, true)}));
    agent().fire(35, 1, true, {i32(1), flag(true), texts({"mail", "news"}), i32(7)});
    EXPECT_EQ(status.times, 1);
    EXPECT_EQ(status.first, 1);
    EXPECT_TRUE(status.second);
    EXPECT_THAT(status.list, ElementsAre("mail", "news"));
}

TEST_F(ThirdPartyNotification, TellsAnEmptyListAsNullAndNone)
{
    agent().answer_next_with(0);
    Status status;
    quorvel_client_get_third_party_notification_status(client, Status::hear, &status);
    agent().fire(35, 1, true, {i32(3), flag(false), texts({}), i32(7)});
    EXPECT_EQ(status.times, 1);
    EXPECT_EQ(status.first, 3);
    EXPECT_FALSE(status.has_list);
}

TEST_F(ThirdPartyNotification, TellsTheRestWhenTheListCannotBeCopied)
{
    agent().answer_next_with(0);
    Status status;
    quorvel_client_get_third_party_notification_status(client, Status::hear, &status);
    // The array, its vector and, in between, its texts may need memory before the copy does.
    bool was_told_without = false;
    for (int nth = 1; nth < 8 && !was_told_without; ++nth) {
        forget();
        agent().answer_next_with(0);
        status = {};
        ASSERT_EQ(quorvel_client_get_third_party_notification_status(client, Status::hear, &status), 0);
        FailingAllocation lack{nth};
        agent().fire(35, nth + 1, true, {i32(1), flag(true), texts({"mail"}), i32(1)});
        ASSERT_EQ(status.times, 1);
        const auto line = qc_error(source, "_third_party_notification_status_cb",
                                   "rpc_port_array_string_get_array_strings is failed");
        was_told_without = !status.has_list && status.first == 1 && status.second
                           && testing::Value(errors(), testing::Contains(line));
    }
    EXPECT_TRUE(was_told_without);
}

TEST_F(ThirdPartyNotification, TellsAChangedStatusWithTheUserDataAlone)
{
    agent().answer_next_with(0);
    ASSERT_EQ(quorvel_client_set_third_party_notification_status_updated_cb(
                  client, hears<quorvel_client_third_party_notification_status_updated_cb>, &ear),
              0);
    EXPECT_EQ(agent().request(), (Sent{i32(96), delegate(36, 1, false)}));
    agent().fire(36, 1);
    EXPECT_THAT(ear.heard, ElementsAre(Strings{}));
    EXPECT_THAT(log(),
                HasLine(qc_info(source, "_third_party_notification_status_updated_cb", "ENTER v[2.4.29]")));
}

extern "C" void _third_party_notification_status_updated_cb(void* user_data);
extern "C" void _file_transfer_data_cb(void* request, rpc_port_array_transfer_data_s_h files, int extra,
                                       const char* status, int fourth);

TEST_F(ThirdPartyNotification, SaysSoWhenAChangeNamesNobody)
{
    _third_party_notification_status_updated_cb(nullptr);
    EXPECT_THAT(errors(),
                Lines(qc_error(source, "_third_party_notification_status_updated_cb", "No user data")));
}

// ---------------------------------------------------------------------------------------------------------

// Details of a file, as an application reads them.
struct Details {
    std::string name = "untouched";
    bool has_name = false;
    bool has_data = false;
    Bytes data{};
    int length = 0;
};

Details details_of(quorvel_client_file_h file, std::size_t size)
{
    OwnedText name;
    unsigned char* data = nullptr;
    Details details;
    EXPECT_EQ(quorvel_client_file_get_details(file, name, &data, &details.length), 0);
    details.has_name = name.get() != nullptr;
    details.name = details.has_name ? name.get() : "";
    details.has_data = data != nullptr;
    if (data != nullptr)
        details.data.assign(data, data + size);
    std::free(data);
    return details;
}

class Files : public QcApi {
protected:
    struct Told {
        int fourth = 0;
        int count = -1;
        bool has_list = false;
        std::string status{};
        std::vector<Details> files{};
        int times = 0;
        static void hear(int fourth, quorvel_client_file_h* list, int number, const char* status,
                         void* user_data)
        {
            auto& self = *static_cast<Told*>(user_data);
            self = {fourth, number,        list != nullptr, status != nullptr ? status : "(null)",
                    {},     self.times + 1};
            for (int i = 0; i < number; ++i) {
                self.files.push_back(details_of(list[i], 3));
                EXPECT_EQ(quorvel_client_file_destroy(list[i]), 0);
            }
            std::free(list);
        }
    };

    int get() { return quorvel_client_get_files(client, "cam", "/images", "options", Told::hear, &told); }
    Told told;
};

TEST_F(Files, AreAskedForByDeviceUriAndOptions)
{
    agent().answer_next_with(0);
    EXPECT_EQ(get(), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(45), text("cam"), text("/images"), text("options"), delegate(19, 1, true)}));
}

TEST_F(Files, BlameDeviceThenUriThenCallbackThenProxy)
{
    const WithoutProxy without{client};
    const auto files_refused = [&](const char* device_id, const char* uri, quorvel_client_files_cb cb,
                                   const char* message) {
        refused("quorvel_client_get_files", message,
                [&] { return quorvel_client_get_files(client, device_id, uri, nullptr, cb, nobody); });
    };
    files_refused(nullptr, nullptr, nullptr, "device_id is invalid");
    files_refused("", "/images", ignore_files, "device_id is invalid");
    files_refused("cam", nullptr, nullptr, "res_uri is invalid");
    files_refused("cam", "", ignore_files, "res_uri is invalid");
    files_refused("cam", "/images", nullptr, "user_cb is NULL");
    files_refused("cam", "/images", ignore_files, "rpc_h is null");
}

TEST_F(Files, AreToldWithTheNumberFirstAndBelongToTheApplication)
{
    agent().answer_next_with(0);
    ASSERT_EQ(get(), 0);
    agent().fire(19, 1, true, {two_files, i32(7), text("done"), i32(4)});
    EXPECT_EQ(told.times, 1);
    EXPECT_EQ(told.fourth, 4);
    EXPECT_EQ(told.status, "done");
    ASSERT_EQ(told.count, 2);
    EXPECT_EQ(told.files[0].name, "a.png");
    EXPECT_EQ(told.files[0].data, (Bytes{1, 2, 3}));
    EXPECT_EQ(told.files[0].length, 3);
    EXPECT_EQ(told.files[1].name, "b.png");
    EXPECT_FALSE(told.files[1].has_data);
    EXPECT_EQ(told.files[1].length, -1);
}

TEST_F(Files, AreNullAndNoneWhenTheStatusBeginsWithNoData)
{
    for (const char* status : {"no data", "no data yet"}) {
        agent().answer_next_with(0);
        ASSERT_EQ(get(), 0);
        agent().fire(19, told.times + 1, true, {two_files, i32(2), text(status), i32(4)});
        EXPECT_EQ(told.status, status);
        EXPECT_EQ(told.count, 0);
        EXPECT_FALSE(told.has_list);
    }
    EXPECT_EQ(told.times, 2);
}

TEST_F(Files, AreToldWhenTheStatusOnlyResemblesNoData)
{
    int seq_id = 0;
    for (const char* status : {"", "no dat", "No data", "there is no data"}) {
        agent().answer_next_with(0);
        ASSERT_EQ(get(), 0);
        agent().fire(19, ++seq_id, true, {two_files, i32(2), text(status), i32(4)});
        EXPECT_EQ(told.count, 2) << status;
    }
}

TEST_F(Files, AreNullAndNoneWhenNoneCame)
{
    agent().answer_next_with(0);
    ASSERT_EQ(get(), 0);
    agent().fire(19, 1, true, {count(0), i32(0), text("done"), i32(4)});
    EXPECT_EQ(told.times, 1);
    EXPECT_EQ(told.count, 0);
    EXPECT_FALSE(told.has_list);
}

TEST_F(Files, AreNotToldWhenTheyCannotBeCopied)
{
    agent().answer_next_with(0);
    ASSERT_EQ(get(), 0);
    rpc_port_array_transfer_data_s_h files = nullptr;
    rpc_port_transfer_data_s_h file = nullptr;
    rpc_port_array_transfer_data_s_create(&files);
    rpc_port_transfer_data_s_create(&file);
    rpc_port_array_transfer_data_s_set_array_transfer_data_ss(files, &file, 1);
    {
        FailingAllocation lack{1};
        _file_transfer_data_cb(nullptr, files, 1, "done", 4);
        EXPECT_TRUE(lack.happened());
    }
    EXPECT_EQ(errors().back(), qc_error(source, "_file_transfer_data_cb",
                                        "rpc_port_array_transfer_data_s_get_array_transfer_data_ss is "
                                        "failed"));
    rpc_port_transfer_data_s_destroy(file);
    rpc_port_array_transfer_data_s_destroy(files);
    EXPECT_EQ(told.times, 0);
}

TEST_F(Files, MayBeThrownAwayByAnExceptionOfTheApplications)
{
    agent().answer_next_with(0);
    ASSERT_EQ(quorvel_client_get_files(
                  client, "cam", "/images", "",
                  [](int fourth, quorvel_client_file_h* list, int number, const char*, void*) {
                      ignore_files(fourth, list, number, nullptr, nobody);
                      throw std::string("the application's own");
                  },
                  nobody),
              0);
    EXPECT_THROW(agent().fire(19, 1, true, {two_files, i32(2), text("done"), i32(4)}), std::string);
    agent().fire(19, 1, true, {two_files, i32(2), text("done"), i32(4)});
}

// ---------------------------------------------------------------------------------------------------------

class FileDetails : public QcApi {
protected:
    void SetUp() override
    {
        QcApi::SetUp();
        ASSERT_EQ(rpc_port_transfer_data_s_create(&file), 0);
    }
    void TearDown() override
    {
        rpc_port_transfer_data_s_destroy(file);
        QcApi::TearDown();
    }
    void set_data(const BundleItems& items)
    {
        bundle* const values = make_bundle(items);
        ASSERT_EQ(rpc_port_transfer_data_s_set_file_data(file, values), 0);
        bundle_free(values);
    }
    rpc_port_transfer_data_s_h file = nullptr;
};

TEST_F(FileDetails, GiveCopiesOfNameAndBytesAndTheLengthAsItIsTold)
{
    rpc_port_transfer_data_s_set_file_name(file, "a.png");
    rpc_port_transfer_data_s_set_file_length(file, 1000);
    set_data({{"TransferData", Bytes{0, 255, 7, 0}}});
    const Details details = details_of(file, 4);
    EXPECT_EQ(details.name, "a.png");
    EXPECT_EQ(details.data, (Bytes{0, 255, 7, 0}));
    // Not that of the bytes.
    EXPECT_EQ(details.length, 1000);
    EXPECT_THAT(log(), HasLine(qc_info(source, "quorvel_client_file_get_details", "ENTER v[2.4.29]")));
}

TEST_F(FileDetails, GiveNullForAnEmptyOrMissingName)
{
    EXPECT_FALSE(details_of(file, 0).has_name);
    rpc_port_transfer_data_s_set_file_name(file, "");
    EXPECT_FALSE(details_of(file, 0).has_name);
}

TEST_F(FileDetails, GiveNoDataWithALineWhenTheBytesAreMissing)
{
    const auto line = qc_info(source, "quorvel_client_file_get_details",
                              "Transfer file data is null or fail to bundle get byte");
    EXPECT_FALSE(details_of(file, 0).has_data);
    set_data({{"Other", Bytes{1}}});
    EXPECT_FALSE(details_of(file, 0).has_data);
    set_data({{"TransferData", "a text"}});
    EXPECT_FALSE(details_of(file, 0).has_data);
    EXPECT_THAT(log(), HasLineTimes(line, 3));
}

TEST_F(FileDetails, GiveEveryNegativeLengthAsMinusOne)
{
    for (const auto& [told, given] :
         {std::pair{-5, -1}, {-1, -1}, {-2147483647 - 1, -1}, {0, 0}, {2147483647, 2147483647}}) {
        rpc_port_transfer_data_s_set_file_length(file, told);
        EXPECT_EQ(details_of(file, 0).length, given);
    }
}

TEST_F(FileDetails, BlameTheFileBeforeTheOutPointers)
{
    OwnedText name;
    unsigned char* data = nullptr;
    int length = 0;
    const auto details_refused = [&](void* record, char** file_name, unsigned char** bytes, int* size,
                                     const char* message) {
        refused("quorvel_client_file_get_details", message,
                [&] { return quorvel_client_file_get_details(record, file_name, bytes, size); });
    };
    details_refused(nullptr, nullptr, nullptr, nullptr, "file handle is NULL");
    details_refused(file, nullptr, &data, &length, "invalid parameter");
    details_refused(file, name, nullptr, &length, "invalid parameter");
    details_refused(file, name, &data, nullptr, "invalid parameter");
    refused("quorvel_client_file_destroy", "file handle is NULL",
            [] { return quorvel_client_file_destroy(nullptr); });
}

TEST_F(FileDetails, TellALackOfMemoryForTheBytesAndGiveNothing)
{
    rpc_port_transfer_data_s_set_file_name(file, "a.png");
    set_data({{"TransferData", Bytes{1, 2}}});
    char untouched[] = "untouched";
    char* name = untouched;
    unsigned char* data = nullptr;
    int length = 7;
    FailingAllocation lack{1};
    EXPECT_EQ(quorvel_client_file_get_details(file, &name, &data, &length), out_of_memory);
    EXPECT_TRUE(lack.happened());
    EXPECT_EQ(name, untouched);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(length, 7);
    EXPECT_THAT(errors(), Lines(qc_error(source, "quorvel_client_file_get_details", "fail to calloc")));
}

// ---------------------------------------------------------------------------------------------------------

class SelfSignUp : public QcApi {
protected:
    // As the agent gives it.
    void ask(const BundleItems& items)
    {
        agent().answer_next_with(0, {bundle_of(items)});
        ASSERT_EQ(quorvel_client_get_self_sign_up_info(client, "den", "options", &info), 0);
    }
    void TearDown() override
    {
        if (info != nullptr) {
            EXPECT_EQ(quorvel_client_self_sign_up_info_destroy(info), 0);
        }
        QcApi::TearDown();
    }
    quorvel_client_self_sign_up_info_h info = nullptr;
};

TEST_F(SelfSignUp, IsAskedForByGroupAndOptions)
{
    ask({});
    EXPECT_EQ(agent().request(), (Sent{i32(93), text("den"), text("options")}));
}

TEST_F(SelfSignUp, BlamesTheOutPointerThenTheGroupThenTheProxy)
{
    const WithoutProxy without{client};
    constexpr auto function = "quorvel_client_get_self_sign_up_info";
    refused(function, "invalid parameter(sign_up_info)",
            [&] { return quorvel_client_get_self_sign_up_info(client, nullptr, nullptr, nullptr); });
    refused(function, "invalid parameter(group_id)",
            [&] { return quorvel_client_get_self_sign_up_info(client, nullptr, nullptr, &info); });
    refused(function, "invalid parameter(group_id)",
            [&] { return quorvel_client_get_self_sign_up_info(client, "", "options", &info); });
    refused(function, "rpc_h is null",
            [&] { return quorvel_client_get_self_sign_up_info(client, "den", "options", &info); });
}

TEST_F(SelfSignUp, LeavesTheOutPointerWhenTheAgentRefuses)
{
    agent().answer_next_with(no_space, {bundle_of({{"jwt", "hush"}})});
    int target = 0;
    void* untouched = &target;
    EXPECT_EQ(quorvel_client_get_self_sign_up_info(client, "den", "", &untouched), no_space);
    EXPECT_EQ(untouched, &target);
}

TEST_F(SelfSignUp, ReadsEachPropertyUnderItsKey)
{
    ask({{"jwt", "zero"},
         {"clientID", "one"},
         {"uid", "two"},
         {"hostAddress", "three"},
         {"jwtAuthProvider", "four"},
         {"serverDeploymentEnv", "five"}});
    const char* const values[] = {"zero", "one", "two", "three", "four", "five"};
    for (int id = 0; id < 6; ++id) {
        OwnedText value;
        EXPECT_EQ(quorvel_client_self_sign_up_info_get_string(info, id, value), 0);
        EXPECT_STREQ(value.get(), values[id]);
    }
}

TEST_F(SelfSignUp, ReadsAnEmptyValueAsNull)
{
    ask({{"jwt", ""}});
    char untouched[] = "untouched";
    char* value = untouched;
    EXPECT_EQ(quorvel_client_self_sign_up_info_get_string(info, 0, &value), 0);
    EXPECT_EQ(value, nullptr);
}

TEST_F(SelfSignUp, FailsOnAKeyThatIsAbsent)
{
    ask({{"jwt", "zero"}});
    char untouched[] = "untouched";
    char* value = untouched;
    EXPECT_EQ(quorvel_client_self_sign_up_info_get_string(info, 1, &value), operation_failed);
    EXPECT_EQ(value, untouched);
    EXPECT_THAT(errors(), Lines(qc_error(source, "quorvel_client_self_sign_up_info_get_string",
                                         "get self_sign_up_info_e[1] failed")));
}

TEST_F(SelfSignUp, RefusesIdsThatItDoesNotKnow)
{
    ask({{"jwt", "zero"}});
    OwnedText value;
    agent().forget_requests();
    for (const int id : {6, 7, -1, 2147483647, -2147483647 - 1}) {
        refused("quorvel_client_self_sign_up_info_get_string",
                ("invalid property id [" + std::to_string(id) + "]").c_str(),
                [&] { return quorvel_client_self_sign_up_info_get_string(info, id, value); });
    }
}

TEST_F(SelfSignUp, BlamesAMissingRecordOrOutPointer)
{
    OwnedText value;
    refused("quorvel_client_self_sign_up_info_get_string", "invalid parameter",
            [&] { return quorvel_client_self_sign_up_info_get_string(nullptr, 6, value); });
    refused("quorvel_client_self_sign_up_info_destroy", "invalid parameter",
            [] { return quorvel_client_self_sign_up_info_destroy(nullptr); });
    ask({{"jwt", "zero"}});
    agent().forget_requests();
    refused("quorvel_client_self_sign_up_info_get_string", "invalid parameter",
            [&] { return quorvel_client_self_sign_up_info_get_string(info, 6, nullptr); });
}

TEST_F(SelfSignUp, TellsALackOfMemoryForACopy)
{
    ask({{"jwt", "zero"}});
    char untouched[] = "untouched";
    char* value = untouched;
    FailingAllocation lack{1};
    EXPECT_EQ(quorvel_client_self_sign_up_info_get_string(info, 0, &value), out_of_memory);
    EXPECT_TRUE(lack.happened());
    EXPECT_EQ(value, untouched);
}

TEST_F(SelfSignUp, NeverLogsWhatItHolds)
{
    ask({{"jwt", "hush-jwt"}, {"uid", "hush-uid"}});
    OwnedText value;
    EXPECT_EQ(quorvel_client_self_sign_up_info_get_string(info, 0, value), 0);
    EXPECT_STREQ(value.get(), "hush-jwt");
    EXPECT_THAT(log(), NowhereContains("hush"));
}

// ---------------------------------------------------------------------------------------------------------
// Answers that nobody awaits

TEST(AnswerWithoutARequest, GoesWithTheListThatCameWithIt)
{
    rpc_port_array_string_h strings = nullptr;
    ASSERT_EQ(rpc_port_array_string_create(&strings), 0);
    ASSERT_EQ(rpc_port_array_string_set_array_strings(strings, two_topics, 2), 0);
    _third_party_notification_status_cb(nullptr, 1, true, strings, 2);
    rpc_port_array_string_destroy(strings);

    rpc_port_transfer_data_s_h file = nullptr;
    ASSERT_EQ(rpc_port_transfer_data_s_create(&file), 0);
    rpc_port_array_transfer_data_s_h files = nullptr;
    ASSERT_EQ(rpc_port_array_transfer_data_s_create(&files), 0);
    ASSERT_EQ(rpc_port_array_transfer_data_s_set_array_transfer_data_ss(files, &file, 1), 0);
    _file_transfer_data_cb(nullptr, files, 1, "done", 0);
    rpc_port_array_transfer_data_s_destroy(files);
    rpc_port_transfer_data_s_destroy(file);
}

}  // namespace
}  // namespace scripted
