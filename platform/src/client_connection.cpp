#include "client_connection.hpp"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "log.hpp"
#include "packages.hpp"
#include "proxy.hpp"
#include "starter.hpp"

namespace quorvel::platform {
namespace {

using namespace std::chrono_literals;

constexpr auto kPlainWait = 10ms;  // how long a reader waits for its answer alone
constexpr auto kLongestTurn = 5ms;
constexpr int kCallbacksInTurn = 64;
constexpr std::size_t kLongestQueue = std::size_t{16} << 20;
constexpr auto kLongestRetry = 20ms;
constexpr auto kDeliveryPatience = 2s;
constexpr char kNoMemory[] = "no memory for what it sends";
constexpr auto kEnds = static_cast<GIOCondition>(G_IO_HUP | G_IO_ERR);
// GLib hands conditions to poll() as they are; it only has no name for this one.
constexpr auto kPeerEnds = std::bit_cast<GIOCondition>(POLLRDHUP | POLLHUP | POLLERR);

// What a thread last sent on a connection: its reads there are due until the same deadline, and there is
// nothing to read when no byte of the request left.
struct Sent {
    void* port;
    Deadline deadline;
    bool on_wire;
    bool was_read;  // something has been read since
};

// A thread seldom talks to more than one agent. What does not fit is forgotten, and such a read then counts
// from its own start.
constexpr std::size_t kSentSlots = 4;
constinit thread_local Sent sent_slots[kSentSlots]{};
constinit thread_local std::size_t next_sent_slot = 0;

Sent* last_sent(const void* port) noexcept
{
    for (Sent& sent : sent_slots) {
        if (sent.port == port)
            return &sent;
    }
    return nullptr;
}

Sent& note_send(void* port, Deadline deadline) noexcept
{
    Sent* sent = last_sent(port);
    if (sent == nullptr)
        sent = &sent_slots[next_sent_slot++ % kSentSlots];
    *sent = {port, deadline, false, false};
    return *sent;
}

}  // namespace

Ref<ClientConnection> ClientConnection::make(const Ref<Proxy>& proxy, const char* app_id,
                                             const char* port_name)
{
    Ref<ClientConnection> made =
        Handles::add(new ClientConnection{proxy, app_id, port_name}, HandleKind::client_connection);
    made->main_port_ = Handles::handle(made, HandleTag::main_port);
    made->callback_port_ = Handles::handle(made, HandleTag::callback_port);
    // Before anybody else can find it and abandon it: a source that was made later would stay for good.
    made->source_.make(made, "quorvel port");
    return made;
}

ClientConnection::ClientConnection(const Ref<Proxy>& proxy, const char* app_id, const char* port_name)
    : proxy_(proxy),
      app_id_(app_id),
      port_name_(port_name),
      timing_(read_timing()),
      connect_deadline_(Clock::now() + timing_.connect_deadline),
      mark_(Capture::next_connection(CaptureRole::client))
{
}

ClientConnection::~ClientConnection() = default;

void ClientConnection::begin(const Ref<ClientConnection>& self)
{
    advance();
    watch_delivery(self);
    set_step(step());
    wake();
    source_.with([](GSource* source) { g_source_attach(source, nullptr); });
}

void ClientConnection::abandon(const Ref<ClientConnection>& self) noexcept
{
    Handles::retire(self);
    state_.store(State::closed, std::memory_order_release);
    shut_down();
    source_.drop();
    stop_watch();
}

// When the loop has to come here although no descriptor is ready.
gint64 ClientConnection::due() const noexcept
{
    switch (step()) {
        case Step::find:
            return LoopSource::at(retry_at_);
        case Step::await_welcome:
            return LoopSource::at(connect_deadline_);
        case Step::tell_connected:
        case Step::tell_rejected:
        case Step::tell_disconnected:
            return LoopSource::kNow;
        case Step::run:
            return unannounced_.load(std::memory_order_acquire) != 0 || state() != State::open
                       ? LoopSource::kNow
                       : LoopSource::kNever;
        case Step::over:
            break;
    }
    return LoopSource::kNever;
}

void ClientConnection::wake() noexcept
{
    source_.schedule([this] { return due(); });
}

bool ClientConnection::dispatch(const Ref<ClientConnection>& self)
{
    if (step() == Step::find || step() == Step::await_welcome)
        advance();
    // What is left to do is not forgotten either when an application's callback throws.
    const std::unique_ptr<ClientConnection, void (*)(ClientConnection*)> at_end{
        this, [](ClientConnection* connection) { connection->wake(); }};
    return go_on(self);
}

bool ClientConnection::go_on(const Ref<ClientConnection>& self)
{
    switch (step()) {
        case Step::find:
        case Step::await_welcome:
            return true;
        case Step::tell_connected:
            set_step(Step::run);
            stop_watch();
            return proxy_->events().tell(&ProxyEvents::connected, app_id_.c_str(), port_name_.c_str(),
                                         main_port_);
        case Step::run:
            return run(self);
        case Step::tell_rejected:
            finish(self);
            proxy_->events().tell(&ProxyEvents::rejected, app_id_.c_str(), port_name_.c_str());
            return false;
        case Step::tell_disconnected:
            finish(self);
            proxy_->events().tell(&ProxyEvents::disconnected, app_id_.c_str(), port_name_.c_str());
            return false;
        case Step::over:
            return false;
    }
    return false;
}

// Connecting: find the agent's socket, starting the agent where that helps; introduce both sockets; await
// the agent's word.

void ClientConnection::advance()
{
    try {
        take_step();
    } catch (const std::bad_alloc&) {
        QV_LOG(DLOG_ERROR, "%s: no memory to connect to port %s", app_id_.c_str(), port_name_.c_str());
        settle(Step::tell_disconnected);
    }
}

void ClientConnection::take_step()
{
    const Step before = step();
    if (state() == State::closed)
        return;
    if (Clock::now() >= connect_deadline_) {
        QV_LOG(DLOG_ERROR, "%s: no connection to port %s within %lld ms", app_id_.c_str(), port_name_.c_str(),
               static_cast<long long>(timing_.connect_deadline.count()));
        settle(Step::tell_disconnected);
    } else if (before == Step::find) {
        find();
    } else {
        await_welcome();
    }
}

void ClientConnection::find()
{
    if (path_.empty()) {
        const std::optional<std::string> path = socket_path(app_id_, port_name_);
        if (!path || !secure_directory(socket_directory())) {
            settle(Step::tell_rejected);
            return;
        }
        path_ = *path;
    }
    Reached main = reach(path_);
    Reached callback{main.result, {}, {}};
    if (main.result == Reach::connected)
        callback = reach(path_);
    switch (callback.result) {
        case Reach::connected:
            join(std::move(main), std::move(callback));
            break;
        case Reach::absent:
            start();
            break;
        case Reach::busy:
            retry_soon();
            break;
        case Reach::refused:
            settle(Step::tell_rejected);
            break;
    }
}

// One client starts the agent, and holds a lock while its socket is not there; the others wait for that.
void ClientConnection::start()
{
    if (!started_) {
        const std::optional<Package> package = find_package(app_id_);
        if (!package || package->command.empty()) {
            QV_LOG(DLOG_WARN, "%s is not running, and no installed package says how to start it",
                   app_id_.c_str());
            settle(Step::tell_rejected);
            return;
        }
        if (!start_lock_)
            start_lock_ = lock_file(path_ + ".start");
        if (start_lock_ && !searched_with_lock_) {
            // Whoever held the lock before may just have succeeded.
            searched_with_lock_ = true;
            find();
            return;
        }
        if (start_lock_) {
            std::optional<Descriptor> program = start_program(*package);
            if (!program) {
                settle(Step::tell_rejected);
                return;
            }
            program_ = std::move(*program);
            started_ = true;
        }
    } else if (program_) {
        pollfd ended{program_.get(), POLLIN, 0};
        if (poll(&ended, 1, 0) == 1) {
            QV_LOG(DLOG_ERROR, "%s ended before it listened on port %s: see %s/%s.log", app_id_.c_str(),
                   port_name_.c_str(), state_directory().c_str(), app_id_.c_str());
            settle(Step::tell_rejected);
            return;
        }
    }
    retry_soon();
}

void ClientConnection::retry_soon() noexcept
{
    retry_at_ = std::min(Clock::now() + retry_after_, connect_deadline_);
    retry_after_ = std::min(2 * retry_after_, std::chrono::milliseconds{kLongestRetry});
}

void ClientConnection::join(Reached main, Reached callback)
{
    Introduction introduction{PortKind::main, {}, own_app_id()};
    const OwnedParcel on_main{Parcel::make()};
    const OwnedParcel on_callback{Parcel::make()};
    timeval plain{};
    plain.tv_usec = std::chrono::microseconds{kPlainWait}.count();
    if (!fill_random(introduction.token)
        || setsockopt(main.socket.get(), SOL_SOCKET, SO_RCVTIMEO, &plain, sizeof plain) != 0) {
        retry_soon();
        return;
    }
    write_introduction(*on_main, introduction);
    introduction.port = PortKind::callback;
    write_introduction(*on_callback, introduction);
    agent_uid_ = main.peer.uid;
    if (!send_at_once(main.socket.get(), on_main->frame())
        || !send_at_once(callback.socket.get(), on_callback->frame())) {
        settle(step_after_silence());
        return;
    }
    {
        const std::lock_guard lock{making_};
        main_ = std::move(main.socket);
        callback_ = std::move(callback.socket);
    }
    source_.with([this](GSource* source) {
        main_tag_ = g_source_add_unix_fd(source, main_.get(), static_cast<GIOCondition>(G_IO_IN | kEnds));
    });
    set_step(Step::await_welcome);
    // Whoever closed the connection in the meantime had no sockets to shut down.
    if (state() == State::closed)
        shut_down();
}

// What a socket that was closed without a word means. An agent of the same user has no cause to turn a client
// away like that: it went away. One of root's does so with strangers.
ClientConnection::Step ClientConnection::step_after_silence() const noexcept
{
    return agent_uid_ == geteuid() ? Step::tell_disconnected : Step::tell_rejected;
}

void ClientConnection::await_welcome()
{
    const FrameInput::Room room = answers_.room();
    const ssize_t count = recv(main_.get(), room.at, room.size, MSG_DONTWAIT);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (count <= 0) {
        settle(step_after_silence());
        return;
    }
    const bool in_order = answers_.received(static_cast<std::size_t>(count));
    const OwnedParcel parcel{Parcel::make()};
    if (in_order && !answers_.take(*parcel, false))
        return;
    const std::optional<std::int32_t> status = in_order ? read_welcome(*parcel) : std::nullopt;
    if (status != 0) {
        QV_LOG(DLOG_ERROR, "%s refuses this client on port %s: %s", app_id_.c_str(), port_name_.c_str(),
               status ? strerrordesc_np(-*status) : "its words are not understood");
        settle(Step::tell_rejected);
        return;
    }
    Capture::opened(mark_, app_id_ + " " + port_name_);
    captured_.store(true, std::memory_order_relaxed);
    settle(Step::tell_connected);
    State expected = State::connecting;
    if (state_.compare_exchange_strong(expected, State::open, std::memory_order_acq_rel)) {
        source_.with([this](GSource* source) {
            g_source_modify_unix_fd(source, main_tag_, kPeerEnds);
            g_source_add_unix_fd(source, callback_.get(), static_cast<GIOCondition>(G_IO_IN | kEnds));
        });
    }
}

// The end of connecting, one way or the other.
void ClientConnection::settle(Step step) noexcept
{
    set_step(step);
    start_lock_.reset();
    program_.reset();
}

// One turn of an open connection: callbacks in the order in which they came, then, when nothing is left of
// a connection that ended, its end.
bool ClientConnection::run(const Ref<ClientConnection>& self)
{
    bool ends = false;
    const bool there = source_.with(
        [&](GSource* source) { ends = (g_source_query_unix_fd(source, main_tag_) & kPeerEnds) != 0; });
    if (!there)
        return false;
    if (ends)
        peer_left();
    // What this turn can tell has to be complete before the end is looked at.
    const bool ending = state() != State::open;
    Drain drained = Drain::some;
    if (unannounced_.load(std::memory_order_acquire) == 0)
        drained = drain();

    const Deadline turn_end = Clock::now() + kLongestTurn;
    // A callback may run the loop itself, which then has to come here for the rest.
    wake();
    for (int told = 0; told < kCallbacksInTurn && announce_next(); ++told) {
        if (!proxy_->events().tell(&ProxyEvents::received, app_id_.c_str(), port_name_.c_str()))
            return false;
        if (Clock::now() >= turn_end)
            break;
    }

    // A callback that ran the loop may have come here first.
    if (step() != Step::run)
        return false;
    if (ending && drained != Drain::some && unannounced_.load(std::memory_order_acquire) == 0) {
        finish(self);
        proxy_->events().tell(&ProxyEvents::disconnected, app_id_.c_str(), port_name_.c_str());
        return false;
    }
    return true;
}

bool ClientConnection::announce_next() noexcept
{
    std::size_t left = unannounced_.load(std::memory_order_acquire);
    while (left != 0) {
        if (unannounced_.compare_exchange_weak(left, left - 1))
            return true;
    }
    return false;
}

// Before the application hears of the end, so that it may connect again at once. An answer that came before
// a peer left can still be read by whoever waits for it.
void ClientConnection::finish(const Ref<ClientConnection>& self) noexcept
{
    set_step(Step::over);
    State expected = State::connecting;
    state_.compare_exchange_strong(expected, State::closed, std::memory_order_acq_rel);
    shut_down();
    Handles::retire(self);
    proxy_->forget(self);
    source_.drop();
    stop_watch();
}

// The queue of callbacks.

ClientConnection::Drain ClientConnection::drain()
{
    const char* fault = nullptr;
    Drain result = Drain::over;
    {
        const std::lock_guard lock{queue_lock_};
        result = drain_locked(fault);
    }
    if (fault != nullptr)
        close_for(fault);
    else if (result == Drain::over)
        peer_left();
    return result;
}

ClientConnection::Drain ClientConnection::drain_locked(const char*& fault)
{
    if (callbacks_over_)
        return Drain::over;
    FrameInput::Room room{};
    try {
        room = callbacks_.room();
    } catch (const std::bad_alloc&) {
        fault = kNoMemory;
        callbacks_over_ = true;
        return Drain::over;
    }
    const ssize_t count = recv(callback_.get(), room.at, room.size, MSG_DONTWAIT);
    if (count < 0 && errno == EINTR)
        return Drain::some;
    if (count < 0 && errno == EAGAIN)
        return Drain::nothing;
    if (count <= 0) {
        callbacks_over_ = true;
        return Drain::over;
    }
    const std::size_t before = callbacks_.frames();
    if (!callbacks_.received(static_cast<std::size_t>(count)))
        fault = "a callback announces an impossible length";
    // A single callback may be as long as a frame can be.
    else if (callbacks_.bytes() > kLongestQueue && callbacks_.frames() > 1)
        fault = "more than 16 MiB of callbacks wait: the default main context is not iterated often enough";
    callbacks_over_ = fault != nullptr;
    unannounced_.fetch_add(callbacks_.frames() - before, std::memory_order_release);
    return Drain::some;
}

int ClientConnection::receive_callback(Parcel& parcel)
{
    if (state() == State::connecting)
        return RPC_PORT_ERROR_IO_ERROR;
    Deadline deadline{};
    while (!take_callback(parcel)) {
        if (!await_callback(deadline))
            return RPC_PORT_ERROR_IO_ERROR;
    }
    Capture::parcel(mark_, true, CaptureDirection::received, {parcel.payload(), parcel.size()});
    return RPC_PORT_ERROR_NONE;
}

bool ClientConnection::take_callback(Parcel& parcel)
{
    const std::lock_guard lock{queue_lock_};
    if (!callbacks_.take(parcel, false))
        return false;
    // Somebody may read without having been told: there is less to tell.
    std::size_t untold = unannounced_.load(std::memory_order_relaxed);
    while (untold > callbacks_.frames() && !unannounced_.compare_exchange_weak(untold, callbacks_.frames())) {
    }
    return true;
}

// Apart, since whoever was told of a callback finds it there. The deadline counts from the first time.
[[gnu::noinline]] bool ClientConnection::await_callback(Deadline& deadline)
{
    if (deadline == Deadline{})
        deadline = Clock::now() + timing_.deadline;
    switch (drain()) {
        case Drain::some:
            return true;
        case Drain::over:
            return false;
        case Drain::nothing:
            break;
    }
    pollfd waiting{callback_.get(), POLLIN, 0};
    const int left = milliseconds_until(deadline);
    if (state() != State::open || left == 0)
        return false;
    poll(&waiting, 1, left);
    return true;
}

// The main port.

int ClientConnection::receive(Parcel*& parcel, HandleTag port)
{
    try {
        OwnedParcel made{Parcel::make()};
        const int result = port == HandleTag::main_port ? receive_answer(*made) : receive_callback(*made);
        if (result == RPC_PORT_ERROR_NONE)
            parcel = made.release();
        return result;
    } catch (const std::bad_alloc&) {
        // An answer that is not read would be taken for the next one.
        if (port == HandleTag::main_port)
            close_for(kNoMemory);
        return RPC_PORT_ERROR_OUT_OF_MEMORY;
    }
}

int ClientConnection::send(Parcel& parcel, HandleTag port)
{
    if (port != HandleTag::main_port)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    const Deadline start = Clock::now();
    Sent& sent = note_send(main_port_, start + timing_.deadline);
    if (parcel.write_error() != 0)
        return parcel.write_error();
    if (parcel.size() > kLongestFrame) {
        QV_LOG(DLOG_ERROR, "a request of %zu bytes is refused: 64 MiB are possible", parcel.size());
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    const TimedGuard guard{sending_, sent.deadline};
    if (!guard || state() != State::open)
        return RPC_PORT_ERROR_IO_ERROR;

    std::string_view rest = parcel.frame();
    while (!rest.empty()) {
        const ssize_t count = ::send(main_.get(), rest.data(), rest.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count > 0) {
            sent.on_wire = true;
            rest.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EAGAIN) {
            if (wait(POLLOUT, start + kPlainWait, sent.deadline) == Wait::expired) {
                if (sent.on_wire)
                    missed_deadline();
                return RPC_PORT_ERROR_IO_ERROR;
            }
        } else if (errno != EINTR) {
            peer_left();
            return RPC_PORT_ERROR_IO_ERROR;
        }
        if (state() == State::closed)
            return RPC_PORT_ERROR_IO_ERROR;
    }
    Capture::parcel(mark_, false, CaptureDirection::sent, {parcel.payload(), parcel.size()});
    return RPC_PORT_ERROR_NONE;
}

int ClientConnection::receive_answer(Parcel& parcel)
{
    Sent* const sent = last_sent(main_port_);
    if (sent != nullptr && !sent->on_wire)
        return RPC_PORT_ERROR_IO_ERROR;
    // Of the same moment as the deadline: time is asked for once a call.
    const Deadline start = sent != nullptr ? sent->deadline - timing_.deadline : Clock::now();
    const Deadline deadline = start + timing_.deadline;
    const TimedGuard guard{reading_, deadline};
    if (!guard) {
        missed_deadline();
        return RPC_PORT_ERROR_IO_ERROR;
    }
    const bool reads_on = sent != nullptr && std::exchange(sent->was_read, true);
    return read_answer(parcel, start, deadline, reads_on);
}

int ClientConnection::read_answer(Parcel& parcel, Deadline start, Deadline deadline, bool reads_on)
{
    bool plainly = deadline - start > 2 * kPlainWait;
    for (;;) {
        const State now = state();
        if (now == State::closed || now == State::connecting)
            return RPC_PORT_ERROR_IO_ERROR;
        if (answers_.take(parcel, true))
            break;
        // An answer that came in time is found by the first look; what goes on coming is no reason to stay.
        if (std::exchange(reads_on, true) && Clock::now() >= deadline) {
            missed_deadline();
            return RPC_PORT_ERROR_IO_ERROR;
        }

        const FrameInput::Room room = answers_.room();
        const ssize_t count =
            recv(main_.get(), room.at, room.size, plainly && now == State::open ? 0 : MSG_DONTWAIT);
        if (count > 0) {
            if (!answers_.received(static_cast<std::size_t>(count))) {
                close_for("an answer announces an impossible length");
                return RPC_PORT_ERROR_IO_ERROR;
            }
            if (answers_.frames() == 0)
                plainly = plainly && Clock::now() - start < kPlainWait;
        } else if (count < 0 && errno == EINTR) {
            plainly = plainly && Clock::now() - start < kPlainWait;
        } else if (count < 0 && errno == EAGAIN) {
            if (now == State::peer_gone)
                return RPC_PORT_ERROR_IO_ERROR;
            plainly = false;
            if (wait(POLLIN, start + kPlainWait, deadline) == Wait::expired) {
                missed_deadline();
                return RPC_PORT_ERROR_IO_ERROR;
            }
        } else {
            peer_left();
            return RPC_PORT_ERROR_IO_ERROR;
        }
    }
    Capture::parcel(mark_, false, CaptureDirection::received, {parcel.payload(), parcel.size()});
    return RPC_PORT_ERROR_NONE;
}

// Waits on the main socket, first alone, then together with the callback socket, which it drains.
[[gnu::noinline]] ClientConnection::Wait ClientConnection::wait(short events, Deadline plainly_until,
                                                                Deadline deadline)
{
    for (;;) {
        const Deadline now = Clock::now();
        if (now >= deadline)
            return Wait::expired;
        bool both = now >= plainly_until;
        const int patience = milliseconds_until(both ? deadline : std::min(plainly_until, deadline));
        if (both) {
            const std::lock_guard lock{queue_lock_};
            both = !callbacks_over_;
        }
        pollfd sockets[] = {{main_.get(), events, 0}, {callback_.get(), POLLIN, 0}};
        if (poll(sockets, both ? 2 : 1, patience) <= 0)
            continue;
        if (both && sockets[1].revents != 0) {
            while (drain() == Drain::some) {
            }
            wake();
        }
        if (sockets[0].revents != 0 || state() != State::open)
            return Wait::ready;
    }
}

// Ends.

void ClientConnection::peer_left() noexcept
{
    State expected = State::open;
    if (state_.compare_exchange_strong(expected, State::peer_gone, std::memory_order_acq_rel))
        wake();
}

void ClientConnection::close_for(const char* reason) noexcept
{
    const State before = state_.exchange(State::closed, std::memory_order_acq_rel);
    if (before == State::closed)
        return;
    QV_LOG(DLOG_ERROR, "%s: the connection to port %s is closed: %s", app_id_.c_str(), port_name_.c_str(),
           reason);
    shut_down();
    wake();
}

[[gnu::noinline]] void ClientConnection::missed_deadline() noexcept
{
    char reason[80];
    static_cast<void>(std::snprintf(reason, sizeof reason, "nothing within %lld ms",
                                    static_cast<long long>(timing_.deadline.count())));
    close_for(reason);
}

void ClientConnection::shut_down() noexcept
{
    if (captured_.exchange(false, std::memory_order_relaxed))
        Capture::closed(mark_);
    const std::lock_guard lock{making_};
    for (const Descriptor* socket : {&main_, &callback_}) {
        if (*socket)
            shutdown(socket->get(), SHUT_RDWR);
    }
}

// The connected event is dispatched by the application's main loop. One that never runs shows as nothing at
// all, so a thread looks after a pending connect and says what is missing.

void ClientConnection::watch_delivery(const Ref<ClientConnection>& self) noexcept
{
    // Nothing that this thread would have to free: its first would cost a heap of its own.
    Slot* const reference = Handles::give_away(self);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    constexpr std::size_t stack = std::size_t{128} * 1024;
    pthread_attr_setstacksize(&attributes, stack);
    // The application's signals are not for this thread.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread{};
    if (pthread_create(&thread, &attributes, run_watch, reference) != 0)
        Handles::take_back(reference);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
}

void* ClientConnection::run_watch(void* self) noexcept
{
    auto* const given = static_cast<Slot*>(self);
    const Ref<ClientConnection> connection = Handles::borrow<ClientConnection>(given);
    Handles::take_back(given);
    connection->watch_until_told();
    return nullptr;
}

void ClientConnection::watch_until_told()
{
    std::unique_lock lock{told_lock_};
    if (told_changed_.wait_for(lock, kDeliveryPatience, [this] { return told_; }))
        return;
    // Still connecting is not the loop's fault, as long as the agent has not spoken.
    for (;;) {
        pollfd agent{-1, POLLIN, 0};
        {
            const std::lock_guard making{making_};
            agent.fd = main_.get();
        }
        if (agent.fd < 0 || poll(&agent, 1, 0) == 1 || Clock::now() >= connect_deadline_)
            break;
        if (told_changed_.wait_for(lock, 250ms, [this] { return told_; }))
            return;
    }
    lock.unlock();
    QV_LOG(DLOG_ERROR,
           "%s: what came of connecting to port %s is not delivered: nobody iterates the default main "
           "context; run g_main_loop_run() or g_main_context_iteration() on it",
           app_id_.c_str(), port_name_.c_str());
}

void ClientConnection::stop_watch() noexcept
{
    {
        const std::lock_guard lock{told_lock_};
        told_ = true;
    }
    told_changed_.notify_all();
}

void ClientConnection::after_fork() noexcept
{
    state_.store(State::closed);
    set_step(Step::over);
    main_.reset();
    callback_.reset();
    start_lock_.reset();
    program_.reset();
    source_.after_fork();
    new (&making_) std::mutex;
    new (&sending_) QuickLock;
    new (&reading_) QuickLock;
    new (&queue_lock_) QuickLock;
    new (&told_lock_) std::mutex;
    new (&told_changed_) std::condition_variable;
}

}  // namespace quorvel::platform
