/* SPDX-License-Identifier: Apache-2.0 */
#ifndef QUORVEL_CLIENT_GROUP_H
#define QUORVEL_CLIENT_GROUP_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_client_group_h;
typedef enum {
    QUORVEL_CLIENT_GROUP_TYPE_GROUP = 1,
    QUORVEL_CLIENT_GROUP_TYPE_SUBGROUP = 2
} quorvel_client_group_type_e;
typedef enum {
    QUORVEL_CLIENT_GROUP_EVENT_NONE = 0,
    QUORVEL_CLIENT_GROUP_EVENT_ADD = 1,
    QUORVEL_CLIENT_GROUP_EVENT_UPDATE = 2,
    QUORVEL_CLIENT_GROUP_EVENT_DELETE = 3
} quorvel_client_group_event_e;
typedef enum {
    QUORVEL_CLIENT_GROUP_PROP_GROUP_ID = 0,
    QUORVEL_CLIENT_GROUP_PROP_GROUP_NAME = 1,
    QUORVEL_CLIENT_GROUP_PROP_GROUP_NICK = 2,
    QUORVEL_CLIENT_GROUP_PROP_GROUP_OWNER = 3,
    QUORVEL_CLIENT_GROUP_PROP_GROUP_TYPE = 4,
    QUORVEL_CLIENT_GROUP_PROP_BACKGROUND_IMAGE = 5,
    QUORVEL_CLIENT_GROUP_PROP_PARENT_ID = 6,
    QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V1 = 7,
    QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V2 = 8,
    QUORVEL_CLIENT_GROUP_PROP_SUBGROUP_LIST = 9
} quorvel_client_group_property_e;

typedef void (*quorvel_client_group_list_updated_cb)(int event, int group_type, quorvel_client_group_h* list,
                                                     int count, const char* group_id, void* user_data);
typedef void (*quorvel_client_group_result_cb)(int result, const char* group_id, const char* second,
                                               void* user_data);

QUORVEL_API int quorvel_client_get_group_list(quorvel_client_h handle, int group_type,
                                              quorvel_client_group_h** list, int* count);
QUORVEL_API int quorvel_client_get_group(quorvel_client_h handle, const char* group_id,
                                         quorvel_client_group_h* group);
QUORVEL_API int quorvel_client_group_destroy(quorvel_client_group_h group);
QUORVEL_API int quorvel_client_group_get_string(quorvel_client_group_h group, int property_id, char** value);
QUORVEL_API int quorvel_client_group_get_string_array(quorvel_client_group_h group, int property_id,
                                                      char*** list, int* count);
QUORVEL_API int quorvel_client_set_group_list_updated_cb(quorvel_client_h handle,
                                                         quorvel_client_group_list_updated_cb cb,
                                                         void* user_data);
QUORVEL_API int quorvel_client_unset_group_list_updated_cb(quorvel_client_h handle);
QUORVEL_API int quorvel_client_add_group(quorvel_client_h handle, const char* first, const char* group_name,
                                         const char* third, const char* fourth, const char* fifth,
                                         quorvel_client_group_result_cb cb, void* user_data);
QUORVEL_API int quorvel_client_remove_group(quorvel_client_h handle, const char* group_id, const char* second,
                                            quorvel_client_group_result_cb cb, void* user_data);
QUORVEL_API int quorvel_client_update_group(quorvel_client_h handle, const char* group_id, const char* second,
                                            const char* third, const char* fourth, const char* fifth,
                                            const char* sixth, quorvel_client_group_result_cb cb,
                                            void* user_data);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_GROUP_H */
