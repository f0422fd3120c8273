/* Hears of a notification; a scene that is stored nowhere sends it. */
#include <quorvel_client_notification.h>
#include <quorvel_core_scene.h>

#include "session.h"

static void on_notification(const char* kind, const char* title, const char* body, void* user_data)
{
    struct session* session = user_data;
    printf("[%s] %s: %s\n", kind, title, body);
    quorvel_client_unset_notification_cb(session->client);
    session_end(session, EXIT_SUCCESS);
}

static void work(struct session* session)
{
    static const char scene[] =
        "{\"name\": \"Tell me\", \"actions\": [{\"notify\": \"The tea is ready\", \"title\": \"Kitchen\"}]}";
    char* result = NULL;

    if (session_failed(session, "set_notification_cb",
                       quorvel_client_set_notification_cb(session->client, on_notification, session)))
        return;
    session_failed(session, "execute_adhoc_scene",
                   quorvel_core_execute_adhoc_scene(session->client, "home", scene, &result));
    free(result);
}

int main(void)
{
    return session_run(work);
}
