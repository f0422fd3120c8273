/* Switches push notifications of two topics on, and asks which are. */
#include <quorvel_client_qc_api.h>

#include "session.h"

static void on_status(int result, bool enabled, char** topics, int count, void* user_data)
{
    struct session* session = user_data;

    if (session_failed(session, "get_third_party_notification_status", result))
        return;
    printf("push notifications are %s, for:", enabled ? "on" : "off");
    for (int i = 0; i < count; i++) {
        printf(" %s", topics[i]);
        free(topics[i]);
    }
    free(topics);
    printf("\n");
    session_end(session, EXIT_SUCCESS);
}

static void on_switched(bool done, void* user_data)
{
    struct session* session = user_data;
    printf("switched: %s\n", done ? "yes" : "no");
    session_failed(session, "get_third_party_notification_status",
                   quorvel_client_get_third_party_notification_status(session->client, on_status, session));
}

static void work(struct session* session)
{
    static const char* const topics[] = {"doors", "leaks"};
    session_failed(session, "set_third_party_notification_status",
                   quorvel_client_set_third_party_notification_status(session->client, true, topics, 2,
                                                                      on_switched, session));
}

int main(void)
{
    return session_run(work);
}
