// One of several clients of an agent that misbehaves: mixed calls and events for so many seconds, and then a
// summary as JSON. What comes back may be wrong in every way that the agent's faults know; but every code has
// to be one of the documented ones, and nothing may hang or crash.
//
//   load_client NUMBER SECONDS
#include <glib.h>
#include <quorvel_client.h>
#include <quorvel_core.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

int events = 0;
int outcomes = 0;

// A callback of any type that counts its calls; its last argument is the counter.
template <typename Callback>
struct CountedBy;
template <typename... Values>
struct CountedBy<void (*)(Values...)> {
    static void take(Values... values)
    {
        const std::tuple all{values...};
        ++*static_cast<int*>(std::get<sizeof...(Values) - 1>(all));
    }
};
template <typename Callback>
constexpr Callback counted = &CountedBy<Callback>::take;

class Client {
public:
    explicit Client(unsigned number) : random_(number) {}

    // Connected anew whenever the connection was lost: the faults close it, too.
    bool is_connected()
    {
        if (handle_ != nullptr && !over_)
            return true;
        if (handle_ != nullptr)
            note("disconnect", quorvel_client_disconnect(handle_));
        handle_ = nullptr;
        over_ = connected_ = false;
        const int code = quorvel_client_connect(&handle_, changed, this);
        note("connect", code);
        if (code != 0) {
            handle_ = nullptr;
            return false;
        }
        const auto end = Clock::now() + std::chrono::seconds(10);
        while (!connected_ && !over_ && Clock::now() < end)
            turn(true);
        ++connections_;
        if (connected_ && !over_)
            listen();
        return connected_ && !over_;
    }

    void work()
    {
        if (!is_connected())
            return;
        switch (std::uniform_int_distribution{0, 15}(random_)) {
            case 0: {
                quorvel_client_device_h* list = nullptr;
                int count = 0;
                if (note("get_device_list", quorvel_client_get_device_list(handle_, &list, &count)) == 0)
                    release(list, count, quorvel_client_device_destroy);
                break;
            }
            case 1: {
                quorvel_client_device_detail_h detail = nullptr;
                if (note("get_device_detail", quorvel_client_get_device_detail(handle_, device(), &detail))
                    == 0)
                    quorvel_client_device_detail_destroy(detail);
                break;
            }
            case 2: {
                quorvel_client_device_detail_h* list = nullptr;
                int count = 0;
                if (note("get_device_detail_list",
                         quorvel_client_get_device_detail_list(handle_, &list, &count))
                    == 0)
                    release(list, count, quorvel_client_device_detail_destroy);
                break;
            }
            case 3: {
                bool is_signed_in = false;
                note("is_signed_in", quorvel_client_is_signed_in(handle_, &is_signed_in));
                break;
            }
            case 4:
                ask("core_get_device_status", quorvel_core_get_device_status, device());
                break;
            case 5:
                ask("core_execute_device", quorvel_core_execute_device, "lamp-1",
                    R"([{"component":"main","capability":"switch","command":"on"}])");
                break;
            case 6:
                ask("core_execute_device", quorvel_core_execute_device, "lamp-1",
                    R"([{"component":"main","capability":"switch","command":"off"}])");
                break;
            case 7:
                note("change_device_nick",
                     quorvel_client_change_device_nick(handle_, device(), "Nick",
                                                       counted<quorvel_client_device_result_cb>, &outcomes));
                break;
            case 8:
                note("do_scene", quorvel_client_do_scene(handle_, "movie",
                                                         counted<quorvel_client_scene_result_cb>, &outcomes));
                break;
            case 9:
                ask("core_get_activity_history", quorvel_core_get_activity_history, "limit=20");
                break;
            case 10:
                note("subscribe", quorvel_client_subscribe(handle_, "lamp-1", "/switch", "",
                                                           counted<quorvel_client_subscribe_cb>, &events));
                break;
            case 11:
                note("unsubscribe", quorvel_client_unsubscribe(handle_, "lamp-1", "/switch"));
                break;
            case 12: {
                quorvel_core_location_h* list = nullptr;
                int count = 0;
                if (note("core_get_location_list", quorvel_core_get_location_list(handle_, &list, &count))
                    == 0)
                    release(list, count, quorvel_core_location_destroy);
                break;
            }
            case 13:
                note("get_remote_representation",
                     quorvel_client_get_remote_representation(
                         handle_, device(), "/switch", "", "",
                         counted<quorvel_client_remote_representation_cb>, &outcomes));
                break;
            case 14:
                note("core_set_sse_cb", quorvel_core_set_sse_cb(handle_, QUORVEL_CORE_SSE_TYPE_ALL,
                                                                counted<quorvel_core_sse_cb>, &events));
                break;
            default:
                note("core_unset_sse_cb", quorvel_core_unset_sse_cb(handle_));
        }
        ++calls_;
        for (int i = 0; i < 4; ++i)
            turn(false);
    }

    void end()
    {
        if (handle_ != nullptr)
            note("disconnect", quorvel_client_disconnect(handle_));
        handle_ = nullptr;
        for (int i = 0; i < 100; ++i)
            turn(false);
    }

    void report() const
    {
        std::printf("{\"calls\":%d,\"events\":%d,\"outcomes\":%d,\"connections\":%d,\"codes\":{", calls_,
                    events, outcomes, connections_);
        const char* between = "";
        for (const auto& [code, functions] : codes_) {
            std::printf("%s\"%d\":{", std::exchange(between, ","), code);
            const char* inner = "";
            for (const auto& [name, count] : functions)
                std::printf("%s\"%s\":%d", std::exchange(inner, ","), name.c_str(), count);
            std::printf("}");
        }
        std::printf("}}\n");
    }

private:
    static void changed(int, int state, void* self)
    {
        auto* client = static_cast<Client*>(self);
        (state == QUORVEL_CLIENT_CONNECTION_CONNECTED ? client->connected_ : client->over_) = true;
    }
    static void turn(bool wait)
    {
        if (wait && !g_main_context_pending(nullptr))
            g_usleep(1000);
        g_main_context_iteration(nullptr, FALSE);
    }

    void listen()
    {
        note("set_device_list_updated_cb", quorvel_client_set_device_list_updated_cb(
                                               handle_,
                                               [](quorvel_client_device_h* list, int count, void*) {
                                                   ++events;
                                                   release(list, count, quorvel_client_device_destroy);
                                               },
                                               nullptr));
        note("set_notification_cb",
             quorvel_client_set_notification_cb(handle_, counted<quorvel_client_notification_cb>, &events));
    }

    const char* device()
    {
        constexpr const char* ids[] = {"lamp-1", "lamp-2", "plug-1", "hall-light", "there-is-no-such"};
        return ids[std::uniform_int_distribution{0, 4}(random_)];
    }

    int note(const char* function, int code)
    {
        ++codes_[code][function];
        return code;
    }

    template <typename Function, typename... Given>
    void ask(const char* name, Function function, Given... given)
    {
        char* text = nullptr;
        note(name, function(handle_, given..., &text));
        std::free(text);
    }

    template <typename Handle, typename Destroy>
    static void release(Handle* list, int count, Destroy destroy)
    {
        for (int i = 0; i < count; ++i)
            destroy(list[i]);
        std::free(list);
    }

    std::mt19937 random_;
    quorvel_client_h handle_ = nullptr;
    bool connected_ = false;
    bool over_ = false;
    int calls_ = 0;
    int connections_ = 0;
    std::map<int, std::map<std::string, int>> codes_;
};

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    Client client{static_cast<unsigned>(std::atoi(argv[1]))};
    const auto end = Clock::now() + std::chrono::seconds(std::atoi(argv[2]));
    while (Clock::now() < end)
        client.work();
    client.end();
    client.report();
}
