// What happened in the home: the newest thing, before and after a scene ran.
#include <cJSON.h>
#include <quorvel_core_history.h>
#include <quorvel_core_scene.h>

#include <iostream>

#include "session.h"
#include "text.hpp"

namespace {

void show_newest(session* session)
{
    const std::string json =
        text_of(quorvel_core_get_activity_history, session->client, "locationId=home&limit=1");
    const std::unique_ptr<cJSON, void (*)(cJSON*)> parsed(cJSON_Parse(json.c_str()), cJSON_Delete);
    const cJSON* item = cJSON_GetArrayItem(cJSON_GetObjectItem(parsed.get(), "items"), 0);
    if (item == nullptr) {
        session_failed(session, "get_activity_history", QUORVEL_CLIENT_ERROR_NO_DATA);
        return;
    }
    std::cout << cJSON_GetStringValue(cJSON_GetObjectItem(item, "title")) << ": "
              << cJSON_GetStringValue(cJSON_GetObjectItem(item, "text")) << '\n';
}

void work(session* session)
{
    show_newest(session);
    text_of(quorvel_core_execute_scene, session->client, "home", "movie");
    show_newest(session);
    session_end(session, session->status);
}

}  // namespace

int main()
{
    return session_run(work);
}
