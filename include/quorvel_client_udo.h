/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief URLs to upload UDO content to and to download it from.
 */
#ifndef QUORVEL_CLIENT_UDO_H
#define QUORVEL_CLIENT_UDO_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief Gives the URLs for an upload of UDO content.
 *
 * What the three strings and the two answers stand for is the agent's matter; the library passes them on
 * unchanged and in this order.
 *
 * @param[in]  handle         A connected client.
 * @param[in]  first          The first string; neither NULL nor empty.
 * @param[in]  second         The second string; neither NULL nor empty.
 * @param[in]  third          The third string; neither NULL nor empty.
 * @param[in]  content_length The length of the content in bytes; at least 1.
 * @param[out] first_url      The agent's first answer: a copy, to be released with free(); left as it was
 *                            when the agent has none or the call fails.
 * @param[out] second_url     The agent's second answer; the same holds.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Success; each of the two is set only when the agent returned
 *     it and memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.6.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or an out pointer is NULL, one of the three
 *     strings is NULL or empty, or @p content_length is below 1.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.6
 */
QUORVEL_API int quorvel_client_get_udo_upload_url(quorvel_client_h handle, const char* first,
                                                  const char* second, const char* third, int content_length,
                                                  char** first_url, char** second_url);

/**
 * @brief Gives the URL for a download of UDO content.
 *
 * What the three strings stand for is the agent's matter; the library passes them on unchanged and in this
 * order.
 *
 * @param[in]  handle A connected client.
 * @param[in]  first  The first string; neither NULL nor empty.
 * @param[in]  second The second string; neither NULL nor empty.
 * @param[in]  third  The third string; neither NULL nor empty.
 * @param[out] url    A copy, to be released with free(); left as it was when the agent has none or the call
 *                    fails.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Success; when the agent has none, or memory for it could not
 *     be had, @p url is left as it was.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.6.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p url is NULL, or one of the three strings is
 *     NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.6
 */
QUORVEL_API int quorvel_client_get_udo_download_url(quorvel_client_h handle, const char* first,
                                                    const char* second, const char* third, char** url);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_UDO_H */
