/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Scenes of a location.
 */
#ifndef QUORVEL_CORE_SCENE_H
#define QUORVEL_CORE_SCENE_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_core_scene_h;

typedef enum {
    QUORVEL_CORE_SCENE_PROP_SCENE_ID = 0,
    QUORVEL_CORE_SCENE_PROP_SCENE_JSON = 1
} quorvel_core_scene_prop_e;

QUORVEL_API int quorvel_core_get_scene(quorvel_client_h handle, const char* location_id, const char* scene_id,
                                       quorvel_core_scene_h* scene);

QUORVEL_API int quorvel_core_get_scene_list(quorvel_client_h handle, const char* location_id,
                                            quorvel_core_scene_h** list, int* count);

QUORVEL_API int quorvel_core_create_scene(quorvel_client_h handle, const char* location_id,
                                          const char* scene_json, char** result_str);

QUORVEL_API int quorvel_core_update_scene(quorvel_client_h handle, const char* location_id,
                                          const char* scene_id, const char* scene_json, char** result_str);

QUORVEL_API int quorvel_core_delete_scene(quorvel_client_h handle, const char* location_id,
                                          const char* scene_id, char** result_str);

QUORVEL_API int quorvel_core_execute_scene(quorvel_client_h handle, const char* location_id,
                                           const char* scene_id, char** result_str);

QUORVEL_API int quorvel_core_execute_adhoc_scene(quorvel_client_h handle, const char* location_id,
                                                 const char* scene_json, char** result_str);

QUORVEL_API int quorvel_core_scene_get_string(quorvel_core_scene_h scene, int property_id, char** value);

QUORVEL_API int quorvel_core_scene_destroy(quorvel_core_scene_h scene);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_SCENE_H */
