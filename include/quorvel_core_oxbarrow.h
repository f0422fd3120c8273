/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Core family: installing an app.
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
#ifndef QUORVEL_CORE_OXBARROW_H
#define QUORVEL_CORE_OXBARROW_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief Begins the installation of an app.
 *
 * @attention The empty text is accepted, a text that begins with a line feed is not: the test differs on
 *     purpose from the rest of the library.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  app_id      The app; not NULL and not beginning with a line feed. Passed on to the agent
 *                         unchanged.
 * @param[in]  location_id Where to install it; not NULL and not beginning with a line feed. Passed on to the
 *                         agent unchanged.
 * @param[in]  locale      Not checked. Passed on to the agent unchanged; NULL is sent as the empty text.
 * @param[in]  options     Not checked. Passed on to the agent unchanged; NULL is sent as the empty text.
 * @param[out] result      Receives the agent's result text, a copy to release with free(). Left as it was on
 *                         failure and when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p app_id or @p location_id is NULL or
 *     begins with a line feed or @p result is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.4
 */
QUORVEL_API int quorvel_core_oxbarrow_initialize(quorvel_client_h handle, const char* app_id,
                                                 const char* location_id, const char* locale,
                                                 const char* options, char** result);

/**
 * @brief Gives up the installation of an app.
 *
 * @attention The empty text is accepted, a text that begins with a line feed is not: the test differs on
 *     purpose from the rest of the library.
 *
 * @param[in] handle           A connected client.
 * @param[in] app_id           The app; not NULL and not beginning with a line feed. Passed on to the agent
 *                             unchanged.
 * @param[in] installed_app_id Not checked. Passed on to the agent unchanged; NULL is sent as the empty text.
 * @param[in] location_id      Not checked. Passed on to the agent unchanged; NULL is sent as the empty text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p app_id is NULL or begins with a line
 *     feed; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.4
 */
QUORVEL_API int quorvel_core_oxbarrow_cancel_installation(quorvel_client_h handle, const char* app_id,
                                                          const char* installed_app_id,
                                                          const char* location_id);

/**
 * @brief Completes the installation of an app.
 *
 * @attention Unlike in the two functions above, no text may be empty here, and one that begins with a line
 *     feed is accepted.
 *
 * @param[in]  handle           A connected client.
 * @param[in]  app_id           The app; neither NULL nor empty.
 * @param[in]  installed_app_id The installed app; neither NULL nor empty.
 * @param[in]  location_id      The location; neither NULL nor empty.
 * @param[in]  configuration_id The configuration of the installation; neither NULL nor empty.
 * @param[in]  request_json     Fifth text, the settings as JSON; neither NULL nor empty. Passed on to the
 *                              agent unchanged.
 * @param[out] result           Receives the agent's result text, a copy to release with free(). Left as it
 *                              was on failure and when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; the client has no link to the agent;
 *     @p app_id, @p installed_app_id, @p location_id, @p configuration_id or @p request_json is NULL or empty
 *     or @p result is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.4
 */
QUORVEL_API int quorvel_core_oxbarrow_complete_installation(quorvel_client_h handle, const char* app_id,
                                                            const char* installed_app_id,
                                                            const char* location_id,
                                                            const char* configuration_id,
                                                            const char* request_json, char** result);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_OXBARROW_H */
