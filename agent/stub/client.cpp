#include "stub/client.hpp"

#include <algorithm>

#include "qv-port-tampering.h"
#include "stub/log.hpp"
#include "stub/server.hpp"

// Only the host platform's objects have them.
#pragma weak qv_port_disconnect
#pragma weak qv_port_reject
#pragma weak qv_port_send_in_slices
#pragma weak qv_port_send_and_break

namespace quorvel::stub {

void Later::release() noexcept
{
    if (const auto client = client_.lock())
        client->release(ticket_);
    client_.reset();
}

Client::Client(BasicServer& server, std::string sender, std::string instance)
    : server_{&server}, sender_{std::move(sender)}, instance_{std::move(instance)}
{
}

Client::~Client()
{
    end();
}

void Client::drop() noexcept
{
    alive_ = false;
    if (qv_port_disconnect != nullptr)
        qv_port_disconnect(port_of(RPC_PORT_PORT_MAIN));
}

void Client::reject() noexcept
{
    alive_ = false;
    if (qv_port_reject != nullptr)
        qv_port_reject(port_of(RPC_PORT_PORT_MAIN));
}

void Client::end() noexcept
{
    alive_ = false;
    server_ = nullptr;
    main_port_ = nullptr;
    callback_port_ = nullptr;
    for (const Waiting& one : waiting_) {
        if (one.parcel != nullptr)
            rpc_port_parcel_destroy(one.parcel);
    }
    waiting_.clear();
}

std::uint64_t Client::postpone(int method)
{
    if (current_ == nullptr || current_->id_ != method || current_->is_postponed_) {
        STUB_LOG_ERROR("method %d is not being served to %s: there is nothing to postpone", method,
                       instance_.c_str());
        return 0;
    }
    Plan& plan = current_->plan_;
    if (plan.ticket_ == 0)
        plan.ticket_ = wait();
    waiting(plan.ticket_)->plan = plan;
    current_->is_postponed_ = true;
    return plan.ticket_;
}

std::uint64_t Client::wait()
{
    waiting_.push_back({.ticket = last_ticket_ + 1, .plan = {}});
    return ++last_ticket_;
}

Client::Waiting* Client::waiting(std::uint64_t ticket) noexcept
{
    const auto found = std::find_if(waiting_.begin(), waiting_.end(),
                                    [ticket](const Waiting& one) { return one.ticket == ticket; });
    return found != waiting_.end() ? &*found : nullptr;
}

void Client::release(std::uint64_t ticket) noexcept
{
    if (Waiting* held = waiting(ticket))
        held->is_held = false;
    send_waiting();
}

void Client::answer(std::uint64_t ticket, rpc_port_parcel_h parcel, const AnswerPlan& plan)
{
    if (ticket == 0 && waiting_.empty()) {
        send(parcel, plan.copies, plan.on_callback_port, plan.damage);
        rpc_port_parcel_destroy(parcel);
        return;
    }
    Waiting* own = waiting(ticket != 0 ? ticket : wait());
    if (own == nullptr) {
        rpc_port_parcel_destroy(parcel);
        return;
    }
    own->parcel = parcel;
    own->plan = plan;
    own->is_filled = true;
    send_waiting();
}

void Client::send_waiting() noexcept
{
    while (!waiting_.empty() && waiting_.front().is_filled && !waiting_.front().is_held) {
        const Waiting next = waiting_.front();
        waiting_.pop_front();
        send(next.parcel, next.plan.copies, next.plan.on_callback_port, next.plan.damage);
        rpc_port_parcel_destroy(next.parcel);
    }
}

namespace {

int send_damaged(rpc_port_parcel_h parcel, rpc_port_h port, const Damage& damage) noexcept
{
    if (damage.break_after != Damage::none && qv_port_send_and_break != nullptr)
        return qv_port_send_and_break(parcel, port, damage.break_after);
    if (damage.slice > 0 && qv_port_send_in_slices != nullptr)
        return qv_port_send_in_slices(parcel, port, damage.slice);
    return rpc_port_parcel_send(parcel, port);
}

}  // namespace

bool Client::send(rpc_port_parcel_h parcel, int copies, bool on_callback_port, const Damage& damage) noexcept
{
    if (!alive_)
        return false;
    rpc_port_h port = on_callback_port ? callback_port() : main_port_;
    if (port == nullptr)
        return false;
    for (int i = 0; i < copies; ++i) {
        const int result = send_damaged(parcel, port, damage);
        if (result != RPC_PORT_ERROR_NONE) {
            STUB_LOG_ERROR("a parcel to %s cannot be sent: %d", instance_.c_str(), result);
            return false;
        }
    }
    return true;
}

rpc_port_h Client::port_of(rpc_port_port_type_e type) const noexcept
{
    rpc_port_h port = nullptr;
    if (server_ != nullptr)
        rpc_port_stub_get_port(server_->stub_, type, instance_.c_str(), &port);
    return port;
}

rpc_port_h Client::callback_port() noexcept
{
    if (callback_port_ == nullptr && server_ != nullptr) {
        callback_port_ = port_of(RPC_PORT_PORT_CALLBACK);
        if (callback_port_ == nullptr)
            STUB_LOG_ERROR("%s has no callback port", instance_.c_str());
    }
    return callback_port_;
}

LateAnswer::LateAnswer(std::weak_ptr<Client> client, std::uint64_t ticket) noexcept
    : client_{std::move(client)}, ticket_{ticket}
{
}

LateAnswer::LateAnswer(LateAnswer&& other) noexcept
    : client_{std::move(other.client_)}, ticket_{std::exchange(other.ticket_, 0)}
{
}

LateAnswer::~LateAnswer() = default;

LateAnswer::Owed LateAnswer::take() noexcept
{
    const std::uint64_t ticket = std::exchange(ticket_, 0);
    auto client = ticket != 0 ? client_.lock() : nullptr;
    const Client::Waiting* own = client != nullptr && client->alive() ? client->waiting(ticket) : nullptr;
    if (own == nullptr)
        return {nullptr, 0, {}};
    return {std::move(client), ticket, own->plan};
}

rpc_port_parcel_h LateAnswer::begin() noexcept
{
    rpc_port_parcel_h parcel = nullptr;
    return rpc_port_parcel_create(&parcel) == RPC_PORT_ERROR_NONE ? parcel : nullptr;
}

bool LateAnswer::finish(const Owed& owed, rpc_port_parcel_h parcel, bool good)
{
    if (parcel == nullptr || !good) {
        STUB_LOG_ERROR("an answer to %s cannot be written: the client is dropped",
                       owed.client->instance().c_str());
        if (parcel != nullptr)
            rpc_port_parcel_destroy(parcel);
        owed.client->drop();
        return false;
    }
    owed.client->answer(owed.ticket, parcel, owed.plan);
    return true;
}

struct Callback::Opened {
    std::shared_ptr<Client> client;
    rpc_port_parcel_h parcel = nullptr;
    CallbackPlan plan;
};

Callback::Opened Callback::open(std::shared_ptr<Client> client, int id, const char* name, int seq_id,
                                bool once, std::span<const std::string_view> texts)
{
    Opened opened{.client = std::move(client),
                  .plan = {.id = id, .seq_id = seq_id, .once = once, .damage = {}}};
    if (is_watched(opened.client.get()))
        opened.client->server_->interceptor_->firing({*opened.client, id, name, texts}, opened.plan);
    if (rpc_port_parcel_create(&opened.parcel) != RPC_PORT_ERROR_NONE) {
        opened.parcel = nullptr;
        STUB_LOG_ERROR("there is no parcel for callback %s", name);
    }
    return opened;
}

Callback::Callback(std::shared_ptr<Client> client, int id, const char* name, int seq_id, bool once,
                   std::span<const std::string_view> texts)
    : Callback{open(std::move(client), id, name, seq_id, once, texts)}
{
}

Callback::Callback(Opened opened)
    : client_{std::move(opened.client)},
      parcel_{opened.parcel},
      copies_{opened.plan.copies},
      on_main_port_{opened.plan.on_main_port},
      damage_{opened.plan.damage},
      out_{opened.parcel, opened.plan.damage}
{
    if (parcel_ == nullptr)
        return;
    out_.number(opened.plan.command);
    out_.number(opened.plan.id);
    out_.number(opened.plan.seq_id);
    out_.flag(opened.plan.once);
}

Callback::~Callback()
{
    if (parcel_ != nullptr)
        rpc_port_parcel_destroy(parcel_);
}

bool Callback::send() noexcept
{
    if (!out_.finish()) {
        STUB_LOG_ERROR("a callback to %s cannot be written", client_->instance().c_str());
        return false;
    }
    return client_->send(parcel_, copies_, !on_main_port_, damage_);
}

bool Callback::is_watched(const Client* client) noexcept
{
    return client->server_ != nullptr && client->server_->interceptor_ != nullptr;
}

}  // namespace quorvel::stub
