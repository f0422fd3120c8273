/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Automation rules of a location.
 */
#ifndef QUORVEL_CORE_RULE_H
#define QUORVEL_CORE_RULE_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_core_rule_h;

typedef enum {
    QUORVEL_CORE_RULE_PROP_RULE_ID = 0,
    QUORVEL_CORE_RULE_PROP_RULE_JSON = 1
} quorvel_core_rule_prop_e;

QUORVEL_API int quorvel_core_get_rule(quorvel_client_h handle, const char* location_id, const char* rule_id,
                                      quorvel_core_rule_h* rule);

QUORVEL_API int quorvel_core_get_rule_list(quorvel_client_h handle, const char* location_id,
                                           quorvel_core_rule_h** list, int* count);

QUORVEL_API int quorvel_core_create_rule(quorvel_client_h handle, const char* location_id,
                                         const char* rule_json, char** result_str);

QUORVEL_API int quorvel_core_update_rule(quorvel_client_h handle, const char* location_id,
                                         const char* rule_id, const char* rule_json, char** result_str);

QUORVEL_API int quorvel_core_delete_rule(quorvel_client_h handle, const char* location_id,
                                         const char* rule_id, char** result_str);

QUORVEL_API int quorvel_core_execute_rule(quorvel_client_h handle, const char* location_id,
                                          const char* rule_id, char** result_str);

QUORVEL_API int quorvel_core_update_rule_status(quorvel_client_h handle, const char* location_id,
                                                const char* rule_id, bool enabled, char** result_str);

QUORVEL_API int quorvel_core_rule_get_string(quorvel_core_rule_h rule, int property_id, char** value);

QUORVEL_API int quorvel_core_rule_destroy(quorvel_core_rule_h rule);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_RULE_H */
