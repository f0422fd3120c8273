/* SPDX-License-Identifier: Apache-2.0 */
#ifndef QUORVEL_CLIENT_SCENE_H
#define QUORVEL_CLIENT_SCENE_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_client_scene_h;
typedef enum {
    QUORVEL_CLIENT_SCENE_PROP_SCENE_ID = 0,
    QUORVEL_CLIENT_SCENE_PROP_SCENE = 1
} quorvel_client_scene_property_e;
typedef enum {
    QUORVEL_CLIENT_SCENE_EVENT_NONE = 0,
    QUORVEL_CLIENT_SCENE_EVENT_ADD = 1,
    QUORVEL_CLIENT_SCENE_EVENT_UPDATE = 2,
    QUORVEL_CLIENT_SCENE_EVENT_DELETE = 3
} quorvel_client_scene_event_e;

typedef void (*quorvel_client_scene_list_updated_cb)(int event, quorvel_client_scene_h* list, int count,
                                                     const char* scene_id, void* user_data);
typedef void (*quorvel_client_scene_result_cb)(int result, const char* scene_id, const char* scene,
                                               const char* fourth, void* user_data);

QUORVEL_API int quorvel_client_get_scene_list(quorvel_client_h handle, quorvel_client_scene_h** list,
                                              int* count);
QUORVEL_API int quorvel_client_get_scene(quorvel_client_h handle, const char* scene_id,
                                         quorvel_client_scene_h* scene);
QUORVEL_API int quorvel_client_scene_destroy(quorvel_client_scene_h scene);
QUORVEL_API int quorvel_client_scene_get_string(quorvel_client_scene_h scene, int property_id, char** value);
QUORVEL_API int quorvel_client_set_scene_list_updated_cb(quorvel_client_h handle,
                                                         quorvel_client_scene_list_updated_cb cb,
                                                         void* user_data);
QUORVEL_API int quorvel_client_unset_scene_list_updated_cb(quorvel_client_h handle);
QUORVEL_API int quorvel_client_do_scene(quorvel_client_h handle, const char* scene_id,
                                        quorvel_client_scene_result_cb cb, void* user_data);
QUORVEL_API int quorvel_client_add_scene(quorvel_client_h handle, const char* group_id, const char* scene,
                                         quorvel_client_scene_result_cb cb, void* user_data);
QUORVEL_API int quorvel_client_remove_scene(quorvel_client_h handle, const char* scene_id,
                                            quorvel_client_scene_result_cb cb, void* user_data);
QUORVEL_API int quorvel_client_update_scene(quorvel_client_h handle, const char* scene_id, const char* scene,
                                            quorvel_client_scene_result_cb cb, void* user_data);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_SCENE_H */
