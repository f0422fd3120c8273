#include <quorvel_core_installed_app.h>

#include "internal/bundle_records.hpp"
#include "internal/core_call.hpp"

using namespace quorvel;

namespace {

constexpr TextProperty texts[] = {
    {QUORVEL_CORE_INSTALLED_APP_PROP_INSTALLED_APP_ID, "installedAppId"},
    {QUORVEL_CORE_INSTALLED_APP_PROP_TYPE, "type"},
    {QUORVEL_CORE_INSTALLED_APP_PROP_STATUS, "status"},
    {QUORVEL_CORE_INSTALLED_APP_PROP_DISPLAY_NAME, "displayName"},
    {QUORVEL_CORE_INSTALLED_APP_PROP_APP_ID, "appId"},
    {QUORVEL_CORE_INSTALLED_APP_PROP_REFERENCE_ID, "referenceId"},
    {QUORVEL_CORE_INSTALLED_APP_PROP_LOCATION_ID, "locationId"},
    {QUORVEL_CORE_INSTALLED_APP_PROP_OWNER_TYPE, "ownerType"},
    {QUORVEL_CORE_INSTALLED_APP_PROP_OWNER_ID, "ownerId"},
    {QUORVEL_CORE_INSTALLED_APP_PROP_NOTICES, "notices"},
    {QUORVEL_CORE_INSTALLED_APP_PROP_CREATED_DATE, "createdDate"},
    {QUORVEL_CORE_INSTALLED_APP_PROP_LAST_UPDATED_DATE, "lastUpdatedDate"},
};

constexpr RecordFamily<rpc_port_installed_app_s_h> installed_apps{RECORD(installed_app_s), texts};

}  // namespace

int quorvel_core_get_installed_app_list(quorvel_client_h handle, quorvel_core_installed_app_h** list,
                                        int* count)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(get_installed_app_list),
               list_out<rpc_port_array_installed_app_s_h>(list, count).opened_with_code());
}

int quorvel_core_get_installed_app(quorvel_client_h handle, const char* installed_app_id,
                                   quorvel_core_installed_app_h* installed_app)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(get_installed_app),
               record_out<rpc_port_installed_app_s_h>(installed_app), installed_app_id);
}

int quorvel_core_get_installed_app_dashboard_json(quorvel_client_h handle, const char* installed_app_id,
                                                  char** json_str)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_installed_app_dashboard_json), text_out(json_str),
               installed_app_id);
}

int quorvel_core_execute_installed_app(quorvel_client_h handle, const char* installed_app_id,
                                       const char* request_json, char** result)
{
    return ask(ApiCall{handle}.agent(2, 3), METHOD(core_execute_installed_app), result_out(result),
               installed_app_id, request_json);
}

int quorvel_core_installed_app_get_string(quorvel_core_installed_app_h installed_app, int property_id,
                                          char** value)
{
    return get_text(installed_apps, installed_app, property_id, value);
}

int quorvel_core_installed_app_destroy(quorvel_core_installed_app_h installed_app)
{
    return destroy(installed_apps, installed_app);
}
