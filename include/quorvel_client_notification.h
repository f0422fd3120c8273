/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Notifications that the agent forwards.
 */
#ifndef QUORVEL_CLIENT_NOTIFICATION_H
#define QUORVEL_CLIENT_NOTIFICATION_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief Hears a notification.
 *
 * What the three strings say is the agent's matter; the library passes them on unchanged. They are gone when
 * the callback returns.
 *
 * @param[in] first     The agent's first value.
 * @param[in] second    The agent's second value.
 * @param[in] third     The agent's third value.
 * @param[in] user_data As given at registration.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_notification_cb)(const char* first, const char* second, const char* third,
                                               void* user_data);

/**
 * @brief Registers the callback for notifications.
 *
 * The callback runs for each notification that the agent forwards. Setting it again replaces the callback and
 * its user data. There is one registration of this kind in the process.
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
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.1.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The registration could not be made for want of memory.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.1
 */
QUORVEL_API int quorvel_client_set_notification_cb(quorvel_client_h handle, quorvel_client_notification_cb cb,
                                                   void* user_data);

/**
 * @brief Takes the callback for notifications back.
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
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.1.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.1
 */
QUORVEL_API int quorvel_client_unset_notification_cb(quorvel_client_h handle);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_NOTIFICATION_H */
