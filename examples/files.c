/* Fetches the files behind a resource of a camera. */
#include <quorvel_client_qc_api.h>

#include "session.h"

static void on_files(int result, quorvel_client_file_h* files, int count, const char* status, void* user_data)
{
    struct session* session = user_data;

    if (session_failed(session, "get_files", result))
        return;
    printf("%d file, %s\n", count, status);
    for (int i = 0; i < count; i++) {
        char* name = NULL;
        unsigned char* data = NULL;
        int length = 0;
        if (quorvel_client_file_get_details(files[i], &name, &data, &length) == 0)
            printf("%s, %d bytes: %.*s", name, length, length, (const char*)data);
        free(name);
        free(data);
        quorvel_client_file_destroy(files[i]);
    }
    free(files);
    session_end(session, EXIT_SUCCESS);
}

static void work(struct session* session)
{
    session_failed(session, "get_files",
                   quorvel_client_get_files(session->client, "camera-1", "/camera", NULL, on_files, session));
}

int main(void)
{
    return session_run(work);
}
