/* Subscribes to a resource, changes it, and hears of the change. */
#include <cJSON.h>
#include <quorvel_client_qc_api.h>

#include "session.h"

static void on_changed(const char* device, const char* uri, const char* types, const char* representation,
                       const char* time, const char* extra, void* user_data)
{
    struct session* session = user_data;
    cJSON* parsed = cJSON_Parse(representation);
    const cJSON* value = cJSON_GetObjectItem(cJSON_GetObjectItem(parsed, "properties"), "value");

    (void)time;
    printf("%s%s (%s) is now %s; said: %s\n", device, uri, types, cJSON_IsTrue(value) ? "on" : "off", extra);
    cJSON_Delete(parsed);
    session_failed(session, "unsubscribe", quorvel_client_unsubscribe(session->client, device, uri));
    session_end(session, session->status);
}

static void on_written(int result, const char* device, const char* uri, const char* representation,
                       const char* options, const char* query, void* user_data)
{
    (void)device, (void)uri, (void)representation, (void)options, (void)query;
    session_failed(user_data, "set_remote_representation", result);
}

static void work(struct session* session)
{
    if (session_failed(session, "subscribe",
                       quorvel_client_subscribe(session->client, "lamp-1", "/switch", "from the example",
                                                on_changed, session)))
        return;
    session_failed(
        session, "set_remote_representation",
        quorvel_client_set_remote_representation(session->client, "lamp-1", "/switch", "{\"value\": false}",
                                                 NULL, NULL, on_written, session));
}

int main(void)
{
    return session_run(work);
}
