// Scenes of the core family: quorvel_core_scene.cpp over the scripted platform.
#include <quorvel_core_scene.h>

#include "connected_client.hpp"
#include "core_properties.hpp"
#include "core_question.hpp"

namespace scripted {
namespace {

constexpr auto source = "quorvel_core_scene";
constexpr auto invalid_json = "invalid scene json str";

[[maybe_unused]] const bool properties = register_properties(
    PropertyFamily(source, makes(rpc_port_core_scene_s_create, rpc_port_core_scene_s_set_bundle_data))
        .read_by("quorvel_core_scene_get_string", quorvel_core_scene_get_string)
        .released_by("quorvel_core_scene_destroy", quorvel_core_scene_destroy)
        .holding({{0, "sceneId"}, {1, "sceneJson"}}));

Question command(std::string function, int method, std::string method_name)
{
    return Question(std::move(function), {2, 4}, method, std::move(method_name))
        .without_proxy(operation_failed)
        .with_errors()
        .clearing_out_first()
        .missing_out("invalid result_str");
}

[[maybe_unused]] const bool questions = register_questions(
    source, {
                Question("quorvel_core_get_scene", {2, 4}, 156, "core_get_scene")
                    .given({required("home"), required("scene")})
                    .without_proxy(operation_failed)
                    .answers_record(rpc_port_core_scene_s_destroy, rpc_port_core_scene_s_get_bundle_data,
                                    [](auto client, Texts t, void** scene) {
                                        return quorvel_core_get_scene(client, t[0], t[1], scene);
                                    }),
                Question("quorvel_core_get_scene_list", {2, 4}, 157, "core_get_scene_list")
                    .given({required("home")})
                    .without_proxy(operation_failed)
                    .answers_list(rpc_port_core_scene_s_destroy, rpc_port_core_scene_s_get_bundle_data,
                                  [](auto client, Texts t, void*** list, int* count) {
                                      return quorvel_core_get_scene_list(client, t[0], list, count);
                                  }),
                command("quorvel_core_create_scene", 153, "core_create_scene")
                    .given({required("home", "invalid location id"), required("{}", invalid_json)})
                    .answers_text([](auto client, Texts t, char** result) {
                        return quorvel_core_create_scene(client, t[0], t[1], result);
                    }),
                // The scene's id is not checked; reported under the name of another method: both meant so.
                command("quorvel_core_update_scene", 154, "core_create_scene")
                    .given({required("home"), unchecked("scene"), required("{}", invalid_json)})
                    .answers_text([](auto client, Texts t, char** result) {
                        return quorvel_core_update_scene(client, t[0], t[1], t[2], result);
                    }),
                command("quorvel_core_delete_scene", 155, "core_delete_scene")
                    .given({required("home"), required("scene")})
                    .answers_text([](auto client, Texts t, char** result) {
                        return quorvel_core_delete_scene(client, t[0], t[1], result);
                    }),
                command("quorvel_core_execute_scene", 170, "core_execute_scene")
                    .given({required("home"), required("scene")})
                    .answers_text([](auto client, Texts t, char** result) {
                        return quorvel_core_execute_scene(client, t[0], t[1], result);
                    }),
                // Reported under the name of another method, which is meant so.
                command("quorvel_core_execute_adhoc_scene", 171, "core_create_scene")
                    .given({required("home"), required("{}", invalid_json)})
                    .answers_text([](auto client, Texts t, char** result) {
                        return quorvel_core_execute_adhoc_scene(client, t[0], t[1], result);
                    }),
            });

class WithoutAgent : public Scripted {};

TEST_F(WithoutAgent, ScenesRefuseAMissingResultFirst)
{
    EXPECT_EQ(quorvel_core_execute_scene(nullptr, nullptr, nullptr, nullptr), -22);
    EXPECT_THAT(errors(), Lines(qc_error(source, "quorvel_core_execute_scene", "invalid result_str")));
}

}  // namespace
}  // namespace scripted
