// The session and the account: quorvel_client.cpp over the scripted platform.
#include <quorvel_client.h>

#include <climits>

#include "api_contract.hpp"
#include "callback_contract.hpp"
#include "connected_client.hpp"
#include "failing_allocations.hpp"

extern "C" {
int quorvel_client_get_error_code(int result);
int check_agent(int major, int minor, bool force);
int check_api_precondition(quorvel_client_h handle, int major, int minor, int patch);
void quorvel_client_rpc_connected_cb(rpc_port_proxy_qv_client_h proxy, void* record);
void quorvel_client_rpc_disconnected_cb(rpc_port_proxy_qv_client_h proxy, void* record);
void quorvel_client_rpc_rejected_cb(rpc_port_proxy_qv_client_h proxy, void* record);
void _sign_in_state_cb(void* user_data, const char* state);
void _qc_service_ui_metadata_updated_cb(void* user_data, const char* first, const char* second);
}

namespace scripted {
namespace {

constexpr auto source = "quorvel_client";
constexpr int out_of_memory = -12;
constexpr int permission_denied = -13;
constexpr int invalid_parameter = -22;
constexpr int not_supported = -1073741822;
constexpr int unknown = -1073741824;
constexpr int operation_failed = -1073741825;
constexpr int io_error = -1073741828;
constexpr int lower_version = -1073741830;
constexpr int already_connecting = -1073741832;
constexpr int already_connected = -1073741833;
constexpr int not_connected = -1073741834;

LogLine error(const char* function, const std::string& text)
{
    return qc_error(source, function, text);
}

LogLine info(const char* function, const std::string& text)
{
    return qc_info(source, function, text);
}

// ---------------------------------------------------------------------------------------------------------
// What is alike

void hear_sign_in(bool, void* heard)
{
    static_cast<Heard*>(heard)->hear();
}

void hear_ui_metadata(const char*, const char*, void* heard)
{
    static_cast<Heard*>(heard)->hear();
}

Contract text_query(const char* function, int method, const char* method_name,
                    int (*query)(quorvel_client_h, char**))
{
    return Contract(function, {1, 0}, [query](auto client) { return query(client, OwnedText{}); })
        .asks(method, method_name, {text("answer")});
}

[[maybe_unused]] const bool contracts = register_contracts(
    source,
    {
        Contract("quorvel_client_get_state", {1, 0},
                 [](auto client) {
                     int state = 0;
                     return quorvel_client_get_state(client, &state);
                 })
            .asks(50, "get_client_state", {i32(1)}),
        Contract("quorvel_client_is_signed_in", {1, 0},
                 [](auto client) {
                     bool is_signed_in = false;
                     return quorvel_client_is_signed_in(client, &is_signed_in);
                 })
            .asks(8, "is_signed_in", {text("TRUE")}),
        text_query("quorvel_client_get_access_token", 5, "get_access_token", quorvel_client_get_access_token),
        text_query("quorvel_client_get_device_id", 42, "get_device_id", quorvel_client_get_device_id),
        text_query("quorvel_client_get_connected_user_id", 49, "get_connected_uid",
                   quorvel_client_get_connected_user_id),
        text_query("quorvel_client_get_login_id", 92, "get_login_id", quorvel_client_get_login_id),
        Contract("quorvel_client_get_ui_metadata", {1, 0},
                 [](auto client) { return quorvel_client_get_ui_metadata(client, "VID-1", OwnedText{}); })
            .asks(41, "get_ui_metadata", {text("{}")}),
        Contract("quorvel_client_refresh_device_information", {1, 0},
                 quorvel_client_refresh_device_information)
            .asks(25, "refresh_device_information"),
        Contract("quorvel_client_set_sign_in_state_changed_cb", {1, 0},
                 [](auto client) {
                     return quorvel_client_set_sign_in_state_changed_cb(client, hear_sign_in, nullptr);
                 })
            .asks(6, "set_sign_in_state_cb"),
        Contract("quorvel_client_unset_sign_in_state_changed_cb", {1, 0},
                 quorvel_client_unset_sign_in_state_changed_cb)
            .asks(7, "unset_sign_in_state_cb"),
        Contract("quorvel_client_set_ui_metadata_updated_cb", {1, 0},
                 [](auto client) {
                     return quorvel_client_set_ui_metadata_updated_cb(client, hear_ui_metadata, nullptr);
                 })
            .asks(39, "set_ui_metadata_cb"),
        Contract("quorvel_client_unset_ui_metadata_updated_cb", {1, 0},
                 quorvel_client_unset_ui_metadata_updated_cb)
            .asks(40, "unset_ui_metadata_cb"),
    });

[[maybe_unused]] const bool repeating_callbacks = register_callbacks({
    RepeatingCallback("quorvel_client_set_sign_in_state_changed_cb", source)
        .set([](auto client, Heard& heard) {
            return quorvel_client_set_sign_in_state_changed_cb(client, hear_sign_in, &heard);
        })
        .unset(quorvel_client_unset_sign_in_state_changed_cb)
        .speaks(6, 7, 1, {text("TRUE")}),
    RepeatingCallback("quorvel_client_set_ui_metadata_updated_cb", source)
        .set([](auto client, Heard& heard) {
            return quorvel_client_set_ui_metadata_updated_cb(client, hear_ui_metadata, &heard);
        })
        .unset(quorvel_client_unset_ui_metadata_updated_cb)
        .speaks(39, 40, 17, {text("VID-1"), text("2")}),
});

// ---------------------------------------------------------------------------------------------------------
// Is the agent there, and how old is it?

class AgentCheck : public Scripted {
protected:
    static int packages_asked_for() { return platform().uses("package_info_create"); }
    static int versions_read() { return platform().uses("package_info_get_version"); }
};

TEST_F(AgentCheck, SaysNotSupportedInItsOwnNameWithoutAnAgent)
{
    EXPECT_EQ(check_agent(1, 0, false), not_supported);
    EXPECT_THAT(errors(), Lines(error("check_agent", "Not Supported")));
}

TEST_F(AgentCheck, SaysLowerVersionInItsOwnName)
{
    agent().install("1.5.9");
    EXPECT_EQ(check_agent(1, 6, false), lower_version);
    EXPECT_THAT(errors(), Lines(error("check_agent", "Lower version error")));
}

TEST_F(AgentCheck, AsksAboutAnAbsentAgentEveryTimeSoThatOneInstalledLaterCounts)
{
    EXPECT_EQ(check_agent(1, 0, false), not_supported);
    EXPECT_EQ(check_agent(1, 0, false), not_supported);
    EXPECT_EQ(packages_asked_for(), 2);
    agent().install("1.0.0");
    EXPECT_EQ(check_agent(1, 0, false), 0);
}

TEST_F(AgentCheck, AsksNoMoreOnceTheAgentWasSeenAndItsVersionRead)
{
    agent().install("1.0.0");
    EXPECT_EQ(check_agent(1, 0, false), 0);
    const int before = packages_asked_for();
    agent().uninstall();
    EXPECT_EQ(check_agent(1, 0, false), 0);
    EXPECT_EQ(packages_asked_for(), before);
}

TEST_F(AgentCheck, TakesAPackageErrorOtherThanUnknownForAnAgentWhoseVersionCannotBeRead)
{
    agent().package_error(-1);
    EXPECT_EQ(check_agent(1, 0, false), lower_version);
}

TEST_F(AgentCheck, RefusesAVersionThatCannotBeRead)
{
    agent().install("2.4.0");
    agent().package_version_unreadable();
    EXPECT_EQ(check_agent(1, 0, false), lower_version);
}

TEST_F(AgentCheck, RefusesAnAgentThatVanishedAfterItWasSeen)
{
    agent().install("1");
    EXPECT_EQ(check_agent(1, 0, false), lower_version);
    agent().uninstall();
    EXPECT_EQ(check_agent(1, 0, false), lower_version)
        << "that it is there is remembered, its version is not";
}

TEST_F(AgentCheck, CountsTwoFieldsAndIgnoresTheRest)
{
    agent().install("2.3.15");
    EXPECT_EQ(check_agent(2, 3, false), 0);
    EXPECT_EQ(check_agent(2, 4, false), lower_version);
}

TEST_F(AgentCheck, CountsAMinorOfTenAboveSixAndBelowTheNextMajor)
{
    agent().install("1.10");
    EXPECT_EQ(check_agent(1, 6, false), 0);
    EXPECT_EQ(check_agent(1, 10, false), 0);
    EXPECT_EQ(check_agent(1, 11, false), lower_version);
    EXPECT_EQ(check_agent(2, 0, false), lower_version);
}

TEST_F(AgentCheck, TakesAVersionOfOneFieldForZeroAndDoesNotRememberIt)
{
    agent().install("1");
    EXPECT_EQ(check_agent(1, 0, false), lower_version);
    EXPECT_EQ(check_agent(0, 0, false), 0);
    agent().install("2.4.0");
    EXPECT_EQ(check_agent(2, 4, false), 0);
}

TEST_F(AgentCheck, KeepsTheFirstVersionThatWasReadForTheLifeOfTheProcess)
{
    agent().install("1.0.0");
    EXPECT_EQ(check_agent(1, 0, false), 0);
    agent().install("2.4.0");
    EXPECT_EQ(check_agent(1, 1, false), lower_version);
    EXPECT_EQ(check_agent(1, 1, true), lower_version);
}

TEST_F(AgentCheck, ReadsTheVersionAgainOnlyWhenForcedAndFailsThenWhenItCannot)
{
    agent().install("2.4.0");
    EXPECT_EQ(check_agent(1, 0, false), 0);
    EXPECT_EQ(versions_read(), 1);
    EXPECT_EQ(check_agent(1, 0, false), 0);
    EXPECT_EQ(versions_read(), 1);
    EXPECT_EQ(check_agent(1, 0, true), 0);
    EXPECT_EQ(versions_read(), 2);
    agent().package_version_unreadable();
    EXPECT_EQ(check_agent(1, 0, true), lower_version);
    EXPECT_EQ(check_agent(1, 0, false), 0) << "what was read before is still in force";
}

// Each in a process of its own, since the first number stays.
class AgentVersion : public Scripted, public testing::WithParamInterface<std::pair<const char*, int>> {};

TEST_P(AgentVersion, IsReadWithoutOverflow)
{
    const auto& [version, number] = GetParam();
    agent().install(version);
    EXPECT_EQ(check_agent(0, number, false), 0) << version;
    const int above = number < 0 ? check_agent(0, number + 1, false) : check_agent(1, number - 99, false);
    EXPECT_EQ(above, lower_version) << version;
}

INSTANTIATE_TEST_SUITE_P(OfTwoFields, AgentVersion,
                         testing::Values(std::pair{"1.0", 100}, std::pair{"1.0.0.0", 100},
                                         std::pair{"01.00", 100}, std::pair{"2.3", 203},
                                         std::pair{"2.3.15", 203}, std::pair{"2.3.15.1", 203},
                                         std::pair{"08.09", 809}, std::pair{"0.0", 0}, std::pair{"00.00", 0},
                                         std::pair{"0.1", 1}, std::pair{"0.99", 99}, std::pair{"0.100", 100},
                                         std::pair{"1.10", 110}, std::pair{"1.100", 200},
                                         std::pair{"10.0", 1000}, std::pair{"99.99", 9999},
                                         std::pair{"100.1", 10001}));

// A field is what strtol reads of it.
INSTANTIATE_TEST_SUITE_P(
    OfMoreThanDigits, AgentVersion,
    testing::Values(std::pair{"2.x", 200}, std::pair{"x.y", 0}, std::pair{"v2.4", 4}, std::pair{"0x2.4", 4},
                    std::pair{"2.0x4", 200}, std::pair{"2e1.4", 204}, std::pair{"2.3-rc1", 203},
                    std::pair{"2.3 beta", 203}, std::pair{"1.0junk.9", 100}, std::pair{" 2.4", 204},
                    std::pair{"2. 4", 204}, std::pair{"\t2.4", 204}, std::pair{"2.4\n", 204},
                    std::pair{"+2.4", 204}, std::pair{"2.+4", 204}, std::pair{"2.-4", 196},
                    std::pair{"-2.-4", -204}, std::pair{"-1.5", -95}, std::pair{"0.-1", -1},
                    std::pair{"\xd9\xa2.4", 4}));

INSTANTIATE_TEST_SUITE_P(OfFewerFields, AgentVersion,
                         testing::Values(std::pair{"", 0}, std::pair{".", 0}, std::pair{"1", 0},
                                         std::pair{"1.", 0}, std::pair{"2,4", 0}));

// What is too long for a long is the longest, whose lower half is -1; of what is too long for an int the
// lower half counts; and a number that is too large is the largest.
INSTANTIATE_TEST_SUITE_P(
    OfLongFields, AgentVersion,
    testing::Values(std::pair{"2147483647.0", INT_MAX}, std::pair{"2147483647.2147483647", INT_MAX},
                    std::pair{"-2147483648.0", INT_MIN}, std::pair{"99999999999999999999.0", -100},
                    std::pair{"0.99999999999999999999", -1}, std::pair{"21474836.47", INT_MAX},
                    std::pair{"21474836.48", INT_MAX}, std::pair{"-21474836.-48", INT_MIN},
                    std::pair{"-21474836.-49", INT_MIN}, std::pair{"4294967296.7", 7},
                    std::pair{"4294967297.0", 100}, std::pair{"2147483648.0", INT_MIN},
                    std::pair{"0.2147483648", INT_MIN}, std::pair{"9223372036854775807.1", -99},
                    std::pair{"9223372036854775808.1", -99}, std::pair{"-9223372036854775808.3", 3},
                    std::pair{"-99999999999999999999.3", 3}, std::pair{"0.4294967295", -1}));

TEST_F(AgentCheck, PreconditionLogsTheFailureOfTheAgentOnceMore)
{
    EXPECT_EQ(check_api_precondition(nullptr, 1, 0, 0), not_supported);
    EXPECT_THAT(errors(), Lines(error("check_agent", "Not Supported"),
                                error("check_api_precondition", "Fail to check condition[-1073741822]")));
}

TEST_F(AgentCheck, PreconditionChecksTheAgentThenTheHandleThenTheConnectionAndNeverThePatchLevel)
{
    agent().install("2.4.0");
    EXPECT_EQ(check_api_precondition(nullptr, 2, 5, 0), lower_version);
    clear_log();
    EXPECT_EQ(check_api_precondition(nullptr, 2, 4, 99), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("check_api_precondition", "quorvel_client handle is NULL")));
    clear_log();
    int handle = 0;
    EXPECT_EQ(check_api_precondition(&handle, 2, 4, 99), not_connected);
    EXPECT_THAT(errors(), Lines(error("check_api_precondition", "quorvel_client is not connected")));
}

// ---------------------------------------------------------------------------------------------------------
// Codes

TEST_F(AgentCheck, MapsEveryCodeOfTheTableToItself)
{
    for (const int code : {0, -12, -13, -22, -28, -61, -101, -1073741822, -1073741825, -1073741826,
                           -1073741827, -1073741828, -1073741829, -1073741830, -1073741831})
        EXPECT_EQ(quorvel_client_get_error_code(code), code);
    EXPECT_THAT(log(), testing::IsEmpty());
}

TEST_F(AgentCheck, MapsEveryOtherCodeToUnknownAndLogsIt)
{
    for (const int code : {-1, 1, -5, -11, -14, -1073741821, -1073741823, unknown, already_connecting,
                           already_connected, not_connected, INT_MIN, INT_MAX}) {
        clear_log();
        EXPECT_EQ(quorvel_client_get_error_code(code), unknown);
        EXPECT_THAT(errors(), Lines(error("quorvel_client_get_error_code",
                                          "Unknown error [" + std::to_string(code) + "]")));
    }
}

// ---------------------------------------------------------------------------------------------------------
// Connecting

// What the connection's callback was told. The reaction runs inside it.
struct Connection {
    struct Told {
        int result;
        int state;
        bool operator==(const Told&) const = default;
    };
    std::vector<Told> told;
    std::function<void()> reaction;

    static void on_state(int result, int state, void* user_data)
    {
        auto& connection = *static_cast<Connection*>(user_data);
        connection.told.push_back({result, state});
        if (connection.reaction)
            connection.reaction();
    }
};

std::ostream& operator<<(std::ostream& out, const Connection::Told& told)
{
    return out << '(' << told.result << ", " << told.state << ')';
}

class Connecting : public WithAgent {
protected:
    void TearDown() override
    {
        for (const quorvel_client_h handle : {client, other}) {
            if (handle != nullptr) {
                EXPECT_EQ(quorvel_client_disconnect(handle), 0);
            }
        }
        WithAgent::TearDown();
    }

    int connect(quorvel_client_h* handle)
    {
        return quorvel_client_connect(handle, Connection::on_state, &heard);
    }
    void connect_fully()
    {
        ASSERT_EQ(connect(&client), 0);
        agent().answer_next_with(0);
        agent().connect();
    }
    int call() { return quorvel_client_refresh_device_information(client); }

    quorvel_client_h client = nullptr;
    quorvel_client_h other = nullptr;
    Connection heard;
};

class ConnectingToAnAgentOf1_2 : public Connecting {
protected:
    std::string version() const override { return "1.2.9"; }
};

TEST_F(Connecting, AsksThePortForTheAgentsPackageAndItsInterface)
{
    EXPECT_EQ(connect(&client), 0);
    EXPECT_NE(client, nullptr);
    EXPECT_EQ(agent().connected_to_app(), "com.veltrane.norvik.quorvel-client");
    EXPECT_EQ(agent().connected_to_port(), "qv_client");
    EXPECT_THAT(heard.told, testing::IsEmpty()) << "the application hears of it only when the event comes";
    EXPECT_THAT(log_of(public_tag), Lines(info("quorvel_client_connect", "ENTER v[2.4.29]"),
                                          info("quorvel_client_connect", "EXIT")));
}

TEST_F(Connecting, SaysNotSupportedBeforeItLooksAtAnyArgument)
{
    agent().uninstall();
    EXPECT_EQ(quorvel_client_connect(nullptr, nullptr, nullptr), not_supported);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_connect", "Not Supported")));
    EXPECT_EQ(agent().connections_asked_for(), 0);
}

TEST_F(Connecting, SaysLowerVersionBeforeItLooksAtAnyArgument)
{
    agent().install("0.99.0");
    EXPECT_EQ(quorvel_client_connect(nullptr, nullptr, nullptr), lower_version);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_connect", "Lower version error")));
}

TEST_F(Connecting, ReadsTheVersionAlthoughItIsKnown)
{
    EXPECT_EQ(check_agent(1, 0, false), 0);
    agent().package_version_unreadable();
    EXPECT_EQ(connect(&client), lower_version);
}

TEST_F(Connecting, BlamesTheHandleBeforeTheCallback)
{
    EXPECT_EQ(quorvel_client_connect(nullptr, nullptr, nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_connect", "quorvel_client handle is NULL")));
    clear_log();
    quorvel_client_h handle = this;
    EXPECT_EQ(quorvel_client_connect(&handle, nullptr, nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_connect", "connection_state_cb is NULL")));
    EXPECT_EQ(handle, this);
}

TEST_F(Connecting, TwiceIsRefusedWithOneCodeBeforeTheEventAndWithAnotherAfterIt)
{
    ASSERT_EQ(connect(&client), 0);
    quorvel_client_h handle = this;
    EXPECT_EQ(connect(&handle), already_connecting);
    EXPECT_EQ(handle, this);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_connect", "quorvel_client is already connecting")));
    agent().answer_next_with(0);
    agent().connect();
    clear_log();
    EXPECT_EQ(connect(&handle), already_connected);
    EXPECT_EQ(handle, this);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_connect", "quorvel_client is already connected")));
}

TEST_F(Connecting, BlamesTheCallbackBeforeTheStateOfTheConnection)
{
    ASSERT_EQ(connect(&client), 0);
    clear_log();
    EXPECT_EQ(quorvel_client_connect(&other, nullptr, nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_connect", "connection_state_cb is NULL")));
}

TEST_F(Connecting, RefusedByThePortGivesACodeByThePortsErrorAndMayBeTriedAgain)
{
    const std::pair<int, int> codes[] = {{-5, io_error},          {-13, permission_denied},
                                         {-12, operation_failed}, {-22, operation_failed},
                                         {1, operation_failed},   {INT_MAX, operation_failed},
                                         {-1, operation_failed},  {INT_MIN, operation_failed}};
    for (const auto& [port_error, code] : codes) {
        clear_log();
        platform().fail("rpc_port_proxy_connect", 1, port_error);
        quorvel_client_h handle = this;
        EXPECT_EQ(connect(&handle), code) << port_error;
        EXPECT_EQ(handle, nullptr);
        EXPECT_EQ(errors().back(),
                  error("quorvel_client_connect",
                        "rpc_port_proxy_qv_client_connect() is failed, err=[" + std::to_string(code) + "]"));
        EXPECT_EQ(live(), Live{});
    }
    EXPECT_EQ(connect(&client), 0);
}

TEST_F(Connecting, FailsWhenTheProxyCannotBeMade)
{
    for (const char* function :
         {"rpc_port_proxy_create", "rpc_port_proxy_add_connected_event_cb",
          "rpc_port_proxy_add_disconnected_event_cb", "rpc_port_proxy_add_rejected_event_cb",
          "rpc_port_proxy_add_received_event_cb"}) {
        clear_log();
        platform().fail(function);
        quorvel_client_h handle = this;
        EXPECT_EQ(connect(&handle), operation_failed) << function;
        EXPECT_EQ(handle, nullptr);
        EXPECT_EQ(errors().back(),
                  error("quorvel_client_connect", "rpc_port_proxy_qv_client_create() is failed"));
        EXPECT_EQ(live(), Live{});
    }
    EXPECT_EQ(connect(&client), 0);
}

TEST_F(Connecting, FailsWithoutMemoryAndMayBeTriedAgain)
{
    bool record_failed = false;
    bool happened = true;
    for (int nth = 1; happened; ++nth) {
        clear_log();
        quorvel_client_h handle = nullptr;
        FailingAllocation failing{nth};
        const int code = connect(&handle);
        happened = failing.happened();
        if (code == 0) {
            EXPECT_EQ(quorvel_client_disconnect(handle), 0);
            continue;
        }
        EXPECT_EQ(handle, nullptr);
        EXPECT_EQ(live(), Live{});
        if (errors().back() == error("quorvel_client_connect", "Memory allocation is failed")) {
            record_failed = true;
            EXPECT_EQ(code, out_of_memory);
        } else {
            EXPECT_TRUE(code == operation_failed || code == lower_version || code == not_supported) << code;
        }
    }
    EXPECT_TRUE(record_failed);
    EXPECT_EQ(connect(&client), 0);
}

// ---------------------------------------------------------------------------------------------------------
// Events of the connection

TEST_F(Connecting, TellsAnAgentOf1_3OrLaterTheLibrarysVersionBeforeTheApplicationHears)
{
    ASSERT_EQ(connect(&client), 0);
    std::size_t told_at_request = 99;
    int code_at_request = 0;
    agent().on_request([&](const Sent& request) -> std::optional<Values> {
        if (request[0] != i32(52))
            return {};
        told_at_request = heard.told.size();
        code_at_request = call();
        return result(0);
    });
    agent().connect();
    agent().on_request(nullptr);
    EXPECT_EQ(agent().request(), (Sent{i32(52), text("2.4.29")}));
    EXPECT_EQ(told_at_request, 0U);
    EXPECT_EQ(code_at_request, not_connected) << "until the version was told it is still connecting";
    EXPECT_THAT(heard.told, testing::ElementsAre(Connection::Told{0, 0}));
}

TEST_F(Connecting, IgnoresWhetherTheAgentLikesTheVersion)
{
    ASSERT_EQ(connect(&client), 0);
    agent().answer_next_with(-28);
    agent().connect();
    EXPECT_THAT(heard.told, testing::ElementsAre(Connection::Told{0, 0}));
    EXPECT_THAT(log(), HasLine(info("quorvel_client_rpc_connected_cb", "ENTER v[2.4.29]")));
    agent().answer_next_with(0);
    EXPECT_EQ(call(), 0);
}

TEST_F(Connecting, ConnectsAlsoWithoutMemoryForTheVersion)
{
    bool was_seen = false;
    bool happened = true;
    for (int nth = 1; happened; ++nth) {
        heard.told.clear();
        agent().forget_requests();
        ASSERT_EQ(connect(&client), 0);
        clear_log();
        {
            FailingAllocation failing{nth};
            agent().answer_next_with(0);
            agent().connect();
            happened = failing.happened();
        }
        for (const LogLine& line : errors()) {
            if (line == error("quorvel_client_rpc_connected_cb", "Fail to memory allocation")) {
                was_seen = true;
                EXPECT_THAT(agent().requests(), testing::IsEmpty());
            }
        }
        EXPECT_THAT(heard.told, testing::ElementsAre(Connection::Told{0, 0}));
        EXPECT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0);
        agent().forget_script();
    }
    EXPECT_TRUE(was_seen);
}

TEST_F(ConnectingToAnAgentOf1_2, TellsNoVersion)
{
    connect_fully();
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
    EXPECT_THAT(heard.told, testing::ElementsAre(Connection::Told{0, 0}));
}

TEST_F(Connecting, ACallBeforeTheConnectedEventIsNotConnectedWhateverItsArguments)
{
    ASSERT_EQ(connect(&client), 0);
    EXPECT_EQ(quorvel_client_get_access_token(client, nullptr), not_connected);
    EXPECT_EQ(quorvel_client_get_ui_metadata(client, nullptr, nullptr), not_connected);
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(Connecting, DisconnectedEventIsToldOnceTheStateSaysSo)
{
    connect_fully();
    int code_inside = 0;
    heard.reaction = [&] { code_inside = call(); };
    agent().disconnect();
    EXPECT_THAT(heard.told, testing::ElementsAre(Connection::Told{0, 0}, Connection::Told{0, 1}));
    EXPECT_EQ(code_inside, not_connected);
    EXPECT_EQ(call(), not_connected);
    EXPECT_THAT(log(), HasLine(info("quorvel_client_rpc_disconnected_cb", "ENTER v[2.4.29]")));
}

TEST_F(Connecting, RejectedEventIsToldAsPermissionDenied)
{
    ASSERT_EQ(connect(&client), 0);
    agent().reject();
    EXPECT_THAT(heard.told, testing::ElementsAre(Connection::Told{-13, 2}));
    EXPECT_EQ(call(), not_connected);
    EXPECT_THAT(log(), HasLine(info("quorvel_client_rpc_rejected_cb", "ENTER v[2.4.29]")));
}

TEST_F(Connecting, ADisconnectedEventWhileStillConnectingIsToldToo)
{
    ASSERT_EQ(connect(&client), 0);
    agent().disconnect();
    EXPECT_THAT(heard.told, testing::ElementsAre(Connection::Told{0, 1}));
    EXPECT_EQ(connect(&other), 0) << "it is disconnected, so a new connection is allowed";
}

TEST_F(Connecting, AnewAfterADisconnectedEventMakesANewHandleWhileTheOldOneStays)
{
    connect_fully();
    agent().disconnect();
    EXPECT_EQ(connect(&other), 0);
    EXPECT_NE(other, client);
    agent().answer_next_with(0);
    agent().connect();
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_client_refresh_device_information(other), 0);
}

TEST_F(Connecting, AnewInsideTheDisconnectedCallbackKeepsTheNewConnection)
{
    connect_fully();
    heard.reaction = [&] {
        heard.reaction = nullptr;
        EXPECT_EQ(connect(&other), 0);
    };
    agent().disconnect();
    agent().answer_next_with(0);
    agent().connect();
    EXPECT_THAT(heard.told,
                testing::ElementsAre(Connection::Told{0, 0}, Connection::Told{0, 1}, Connection::Told{0, 0}));
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_client_refresh_device_information(other), 0);
}

TEST_F(Connecting, AnewInsideTheRejectedCallbackIsPossible)
{
    ASSERT_EQ(connect(&client), 0);
    heard.reaction = [&] {
        heard.reaction = nullptr;
        EXPECT_EQ(connect(&other), 0);
    };
    agent().reject();
    agent().answer_next_with(0);
    agent().connect();
    EXPECT_THAT(heard.told, testing::ElementsAre(Connection::Told{-13, 2}, Connection::Told{0, 0}));
}

TEST_F(Connecting, MayBeDisconnectedInsideEachOfItsCallbacks)
{
    const auto disconnect = [&] { EXPECT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0); };
    heard.reaction = disconnect;
    ASSERT_EQ(connect(&client), 0);
    agent().answer_next_with(0);
    agent().connect();
    ASSERT_EQ(connect(&client), 0);
    agent().reject();
    heard.reaction = nullptr;
    connect_fully();
    heard.reaction = disconnect;
    agent().disconnect();
    EXPECT_EQ(client, nullptr);
}

TEST_F(Connecting, EventsWithoutUserDataAreLogged)
{
    quorvel_client_rpc_connected_cb(nullptr, nullptr);
    quorvel_client_rpc_disconnected_cb(nullptr, nullptr);
    quorvel_client_rpc_rejected_cb(nullptr, nullptr);
    EXPECT_THAT(log_of(public_tag), Lines(info("quorvel_client_rpc_connected_cb", "ENTER v[2.4.29]"),
                                          error("quorvel_client_rpc_connected_cb", "no user data"),
                                          info("quorvel_client_rpc_disconnected_cb", "ENTER v[2.4.29]"),
                                          error("quorvel_client_rpc_disconnected_cb", "no user data"),
                                          info("quorvel_client_rpc_rejected_cb", "ENTER v[2.4.29]"),
                                          error("quorvel_client_rpc_rejected_cb", "no user data")));
}

// ---------------------------------------------------------------------------------------------------------
// Disconnecting

TEST_F(Connecting, DisconnectingChecksTheAgentThenTheHandle)
{
    agent().uninstall();
    EXPECT_EQ(quorvel_client_disconnect(nullptr), not_supported);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_disconnect", "Not Supported")));
    clear_log();
    agent().install("0.99.0");
    EXPECT_EQ(quorvel_client_disconnect(nullptr), lower_version);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_disconnect", "Lower version error")));
}

TEST_F(Connecting, DisconnectingNothingIsRefused)
{
    EXPECT_EQ(quorvel_client_disconnect(nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_disconnect", "quorvel_client handle is NULL")));
}

TEST_F(Connecting, DisconnectingDoesNotReadTheVersionAgain)
{
    connect_fully();
    agent().package_version_unreadable();
    EXPECT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0);
}

TEST_F(Connecting, DisconnectingWorksInEveryStateAndTellsTheApplicationNothing)
{
    ASSERT_EQ(connect(&client), 0);
    clear_log();
    EXPECT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0) << "while connecting";
    EXPECT_THAT(log_of(public_tag), Lines(info("quorvel_client_disconnect", "ENTER v[2.4.29]"),
                                          info("quorvel_client_disconnect", "EXIT")));
    EXPECT_THAT(heard.told, testing::IsEmpty());
    EXPECT_EQ(live(), Live{});

    connect_fully();
    heard.told.clear();
    EXPECT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0) << "while connected";
    EXPECT_EQ(live(), Live{});

    connect_fully();
    agent().disconnect();
    heard.told.clear();
    EXPECT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0) << "when disconnected already";
    EXPECT_THAT(heard.told, testing::IsEmpty());
    EXPECT_EQ(live(), Live{});
}

TEST_F(Connecting, DisconnectingTwiceIsRefusedWithoutLookingIntoTheHandle)
{
    connect_fully();
    const quorvel_client_h gone = client;
    ASSERT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0);
    clear_log();
    EXPECT_EQ(quorvel_client_disconnect(gone), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_disconnect", "invalid parameter")));
    int nobodys = 0;
    EXPECT_EQ(quorvel_client_disconnect(&nobodys), invalid_parameter);
}

TEST_F(Connecting, ACallAfterDisconnectingIsNotConnected)
{
    connect_fully();
    const quorvel_client_h gone = client;
    ASSERT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0);
    EXPECT_EQ(quorvel_client_refresh_device_information(gone), not_connected);
}

TEST_F(Connecting, DisconnectingAnOldHandlePutsTheWholeProcessToDisconnected)
{
    connect_fully();
    agent().disconnect();
    ASSERT_EQ(connect(&other), 0);
    agent().answer_next_with(0);
    agent().connect();
    ASSERT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0);
    EXPECT_EQ(quorvel_client_refresh_device_information(other), not_connected);
}

TEST_F(Connecting, AThousandTimesLeavesNothingBehind)
{
    keep_log(false);
    for (int i = 0; i < 1000; ++i) {
        heard.told.clear();
        connect_fully();
        ASSERT_EQ(heard.told.size(), 1U);
        ASSERT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0);
        ASSERT_EQ(live(), Live{});
    }
}

// A slot outlives its connection and then names a delegate that is gone. Another kind's delegate may get
// that very address.
TEST_F(Connecting, AStaleRegistrationNeverTakesALiveOneOfAnotherKindAway)
{
    keep_log(false);
    Heard signed_in;
    Heard updated;
    agent().otherwise_answer(0);
    for (int round = 1; round <= 200; ++round) {
        connect_fully();
        agent().otherwise_answer(0);
        ASSERT_EQ(quorvel_client_set_sign_in_state_changed_cb(client, hear_sign_in, &signed_in), 0);
        ASSERT_EQ(quorvel_client_set_ui_metadata_updated_cb(client, hear_ui_metadata, &updated), 0);
        agent().fire(1, 2 * round - 1, false, {text("TRUE")});
        ASSERT_EQ(signed_in.times, 2 * round - 1) << "the metadata's stale slot took it away";
        ASSERT_EQ(quorvel_client_set_sign_in_state_changed_cb(client, hear_sign_in, &signed_in), 0);
        agent().fire(1, 2 * round, false, {text("TRUE")});
        agent().fire(17, round, false, {text("VID-1"), text("2")});
        ASSERT_EQ(signed_in.times, 2 * round);
        ASSERT_EQ(updated.times, round);
        ASSERT_EQ(quorvel_client_disconnect(std::exchange(client, nullptr)), 0);
    }
}

// ---------------------------------------------------------------------------------------------------------
// The agent's state, the account and the service

class Account : public ConnectedClient {
protected:
    bool is_signed_in(const std::string& state)
    {
        bool is_signed_in = state.empty();
        agent().answer_next_with(0, {text(state)});
        EXPECT_EQ(quorvel_client_is_signed_in(client, &is_signed_in), 0);
        return is_signed_in;
    }

    template <typename Calls>
    void without_proxy(Calls calls)
    {
        void*& proxy = *static_cast<void**>(client);
        void* const taken = std::exchange(proxy, nullptr);
        calls();
        proxy = taken;
        EXPECT_THAT(agent().requests(), testing::IsEmpty());
    }

    struct TextQuery {
        const char* name;
        int (*query)(quorvel_client_h, char**);
        int method;
    };
    static constexpr TextQuery queries[] = {
        {"quorvel_client_get_access_token", quorvel_client_get_access_token, 5},
        {"quorvel_client_get_device_id", quorvel_client_get_device_id, 42},
        {"quorvel_client_get_connected_user_id", quorvel_client_get_connected_user_id, 49},
        {"quorvel_client_get_login_id", quorvel_client_get_login_id, 92},
    };
};

TEST_F(Account, GivesTheAgentsOwnStateAsItIs)
{
    int state = -1;
    agent().answer_next_with(0, {i32(77)});
    EXPECT_EQ(quorvel_client_get_state(client, &state), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(50)}));
    EXPECT_EQ(state, 77);
}

TEST_F(Account, AsksForTheStateAlsoWithoutAnOutPointer)
{
    agent().answer_next_with(0, {i32(77)});
    EXPECT_EQ(quorvel_client_get_state(client, nullptr), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(50)}));
}

TEST_F(Account, LeavesTheStateAloneWhenTheAgentRefuses)
{
    int state = 5;
    agent().answer_next_with(-61, {i32(77)});
    EXPECT_EQ(quorvel_client_get_state(client, &state), -61);
    EXPECT_EQ(state, 5);
}

TEST_F(Account, IsSignedInWhenTheStateBeginsWithTRUE)
{
    EXPECT_TRUE(is_signed_in("TRUE"));
    EXPECT_TRUE(is_signed_in("TRUEX"));
    EXPECT_EQ(agent().request(), (Sent{i32(8)}));
    for (const char* state : {"true", "True", "", "TRU", " TRUE", "FALSE"})
        EXPECT_FALSE(is_signed_in(state)) << state;
}

TEST_F(Account, IsNotSignedInWhenNoStateComes)
{
    platform().read_strings_as_null();
    agent().answer_next_with(0, {text("TRUE")});
    bool is_signed_in = true;
    EXPECT_EQ(quorvel_client_is_signed_in(client, &is_signed_in), 0);
    EXPECT_FALSE(is_signed_in);
}

TEST_F(Account, RefusesAMissingOutPointerBeforeItLooksForTheProxy)
{
    without_proxy([this] {
        for (const TextQuery& query : queries)
            EXPECT_EQ(query.query(client, nullptr), invalid_parameter);
        EXPECT_EQ(quorvel_client_is_signed_in(client, nullptr), invalid_parameter);
    });
    EXPECT_THAT(
        errors(),
        Lines(error(queries[0].name, "invalid parameter"), error(queries[1].name, "invalid parameter"),
              error(queries[2].name, "invalid parameter"), error(queries[3].name, "invalid parameter"),
              error("quorvel_client_is_signed_in", "invalid parameter")));
}

TEST_F(Account, HandsACopyOfTheTextOut)
{
    for (const TextQuery& query : queries) {
        OwnedText value;
        agent().answer_next_with(0, {text("the answer")});
        EXPECT_EQ(query.query(client, value), 0);
        EXPECT_EQ(agent().request(), (Sent{i32(query.method)})) << query.name;
        EXPECT_STREQ(value.get(), "the answer");
    }
}

TEST_F(Account, HandsAnEmptyTextOutAsAnEmptyOne)
{
    for (const TextQuery& query : queries) {
        OwnedText value;
        agent().answer_next_with(0, {text("")});
        EXPECT_EQ(query.query(client, value), 0);
        EXPECT_STREQ(value.get(), "") << query.name;
    }
}

TEST_F(Account, LeavesTheTextAloneWhenTheAgentGivesNone)
{
    platform().read_strings_as_null();
    for (const TextQuery& query : queries) {
        char preset[] = "preset";
        char* value = preset;
        agent().answer_next_with(0, {text("the answer")});
        EXPECT_EQ(query.query(client, &value), 0);
        EXPECT_EQ(value, preset) << query.name;
    }
    EXPECT_THAT(errors(), testing::IsEmpty());
}

TEST_F(Account, LeavesTheTextAloneWhenTheAgentRefuses)
{
    for (const TextQuery& query : queries) {
        char preset[] = "preset";
        char* value = preset;
        agent().answer_next_with(-61, {text("the answer")});
        EXPECT_EQ(query.query(client, &value), -61);
        EXPECT_EQ(value, preset) << query.name;
    }
}

TEST_F(Account, NeverLogsTheToken)
{
    OwnedText token;
    agent().answer_next_with(0, {text("secret-token")});
    EXPECT_EQ(quorvel_client_get_access_token(client, token), 0);
    EXPECT_STREQ(token.get(), "secret-token");
    EXPECT_THAT(log(), NowhereContains("secret-token"));
}

TEST_F(Account, AsksForUiMetadataByTheVid)
{
    OwnedText metadata;
    agent().answer_next_with(0, {text("{}")});
    EXPECT_EQ(quorvel_client_get_ui_metadata(client, "VID-1", metadata), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(41), text("VID-1")}));
    EXPECT_STREQ(metadata.get(), "{}");
}

TEST_F(Account, BlamesTheVidBeforeTheMissingOutPointerAndBothBeforeTheProxy)
{
    without_proxy([this] {
        EXPECT_EQ(quorvel_client_get_ui_metadata(client, nullptr, nullptr), invalid_parameter);
        EXPECT_EQ(quorvel_client_get_ui_metadata(client, "", nullptr), invalid_parameter);
        EXPECT_EQ(quorvel_client_get_ui_metadata(client, "VID-1", nullptr), invalid_parameter);
    });
    const auto vid = error("quorvel_client_get_ui_metadata", "vid is invalid");
    EXPECT_THAT(errors(), Lines(vid, vid, error("quorvel_client_get_ui_metadata", "invalid parameter")));
}

TEST_F(Account, RefreshesTheDeviceInformation)
{
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_client_refresh_device_information(client), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(25)}));
    EXPECT_THAT(log_of(public_tag),
                Lines(info("quorvel_client_refresh_device_information", "ENTER v[2.4.29]"),
                      info("quorvel_client_refresh_device_information", "EXIT")));
}

TEST_F(Account, SettingNoCallbackIsRefusedBeforeTheProxyIsLookedFor)
{
    without_proxy([this] {
        EXPECT_EQ(quorvel_client_set_sign_in_state_changed_cb(client, nullptr, this), invalid_parameter);
        EXPECT_EQ(quorvel_client_set_ui_metadata_updated_cb(client, nullptr, this), invalid_parameter);
    });
    EXPECT_THAT(errors(), Lines(error("quorvel_client_set_sign_in_state_changed_cb", "user_cb is NULL"),
                                error("quorvel_client_set_ui_metadata_updated_cb", "user_cb is NULL")));
}

TEST_F(Account, SignInEventsAreReadLikeTheQuery)
{
    std::vector<bool> told;
    const auto cb = [](bool is_signed_in, void* user_data) {
        static_cast<std::vector<bool>*>(user_data)->push_back(is_signed_in);
    };
    agent().answer_next_with(0);
    ASSERT_EQ(quorvel_client_set_sign_in_state_changed_cb(client, cb, &told), 0);
    for (const char* state : {"TRUE", "true", "TRUEX", "", "FALSE"})
        agent().fire(1, 1, false, {text(state)});
    EXPECT_EQ(told, (std::vector<bool>{true, false, true, false, false}));
}

TEST_F(Account, UiMetadataEventsHandOverBothStringsInTheirOrder)
{
    struct Told {
        std::string first, second;
    } told;
    const auto cb = [](const char* first, const char* second, void* user_data) {
        *static_cast<Told*>(user_data) = {first, second};
    };
    agent().answer_next_with(0);
    ASSERT_EQ(quorvel_client_set_ui_metadata_updated_cb(client, cb, &told), 0);
    agent().fire(17, 1, false, {text("VID-1"), text("version 2")});
    EXPECT_EQ(told.first, "VID-1");
    EXPECT_EQ(told.second, "version 2");
}

TEST_F(Account, EventsWithoutUserDataAreLogged)
{
    _sign_in_state_cb(nullptr, "TRUE");
    _qc_service_ui_metadata_updated_cb(nullptr, "VID-1", "2");
    EXPECT_THAT(log_of(public_tag), Lines(info("_sign_in_state_cb", "ENTER v[2.4.29]"),
                                          error("_sign_in_state_cb", "No user data"),
                                          info("_qc_service_ui_metadata_updated_cb", "ENTER v[2.4.29]"),
                                          error("_qc_service_ui_metadata_updated_cb", "No user data")));
}

TEST_F(Account, EventsThatNobodyWantsGoWithoutALine)
{
    _sign_in_state_cb(client, "TRUE");
    _qc_service_ui_metadata_updated_cb(client, "VID-1", "2");
    EXPECT_THAT(errors(), testing::IsEmpty());
}

}  // namespace
}  // namespace scripted
