// Installed apps: quorvel_core_installed_app.cpp over the scripted platform.
#include <quorvel_core_installed_app.h>

#include "core_properties.hpp"
#include "core_question.hpp"

namespace scripted {
namespace {

constexpr auto source = "quorvel_core_installed_app";

[[maybe_unused]] const bool properties = register_properties(
    PropertyFamily(source, makes(rpc_port_installed_app_s_create, rpc_port_installed_app_s_set_bundle_data))
        .read_by("quorvel_core_installed_app_get_string", quorvel_core_installed_app_get_string)
        .released_by("quorvel_core_installed_app_destroy", quorvel_core_installed_app_destroy)
        .holding({{0, "installedAppId"},
                  {1, "type"},
                  {2, "status"},
                  {3, "displayName"},
                  {4, "appId"},
                  {5, "referenceId"},
                  {6, "locationId"},
                  {7, "ownerType"},
                  {8, "ownerId"},
                  {9, "notices"},
                  {10, "createdDate"},
                  {11, "lastUpdatedDate"}}));

[[maybe_unused]] const bool questions = register_questions(
    source,
    {
        Question("quorvel_core_get_installed_app_list", {2, 3}, 120, "get_installed_app_list")
            .answers_list(rpc_port_installed_app_s_destroy, rpc_port_installed_app_s_get_bundle_data,
                          [](auto client, Texts, void*** list, int* count) {
                              return quorvel_core_get_installed_app_list(client, list, count);
                          }),
        Question("quorvel_core_get_installed_app", {2, 3}, 121, "get_installed_app")
            .given({required("app")})
            .answers_record(rpc_port_installed_app_s_destroy, rpc_port_installed_app_s_get_bundle_data,
                            [](auto client, Texts t, void** app) {
                                return quorvel_core_get_installed_app(client, t[0], app);
                            }),
        Question("quorvel_core_get_installed_app_dashboard_json", {2, 3}, 109,
                 "core_get_installed_app_dashboard_json")
            .given({required("app")})
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_installed_app_dashboard_json(client, t[0], json);
            }),
        Question("quorvel_core_execute_installed_app", {2, 3}, 110, "core_execute_installed_app")
            .given({required("app"), required("{}")})
            .with_errors()
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_execute_installed_app(client, t[0], t[1], result);
            }),
    });

}  // namespace
}  // namespace scripted
