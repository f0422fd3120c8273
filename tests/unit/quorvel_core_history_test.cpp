// History: quorvel_core_history.cpp over the scripted platform.
#include <quorvel_core_history.h>

#include "core_question.hpp"

namespace scripted {
namespace {

[[maybe_unused]] const bool questions = register_questions(
    "quorvel_core_history",
    {
        Question("quorvel_core_get_activity_history", {2, 3}, 117, "core_get_activity_history")
            .given({required("home")})
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_activity_history(client, t[0], json);
            }),
        Question("quorvel_core_get_notification_history", {2, 3}, 118, "core_get_notification_history")
            .given({required("home")})
            .answers_text([](auto client, Texts t, char** json) {
                return quorvel_core_get_notification_history(client, t[0], json);
            }),
    });

}  // namespace
}  // namespace scripted
