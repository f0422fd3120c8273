#include "internal/api_call.hpp"

#include "internal/named.hpp"

namespace quorvel {

ApiCall::ApiCall(quorvel_client_h handle, CallSite at) : CallSteps{at}, handle_{handle}
{
    enter();
}

ApiCall& ApiCall::agent(int major, int minor)
{
    return ok() ? check(check_api_precondition(handle_, major, minor, 0)) : *this;
}

ApiCall& ApiCall::agent_told_once(int major, int minor)
{
    return then([=, this] { fail(check_api_precondition(handle_, major, minor, 0)); });
}

ApiCall& ApiCall::proxied(int missing_code)
{
    if (ok() && proxy_ == nullptr) {
        proxy_ = client().proxy();
        require(proxy_ != nullptr, "rpc_h is null", missing_code);
    }
    return *this;
}

ApiCall& ApiCall::clears(char** text, const char* message)
{
    require(text != nullptr, message);
    if (ok())
        *text = nullptr;
    return *this;
}

int ApiCall::result() const
{
    if (ok())
        log_api(DLOG_INFO, at(), QC_TEXT("EXIT"));
    return code();
}

void ApiCall::report(int answer, const char* method_name)
{
    answer_ = answer;
    if (answer == 0)
        return;
    const int mapped = quorvel_client_get_error_code(answer);
    fail(mapped, QC_TEXT("%s is failed [%d]"), method_name, mapped);
}

LocalCall::LocalCall(Entry entry, CallSite at) : CallSteps{at}
{
    if (entry == Entry::logged)
        enter();
}

LocalCall& LocalCall::agent(int major, int minor)
{
    return ok() ? check(check_agent(major, minor, false)) : *this;
}

}  // namespace quorvel
