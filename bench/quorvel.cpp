// The library, as an application uses it.
#include <glib.h>
#include <quorvel_client.h>
#include <quorvel_core.h>

#include <cstdlib>

#include "program.hpp"
#include "workload.hpp"

namespace {

class Application : public bench::Client {
public:
    explicit Application(const std::string& home)
    {
        setenv("QUORVEL_HOME_DIR", home.c_str(), 1);
        const auto on_state = [](int, int state, void* user_data) { *static_cast<int*>(user_data) = state; };
        if (quorvel_client_connect(&handle_, on_state, &state_) != 0)
            bench::give_up("cannot connect");
        while (state_ < 0)
            g_main_context_iteration(nullptr, TRUE);
        if (state_ != QUORVEL_CLIENT_CONNECTION_CONNECTED)
            bench::give_up("no connection");
    }
    ~Application() override { quorvel_client_disconnect(handle_); }

    void ask_small() override
    {
        bool is_signed_in = false;
        if (quorvel_client_is_signed_in(handle_, &is_signed_in) != 0 || !is_signed_in)
            bench::give_up("is_signed_in failed");
    }
    void ask_large() override
    {
        const auto& [device, component, capability] = bench::question();
        char* status = nullptr;
        if (quorvel_core_get_device_capability_status(handle_, device.c_str(), component.c_str(),
                                                      capability.c_str(), &status)
            != 0)
            bench::give_up("the status failed");
        std::free(status);
    }
    void ask_details() override
    {
        quorvel_client_device_detail_h* list = nullptr;
        int count = 0;
        if (quorvel_client_get_device_detail_list(handle_, &list, &count) != 0
            || count != bench::detail_count)
            bench::give_up("the details failed");
        for (int i = 0; i < count; ++i)
            quorvel_client_device_detail_destroy(list[i]);
        std::free(list);
    }
    void hear(int callbacks) override
    {
        if (!listens_) {
            const auto on_notification = [](const char*, const char*, const char*, void* user_data) {
                ++*static_cast<int*>(user_data);
            };
            if (quorvel_client_set_notification_cb(handle_, on_notification, &heard_) != 0)
                bench::give_up("no notifications");
            listens_ = true;
        }
        await("notifications", callbacks);
    }
    bool other(const std::string& workload, int count) override
    {
        if (workload == "size") {
            wish("devices", count);
            return true;
        }
        if (workload == "devices") {
            for (int i = 0; i < count; ++i)
                ask_devices();
            return true;
        }
        if (workload == "delegates") {
            for (int i = 0; i < count; ++i)
                add_delegate();
            return true;
        }
        if (workload == "events") {
            await("events", count);
            return true;
        }
        return false;
    }

private:
    void wish(const char* what, int count)
    {
        char* nothing = nullptr;
        if (quorvel_client_get_ui_metadata(handle_, (what + (" " + std::to_string(count))).c_str(), &nothing)
            != 0)
            bench::give_up("the wish failed");
        std::free(nothing);
    }
    void await(const char* what, int count)
    {
        heard_ = 0;
        wish(what, count);
        while (heard_ < count)
            g_main_context_iteration(nullptr, TRUE);
    }
    void ask_devices()
    {
        quorvel_client_device_h* list = nullptr;
        int count = 0;
        if (quorvel_client_get_device_list(handle_, &list, &count) != 0)
            bench::give_up("the devices failed");
        for (int i = 0; i < count; ++i)
            quorvel_client_device_destroy(list[i]);
        std::free(list);
    }
    void add_delegate()
    {
        const auto on_event = [](int, long long, const char*, void* user_data) {
            ++*static_cast<int*>(user_data);
        };
        if (quorvel_core_set_sse_cb_by_device_id(handle_, bench::question()[0].c_str(), on_event, &heard_)
            != 0)
            bench::give_up("no events");
    }

    quorvel_client_h handle_ = nullptr;
    int state_ = -1;
    int heard_ = 0;
    bool listens_ = false;
};

}  // namespace

int main(int argc, char** argv)
{
    return bench::run(
        argc, argv, [](const std::string&) -> int { bench::give_up("this is the application's half"); },
        [](const std::string& home) { return std::make_unique<Application>(home); });
}
