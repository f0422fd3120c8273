#include "interface.hpp"

#include <cstdlib>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "examine.hpp"

namespace wire {

using namespace quorvel::proxy;
using Proxy = rpc_port_proxy_qv_client_h;

std::function<void(void* user_data)> on_call;
std::function<void()> on_answered;

namespace {

// Delegates.

template <typename Value>
void look_at(Value value)
{
    if constexpr (std::is_same_v<Value, const char*>)
        examine(value);
    else if constexpr (std::is_pointer_v<Value>) {
        if (value != nullptr)
            examine(TypeOf<Value>::type, value);
    }
}

template <typename Callback>
struct LooksAtAll;
template <typename... Values>
struct LooksAtAll<void (*)(void*, Values...)> {
    static void take(void* user_data, Values... values)
    {
        if (on_answered)
            on_answered();
        (..., look_at(values));
        if (on_call)
            on_call(user_data);
    }
};

template <typename Handle>
struct DelegateOf {
    static constexpr bool is_delegate = false;
};

#define DELEGATE(name)                                                                                  \
    template <>                                                                                         \
    struct DelegateOf<rpc_port_qv_client_##name##_h> {                                                  \
        using Handle = rpc_port_qv_client_##name##_h;                                                   \
        static constexpr bool is_delegate = true;                                                       \
        static Handle create(bool once, void* user_data)                                                \
        {                                                                                               \
            return rpc_port_qv_client_##name##_create(LooksAtAll<rpc_port_qv_client_##name##_cb>::take, \
                                                      once, user_data);                                 \
        }                                                                                               \
        static int destroy(void* delegate)                                                              \
        {                                                                                               \
            return rpc_port_qv_client_##name##_destroy(static_cast<Handle>(delegate));                  \
        }                                                                                               \
        static int dispose(Proxy proxy, void* delegate)                                                 \
        {                                                                                               \
            return rpc_port_proxy_qv_client_##name##_dispose(proxy, static_cast<Handle>(delegate));     \
        }                                                                                               \
        static int seq_id(const void* delegate)                                                         \
        {                                                                                               \
            return static_cast<const std::remove_pointer_t<Handle>*>(delegate)->seq_id;                 \
        }                                                                                               \
    };
#include "rows.inc"

int id_of(const DelegateKind& kind)
{
    void* const one = kind.create(false, nullptr);
    const int id = static_cast<const struct rpc_port_qv_client_sign_in_state_cb_s*>(one)->id;
    kind.destroy(one);
    return id;
}

// A method's parameters: each is made, passed, looked at and released.

template <typename Type>
struct Parameter;

template <>
struct Parameter<const char*> {
    const char* value() { return "text"; }
    void finish(Proxy) {}
};
template <>
struct Parameter<int> {
    int value() { return 7; }
    void finish(Proxy) {}
};
template <>
struct Parameter<bool> {
    bool value() { return true; }
    void finish(Proxy) {}
};
template <>
struct Parameter<int*> {
    int held = 0;
    int* value() { return &held; }
    void finish(Proxy) {}
};
template <>
struct Parameter<bool*> {
    bool held = false;
    bool* value() { return &held; }
    void finish(Proxy) {}
};
template <>
struct Parameter<char**> {
    char* held = nullptr;
    char** value() { return &held; }
    void finish(Proxy)
    {
        examine(held);
        std::free(held);
    }
};

template <typename Struct>
struct Parameter<Struct*> {
    using Handle = Struct*;
    Handle held = nullptr;

    Handle value()
    {
        if constexpr (DelegateOf<Handle>::is_delegate)
            held = DelegateOf<Handle>::create(false, nullptr);
        else
            create_record(TypeOf<Handle>::type, &held);
        return held;
    }
    void finish(Proxy proxy)
    {
        if constexpr (DelegateOf<Handle>::is_delegate) {
            // It belongs to the proxy, unless the call did not come that far.
            if (DelegateOf<Handle>::dispose(proxy, held) != 0)
                DelegateOf<Handle>::destroy(held);
        } else {
            destroy_record(TypeOf<Handle>::type, held);
        }
    }
};

template <typename Struct>
struct Parameter<Struct**> {
    using Handle = Struct*;
    Handle held = nullptr;

    Handle* value() { return &held; }
    void finish(Proxy)
    {
        if (held != nullptr) {
            examine(TypeOf<Handle>::type, held);
            destroy_record(TypeOf<Handle>::type, held);
        }
    }
};

template <auto function>
struct CallOf;
template <typename Result, typename... Types, Result (*function)(Proxy, Types...)>
struct CallOf<function> {
    static int call(Proxy proxy)
    {
        std::tuple<Parameter<Types>...> parameters;
        const auto result =
            std::apply([proxy](auto&... each) { return function(proxy, each.value()...); }, parameters);
        if (on_answered)
            on_answered();
        std::apply([proxy](auto&... each) { (..., each.finish(proxy)); }, parameters);
        return static_cast<int>(result);
    }
};

ObjectKind object_kind(const char* name, const RecordType& type)
{
    return {name, &type, nullptr};
}

ObjectKind object_kind(const char* name, const ArrayType& type)
{
    return {name, nullptr, &type};
}

const char* method_name(const char* function)
{
    return function + std::string_view{"rpc_port_proxy_qv_client_invoke_"}.size();
}

}  // namespace

std::span<const ObjectKind> objects()
{
    static const ObjectKind all[] = {
#define RECORD(name) object_kind(#name, quorvel::proxy::name),
#include "rows.inc"
    };
    return all;
}

std::span<const DelegateKind> delegates()
{
    static DelegateKind all[] = {
#define DELEGATE(name)                                                              \
    {#name,                                                                         \
     0,                                                                             \
     [](bool once, void* user_data) -> void* {                                      \
         return DelegateOf<rpc_port_qv_client_##name##_h>::create(once, user_data); \
     },                                                                             \
     DelegateOf<rpc_port_qv_client_##name##_h>::destroy,                            \
     DelegateOf<rpc_port_qv_client_##name##_h>::dispose,                            \
     DelegateOf<rpc_port_qv_client_##name##_h>::seq_id},
#include "rows.inc"
    };
    static const bool ids_known = [] {
        for (DelegateKind& kind : all)
            kind.id = id_of(kind);
        return true;
    }();
    static_cast<void>(ids_known);
    return all;
}

std::span<const Method> methods()
{
    static const Method all[] = {
#define INVOKE(function) {method_name(#function), CallOf<function>::call},
#include "rows.inc"
    };
    return all;
}

}  // namespace wire
