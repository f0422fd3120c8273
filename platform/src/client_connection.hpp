// One connection of a client to an agent.
#pragma once

#include <glib.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>

#include "capture.hpp"
#include "frames.hpp"
#include "handles.hpp"
#include "loop_source.hpp"
#include "places.hpp"
#include "quick_lock.hpp"
#include "sockets.hpp"

namespace quorvel::platform {

class Proxy;

// Carries calls out and answers back on the main socket, and callbacks in on the callback socket.
//
// Who does what:
//  - The loop thread, through a source on the default main context, drives the connecting, takes callbacks
//    off their socket and dispatches all events. It never waits for a frame.
//  - A thread that sends or reads on the main port does so in its own send or recv, so that a call costs one
//    of each. Only when nothing came for a while does it look at the callback socket as well, and move what
//    waits there into the queue: the agent may be stuck writing callbacks before it can answer.
//  - Any thread may end the connection: the state changes and both sockets are shut down, which wakes
//    everybody. The descriptors are closed with the last reference.
//
// No two answers can be told apart, so a connection on which one was missed is never used again: the
// deadline of a thread starts when it sends, and a read without a frame at that time ends the connection.
class ClientConnection final : public Counted {
public:
    static Ref<ClientConnection> make(const Ref<Proxy>& proxy, const char* app_id, const char* port_name);
    ~ClientConnection() override;

    // Takes the first steps at once; what comes of them is only told from the loop.
    void begin(const Ref<ClientConnection>& self);
    // The proxy is gone: nobody hears of this connection any more.
    void abandon(const Ref<ClientConnection>& self) noexcept;

    int send(Parcel& parcel, HandleTag port);
    int receive(Parcel*& parcel, HandleTag port);
    void* port(HandleTag tag) const noexcept
    {
        return tag == HandleTag::main_port ? main_port_ : callback_port_;
    }
    bool is_open() const noexcept { return state() == State::open; }

    void after_fork() noexcept override;

    // The loop source's.
    bool dispatch(const Ref<ClientConnection>& self);

private:
    enum class State { connecting, open, peer_gone, closed };
    // What the loop does next.
    enum class Step { find, await_welcome, tell_connected, run, tell_rejected, tell_disconnected, over };
    enum class Drain { some, nothing, over };
    enum class Wait { ready, expired };

    ClientConnection(const Ref<Proxy>& proxy, const char* app_id, const char* port_name);

    State state() const noexcept { return state_.load(std::memory_order_acquire); }

    // On the loop thread, or before the loop knows of this connection.
    Step step() const noexcept { return step_.load(std::memory_order_acquire); }
    void set_step(Step step) noexcept { step_.store(step, std::memory_order_release); }
    void advance();
    void take_step();
    void find();
    void start();
    void join(Reached main, Reached callback);
    void await_welcome();
    Step step_after_silence() const noexcept;
    void retry_soon() noexcept;
    bool go_on(const Ref<ClientConnection>& self);
    gint64 due() const noexcept;
    void wake() noexcept;
    void settle(Step step) noexcept;
    bool run(const Ref<ClientConnection>& self);
    bool announce_next() noexcept;
    void finish(const Ref<ClientConnection>& self) noexcept;

    Drain drain();
    Drain drain_locked(const char*& fault);
    int receive_callback(Parcel& parcel);
    bool take_callback(Parcel& parcel);
    bool await_callback(Deadline& deadline);
    int receive_answer(Parcel& parcel);
    int read_answer(Parcel& parcel, Deadline start, Deadline deadline, bool reads_on);
    Wait wait(short events, Deadline plainly_until, Deadline deadline);

    // From any thread.
    void peer_left() noexcept;
    void close_for(const char* reason) noexcept;
    void missed_deadline() noexcept;
    void shut_down() noexcept;

    void watch_delivery(const Ref<ClientConnection>& self) noexcept;
    static void* run_watch(void* self) noexcept;
    void watch_until_told();
    void stop_watch() noexcept;

    const Ref<Proxy> proxy_;
    const std::string app_id_;
    const std::string port_name_;
    const Timing timing_;
    const Deadline connect_deadline_;
    const CaptureMark mark_;
    std::atomic<bool> captured_{false};  // the beginning was told, so the end will be
    void* main_port_ = nullptr;
    void* callback_port_ = nullptr;
    std::atomic<State> state_{State::connecting};

    LoopSource source_;

    // The loop's; the step also hands the rest from the thread that began to the loop thread.
    std::atomic<Step> step_{Step::find};
    gpointer main_tag_ = nullptr;
    std::chrono::milliseconds retry_after_{1};
    Deadline retry_at_{};
    std::string path_;
    Descriptor start_lock_;
    Descriptor program_;
    bool searched_with_lock_ = false;
    bool started_ = false;
    uid_t agent_uid_ = 0;

    std::mutex making_;  // of the sockets, until the connection is open; from then on they stay
    Descriptor main_;
    Descriptor callback_;

    QuickLock sending_;
    QuickLock reading_;
    FrameInput answers_;

    QuickLock queue_lock_;
    FrameInput callbacks_;
    bool callbacks_over_ = false;
    std::atomic<std::size_t> unannounced_{0};

    std::mutex told_lock_;
    std::condition_variable told_changed_;
    bool told_ = false;
};

}  // namespace quorvel::platform
