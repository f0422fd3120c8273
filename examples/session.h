/* What all programs here begin and end with: connect, work, leave. watch_devices.c shows it written out. */
#ifndef EXAMPLES_SESSION_H
#define EXAMPLES_SESSION_H

#include <glib.h>
#include <quorvel_client.h>
#include <stdio.h>
#include <stdlib.h>

/* What the library gives back to a callback, as what it is. */
#ifdef __cplusplus
#define SESSION_OF(user_data) static_cast<struct session*>(user_data)
#else
#define SESSION_OF(user_data) (user_data)
#endif

struct session {
    quorvel_client_h client;
    GMainLoop* loop;
    int status;
    void (*work)(struct session*);
};

static inline void session_end(struct session* session, int status)
{
    session->status = status;
    g_main_loop_quit(session->loop);
}

/* Whether a call failed; the program then ends with an error. */
static inline int session_failed(struct session* session, const char* call, int code)
{
    if (code == QUORVEL_CLIENT_ERROR_NONE)
        return 0;
    fprintf(stderr, "%s: error %d\n", call, code);
    session_end(session, EXIT_FAILURE);
    return 1;
}

static inline void session_on_state(int result, int state, void* user_data)
{
    struct session* session = SESSION_OF(user_data);
    if (state == QUORVEL_CLIENT_CONNECTION_CONNECTED) {
        session->work(session);
        return;
    }
    fprintf(stderr, "No connection (state %d, result %d). Is the agent installed?\n", state, result);
    session_end(session, EXIT_FAILURE);
}

/* Calls work when the client is connected, and runs the main loop until session_end(). */
static inline int session_run(void (*work)(struct session*))
{
    struct session session = {NULL, g_main_loop_new(NULL, FALSE), EXIT_SUCCESS, work};
    const int code = quorvel_client_connect(&session.client, session_on_state, &session);
    if (code != QUORVEL_CLIENT_ERROR_NONE) {
        fprintf(stderr, "Cannot connect: error %d\n", code);
        session.status = EXIT_FAILURE;
    } else {
        g_main_loop_run(session.loop);
        quorvel_client_disconnect(session.client);
    }
    g_main_loop_unref(session.loop);
    return session.status;
}

#endif
