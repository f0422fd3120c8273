/* Which resources of a type a device has, and what one of them holds. */
#include <cJSON.h>
#include <quorvel_client_qc_api.h>

#include "session.h"

static void on_read(int result, const char* device, const char* uri, const char* attributes,
                    const char* options, const char* query, void* user_data)
{
    struct session* session = user_data;
    cJSON* parsed = NULL;

    (void)options, (void)query;
    if (session_failed(session, "get_remote_attributes", result))
        return;
    parsed = cJSON_Parse(attributes);
    for (const cJSON* one = parsed != NULL ? parsed->child : NULL; one != NULL; one = one->next) {
        char* value = cJSON_PrintUnformatted(one);
        printf("%s%s: %s = %s\n", device, uri, one->string, value);
        cJSON_free(value);
    }
    cJSON_Delete(parsed);
    session_end(session, EXIT_SUCCESS);
}

static void work(struct session* session)
{
    char** uris = NULL;
    int count = 0;

    if (session_failed(
            session, "get_resource_uris",
            quorvel_client_get_resource_uris(session->client, "lamp-1", "qv.r.switch", &uris, &count)))
        return;
    printf("%d resource of the type qv.r.switch\n", count);
    if (count > 0)
        session_failed(session, "get_remote_attributes",
                       quorvel_client_get_remote_attributes(session->client, "lamp-1", uris[0], NULL, NULL,
                                                            on_read, session));
    for (int i = 0; i < count; i++)
        free(uris[i]);
    free(uris);
}

int main(void)
{
    return session_run(work);
}
