#pragma once

#include <quorvel_client_proxy_types.hpp>

#include "internal/api_call.hpp"
#include "internal/parameters.hpp"
#include "proxy/delegates.hpp"

/// Registrations: the callbacks of an application that the agent calls again and again.
namespace quorvel {

/// The one delegate of a kind that the process has registered.
///
/// A slot outlives the connection, and then names a delegate that is gone. It remembers more than an address,
/// so a later delegate that got the same one is never taken for it.
class Slot {
public:
    bool is_filled() const;
    /// Whether it is still this delegate that the slot names.
    bool holds(const void* delegate) const;
    void fill(const void* delegate);
    void empty();
    /// Disposes of the delegate that the slot names, if the proxy still has it. The slot goes on naming it.
    void dispose(rpc_port_proxy_qv_client_h proxy) const;

private:
    proxy::DelegateName name_;  // guarded by locks::clients
};

/// Makes a delegate that keeps the client for as long as it may call back with its user data.
template <typename Handle, typename Handler>
Handle new_client_delegate(const DelegateKind<Handle, Handler>& kind, Handler handler, Client& client,
                           void* user_data)
{
    const Handle delegate = kind.create(handler, false, user_data);
    if (delegate != nullptr) {
        client.hold();
        proxy::keep_for_callback(delegate, &client, Client::drop_kept);
    }
    return delegate;
}

/// The same for a delegate that calls back with the client's handle.
template <typename Handle, typename Handler>
Handle new_client_delegate(const DelegateKind<Handle, Handler>& kind, Handler handler, Client& client)
{
    return new_client_delegate(kind, handler, client, &client);
}

/// Registers a callback: a new delegate takes the place of the slot's old one (the agent is not told of
/// that), and the application's pair is stored. When the agent refuses, both stay as they are.
template <typename Handle, typename Handler, typename Callback>
class Registration {
public:
    using Pair = CallbackPair<Callback> ClientFields::*;
    /// What becomes of the delegate when the agent refuses.
    enum class Refused { stays, taken_back };

    Registration(Slot& slot, const DelegateKind<Handle, Handler>& kind, Handler handler, Pair pair,
                 Callback callback, void* user_data)
        : slot_{slot}, kind_{kind}, handler_{handler}, pair_{pair}, callback_{callback}, user_data_{user_data}
    {
    }

    /// A refusal disposes of the delegate and empties the slot; the application's pair stays.
    Registration taken_back_when_refused() &&
    {
        refused_ = Refused::taken_back;
        return std::move(*this);
    }
    /// The code when the delegate cannot be made, where it is another one.
    Registration without_memory(int code) &&
    {
        missing_delegate_code_ = code;
        return std::move(*this);
    }

    bool prepare(ApiCall& call)
    {
        slot_.dispose(call.proxy());
        const Handle delegate = new_client_delegate(kind_, handler_, call.client());
        if (delegate == nullptr) {
            call.fail(missing_delegate_code_, QC_TEXT("handle is null"));
            return false;
        }
        delegate_ = proxy::DelegateRef{delegate};
        slot_.fill(delegate);
        (call.client().*pair_).store(callback_, user_data_);
        return true;
    }
    Handle argument() const { return static_cast<Handle>(static_cast<void*>(delegate_.get())); }
    void settle(const ApiCall&, bool ok)
    {
        if (delegate_ && !ok && refused_ == Refused::taken_back) {
            proxy::retire_delegate(delegate_);
            if (slot_.holds(delegate_.get()))
                slot_.empty();
            return;
        }
        // One that never came into the list is nobody's; one that another thread has replaced meanwhile is in
        // the way.
        if (delegate_ && (!proxy::is_listed(delegate_) || !slot_.holds(delegate_.get())))
            proxy::retire_delegate(delegate_);
    }

private:
    Slot& slot_;
    DelegateKind<Handle, Handler> kind_;
    Handler handler_;
    Pair pair_;
    Callback callback_;
    void* user_data_;
    Refused refused_ = Refused::stays;
    int missing_delegate_code_ = QUORVEL_CLIENT_ERROR_OPERATION_FAILED;
    proxy::DelegateRef delegate_;
};

template <typename Handle, typename Handler, typename Callback>
Registration<Handle, Handler*, Callback> registration(Slot& slot, const DelegateKind<Handle, Handler*>& kind,
                                                      Handler* handler,
                                                      CallbackPair<Callback> ClientFields::*pair,
                                                      Callback callback, void* user_data)
{
    return {slot, kind, handler, pair, callback, user_data};
}

/// The step that registers a callback unless the slot is filled: then the earlier delegate stays, and the
/// earlier callback with it.
template <typename Routine, typename Handle, typename Handler, typename Callback>
auto registered_if_empty(const Method<Routine>& method, Slot& slot,
                         const DelegateKind<Handle, Handler*>& kind, Handler* handler,
                         CallbackPair<Callback> ClientFields::*pair, Callback callback)
{
    return [=, &slot](ApiCall& call) {
        if (!slot.is_filled())
            call.invoke(method, registration(slot, kind, handler, pair, callback, nullptr)
                                    .taken_back_when_refused()
                                    .without_memory(QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY));
    };
}

/// The step that takes a registration back, before the agent is told.
template <typename Callback>
auto unregistered(Slot& slot, CallbackPair<Callback> ClientFields::*pair)
{
    return [&slot, pair](ApiCall& call) {
        (call.client().*pair).clear();
        slot.dispose(call.proxy());
        slot.empty();
    };
}

/// A delegate's call of a handler: an event for the application.
class Event : public CallSteps<Event> {
public:
    explicit Event(void* user_data, CallSite at = CallSite::here()) : CallSteps{at}, user_data_{user_data}
    {
        enter();
    }

    /// The handler was given what its delegate calls back with.
    Event& has_user_data() { return require(user_data_ != nullptr, "No user data"); }
    Client& client() const { return *static_cast<Client*>(user_data_); }
    /// The application's callback for this kind of event; fails with the message when there is none.
    template <typename Callback>
    CallbackPair<Callback> callback(CallbackPair<Callback> ClientFields::*pair, const char* missing)
    {
        if (!ok())
            return {};
        const auto found = (client().*pair).load();
        require(found.callback != nullptr, missing);
        return found;
    }
    /// The same where an event that nobody wants goes without a line.
    template <typename Callback>
    CallbackPair<Callback> callback(CallbackPair<Callback> ClientFields::*pair) const
    {
        return ok() ? (client().*pair).load() : CallbackPair<Callback>{};
    }
    /// Calls the application's callback for this kind of event, if there is one, with its user data.
    template <typename Callback, typename... Values>
    void tell(CallbackPair<Callback> ClientFields::*pair, Values... values) const
    {
        const auto found = callback(pair);
        if (found.callback != nullptr)
            found.callback(values..., found.user_data);
    }
    /// The same with other user data, which is the last of the arguments.
    template <typename Callback, typename... Arguments>
    void tell_exactly(CallbackPair<Callback> ClientFields::*pair, Arguments... arguments) const
    {
        const auto found = callback(pair);
        if (found.callback != nullptr)
            found.callback(arguments...);
    }
    /// Calls the callback of the request that the delegate calls back with, and frees the request.
    template <typename Callback, typename... Values>
    void answer(Values... values)
    {
        const AnsweredRequest request{user_data_};
        if (const auto callback = answered<Callback>(request))
            callback(values..., request.user_data());
    }
    /// The same with other user data than the request's, which is the last of the arguments.
    template <typename Callback, typename... Arguments>
    void answer_exactly(Arguments... arguments)
    {
        const AnsweredRequest request{user_data_};
        if (const auto callback = answered<Callback>(request))
            callback(arguments...);
    }
    /// The callback of an answered request; NULL, with a line, when there is none.
    template <typename Callback>
    Callback answered(const AnsweredRequest& request)
    {
        const auto callback = request.callback<Callback>();
        require(callback != nullptr, "request or request->user_cb is NULL");
        return callback;
    }

private:
    void* user_data_;
};

/// A copy of a record for the application's callback; the record itself belongs to the dispatch. NULL, with a
/// line, when it cannot be made.
template <typename Handle>
Handle copy_out(Event& event, Handle record)
{
    constexpr const proxy::RecordType& type = proxy::TypeOf<Handle>::type;
    void* copy = nullptr;
    if (type.operations.clone(record, &copy) != 0)
        event.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, QC_TEXT("%s is failed"), type.clone_name);
    return static_cast<Handle>(copy);
}

/// Copies of an array's elements for the application's callback; the array itself belongs to the dispatch.
template <typename Handle, typename Array>
bool copy_out(Event& event, Array array, int (*getter)(Array, Handle**, int*), Handle** list, int* count)
{
    if (getter(array, list, count) == 0)
        return true;
    event.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, QC_TEXT("%s is failed"),
               proxy::TypeOf<Array>::type.getter_name);
    return false;
}

}  // namespace quorvel
