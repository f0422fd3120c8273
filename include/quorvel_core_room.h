/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Core family: the rooms of a location.
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
#ifndef QUORVEL_CORE_ROOM_H
#define QUORVEL_CORE_ROOM_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief A room as the agent described it.
 *
 * A snapshot: it does not follow later changes. It belongs to whoever asked for it, stays valid after a
 * disconnect, and is released with quorvel_core_room_destroy().
 */
typedef void* quorvel_core_room_h;

/**
 * @brief The properties of a room, for quorvel_core_room_get_string().
 *
 * Each is what the agent delivers under the key told beside it.
 */
typedef enum {
    /** "roomId". */
    QUORVEL_CORE_ROOM_PROP_ROOM_ID = 0,
    /** "name". */
    QUORVEL_CORE_ROOM_PROP_NAME = 1,
    /** "locationId". */
    QUORVEL_CORE_ROOM_PROP_LOCATION_ID = 2
} quorvel_core_room_prop_e;

/**
 * @brief Gives a room.
 *
 * It needs a newer agent than quorvel_core_get_room_list(), which gives the same records.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  location_id The location of the room; neither NULL nor empty.
 * @param[in]  room_id     The room; neither NULL nor empty.
 * @param[out] room        Receives the room, to release with quorvel_core_room_destroy(). Left as it was on
 *                         failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The answer is handed out.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p location_id or @p room_id is NULL or
 *     empty; @p room is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.4
 */
QUORVEL_API int quorvel_core_get_room(quorvel_client_h handle, const char* location_id, const char* room_id,
                                      quorvel_core_room_h* room);

/**
 * @brief Gives the rooms of a location.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  location_id The location; neither NULL nor empty.
 * @param[out] list        Receives the rooms: release each entry with quorvel_core_room_destroy() and then
 *                         the list itself with free(). NULL when there are none. Behind the last entry the
 *                         list holds one more slot, which is NULL. An entry for which memory ran short is
 *                         NULL. Left as it was on failure.
 * @param[out] count       Receives the number of entries; 0 when there are none. Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; it may be empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p location_id is NULL or empty; @p list
 *     or @p count is NULL; the client has no link to the agent.
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
QUORVEL_API int quorvel_core_get_room_list(quorvel_client_h handle, const char* location_id,
                                           quorvel_core_room_h** list, int* count);

/**
 * @brief Gives a room as JSON.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  location_id The location of the room; neither NULL nor empty.
 * @param[in]  room_id     The room; neither NULL nor empty.
 * @param[out] json_str    Receives the JSON, a copy to release with free(). Left as it was on failure and
 *                         when the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p location_id or @p room_id is NULL or
 *     empty; @p json_str is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_room_json(quorvel_client_h handle, const char* location_id,
                                           const char* room_id, char** json_str);

/**
 * @brief Creates a room.
 *
 * @attention A result text can come together with an error code; release it in that case too.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  location_id The location of the room; neither NULL nor empty.
 * @param[in]  name        The name of the room; neither NULL nor empty.
 * @param[out] result_str  Set to NULL first, then receives the agent's result text, a copy to release with
 *                         free(), also together with an error code. Stays NULL when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p result_str is NULL (looked at first, even without an
 *     agent); @p handle is NULL; @p location_id or @p name is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The client has no link to the agent; there is no memory for
 *     the request.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.4
 */
QUORVEL_API int quorvel_core_create_room(quorvel_client_h handle, const char* location_id, const char* name,
                                         char** result_str);

/**
 * @brief Gives a room another name.
 *
 * @attention A result text can come together with an error code; release it in that case too.
 *
 * @attention A failure is logged under the name of another method, core_create_room.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  location_id The location of the room; neither NULL nor empty.
 * @param[in]  room_id     The room; neither NULL nor empty.
 * @param[in]  name        The new name; neither NULL nor empty.
 * @param[out] result_str  Set to NULL first, then receives the agent's result text, a copy to release with
 *                         free(), also together with an error code. Stays NULL when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p result_str is NULL (looked at first, even without an
 *     agent); @p handle is NULL; @p location_id, @p room_id or @p name is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The client has no link to the agent; there is no memory for
 *     the request.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.4
 */
QUORVEL_API int quorvel_core_change_room_name(quorvel_client_h handle, const char* location_id,
                                              const char* room_id, const char* name, char** result_str);

/**
 * @brief Deletes a room.
 *
 * @attention A result text can come together with an error code; release it in that case too.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  location_id The location of the room; neither NULL nor empty.
 * @param[in]  room_id     The room; neither NULL nor empty.
 * @param[out] result_str  Set to NULL first, then receives the agent's result text, a copy to release with
 *                         free(), also together with an error code. Stays NULL when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p result_str is NULL (looked at first, even without an
 *     agent); @p handle is NULL; @p location_id or @p room_id is NULL or empty.
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
QUORVEL_API int quorvel_core_delete_room(quorvel_client_h handle, const char* location_id,
                                         const char* room_id, char** result_str);

/**
 * @brief Gives a text property of a room.
 *
 * @param[in]  room        The room.
 * @param[in]  property_id Which property, see #quorvel_core_room_prop_e.
 * @param[out] value       Receives a copy of the text, to release with free(), or NULL when the text is
 *                         empty. Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is handed out.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p room or @p value is NULL; @p property_id is below 0 or
 *     above 2 (QUORVEL_CORE_ROOM_PROP_LOCATION_ID).
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     There is no memory for the copy.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property, or cannot be read for
 *     want of memory.
 * @return 0, or one of the codes above.
 *
 * @note Any thread; several may read one record at once. The agent is not asked.
 * @since Agent any, for none is asked
 */
QUORVEL_API int quorvel_core_room_get_string(quorvel_core_room_h room, int property_id, char** value);

/**
 * @brief Releases a room.
 *
 * The record may have come alone or in a list; the list itself is released with free().
 *
 * @param[in] room The room; not used afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p room is NULL.
 * @return 0, or one of the codes above.
 *
 * @note Any thread, once no other one uses the record; the agent is not asked.
 * @since Agent any, for none is asked
 */
QUORVEL_API int quorvel_core_room_destroy(quorvel_core_room_h room);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_ROOM_H */
