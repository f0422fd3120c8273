/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Core family: groups of devices.
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
#ifndef QUORVEL_CORE_DEVICE_GROUP_H
#define QUORVEL_CORE_DEVICE_GROUP_H

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief A group as the agent described it.
 *
 * A snapshot: it does not follow later changes. It belongs to whoever asked for it, stays valid after a
 * disconnect, and is released with quorvel_core_device_group_destroy().
 */
typedef void* quorvel_core_device_group_h;

/**
 * @brief The properties of a device group, for quorvel_core_device_group_get_string() and
 * quorvel_core_device_group_get_int().
 *
 * Each is what the agent delivers under the key told beside it. The second getter reads those that are
 * numbers, the first one all others.
 */
typedef enum {
    /** "deviceGroupId". */
    QUORVEL_CORE_DEVICE_GROUP_PROP_GROUP_ID = 0,
    /** "deviceGroupName". */
    QUORVEL_CORE_DEVICE_GROUP_PROP_NAME = 1,
    /** "deviceGroupType". A number of #quorvel_core_device_group_type_e. */
    QUORVEL_CORE_DEVICE_GROUP_PROP_TYPE = 2,
    /** "deviceGroupLocationId". */
    QUORVEL_CORE_DEVICE_GROUP_PROP_LOCATION_ID = 3,
    /** "deviceGroupRoomId". */
    QUORVEL_CORE_DEVICE_GROUP_PROP_ROOM_ID = 4,
    /** "deviceGroupDevicesJson". */
    QUORVEL_CORE_DEVICE_GROUP_PROP_DEVICES_JSON = 5,
    /** "deviceGroupCapabilitiesJson". */
    QUORVEL_CORE_DEVICE_GROUP_PROP_CAPABILITIES_JSON = 6,
    /** "deviceGroupRestrictionTier". A number. */
    QUORVEL_CORE_DEVICE_GROUP_PROP_RESTRICTION_TIER = 7
} quorvel_core_device_group_prop_e;

/**
 * @brief The kinds of device groups.
 *
 * To and from the agent they travel as texts.
 */
typedef enum {
    /** Not known; also what an unknown type text of the agent becomes. Sent as "UNDETERMINED". */
    QUORVEL_CORE_DEVICE_GROUP_TYPE_UNDETERMINED = 0,
    /** Sent as "GENERIC". */
    QUORVEL_CORE_DEVICE_GROUP_TYPE_GENERIC = 1,
    /** Sent as "VIDEO CAMERA". */
    QUORVEL_CORE_DEVICE_GROUP_TYPE_VIDEO_CAMERA = 2,
    /** Sent as "LIGHTING". */
    QUORVEL_CORE_DEVICE_GROUP_TYPE_LIGHTING = 3
} quorvel_core_device_group_type_e;

/**
 * @brief Gives a group of devices.
 *
 * @param[in]  handle   A connected client.
 * @param[in]  group_id The group; neither NULL nor empty.
 * @param[out] group    Receives the group, to release with quorvel_core_device_group_destroy(). Left as it
 *                      was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The answer is handed out.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p group_id is NULL or empty; @p group is
 *     NULL.
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
QUORVEL_API int quorvel_core_get_device_group(quorvel_client_h handle, const char* group_id,
                                              quorvel_core_device_group_h* group);

/**
 * @brief Gives the groups of devices.
 *
 * @param[in]  handle A connected client.
 * @param[out] list   Receives the groups: release each entry with quorvel_core_device_group_destroy() and
 *                    then the list itself with free(). NULL when there are none. Behind the last entry the
 *                    list holds one more slot, which is NULL. An entry for which memory ran short is NULL.
 *                    Left as it was on failure.
 * @param[out] count  Receives the number of entries; 0 when there are none. Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; it may be empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p list or @p count is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The client has no link to the agent; the list could not be
 *     taken out of the answer, for want of memory.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.4
 */
QUORVEL_API int quorvel_core_get_device_group_list(quorvel_client_h handle,
                                                   quorvel_core_device_group_h** list, int* count);

/**
 * @brief Gives the status of a group's devices as JSON.
 *
 * @attention A text can come together with an error code; release it in that case too.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  group_id    The group; neither NULL nor empty.
 * @param[out] status_json Receives the JSON, a copy to release with free(), also together with an error code.
 *                         Left as it was when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p group_id is NULL or empty;
 *     @p status_json is NULL.
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
QUORVEL_API int quorvel_core_get_device_group_devices_status(quorvel_client_h handle, const char* group_id,
                                                             char** status_json);

/**
 * @brief Creates a group of devices.
 *
 * @attention A result text can come together with an error code; release it in that case too.
 *
 * @param[in]  handle       A connected client.
 * @param[in]  name         The name of the group; neither NULL nor empty.
 * @param[in]  type         0 to 3, see #quorvel_core_device_group_type_e.
 * @param[in]  devices_json The devices of the group as JSON; neither NULL nor empty. Passed on to the agent
 *                          unchanged.
 * @param[in]  room_id      Not checked. Passed on to the agent unchanged; NULL is sent as the empty text.
 * @param[out] result_str   Set to NULL first, then receives the agent's result text, a copy to release with
 *                          free(), also together with an error code. Stays NULL when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p result_str is NULL (looked at first, even without an
 *     agent); @p handle is NULL; @p name is NULL or empty; @p type is below 0 or above 3; @p devices_json is
 *     NULL or empty.
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
QUORVEL_API int quorvel_core_create_device_group(quorvel_client_h handle, const char* name, int type,
                                                 const char* devices_json, const char* room_id,
                                                 char** result_str);

/**
 * @brief Changes a group of devices.
 *
 * @attention A result text can come together with an error code; release it in that case too.
 *
 * @param[in]  handle       A connected client.
 * @param[in]  group_id     The group; neither NULL nor empty.
 * @param[in]  name         The name of the group; neither NULL nor empty.
 * @param[in]  devices_json The devices of the group as JSON; neither NULL nor empty. Passed on to the agent
 *                          unchanged.
 * @param[in]  room_id      Not checked. Passed on to the agent unchanged; NULL is sent as the empty text.
 * @param[out] result_str   Set to NULL first, then receives the agent's result text, a copy to release with
 *                          free(), also together with an error code. Stays NULL when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p result_str is NULL (looked at first, even without an
 *     agent); @p handle is NULL; @p group_id, @p name or @p devices_json is NULL or empty.
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
QUORVEL_API int quorvel_core_update_device_group(quorvel_client_h handle, const char* group_id,
                                                 const char* name, const char* devices_json,
                                                 const char* room_id, char** result_str);

/**
 * @brief Deletes a group of devices.
 *
 * @attention A result text can come together with an error code; release it in that case too.
 *
 * @param[in]  handle     A connected client.
 * @param[in]  group_id   The group; neither NULL nor empty.
 * @param[out] result_str Set to NULL first, then receives the agent's result text, a copy to release with
 *                        free(), also together with an error code. Stays NULL when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p result_str is NULL (looked at first, even without an
 *     agent); @p handle is NULL; @p group_id is NULL or empty.
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
QUORVEL_API int quorvel_core_delete_device_group(quorvel_client_h handle, const char* group_id,
                                                 char** result_str);

/**
 * @brief Sends commands to all devices of a group.
 *
 * @attention A result text can come together with an error code; release it in that case too.
 *
 * @param[in]  handle        A connected client.
 * @param[in]  group_id      The group; neither NULL nor empty.
 * @param[in]  commands_json The commands as JSON; neither NULL nor empty. Passed on to the agent unchanged.
 * @param[out] result_str    Set to NULL first, then receives the agent's result text, a copy to release with
 *                           free(), also together with an error code. Stays NULL when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p result_str is NULL (looked at first, even without an
 *     agent); @p handle is NULL; @p group_id or @p commands_json is NULL or empty.
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
QUORVEL_API int quorvel_core_execute_device_group(quorvel_client_h handle, const char* group_id,
                                                  const char* commands_json, char** result_str);

/**
 * @brief Gives a text property of a group.
 *
 * The type and the restriction tier are numbers: quorvel_core_device_group_get_int() reads them.
 *
 * @param[in]  group       The group.
 * @param[in]  property_id Which property, see #quorvel_core_device_group_prop_e.
 * @param[out] value       Receives a copy of the text, to release with free(), or NULL when the text is
 *                         empty. Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is handed out.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p group or @p value is NULL; @p property_id is none of the
 *     text properties.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     There is no memory for the copy.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property, or cannot be read for
 *     want of memory.
 * @return 0, or one of the codes above.
 *
 * @note Any thread; several may read one record at once. The agent is not asked.
 * @since Agent any, for none is asked
 */
QUORVEL_API int quorvel_core_device_group_get_string(quorvel_core_device_group_h group, int property_id,
                                                     char** value);

/**
 * @brief Gives a number property of a group.
 *
 * A type text that is not known gives #QUORVEL_CORE_DEVICE_GROUP_TYPE_UNDETERMINED. A restriction tier that
 * is not a number gives 0.
 *
 * @param[in]  group       The group.
 * @param[in]  property_id #QUORVEL_CORE_DEVICE_GROUP_PROP_TYPE, see #quorvel_core_device_group_type_e for the
 *                         value, or #QUORVEL_CORE_DEVICE_GROUP_PROP_RESTRICTION_TIER.
 * @param[out] value       Receives the number. Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is handed out.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p group or @p value is NULL; @p property_id is none of the
 *     two.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property, or cannot be read for
 *     want of memory.
 * @return 0, or one of the codes above.
 *
 * @note Any thread; several may read one record at once. The agent is not asked.
 * @since Agent any, for none is asked
 */
QUORVEL_API int quorvel_core_device_group_get_int(quorvel_core_device_group_h group, int property_id,
                                                  int* value);

/**
 * @brief Releases a group.
 *
 * The record may have come alone or in a list; the list itself is released with free().
 *
 * @param[in] group The group; not used afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p group is NULL.
 * @return 0, or one of the codes above.
 *
 * @note Any thread, once no other one uses the record; the agent is not asked.
 * @since Agent any, for none is asked
 */
QUORVEL_API int quorvel_core_device_group_destroy(quorvel_core_device_group_h group);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_DEVICE_GROUP_H */
