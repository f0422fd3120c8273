/* SPDX-License-Identifier: Apache-2.0 */
#ifndef QUORVEL_CLIENT_QC_API_H
#define QUORVEL_CLIENT_QC_API_H

#include "quorvel_client_device_detail.h"
#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_client_file_h;
typedef void* quorvel_client_self_sign_up_info_h;
typedef enum {
    QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_JWT = 0,
    QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_CLIENT_ID = 1,
    QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_UID = 2,
    QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_HOST_ADDRESS = 3,
    QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_JWT_AUTH_PROVIDER = 4,
    QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_SERVER_DEPLOYMENT_ENV = 5
} quorvel_client_self_sign_up_info_property_e;

typedef void (*quorvel_client_subscribe_cb)(const char* first, const char* second, const char* third,
                                            const char* fourth, const char* sixth, const char* fifth,
                                            void* user_data);
typedef void (*quorvel_client_cloud_device_state_cb)(const char* first, int state, const char* fourth,
                                                     const char* third, void* user_data);
typedef void (*quorvel_client_remote_representation_cb)(int sixth, const char* first, const char* second,
                                                        const char* third, const char* fifth,
                                                        const char* fourth, void* user_data);
typedef void (*quorvel_client_remote_attributes_cb)(int sixth, const char* first, const char* second,
                                                    const char* third, const char* fifth, const char* fourth,
                                                    void* user_data);
typedef void (*quorvel_client_accessory_list_cb)(int second, const char* first, void* user_data);
typedef void (*quorvel_client_vxr_migration_cb)(bool result, void* user_data);
typedef void (*quorvel_client_vxr_device_token_cb)(int second, const char* first, void* user_data);
typedef void (*quorvel_client_vxr_device_peer_token_cb)(int fourth, const char* first, const char* second,
                                                        bool third, void* user_data);
typedef void (*quorvel_client_third_party_notification_cb)(bool result, void* user_data);
typedef void (*quorvel_client_third_party_notification_status_cb)(int first, bool second, char** list,
                                                                  int count, void* user_data);
typedef void (*quorvel_client_third_party_notification_status_updated_cb)(void* user_data);
typedef void (*quorvel_client_files_cb)(int fourth, quorvel_client_file_h* list, int count,
                                        const char* status, void* user_data);

QUORVEL_API int quorvel_client_subscribe(quorvel_client_h handle, const char* device_id,
                                         const char* resource_uris, const char* extra,
                                         quorvel_client_subscribe_cb cb, void* user_data);
QUORVEL_API int quorvel_client_unsubscribe(quorvel_client_h handle, const char* device_id,
                                           const char* resource_uris);
QUORVEL_API int quorvel_client_start_monitoring_cloud_device_state(quorvel_client_h handle,
                                                                   const char* device_id, const char* extra,
                                                                   quorvel_client_cloud_device_state_cb cb,
                                                                   void* user_data);
QUORVEL_API int quorvel_client_stop_monitoring_cloud_device_state(quorvel_client_h handle,
                                                                  const char* device_id);

QUORVEL_API int quorvel_client_set_remote_representation(quorvel_client_h handle, const char* device_id,
                                                         const char* resource_uri, const char* value,
                                                         const char* extra1, const char* extra2,
                                                         quorvel_client_remote_representation_cb cb,
                                                         void* user_data);
QUORVEL_API int quorvel_client_get_remote_representation(quorvel_client_h handle, const char* device_id,
                                                         const char* resource_uri, const char* extra1,
                                                         const char* extra2,
                                                         quorvel_client_remote_representation_cb cb,
                                                         void* user_data);
QUORVEL_API int quorvel_client_set_remote_attributes(quorvel_client_h handle, const char* device_id,
                                                     const char* resource_uri, const char* value,
                                                     const char* extra1, const char* extra2,
                                                     quorvel_client_remote_attributes_cb cb, void* user_data);
QUORVEL_API int quorvel_client_get_remote_attributes(quorvel_client_h handle, const char* device_id,
                                                     const char* resource_uri, const char* extra1,
                                                     const char* extra2,
                                                     quorvel_client_remote_attributes_cb cb, void* user_data);
QUORVEL_API int quorvel_client_get_resource_uris(quorvel_client_h handle, const char* device_id,
                                                 const char* resource_type, char*** list, int* count);
QUORVEL_API int quorvel_client_get_resource_types_by_resource_uri(quorvel_client_h handle,
                                                                  const char* device_id,
                                                                  const char* resource_uri, char*** list,
                                                                  int* count);
QUORVEL_API int quorvel_client_get_accessory_list(quorvel_client_h handle,
                                                  quorvel_client_accessory_list_cb cb, void* user_data);

QUORVEL_API int quorvel_client_activate_vxr_migration(quorvel_client_h handle,
                                                      quorvel_client_vxr_migration_cb cb, void* user_data);
QUORVEL_API int quorvel_client_get_vxr_device_token(quorvel_client_h handle,
                                                    quorvel_client_vxr_device_token_cb cb, void* user_data);
QUORVEL_API int quorvel_client_get_vxr_device_peer_token(quorvel_client_h handle, const char* device_id,
                                                         quorvel_client_vxr_device_peer_token_cb cb,
                                                         void* user_data);
QUORVEL_API int quorvel_client_set_third_party_notification(
    quorvel_client_h handle, const char* push_provider, const char* push_reg_id, const char* push_app_id,
    const char* locale, quorvel_client_third_party_notification_cb cb, void* user_data);
QUORVEL_API int quorvel_client_set_third_party_notification_status(
    quorvel_client_h handle, bool enabled, const char* const* list, int count,
    quorvel_client_third_party_notification_cb cb, void* user_data);
QUORVEL_API int quorvel_client_get_third_party_notification_status(
    quorvel_client_h handle, quorvel_client_third_party_notification_status_cb cb, void* user_data);
QUORVEL_API int quorvel_client_set_third_party_notification_status_updated_cb(
    quorvel_client_h handle, quorvel_client_third_party_notification_status_updated_cb cb, void* user_data);
QUORVEL_API int quorvel_client_unset_third_party_notification_status_updated_cb(quorvel_client_h handle);
QUORVEL_API int quorvel_client_get_files(quorvel_client_h handle, const char* device_id,
                                         const char* resource_uri, const char* extra,
                                         quorvel_client_files_cb cb, void* user_data);
QUORVEL_API int quorvel_client_file_get_details(quorvel_client_file_h file, char** file_name,
                                                unsigned char** data, int* length);
QUORVEL_API int quorvel_client_file_destroy(quorvel_client_file_h file);
QUORVEL_API int quorvel_client_get_self_sign_up_info(quorvel_client_h handle, const char* group_id,
                                                     const char* extra,
                                                     quorvel_client_self_sign_up_info_h* info);
QUORVEL_API int quorvel_client_self_sign_up_info_get_string(quorvel_client_self_sign_up_info_h info,
                                                            int property_id, char** value);
QUORVEL_API int quorvel_client_self_sign_up_info_destroy(quorvel_client_self_sign_up_info_h info);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_QC_API_H */
