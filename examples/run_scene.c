/* Runs each scene there is, the next one when the one before has ended. */
#include <quorvel_client_scene.h>

#include "session.h"

static quorvel_client_scene_h* scenes;
static int count;
static int next;

static void run_next(struct session* session);

static void on_ran(int result, const char* scene_id, const char* scene, const char* detail, void* user_data)
{
    (void)scene;
    printf("%s: %s (%d)\n", scene_id, detail, result);
    run_next(user_data);
}

static void run_next(struct session* session)
{
    char* id = NULL;

    if (next == count) {
        free(scenes);
        session_end(session, EXIT_SUCCESS);
        return;
    }
    quorvel_client_scene_get_string(scenes[next], QUORVEL_CLIENT_SCENE_PROP_SCENE_ID, &id);
    quorvel_client_scene_destroy(scenes[next++]);
    session_failed(session, "do_scene", quorvel_client_do_scene(session->client, id, on_ran, session));
    free(id);
}

static void work(struct session* session)
{
    if (!session_failed(session, "get_scene_list",
                        quorvel_client_get_scene_list(session->client, &scenes, &count)))
        run_next(session);
}

int main(void)
{
    return session_run(work);
}
