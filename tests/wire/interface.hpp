// The whole interface of the generated proxy as tables: its records and arrays, its delegates, and its
// methods, each with what a program does that uses it. The lists come from the proxy's header, the types from
// its functions.
#pragma once

#include <quorvel_client_proxy_types.hpp>

#include <functional>
#include <span>

namespace wire {

/// A record or an array; the other pointer is NULL.
struct ObjectKind {
    const char* name;
    const quorvel::proxy::RecordType* record;
    const quorvel::proxy::ArrayType* array;
};
std::span<const ObjectKind> objects();

/// A delegate, with a callback that looks at everything it is told, and then at `on_call`.
struct DelegateKind {
    const char* name;
    int id;
    void* (*create)(bool once, void* user_data);
    int (*destroy)(void* delegate);
    int (*dispose)(rpc_port_proxy_qv_client_h proxy, void* delegate);
    int (*seq_id)(const void* delegate);
};
std::span<const DelegateKind> delegates();
extern std::function<void(void* user_data)> on_call;

/// A method. One call of it makes the values that go in, looks at those that come out and releases all of
/// them. The answer is the method's result, a truth being 0 or 1.
struct Method {
    const char* name;
    int (*call)(rpc_port_proxy_qv_client_h proxy);
};
std::span<const Method> methods();

/// Called when all values that came are there, a method's or a delegate's, before anything looks at them.
extern std::function<void()> on_answered;

/// A proxy over the fake port, connected.
class ConnectedProxy {
public:
    ConnectedProxy();
    ~ConnectedProxy();
    ConnectedProxy(const ConnectedProxy&) = delete;
    ConnectedProxy& operator=(const ConnectedProxy&) = delete;
    operator rpc_port_proxy_qv_client_h() const { return proxy_; }

    void reconnect();

private:
    rpc_port_proxy_qv_client_h proxy_ = nullptr;
};

}  // namespace wire
