#pragma once

#include <rpc-port.h>

#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "stub/client.hpp"
#include "stub/wire.hpp"

/// The agent's end of the port: takes requests, lets the service serve them, sends the answers.
namespace quorvel::stub {

/// What every generated Service is: something that is asked, and told of clients.
class BasicService {
public:
    virtual ~BasicService() = default;

    virtual void on_client_connected(Client& client);
    /// The client is not alive any more; its delegates are gone with it.
    virtual void on_client_disconnected(Client& client);

protected:
    /// What a method that nobody overrides does: says so, and answers NOT_SUPPORTED.
    static int unserved(const char* method);
};

/// A request as an interceptor sees it. `texts` are the texts among its parameters, in their order.
struct Request {
    Client& client;
    int id;
    const char* name;
    std::span<const std::string_view> texts;
};

/// What becomes of a request. As it is made, all is well.
class Plan : public AnswerPlan {
public:
    explicit Plan(Client& client) noexcept : client_{client} {}
    Plan(const Plan&) = delete;
    Plan& operator=(const Plan&) = delete;

    bool serve = true;              ///< false: the service is not asked, and `result` is answered
    int result = operation_failed;  ///< with empty values before it
    bool drop_client = false;       ///< instead of any answer

    /// Holds the answer back, and those to later requests of this client behind it.
    Later hold();

private:
    friend class Call;
    friend class Client;

    Client& client_;
    std::uint64_t ticket_ = 0;
};

/// A callback before it is sent.
struct CallbackPlan {
    int command = 1;
    int id;
    int seq_id;
    bool once;
    int copies = 1;  ///< 0: it is never sent
    bool on_main_port = false;
    Damage damage;
};

/// Looks at every request and every callback, so that faults can be made by name.
class Interceptor {
public:
    virtual ~Interceptor() = default;
    /// When the parameters were read. Not asked for a request that is malformed.
    virtual void before(const Request& request, Plan& plan);
    /// When the service gave its result. Not asked when it gives it later.
    virtual void after(const Request& request, int& result);
    /// When a callback is about to be sent.
    virtual void firing(const Request& callback, CallbackPlan& plan);
};

/// One request while it is served. The generated routines read, serve and answer through it.
class Call {
public:
    Call(Client& client, Interceptor* interceptor, int id, const char* name,
         rpc_port_parcel_h parcel) noexcept;
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    Client& client() noexcept { return client_; }
    Reader& in() noexcept { return in_; }

    template <typename Kind>
    Delegate<Kind> delegate()
    {
        const int id = in_.number();
        Delegate<Kind> taken{in_.number(), in_.flag(), client_.weak_from_this()};
        if (id != Kind::id)
            in_.reject();
        return taken;
    }

    /// Whether all parameters were there; then nothing is read any more.
    bool complete();

    /// Asks the service, unless the plan is another, and sends its result behind what comes out.
    template <typename Ask, typename... Values>
    void answer(const Ask& ask, const Values&... values)
    {
        using Result = decltype(ask());
        int result = plan_.result;
        if (plan_.serve)
            result = guarded(ask);
        send(static_cast<Result>(intercepted(result)), values...);
    }

    /// Whether the client may stay.
    bool is_well() const noexcept { return is_well_; }

private:
    friend class Client;

    template <typename Result, typename... Values>
    void send(Result result, const Values&... values)
    {
        if (!is_answered_now())
            return;
        rpc_port_parcel_h parcel = begin();
        if (parcel == nullptr)
            return;
        Writer out{parcel, plan_.damage};
        out.number(plan_.command);
        (write(out, values), ...);
        write(out, result);
        finish(parcel, out.finish());
    }

    /// No exception of a service may reach the port.
    template <typename Ask>
    int guarded(const Ask& ask)
    {
        try {
            return ask();
        } catch (...) {
            return failed();
        }
    }
    int failed() const noexcept;
    int intercepted(int result);
    bool is_answered_now() noexcept;
    rpc_port_parcel_h begin() noexcept;
    void finish(rpc_port_parcel_h parcel, bool good);
    Request request() noexcept { return {client_, id_, name_, in_.texts()}; }

    Client& client_;
    Interceptor* interceptor_;
    int id_;
    const char* name_;
    Reader in_;
    Plan plan_;
    bool is_well_ = true;
    bool is_postponed_ = false;
};

/// A row of the table that the generator makes: reads the parameters, asks the service, answers.
struct MethodEntry {
    const char* name;
    void (*serve)(BasicService& service, Call& call);
};

/// Listens on a port of that name, for any number of clients.
///
/// Everything happens on the thread that iterates the main loop. A request that does not hold what its method
/// needs is not answered: its client is dropped, with one line in the log. An answer takes no memory of its
/// own.
class BasicServer {
public:
    /// `methods` is indexed by id - first_id; a row without a name is a number that is not used.
    BasicServer(BasicService& service, std::span<const MethodEntry> methods, int first_id,
                std::string port_name);
    ~BasicServer();
    BasicServer(const BasicServer&) = delete;
    BasicServer& operator=(const BasicServer&) = delete;

    /// 0, or the port's error.
    int listen();

    /// The interceptor outlives the server, or is taken away with nullptr.
    void intercept(Interceptor* interceptor) noexcept { interceptor_ = interceptor; }

    std::size_t client_count() const noexcept { return clients_.size(); }
    void for_each_client(const std::function<void(Client&)>& visit);

private:
    friend class Callback;
    friend class Client;

    void connected(const char* sender, const char* instance);
    void disconnected(const char* instance);
    bool received(const char* instance, rpc_port_h port);
    bool serve(Client& client, rpc_port_parcel_h parcel);

    BasicService& service_;
    std::span<const MethodEntry> methods_;
    int first_id_;
    std::string port_name_;
    rpc_port_stub_h stub_ = nullptr;
    int state_ = RPC_PORT_ERROR_NONE;
    Interceptor* interceptor_ = nullptr;
    std::map<std::string, std::shared_ptr<Client>, std::less<>> clients_;
};

}  // namespace quorvel::stub
