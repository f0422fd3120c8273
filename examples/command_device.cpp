// Sends a command to a device, and reads what became of it.
#include <cJSON.h>
#include <quorvel_core_device.h>

#include <initializer_list>
#include <iostream>

#include "session.h"
#include "text.hpp"

namespace {

// The number at a path of names.
double number_at(const std::string& json, std::initializer_list<const char*> path)
{
    const std::unique_ptr<cJSON, void (*)(cJSON*)> parsed(cJSON_Parse(json.c_str()), cJSON_Delete);
    const cJSON* here = parsed.get();
    for (const char* name : path)
        here = cJSON_GetObjectItem(here, name);
    return cJSON_GetNumberValue(here);
}

double level(session* session)
{
    return number_at(
        text_of(quorvel_core_get_device_capability_status, session->client, "lamp-1", "main", "level"),
        {"level", "value"});
}

void work(session* session)
{
    std::cout << "The lamp is at " << level(session) << '\n';
    char* result = nullptr;
    const int code = quorvel_core_execute_device(
        session->client, "lamp-1", R"([{"capability": "level", "command": "setLevel", "arguments": [70]}])",
        &result);
    const std::unique_ptr<char, Free> owner(result);
    if (session_failed(session, "execute_device", code))
        return;
    std::cout << "Now it is at " << level(session) << '\n';
    session_end(session, EXIT_SUCCESS);
}

}  // namespace

int main()
{
    return session_run(work);
}
