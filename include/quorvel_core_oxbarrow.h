/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Installation of an app.
 */
#ifndef QUORVEL_CORE_OXBARROW_H
#define QUORVEL_CORE_OXBARROW_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

QUORVEL_API int quorvel_core_oxbarrow_initialize(quorvel_client_h handle, const char* app_id,
                                                 const char* location_id, const char* locale,
                                                 const char* options, char** result);

QUORVEL_API int quorvel_core_oxbarrow_cancel_installation(quorvel_client_h handle, const char* app_id,
                                                          const char* installed_app_id,
                                                          const char* location_id);

QUORVEL_API int quorvel_core_oxbarrow_complete_installation(quorvel_client_h handle, const char* app_id,
                                                            const char* installed_app_id,
                                                            const char* location_id,
                                                            const char* configuration_id,
                                                            const char* request_json, char** result);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_OXBARROW_H */
