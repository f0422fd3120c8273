/* Groups and their subgroups: a home, and its rooms. */
#include <quorvel_client_group.h>

#include "session.h"

static char* text_of(quorvel_client_group_h group, int property)
{
    char* text = NULL;
    return quorvel_client_group_get_string(group, property, &text) == 0 ? text : NULL;
}

static int show(struct session* session, int type)
{
    quorvel_client_group_h* groups = NULL;
    int count = 0;

    if (session_failed(session, "get_group_list",
                       quorvel_client_get_group_list(session->client, type, &groups, &count)))
        return 0;
    for (int i = 0; i < count; i++) {
        char* name = text_of(groups[i], QUORVEL_CLIENT_GROUP_PROP_GROUP_NAME);
        char* parent = text_of(groups[i], QUORVEL_CLIENT_GROUP_PROP_PARENT_ID);
        if (type == QUORVEL_CLIENT_GROUP_TYPE_SUBGROUP)
            printf("  %s, in %s\n", name != NULL ? name : "?", parent != NULL ? parent : "?");
        else
            printf("%s\n", name != NULL ? name : "?");
        free(name);
        free(parent);
        quorvel_client_group_destroy(groups[i]);
    }
    free(groups);
    return 1;
}

static void work(struct session* session)
{
    if (show(session, QUORVEL_CLIENT_GROUP_TYPE_GROUP) && show(session, QUORVEL_CLIENT_GROUP_TYPE_SUBGROUP))
        session_end(session, EXIT_SUCCESS);
}

int main(void)
{
    return session_run(work);
}
