#pragma once

#include <quorvel_client_proxy.h>

#include <type_traits>

#include "internal/call_guard.hpp"
#include "internal/call_site.hpp"
#include "proxy/connection.hpp"
#include "proxy/delegates.hpp"
#include "proxy/records.hpp"

/// The call frame: one remote method call, from its arguments to its answer. The generated routines name the
/// method's number and its parameters; all the rest stands here.
namespace quorvel::proxy {

// A parameter writes itself into the request, or reads itself from the answer.

template <typename Value>
struct In {
    Value value;

    bool missing() const
    {
        if constexpr (std::is_pointer_v<Value> && !is_text)
            return value == nullptr;
        return false;
    }
    void offer(void*&) const {}
    void write(rpc_port_parcel_h parcel) const
    {
        if constexpr (is_text)
            rpc_port_parcel_write_string(parcel, value != nullptr ? value : "");
        else if constexpr (std::is_same_v<Value, int>)
            rpc_port_parcel_write_int32(parcel, value);
        else if constexpr (std::is_same_v<Value, bool>)
            rpc_port_parcel_write_bool(parcel, value);
        else
            rpc_port_parcel_write(parcel, &value->parcelable, value);
    }
    bool read(rpc_port_parcel_h) const { return true; }

private:
    static constexpr bool is_text = std::is_same_v<Value, const char*>;
};

/// A delegate is written like a record, and registered before the request is sent. A method has one at most.
template <typename Handle>
struct InDelegate : In<Handle> {
    void offer(void*& delegate) const { delegate = this->value; }
};

template <typename Value>
struct Out {
    Value* target;
    CallSite at;

    bool missing() const { return target == nullptr; }
    void offer(void*&) const {}
    void write(rpc_port_parcel_h) const {}
    /// False when there is no memory for what is to be read.
    bool read(rpc_port_parcel_h parcel) const
    {
        if constexpr (std::is_same_v<Value, char*>)
            rpc_port_parcel_read_string(parcel, target);
        else if constexpr (std::is_same_v<Value, int>)
            rpc_port_parcel_read_int32(parcel, target);
        else if constexpr (std::is_same_v<Value, bool>)
            rpc_port_parcel_read_bool(parcel, target);
        else {
            Value made = nullptr;
            if (create_record(TypeOf<Value>::type, &made, at) != 0)
                return false;
            // What there is of it is handed out in any case, and released with the rest of a failed answer.
            *target = made;
            return read_whole(parcel, made->parcelable, made);
        }
        return true;
    }
};

template <typename Value>
In<Value> in(Value value)
{
    return {value};
}

template <typename Handle>
InDelegate<Handle> in_delegate(Handle value)
{
    return {{value}};
}

template <typename Value>
Out<Value> out(Value* target, CallSite at = CallSite::here())
{
    return {target, at};
}

/// What all calls share, whatever their parameters are: request, turn, answer and transport status.
class Exchange {
public:
    Exchange(Proxy& proxy, rpc_port_h port, const CallSite& at) : proxy_{proxy}, port_{port}, at_{at} {}
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;

    /// A new request of that method; nullptr if the port makes none.
    rpc_port_parcel_h open(int method);
    /// Registers the delegate, sends the request and destroys it. False when it was not even tried.
    bool send(rpc_port_parcel_h request, void* delegate);
    /// Waits for the answer and leaves it to be read, or tells why there is none.
    rpc_port_parcel_h receive();
    /// Ends the exchange after the answer has been read.
    void close(rpc_port_parcel_h answer);

private:
    rpc_port_parcel_h next_result();

    Proxy& proxy_;
    rpc_port_h port_;
    const CallSite& at_;
    TurnQueue::Ticket ticket_;
    bool is_sent_ = false;
    int status_ = 0;
};

class Call {
public:
    Call(rpc_port_proxy_qv_client_h proxy, int method, CallSite at = CallSite::here())
        : proxy_{proxy}, method_{method}, at_{at}
    {
    }

    /// The method's return value, or -1 without an answer.
    template <typename... Parameters>
    int operator()(Parameters... parameters) const
    {
        int result = -1;
        run([&result](rpc_port_parcel_h answer) { rpc_port_parcel_read_int32(answer, &result); },
            parameters...);
        return result;
    }

    /// The same for a method that answers with a truth; false without an answer.
    template <typename... Parameters>
    bool flag(Parameters... parameters) const
    {
        bool result = false;
        run([&result](rpc_port_parcel_h answer) { rpc_port_parcel_read_bool(answer, &result); },
            parameters...);
        return result;
    }

private:
    template <typename ReadResult, typename... Parameters>
    void run(ReadResult read_result, const Parameters&... parameters) const
    {
        if (proxy_ == nullptr || (... || parameters.missing())) {
            refuse("%s: %s(%d) > Invalid parameter");
            return;
        }
        // Counted in before the port is looked at: a disconnect elsewhere frees nothing that is in use here.
        const CallGuard guard;
        Proxy& proxy = proxy_of(proxy_);
        const rpc_port_h port = proxy.main_port();
        if (port == nullptr) {
            refuse("%s: %s(%d) > Not connected");
            return;
        }

        Exchange exchange{proxy, port, at_};
        const rpc_port_parcel_h request = exchange.open(method_);
        if (request == nullptr)
            return;
        void* delegate = nullptr;
        (..., (parameters.write(request), parameters.offer(delegate)));
        if (!exchange.send(request, delegate))
            return;
        const rpc_port_parcel_h answer = exchange.receive();
        // A value that could not be taken in leaves the rest unread: the result then stays the one of no
        // answer.
        if (answer != nullptr && (... && parameters.read(answer)))
            read_result(answer);
        exchange.close(answer);
    }

    void refuse(const char* format) const;

    rpc_port_proxy_qv_client_h proxy_;
    int method_;
    CallSite at_;
};

}  // namespace quorvel::proxy
