#pragma once

#include <type_traits>

#include "internal/api_call.hpp"
#include "internal/parameters.hpp"

/// The plain forms of the core family: most of its functions check that what they were given is there, ask
/// one method, and hand out what it answers.
namespace quorvel {

/// A text that the agent takes as it is, also none.
struct Unchecked {
    const char* text;

    const char* argument() const { return text; }
};

/// Whether an argument may go to the agent: a text that is not empty, an out-value with a place to go to.
template <typename Parameter>
bool is_acceptable(const Parameter& parameter)
{
    if constexpr (std::is_same_v<Parameter, const char*>)
        return is_set(parameter);
    else if constexpr (requires { parameter.is_given(); })
        return parameter.is_given();
    else
        return true;
}

/// Asks the agent a question: its parameters, then the place for the answer.
///
///     return ask(ApiCall{handle}.agent(2, 3), METHOD(core_get_hub_json), text_out(json), location, hub);
///
/// Checks that have words of their own stand in front, as steps of the call.
template <typename Routine, typename Answer, typename... Parameters>
int ask(ApiCall& call, const Method<Routine>& method, Answer&& answer, Parameters... parameters)
{
    call.require(is_acceptable(answer) && (... && is_acceptable(parameters)));
    if constexpr (requires { answer.is_counted; })
        call.invoke(method, parameters..., answer, Unused{});
    else
        call.invoke(method, parameters..., answer);
    return call.result();
}

/// Tells the agent something that it answers with a code only.
template <typename Routine, typename... Parameters>
int tell(ApiCall& call, const Method<Routine>& method, Parameters... parameters)
{
    return call.require((... && is_acceptable(parameters))).invoke(method, parameters...).result();
}

/// The first steps of the functions that change or run something: the result text is looked at and cleared
/// before the agent is, and a missing proxy is a failed operation.
inline ApiCall& command(ApiCall&& call, char** result_str, const char* missing = "invalid result_str")
{
    return call.clears(result_str, missing).agent(2, 4).missing_proxy(QUORVEL_CLIENT_ERROR_OPERATION_FAILED);
}

}  // namespace quorvel
