/* SPDX-License-Identifier: Apache-2.0 */
#ifndef QUORVEL_CLIENT_H
#define QUORVEL_CLIENT_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void (*quorvel_client_connection_state_cb)(int result, int state, void* user_data);
typedef void (*quorvel_client_sign_in_state_changed_cb)(bool is_signed_in, void* user_data);
typedef void (*quorvel_client_ui_metadata_updated_cb)(const char* first, const char* second, void* user_data);

QUORVEL_API int quorvel_client_connect(quorvel_client_h* handle, quorvel_client_connection_state_cb cb,
                                       void* user_data);
QUORVEL_API int quorvel_client_disconnect(quorvel_client_h handle);
QUORVEL_API int quorvel_client_get_state(quorvel_client_h handle, int* state);
QUORVEL_API int quorvel_client_is_signed_in(quorvel_client_h handle, bool* is_signed_in);
QUORVEL_API int quorvel_client_get_access_token(quorvel_client_h handle, char** token);
QUORVEL_API int quorvel_client_get_device_id(quorvel_client_h handle, char** device_id);
QUORVEL_API int quorvel_client_get_connected_user_id(quorvel_client_h handle, char** user_id);
QUORVEL_API int quorvel_client_get_login_id(quorvel_client_h handle, char** login_id);
QUORVEL_API int quorvel_client_get_ui_metadata(quorvel_client_h handle, const char* vid, char** ui_metadata);
QUORVEL_API int quorvel_client_refresh_device_information(quorvel_client_h handle);
QUORVEL_API int quorvel_client_set_sign_in_state_changed_cb(quorvel_client_h handle,
                                                            quorvel_client_sign_in_state_changed_cb cb,
                                                            void* user_data);
QUORVEL_API int quorvel_client_unset_sign_in_state_changed_cb(quorvel_client_h handle);
QUORVEL_API int quorvel_client_set_ui_metadata_updated_cb(quorvel_client_h handle,
                                                          quorvel_client_ui_metadata_updated_cb cb,
                                                          void* user_data);
QUORVEL_API int quorvel_client_unset_ui_metadata_updated_cb(quorvel_client_h handle);

QUORVEL_END_DECLS

#include "quorvel_client_app_launch.h"
#include "quorvel_client_device.h"
#include "quorvel_client_device_detail.h"
#include "quorvel_client_easy_setup.h"
#include "quorvel_client_group.h"
#include "quorvel_client_internal.h"
#include "quorvel_client_notification.h"
#include "quorvel_client_qc_api.h"
#include "quorvel_client_scene.h"
#include "quorvel_client_udo.h"

#endif /* QUORVEL_CLIENT_H */
