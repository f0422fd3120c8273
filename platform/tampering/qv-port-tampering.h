/* An agent that misbehaves on purpose, so that clients can be tested, needs more of its port than the
 * platform offers. These are no part of the platform: libqv-platform-host.so has none of them. A program that
 * wants them is built from the platform's objects and tampering.cpp. */
#ifndef QV_PORT_TAMPERING_H
#define QV_PORT_TAMPERING_H

#include <rpc-port.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Each takes a port of a stub's client, and answers 0 or a rpc_port_error_e. */

/* Closes the connection; the stub hears of it like of any other end. */
int qv_port_disconnect(rpc_port_h port);

/* From within the connected event: the client hears that it is rejected. */
int qv_port_reject(rpc_port_h port);

/* Sends a parcel in pieces of so many bytes, with a pause between the first few hundred. */
int qv_port_send_in_slices(rpc_port_parcel_h parcel, rpc_port_h port, int bytes);

/* Sends so many bytes of a parcel's frame, and closes the connection. */
int qv_port_send_and_break(rpc_port_parcel_h parcel, rpc_port_h port, int bytes);

#ifdef __cplusplus
}
#endif

#endif
