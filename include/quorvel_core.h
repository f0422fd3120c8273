/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief Server-sent events, hubs, the message broker and the active-user event; includes the whole core
 * family.
 */
#ifndef QUORVEL_CORE_H
#define QUORVEL_CORE_H

#include <stdbool.h>

#include "quorvel_client_types.h"

QUORVEL_BEGIN_DECLS

typedef enum {
    QUORVEL_CORE_SSE_TYPE_ALL = 1,
    QUORVEL_CORE_SSE_TYPE_DEVICE = 2,
    QUORVEL_CORE_SSE_TYPE_DEVICE_HEALTH = 3,
    QUORVEL_CORE_SSE_TYPE_DEVICE_LIFECYCLE = 4,
    QUORVEL_CORE_SSE_TYPE_DEVICE_GROUP = 5,
    QUORVEL_CORE_SSE_TYPE_LOCATION = 6,
    QUORVEL_CORE_SSE_TYPE_ROOM = 7,
    QUORVEL_CORE_SSE_TYPE_FAVORITE = 8,
    QUORVEL_CORE_SSE_TYPE_RULE = 9,
    QUORVEL_CORE_SSE_TYPE_SCENE = 10,
    QUORVEL_CORE_SSE_TYPE_INSTALLED_APP = 11,
    QUORVEL_CORE_SSE_TYPE_HUB = 12
} quorvel_core_sse_type_e;

typedef enum {
    QUORVEL_CORE_SSE_FILTER_TYPE_USER_ID = 0,
    QUORVEL_CORE_SSE_FILTER_TYPE_LOCATION_ID = 1,
    QUORVEL_CORE_SSE_FILTER_TYPE_ROOM_ID = 2,
    QUORVEL_CORE_SSE_FILTER_TYPE_INSTALLED_APP_ID = 3,
    QUORVEL_CORE_SSE_FILTER_TYPE_DEVICE_ID = 4
} quorvel_core_sse_filter_type_e;

typedef enum {
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_APP = 0,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_HOME = 1,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_LOCATION = 2,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_ROOM = 3,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_DEVICE = 4,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_DEVICE_GROUP = 5,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_FAVORITE = 6,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_SCENE = 7,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_RULE = 8,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_INSTALLED_APP = 9,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_HISTORY = 10,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_NOTIFICATION = 11,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_HUB = 12,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_EASY_SETUP = 13,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_ACCOUNT = 14,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_MEMBER = 15,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_ENERGY = 16,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_VOICE = 17,
    QUORVEL_CORE_ACTIVE_USER_CATEGORY_OTHER = 18
} quorvel_core_active_user_category_e;

typedef enum {
    QUORVEL_CORE_ACTIVE_USER_ACTION_OPEN = 0,
    QUORVEL_CORE_ACTIVE_USER_ACTION_CLOSE = 1,
    QUORVEL_CORE_ACTIVE_USER_ACTION_VIEW = 2,
    QUORVEL_CORE_ACTIVE_USER_ACTION_LIST = 3,
    QUORVEL_CORE_ACTIVE_USER_ACTION_SEARCH = 4,
    QUORVEL_CORE_ACTIVE_USER_ACTION_REFRESH = 5,
    QUORVEL_CORE_ACTIVE_USER_ACTION_ADD = 6,
    QUORVEL_CORE_ACTIVE_USER_ACTION_CREATE = 7,
    QUORVEL_CORE_ACTIVE_USER_ACTION_UPDATE = 8,
    QUORVEL_CORE_ACTIVE_USER_ACTION_RENAME = 9,
    QUORVEL_CORE_ACTIVE_USER_ACTION_MOVE = 10,
    QUORVEL_CORE_ACTIVE_USER_ACTION_REMOVE = 11,
    QUORVEL_CORE_ACTIVE_USER_ACTION_REPLACE = 12,
    QUORVEL_CORE_ACTIVE_USER_ACTION_TURN_ON = 13,
    QUORVEL_CORE_ACTIVE_USER_ACTION_TURN_OFF = 14,
    QUORVEL_CORE_ACTIVE_USER_ACTION_EXECUTE = 15,
    QUORVEL_CORE_ACTIVE_USER_ACTION_START = 16,
    QUORVEL_CORE_ACTIVE_USER_ACTION_STOP = 17,
    QUORVEL_CORE_ACTIVE_USER_ACTION_ENABLE = 18,
    QUORVEL_CORE_ACTIVE_USER_ACTION_DISABLE = 19,
    QUORVEL_CORE_ACTIVE_USER_ACTION_INVITE = 20,
    QUORVEL_CORE_ACTIVE_USER_ACTION_JOIN = 21,
    QUORVEL_CORE_ACTIVE_USER_ACTION_LEAVE = 22,
    QUORVEL_CORE_ACTIVE_USER_ACTION_SIGN_IN = 23,
    QUORVEL_CORE_ACTIVE_USER_ACTION_SIGN_OUT = 24,
    QUORVEL_CORE_ACTIVE_USER_ACTION_OTHER = 25
} quorvel_core_active_user_action_e;

typedef void (*quorvel_core_sse_cb)(int event_type, long long event_time, const char* event, void* user_data);

QUORVEL_API int quorvel_core_set_sse_cb(quorvel_client_h handle, int sse_type, quorvel_core_sse_cb cb,
                                        void* user_data);

QUORVEL_API int quorvel_core_unset_sse_cb(quorvel_client_h handle);

QUORVEL_API int quorvel_core_set_sse_cb_by_device_id(quorvel_client_h handle, const char* device_id,
                                                     quorvel_core_sse_cb cb, void* user_data);

QUORVEL_API int quorvel_core_unset_sse_cb_by_device_id(quorvel_client_h handle, const char* device_id);

QUORVEL_API int quorvel_core_get_hub_json(quorvel_client_h handle, const char* location_id,
                                          const char* hub_id, char** json_str);

QUORVEL_API int quorvel_core_get_mqtt_broker_url(quorvel_client_h handle, const char* hub_id, bool secure,
                                                 char** url);

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
