/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Rooms of a location.
 */
#ifndef QUORVEL_CORE_ROOM_H
#define QUORVEL_CORE_ROOM_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_core_room_h;

typedef enum {
    QUORVEL_CORE_ROOM_PROP_ROOM_ID = 0,
    QUORVEL_CORE_ROOM_PROP_NAME = 1,
    QUORVEL_CORE_ROOM_PROP_LOCATION_ID = 2
} quorvel_core_room_prop_e;

QUORVEL_API int quorvel_core_get_room(quorvel_client_h handle, const char* location_id, const char* room_id,
                                      quorvel_core_room_h* room);

QUORVEL_API int quorvel_core_get_room_list(quorvel_client_h handle, const char* location_id,
                                           quorvel_core_room_h** list, int* count);

QUORVEL_API int quorvel_core_get_room_json(quorvel_client_h handle, const char* location_id,
                                           const char* room_id, char** json_str);

QUORVEL_API int quorvel_core_create_room(quorvel_client_h handle, const char* location_id, const char* name,
                                         char** result_str);

QUORVEL_API int quorvel_core_change_room_name(quorvel_client_h handle, const char* location_id,
                                              const char* room_id, const char* name, char** result_str);

QUORVEL_API int quorvel_core_delete_room(quorvel_client_h handle, const char* location_id,
                                         const char* room_id, char** result_str);

QUORVEL_API int quorvel_core_room_get_string(quorvel_core_room_h room, int property_id, char** value);

QUORVEL_API int quorvel_core_room_destroy(quorvel_core_room_h room);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_ROOM_H */
