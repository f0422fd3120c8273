// The installation of apps: quorvel_core_oxbarrow.cpp over the scripted platform.
#include <quorvel_core_oxbarrow.h>

#include "connected_client.hpp"
#include "core_question.hpp"

namespace scripted {
namespace {

constexpr auto source = "quorvel_core_oxbarrow";
constexpr int invalid_parameter = -22;

// The family's own test: only what begins with a line feed is refused, which is meant so.
Argument beginning_a_line(const char* good)
{
    return {good, {nullptr, "\n", "\nmore"}, "invalid parameter"};
}

[[maybe_unused]] const bool questions = register_questions(
    source,
    {
        Question("quorvel_core_oxbarrow_initialize", {2, 4}, 141, "core_initialize_installation")
            .given({beginning_a_line("app"), beginning_a_line("home"), unchecked("de"), unchecked("{}")})
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_oxbarrow_initialize(client, t[0], t[1], t[2], t[3], result);
            }),
        Question("quorvel_core_oxbarrow_cancel_installation", {2, 4}, 142, "core_cancel_installation")
            .given({beginning_a_line("app"), unchecked("installed"), unchecked("home")})
            .answers_nothing([](auto client, Texts t) {
                return quorvel_core_oxbarrow_cancel_installation(client, t[0], t[1], t[2]);
            }),
        Question("quorvel_core_oxbarrow_complete_installation", {2, 4}, 143,
                 "core_start_completing_app_installation")
            .given({required("app", "invalid app_id"), required("installed", "invalid installed_app_id"),
                    required("home", "invalid location_id"),
                    required("configuration", "invalid configuration_id"), required("{}")})
            .looking_at_proxy_first()
            .answers_text([](auto client, Texts t, char** result) {
                return quorvel_core_oxbarrow_complete_installation(client, t[0], t[1], t[2], t[3], t[4],
                                                                   result);
            }),
    });

class Installation : public ConnectedClient {};

TEST_F(Installation, BeginsAndIsGivenUpWithEmptyTexts)
{
    agent().answer_next_with(0, {text("ok")});
    OwnedText result;
    EXPECT_EQ(quorvel_core_oxbarrow_initialize(client, "", "", "", "", result), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(141), text(""), text(""), text(""), text("")}));
    agent().answer_next_with(0);
    EXPECT_EQ(quorvel_core_oxbarrow_cancel_installation(client, "", nullptr, nullptr), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(142), text(""), text(""), text("")}));
}

TEST_F(Installation, TakesALineFeedThatIsNotTheFirstCharacter)
{
    agent().answer_next_with(0, {text("ok")});
    OwnedText result;
    EXPECT_EQ(quorvel_core_oxbarrow_initialize(client, " \n", "a\n", "\n", "\n", result), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(141), text(" \n"), text("a\n"), text("\n"), text("\n")}));
}

TEST_F(Installation, IsCompletedWithALineFeedAtTheBegin)
{
    agent().answer_next_with(0, {text("ok")});
    OwnedText result;
    EXPECT_EQ(quorvel_core_oxbarrow_complete_installation(client, "\n", "\n", "\n", "\n", "\n", result), 0);
    EXPECT_EQ(agent().request(),
              (Sent{i32(143), text("\n"), text("\n"), text("\n"), text("\n"), text("\n")}));
}

// The order is another than everywhere else, which is meant so.
TEST_F(Installation, CompletionLooksAtTheProxyBeforeItsArguments)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    EXPECT_EQ(quorvel_core_oxbarrow_complete_installation(client, "", "", "", "", "", nullptr),
              invalid_parameter);
    EXPECT_THAT(errors(),
                Lines(qc_error(source, "quorvel_core_oxbarrow_complete_installation", "rpc_h is null")));
    proxy = taken;
}

TEST_F(Installation, CompletionNamesItsTextsBeforeTheMissingResult)
{
    EXPECT_EQ(quorvel_core_oxbarrow_complete_installation(client, "a", "b", "c", "", "", nullptr),
              invalid_parameter);
    EXPECT_THAT(errors(), Lines(qc_error(source, "quorvel_core_oxbarrow_complete_installation",
                                         "invalid configuration_id")));
}

}  // namespace
}  // namespace scripted
