// The stub behind real sockets: what a request costs it.
//
// The linker sends every allocation of the stub's own code (and of this test) through here, and none of the
// platform's, which is another library.
#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <thread>

#include "stub/small_stub.hpp"

namespace {

thread_local long allocations = 0;

}  // namespace

// The sanitizers' libraries look for them too.
#pragma GCC visibility push(default)
extern "C" {
void* __real__Znwm(std::size_t size);
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);

void* __wrap__Znwm(std::size_t size)
{
    ++allocations;
    return __real__Znwm(size);
}

void* __wrap_malloc(std::size_t size)
{
    ++allocations;
    return __real_malloc(size);
}

void* __wrap_calloc(std::size_t count, std::size_t size)
{
    ++allocations;
    return __real_calloc(count, size);
}
}
#pragma GCC visibility pop

namespace quorvel::stub {
namespace {

class Home : public Service {
public:
    int find_lamp(Client&, std::string_view lamp_id, Out<lamp_s>& lamp) override
    {
        if (lamp_id != one.lamp_id)
            return -61;
        if (is_lent)
            lamp.borrow(one);
        else
            lamp = one;
        return 0;
    }
    int list_lamps(Client&, const array_string&, int, bool, Out<array_lamp_s>& lamps, int& count,
                   bool&) override
    {
        lamps.borrow(all);
        count = static_cast<int>(all.size());
        return 0;
    }
    int watch_lamps(Client&, const Delegate<lamps_cb>& on_lamps, Out<array_string>&, Out<place_s>&) override
    {
        watcher = on_lamps;
        return 0;
    }

    lamp_s one{"a lamp whose id is too long for any small string", 40, {}, {"one tag", "another tag"}, ""};
    array_lamp_s all = array_lamp_s(1000, one);
    Delegate<lamps_cb> watcher;
    bool is_lent = true;
};

/// A client in a thread of its own; the main loop runs in the test's.
class StubPort : public testing::Test {
protected:
    void SetUp() override
    {
        directory = std::filesystem::temp_directory_path() / "quorvel-stub-XXXXXX";
        ASSERT_NE(mkdtemp(directory.data()), nullptr);
        setenv("QUORVEL_HOME_DIR", directory.c_str(), 1);
        setenv("QUORVEL_APP_ID", "org.example.home", 1);
        ASSERT_EQ(server.emplace(home).listen(), 0);
        ASSERT_EQ(rpc_port_proxy_create(&proxy), 0);
        rpc_port_proxy_add_connected_event_cb(
            proxy,
            [](const char*, const char*, rpc_port_h connected, void* data) {
                *static_cast<rpc_port_h*>(data) = connected;
            },
            &port);
        rpc_port_proxy_add_rejected_event_cb(
            proxy, [](const char*, const char*, void*) { FAIL() << "rejected"; }, nullptr);
        ASSERT_EQ(rpc_port_proxy_connect(proxy, "org.example.home", "small"), 0);
        run_until([this] { return port != nullptr && server->client_count() == 1; });
    }

    void TearDown() override
    {
        rpc_port_proxy_destroy(proxy);
        server.reset();
        std::filesystem::remove_all(directory);
    }

    template <typename Done>
    static void run_until(const Done& done)
    {
        const gint64 end = g_get_monotonic_time() + 20 * G_USEC_PER_SEC;
        // An idle source keeps the loop from sleeping past the end.
        const guint tick = g_timeout_add(
            1, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
        while (!done() && g_get_monotonic_time() < end)
            g_main_context_iteration(nullptr, TRUE);
        g_source_remove(tick);
        EXPECT_TRUE(done()) << "not within 20 seconds";
    }

    /// Sends a request as often and hands each answer over; what the stub allocated meanwhile.
    template <typename WriteRequest, typename ReadAnswer>
    long calls(int how_many, const WriteRequest& write_request, const ReadAnswer& read_answer)
    {
        std::atomic<bool> is_done = false;
        std::thread client{[&] {
            for (int i = 0; i < how_many; ++i) {
                rpc_port_parcel_h request = nullptr;
                rpc_port_parcel_create(&request);
                write_request(request);
                EXPECT_EQ(rpc_port_parcel_send(request, port), 0);
                rpc_port_parcel_destroy(request);
                rpc_port_parcel_h answer = nullptr;
                if (rpc_port_parcel_create_from_port(&answer, port) != 0) {
                    ADD_FAILURE() << "no answer";
                    break;
                }
                read_answer(answer);
                rpc_port_parcel_destroy(answer);
            }
            is_done = true;
        }};
        const long before = allocations;
        run_until([&is_done] { return is_done.load(); });
        const long made = allocations - before;
        client.join();
        return made;
    }

    static int number(rpc_port_parcel_h answer)
    {
        int value = -99;
        rpc_port_parcel_read_int32(answer, &value);
        return value;
    }

    static std::string text(rpc_port_parcel_h answer)
    {
        char* copy = nullptr;
        rpc_port_parcel_read_string(answer, &copy);
        std::string value = copy;
        std::free(copy);
        return value;
    }

    std::string directory;
    Home home;
    std::optional<Server> server;
    rpc_port_proxy_h proxy = nullptr;
    rpc_port_h port = nullptr;
};

TEST_F(StubPort, ARequestOfTextsAndARecordThatIsLentTakeNoMemoryOfTheStub)
{
    const auto ask = [this](rpc_port_parcel_h request) {
        rpc_port_parcel_write_int32(request, method::find_lamp::id);
        rpc_port_parcel_write_string(request, home.one.lamp_id.c_str());
    };
    const auto check = [this](rpc_port_parcel_h answer) {
        EXPECT_EQ(number(answer), 0);
        EXPECT_EQ(text(answer), home.one.lamp_id);
        EXPECT_EQ(number(answer), 40);
    };
    EXPECT_EQ(calls(1000, ask, check), 0);
    home.is_lent = false;
    EXPECT_GE(calls(10, ask, check), 10) << "a record that is given is copied, and that is counted here";
}

TEST_F(StubPort, AListOfAThousandRecordsThatIsLentTakesNoMemoryOfTheStub)
{
    const auto ask = [](rpc_port_parcel_h request) {
        rpc_port_parcel_write_int32(request, method::list_lamps::id);
        rpc_port_parcel_write_array_count(request, 0);
        rpc_port_parcel_write_int32(request, 1000);
        rpc_port_parcel_write_bool(request, true);
    };
    const auto check = [](rpc_port_parcel_h answer) {
        EXPECT_EQ(number(answer), 0);
        int count = 0;
        rpc_port_parcel_read_array_count(answer, &count);
        EXPECT_EQ(count, 1000);
    };
    EXPECT_EQ(calls(50, ask, check), 0);
}

TEST_F(StubPort, ACallbackTakesNoMemoryOfTheStub)
{
    const auto ask = [](rpc_port_parcel_h request) {
        rpc_port_parcel_write_int32(request, method::watch_lamps::id);
        rpc_port_parcel_write_int32(request, lamps_cb::id);
        rpc_port_parcel_write_int32(request, 1);
        rpc_port_parcel_write_bool(request, false);
    };
    calls(1, ask, [](rpc_port_parcel_h answer) { EXPECT_EQ(number(answer), 0); });
    fire(home.watcher, "first", home.all, 1000, home.one, false, 0);
    const long before = allocations;
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(fire(home.watcher, "changed", home.all, 1000, home.one, true, i));
    EXPECT_EQ(allocations - before, 0);
}

TEST_F(StubPort, AClientThatLiesIsDroppedAndTheNextOneIsServed)
{
    rpc_port_parcel_h request = nullptr;
    rpc_port_parcel_create(&request);
    rpc_port_parcel_write_int32(request, method::find_lamp::id);
    rpc_port_parcel_send(request, port);
    rpc_port_parcel_destroy(request);
    run_until([this] { return server->client_count() == 0; });

    rpc_port_proxy_destroy(proxy);
    port = nullptr;
    ASSERT_EQ(rpc_port_proxy_create(&proxy), 0);
    rpc_port_proxy_add_connected_event_cb(
        proxy,
        [](const char*, const char*, rpc_port_h connected, void* data) {
            *static_cast<rpc_port_h*>(data) = connected;
        },
        &port);
    ASSERT_EQ(rpc_port_proxy_connect(proxy, "org.example.home", "small"), 0);
    run_until([this] { return port != nullptr; });
    const auto ask = [](rpc_port_parcel_h again) { rpc_port_parcel_write_int32(again, method::ring::id); };
    calls(1, ask, [](rpc_port_parcel_h answer) {
        EXPECT_EQ(number(answer), 0);
        EXPECT_EQ(number(answer), not_supported);
    });
}

}  // namespace
}  // namespace quorvel::stub
