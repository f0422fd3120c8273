/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Core family: the devices of the cloud.
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
#ifndef QUORVEL_CORE_DEVICE_H
#define QUORVEL_CORE_DEVICE_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief A device as the agent described it.
 *
 * A snapshot: it does not follow later changes. It belongs to whoever asked for it, stays valid after a
 * disconnect, and is released with quorvel_core_device_destroy().
 */
typedef void* quorvel_core_device_h;

/**
 * @brief The properties of a device, for quorvel_core_device_get_string().
 *
 * Each is what the agent delivers under the key told beside it.
 */
typedef enum {
    /** "deviceId". */
    QUORVEL_CORE_DEVICE_PROP_DEVICE_ID = 0,
    /** "name". */
    QUORVEL_CORE_DEVICE_PROP_NAME = 1,
    /** "label". */
    QUORVEL_CORE_DEVICE_PROP_LABEL = 2,
    /** "manufacturerName". */
    QUORVEL_CORE_DEVICE_PROP_MANUFACTURER_NAME = 3,
    /** "presentationId". */
    QUORVEL_CORE_DEVICE_PROP_PRESENTATION_ID = 4,
    /** "deviceManufactureCode". */
    QUORVEL_CORE_DEVICE_PROP_DEVICE_MANUFACTURE_CODE = 5,
    /** "locationId". */
    QUORVEL_CORE_DEVICE_PROP_LOCATION_ID = 6,
    /** "ownerId". */
    QUORVEL_CORE_DEVICE_PROP_OWNER_ID = 7,
    /** "roomId". */
    QUORVEL_CORE_DEVICE_PROP_ROOM_ID = 8,
    /** "components". */
    QUORVEL_CORE_DEVICE_PROP_COMPONENTS = 9,
    /** "childDevices". */
    QUORVEL_CORE_DEVICE_PROP_CHILD_DEVICES = 10,
    /** "profile". */
    QUORVEL_CORE_DEVICE_PROP_PROFILE = 11,
    /** "type". */
    QUORVEL_CORE_DEVICE_PROP_TYPE = 12,
    /** "details". */
    QUORVEL_CORE_DEVICE_PROP_DETAILS = 13,
    /** "restrictionTier". */
    QUORVEL_CORE_DEVICE_PROP_RESTRICTION_TIER = 14,
    /** "parentDeviceIdparentDeviceId". The doubled key is meant so; "parentDeviceId" alone is not read. */
    QUORVEL_CORE_DEVICE_PROP_PARENT_DEVICE_ID = 15,
    /** "deviceModel". */
    QUORVEL_CORE_DEVICE_PROP_DEVICE_MODEL = 16,
    /** "sharedLocations". */
    QUORVEL_CORE_DEVICE_PROP_SHARED_LOCATIONS = 17,
    /** "createTime". */
    QUORVEL_CORE_DEVICE_PROP_CREATE_TIME = 18,
    /** "healthState". */
    QUORVEL_CORE_DEVICE_PROP_HEALTH_STATE = 19,
    /** "externalId". */
    QUORVEL_CORE_DEVICE_PROP_EXTERNAL_ID = 20,
    /** "ocfDeviceType". */
    QUORVEL_CORE_DEVICE_PROP_OCF_DEVICE_TYPE = 21,
    /** "possibleIcons". */
    QUORVEL_CORE_DEVICE_PROP_POSSIBLE_ICONS = 22,
    /** "icons". */
    QUORVEL_CORE_DEVICE_PROP_ICONS = 23
} quorvel_core_device_prop_e;

/**
 * @brief Gives a device.
 *
 * @param[in]  handle    A connected client.
 * @param[in]  device_id The device; neither NULL nor empty.
 * @param[out] device    Receives the device, to release with quorvel_core_device_destroy(). Left as it was on
 *                       failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The answer is handed out.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p device_id is NULL or empty; @p device
 *     is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_device(quorvel_client_h handle, const char* device_id,
                                        quorvel_core_device_h* device);

/**
 * @brief Gives the devices.
 *
 * @param[in]  handle A connected client.
 * @param[in]  filter Which devices. Passed on to the agent unchanged; NULL is sent as the empty text.
 * @param[out] list   Receives the devices: release each entry with quorvel_core_device_destroy() and then the
 *                    list itself with free(). NULL when there are none. Behind the last entry the list holds
 *                    one more slot, which is NULL. An entry for which memory ran short is NULL. Left as it
 *                    was on failure.
 * @param[out] count  Receives the number of entries; 0 when there are none. Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; it may be empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p list or @p count is NULL; the client
 *     has no link to the agent.
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
QUORVEL_API int quorvel_core_get_device_list(quorvel_client_h handle, const char* filter,
                                             quorvel_core_device_h** list, int* count);

/**
 * @brief Gives the ids of the devices of a hub.
 *
 * @param[in]  handle A connected client.
 * @param[in]  hub_id The hub. Passed on to the agent unchanged; NULL is sent as the empty text.
 * @param[out] ids    Receives the ids: release each one and then the list itself with free(). NULL when there
 *                    are none. Behind the last id the list holds one more slot, which is NULL. An id for
 *                    which memory ran short is NULL. Left as it was on failure.
 * @param[out] count  Receives the number of entries; 0 when there are none. Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; it may be empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p ids or @p count is NULL; the client
 *     has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     There is no memory to receive the list.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The list could not be taken out of the answer, for want of
 *     memory.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_hub_device_id_list(quorvel_client_h handle, const char* hub_id, char*** ids,
                                                    int* count);

/**
 * @brief Gives the health of a device as a number.
 *
 * The number is the agent's and is passed on unchanged; 2 stands for an answer without one. A NULL @p health
 * is not refused: the agent is asked all the same and the number is dropped.
 *
 * @param[in]  handle    A connected client.
 * @param[in]  device_id The device; neither NULL nor empty.
 * @param[out] health    Receives the number. Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The answer is handed out.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p device_id is NULL or empty; the client
 *     has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_device_health_data(quorvel_client_h handle, const char* device_id,
                                                    int* health);

/**
 * @brief Gives a device as JSON.
 *
 * @param[in]  handle    A connected client.
 * @param[in]  device_id The device; neither NULL nor empty.
 * @param[out] json_str  Receives the JSON, a copy to release with free(). Left as it was on failure and when
 *                       the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p device_id is NULL or empty or
 *     @p json_str is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_device_json(quorvel_client_h handle, const char* device_id, char** json_str);

/**
 * @brief Gives the devices as JSON.
 *
 * @param[in]  handle   A connected client.
 * @param[in]  filter   Which devices. Passed on to the agent unchanged; NULL is sent as the empty text.
 * @param[out] json_str Receives the JSON, a copy to release with free(). Left as it was on failure and when
 *                      the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p json_str is NULL; the client has no
 *     link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_device_list_json(quorvel_client_h handle, const char* filter,
                                                  char** json_str);

/**
 * @brief Gives the health of a device as JSON.
 *
 * @param[in]  handle    A connected client.
 * @param[in]  device_id The device; neither NULL nor empty.
 * @param[out] json_str  Receives the JSON, a copy to release with free(). Left as it was on failure and when
 *                       the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p device_id is NULL or empty or
 *     @p json_str is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_device_health_data_json(quorvel_client_h handle, const char* device_id,
                                                         char** json_str);

/**
 * @brief Gives the status of a whole device as JSON.
 *
 * @param[in]  handle    A connected client.
 * @param[in]  device_id The device; neither NULL nor empty.
 * @param[out] json_str  Receives the JSON, a copy to release with free(). Left as it was on failure and when
 *                       the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p device_id is NULL or empty or
 *     @p json_str is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_device_status(quorvel_client_h handle, const char* device_id,
                                               char** json_str);

/**
 * @brief Gives the status of one component of a device as JSON.
 *
 * @param[in]  handle       A connected client.
 * @param[in]  device_id    The device; neither NULL nor empty.
 * @param[in]  component_id The component of the device; neither NULL nor empty.
 * @param[out] json_str     Receives the JSON, a copy to release with free(). Left as it was on failure and
 *                          when the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p device_id or @p component_id is NULL
 *     or empty or @p json_str is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_device_component_status(quorvel_client_h handle, const char* device_id,
                                                         const char* component_id, char** json_str);

/**
 * @brief Gives the status of one capability of a component as JSON.
 *
 * @param[in]  handle        A connected client.
 * @param[in]  device_id     The device; neither NULL nor empty.
 * @param[in]  component_id  The component of the device; neither NULL nor empty.
 * @param[in]  capability_id The capability of the component; neither NULL nor empty.
 * @param[out] json_str      Receives the JSON, a copy to release with free(). Left as it was on failure and
 *                           when the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p device_id, @p component_id or
 *     @p capability_id is NULL or empty or @p json_str is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_device_capability_status(quorvel_client_h handle, const char* device_id,
                                                          const char* component_id, const char* capability_id,
                                                          char** json_str);

/**
 * @brief Gives preferences of a device as JSON.
 *
 * @attention A failure is logged under the name of another method, core_get_device_preferences_json.
 *
 * @param[in]  handle          A connected client.
 * @param[in]  device_id       The device; neither NULL nor empty.
 * @param[in]  preference_name Which preferences; neither NULL nor empty. Passed on to the agent unchanged.
 * @param[out] json_str        Receives the JSON, a copy to release with free(). Left as it was on failure and
 *                             when the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p device_id or @p preference_name is
 *     NULL or empty or @p json_str is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_device_preferences(quorvel_client_h handle, const char* device_id,
                                                    const char* preference_name, char** json_str);

/**
 * @brief Gives statistics about devices as JSON.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  location_id What the statistics are about; neither NULL nor empty. Passed on to the agent
 *                         unchanged.
 * @param[out] json_str    Receives the JSON, a copy to release with free(). Left as it was on failure and
 *                         when the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p location_id is NULL or empty;
 *     @p json_str is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_home_insight_device_statistics(quorvel_client_h handle,
                                                                const char* location_id, char** json_str);

/**
 * @brief Gives how a device is to be shown, as JSON.
 *
 * @param[in]  handle          A connected client.
 * @param[in]  device_id       The device; neither NULL nor empty.
 * @param[in]  presentation_id Which presentation; neither NULL nor empty. Passed on to the agent unchanged.
 * @param[in]  locale          Passed on to the agent unchanged; NULL is sent as the empty text.
 * @param[in]  detailed        Passed on to the agent unchanged, as the text "1" when true and "0" when false.
 * @param[out] json_str        Receives the JSON, a copy to release with free(). Left as it was on failure and
 *                             when the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p device_id is NULL or empty or
 *     @p json_str is NULL; @p presentation_id is NULL or empty; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_device_presentation(quorvel_client_h handle, const char* device_id,
                                                     const char* presentation_id, const char* locale,
                                                     bool detailed, char** json_str);

/**
 * @brief Gives an infrared device as JSON.
 *
 * @param[in]  handle           A connected client.
 * @param[in]  parent_device_id The device that sends the infrared signals; neither NULL nor empty. Passed on
 *                              to the agent unchanged.
 * @param[in]  ir_device_id     The infrared device; neither NULL nor empty. Passed on to the agent unchanged.
 * @param[out] json_str         Receives the JSON, a copy to release with free(). Left as it was on failure
 *                              and when the agent has no text.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p parent_device_id is NULL or empty or
 *     @p json_str is NULL; @p ir_device_id is NULL or empty; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_get_ir_device(quorvel_client_h handle, const char* parent_device_id,
                                           const char* ir_device_id, char** json_str);

/**
 * @brief Moves a local message-broker device to the cloud.
 *
 * The two texts are passed on to the agent unchanged, which decides what they mean.
 *
 * @param[in]  handle    A connected client.
 * @param[in]  device_id The device; neither NULL nor empty.
 * @param[in]  hub_id    The hub of the device; neither NULL nor empty.
 * @param[out] result    Receives the agent's result text, a copy to release with free(). Left as it was on
 *                       failure and when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent answered; its text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.4.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p device_id or @p hub_id is NULL or
 *     empty or @p result is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.4
 */
QUORVEL_API int quorvel_core_migrate_local_mqtt_device(quorvel_client_h handle, const char* device_id,
                                                       const char* hub_id, char** result);

/**
 * @brief Sends commands to a device.
 *
 * @attention A result text can come together with an error code; release it in that case too.
 *
 * @param[in]  handle        A connected client.
 * @param[in]  device_id     The device; neither NULL nor empty.
 * @param[in]  commands_json The commands as JSON; neither NULL nor empty. Passed on to the agent unchanged.
 * @param[out] result        Receives the agent's result text, a copy to release with free(), also together
 *                           with an error code. Left as it was when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p device_id or @p commands_json is NULL
 *     or empty or @p result is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_execute_device(quorvel_client_h handle, const char* device_id,
                                            const char* commands_json, char** result);

/**
 * @brief Changes preferences of a device.
 *
 * @attention The request carries @p preference_name before @p device_id: the first two arguments reach the
 *     agent in exchanged places. This is meant so, the agent expects it.
 *
 * @attention A result text can come together with an error code; release it in that case too.
 *
 * @param[in]  handle           A connected client.
 * @param[in]  device_id        The device; neither NULL nor empty.
 * @param[in]  preference_name  Which preferences; neither NULL nor empty. Passed on to the agent unchanged.
 * @param[in]  preferences_json The new values as JSON; neither NULL nor empty. Passed on to the agent
 *                              unchanged.
 * @param[out] result           Receives the agent's result text, a copy to release with free(), also together
 *                              with an error code. Left as it was when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p device_id, @p preference_name or
 *     @p preferences_json is NULL or empty; @p result is NULL; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_update_device_preferences(quorvel_client_h handle, const char* device_id,
                                                       const char* preference_name,
                                                       const char* preferences_json, char** result);

/**
 * @brief Creates an infrared device.
 *
 * @attention A result text can come together with an error code; release it in that case too.
 *
 * @param[in]  handle           A connected client.
 * @param[in]  parent_device_id The device that sends the infrared signals; neither NULL nor empty. Passed on
 *                              to the agent unchanged.
 * @param[in]  ir_device_json   The new infrared device as JSON; neither NULL nor empty. Passed on to the
 *                              agent unchanged.
 * @param[out] result           Receives the agent's result text, a copy to release with free(), also together
 *                              with an error code. Left as it was when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p parent_device_id is NULL or empty or
 *     @p result is NULL; @p ir_device_json is NULL or empty; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_create_ir_device(quorvel_client_h handle, const char* parent_device_id,
                                              const char* ir_device_json, char** result);

/**
 * @brief Moves a device to another location and room.
 *
 * @attention A result text can come together with an error code; release it in that case too.
 *
 * @param[in]  handle      A connected client.
 * @param[in]  device_id   The device; neither NULL nor empty.
 * @param[in]  location_id The new location; neither NULL nor empty.
 * @param[in]  room_id     The new room; not checked. NULL is sent as the empty text.
 * @param[out] result_str  Set to NULL first, then receives the agent's result text, a copy to release with
 *                         free(), also together with an error code. Stays NULL when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p result_str is NULL (looked at first, even without an
 *     agent); @p handle is NULL; @p device_id or @p location_id is NULL or empty; the client has no link to
 *     the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_move_device(quorvel_client_h handle, const char* device_id,
                                         const char* location_id, const char* room_id, char** result_str);

/**
 * @brief Gives a device another name.
 *
 * @attention A result text can come together with an error code; release it in that case too. The log speaks
 *     of an invalid location id when @p name is refused.
 *
 * @param[in]  handle     A connected client.
 * @param[in]  device_id  The device; neither NULL nor empty.
 * @param[in]  name       The new name; neither NULL nor empty.
 * @param[out] result_str Set to NULL first, then receives the agent's result text, a copy to release with
 *                        free(), also together with an error code. Stays NULL when the agent sends none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p result_str is NULL (looked at first, even without an
 *     agent); @p handle is NULL; @p device_id or @p name is NULL or empty; the client has no link to the
 *     agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_change_device_name(quorvel_client_h handle, const char* device_id,
                                                const char* name, char** result_str);

/**
 * @brief Changes the components of a device.
 *
 * @attention A result text can come together with an error code; release it in that case too. The log speaks
 *     of an invalid location id when @p components_json is refused.
 *
 * @param[in]  handle          A connected client.
 * @param[in]  device_id       The device; neither NULL nor empty.
 * @param[in]  components_json The components as JSON; neither NULL nor empty. Passed on to the agent
 *                             unchanged.
 * @param[out] result_str      Set to NULL first, then receives the agent's result text, a copy to release
 *                             with free(), also together with an error code. Stays NULL when the agent sends
 *                             none.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done; the agent's text is handed out if it has one and
 *     memory for it could be had.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p result_str is NULL (looked at first, even without an
 *     agent); @p handle is NULL; @p device_id or @p components_json is NULL or empty; the client has no link
 *     to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_update_device_components(quorvel_client_h handle, const char* device_id,
                                                      const char* components_json, char** result_str);

/**
 * @brief Deletes a device.
 *
 * @param[in] handle    A connected client.
 * @param[in] device_id The device; neither NULL nor empty.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p device_id is NULL or empty; the client
 *     has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_delete_device(quorvel_client_h handle, const char* device_id);

/**
 * @brief Makes a hub look for new devices.
 *
 * All values are passed on to the agent unchanged, which decides what they mean.
 *
 * @param[in] handle        A connected client.
 * @param[in] hub_id        The hub; neither NULL nor empty.
 * @param[in] duration      How long to look; not negative.
 * @param[in] allow_join    Passed on to the agent unchanged.
 * @param[in] include_known Passed on to the agent unchanged.
 * @param[in] protocol      Passed on to the agent unchanged. Any value.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p hub_id is NULL or empty or @p duration
 *     is negative; the client has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_start_hub_device_discover(quorvel_client_h handle, const char* hub_id,
                                                       int duration, bool allow_join, bool include_known,
                                                       int protocol);

/**
 * @brief Makes a hub stop looking for new devices.
 *
 * @param[in] handle A connected client.
 * @param[in] hub_id The hub; neither NULL nor empty. Passed on to the agent unchanged.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Done.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     No agent is installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL; @p hub_id is NULL or empty; the client
 *     has no link to the agent.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, it could not be read, or
 *     its code is none of #quorvel_client_error_e.
 * @return Another code is the agent's answer, see the head of this file.
 *
 * @note Any thread, inside callbacks too; waits for the agent's answer.
 * @since Agent 2.3
 */
QUORVEL_API int quorvel_core_stop_hub_device_discover(quorvel_client_h handle, const char* hub_id);

/**
 * @brief Gives a text property of a device.
 *
 * @attention #QUORVEL_CORE_DEVICE_PROP_PARENT_DEVICE_ID is read under a key that holds the name twice, as the
 *     agent writes it.
 *
 * @param[in]  device      The device.
 * @param[in]  property_id Which property, see #quorvel_core_device_prop_e.
 * @param[out] value       Receives a copy of the text, to release with free(), or NULL when the text is
 *                         empty. Left as it was on failure.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is handed out.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p device or @p value is NULL; @p property_id is below 0 or
 *     above 23 (QUORVEL_CORE_DEVICE_PROP_ICONS).
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     There is no memory for the copy.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property, or cannot be read for
 *     want of memory.
 * @return 0, or one of the codes above.
 *
 * @note Any thread; several may read one record at once. The agent is not asked.
 * @since Agent any, for none is asked
 */
QUORVEL_API int quorvel_core_device_get_string(quorvel_core_device_h device, int property_id, char** value);

/**
 * @brief Releases a device.
 *
 * The record may have come alone or in a list; the list itself is released with free().
 *
 * @param[in] device The device; not used afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p device is NULL.
 * @return 0, or one of the codes above.
 *
 * @note Any thread, once no other one uses the record; the agent is not asked.
 * @since Agent any, for none is asked
 */
QUORVEL_API int quorvel_core_device_destroy(quorvel_core_device_h device);

QUORVEL_END_DECLS

#endif /* QUORVEL_CORE_DEVICE_H */
