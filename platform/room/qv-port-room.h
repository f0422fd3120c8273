/* An agent that answers with long lists writes them where they leave from, instead of a call a value. These
 * are no part of the platform: libqv-platform-host.so has none of them. A program that wants them is built
 * from the platform's objects and room.cpp. */
#ifndef QV_PORT_ROOM_H
#define QV_PORT_ROOM_H

#include <rpc-port.h>
#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Room for at least so many bytes behind what was written so far, and in `size` how many they are. It is
 * there until the parcel is used in any other way. NULL without memory, and for a parcel that was received.
 */
char* qv_port_parcel_room(rpc_port_parcel_h parcel, size_t least, size_t* size);

/* So many bytes of the room were written, in the form that values have on the wire. */
void qv_port_parcel_filled(rpc_port_parcel_h parcel, size_t size);

#ifdef __cplusplus
}
#endif

#endif
