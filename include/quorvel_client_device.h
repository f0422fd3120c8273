/* SPDX-License-Identifier: Apache-2.0 */
#ifndef QUORVEL_CLIENT_DEVICE_H
#define QUORVEL_CLIENT_DEVICE_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_client_device_h;
typedef enum {
    QUORVEL_CLIENT_DEVICE_PROP_DEVICE_ID = 0,
    QUORVEL_CLIENT_DEVICE_PROP_DEVICE_TYPE = 1
} quorvel_client_device_property_e;

typedef void (*quorvel_client_device_list_updated_cb)(quorvel_client_device_h* list, int count,
                                                      void* user_data);
typedef void (*quorvel_client_device_result_cb)(int result, void* user_data);

QUORVEL_API int quorvel_client_get_device_list(quorvel_client_h handle, quorvel_client_device_h** list,
                                               int* count);
QUORVEL_API int quorvel_client_device_destroy(quorvel_client_device_h device);
QUORVEL_API int quorvel_client_device_get_string(quorvel_client_device_h device, int property_id,
                                                 char** value);
QUORVEL_API int quorvel_client_device_get_string_array(quorvel_client_device_h device, int property_id,
                                                       char*** list, int* count);
QUORVEL_API int quorvel_client_set_device_list_updated_cb(quorvel_client_h handle,
                                                          quorvel_client_device_list_updated_cb cb,
                                                          void* user_data);
QUORVEL_API int quorvel_client_unset_device_list_updated_cb(quorvel_client_h handle);
QUORVEL_API int quorvel_client_move_devices(quorvel_client_h handle, const char* const* device_ids, int count,
                                            const char* group_id, const char* extra,
                                            quorvel_client_device_result_cb cb, void* user_data);
QUORVEL_API int quorvel_client_change_device_nick(quorvel_client_h handle, const char* device_id,
                                                  const char* nick_name, quorvel_client_device_result_cb cb,
                                                  void* user_data);
QUORVEL_API int quorvel_client_remove_device(quorvel_client_h handle, const char* device_id,
                                             quorvel_client_device_result_cb cb, void* user_data);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_DEVICE_H */
