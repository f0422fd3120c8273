/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Core family: the history of activities and notifications.
 *
 * A function that takes a client may be called on any thread, inside a callback too. It returns when the
 * agent has answered, at the latest when the deadline of the connection has passed (30 seconds unless the
 * platform is told otherwise); a missed deadline also ends the connection. Nothing that is passed in is kept.
 *
 * The checks run in this order unless a function tells otherwise: the installed agent and its version, the
 * handle, the connection, then the arguments as listed, then the link to the agent, which a connected client
 * always has.
 *
 * A text that is handed out is a copy to release with free(). Set the pointer to NULL before the call where
 * it may stay as it was.
 *
 * When the agent refuses a request, its code is returned: #QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY,
 * #QUORVEL_CLIENT_ERROR_PERMISSION_DENIED, #QUORVEL_CLIENT_ERROR_INVALID_PARAMETER,
 * #QUORVEL_CLIENT_ERROR_NO_SPACE, #QUORVEL_CLIENT_ERROR_NO_DATA, #QUORVEL_CLIENT_ERROR_NETWORK_UNREACHABLE,
 * #QUORVEL_CLIENT_ERROR_NOT_SUPPORTED, #QUORVEL_CLIENT_ERROR_OPERATION_FAILED,
 * #QUORVEL_CLIENT_ERROR_IO_ERROR, #QUORVEL_CLIENT_ERROR_LOWER_VERSION or one of
 * #QUORVEL_CLIENT_ERROR_AGENT_DEFINED_1 to #QUORVEL_CLIENT_ERROR_AGENT_DEFINED_4. So some codes can come from
 * the library and from the agent. Every other code of the agent is returned as #QUORVEL_CLIENT_ERROR_UNKNOWN.
 */
#ifndef QUORVEL_CORE_HISTORY_H
#define QUORVEL_CORE_HISTORY_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief Gives the history of activities as JSON.
 *
 * @param[in]  handle   A connected client.
 * @param[in]  filter   Which part of the history; neither NULL nor empty. Passed on to the agent unchanged.
 * @param[out] json_str Receives the JSON, a copy to release with free(). Left as it was on failure and when
 *                      the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p filter is NULL or empty; @p json_str
 *     is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_activity_history(quorvel_client_h handle, const char* filter,
                                                  char** json_str);

/**
 * @brief Gives the history of notifications as JSON.
 *
 * @param[in]  handle   A connected client.
 * @param[in]  filter   Which part of the history; neither NULL nor empty. Passed on to the agent unchanged.
 * @param[out] json_str Receives the JSON, a copy to release with free(). Left as it was on failure and when
 *                      the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p filter is NULL or empty; @p json_str
 *     is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_notification_history(quorvel_client_h handle, const char* filter,
                                                      char** json_str);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_HISTORY_H */
