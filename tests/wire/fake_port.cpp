#include "fake_port.hpp"

#include <package_info.h>

#include <cstring>
#include <new>
#include <utility>

namespace wire {

template <typename Callback>
struct Listener {
    Callback callback = nullptr;
    void* data = nullptr;

    template <typename... Arguments>
    void tell(Arguments... arguments) const
    {
        if (callback != nullptr)
            callback("agent", "qv_client", arguments..., data);
    }
};

struct FakePort::Proxy {
    Listener<rpc_port_proxy_connected_event_cb> connected;
    Listener<rpc_port_proxy_disconnected_event_cb> disconnected;
    Listener<rpc_port_proxy_rejected_event_cb> rejected;
    Listener<rpc_port_proxy_received_event_cb> received;
};

namespace {

// Only their addresses count.
char main_port;
char callback_port;

FakePort::Proxy& proxy_of(rpc_port_proxy_h h)
{
    return *static_cast<FakePort::Proxy*>(h);
}

}  // namespace

FakePort& FakePort::instance()
{
    static FakePort port;
    return port;
}

// A copy each: what an event is told may destroy the proxy.

void FakePort::tell_connected()
{
    if (current != nullptr)
        Listener{current->connected}.tell(static_cast<rpc_port_h>(&main_port));
}

void FakePort::tell_disconnected()
{
    if (current != nullptr)
        Listener{current->disconnected}.tell();
}

void FakePort::tell_rejected()
{
    if (current != nullptr)
        Listener{current->rejected}.tell();
}

void FakePort::tell_received(std::string_view payload)
{
    if (current == nullptr)
        return;
    callbacks.emplace_back(payload);
    Listener{current->received}.tell();
    callbacks.clear();
}

void FakePort::reset()
{
    answers.clear();
    callbacks.clear();
    on_send = nullptr;
    connect_result = 0;
    version = "99.0.0";
}

}  // namespace wire

using wire::FakePort;

// The linker's names for the functions that stand in for others.
extern "C" {

int __wrap_rpc_port_proxy_create(rpc_port_proxy_h* h)
{
    auto* const made = new FakePort::Proxy;
    FakePort::instance().current = made;
    *h = made;
    return 0;
}

int __wrap_rpc_port_proxy_destroy(rpc_port_proxy_h h)
{
    FakePort& port = FakePort::instance();
    if (port.current == h) {
        port.current = nullptr;
        port.answers.clear();
    }
    delete &wire::proxy_of(h);
    return 0;
}

int __wrap_rpc_port_proxy_connect(rpc_port_proxy_h, const char*, const char*)
{
    return FakePort::instance().connect_result;
}

#define ADD_LISTENER(event)                                                                            \
    int __wrap_rpc_port_proxy_add_##event##_event_cb(rpc_port_proxy_h h,                               \
                                                     rpc_port_proxy_##event##_event_cb cb, void* data) \
    {                                                                                                  \
        wire::proxy_of(h).event = {cb, data};                                                          \
        return 0;                                                                                      \
    }
ADD_LISTENER(connected)
ADD_LISTENER(disconnected)
ADD_LISTENER(rejected)
ADD_LISTENER(received)
#undef ADD_LISTENER

int __wrap_rpc_port_proxy_get_port(rpc_port_proxy_h, rpc_port_port_type_e type, rpc_port_h* port)
{
    *port = type == RPC_PORT_PORT_MAIN ? &wire::main_port : &wire::callback_port;
    return 0;
}

int __wrap_rpc_port_parcel_create_from_port(rpc_port_parcel_h* h, rpc_port_h from)
{
    FakePort& port = FakePort::instance();
    const bool is_answer = from == &wire::main_port;
    std::deque<std::string>& waiting = is_answer ? port.answers : port.callbacks;
    *h = nullptr;
    if (waiting.empty())
        return RPC_PORT_ERROR_IO_ERROR;
    int result = 0;
    try {
        *h = wire::parcel_of(waiting.front(), is_answer);
    } catch (const std::bad_alloc&) {
        result = RPC_PORT_ERROR_OUT_OF_MEMORY;
    }
    // Nothing of it stays here, for those who look for secrets that stayed somewhere.
    explicit_bzero(waiting.front().data(), waiting.front().size());
    waiting.pop_front();
    return result;
}

int __wrap_rpc_port_parcel_send(rpc_port_parcel_h h, rpc_port_h)
{
    FakePort& port = FakePort::instance();
    return port.on_send ? port.on_send(wire::payload_of(h)) : 0;
}

int __wrap_package_info_create(const char*, package_info_h* info)
{
    static char package;
    if (FakePort::instance().version.empty())
        return PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE;
    *info = &package;
    return PACKAGE_MANAGER_ERROR_NONE;
}

int __wrap_package_info_get_version(package_info_h, char** version)
{
    *version = strdup(FakePort::instance().version.c_str());
    return *version != nullptr ? PACKAGE_MANAGER_ERROR_NONE : RPC_PORT_ERROR_OUT_OF_MEMORY;
}

int __wrap_package_info_destroy(package_info_h)
{
    return PACKAGE_MANAGER_ERROR_NONE;
}

}  // extern "C"
