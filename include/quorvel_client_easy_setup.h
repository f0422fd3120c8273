/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Easy setup: bringing a new device, the enrollee, into the home.
 *
 * The agent does the work. The application initialises, waits for the result, starts, and then answers what
 * the callbacks of the start ask for:
 *
 * 1. quorvel_client_set_easy_setup_state_cb() and quorvel_client_set_easy_setup_enrollee_error_cb() watch;
 * 2. quorvel_client_easy_setup_initialize(), and wait for its result to be 0;
 * 3. quorvel_client_easy_setup_start() or quorvel_client_easy_setup_start_v2();
 * 4. quorvel_client_easy_setup_set_supported_otm_feature(), when asked;
 * 5. quorvel_client_easy_setup_set_random_pin(), when asked;
 * 6. quorvel_client_easy_setup_get_access_point_list(), to choose a network;
 * 7. quorvel_client_easy_setup_device_provisioning();
 * 8. quorvel_client_easy_setup_get_device_conf(), to see what the enrollee made of it;
 * 9. quorvel_client_easy_setup_cloud_provisioning();
 * 10. quorvel_client_easy_setup_monitoring_enrollee_sign_in();
 * 11. quorvel_client_easy_setup_set_bookmark_location(), to place it;
 * 12. quorvel_client_easy_setup_stop().
 *
 * The session belongs to the process, not to a handle. The callbacks that a start registers stay until the
 * next initialise: a second start keeps the callbacks of the first and only takes the new user data. The same
 * holds after a disconnect and a new connect: a start without a new initialise registers nothing then, and
 * nothing of the session is heard. So initialise before every start. Initialise and start from one thread.
 */
#ifndef QUORVEL_CLIENT_EASY_SETUP_H
#define QUORVEL_CLIENT_EASY_SETUP_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief An access point that the enrollee sees. Released with
 * quorvel_client_easy_setup_destroy_access_point(), or with its list by
 * quorvel_client_easy_setup_destroy_access_point_list().
 */
typedef void* quorvel_client_easy_setup_access_point_h;

/**
 * @brief What the enrollee is to be set up with. Released with
 * quorvel_client_easy_setup_device_property_destroy().
 */
typedef void* quorvel_client_easy_setup_device_property_h;

/**
 * @brief What the enrollee is to reach the cloud with. Released with
 * quorvel_client_easy_setup_cloud_property_destroy().
 */
typedef void* quorvel_client_easy_setup_cloud_property_h;

/**
 * @brief The enrollee's configuration. Released with quorvel_client_easy_setup_device_conf_destroy().
 */
typedef void* quorvel_client_easy_setup_device_conf_h;

/**
 * @brief What the enrollee tells of itself during a start of the second version. Released with
 * quorvel_client_provisioning_info_destroy().
 */
typedef void* quorvel_client_provisioning_info_h;

/**
 * @brief The kinds of a session; what those other than 0 stand for is the agent's matter.
 */
typedef enum {
    /** The start needs the address of a host. */
    QUORVEL_CLIENT_EASY_SETUP_TYPE_HOST_ADDRESS = 0
} quorvel_client_easy_setup_type_e;

/**
 * @brief The properties of an access point, with the names that the agent keeps them under; all are strings.
 */
typedef enum {
    /** "ssid". */
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_SSID = 0,
    /** "macAddr". */
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_MAC_ADDR = 1,
    /** "channel". */
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_CHANNEL = 2,
    /** "encType". */
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_ENC_TYPE = 3,
    /** "secType". */
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_SEC_TYPE = 4,
    /** "maxRate". */
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_MAX_RATE = 5,
    /** "rssi". */
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_RSSI = 6,
    /** "freq". */
    QUORVEL_CLIENT_EASY_SETUP_ACCESS_POINT_PROP_FREQ = 7
} quorvel_client_easy_setup_access_point_prop_e;

/**
 * @brief The properties of a device property record, with the names that the agent keeps them under.
 */
typedef enum {
    /** "language"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_LANGUAGE = 0,
    /** "country"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_COUNTRY = 1,
    /** "location"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_LOCATION = 2,
    /** "discoveryChannel"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_DISCOVERY_CHANNEL = 3,
    /** "ZOAccount"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_ZO_ACCOUNT = 4,
    /** "UTCDateTime"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_UTC_DATE_TIME = 5,
    /** "regionalDateTime"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_REGIONAL_DATE_TIME = 6,
    /** "registerMobileDevice"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_REGISTER_MOBILE_DEVICE = 7,
    /** "bssid"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_BSSID = 8,
    /** "ssid"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_SSID = 9,
    /** "password"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_PASSWORD = 10,
    /** "wifiAuthType"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_WIFI_AUTH_TYPE = 11,
    /** "wifiEncType"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_WIFI_ENC_TYPE = 12,
    /** "qclocations"; a list of strings. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_QC_LOCATIONS = 13
} quorvel_client_easy_setup_device_prop_e;

/**
 * @brief The properties of a cloud property record, with the names that the agent keeps them under.
 */
typedef enum {
    /** "ciHostAddress"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_CLOUD_PROP_CI_HOST_ADDRESS = 0,
    /** "TCResult"; a string that can be set, not read. */
    QUORVEL_CLIENT_EASY_SETUP_CLOUD_PROP_TC_RESULT = 1
} quorvel_client_easy_setup_cloud_prop_e;

/**
 * @brief The properties of the enrollee's configuration, with the names that the agent keeps them under; each
 * belongs to one getter.
 */
typedef enum {
    /** "isCloudAccessible"; a boolean. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_IS_CLOUD_ACCESSIBLE = 0,
    /** "freq"; an integer. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_FREQ = 1,
    /** "provStatus"; an integer. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_PROV_STATUS = 2,
    /** "lastErrorCode"; an integer. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_LAST_ERROR_CODE = 3,
    /** "netConnectionState"; an integer. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_NET_CONNECTION_STATE = 4,
    /** "deviceName"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_DEVICE_NAME = 5,
    /** "modelNumber"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_MODEL_NUMBER = 6,
    /** "deviceType"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_DEVICE_TYPE = 7,
    /** "deviceSubType"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_DEVICE_SUB_TYPE = 8,
    /** "registerSetDevice"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_REGISTER_SET_DEVICE = 9,
    /** "pnpPin"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_PNP_PIN = 10,
    /** "bssid"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_BSSID = 11,
    /** "networkProvisioningInfo"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_NETWORK_PROVISIONING_INFO = 12,
    /** "esProtocolVersion"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_ES_PROTOCOL_VERSION = 13,
    /** "country"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_COUNTRY = 14,
    /** "hubId"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_HUB_ID = 15,
    /** "tcStatus"; an integer. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_TC_STATUS = 16,
    /** "tcHeader"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_TC_HEADER = 17,
    /** "tcVersion"; a string. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_TC_VERSION = 18,
    /** "wifiModes"; a list of integers. */
    QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_WIFI_MODES = 19
} quorvel_client_easy_setup_device_conf_prop_e;

/**
 * @brief The properties of the provisioning information, with the names that the agent keeps them under; each
 * belongs to one getter.
 */
typedef enum {
    /** "owned"; a boolean. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_OWNED = 0,
    /** "provisioningReset"; a boolean. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_PROVISIONING_RESET = 1,
    /** "otmSupport"; an integer. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_OTM_SUPPORT = 2,
    /** "accessibility"; an integer. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_ACCESSIBILITY = 3,
    /** "supportedTokenType"; an integer. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_SUPPORTED_TOKEN_TYPE = 4,
    /** "softApAddress"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_SOFT_AP_ADDRESS = 5,
    /** "bleAddress"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_BLE_ADDRESS = 6,
    /** "easysetupId"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_EASYSETUP_ID = 7,
    /** "easysetupVer"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_EASYSETUP_VER = 8,
    /** "setupId"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_SETUP_ID = 9,
    /** "targetSerialNum"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_TARGET_SERIAL_NUM = 10,
    /** "firmwareVer"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_FIRMWARE_VER = 11,
    /** "sessionId"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_SESSION_ID = 12,
    /** "lastStatus"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_LAST_STATUS = 13,
    /** "nonce"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_NONCE = 14,
    /** "countryCode"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_COUNTRY_CODE = 15,
    /** "targetLogId"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_TARGET_LOG_ID = 16,
    /** "mnmn"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_MNMN = 17,
    /** "vid"; a string. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_VID = 18,
    /** "protocolList"; a list of strings. */
    QUORVEL_CLIENT_PROVISIONING_INFO_PROP_PROTOCOL_LIST = 19
} quorvel_client_provisioning_info_prop_e;

/**
 * @brief Hears how a step of the setup ended.
 *
 * @param[in] result    The agent's result as it came: 0 for success, else one of #quorvel_client_error_e or a
 *                      number of the agent's own.
 * @param[in] user_data As given with the call.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_easy_setup_result_cb)(int result, void* user_data);

/**
 * @brief Hears that the setup came to another state.
 *
 * What the two numbers say is the agent's matter; the library passes them on unchanged.
 *
 * @param[in] first     The agent's first value.
 * @param[in] second    The agent's second value.
 * @param[in] user_data As given at registration.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_easy_setup_state_cb)(int first, int second, void* user_data);

/**
 * @brief Hears that the enrollee has an error.
 *
 * What the two numbers say is the agent's matter; the library passes them on unchanged.
 *
 * @param[in] first     The agent's first value.
 * @param[in] second    The agent's second value.
 * @param[in] user_data As given with the state callback to quorvel_client_set_easy_setup_state_cb(), not with
 *                      this one; NULL when none is set.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_easy_setup_enrollee_error_cb)(int first, int second, void* user_data);

/**
 * @brief Is asked for the ways of transferring ownership; answer with
 * quorvel_client_easy_setup_set_supported_otm_feature().
 *
 * @param[in] feature   The agent's number, passed on unchanged.
 * @param[in] user_data As given at the last start.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_easy_setup_otm_feature_cb)(int feature, void* user_data);

/**
 * @brief Is asked for the random PIN; answer with quorvel_client_easy_setup_set_random_pin().
 *
 * @param[in] value     The second value that the agent sends, passed on unchanged; the first one, a string,
 *                      is not passed on.
 * @param[in] user_data As given at the last start.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_easy_setup_random_pin_cb)(int value, void* user_data);

/**
 * @brief Hears whether the enrollee has an owner.
 *
 * @param[in] owned     Whether it has.
 * @param[in] user_data As given at the last start.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_easy_setup_enrollee_owned_cb)(bool owned, void* user_data);

/**
 * @brief Hears what the enrollee tells of itself.
 *
 * When memory does not suffice for what came, this is not called.
 *
 * @param[in] info      The information, handed over: release it with
 *                      quorvel_client_provisioning_info_destroy().
 * @param[in] user_data As given at the last start.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_easy_setup_provisioning_info_cb)(quorvel_client_provisioning_info_h info,
                                                               void* user_data);

/**
 * @brief Hears whether the enrollee signed in.
 *
 * @param[in] signed_in Whether it did.
 * @param[in] user_data Always NULL, whatever was given with the call.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_easy_setup_enrollee_sign_in_cb)(bool signed_in, void* user_data);

/**
 * @brief Hears which access points the enrollee sees.
 *
 * Unlike in other lists, one for which memory ran short is left out and not counted: the vector holds no NULL
 * in front of the one that ends it, which quorvel_client_easy_setup_destroy_access_point_list() goes by.
 *
 * @param[in] list      The access points, handed over: release them with
 *                      quorvel_client_easy_setup_destroy_access_point_list(). NULL when there are none.
 * @param[in] count     How many there are.
 * @param[in] user_data As given with the call.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_easy_setup_access_point_list_cb)(quorvel_client_easy_setup_access_point_h* list,
                                                               int count, void* user_data);

/**
 * @brief Gets the enrollee's configuration.
 *
 * @param[in] conf      The configuration, handed over: release it with
 *                      quorvel_client_easy_setup_device_conf_destroy().
 * @param[in] user_data Always NULL, whatever was given with the call.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_easy_setup_device_conf_cb)(quorvel_client_easy_setup_device_conf_h conf,
                                                         void* user_data);

/**
 * @brief Opens a setup session.
 *
 * The answer comes later, through @p cb, once. A result of 0 allows quorvel_client_easy_setup_start(). The
 * callbacks that an earlier start registered are taken back, so that the next start registers its own.
 *
 * When this function fails, @p cb is not called, unless the agent sent an answer before it refused.
 *
 * @attention A session that was open is closed at once, also when this call is refused: start is possible
 *     again only after a result of 0.
 *
 * @param[in] handle     A connected client.
 * @param[in] setup_type The kind of the session: #QUORVEL_CLIENT_EASY_SETUP_TYPE_HOST_ADDRESS or a number of
 *                       the agent's own.
 * @param[in] cb         The outcome; not NULL.
 * @param[in] user_data  Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_initialize(quorvel_client_h handle, int setup_type,
                                                     quorvel_client_easy_setup_result_cb cb, void* user_data);

/**
 * @brief Starts the setup of the enrollee.
 *
 * The three callbacks are registered before the setup is started. They stay registered after
 * quorvel_client_easy_setup_stop(), until the next initialise or until the client is disconnected.
 *
 * @attention A callback that an earlier start registered is kept, and the new one is not: only the user data
 *     changes. That is so also after a disconnect and a new connect, where the old one is never called any
 *     more: initialise before every start.
 *
 * @attention A callback that was registered before a later step failed stays registered.
 *
 * @attention A failure of the start itself is logged under the name start_easy_setup, for both versions.
 *
 * @param[in] handle            A connected client.
 * @param[in] host_address      The address of the host; neither NULL nor empty when the session is of kind 0,
 *                              else passed to the agent as it is, NULL as the empty string.
 * @param[in] flag              Passed to the agent unchanged; what it says is the agent's matter.
 * @param[in] otm_feature_cb    Is asked for the ways of transferring ownership; not NULL.
 * @param[in] random_pin_cb     Is asked for the PIN; not NULL.
 * @param[in] enrollee_owned_cb Hears whether the enrollee has an owner; not NULL.
 * @param[in] user_data         Passed to the three callbacks, also to those of an earlier start, as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The setup is started.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or one of the callbacks is NULL, or the session is
 *     of kind 0 and @p host_address is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  No initialise ended with the result 0 yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_start(quorvel_client_h handle, const char* host_address, bool flag,
                                                quorvel_client_easy_setup_otm_feature_cb otm_feature_cb,
                                                quorvel_client_easy_setup_random_pin_cb random_pin_cb,
                                                quorvel_client_easy_setup_enrollee_owned_cb enrollee_owned_cb,
                                                void* user_data);

/**
 * @brief Starts the setup of the enrollee, with provisioning information.
 *
 * The three callbacks are registered before the setup is started. They stay registered after
 * quorvel_client_easy_setup_stop(), until the next initialise or until the client is disconnected.
 *
 * @attention A callback that an earlier start registered is kept, and the new one is not: only the user data
 *     changes. That is so also after a disconnect and a new connect, where the old one is never called any
 *     more: initialise before every start.
 *
 * @attention A callback that was registered before a later step failed stays registered.
 *
 * @attention A failure of the start itself is logged under the name start_easy_setup, for both versions.
 *
 * @param[in] handle               A connected client.
 * @param[in] host_address         The address of the host; neither NULL nor empty when the session is of kind
 *                                 0, else passed to the agent as it is, NULL as the empty string.
 * @param[in] flag                 Passed to the agent unchanged; what it says is the agent's matter.
 * @param[in] otm_feature_cb       Is asked for the ways of transferring ownership; not NULL.
 * @param[in] random_pin_cb        Is asked for the PIN; not NULL.
 * @param[in] provisioning_info_cb Hears what the enrollee tells of itself; not NULL.
 * @param[in] user_data            Passed to the three callbacks, also to those of an earlier start, as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The setup is started.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or one of the callbacks is NULL, or the session is
 *     of kind 0 and @p host_address is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  No initialise ended with the result 0 yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_start_v2(
    quorvel_client_h handle, const char* host_address, bool flag,
    quorvel_client_easy_setup_otm_feature_cb otm_feature_cb,
    quorvel_client_easy_setup_random_pin_cb random_pin_cb,
    quorvel_client_easy_setup_provisioning_info_cb provisioning_info_cb, void* user_data);

/**
 * @brief Stops the setup.
 *
 * The session stays open and the callbacks of the start stay registered.
 *
 * @param[in] handle A connected client.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent stopped the setup.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_stop(quorvel_client_h handle);

/**
 * @brief Registers the callback for the state of the setup.
 *
 * The callback runs each time the setup comes to another state. Setting it again replaces the callback and
 * its user data. There is one registration of this kind in the process.
 *
 * @attention Its user data is also what the enrollee error callback gets.
 *
 * @attention When the agent refuses, the callback stays registered all the same; unset it if it is not
 *     wanted.
 *
 * @param[in] handle    A connected client.
 * @param[in] cb        What to call; not NULL.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The callback is registered.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The registration could not be made for want of memory.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_set_easy_setup_state_cb(quorvel_client_h handle,
                                                       quorvel_client_easy_setup_state_cb cb,
                                                       void* user_data);

/**
 * @brief Takes the callback for the state of the setup back.
 *
 * The agent is told also when nothing was set. On the loop thread the callback is not called again once this
 * returned; on another thread at most the one call that was already picked may still run.
 *
 * @attention The enrollee error callback gets NULL as its user data from then on.
 *
 * @attention The callback is gone also when the agent refuses.
 *
 * @param[in] handle A connected client.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The callback is gone.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_unset_easy_setup_state_cb(quorvel_client_h handle);

/**
 * @brief Registers the callback for errors of the enrollee.
 *
 * The callback runs each time the enrollee has an error. Setting it again replaces the callback and its user
 * data. There is one registration of this kind in the process.
 *
 * @attention The callback does not get @p user_data: it gets the user data of the state callback, or NULL
 *     when that is not set.
 *
 * @attention When the agent refuses, the callback stays registered all the same; unset it if it is not
 *     wanted.
 *
 * @param[in] handle    A connected client.
 * @param[in] cb        What to call; not NULL.
 * @param[in] user_data Kept, and not passed on.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The callback is registered.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The registration could not be made for want of memory.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_set_easy_setup_enrollee_error_cb(
    quorvel_client_h handle, quorvel_client_easy_setup_enrollee_error_cb cb, void* user_data);

/**
 * @brief Takes the callback for errors of the enrollee back.
 *
 * The agent is told also when nothing was set. On the loop thread the callback is not called again once this
 * returned; on another thread at most the one call that was already picked may still run.
 *
 * @attention The callback is gone also when the agent refuses.
 *
 * @param[in] handle A connected client.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The callback is gone.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_unset_easy_setup_enrollee_error_cb(quorvel_client_h handle);

/**
 * @brief Tells the agent which ways of transferring ownership the application supports.
 *
 * @param[in] handle  A connected client.
 * @param[in] feature The agent's number, passed on unchanged.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent took it.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_set_supported_otm_feature(quorvel_client_h handle, int feature);

/**
 * @brief Tells the agent the PIN that the user typed.
 *
 * @param[in] handle A connected client.
 * @param[in] pin    The PIN; neither NULL nor empty. It is a secret: the library does not log it.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent took it.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p pin is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_set_random_pin(quorvel_client_h handle, const char* pin);

/**
 * @brief Waits for the enrollee to sign in.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @attention The callback does not get @p user_data: it always gets NULL.
 *
 * @param[in] handle    A connected client.
 * @param[in] cb        The outcome; not NULL.
 * @param[in] user_data Not passed on.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_monitoring_enrollee_sign_in(
    quorvel_client_h handle, quorvel_client_easy_setup_enrollee_sign_in_cb cb, void* user_data);

/**
 * @brief Gives the code of the last error of the setup.
 *
 * What it says is the agent's matter.
 *
 * @param[in]  handle     A connected client.
 * @param[out] error_code A copy, to be released with free(); NULL when there is none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The code is in @p error_code, also NULL for none.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p error_code is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The copy could not be made.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_client_easy_setup_get_last_error_code(quorvel_client_h handle, char** error_code);

/**
 * @brief Asks which access points the enrollee sees.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @attention When memory does not suffice for the list that came, @p cb is not called.
 *
 * @param[in] handle    A connected client.
 * @param[in] cb        Gets the access points; not NULL.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_get_access_point_list(
    quorvel_client_h handle, quorvel_client_easy_setup_access_point_list_cb cb, void* user_data);

/**
 * @brief Reads a string of an access point.
 *
 * @param[in]  access_point The record to read.
 * @param[in]  property_id  One of #quorvel_client_easy_setup_access_point_prop_e.
 * @param[out] value        A copy, to be released with free(); NULL when the value is empty.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value, also NULL for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p access_point or @p value is NULL, or @p property_id is
 *     not one of these.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The copy could not be made.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_access_point_get_string(
    quorvel_client_easy_setup_access_point_h access_point, int property_id, char** value);

/**
 * @brief Releases one access point.
 *
 * @param[in] access_point What to release; not to be used any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p access_point is NULL.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_client_easy_setup_destroy_access_point(
    quorvel_client_easy_setup_access_point_h access_point);

/**
 * @brief Releases a list of access points: each of them, and the vector.
 *
 * It takes no count: the NULL that ends every vector handed out ends this one.
 *
 * @attention An access point that was released on its own must not be in the list any more: put the ones that
 *     are left in front and a NULL behind them.
 *
 * @param[in] list A list that quorvel_client_easy_setup_access_point_list_cb() handed over; not to be used
 *                 any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p list is NULL.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_destroy_access_point_list(
    quorvel_client_easy_setup_access_point_h* list);

/**
 * @brief Makes an empty device property record.
 *
 * @param[out] property The record, to be released with quorvel_client_easy_setup_device_property_destroy().
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The record is in @p property.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p property is NULL.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  Memory could not be had.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_device_property_create(
    quorvel_client_easy_setup_device_property_h* property);

/**
 * @brief Sets a string.
 *
 * @attention A property can be set once: what is there is never replaced. Setting it again is answered with
 *     the platform's code for a key that exists, -18350079 (0xFEE80001), and the first value stays.
 *
 * @param[in] property    The record to change.
 * @param[in] property_id #QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_LANGUAGE to
 *                        #QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_WIFI_ENC_TYPE, that is 0 to 12.
 * @param[in] value       The value; neither NULL nor empty. It is copied.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The property is set.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p property is NULL, @p value is NULL or empty, or
 *     @p property_id is not one of these.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The value could not be copied.
 * @return Another code is the platform's own for adding a value, as it came: -18350079 (0xFEE80001) when the
 *     property was set before.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_device_property_set_string(
    quorvel_client_easy_setup_device_property_h property, int property_id, const char* value);

/**
 * @brief Reads a string of a device property record.
 *
 * @param[in]  property    The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_LANGUAGE to
 *                         #QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_WIFI_ENC_TYPE, that is 0 to 12.
 * @param[out] value       A copy, to be released with free(); NULL when the value is empty.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value, also NULL for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p property or @p value is NULL, or @p property_id is not
 *     one of these.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The copy could not be made.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_device_property_get_string(
    quorvel_client_easy_setup_device_property_h property, int property_id, char** value);

/**
 * @brief Sets a list of strings.
 *
 * @attention A property can be set once: what is there is never replaced. Setting it again is answered with
 *     the platform's code for a key that exists, -18350079 (0xFEE80001), and the first value stays.
 *
 * @attention @p count is taken as it is; it is the caller's to see that there are as many strings.
 *
 * @param[in] property    The record to change.
 * @param[in] property_id #QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_QC_LOCATIONS; no other.
 * @param[in] list        The strings; neither NULL nor beginning with a NULL. They are copied.
 * @param[in] count       How many there are.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The property is set.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p property is NULL, @p list or its first string is NULL, or
 *     @p property_id is not one of these.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The value could not be copied.
 * @return Another code is the platform's own for adding a value, as it came: -18350079 (0xFEE80001) when the
 *     property was set before.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_device_property_set_string_array(
    quorvel_client_easy_setup_device_property_h property, int property_id, const char* const* list,
    int count);

/**
 * @brief Reads a list of strings of a device property record.
 *
 * @param[in]  property    The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_EASY_SETUP_DEVICE_PROP_QC_LOCATIONS; no other.
 * @param[out] list        The strings, to be released one by one and then the vector itself, each with
 *                         free(); NULL when there are none.
 * @param[out] count       How many there are.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p property or an out pointer is NULL, or @p property_id is
 *     not one of these.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The copies could not be made.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_device_property_get_string_array(
    quorvel_client_easy_setup_device_property_h property, int property_id, char*** list, int* count);

/**
 * @brief Releases a device property record.
 *
 * @param[in] property What to release; not to be used any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p property is NULL.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_device_property_destroy(
    quorvel_client_easy_setup_device_property_h property);

/**
 * @brief Sends a device property record to the enrollee.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle    A connected client.
 * @param[in] property  What to send; not NULL. It stays the caller's.
 * @param[in] cb        The outcome; not NULL.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle, @p property or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_device_provisioning(
    quorvel_client_h handle, quorvel_client_easy_setup_device_property_h property,
    quorvel_client_easy_setup_result_cb cb, void* user_data);

/**
 * @brief Makes an empty cloud property record.
 *
 * @param[out] property The record, to be released with quorvel_client_easy_setup_cloud_property_destroy().
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The record is in @p property.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p property is NULL.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  Memory could not be had.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_cloud_property_create(
    quorvel_client_easy_setup_cloud_property_h* property);

/**
 * @brief Sets a string.
 *
 * @attention A property can be set once: what is there is never replaced. Setting it again is answered with
 *     the platform's code for a key that exists, -18350079 (0xFEE80001), and the first value stays.
 *
 * @param[in] property    The record to change.
 * @param[in] property_id One of #quorvel_client_easy_setup_cloud_prop_e.
 * @param[in] value       The value; neither NULL nor empty. It is copied.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The property is set.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p property is NULL, @p value is NULL or empty, or
 *     @p property_id is not one of these.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The value could not be copied.
 * @return Another code is the platform's own for adding a value, as it came: -18350079 (0xFEE80001) when the
 *     property was set before.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_cloud_property_set_string(
    quorvel_client_easy_setup_cloud_property_h property, int property_id, const char* value);

/**
 * @brief Reads a string of a cloud property record.
 *
 * @attention #QUORVEL_CLIENT_EASY_SETUP_CLOUD_PROP_TC_RESULT can be set but not read.
 *
 * @attention In the log a missing address goes by the name of a language.
 *
 * @param[in]  property    The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_EASY_SETUP_CLOUD_PROP_CI_HOST_ADDRESS; no other.
 * @param[out] value       A copy, to be released with free(); NULL when the value is empty.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value, also NULL for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p property or @p value is NULL, or @p property_id is not
 *     one of these.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The copy could not be made.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_cloud_property_get_string(
    quorvel_client_easy_setup_cloud_property_h property, int property_id, char** value);

/**
 * @brief Releases a cloud property record.
 *
 * @param[in] property What to release; not to be used any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p property is NULL.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_cloud_property_destroy(
    quorvel_client_easy_setup_cloud_property_h property);

/**
 * @brief Sends a cloud property record to the enrollee.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle    A connected client.
 * @param[in] property  What to send; not NULL. It stays the caller's.
 * @param[in] cb        The outcome; not NULL.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle, @p property or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_cloud_provisioning(
    quorvel_client_h handle, quorvel_client_easy_setup_cloud_property_h property,
    quorvel_client_easy_setup_result_cb cb, void* user_data);

/**
 * @brief Asks for the enrollee's configuration.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @attention The callback does not get @p user_data: it always gets NULL.
 *
 * @attention When memory does not suffice for the configuration that came, @p cb is not called.
 *
 * @attention In the log its failure goes by the name of cloud provisioning.
 *
 * @param[in] handle    A connected client.
 * @param[in] cb        Gets the configuration; not NULL.
 * @param[in] user_data Not passed on.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_get_device_conf(quorvel_client_h handle,
                                                          quorvel_client_easy_setup_device_conf_cb cb,
                                                          void* user_data);

/**
 * @brief Reads a boolean of the enrollee's configuration.
 *
 * @attention Only the single digits 0 and 1 are booleans.
 *
 * @param[in]  conf        The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_IS_CLOUD_ACCESSIBLE; no other.
 * @param[out] value       The value.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p conf or @p value is NULL, or @p property_id is not one of
 *     these.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property, or not as a boolean.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_device_conf_get_bool(quorvel_client_easy_setup_device_conf_h conf,
                                                               int property_id, bool* value);

/**
 * @brief Reads an integer of the enrollee's configuration.
 *
 * @attention An integer is made of digits only: a negative one is refused, an empty one reads as 0, and one
 *     that is too large is cut as atoi() does.
 *
 * @param[in]  conf        The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_FREQ,
 *                         #QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_PROV_STATUS,
 *                         #QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_LAST_ERROR_CODE,
 *                         #QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_NET_CONNECTION_STATE or
 *                         #QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_TC_STATUS; no other.
 * @param[out] value       The value.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p conf or @p value is NULL, or @p property_id is not one of
 *     these.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property, or not as an integer.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_device_conf_get_int(quorvel_client_easy_setup_device_conf_h conf,
                                                              int property_id, int* value);

/**
 * @brief Reads a string of the enrollee's configuration.
 *
 * @attention #QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_TC_STATUS, 16, lies among the strings but is an
 *     integer.
 *
 * @param[in]  conf        The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_DEVICE_NAME to
 *                         #QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_HUB_ID, that is 5 to 15,
 *                         #QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_TC_HEADER or
 *                         #QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_TC_VERSION; no other.
 * @param[out] value       A copy, to be released with free(); NULL when the value is empty.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value, also NULL for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p conf or @p value is NULL, or @p property_id is not one of
 *     these.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The copy could not be made.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_device_conf_get_string(quorvel_client_easy_setup_device_conf_h conf,
                                                                 int property_id, char** value);

/**
 * @brief Reads a list of integers of the enrollee's configuration.
 *
 * @attention An integer is made of digits only: a negative one is refused, an empty one reads as 0, and one
 *     that is too large is cut as atoi() does.
 *
 * @param[in]  conf        The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_EASY_SETUP_DEVICE_CONF_PROP_WIFI_MODES; no other.
 * @param[out] list        The integers, to be released with free(); NULL when there are none.
 * @param[out] count       How many there are.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p conf or an out pointer is NULL, or @p property_id is not
 *     this one.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the list, or one of its elements is
 *     not an integer.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_device_conf_get_int_array(
    quorvel_client_easy_setup_device_conf_h conf, int property_id, int** list, int* count);

/**
 * @brief Releases the enrollee's configuration.
 *
 * @param[in] conf What to release; not to be used any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p conf is NULL.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_device_conf_destroy(quorvel_client_easy_setup_device_conf_h conf);

/**
 * @brief Tells where the enrollee is to be put.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @attention An empty @p subgroup_id is not NULL: it is sent.
 *
 * @param[in] handle      A connected client.
 * @param[in] expires_in  How long the place is remembered, in the agent's terms; neither NULL nor empty.
 * @param[in] group_id    The group; neither NULL nor empty.
 * @param[in] subgroup_id The subgroup, or NULL for none.
 * @param[in] cb          The outcome; not NULL.
 * @param[in] user_data   Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL, or @p expires_in or @p group_id
 *     is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The request could not be put together.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_set_bookmark_location(quorvel_client_h handle,
                                                                const char* expires_in, const char* group_id,
                                                                const char* subgroup_id,
                                                                quorvel_client_easy_setup_result_cb cb,
                                                                void* user_data);

/**
 * @brief Tells the enrollee to forget its provisioning.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle    A connected client.
 * @param[in] cb        The outcome; not NULL.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_easy_setup_send_reset_provisioning_info(quorvel_client_h handle,
                                                                       quorvel_client_easy_setup_result_cb cb,
                                                                       void* user_data);

/**
 * @brief Reads a boolean of the provisioning information.
 *
 * @attention Only the single digits 0 and 1 are booleans.
 *
 * @param[in]  info        The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_PROVISIONING_INFO_PROP_OWNED or
 *                         #QUORVEL_CLIENT_PROVISIONING_INFO_PROP_PROVISIONING_RESET; no other.
 * @param[out] value       The value.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p info or @p value is NULL, or @p property_id is not one of
 *     these.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property, or not as a boolean.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_client_provisioning_info_get_bool(quorvel_client_provisioning_info_h info,
                                                          int property_id, bool* value);

/**
 * @brief Reads an integer of the provisioning information.
 *
 * @attention An integer is made of digits only: a negative one is refused, an empty one reads as 0, and one
 *     that is too large is cut as atoi() does.
 *
 * @param[in]  info        The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_PROVISIONING_INFO_PROP_OTM_SUPPORT,
 *                         #QUORVEL_CLIENT_PROVISIONING_INFO_PROP_ACCESSIBILITY or
 *                         #QUORVEL_CLIENT_PROVISIONING_INFO_PROP_SUPPORTED_TOKEN_TYPE; no other.
 * @param[out] value       The value.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p info or @p value is NULL, or @p property_id is not one of
 *     these.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property, or not as an integer.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_client_provisioning_info_get_int(quorvel_client_provisioning_info_h info,
                                                         int property_id, int* value);

/**
 * @brief Reads a string of the provisioning information.
 *
 * @param[in]  info        The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_PROVISIONING_INFO_PROP_SOFT_AP_ADDRESS to
 *                         #QUORVEL_CLIENT_PROVISIONING_INFO_PROP_VID, that is 5 to 18.
 * @param[out] value       A copy, to be released with free(); NULL when the value is empty.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value, also NULL for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p info or @p value is NULL, or @p property_id is not one of
 *     these.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The copy could not be made.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_client_provisioning_info_get_string(quorvel_client_provisioning_info_h info,
                                                            int property_id, char** value);

/**
 * @brief Reads a list of strings of the provisioning information.
 *
 * @param[in]  info        The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_PROVISIONING_INFO_PROP_PROTOCOL_LIST; no other.
 * @param[out] list        The strings, to be released one by one and then the vector itself, each with
 *                         free(); NULL when there are none.
 * @param[out] count       How many there are.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p info or an out pointer is NULL, or @p property_id is not
 *     one of these.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The copies could not be made.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_client_provisioning_info_get_string_array(quorvel_client_provisioning_info_h info,
                                                                  int property_id, char*** list, int* count);

/**
 * @brief Releases the provisioning information.
 *
 * @param[in] info What to release; not to be used any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p info is NULL.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_client_provisioning_info_destroy(quorvel_client_provisioning_info_h info);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_EASY_SETUP_H */
