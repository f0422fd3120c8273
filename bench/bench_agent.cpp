// The agent of the benchmark: the real stub over the real port, with answers that are there already.
#include <glib.h>

#include <charconv>

#include "stub/qv_client_stub.hpp"
#include "workload.hpp"

namespace {

using namespace quorvel::stub;

class Answers : public Service {
public:
    Answers()
    {
        for (int i = 0; i < bench::devices; ++i)
            devices_.push_back({bench::device_id(i), {bench::device_type}});
    }

    int set_api_version(Client&, std::string_view) override { return 0; }
    int is_signed_in(Client&, Text& state) override
    {
        state.borrow(bench::signed_in);
        return 0;
    }
    int get_device_list(Client&, Out<array_device_s>& list, int& count) override
    {
        list.borrow(devices_);
        count = bench::devices;
        return 0;
    }
    int set_notification_cb(Client&, const Delegate<notification_cb>& listener) override
    {
        listener_ = listener;
        return 0;
    }
    // The number of notifications that are wanted.
    int get_ui_metadata(Client&, std::string_view vid, Text&) override
    {
        std::from_chars(vid.data(), vid.data() + vid.size(), wanted_);
        g_idle_add(
            [](void* data) -> gboolean {
                auto& self = *static_cast<Answers*>(data);
                for (int i = 0; i < 500 && self.wanted_ > 0; ++i, --self.wanted_)
                    fire(self.listener_, self.kind_, self.title_, self.body_);
                return self.wanted_ > 0 ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
            },
            this);
        return 0;
    }

private:
    array_device_s devices_;
    Delegate<notification_cb> listener_;
    int wanted_ = 0;
    std::string kind_ = std::string(16, 'k');
    std::string title_ = std::string(40, 't');
    std::string body_ = std::string(64, 'b');
};

}  // namespace

int main()
{
    Answers answers;
    Server server{answers};
    if (server.listen() != 0)
        return 1;
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}
