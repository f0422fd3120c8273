/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Groups and subgroups of devices.
 */
#ifndef QUORVEL_CLIENT_GROUP_H
#define QUORVEL_CLIENT_GROUP_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief A group or a subgroup. Released with quorvel_client_group_destroy().
 */
typedef void* quorvel_client_group_h;

/**
 * @brief The two kinds of groups.
 */
typedef enum {
    /** A group. */
    QUORVEL_CLIENT_GROUP_TYPE_GROUP = 1,
    /** A subgroup. */
    QUORVEL_CLIENT_GROUP_TYPE_SUBGROUP = 2
} quorvel_client_group_type_e;

/**
 * @brief What became of a group.
 */
typedef enum {
    /** Something that the library has no number for. */
    QUORVEL_CLIENT_GROUP_EVENT_NONE = 0,
    /** It was added. */
    QUORVEL_CLIENT_GROUP_EVENT_ADD = 1,
    /** It was changed. */
    QUORVEL_CLIENT_GROUP_EVENT_UPDATE = 2,
    /** It was removed. */
    QUORVEL_CLIENT_GROUP_EVENT_DELETE = 3
} quorvel_client_group_event_e;

/**
 * @brief The properties of a group; each belongs to one getter.
 */
typedef enum {
    /** The id; a string. */
    QUORVEL_CLIENT_GROUP_PROP_GROUP_ID = 0,
    /** The name; a string. */
    QUORVEL_CLIENT_GROUP_PROP_GROUP_NAME = 1,
    /** The nickname; a string. */
    QUORVEL_CLIENT_GROUP_PROP_GROUP_NICK = 2,
    /** Who owns it; a string. */
    QUORVEL_CLIENT_GROUP_PROP_GROUP_OWNER = 3,
    /** The type, "group" or "subgroup"; a string. */
    QUORVEL_CLIENT_GROUP_PROP_GROUP_TYPE = 4,
    /** The background image; a string. */
    QUORVEL_CLIENT_GROUP_PROP_BACKGROUND_IMAGE = 5,
    /** The id of its parent; a string. */
    QUORVEL_CLIENT_GROUP_PROP_PARENT_ID = 6,
    /** The devices of the first generation; a list of strings. */
    QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V1 = 7,
    /** The devices of the second generation; a list of strings. */
    QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V2 = 8,
    /** Its subgroups; a list of strings. */
    QUORVEL_CLIENT_GROUP_PROP_SUBGROUP_LIST = 9
} quorvel_client_group_prop_e;

/**
 * @brief Hears that groups changed, and gets those that did.
 *
 * @param[in] event      One of #quorvel_client_group_event_e.
 * @param[in] group_type One of #quorvel_client_group_type_e; whatever is not a subgroup counts as a group.
 * @param[in] list       The groups, handed over: release each with quorvel_client_group_destroy(), then the
 *                       vector itself with free(). NULL when there are none.
 * @param[in] count      How many there are.
 * @param[in] group_id   The id of the group when exactly one came, whatever the event; else NULL. Gone when
 *                       the callback returns.
 * @param[in] user_data  As given at registration.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_group_list_updated_cb)(int event, int group_type, quorvel_client_group_h* list,
                                                     int count, const char* group_id, void* user_data);

/**
 * @brief Hears how a command on a group ended.
 *
 * The strings are gone when the callback returns.
 *
 * @param[in] result    The agent's result as it came: 0 for success, else one of #quorvel_client_error_e or a
 *                      number of the agent's own.
 * @param[in] group_id  The group.
 * @param[in] second    The agent's second string, passed on unchanged.
 * @param[in] user_data As given with the command.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_group_result_cb)(int result, const char* group_id, const char* second,
                                               void* user_data);

/**
 * @brief Gives the groups or the subgroups.
 *
 * @param[in]  handle     A connected client.
 * @param[in]  group_type One of #quorvel_client_group_type_e.
 * @param[out] list       The groups, each to be released with quorvel_client_group_destroy(), and then the
 *                        vector itself with free(); NULL when there are none.
 * @param[out] count      How many there are.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; NULL and 0 for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or an out pointer is NULL, or @p group_type is
 *     neither of the two.
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
QUORVEL_API int quorvel_client_get_group_list(quorvel_client_h handle, int group_type,
                                              quorvel_client_group_h** list, int* count);

/**
 * @brief Gives one group.
 *
 * @param[in]  handle   A connected client.
 * @param[in]  group_id The group; neither NULL nor empty.
 * @param[out] group    The group, to be released with quorvel_client_group_destroy().
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The group is in @p group.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p group is NULL, or @p group_id is NULL or
 *     empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_get_group(quorvel_client_h handle, const char* group_id,
                                         quorvel_client_group_h* group);

/**
 * @brief Releases a group.
 *
 * @param[in] group What to release; not to be used any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p group is NULL.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_group_destroy(quorvel_client_group_h group);

/**
 * @brief Reads a string of a group.
 *
 * @attention A copy for which there is no memory reads as an empty value.
 *
 * @param[in]  group       The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_GROUP_PROP_GROUP_ID to #QUORVEL_CLIENT_GROUP_PROP_PARENT_ID, that
 *                         is 0 to 6.
 * @param[out] value       A copy, to be released with free(); NULL when the property is empty or absent.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value, also NULL for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p group or @p value is NULL, or @p property_id is not one
 *     of these.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_group_get_string(quorvel_client_group_h group, int property_id, char** value);

/**
 * @brief Reads a list of strings of a group.
 *
 * @attention Of the device lists, which come as pieces of JSON, only the first piece that has the wanted
 *     generation counts, and a piece that is not JSON is passed over. An entry that is not a string is a NULL
 *     among the strings: count by @p count.
 *
 * @param[in]  group       The record to read.
 * @param[in]  property_id #QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V1,
 *                         #QUORVEL_CLIENT_GROUP_PROP_DEVICE_LIST_V2 or
 *                         #QUORVEL_CLIENT_GROUP_PROP_SUBGROUP_LIST; no other.
 * @param[out] list        The strings, to be released one by one and then the vector itself, each with
 *                         free(); NULL when there are none.
 * @param[out] count       How many there are.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; NULL and 0 for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p group or an out pointer is NULL, or @p property_id is not
 *     one of these.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The device list could not be taken apart for want of memory.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_group_get_string_array(quorvel_client_group_h group, int property_id,
                                                      char*** list, int* count);

/**
 * @brief Registers the callback for changes of groups.
 *
 * The callback runs each time groups or subgroups are added, changed or removed. Setting it again replaces
 * the callback and its user data. There is one registration of this kind in the process.
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
QUORVEL_API int quorvel_client_set_group_list_updated_cb(quorvel_client_h handle,
                                                         quorvel_client_group_list_updated_cb cb,
                                                         void* user_data);

/**
 * @brief Takes the callback for changes of groups back.
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
QUORVEL_API int quorvel_client_unset_group_list_updated_cb(quorvel_client_h handle);

/**
 * @brief Adds a group.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * What the unnamed strings stand for is the agent's matter; the library passes them on unchanged and in this
 * order.
 *
 * @param[in] handle     A connected client.
 * @param[in] first      The first string; passed to the agent as it is, NULL as the empty string.
 * @param[in] group_name The name of the new group; neither NULL nor empty.
 * @param[in] third      The third string; the same holds.
 * @param[in] fourth     The fourth string; the same holds.
 * @param[in] fifth      The fifth string; the same holds.
 * @param[in] cb         The outcome; NULL when it is of no interest.
 * @param[in] user_data  Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.6.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p group_name is NULL or empty.
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
QUORVEL_API int quorvel_client_add_group(quorvel_client_h handle, const char* first, const char* group_name,
                                         const char* third, const char* fourth, const char* fifth,
                                         quorvel_client_group_result_cb cb, void* user_data);

/**
 * @brief Removes a group.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle    A connected client.
 * @param[in] group_id  The group; neither NULL nor empty.
 * @param[in] second    The second string; passed to the agent as it is, NULL as the empty string.
 * @param[in] cb        The outcome; NULL when it is of no interest.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.6.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p group_id is NULL or empty.
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
QUORVEL_API int quorvel_client_remove_group(quorvel_client_h handle, const char* group_id, const char* second,
                                            quorvel_client_group_result_cb cb, void* user_data);

/**
 * @brief Changes a group.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * What the unnamed strings stand for is the agent's matter; the library passes them on unchanged and in this
 * order.
 *
 * @param[in] handle    A connected client.
 * @param[in] group_id  The group; neither NULL nor empty.
 * @param[in] second    The second string; passed to the agent as it is, NULL as the empty string.
 * @param[in] third     The third string; the same holds.
 * @param[in] fourth    The fourth string; the same holds.
 * @param[in] fifth     The fifth string; the same holds.
 * @param[in] sixth     The sixth string; the same holds.
 * @param[in] cb        The outcome; NULL when it is of no interest.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.6.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p group_id is NULL or empty.
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
QUORVEL_API int quorvel_client_update_group(quorvel_client_h handle, const char* group_id, const char* second,
                                            const char* third, const char* fourth, const char* fifth,
                                            const char* sixth, quorvel_client_group_result_cb cb,
                                            void* user_data);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_GROUP_H */
