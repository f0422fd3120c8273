// The agent's end of a port.
#pragma once

#include <glib.h>

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "agent_connection.hpp"
#include "exports.hpp"
#include "handles.hpp"
#include "listeners.hpp"
#include "loop_source.hpp"

namespace quorvel::platform {

struct StubEvents {
    Listeners<rpc_port_stub_connected_event_cb> connected;
    Listeners<rpc_port_stub_disconnected_event_cb> disconnected;
    Listeners<rpc_port_stub_received_event_cb> received;
};

// A socket that has not joined a client yet: it has to introduce itself first.
class Visitor final : public Counted {
public:
    Visitor(Descriptor fd, const Peer& who, Deadline until)
        : socket(std::move(fd)), peer(who), deadline(until)
    {
    }

    void after_fork() noexcept override { socket.reset(); }

    Descriptor socket;
    Peer peer;
    Deadline deadline;
    FrameInput input;
    std::optional<Introduction> introduction;
};

// Listens on a port, joins the two sockets of each client, and tells of requests, one event each, on the
// thread that iterates the default main context.
//
// All sockets sit in one epoll set, which is what the main loop watches: a turn costs the same however many
// clients are connected, and any thread can ask for a writable socket without waking the loop itself.
// Requests that were read ahead are served in turn with the other clients' and never longer than a few
// milliseconds before the main loop runs again. A client that calls in quick succession, alone, is waited
// for in a plain receive after its answer, which spares two polls a request.
class Stub final : public Counted {
public:
    Stub(const char* port_name);
    ~Stub() override;

    int listen(const Ref<Stub>& self);
    int port(HandleTag tag, const char* instance, rpc_port_h* port);
    void destroy() noexcept;

    EventGate<StubEvents>& events() noexcept { return events_; }

    // The loop source's.
    bool dispatch(const Ref<Stub>& self);

    void after_fork() noexcept override;

private:
    // On the loop thread.
    void accept_all();
    void set_accepting(bool accepting) noexcept;
    void expire_visitors();
    void hear_visitor(std::uint64_t number);
    void join(const Ref<Visitor>& one, const Ref<Visitor>& other);
    void forget_visitor(std::uint64_t number) noexcept;
    std::shared_ptr<Quota> quota_of(uid_t uid);
    std::size_t visitors_of(uid_t uid) const noexcept;
    gint64 due() const noexcept;

    void handle(std::uint64_t key, std::uint32_t events);
    void hear_client(std::uint64_t number, PortKind port, std::uint32_t events);
    void serve(const Ref<AgentConnection>& client);
    void serve_backlog();
    bool serve_frames(const Ref<AgentConnection>& client);
    bool serve_each(const Ref<AgentConnection>& client);
    void linger(Deadline turn_end);
    void note_activity(std::uint64_t number) noexcept;
    void drop(const Ref<AgentConnection>& client);
    Ref<AgentConnection> client(std::uint64_t number);
    bool watch(int fd, std::uint32_t events, std::uint64_t key, bool added) noexcept;

    const std::string port_name_;
    const std::shared_ptr<AgentShared> shared_;
    EventGate<StubEvents> events_;
    LoopSource source_;

    // The loop's.
    std::map<std::uint64_t, Ref<Visitor>> visitors_;
    std::deque<std::uint64_t> backlog_;  // clients with requests that were read ahead
    std::vector<std::shared_ptr<Quota>> quotas_;
    std::uint64_t next_number_ = 1;
    Deadline accept_again_{};  // set while no more clients are accepted
    std::uint64_t last_heard_ = 0;
    Deadline last_heard_at_{};
    Deadline crowd_until_{};
    bool in_quick_succession_ = false;

    std::mutex mutex_;
    bool listening_ = false;
    bool destroyed_ = false;
    std::string path_;
    Descriptor listener_;
    Descriptor listen_lock_;
    std::map<std::uint64_t, Ref<AgentConnection>> clients_;
    std::atomic<bool> forked_{false};
};

}  // namespace quorvel::platform
