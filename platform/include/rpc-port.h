/* Port IPC: remote method calls between an application and a service. */
#ifndef RPC_PORT_H
#define RPC_PORT_H

#include <stdbool.h>

#include "bundle.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef void* rpc_port_proxy_h;
typedef void* rpc_port_stub_h;
typedef void* rpc_port_parcel_h;
typedef void* rpc_port_h;

typedef enum {
    RPC_PORT_ERROR_NONE = 0,
    RPC_PORT_ERROR_IO_ERROR = -5,
    RPC_PORT_ERROR_OUT_OF_MEMORY = -12,
    RPC_PORT_ERROR_PERMISSION_DENIED = -13,
    RPC_PORT_ERROR_INVALID_PARAMETER = -22
} rpc_port_error_e;

typedef enum { RPC_PORT_PORT_MAIN = 0, RPC_PORT_PORT_CALLBACK = 1 } rpc_port_port_type_e;

typedef struct {
    void (*to)(rpc_port_parcel_h h, void* data);   /* write data into the parcel  */
    void (*from)(rpc_port_parcel_h h, void* data); /* fill data from the parcel   */
} rpc_port_parcelable_t;

/* client side */
typedef void (*rpc_port_proxy_connected_event_cb)(const char* endpoint, const char* port_name,
                                                  rpc_port_h port, void* data);
typedef void (*rpc_port_proxy_disconnected_event_cb)(const char* endpoint, const char* port_name, void* data);
typedef void (*rpc_port_proxy_rejected_event_cb)(const char* endpoint, const char* port_name, void* data);
typedef void (*rpc_port_proxy_received_event_cb)(const char* endpoint, const char* port_name, void* data);

int rpc_port_proxy_create(rpc_port_proxy_h* h);
int rpc_port_proxy_destroy(rpc_port_proxy_h h);
int rpc_port_proxy_connect(rpc_port_proxy_h h, const char* appid, const char* port_name);
int rpc_port_proxy_add_connected_event_cb(rpc_port_proxy_h h, rpc_port_proxy_connected_event_cb cb,
                                          void* data);
int rpc_port_proxy_add_disconnected_event_cb(rpc_port_proxy_h h, rpc_port_proxy_disconnected_event_cb cb,
                                             void* data);
int rpc_port_proxy_add_rejected_event_cb(rpc_port_proxy_h h, rpc_port_proxy_rejected_event_cb cb, void* data);
int rpc_port_proxy_add_received_event_cb(rpc_port_proxy_h h, rpc_port_proxy_received_event_cb cb, void* data);
int rpc_port_proxy_get_port(rpc_port_proxy_h h, rpc_port_port_type_e type, rpc_port_h* port);

/* agent side */
typedef void (*rpc_port_stub_connected_event_cb)(const char* sender, const char* instance, void* data);
typedef void (*rpc_port_stub_disconnected_event_cb)(const char* sender, const char* instance, void* data);
typedef int (*rpc_port_stub_received_event_cb)(const char* sender, const char* instance, rpc_port_h port,
                                               void* data); /* 0, or -1 to drop the client */

int rpc_port_stub_create(rpc_port_stub_h* h, const char* port_name);
int rpc_port_stub_destroy(rpc_port_stub_h h);
int rpc_port_stub_listen(rpc_port_stub_h h);
int rpc_port_stub_add_connected_event_cb(rpc_port_stub_h h, rpc_port_stub_connected_event_cb cb, void* data);
int rpc_port_stub_add_disconnected_event_cb(rpc_port_stub_h h, rpc_port_stub_disconnected_event_cb cb,
                                            void* data);
int rpc_port_stub_add_received_event_cb(rpc_port_stub_h h, rpc_port_stub_received_event_cb cb, void* data);
int rpc_port_stub_get_port(rpc_port_stub_h h, rpc_port_port_type_e type, const char* instance,
                           rpc_port_h* port);

/* parcels */
int rpc_port_parcel_create(rpc_port_parcel_h* h);
int rpc_port_parcel_create_from_port(rpc_port_parcel_h* h, rpc_port_h port); /* blocks for the next parcel */
int rpc_port_parcel_send(rpc_port_parcel_h h, rpc_port_h port);
int rpc_port_parcel_destroy(rpc_port_parcel_h h);

int rpc_port_parcel_write_int32(rpc_port_parcel_h h, int i);
int rpc_port_parcel_write_int64(rpc_port_parcel_h h, long long i);
int rpc_port_parcel_write_bool(rpc_port_parcel_h h, bool b);
int rpc_port_parcel_write_string(rpc_port_parcel_h h, const char* str);
int rpc_port_parcel_write_bundle(rpc_port_parcel_h h, bundle* b);
int rpc_port_parcel_write_array_count(rpc_port_parcel_h h, int count);
int rpc_port_parcel_write(rpc_port_parcel_h h, rpc_port_parcelable_t* parcelable, void* data);

int rpc_port_parcel_read_int32(rpc_port_parcel_h h, int* i);
int rpc_port_parcel_read_int64(rpc_port_parcel_h h, long long* i);
int rpc_port_parcel_read_bool(rpc_port_parcel_h h, bool* b);
int rpc_port_parcel_read_string(rpc_port_parcel_h h, char** str); /* heap copy, caller frees */
int rpc_port_parcel_read_bundle(rpc_port_parcel_h h, bundle** b); /* heap copy, caller frees */
int rpc_port_parcel_read_array_count(rpc_port_parcel_h h, int* count);
int rpc_port_parcel_read(rpc_port_parcel_h h, rpc_port_parcelable_t* parcelable, void* data);

/* Optional: a platform may leave it out, so whoever uses it declares it weak.
 *
 * The next string where it lies in the parcel, valid until the parcel is destroyed. 0; or, exactly
 * where rpc_port_parcel_read_string fails, that error with *str = "" and *length = 0. */
int qv_port_parcel_borrow_string(rpc_port_parcel_h h, const char** str, int* length);

#ifdef __cplusplus
}
#endif

#endif
