#include "agent_connection.hpp"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <new>
#include <thread>

#include "exports.hpp"
#include "log.hpp"

namespace quorvel::platform {
namespace {

// While it waits for room a sender looks again at least this often: another one's may have become free.
constexpr int kLongestNap = 10;
// A frame that is cut up leaves whole after so many pieces: the agent's loop stands still meanwhile.
constexpr int kMostSlices = 256;
constexpr std::chrono::microseconds kSlicePause{100};

// How much of an answer is handed to the kernel at once while its reader is waited for, and how long that may
// go on.
constexpr std::size_t kSlice = std::size_t{256} << 10;
constexpr auto kPatience = std::chrono::milliseconds{5};

// A longer answer does not wait for the others that leave with it.
constexpr std::size_t kLongestHeld = std::size_t{4} << 10;

std::string printable(std::string_view text)
{
    std::string result{text};
    std::replace_if(
        result.begin(), result.end(), [](char c) { return std::isprint(static_cast<unsigned char>(c)) == 0; },
        '?');
    return result;
}

}  // namespace

std::uint32_t events_of(PortKind port, bool writable) noexcept
{
    std::uint32_t events = EPOLLRDHUP;
    // Nothing is ever read from a client's callback socket.
    if (port == PortKind::main)
        events |= EPOLLIN;
    if (writable)
        events |= EPOLLOUT;
    return events;
}

OutQueue::~OutQueue()
{
    while (!empty())
        remove(front().size());
}

void OutQueue::append(std::string_view bytes)
{
    if (bytes.empty())
        return;
    if (tail_ != nullptr && tail_->capacity() - tail_->end >= bytes.size()) {
        bytes.copy(tail_->bytes() + tail_->end, bytes.size());
        tail_->end += bytes.size();
        return;
    }
    Chunk* chunk = Chunk::make(bytes.size());
    bytes.copy(chunk->bytes(), bytes.size());
    chunk->end = bytes.size();
    if (tail_ != nullptr)
        tail_->next = chunk;
    else
        head_ = chunk;
    tail_ = chunk;
}

std::string_view OutQueue::front() const noexcept
{
    return {head_->bytes() + head_->begin, head_->end - head_->begin};
}

void OutQueue::remove(std::size_t size) noexcept
{
    wipe(head_->bytes() + head_->begin, size);
    head_->begin += size;
    if (head_->begin != head_->end)
        return;
    Chunk* done = head_;
    head_ = done->next;
    if (head_ == nullptr)
        tail_ = nullptr;
    done->release();
}

AgentConnection::AgentConnection(std::shared_ptr<AgentShared> shared, std::shared_ptr<Quota> quota,
                                 std::uint64_t number, const Peer& peer, std::string_view sender,
                                 Descriptor main, Descriptor callback)
    : shared_(std::move(shared)),
      quota_(std::move(quota)),
      number_(number),
      sender_(printable(sender)),
      instance_(sender_ + ":" + std::to_string(peer.pid) + ":" + std::to_string(number)),
      mark_(Capture::next_connection(CaptureRole::agent)),
      main_(std::move(main)),
      callback_(std::move(callback))
{
    Capture::opened(mark_, instance_);
}

AgentConnection::~AgentConnection()
{
    Capture::closed(mark_);
    for (Side* side : {&main_, &callback_}) {
        while (!side->queue.empty()) {
            const std::size_t size = side->queue.front().size();
            quota_->queued.fetch_sub(size, std::memory_order_relaxed);
            side->queue.remove(size);
        }
    }
}

void AgentConnection::doom() noexcept
{
    if (doomed_.exchange(true, std::memory_order_acq_rel))
        return;
    shutdown(main_.socket.get(), SHUT_RDWR);
    shutdown(callback_.socket.get(), SHUT_RDWR);
}

// Sending.

int AgentConnection::send(Parcel& parcel, HandleTag port, const Tampering& tampering)
{
    if (parcel.write_error() != 0)
        return parcel.write_error();
    if (parcel.size() > kLongestFrame) {
        QV_LOG(DLOG_ERROR, "a parcel of %zu bytes to %s is refused: 64 MiB are possible", parcel.size(),
               instance_.c_str());
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    }
    const PortKind kind = port == HandleTag::main_port ? PortKind::main : PortKind::callback;
    Side& to = side(kind);
    const Deadline deadline = Clock::now() + shared_->timing.deadline;
    const TimedGuard guard{to.sending, deadline};
    if (!guard)
        return RPC_PORT_ERROR_IO_ERROR;
    int result = RPC_PORT_ERROR_NONE;
    try {
        result = send_pieces(to, kind, parcel.frame(), tampering, deadline);
    } catch (const std::bad_alloc&) {
        // Part of the frame may have left already.
        QV_LOG(DLOG_ERROR, "client %s is dropped: no memory for what waits for it", instance_.c_str());
        doom();
        result = RPC_PORT_ERROR_OUT_OF_MEMORY;
    }
    if (result == RPC_PORT_ERROR_NONE) {
        Capture::parcel(mark_, kind == PortKind::callback, CaptureDirection::sent,
                        {parcel.payload(), parcel.size()});
    }
    return result;
}

int AgentConnection::send_pieces(Side& to, PortKind kind, std::string_view frame, const Tampering& tampering,
                                 Deadline deadline)
{
    const bool breaks = tampering.break_after < frame.size();
    if (breaks || frame.size() > tampering.slice)
        release_answers();
    frame = frame.substr(0, tampering.break_after);
    for (int piece = 0; frame.size() > tampering.slice && piece < kMostSlices; ++piece) {
        const int result = send_frame(to, kind, frame.substr(0, tampering.slice), deadline);
        if (result != RPC_PORT_ERROR_NONE)
            return result;
        frame.remove_prefix(tampering.slice);
        std::this_thread::sleep_for(kSlicePause);
    }
    const int result = send_frame(to, kind, frame, deadline);
    if (breaks)
        doom();
    return result;
}

int AgentConnection::send_frame(Side& to, PortKind kind, std::string_view frame, Deadline deadline)
{
    std::string_view rest = frame;
    while (!push(to, kind, rest)) {
        if (is_doomed())
            return RPC_PORT_ERROR_IO_ERROR;
        const int left = milliseconds_until(deadline);
        if (left == 0) {
            QV_LOG(DLOG_ERROR,
                   "client %s is dropped: it does not read, and the limit of %zu bytes queued for user %d "
                   "(QUORVEL_AGENT_QUEUE_BYTES) was reached",
                   instance_.c_str(), shared_->limits.queued_bytes, static_cast<int>(quota_->uid));
            doom();
            return RPC_PORT_ERROR_IO_ERROR;
        }
        pollfd waiting{to.socket.get(), POLLOUT, 0};
        poll(&waiting, 1, std::min(left, kLongestNap));
    }
    return is_doomed() ? RPC_PORT_ERROR_IO_ERROR : RPC_PORT_ERROR_NONE;
}

// Gets rid of as much as goes at once; true when that was all, or nothing goes any more.
bool AgentConnection::push(Side& to, PortKind kind, std::string_view& rest)
{
    const std::lock_guard lock{to.mutex};
    if (to.is_held && rest.size() <= kLongestHeld && enqueue(to, rest))
        return true;
    flush_locked(to, kind);
    if (to.queue.empty() && !(kind == PortKind::main ? write_patiently(to, rest) : write(to, rest)))
        doom();
    if (is_doomed() || rest.empty())
        return true;
    if (!enqueue(to, rest))
        return false;
    arm(to, kind, true);
    return true;
}

bool AgentConnection::enqueue(Side& to, std::string_view& rest)
{
    if (!reserve(rest.size()))
        return false;
    try {
        to.queue.append(rest);
    } catch (...) {
        quota_->queued.fetch_sub(rest.size(), std::memory_order_relaxed);
        throw;
    }
    rest = {};
    return true;
}

// Several requests that came together are answered together: their threads are woken by one send instead of
// one each. What is long goes at once, behind what was held back.
void AgentConnection::hold_answers() noexcept
{
    const std::lock_guard lock{main_.mutex};
    main_.is_held = true;
}

void AgentConnection::release_answers() noexcept
{
    const std::lock_guard lock{main_.mutex};
    main_.is_held = false;
    flush_locked(main_, PortKind::main);
    if (!main_.queue.empty())
        arm(main_, PortKind::main, true);
}

// Who asked is reading, so an answer that is longer than the socket's buffer goes a moment later, straight
// from its parcel, and wakes nobody's loop for that. Only a client that does not read has the rest of it
// copied. The socket's own time-out ends the wait for a reader that takes nothing. False when the client is
// gone.
bool AgentConnection::write_patiently(Side& to, std::string_view& rest) noexcept
{
    Deadline impatient{};
    while (!rest.empty()) {
        const std::size_t slice = std::min(rest.size(), kSlice);
        const ssize_t count = ::send(to.socket.get(), rest.data(), slice, MSG_NOSIGNAL);
        if (count > 0)
            rest.remove_prefix(static_cast<std::size_t>(count));
        const bool is_reading = count == static_cast<ssize_t>(slice);
        if (rest.empty())
            return true;
        if (!is_reading)
            return write(to, rest);
        const Deadline now = Clock::now();
        if (impatient == Deadline{})
            impatient = now + kPatience;
        else if (now >= impatient)
            return write(to, rest);
    }
    return true;
}

// What goes at once. False when the client is gone.
bool AgentConnection::write(Side& to, std::string_view& rest) noexcept
{
    while (!rest.empty()) {
        const ssize_t count = ::send(to.socket.get(), rest.data(), rest.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count > 0)
            rest.remove_prefix(static_cast<std::size_t>(count));
        else if (errno == EAGAIN)
            return true;
        else if (errno != EINTR)
            return false;
    }
    return true;
}

bool AgentConnection::reserve(std::size_t size) noexcept
{
    const std::size_t limit = shared_->limits.queued_bytes;
    std::size_t queued = quota_->queued.load(std::memory_order_relaxed);
    do {
        if (queued > limit || limit - queued < size)
            return false;
    } while (!quota_->queued.compare_exchange_weak(queued, queued + size, std::memory_order_relaxed));
    return true;
}

void AgentConnection::flush(PortKind port)
{
    Side& to = side(port);
    const std::lock_guard lock{to.mutex};
    flush_locked(to, port);
}

void AgentConnection::flush_locked(Side& to, PortKind port) noexcept
{
    if (to.queue.empty())
        return;
    while (!to.queue.empty()) {
        const std::string_view before = to.queue.front();
        std::string_view rest = before;
        const bool alive = write(to, rest);
        const std::size_t written = before.size() - rest.size();
        if (written != 0) {
            to.queue.remove(written);
            quota_->queued.fetch_sub(written, std::memory_order_relaxed);
        }
        if (!alive)
            doom();
        if (!alive || !rest.empty())
            return;
    }
    arm(to, port, false);
}

void AgentConnection::arm(Side& to, PortKind port, bool writable) noexcept
{
    if (to.armed == writable)
        return;
    epoll_event event{};
    event.events = events_of(port, writable);
    event.data.u64 = event_key(number_, port);
    if (epoll_ctl(shared_->epoll.get(), EPOLL_CTL_MOD, to.socket.get(), &event) == 0)
        to.armed = writable;
}

// Receiving.

AgentConnection::Fill AgentConnection::fill(bool wait)
{
    const char* fault = nullptr;
    Fill result = Fill::some;
    {
        // Nobody else waits for this lock while the loop waits on the socket: requests are read from within
        // the loop's own event, or not before one was announced.
        const std::lock_guard lock{input_lock_};
        const FrameInput::Room room = input_.room();
        const ssize_t count = recv(main_.socket.get(), room.at, room.size, wait ? 0 : MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EINTR))
            result = Fill::nothing;
        else if (count <= 0)
            result = Fill::over;
        else if (!input_.received(static_cast<std::size_t>(count)))
            fault = "it announces a request of an impossible length";
        waiting_frames_.store(input_.frames(), std::memory_order_release);
    }
    if (fault != nullptr) {
        QV_LOG(DLOG_ERROR, "client %s is dropped: %s", instance_.c_str(), fault);
        return Fill::over;
    }
    return result;
}

void AgentConnection::drop_one_frame()
{
    const OwnedParcel parcel{Parcel::make()};
    const std::lock_guard lock{input_lock_};
    take_locked(*parcel);
}

bool AgentConnection::take_locked(Parcel& parcel) noexcept
{
    const bool taken = input_.take(parcel, false);
    waiting_frames_.store(input_.frames(), std::memory_order_release);
    return taken;
}

int AgentConnection::receive(Parcel*& parcel, HandleTag port)
{
    if (port != HandleTag::main_port)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    OwnedParcel made{Parcel::make()};
    Deadline deadline{};
    for (;;) {
        {
            const std::lock_guard lock{input_lock_};
            if (take_locked(*made))
                break;
        }
        if (is_doomed())
            return RPC_PORT_ERROR_IO_ERROR;
        switch (fill(false)) {
            case Fill::some:
                break;
            case Fill::over:
                doom();
                return RPC_PORT_ERROR_IO_ERROR;
            case Fill::nothing: {
                if (deadline == Deadline{})
                    deadline = Clock::now() + shared_->timing.deadline;
                const int left = milliseconds_until(deadline);
                if (left == 0)
                    return RPC_PORT_ERROR_IO_ERROR;
                pollfd waiting{main_.socket.get(), POLLIN, 0};
                poll(&waiting, 1, left);
                break;
            }
        }
    }
    Capture::parcel(mark_, false, CaptureDirection::received, {made->payload(), made->size()});
    parcel = made.release();
    return RPC_PORT_ERROR_NONE;
}

void AgentConnection::after_fork() noexcept
{
    doomed_.store(true);
    for (Side* side : {&main_, &callback_}) {
        side->socket.reset();
        new (&side->sending) QuickLock;
        new (&side->mutex) QuickLock;
    }
    new (&input_lock_) QuickLock;
}

}  // namespace quorvel::platform
