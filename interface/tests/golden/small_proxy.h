/* SPDX-License-Identifier: Apache-2.0 */
/* Generated from small.idl by qvidl: change the description, not this file. */
/**
 * @file
 * @brief The client's end of the port interface small: records, arrays, delegates and methods.
 *
 * Unless a function says otherwise it returns 0, or -1 after a line in the log that tells what was wrong.
 *
 * Records and arrays are made with _create, released with _destroy and copied whole with _clone. A
 * setter keeps a copy of what it is given. A getter hands out a copy that the caller releases: a text
 * with free(), a bundle with bundle_free(), an element of an array with its own _destroy, a vector with
 * free() after its elements. The getter of a list that is empty returns 0 and leaves its arguments as
 * they were, so set them to NULL and 0 first.
 */
#ifndef SMALL_PROXY_H
#define SMALL_PROXY_H

#include <glib.h>
#include <stdbool.h>

#include "bundle.h"
#include "rpc-port.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Records. */

/** A lamp. */
struct rpc_port_lamp_s_s {
    rpc_port_parcelable_t parcelable;
    char* lamp_id;
    int level;
    bundle* extras;
    char** tags;
    int tags_size;
    char* reserved;
};
typedef struct rpc_port_lamp_s_s* rpc_port_lamp_s_h;
int rpc_port_lamp_s_create(rpc_port_lamp_s_h* h);
int rpc_port_lamp_s_destroy(rpc_port_lamp_s_h h);
int rpc_port_lamp_s_clone(rpc_port_lamp_s_h h, rpc_port_lamp_s_h* clone);
int rpc_port_lamp_s_set_lamp_id(rpc_port_lamp_s_h h, const char* lamp_id);
int rpc_port_lamp_s_get_lamp_id(rpc_port_lamp_s_h h, char** lamp_id);
int rpc_port_lamp_s_set_level(rpc_port_lamp_s_h h, int level);
int rpc_port_lamp_s_get_level(rpc_port_lamp_s_h h, int* level);
int rpc_port_lamp_s_set_extras(rpc_port_lamp_s_h h, bundle* extras);
int rpc_port_lamp_s_get_extras(rpc_port_lamp_s_h h, bundle** extras);
int rpc_port_lamp_s_set_tags(rpc_port_lamp_s_h h, const char* const* tags, int tags_size);
int rpc_port_lamp_s_get_tags(rpc_port_lamp_s_h h, char*** tags, int* tags_size);
int rpc_port_lamp_s_set_reserved(rpc_port_lamp_s_h h, const char* reserved);
int rpc_port_lamp_s_get_reserved(rpc_port_lamp_s_h h, char** reserved);

/**
 * A place, "as it is"; everything lies in one bundle.
 * A second line.
 */
struct rpc_port_place_s_s {
    rpc_port_parcelable_t parcelable;
    bundle* bundle_data;
};
typedef struct rpc_port_place_s_s* rpc_port_place_s_h;
int rpc_port_place_s_create(rpc_port_place_s_h* h);
int rpc_port_place_s_destroy(rpc_port_place_s_h h);
int rpc_port_place_s_clone(rpc_port_place_s_h h, rpc_port_place_s_h* clone);
int rpc_port_place_s_set_bundle_data(rpc_port_place_s_h h, bundle* bundle_data);
int rpc_port_place_s_get_bundle_data(rpc_port_place_s_h h, bundle** bundle_data);

/* Arrays. */

/** Lamps. */
struct rpc_port_array_lamp_s_s {
    rpc_port_parcelable_t parcelable;
    rpc_port_lamp_s_h* array_lamp_ss;
    int array_lamp_ss_size;
};
typedef struct rpc_port_array_lamp_s_s* rpc_port_array_lamp_s_h;
int rpc_port_array_lamp_s_create(rpc_port_array_lamp_s_h* h);
int rpc_port_array_lamp_s_destroy(rpc_port_array_lamp_s_h h);
int rpc_port_array_lamp_s_clone(rpc_port_array_lamp_s_h h, rpc_port_array_lamp_s_h* clone);
int rpc_port_array_lamp_s_set_array_lamp_ss(rpc_port_array_lamp_s_h h, const rpc_port_lamp_s_h* array_lamp_ss,
                                            int array_lamp_ss_size);
int rpc_port_array_lamp_s_get_array_lamp_ss(rpc_port_array_lamp_s_h h, rpc_port_lamp_s_h** array_lamp_ss,
                                            int* array_lamp_ss_size);

/** Texts. */
struct rpc_port_array_string_s {
    rpc_port_parcelable_t parcelable;
    char** array_strings;
    int array_strings_size;
};
typedef struct rpc_port_array_string_s* rpc_port_array_string_h;
int rpc_port_array_string_create(rpc_port_array_string_h* h);
int rpc_port_array_string_destroy(rpc_port_array_string_h h);
int rpc_port_array_string_clone(rpc_port_array_string_h h, rpc_port_array_string_h* clone);
int rpc_port_array_string_set_array_strings(rpc_port_array_string_h h, const char* const* array_strings,
                                            int array_strings_size);
int rpc_port_array_string_get_array_strings(rpc_port_array_string_h h, char*** array_strings,
                                            int* array_strings_size);

/* The proxy: one connection to the agent. */

typedef struct rpc_port_proxy_small_s* rpc_port_proxy_small_h;

/** The connection stands: methods may be invoked from now on. */
typedef void (*rpc_port_proxy_small_connected_cb)(rpc_port_proxy_small_h h, void* user_data);

/** The connection was lost. */
typedef void (*rpc_port_proxy_small_disconnected_cb)(rpc_port_proxy_small_h h, void* user_data);

/** The agent refused the connection, or could not be started. */
typedef void (*rpc_port_proxy_small_rejected_cb)(rpc_port_proxy_small_h h, void* user_data);

/** What happens to the connection. The callbacks run on the thread of the main loop. */
typedef struct rpc_port_proxy_small_callback_s {
    rpc_port_proxy_small_connected_cb connected;
    rpc_port_proxy_small_disconnected_cb disconnected;
    rpc_port_proxy_small_rejected_cb rejected;
} rpc_port_proxy_small_callback_s;

/** A proxy. Only for looking at: the library keeps fields of its own behind these. */
struct rpc_port_proxy_small_s {
    char* stub_appid;
    rpc_port_proxy_h proxy;
    rpc_port_h port; /**< The main port; NULL while not connected. */
    rpc_port_h callback_port;
    rpc_port_proxy_small_callback_s callback;
    void* user_data;
    GList* delegates;
    GRecMutex mutex;
};

/** Makes a proxy for the agent's application. Nothing is connected yet. */
int rpc_port_proxy_small_create(const char* stub_appid, const rpc_port_proxy_small_callback_s* callback,
                                void* user_data, rpc_port_proxy_small_h* h);
/** Asks for the connection; one of the callbacks tells what became of it. */
int rpc_port_proxy_small_connect(rpc_port_proxy_small_h h);
/** Closes the connection and releases the proxy with every delegate left in it. */
int rpc_port_proxy_small_destroy(rpc_port_proxy_small_h h);

/*
 * Delegates: the client's end of the callbacks that the agent makes.
 *
 * A delegate is created with the callback and its user data, and handed to a method. From then on it belongs
 * to the proxy: a once delegate ends with its first call, any other with _dispose or with the proxy. One that
 * was handed to no method is released with _destroy. What a callback is given lives until it returns.
 */

/** Nothing but a bell. */
typedef void (*rpc_port_small_bell_cb_cb)(void* user_data);
struct rpc_port_small_bell_cb_s {
    rpc_port_parcelable_t parcelable;
    int id;
    int seq_id;
    rpc_port_small_bell_cb_cb callback;
    bool once;
    void* user_data;
};
typedef struct rpc_port_small_bell_cb_s* rpc_port_small_bell_cb_h;
rpc_port_small_bell_cb_h rpc_port_small_bell_cb_create(rpc_port_small_bell_cb_cb callback, bool once,
                                                       void* user_data);
int rpc_port_small_bell_cb_destroy(rpc_port_small_bell_cb_h h);
int rpc_port_proxy_small_bell_cb_dispose(rpc_port_proxy_small_h proxy, rpc_port_small_bell_cb_h h);
void __small_bell_cb_to(rpc_port_parcel_h parcel, void* delegate);
void __small_bell_cb_from(rpc_port_parcel_h parcel, void* delegate);
void __small_delegate_bell_cb(GList** list, rpc_port_parcel_h parcel, int seq_id, int id);

/** The lamps, after a change. */
typedef void (*rpc_port_small_lamps_cb_cb)(void* user_data, const char* event, rpc_port_array_lamp_s_h lamps,
                                           int count, rpc_port_lamp_s_h first, bool all, long long time);
struct rpc_port_small_lamps_cb_s {
    rpc_port_parcelable_t parcelable;
    int id;
    int seq_id;
    rpc_port_small_lamps_cb_cb callback;
    bool once;
    void* user_data;
};
typedef struct rpc_port_small_lamps_cb_s* rpc_port_small_lamps_cb_h;
rpc_port_small_lamps_cb_h rpc_port_small_lamps_cb_create(rpc_port_small_lamps_cb_cb callback, bool once,
                                                         void* user_data);
int rpc_port_small_lamps_cb_destroy(rpc_port_small_lamps_cb_h h);
int rpc_port_proxy_small_lamps_cb_dispose(rpc_port_proxy_small_h proxy, rpc_port_small_lamps_cb_h h);
void __small_lamps_cb_to(rpc_port_parcel_h parcel, void* delegate);
void __small_lamps_cb_from(rpc_port_parcel_h parcel, void* delegate);
void __small_delegate_lamps_cb(GList** list, rpc_port_parcel_h parcel, int seq_id, int id);

/** A secret that comes later. */
typedef void (*rpc_port_small_token_cb_cb)(void* user_data, const char* token, int result);
struct rpc_port_small_token_cb_s {
    rpc_port_parcelable_t parcelable;
    int id;
    int seq_id;
    rpc_port_small_token_cb_cb callback;
    bool once;
    void* user_data;
};
typedef struct rpc_port_small_token_cb_s* rpc_port_small_token_cb_h;
rpc_port_small_token_cb_h rpc_port_small_token_cb_create(rpc_port_small_token_cb_cb callback, bool once,
                                                         void* user_data);
int rpc_port_small_token_cb_destroy(rpc_port_small_token_cb_h h);
int rpc_port_proxy_small_token_cb_dispose(rpc_port_proxy_small_h proxy, rpc_port_small_token_cb_h h);
void __small_token_cb_to(rpc_port_parcel_h parcel, void* delegate);
void __small_token_cb_from(rpc_port_parcel_h parcel, void* delegate);
void __small_delegate_token_cb(GList** list, rpc_port_parcel_h parcel, int seq_id, int id);

/*
 * Methods. Each waits for the agent's answer and returns the agent's result, 0 for success, or -1 when there
 * was no answer; then what comes out is left as it was.
 *
 * A text that comes out is released with free(), a record or an array with its _destroy. A text that goes in
 * may be NULL and is sent as an empty one.
 */

/** Rings. Nothing uses it. */
int rpc_port_proxy_small_invoke_ring(rpc_port_proxy_small_h h);

/**
 * Tells whether it rings.
 * Returns the answer itself; false when there is none.
 */
bool rpc_port_proxy_small_invoke_is_ringing(rpc_port_proxy_small_h h);

/** Looks a lamp up. */
int rpc_port_proxy_small_invoke_find_lamp(rpc_port_proxy_small_h h, const char* lamp_id,
                                          rpc_port_lamp_s_h* lamp);

/** Lists lamps of some tags. */
int rpc_port_proxy_small_invoke_list_lamps(rpc_port_proxy_small_h h, rpc_port_array_string_h tags, int limit,
                                           bool all, rpc_port_array_lamp_s_h* lamps, int* count, bool* more);

/** Stands behind, but has the smaller number. */
int rpc_port_proxy_small_invoke_watch_lamps(rpc_port_proxy_small_h h, rpc_port_small_lamps_cb_h on_lamps,
                                            rpc_port_array_string_h* names, rpc_port_place_s_h* place);

/** Takes one secret and gives another. */
int rpc_port_proxy_small_invoke_exchange_secrets(rpc_port_proxy_small_h h, const char* old_secret,
                                                 rpc_port_place_s_h place, char** new_secret);

/** Asks for a token. Secret through its delegate. */
int rpc_port_proxy_small_invoke_ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere(
    rpc_port_proxy_small_h h, rpc_port_lamp_s_h lamp, rpc_port_small_token_cb_h on_token);

#ifdef __cplusplus
}
#endif

#endif /* SMALL_PROXY_H */
