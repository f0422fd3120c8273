/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief The core family: server-sent events, hubs, the message broker and the active-user event. Includes
 * all other headers of the family.
 *
 * The family has no handle of its own: its functions take the client that quorvel_client_connect() makes.
 * What the library promises about threads, callbacks and connections stands at the head of quorvel_client.h
 * and holds here too.
 *
 * A function that takes a client may be called on any thread, inside a callback too. It returns when the
 * agent has answered, at the latest when the deadline of the connection has passed (30 seconds unless the
 * platform is told otherwise); a missed deadline also ends the connection. Apart from a callback and its user
 * data, nothing that is passed in is kept.
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
 * the library and from the agent. Every other code of the agent is returned as #QUORVEL_CLIENT_ERROR_UNKNOWN,
 * the two functions by device id apart.
 */
#ifndef QUORVEL_CORE_H
#define QUORVEL_CORE_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief Which server-sent events quorvel_core_set_sse_cb() asks for.
 *
 * The names are this library's. It passes the number on unchanged, accepts every number from 1 upwards, and
 * attaches no meaning to it: what the agent sends for a number is the agent's business.
 */
typedef enum {
    /** Events of every kind. */
    QUORVEL_CORE_SSE_TYPE_ALL = 1,
    /** Values of devices. */
    QUORVEL_CORE_SSE_TYPE_DEVICE = 2,
    /** Health of devices. */
    QUORVEL_CORE_SSE_TYPE_DEVICE_HEALTH = 3,
    /** Devices that come, change and go. */
    QUORVEL_CORE_SSE_TYPE_DEVICE_LIFECYCLE = 4,
    /** Groups of devices. */
    QUORVEL_CORE_SSE_TYPE_DEVICE_GROUP = 5,
    /** Locations. */
    QUORVEL_CORE_SSE_TYPE_LOCATION = 6,
    /** Rooms. */
    QUORVEL_CORE_SSE_TYPE_ROOM = 7,
    /** Favorites. */
    QUORVEL_CORE_SSE_TYPE_FAVORITE = 8,
    /** Rules. */
    QUORVEL_CORE_SSE_TYPE_RULE = 9,
    /** Scenes. */
    QUORVEL_CORE_SSE_TYPE_SCENE = 10,
    /** Installed apps. */
    QUORVEL_CORE_SSE_TYPE_INSTALLED_APP = 11,
    /** Hubs. */
    QUORVEL_CORE_SSE_TYPE_HUB = 12
} quorvel_core_sse_type_e;

/**
 * @brief What a filtered registration for server-sent events compares.
 *
 * The names are this library's, which passes the number on unchanged. Only the device id has public
 * functions: quorvel_core_set_sse_cb_by_device_id() and quorvel_core_unset_sse_cb_by_device_id().
 */
typedef enum {
    /** The user; no public function. */
    QUORVEL_CORE_SSE_FILTER_TYPE_USER_ID = 0,
    /** The location; no public function. */
    QUORVEL_CORE_SSE_FILTER_TYPE_LOCATION_ID = 1,
    /** The room; no public function. */
    QUORVEL_CORE_SSE_FILTER_TYPE_ROOM_ID = 2,
    /** The installed app; no public function. */
    QUORVEL_CORE_SSE_FILTER_TYPE_INSTALLED_APP_ID = 3,
    /** The device. */
    QUORVEL_CORE_SSE_FILTER_TYPE_DEVICE_ID = 4
} quorvel_core_sse_filter_type_e;

/**
 * @brief What the user is busy with.
 *
 * The names are this library's. It checks the range and passes the number on unchanged; the agent decides
 * what it counts under it.
 */
typedef enum {
    /** The app itself. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_APP = 0,
    /** The home as a whole. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_HOME = 1,
    /** A location. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_LOCATION = 2,
    /** A room. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_ROOM = 3,
    /** A device. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_DEVICE = 4,
    /** A group of devices. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_DEVICE_GROUP = 5,
    /** A favorite. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_FAVORITE = 6,
    /** A scene. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_SCENE = 7,
    /** A rule. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_RULE = 8,
    /** An installed app. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_INSTALLED_APP = 9,
    /** The history. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_HISTORY = 10,
    /** Notifications. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_NOTIFICATION = 11,
    /** A hub. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_HUB = 12,
    /** The setup of a new device. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_EASY_SETUP = 13,
    /** The account. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_ACCOUNT = 14,
    /** A member of the home. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_MEMBER = 15,
    /** Energy. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_ENERGY = 16,
    /** Voice control. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_VOICE = 17,
    /** Anything else. */
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_OTHER = 18
} quorvel_core_active_user_category_e;

/**
 * @brief What the user does.
 *
 * The names are this library's. It checks the range and passes the number on unchanged; the agent decides
 * what it counts under it.
 */
typedef enum {
    /** Opens it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_OPEN = 0,
    /** Closes it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_CLOSE = 1,
    /** Looks at it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_VIEW = 2,
    /** Lists what there is. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_LIST = 3,
    /** Searches. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_SEARCH = 4,
    /** Has it read anew. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_REFRESH = 5,
    /** Adds it to something. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_ADD = 6,
    /** Creates it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_CREATE = 7,
    /** Changes it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_UPDATE = 8,
    /** Gives it another name. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_RENAME = 9,
    /** Moves it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_MOVE = 10,
    /** Removes it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_REMOVE = 11,
    /** Replaces it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_REPLACE = 12,
    /** Turns it on. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_TURN_ON = 13,
    /** Turns it off. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_TURN_OFF = 14,
    /** Runs it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_EXECUTE = 15,
    /** Starts it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_START = 16,
    /** Stops it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_STOP = 17,
    /** Enables it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_ENABLE = 18,
    /** Disables it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_DISABLE = 19,
    /** Invites to it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_INVITE = 20,
    /** Joins it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_JOIN = 21,
    /** Leaves it. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_LEAVE = 22,
    /** Signs in. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_SIGN_IN = 23,
    /** Signs out. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_SIGN_OUT = 24,
    /** Anything else. */
    QUORVEL_CORE_ACTIVE_USER_ACTION_OTHER = 25
} quorvel_core_active_user_action_e;

/**
 * @brief Tells of a server-sent event.
 *
 * The library hands the three values on as the agent sent them and attaches no meaning to them.
 *
 * @param[in] event_type First value, a number.
 * @param[in] event_time Second value, a number of 64 bits.
 * @param[in] event      Third value, a text, possibly empty; valid only until the callback returns.
 * @param[in] user_data  What was given when the callback was registered.
 *
 * @note Runs on the thread that iterates the default GLib main context, in the order in which the agent sent
 *     the events. It may call every function of the library, also to unregister itself and to disconnect.
 */
typedef void (*quorvel_core_sse_cb)(int event_type, long long event_time, const char* event, void* user_data);

/**
 * @brief Registers the callback for server-sent events.
 *
 * The process has one such registration: registering again, on another client too, replaces the callback and
 * its user data. Registrations by device are independent of it. A registration ends with its connection:
 * after a reconnect register anew.
 *
 * The callback runs on the thread that iterates the default GLib main context. It may register, unregister
 * and disconnect.
 *
 * @attention When the agent refuses, the earlier registration is gone and the new one stays in place: an
 *     event that the agent sends all the same still reaches @p cb. Call quorvel_core_unset_sse_cb() to be rid
 *     of it.
 *
 * @param[in] handle    A connected client.
 * @param[in] sse_type  Which events to send, see #quorvel_core_sse_type_e; 1 or more. Passed on to the agent
 *                      unchanged.
 * @param[in] cb        Called once an event; not NULL.
 * @param[in] user_data Handed to every call of @p cb; not touched by the library.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p sse_type is below 1; @p cb is NULL;
 *     the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  There is no memory for the registration.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_set_sse_cb(quorvel_client_h handle, int sse_type, quorvel_core_sse_cb cb,
                                        void* user_data);

/**
 * @brief Removes the callback that quorvel_core_set_sse_cb() registered.
 *
 * The callback is removed before the agent is asked, so it is gone also when the agent refuses. On the thread
 * that iterates the default GLib main context it is not called again after this; on another thread a call
 * that was picked for dispatch already may still run. Without a registration the agent is asked all the same.
 * Registrations by device stay.
 *
 * @param[in] handle A connected client.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_unset_sse_cb(quorvel_client_h handle);

/**
 * @brief Registers a callback for the server-sent events of one device.
 *
 * Every call is a registration of its own, independent of quorvel_core_set_sse_cb() and of every other:
 * registering twice for one device means two calls an event. A registration ends with its connection: after a
 * reconnect register anew. The library keeps it until quorvel_client_disconnect(), also after
 * quorvel_core_unset_sse_cb_by_device_id(), so @p user_data has to stay valid until then. When this function
 * fails, nothing stays registered. The callback runs on the thread that iterates the default GLib main
 * context.
 *
 * @attention Unlike everywhere else the agent's result is returned as it is, not brought into the range of
 *     #quorvel_client_error_e.
 *
 * @param[in] handle    A connected client.
 * @param[in] device_id The device; neither NULL nor empty.
 * @param[in] cb        Called once an event; not NULL.
 * @param[in] user_data Handed to every call of @p cb; not touched by the library.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p device_id is NULL or empty or @p cb is NULL (both looked
 *     at first, even without an agent); @p handle is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     There is no memory for the callback and its user data.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  There is no memory for the registration.
 * @return Any other value is the agent's own result as it came, which need not be one of
 *     #quorvel_client_error_e; -1 when no answer came within the deadline.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_set_sse_cb_by_device_id(quorvel_client_h handle, const char* device_id,
                                                     quorvel_core_sse_cb cb, void* user_data);

/**
 * @brief Asks the agent to stop sending the server-sent events of one device.
 *
 * @attention The library keeps the callback of the registration until quorvel_client_disconnect(): an event
 *     that the agent sends all the same still reaches it, and its user data has to stay valid until then.
 *
 * @attention Unlike everywhere else the agent's result is returned as it is, not brought into the range of
 *     #quorvel_client_error_e.
 *
 * @param[in] handle    A connected client.
 * @param[in] device_id The device; neither NULL nor empty.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p device_id is NULL or empty (looked at first, even without
 *     an agent); @p handle is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @return Any other value is the agent's own result as it came, which need not be one of
 *     #quorvel_client_error_e; -1 when no answer came within the deadline.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_unset_sse_cb_by_device_id(quorvel_client_h handle, const char* device_id);

/**
 * @brief Gives the description of a hub as JSON.
 *
 * The two texts are passed on to the agent unchanged, which decides what they mean.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  location_id First text, the location of the hub; neither NULL nor empty.
 * @param[in]  hub_id      Second text, the hub; neither NULL nor empty.
 * @param[out] json_str    Receives the JSON, a copy to release with free(). Left as it was on failure and
 *                         when the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p location_id or @p hub_id is NULL or
 *     empty; @p json_str is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_hub_json(quorvel_client_h handle, const char* location_id,
                                          const char* hub_id, char** json_str);

/**
 * @brief Gives the address of a message broker.
 *
 * The text and the flag are passed on to the agent unchanged, which decides what they mean.
 *
 * @param[in]  handle A connected client.
 * @param[in]  hub_id The hub that asks; neither NULL nor empty.
 * @param[in]  secure Passed on to the agent unchanged.
 * @param[out] url    Receives the address, a copy to release with free(). Left as it was on failure and when
 *                    the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p hub_id is NULL or empty or @p url is
 *     NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_mqtt_broker_url(quorvel_client_h handle, const char* hub_id, bool secure,
                                                 char** url);

/**
 * @brief Reports what the user does to the agent.
 *
 * All four values are passed on to the agent unchanged, which decides what they mean; only the range of the
 * two numbers is checked.
 *
 * @attention A failure is logged under the name of another method, SetActiveUserCount.
 *
 * @param[in] handle    A connected client.
 * @param[in] category  0 to 18, see #quorvel_core_active_user_category_e.
 * @param[in] action    0 to 25, see #quorvel_core_active_user_action_e.
 * @param[in] target_id Passed on to the agent unchanged; NULL is sent as the empty text.
 * @param[in] details   Passed on to the agent unchanged; NULL is sent as the empty text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p category is below 0 or above 18;
 *     @p action is below 0 or above 25.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.4
 */
QUORVEL_API int quorvel_core_send_active_user_event(quorvel_client_h handle, int category, int action,
                                                    const char* target_id, const char* details);

QUORVEL_END_DECLS

#include "quorvel_core_device.h"
#include "quorvel_core_device_group.h"
#include "quorvel_core_favorite.h"
#include "quorvel_core_history.h"
#include "quorvel_core_installed_app.h"
#include "quorvel_core_location.h"
#include "quorvel_core_oxbarrow.h"
#include "quorvel_core_room.h"
#include "quorvel_core_rule.h"
#include "quorvel_core_scene.h"

#endif /* QUORVEL_CORE_H */
