/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Resources of remote devices, and the services of the account: subscriptions, the state of devices in
 *        the cloud, representations and attributes, accessories, migration and tokens, third-party
 *        notifications, files, and self sign-up.
 *
 * What the values of the callbacks say is the agent's matter. Where their names are numbers, these are the
 * places that the values have in what the agent sends; the library passes the values on unchanged, in
 * places of its own.
 */
#ifndef QUORVEL_CLIENT_QC_API_H
#define QUORVEL_CLIENT_QC_API_H

#include "quorvel_client_device_detail.h"
#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

/**
 * @brief A file that a device handed over. Released with quorvel_client_file_destroy().
 */
typedef void* quorvel_client_file_h;

/**
 * @brief What a thing needs to sign itself up. Released with quorvel_client_self_sign_up_info_destroy().
 */
typedef void* quorvel_client_self_sign_up_info_h;

/**
 * @brief The properties of the self sign-up information, with the names that the agent keeps them under; all
 * are strings.
 */
typedef enum {
    /** "jwt". */
    QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_JWT = 0,
    /** "clientID". */
    QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_CLIENT_ID = 1,
    /** "uid". */
    QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_UID = 2,
    /** "hostAddress". */
    QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_HOST_ADDRESS = 3,
    /** "jwtAuthProvider". */
    QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_JWT_AUTH_PROVIDER = 4,
    /** "serverDeploymentEnv". */
    QUORVEL_CLIENT_SELF_SIGN_UP_INFO_PROP_SERVER_DEPLOYMENT_ENV = 5
} quorvel_client_self_sign_up_info_prop_e;

/**
 * @brief Hears that a resource that is subscribed to changed.
 *
 * The strings are gone when the callback returns.
 *
 * @param[in] first     The agent's first value.
 * @param[in] second    The agent's second value.
 * @param[in] third     The agent's third value.
 * @param[in] fourth    The agent's fourth value.
 * @param[in] sixth     The agent's sixth value; it comes before the fifth.
 * @param[in] fifth     The agent's fifth value.
 * @param[in] user_data As given at the subscription.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_subscribe_cb)(const char* first, const char* second, const char* third,
                                            const char* fourth, const char* sixth, const char* fifth,
                                            void* user_data);

/**
 * @brief Hears whether a device is connected to the cloud.
 *
 * The strings are gone when the callback returns.
 *
 * @param[in] first     The agent's first value.
 * @param[in] state     One of #quorvel_client_cloud_device_state_e; an empty state is unknown.
 * @param[in] fourth    The agent's fourth value; it comes before the third.
 * @param[in] third     The agent's third value.
 * @param[in] user_data As given at the start.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_cloud_device_state_cb)(const char* first, int state, const char* fourth,
                                                     const char* third, void* user_data);

/**
 * @brief Gets the representation of a device's resource, or how setting it ended.
 *
 * The strings are gone when the callback returns.
 *
 * @param[in] sixth     The agent's sixth value, a number; it comes first.
 * @param[in] first     The agent's first value.
 * @param[in] second    The agent's second value.
 * @param[in] third     The agent's third value.
 * @param[in] fifth     The agent's fifth value; it comes before the fourth.
 * @param[in] fourth    The agent's fourth value.
 * @param[in] user_data As given with the call.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_remote_representation_cb)(int sixth, const char* first, const char* second,
                                                        const char* third, const char* fifth,
                                                        const char* fourth, void* user_data);

/**
 * @brief Gets the attributes of a device's resource, or how setting them ended.
 *
 * The strings are gone when the callback returns.
 *
 * @param[in] sixth     The agent's sixth value, a number; it comes first.
 * @param[in] first     The agent's first value.
 * @param[in] second    The agent's second value.
 * @param[in] third     The agent's third value.
 * @param[in] fifth     The agent's fifth value; it comes before the fourth.
 * @param[in] fourth    The agent's fourth value.
 * @param[in] user_data As given with the call.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_remote_attributes_cb)(int sixth, const char* first, const char* second,
                                                    const char* third, const char* fifth, const char* fourth,
                                                    void* user_data);

/**
 * @brief Gets the accessories.
 *
 * The string is gone when the callback returns.
 *
 * @param[in] second    The agent's second value, a number; it comes before the string.
 * @param[in] first     The agent's first value, a string.
 * @param[in] user_data As given with the call.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_accessory_list_cb)(int second, const char* first, void* user_data);

/**
 * @brief Hears whether the migration was activated.
 *
 * @param[in] result    True when the agent's answer begins with the four capitals TRUE, whatever follows;
 *                      everything else, also "true", is false.
 * @param[in] user_data As given with the call.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_vxr_migration_cb)(bool result, void* user_data);

/**
 * @brief Gets the token of this device.
 *
 * The string is gone when the callback returns. It is a secret.
 *
 * @param[in] second    The agent's second value, a number; it comes before the string.
 * @param[in] first     The agent's first value, a string.
 * @param[in] user_data As given with the call.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_vxr_device_token_cb)(int second, const char* first, void* user_data);

/**
 * @brief Gets the token for a peer device.
 *
 * The strings are gone when the callback returns. They are secrets.
 *
 * @param[in] fourth    The agent's fourth value, a number; it comes first.
 * @param[in] first     The agent's first value.
 * @param[in] second    The agent's second value.
 * @param[in] third     The agent's third value.
 * @param[in] user_data As given with the call.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_vxr_device_peer_token_cb)(int fourth, const char* first, const char* second,
                                                        bool third, void* user_data);

/**
 * @brief Hears whether third-party notifications were set up.
 *
 * @param[in] result    True when the agent's answer begins with the four capitals TRUE, whatever follows;
 *                      everything else, also "true", is false.
 * @param[in] user_data As given with the call.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_third_party_notification_cb)(bool result, void* user_data);

/**
 * @brief Gets the status of third-party notifications.
 *
 * @param[in] first     The agent's first value.
 * @param[in] second    The agent's second value.
 * @param[in] list      The strings, handed over: release each and then the vector itself with free(). NULL
 *                      when there are none, or when they could not be copied for want of memory.
 * @param[in] count     How many there are.
 * @param[in] user_data As given with the call.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_third_party_notification_status_cb)(int first, bool second, char** list,
                                                                  int count, void* user_data);

/**
 * @brief Hears that the status of third-party notifications changed;
 * quorvel_client_get_third_party_notification_status() tells it.
 *
 * @param[in] user_data As given at registration.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_third_party_notification_status_updated_cb)(void* user_data);

/**
 * @brief Gets the files of a device.
 *
 * @param[in] fourth    The agent's fourth value, a number; it comes first.
 * @param[in] list      The files, handed over: release each with quorvel_client_file_destroy(), then the
 *                      vector itself with free(). NULL when there are none.
 * @param[in] count     How many there are.
 * @param[in] status    The agent's status; gone when the callback returns. When it begins with "no data",
 *                      @p list is NULL and @p count is 0, whatever the agent sent.
 * @param[in] user_data As given with the call.
 *
 * @note Called on the loop thread.
 */
typedef void (*quorvel_client_files_cb)(int fourth, quorvel_client_file_h* list, int count,
                                        const char* status, void* user_data);

/**
 * @brief Subscribes to changes of a device's resources.
 *
 * A subscription lives until it is unsubscribed, until another one for the same device and URIs takes its
 * place, or until the client is disconnected. The application is not told of those that a lost connection
 * takes along: subscribe anew after connecting.
 *
 * @attention Subscriptions are told apart by the device id, a "_" and the 64 digits of a digest of the
 *     URIs as they are written, together cut at 101 characters: an id of 100 characters or more makes all
 *     its subscriptions one, and so are those of ids that agree in their first 101 characters.
 *
 * @attention When the agent refuses, the subscription that this one was to replace is gone as well.
 *
 * @param[in] handle        A connected client.
 * @param[in] device_id     The device; neither NULL nor empty.
 * @param[in] resource_uris The URIs of the resources, as one string; neither NULL nor empty.
 * @param[in] extra         Passed to the agent as it is, NULL as the empty string.
 * @param[in] cb            Hears of the changes; not NULL.
 * @param[in] user_data     Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The subscription stands.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL, or @p device_id or
 *     @p resource_uris is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_NO_DATA           The agent was still gathering its data when
 *     quorvel_client_get_device_detail_list() was last called, and no device detail event came since; or it
 *     is the agent's answer.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_subscribe(quorvel_client_h handle, const char* device_id,
                                         const char* resource_uris, const char* extra,
                                         quorvel_client_subscribe_cb cb, void* user_data);

/**
 * @brief Ends subscriptions to a device.
 *
 * On the loop thread their callbacks are not called again once this returned; on another thread at most the
 * one call that was already picked may still run.
 *
 * @attention Without @p resource_uris every subscription goes whose device id begins with this one:
 *     unsubscribing lamp ends those of lamp2 too.
 *
 * @attention While the agent is still gathering its data (see quorvel_client_get_device_detail_list()) this
 *     does nothing and returns 0: the subscriptions stay.
 *
 * @attention When the agent refuses, the subscriptions stay.
 *
 * @param[in] handle        A connected client.
 * @param[in] device_id     The device; neither NULL nor empty.
 * @param[in] resource_uris The very string that was subscribed with; NULL or empty for all subscriptions of
 *                          the device.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The subscriptions are gone, or there were none, or the agent
 *     is still gathering its data.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p device_id is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Without @p resource_uris: memory could not be had. The agent
 *     has ended the subscriptions by then.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_unsubscribe(quorvel_client_h handle, const char* device_id,
                                           const char* resource_uris);

/**
 * @brief Begins to watch whether a device is connected to the cloud.
 *
 * It lasts until it is stopped, until it is started anew for the same device, or until the client is
 * disconnected.
 *
 * @attention Of the device id only the first 98 characters count: two that begin alike are one.
 *
 * @attention When this fails after its arguments were found good, an earlier watch of the same device is gone
 *     as well.
 *
 * @param[in] handle    A connected client.
 * @param[in] device_id The device; neither NULL nor empty.
 * @param[in] extra     Passed to the agent as it is, NULL as the empty string.
 * @param[in] cb        Hears of the state; not NULL.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The device is watched.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL, or @p device_id is NULL or
 *     empty.
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
QUORVEL_API int quorvel_client_start_monitoring_cloud_device_state(quorvel_client_h handle,
                                                                   const char* device_id, const char* extra,
                                                                   quorvel_client_cloud_device_state_cb cb,
                                                                   void* user_data);

/**
 * @brief Ceases to watch whether a device is connected to the cloud.
 *
 * On the loop thread the callback is not called again once this returned; on another thread at most the one
 * call that was already picked may still run.
 *
 * @attention When the agent refuses, the watch stays.
 *
 * @param[in] handle    A connected client.
 * @param[in] device_id The device; neither NULL nor empty.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The device is not watched any more, or was not.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p device_id is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.0
 */
QUORVEL_API int quorvel_client_stop_monitoring_cloud_device_state(quorvel_client_h handle,
                                                                  const char* device_id);

/**
 * @brief Sets the representation of a device's resource.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle       A connected client.
 * @param[in] device_id    The device; neither NULL nor empty.
 * @param[in] resource_uri The URI of the resource; neither NULL nor empty.
 * @param[in] value        The new value; neither NULL nor empty.
 * @param[in] extra1       Passed to the agent as it is, NULL as the empty string.
 * @param[in] extra2       The same holds.
 * @param[in] cb           The outcome; NULL when it is of no interest.
 * @param[in] user_data    Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p device_id, @p resource_uri or
 *     @p value is NULL or empty.
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
QUORVEL_API int quorvel_client_set_remote_representation(quorvel_client_h handle, const char* device_id,
                                                         const char* resource_uri, const char* value,
                                                         const char* extra1, const char* extra2,
                                                         quorvel_client_remote_representation_cb cb,
                                                         void* user_data);

/**
 * @brief Asks for the representation of a device's resource.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle       A connected client.
 * @param[in] device_id    The device; neither NULL nor empty.
 * @param[in] resource_uri The URI of the resource; neither NULL nor empty.
 * @param[in] extra1       Passed to the agent as it is, NULL as the empty string.
 * @param[in] extra2       The same holds.
 * @param[in] cb           Gets the answer; not NULL.
 * @param[in] user_data    Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL, or @p device_id or
 *     @p resource_uri is NULL or empty.
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
QUORVEL_API int quorvel_client_get_remote_representation(quorvel_client_h handle, const char* device_id,
                                                         const char* resource_uri, const char* extra1,
                                                         const char* extra2,
                                                         quorvel_client_remote_representation_cb cb,
                                                         void* user_data);

/**
 * @brief Sets the attributes of a device's resource.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle       A connected client.
 * @param[in] device_id    The device; neither NULL nor empty.
 * @param[in] resource_uri The URI of the resource; neither NULL nor empty.
 * @param[in] value        The new value; neither NULL nor empty.
 * @param[in] extra1       Passed to the agent as it is, NULL as the empty string.
 * @param[in] extra2       The same holds.
 * @param[in] cb           The outcome; NULL when it is of no interest.
 * @param[in] user_data    Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or @p device_id, @p resource_uri or
 *     @p value is NULL or empty.
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
QUORVEL_API int quorvel_client_set_remote_attributes(quorvel_client_h handle, const char* device_id,
                                                     const char* resource_uri, const char* value,
                                                     const char* extra1, const char* extra2,
                                                     quorvel_client_remote_attributes_cb cb, void* user_data);

/**
 * @brief Asks for the attributes of a device's resource.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle       A connected client.
 * @param[in] device_id    The device; neither NULL nor empty.
 * @param[in] resource_uri The URI of the resource; neither NULL nor empty.
 * @param[in] extra1       Passed to the agent as it is, NULL as the empty string.
 * @param[in] extra2       The same holds.
 * @param[in] cb           Gets the answer; not NULL.
 * @param[in] user_data    Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL, or @p device_id or
 *     @p resource_uri is NULL or empty.
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
QUORVEL_API int quorvel_client_get_remote_attributes(quorvel_client_h handle, const char* device_id,
                                                     const char* resource_uri, const char* extra1,
                                                     const char* extra2,
                                                     quorvel_client_remote_attributes_cb cb, void* user_data);

/**
 * @brief Gives the URIs of a device's resources of one type.
 *
 * @param[in]  handle        A connected client.
 * @param[in]  device_id     The device; neither NULL nor empty.
 * @param[in]  resource_type The type of the resources; neither NULL nor empty.
 * @param[out] list          The strings, to be released one by one and then the vector itself, each with
 *                           free(); NULL when there are none.
 * @param[out] count         How many there are.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; NULL and 0 for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.2.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or an out pointer is NULL, or @p device_id or
 *     @p resource_type is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The received list could not be copied out.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 2.2
 */
QUORVEL_API int quorvel_client_get_resource_uris(quorvel_client_h handle, const char* device_id,
                                                 const char* resource_type, char*** list, int* count);

/**
 * @brief Gives the types of one resource of a device.
 *
 * @attention In the log its failure goes by the shorter name get_resource_types.
 *
 * @param[in]  handle       A connected client.
 * @param[in]  device_id    The device; neither NULL nor empty.
 * @param[in]  resource_uri The URI of the resource; neither NULL nor empty.
 * @param[out] list         The strings, to be released one by one and then the vector itself, each with
 *                          free(); NULL when there are none.
 * @param[out] count        How many there are.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The list is handed out; NULL and 0 for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.5.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or an out pointer is NULL, or @p device_id or
 *     @p resource_uri is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The received list could not be copied out.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.5
 */
QUORVEL_API int quorvel_client_get_resource_types_by_resource_uri(quorvel_client_h handle,
                                                                  const char* device_id,
                                                                  const char* resource_uri, char*** list,
                                                                  int* count);

/**
 * @brief Asks for the accessories.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle    A connected client.
 * @param[in] cb        Gets the answer; not NULL.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.3.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.3
 */
QUORVEL_API int quorvel_client_get_accessory_list(quorvel_client_h handle,
                                                  quorvel_client_accessory_list_cb cb, void* user_data);

/**
 * @brief Begins the migration from the earlier home platform.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle    A connected client.
 * @param[in] cb        The outcome; NULL when it is of no interest.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL.
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
QUORVEL_API int quorvel_client_activate_vxr_migration(quorvel_client_h handle,
                                                      quorvel_client_vxr_migration_cb cb, void* user_data);

/**
 * @brief Asks for the token of this device on the earlier home platform.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle    A connected client.
 * @param[in] cb        Gets the answer; not NULL.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL.
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
QUORVEL_API int quorvel_client_get_vxr_device_token(quorvel_client_h handle,
                                                    quorvel_client_vxr_device_token_cb cb, void* user_data);

/**
 * @brief Asks for the token for a peer device on the earlier home platform.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle    A connected client.
 * @param[in] device_id The device; neither NULL nor empty.
 * @param[in] cb        Gets the answer; not NULL.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.2.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL, or @p device_id is NULL or
 *     empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.2
 */
QUORVEL_API int quorvel_client_get_vxr_device_peer_token(quorvel_client_h handle, const char* device_id,
                                                         quorvel_client_vxr_device_peer_token_cb cb,
                                                         void* user_data);

/**
 * @brief Registers another application for push notifications.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle        A connected client.
 * @param[in] push_provider Who delivers the notifications; neither NULL nor empty.
 * @param[in] push_reg_id   The application's id with the provider; neither NULL nor empty.
 * @param[in] push_app_id   The application; neither NULL nor empty.
 * @param[in] locale        The language of the notifications; neither NULL nor empty.
 * @param[in] cb            The outcome; NULL when it is of no interest.
 * @param[in] user_data     Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL, or one of the four strings is NULL or
 *     empty.
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
QUORVEL_API int quorvel_client_set_third_party_notification(
    quorvel_client_h handle, const char* push_provider, const char* push_reg_id, const char* push_app_id,
    const char* locale, quorvel_client_third_party_notification_cb cb, void* user_data);

/**
 * @brief Switches third-party notifications on or off.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused. What the strings stand for is the agent's matter.
 *
 * @param[in] handle    A connected client.
 * @param[in] enabled   True to switch on, false to switch off.
 * @param[in] list      The strings that it concerns.
 * @param[in] count     How many there are.
 * @param[in] cb        The outcome; NULL when it is of no interest.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.2.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The strings could not be taken: @p list is NULL, @p count is
 *     negative, or memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 2.2
 */
QUORVEL_API int quorvel_client_set_third_party_notification_status(
    quorvel_client_h handle, bool enabled, const char* const* list, int count,
    quorvel_client_third_party_notification_cb cb, void* user_data);

/**
 * @brief Asks for the status of third-party notifications.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @param[in] handle    A connected client.
 * @param[in] cb        Gets the answer; not NULL.
 * @param[in] user_data Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.2.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 2.2
 */
QUORVEL_API int quorvel_client_get_third_party_notification_status(
    quorvel_client_h handle, quorvel_client_third_party_notification_status_cb cb, void* user_data);

/**
 * @brief Registers the callback for a changed status of third-party notifications.
 *
 * The callback runs each time the status of third-party notifications changes. Setting it again replaces the
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
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.2.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The registration could not be made for want of memory.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 2.2
 */
QUORVEL_API int quorvel_client_set_third_party_notification_status_updated_cb(
    quorvel_client_h handle, quorvel_client_third_party_notification_status_updated_cb cb, void* user_data);

/**
 * @brief Takes the callback for a changed status of third-party notifications back.
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
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.2.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle is NULL.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 2.2
 */
QUORVEL_API int quorvel_client_unset_third_party_notification_status_updated_cb(quorvel_client_h handle);

/**
 * @brief Asks for the files of a device's resource.
 *
 * The answer comes later, through @p cb, once. When this function fails, @p cb is not called, unless the
 * agent sent an answer before it refused.
 *
 * @attention When memory does not suffice for the files that came, @p cb is not called.
 *
 * @param[in] handle       A connected client.
 * @param[in] device_id    The device; neither NULL nor empty.
 * @param[in] resource_uri The URI of the resource; neither NULL nor empty.
 * @param[in] extra        Passed to the agent as it is, NULL as the empty string.
 * @param[in] cb           Gets the files; not NULL.
 * @param[in] user_data    Passed to @p cb as it is.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The agent accepted the request; @p cb will be called.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.2.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p cb is NULL, or @p device_id or
 *     @p resource_uri is NULL or empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     Memory could not be had.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 1.2
 */
QUORVEL_API int quorvel_client_get_files(quorvel_client_h handle, const char* device_id,
                                         const char* resource_uri, const char* extra,
                                         quorvel_client_files_cb cb, void* user_data);

/**
 * @brief Reads a file: its name, its bytes and its length.
 *
 * @attention @p data holds exactly the bytes that came with the file, and @p length is what the agent says of
 *     it: the library does not compare the two. With a NULL @p data there is nothing to read, whatever
 *     @p length says.
 *
 * @param[in]  file      The record to read.
 * @param[out] file_name A copy of the name, to be released with free(); NULL when it is empty.
 * @param[out] data      A copy of the bytes, to be released with free(); NULL when the file came without
 *                       them.
 * @param[out] length    The length in bytes that the agent tells, -1 for every negative one.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The details are handed out, also without bytes.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.2.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p file or an out pointer is NULL.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The bytes could not be copied.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.2
 */
QUORVEL_API int quorvel_client_file_get_details(quorvel_client_file_h file, char** file_name,
                                                unsigned char** data, int* length);

/**
 * @brief Releases a file.
 *
 * @param[in] file What to release; not to be used any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 1.2.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p file is NULL.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 1.2
 */
QUORVEL_API int quorvel_client_file_destroy(quorvel_client_file_h file);

/**
 * @brief Gives what a thing needs to sign itself up.
 *
 * @param[in]  handle   A connected client.
 * @param[in]  group_id The group that it signs up to; neither NULL nor empty.
 * @param[in]  extra    Passed to the agent as it is, NULL as the empty string.
 * @param[out] info     The information, to be released with quorvel_client_self_sign_up_info_destroy(). It
 *                      holds secrets.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The information is in @p info.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p handle or @p info is NULL, or @p group_id is NULL or
 *     empty.
 * @retval QUORVEL_CLIENT_ERROR_NOT_CONNECTED     There is no connection, or the connected callback has not
 *     run yet.
 * @retval QUORVEL_CLIENT_ERROR_UNKNOWN           No answer came within the deadline, or one with a code that
 *     is not in the table.
 * @return Another code is the agent's answer, see @ref quorvel_agent_codes.
 *
 * @note Any thread; waits for the agent's answer.
 * @since Agent 2.0
 */
QUORVEL_API int quorvel_client_get_self_sign_up_info(quorvel_client_h handle, const char* group_id,
                                                     const char* extra,
                                                     quorvel_client_self_sign_up_info_h* info);

/**
 * @brief Reads a string of the self sign-up information.
 *
 * @param[in]  info        The record to read.
 * @param[in]  property_id One of #quorvel_client_self_sign_up_info_prop_e.
 * @param[out] value       A copy, to be released with free(); NULL when the value is empty.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              The value is in @p value, also NULL for an empty one.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p info or @p value is NULL, or @p property_id is not one of
 *     these.
 * @retval QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY     The copy could not be made.
 * @retval QUORVEL_CLIENT_ERROR_OPERATION_FAILED  The record does not hold the property.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 2.0
 */
QUORVEL_API int quorvel_client_self_sign_up_info_get_string(quorvel_client_self_sign_up_info_h info,
                                                            int property_id, char** value);

/**
 * @brief Releases the self sign-up information.
 *
 * @param[in] info What to release; not to be used any more afterwards.
 *
 * @retval QUORVEL_CLIENT_ERROR_NONE              Released.
 * @retval QUORVEL_CLIENT_ERROR_NOT_SUPPORTED     The agent is not installed.
 * @retval QUORVEL_CLIENT_ERROR_LOWER_VERSION     The agent is older than 2.0.
 * @retval QUORVEL_CLIENT_ERROR_INVALID_PARAMETER @p info is NULL.
 *
 * @note Any thread; the agent is not asked.
 * @since Agent 2.0
 */
QUORVEL_API int quorvel_client_self_sign_up_info_destroy(quorvel_client_self_sign_up_info_h info);

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_QC_API_H */
