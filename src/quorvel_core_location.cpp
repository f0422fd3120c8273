#include <quorvel_core_location.h>

#include "internal/bundle_records.hpp"
#include "internal/core_call.hpp"

using namespace quorvel;

namespace {

constexpr TextProperty texts[] = {
    {QUORVEL_CORE_LOCATION_PROP_LOCATION_ID, "locationId"},
    {QUORVEL_CORE_LOCATION_PROP_NAME, "name"},
    {QUORVEL_CORE_LOCATION_PROP_COUNTRY_CODE, "countryCode"},
    {QUORVEL_CORE_LOCATION_PROP_LATITUDE, "latitude"},
    {QUORVEL_CORE_LOCATION_PROP_LONGITUDE, "longitude"},
    {QUORVEL_CORE_LOCATION_PROP_REGION_RADIUS, "regionRadius"},
    {QUORVEL_CORE_LOCATION_PROP_TEMPERATURE_SCALE, "temperatureScale"},
    {QUORVEL_CORE_LOCATION_PROP_TIME_ZONE_ID, "timeZoneId"},
    {QUORVEL_CORE_LOCATION_PROP_LOCALE, "locale"},
    {QUORVEL_CORE_LOCATION_PROP_PARENT_TYPE, "parentType"},
    {QUORVEL_CORE_LOCATION_PROP_PARENT_ID, "parentId"},
};

constexpr RecordFamily<rpc_port_location_s_h> locations{RECORD(location_s), texts};

}  // namespace

int quorvel_core_get_location(quorvel_client_h handle, const char* location_id,
                              quorvel_core_location_h* location)
{
    return ask(ApiCall{handle}.agent(2, 4), METHOD(core_get_location),
               record_out<rpc_port_location_s_h>(location), location_id);
}

int quorvel_core_get_location_list(quorvel_client_h handle, quorvel_core_location_h** list, int* count)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_location_list),
               list_out<rpc_port_array_location_s_h>(list, count));
}

// The place for the answer is looked at before the agent, and a missing proxy is a failed operation, unlike
// in the two questions above: both meant so.
int quorvel_core_get_location_json(quorvel_client_h handle, const char* location_id, char** json_str)
{
    return ask(ApiCall{handle}
                   .require(json_str != nullptr, "invalid json_str")
                   .agent(2, 3)
                   .missing_proxy(QUORVEL_CLIENT_ERROR_OPERATION_FAILED),
               METHOD(core_get_location_json), text_out(json_str), location_id);
}

int quorvel_core_create_location(quorvel_client_h handle, const char* name, const char* country_code,
                                 const char* latitude, const char* longitude, const char* region_radius,
                                 const char* temperature_scale, const char* locale, const char* parent_type,
                                 const char* parent_id, char** result_str)
{
    return command(ApiCall{handle}, result_str)
        .require(is_set(name) && is_set(country_code))
        .invoke(METHOD(core_create_location),
                RecordIn(locations.kind, {{"name", name},
                                          {"countryCode", country_code},
                                          {"latitude", latitude},
                                          {"longitude", longitude},
                                          {"regionRadius", region_radius, "region_radius"},
                                          {"temperatureScale", temperature_scale, "temperature_scale"},
                                          {"locale", locale},
                                          // One word for the parent's type and id, which is meant so.
                                          {"parentType", parent_type, "parent_type"},
                                          {"parentId", parent_id, "parent_type"}}),
                result_out(result_str))
        .result();
}

int quorvel_core_update_location(quorvel_client_h handle, const char* location_id, const char* name,
                                 const char* latitude, const char* longitude, const char* region_radius,
                                 const char* temperature_scale, const char* locale, char** result_str)
{
    return command(ApiCall{handle}, result_str)
        .require(is_set(location_id), "invalid location id")
        .require(is_set(name))
        .invoke(METHOD(core_update_location), location_id,
                RecordIn(locations.kind, {{"name", name},
                                          {"latitude", latitude},
                                          {"longitude", longitude},
                                          {"regionRadius", region_radius, "region_radius"},
                                          {"temperatureScale", temperature_scale, "temperature_scale"},
                                          {"locale", locale}}),
                result_out(result_str))
        .result();
}

int quorvel_core_delete_location(quorvel_client_h handle, const char* location_id, char** result_str)
{
    return ask(command(ApiCall{handle}, result_str).require(is_set(location_id), "invalid location id"),
               METHOD(core_delete_location), result_out(result_str), location_id);
}

int quorvel_core_location_get_string(quorvel_core_location_h location, int property_id, char** value)
{
    return get_text(locations, location, property_id, value);
}

int quorvel_core_location_destroy(quorvel_core_location_h location)
{
    return destroy(locations, location);
}
