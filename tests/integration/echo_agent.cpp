// An agent for the tests: it answers with what it was asked, and misbehaves where the question says so.
#include <glib.h>
#include <unistd.h>

#include <charconv>
#include <csignal>
#include <string>
#include <vector>

#include "stub/qv_client_stub.hpp"

namespace {

using namespace quorvel::stub;

/// The number behind "word:", or -1 for a text that does not begin with the word.
int number_behind(std::string_view word, std::string_view text)
{
    if (!text.starts_with(word) || text.size() <= word.size() || text[word.size()] != ':')
        return -1;
    int number = -1;
    text.remove_prefix(word.size() + 1);
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

class Echo : public Service {
public:
    Echo()
    {
        for (int i = 0; i < 12; ++i)
            devices_.push_back({"device-" + std::to_string(i), {"type-" + std::to_string(i)}});
    }

    int is_signed_in(Client&, Text& state) override
    {
        state = "TRUE";
        return 0;
    }
    int set_api_version(Client&, std::string_view) override { return 0; }
    int get_device_list(Client&, Out<array_device_s>& devices, int& count) override
    {
        devices.borrow(devices_);
        count = static_cast<int>(devices_.size());
        return 0;
    }
    int get_device_detail(Client&, std::string_view device_id, Out<device_detail_s>& detail) override
    {
        detail->device_id = device_id;
        detail->nick = "nick of " + std::string{device_id};
        return 0;
    }
    int set_notification_cb(Client&, const Delegate<notification_cb>& on_notification) override
    {
        listener_ = on_notification;
        return 0;
    }
    int set_device_list_cb(Client&, const Delegate<device_list_cb>&) override { return 0; }

    int get_ui_metadata(Client& client, std::string_view vid, Text& metadata) override
    {
        metadata = "metadata of " + std::string{vid};
        if (vid == "die")
            kill(getpid(), SIGKILL);
        if (vid == "mute")
            forgotten_.push_back(client.postpone<method::get_ui_metadata>());
        if (const int count = number_behind("storm", vid); count > 0)
            begin_storm(count);
        if (const int milliseconds = number_behind("slow", vid); milliseconds >= 0) {
            struct Late {
                method::get_ui_metadata::Postponed answer;
                std::string metadata;
            };
            auto* const late =
                new Late{client.postpone<method::get_ui_metadata>(), "metadata of " + std::string{vid}};
            g_timeout_add(
                static_cast<guint>(milliseconds),
                [](void* data) -> gboolean {
                    const std::unique_ptr<Late> ready{static_cast<Late*>(data)};
                    ready->answer.answer(0, ready->metadata);
                    return G_SOURCE_REMOVE;
                },
                late);
        }
        return 0;
    }

private:
    // In portions, so that requests are served between them.
    void begin_storm(int count)
    {
        left_ = count;
        sent_ = 0;
        g_idle_add(
            [](void* data) -> gboolean {
                auto& echo = *static_cast<Echo*>(data);
                for (int i = 0; i < 200 && echo.left_ > 0; ++i, --echo.left_)
                    fire(echo.listener_, std::to_string(echo.sent_++), "title", "body");
                return echo.left_ > 0 ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
            },
            this);
    }

    array_device_s devices_;
    Delegate<notification_cb> listener_;
    std::vector<method::get_ui_metadata::Postponed> forgotten_;
    int left_ = 0;
    int sent_ = 0;
};

}  // namespace

int main()
{
    Echo echo;
    Server server{echo};
    if (server.listen() != 0)
        return 1;
    GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
    g_main_loop_run(loop);
    return 0;
}
