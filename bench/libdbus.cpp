// libdbus, peer to peer.
#include <dbus/dbus.h>
#include <glib-unix.h>
#include <glib.h>

#include <array>

#include "program.hpp"
#include "workload.hpp"

namespace {

constexpr auto path = "/bench";
constexpr auto interface = "bench.Agent";
constexpr int patience = 60'000;
constexpr auto detail_signature = "(isssssssssssasasas)";

struct Error : DBusError {
    Error() { dbus_error_init(this); }
    ~Error() { dbus_error_free(this); }
    Error(const Error&) = delete;
    Error& operator=(const Error&) = delete;
};

void need(bool condition, const char* what)
{
    if (!condition)
        bench::give_up(std::string{"libdbus: "} + what);
}

void append_text(DBusMessageIter& to, const std::string& text)
{
    const char* const bytes = text.c_str();
    dbus_message_iter_append_basic(&to, DBUS_TYPE_STRING, &bytes);
}

void append_details(DBusMessage* reply)
{
    DBusMessageIter all;
    DBusMessageIter list;
    dbus_message_iter_init_append(reply, &all);
    dbus_message_iter_open_container(&all, DBUS_TYPE_ARRAY, detail_signature, &list);
    for (const bench::Detail& detail : bench::details()) {
        DBusMessageIter one;
        dbus_message_iter_open_container(&list, DBUS_TYPE_STRUCT, nullptr, &one);
        dbus_message_iter_append_basic(&one, DBUS_TYPE_INT32, &detail.resource_count);
        for (const std::string& text : detail.texts)
            append_text(one, text);
        for (const auto& texts : detail.lists) {
            DBusMessageIter elements;
            dbus_message_iter_open_container(&one, DBUS_TYPE_ARRAY, "s", &elements);
            for (const std::string& text : texts)
                append_text(elements, text);
            dbus_message_iter_close_container(&one, &elements);
        }
        dbus_message_iter_close_container(&list, &one);
    }
    dbus_message_iter_close_container(&all, &list);
}

void flood(DBusConnection* connection, DBusMessage* call)
{
    int count = 0;
    dbus_message_get_args(call, nullptr, DBUS_TYPE_INT32, &count, DBUS_TYPE_INVALID);
    DBusMessage* const reply = dbus_message_new_method_return(call);
    dbus_connection_send(connection, reply, nullptr);
    dbus_message_unref(reply);
    const auto& [kind, title, body] = bench::notification();
    const std::array<const char*, 3> texts{kind.c_str(), title.c_str(), body.c_str()};
    for (int i = 0; i < count; ++i) {
        DBusMessage* const signal = dbus_message_new_signal(path, interface, "Notified");
        dbus_message_append_args(signal, DBUS_TYPE_STRING, &texts[0], DBUS_TYPE_STRING, &texts[1],
                                 DBUS_TYPE_STRING, &texts[2], DBUS_TYPE_INVALID);
        dbus_connection_send(connection, signal, nullptr);
        dbus_message_unref(signal);
        constexpr int in_flight = 64;
        if (i % in_flight == 0)
            dbus_connection_flush(connection);
    }
    dbus_connection_flush(connection);
}

DBusHandlerResult serve_call(DBusConnection* connection, DBusMessage* call, void*)
{
    if (dbus_message_is_method_call(call, interface, "Flood")) {
        flood(connection, call);
        return DBUS_HANDLER_RESULT_HANDLED;
    }
    DBusMessage* const reply = dbus_message_new_method_return(call);
    if (dbus_message_is_method_call(call, interface, "Small")) {
        const char* answer = bench::signed_in;
        dbus_message_append_args(reply, DBUS_TYPE_STRING, &answer, DBUS_TYPE_INVALID);
    } else if (dbus_message_is_method_call(call, interface, "Large")) {
        std::array<const char*, 3> texts{};
        need(dbus_message_get_args(call, nullptr, DBUS_TYPE_STRING, &texts[0], DBUS_TYPE_STRING, &texts[1],
                                   DBUS_TYPE_STRING, &texts[2], DBUS_TYPE_INVALID)
                 != 0,
             "the question");
        const char* answer = bench::status().c_str();
        dbus_message_append_args(reply, DBUS_TYPE_STRING, &answer, DBUS_TYPE_INVALID);
    } else {
        append_details(reply);
    }
    dbus_connection_send(connection, reply, nullptr);
    dbus_message_unref(reply);
    return DBUS_HANDLER_RESULT_HANDLED;
}

/// The server's main loop: libdbus says which descriptors it wants watched.
dbus_bool_t add_watch(DBusWatch* watch, void*)
{
    const unsigned flags = dbus_watch_get_flags(watch);
    auto condition = static_cast<GIOCondition>(G_IO_HUP | G_IO_ERR);
    if ((flags & DBUS_WATCH_READABLE) != 0)
        condition = static_cast<GIOCondition>(condition | G_IO_IN);
    if ((flags & DBUS_WATCH_WRITABLE) != 0)
        condition = static_cast<GIOCondition>(condition | G_IO_OUT);
    if (dbus_watch_get_enabled(watch) == 0)
        return TRUE;
    const unsigned source = g_unix_fd_add(
        dbus_watch_get_unix_fd(watch), condition,
        [](int, GIOCondition ready, void* data) -> gboolean {
            unsigned seen = 0;
            if ((ready & G_IO_IN) != 0)
                seen |= DBUS_WATCH_READABLE;
            if ((ready & G_IO_OUT) != 0)
                seen |= DBUS_WATCH_WRITABLE;
            if ((ready & G_IO_HUP) != 0)
                seen |= DBUS_WATCH_HANGUP;
            dbus_watch_handle(static_cast<DBusWatch*>(data), seen);
            return G_SOURCE_CONTINUE;
        },
        watch);
    dbus_watch_set_data(watch, GUINT_TO_POINTER(source), nullptr);
    return TRUE;
}

void remove_watch(DBusWatch* watch, void*)
{
    if (const unsigned source = GPOINTER_TO_UINT(dbus_watch_get_data(watch)); source != 0)
        g_source_remove(source);
    dbus_watch_set_data(watch, nullptr, nullptr);
}

void toggle_watch(DBusWatch* watch, void* data)
{
    remove_watch(watch, data);
    add_watch(watch, data);
}

int serve(const std::string& address)
{
    Error error;
    DBusServer* const server = dbus_server_listen(("unix:path=" + address).c_str(), &error);
    need(server != nullptr, "listening");
    dbus_server_set_watch_functions(server, add_watch, remove_watch, toggle_watch, nullptr, nullptr);
    dbus_server_set_new_connection_function(
        server,
        [](DBusServer*, DBusConnection* connection, void*) {
            static const DBusObjectPathVTable table{nullptr, serve_call, nullptr, nullptr, nullptr, nullptr};
            dbus_connection_ref(connection);
            dbus_connection_set_exit_on_disconnect(connection, FALSE);
            dbus_connection_register_object_path(connection, path, &table, nullptr);
            dbus_connection_set_watch_functions(connection, add_watch, remove_watch, toggle_watch, nullptr,
                                                nullptr);
            dbus_connection_set_dispatch_status_function(
                connection,
                [](DBusConnection* ready, DBusDispatchStatus status, void*) {
                    if (status == DBUS_DISPATCH_DATA_REMAINS)
                        g_idle_add_full(
                            G_PRIORITY_DEFAULT,
                            [](void* data) -> gboolean {
                                while (dbus_connection_dispatch(static_cast<DBusConnection*>(data))
                                       == DBUS_DISPATCH_DATA_REMAINS) {
                                }
                                return G_SOURCE_REMOVE;
                            },
                            ready, nullptr);
                },
                nullptr, nullptr);
        },
        nullptr, nullptr);
    bench::say_ready();
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
    return 0;
}

const char* next_text(DBusMessageIter& from)
{
    const char* text = nullptr;
    dbus_message_iter_get_basic(&from, &text);
    dbus_message_iter_next(&from);
    return text;
}

class Bus : public bench::Client {
public:
    explicit Bus(const std::string& address)
    {
        dbus_threads_init_default();
        Error error;
        connection_ = dbus_connection_open_private(("unix:path=" + address).c_str(), &error);
        need(connection_ != nullptr, "connecting");
        dbus_connection_set_exit_on_disconnect(connection_, FALSE);
        dbus_connection_add_filter(
            connection_,
            [](DBusConnection*, DBusMessage* signal, void* self) {
                std::array<const char*, 3> texts{};
                if (!dbus_message_is_signal(signal, interface, "Notified"))
                    return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
                need(dbus_message_get_args(signal, nullptr, DBUS_TYPE_STRING, &texts[0], DBUS_TYPE_STRING,
                                           &texts[1], DBUS_TYPE_STRING, &texts[2], DBUS_TYPE_INVALID)
                         != 0,
                     "a signal");
                ++static_cast<Bus*>(self)->heard_;
                return DBUS_HANDLER_RESULT_HANDLED;
            },
            this, nullptr);
    }
    ~Bus() override
    {
        dbus_connection_close(connection_);
        dbus_connection_unref(connection_);
    }

    void ask_small() override { std::free(text_of(finish(begin("Small")))); }
    void ask_large() override
    {
        const auto& [device, component, capability] = bench::question();
        const std::array<const char*, 3> texts{device.c_str(), component.c_str(), capability.c_str()};
        DBusMessage* const call = begin("Large");
        dbus_message_append_args(call, DBUS_TYPE_STRING, &texts[0], DBUS_TYPE_STRING, &texts[1],
                                 DBUS_TYPE_STRING, &texts[2], DBUS_TYPE_INVALID);
        std::free(text_of(finish(call)));
    }
    void ask_details() override
    {
        DBusMessage* const reply = finish(begin("Details"));
        bench::HeldDetails held{bench::detail_count};
        DBusMessageIter all;
        DBusMessageIter list;
        dbus_message_iter_init(reply, &all);
        dbus_message_iter_recurse(&all, &list);
        for (; dbus_message_iter_get_arg_type(&list) == DBUS_TYPE_STRUCT; dbus_message_iter_next(&list)) {
            DBusMessageIter one;
            int count = 0;
            dbus_message_iter_recurse(&list, &one);
            dbus_message_iter_get_basic(&one, &count);
            dbus_message_iter_next(&one);
            held.begin(count);
            for (std::size_t i = 0; i < bench::text_count; ++i)
                held.add_text(next_text(one));
            for (std::size_t i = 0; i < bench::list_count; ++i, dbus_message_iter_next(&one)) {
                DBusMessageIter elements;
                dbus_message_iter_recurse(&one, &elements);
                while (dbus_message_iter_get_arg_type(&elements) == DBUS_TYPE_STRING)
                    held.add_to_list(i, next_text(elements));
            }
        }
        need(held.complete(), "the details are not complete");
        dbus_message_unref(reply);
    }
    void hear(int callbacks) override
    {
        heard_ = 0;
        DBusMessage* const call = begin("Flood");
        dbus_message_append_args(call, DBUS_TYPE_INT32, &callbacks, DBUS_TYPE_INVALID);
        dbus_message_unref(finish(call));
        int socket = -1;
        dbus_connection_get_unix_fd(connection_, &socket);
        const unsigned watch = g_unix_fd_add(
            socket, G_IO_IN,
            [](int, GIOCondition, void* self) -> gboolean {
                dbus_connection_read_write(static_cast<Bus*>(self)->connection_, 0);
                static_cast<Bus*>(self)->process();
                return G_SOURCE_CONTINUE;
            },
            this);
        process();
        while (heard_ < callbacks)
            g_main_context_iteration(nullptr, TRUE);
        g_source_remove(watch);
    }

private:
    void process()
    {
        while (dbus_connection_dispatch(connection_) == DBUS_DISPATCH_DATA_REMAINS) {
        }
    }
    static DBusMessage* begin(const char* method)
    {
        return dbus_message_new_method_call(nullptr, path, interface, method);
    }
    DBusMessage* finish(DBusMessage* call)
    {
        Error error;
        DBusMessage* const reply =
            dbus_connection_send_with_reply_and_block(connection_, call, patience, &error);
        need(reply != nullptr, "a call");
        dbus_message_unref(call);
        return reply;
    }
    static char* text_of(DBusMessage* reply)
    {
        const char* text = nullptr;
        need(dbus_message_get_args(reply, nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID) != 0,
             "an answer");
        char* const copy = strdup(text);
        dbus_message_unref(reply);
        return copy;
    }

    DBusConnection* connection_ = nullptr;
    int heard_ = 0;
};

}  // namespace

int main(int argc, char** argv)
{
    return bench::run(argc, argv, serve,
                      [](const std::string& address) { return std::make_unique<Bus>(address); });
}
