#pragma once

#include <rpc-port.h>

#include <any>
#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "stub/wire.hpp"

/// One connected client: its answers in their order, and the callbacks that it asked for.
namespace quorvel::stub {

class BasicServer;
class Call;
class Client;
class Interceptor;

/// Answered for a method that the service does not serve.
inline constexpr int not_supported = -1073741822;
/// Answered for a method that could not be carried through.
inline constexpr int operation_failed = -1073741825;

/// Ends the holding back of one answer; at the latest when it is gone.
class Later {
public:
    Later() noexcept = default;
    Later(std::weak_ptr<Client> client, std::uint64_t ticket) noexcept
        : client_{std::move(client)}, ticket_{ticket}
    {
    }
    Later(Later&& other) noexcept = default;
    Later& operator=(Later&& other) noexcept
    {
        release();
        client_ = std::move(other.client_);
        ticket_ = other.ticket_;
        return *this;
    }
    ~Later() { release(); }

    void release() noexcept;

private:
    std::weak_ptr<Client> client_;
    std::uint64_t ticket_ = 0;
};

/// A callback that a client asked for, as a value to keep: it stays safe to use after the client is gone.
template <typename Kind>
struct Delegate {
    static constexpr int id = Kind::id;
    static constexpr const char* name = Kind::name;

    int seq_id = 0;
    bool once = false;
    std::weak_ptr<Client> client;

    /// Whether its client is still there.
    bool alive() const noexcept;

    friend bool operator==(const Delegate& left, const Delegate& right) noexcept
    {
        return left.seq_id == right.seq_id && !left.client.owner_before(right.client)
               && !right.client.owner_before(left.client);
    }
};

/// How an answer goes out. As it is made, all is well.
struct AnswerPlan {
    int command = 0;  ///< what opens the answer; any other number is no result
    int copies = 1;   ///< 0: it is never sent; 2: it is sent twice
    bool on_callback_port = false;
    Damage damage;
};

/// A client, from its connecting to its going. Like everything here it lives on the thread of the main loop.
class Client : public std::enable_shared_from_this<Client> {
public:
    Client(BasicServer& server, std::string sender, std::string instance);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    const std::string& sender() const noexcept { return sender_; }
    const std::string& instance() const noexcept { return instance_; }
    bool alive() const noexcept { return alive_; }

    /// Sends nothing more to this client, and closes its connection. A platform that cannot close one from
    /// this end lets go of it at the end of the request that is being served, or of its next one.
    void drop() noexcept;
    /// Turns away a client that is just connecting.
    void reject() noexcept;

    /// Whatever the service keeps for this client.
    std::any data;

    /// Lets the request that is being served be answered later. Requests behind it are served meanwhile;
    /// their answers wait, since a client takes answers in the order of its requests.
    template <typename Method>
    typename Method::Postponed postpone()
    {
        return typename Method::Postponed{weak_from_this(), postpone(Method::id)};
    }

private:
    friend class BasicServer;
    friend class Call;
    friend class Callback;
    friend class Later;
    friend class LateAnswer;
    friend class Plan;

    /// An answer that may not go yet.
    struct Waiting {
        std::uint64_t ticket;
        AnswerPlan plan;
        rpc_port_parcel_h parcel = nullptr;
        bool is_filled = false;
        bool is_held = false;
    };

    std::uint64_t postpone(int method);
    std::uint64_t wait();
    Waiting* waiting(std::uint64_t ticket) noexcept;
    void release(std::uint64_t ticket) noexcept;
    /// Takes the parcel over and sends it when its turn has come: at once, unless an answer before it waits.
    void answer(std::uint64_t ticket, rpc_port_parcel_h parcel, const AnswerPlan& plan);
    void send_waiting() noexcept;
    bool send(rpc_port_parcel_h parcel, int copies, bool on_callback_port, const Damage& damage) noexcept;
    rpc_port_h callback_port() noexcept;
    rpc_port_h port_of(rpc_port_port_type_e type) const noexcept;
    void end() noexcept;

    BasicServer* server_;
    std::string sender_;
    std::string instance_;
    bool alive_ = true;
    rpc_port_h main_port_ = nullptr;
    rpc_port_h callback_port_ = nullptr;
    Call* current_ = nullptr;
    std::uint64_t last_ticket_ = 0;
    std::deque<Waiting> waiting_;
};

template <typename Kind>
bool Delegate<Kind>::alive() const noexcept
{
    const auto held = client.lock();
    return held != nullptr && held->alive();
}

/// The parcel of one answer that comes after its request was left.
class LateAnswer {
public:
    LateAnswer() noexcept = default;
    LateAnswer(std::weak_ptr<Client> client, std::uint64_t ticket) noexcept;
    LateAnswer(LateAnswer&& other) noexcept;
    LateAnswer& operator=(LateAnswer&&) = delete;
    ~LateAnswer();

    explicit operator bool() const noexcept { return ticket_ != 0; }

protected:
    template <typename Result, typename... Values>
    bool send(Result result, const Values&... values)
    {
        const Owed owed = take();
        if (owed.client == nullptr)
            return false;
        rpc_port_parcel_h parcel = begin();
        Writer out{parcel, owed.plan.damage};
        out.number(owed.plan.command);
        (write(out, values), ...);
        write(out, result);
        return finish(owed, parcel, out.finish());
    }

private:
    struct Owed {
        std::shared_ptr<Client> client;
        std::uint64_t ticket;
        AnswerPlan plan;
    };

    Owed take() noexcept;
    static rpc_port_parcel_h begin() noexcept;
    static bool finish(const Owed& owed, rpc_port_parcel_h parcel, bool good);

    std::weak_ptr<Client> client_;
    std::uint64_t ticket_ = 0;
};

/// The answer that a service owes to a method of this shape. One that is forgotten is answered with a
/// failure: a client must not wait for it, nor for what stands behind it.
template <typename Result, typename... Values>
class PostponedAnswer : public LateAnswer {
public:
    using LateAnswer::LateAnswer;
    PostponedAnswer(PostponedAnswer&&) noexcept = default;
    ~PostponedAnswer()
    {
        if (*this)
            send(static_cast<Result>(std::is_same_v<Result, bool> ? 0 : operation_failed),
                 nothing<Values>()...);
    }

    /// False when the client is gone, or the answer was given before.
    bool answer(Result result, Values... values) { return send(result, values...); }

private:
    template <typename Value>
    static Value nothing()
    {
        if constexpr (std::is_same_v<Value, TextRef>) {
            return TextRef{""};
        } else {
            static const std::remove_cvref_t<Value> empty{};
            return empty;
        }
    }
};

/// One callback on its way to a client.
class Callback {
public:
    /// `texts` are what an interceptor may choose by.
    Callback(std::shared_ptr<Client> client, int id, const char* name, int seq_id, bool once,
             std::span<const std::string_view> texts);
    ~Callback();
    Callback(const Callback&) = delete;
    Callback& operator=(const Callback&) = delete;

    explicit operator bool() const noexcept { return parcel_ != nullptr; }
    Writer& out() noexcept { return out_; }
    bool send() noexcept;

    /// Whether texts need to be gathered at all.
    static bool is_watched(const Client* client) noexcept;

private:
    struct Opened;

    explicit Callback(Opened opened);
    static Opened open(std::shared_ptr<Client> client, int id, const char* name, int seq_id, bool once,
                       std::span<const std::string_view> texts);

    std::shared_ptr<Client> client_;
    rpc_port_parcel_h parcel_;
    int copies_;
    bool on_main_port_;
    Damage damage_;
    Writer out_;
};

namespace detail {

inline void gather(std::string_view*&, const auto&) {}
inline void gather(std::string_view*& next, const TextRef& text)
{
    *next++ = text.view();
}

}  // namespace detail

/// Sends one callback; false when its client is gone. The generated `fire` functions name the parameters.
template <typename Kind, typename... Parameters>
bool send_callback(const Delegate<Kind>& delegate, const Parameters&... parameters)
{
    std::shared_ptr<Client> client = delegate.client.lock();
    if (client == nullptr || !client->alive())
        return false;
    std::array<std::string_view, sizeof...(Parameters) + 1> texts;
    std::string_view* end = texts.data();
    if (Callback::is_watched(client.get()))
        (detail::gather(end, parameters), ...);
    Callback callback{std::move(client), Kind::id,      Kind::name,
                      delegate.seq_id,   delegate.once, {texts.data(), end}};
    if (!callback)
        return false;
    (write(callback.out(), parameters), ...);
    return callback.send();
}

}  // namespace quorvel::stub
