/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Apps installed in the user's account.
 */
#ifndef QUORVEL_CORE_INSTALLED_APP_H
#define QUORVEL_CORE_INSTALLED_APP_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_core_installed_app_h;

typedef enum {
    QUORVEL_CORE_INSTALLED_APP_PROP_INSTALLED_APP_ID = 0,
    QUORVEL_CORE_INSTALLED_APP_PROP_TYPE = 1,
    QUORVEL_CORE_INSTALLED_APP_PROP_STATUS = 2,
    QUORVEL_CORE_INSTALLED_APP_PROP_DISPLAY_NAME = 3,
    QUORVEL_CORE_INSTALLED_APP_PROP_APP_ID = 4,
    QUORVEL_CORE_INSTALLED_APP_PROP_REFERENCE_ID = 5,
    QUORVEL_CORE_INSTALLED_APP_PROP_LOCATION_ID = 6,
    QUORVEL_CORE_INSTALLED_APP_PROP_OWNER_TYPE = 7,
    QUORVEL_CORE_INSTALLED_APP_PROP_OWNER_ID = 8,
    QUORVEL_CORE_INSTALLED_APP_PROP_NOTICES = 9,
    QUORVEL_CORE_INSTALLED_APP_PROP_CREATED_DATE = 10,
    QUORVEL_CORE_INSTALLED_APP_PROP_LAST_UPDATED_DATE = 11
} quorvel_core_installed_app_prop_e;

QUORVEL_API int quorvel_core_get_installed_app_list(quorvel_client_h handle,
                                                    quorvel_core_installed_app_h** list, int* count);

QUORVEL_API int quorvel_core_get_installed_app(quorvel_client_h handle, const char* installed_app_id,
                                               quorvel_core_installed_app_h* installed_app);

QUORVEL_API int quorvel_core_get_installed_app_dashboard_json(quorvel_client_h handle,
                                                              const char* installed_app_id, char** json_str);

QUORVEL_API int quorvel_core_execute_installed_app(quorvel_client_h handle, const char* installed_app_id,
                                                   const char* request_json, char** result);

QUORVEL_API int quorvel_core_installed_app_get_string(quorvel_core_installed_app_h installed_app,
                                                      int property_id, char** value);

QUORVEL_API int quorvel_core_installed_app_destroy(quorvel_core_installed_app_h installed_app);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_INSTALLED_APP_H */
