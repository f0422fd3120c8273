/* Who is signed in, and on which device. Each text that is handed out is the caller's to free. */
#include "session.h"

static void print_text(struct session* session, const char* name, int (*get)(quorvel_client_h, char**))
{
    char* text = NULL;
    if (session_failed(session, name, get(session->client, &text)))
        return;
    printf("%s: %s\n", name, text);
    free(text);
}

static void work(struct session* session)
{
    bool signed_in = false;
    int state = 0;

    if (session_failed(session, "is_signed_in", quorvel_client_is_signed_in(session->client, &signed_in))
        || session_failed(session, "get_state", quorvel_client_get_state(session->client, &state)))
        return;
    printf("signed in: %s\nstate: %d\n", signed_in ? "yes" : "no", state);
    print_text(session, "login", quorvel_client_get_login_id);
    print_text(session, "user", quorvel_client_get_connected_user_id);
    print_text(session, "device", quorvel_client_get_device_id);
    session_end(session, session->status);
}

int main(void)
{
    return session_run(work);
}
