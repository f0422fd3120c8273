/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief History of activities and notifications.
 */
#ifndef QUORVEL_CORE_HISTORY_H
#define QUORVEL_CORE_HISTORY_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

QUORVEL_API int quorvel_core_get_activity_history(quorvel_client_h handle, const char* filter,
                                                  char** json_str);

QUORVEL_API int quorvel_core_get_notification_history(quorvel_client_h handle, const char* filter,
                                                      char** json_str);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_HISTORY_H */
