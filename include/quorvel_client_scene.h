/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Scenes: what is to be set together, and running it.
 */
#ifndef QUORVEL_CLIENT_SCENE_H
#define QUORVEL_CLIENT_SCENE_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief A scene: its id and its body. Released with quorvel_client_scene_destroy().
 */
typedef void* quorvel_client_scene_h;

/**
 * @brief The properties of a scene.
 */
typedef enum {
    /** The id; a string. */
    QUORVEL_CLIENT_SCENE_PROP_SCENE_ID = 0,
    /** The body; a string. */
    QUORVEL_CLIENT_SCENE_PROP_SCENE = 1
} quorvel_client_scene_prop_e;

/**
 * @brief What became of a scene.
 */
typedef enum {
    /** Something that the library has no number for. */
    QUORVEL_CLIENT_SCENE_EVENT_NONE = 0,
    /** It was added. */
    QUORVEL_CLIENT_SCENE_EVENT_ADD = 1,
    /** It was changed. */
    QUORVEL_CLIENT_SCENE_EVENT_UPDATE = 2,
    /** It was removed. */
    QUORVEL_CLIENT_SCENE_EVENT_DELETE = 3
} quorvel_client_scene_event_e;

/**
 * @brief Hears that scenes changed, and gets those that did.
 *
 * @param[in] event     One of #quorvel_client_scene_event_e.
 * @param[in] list      The scenes, handed over: release each with quorvel_client_scene_destroy(), then the
 *                      vector itself with free(). NULL when there are none.
 * @param[in] count     How many there are.
 * @param[in] scene_id  The id of the scene when exactly one came and the event is not
 *                      #QUORVEL_CLIENT_SCENE_EVENT_NONE; else NULL. Gone when the callback returns.
 * @param[in] user_data As given at registration.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_scene_list_updated_cb)(int event, quorvel_client_scene_h* list, int count,
                                                     const char* scene_id, void* user_data);

/**
 * @brief Hears how a command on a scene ended.
 *
 * The strings are gone when the callback returns.
 *
 * @param[in] result    The agent's result as it came: 0 for success, else one of #quorvel_client_error_e or a
 *                      number of the agent's own.
 * @param[in] scene_id  The scene.
 * @param[in] scene     Its body.
 * @param[in] fourth    The agent's fourth value, passed on unchanged; the third is not passed on.
 * @param[in] user_data As given with the command.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_scene_result_cb)(int result, const char* scene_id, const char* scene,
                                               const char* fourth, void* user_data);

/**
 * @brief Gives the scenes.
 *
 * @param[in]  handle A connected client.
 * @param[out] list   The scenes, each to be released with quorvel_client_scene_destroy(), and then the vector
 *                    itself with free(); NULL when there are none.
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
QUORVEL_API int quorvel_client_get_scene_list(quorvel_client_h handle, quorvel_client_scene_h** list,
                                              int* count);

/**
 * @brief Asks for one scene without handing it out.
 *
 * @attention The variable that @p scene points to stays as it was, also on success: this call tells only
 *     whether the agent gives the scene. What came is kept until the client is disconnected. To read a scene,
 *     take it from quorvel_client_get_scene_list().
 *
 * @param[in] handle   A connected client.
 * @param[in] scene_id The scene; neither NULL nor empty.
 * @param[in] scene    Not NULL, and never written.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent has the scene.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p scene is NULL, or @p scene_id is NULL or
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
QUORVEL_API int quorvel_client_get_scene(quorvel_client_h handle, const char* scene_id,
                                         quorvel_client_scene_h* scene);

/**
 * @brief Releases a scene.
 *
 * @param[in] scene What to release; not to be used any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p scene is NULL.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_scene_destroy(quorvel_client_scene_h scene);

/**
 * @brief Reads a string of a scene.
 *
 * @attention A copy for which there is no memory reads as an empty value.
 *
 * @param[in]  scene       The record to read.
 * @param[in]  property_id One of #quorvel_client_scene_prop_e.
 * @param[out] value       A copy, to be released with free(); NULL when the property is empty or absent.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value, also NULL for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p scene or @p value is NULL, or @p property_id is not one
 *     of these.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_scene_get_string(quorvel_client_scene_h scene, int property_id, char** value);

/**
 * @brief Registers the callback for changes of scenes.
 *
 * The callback runs each time scenes are added, changed or removed. Setting it again replaces the callback
 * and its user data. There is one registration of this kind in the process.
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
QUORVEL_API int quorvel_client_set_scene_list_updated_cb(quorvel_client_h handle,
                                                         quorvel_client_scene_list_updated_cb cb,
                                                         void* user_data);

/**
 * @brief Takes the callback for changes of scenes back.
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
QUORVEL_API int quorvel_client_unset_scene_list_updated_cb(quorvel_client_h handle);

/**
 * @brief Runs a scene.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle    A connected client.
 * @param[in] scene_id  The scene; neither NULL nor empty.
 * @param[in] cb        The outcome; NULL when it is of no interest.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p scene_id is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_do_scene(quorvel_client_h handle, const char* scene_id,
                                        quorvel_client_scene_result_cb cb, void* user_data);

/**
 * @brief Adds a scene.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle    A connected client.
 * @param[in] group_id  The group that it belongs to; neither NULL nor empty.
 * @param[in] scene     Its body; neither NULL nor empty.
 * @param[in] cb        The outcome; NULL when it is of no interest.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.6.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p group_id or @p scene is NULL or
 *     empty.
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
QUORVEL_API int quorvel_client_add_scene(quorvel_client_h handle, const char* group_id, const char* scene,
                                         quorvel_client_scene_result_cb cb, void* user_data);

/**
 * @brief Removes a scene.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @attention In the log its failure goes by the name of adding a scene.
 *
 * @param[in] handle    A connected client.
 * @param[in] scene_id  The scene; neither NULL nor empty.
 * @param[in] cb        The outcome; NULL when it is of no interest.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.6.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p scene_id is NULL or empty.
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
QUORVEL_API int quorvel_client_remove_scene(quorvel_client_h handle, const char* scene_id,
                                            quorvel_client_scene_result_cb cb, void* user_data);

/**
 * @brief Changes a scene.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle    A connected client.
 * @param[in] scene_id  The scene; neither NULL nor empty.
 * @param[in] scene     Its new body; neither NULL nor empty.
 * @param[in] cb        The outcome; NULL when it is of no interest.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.6.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p scene_id or @p scene is NULL or
 *     empty.
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
QUORVEL_API int quorvel_client_update_scene(quorvel_client_h handle, const char* scene_id, const char* scene,
                                            quorvel_client_scene_result_cb cb, void* user_data);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_SCENE_H */
