// The agent of the benchmark: the real stub over the real port, with answers that are there already.
#include <glib.h>

#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

#include "program.hpp"
#include "stub/qv_client_stub.hpp"
#include "workload.hpp"

namespace {

using namespace quorvel::stub;

constexpr auto package = "com.veltrane.norvik.quorvel-client";
constexpr int fired_in_turn = 500;

int number_in(std::string_view text)
{
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

class Answers : public Service {
public:
    Answers()
    {
        for (const bench::Detail& one : bench::details()) {
            const auto& [id, name, prefix, state, nick, color, locale, firmware, maker, vid, reserved] =
                one.texts;
            const auto& [types, observable, uris] = one.lists;
            details_.push_back({one.resource_count, id, name, prefix, state, nick, color, locale, firmware,
                                maker, vid, types, observable, uris, reserved});
        }
    }

    int set_api_version(Client&, std::string_view) override { return 0; }
    int is_signed_in(Client&, Text& state) override
    {
        state.borrow(bench::signed_in);
        return 0;
    }
    int core_get_device_capability_status(Client&, std::string_view, std::string_view, std::string_view,
                                          Text& status) override
    {
        status.borrow(bench::status());
        return 0;
    }
    int get_is_caching_data(Client&, bool& caching) override
    {
        caching = false;
        return 0;
    }
    int get_device_detail_list(Client&, Out<array_device_detail_s>& details, int& count) override
    {
        details.borrow(details_);
        count = static_cast<int>(details_.size());
        return 0;
    }
    int get_device_list(Client&, Out<array_device_s>& devices, int& count) override
    {
        devices.borrow(*devices_);
        count = static_cast<int>(devices_->size());
        return 0;
    }
    int set_notification_cb(Client&, const Delegate<notification_cb>& listener) override
    {
        listener_ = listener;
        return 0;
    }
    int set_server_sent_event_by_filter(Client&, int, std::string_view,
                                        const Delegate<server_sent_event_cb>& listener) override
    {
        event_listeners_.push_back(listener);
        return 0;
    }
    /// The benchmark's own: "devices N", "notifications N", "events N".
    int get_ui_metadata(Client&, std::string_view wish, Text&) override
    {
        const int number = number_in(wish.substr(wish.find(' ') + 1));
        if (wish.starts_with("devices"))
            devices_ = &list_of(number);
        else if (wish.starts_with("notifications"))
            storm(number, &Answers::notify);
        else
            storm(number, &Answers::send_event);
        return 0;
    }
    void on_client_disconnected(Client&) override
    {
        std::erase_if(event_listeners_, [](const auto& listener) { return !listener.alive(); });
    }

private:
    const array_device_s& list_of(int size)
    {
        array_device_s& list = device_lists_[size];
        for (int i = static_cast<int>(list.size()); i < size; ++i)
            list.push_back({bench::text(36, i), {"device.light.color"}});
        return list;
    }
    void notify()
    {
        const auto& [kind, title, body] = bench::notification();
        fire(listener_, kind, title, body);
    }
    void send_event()
    {
        const auto& [kind, title, body] = bench::notification();
        fire(event_listeners_[next_listener_++ % event_listeners_.size()], 1, 1LL, body);
    }
    void storm(int count, void (Answers::*one)())
    {
        wanted_ = count;
        fire_one_ = one;
        g_idle_add_full(
            G_PRIORITY_DEFAULT,
            [](void* data) -> gboolean {
                auto& self = *static_cast<Answers*>(data);
                for (int i = 0; i < fired_in_turn && self.wanted_ > 0; ++i, --self.wanted_)
                    (self.*self.fire_one_)();
                return self.wanted_ > 0 ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
            },
            this, nullptr);
    }

    array_device_detail_s details_;
    std::map<int, array_device_s> device_lists_;
    const array_device_s* devices_ = &device_lists_[0];
    Delegate<notification_cb> listener_;
    std::vector<Delegate<server_sent_event_cb>> event_listeners_;
    std::size_t next_listener_ = 0;
    int wanted_ = 0;
    void (Answers::*fire_one_)() = nullptr;
};

/// The address is a directory that agent and client share.
int serve(const std::string& home)
{
    setenv("QUORVEL_HOME_DIR", home.c_str(), 1);
    setenv("QUORVEL_APP_ID", package, 1);
    setenv("QUORVEL_AGENT_CONNECTIONS", "100", 1);
    std::filesystem::create_directories(home + "/packages");
    std::ofstream{home + "/packages/" + package + ".package"} << "id=" << package << "\nversion=2.4.0\n";
    Answers answers;
    Server server{answers};
    if (server.listen() != 0)
        return 1;
    bench::say_ready();
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    return bench::run(argc, argv, serve, [](const std::string&) -> std::unique_ptr<bench::Client> {
        bench::give_up("this is the agent's half");
    });
}
