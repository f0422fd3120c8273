/* SPDX-License-Identifier: Apache-2.0 */
#ifndef QUORVEL_CLIENT_INTERNAL_H
#define QUORVEL_CLIENT_INTERNAL_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef enum {
    QUORVEL_CLIENT_INTERNAL_SERVER_ENV_TYPE_0 = 0,
    QUORVEL_CLIENT_INTERNAL_SERVER_ENV_TYPE_1 = 1
} quorvel_client_internal_server_env_type_e;
typedef enum {
    QUORVEL_CLIENT_INTERNAL_SERVER_ENV_0 = 0,
    QUORVEL_CLIENT_INTERNAL_SERVER_ENV_1 = 1,
    QUORVEL_CLIENT_INTERNAL_SERVER_ENV_2 = 2
} quorvel_client_internal_server_env_e;

QUORVEL_API int quorvel_client_internal_get_server_env(quorvel_client_h handle, unsigned int type, int* env);
QUORVEL_API int quorvel_client_internal_set_server_env(quorvel_client_h handle, unsigned int type,
                                                       unsigned int env);
QUORVEL_API int quorvel_client_internal_set_suspend_mode(quorvel_client_h handle, bool suspend);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_INTERNAL_H */
