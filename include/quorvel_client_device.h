/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Devices: the list of those that the agent knows, their changes, and commands on them.
 */
#ifndef QUORVEL_CLIENT_DEVICE_H
#define QUORVEL_CLIENT_DEVICE_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief A device: its id and its types. Released with quorvel_client_device_destroy().
 */
typedef void* quorvel_client_device_h;

/**
 * @brief The properties of a device.
 */
typedef enum {
    /** The id; a string. */
    QUORVEL_CLIENT_DEVICE_PROP_DEVICE_ID = 0,
    /** The types; a list of strings. */
    QUORVEL_CLIENT_DEVICE_PROP_DEVICE_TYPE = 1
} quorvel_client_device_prop_e;

/**
 * @brief Hears that the list of devices changed, and gets the whole new list.
 *
 * @param[in] list      The devices, handed over: release each with quorvel_client_device_destroy(), then the
 *                      vector itself with free(). NULL when there are none.
 * @param[in] count     How many there are.
 * @param[in] user_data As given at registration.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_device_list_updated_cb)(quorvel_client_device_h* list, int count,
                                                      void* user_data);

/**
 * @brief Hears how a command on devices ended.
 *
 * @param[in] result    The agent's result as it came: 0 for success, else one of #quorvel_client_error_e or a
 *                      number of the agent's own.
 * @param[in] user_data As given with the command.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_device_result_cb)(int result, void* user_data);

/**
 * @brief Gives the devices that the agent knows.
 *
 * @param[in]  handle A connected client.
 * @param[out] list   The devices, each to be released with quorvel_client_device_destroy(), and then the
 *                    vector itself with free(); NULL when there are none.
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
QUORVEL_API int quorvel_client_get_device_list(quorvel_client_h handle, quorvel_client_device_h** list,
                                               int* count);

/**
 * @brief Releases a device.
 *
 * @param[in] device What to release; not to be used any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p device is NULL.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_device_destroy(quorvel_client_device_h device);

/**
 * @brief Reads a string of a device.
 *
 * @attention A copy for which there is no memory reads as an empty value.
 *
 * @param[in]  device      The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_DEVICE_PROP_DEVICE_ID; no other.
 * @param[out] value       A copy, to be released with free(); NULL when the property is empty or absent.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value, also NULL for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p device or @p value is NULL, or @p property_id is not one
 *     of these.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_device_get_string(quorvel_client_device_h device, int property_id,
                                                 char** value);

/**
 * @brief Reads a list of strings of a device.
 *
 * @attention A list for which there is no memory reads as an empty one.
 *
 * @param[in]  device      The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_DEVICE_PROP_DEVICE_TYPE; no other.
 * @param[out] list        The strings, to be released one by one and then the vector itself, each with
 *                         free(); NULL when there are none.
 * @param[out] count       How many there are.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; NULL and 0 for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p device or an out pointer is NULL, or @p property_id is
 *     not one of these.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_device_get_string_array(quorvel_client_device_h device, int property_id,
                                                       char*** list, int* count);

/**
 * @brief Registers the callback for changes of the device list.
 *
 * The callback runs each time the list of devices changes. Setting it again replaces the callback and its
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
QUORVEL_API int quorvel_client_set_device_list_updated_cb(quorvel_client_h handle,
                                                          quorvel_client_device_list_updated_cb cb,
                                                          void* user_data);

/**
 * @brief Takes the callback for changes of the device list back.
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
QUORVEL_API int quorvel_client_unset_device_list_updated_cb(quorvel_client_h handle);

/**
 * @brief Moves devices into a group.
 *
 * The answer comes later, through @p cb, once.
 *
 * @attention When the agent refuses or does not answer, the request stays where it is until the client is
 *     disconnected: should the agent send a result all the same, @p cb is called with it.
 *
 * @param[in] handle     A connected client.
 * @param[in] device_ids The ids of the devices; not NULL.
 * @param[in] count      How many there are; at least 1.
 * @param[in] group_id   The group to move them to; neither NULL nor empty.
 * @param[in] extra      Passed to the agent as it is, NULL as the empty string.
 * @param[in] cb         The outcome; NULL when it is of no interest.
 * @param[in] user_data  Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p device_ids is NULL, @p count is below 1, or
 *     @p group_id is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The ids could not be copied for want of memory.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_move_devices(quorvel_client_h handle, const char* const* device_ids, int count,
                                            const char* group_id, const char* extra,
                                            quorvel_client_device_result_cb cb, void* user_data);

/**
 * @brief Gives a device a new nickname.
 *
 * The answer comes later, through @p cb, once.
 *
 * @attention In the log its failure goes by the name of another method, set_device_profile.
 *
 * @attention When the agent refuses or does not answer, the request stays where it is until the client is
 *     disconnected: should the agent send a result all the same, @p cb is called with it.
 *
 * @param[in] handle    A connected client.
 * @param[in] device_id The device; neither NULL nor empty.
 * @param[in] nick_name The new nickname; neither NULL nor empty.
 * @param[in] cb        The outcome; NULL when it is of no interest.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p device_id or @p nick_name is NULL
 *     or empty.
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
QUORVEL_API int quorvel_client_change_device_nick(quorvel_client_h handle, const char* device_id,
                                                  const char* nick_name, quorvel_client_device_result_cb cb,
                                                  void* user_data);

/**
 * @brief Removes a device from the account.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle    A connected client.
 * @param[in] device_id The device; neither NULL nor empty.
 * @param[in] cb        The outcome; NULL when it is of no interest.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.6.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p device_id is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.6
 */
QUORVEL_API int quorvel_client_remove_device(quorvel_client_h handle, const char* device_id,
                                             quorvel_client_device_result_cb cb, void* user_data);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_DEVICE_H */
