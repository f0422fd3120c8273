/* SPDX-License-Identifier: Apache-2.0 */
#ifndef QUORVEL_CLIENT_DEVICE_DETAIL_H
#define QUORVEL_CLIENT_DEVICE_DETAIL_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_client_device_detail_h;
typedef enum {
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_ID = 0,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_TYPE = 1,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_NAME = 2,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_NICK = 3,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_PREFIX = 4,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_CLOUD_DEVICE_STATE = 5,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_COLOR = 6,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_LOCALE = 7,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_GROUP_ID = 8,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_FIRMWARE_VERSION = 9,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_MANUFACTURE_NAME = 10,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_VID = 11,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_COUNT = 12,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_URIS = 13,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_OBSERVABLE_RESOURCE_URIS = 14,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_UI_META_VERSION = 15,
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_SUBGROUP_ID = 16
} quorvel_client_device_detail_property_e;
typedef enum {
    QUORVEL_CLIENT_CLOUD_DEVICE_STATE_CONNECTED = 0,
    QUORVEL_CLIENT_CLOUD_DEVICE_STATE_DISCONNECTED = 1,
    QUORVEL_CLIENT_CLOUD_DEVICE_STATE_INACTIVE = 2,
    QUORVEL_CLIENT_CLOUD_DEVICE_STATE_UNKNOWN = 3
} quorvel_client_cloud_device_state_e;

typedef void (*quorvel_client_device_detail_list_updated_cb)(quorvel_client_device_detail_h* list, int count,
                                                             void* user_data);

QUORVEL_API int quorvel_client_get_device_detail_list(quorvel_client_h handle,
                                                      quorvel_client_device_detail_h** list, int* count);
QUORVEL_API int quorvel_client_get_device_detail(quorvel_client_h handle, const char* device_id,
                                                 quorvel_client_device_detail_h* detail);
QUORVEL_API int quorvel_client_device_detail_destroy(quorvel_client_device_detail_h detail);
QUORVEL_API int quorvel_client_device_detail_get_int(quorvel_client_device_detail_h detail, int property_id,
                                                     int* value);
QUORVEL_API int quorvel_client_device_detail_get_string(quorvel_client_device_detail_h detail,
                                                        int property_id, char** value);
QUORVEL_API int quorvel_client_device_detail_get_string_array(quorvel_client_device_detail_h detail,
                                                              int property_id, char*** list, int* count);
QUORVEL_API int quorvel_client_set_device_detail_list_updated_cb(
    quorvel_client_h handle, quorvel_client_device_detail_list_updated_cb cb, void* user_data);
QUORVEL_API int quorvel_client_unset_device_detail_list_updated_cb(quorvel_client_h handle);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_DEVICE_DETAIL_H */
