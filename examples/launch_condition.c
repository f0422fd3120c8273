/* Asks to be launched when the front door is opened, looks whether that was kept, and takes it back. */
#include <quorvel_client_app_launch.h>

#include "session.h"

static void set(quorvel_client_app_launch_condition_h condition, int property, const char* value)
{
    quorvel_client_app_launch_condition_set_string(condition, property, value);
}

static int is_added(struct session* session, quorvel_client_app_launch_condition_h condition)
{
    bool added = false;
    session_failed(session, "is_app_launch_condition_added",
                   quorvel_client_is_app_launch_condition_added(session->client, condition, &added));
    return added;
}

static void work(struct session* session)
{
    quorvel_client_app_launch_condition_h condition = NULL;

    if (session_failed(session, "create", quorvel_client_app_launch_condition_create(&condition)))
        return;
    set(condition, QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_APP_ID, "com.example.door");
    set(condition, QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_DEVICE_ID, "door-1");
    set(condition, QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_RESOURCE_URI, "/contact");
    set(condition, QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_PROPERTY_NAME, "value");
    set(condition, QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_PROPERTY_TYPE, "string");
    set(condition, QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_PROPERTY_VALUE, "open");
    set(condition, QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_BUNDLE_JSON, "{\"why\": \"door\"}");
    if (!session_failed(session, "add",
                        quorvel_client_add_app_launch_condition(session->client, condition))) {
        printf("added: %s\n", is_added(session, condition) ? "yes" : "no");
        session_failed(session, "remove",
                       quorvel_client_remove_app_launch_condition(session->client, condition));
        printf("still there: %s\n", is_added(session, condition) ? "yes" : "no");
    }
    quorvel_client_app_launch_condition_destroy(condition);
    session_end(session, session->status);
}

int main(void)
{
    return session_run(work);
}
