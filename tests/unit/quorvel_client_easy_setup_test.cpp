// The session of the easy setup, its callbacks and its commands.
#include <quorvel_client_easy_setup.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>

#include "api_contract.hpp"
#include "connected_client.hpp"
#include "failing_allocations.hpp"

// The handlers of the delegates, which programs that link the archive may call.
extern "C" {
void _easy_setup_init_cb(void* request, int result);
void _easy_setup_otm_support_feature_cb(void* user_data, int feature);
void _easy_setup_random_pin_cb(void* user_data, const char* pin, int value);
void _easy_setup_enrollee_owned_cb(void* user_data, bool owned);
void _easy_setup_prov_info_cb(void* user_data, rpc_port_easy_setup_prov_info_s_h info);
void _easy_setup_state_cb(void* user_data, int first, int second);
void _easy_setup_enrollee_state_cb(void* user_data, int first, int second);
void _easy_setup_result_cb(void* request, int result);
void _easy_setup_device_conf_cb(void* request, rpc_port_device_conf_s_h conf);
void _monitor_enrollee_sign_in_cb(void* request, bool signed_in);
void _access_point_list_cb(void* request, rpc_port_array_access_point_s_h access_points, int extra);
void _ocf_result_cb(void* request, int result);
}

using namespace scripted;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr auto area = "quorvel_client_easy_setup";
constexpr int out_of_memory = -12;
constexpr int invalid_parameter = -22;
constexpr int no_data = -61;
constexpr int unreachable = -101;
constexpr int unknown = -1073741824;
constexpr int operation_failed = -1073741825;

// The numbers of the delegates.
constexpr int otm_feature_event = 23;
constexpr int random_pin_event = 24;
constexpr int setup_result = 25;
constexpr int state_event = 26;
constexpr int access_points_answer = 27;
constexpr int ocf_result = 28;
constexpr int device_conf_answer = 29;
constexpr int sign_in_answer = 30;
constexpr int enrollee_error_event = 31;
constexpr int enrollee_owned_event = 32;
constexpr int init_result = 33;
constexpr int prov_info_event = 38;

// ---------------------------------------------------------------------------------------------------------
// What the application's callbacks were told

struct Heard {
    std::string callback;
    Values values;
    void* user_data;
    bool operator==(const Heard&) const = default;
};

void PrintTo(const Heard& heard, std::ostream* out)
{
    *out << heard.callback << ' ' << heard.values << " with " << heard.user_data;
}

std::vector<Heard> heard;
std::function<void()> inside_callback;

void hear(const std::string& callback, int which, const Values& values, void* user_data)
{
    heard.push_back({which == 1 ? callback : callback + " " + std::to_string(which), values, user_data});
    if (inside_callback)
        inside_callback();
}

// Each callback comes in as many kinds as a test needs.

template <int which = 1>
void on_result(int result, void* user_data)
{
    hear("result", which, {i32(result)}, user_data);
}

template <int which = 1>
void on_setup_state(int first, int second, void* user_data)
{
    hear("state", which, {i32(first), i32(second)}, user_data);
}

template <int which = 1>
void on_error(int first, int second, void* user_data)
{
    hear("error", which, {i32(first), i32(second)}, user_data);
}

template <int which = 1>
void on_otm(int feature, void* user_data)
{
    hear("otm", which, {i32(feature)}, user_data);
}

template <int which = 1>
void on_pin(int value, void* user_data)
{
    hear("pin", which, {i32(value)}, user_data);
}

template <int which = 1>
void on_owned(bool owned, void* user_data)
{
    hear("owned", which, {flag(owned)}, user_data);
}

void on_sign_in(bool signed_in, void* user_data)
{
    hear("sign in", 1, {flag(signed_in)}, user_data);
}

// What a record's bundle holds.
template <typename Handle>
Values held(int (*getter)(Handle, bundle**), void* record)
{
    bundle* copy = nullptr;
    if (getter(static_cast<Handle>(record), &copy) != 0)
        return {no_bundle()};
    const Values values{bundle_of(contents(copy))};
    bundle_free(copy);
    return values;
}

template <int which = 1>
void on_info(quorvel_client_provisioning_info_h info, void* user_data)
{
    hear("info", which, held(rpc_port_easy_setup_prov_info_s_get_bundle_data, info), user_data);
    EXPECT_EQ(quorvel_client_provisioning_info_destroy(info), 0);
}

void on_conf(quorvel_client_easy_setup_device_conf_h conf, void* user_data)
{
    hear("conf", 1, held(rpc_port_device_conf_s_get_bundle_data, conf), user_data);
    EXPECT_EQ(quorvel_client_easy_setup_device_conf_destroy(conf), 0);
}

void on_access_points(quorvel_client_easy_setup_access_point_h* list, int size, void* user_data)
{
    Values points{count(size)};
    for (int i = 0; i < size; ++i)
        points.add(held(rpc_port_access_point_s_get_bundle_data, list[i]));
    hear("access points", 1, points, user_data);
    if (list == nullptr)
        return;
    EXPECT_EQ(list[size], nullptr);
    EXPECT_EQ(quorvel_client_easy_setup_destroy_access_point_list(list), 0);
}

int marks[4];
void* const a = &marks[0];
void* const b = &marks[1];
void* const c = &marks[2];

LogLine failure(const std::string& function, const std::string& text)
{
    return qc_error(area, function, text);
}

std::string failed(const std::string& method, int code)
{
    return "rpc_port_proxy_qv_client_invoke_" + method + " is failed [" + std::to_string(code) + "]";
}

LogLine disposal(const std::string& name, int id, int seq_id, const char* once)
{
    return proxy_info(
        "rpc_port_proxy_qv_client_" + name + "_dispose",
        "id(" + std::to_string(id) + "), seq_id(" + std::to_string(seq_id) + "), once(" + once + ")");
}

// ---------------------------------------------------------------------------------------------------------

class EasySetup : public ConnectedClient {
protected:
    void SetUp() override
    {
        heard.clear();
        inside_callback = nullptr;
        ConnectedClient::SetUp();
    }

    void TearDown() override
    {
        inside_callback = nullptr;
        platform().fail_no_more();
        ConnectedClient::TearDown();
    }

    // Everything that it is asked is answered with 0.
    static void answer_all() { agent().otherwise_answer(0); }

    void initialise(int setup_type = 0, int result = 0)
    {
        answer_all();
        ASSERT_EQ(quorvel_client_easy_setup_initialize(client, setup_type, on_result, nullptr), 0);
        agent().fire(init_result, ++initialised_, true, {i32(result)});
        forget();
        heard.clear();
    }

    int start(void* user_data)
    {
        return quorvel_client_easy_setup_start(client, "10.0.0.7", true, on_otm, on_pin, on_owned, user_data);
    }

    int start_v2(void* user_data)
    {
        return quorvel_client_easy_setup_start_v2(client, "10.0.0.7", true, on_otm, on_pin, on_info,
                                                  user_data);
    }

    void reconnect()
    {
        ASSERT_EQ(quorvel_client_disconnect(client), 0);
        ASSERT_EQ(quorvel_client_connect(
                      &client, [](int, int, void*) {}, nullptr),
                  0);
        agent().answer_next_with(0);
        agent().connect();
        forget();
    }

    // Runs the call on a client whose proxy is gone.
    template <typename Call>
    int without_proxy(Call call)
    {
        void*& proxy = *static_cast<void**>(client);
        void* const taken = std::exchange(proxy, nullptr);
        const int code = call();
        proxy = taken;
        return code;
    }

    // What the application hears of an event that is sent now.
    static std::vector<Heard> told(int id, int seq_id, const Values& values)
    {
        heard.clear();
        agent().fire(id, seq_id, false, values);
        return heard;
    }

    std::vector<Heard> told_all_of_the_start(int seq_id)
    {
        std::vector<Heard> all;
        for (const auto& [id, values] :
             std::initializer_list<std::pair<int, Values>>{{otm_feature_event, {i32(5)}},
                                                           {random_pin_event, {text("6"), i32(7)}},
                                                           {enrollee_owned_event, {flag(true)}}}) {
            const auto one = told(id, seq_id, values);
            all.insert(all.end(), one.begin(), one.end());
        }
        return all;
    }

    int initialised_ = 0;  // how often
};

// ---------------------------------------------------------------------------------------------------------
// What all functions have in common

// A property of the application's, released with the platform's functions.
struct DeviceProperty {
    DeviceProperty() { rpc_port_device_prop_s_create(&record); }
    ~DeviceProperty() { rpc_port_device_prop_s_destroy(record); }
    DeviceProperty(const DeviceProperty&) = delete;
    DeviceProperty& operator=(const DeviceProperty&) = delete;
    rpc_port_device_prop_s_h record = nullptr;
};

struct CloudProperty {
    CloudProperty() { rpc_port_cloud_prop_s_create(&record); }
    ~CloudProperty() { rpc_port_cloud_prop_s_destroy(record); }
    CloudProperty(const CloudProperty&) = delete;
    CloudProperty& operator=(const CloudProperty&) = delete;
    rpc_port_cloud_prop_s_h record = nullptr;
};

void initialise_for_contract(quorvel_client_h client)
{
    quorvel_client_easy_setup_initialize(client, 1, on_result, nullptr);
    agent().fire(init_result, 1, true, {i32(0)});
}

const bool registered = register_contracts(
    area,
    {
        Contract(
            "quorvel_client_easy_setup_initialize", {1, 4},
            [](auto client) { return quorvel_client_easy_setup_initialize(client, 1, on_result, nullptr); })
            .asks(79, "init_easy_setup"),
        Contract("quorvel_client_easy_setup_start", {1, 4},
                 [](auto client) {
                     return quorvel_client_easy_setup_start(client, "h", false, on_otm, on_pin, on_owned,
                                                            nullptr);
                 })
            .after([](auto client) {
                initialise_for_contract(client);
                // The callbacks are registered already: only the start itself is left.
                quorvel_client_easy_setup_start(client, "h", false, on_otm, on_pin, on_owned, nullptr);
            })
            .asks(80, "start_easy_setup"),
        Contract("quorvel_client_easy_setup_start_v2", {1, 4},
                 [](auto client) {
                     return quorvel_client_easy_setup_start_v2(client, "h", false, on_otm, on_pin, on_info,
                                                               nullptr);
                 })
            .after([](auto client) {
                initialise_for_contract(client);
                quorvel_client_easy_setup_start_v2(client, "h", false, on_otm, on_pin, on_info, nullptr);
            })
            .asks(80, "start_easy_setup"),
        Contract("quorvel_client_easy_setup_stop", {1, 4}, quorvel_client_easy_setup_stop)
            .asks(74, "stop_easy_setup"),
        Contract("quorvel_client_set_easy_setup_state_cb", {1, 4},
                 [](auto client) {
                     return quorvel_client_set_easy_setup_state_cb(client, on_setup_state, nullptr);
                 })
            .asks(67, "set_easy_setup_state_cb"),
        Contract("quorvel_client_unset_easy_setup_state_cb", {1, 4}, quorvel_client_unset_easy_setup_state_cb)
            .asks(68, "unset_easy_setup_state_cb"),
        Contract("quorvel_client_set_easy_setup_enrollee_error_cb", {1, 4},
                 [](auto client) {
                     return quorvel_client_set_easy_setup_enrollee_error_cb(client, on_error, nullptr);
                 })
            .asks(75, "set_easy_setup_enrollee_state_cb"),
        Contract("quorvel_client_unset_easy_setup_enrollee_error_cb", {1, 4},
                 quorvel_client_unset_easy_setup_enrollee_error_cb)
            .asks(76, "unset_easy_setup_enrollee_state_cb"),
        Contract("quorvel_client_easy_setup_set_supported_otm_feature", {1, 4},
                 [](auto client) { return quorvel_client_easy_setup_set_supported_otm_feature(client, 3); })
            .asks(64, "set_easy_setup_otm_support_feature"),
        Contract("quorvel_client_easy_setup_set_random_pin", {1, 4},
                 [](auto client) { return quorvel_client_easy_setup_set_random_pin(client, "1"); })
            .asks(81, "set_easy_setup_random_pin"),
        Contract("quorvel_client_easy_setup_monitoring_enrollee_sign_in", {1, 4},
                 [](auto client) {
                     return quorvel_client_easy_setup_monitoring_enrollee_sign_in(client, on_sign_in,
                                                                                  nullptr);
                 })
            .asks(73, "monitor_enrollee_sign_in"),
        Contract("quorvel_client_easy_setup_get_last_error_code", {2, 3},
                 [](auto client) {
                     OwnedText code;
                     return quorvel_client_easy_setup_get_last_error_code(client, code);
                 })
            .asks(148, "get_easysetup_last_error_code", {bundle_of({})}),
        Contract("quorvel_client_easy_setup_get_access_point_list", {1, 4},
                 [](auto client) {
                     return quorvel_client_easy_setup_get_access_point_list(client, on_access_points,
                                                                            nullptr);
                 })
            .asks(69, "get_access_point_list"),
        Contract("quorvel_client_easy_setup_device_provisioning", {1, 4},
                 [](auto client) {
                     const DeviceProperty property;
                     return quorvel_client_easy_setup_device_provisioning(client, property.record, on_result,
                                                                          nullptr);
                 })
            .asks(66, "configure_device_prop"),
        Contract("quorvel_client_easy_setup_cloud_provisioning", {1, 4},
                 [](auto client) {
                     const CloudProperty property;
                     return quorvel_client_easy_setup_cloud_provisioning(client, property.record, on_result,
                                                                         nullptr);
                 })
            .asks(65, "configure_cloud_prop"),
        // A failure goes by the name of the cloud's method.
        Contract(
            "quorvel_client_easy_setup_get_device_conf", {1, 4},
            [](auto client) { return quorvel_client_easy_setup_get_device_conf(client, on_conf, nullptr); })
            .asks(72, "configure_cloud_prop"),
        Contract("quorvel_client_easy_setup_set_bookmark_location", {1, 4},
                 [](auto client) {
                     return quorvel_client_easy_setup_set_bookmark_location(client, "60", "den", "corner",
                                                                            on_result, nullptr);
                 })
            .asks(70, "set_bookmark_location"),
        Contract("quorvel_client_easy_setup_send_reset_provisioning_info", {1, 4},
                 [](auto client) {
                     return quorvel_client_easy_setup_send_reset_provisioning_info(client, on_result,
                                                                                   nullptr);
                 })
            .asks(77, "send_reset_provisioning_info"),
    });

// ---------------------------------------------------------------------------------------------------------
// Initialise

class EasySetupInitialize : public EasySetup {};

TEST_F(EasySetupInitialize, SendsTheTypeAndADelegateForTheResult)
{
    answer_all();
    ASSERT_EQ(quorvel_client_easy_setup_initialize(client, 7, on_result, a), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(79), i32(7), delegate(init_result, 1, true)}));
    EXPECT_THAT(log_of(public_tag),
                Lines(qc_info(area, "quorvel_client_easy_setup_initialize", "ENTER v[2.4.29]"),
                      qc_info(area, "quorvel_client_easy_setup_initialize", "EXIT")));
    EXPECT_THAT(told(init_result, 1, {i32(42)}), ElementsAre(Heard{"result", {i32(42)}, a}));
}

TEST_F(EasySetupInitialize, BlamesTheMissingCallbackBeforeTheMissingProxy)
{
    EXPECT_EQ(without_proxy([&] { return quorvel_client_easy_setup_initialize(client, 7, nullptr, a); }),
              invalid_parameter);
    EXPECT_THAT(errors(), Lines(failure("quorvel_client_easy_setup_initialize", "user_cb is NULL")));
}

TEST_F(EasySetupInitialize, ClosesTheSessionBeforeItChecksAnything)
{
    initialise();
    EXPECT_EQ(quorvel_client_easy_setup_initialize(nullptr, 7, nullptr, a), invalid_parameter);
    EXPECT_EQ(start(a), operation_failed);
    EXPECT_THAT(errors(), HasLine(failure("quorvel_client_easy_setup_start", "Need to initialize")));
}

TEST_F(EasySetupInitialize, TakesTheTypeOverAfterTheCheckOfTheCallbackAndBeforeThatOfTheProxy)
{
    const auto refusal = [&] {
        clear_log();
        EXPECT_NE(quorvel_client_easy_setup_start(client, nullptr, true, on_otm, on_pin, on_owned, a), 0);
        return errors().at(0).text;
    };
    EXPECT_EQ(refusal(), "host_address is invalid");  // the type before any initialise is 0
    EXPECT_EQ(quorvel_client_easy_setup_initialize(client, 3, nullptr, a), invalid_parameter);
    EXPECT_EQ(refusal(), "host_address is invalid");
    EXPECT_EQ(without_proxy([&] { return quorvel_client_easy_setup_initialize(client, 3, on_result, a); }),
              invalid_parameter);
    EXPECT_EQ(refusal(), "Need to initialize");
}

TEST_F(EasySetupInitialize, DestroysTheDelegateOfARefusedCallWithoutTheLineOfADisposal)
{
    agent().answer_next_with(unreachable);
    EXPECT_EQ(quorvel_client_easy_setup_initialize(client, 0, on_result, a), unreachable);
    EXPECT_THAT(errors(), Lines(failure("quorvel_client_easy_setup_initialize",
                                        failed("init_easy_setup", unreachable))));
    EXPECT_THAT(log(), HasNoLine(disposal("easy_setup_init_cb", init_result, 1, "true")));
    EXPECT_THAT(told(init_result, 1, {i32(0)}), IsEmpty());
    EXPECT_EQ(start(a), operation_failed);
}

TEST_F(EasySetupInitialize, LeavesTheSessionClosedWhenItsResultIsAFailure)
{
    initialise(0, no_data);
    EXPECT_EQ(start(a), operation_failed);
    EXPECT_THAT(errors(), Lines(failure("quorvel_client_easy_setup_start", "Need to initialize")));
    EXPECT_THAT(agent().requests(), IsEmpty());
}

TEST_F(EasySetupInitialize, OpensTheSessionBeforeItTellsTheApplication)
{
    answer_all();
    ASSERT_EQ(quorvel_client_easy_setup_initialize(client, 0, on_result, a), 0);
    int started = 1;
    inside_callback = [&] {
        inside_callback = nullptr;
        started = start(b);
    };
    agent().fire(init_result, 1, true, {i32(0)});
    EXPECT_EQ(started, 0);
}

TEST_F(EasySetupInitialize, OpensTheSessionAlsoWhenNobodyWaitsForTheResult)
{
    _easy_setup_init_cb(nullptr, 0);
    EXPECT_THAT(errors(), Lines(failure("_easy_setup_init_cb", "request or request->user_cb is NULL")));
    answer_all();
    EXPECT_EQ(start(a), 0);
}

TEST_F(EasySetupInitialize, TakesTheCallbacksOfTheStartBack)
{
    initialise();
    answer_all();
    ASSERT_EQ(start(a), 0);
    ASSERT_EQ(start_v2(a), 0);
    clear_log();
    ASSERT_EQ(quorvel_client_easy_setup_initialize(client, 0, on_result, a), 0);
    EXPECT_THAT(log(), HasLine(disposal("easy_setup_otm_support_feature_cb", 23, 1, "false")));
    EXPECT_THAT(log(), HasLine(disposal("easy_setup_random_pin_cb", 24, 1, "false")));
    EXPECT_THAT(log(), HasLine(disposal("easy_setup_enrollee_owned_cb", 32, 1, "false")));
    EXPECT_THAT(log(), HasLine(disposal("easy_setup_prov_info_cb", 38, 1, "false")));
    EXPECT_THAT(told_all_of_the_start(1), IsEmpty());
    EXPECT_THAT(told(prov_info_event, 1, {bundle_of({})}), IsEmpty());
}

TEST_F(EasySetupInitialize, KeepsTheCallbacksOfTheStartWhileThereIsNoProxy)
{
    initialise();
    answer_all();
    ASSERT_EQ(start(a), 0);
    without_proxy([&] { return quorvel_client_easy_setup_initialize(client, 0, on_result, a); });
    EXPECT_EQ(told_all_of_the_start(1).size(), 3U);
}

// ---------------------------------------------------------------------------------------------------------
// Start

class EasySetupStart : public EasySetup {};

TEST_F(EasySetupStart, RegistersThreeCallbacksAndThenStarts)
{
    initialise();
    answer_all();
    ASSERT_EQ(start(a), 0);
    EXPECT_THAT(agent().requests(), ElementsAre(Sent{i32(61), delegate(otm_feature_event, 1, false)},
                                                Sent{i32(62), delegate(random_pin_event, 1, false)},
                                                Sent{i32(78), delegate(enrollee_owned_event, 1, false)},
                                                Sent{i32(80), text("10.0.0.7"), flag(true)}));
    EXPECT_THAT(told_all_of_the_start(1), ElementsAre(Heard{"otm", {i32(5)}, a}, Heard{"pin", {i32(7)}, a},
                                                      Heard{"owned", {flag(true)}, a}));
}

TEST_F(EasySetupStart, RegistersTheProvisioningInfoInItsSecondVersion)
{
    initialise();
    answer_all();
    ASSERT_EQ(quorvel_client_easy_setup_start_v2(client, "10.0.0.8", false, on_otm, on_pin, on_info, b), 0);
    EXPECT_THAT(agent().requests(), ElementsAre(Sent{i32(61), delegate(otm_feature_event, 1, false)},
                                                Sent{i32(62), delegate(random_pin_event, 1, false)},
                                                Sent{i32(160), delegate(prov_info_event, 1, false)},
                                                Sent{i32(80), text("10.0.0.8"), flag(false)}));
    EXPECT_THAT(told(prov_info_event, 1, {bundle_of({{"vid", "lamp"}})}),
                ElementsAre(Heard{"info", {bundle_of({{"vid", "lamp"}})}, b}));
}

TEST_F(EasySetupStart, NeedsAHostOnlyInASessionOfTypeZero)
{
    initialise(0);
    for (const char* const host : {static_cast<const char*>(nullptr), ""}) {
        clear_log();
        EXPECT_EQ(quorvel_client_easy_setup_start(client, host, true, on_otm, on_pin, on_owned, a),
                  invalid_parameter);
        EXPECT_THAT(errors(), Lines(failure("quorvel_client_easy_setup_start", "host_address is invalid")));
        EXPECT_EQ(quorvel_client_easy_setup_start_v2(client, host, true, on_otm, on_pin, on_info, a),
                  invalid_parameter);
    }
    EXPECT_THAT(agent().requests(), IsEmpty());

    initialise(1);
    answer_all();
    EXPECT_EQ(quorvel_client_easy_setup_start(client, nullptr, true, on_otm, on_pin, on_owned, a), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(80), text(""), flag(true)}));
}

TEST_F(EasySetupStart, BlamesTheHostThenTheCallbacksThenTheSessionThenTheProxy)
{
    const auto refusal = [&](const char* host, auto otm, auto pin, auto owned) {
        clear_log();
        without_proxy(
            [&] { return quorvel_client_easy_setup_start(client, host, true, otm, pin, owned, nullptr); });
        return errors().at(0).text;
    };
    constexpr quorvel_client_easy_setup_otm_feature_cb no_otm = nullptr;
    constexpr quorvel_client_easy_setup_random_pin_cb no_pin = nullptr;
    constexpr quorvel_client_easy_setup_enrollee_owned_cb no_owned = nullptr;
    EXPECT_EQ(refusal("", no_otm, no_pin, no_owned), "host_address is invalid");
    EXPECT_EQ(refusal("h", no_otm, &on_pin<>, &on_owned<>), "user_cb is NULL");
    EXPECT_EQ(refusal("h", &on_otm<>, no_pin, &on_owned<>), "user_cb is NULL");
    EXPECT_EQ(refusal("h", &on_otm<>, &on_pin<>, no_owned), "user_cb is NULL");
    EXPECT_EQ(refusal("h", &on_otm<>, &on_pin<>, &on_owned<>), "Need to initialize");
    initialise();
    EXPECT_EQ(refusal("h", &on_otm<>, &on_pin<>, &on_owned<>), "rpc_h is null");
}

TEST_F(EasySetupStart, NeedsAllCallbacksOfTheSecondVersion)
{
    initialise();
    EXPECT_EQ(quorvel_client_easy_setup_start_v2(client, "h", true, nullptr, on_pin, on_info, a),
              invalid_parameter);
    EXPECT_EQ(quorvel_client_easy_setup_start_v2(client, "h", true, on_otm, nullptr, on_info, a),
              invalid_parameter);
    EXPECT_EQ(quorvel_client_easy_setup_start_v2(client, "h", true, on_otm, on_pin, nullptr, a),
              invalid_parameter);
    EXPECT_THAT(errors(), HasLineTimes(failure("quorvel_client_easy_setup_start_v2", "user_cb is NULL"), 3));
}

TEST_F(EasySetupStart, RegistersNothingBeforeASessionIsOpen)
{
    EXPECT_EQ(start(a), operation_failed);
    EXPECT_EQ(start_v2(a), operation_failed);
    EXPECT_THAT(agent().requests(), IsEmpty());
    EXPECT_THAT(told_all_of_the_start(1), IsEmpty());
}

TEST_F(EasySetupStart, KeepsTheCallbacksOfAnEarlierStartAndTakesTheNewUserData)
{
    initialise();
    answer_all();
    ASSERT_EQ(start(a), 0);
    agent().forget_requests();
    ASSERT_EQ(quorvel_client_easy_setup_start(client, "h", false, on_otm<2>, on_pin<2>, on_owned<2>, b), 0);
    EXPECT_THAT(agent().requests(), ElementsAre(Sent{i32(80), text("h"), flag(false)}));
    EXPECT_THAT(told_all_of_the_start(1), ElementsAre(Heard{"otm", {i32(5)}, b}, Heard{"pin", {i32(7)}, b},
                                                      Heard{"owned", {flag(true)}, b}));
}

TEST_F(EasySetupStart, RegistersItsOwnCallbacksAfterANewInitialise)
{
    initialise();
    answer_all();
    ASSERT_EQ(start(a), 0);
    initialise();
    answer_all();
    ASSERT_EQ(quorvel_client_easy_setup_start(client, "h", false, on_otm<2>, on_pin<2>, on_owned<2>, b), 0);
    EXPECT_EQ(agent().requests().size(), 4U);
    EXPECT_THAT(told_all_of_the_start(1), IsEmpty());
    EXPECT_THAT(told_all_of_the_start(2),
                ElementsAre(Heard{"otm 2", {i32(5)}, b}, Heard{"pin 2", {i32(7)}, b},
                            Heard{"owned 2", {flag(true)}, b}));
}

TEST_F(EasySetupStart, RegistersOnlyItsThirdCallbackAfterAStartOfTheOtherVersion)
{
    initialise();
    answer_all();
    ASSERT_EQ(start(a), 0);
    agent().forget_requests();
    ASSERT_EQ(quorvel_client_easy_setup_start_v2(client, "h", true, on_otm<2>, on_pin<2>, on_info<2>, b), 0);
    EXPECT_THAT(agent().requests(), ElementsAre(Sent{i32(160), delegate(prov_info_event, 1, false)},
                                                Sent{i32(80), text("h"), flag(true)}));
    EXPECT_THAT(told(otm_feature_event, 1, {i32(5)}), ElementsAre(Heard{"otm", {i32(5)}, b}));
    EXPECT_THAT(told(prov_info_event, 1, {bundle_of({})}), ElementsAre(Heard{"info 2", {bundle_of({})}, b}));
}

TEST_F(EasySetupStart, TakesTheUserDataOverBeforeItLooksForTheProxy)
{
    initialise();
    answer_all();
    ASSERT_EQ(start(a), 0);
    EXPECT_EQ(without_proxy([&] { return start(b); }), invalid_parameter);
    EXPECT_THAT(told(otm_feature_event, 1, {i32(5)}), ElementsAre(Heard{"otm", {i32(5)}, b}));
}

TEST_F(EasySetupStart, KeepsTheUserDataWhenASessionIsMissing)
{
    initialise();
    answer_all();
    ASSERT_EQ(start(a), 0);
    quorvel_client_easy_setup_initialize(nullptr, 0, nullptr, nullptr);
    EXPECT_EQ(start(b), operation_failed);
    EXPECT_THAT(told(otm_feature_event, 1, {i32(5)}), ElementsAre(Heard{"otm", {i32(5)}, a}));
}

TEST_F(EasySetupStart, RegistersNothingAfterAReconnectUntilTheNextInitialise)
{
    initialise();
    answer_all();
    ASSERT_EQ(start(a), 0);
    reconnect();
    answer_all();
    ASSERT_EQ(start(b), 0);
    EXPECT_THAT(agent().requests(), ElementsAre(Sent{i32(80), text("10.0.0.7"), flag(true)}));
    EXPECT_THAT(told_all_of_the_start(1), IsEmpty());

    initialise();
    answer_all();
    ASSERT_EQ(start(c), 0);
    EXPECT_EQ(agent().requests().size(), 4U);
    EXPECT_EQ(told_all_of_the_start(2).size(), 3U);
}

TEST_F(EasySetupStart, KeepsWhatItRegisteredWhenTheStartItselfIsRefused)
{
    initialise();
    for (int i = 0; i < 3; ++i)
        agent().answer_next_with(0);
    agent().answer_next_with(no_data);
    EXPECT_EQ(start(a), no_data);
    // The name is that of the first version's method.
    EXPECT_THAT(errors(),
                Lines(failure("quorvel_client_easy_setup_start", failed("start_easy_setup", no_data))));
    EXPECT_EQ(told_all_of_the_start(1).size(), 3U);
}

struct StartRegistration {
    const char* name;
    bool is_v2;
    int place;
    int id;
    const char* method;
    const char* delegate_name;
};

void PrintTo(const StartRegistration& row, std::ostream* out)
{
    *out << row.name;
}

class EasySetupStartRegistration : public EasySetup, public testing::WithParamInterface<StartRegistration> {
protected:
    int start_it(void* user_data) { return GetParam().is_v2 ? start_v2(user_data) : start(user_data); }
    std::string function() const
    {
        return GetParam().is_v2 ? "quorvel_client_easy_setup_start_v2" : "quorvel_client_easy_setup_start";
    }
};

TEST_P(EasySetupStartRegistration, IsTakenBackWhenTheAgentRefusesItAndMadeAnewByTheNextStart)
{
    const auto& row = GetParam();
    initialise();
    for (int i = 0; i < row.place; ++i)
        agent().answer_next_with(0);
    agent().answer_next_with(unreachable);
    EXPECT_EQ(start_it(a), unreachable);
    EXPECT_THAT(errors(), Lines(failure(function(), failed(row.method, unreachable))));
    EXPECT_THAT(log(), HasLineTimes(disposal(row.delegate_name, row.id, 1, "false"), 1));
    EXPECT_EQ(agent().requests().size(), static_cast<std::size_t>(row.place) + 1);

    forget();
    answer_all();
    EXPECT_EQ(start_it(b), 0);
    // What was registered before the refusal stays registered.
    EXPECT_EQ(agent().requests().size(), 4U - static_cast<std::size_t>(row.place));
    EXPECT_EQ(agent().requests().at(0)[2], i32(2));
}

TEST_P(EasySetupStartRegistration, ReportsAnUnknownCodeAndAMissingAnswer)
{
    const auto& row = GetParam();
    initialise();
    for (int i = 0; i < row.place; ++i)
        agent().answer_next_with(0);
    agent().answer_next_with(-7777);
    EXPECT_EQ(start_it(a), unknown);
    EXPECT_EQ(errors().back(), failure(function(), failed(row.method, unknown)));
    agent().no_answer_next();
    EXPECT_EQ(start_it(a), unknown);
    EXPECT_EQ(errors().back(), failure(function(), failed(row.method, unknown)));
}

INSTANTIATE_TEST_SUITE_P(
    Each, EasySetupStartRegistration,
    testing::Values(StartRegistration{"OtmFeature", false, 0, 23, "set_easy_setup_otm_support_feature_cb",
                                      "easy_setup_otm_support_feature_cb"},
                    StartRegistration{"RandomPin", false, 1, 24, "set_easy_setup_random_pin_cb",
                                      "easy_setup_random_pin_cb"},
                    StartRegistration{"EnrolleeOwned", false, 2, 32, "set_easy_setup_enrollee_owned_cb",
                                      "easy_setup_enrollee_owned_cb"},
                    StartRegistration{"OtmFeatureV2", true, 0, 23, "set_easy_setup_otm_support_feature_cb",
                                      "easy_setup_otm_support_feature_cb"},
                    StartRegistration{"RandomPinV2", true, 1, 24, "set_easy_setup_random_pin_cb",
                                      "easy_setup_random_pin_cb"},
                    StartRegistration{"ProvisioningInfoV2", true, 2, 38, "set_easy_setup_prov_info_cb",
                                      "easy_setup_prov_info_cb"}),
    [](const auto& each) { return each.param.name; });

TEST_F(EasySetupStart, FailsWithoutMemoryForADelegateAndRegistersNothing)
{
    initialise();
    FailingAllocation first(1);
    EXPECT_EQ(start(a), out_of_memory);
    EXPECT_TRUE(first.happened());
    EXPECT_THAT(errors(), HasLine(failure("quorvel_client_easy_setup_start", "handle is null")));
    EXPECT_THAT(agent().requests(), IsEmpty());
    answer_all();
    EXPECT_EQ(start(a), 0);
    EXPECT_EQ(agent().requests().size(), 4U);
}

TEST_F(EasySetupStart, SurvivesALackOfMemoryAtEveryPoint)
{
    bool went_on = true;
    for (int nth = 1; went_on; ++nth) {
        initialise();
        answer_all();
        int code = 0;
        {
            FailingAllocation failing(nth);
            code = start_v2(a);
            went_on = failing.happened();
        }
        EXPECT_THAT(code, testing::AnyOf(0, out_of_memory, unknown, operation_failed)) << nth;
        EXPECT_EQ(start_v2(b), 0) << nth;
        ASSERT_LT(nth, 200);
    }
}

// ---------------------------------------------------------------------------------------------------------
// What the start's callbacks are told

class EasySetupEvents : public EasySetup {
protected:
    void SetUp() override
    {
        EasySetup::SetUp();
        initialise();
        answer_all();
        ASSERT_EQ(start(a), 0);
        ASSERT_EQ(start_v2(a), 0);
        clear_log();
    }
};

TEST_F(EasySetupEvents, ComeWithTheFirstValueForTheFeatureAndTheSecondForThePin)
{
    EXPECT_THAT(told(otm_feature_event, 1, {i32(-11)}), ElementsAre(Heard{"otm", {i32(-11)}, a}));
    EXPECT_THAT(told(random_pin_event, 1, {text("4711"), i32(8)}), ElementsAre(Heard{"pin", {i32(8)}, a}));
    EXPECT_THAT(told(enrollee_owned_event, 1, {flag(false)}), ElementsAre(Heard{"owned", {flag(false)}, a}));
    EXPECT_THAT(log(), HasLine(qc_info(area, "_easy_setup_random_pin_cb", "ENTER v[2.4.29]")));
    EXPECT_THAT(log(), NowhereContains("4711"));
}

TEST_F(EasySetupEvents, ComeAgainAndAgainAlsoWhenTheAgentSaysOnce)
{
    for (int i = 0; i < 3; ++i) {
        heard.clear();
        agent().fire(otm_feature_event, 1, true, {i32(i)});
        EXPECT_THAT(heard, ElementsAre(Heard{"otm", {i32(i)}, a}));
    }
}

TEST_F(EasySetup, DropsEventsWithoutALineWhenTheHandleHasNoCallback)
{
    _easy_setup_otm_support_feature_cb(client, 1);
    _easy_setup_random_pin_cb(client, "1", 1);
    _easy_setup_enrollee_owned_cb(client, true);
    _easy_setup_prov_info_cb(client, nullptr);
    _easy_setup_state_cb(client, 1, 2);
    _easy_setup_enrollee_state_cb(client, 1, 2);
    EXPECT_THAT(heard, IsEmpty());
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(EasySetupEvents, AreLoggedAndDroppedWithoutUserData)
{
    _easy_setup_otm_support_feature_cb(nullptr, 1);
    _easy_setup_random_pin_cb(nullptr, "1", 1);
    _easy_setup_enrollee_owned_cb(nullptr, true);
    _easy_setup_prov_info_cb(nullptr, nullptr);
    _easy_setup_state_cb(nullptr, 1, 2);
    _easy_setup_enrollee_state_cb(nullptr, 1, 2);
    EXPECT_THAT(errors(), Lines(failure("_easy_setup_otm_support_feature_cb", "No user data"),
                                failure("_easy_setup_random_pin_cb", "No user data"),
                                failure("_easy_setup_enrollee_owned_cb", "No user data"),
                                failure("_easy_setup_prov_info_cb", "No user data"),
                                failure("_easy_setup_state_cb", "No user data"),
                                failure("_easy_setup_enrollee_state_cb", "No user data")));
    EXPECT_THAT(heard, IsEmpty());
}

TEST_F(EasySetupEvents, DropTheProvisioningInfoThatCannotBeCopied)
{
    platform().fail("bundle_dup");
    EXPECT_THAT(told(prov_info_event, 1, {bundle_of({{"vid", "lamp"}})}), IsEmpty());
    EXPECT_THAT(errors(), HasLine(failure("_easy_setup_prov_info_cb",
                                          "rpc_port_easy_setup_prov_info_s_clone is failed")));
    EXPECT_EQ(told(prov_info_event, 1, {bundle_of({{"vid", "lamp"}})}).size(), 1U);
}

TEST_F(EasySetupEvents, MayOpenANewSessionFromInsideACallback)
{
    int code = -1;
    inside_callback = [&] {
        inside_callback = nullptr;
        code = quorvel_client_easy_setup_initialize(client, 0, on_result, b);
    };
    EXPECT_EQ(told(otm_feature_event, 1, {i32(1)}).size(), 1U);
    EXPECT_EQ(code, 0);
    EXPECT_THAT(told_all_of_the_start(1), IsEmpty());
}

TEST_F(EasySetupEvents, MayDisconnectFromInsideEachCallback)
{
    const std::pair<int, Values> events[] = {{otm_feature_event, {i32(5)}},
                                             {random_pin_event, {text("6"), i32(7)}},
                                             {enrollee_owned_event, {flag(true)}},
                                             {prov_info_event, {bundle_of({})}}};
    int seq_id = 0;
    for (const auto& [id, values] : events) {
        ++seq_id;
        inside_callback = [&] {
            inside_callback = nullptr;
            EXPECT_EQ(quorvel_client_disconnect(client), 0);
            client = nullptr;
        };
        EXPECT_EQ(told(id, seq_id, values).size(), 1U) << id;
        ASSERT_EQ(quorvel_client_connect(
                      &client, [](int, int, void*) {}, nullptr),
                  0);
        agent().otherwise_answer(0);
        agent().connect();
        initialise();
        answer_all();
        ASSERT_EQ(start(a), 0);
        ASSERT_EQ(start_v2(a), 0);
    }
}

// ---------------------------------------------------------------------------------------------------------
// State and enrollee error

class EasySetupState : public EasySetup {};

TEST_F(EasySetupState, IsToldWithItsTwoValuesInOrder)
{
    answer_all();
    ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, a), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(67), delegate(state_event, 1, false)}));
    EXPECT_THAT(told(state_event, 1, {i32(3), i32(-4)}), ElementsAre(Heard{"state", {i32(3), i32(-4)}, a}));
    EXPECT_THAT(told(state_event, 1, {i32(5), i32(6)}), ElementsAre(Heard{"state", {i32(5), i32(6)}, a}));
}

TEST_F(EasySetupState, IsToldToTheLastCallbackOnly)
{
    answer_all();
    ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, a), 0);
    clear_log();
    ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state<2>, b), 0);
    EXPECT_THAT(log(), HasLineTimes(disposal("easy_setup_state_cb", state_event, 1, "false"), 1));
    EXPECT_EQ(agent().request(), (Sent{i32(67), delegate(state_event, 2, false)}));
    EXPECT_THAT(told(state_event, 1, {i32(1), i32(2)}), IsEmpty());
    EXPECT_THAT(told(state_event, 2, {i32(1), i32(2)}), ElementsAre(Heard{"state 2", {i32(1), i32(2)}, b}));
}

TEST_F(EasySetupState, StaysRegisteredWhenTheAgentRefuses)
{
    agent().answer_next_with(no_data);
    EXPECT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, a), no_data);
    EXPECT_THAT(told(state_event, 1, {i32(1), i32(2)}), ElementsAre(Heard{"state", {i32(1), i32(2)}, a}));
    agent().answer_next_with(no_data);
    EXPECT_EQ(quorvel_client_set_easy_setup_enrollee_error_cb(client, on_error, b), no_data);
    EXPECT_THAT(told(enrollee_error_event, 1, {i32(1), i32(2)}),
                ElementsAre(Heard{"error", {i32(1), i32(2)}, a}));
}

TEST_F(EasySetupState, IsNotToldAfterItWasUnset)
{
    answer_all();
    ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, a), 0);
    clear_log();
    ASSERT_EQ(quorvel_client_unset_easy_setup_state_cb(client), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(68)}));
    EXPECT_THAT(log(), HasLineTimes(disposal("easy_setup_state_cb", state_event, 1, "false"), 1));
    clear_log();
    EXPECT_THAT(told(state_event, 1, {i32(1), i32(2)}), IsEmpty());
    EXPECT_THAT(log_of(public_tag), IsEmpty());
}

TEST_F(EasySetupState, IsUnsetAlsoWhenTheAgentRefuses)
{
    answer_all();
    ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, a), 0);
    ASSERT_EQ(quorvel_client_set_easy_setup_enrollee_error_cb(client, on_error, a), 0);
    agent().otherwise_answer(no_data);
    EXPECT_EQ(quorvel_client_unset_easy_setup_state_cb(client), no_data);
    EXPECT_EQ(quorvel_client_unset_easy_setup_enrollee_error_cb(client), no_data);
    EXPECT_THAT(told(state_event, 1, {i32(1), i32(2)}), IsEmpty());
    EXPECT_THAT(told(enrollee_error_event, 1, {i32(1), i32(2)}), IsEmpty());
}

TEST_F(EasySetupState, IsUnsetAtTheAgentAlsoWhenNothingWasSet)
{
    answer_all();
    EXPECT_EQ(quorvel_client_unset_easy_setup_state_cb(client), 0);
    EXPECT_EQ(quorvel_client_unset_easy_setup_enrollee_error_cb(client), 0);
    EXPECT_THAT(agent().requests(), ElementsAre(Sent{i32(68)}, Sent{i32(76)}));
}

TEST_F(EasySetupState, ToleratesASetAfterAnUnsetAndASecondUnset)
{
    answer_all();
    ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, a), 0);
    ASSERT_EQ(quorvel_client_unset_easy_setup_state_cb(client), 0);
    ASSERT_EQ(quorvel_client_unset_easy_setup_state_cb(client), 0);
    ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, b), 0);
    EXPECT_THAT(told(state_event, 2, {i32(1), i32(2)}), ElementsAre(Heard{"state", {i32(1), i32(2)}, b}));
    EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(EasySetupState, BlamesTheMissingCallbackBeforeTheMissingProxy)
{
    EXPECT_EQ(without_proxy([&] { return quorvel_client_set_easy_setup_state_cb(client, nullptr, a); }),
              invalid_parameter);
    EXPECT_EQ(
        without_proxy([&] { return quorvel_client_set_easy_setup_enrollee_error_cb(client, nullptr, a); }),
        invalid_parameter);
    EXPECT_THAT(errors(),
                Lines(failure("quorvel_client_set_easy_setup_state_cb", "user_cb is NULL"),
                      failure("quorvel_client_set_easy_setup_enrollee_error_cb", "user_cb is NULL")));
}

TEST_F(EasySetupState, FailsWithoutMemoryForItsDelegate)
{
    answer_all();
    ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, a), 0);
    agent().forget_requests();
    clear_log();
    FailingAllocation first(1);
    EXPECT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state<2>, b), operation_failed);
    EXPECT_TRUE(first.happened());
    EXPECT_THAT(errors(), HasLine(failure("quorvel_client_set_easy_setup_state_cb", "handle is null")));
    EXPECT_THAT(agent().requests(), IsEmpty());
}

TEST_F(EasySetupState, MayBeUnsetAndReplacedFromInsideItsCallback)
{
    answer_all();
    ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, a), 0);
    inside_callback = [&] {
        inside_callback = nullptr;
        EXPECT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state<2>, b), 0);
    };
    EXPECT_EQ(told(state_event, 1, {i32(1), i32(2)}).size(), 1U);
    inside_callback = [&] {
        inside_callback = nullptr;
        EXPECT_EQ(quorvel_client_unset_easy_setup_state_cb(client), 0);
    };
    EXPECT_THAT(told(state_event, 2, {i32(1), i32(2)}), ElementsAre(Heard{"state 2", {i32(1), i32(2)}, b}));
    EXPECT_THAT(told(state_event, 2, {i32(1), i32(2)}), IsEmpty());
}

TEST_F(EasySetupState, MayDisconnectFromInsideItsCallback)
{
    answer_all();
    ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, a), 0);
    inside_callback = [&] {
        inside_callback = nullptr;
        EXPECT_EQ(quorvel_client_disconnect(client), 0);
        client = nullptr;
    };
    EXPECT_EQ(told(state_event, 1, {i32(1), i32(2)}).size(), 1U);
}

class EasySetupEnrolleeError : public EasySetup {};

TEST_F(EasySetupEnrolleeError, IsToldWithTheUserDataOfTheStateCallback)
{
    answer_all();
    ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, a), 0);
    ASSERT_EQ(quorvel_client_set_easy_setup_enrollee_error_cb(client, on_error, b), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(75), delegate(enrollee_error_event, 1, false)}));
    EXPECT_THAT(told(enrollee_error_event, 1, {i32(-7), i32(8)}),
                ElementsAre(Heard{"error", {i32(-7), i32(8)}, a}));
}

TEST_F(EasySetupEnrolleeError, IsToldWithNullWhenNoStateCallbackIsSet)
{
    answer_all();
    ASSERT_EQ(quorvel_client_set_easy_setup_enrollee_error_cb(client, on_error, b), 0);
    EXPECT_THAT(told(enrollee_error_event, 1, {i32(1), i32(2)}),
                ElementsAre(Heard{"error", {i32(1), i32(2)}, nullptr}));
    ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, a), 0);
    ASSERT_EQ(quorvel_client_unset_easy_setup_state_cb(client), 0);
    EXPECT_THAT(told(enrollee_error_event, 1, {i32(1), i32(2)}),
                ElementsAre(Heard{"error", {i32(1), i32(2)}, nullptr}));
}

TEST_F(EasySetupEnrolleeError, IsReplacedAndUnsetLikeTheState)
{
    answer_all();
    ASSERT_EQ(quorvel_client_set_easy_setup_enrollee_error_cb(client, on_error, b), 0);
    ASSERT_EQ(quorvel_client_set_easy_setup_enrollee_error_cb(client, on_error<2>, b), 0);
    EXPECT_THAT(told(enrollee_error_event, 1, {i32(1), i32(2)}), IsEmpty());
    EXPECT_THAT(told(enrollee_error_event, 2, {i32(1), i32(2)}),
                ElementsAre(Heard{"error 2", {i32(1), i32(2)}, nullptr}));
    ASSERT_EQ(quorvel_client_unset_easy_setup_enrollee_error_cb(client), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(76)}));
    EXPECT_THAT(told(enrollee_error_event, 2, {i32(1), i32(2)}), IsEmpty());
}

TEST_F(EasySetupEnrolleeError, MayBeUnsetReplacedAndDisconnectedFromInsideItsCallback)
{
    answer_all();
    ASSERT_EQ(quorvel_client_set_easy_setup_enrollee_error_cb(client, on_error, b), 0);
    inside_callback = [&] {
        inside_callback = nullptr;
        EXPECT_EQ(quorvel_client_unset_easy_setup_enrollee_error_cb(client), 0);
        EXPECT_EQ(quorvel_client_set_easy_setup_enrollee_error_cb(client, on_error<2>, b), 0);
        EXPECT_EQ(quorvel_client_disconnect(client), 0);
        client = nullptr;
    };
    EXPECT_EQ(told(enrollee_error_event, 1, {i32(1), i32(2)}).size(), 1U);
}

TEST_F(EasySetup, HearsEveryRegistrationOfItsOwnConnectionAfterManyReconnects)
{
    for (int round = 1; round <= 40; ++round) {
        initialise();
        answer_all();
        ASSERT_EQ(quorvel_client_set_easy_setup_enrollee_error_cb(client, on_error, b), 0);
        ASSERT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, a), 0);
        ASSERT_EQ(start(a), 0);
        ASSERT_EQ(start_v2(a), 0);
        EXPECT_EQ(told(state_event, round, {i32(1), i32(2)}).size(), 1U) << round;
        EXPECT_EQ(told(enrollee_error_event, round, {i32(1), i32(2)}).size(), 1U) << round;
        EXPECT_EQ(told_all_of_the_start(round).size(), 3U) << round;
        EXPECT_EQ(told(prov_info_event, round, {bundle_of({})}).size(), 1U) << round;
        reconnect();
    }
}

// ---------------------------------------------------------------------------------------------------------
// Plain commands

TEST_F(EasySetup, PassesTheFeatureOn)
{
    answer_all();
    EXPECT_EQ(quorvel_client_easy_setup_set_supported_otm_feature(client, -5), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(64), i32(-5)}));
}

TEST_F(EasySetup, StopsAndLeavesTheSessionOpen)
{
    initialise();
    answer_all();
    ASSERT_EQ(start(a), 0);
    EXPECT_EQ(quorvel_client_easy_setup_stop(client), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(74)}));
    EXPECT_EQ(told_all_of_the_start(1).size(), 3U);
    EXPECT_EQ(start(a), 0);
}

TEST_F(EasySetup, PassesThePinOnAndTellsItToNobodyElse)
{
    answer_all();
    EXPECT_EQ(quorvel_client_easy_setup_set_random_pin(client, "47114711"), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(81), text("47114711")}));
    EXPECT_THAT(log(), NowhereContains("4711"));
}

TEST_F(EasySetup, RefusesAMissingPinBeforeAMissingProxy)
{
    for (const char* const pin : {static_cast<const char*>(nullptr), ""}) {
        clear_log();
        EXPECT_EQ(without_proxy([&] { return quorvel_client_easy_setup_set_random_pin(client, pin); }),
                  invalid_parameter);
        EXPECT_THAT(errors(), Lines(failure("quorvel_client_easy_setup_set_random_pin",
                                            "quorvel_client random pin is NULL")));
    }
}

class EasySetupLastErrorCode : public EasySetup {
protected:
    static char* untouched()
    {
        static char text[] = "untouched";
        return text;
    }
};

TEST_F(EasySetupLastErrorCode, IsHandedOutAsACopy)
{
    agent().answer_next_with(0, {bundle_of({{"error_code", "E-17"}, {"other", "x"}})});
    OwnedText code;
    ASSERT_EQ(quorvel_client_easy_setup_get_last_error_code(client, code), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(148)}));
    EXPECT_STREQ(code.get(), "E-17");
}

TEST_F(EasySetupLastErrorCode, IsNullWhenItIsAbsentOrEmpty)
{
    for (const auto& items :
         {BundleItems{}, BundleItems{{"error_code", ""}}, BundleItems{{"error_code", Strings{"a list"}}}}) {
        agent().answer_next_with(0, {bundle_of(items)});
        char* code = untouched();
        EXPECT_EQ(quorvel_client_easy_setup_get_last_error_code(client, &code), 0);
        EXPECT_EQ(code, nullptr);
    }
}

TEST_F(EasySetupLastErrorCode, IsUntouchedWhenTheCallFails)
{
    agent().answer_next_with(no_data, {bundle_of({{"error_code", "E-17"}})});
    char* code = untouched();
    EXPECT_EQ(quorvel_client_easy_setup_get_last_error_code(client, &code), no_data);
    EXPECT_EQ(code, untouched());
}

TEST_F(EasySetupLastErrorCode, BlamesTheMissingOutPointerBeforeTheMissingProxy)
{
    EXPECT_EQ(without_proxy([&] { return quorvel_client_easy_setup_get_last_error_code(client, nullptr); }),
              invalid_parameter);
    EXPECT_THAT(errors(),
                Lines(failure("quorvel_client_easy_setup_get_last_error_code", "invalid parameter")));
}

TEST_F(EasySetupLastErrorCode, IsUntouchedWithoutMemory)
{
    bool was_refused_a_copy = false;
    bool went_on = true;
    for (int nth = 1; went_on; ++nth) {
        agent().forget_script();
        agent().answer_next_with(0, {bundle_of({{"error_code", "E-17"}})});
        char* code = untouched();
        int result = 0;
        {
            FailingAllocation failing(nth);
            result = quorvel_client_easy_setup_get_last_error_code(client, &code);
            went_on = failing.happened();
        }
        was_refused_a_copy = was_refused_a_copy || result == out_of_memory;
        if (result == 0)
            std::free(code);
        else
            EXPECT_EQ(code, untouched());
        ASSERT_LT(nth, 50);
    }
    EXPECT_TRUE(was_refused_a_copy);
}

// ---------------------------------------------------------------------------------------------------------
// Commands that are answered once, later

struct Command {
    const char* name;
    int method;
    Values parameters;  // in front of the delegate
    int id;             // of the delegate
    std::function<int(quorvel_client_h client, bool with_callback, void* user_data)> call;
    const char* missing_callback;
    const char* delegate_name;
    const char* handler;
    Values answer;    // what the agent sends
    Heard heard;      // what the application is told when it gave `a`
    int allocations;  // of its own in front of the request's
};

void PrintTo(const Command& command, std::ostream* out)
{
    *out << command.name;
}

template <typename Callback>
Callback* given(bool with_callback, Callback* callback)
{
    return with_callback ? callback : nullptr;
}

class EasySetupCommand : public EasySetup, public testing::WithParamInterface<Command> {
protected:
    static const Command& command() { return GetParam(); }
    int call(void* user_data = a) { return command().call(client, true, user_data); }
    int accepted()
    {
        agent().answer_next_with(0);
        return call();
    }
    static std::string function() { return std::string("quorvel_client_easy_setup_") + command().name; }
    static void answer(int seq_id) { agent().fire(command().id, seq_id, true, command().answer); }
};

TEST_P(EasySetupCommand, SendsItsParametersAndADelegate)
{
    ASSERT_EQ(accepted(), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(command().method), command().parameters, delegate(command().id, 1, true)}));
}

TEST_P(EasySetupCommand, TellsTheAnswerOnce)
{
    ASSERT_EQ(accepted(), 0);
    clear_log();
    answer(1);
    EXPECT_THAT(heard, ElementsAre(command().heard));
    EXPECT_THAT(log(), HasLine(qc_info(area, command().handler, "ENTER v[2.4.29]")));
    EXPECT_THAT(errors(), IsEmpty());
    answer(1);
    EXPECT_EQ(heard.size(), 1U);
}

TEST_P(EasySetupCommand, TellsEachAnswerToTheCallThatAsked)
{
    void* const second = command().heard.user_data != nullptr ? b : nullptr;
    agent().otherwise_answer(0);
    ASSERT_EQ(call(a), 0);
    ASSERT_EQ(call(b), 0);
    answer(2);
    answer(1);
    EXPECT_THAT(
        heard, ElementsAre(Heard{command().heard.callback, command().heard.values, second}, command().heard));
}

TEST_P(EasySetupCommand, BlamesTheMissingCallbackBeforeTheMissingProxy)
{
    EXPECT_EQ(without_proxy([&] { return command().call(client, false, a); }), invalid_parameter);
    EXPECT_THAT(errors(), Lines(failure(function(), command().missing_callback)));
    EXPECT_THAT(agent().requests(), IsEmpty());
}

TEST_P(EasySetupCommand, ForgetsTheCallThatTheAgentRefused)
{
    agent().answer_next_with(unreachable);
    EXPECT_EQ(call(), unreachable);
    answer(1);
    EXPECT_THAT(heard, IsEmpty());
}

TEST_P(EasySetupCommand, TellsAnAnswerThatCameBeforeTheRefusalAndNoneAfterIt)
{
    agent().on_request([](const Sent&) -> std::optional<Values> {
        answer(1);
        return std::nullopt;
    });
    agent().answer_next_with(unreachable);
    EXPECT_EQ(call(), unreachable);
    agent().on_request(nullptr);
    answer(1);
    EXPECT_THAT(heard, ElementsAre(command().heard));
}

TEST_P(EasySetupCommand, TellsAnAnswerThatComesInsideTheCall)
{
    agent().on_request([](const Sent&) -> std::optional<Values> {
        answer(1);
        return std::nullopt;
    });
    EXPECT_EQ(accepted(), 0);
    EXPECT_THAT(heard, ElementsAre(command().heard));
}

TEST_P(EasySetupCommand, FailsWithoutMemoryForItsRequest)
{
    for (int nth = 1; nth <= 2; ++nth) {
        clear_log();
        FailingAllocation failing(command().allocations + nth);
        EXPECT_EQ(call(), out_of_memory);
        EXPECT_TRUE(failing.happened());
        EXPECT_THAT(errors(), Lines(failure(function(), "memory allocation is failed")));
    }
    EXPECT_THAT(agent().requests(), IsEmpty());
}

TEST_P(EasySetupCommand, FailsWithoutMemoryForItsDelegate)
{
    FailingAllocation failing(command().allocations + 3);
    EXPECT_EQ(call(), out_of_memory);
    EXPECT_TRUE(failing.happened());
    EXPECT_EQ(errors().back(), failure(function(), std::string("rpc_port_qv_client_")
                                                       + command().delegate_name + "_create failed"));
    EXPECT_THAT(agent().requests(), IsEmpty());
    EXPECT_EQ(accepted(), 0);
}

TEST_P(EasySetupCommand, MayBeRepeatedFromInsideItsAnswer)
{
    ASSERT_EQ(accepted(), 0);
    int again = -1;
    inside_callback = [&] {
        inside_callback = nullptr;
        again = accepted();
    };
    answer(1);
    answer(2);
    EXPECT_EQ(again, 0);
    EXPECT_EQ(heard.size(), 2U);
}

TEST_P(EasySetupCommand, MayDisconnectFromInsideItsAnswer)
{
    ASSERT_EQ(accepted(), 0);
    ASSERT_EQ(accepted(), 0);
    inside_callback = [&] {
        inside_callback = nullptr;
        EXPECT_EQ(quorvel_client_disconnect(client), 0);
        client = nullptr;
    };
    answer(2);
    EXPECT_EQ(heard.size(), 1U);
}

TEST_P(EasySetupCommand, LosesNothingWhenItIsNeverAnswered)
{
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(accepted(), 0);
    // The end of the test disconnects, and looks for what is left.
}

std::vector<Command> commands()
{
    return {
        {.name = "initialize",
         .method = 79,
         .parameters = {i32(4)},
         .id = init_result,
         .call =
             [](auto client, bool with, void* user_data) {
                 return quorvel_client_easy_setup_initialize(client, 4, given(with, on_result<>), user_data);
             },
         .missing_callback = "user_cb is NULL",
         .delegate_name = "easy_setup_init_cb",
         .handler = "_easy_setup_init_cb",
         .answer = {i32(-3)},
         .heard = {"result", {i32(-3)}, a},
         .allocations = 0},
        {.name = "monitoring_enrollee_sign_in",
         .method = 73,
         .parameters = {},
         .id = sign_in_answer,
         .call =
             [](auto client, bool with, void* user_data) {
                 return quorvel_client_easy_setup_monitoring_enrollee_sign_in(client, given(with, on_sign_in),
                                                                              user_data);
             },
         .missing_callback = "invalid user_cb",
         .delegate_name = "monitor_enrollee_sign_in_cb",
         .handler = "_monitor_enrollee_sign_in_cb",
         .answer = {flag(true)},
         // The user data is not passed on.
         .heard = {"sign in", {flag(true)}, nullptr},
         .allocations = 0},
        {.name = "get_access_point_list",
         .method = 69,
         .parameters = {},
         .id = access_points_answer,
         .call =
             [](auto client, bool with, void* user_data) {
                 return quorvel_client_easy_setup_get_access_point_list(client, given(with, on_access_points),
                                                                        user_data);
             },
         .missing_callback = "invalid user_cb",
         .delegate_name = "access_point_list_cb",
         .handler = "_access_point_list_cb",
         .answer = {count(2), bundle_of({{"ssid", "attic"}}), bundle_of({{"ssid", "cellar"}}), i32(77)},
         .heard = {"access points",
                   {count(2), bundle_of({{"ssid", "attic"}}), bundle_of({{"ssid", "cellar"}})},
                   a},
         .allocations = 0},
        {.name = "device_provisioning",
         .method = 66,
         .parameters = {bundle_of({{"language", "cs"}, {"password", "sesame"}})},
         .id = setup_result,
         .call =
             [](auto client, bool with, void* user_data) {
                 const DeviceProperty property;
                 property.record->bundle_data = make_bundle({{"language", "cs"}, {"password", "sesame"}});
                 return quorvel_client_easy_setup_device_provisioning(client, property.record,
                                                                      given(with, on_result<>), user_data);
             },
         .missing_callback = "invalid user_cb",
         .delegate_name = "easy_setup_result_cb",
         .handler = "_easy_setup_result_cb",
         .answer = {i32(12)},
         .heard = {"result", {i32(12)}, a},
         .allocations = 1},
        {.name = "cloud_provisioning",
         .method = 65,
         .parameters = {bundle_of({{"ciHostAddress", "cloud.example"}})},
         .id = setup_result,
         .call =
             [](auto client, bool with, void* user_data) {
                 const CloudProperty property;
                 property.record->bundle_data = make_bundle({{"ciHostAddress", "cloud.example"}});
                 return quorvel_client_easy_setup_cloud_provisioning(client, property.record,
                                                                     given(with, on_result<>), user_data);
             },
         .missing_callback = "invalid user_cb",
         .delegate_name = "easy_setup_result_cb",
         .handler = "_easy_setup_result_cb",
         .answer = {i32(-61)},
         .heard = {"result", {i32(-61)}, a},
         .allocations = 1},
        {.name = "get_device_conf",
         .method = 72,
         .parameters = {},
         .id = device_conf_answer,
         .call =
             [](auto client, bool with, void* user_data) {
                 return quorvel_client_easy_setup_get_device_conf(client, given(with, on_conf), user_data);
             },
         .missing_callback = "invalid user_cb",
         .delegate_name = "easy_setup_device_conf_cb",
         .handler = "_easy_setup_device_conf_cb",
         .answer = {bundle_of({{"deviceName", "kettle"}, {"wifiModes", Strings{"1", "2"}}})},
         // The user data is not passed on.
         .heard = {"conf",
                   {bundle_of({{"deviceName", "kettle"}, {"wifiModes", Strings{"1", "2"}}})},
                   nullptr},
         .allocations = 0},
        {.name = "set_bookmark_location",
         .method = 70,
         .parameters = {bundle_of({{"expires_in", "60"}, {"group_id", "den"}, {"subgroup_id", "corner"}})},
         .id = ocf_result,
         .call =
             [](auto client, bool with, void* user_data) {
                 return quorvel_client_easy_setup_set_bookmark_location(client, "60", "den", "corner",
                                                                        given(with, on_result<>), user_data);
             },
         .missing_callback = "invalid user_cb",
         .delegate_name = "ocf_result_cb",
         .handler = "_ocf_result_cb",
         .answer = {i32(31)},
         .heard = {"result", {i32(31)}, a},
         .allocations = 1},
        {.name = "send_reset_provisioning_info",
         .method = 77,
         .parameters = {},
         .id = ocf_result,
         .call =
             [](auto client, bool with, void* user_data) {
                 return quorvel_client_easy_setup_send_reset_provisioning_info(
                     client, given(with, on_result<>), user_data);
             },
         .missing_callback = "invalid user_cb",
         .delegate_name = "ocf_result_cb",
         .handler = "_ocf_result_cb",
         .answer = {i32(0)},
         .heard = {"result", {i32(0)}, a},
         .allocations = 0},
    };
}

INSTANTIATE_TEST_SUITE_P(Each, EasySetupCommand, testing::ValuesIn(commands()),
                         [](const auto& each) { return each.param.name; });

TEST_F(EasySetup, LogsAnAnswerThatNobodyWaitsFor)
{
    _easy_setup_init_cb(nullptr, 1);
    _easy_setup_result_cb(nullptr, 1);
    _ocf_result_cb(nullptr, 1);
    _monitor_enrollee_sign_in_cb(nullptr, true);
    _access_point_list_cb(nullptr, nullptr, 0);
    _easy_setup_device_conf_cb(nullptr, nullptr);
    EXPECT_THAT(errors(),
                Lines(failure("_easy_setup_init_cb", "request or request->user_cb is NULL"),
                      failure("_easy_setup_result_cb", "request or request->user_cb is NULL"),
                      failure("_ocf_result_cb", "request or request->user_cb is NULL"),
                      failure("_monitor_enrollee_sign_in_cb", "request or request->user_cb is NULL"),
                      failure("_access_point_list_cb", "request or request->user_cb is NULL"),
                      failure("_easy_setup_device_conf_cb", "request or request->user_cb is NULL")));
}

TEST_F(EasySetup, FreesARequestWithoutACallbackAllTheSame)
{
    struct Request {
        void (*callback)();
        void* user_data;
    };
    _easy_setup_init_cb(std::calloc(1, sizeof(Request)), 1);
    _access_point_list_cb(std::calloc(1, sizeof(Request)), nullptr, 0);
    EXPECT_THAT(errors(), Lines(failure("_easy_setup_init_cb", "request or request->user_cb is NULL"),
                                failure("_access_point_list_cb", "request or request->user_cb is NULL")));
}

// ---------------------------------------------------------------------------------------------------------
// Provisioning and configuration

TEST_F(EasySetup, BlamesTheMissingPropertyBeforeTheMissingCallback)
{
    EXPECT_EQ(quorvel_client_easy_setup_device_provisioning(client, nullptr, nullptr, a), invalid_parameter);
    EXPECT_EQ(quorvel_client_easy_setup_cloud_provisioning(client, nullptr, nullptr, a), invalid_parameter);
    EXPECT_THAT(errors(),
                Lines(failure("quorvel_client_easy_setup_device_provisioning", "invalid device_prop_h"),
                      failure("quorvel_client_easy_setup_cloud_provisioning", "invalid cloud_prop_h")));
    EXPECT_THAT(agent().requests(), IsEmpty());
}

TEST_F(EasySetup, DoesNotLogWhatItProvisions)
{
    quorvel_client_easy_setup_device_property_h property = nullptr;
    ASSERT_EQ(quorvel_client_easy_setup_device_property_create(&property), 0);
    ASSERT_EQ(quorvel_client_easy_setup_device_property_set_string(property, 10, "open sesame"), 0);
    answer_all();
    ASSERT_EQ(quorvel_client_easy_setup_device_provisioning(client, property, on_result, a), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(66), bundle_of({{"password", "open sesame"}}), delegate(setup_result, 1, true)}));
    EXPECT_THAT(log(), NowhereContains("sesame"));
    EXPECT_EQ(quorvel_client_easy_setup_device_property_destroy(property), 0);
}

TEST_F(EasySetup, LeavesTheProvisionedPropertyToTheCaller)
{
    quorvel_client_easy_setup_cloud_property_h property = nullptr;
    ASSERT_EQ(quorvel_client_easy_setup_cloud_property_create(&property), 0);
    answer_all();
    ASSERT_EQ(quorvel_client_easy_setup_cloud_provisioning(client, property, on_result, a), 0);
    ASSERT_EQ(quorvel_client_easy_setup_cloud_property_set_string(property, 0, "h"), 0);
    ASSERT_EQ(quorvel_client_easy_setup_cloud_provisioning(client, property, on_result, a), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(65), bundle_of({{"ciHostAddress", "h"}}), delegate(setup_result, 2, true)}));
    EXPECT_EQ(quorvel_client_easy_setup_cloud_property_destroy(property), 0);
}

TEST_F(EasySetup, DropsAConfigurationThatCannotBeCopied)
{
    answer_all();
    ASSERT_EQ(quorvel_client_easy_setup_get_device_conf(client, on_conf, a), 0);
    platform().fail("bundle_dup");
    EXPECT_THAT(told(device_conf_answer, 1, {bundle_of({{"freq", "1"}})}), IsEmpty());
    EXPECT_THAT(errors(),
                HasLine(failure("_easy_setup_device_conf_cb", "rpc_port_device_conf_s_clone is failed")));
}

// ---------------------------------------------------------------------------------------------------------
// Access points

class EasySetupAccessPoints : public EasySetup {
protected:
    void SetUp() override
    {
        EasySetup::SetUp();
        answer_all();
        ASSERT_EQ(quorvel_client_easy_setup_get_access_point_list(client, on_access_points, a), 0);
        clear_log();
    }

    static Values point(const std::string& ssid) { return {bundle_of({{"ssid", ssid}})}; }
};

TEST_F(EasySetupAccessPoints, AreNullAndZeroWhenThereAreNone)
{
    EXPECT_THAT(told(access_points_answer, 1, {count(0), i32(0)}),
                ElementsAre(Heard{"access points", {count(0)}, a}));
}

TEST_F(EasySetupAccessPoints, AreCountedByWhatCameAndNotByTheNumberBehindThem)
{
    EXPECT_THAT(told(access_points_answer, 1, {count(1), point("attic"), i32(500)}),
                ElementsAre(Heard{"access points", {count(1), point("attic")}, a}));
}

TEST_F(EasySetupAccessPoints, CloseUpWhereOneCouldNotBeCopied)
{
    platform().fail("bundle_dup", 2);
    EXPECT_THAT(
        told(access_points_answer, 1, {count(3), point("attic"), point("hall"), point("cellar"), i32(3)}),
        ElementsAre(Heard{"access points", {count(2), point("attic"), point("cellar")}, a}));
}

TEST_F(EasySetupAccessPoints, AreNullAndZeroWhenNoneCouldBeCopied)
{
    platform().fail_from("bundle_dup");
    EXPECT_THAT(told(access_points_answer, 1, {count(2), point("attic"), point("hall"), i32(2)}),
                ElementsAre(Heard{"access points", {count(0)}, a}));
}

TEST_F(EasySetupAccessPoints, AreDroppedWithoutMemoryForTheListAndTheRequestStaysUntilTheClientGoes)
{
    int dropped = 0;
    bool went_on = true;
    for (int nth = 1; went_on; ++nth) {
        clear_log();
        {
            FailingAllocation failing(nth);
            told(access_points_answer, nth, {count(2), point("attic"), point("hall"), i32(2)});
            went_on = failing.happened();
        }
        const LogLine line = failure("_access_point_list_cb",
                                     "rpc_port_array_access_point_s_get_array_access_point_ss is failed");
        const auto lines = errors();
        if (std::find(lines.begin(), lines.end(), line) != lines.end()) {
            ++dropped;
            EXPECT_THAT(heard, IsEmpty()) << nth;
        } else {
            EXPECT_EQ(heard.size(), 1U) << nth;
        }
        ASSERT_EQ(quorvel_client_easy_setup_get_access_point_list(client, on_access_points, a), 0);
        ASSERT_LT(nth, 50);
    }
    EXPECT_GE(dropped, 1);
}

// ---------------------------------------------------------------------------------------------------------
// Bookmark location

class EasySetupBookmark : public EasySetup {
protected:
    int set(const char* expires_in = "60", const char* group = "den", const char* subgroup = "corner",
            quorvel_client_easy_setup_result_cb cb = on_result)
    {
        return quorvel_client_easy_setup_set_bookmark_location(client, expires_in, group, subgroup, cb, a);
    }
    static LogLine refusal(const std::string& text)
    {
        return failure("quorvel_client_easy_setup_set_bookmark_location", text);
    }
};

TEST_F(EasySetupBookmark, SendsTwoKeysWithoutASubgroup)
{
    answer_all();
    ASSERT_EQ(set("60", "den", nullptr), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(70), bundle_of({{"expires_in", "60"}, {"group_id", "den"}}),
                                       delegate(ocf_result, 1, true)}));
}

TEST_F(EasySetupBookmark, SendsAnEmptySubgroup)
{
    answer_all();
    ASSERT_EQ(set("60", "den", ""), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(70), bundle_of({{"expires_in", "60"}, {"group_id", "den"}, {"subgroup_id", ""}}),
                    delegate(ocf_result, 1, true)}));
}

TEST_F(EasySetupBookmark, BlamesTheExpiryThenTheGroupThenTheCallback)
{
    for (const char* const nothing : {static_cast<const char*>(nullptr), ""}) {
        clear_log();
        EXPECT_EQ(set(nothing, nothing, nullptr, nullptr), invalid_parameter);
        EXPECT_EQ(set("60", nothing, nullptr, nullptr), invalid_parameter);
        EXPECT_EQ(set("60", "den", nullptr, nullptr), invalid_parameter);
        EXPECT_THAT(errors(), Lines(refusal("expires_in is invalid"), refusal("group_id is invalid"),
                                    refusal("invalid user_cb")));
    }
    EXPECT_THAT(agent().requests(), IsEmpty());
}

TEST_F(EasySetupBookmark, MakesItsRecordBeforeItLooksForTheProxy)
{
    platform().fail("bundle_create");
    EXPECT_EQ(without_proxy([&] { return set(); }), operation_failed);
    EXPECT_THAT(errors(), Lines(refusal("bundle_create failed")));
    clear_log();
    EXPECT_EQ(without_proxy([&] { return set(); }), invalid_parameter);
    EXPECT_THAT(errors(), Lines(refusal("rpc_h is null")));
}

TEST_F(EasySetupBookmark, ReportsEachKeyThatCannotBeAdded)
{
    for (int nth = 1; nth <= 3; ++nth) {
        clear_log();
        platform().fail("bundle_add_str", nth, -12);
        EXPECT_EQ(set(), operation_failed) << nth;
        EXPECT_THAT(errors(), Lines(refusal(std::string("bundle_add_str() failed [-12 : ")
                                            + get_error_message(-12) + "]")));
    }
    EXPECT_THAT(agent().requests(), IsEmpty());
}

TEST_F(EasySetupBookmark, ReportsARecordThatCannotBeMadeOrFilled)
{
    {
        FailingAllocation first(1);
        EXPECT_EQ(set(), operation_failed);
        EXPECT_TRUE(first.happened());
    }
    EXPECT_THAT(errors(), HasLine(refusal("rpc_port_bookmark_location_s_create failed")));
    clear_log();
    platform().fail("bundle_dup");
    EXPECT_EQ(set(), operation_failed);
    EXPECT_THAT(errors(), HasLine(refusal("rpc_port_bookmark_location_s_set_bundle_data failed")));
    EXPECT_THAT(agent().requests(), IsEmpty());
}

// ---------------------------------------------------------------------------------------------------------
// Threads

TEST_F(EasySetup, TakesEventsWhileAnotherThreadSetsAndUnsets)
{
    keep_log(false);
    answer_all();
    // Only two kinds: the numbers of their delegates rise together.
    std::atomic<bool> is_over = false;
    std::thread application([&] {
        for (int i = 0; i < 500; ++i) {
            EXPECT_EQ(quorvel_client_set_easy_setup_state_cb(client, on_setup_state, a), 0);
            EXPECT_EQ(quorvel_client_set_easy_setup_enrollee_error_cb(client, on_error, b), 0);
            EXPECT_EQ(quorvel_client_unset_easy_setup_state_cb(client), 0);
            EXPECT_EQ(quorvel_client_unset_easy_setup_enrollee_error_cb(client), 0);
        }
        is_over = true;
    });
    for (int seq_id = 1; !is_over; seq_id = seq_id % 500 + 1) {
        agent().fire(state_event, seq_id, false, {i32(1), i32(2)});
        agent().fire(enrollee_error_event, seq_id, false, {i32(3), i32(4)});
    }
    application.join();
    for (const Heard& each : heard) {
        EXPECT_EQ(each.values,
                  each.callback == "state" ? (Values{i32(1), i32(2)}) : (Values{i32(3), i32(4)}));
        EXPECT_THAT(each.user_data, testing::AnyOf(a, nullptr));
    }
}

}  // namespace
