// Rules: quorvel_core_rule.cpp over the scripted platform.
#include <quorvel_core_rule.h>

#include "connected_client.hpp"
#include "core_properties.hpp"
#include "core_question.hpp"

namespace scripted {
namespace {

constexpr auto source = "quorvel_core_rule";

[[maybe_unused]] const bool properties = register_properties(
    PropertyFamily(source, makes(rpc_port_core_rule_s_create, rpc_port_core_rule_s_set_bundle_data))
        .read_by("quorvel_core_rule_get_string", quorvel_core_rule_get_string)
        .released_by("quorvel_core_rule_destroy", quorvel_core_rule_destroy)
        .holding({{0, "ruleId"}, {1, "ruleJson"}}));

Question command(std::string function, int method, std::string method_name)
{
    return Question(std::move(function), {2, 4}, method, std::move(method_name))
        .without_proxy(operation_failed)
        .with_errors()
        .clearing_out_first()
        .missing_out("invalid result_str");
}

[[maybe_unused]] const bool questions = register_questions(
    source,
    {
        Question("quorvel_core_get_rule", {2, 4}, 151, "core_get_rule")
            .given({required("home"), required("rule")})
            .without_proxy(operation_failed)
            .answers_record(rpc_port_core_rule_s_destroy, rpc_port_core_rule_s_get_bundle_data,
                            [](auto client, Texts t, void** rule) {
                                return quorvel_core_get_rule(client, t[0], t[1], rule);
                            }),
        Question("quorvel_core_get_rule_list", {2, 4}, 152, "core_get_rule_list")
            .given({required("home")})
            .without_proxy(operation_failed)
            .answers_list(rpc_port_core_rule_s_destroy, rpc_port_core_rule_s_get_bundle_data,
                          [](auto client, Texts t, void*** list, int* count) {
                              return quorvel_core_get_rule_list(client, t[0], list, count);
                          }),
        command("quorvel_core_create_rule", 113, "core_create_rule")
            .given({required("home"), required("{}")})
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_create_rule(client, t[0], t[1], result);
            }),
        // The rule and its text are not checked; reported under the name of another method: both meant so.
        command("quorvel_core_update_rule", 114, "core_create_rule")
            .given({required("home"), unchecked("rule"), unchecked("{}")})
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_update_rule(client, t[0], t[1], t[2], result);
            }),
        command("quorvel_core_delete_rule", 115, "core_delete_rule")
            .given({required("home"), required("rule")})
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_delete_rule(client, t[0], t[1], result);
            }),
        // Reported under the name of another method, which is meant so.
        command("quorvel_core_execute_rule", 168, "core_delete_rule")
            .given({required("home"), required("rule")})
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_execute_rule(client, t[0], t[1], result);
            }),
        command("quorvel_core_update_rule_status", 169, "core_update_rule_status")
            .given({required("home"), required("rule")})
            .sends([](Texts t) {
                return Sent{i32(169), text(t[0]), text(t[1]), flag(true)};
            })
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_update_rule_status(client, t[0], t[1], true, result);
            }),
    });

class Rule : public ConnectedClient {};

TEST_F(Rule, IsSwitchedOffWithAFalseFlag)
{
    agent().answer_next_with(0, {text("")});
    OwnedText result;
    EXPECT_EQ(quorvel_core_update_rule_status(client, "home", "rule", false, result), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(169), text("home"), text("rule"), flag(false)}));
}

TEST_F(Rule, UpdateReachesTheAgentWithoutARuleAndWithoutItsText)
{
    agent().answer_next_with(0, {text("ok")});
    OwnedText result;
    EXPECT_EQ(quorvel_core_update_rule(client, "home", "", "", result), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(114), text("home"), text(""), text("")}));
    EXPECT_STREQ(result.get(), "ok");
}

class WithoutAgent : public Scripted {};

TEST_F(WithoutAgent, RulesRefuseAMissingResultFirst)
{
    EXPECT_EQ(quorvel_core_create_rule(nullptr, nullptr, nullptr, nullptr), -22);
    EXPECT_THAT(errors(), Lines(qc_error(source, "quorvel_core_create_rule", "invalid result_str")));
}

}  // namespace
}  // namespace scripted
