/* The devices of one room, by their details. A list's elements are destroyed one by one, then the list is
 * freed. */
#include <quorvel_client_device_detail.h>
#include <string.h>

#include "session.h"

static char* text_of(quorvel_client_device_detail_h detail, int property)
{
    char* text = NULL;
    return quorvel_client_device_detail_get_string(detail, property, &text) == 0 ? text : NULL;
}

static void work(struct session* session)
{
    quorvel_client_device_detail_h* details = NULL;
    int count = 0;

    if (session_failed(session, "get_device_detail_list",
                       quorvel_client_get_device_detail_list(session->client, &details, &count)))
        return;
    for (int i = 0; i < count; i++) {
        char* room = text_of(details[i], QUORVEL_CLIENT_DEVICE_DETAIL_PROP_SUBGROUP_ID);
        char* name = text_of(details[i], QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_NAME);
        if (room != NULL && name != NULL && strcmp(room, "living") == 0)
            printf("%s\n", name);
        free(room);
        free(name);
        quorvel_client_device_detail_destroy(details[i]);
    }
    free(details);
    session_end(session, EXIT_SUCCESS);
}

int main(void)
{
    return session_run(work);
}
