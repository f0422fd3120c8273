/* A change is answered twice: by the call, that it was taken; by the callback, how it ended. */
#include <quorvel_client_device.h>
#include <quorvel_client_device_detail.h>

#include "session.h"

static void on_renamed(int result, void* user_data)
{
    struct session* session = user_data;
    quorvel_client_device_detail_h detail = NULL;
    char* nick = NULL;

    if (session_failed(session, "the new name", result)
        || session_failed(session, "get_device_detail",
                          quorvel_client_get_device_detail(session->client, "lamp-2", &detail)))
        return;
    if (quorvel_client_device_detail_get_string(detail, QUORVEL_CLIENT_DEVICE_DETAIL_PROP_NICK, &nick) == 0)
        printf("lamp-2 is now called %s\n", nick);
    free(nick);
    quorvel_client_device_detail_destroy(detail);
    session_end(session, EXIT_SUCCESS);
}

static void work(struct session* session)
{
    session_failed(
        session, "change_device_nick",
        quorvel_client_change_device_nick(session->client, "lamp-2", "Bookworm", on_renamed, session));
}

int main(void)
{
    return session_run(work);
}
