/* SPDX-License-Identifier: Apache-2.0 */
#ifndef QUORVEL_CLIENT_EASY_SETUP_H
#define QUORVEL_CLIENT_EASY_SETUP_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef void* quorvel_client_easy_setup_access_point_h;
typedef void* quorvel_client_easy_setup_device_property_h;
typedef void* quorvel_client_easy_setup_cloud_property_h;
typedef void* quorvel_client_easy_setup_device_conf_h;
typedef void* quorvel_client_provisioning_info_h;

typedef enum { QUORVEL_CLIENT_EASY_SETUP_TYPE_HOST_ADDRESS = 0 } quorvel_client_easy_setup_type_e;
typedef enum {
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_SSID = 0,
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_MAC_ADDR = 1,
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_CHANNEL = 2,
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_ENC_TYPE = 3,
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_SEC_TYPE = 4,
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_MAX_RATE = 5,
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_RSSI = 6,
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_FREQ = 7
} quorvel_client_easy_setup_access_point_property_e;
typedef enum {
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_LANGUAGE = 0,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_COUNTRY = 1,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_LOCATION = 2,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_DISCOVERY_CHANNEL = 3,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_ZO_ACCOUNT = 4,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_UTC_DATE_TIME = 5,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_REGIONAL_DATE_TIME = 6,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_REGISTER_MOBILE_DEVICE = 7,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_BSSID = 8,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_SSID = 9,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_PASSWORD = 10,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_WIFI_AUTH_TYPE = 11,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_WIFI_ENC_TYPE = 12,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_QC_LOCATIONS = 13
} quorvel_client_easy_setup_device_property_e;
typedef enum {
    QUORVEL_CLIENT_EASY_SETUP_CLOUD_PROP_CI_HOST_ADDRESS = 0,
    QUORVEL_CLIENT_EASY_SETUP_CLOUD_PROP_TC_RESULT = 1
} quorvel_client_easy_setup_cloud_property_e;
typedef enum {
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_IS_CLOUD_ACCESSIBLE = 0,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_FREQ = 1,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_PROV_STATUS = 2,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_LAST_ERROR_CODE = 3,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_NET_CONNECTION_STATE = 4,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_DEVICE_NAME = 5,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_MODEL_NUMBER = 6,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_DEVICE_TYPE = 7,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_DEVICE_SUB_TYPE = 8,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_REGISTER_SET_DEVICE = 9,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_PNP_PIN = 10,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_BSSID = 11,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_NETWORK_PROVISIONING_INFO = 12,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_ES_PROTOCOL_VERSION = 13,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_COUNTRY = 14,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_HUB_ID = 15,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_TC_STATUS = 16,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_TC_HEADER = 17,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_TC_VERSION = 18,
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_WIFI_MODES = 19
} quorvel_client_easy_setup_device_conf_property_e;
typedef enum {
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_OWNED = 0,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_PROVISIONING_RESET = 1,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_OTM_SUPPORT = 2,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_ACCESSIBILITY = 3,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_SUPPORTED_TOKEN_TYPE = 4,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_SOFT_AP_ADDRESS = 5,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_BLE_ADDRESS = 6,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_EASYSETUP_ID = 7,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_EASYSETUP_VER = 8,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_SETUP_ID = 9,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_TARGET_SERIAL_NUM = 10,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_FIRMWARE_VER = 11,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_SESSION_ID = 12,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_LAST_STATUS = 13,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_NONCE = 14,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_COUNTRY_CODE = 15,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_TARGET_LOG_ID = 16,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_MNMN = 17,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_VID = 18,
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_PROTOCOL_LIST = 19
} quorvel_client_provisioning_info_property_e;

typedef void (*quorvel_client_easy_setup_result_cb)(int result, void* user_data);
typedef void (*quorvel_client_easy_setup_state_cb)(int first, int second, void* user_data);
typedef void (*quorvel_client_easy_setup_enrollee_error_cb)(int first, int second, void* user_data);
typedef void (*quorvel_client_easy_setup_otm_feature_cb)(int feature, void* user_data);
typedef void (*quorvel_client_easy_setup_random_pin_cb)(int value, void* user_data);
typedef void (*quorvel_client_easy_setup_enrollee_owned_cb)(bool owned, void* user_data);
typedef void (*quorvel_client_easy_setup_provisioning_info_cb)(quorvel_client_provisioning_info_h info,
                                                               void* user_data);
typedef void (*quorvel_client_easy_setup_enrollee_sign_in_cb)(bool signed_in, void* user_data);
typedef void (*quorvel_client_easy_setup_access_point_list_cb)(quorvel_client_easy_setup_access_point_h* list,
                                                               int count, void* user_data);
typedef void (*quorvel_client_easy_setup_device_conf_cb)(quorvel_client_easy_setup_device_conf_h conf,
                                                         void* user_data);

QUORVEL_API int quorvel_client_easy_setup_initialize(quorvel_client_h handle, int setup_type,
                                                     quorvel_client_easy_setup_result_cb cb, void* user_data);
QUORVEL_API int quorvel_client_easy_setup_start(quorvel_client_h handle, const char* host_address, bool flag,
                                                quorvel_client_easy_setup_otm_feature_cb otm_feature_cb,
                                                quorvel_client_easy_setup_random_pin_cb random_pin_cb,
                                                quorvel_client_easy_setup_enrollee_owned_cb enrollee_owned_cb,
                                                void* user_data);
QUORVEL_API int quorvel_client_easy_setup_start_v2(
    quorvel_client_h handle, const char* host_address, bool flag,
    quorvel_client_easy_setup_otm_feature_cb otm_feature_cb,
    quorvel_client_easy_setup_random_pin_cb random_pin_cb,
    quorvel_client_easy_setup_provisioning_info_cb provisioning_info_cb, void* user_data);
QUORVEL_API int quorvel_client_easy_setup_stop(quorvel_client_h handle);
QUORVEL_API int quorvel_client_set_easy_setup_state_cb(quorvel_client_h handle,
                                                       quorvel_client_easy_setup_state_cb cb,
                                                       void* user_data);
QUORVEL_API int quorvel_client_unset_easy_setup_state_cb(quorvel_client_h handle);
QUORVEL_API int quorvel_client_set_easy_setup_enrollee_error_cb(
    quorvel_client_h handle, quorvel_client_easy_setup_enrollee_error_cb cb, void* user_data);
QUORVEL_API int quorvel_client_unset_easy_setup_enrollee_error_cb(quorvel_client_h handle);
QUORVEL_API int quorvel_client_easy_setup_set_supported_otm_feature(quorvel_client_h handle, int feature);
QUORVEL_API int quorvel_client_easy_setup_set_random_pin(quorvel_client_h handle, const char* pin);
QUORVEL_API int quorvel_client_easy_setup_monitoring_enrollee_sign_in(
    quorvel_client_h handle, quorvel_client_easy_setup_enrollee_sign_in_cb cb, void* user_data);
QUORVEL_API int quorvel_client_easy_setup_get_last_error_code(quorvel_client_h handle, char** error_code);

QUORVEL_API int quorvel_client_easy_setup_get_access_point_list(
    quorvel_client_h handle, quorvel_client_easy_setup_access_point_list_cb cb, void* user_data);
QUORVEL_API int quorvel_client_easy_setup_access_point_get_string(
    quorvel_client_easy_setup_access_point_h access_point, int property_id, char** value);
QUORVEL_API int quorvel_client_easy_setup_destroy_access_point(
    quorvel_client_easy_setup_access_point_h access_point);
QUORVEL_API int quorvel_client_easy_setup_destroy_access_point_list(
    quorvel_client_easy_setup_access_point_h* list);

QUORVEL_API int quorvel_client_easy_setup_device_property_create(
    quorvel_client_easy_setup_device_property_h* property);
QUORVEL_API int quorvel_client_easy_setup_device_property_set_string(
    quorvel_client_easy_setup_device_property_h property, int property_id, const char* value);
QUORVEL_API int quorvel_client_easy_setup_device_property_get_string(
    quorvel_client_easy_setup_device_property_h property, int property_id, char** value);
QUORVEL_API int quorvel_client_easy_setup_device_property_set_string_array(
    quorvel_client_easy_setup_device_property_h property, int property_id, const char* const* list,
    int count);
QUORVEL_API int quorvel_client_easy_setup_device_property_get_string_array(
    quorvel_client_easy_setup_device_property_h property, int property_id, char*** list, int* count);
QUORVEL_API int quorvel_client_easy_setup_device_property_destroy(
    quorvel_client_easy_setup_device_property_h property);
QUORVEL_API int quorvel_client_easy_setup_device_provisioning(
    quorvel_client_h handle, quorvel_client_easy_setup_device_property_h property,
    quorvel_client_easy_setup_result_cb cb, void* user_data);

QUORVEL_API int quorvel_client_easy_setup_cloud_property_create(
    quorvel_client_easy_setup_cloud_property_h* property);
QUORVEL_API int quorvel_client_easy_setup_cloud_property_set_string(
    quorvel_client_easy_setup_cloud_property_h property, int property_id, const char* value);
QUORVEL_API int quorvel_client_easy_setup_cloud_property_get_string(
    quorvel_client_easy_setup_cloud_property_h property, int property_id, char** value);
QUORVEL_API int quorvel_client_easy_setup_cloud_property_destroy(
    quorvel_client_easy_setup_cloud_property_h property);
QUORVEL_API int quorvel_client_easy_setup_cloud_provisioning(
    quorvel_client_h handle, quorvel_client_easy_setup_cloud_property_h property,
    quorvel_client_easy_setup_result_cb cb, void* user_data);

QUORVEL_API int quorvel_client_easy_setup_get_device_conf(quorvel_client_h handle,
                                                          quorvel_client_easy_setup_device_conf_cb cb,
                                                          void* user_data);
QUORVEL_API int quorvel_client_easy_setup_device_conf_get_bool(quorvel_client_easy_setup_device_conf_h conf,
                                                               int property_id, bool* value);
QUORVEL_API int quorvel_client_easy_setup_device_conf_get_int(quorvel_client_easy_setup_device_conf_h conf,
                                                              int property_id, int* value);
QUORVEL_API int quorvel_client_easy_setup_device_conf_get_string(quorvel_client_easy_setup_device_conf_h conf,
                                                                 int property_id, char** value);
QUORVEL_API int quorvel_client_easy_setup_device_conf_get_int_array(
    quorvel_client_easy_setup_device_conf_h conf, int property_id, int** list, int* count);
QUORVEL_API int quorvel_client_easy_setup_device_conf_destroy(quorvel_client_easy_setup_device_conf_h conf);

QUORVEL_API int quorvel_client_easy_setup_set_bookmark_location(quorvel_client_h handle,
                                                                const char* expires_in, const char* group_id,
                                                                const char* subgroup_id,
                                                                quorvel_client_easy_setup_result_cb cb,
                                                                void* user_data);
QUORVEL_API int quorvel_client_easy_setup_send_reset_provisioning_info(quorvel_client_h handle,
                                                                       quorvel_client_easy_setup_result_cb cb,
                                                                       void* user_data);

QUORVEL_API int quorvel_client_provisioning_info_get_bool(quorvel_client_provisioning_info_h info,
                                                          int property_id, bool* value);
QUORVEL_API int quorvel_client_provisioning_info_get_int(quorvel_client_provisioning_info_h info,
                                                         int property_id, int* value);
QUORVEL_API int quorvel_client_provisioning_info_get_string(quorvel_client_provisioning_info_h info,
                                                            int property_id, char** value);
QUORVEL_API int quorvel_client_provisioning_info_get_string_array(quorvel_client_provisioning_info_h info,
                                                                  int property_id, char*** list, int* count);
QUORVEL_API int quorvel_client_provisioning_info_destroy(quorvel_client_provisioning_info_h info);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_EASY_SETUP_H */
