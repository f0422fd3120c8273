#pragma once

#include <quorvel_client_proxy.h>
#include <semaphore.h>

#include <atomic>
#include <cstdint>
#include <mutex>

#include "internal/call_guard.hpp"
#include "internal/call_site.hpp"
#include "proxy/delegates.hpp"

namespace quorvel::proxy {

/// Hands the answers of one connection to the calls that asked.
///
/// Results carry no number: the agent answers a connection's requests in their order. So a call sends its
/// request and joins the queue in one step (the gate), and reads when all the calls before it have read
/// theirs. Requests are in flight together; one thread alone sees no change.
///
/// Gate and turn are waited for without a clock: the port ends the read of whoever is at the head at its
/// deadline and closes the connection, so every wait behind it ends too.
class TurnQueue {
public:
    class Ticket {
    private:
        friend class TurnQueue;
        std::uint64_t number = 0;
        bool is_sent = false;
    };

    std::recursive_mutex gate;  ///< held while a request is sent; a port may enter again from inside its send

    void join(Ticket& ticket, bool is_sent);  ///< with the gate held
    void wait_for_turn(const Ticket& ticket);
    /// Whether another call's answer is still to come; in one's turn, and with the gate held, so that none is
    /// added.
    bool owes_other_answers() const;
    void pass(const Ticket& ticket);

private:
    /// A call that is not at the head yet. It is woken by a semaphore: waiting for a condition would cost
    /// every wake-up one more system call, for the mutex that is taken again.
    struct Waiter {
        std::uint64_t number;
        Waiter* next;
        sem_t came_to_head;
    };

    // Written with the gate held, or by the one whose turn it is: a call alone takes no other lock.
    std::uint64_t joined_ = 0;
    std::uint64_t sent_ = 0;
    std::uint64_t answered_ = 0;  ///< of those that were sent
    std::atomic<std::uint64_t> turn_ = 0;

    std::atomic<unsigned> waiting_ = 0;
    std::mutex mutex_;
    Waiter* waiters_ = nullptr;
};

/// The proxy's record: what its header shows, then our own.
///
/// Its memory is counted: one count is the owner's, given back when the calls that were in progress at its
/// destruction have left; every event that runs holds another.
struct Proxy : rpc_port_proxy_qv_client_s, Retired {
    Proxy() noexcept;
    ~Proxy();
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;

    /// Read by calls while the loop thread sets it.
    rpc_port_h main_port() const noexcept { return __atomic_load_n(&port, __ATOMIC_ACQUIRE); }
    void set_main_port(rpc_port_h new_port) noexcept { __atomic_store_n(&port, new_port, __ATOMIC_RELEASE); }
    /// Read by an event while another thread destroys the proxy.
    rpc_port_proxy_h port_proxy() const noexcept { return __atomic_load_n(&proxy, __ATOMIC_ACQUIRE); }
    rpc_port_proxy_h take_port_proxy() noexcept
    {
        return __atomic_exchange_n(&proxy, nullptr, __ATOMIC_ACQ_REL);
    }
    void drop() noexcept;

    std::atomic<unsigned> references{1};
    void (*release_user_data)(void* user_data) = nullptr;  ///< called when no event can be using it any more
    TurnQueue turns;

    // Guarded by locks::delegates.
    DelegateIndex index;
    GList* last_delegate = nullptr;
    std::uint64_t last_place = 0;
    bool is_dead = false;
    Proxy* next_live = nullptr;
};

int create_proxy(const char* stub_appid, const rpc_port_proxy_qv_client_callback_s* callback, void* user_data,
                 rpc_port_proxy_qv_client_h* handle, CallSite at = CallSite::here());
int connect_proxy(rpc_port_proxy_qv_client_h handle, CallSite at = CallSite::here());
int destroy_proxy(rpc_port_proxy_qv_client_h handle, CallSite at = CallSite::here());

inline Proxy& proxy_of(rpc_port_proxy_qv_client_h handle)
{
    return *static_cast<Proxy*>(handle);
}

}  // namespace quorvel::proxy
