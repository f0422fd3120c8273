/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Favorites of a user in a location.
 */
#ifndef QUORVEL_CORE_FAVORITE_H
#define QUORVEL_CORE_FAVORITE_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_core_favorite_h;

typedef enum {
    QUORVEL_CORE_FAVORITE_PROP_FAVORITE_ID = 0,
    QUORVEL_CORE_FAVORITE_PROP_LOCATION_ID = 1,
    QUORVEL_CORE_FAVORITE_PROP_MEMBER_ID = 2,
    QUORVEL_CORE_FAVORITE_PROP_MEMBER_TYPE = 3,
    QUORVEL_CORE_FAVORITE_PROP_ADDITIONAL_ID = 4,
    QUORVEL_CORE_FAVORITE_PROP_BUCKET = 5,
    QUORVEL_CORE_FAVORITE_PROP_DEVICE_MODEL = 6,
    QUORVEL_CORE_FAVORITE_PROP_CREATED_DATE = 7,
    QUORVEL_CORE_FAVORITE_PROP_LAST_UPDATED_DATE = 8,
    QUORVEL_CORE_FAVORITE_PROP_SORT_ORDER = 9
} quorvel_core_favorite_prop_e;

QUORVEL_API int quorvel_core_get_favorite_list(quorvel_client_h handle, const char* location_id,
                                               const char* visibility, quorvel_core_favorite_h** list,
                                               int* count);

QUORVEL_API int quorvel_core_get_favorite(quorvel_client_h handle, const char* location_id,
                                          const char* favorite_id, const char* visibility,
                                          quorvel_core_favorite_h* favorite);

QUORVEL_API int quorvel_core_create_favorite(quorvel_client_h handle, const char* location_id,
                                             const char* visibility, const char* favorite_json,
                                             quorvel_core_favorite_h* favorite);

QUORVEL_API int quorvel_core_replace_favorites(quorvel_client_h handle, const char* location_id,
                                               const char* visibility, const char* favorites_json,
                                               quorvel_core_favorite_h** list, int* count);

QUORVEL_API int quorvel_core_delete_favorites(quorvel_client_h handle, const char* location_id,
                                              const char* visibility);

QUORVEL_API int quorvel_core_delete_favorite(quorvel_client_h handle, const char* location_id,
                                             const char* favorite_id, const char* visibility);

QUORVEL_API int quorvel_core_get_favorite_migration_status(quorvel_client_h handle, const char* location_id,
                                                           bool* is_migrated, char** last_updated_date,
                                                           char** device_model);

QUORVEL_API int quorvel_core_update_favorite_migration_status(quorvel_client_h handle,
                                                              const char* location_id, const char* status,
                                                              char** result);

QUORVEL_API int quorvel_core_favorite_get_string(quorvel_core_favorite_h favorite, int property_id,
                                                 char** value);

QUORVEL_API int quorvel_core_favorite_get_int(quorvel_core_favorite_h favorite, int property_id, int* value);

QUORVEL_API int quorvel_core_favorite_destroy(quorvel_core_favorite_h favorite);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_FAVORITE_H */
