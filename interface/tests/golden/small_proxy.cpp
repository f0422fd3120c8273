// Generated from small.idl by qvidl: change the description, not this file.
#include "small_proxy.h"

#include <atomic>
#include <cstddef>

#include "proxy/runtime.hpp"
#include "small_proxy_types.hpp"

namespace proxy = quorvel::proxy;

// record lamp_s
static void lamp_s_to(rpc_port_parcel_h parcel, void* data);
static void lamp_s_from(rpc_port_parcel_h parcel, void* data);

static constexpr proxy::Field lamp_s_fields[] = {
    {"lamp_id", proxy::Kind::text, offsetof(rpc_port_lamp_s_s, lamp_id), 0},
    {"level", proxy::Kind::number, offsetof(rpc_port_lamp_s_s, level), 0},
    {"extras", proxy::Kind::bundle, offsetof(rpc_port_lamp_s_s, extras), 0},
    {"tags", proxy::Kind::text_list, offsetof(rpc_port_lamp_s_s, tags),
     offsetof(rpc_port_lamp_s_s, tags_size)},
    {"reserved", proxy::Kind::text, offsetof(rpc_port_lamp_s_s, reserved), 0},
};

constinit const proxy::RecordType proxy::lamp_s = {
    "lamp_s",
    sizeof(rpc_port_lamp_s_s),
    {lamp_s_to, lamp_s_from},
    lamp_s_fields,
    proxy::operations<rpc_port_lamp_s_h, rpc_port_lamp_s_create, rpc_port_lamp_s_destroy,
                      rpc_port_lamp_s_clone>,
    "rpc_port_lamp_s_clone",
};

static void lamp_s_to(rpc_port_parcel_h parcel, void* data)
{
    proxy::write_record(proxy::lamp_s, parcel, data);
}

static void lamp_s_from(rpc_port_parcel_h parcel, void* data)
{
    proxy::read_record(proxy::lamp_s, parcel, data);
}

int rpc_port_lamp_s_create(rpc_port_lamp_s_h* h)
{
    return proxy::create_record(proxy::lamp_s, h);
}

int rpc_port_lamp_s_destroy(rpc_port_lamp_s_h h)
{
    return proxy::destroy_record(proxy::lamp_s, h);
}

int rpc_port_lamp_s_clone(rpc_port_lamp_s_h h, rpc_port_lamp_s_h* clone)
{
    return proxy::clone_record(proxy::lamp_s, h, clone);
}

int rpc_port_lamp_s_set_lamp_id(rpc_port_lamp_s_h h, const char* lamp_id)
{
    return proxy::set_text(proxy::lamp_s, h, lamp_s_fields[0], lamp_id);
}

int rpc_port_lamp_s_get_lamp_id(rpc_port_lamp_s_h h, char** lamp_id)
{
    return proxy::get_text(proxy::lamp_s, h, lamp_s_fields[0], lamp_id);
}

int rpc_port_lamp_s_set_level(rpc_port_lamp_s_h h, int level)
{
    return proxy::set_number(proxy::lamp_s, h, lamp_s_fields[1], level);
}

int rpc_port_lamp_s_get_level(rpc_port_lamp_s_h h, int* level)
{
    return proxy::get_number(proxy::lamp_s, h, lamp_s_fields[1], level);
}

int rpc_port_lamp_s_set_extras(rpc_port_lamp_s_h h, bundle* extras)
{
    return proxy::set_bundle(proxy::lamp_s, h, lamp_s_fields[2], extras);
}

int rpc_port_lamp_s_get_extras(rpc_port_lamp_s_h h, bundle** extras)
{
    return proxy::get_bundle(proxy::lamp_s, h, lamp_s_fields[2], extras);
}

int rpc_port_lamp_s_set_tags(rpc_port_lamp_s_h h, const char* const* tags, int tags_size)
{
    return proxy::set_text_list(proxy::lamp_s, h, lamp_s_fields[3], tags, tags_size);
}

int rpc_port_lamp_s_get_tags(rpc_port_lamp_s_h h, char*** tags, int* tags_size)
{
    return proxy::get_text_list(proxy::lamp_s, h, lamp_s_fields[3], tags, tags_size);
}

int rpc_port_lamp_s_set_reserved(rpc_port_lamp_s_h h, const char* reserved)
{
    return proxy::set_text(proxy::lamp_s, h, lamp_s_fields[4], reserved);
}

int rpc_port_lamp_s_get_reserved(rpc_port_lamp_s_h h, char** reserved)
{
    return proxy::get_text(proxy::lamp_s, h, lamp_s_fields[4], reserved);
}

// record place_s
static void place_s_to(rpc_port_parcel_h parcel, void* data);
static void place_s_from(rpc_port_parcel_h parcel, void* data);

static constexpr proxy::Field place_s_fields[] = {
    {"bundle_data", proxy::Kind::bundle, offsetof(rpc_port_place_s_s, bundle_data), 0},
};

constinit const proxy::RecordType proxy::place_s = {
    "place_s",
    sizeof(rpc_port_place_s_s),
    {place_s_to, place_s_from},
    place_s_fields,
    proxy::operations<rpc_port_place_s_h, rpc_port_place_s_create, rpc_port_place_s_destroy,
                      rpc_port_place_s_clone>,
    "rpc_port_place_s_clone",
};

static void place_s_to(rpc_port_parcel_h parcel, void* data)
{
    proxy::write_record(proxy::place_s, parcel, data);
}

static void place_s_from(rpc_port_parcel_h parcel, void* data)
{
    proxy::read_record(proxy::place_s, parcel, data);
}

int rpc_port_place_s_create(rpc_port_place_s_h* h)
{
    return proxy::create_record(proxy::place_s, h);
}

int rpc_port_place_s_destroy(rpc_port_place_s_h h)
{
    return proxy::destroy_record(proxy::place_s, h);
}

int rpc_port_place_s_clone(rpc_port_place_s_h h, rpc_port_place_s_h* clone)
{
    return proxy::clone_record(proxy::place_s, h, clone);
}

int rpc_port_place_s_set_bundle_data(rpc_port_place_s_h h, bundle* bundle_data)
{
    return proxy::set_bundle(proxy::place_s, h, place_s_fields[0], bundle_data);
}

int rpc_port_place_s_get_bundle_data(rpc_port_place_s_h h, bundle** bundle_data)
{
    return proxy::get_bundle(proxy::place_s, h, place_s_fields[0], bundle_data);
}

// array array_lamp_s
static void array_lamp_s_to(rpc_port_parcel_h parcel, void* data);
static void array_lamp_s_from(rpc_port_parcel_h parcel, void* data);

constinit const proxy::ArrayType proxy::array_lamp_s = {
    "array_lamp_s",
    "array_lamp_ss",
    {array_lamp_s_to, array_lamp_s_from},
    &proxy::lamp_s,
    "rpc_port_array_lamp_s_get_array_lamp_ss",
};

static void array_lamp_s_to(rpc_port_parcel_h parcel, void* data)
{
    proxy::write_array(proxy::array_lamp_s, parcel, data);
}

static void array_lamp_s_from(rpc_port_parcel_h parcel, void* data)
{
    proxy::read_array(proxy::array_lamp_s, parcel, data);
}

int rpc_port_array_lamp_s_create(rpc_port_array_lamp_s_h* h)
{
    return proxy::create_record(proxy::array_lamp_s, h);
}

int rpc_port_array_lamp_s_destroy(rpc_port_array_lamp_s_h h)
{
    return proxy::destroy_record(proxy::array_lamp_s, h);
}

int rpc_port_array_lamp_s_clone(rpc_port_array_lamp_s_h h, rpc_port_array_lamp_s_h* clone)
{
    return proxy::clone_record(proxy::array_lamp_s, h, clone);
}

int rpc_port_array_lamp_s_set_array_lamp_ss(rpc_port_array_lamp_s_h h, const rpc_port_lamp_s_h* array_lamp_ss,
                                            int array_lamp_ss_size)
{
    return proxy::set_elements(proxy::array_lamp_s, h, array_lamp_ss, array_lamp_ss_size);
}

int rpc_port_array_lamp_s_get_array_lamp_ss(rpc_port_array_lamp_s_h h, rpc_port_lamp_s_h** array_lamp_ss,
                                            int* array_lamp_ss_size)
{
    return proxy::get_elements(proxy::array_lamp_s, h, array_lamp_ss, array_lamp_ss_size);
}

// array array_string
static void array_string_to(rpc_port_parcel_h parcel, void* data);
static void array_string_from(rpc_port_parcel_h parcel, void* data);

constinit const proxy::ArrayType proxy::array_string = {
    "array_string",
    "array_strings",
    {array_string_to, array_string_from},
    nullptr,
    "rpc_port_array_string_get_array_strings",
};

static void array_string_to(rpc_port_parcel_h parcel, void* data)
{
    proxy::write_array(proxy::array_string, parcel, data);
}

static void array_string_from(rpc_port_parcel_h parcel, void* data)
{
    proxy::read_array(proxy::array_string, parcel, data);
}

int rpc_port_array_string_create(rpc_port_array_string_h* h)
{
    return proxy::create_record(proxy::array_string, h);
}

int rpc_port_array_string_destroy(rpc_port_array_string_h h)
{
    return proxy::destroy_record(proxy::array_string, h);
}

int rpc_port_array_string_clone(rpc_port_array_string_h h, rpc_port_array_string_h* clone)
{
    return proxy::clone_record(proxy::array_string, h, clone);
}

int rpc_port_array_string_set_array_strings(rpc_port_array_string_h h, const char* const* array_strings,
                                            int array_strings_size)
{
    return proxy::set_strings(proxy::array_string, h, array_strings, array_strings_size);
}

int rpc_port_array_string_get_array_strings(rpc_port_array_string_h h, char*** array_strings,
                                            int* array_strings_size)
{
    return proxy::get_strings(proxy::array_string, h, array_strings, array_strings_size);
}

// delegate bell_cb
static std::atomic<unsigned> last_bell_cb;

static constexpr proxy::DelegateType bell_cb = {
    "bell_cb",
    "rpc_port_proxy_small_bell_cb_dispose",
    1,
    {__small_bell_cb_to, __small_bell_cb_from},
    &last_bell_cb,
};

rpc_port_small_bell_cb_h rpc_port_small_bell_cb_create(rpc_port_small_bell_cb_cb callback, bool once,
                                                       void* user_data)
{
    return proxy::create_delegate<rpc_port_small_bell_cb_h>(bell_cb, callback, once, user_data);
}

int rpc_port_small_bell_cb_destroy(rpc_port_small_bell_cb_h h)
{
    return proxy::destroy_delegate(h);
}

int rpc_port_proxy_small_bell_cb_dispose(rpc_port_proxy_small_h holder, rpc_port_small_bell_cb_h h)
{
    return proxy::dispose_delegate(holder, h);
}

void __small_bell_cb_to(rpc_port_parcel_h parcel, void* delegate)
{
    proxy::write_delegate(parcel, delegate);
}

void __small_bell_cb_from(rpc_port_parcel_h parcel, void* delegate)
{
    proxy::read_delegate(parcel, delegate);
}

static void dispatch_bell_cb(proxy::Listed list, rpc_port_parcel_h parcel, int seq_id, int id)
{
    using Delivered = proxy::Dispatch<>;
    Delivered{}.run(list, parcel, seq_id, id, quorvel::CallSite::named("__small_delegate_bell_cb"));
}

void __small_delegate_bell_cb(GList** list, rpc_port_parcel_h parcel, int seq_id, int id)
{
    dispatch_bell_cb(proxy::Listed{list}, parcel, seq_id, id);
}

// delegate lamps_cb
static std::atomic<unsigned> last_lamps_cb;

static constexpr proxy::DelegateType lamps_cb = {
    "lamps_cb",
    "rpc_port_proxy_small_lamps_cb_dispose",
    2,
    {__small_lamps_cb_to, __small_lamps_cb_from},
    &last_lamps_cb,
};

rpc_port_small_lamps_cb_h rpc_port_small_lamps_cb_create(rpc_port_small_lamps_cb_cb callback, bool once,
                                                         void* user_data)
{
    return proxy::create_delegate<rpc_port_small_lamps_cb_h>(lamps_cb, callback, once, user_data);
}

int rpc_port_small_lamps_cb_destroy(rpc_port_small_lamps_cb_h h)
{
    return proxy::destroy_delegate(h);
}

int rpc_port_proxy_small_lamps_cb_dispose(rpc_port_proxy_small_h holder, rpc_port_small_lamps_cb_h h)
{
    return proxy::dispose_delegate(holder, h);
}

void __small_lamps_cb_to(rpc_port_parcel_h parcel, void* delegate)
{
    proxy::write_delegate(parcel, delegate);
}

void __small_lamps_cb_from(rpc_port_parcel_h parcel, void* delegate)
{
    proxy::read_delegate(parcel, delegate);
}

static void dispatch_lamps_cb(proxy::Listed list, rpc_port_parcel_h parcel, int seq_id, int id)
{
    using Delivered = proxy::Dispatch<proxy::Text, proxy::Object<rpc_port_array_lamp_s_h>, proxy::Number,
                                      proxy::Object<rpc_port_lamp_s_h>, proxy::Flag, proxy::LongNumber>;
    Delivered{}.run(list, parcel, seq_id, id, quorvel::CallSite::named("__small_delegate_lamps_cb"));
}

void __small_delegate_lamps_cb(GList** list, rpc_port_parcel_h parcel, int seq_id, int id)
{
    dispatch_lamps_cb(proxy::Listed{list}, parcel, seq_id, id);
}

// delegate token_cb
static std::atomic<unsigned> last_token_cb;

static constexpr proxy::DelegateType token_cb = {
    "token_cb",
    "rpc_port_proxy_small_token_cb_dispose",
    4,
    {__small_token_cb_to, __small_token_cb_from},
    &last_token_cb,
};

rpc_port_small_token_cb_h rpc_port_small_token_cb_create(rpc_port_small_token_cb_cb callback, bool once,
                                                         void* user_data)
{
    return proxy::create_delegate<rpc_port_small_token_cb_h>(token_cb, callback, once, user_data);
}

int rpc_port_small_token_cb_destroy(rpc_port_small_token_cb_h h)
{
    return proxy::destroy_delegate(h);
}

int rpc_port_proxy_small_token_cb_dispose(rpc_port_proxy_small_h holder, rpc_port_small_token_cb_h h)
{
    return proxy::dispose_delegate(holder, h);
}

void __small_token_cb_to(rpc_port_parcel_h parcel, void* delegate)
{
    proxy::write_delegate(parcel, delegate);
}

void __small_token_cb_from(rpc_port_parcel_h parcel, void* delegate)
{
    proxy::read_delegate(parcel, delegate);
}

static void dispatch_token_cb(proxy::Listed list, rpc_port_parcel_h parcel, int seq_id, int id)
{
    using Delivered = proxy::Dispatch<proxy::SecretText, proxy::Number>;
    Delivered{}.run(list, parcel, seq_id, id, quorvel::CallSite::named("__small_delegate_token_cb"));
}

void __small_delegate_token_cb(GList** list, rpc_port_parcel_h parcel, int seq_id, int id)
{
    dispatch_token_cb(proxy::Listed{list}, parcel, seq_id, id);
}

// By the number of the delegate; numbers without one stay empty.
const proxy::DispatchEntry proxy::dispatch_table[5] = {
    {nullptr, nullptr},
    {"bell_cb", dispatch_bell_cb},
    {"lamps_cb", dispatch_lamps_cb},
    {nullptr, nullptr},
    {"token_cb", dispatch_token_cb},
};

int rpc_port_proxy_small_create(const char* stub_appid, const rpc_port_proxy_small_callback_s* callback,
                                void* user_data, rpc_port_proxy_small_h* h)
{
    return proxy::create_proxy(stub_appid, callback, user_data, h);
}

int rpc_port_proxy_small_connect(rpc_port_proxy_small_h h)
{
    return proxy::connect_proxy(h);
}

int rpc_port_proxy_small_destroy(rpc_port_proxy_small_h h)
{
    return proxy::destroy_proxy(h);
}

int rpc_port_proxy_small_invoke_ring(rpc_port_proxy_small_h h)
{
    return proxy::Call{h, 2}();
}

bool rpc_port_proxy_small_invoke_is_ringing(rpc_port_proxy_small_h h)
{
    return proxy::Call{h, 3}.flag();
}

int rpc_port_proxy_small_invoke_find_lamp(rpc_port_proxy_small_h h, const char* lamp_id,
                                          rpc_port_lamp_s_h* lamp)
{
    return proxy::Call{h, 4}(proxy::in(lamp_id), proxy::out(lamp));
}

int rpc_port_proxy_small_invoke_list_lamps(rpc_port_proxy_small_h h, rpc_port_array_string_h tags, int limit,
                                           bool all, rpc_port_array_lamp_s_h* lamps, int* count, bool* more)
{
    return proxy::Call{h, 5}(proxy::in(tags), proxy::in(limit), proxy::in(all), proxy::out(lamps),
                             proxy::out(count), proxy::out(more));
}

int rpc_port_proxy_small_invoke_watch_lamps(rpc_port_proxy_small_h h, rpc_port_small_lamps_cb_h on_lamps,
                                            rpc_port_array_string_h* names, rpc_port_place_s_h* place)
{
    return proxy::Call{h, 8}(proxy::in_delegate(on_lamps), proxy::out(names), proxy::out(place));
}

int rpc_port_proxy_small_invoke_exchange_secrets(rpc_port_proxy_small_h h, const char* old_secret,
                                                 rpc_port_place_s_h place, char** new_secret)
{
    return proxy::Call{h, 9}(proxy::in(old_secret), proxy::in(place), proxy::out(new_secret));
}

int rpc_port_proxy_small_invoke_ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere(
    rpc_port_proxy_small_h h, rpc_port_lamp_s_h lamp, rpc_port_small_token_cb_h on_token)
{
    return proxy::Call{h, 10}(proxy::in(lamp), proxy::in_delegate(on_token));
}
