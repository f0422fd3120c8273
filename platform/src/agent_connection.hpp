// One client of a stub, as the agent's end sees it.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "capture.hpp"
#include "frames.hpp"
#include "handles.hpp"
#include "places.hpp"
#include "quick_lock.hpp"
#include "sockets.hpp"

namespace quorvel::platform {

// What the clients of one user take up together.
struct Quota {
    uid_t uid;
    std::size_t connections;
    std::atomic<std::size_t> queued;
};

// What stays alive for as long as anybody may still send through it.
struct AgentShared {
    AgentLimits limits;
    Timing timing;
    Descriptor epoll;
};

// Bytes on their way to a slow reader, wiped as they go.
class OutQueue {
public:
    OutQueue() noexcept = default;
    ~OutQueue();
    OutQueue(const OutQueue&) = delete;
    OutQueue& operator=(const OutQueue&) = delete;

    bool empty() const noexcept { return head_ == nullptr; }
    void append(std::string_view bytes);  // throws std::bad_alloc, and then has none of it
    std::string_view front() const noexcept;
    void remove(std::size_t size) noexcept;

private:
    Chunk* head_ = nullptr;
    Chunk* tail_ = nullptr;
};

// What a test's agent does to a frame on its way out.
struct Tampering {
    std::size_t slice = SIZE_MAX;        // the length of its pieces
    std::size_t break_after = SIZE_MAX;  // the connection ends after so much of it
};

// Requests come in and answers go out on the main socket, callbacks go out on the other. Sending tries the
// socket first, and on the main one gives a reader a moment; what still does not fit is queued, for the loop
// to write, as long as the client's user has not too much waiting already. Only then the sender waits, and at
// its deadline the client is given up: it is shut down here, and the loop, which hears of that, tells of its
// end.
class AgentConnection final : public Counted {
public:
    AgentConnection(std::shared_ptr<AgentShared> shared, std::shared_ptr<Quota> quota, std::uint64_t number,
                    const Peer& peer, std::string_view sender, Descriptor main, Descriptor callback);
    ~AgentConnection() override;

    int send(Parcel& parcel, HandleTag port, const Tampering& tampering = {});
    int receive(Parcel*& parcel, HandleTag port);

    std::uint64_t number() const noexcept { return number_; }
    const std::string& sender() const noexcept { return sender_; }
    const std::string& instance() const noexcept { return instance_; }
    int socket(PortKind port) const noexcept { return side(port).socket.get(); }
    Quota& quota() const noexcept { return *quota_; }

    bool is_doomed() const noexcept { return doomed_.load(std::memory_order_acquire); }
    void doom() noexcept;

    // The agent does not want it: asked once, before it is welcomed.
    void reject() noexcept { rejected_ = true; }
    bool is_rejected() const noexcept { return rejected_; }

    // The loop's. Receiving either looks, or waits for as long as the socket's own time-out lasts.
    enum class Fill { some, nothing, over };
    Fill fill(bool wait);
    std::size_t waiting_frames() const noexcept { return waiting_frames_.load(std::memory_order_acquire); }
    void drop_one_frame();
    // Whether something waits for room in one of its sockets.
    bool owes() const noexcept { return main_.armed.load() || callback_.armed.load(); }
    void flush(PortKind port);
    // While several requests that came together are served, short answers to them leave together as well.
    void hold_answers() noexcept;
    void release_answers() noexcept;

    void after_fork() noexcept override;

private:
    // One of the two sockets, seen from the sender.
    struct Side {
        explicit Side(Descriptor fd) : socket(std::move(fd)) {}
        Descriptor socket;
        QuickLock sending;  // a whole frame
        QuickLock mutex;    // a step of it
        OutQueue queue;
        bool is_held = false;            // what is short waits in the queue; changed under the mutex
        std::atomic<bool> armed{false};  // the loop hears when there is room; changed under the mutex
    };

    Side& side(PortKind port) noexcept { return port == PortKind::main ? main_ : callback_; }
    const Side& side(PortKind port) const noexcept { return port == PortKind::main ? main_ : callback_; }
    int send_pieces(Side& side, PortKind port, std::string_view frame, const Tampering& tampering,
                    Deadline deadline);
    int send_frame(Side& side, PortKind port, std::string_view frame, Deadline deadline);
    bool push(Side& side, PortKind port, std::string_view& rest);
    bool write_patiently(Side& side, std::string_view& rest) noexcept;
    bool write(Side& side, std::string_view& rest) noexcept;
    bool enqueue(Side& side, std::string_view& rest);
    bool reserve(std::size_t size) noexcept;
    bool take_locked(Parcel& parcel) noexcept;
    void flush_locked(Side& side, PortKind port) noexcept;
    void arm(Side& side, PortKind port, bool writable) noexcept;

    const std::shared_ptr<AgentShared> shared_;
    const std::shared_ptr<Quota> quota_;
    const std::uint64_t number_;
    const std::string sender_;
    const std::string instance_;
    const CaptureMark mark_;
    std::atomic<bool> doomed_{false};
    bool rejected_ = false;
    Side main_;
    Side callback_;
    QuickLock input_lock_;
    FrameInput input_;
    std::atomic<std::size_t> waiting_frames_{0};  // changed under the lock
};

// What an epoll event of a client's socket carries.
constexpr std::uint64_t event_key(std::uint64_t number, PortKind port) noexcept
{
    return number << 1 | static_cast<std::uint64_t>(port);
}
std::uint32_t events_of(PortKind port, bool writable) noexcept;

}  // namespace quorvel::platform
