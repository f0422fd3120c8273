#include <quorvel_core_room.h>

#include "internal/bundle_records.hpp"
#include "internal/core_call.hpp"

using namespace quorvel;

namespace {

constexpr TextProperty texts[] = {
    {QUORVEL_CORE_ROOM_PROP_ROOM_ID, "roomId"},
    {QUORVEL_CORE_ROOM_PROP_NAME, "name"},
    {QUORVEL_CORE_ROOM_PROP_LOCATION_ID, "locationId"},
};

constexpr RecordFamily<rpc_port_room_s_h> rooms{RECORD(room_s), texts};

}  // namespace

int quorvel_core_get_room(quorvel_client_h handle, const char* location_id, const char* room_id,
                          quorvel_core_room_h* room)
{
    return ask(ApiCall{handle}.agent(2, 4), METHOD(core_get_room), record_out<rpc_port_room_s_h>(room),
               location_id, room_id);
}

int quorvel_core_get_room_list(quorvel_client_h handle, const char* location_id, quorvel_core_room_h** list,
                               int* count)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_room_list),
               list_out<rpc_port_array_room_s_h>(list, count), location_id);
}

// A missing proxy is a failed operation here, unlike in the two questions above, which is meant so.
int quorvel_core_get_room_json(quorvel_client_h handle, const char* location_id, const char* room_id,
                               char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3).missing_proxy(QUORVEL_CLIENT_ERROR_OPERATION_FAILED),
               METHOD(core_get_room_json), text_out(json_str), location_id, room_id);
}

// Here alone a missing location is told in the general words, which is meant so.
int quorvel_core_create_room(quorvel_client_h handle, const char* location_id, const char* name,
                             char** result_str)
{
    return command(ApiCall{handle}, result_str)
        .require(is_set(location_id))
        .require(is_set(name), "invalid name")
        .invoke(METHOD(core_create_room), location_id, RecordIn(rooms.kind, {{"name", name}}),
                result_out(result_str))
        .result();
}

int quorvel_core_change_room_name(quorvel_client_h handle, const char* location_id, const char* room_id,
                                  const char* name, char** result_str)
{
    return command(ApiCall{handle}, result_str)
        .require(is_set(location_id), "invalid location id")
        .require(is_set(room_id), "invalid room id")
        .require(is_set(name), "invalid name")
        // Reported under the name of another method, which is meant so.
        .invoke(METHOD(core_update_room).reported_as(METHOD_NAME(core_create_room)), location_id, room_id,
                RecordIn(rooms.kind, {{"name", name}}), result_out(result_str))
        .result();
}

int quorvel_core_delete_room(quorvel_client_h handle, const char* location_id, const char* room_id,
                             char** result_str)
{
    return command(ApiCall{handle}, result_str)
        .require(is_set(location_id), "invalid location id")
        .require(is_set(room_id), "invalid room id")
        .invoke(METHOD(core_delete_room), location_id, room_id, result_out(result_str))
        .result();
}

int quorvel_core_room_get_string(quorvel_core_room_h room, int property_id, char** value)
{
    return get_text(rooms, room, property_id, value);
}

int quorvel_core_room_destroy(quorvel_core_room_h room)
{
    return destroy(rooms, room);
}
