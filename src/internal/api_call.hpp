#pragma once

#include <quorvel_client_types.h>

#include <type_traits>
#include <utility>

#include "internal/call_guard.hpp"
#include "internal/call_site.hpp"
#include "internal/client.hpp"
#include "internal/log.hpp"
#include "internal/version.hpp"

namespace quorvel {

/// A string that is there and not empty.
inline bool is_set(const char* text)
{
    return text != nullptr && text[0] != '\0';
}

/// A method of the agent: its invocation routine, and the name that a failure is reported under.
template <typename Routine>
struct Method {
    Routine* routine;
    const char* name;
    bool is_mapped = true;

    /// Some functions report a failure under another name than that of the method that they invoke; it is
    /// kept so.
    constexpr Method reported_as(const char* other_name) const { return {routine, other_name, is_mapped}; }
    /// Two functions return the agent's code as it came; it is kept so.
    constexpr Method unmapped() const { return {routine, name, false}; }
};

template <typename Routine>
Method(Routine*, const char*) -> Method<Routine>;

#define METHOD_ROUTINE(name) rpc_port_proxy_qv_client_invoke_##name
#define METHOD_NAME(name) "rpc_port_proxy_qv_client_invoke_" #name
#define METHOD(name) (::quorvel::Method{METHOD_ROUTINE(name), METHOD_NAME(name)})

/// The steps of a public function, whatever it works on. A step that fails logs its message in the public
/// function's name and leaves its code; the steps behind it do nothing.
template <typename Self>
class CallSteps {
public:
    /// Whether the log tells of the function's begin and end.
    enum class Entry { logged, silent };

    CallSteps(const CallSteps&) = delete;
    CallSteps& operator=(const CallSteps&) = delete;

    /// Fails the call with a message and a code, unless the condition holds.
    Self& require(bool condition, const char* message = "invalid parameter",
                  int code = QUORVEL_CLIENT_ERROR_INVALID_PARAMETER)
    {
        if (ok() && !condition)
            fail(code, QC_TEXT("%s"), message);
        return self();
    }

    /// Something of the function's own, done only if nothing has failed.
    template <typename Step>
    Self& then(Step step)
    {
        if (ok()) {
            if constexpr (std::is_invocable_v<Step, Self&>)
                step(self());
            else
                step();
        }
        return self();
    }

    bool ok() const { return code_ == QUORVEL_CLIENT_ERROR_NONE; }
    void fail(int code) { code_ = code; }
    /// Fails with a line that shows its values. The format is one of QC_TEXT's.
    template <typename... Values>
    void fail(int code, const char* format, Values... values)
    {
        log_api(DLOG_ERROR, at_, format, values...);
        code_ = code;
    }

    const CallSite& at() const { return at_; }

protected:
    explicit CallSteps(const CallSite& at) : at_{at} {}
    ~CallSteps() = default;

    void enter() const { log_api(DLOG_INFO, at_, QC_TEXT("ENTER v[%s]"), library_version); }
    /// Takes over the code of a check that has logged its own line already.
    Self& check(int code)
    {
        if (ok() && code != QUORVEL_CLIENT_ERROR_NONE)
            fail(code, QC_TEXT("Fail to check condition[%d]"), code);
        return self();
    }
    int code() const { return code_; }

private:
    Self& self() { return static_cast<Self&>(*this); }

    CallSite at_;
    int code_ = QUORVEL_CLIENT_ERROR_NONE;
};

/// One call of a public function with a handle: its steps, in the order in which the function names them.
///
///     return ApiCall{handle}
///         .agent(1, 0)
///         .require(is_set(vid), "vid is invalid")
///         .require(ui_metadata != nullptr)
///         .invoke(METHOD(get_ui_metadata), vid, text_out(ui_metadata))
///         .result();
///
/// What `invoke` is given are the method's parameters. Most are plain values. One that has more to do is a
/// class (see parameters.hpp) with
///   bool prepare(ApiCall&)            before the method is invoked: make it, or fail the call
///   auto argument()                   what is passed to the routine
///   void settle(ApiCall&, bool ok)    after the answer: hand it out, or clean up
/// all but `argument` optional.
class ApiCall : public CallSteps<ApiCall> {
public:
    explicit ApiCall(quorvel_client_h handle, CallSite at = CallSite::here());
    ApiCall(quorvel_client_h handle, Entry entry, CallSite at = CallSite::here());

    /// The agent is there, at least of this version, and connected.
    ApiCall& agent(int major, int minor);
    /// The same in the functions that leave it at the line of the check itself.
    ApiCall& agent_told_once(int major, int minor);
    /// The handle has a proxy. `invoke` looks too, if no step before it did.
    ApiCall& proxied() { return proxied(missing_proxy_code_); }
    ApiCall& proxied(int missing_code);
    /// The code for a handle without a proxy, whenever that is looked at.
    ApiCall& missing_proxy(int code)
    {
        missing_proxy_code_ = code;
        return *this;
    }
    /// The out-value of a text, in the functions that look at it before anything else and clear it.
    ApiCall& clears(char** text, const char* message = "invalid result_str");

    template <typename Routine, typename... Parameters>
    ApiCall& invoke(const Method<Routine>& method, Parameters&&... parameters)
    {
        proxied();
        // Prepared in their order; after the first that fails the rest is not even begun.
        if (ok() && (... && prepare(parameters)))
            report(method.routine(proxy_, argument_of(parameters)...), method.name, method.is_mapped);
        (..., settle(parameters));
        return *this;
    }

    Client& client() const { return client_of(handle_); }
    rpc_port_proxy_qv_client_h proxy() const { return proxy_; }
    /// The method's answer as it came, before it was mapped.
    int answer() const { return answer_; }

    /// The function's code. A call that went well says so in the log.
    int result() const;

private:
    template <typename Parameter>
    bool prepare(Parameter& parameter)
    {
        if constexpr (requires { parameter.prepare(*this); })
            return parameter.prepare(*this);
        return true;
    }

    template <typename Parameter>
    static auto argument_of(Parameter& parameter)
    {
        if constexpr (requires { parameter.argument(); })
            return parameter.argument();
        else
            return parameter;
    }

    template <typename Parameter>
    void settle(Parameter& parameter)
    {
        if constexpr (requires { parameter.settle(*this, true); })
            parameter.settle(*this, ok());
    }

    void report(int answer, const char* method_name, bool is_mapped);

    const CallGuard guard_;
    const Entry entry_;
    quorvel_client_h handle_;
    rpc_port_proxy_qv_client_h proxy_ = nullptr;
    int missing_proxy_code_ = QUORVEL_CLIENT_ERROR_INVALID_PARAMETER;
    int answer_ = 0;
};

/// A call of a function without a handle: an accessor of an object that the application holds.
class LocalCall : public CallSteps<LocalCall> {
public:
    explicit LocalCall(Entry entry = Entry::logged, CallSite at = CallSite::here());

    /// The agent is there and at least of this version.
    LocalCall& agent(int major, int minor);
    int result() const { return code(); }
};

}  // namespace quorvel
