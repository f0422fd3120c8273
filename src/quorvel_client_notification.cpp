#include <quorvel_client_notification.h>

#include "internal/named.hpp"
#include "internal/registration.hpp"

using namespace quorvel;

namespace {

Slot notification_slot;

}  // namespace

int quorvel_client_set_notification_cb(quorvel_client_h handle, quorvel_client_notification_cb cb,
                                       void* user_data)
{
    return ApiCall{handle}
        .agent(1, 1)
        // Worded unlike the other registrations, which is meant so.
        .require(cb != nullptr, "user_cb is invalid")
        .invoke(METHOD(set_notification_cb),
                registration(notification_slot, DELEGATE(notification_cb), _notification_cb,
                             &Client::notification, cb, user_data))
        .result();
}

int quorvel_client_unset_notification_cb(quorvel_client_h handle)
{
    return ApiCall{handle}
        .agent(1, 1)
        .proxied()
        .then(unregistered(notification_slot, &Client::notification))
        .invoke(METHOD(unset_notification_cb))
        .result();
}

void _notification_cb(void* user_data, const char* first, const char* second, const char* third)
{
    Event{user_data}.has_user_data().tell(&Client::notification, first, second, third);
}
