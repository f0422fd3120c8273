// sd-bus, peer to peer. Its server also says what a client expects of a bus, for the one that can speak to
// buses only.
#include <glib-unix.h>
#include <glib.h>
#include <systemd/sd-bus.h>

#include <cstdlib>
#include <mutex>

#include "sockets.hpp"
#include "workload.hpp"

namespace {

constexpr auto path = "/bench";
constexpr auto interface = "bench.Agent";
constexpr std::uint64_t patience = 60'000'000;

int check(int result, const char* what)
{
    if (result < 0)
        bench::give_up(std::string{"sd-bus: "} + what + ": " + std::strerror(-result));
    return result;
}

int answer_small(sd_bus_message* call, void*, sd_bus_error*)
{
    return sd_bus_reply_method_return(call, "s", bench::signed_in);
}

int answer_large(sd_bus_message* call, void*, sd_bus_error*)
{
    const char* texts[3] = {};
    check(sd_bus_message_read(call, "sss", &texts[0], &texts[1], &texts[2]), "the question");
    return sd_bus_reply_method_return(call, "s", bench::status().c_str());
}

int answer_details(sd_bus_message* call, void*, sd_bus_error*)
{
    sd_bus_message* reply = nullptr;
    check(sd_bus_message_new_method_return(call, &reply), "an answer");
    sd_bus_message_open_container(reply, 'a', "(isssssssssssasasas)");
    for (const bench::Detail& detail : bench::details()) {
        sd_bus_message_open_container(reply, 'r', "isssssssssssasasas");
        sd_bus_message_append_basic(reply, 'i', &detail.resource_count);
        for (const std::string& text : detail.texts)
            sd_bus_message_append_basic(reply, 's', text.c_str());
        for (const auto& list : detail.lists) {
            sd_bus_message_open_container(reply, 'a', "s");
            for (const std::string& text : list)
                sd_bus_message_append_basic(reply, 's', text.c_str());
            sd_bus_message_close_container(reply);
        }
        sd_bus_message_close_container(reply);
    }
    sd_bus_message_close_container(reply);
    const int result = sd_bus_send(nullptr, reply, nullptr);
    sd_bus_message_unref(reply);
    return result;
}

int answer_flood(sd_bus_message* call, void*, sd_bus_error*)
{
    int count = 0;
    check(sd_bus_message_read(call, "i", &count), "the number of signals");
    check(sd_bus_reply_method_return(call, ""), "an answer");
    sd_bus* const bus = sd_bus_message_get_bus(call);
    const auto& [kind, title, body] = bench::notification();
    constexpr int in_flight = 64;
    for (int i = 0; i < count; ++i) {
        check(sd_bus_emit_signal(bus, path, interface, "Notified", "sss", kind.c_str(), title.c_str(),
                                 body.c_str()),
              "a signal");
        // What does not fit into the socket is queued without an end otherwise.
        if (i % in_flight == 0)
            check(sd_bus_flush(bus), "flushing");
    }
    return sd_bus_flush(bus);
}

// What a bus answers to those who greet it.

int answer_hello(sd_bus_message* call, void*, sd_bus_error*)
{
    return sd_bus_reply_method_return(call, "s", ":1.1");
}

int answer_match(sd_bus_message* call, void*, sd_bus_error*)
{
    return sd_bus_reply_method_return(call, "");
}

const sd_bus_vtable bus_methods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Hello", "", "s", answer_hello, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("AddMatch", "s", "", answer_match, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("RemoveMatch", "s", "", answer_match, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

const sd_bus_vtable methods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Small", "", "s", answer_small, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Large", "sss", "s", answer_large, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Details", "", "a(isssssssssssasasas)", answer_details, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Flood", "i", "", answer_flood, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL("Notified", "sss", 0),
    SD_BUS_VTABLE_END,
};

void serve_one(int connected)
{
    sd_bus* bus = nullptr;
    sd_id128_t id{};
    sd_id128_randomize(&id);
    check(sd_bus_new(&bus), "a bus");
    check(sd_bus_set_fd(bus, connected, connected), "its socket");
    check(sd_bus_set_server(bus, 1, id), "serving");
    check(sd_bus_add_object_vtable(bus, nullptr, path, interface, methods, nullptr), "the methods");
    check(sd_bus_add_object_vtable(bus, nullptr, "/org/freedesktop/DBus", "org.freedesktop.DBus", bus_methods,
                                   nullptr),
          "the bus's methods");
    check(sd_bus_set_sender(bus, "bench.Agent"), "its name");
    check(sd_bus_start(bus), "starting");
    for (;;) {
        const int done = sd_bus_process(bus, nullptr);
        if (done < 0 || (done == 0 && sd_bus_wait(bus, patience) < 0))
            return;
    }
}

class Bus : public bench::Client {
public:
    explicit Bus(const std::string& address)
    {
        check(sd_bus_new(&bus_), "a bus");
        check(sd_bus_set_address(bus_, ("unix:path=" + address).c_str()), "its address");
        check(sd_bus_start(bus_), "starting");
        const auto on_notified = [](sd_bus_message* signal, void* self, sd_bus_error*) {
            const char* texts[3] = {};
            check(sd_bus_message_read(signal, "sss", &texts[0], &texts[1], &texts[2]), "a signal");
            ++static_cast<Bus*>(self)->heard_;
            return 0;
        };
        check(sd_bus_match_signal(bus_, nullptr, nullptr, path, interface, "Notified", on_notified, this),
              "listening");
    }
    ~Bus() override { sd_bus_flush_close_unref(bus_); }

    void ask_small() override
    {
        const std::lock_guard lock{mutex_};
        std::free(text_of(ask("Small")));
    }
    void ask_large() override
    {
        const auto& [device, component, capability] = bench::question();
        sd_bus_message* call = begin("Large");
        check(sd_bus_message_append(call, "sss", device.c_str(), component.c_str(), capability.c_str()),
              "the question");
        std::free(text_of(finish(call)));
    }
    void ask_details() override
    {
        sd_bus_message* const reply = ask("Details");
        bench::HeldDetails held{bench::detail_count};
        check(sd_bus_message_enter_container(reply, 'a', "(isssssssssssasasas)"), "the list");
        while (check(sd_bus_message_enter_container(reply, 'r', "isssssssssssasasas"), "a detail") > 0) {
            int count = 0;
            const char* text = nullptr;
            sd_bus_message_read_basic(reply, 'i', &count);
            held.begin(count);
            for (std::size_t i = 0; i < bench::text_count; ++i) {
                sd_bus_message_read_basic(reply, 's', &text);
                held.add_text(text);
            }
            for (std::size_t list = 0; list < bench::list_count; ++list) {
                sd_bus_message_enter_container(reply, 'a', "s");
                while (sd_bus_message_read_basic(reply, 's', &text) > 0)
                    held.add_to_list(list, text);
                sd_bus_message_exit_container(reply);
            }
            sd_bus_message_exit_container(reply);
        }
        if (!held.complete())
            bench::give_up("sd-bus: the details are not complete");
        sd_bus_message_unref(reply);
    }
    void hear(int callbacks) override
    {
        heard_ = 0;
        sd_bus_message* call = begin("Flood");
        check(sd_bus_message_append(call, "i", callbacks), "the number of signals");
        sd_bus_message_unref(finish(call));
        const unsigned watch = g_unix_fd_add(
            sd_bus_get_fd(bus_), G_IO_IN,
            [](int, GIOCondition, void* self) -> gboolean {
                static_cast<Bus*>(self)->process();
                return G_SOURCE_CONTINUE;
            },
            this);
        // Signals may have come with the answer.
        process();
        while (heard_ < callbacks)
            g_main_context_iteration(nullptr, TRUE);
        g_source_remove(watch);
    }

private:
    void process()
    {
        while (check(sd_bus_process(bus_, nullptr), "a signal") > 0) {
        }
    }
    sd_bus_message* begin(const char* method)
    {
        sd_bus_message* call = nullptr;
        check(sd_bus_message_new_method_call(bus_, &call, nullptr, path, interface, method), "a call");
        return call;
    }
    sd_bus_message* finish(sd_bus_message* call)
    {
        sd_bus_message* reply = nullptr;
        check(sd_bus_call(bus_, call, patience, nullptr, &reply), "a call");
        sd_bus_message_unref(call);
        return reply;
    }
    sd_bus_message* ask(const char* method) { return finish(begin(method)); }
    static char* text_of(sd_bus_message* reply)
    {
        const char* text = nullptr;
        check(sd_bus_message_read(reply, "s", &text), "an answer");
        char* const copy = strdup(text);
        sd_bus_message_unref(reply);
        return copy;
    }

    sd_bus* bus_ = nullptr;
    // A connection is not for several threads at once.
    std::mutex mutex_;
    int heard_ = 0;
};

}  // namespace

int main(int argc, char** argv)
{
    return bench::run(
        argc, argv, [](const std::string& address) { return bench::serve_each(address, serve_one); },
        [](const std::string& address) { return std::make_unique<Bus>(address); });
}
