#include "stub.hpp"

#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <thread>

#include "fork.hpp"
#include "guard.hpp"
#include "log.hpp"
#include "places.hpp"

namespace quorvel::platform {
namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t kListenerKey = 0;
constexpr int kEventsAtOnce = 64;
constexpr int kFramesInTurn = 64;
constexpr auto kLongestTurn = 5ms;
constexpr auto kLingering = 1ms;  // a receive that waits for a client's next request, a send for its reader
constexpr auto kQuickSuccession = 3ms;  // between requests that make waiting worth while
constexpr auto kCrowdMemory = 20ms;     // after another client was heard
constexpr auto kAcceptPause = 100ms;    // when there are no descriptors left
constexpr std::size_t kLongestIntroduction = 1024;
constexpr auto kPatienceWithTheDying = 1s;

// Whoever holds the lock beside a socket is the agent, and a socket found there otherwise is a dead one's. An
// agent that dies may lose its socket first, and somebody who was connected to it may start the next before
// the lock is gone.
Descriptor take_over(const std::string& path)
{
    const Deadline patience = Clock::now() + kPatienceWithTheDying;
    Descriptor lock = lock_file(path + ".lock");
    while (!lock && reach(path).result == Reach::absent && Clock::now() < patience) {
        std::this_thread::sleep_for(1ms);
        lock = lock_file(path + ".lock");
    }
    return lock;
}

}  // namespace

Stub::Stub(const char* port_name)
    : port_name_(port_name),
      shared_(std::make_shared<AgentShared>(AgentShared{read_agent_limits(), read_timing(), {}}))
{
}

Stub::~Stub() = default;

int Stub::listen(const Ref<Stub>& self)
{
    const std::lock_guard lock{mutex_};
    if (destroyed_ || listening_)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    const std::optional<std::string> path = socket_path(own_app_id(), port_name_);
    if (!path || !secure_directory(socket_directory()))
        return RPC_PORT_ERROR_PERMISSION_DENIED;
    listen_lock_ = take_over(*path);
    if (!listen_lock_) {
        QV_LOG(DLOG_ERROR, "port %s is taken: another process listens on %s", port_name_.c_str(),
               path->c_str());
        return RPC_PORT_ERROR_IO_ERROR;
    }
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path->copy(address.sun_path, sizeof address.sun_path - 1);
    unlink(path->c_str());
    listener_ = Descriptor{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
    shared_->epoll = Descriptor{epoll_create1(EPOLL_CLOEXEC)};
    constexpr int backlog = 128;
    if (!listener_ || !shared_->epoll
        || bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || chmod(path->c_str(), 0600) != 0 || ::listen(listener_.get(), backlog) != 0
        || !watch(listener_.get(), EPOLLIN, kListenerKey, true)) {
        QV_LOG(DLOG_ERROR, "port %s cannot be listened on at %s: %s", port_name_.c_str(), path->c_str(),
               std::strerror(errno));
        listen_lock_.reset();
        listener_.reset();
        return RPC_PORT_ERROR_IO_ERROR;
    }
    path_ = *path;
    listening_ = true;
    source_.make(self, "quorvel stub");
    source_.with([this](GSource* source) {
        g_source_add_unix_fd(source, shared_->epoll.get(), G_IO_IN);
        g_source_attach(source, nullptr);
    });
    return RPC_PORT_ERROR_NONE;
}

int Stub::port(HandleTag tag, const char* instance, rpc_port_h* port)
{
    const std::lock_guard lock{mutex_};
    for (const auto& [number, client] : clients_) {
        if (client->instance() == instance) {
            *port = Handles::handle(client, tag);
            return RPC_PORT_ERROR_NONE;
        }
    }
    return RPC_PORT_ERROR_INVALID_PARAMETER;
}

void Stub::destroy() noexcept
{
    events_.close();
    std::map<std::uint64_t, Ref<AgentConnection>> clients;
    {
        const std::lock_guard lock{mutex_};
        destroyed_ = true;
        clients.swap(clients_);
        if (listening_ && !forked_) {
            unlink(path_.c_str());
            shutdown(listener_.get(), SHUT_RDWR);
        }
        listen_lock_.reset();
    }
    source_.drop();
    for (const auto& [number, client] : clients) {
        Handles::retire(client);
        client->release_answers();
        client->doom();
    }
}

bool Stub::watch(int fd, std::uint32_t events, std::uint64_t key, bool added) noexcept
{
    epoll_event event{};
    event.events = events;
    event.data.u64 = key;
    return epoll_ctl(shared_->epoll.get(), added ? EPOLL_CTL_ADD : EPOLL_CTL_MOD, fd, &event) == 0;
}

bool Stub::dispatch(const Ref<Stub>&)
{
    if (forked_)
        return false;
    const Deadline turn_end = Clock::now() + kLongestTurn;
    try {
        expire_visitors();
        epoll_event events[kEventsAtOnce];
        int count = 0;
        do {
            count = epoll_wait(shared_->epoll.get(), events, kEventsAtOnce, 0);
            for (int i = 0; i < count && !events_.is_closed(); ++i)
                handle(events[i].data.u64, events[i].events);
            serve_backlog();
            linger(turn_end);
        } while (count > 1 && !events_.is_closed() && Clock::now() < turn_end);
    } catch (const std::bad_alloc&) {
        QV_LOG(DLOG_ERROR, "port %s: no memory to serve what came; it is tried again", port_name_.c_str());
    }
    source_.schedule([this] { return due(); });
    return !events_.is_closed();
}

// When the loop has to come here although no socket is ready.
gint64 Stub::due() const noexcept
{
    if (!backlog_.empty())
        return LoopSource::kNow;
    Deadline next = accept_again_ != Deadline{} ? accept_again_ : Deadline::max();
    for (const auto& [number, visitor] : visitors_)
        next = std::min(next, visitor->deadline);
    return next == Deadline::max() ? LoopSource::kNever : LoopSource::at(next);
}

void Stub::handle(std::uint64_t key, std::uint32_t events)
{
    if (key == kListenerKey) {
        accept_all();
        return;
    }
    const std::uint64_t number = key >> 1;
    if (visitors_.contains(number))
        hear_visitor(number);
    else
        hear_client(number, static_cast<PortKind>(key & 1), events);
}

// Newcomers.

void Stub::accept_all()
{
    for (int i = 0; i < kEventsAtOnce; ++i) {
        Descriptor fd{accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)};
        if (!fd) {
            if (errno == EMFILE || errno == ENFILE || errno == ENOMEM || errno == ENOBUFS) {
                QV_LOG(DLOG_ERROR, "port %s accepts nobody for a moment: %s", port_name_.c_str(),
                       std::strerror(errno));
                set_accepting(false);
            }
            break;
        }
        const std::optional<Peer> peer = peer_of(fd.get());
        if (!peer || !is_trusted(*peer, "a client's socket"))
            continue;
        if (visitors_of(peer->uid) >= 2 * shared_->limits.connections) {
            QV_LOG(DLOG_ERROR,
                   "port %s turns process %d away: too many sockets of user %d are not introduced",
                   port_name_.c_str(), static_cast<int>(peer->pid), static_cast<int>(peer->uid));
            continue;
        }
        const std::uint64_t number = next_number_++;
        const int socket = fd.get();
        const Ref<Visitor> visitor =
            Handles::add(new Visitor{std::move(fd), *peer, Clock::now() + shared_->timing.connect_deadline},
                         HandleKind::visitor);
        Handles::retire(visitor);
        visitors_.emplace(number, visitor);
        if (!watch(socket, EPOLLIN, event_key(number, PortKind::main), true))
            visitors_.erase(number);
    }
}

void Stub::set_accepting(bool accepting) noexcept
{
    accept_again_ = accepting ? Deadline{} : Clock::now() + kAcceptPause;
    watch(listener_.get(), accepting ? std::uint32_t{EPOLLIN} : 0, kListenerKey, false);
}

std::size_t Stub::visitors_of(uid_t uid) const noexcept
{
    return static_cast<std::size_t>(
        std::count_if(visitors_.begin(), visitors_.end(),
                      [uid](const auto& entry) { return entry.second->peer.uid == uid; }));
}

void Stub::expire_visitors()
{
    const Deadline now = Clock::now();
    if (accept_again_ != Deadline{} && accept_again_ <= now)
        set_accepting(true);
    std::size_t expired = 0;
    for (auto next = visitors_.begin(); next != visitors_.end();) {
        const auto visitor = next++;
        if (visitor->second->deadline <= now) {
            forget_visitor(visitor->first);
            ++expired;
        }
    }
    if (expired != 0)
        QV_LOG(DLOG_WARN, "port %s: %zu sockets did not introduce themselves in time", port_name_.c_str(),
               expired);
}

// Its socket closes with it; but a process that was forked meanwhile may still hold it, and then it would go
// on being reported.
void Stub::forget_visitor(std::uint64_t number) noexcept
{
    epoll_ctl(shared_->epoll.get(), EPOLL_CTL_DEL, visitors_.at(number)->socket.get(), nullptr);
    visitors_.erase(number);
}

void Stub::hear_visitor(std::uint64_t number)
{
    const Ref<Visitor> visitor = visitors_.at(number);
    const FrameInput::Room room = visitor->input.room();
    const ssize_t count =
        recv(visitor->socket.get(), room.at, std::min(room.size, kLongestIntroduction), MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    bool understood =
        count > 0 && !visitor->introduction && visitor->input.received(static_cast<std::size_t>(count));
    if (understood) {
        const OwnedParcel parcel{Parcel::make()};
        if (!visitor->input.take(*parcel, false))
            return;
        visitor->introduction = read_introduction(*parcel);
        understood = visitor->introduction.has_value();
    }
    if (!understood) {
        if (count > 0)
            QV_LOG(DLOG_ERROR, "port %s turns process %d away: its first words are not understood",
                   port_name_.c_str(), static_cast<int>(visitor->peer.pid));
        forget_visitor(number);
        return;
    }
    for (const auto& [other_number, other] : visitors_) {
        if (other_number == number || !other->introduction
            || other->introduction->token != visitor->introduction->token
            || other->introduction->port == visitor->introduction->port
            || other->peer.uid != visitor->peer.uid || other->peer.pid != visitor->peer.pid)
            continue;
        const Ref<Visitor> partner = other;
        visitors_.erase(other_number);
        visitors_.erase(number);
        if (visitor->introduction->port == PortKind::main)
            join(visitor, partner);
        else
            join(partner, visitor);
        return;
    }
}

std::shared_ptr<Quota> Stub::quota_of(uid_t uid)
{
    for (const std::shared_ptr<Quota>& quota : quotas_) {
        if (quota->uid == uid)
            return quota;
    }
    auto quota = std::make_shared<Quota>();
    quota->uid = uid;
    quotas_.push_back(quota);
    return quota;
}

void Stub::join(const Ref<Visitor>& one, const Ref<Visitor>& other)
{
    const OwnedParcel welcome{Parcel::make()};
    const auto turn_away = [&] {
        for (const Ref<Visitor>& visitor : {one, other})
            epoll_ctl(shared_->epoll.get(), EPOLL_CTL_DEL, visitor->socket.get(), nullptr);
    };
    const std::shared_ptr<Quota> quota = quota_of(one->peer.uid);
    if (quota->connections >= shared_->limits.connections) {
        QV_LOG(DLOG_ERROR,
               "port %s turns %s, process %d, away: user %d has %zu connections, the limit "
               "(QUORVEL_AGENT_CONNECTIONS)",
               port_name_.c_str(), one->introduction->sender.c_str(), static_cast<int>(one->peer.pid),
               static_cast<int>(one->peer.uid), quota->connections);
        write_welcome(*welcome, -EUSERS);
        send_at_once(one->socket.get(), welcome->frame());
        turn_away();
        return;
    }
    const std::uint64_t number = next_number_++;
    timeval lingering{};
    lingering.tv_usec = std::chrono::microseconds{kLingering}.count();
    // Without them a client could hold up the loop for as long as it says nothing, or reads nothing.
    for (const int wait : {SO_RCVTIMEO, SO_SNDTIMEO}) {
        if (setsockopt(one->socket.get(), SOL_SOCKET, wait, &lingering, sizeof lingering) != 0) {
            QV_LOG(DLOG_ERROR, "port %s turns process %d away: %s", port_name_.c_str(),
                   static_cast<int>(one->peer.pid), std::strerror(errno));
            turn_away();
            return;
        }
    }
    const Ref<AgentConnection> client =
        Handles::add(new AgentConnection{shared_, quota, number, one->peer, one->introduction->sender,
                                         std::move(one->socket), std::move(other->socket)},
                     HandleKind::agent_connection);
    {
        const std::lock_guard lock{mutex_};
        if (destroyed_) {
            Handles::retire(client);
            return;
        }
        try {
            clients_.emplace(number, client);
        } catch (...) {
            Handles::retire(client);
            throw;
        }
    }
    ++quota->connections;
    for (const PortKind port : {PortKind::main, PortKind::callback}) {
        if (!watch(client->socket(port), events_of(port, false), event_key(number, port), false))
            client->doom();
    }
    events_.tell(&StubEvents::connected, client->sender().c_str(), client->instance().c_str());
    // Only now: what the agent prepares for the client is there before its first request.
    write_welcome(*welcome, client->is_rejected() ? -EACCES : 0);
    if (!send_at_once(client->socket(PortKind::main), welcome->frame()) || client->is_rejected())
        client->doom();
}

// Clients.

Ref<AgentConnection> Stub::client(std::uint64_t number)
{
    const std::lock_guard lock{mutex_};
    const auto found = clients_.find(number);
    return found != clients_.end() ? found->second : Ref<AgentConnection>{};
}

void Stub::hear_client(std::uint64_t number, PortKind port, std::uint32_t events)
{
    const Ref<AgentConnection> client = this->client(number);
    if (!client)
        return;
    if ((events & EPOLLOUT) != 0)
        client->flush(port);
    const bool ended = (events & (EPOLLRDHUP | EPOLLHUP | EPOLLERR)) != 0;
    if (port == PortKind::main && (events & EPOLLIN) != 0) {
        note_activity(number);
        serve(client);
    } else if (ended) {
        // What it asked for before it went is done.
        serve(client);
        drop(client);
    }
    if (client->is_doomed())
        drop(client);
}

// Receives once, and serves what has arrived whole.
void Stub::serve(const Ref<AgentConnection>& client)
{
    if (client->waiting_frames() == 0 && client->fill(false) == AgentConnection::Fill::over) {
        drop(client);
        return;
    }
    if (serve_frames(client))
        backlog_.push_back(client->number());
}

// True when there is more.
bool Stub::serve_frames(const Ref<AgentConnection>& client)
{
    if (client->waiting_frames() < 2)
        return serve_each(client);
    client->hold_answers();
    const std::unique_ptr<AgentConnection, void (*)(AgentConnection*)> at_end{
        &*client, [](AgentConnection* connection) { connection->release_answers(); }};
    return serve_each(client);
}

bool Stub::serve_each(const Ref<AgentConnection>& client)
{
    for (int served = 0; !client->is_doomed(); ++served) {
        const std::size_t waiting = client->waiting_frames();
        if (waiting == 0)
            return false;
        if (served == kFramesInTurn)
            return true;
        rpc_port_h port = Handles::handle(client, HandleTag::main_port);
        bool refused = false;
        const bool open = events_.for_each(
            &StubEvents::received, [&](rpc_port_stub_received_event_cb callback, void* data) {
                refused =
                    callback(client->sender().c_str(), client->instance().c_str(), port, data) < 0 || refused;
            });
        if (!open)
            return false;
        if (refused) {
            client->release_answers();
            drop(client);
            return false;
        }
        if (client->waiting_frames() == waiting) {
            QV_LOG(DLOG_WARN, "a request of %s is read by nobody", client->instance().c_str());
            client->drop_one_frame();
        }
    }
    return false;
}

void Stub::serve_backlog()
{
    for (std::size_t left = backlog_.size(); left != 0 && !backlog_.empty() && !events_.is_closed(); --left) {
        const std::uint64_t number = backlog_.front();
        backlog_.pop_front();
        const Ref<AgentConnection> client = this->client(number);
        if (client && serve_frames(client))
            backlog_.push_back(number);
    }
}

void Stub::note_activity(std::uint64_t number) noexcept
{
    const Deadline now = Clock::now();
    in_quick_succession_ = number == last_heard_ && now - last_heard_at_ < kQuickSuccession;
    if (number != last_heard_)
        crowd_until_ = now + kCrowdMemory;
    last_heard_ = number;
    last_heard_at_ = now;
}

// The client that was just served is likely to call again at once. When nobody else calls these days, it is
// waited for where its request will arrive.
void Stub::linger(Deadline turn_end)
{
    const auto worth_while = [this] {
        return in_quick_succession_ && backlog_.empty() && last_heard_at_ > crowd_until_
               && !events_.is_closed();
    };
    if (!worth_while())
        return;
    const Ref<AgentConnection> client = this->client(last_heard_);
    // A client that has not taken its answers yet is waited for in the loop, which sends it the rest.
    while (client && worth_while() && !client->is_doomed() && !client->owes() && last_heard_at_ < turn_end) {
        const AgentConnection::Fill filled = client->fill(true);
        if (filled == AgentConnection::Fill::over)
            drop(client);
        if (filled != AgentConnection::Fill::some)
            break;
        if (serve_frames(client))
            backlog_.push_back(client->number());
        last_heard_at_ = Clock::now();
    }
}

void Stub::drop(const Ref<AgentConnection>& client)
{
    {
        const std::lock_guard lock{mutex_};
        if (clients_.erase(client->number()) == 0)
            return;
    }
    for (const PortKind port : {PortKind::main, PortKind::callback})
        epoll_ctl(shared_->epoll.get(), EPOLL_CTL_DEL, client->socket(port), nullptr);
    Handles::retire(client);
    client->doom();
    --client->quota().connections;
    events_.tell(&StubEvents::disconnected, client->sender().c_str(), client->instance().c_str());
}

void Stub::after_fork() noexcept
{
    forked_.store(true);
    events_.after_fork();
    listener_.reset();
    listen_lock_.reset();
    shared_->epoll.reset();
    source_.after_fork();
    new (&mutex_) std::mutex;
}

namespace {

Ref<Stub> stub_of(rpc_port_stub_h h) noexcept
{
    return Handles::find<Stub>(h, HandleKind::stub);
}

template <typename Kind, typename Callback>
int add_listener(rpc_port_stub_h h, Kind kind, Callback callback, void* data)
{
    const Ref<Stub> stub = stub_of(h);
    if (!stub)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    return guarded([&] { return stub->events().listen(kind, callback, data); });
}

}  // namespace
}  // namespace quorvel::platform

using namespace quorvel::platform;

int rpc_port_stub_create(rpc_port_stub_h* h, const char* port_name)
{
    if (h == nullptr || port_name == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    *h = nullptr;
    return guarded([&] {
        watch_forks();
        const Ref<Stub> stub = Handles::add(new Stub{port_name}, HandleKind::stub);
        *h = Handles::handle(stub, HandleTag::owner);
        return RPC_PORT_ERROR_NONE;
    });
}

int rpc_port_stub_destroy(rpc_port_stub_h h)
{
    const Ref<Stub> stub = stub_of(h);
    if (!stub || !Handles::retire(stub))
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    stub->destroy();
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_stub_listen(rpc_port_stub_h h)
{
    const Ref<Stub> stub = stub_of(h);
    if (!stub)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    return guarded([&] { return stub->listen(stub); });
}

int rpc_port_stub_add_connected_event_cb(rpc_port_stub_h h, rpc_port_stub_connected_event_cb cb, void* data)
{
    return add_listener(h, &StubEvents::connected, cb, data);
}

int rpc_port_stub_add_disconnected_event_cb(rpc_port_stub_h h, rpc_port_stub_disconnected_event_cb cb,
                                            void* data)
{
    return add_listener(h, &StubEvents::disconnected, cb, data);
}

int rpc_port_stub_add_received_event_cb(rpc_port_stub_h h, rpc_port_stub_received_event_cb cb, void* data)
{
    return add_listener(h, &StubEvents::received, cb, data);
}

int rpc_port_stub_get_port(rpc_port_stub_h h, rpc_port_port_type_e type, const char* instance,
                           rpc_port_h* port)
{
    const Ref<Stub> stub = stub_of(h);
    if (!stub || instance == nullptr || port == nullptr
        || (type != RPC_PORT_PORT_MAIN && type != RPC_PORT_PORT_CALLBACK))
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    return stub->port(type == RPC_PORT_PORT_MAIN ? HandleTag::main_port : HandleTag::callback_port, instance,
                      port);
}
