/* SPDX-License-Identifier: Apache-2.0 */
#ifndef QUORVEL_CLIENT_UDO_H
#define QUORVEL_CLIENT_UDO_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

QUORVEL_API int quorvel_client_get_udo_upload_url(quorvel_client_h handle, const char* first,
                                                  const char* second, const char* third, int content_length,
                                                  char** first_url, char** second_url);
QUORVEL_API int quorvel_client_get_udo_download_url(quorvel_client_h handle, const char* first,
                                                    const char* second, const char* third, char** url);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_UDO_H */
