#include <quorvel_core_rule.h>

#include "internal/bundle_records.hpp"
#include "internal/core_call.hpp"

using namespace quorvel;

namespace {

constexpr TextProperty texts[] = {
    {QUORVEL_CORE_RULE_PROP_RULE_ID, "ruleId"},
    {QUORVEL_CORE_RULE_PROP_RULE_JSON, "ruleJson"},
};

constexpr RecordFamily<rpc_port_core_rule_s_h> rules{RECORD(core_rule_s), texts};

}  // namespace

int quorvel_core_get_rule(quorvel_client_h handle, const char* location_id, const char* rule_id,
                          quorvel_core_rule_h* rule)
{
    return ask(ApiCall{handle}.agent(2, 4).missing_proxy(QUORVEL_CLIENT_ERROR_OPERATION_FAILED),
               METHOD(core_get_rule), record_out<rpc_port_core_rule_s_h>(rule), location_id, rule_id);
}

int quorvel_core_get_rule_list(quorvel_client_h handle, const char* location_id, quorvel_core_rule_h** list,
                               int* count)
{
    return ask(ApiCall{handle}.agent(2, 4).missing_proxy(QUORVEL_CLIENT_ERROR_OPERATION_FAILED),
               METHOD(core_get_rule_list), list_out<rpc_port_array_core_rule_s_h>(list, count), location_id);
}

int quorvel_core_create_rule(quorvel_client_h handle, const char* location_id, const char* rule_json,
                             char** result_str)
{
    return ask(command(ApiCall{handle}, result_str), METHOD(core_create_rule), result_out(result_str),
               location_id, rule_json);
}

// Only the location is checked, and a failure is reported under the name of another method: both meant so.
int quorvel_core_update_rule(quorvel_client_h handle, const char* location_id, const char* rule_id,
                             const char* rule_json, char** result_str)
{
    return ask(command(ApiCall{handle}, result_str),
               METHOD(core_update_rule).reported_as(METHOD_NAME(core_create_rule)), result_out(result_str),
               location_id, Unchecked{rule_id}, Unchecked{rule_json});
}

int quorvel_core_delete_rule(quorvel_client_h handle, const char* location_id, const char* rule_id,
                             char** result_str)
{
    return ask(command(ApiCall{handle}, result_str), METHOD(core_delete_rule), result_out(result_str),
               location_id, rule_id);
}

// Reported under the name of another method, which is meant so.
int quorvel_core_execute_rule(quorvel_client_h handle, const char* location_id, const char* rule_id,
                              char** result_str)
{
    return ask(command(ApiCall{handle}, result_str),
               METHOD(core_execute_rule).reported_as(METHOD_NAME(core_delete_rule)), result_out(result_str),
               location_id, rule_id);
}

int quorvel_core_update_rule_status(quorvel_client_h handle, const char* location_id, const char* rule_id,
                                    bool enabled, char** result_str)
{
    return ask(command(ApiCall{handle}, result_str), METHOD(core_update_rule_status), result_out(result_str),
               location_id, rule_id, enabled);
}

int quorvel_core_rule_get_string(quorvel_core_rule_h rule, int property_id, char** value)
{
    return get_text(rules, rule, property_id, value);
}

int quorvel_core_rule_destroy(quorvel_core_rule_h rule)
{
    return destroy(rules, rule);
}
