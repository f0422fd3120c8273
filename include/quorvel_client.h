/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief The client session: the connection to the agent, and what it knows of the account.
 *
 * Including this header brings in the whole client family. Its companion for the cloud's own objects is
 * quorvel_core.h; both families take the same handle.
 *
 * @section quorvel_start Getting started
 *
 * Call quorvel_client_connect(), run the GLib main loop of the default main context, and wait for the
 * connected callback: until it has run, every other call answers #QUORVEL_CLIENT_ERROR_NOT_CONNECTED. A
 * program that never iterates that main context never hears of anything. One connection a process is the
 * intended use: the state of the connection and every registration belong to the process.
 *
 * After a disconnected or rejected event a new connection may be made at once. Disconnect the old handle
 * first: it keeps its memory until then, and disconnecting it after a new connect takes the new connection
 * down with it. A handle must not be used once quorvel_client_disconnect() has returned for it.
 *
 * @section quorvel_threads Threads and callbacks
 *
 * - Any function may be called from any thread, quorvel_client_connect() and quorvel_client_disconnect()
 *   too. A function that asks the agent keeps its thread until the answer is there; on the loop thread the
 *   main loop stands still for that time.
 * - Callbacks run only on the loop thread, the one that iterates the default main context, in the order in
 *   which the agent sent them and one at a time, unless a callback runs the main loop itself.
 * - A callback may call every function of the library; it may also unset or unsubscribe itself, disconnect
 *   the client, and connect anew.
 * - Once an unset, an unsubscribe or a disconnect has returned on the loop thread, that callback is not
 *   called again. On another thread at most the one call that was already picked may still run.
 * - Strings and records that a callback is given are gone when it returns, unless its description says
 *   that they are handed over.
 * - A record (a device, a group, a condition, ...) has no lock of its own: several threads may read one at
 *   once, but whoever changes or releases it must be alone with it.
 *
 * @section quorvel_answers Answers
 *
 * - Every call that is answered gets its own answer, however many threads call at once.
 * - No call hangs. A call that the agent leaves without an answer ends within the deadline (30 seconds,
 *   unless the platform is set up otherwise) with #QUORVEL_CLIENT_ERROR_UNKNOWN, or with -1 from the two
 *   event functions of the core family that take a filter. The connection is closed then, since a late
 *   answer would be taken for the next call's; a disconnected event follows.
 * - When the agent dies, all waiting calls end, there is one disconnected event, and a new connection works.
 * - In a forked child the library is disconnected, and the parent loses nothing.
 * - When memory runs out a function answers its error and leaves nothing behind. A few tables and
 *   checksums are GLib's, which ends the process instead: in connecting, in subscribing and in monitoring.
 *
 * @section quorvel_memory Memory
 *
 * - A string that a function hands out is a copy; release it with free().
 * - A record that is handed out belongs to the application, also when a callback hands it over; release it
 *   with the destroy function of its kind.
 * - Every vector that is handed out has one more slot than its count, and that slot is NULL. A vector of
 *   strings is released string by string and then itself, all with free(); a vector of records is released
 *   record by record with the destroy function of the kind, and then itself with free(). An empty one is
 *   NULL with a count of 0.
 * - An entry for which memory ran short is NULL in such a vector: release by the count, not up to the first
 *   NULL. free() takes a NULL, and a destroy function answers it with an error and does nothing else. Lists
 * of access points alone hold no such entry.
 * - An out parameter is written on success only, unless the function says otherwise.
 * - What is passed in stays the caller's and is copied where it is needed longer than the call.
 *
 * @code
 * quorvel_client_device_h* devices = NULL;
 * int count = 0;
 * if (quorvel_client_get_device_list(client, &devices, &count) == QUORVEL_CLIENT_ERROR_NONE) {
 *     for (int i = 0; i < count; i++)
 *         quorvel_client_device_destroy(devices[i]);
 *     free(devices);
 * }
 * @endcode
 *
 * @section quorvel_versions The agent's version
 *
 * Each function names the lowest version of the agent that it works with. An older agent is refused with
 * #QUORVEL_CLIENT_ERROR_LOWER_VERSION, also one whose version cannot be read, and a missing one with
 * #QUORVEL_CLIENT_ERROR_NOT_SUPPORTED, before any argument is looked at. The accessors and destroy functions
 * of the client family make the same checks although they ask the agent nothing. The version that was read
 * first holds for the life of the process, and an agent that was found once counts as installed.
 */
#ifndef QUORVEL_CLIENT_H
#define QUORVEL_CLIENT_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief Hears of the state of the connection.
 *
 * It is called with (0, connected), (0, disconnected) or (#QUORVEL_CLIENT_ERROR_PERMISSION_DENIED, rejected).
 *
 * @param[in] result    0, or #QUORVEL_CLIENT_ERROR_PERMISSION_DENIED when the connection was refused.
 * @param[in] state     One of #quorvel_client_connection_state_e.
 * @param[in] user_data As given to quorvel_client_connect().
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_connection_state_cb)(int result, int state, void* user_data);

/**
 * @brief Hears that the user signed in or out.
 *
 * @param[in] is_signed_in Whether a user is signed in now.
 * @param[in] user_data    As given at registration.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_sign_in_state_changed_cb)(bool is_signed_in, void* user_data);

/**
 * @brief Hears that the UI metadata of a device model changed.
 *
 * What the two strings say is the agent's matter; the library passes them on unchanged. They are gone when
 * the callback returns.
 *
 * @param[in] first     The agent's first value.
 * @param[in] second    The agent's second value.
 * @param[in] user_data As given at registration.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_ui_metadata_updated_cb)(const char* first, const char* second, void* user_data);

/**
 * @brief Begins a connection to the agent.
 *
 * On success the connection is only being made: @p cb tells when it stands, or that it was refused. An
 * installed agent that is not running is started. @p cb also hears when the connection is lost later.
 *
 * @attention When it is called off the loop thread, @p cb may run before this function has returned and
 *     stored the handle.
 *
 * @param[out] handle    The new client, to be released with quorvel_client_disconnect(). Set to NULL when the
 *                       connection could not be begun after the argument and state checks; left as it was
 *                       when one of these refuses.
 * @param[in]  cb        Hears of the state of the connection; not NULL.
 * @param[in]  user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE               The connection is being made; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED      The agent is not installed; this is found before any
 *     argument is looked at.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION      The agent is older than 1.0, or its version cannot be read
 *     at this moment.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER  @p handle or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_ALREADY_CONNECTED  There is a connection in this process.
 * @retval QUORVEL_CLIENT_ERROR_ALREADY_CONNECTING A connection is being made in this process.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY      Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_PERMISSION_DENIED  The platform does not let the application reach the agent.
 * @retval QUORVEL_CLIENT_ERROR_IO_ERROR           The platform could not read or write the connection.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED   The connection could not be begun for another reason.
 *
 * @note Any thread; does not wait for the agent.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_connect(quorvel_client_h* handle, quorvel_client_connection_state_cb cb,
                                       void* user_data);

/**
 * @brief Ends the connection and releases the handle.
 *
 * It works in every state, also while the connection is being made, and does not call the connection
 * callback. Every registration, subscription and answer that is still due goes with it: none of their
 * callbacks is called again once this returned on the loop thread; on another thread at most the one call
 * that was already picked may still run. Calls that wait on other threads end with
 * #QUORVEL_CLIENT_ERROR_UNKNOWN. Records and strings that the application holds stay valid.
 *
 * @attention Disconnecting an old handle after a new connection was begun ends the new connection as well:
 *     disconnect the old handle first.
 *
 * @param[in] handle The client; not to be used any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Disconnected and released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed; the handle is not released.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0; the handle is not released.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or not a client that is still to be
 *     disconnected.
 *
 * @note Any thread, and any callback; does not wait for the agent.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_disconnect(quorvel_client_h handle);

/**
 * @brief Asks for the agent's own state.
 *
 * What the number says is the agent's matter. It is not the state of the connection, which the connection
 * callback tells.
 *
 * @attention A NULL @p state is not refused: the agent is asked, and nothing is stored.
 *
 * @param[in]  handle A connected client.
 * @param[out] state  The agent's number.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The state is in @p state.
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
QUORVEL_API int quorvel_client_get_state(quorvel_client_h handle, int* state);

/**
 * @brief Asks whether a user is signed in.
 *
 * @attention Any answer of the agent that begins with the four capitals TRUE counts as signed in; everything
 *     else, also "true", counts as signed out.
 *
 * @param[in]  handle       A connected client.
 * @param[out] is_signed_in Whether a user is signed in.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The answer is in @p is_signed_in.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p is_signed_in is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_is_signed_in(quorvel_client_h handle, bool* is_signed_in);

/**
 * @brief Gives the access token of the signed-in account.
 *
 * The token is a secret: keep it out of logs, and wipe the copy before it is released.
 *
 * @param[in]  handle A connected client.
 * @param[out] token  A copy, to be released with free(); left as it was when the agent has none or the call
 *                    fails.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Success; when the agent has none, or memory for it could not
 *     be had, @p token is left as it was.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p token is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_get_access_token(quorvel_client_h handle, char** token);

/**
 * @brief Gives the id under which the agent knows this very device.
 *
 * @param[in]  handle    A connected client.
 * @param[out] device_id A copy, to be released with free(); left as it was when the agent has none or the
 *                       call fails.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Success; when the agent has none, or memory for it could not
 *     be had, @p device_id is left as it was.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p device_id is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_get_device_id(quorvel_client_h handle, char** device_id);

/**
 * @brief Gives the id of the user whose account the agent is connected with.
 *
 * @param[in]  handle  A connected client.
 * @param[out] user_id A copy, to be released with free(); left as it was when the agent has none or the call
 *                     fails.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Success; when the agent has none, or memory for it could not
 *     be had, @p user_id is left as it was.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p user_id is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_get_connected_user_id(quorvel_client_h handle, char** user_id);

/**
 * @brief Gives the login id of the signed-in account.
 *
 * @param[in]  handle   A connected client.
 * @param[out] login_id A copy, to be released with free(); left as it was when the agent has none or the call
 *                      fails.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Success; when the agent has none, or memory for it could not
 *     be had, @p login_id is left as it was.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p login_id is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_get_login_id(quorvel_client_h handle, char** login_id);

/**
 * @brief Gives the UI metadata of a device model.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  vid         The model's vid; neither NULL nor empty.
 * @param[out] ui_metadata A copy, to be released with free(); left as it was when the agent has none or the
 *                         call fails.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Success; when the agent has none, or memory for it could not
 *     be had, @p ui_metadata is left as it was.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p ui_metadata is NULL, or @p vid is NULL or
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
QUORVEL_API int quorvel_client_get_ui_metadata(quorvel_client_h handle, const char* vid, char** ui_metadata);

/**
 * @brief Asks the agent to read the information of its devices anew.
 *
 * Changes are heard through the list callbacks.
 *
 * @param[in] handle A connected client.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request.
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
QUORVEL_API int quorvel_client_refresh_device_information(quorvel_client_h handle);

/**
 * @brief Registers the callback for signing in and out.
 *
 * The callback runs each time the user signs in or out. Setting it again replaces the callback and its user
 * data. There is one registration of this kind in the process.
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
QUORVEL_API int quorvel_client_set_sign_in_state_changed_cb(quorvel_client_h handle,
                                                            quorvel_client_sign_in_state_changed_cb cb,
                                                            void* user_data);

/**
 * @brief Takes the callback for signing in and out back.
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
QUORVEL_API int quorvel_client_unset_sign_in_state_changed_cb(quorvel_client_h handle);

/**
 * @brief Registers the callback for changed UI metadata.
 *
 * The callback runs each time the UI metadata of a device model changes. Setting it again replaces the
 * callback and its user data. There is one registration of this kind in the process.
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
QUORVEL_API int quorvel_client_set_ui_metadata_updated_cb(quorvel_client_h handle,
                                                          quorvel_client_ui_metadata_updated_cb cb,
                                                          void* user_data);

/**
 * @brief Takes the callback for changed UI metadata back.
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
QUORVEL_API int quorvel_client_unset_ui_metadata_updated_cb(quorvel_client_h handle);

QUORVEL_END_DECLS

#include "quorvel_client_app_launch.h"
#include "quorvel_client_device.h"
#include "quorvel_client_device_detail.h"
#include "quorvel_client_easy_setup.h"
#include "quorvel_client_group.h"
#include "quorvel_client_internal.h"
#include "quorvel_client_notification.h"
#include "quorvel_client_qc_api.h"
#include "quorvel_client_scene.h"
#include "quorvel_client_udo.h"

#endif /* QUORVEL_CLIENT_H */
