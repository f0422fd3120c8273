/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Core family: the apps installed in the user's account.
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
#ifndef QUORVEL_CORE_INSTALLED_APP_H
#define QUORVEL_CORE_INSTALLED_APP_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief An installed app as the agent described it.
 *
 * A snapshot: it does not follow later changes. It belongs to whoever asked for it, stays valid after a
 * disconnect, and is released with quorvel_core_installed_app_destroy().
 */
typedef void* quorvel_core_installed_app_h;

/**
 * @brief The properties of an installed app, for quorvel_core_installed_app_get_string().
 *
 * Each is what the agent delivers under the key told beside it.
 */
typedef enum {
    /** "installedAppId". */
    QUORVEL_CORE_INSTALLED_APP_PROP_INSTALLED_APP_ID = 0,
    /** "type". */
    QUORVEL_CORE_INSTALLED_APP_PROP_TYPE = 1,
    /** "status". */
    QUORVEL_CORE_INSTALLED_APP_PROP_STATUS = 2,
    /** "displayName". */
    QUORVEL_CORE_INSTALLED_APP_PROP_DISPLAY_NAME = 3,
    /** "appId". */
    QUORVEL_CORE_INSTALLED_APP_PROP_APP_ID = 4,
    /** "referenceId". */
    QUORVEL_CORE_INSTALLED_APP_PROP_REFERENCE_ID = 5,
    /** "locationId". */
    QUORVEL_CORE_INSTALLED_APP_PROP_LOCATION_ID = 6,
    /** "ownerType". */
    QUORVEL_CORE_INSTALLED_APP_PROP_OWNER_TYPE = 7,
    /** "ownerId". */
    QUORVEL_CORE_INSTALLED_APP_PROP_OWNER_ID = 8,
    /** "notices". */
    QUORVEL_CORE_INSTALLED_APP_PROP_NOTICES = 9,
    /** "createdDate". */
    QUORVEL_CORE_INSTALLED_APP_PROP_CREATED_DATE = 10,
    /** "lastUpdatedDate". */
    QUORVEL_CORE_INSTALLED_APP_PROP_LAST_UPDATED_DATE = 11
} quorvel_core_installed_app_prop_e;

/**
 * @brief Gives the apps installed in the user's account.
 *
 * @attention When the list cannot be taken out of the answer, the answer's memory is held until
 *     quorvel_client_disconnect().
 *
 * @param[in]  handle A connected client.
 * @param[out] list   Receives the installed apps: release each entry with
 *                    quorvel_core_installed_app_destroy() and then the list itself with free(). NULL when
 *                    there are none. Behind the last entry the list holds one more slot, which is NULL. An
 *                    entry for which memory ran short is NULL. Left as it was on failure.
 * @param[out] count  Receives the number of entries; 0 when there are none. Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; it may be empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p list or @p count is NULL; the client
 *     has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The list could not be taken out of the answer, for want of
 *     memory.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_installed_app_list(quorvel_client_h handle,
                                                    quorvel_core_installed_app_h** list, int* count);

/**
 * @brief Gives an installed app.
 *
 * @param[in]  handle           A connected client.
 * @param[in]  installed_app_id The installed app; neither NULL nor empty.
 * @param[out] installed_app    Receives the installed app, to release with
 *                              quorvel_core_installed_app_destroy(). Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The answer is handed out.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p installed_app_id is NULL or empty;
 *     @p installed_app is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_installed_app(quorvel_client_h handle, const char* installed_app_id,
                                               quorvel_core_installed_app_h* installed_app);

/**
 * @brief Gives the dashboard of an installed app as JSON.
 *
 * @param[in]  handle           A connected client.
 * @param[in]  installed_app_id The installed app; neither NULL nor empty.
 * @param[out] json_str         Receives the JSON, a copy to release with free(). Left as it was on failure
 *                              and when the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p installed_app_id is NULL or empty;
 *     @p json_str is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_installed_app_dashboard_json(quorvel_client_h handle,
                                                              const char* installed_app_id, char** json_str);

/**
 * @brief Sends a request to an installed app.
 *
 * @attention A result text can come together with an error code; release it in that case too.
 *
 * @param[in]  handle           A connected client.
 * @param[in]  installed_app_id The installed app; neither NULL nor empty.
 * @param[in]  request_json     The request as JSON; neither NULL nor empty. Passed on to the agent unchanged.
 * @param[out] result           Receives the agent's result text, a copy to release with free(), also together
 *                              with an error code. Left as it was when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p installed_app_id or @p request_json is
 *     NULL or empty; @p result is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_execute_installed_app(quorvel_client_h handle, const char* installed_app_id,
                                                   const char* request_json, char** result);

/**
 * @brief Gives a text property of an installed app.
 *
 * @param[in]  installed_app The installed app.
 * @param[in]  property_id   Which property, see #quorvel_core_installed_app_prop_e.
 * @param[out] value         Receives a copy of the text, to release with free(), or NULL when the text is
 *                           empty. Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is handed out.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p installed_app or @p value is NULL; @p property_id is
 *     below 0 or above 11 (QUORVEL_CORE_INSTALLED_APP_PROP_LAST_UPDATED_DATE).
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     There is no memory for the copy.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property, or cannot be read for
 *     want of memory.
 * @return 0, or one of the codes above.
 *
 * @note Any thread; several may read one record at once. The agent is not asked.
 * @since Agent any, for none is asked
 */
QUORVEL_API int quorvel_core_installed_app_get_string(quorvel_core_installed_app_h installed_app,
                                                      int property_id, char** value);

/**
 * @brief Releases an installed app.
 *
 * The record may have come alone or in a list; the list itself is released with free().
 *
 * @param[in] installed_app The installed app; not used afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p installed_app is NULL.
 * @return 0, or one of the codes above.
 *
 * @note Any thread, once no other one uses the record; the agent is not asked.
 * @since Agent any, for none is asked
 */
QUORVEL_API int quorvel_core_installed_app_destroy(quorvel_core_installed_app_h installed_app);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_INSTALLED_APP_H */
