/* Connects, lists the devices of the home, and tells when the list changes, until a device was added. */
#include <glib.h>
#include <quorvel_client.h>
#include <stdio.h>
#include <stdlib.h>

struct app {
    quorvel_client_h client;
    GMainLoop* loop;
    int known, status;
};

static void show(const char* title, quorvel_client_device_h* devices, int count)
{
    printf("%s: %d devices\n", title, count);
    for (int i = 0; i < count; i++) {
        char* id = NULL;
        quorvel_client_device_get_string(devices[i], QUORVEL_CLIENT_DEVICE_PROP_DEVICE_ID, &id);
        printf("  %s\n", id != NULL ? id : "?");
        free(id);
        quorvel_client_device_destroy(devices[i]);
    }
    free(devices);
    fflush(stdout);
}

static void on_list_updated(quorvel_client_device_h* devices, int count, void* user_data)
{
    struct app* app = user_data;
    show("The list changed", devices, count);
    if (count > app->known)
        g_main_loop_quit(app->loop);
    app->known = count;
}

static void on_state(int result, int state, void* user_data)
{
    struct app* app = user_data;
    quorvel_client_device_h* devices = NULL;
    if (state == QUORVEL_CLIENT_CONNECTION_CONNECTED
        && quorvel_client_set_device_list_updated_cb(app->client, on_list_updated, app) == 0
        && quorvel_client_get_device_list(app->client, &devices, &app->known) == 0) {
        show("Connected", devices, app->known);
        return;
    }
    fprintf(stderr, "No connection (state %d, result %d). Is the agent installed?\n", state, result);
    app->status = 1;
    g_main_loop_quit(app->loop);
}

int main(void)
{
    struct app app = {.loop = g_main_loop_new(NULL, FALSE)};
    if (quorvel_client_connect(&app.client, on_state, &app) != QUORVEL_CLIENT_ERROR_NONE)
        return 1;
    g_main_loop_run(app.loop);
    quorvel_client_disconnect(app.client);
    g_main_loop_unref(app.loop);
    return app.status;
}
