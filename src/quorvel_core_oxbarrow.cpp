#include <quorvel_core_oxbarrow.h>

#include "internal/core_call.hpp"

using namespace quorvel;

namespace {

/// An empty text is one line too, and one that begins with a line feed is none: a test of this family's own,
/// which is meant so.
bool begins_a_line(const char* text)
{
    return text != nullptr && text[0] != '\n';
}

}  // namespace

int quorvel_core_oxbarrow_initialize(quorvel_client_h handle, const char* app_id, const char* location_id,
                                     const char* locale, const char* options, char** result)
{
    return ask(ApiCall{handle}.agent(2, 4).require(begins_a_line(app_id) && begins_a_line(location_id)),
               METHOD(core_initialize_installation), text_out(result), Unchecked{app_id},
               Unchecked{location_id}, Unchecked{locale}, Unchecked{options});
}

int quorvel_core_oxbarrow_cancel_installation(quorvel_client_h handle, const char* app_id,
                                              const char* installed_app_id, const char* location_id)
{
    return tell(ApiCall{handle}.agent(2, 4).require(begins_a_line(app_id)), METHOD(core_cancel_installation),
                Unchecked{app_id}, Unchecked{installed_app_id}, Unchecked{location_id});
}

// Here the proxy is looked at before the arguments, which is meant so.
int quorvel_core_oxbarrow_complete_installation(quorvel_client_h handle, const char* app_id,
                                                const char* installed_app_id, const char* location_id,
                                                const char* configuration_id, const char* request_json,
                                                char** result)
{
    return ask(ApiCall{handle}
                   .agent(2, 4)
                   .proxied()
                   .require(is_set(app_id), "invalid app_id")
                   .require(is_set(installed_app_id), "invalid installed_app_id")
                   .require(is_set(location_id), "invalid location_id")
                   .require(is_set(configuration_id), "invalid configuration_id"),
               METHOD(core_start_completing_app_installation), text_out(result), app_id, installed_app_id,
               location_id, configuration_id, request_json);
}
