// The scripted platform keeps the platform's contract: what the tests of the library lean on is tested here.
#include <cstdlib>
#include <cstring>
#include <thread>

#include "with_agent.hpp"

namespace scripted {
namespace {

class ScriptedParcel : public Scripted {
protected:
    rpc_port_parcel_h open(const Values& values) { return parcel_ = make_parcel(values); }
    void TearDown() override
    {
        rpc_port_parcel_destroy(parcel_);
        Scripted::TearDown();
    }

private:
    rpc_port_parcel_h parcel_ = nullptr;
};

TEST_F(ScriptedParcel, ReadsBackWhatWasWritten)
{
    rpc_port_parcel_h h = open({});
    bundle* b = make_bundle({{"name", "lamp"}});
    ASSERT_EQ(rpc_port_parcel_write_int32(h, -7), 0);
    ASSERT_EQ(rpc_port_parcel_write_int64(h, 1LL << 40), 0);
    ASSERT_EQ(rpc_port_parcel_write_bool(h, true), 0);
    ASSERT_EQ(rpc_port_parcel_write_string(h, "lamp"), 0);
    ASSERT_EQ(rpc_port_parcel_write_bundle(h, b), 0);
    ASSERT_EQ(rpc_port_parcel_write_array_count(h, 0), 0);
    bundle_free(b);
    EXPECT_EQ(contents(h), (Values{i32(-7), i64(1LL << 40), flag(true), text("lamp"),
                                   bundle_of({{"name", "lamp"}}), count(0)}));

    int number = 0;
    long long big = 0;
    bool truth = false;
    char* string = nullptr;
    bundle* read = nullptr;
    int size = -1;
    EXPECT_EQ(rpc_port_parcel_read_int32(h, &number), 0);
    EXPECT_EQ(rpc_port_parcel_read_int64(h, &big), 0);
    EXPECT_EQ(rpc_port_parcel_read_bool(h, &truth), 0);
    EXPECT_EQ(rpc_port_parcel_read_string(h, &string), 0);
    EXPECT_EQ(rpc_port_parcel_read_bundle(h, &read), 0);
    EXPECT_EQ(rpc_port_parcel_read_array_count(h, &size), 0);
    EXPECT_EQ(number, -7);
    EXPECT_EQ(big, 1LL << 40);
    EXPECT_TRUE(truth);
    EXPECT_STREQ(string, "lamp");
    EXPECT_EQ(contents(read), (BundleItems{{"name", "lamp"}}));
    EXPECT_EQ(size, 0);
    EXPECT_EQ(unread(h), 0);
    std::free(string);
    bundle_free(read);
}

TEST_F(ScriptedParcel, LeavesNumbersAloneAndGivesAnEmptyStringAndNoBundleAfterAFailedRead)
{
    rpc_port_parcel_h h = open({text("not a number"), i32(5), text("too late")});
    int number = 77;
    long long big = 78;
    bool truth = true;
    char* string = nullptr;
    bundle* read = reinterpret_cast<bundle*>(&number);
    int size = 79;
    EXPECT_LT(rpc_port_parcel_read_int32(h, &number), 0);
    EXPECT_TRUE(has_failed(h));
    EXPECT_LT(rpc_port_parcel_read_int32(h, &number), 0);
    EXPECT_LT(rpc_port_parcel_read_int64(h, &big), 0);
    EXPECT_LT(rpc_port_parcel_read_bool(h, &truth), 0);
    EXPECT_LT(rpc_port_parcel_read_string(h, &string), 0);
    EXPECT_LT(rpc_port_parcel_read_bundle(h, &read), 0);
    EXPECT_LT(rpc_port_parcel_read_array_count(h, &size), 0);
    EXPECT_EQ(number, 77);
    EXPECT_EQ(big, 78);
    EXPECT_TRUE(truth);
    EXPECT_STREQ(string, "");
    EXPECT_EQ(read, nullptr);
    EXPECT_EQ(size, 79);
    std::free(string);
}

TEST_F(ScriptedParcel, RefusesACountThatPromisesMoreThanThereIs)
{
    int size = 9;
    rpc_port_parcel_h h = open({count(1000), text("lamp")});
    EXPECT_LT(rpc_port_parcel_read_array_count(h, &size), 0);
    EXPECT_EQ(size, 0);
    rpc_port_parcel_destroy(h);
    h = open({count(-1), text("lamp")});
    size = 9;
    EXPECT_LT(rpc_port_parcel_read_array_count(h, &size), 0);
    EXPECT_EQ(size, 0);
    rpc_port_parcel_destroy(h);
    h = open({trusted_count(-1)});
    EXPECT_EQ(rpc_port_parcel_read_array_count(h, &size), 0);
    EXPECT_EQ(size, -1);
}

TEST_F(ScriptedParcel, RefusesAStringWithANulInside)
{
    rpc_port_parcel_h h = open({text(std::string("a\0b", 3))});
    char* string = nullptr;
    EXPECT_LT(rpc_port_parcel_read_string(h, &string), 0);
    EXPECT_STREQ(string, "");
    std::free(string);
}

TEST_F(ScriptedParcel, ShowsThatAStringOrBundleWasNull)
{
    rpc_port_parcel_h h = open({});
    rpc_port_parcel_write_string(h, nullptr);
    rpc_port_parcel_write_bundle(h, nullptr);
    EXPECT_EQ(contents(h), (Values{no_text(), no_bundle()}));
    EXPECT_FALSE(contents(h) == (Values{text(""), bundle_of({})}));
}

TEST_F(ScriptedParcel, ReadsStringsAsNullWhenToldTo)
{
    const rpc_port_parcel_h h = make_parcel({text("a"), i32(5)});
    platform().read_strings_as_null();
    char untouched[] = "untouched";
    char* read = untouched;
    EXPECT_EQ(rpc_port_parcel_read_string(h, &read), RPC_PORT_ERROR_NONE);
    EXPECT_EQ(read, nullptr);
    int number = 0;
    EXPECT_EQ(rpc_port_parcel_read_int32(h, &number), RPC_PORT_ERROR_NONE);
    EXPECT_EQ(number, 5);
    rpc_port_parcel_destroy(h);
}

TEST_F(Scripted, NotesTheUseOfAParcelThatIsNotAlive)
{
    rpc_port_parcel_h h = make_parcel({i32(1)});
    ASSERT_EQ(rpc_port_parcel_destroy(h), 0);
    EXPECT_LT(rpc_port_parcel_destroy(h), 0);
    EXPECT_EQ(misuses(), Strings{"rpc_port_parcel_destroy: a parcel that is not alive"});
    reset();
}

TEST_F(Scripted, FailsTheNthUseOnly)
{
    platform().fail("bundle_create", 2);
    bundle* first = bundle_create();
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(bundle_create(), nullptr);
    bundle* third = bundle_create();
    EXPECT_NE(third, nullptr);
    EXPECT_EQ(platform().uses("bundle_create"), 3);
    bundle_free(first);
    bundle_free(third);
    EXPECT_THROW(platform().fail("no_such_function"), std::invalid_argument);
}

TEST_F(Scripted, BundleNeverReplacesAKey)
{
    bundle* b = bundle_create();
    const char* modes[] = {"cool", "heat"};
    EXPECT_EQ(bundle_add_str(b, "name", "lamp"), 0);
    EXPECT_EQ(bundle_add_str(b, "name", "fan"), BUNDLE_ERROR_KEY_EXISTS);
    EXPECT_EQ(bundle_add_str_array(b, "modes", modes, 2), 0);
    EXPECT_EQ(bundle_add_byte(b, "blob", "\1\2", 2), 0);
    char* string = nullptr;
    int size = 0;
    void* bytes = nullptr;
    size_t length = 0;
    EXPECT_EQ(bundle_get_str(b, "name", &string), 0);
    EXPECT_STREQ(string, "lamp");
    EXPECT_EQ(bundle_get_str(b, "modes", &string), BUNDLE_ERROR_KEY_NOT_AVAILABLE);
    const char** strings = bundle_get_str_array(b, "modes", &size);
    ASSERT_NE(strings, nullptr);
    EXPECT_EQ(size, 2);
    EXPECT_STREQ(strings[1], "heat");
    EXPECT_EQ(bundle_get_str_array(b, "none", &size), nullptr);
    EXPECT_EQ(bundle_get_byte(b, "blob", &bytes, &length), 0);
    EXPECT_EQ(length, 2U);
    EXPECT_EQ(bundle_get_count(b), 3);
    bundle_free(b);
}

TEST_F(Scripted, TellsWhichPackageIsInstalled)
{
    package_info_h info = nullptr;
    EXPECT_EQ(package_info_create("com.veltrane.norvik.quorvel-client", &info),
              PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE);
    agent().install("2.3.15");
    ASSERT_EQ(package_info_create("com.veltrane.norvik.quorvel-client", &info), 0);
    char* version = nullptr;
    ASSERT_EQ(package_info_get_version(info, &version), 0);
    EXPECT_STREQ(version, "2.3.15");
    std::free(version);
    agent().package_version_unreadable();
    EXPECT_LT(package_info_get_version(info, &version), 0);
    EXPECT_EQ(live().package_infos, 1);
    package_info_destroy(info);
}

TEST_F(Scripted, TakesLogLinesApart)
{
    dlog_print(DLOG_ERROR, "QC_API", "%s (%d) %s : %s", "quorvel_client", 12, "quorvel_client_connect", "no");
    dlog_print(DLOG_WARN, "RPC_PORT_PROXY", "%s: %s(%d) > id(%d), seq_id(%d)", "quorvel_client_proxy", "f", 3,
               1, 2);
    EXPECT_THAT(log(), Lines(qc_error("quorvel_client", "quorvel_client_connect", "no"),
                             proxy_warning("f", "id(1), seq_id(2)")));
    EXPECT_EQ(log()[0].line, 12);
    EXPECT_EQ(log()[0].format, "%s (%d) %s : %s");
}

// A client of the port alone, without the library.
class ScriptedPort : public Scripted {
protected:
    void SetUp() override
    {
        Scripted::SetUp();
        ASSERT_EQ(rpc_port_proxy_create(&proxy), 0);
        rpc_port_proxy_add_connected_event_cb(
            proxy,
            [](const char*, const char*, rpc_port_h port, void* data) {
                static_cast<ScriptedPort*>(data)->main = port;
            },
            this);
        rpc_port_proxy_add_received_event_cb(
            proxy, [](const char*, const char*, void* data) { ++static_cast<ScriptedPort*>(data)->received; },
            this);
        ASSERT_EQ(rpc_port_proxy_connect(proxy, "agent", "port"), 0);
        agent().connect();
        ASSERT_NE(main, nullptr);
    }
    void TearDown() override
    {
        rpc_port_proxy_destroy(proxy);
        Scripted::TearDown();
    }
    int send(int number)
    {
        rpc_port_parcel_h h = make_parcel({i32(number)});
        const int code = rpc_port_parcel_send(h, main);
        rpc_port_parcel_destroy(h);
        return code;
    }
    Values receive(rpc_port_h port)
    {
        rpc_port_parcel_h h = nullptr;
        if (rpc_port_parcel_create_from_port(&h, port) != 0) {
            return {};
        }
        Values values = contents(h);
        rpc_port_parcel_destroy(h);
        return values;
    }

    rpc_port_proxy_h proxy = nullptr;
    rpc_port_h main = nullptr;
    int received = 0;
};

TEST_F(ScriptedPort, AnswersInTheOrderOfTheRequestsAndThenNoMore)
{
    agent().answer_next_with(0, {text("first")});
    agent().no_answer_next();
    agent().answer_next_parcels({{i32(1)}, result(-3)});
    for (int number = 1; number <= 4; ++number) {
        EXPECT_EQ(send(number), 0);
    }
    EXPECT_EQ(receive(main), (Values{i32(0), text("first"), i32(0)}));
    EXPECT_EQ(receive(main), (Values{i32(1)}));
    EXPECT_EQ(receive(main), (Values{i32(0), i32(-3)}));
    EXPECT_EQ(receive(main), Values());
    EXPECT_EQ(agent().requests().size(), 4U);
    EXPECT_EQ(agent().requests_to(3).size(), 1U);
}

TEST_F(ScriptedPort, KeepsARequestThatCouldNotBeSentApart)
{
    agent().fail_next_send(-5);
    EXPECT_EQ(send(1), -5);
    EXPECT_EQ(agent().unsent(), (std::vector<Sent>{{i32(1)}}));
    EXPECT_EQ(agent().request(), Sent());
}

TEST_F(ScriptedPort, LetsAProgramAnswerAndSendFromInside)
{
    agent().on_request([&](const Sent& sent) -> std::optional<Values> {
        if (sent.number(0) == 1) {
            EXPECT_EQ(send(2), 0);
            EXPECT_EQ(receive(main), result(20));
            return result(10);
        }
        return result(20);
    });
    EXPECT_EQ(send(1), 0);
    EXPECT_EQ(receive(main), result(10));
}

TEST_F(ScriptedPort, WakesAReaderWhenAParcelArrivesOrTheConnectionBreaks)
{
    agent().let_reads_wait(std::chrono::seconds(20));
    std::thread deliverer([] { agent().deliver(result(5)); });
    EXPECT_EQ(receive(main), result(5));
    deliverer.join();
    std::thread breaker([] { agent().break_connection(); });
    EXPECT_EQ(receive(main), Values());
    breaker.join();
}

TEST_F(ScriptedPort, DeliversPostedCallbacksOnlyWhenTheEventsRun)
{
    rpc_port_h callbacks = nullptr;
    ASSERT_EQ(rpc_port_proxy_get_port(proxy, RPC_PORT_PORT_CALLBACK, &callbacks), 0);
    agent().post(3, 1, false, {i32(4)});
    EXPECT_EQ(received, 0);
    EXPECT_EQ(agent().run_events(), 1);
    EXPECT_EQ(received, 1);
    EXPECT_EQ(receive(callbacks), (Values{i32(1), i32(3), i32(1), flag(false), i32(4)}));
    agent().post(3, 1);
    agent().break_connection();
    EXPECT_EQ(agent().run_events(), 1) << "the end of the connection only";
}

TEST_F(Scripted, PlaysAClientForTheAgentsSide)
{
    struct Echo {
        rpc_port_stub_h stub = nullptr;
        Strings heard;
        int verdict = 0;
    } echo;
    ASSERT_EQ(rpc_port_stub_create(&echo.stub, "port"), 0);
    rpc_port_stub_add_connected_event_cb(
        echo.stub,
        [](const char*, const char*, void* data) {
            static_cast<Echo*>(data)->heard.emplace_back("connected");
        },
        &echo);
    rpc_port_stub_add_disconnected_event_cb(
        echo.stub,
        [](const char*, const char*, void* data) { static_cast<Echo*>(data)->heard.emplace_back("gone"); },
        &echo);
    rpc_port_stub_add_received_event_cb(
        echo.stub,
        [](const char*, const char*, rpc_port_h port, void* data) {
            rpc_port_parcel_h h = nullptr;
            EXPECT_EQ(rpc_port_parcel_create_from_port(&h, port), 0);
            EXPECT_EQ(rpc_port_parcel_send(h, port), 0);
            rpc_port_parcel_destroy(h);
            return static_cast<Echo*>(data)->verdict;
        },
        &echo);
    ASSERT_EQ(rpc_port_stub_listen(echo.stub), 0);
    Client client;
    client.connect();
    EXPECT_EQ(client.call({i32(8)}), 0);
    echo.verdict = -1;
    EXPECT_EQ(client.call({i32(9)}), -1);
    EXPECT_EQ(client.answers(), (std::vector<Values>{{i32(8)}, {i32(9)}}));
    EXPECT_EQ(echo.heard, (Strings{"connected", "gone"}));
    rpc_port_stub_destroy(echo.stub);
}

}  // namespace
}  // namespace scripted
