/* What a code says, and that nothing is handed out with an error. */
#include <quorvel_client_device_detail.h>

#include "session.h"

static const char* meaning(int code)
{
    switch (code) {
        case QUORVEL_CLIENT_ERROR_NONE:
            return "done";
        case QUORVEL_CLIENT_ERROR_NO_DATA:
            return "there is no such thing";
        case QUORVEL_CLIENT_ERROR_INVALID_PARAMETER:
            return "an argument is wrong";
        case QUORVEL_CLIENT_ERROR_PERMISSION_DENIED:
            return "nobody is signed in, or the agent refuses";
        case QUORVEL_CLIENT_ERROR_NETWORK_UNREACHABLE:
            return "the cloud or the device cannot be reached: try again later";
        default:
            return "something else went wrong";
    }
}

static void work(struct session* session)
{
    static const char* const devices[] = {"lamp-1", "no-such-device", ""};

    for (size_t i = 0; i < sizeof devices / sizeof *devices; i++) {
        quorvel_client_device_detail_h detail = NULL;
        const int code = quorvel_client_get_device_detail(session->client, devices[i], &detail);
        printf("'%s': %s%s\n", devices[i], meaning(code), detail == NULL ? ", nothing was handed out" : "");
        if (detail != NULL)
            quorvel_client_device_detail_destroy(detail);
    }
    session_end(session, EXIT_SUCCESS);
}

int main(void)
{
    return session_run(work);
}
