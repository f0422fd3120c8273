#pragma once

#include <quorvel_client.h>
#include <quorvel_client_proxy.h>
#include <quorvel_core.h>

// The internal functions that go by a name of their own: programs that link the archive may call them.

QUORVEL_BEGIN_DECLS

int quorvel_client_get_error_code(int result);
int check_agent(int major, int minor, bool force);
int check_api_precondition(quorvel_client_h handle, int major, int minor, int patch);

void quorvel_client_rpc_connected_cb(rpc_port_proxy_qv_client_h proxy, void* record);
void quorvel_client_rpc_disconnected_cb(rpc_port_proxy_qv_client_h proxy, void* record);
void quorvel_client_rpc_rejected_cb(rpc_port_proxy_qv_client_h proxy, void* record);

// Handlers of the delegates.
void _sign_in_state_cb(void* user_data, const char* state);
void _qc_service_ui_metadata_updated_cb(void* user_data, const char* first, const char* second);
void _device_list_cb(void* user_data, rpc_port_array_device_s_h devices, int extra);
void _device_result_cb(void* request, int result);
void _device_detail_list_cb(void* user_data, rpc_port_array_device_detail_s_h details, int extra);
void _group_list_cb(void* user_data, const char* event, const char* type, rpc_port_array_group_s_h groups,
                    int extra);
void _group_result_cb(void* request, const char* group_id, const char* second, int result);
void _scene_list_cb(void* user_data, const char* event, rpc_port_array_scene_s_h scenes, int extra);
void _scene_result_cb(void* request, const char* scene_id, const char* scene, const char* third,
                      const char* fourth, int result);
void _subscribe_cb(void* key, const char* first, const char* second, const char* third, const char* fourth,
                   const char* fifth, const char* sixth);
void _start_monitoring_network_state_cb(void* key, const char* first, const char* state, const char* third,
                                        const char* fourth);
void _remote_representation_cb(void* request, const char* first, const char* second, const char* third,
                               const char* fourth, const char* fifth, int sixth);
void _remote_attributes_cb(void* request, const char* first, const char* second, const char* third,
                           const char* fourth, const char* fifth, int sixth);
void _get_accessory_list_cb(void* request, const char* first, int second);
void _activate_vxr_migration_cb(void* request, const char* state);
void _get_vxr_device_token_cb(void* request, const char* first, int second);
void _get_vxr_device_peer_token_cb(void* request, const char* first, const char* second, bool third,
                                   int fourth);
void _set_third_party_notification_cb(void* request, const char* state);
void _third_party_notification_status_cb(void* request, int first, bool second,
                                         rpc_port_array_string_h strings, int extra);
void _third_party_notification_status_updated_cb(void* user_data);
void _file_transfer_data_cb(void* request, rpc_port_array_transfer_data_s_h files, int extra,
                            const char* status, int fourth);
void _notification_cb(void* user_data, const char* first, const char* second, const char* third);

void _easy_setup_init_cb(void* request, int result);
void _easy_setup_otm_support_feature_cb(void* user_data, int feature);
void _easy_setup_random_pin_cb(void* user_data, const char* pin, int value);
void _easy_setup_enrollee_owned_cb(void* user_data, bool owned);
void _easy_setup_prov_info_cb(void* user_data, rpc_port_easy_setup_prov_info_s_h info);
void _easy_setup_state_cb(void* user_data, int first, int second);
void _easy_setup_enrollee_state_cb(void* user_data, int first, int second);
void _easy_setup_result_cb(void* request, int result);
void _easy_setup_device_conf_cb(void* request, rpc_port_device_conf_s_h conf);
void _monitor_enrollee_sign_in_cb(void* request, bool signed_in);
void _access_point_list_cb(void* request, rpc_port_array_access_point_s_h access_points, int extra);
void _ocf_result_cb(void* request, int result);

/// Takes the strings of one JSON member out of a group's device entries.
int _parse_device_list(char** device_list, int count, const char* key, char*** values, int* value_count);

void _server_sent_event_cb(void* user_data, int type, long long time, const char* event);
void _server_sent_event_by_filter_cb(void* pair, int type, long long time, const char* event);
int _set_sse_cb_by_filter(quorvel_client_h handle, int filter_type, const char* filter,
                          quorvel_core_sse_cb cb, void* user_data);
int _unset_sse_cb_by_filter(quorvel_client_h handle, int filter_type, const char* filter);

QUORVEL_END_DECLS
