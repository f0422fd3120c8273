/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Devices of the cloud.
 */
#ifndef QUORVEL_CORE_DEVICE_H
#define QUORVEL_CORE_DEVICE_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_core_device_h;

typedef enum {
    QUORVEL_CORE_DEVICE_PROP_DEVICE_ID = 0,
    QUORVEL_CORE_DEVICE_PROP_NAME = 1,
    QUORVEL_CORE_DEVICE_PROP_LABEL = 2,
    QUORVEL_CORE_DEVICE_PROP_MANUFACTURER_NAME = 3,
    QUORVEL_CORE_DEVICE_PROP_PRESENTATION_ID = 4,
    QUORVEL_CORE_DEVICE_PROP_DEVICE_MANUFACTURE_CODE = 5,
    QUORVEL_CORE_DEVICE_PROP_LOCATION_ID = 6,
    QUORVEL_CORE_DEVICE_PROP_OWNER_ID = 7,
    QUORVEL_CORE_DEVICE_PROP_ROOM_ID = 8,
    QUORVEL_CORE_DEVICE_PROP_COMPONENTS = 9,
    QUORVEL_CORE_DEVICE_PROP_CHILD_DEVICES = 10,
    QUORVEL_CORE_DEVICE_PROP_PROFILE = 11,
    QUORVEL_CORE_DEVICE_PROP_TYPE = 12,
    QUORVEL_CORE_DEVICE_PROP_DETAILS = 13,
    QUORVEL_CORE_DEVICE_PROP_RESTRICTION_TIER = 14,
    QUORVEL_CORE_DEVICE_PROP_PARENT_DEVICE_ID = 15,
    QUORVEL_CORE_DEVICE_PROP_DEVICE_MODEL = 16,
    QUORVEL_CORE_DEVICE_PROP_SHARED_LOCATIONS = 17,
    QUORVEL_CORE_DEVICE_PROP_CREATE_TIME = 18,
    QUORVEL_CORE_DEVICE_PROP_HEALTH_STATE = 19,
    QUORVEL_CORE_DEVICE_PROP_EXTERNAL_ID = 20,
    QUORVEL_CORE_DEVICE_PROP_OCF_DEVICE_TYPE = 21,
    QUORVEL_CORE_DEVICE_PROP_POSSIBLE_ICONS = 22,
    QUORVEL_CORE_DEVICE_PROP_ICONS = 23
} quorvel_core_device_prop_e;

QUORVEL_API int quorvel_core_get_device(quorvel_client_h handle, const char* device_id,
                                        quorvel_core_device_h* device);

QUORVEL_API int quorvel_core_get_device_list(quorvel_client_h handle, const char* filter,
                                             quorvel_core_device_h** list, int* count);

QUORVEL_API int quorvel_core_get_hub_device_id_list(quorvel_client_h handle, const char* hub_id, char*** ids,
                                                    int* count);

QUORVEL_API int quorvel_core_get_device_health_data(quorvel_client_h handle, const char* device_id,
                                                    int* health);

QUORVEL_API int quorvel_core_get_device_json(quorvel_client_h handle, const char* device_id, char** json_str);

QUORVEL_API int quorvel_core_get_device_list_json(quorvel_client_h handle, const char* filter,
                                                  char** json_str);

QUORVEL_API int quorvel_core_get_device_health_data_json(quorvel_client_h handle, const char* device_id,
                                                         char** json_str);

QUORVEL_API int quorvel_core_get_device_status(quorvel_client_h handle, const char* device_id,
                                               char** json_str);

QUORVEL_API int quorvel_core_get_device_component_status(quorvel_client_h handle, const char* device_id,
                                                         const char* component_id, char** json_str);

QUORVEL_API int quorvel_core_get_device_capability_status(quorvel_client_h handle, const char* device_id,
                                                          const char* component_id, const char* capability_id,
                                                          char** json_str);

QUORVEL_API int quorvel_core_get_device_preferences(quorvel_client_h handle, const char* device_id,
                                                    const char* preference_name, char** json_str);

QUORVEL_API int quorvel_core_get_home_insight_device_statistics(quorvel_client_h handle,
                                                                const char* location_id, char** json_str);

QUORVEL_API int quorvel_core_get_device_presentation(quorvel_client_h handle, const char* device_id,
                                                     const char* presentation_id, const char* locale,
                                                     bool detailed, char** json_str);

QUORVEL_API int quorvel_core_get_ir_device(quorvel_client_h handle, const char* parent_device_id,
                                           const char* ir_device_id, char** json_str);

QUORVEL_API int quorvel_core_migrate_local_mqtt_device(quorvel_client_h handle, const char* device_id,
                                                       const char* hub_id, char** result);

QUORVEL_API int quorvel_core_execute_device(quorvel_client_h handle, const char* device_id,
                                            const char* commands_json, char** result);

QUORVEL_API int quorvel_core_update_device_preferences(quorvel_client_h handle, const char* device_id,
                                                       const char* preference_name,
                                                       const char* preferences_json, char** result);

QUORVEL_API int quorvel_core_create_ir_device(quorvel_client_h handle, const char* parent_device_id,
                                              const char* ir_device_json, char** result);

QUORVEL_API int quorvel_core_move_device(quorvel_client_h handle, const char* device_id,
                                         const char* location_id, const char* room_id, char** result_str);

QUORVEL_API int quorvel_core_change_device_name(quorvel_client_h handle, const char* device_id,
                                                const char* name, char** result_str);

QUORVEL_API int quorvel_core_update_device_components(quorvel_client_h handle, const char* device_id,
                                                      const char* components_json, char** result_str);

QUORVEL_API int quorvel_core_delete_device(quorvel_client_h handle, const char* device_id);

QUORVEL_API int quorvel_core_start_hub_device_discover(quorvel_client_h handle, const char* hub_id,
                                                       int duration, bool allow_join, bool include_known,
                                                       int protocol);

QUORVEL_API int quorvel_core_stop_hub_device_discover(quorvel_client_h handle, const char* hub_id);

QUORVEL_API int quorvel_core_device_get_string(quorvel_core_device_h device, int property_id, char** value);

QUORVEL_API int quorvel_core_device_destroy(quorvel_core_device_h device);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_DEVICE_H */
