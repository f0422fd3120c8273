/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Core family: the favorites in a location and their migration.
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
#ifndef QUORVEL_CORE_FAVORITE_H
#define QUORVEL_CORE_FAVORITE_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief A favorite as the agent described it.
 *
 * A snapshot: it does not follow later changes. It belongs to whoever asked for it, stays valid after a
 * disconnect, and is released with quorvel_core_favorite_destroy().
 */
typedef void* quorvel_core_favorite_h;

/**
 * @brief The properties of a favorite, for quorvel_core_favorite_get_string() and
 * quorvel_core_favorite_get_int().
 *
 * Each is what the agent delivers under the key told beside it. The second getter reads those that are
 * numbers, the first one all others.
 */
typedef enum {
    /** "favoriteId". */
    QUORVEL_CORE_FAVORITE_PROP_FAVORITE_ID = 0,
    /** "locationId". */
    QUORVEL_CORE_FAVORITE_PROP_LOCATION_ID = 1,
    /** "memberId". */
    QUORVEL_CORE_FAVORITE_PROP_MEMBER_ID = 2,
    /** "memberType". */
    QUORVEL_CORE_FAVORITE_PROP_MEMBER_TYPE = 3,
    /** "additionalId". */
    QUORVEL_CORE_FAVORITE_PROP_ADDITIONAL_ID = 4,
    /** "bucket". */
    QUORVEL_CORE_FAVORITE_PROP_BUCKET = 5,
    /** "deviceModel". */
    QUORVEL_CORE_FAVORITE_PROP_DEVICE_MODEL = 6,
    /** "createdDate". */
    QUORVEL_CORE_FAVORITE_PROP_CREATED_DATE = 7,
    /** "lastUpdatedDate". */
    QUORVEL_CORE_FAVORITE_PROP_LAST_UPDATED_DATE = 8,
    /** "sortOrder". A number. */
    QUORVEL_CORE_FAVORITE_PROP_SORT_ORDER = 9
} quorvel_core_favorite_prop_e;

/**
 * @brief Gives the favorites in a location.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  location_id The location; neither NULL nor empty.
 * @param[in]  visibility  The visibility of the favorites; not checked. Passed on to the agent unchanged;
 *                         NULL is sent as the empty text.
 * @param[out] list        Receives the favorites: release each entry with quorvel_core_favorite_destroy() and
 *                         then the list itself with free(). NULL when there are none. Behind the last entry
 *                         the list holds one more slot, which is NULL. An entry for which memory ran short is
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
QUORVEL_API int quorvel_core_get_favorite_list(quorvel_client_h handle, const char* location_id,
                                               const char* visibility, quorvel_core_favorite_h** list,
                                               int* count);

/**
 * @brief Gives a favorite.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  location_id The location; neither NULL nor empty.
 * @param[in]  favorite_id The favorite; neither NULL nor empty.
 * @param[in]  visibility  The visibility of the favorites; not checked. Passed on to the agent unchanged;
 *                         NULL is sent as the empty text.
 * @param[out] favorite    Receives the favorite, to release with quorvel_core_favorite_destroy(). Left as it
 *                         was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The answer is handed out.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p location_id or @p favorite_id is NULL
 *     or empty; @p favorite is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_favorite(quorvel_client_h handle, const char* location_id,
                                          const char* favorite_id, const char* visibility,
                                          quorvel_core_favorite_h* favorite);

/**
 * @brief Creates a favorite.
 *
 * @param[in]  handle        A connected client.
 * @param[in]  location_id   The location; neither NULL nor empty.
 * @param[in]  visibility    The visibility of the favorites; not checked. Passed on to the agent unchanged;
 *                           NULL is sent as the empty text.
 * @param[in]  favorite_json The favorite as JSON; neither NULL nor empty. Passed on to the agent unchanged.
 * @param[out] favorite      Receives the created favorite, to release with quorvel_core_favorite_destroy().
 *                           Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The answer is handed out.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p location_id or @p favorite_json is
 *     NULL or empty; @p favorite is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_create_favorite(quorvel_client_h handle, const char* location_id,
                                             const char* visibility, const char* favorite_json,
                                             quorvel_core_favorite_h* favorite);

/**
 * @brief Replaces the favorites in a location.
 *
 * @param[in]  handle         A connected client.
 * @param[in]  location_id    The location; neither NULL nor empty.
 * @param[in]  visibility     The visibility of the favorites; not checked. Passed on to the agent unchanged;
 *                            NULL is sent as the empty text.
 * @param[in]  favorites_json The new favorites as JSON; neither NULL nor empty. Passed on to the agent
 *                            unchanged.
 * @param[out] list           Receives the new favorites: release each entry with
 *                            quorvel_core_favorite_destroy() and then the list itself with free(). NULL when
 *                            there are none. Behind the last entry the list holds one more slot, which is
 *                            NULL. An entry for which memory ran short is NULL. Left as it was on failure.
 * @param[out] count          Receives the number of entries; 0 when there are none. Left as it was on
 *                            failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; it may be empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p location_id or @p favorites_json is
 *     NULL or empty; @p list or @p count is NULL; the client has no link to the agent.
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
QUORVEL_API int quorvel_core_replace_favorites(quorvel_client_h handle, const char* location_id,
                                               const char* visibility, const char* favorites_json,
                                               quorvel_core_favorite_h** list, int* count);

/**
 * @brief Deletes the favorites in a location.
 *
 * @param[in] handle      A connected client.
 * @param[in] location_id The location; neither NULL nor empty.
 * @param[in] visibility  The visibility of the favorites; not checked. Passed on to the agent unchanged; NULL
 *                        is sent as the empty text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p location_id is NULL or empty; the
 *     client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_delete_favorites(quorvel_client_h handle, const char* location_id,
                                              const char* visibility);

/**
 * @brief Deletes a favorite.
 *
 * @attention Only the favorite id is checked; the location may be missing here.
 *
 * @param[in] handle      A connected client.
 * @param[in] location_id The location; not checked. Passed on to the agent unchanged; NULL is sent as the
 *                        empty text.
 * @param[in] favorite_id The favorite; neither NULL nor empty.
 * @param[in] visibility  The visibility of the favorites; not checked. Passed on to the agent unchanged; NULL
 *                        is sent as the empty text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p favorite_id is NULL or empty; the
 *     client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_delete_favorite(quorvel_client_h handle, const char* location_id,
                                             const char* favorite_id, const char* visibility);

/**
 * @brief Tells how far the migration of the favorites is.
 *
 * NULL pointers for the three results are not refused: the agent is asked all the same and the value is
 * dropped. Set the two texts to NULL before the call: an agent without a date or a model leaves them as they
 * were, and 0 is returned.
 *
 * @attention The flag has the inverted sense: it is false when the agent reports "true", or any text that
 *     begins so, and true for every other text, "false", "TRUE" and the empty text among them. This is meant
 *     so and will stay.
 *
 * @param[in]  handle            A connected client.
 * @param[in]  location_id       The location; neither NULL nor empty.
 * @param[out] is_migrated       Receives the inverted flag. Left as it was when the agent refuses and when
 *                               its answer has no flag.
 * @param[out] last_updated_date Receives the date of the last change, a copy to release with free(), which
 *                               may be empty. Left as it was on failure and when the agent has none.
 * @param[out] device_model      Receives the model of the device that migrates, a copy to release with
 *                               free(), which may be empty. Left as it was on failure and when the agent has
 *                               none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The answer is handed out.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p location_id is NULL or empty; the
 *     client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_NO_DATA           The agent's answer has no flag.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     There is no memory for the copy of a text.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_favorite_migration_status(quorvel_client_h handle, const char* location_id,
                                                           bool* is_migrated, char** last_updated_date,
                                                           char** device_model);

/**
 * @brief Reports how far the migration of the favorites is.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  location_id The location; neither NULL nor empty.
 * @param[in]  status      The status; neither NULL nor empty. Passed on to the agent unchanged.
 * @param[out] result      Receives the agent's result text, a copy to release with free(). Left as it was on
 *                         failure and when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p location_id or @p status is NULL or
 *     empty or @p result is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_update_favorite_migration_status(quorvel_client_h handle,
                                                              const char* location_id, const char* status,
                                                              char** result);

/**
 * @brief Gives a text property of a favorite.
 *
 * @attention Unlike the getters of the other families it checks the agent first, even for a valid record. The
 *     sort order is a number: quorvel_core_favorite_get_int() reads it.
 *
 * @param[in]  favorite    The favorite.
 * @param[in]  property_id Which property, see #quorvel_core_favorite_prop_e.
 * @param[out] value       Receives a copy of the text, to release with free(), or NULL when the text is
 *                         empty. Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is handed out.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p favorite or @p value is NULL; @p property_id is below 0
 *     or above 8 (QUORVEL_CORE_FAVORITE_PROP_LAST_UPDATED_DATE).
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     There is no memory for the copy.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property, or cannot be read for
 *     want of memory.
 * @return 0, or one of the codes above.
 *
 * @note Any thread; several may read one record at once. The installed agent is checked, not asked.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_favorite_get_string(quorvel_core_favorite_h favorite, int property_id,
                                                 char** value);

/**
 * @brief Gives a number property of a favorite.
 *
 * @attention Unlike the getters of the other families it checks the agent first, even for a valid record. A
 *     sort order that is not a number gives 0.
 *
 * @param[in]  favorite    The favorite.
 * @param[in]  property_id #QUORVEL_CORE_FAVORITE_PROP_SORT_ORDER.
 * @param[out] value       Receives the number. Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is handed out.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p favorite or @p value is NULL; @p property_id is any
 *     other.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property, or cannot be read for
 *     want of memory.
 * @return 0, or one of the codes above.
 *
 * @note Any thread; several may read one record at once. The installed agent is checked, not asked.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_favorite_get_int(quorvel_core_favorite_h favorite, int property_id, int* value);

/**
 * @brief Releases a favorite.
 *
 * The record may have come alone or in a list; the list itself is released with free().
 *
 * @param[in] favorite The favorite; not used afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p favorite is NULL.
 * @return 0, or one of the codes above.
 *
 * @note Any thread, once no other one uses the record; the agent is not asked.
 * @since Agent any, for none is asked
 */
QUORVEL_API int quorvel_core_favorite_destroy(quorvel_core_favorite_h favorite);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_FAVORITE_H */
