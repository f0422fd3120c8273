/* Begins to onboard a plug, asks which networks it sees, and stops. */
#include <quorvel_client_easy_setup.h>

#include "session.h"

static void on_networks(quorvel_client_easy_setup_access_point_h* list, int count, void* user_data)
{
    struct session* session = user_data;
    for (int i = 0; i < count; i++) {
        char* ssid = NULL;
        quorvel_client_easy_setup_access_point_get_string(
            list[i], QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_SSID, &ssid);
        printf("  %s\n", ssid != NULL ? ssid : "?");
        free(ssid);
    }
    quorvel_client_easy_setup_destroy_access_point_list(list); /* and all that is in it */
    session_failed(session, "easy_setup_stop", quorvel_client_easy_setup_stop(session->client));
    session_end(session, session->status);
}

/* The agent says how far it is: stage 5 is the choice of a network, and 3 says that it waits for us. */
static void on_stage(int stage, int what, void* user_data)
{
    struct session* session = user_data;
    if (stage == 5 && what == 3)
        quorvel_client_easy_setup_get_access_point_list(session->client, on_networks, session);
}

/* This plug asks for no PIN and has no owner; others are answered here. */
static void on_question(int value, void* user_data)
{
    (void)value, (void)user_data;
}

static void on_owned(bool owned, void* user_data)
{
    (void)owned, (void)user_data;
}

static void on_ready(int result, void* user_data)
{
    struct session* session = user_data;
    if (!session_failed(session, "easy_setup_initialize", result))
        session_failed(session, "easy_setup_start",
                       quorvel_client_easy_setup_start(session->client, "192.168.8.2", false, on_question,
                                                       on_question, on_owned, session));
}

static void work(struct session* session)
{
    const int type = QUORVEL_CLIENT_EASY_SETUP_TYPE_HOST_ADDRESS;
    quorvel_client_set_easy_setup_state_cb(session->client, on_stage, session);
    session_failed(session, "easy_setup_initialize",
                   quorvel_client_easy_setup_initialize(session->client, type, on_ready, session));
}

int main(void)
{
    return session_run(work);
}
