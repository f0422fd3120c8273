// Generated from small.idl by qvidl: change the description, not this file.
#include "catalogue/small_catalogue.hpp"

namespace quorvel::catalogue {
namespace {

constexpr Type string = {Kind::text, "string"};
constexpr Type int32 = {Kind::number, "int32"};
constexpr Type int64 = {Kind::long_number, "int64"};
constexpr Type boolean = {Kind::flag, "bool"};
constexpr Type bundle = {Kind::bundle, "bundle"};
constexpr Type strings = {Kind::text_list, "string[]"};

constexpr Field lamp_s_fields[] = {
    {"lamp_id", string},
    {"level", int32},
    {"extras", bundle},
    {"tags", strings},
    {"reserved", string},
};

constexpr Field place_s_fields[] = {
    {"bundle_data", bundle},
};

constexpr Record records[] = {
    {"lamp_s", lamp_s_fields, "A lamp."},
    {"place_s", place_s_fields, "A place, \"as it is\"; everything lies in one bundle. A second line."},
};

constexpr Type lamp_s = {Kind::record, "lamp_s", &records[0]};
constexpr Type place_s = {Kind::record, "place_s", &records[1]};

constexpr Array arrays[] = {
    {"array_lamp_s", lamp_s, "Lamps."},
    {"array_string", string, "Texts."},
};

constexpr Type array_lamp_s = {Kind::array, "array_lamp_s", nullptr, &arrays[0]};
constexpr Type array_string = {Kind::array, "array_string", nullptr, &arrays[1]};

constexpr Parameter lamps_cb_parameters[] = {
    {"event", string, false},
    {"lamps", array_lamp_s, false},
    {"count", int32, false},
    {"first", lamp_s, false},
    {"all", boolean, false},
    {"time", int64, false},
};

constexpr Parameter token_cb_parameters[] = {
    {"token", string, true},
    {"result", int32, false},
};

constexpr Delegate delegates[] = {
    {1, "bell_cb", {}, false, "Nothing but a bell."},
    {2, "lamps_cb", lamps_cb_parameters, false, "The lamps, after a change."},
    {4, "token_cb", token_cb_parameters, true, "A secret that comes later."},
};

constexpr Type lamps_cb = {Kind::delegate, "lamps_cb", nullptr, nullptr, &delegates[1]};
constexpr Type token_cb = {Kind::delegate, "token_cb", nullptr, nullptr, &delegates[2]};

constexpr Parameter find_lamp_ins[] = {
    {"lamp_id", string, false},
};
constexpr Parameter find_lamp_outs[] = {
    {"lamp", lamp_s, false},
};
constexpr std::string_view find_lamp_users[] = {
    "home_find_lamp",
};

constexpr Parameter list_lamps_ins[] = {
    {"tags", array_string, false},
    {"limit", int32, false},
    {"all", boolean, false},
};
constexpr Parameter list_lamps_outs[] = {
    {"lamps", array_lamp_s, false},
    {"count", int32, false},
    {"more", boolean, false},
};
constexpr std::string_view list_lamps_users[] = {
    "home_list_lamps",
    "home_list_all_lamps",
};

constexpr Parameter watch_lamps_ins[] = {
    {"on_lamps", lamps_cb, false},
};
constexpr Parameter watch_lamps_outs[] = {
    {"names", array_string, false},
    {"place", place_s, false},
};

constexpr Parameter exchange_secrets_ins[] = {
    {"old_secret", string, true},
    {"place", place_s, true},
};
constexpr Parameter exchange_secrets_outs[] = {
    {"new_secret", string, true},
};
constexpr std::string_view exchange_secrets_users[] = {
    "account_exchange_secrets",
};

constexpr Parameter ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere_ins[] = {
    {"lamp", lamp_s, false},
    {"on_token", token_cb, false},
};

constexpr Method methods[] = {
    {2, "ring", "home", {}, {}, Kind::number, false, {}, "Rings. Nothing uses it."},
    {3, "is_ringing", "home", {}, {}, Kind::flag, false, {}, "Tells whether it rings."},
    {4, "find_lamp", "home", find_lamp_ins, find_lamp_outs, Kind::number, false, find_lamp_users,
     "Looks a lamp up."},
    {5, "list_lamps", "home", list_lamps_ins, list_lamps_outs, Kind::number, false, list_lamps_users,
     "Lists lamps of some tags."},
    {8, "watch_lamps", "home", watch_lamps_ins, watch_lamps_outs, Kind::number, false, {},
     "Stands behind, but has the smaller number."},
    {9, "exchange_secrets", "account", exchange_secrets_ins, exchange_secrets_outs, Kind::number, true,
     exchange_secrets_users, "Takes one secret and gives another."},
    {10, "ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere", "account",
     ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere_ins, {}, Kind::number,
     true, {}, "Asks for a token. Secret through its delegate."},
};

}  // namespace

constinit const Interface small = {"small", records, arrays, delegates, methods};

}  // namespace quorvel::catalogue
