#include <quorvel_client_app_launch.h>

#include "internal/parameters.hpp"
#include "internal/properties.hpp"

using namespace quorvel;

namespace {

using Condition = rpc_port_app_launch_condition_s_h;

struct Property {
    TextGetter<Condition> get;
    const char* get_name;
    int (*set)(Condition condition, const char* value);
    char* rpc_port_app_launch_condition_s_s::*text;

    bool operator==(const Property&) const = default;
};

#define PROPERTY(name)                                                                            \
    Property                                                                                      \
    {                                                                                             \
        rpc_port_app_launch_condition_s_get_##name, "rpc_port_app_launch_condition_s_get_" #name, \
            rpc_port_app_launch_condition_s_set_##name, &rpc_port_app_launch_condition_s_s::name  \
    }

/// By property id.
constexpr Property properties[] = {
    PROPERTY(app_id),        PROPERTY(device_id),      PROPERTY(res_uri),     PROPERTY(property_name),
    PROPERTY(property_type), PROPERTY(property_value), PROPERTY(bundle_json),
};

Property property_of(LocalCall& call, int id)
{
    return property_entry<Property>(call, properties, id, QC_TEXT("invalid property id [%d]"));
}

}  // namespace

int quorvel_client_add_app_launch_condition(quorvel_client_h handle,
                                            quorvel_client_app_launch_condition_h condition)
{
    return ApiCall{handle}
        .agent(1, 4)
        // Worded unlike those that follow, which is meant so.
        .require(condition != nullptr, "invalid condition_h")
        .invoke(METHOD(add_app_launch_condition), static_cast<Condition>(condition))
        .result();
}

int quorvel_client_remove_app_launch_condition(quorvel_client_h handle,
                                               quorvel_client_app_launch_condition_h condition)
{
    return ApiCall{handle}
        .agent(1, 4)
        .require(condition != nullptr, "invalid condition handle")
        .invoke(METHOD(remove_app_launch_condition), static_cast<Condition>(condition))
        .result();
}

int quorvel_client_is_app_launch_condition_added(quorvel_client_h handle,
                                                 quorvel_client_app_launch_condition_h condition, bool* added)
{
    return ApiCall{handle}
        .agent(1, 4)
        .require(condition != nullptr, "invalid condition handle")
        .require(added != nullptr)
        .invoke(METHOD(is_app_launch_condition_added), static_cast<Condition>(condition), value_out(added))
        .result();
}

int quorvel_client_get_all_app_launch_conditions(quorvel_client_h handle,
                                                 quorvel_client_app_launch_condition_h** list, int* count)
{
    return ApiCall{handle}
        .agent(1, 4)
        // The list is what is missing; the text says "condition" of it too, which is meant so.
        .require(list != nullptr, "invalid condition handle")
        .require(count != nullptr)
        .invoke(METHOD(get_all_app_launch_conditions),
                list_out<rpc_port_array_app_launch_condition_s_h>(list, count), Unused{})
        .result();
}

int quorvel_client_app_launch_condition_create(quorvel_client_app_launch_condition_h* condition)
{
    return LocalCall{}
        .agent(1, 4)
        .require(condition != nullptr)
        .then([=](LocalCall& call) {
            Condition made = nullptr;
            call.require(rpc_port_app_launch_condition_s_create(&made) == 0,
                         "rpc_port_app_launch_condition_s_create failed",
                         QUORVEL_CLIENT_ERROR_OPERATION_FAILED);
            if (call.ok())
                *condition = made;
        })
        .result();
}

int quorvel_client_app_launch_condition_set_string(quorvel_client_app_launch_condition_h condition,
                                                   int property_id, const char* value)
{
    return LocalCall{LocalCall::Entry::silent}
        .agent(1, 4)
        .require(condition != nullptr && is_set(value))
        .then([=](LocalCall& call) {
            // Copied before the id is looked at, so a lack of memory is told before a bad id, which is meant
            // so.
            char* const copy = strdup(value);
            if (copy == nullptr) {
                call.fail(QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
                return;
            }
            const Property property = property_of(call, property_id);
            if (property.set != nullptr && property.set(static_cast<Condition>(condition), copy) != 0)
                call.fail(QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
            std::free(copy);
        })
        .result();
}

int quorvel_client_app_launch_condition_get_string(quorvel_client_app_launch_condition_h condition,
                                                   int property_id, char** value)
{
    return LocalCall{LocalCall::Entry::silent}
        .agent(1, 4)
        .require(condition != nullptr && value != nullptr)
        .then([=](LocalCall& call) {
            const Property property = property_of(call, property_id);
            if (property.get == nullptr)
                return;
            const auto record = static_cast<Condition>(condition);
            char* copy = nullptr;
            // The getter fails on a property that was never set, too.
            if (property.get(record, &copy) != 0 && record->*property.text != nullptr)
                call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, QC_TEXT("%s failed"), property.get_name);
            else
                hand_out_unless_empty(copy, value);
        })
        .result();
}

int quorvel_client_app_launch_condition_destroy(quorvel_client_app_launch_condition_h condition)
{
    return LocalCall{}
        .agent(1, 4)
        .require(condition != nullptr, "quorvel_client condition is NULL")
        .then(released<Condition>(condition))
        .result();
}
