/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Controls for privileged applications: the agent's server environment and its suspend mode.
 */
#ifndef QUORVEL_CLIENT_INTERNAL_H
#define QUORVEL_CLIENT_INTERNAL_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief The two server environments that can be read and set; what each is for is the agent's matter.
 */
typedef enum {
    /** The first one. */
    QUORVEL_CLIENT_INTERNAL_SERVER_ENV_TYPE_0 = 0,
    /** The second one. */
    QUORVEL_CLIENT_INTERNAL_SERVER_ENV_TYPE_1 = 1
} quorvel_client_internal_server_env_type_e;

/**
 * @brief The environments to choose from; what each stands for is the agent's matter.
 */
typedef enum {
    /** The first one. */
    QUORVEL_CLIENT_INTERNAL_SERVER_ENV_0 = 0,
    /** The second one. */
    QUORVEL_CLIENT_INTERNAL_SERVER_ENV_1 = 1,
    /** The third one. */
    QUORVEL_CLIENT_INTERNAL_SERVER_ENV_2 = 2
} quorvel_client_internal_server_env_e;

/**
 * @brief Tells which server environment the agent uses.
 *
 * @attention In the log its failure goes by the name of another method, get_dev_mode.
 *
 * @attention A negative number given as @p type is a large one and is refused.
 *
 * @param[in]  handle A connected client.
 * @param[in]  type   One of #quorvel_client_internal_server_env_type_e.
 * @param[out] env    The agent's number; one of #quorvel_client_internal_server_env_e when it was set here.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The answer is in @p env.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.2.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p env is NULL, or @p type is above 1.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.2
 */
QUORVEL_API int quorvel_client_internal_get_server_env(quorvel_client_h handle, unsigned int type, int* env);

/**
 * @brief Chooses the server environment that the agent uses.
 *
 * @attention In the log its failure goes by the name of another method, set_dev_mode.
 *
 * @attention A negative number given as @p type or @p env is a large one and is refused.
 *
 * @param[in] handle A connected client.
 * @param[in] type   One of #quorvel_client_internal_server_env_type_e.
 * @param[in] env    One of #quorvel_client_internal_server_env_e.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The environment is set.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.2.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, @p type is above 1, or @p env is above 2.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.2
 */
QUORVEL_API int quorvel_client_internal_set_server_env(quorvel_client_h handle, unsigned int type,
                                                       unsigned int env);

/**
 * @brief Puts the agent into suspend mode, or wakes it.
 *
 * @attention In the log its failure goes by the name of another method, set_dev_mode.
 *
 * @param[in] handle  A connected client.
 * @param[in] suspend True to suspend, false to wake.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The mode is set.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.2.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.2
 */
QUORVEL_API int quorvel_client_internal_set_suspend_mode(quorvel_client_h handle, bool suspend);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_INTERNAL_H */
