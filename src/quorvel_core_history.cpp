#include <quorvel_core_history.h>

#include "internal/core_call.hpp"

using namespace quorvel;

int quorvel_core_get_activity_history(quorvel_client_h handle, const char* filter, char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_activity_history), text_out(json_str), filter);
}

int quorvel_core_get_notification_history(quorvel_client_h handle, const char* filter, char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_notification_history), text_out(json_str),
               filter);
}
