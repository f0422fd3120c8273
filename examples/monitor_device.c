/* Whether a device is connected to the cloud: the state of now comes first, then each change. */
#include <quorvel_client_device_detail.h>
#include <quorvel_client_qc_api.h>

#include "session.h"

static void on_state(const char* device, int state, const char* time, const char* detail, void* user_data)
{
    struct session* session = user_data;

    (void)time, (void)detail;
    printf("%s is %s\n", device,
           state == QUORVEL_CLIENT_CLOUD_DEVICE_STATE_CONNECTED      ? "connected"
           : state == QUORVEL_CLIENT_CLOUD_DEVICE_STATE_DISCONNECTED ? "disconnected"
                                                                     : "in an unknown state");
    quorvel_client_stop_monitoring_cloud_device_state(session->client, device);
    session_end(session, EXIT_SUCCESS);
}

static void work(struct session* session)
{
    session_failed(session, "start_monitoring_cloud_device_state",
                   quorvel_client_start_monitoring_cloud_device_state(session->client, "thermostat-1", NULL,
                                                                      on_state, session));
}

int main(void)
{
    return session_run(work);
}
