// GDBus, peer to peer.
#include <gio/gio.h>

#include "program.hpp"
#include "workload.hpp"

namespace {

constexpr auto path = "/bench";
constexpr auto interface = "bench.Agent";
constexpr auto details_type = "a(isssssssssssasasas)";
constexpr int patience = 60'000;
constexpr auto description =
    "<node><interface name='bench.Agent'>"
    "<method name='Small'><arg type='s' direction='out'/></method>"
    "<method name='Large'><arg type='s' direction='in'/><arg type='s' direction='in'/>"
    "<arg type='s' direction='in'/><arg type='s' direction='out'/></method>"
    "<method name='Details'><arg type='a(isssssssssssasasas)' direction='out'/></method>"
    "<method name='Flood'><arg type='i' direction='in'/></method>"
    "<signal name='Notified'><arg type='s'/><arg type='s'/><arg type='s'/></signal>"
    "</interface></node>";

void need(bool condition, const char* what)
{
    if (!condition)
        bench::give_up(std::string{"GDBus: "} + what);
}

GVariant* details()
{
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE(details_type));
    for (const bench::Detail& detail : bench::details()) {
        g_variant_builder_open(&list, G_VARIANT_TYPE("(isssssssssssasasas)"));
        g_variant_builder_add(&list, "i", detail.resource_count);
        for (const std::string& text : detail.texts)
            g_variant_builder_add(&list, "s", text.c_str());
        for (const auto& texts : detail.lists) {
            g_variant_builder_open(&list, G_VARIANT_TYPE("as"));
            for (const std::string& text : texts)
                g_variant_builder_add(&list, "s", text.c_str());
            g_variant_builder_close(&list);
        }
        g_variant_builder_close(&list);
    }
    return g_variant_builder_end(&list);
}

void flood(GDBusConnection* connection, int count)
{
    const auto& [kind, title, body] = bench::notification();
    for (int i = 0; i < count; ++i) {
        g_dbus_connection_emit_signal(connection, nullptr, path, interface, "Notified",
                                      g_variant_new("(sss)", kind.c_str(), title.c_str(), body.c_str()),
                                      nullptr);
        // What does not fit into the socket is queued without an end otherwise.
        constexpr int in_flight = 64;
        if (i % in_flight == 0)
            g_dbus_connection_flush_sync(connection, nullptr, nullptr);
    }
}

void serve_call(GDBusConnection* connection, const char*, const char*, const char*, const char* method,
                GVariant* parameters, GDBusMethodInvocation* call, void*)
{
    const std::string name = method;
    if (name == "Small") {
        g_dbus_method_invocation_return_value(call, g_variant_new("(s)", bench::signed_in));
    } else if (name == "Large") {
        const char* texts[3] = {};
        g_variant_get(parameters, "(&s&s&s)", &texts[0], &texts[1], &texts[2]);
        g_dbus_method_invocation_return_value(call, g_variant_new("(s)", bench::status().c_str()));
    } else if (name == "Details") {
        GVariant* const list = details();
        g_dbus_method_invocation_return_value(call, g_variant_new_tuple(&list, 1));
    } else {
        int count = 0;
        g_variant_get(parameters, "(i)", &count);
        g_dbus_method_invocation_return_value(call, nullptr);
        flood(connection, count);
    }
}

int serve(const std::string& address)
{
    char* const guid = g_dbus_generate_guid();
    GDBusServer* const server = g_dbus_server_new_sync(
        ("unix:path=" + address).c_str(), G_DBUS_SERVER_FLAGS_NONE, guid, nullptr, nullptr, nullptr);
    need(server != nullptr, "listening");
    static GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(description, nullptr);
    const auto on_connection = +[](GDBusServer*, GDBusConnection* connection, void*) -> gboolean {
        static const GDBusInterfaceVTable table{serve_call, nullptr, nullptr, {}};
        g_object_ref(connection);
        g_dbus_connection_register_object(connection, path, node->interfaces[0], &table, nullptr, nullptr,
                                          nullptr);
        return TRUE;
    };
    g_signal_connect(server, "new-connection", G_CALLBACK(on_connection), nullptr);
    g_dbus_server_start(server);
    bench::say_ready();
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
    return 0;
}

class Bus : public bench::Client {
public:
    explicit Bus(const std::string& address)
        : connection_{g_dbus_connection_new_for_address_sync(("unix:path=" + address).c_str(),
                                                             G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT,
                                                             nullptr, nullptr, nullptr)}
    {
        need(connection_ != nullptr, "connecting");
        g_dbus_connection_signal_subscribe(
            connection_, nullptr, interface, "Notified", path, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
            [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters,
               void* self) {
                const char* texts[3] = {};
                g_variant_get(parameters, "(&s&s&s)", &texts[0], &texts[1], &texts[2]);
                ++static_cast<Bus*>(self)->heard_;
            },
            this, nullptr);
    }
    ~Bus() override { g_object_unref(connection_); }

    void ask_small() override { g_free(text_of(ask("Small", nullptr, "(s)"))); }
    void ask_large() override
    {
        const auto& [device, component, capability] = bench::question();
        g_free(text_of(ask(
            "Large", g_variant_new("(sss)", device.c_str(), component.c_str(), capability.c_str()), "(s)")));
    }
    void ask_details() override
    {
        GVariant* const reply = ask("Details", nullptr, "(a(isssssssssssasasas))");
        bench::HeldDetails held{bench::detail_count};
        GVariant* const list = g_variant_get_child_value(reply, 0);
        GVariantIter details;
        g_variant_iter_init(&details, list);
        while (GVariant* const one = g_variant_iter_next_value(&details)) {
            GVariantIter fields;
            g_variant_iter_init(&fields, one);
            int count = 0;
            const char* text = nullptr;
            g_variant_iter_next(&fields, "i", &count);
            held.begin(count);
            for (std::size_t i = 0; i < bench::text_count; ++i) {
                g_variant_iter_next(&fields, "&s", &text);
                held.add_text(text);
            }
            for (std::size_t i = 0; i < bench::list_count; ++i) {
                GVariantIter* texts = nullptr;
                g_variant_iter_next(&fields, "as", &texts);
                while (g_variant_iter_next(texts, "&s", &text))
                    held.add_to_list(i, text);
                g_variant_iter_free(texts);
            }
            g_variant_unref(one);
        }
        need(held.complete(), "the details are not complete");
        g_variant_unref(list);
        g_variant_unref(reply);
    }
    void hear(int callbacks) override
    {
        heard_ = 0;
        g_variant_unref(ask("Flood", g_variant_new("(i)", callbacks), "()"));
        while (heard_ < callbacks)
            g_main_context_iteration(nullptr, TRUE);
    }

private:
    GVariant* ask(const char* method, GVariant* parameters, const char* type)
    {
        GVariant* const reply = g_dbus_connection_call_sync(
            connection_, nullptr, path, interface, method, parameters, G_VARIANT_TYPE(type),
            G_DBUS_CALL_FLAGS_NONE, patience, nullptr, nullptr);
        need(reply != nullptr, "a call");
        return reply;
    }
    static char* text_of(GVariant* reply)
    {
        char* text = nullptr;
        g_variant_get(reply, "(s)", &text);
        g_variant_unref(reply);
        return text;
    }

    GDBusConnection* connection_;
    int heard_ = 0;
};

}  // namespace

int main(int argc, char** argv)
{
    return bench::run(argc, argv, serve,
                      [](const std::string& address) { return std::make_unique<Bus>(address); });
}
