#include "proxy/connection.hpp"

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "internal/locks.hpp"
#include "internal/log.hpp"

namespace quorvel::proxy {

namespace {

constexpr auto port_name = "qv_client";

Proxy* live_proxies = nullptr;  // guarded by locks::delegates

void add_live(Proxy& proxy)
{
    const std::lock_guard lock{locks::delegates};
    proxy.next_live = live_proxies;
    live_proxies = &proxy;
}

/// From now on no event begins.
void remove_live(Proxy& proxy)
{
    const std::lock_guard lock{locks::delegates};
    proxy.is_dead = true;
    for (Proxy** link = &live_proxies; *link != nullptr; link = &(*link)->next_live) {
        if (*link == &proxy) {
            *link = proxy.next_live;
            break;
        }
    }
}

/// An event in progress: keeps the proxy's memory, whatever the application does meanwhile.
class Event {
public:
    explicit Event(void* user_data) noexcept
    {
        const std::lock_guard lock{locks::delegates};
        for (Proxy* proxy = live_proxies; proxy != nullptr; proxy = proxy->next_live) {
            if (proxy == user_data) {
                proxy->references.fetch_add(1, std::memory_order_relaxed);
                proxy_ = proxy;
                return;
            }
        }
    }
    ~Event()
    {
        if (proxy_ != nullptr)
            proxy_->drop();
    }
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    explicit operator bool() const noexcept { return proxy_ != nullptr; }
    Proxy* operator->() const noexcept { return proxy_; }
    Proxy& operator*() const noexcept { return *proxy_; }

private:
    Proxy* proxy_ = nullptr;
};

/// A parcel that an event or a call made.
class ParcelOwner {
public:
    explicit ParcelOwner(rpc_port_parcel_h parcel) noexcept : parcel_{parcel} {}
    ~ParcelOwner() { rpc_port_parcel_destroy(parcel_); }
    ParcelOwner(const ParcelOwner&) = delete;
    ParcelOwner& operator=(const ParcelOwner&) = delete;

private:
    rpc_port_parcel_h parcel_;
};

void log_endpoint(const char* endpoint, const char* port, const CallSite& at)
{
    log_proxy(DLOG_INFO, at, PROXY_TEXT("[__RPC_PORT__] endpoint(%s), port_name(%s)"), shown(endpoint),
              shown(port));
}

extern "C" {

static void __qv_client_connected(const char* endpoint, const char* name, rpc_port_h port, void* user_data)
{
    const Event proxy{user_data};
    if (!proxy)
        return;
    rpc_port_h callback_port = nullptr;
    rpc_port_proxy_get_port(proxy->port_proxy(), RPC_PORT_PORT_CALLBACK, &callback_port);
    proxy->callback_port = callback_port;
    proxy->set_main_port(port);
    if (proxy->callback.connected != nullptr)
        proxy->callback.connected(&*proxy, proxy->user_data);
    log_endpoint(endpoint, name, CallSite::here());
}

static void __qv_client_disconnected(const char* endpoint, const char* name, void* user_data)
{
    const Event proxy{user_data};
    if (!proxy)
        return;
    proxy->set_main_port(nullptr);
    if (proxy->callback.disconnected != nullptr)
        proxy->callback.disconnected(&*proxy, proxy->user_data);
    log_endpoint(endpoint, name, CallSite::here());
}

static void __qv_client_rejected(const char* endpoint, const char* name, void* user_data)
{
    const Event proxy{user_data};
    if (!proxy)
        return;
    proxy->set_main_port(nullptr);
    if (proxy->callback.rejected != nullptr)
        proxy->callback.rejected(&*proxy, proxy->user_data);
    log_endpoint(endpoint, name, CallSite::here());
}

static void __qv_client_received(const char* endpoint, const char* name, void* user_data)
{
    constexpr int callback_command = 1;
    static constexpr CallSite at = CallSite::here();

    const Event proxy{user_data};
    if (!proxy)
        return;
    rpc_port_parcel_h parcel = nullptr;
    if (rpc_port_parcel_create_from_port(&parcel, proxy->callback_port) != 0 || parcel == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Failed to create parcel from port(%s)"), shown(name));
        return;
    }
    const ParcelOwner owner{parcel};
    int command = -1;
    rpc_port_parcel_read_int32(parcel, &command);
    if (command != callback_command) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Invalid protocol"));
        return;
    }
    dispatch_callback(*proxy, parcel, at);
    log_endpoint(endpoint, name, at);
}

}  // extern "C"

int add_event_callbacks(Proxy& proxy, const CallSite& at)
{
    const auto added = [&](int result, const char* format) {
        if (result != 0)
            log_proxy(DLOG_ERROR, at, format, result);
        return result;
    };
    int result = added(rpc_port_proxy_add_connected_event_cb(proxy.proxy, __qv_client_connected, &proxy),
                       PROXY_TEXT("Failed to add connected event cb. err = %d"));
    if (result == 0)
        result =
            added(rpc_port_proxy_add_disconnected_event_cb(proxy.proxy, __qv_client_disconnected, &proxy),
                  PROXY_TEXT("Failed to add disconnected event cb. err = %d"));
    if (result == 0)
        result = added(rpc_port_proxy_add_rejected_event_cb(proxy.proxy, __qv_client_rejected, &proxy),
                       PROXY_TEXT("Failed to add rejected event cb. err = %d"));
    if (result == 0)
        result = added(rpc_port_proxy_add_received_event_cb(proxy.proxy, __qv_client_received, &proxy),
                       PROXY_TEXT("Failed to add received event cb. err = %d"));
    return result;
}

/// Performs a destruction's visible steps; the memory goes when nobody can be using it any more.
void shut_down(Proxy& proxy)
{
    remove_live(proxy);
    end_delegates(proxy);
    // Whoever is blocked in a read of this port is woken and gets no parcel.
    if (rpc_port_proxy_h port_proxy = proxy.take_port_proxy(); port_proxy != nullptr)
        rpc_port_proxy_destroy(port_proxy);
    proxy.set_main_port(nullptr);
    proxy.retire();
}

}  // namespace

void TurnQueue::join(Ticket& ticket, bool is_sent)
{
    ticket.number = joined_++;
    ticket.is_sent = is_sent;
    sent_ += is_sent ? 1 : 0;
}

void TurnQueue::wait_for_turn(const Ticket& ticket)
{
    if (turn_.load(std::memory_order_acquire) == ticket.number)
        return;
    // Whoever passes the turn looks at the two words in the other order, so one of us sees the other.
    ++waiting_;
    Waiter self{ticket.number, nullptr, {}};
    bool is_waiting = false;
    {
        const std::lock_guard lock{mutex_};
        is_waiting = turn_ != ticket.number;
        if (is_waiting) {
            sem_init(&self.came_to_head, 0, 0);
            self.next = std::exchange(waiters_, &self);
        }
    }
    if (is_waiting) {
        while (sem_wait(&self.came_to_head) != 0) {
        }
        sem_destroy(&self.came_to_head);
    }
    --waiting_;
}

bool TurnQueue::owes_other_answers() const
{
    return sent_ > answered_;
}

void TurnQueue::pass(const Ticket& ticket)
{
    answered_ += ticket.is_sent ? 1 : 0;
    const std::uint64_t next = ticket.number + 1;
    turn_ = next;
    if (waiting_ == 0)
        return;
    const std::lock_guard lock{mutex_};
    for (Waiter** link = &waiters_; *link != nullptr; link = &(*link)->next) {
        Waiter& waiter = **link;
        if (waiter.number == next) {
            *link = waiter.next;
            sem_post(&waiter.came_to_head);
            return;
        }
    }
}

Proxy::Proxy() noexcept
    : rpc_port_proxy_qv_client_s{}, Retired{[](Retired* retired) noexcept {
          static_cast<Proxy*>(retired)->drop();
      }}
{
    g_rec_mutex_init(&mutex);
}

Proxy::~Proxy()
{
    // A call that overtook the destruction may have registered one since.
    end_delegates(*this);
    if (release_user_data != nullptr)
        release_user_data(user_data);
    g_rec_mutex_clear(&mutex);
    std::free(stub_appid);
}

void Proxy::drop() noexcept
{
    if (references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

int create_proxy(const char* stub_appid, const rpc_port_proxy_qv_client_callback_s* callback, void* user_data,
                 rpc_port_proxy_qv_client_h* handle, CallSite at)
{
    if (stub_appid == nullptr || callback == nullptr || handle == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Invalid parameter"));
        return -1;
    }
    auto* const proxy = new (std::nothrow) Proxy;
    char* const appid = proxy != nullptr ? strdup(stub_appid) : nullptr;
    if (appid == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Out of memory"));
        delete proxy;
        return -1;
    }
    proxy->stub_appid = appid;
    if (rpc_port_proxy_create(&proxy->proxy) != 0) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Failed to create proxy"));
        delete proxy;
        return -1;
    }
    proxy->callback = *callback;
    proxy->user_data = user_data;
    add_live(*proxy);
    const int result = add_event_callbacks(*proxy, at);
    if (result != 0) {
        shut_down(*proxy);
        return result;
    }
    *handle = proxy;
    return 0;
}

int connect_proxy(rpc_port_proxy_qv_client_h handle, CallSite at)
{
    if (handle == nullptr || handle->proxy == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Invalid parameter"));
        return -1;
    }
    const int result = rpc_port_proxy_connect(handle->proxy, handle->stub_appid, port_name);
    if (result != 0)
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Failed to connect qv_client(%s)"), handle->stub_appid);
    return result;
}

int destroy_proxy(rpc_port_proxy_qv_client_h handle, CallSite at)
{
    if (handle == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Invalid parameter"));
        return -1;
    }
    shut_down(proxy_of(handle));
    return 0;
}

}  // namespace quorvel::proxy
