/* SPDX-License-Identifier: Apache-2.0 */
#ifndef QUORVEL_CLIENT_APP_LAUNCH_H
#define QUORVEL_CLIENT_APP_LAUNCH_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_client_app_launch_condition_h;
typedef enum {
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_APP_ID = 0,
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_DEVICE_ID = 1,
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_RESOURCE_URI = 2,
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_PROPERTY_NAME = 3,
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_PROPERTY_TYPE = 4,
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_PROPERTY_VALUE = 5,
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_BUNDLE_JSON = 6
} quorvel_client_app_launch_condition_property_e;

QUORVEL_API int quorvel_client_add_app_launch_condition(quorvel_client_h handle,
                                                        quorvel_client_app_launch_condition_h condition);
QUORVEL_API int quorvel_client_remove_app_launch_condition(quorvel_client_h handle,
                                                           quorvel_client_app_launch_condition_h condition);
QUORVEL_API int quorvel_client_is_app_launch_condition_added(quorvel_client_h handle,
                                                             quorvel_client_app_launch_condition_h condition,
                                                             bool* added);
QUORVEL_API int quorvel_client_get_all_app_launch_conditions(quorvel_client_h handle,
                                                             quorvel_client_app_launch_condition_h** list,
                                                             int* count);
QUORVEL_API int quorvel_client_app_launch_condition_create(quorvel_client_app_launch_condition_h* condition);
QUORVEL_API int quorvel_client_app_launch_condition_set_string(
    quorvel_client_app_launch_condition_h condition, int property_id, const char* value);
QUORVEL_API int quorvel_client_app_launch_condition_get_string(
    quorvel_client_app_launch_condition_h condition, int property_id, char** value);
QUORVEL_API int quorvel_client_app_launch_condition_destroy(quorvel_client_app_launch_condition_h condition);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_APP_LAUNCH_H */
