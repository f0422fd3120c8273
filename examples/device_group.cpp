// Commands several devices as one.
#include <cJSON.h>
#include <quorvel_core_device_group.h>

#include <iostream>

#include "session.h"
#include "text.hpp"

namespace {

void work(session* session)
{
    quorvel_core_device_group_h group = nullptr;
    if (session_failed(session, "get_device_group",
                       quorvel_core_get_device_group(session->client, "living-lights", &group)))
        return;
    std::cout << text_of(quorvel_core_device_group_get_string, group, QUORVEL_CORE_DEVICE_GROUP_PROP_NAME)
              << ":\n";
    quorvel_core_device_group_destroy(group);

    char* result = nullptr;
    const int code = quorvel_core_execute_device_group(
        session->client, "living-lights", R"([{"capability": "switch", "command": "off"}])", &result);
    const std::unique_ptr<char, Free> owner(result);
    if (session_failed(session, "execute_device_group", code))
        return;
    const std::unique_ptr<cJSON, void (*)(cJSON*)> parsed(cJSON_Parse(result), cJSON_Delete);
    const cJSON* one = nullptr;
    cJSON_ArrayForEach(one, cJSON_GetObjectItem(parsed.get(), "results"))
    {
        std::cout << "  " << cJSON_GetStringValue(cJSON_GetObjectItem(one, "deviceId")) << ": "
                  << cJSON_GetStringValue(cJSON_GetObjectItem(one, "status")) << '\n';
    }
    session_end(session, EXIT_SUCCESS);
}

}  // namespace

int main()
{
    return session_run(work);
}
