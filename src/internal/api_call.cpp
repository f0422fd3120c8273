#include "internal/api_call.hpp"

#include "internal/named.hpp"

namespace quorvel {

ApiCall::ApiCall(quorvel_client_h handle, CallSite at) : ApiCall{handle, Entry::logged, at} {}

ApiCall::ApiCall(quorvel_client_h handle, Entry entry, CallSite at)
    : CallSteps{at}, entry_{entry}, handle_{handle}
{
    if (entry_ == Entry::logged)
        enter();
}

ApiCall& ApiCall::agent(int major, int minor)
{
    if (ok())
        check(check_api_precondition(handle_, major, minor, 0));
    return *this;
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
    if (ok() && entry_ == Entry::logged)
        log_api(DLOG_INFO, at(), QC_TEXT("EXIT"));
    return code();
}

void ApiCall::report(int answer, const char* method_name, bool is_mapped)
{
    answer_ = answer;
    if (answer == 0)
        return;
    const int code = is_mapped ? quorvel_client_get_error_code(answer) : answer;
    fail(code, QC_TEXT("%s is failed [%d]"), method_name, code);
}

LocalCall::LocalCall(Entry entry, CallSite at) : CallSteps{at}
{
    if (entry == Entry::logged)
        enter();
}

LocalCall& LocalCall::agent(int major, int minor)
{
    if (ok())
        check(check_agent(major, minor, false));
    return *this;
}

}  // namespace quorvel
