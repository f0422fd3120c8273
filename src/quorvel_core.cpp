#include <quorvel_core.h>

#include "internal/core_call.hpp"
#include "internal/named.hpp"
#include "internal/registration.hpp"

using namespace quorvel;

namespace {

Slot sse_slot;

constexpr auto number_of_filter_types = 5U;
constexpr auto number_of_categories = 19U;
constexpr auto number_of_actions = 26U;

/// For ranges in which a negative number is a large one.
bool is_below(int number, unsigned bound)
{
    return static_cast<unsigned>(number) < bound;
}

/// What the delegate of a filtered registration calls back with.
using FilteredCallback = CallbackPair<quorvel_core_sse_cb>;

/// A registration that is none of the slot's: a delegate and a pair of its own. The client keeps the pair as
/// long as the delegate may call back with it, also when the agent refuses; the library takes no note of
/// either.
class FilteredRegistration {
public:
    FilteredRegistration(quorvel_core_sse_cb callback, void* user_data) : wanted_{callback, user_data} {}

    bool prepare(ApiCall& call)
    {
        auto* const pair = static_cast<FilteredCallback*>(std::calloc(1, sizeof(FilteredCallback)));
        call.require(pair != nullptr, no_memory, QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
        if (!call.ok())
            return false;
        *pair = wanted_;
        const auto delegate = new_client_delegate(DELEGATE(server_sent_event_cb),
                                                  _server_sent_event_by_filter_cb, call.client(), pair);
        call.require(delegate != nullptr, "handle is null", QUORVEL_CLIENT_ERROR_OPERATION_FAILED);
        if (call.ok()) {
            delegate_ = proxy::DelegateRef{delegate};
            call.require(call.client().try_keep(pair, std::free), no_memory,
                         QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
        }
        if (!call.ok())
            std::free(pair);
        return call.ok();
    }
    rpc_port_qv_client_server_sent_event_cb_h argument() const
    {
        return static_cast<rpc_port_qv_client_server_sent_event_cb_h>(static_cast<void*>(delegate_.get()));
    }
    void settle(const ApiCall&, bool ok)
    {
        if (delegate_ && !(ok && proxy::is_listed(delegate_)))
            rpc_port_qv_client_server_sent_event_cb_destroy(argument());
    }

private:
    static constexpr auto no_memory = "memory allocation is failed";

    FilteredCallback wanted_;
    proxy::DelegateRef delegate_;
};

/// The step that leaves the rest to another function, and tells of its failure.
template <typename Function, typename... Arguments>
auto left_to(const char* name, Function* function, Arguments... arguments)
{
    return [=](ApiCall& call) {
        if (const int code = function(arguments...); code != QUORVEL_CLIENT_ERROR_NONE)
            call.fail(code, QC_TEXT("%s is failed [%d]"), name, code);
    };
}

}  // namespace

int quorvel_core_set_sse_cb(quorvel_client_h handle, int sse_type, quorvel_core_sse_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(2, 3)
        .require(sse_type >= 1 && cb != nullptr)
        .invoke(METHOD(set_server_sent_event), sse_type,
                registration(sse_slot, DELEGATE(server_sent_event_cb), _server_sent_event_cb, &Client::sse,
                             cb, user_data))
        .result();
}

int quorvel_core_unset_sse_cb(quorvel_client_h handle)
{
    return ApiCall{handle}
        .agent(2, 3)
        .proxied()
        .then(unregistered(sse_slot, &Client::sse))
        .invoke(METHOD(unset_server_sent_event))
        .result();
}

void _server_sent_event_cb(void* user_data, int type, long long time, const char* event)
{
    Event received{user_data};
    const auto pair = received.has_user_data().callback(&Client::sse, "No server sent event cb");
    if (pair.callback != nullptr)
        pair.callback(type, time, event, pair.user_data);
}

// The arguments alone are checked here; the agent is looked at behind them.
int quorvel_core_set_sse_cb_by_device_id(quorvel_client_h handle, const char* device_id,
                                         quorvel_core_sse_cb cb, void* user_data)
{
    return ApiCall{handle}
        .require(is_set(device_id) && cb != nullptr)
        .then(left_to("_set_sse_cb_by_filter", _set_sse_cb_by_filter, handle,
                      int{QUORVEL_CORE_SSE_FILTER_TYPE_DEVICE_ID}, device_id, cb, user_data))
        .result();
}

int quorvel_core_unset_sse_cb_by_device_id(quorvel_client_h handle, const char* device_id)
{
    return ApiCall{handle}
        .require(is_set(device_id))
        .then(left_to("_unset_sse_cb_by_filter", _unset_sse_cb_by_filter, handle,
                      int{QUORVEL_CORE_SSE_FILTER_TYPE_DEVICE_ID}, device_id))
        .result();
}

int _set_sse_cb_by_filter(quorvel_client_h handle, int filter_type, const char* filter,
                          quorvel_core_sse_cb cb, void* user_data)
{
    return ApiCall{handle, ApiCall::Entry::silent}
        .agent(2, 3)
        .require(is_below(filter_type, number_of_filter_types), "invalid filter type")
        .invoke(METHOD(set_server_sent_event_by_filter).unmapped(), filter_type, filter,
                FilteredRegistration{cb, user_data})
        .result();
}

// The registration's delegate stays in the proxy's list until the connection ends, which is meant so.
int _unset_sse_cb_by_filter(quorvel_client_h handle, int filter_type, const char* filter)
{
    return ApiCall{handle, ApiCall::Entry::silent}
        .agent(2, 3)
        .require(is_below(filter_type, number_of_filter_types), "invalid filter type")
        .invoke(METHOD(unset_server_sent_event_by_filter).unmapped(), filter_type, filter)
        .result();
}

void _server_sent_event_by_filter_cb(void* user_data, int type, long long time, const char* event)
{
    Event received{user_data};
    if (!received.has_user_data().ok())
        return;
    const auto& pair = *static_cast<const FilteredCallback*>(user_data);
    if (pair.callback != nullptr)
        pair.callback(type, time, event, pair.user_data);
}

int quorvel_core_get_hub_json(quorvel_client_h handle, const char* location_id, const char* hub_id,
                              char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_hub_json), text_out(json_str), location_id,
               hub_id);
}

int quorvel_core_get_mqtt_broker_url(quorvel_client_h handle, const char* hub_id, bool secure, char** url)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_broker_url), text_out(url), hub_id, secure);
}

int quorvel_core_send_active_user_event(quorvel_client_h handle, int category, int action,
                                        const char* target_id, const char* details)
{
    return ApiCall{handle}
        .agent(2, 4)
        .require(is_below(category, number_of_categories), "invalid parameter (category)")
        .require(is_below(action, number_of_actions), "invalid parameter (action)")
        .missing_proxy(QUORVEL_CLIENT_ERROR_OPERATION_FAILED)
        // Reported under the name of another method, which is meant so.
        .invoke(
            METHOD(core_send_active_user_event).reported_as("rpc_port_proxy_Core_invoke_SetActiveUserCount"),
            category, action, target_id, details)
        .result();
}
