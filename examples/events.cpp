// Watches one device through server-sent events while it is commanded.
#include <cJSON.h>
#include <quorvel_core.h>
#include <quorvel_core_device.h>

#include <iostream>
#include <string_view>

#include "session.h"
#include "text.hpp"

namespace {

void on_event(int type, long long /*time*/, const char* event, void* user_data)
{
    auto* session = SESSION_OF(user_data);
    const std::unique_ptr<cJSON, void (*)(cJSON*)> parsed(cJSON_Parse(event), cJSON_Delete);
    const auto text = [&](const char* name) -> std::string_view {
        const char* value = cJSON_GetStringValue(cJSON_GetObjectItem(parsed.get(), name));
        return value == nullptr ? "?" : value;
    };
    // A lamp that is switched also draws another power, which is an event of its own.
    if (type != QUORVEL_CORE_SSE_TYPE_DEVICE || text("attribute") != "switch")
        return;
    std::cout << text("deviceId") << ": " << text("attribute") << " from " << text("previous") << " to "
              << text("value") << ", by " << text("cause") << '\n';
    quorvel_core_unset_sse_cb_by_device_id(session->client, "lamp-1");
    session_end(session, EXIT_SUCCESS);
}

void work(session* session)
{
    if (session_failed(session, "set_sse_cb_by_device_id",
                       quorvel_core_set_sse_cb_by_device_id(session->client, "lamp-1", on_event, session)))
        return;
    char* result = nullptr;
    session_failed(session, "execute_device",
                   quorvel_core_execute_device(session->client, "lamp-1",
                                               R"([{"capability": "switch", "command": "off"}])", &result));
    std::free(result);
}

}  // namespace

int main()
{
    return session_run(work);
}
