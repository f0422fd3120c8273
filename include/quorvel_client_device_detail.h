/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Device details: all that the agent knows of a device.
 */
#ifndef QUORVEL_CLIENT_DEVICE_DETAIL_H
#define QUORVEL_CLIENT_DEVICE_DETAIL_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief The details of a device. Released with quorvel_client_device_detail_destroy().
 */
typedef void* quorvel_client_device_detail_h;

/**
 * @brief The properties of a device detail; each belongs to one getter.
 */
typedef enum {
    /** The id; a string. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_ID = 0,
    /** The types; a list of strings. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_TYPE = 1,
    /** The device's own name; a string. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_NAME = 2,
    /** The nickname that the user gave it; a string. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_NICK = 3,
    /** The prefix of the name; a string. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_PREFIX = 4,
    /** Whether it is connected; an integer, one of #quorvel_client_cloud_device_state_e. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_CLOUD_DEVICE_STATE = 5,
    /** The color; a string. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_COLOR = 6,
    /** The locale; a string. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_LOCALE = 7,
    /** The group that it belongs to; a string. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_GROUP_ID = 8,
    /** The version of its firmware; a string. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_FIRMWARE_VERSION = 9,
    /** Who made it; a string. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_MANUFACTURE_NAME = 10,
    /** The vid of its model; a string. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_VID = 11,
    /** How many resources it has; an integer. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_COUNT = 12,
    /** The URIs of its resources; a list of strings. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_URIS = 13,
    /** The URIs of the resources that can be subscribed to; a list of strings. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_OBSERVABLE_RESOURCE_URIS = 14,
    /** The version of its UI metadata; a string. Needs an agent of 1.2. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_UI_META_VERSION = 15,
    /** The subgroup that it belongs to; a string. Needs an agent of 1.2. */
    QUORVEL_CLIENT_DEVICE_DETAIL_PROP_SUBGROUP_ID = 16
} quorvel_client_device_detail_prop_e;

/**
 * @brief Whether a device is connected to the cloud.
 */
typedef enum {
    /** It is connected. */
    QUORVEL_CLIENT_CLOUD_DEVICE_STATE_CONNECTED = 0,
    /** It is not connected. */
    QUORVEL_CLIENT_CLOUD_DEVICE_STATE_DISCONNECTED = 1,
    /** It is inactive. */
    QUORVEL_CLIENT_CLOUD_DEVICE_STATE_INACTIVE = 2,
    /** The agent named another state. */
    QUORVEL_CLIENT_CLOUD_DEVICE_STATE_UNKNOWN = 3
} quorvel_client_cloud_device_state_e;

/**
 * @brief Hears that device details changed, and gets the whole new list.
 *
 * @param[in] list      The details, handed over: release each with quorvel_client_device_detail_destroy(),
 *                      then the vector itself with free(). NULL when there are none.
 * @param[in] count     How many there are.
 * @param[in] user_data As given at registration.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_device_detail_list_updated_cb)(quorvel_client_device_detail_h* list, int count,
                                                             void* user_data);

/**
 * @brief Gives the details of all devices.
 *
 * It also asks the agent whether it is still gathering its data. As long as that was so when this was last
 * called, quorvel_client_subscribe() answers #QUORVEL_CLIENT_ERROR_NO_DATA and quorvel_client_unsubscribe()
 * does nothing; the first event of quorvel_client_set_device_detail_list_updated_cb() ends that, so register
 * it as well.
 *
 * @attention A failure of that question is ignored: the list is asked for all the same.
 *
 * @attention In the log a list that cannot be copied out goes by the name of the device list.
 *
 * @param[in]  handle A connected client.
 * @param[out] list   The details, each to be released with quorvel_client_device_detail_destroy(), and then
 *                    the vector itself with free(); NULL when there are none.
 * @param[out] count  How many there are.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; NULL and 0 for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or an out pointer is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The received list could not be copied out.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_get_device_detail_list(quorvel_client_h handle,
                                                      quorvel_client_device_detail_h** list, int* count);

/**
 * @brief Gives the details of one device.
 *
 * @param[in]  handle    A connected client.
 * @param[in]  device_id The device; neither NULL nor empty.
 * @param[out] detail    The details, to be released with quorvel_client_device_detail_destroy().
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The details are in @p detail.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p detail is NULL, or @p device_id is NULL or
 *     empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The received details could not be copied.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_get_device_detail(quorvel_client_h handle, const char* device_id,
                                                 quorvel_client_device_detail_h* detail);

/**
 * @brief Releases the details of a device.
 *
 * @param[in] detail What to release; not to be used any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p detail is NULL.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_device_detail_destroy(quorvel_client_device_detail_h detail);

/**
 * @brief Reads an integer of the details of a device.
 *
 * @attention An empty or absent state reads as connected, and a state is known by its first letters:
 *     CONNECTED, DISCONNECTE or INACTIVE, whatever follows. (The event of
 *     quorvel_client_start_monitoring_cloud_device_state() reads an empty state as unknown.)
 *
 * @attention A state for whose copy there is no memory reads as an empty one.
 *
 * @param[in]  detail      The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_DEVICE_DETAIL_PROP_CLOUD_DEVICE_STATE or
 *                         #QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_COUNT; no other.
 * @param[out] value       The value.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p detail or @p value is NULL, or @p property_id is not one
 *     of these.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_device_detail_get_int(quorvel_client_device_detail_h detail, int property_id,
                                                     int* value);

/**
 * @brief Reads a string of the details of a device.
 *
 * @attention From an agent older than 1.2 the group id is the whole text in which newer agents keep it
 *     together with other values, as it stands.
 *
 * @attention A group id, UI metadata version or subgroup id that the agent holds as something else than a
 *     string reads as NULL.
 *
 * @attention A copy for which there is no memory reads as an empty value.
 *
 * @param[in]  detail      The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_ID, _DEVICE_NAME, _NICK, _PREFIX, _COLOR,
 *                         _LOCALE, _GROUP_ID, _FIRMWARE_VERSION, _MANUFACTURE_NAME, _VID, _UI_META_VERSION or
 *                         _SUBGROUP_ID; no other.
 * @param[out] value       A copy, to be released with free(); NULL when the property is empty or absent.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value, also NULL for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0; for _UI_META_VERSION and
 *     _SUBGROUP_ID, older than 1.2.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p detail or @p value is NULL, or @p property_id is not one
 *     of these.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_device_detail_get_string(quorvel_client_device_detail_h detail,
                                                        int property_id, char** value);

/**
 * @brief Reads a list of strings of the details of a device.
 *
 * @attention A list for which there is no memory reads as an empty one.
 *
 * @param[in]  detail      The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_TYPE,
 *                         #QUORVEL_CLIENT_DEVICE_DETAIL_PROP_RESOURCE_URIS or
 *                         #QUORVEL_CLIENT_DEVICE_DETAIL_PROP_OBSERVABLE_RESOURCE_URIS; no other.
 * @param[out] list        The strings, to be released one by one and then the vector itself, each with
 *                         free(); NULL when there are none.
 * @param[out] count       How many there are.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; NULL and 0 for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p detail or an out pointer is NULL, or @p property_id is
 *     not one of these.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_device_detail_get_string_array(quorvel_client_device_detail_h detail,
                                                              int property_id, char*** list, int* count);

/**
 * @brief Registers the callback for changes of device details.
 *
 * The callback runs each time the details of a device change. Setting it again replaces the callback and its
 * user data. There is one registration of this kind in the process.
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
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The registration could not be made for want of memory.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_set_device_detail_list_updated_cb(
    quorvel_client_h handle, quorvel_client_device_detail_list_updated_cb cb, void* user_data);

/**
 * @brief Takes the callback for changes of device details back.
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
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_unset_device_detail_list_updated_cb(quorvel_client_h handle);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_DEVICE_DETAIL_H */
