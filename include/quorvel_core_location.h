/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Locations and their users.
 */
#ifndef QUORVEL_CORE_LOCATION_H
#define QUORVEL_CORE_LOCATION_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_core_location_h;

typedef enum {
    QUORVEL_CORE_LOCATION_PROP_LOCATION_ID = 0,
    QUORVEL_CORE_LOCATION_PROP_NAME = 1,
    QUORVEL_CORE_LOCATION_PROP_COUNTRY_CODE = 2,
    QUORVEL_CORE_LOCATION_PROP_LATITUDE = 3,
    QUORVEL_CORE_LOCATION_PROP_LONGITUDE = 4,
    QUORVEL_CORE_LOCATION_PROP_REGION_RADIUS = 5,
    QUORVEL_CORE_LOCATION_PROP_TEMPERATURE_SCALE = 6,
    QUORVEL_CORE_LOCATION_PROP_TIME_ZONE_ID = 7,
    QUORVEL_CORE_LOCATION_PROP_LOCALE = 8,
    QUORVEL_CORE_LOCATION_PROP_PARENT_TYPE = 9,
    QUORVEL_CORE_LOCATION_PROP_PARENT_ID = 10
} quorvel_core_location_prop_e;

QUORVEL_API int quorvel_core_get_location(quorvel_client_h handle, const char* location_id,
                                          quorvel_core_location_h* location);

QUORVEL_API int quorvel_core_get_location_list(quorvel_client_h handle, quorvel_core_location_h** list,
                                               int* count);

QUORVEL_API int quorvel_core_get_location_json(quorvel_client_h handle, const char* location_id,
                                               char** json_str);

QUORVEL_API int quorvel_core_get_location_users(quorvel_client_h handle, const char* location_id,
                                                char** json_str);

QUORVEL_API int quorvel_core_get_all_location_users(quorvel_client_h handle, char** json_str);

QUORVEL_API int quorvel_core_create_location(quorvel_client_h handle, const char* name,
                                             const char* country_code, const char* latitude,
                                             const char* longitude, const char* region_radius,
                                             const char* temperature_scale, const char* locale,
                                             const char* parent_type, const char* parent_id,
                                             char** result_str);

QUORVEL_API int quorvel_core_update_location(quorvel_client_h handle, const char* location_id,
                                             const char* name, const char* latitude, const char* longitude,
                                             const char* region_radius, const char* temperature_scale,
                                             const char* locale, char** result_str);

QUORVEL_API int quorvel_core_delete_location(quorvel_client_h handle, const char* location_id,
                                             char** result_str);

QUORVEL_API int quorvel_core_location_get_string(quorvel_core_location_h location, int property_id,
                                                 char** value);

QUORVEL_API int quorvel_core_location_destroy(quorvel_core_location_h location);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_LOCATION_H */
