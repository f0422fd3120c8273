/* SPDX-License-Identifier: Apache-2.0 */
#ifndef QUORVEL_CLIENT_NOTIFICATION_H
#define QUORVEL_CLIENT_NOTIFICATION_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void (*quorvel_client_notification_cb)(const char* first, const char* second, const char* third,
                                               void* user_data);

QUORVEL_API int quorvel_client_set_notification_cb(quorvel_client_h handle, quorvel_client_notification_cb cb,
                                                   void* user_data);
QUORVEL_API int quorvel_client_unset_notification_cb(quorvel_client_h handle);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_NOTIFICATION_H */
