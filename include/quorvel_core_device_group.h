/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Groups of devices.
 */
#ifndef QUORVEL_CORE_DEVICE_GROUP_H
#define QUORVEL_CORE_DEVICE_GROUP_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_core_device_group_h;

typedef enum {
    QUORVEL_CORE_DEVICE_GROUP_PROP_GROUP_ID = 0,
    QUORVEL_CORE_DEVICE_GROUP_PROP_NAME = 1,
    QUORVEL_CORE_DEVICE_GROUP_PROP_TYPE = 2,
    QUORVEL_CORE_DEVICE_GROUP_PROP_LOCATION_ID = 3,
    QUORVEL_CORE_DEVICE_GROUP_PROP_ROOM_ID = 4,
    QUORVEL_CORE_DEVICE_GROUP_PROP_DEVICES_JSON = 5,
    QUORVEL_CORE_DEVICE_GROUP_PROP_CAPABILITIES_JSON = 6,
    QUORVEL_CORE_DEVICE_GROUP_PROP_RESTRICTION_TIER = 7
} quorvel_core_device_group_prop_e;

typedef enum {
    QUORVEL_CORE_DEVICE_GROUP_TYPE_UNDETERMINED = 0,
    QUORVEL_CORE_DEVICE_GROUP_TYPE_GENERIC = 1,
    QUORVEL_CORE_DEVICE_GROUP_TYPE_VIDEO_CAMERA = 2,
    QUORVEL_CORE_DEVICE_GROUP_TYPE_LIGHTING = 3
} quorvel_core_device_group_type_e;

QUORVEL_API int quorvel_core_get_device_group(quorvel_client_h handle, const char* group_id,
                                              quorvel_core_device_group_h* group);

QUORVEL_API int quorvel_core_get_device_group_list(quorvel_client_h handle,
                                                   quorvel_core_device_group_h** list, int* count);

QUORVEL_API int quorvel_core_get_device_group_devices_status(quorvel_client_h handle, const char* group_id,
                                                             char** status_json);

QUORVEL_API int quorvel_core_create_device_group(quorvel_client_h handle, const char* name, int type,
                                                 const char* devices_json, const char* room_id,
                                                 char** result_str);

QUORVEL_API int quorvel_core_update_device_group(quorvel_client_h handle, const char* group_id,
                                                 const char* name, const char* devices_json,
                                                 const char* room_id, char** result_str);

QUORVEL_API int quorvel_core_delete_device_group(quorvel_client_h handle, const char* group_id,
                                                 char** result_str);

QUORVEL_API int quorvel_core_execute_device_group(quorvel_client_h handle, const char* group_id,
                                                  const char* commands_json, char** result_str);

QUORVEL_API int quorvel_core_device_group_get_string(quorvel_core_device_group_h group, int property_id,
                                                     char** value);

QUORVEL_API int quorvel_core_device_group_get_int(quorvel_core_device_group_h group, int property_id,
                                                  int* value);

QUORVEL_API int quorvel_core_device_group_destroy(quorvel_core_device_group_h group);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_DEVICE_GROUP_H */
