/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief App launch conditions: the agent launches an application when a resource of a device reaches a
 *        condition.
 */
#ifndef QUORVEL_CLIENT_APP_LAUNCH_H
#define QUORVEL_CLIENT_APP_LAUNCH_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief A condition: seven strings. Made by quorvel_client_app_launch_condition_create() or handed out by
 * the agent's list; released with quorvel_client_app_launch_condition_destroy().
 */
typedef void* quorvel_client_app_launch_condition_h;

/**
 * @brief The properties of a condition; all are strings.
 */
typedef enum {
    /** The application to launch. */
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_APP_ID = 0,
    /** The device to watch. */
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_DEVICE_ID = 1,
    /** The URI of the resource. */
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_RESOURCE_URI = 2,
    /** The name of the property of that resource. */
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_PROPERTY_NAME = 3,
    /** The type of the property. */
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_PROPERTY_TYPE = 4,
    /** The value that it must reach. */
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_PROPERTY_VALUE = 5,
    /** What the application is launched with, as JSON. */
    QUORVEL_CLIENT_APP_LAUNCH_CONDITION_PROP_BUNDLE_JSON = 6
} quorvel_client_app_launch_condition_prop_e;

/**
 * @brief Adds a condition to the agent's list.
 *
 * @param[in] handle    A connected client.
 * @param[in] condition The condition; not NULL. It stays the caller's.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The condition is added.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p condition is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_add_app_launch_condition(quorvel_client_h handle,
                                                        quorvel_client_app_launch_condition_h condition);

/**
 * @brief Removes a condition from the agent's list.
 *
 * @param[in] handle    A connected client.
 * @param[in] condition The condition; not NULL. It stays the caller's.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The condition is removed.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p condition is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_remove_app_launch_condition(quorvel_client_h handle,
                                                           quorvel_client_app_launch_condition_h condition);

/**
 * @brief Asks whether a condition is in the agent's list.
 *
 * @param[in]  handle    A connected client.
 * @param[in]  condition The condition; not NULL. It stays the caller's.
 * @param[out] added     Whether it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The answer is in @p added.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle, @p condition or @p added is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_is_app_launch_condition_added(quorvel_client_h handle,
                                                             quorvel_client_app_launch_condition_h condition,
                                                             bool* added);

/**
 * @brief Gives the conditions in the agent's list.
 *
 * @param[in]  handle A connected client.
 * @param[out] list   The conditions, each to be released with quorvel_client_app_launch_condition_destroy(),
 *                    and then the vector itself with free(); NULL when there are none.
 * @param[out] count  How many there are.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; NULL and 0 for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or an out pointer is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The received list could not be copied out.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_get_all_app_launch_conditions(quorvel_client_h handle,
                                                             quorvel_client_app_launch_condition_h** list,
                                                             int* count);

/**
 * @brief Makes an empty condition.
 *
 * @param[out] condition The condition, to be released with quorvel_client_app_launch_condition_destroy().
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The condition is in @p condition.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p condition is NULL.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  Memory could not be had.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_app_launch_condition_create(quorvel_client_app_launch_condition_h* condition);

/**
 * @brief Sets a property of a condition, in place of what it held.
 *
 * @attention A property cannot be set back to empty.
 *
 * @param[in] condition   The record to change.
 * @param[in] property_id One of #quorvel_client_app_launch_condition_prop_e.
 * @param[in] value       The value; neither NULL nor empty. It is copied.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The property is set.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p condition is NULL, @p value is NULL or empty, or
 *     @p property_id is not one of these.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The value could not be copied.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_app_launch_condition_set_string(
    quorvel_client_app_launch_condition_h condition, int property_id, const char* value);

/**
 * @brief Reads a property of a condition.
 *
 * @param[in]  condition   The record to read.
 * @param[in]  property_id One of #quorvel_client_app_launch_condition_prop_e.
 * @param[out] value       A copy, to be released with free(); NULL when the property is unset or empty.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value, also NULL for an unset one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p condition or @p value is NULL, or @p property_id is not
 *     one of these.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The copy could not be made.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_app_launch_condition_get_string(
    quorvel_client_app_launch_condition_h condition, int property_id, char** value);

/**
 * @brief Releases a condition.
 *
 * The agent's list is not touched.
 *
 * @param[in] condition What to release; not to be used any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p condition is NULL.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.4
 */
QUORVEL_API int quorvel_client_app_launch_condition_destroy(quorvel_client_app_launch_condition_h condition);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_APP_LAUNCH_H */
