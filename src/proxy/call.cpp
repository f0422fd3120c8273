#include "proxy/call.hpp"

#include <platform_error.h>

#include "internal/log.hpp"

namespace quorvel::proxy {

namespace {

constexpr int result_command = 0;
constexpr int transport_failed = RPC_PORT_ERROR_IO_ERROR;
// An agent that goes on sending what is no answer would hold the call for good.
constexpr int most_parcels_skipped = 65'536;

}  // namespace

rpc_port_parcel_h Exchange::open(int method)
{
    rpc_port_parcel_h request = nullptr;
    if (rpc_port_parcel_create(&request) != 0)
        return nullptr;
    rpc_port_parcel_write_int32(request, method);
    return request;
}

bool Exchange::send(rpc_port_parcel_h request, void* delegate)
{
    const std::lock_guard gate{proxy_.turns.gate};
    if (delegate != nullptr && !append_delegate(proxy_, delegate)) {
        log_proxy(DLOG_ERROR, at_, PROXY_TEXT("Out of memory"));
        rpc_port_parcel_destroy(request);
        return false;
    }
    const int result = rpc_port_parcel_send(request, port_);
    if (result != 0) {
        log_proxy(DLOG_ERROR, at_, PROXY_TEXT("Failed to send parcel. result(%d)"), result);
        status_ = transport_failed;
    }
    is_sent_ = result == 0;
    proxy_.turns.join(ticket_, is_sent_);
    rpc_port_parcel_destroy(request);
    return true;
}

rpc_port_parcel_h Exchange::receive()
{
    proxy_.turns.wait_for_turn(ticket_);
    g_rec_mutex_lock(&proxy_.mutex);
    rpc_port_parcel_h answer = nullptr;
    if (is_sent_) {
        answer = next_result();
    } else {
        // The wait goes on all the same, but never for an answer that another call is owed, or is about to
        // be: whoever holds the gate is sending. It is not waited for, since it may itself be waiting behind
        // this call.
        const std::unique_lock gate{proxy_.turns.gate, std::try_to_lock};
        if (gate.owns_lock() && !proxy_.turns.owes_other_answers())
            answer = next_result();
    }
    if (answer == nullptr) {
        log_proxy(DLOG_ERROR, at_, PROXY_TEXT("Invalid protocol"));
        status_ = transport_failed;
    }
    return answer;
}

void Exchange::close(rpc_port_parcel_h answer)
{
    if (answer != nullptr)
        rpc_port_parcel_destroy(answer);
    g_rec_mutex_unlock(&proxy_.mutex);
    proxy_.turns.pass(ticket_);
    set_last_result(status_);
}

rpc_port_parcel_h Exchange::next_result()
{
    // A call before this one may have given up its answer, which would be the next to come.
    if (proxy_.main_port() != port_)
        return nullptr;
    for (int skipped = 0; skipped < most_parcels_skipped; ++skipped) {
        rpc_port_parcel_h parcel = nullptr;
        if (rpc_port_parcel_create_from_port(&parcel, port_) != 0 || parcel == nullptr)
            return nullptr;
        int command = -1;
        rpc_port_parcel_read_int32(parcel, &command);
        if (command == result_command)
            return parcel;
        rpc_port_parcel_destroy(parcel);
    }
    // What comes now would be taken for the answer to the next call.
    proxy_.set_main_port(nullptr);
    return nullptr;
}

void Call::refuse(const char* format) const
{
    log_proxy(DLOG_ERROR, at_, format);
}

}  // namespace quorvel::proxy
