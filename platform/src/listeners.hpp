// Who listens to the events of a proxy or a stub.
#pragma once

#include <atomic>
#include <cstddef>
#include <mutex>
#include <new>
#include <vector>

#include "exports.hpp"
#include "quick_lock.hpp"

namespace quorvel::platform {

template <typename Callback>
struct Listener {
    Callback callback;
    void* data;
};
template <typename Callback>
using Listeners = std::vector<Listener<Callback>>;

// `Events` is a record of listeners, one member a kind of event. They are called with no lock held, may do
// anything, and nobody is called any more once the gate is closed; a call in progress may finish.
template <typename Events>
class EventGate {
public:
    template <typename Callback>
    int listen(Listeners<Callback> Events::*kind, Callback callback, void* data)
    {
        if (callback == nullptr)
            return RPC_PORT_ERROR_INVALID_PARAMETER;
        const std::lock_guard lock{mutex_};
        (events_.*kind).push_back({callback, data});
        return RPC_PORT_ERROR_NONE;
    }

    // Does `call(callback, data)` for each, and says whether the gate is still open.
    template <typename Callback, typename Call>
    bool for_each(Listeners<Callback> Events::*kind, Call&& call)
    {
        bool last = false;
        for (std::size_t i = 0; !last; ++i) {
            Listener<Callback> listener{};
            {
                const std::lock_guard lock{mutex_};
                if (is_closed() || i >= (events_.*kind).size())
                    break;
                listener = (events_.*kind)[i];
                last = i + 1 == (events_.*kind).size();
            }
            call(listener.callback, listener.data);
        }
        return !is_closed();
    }

    template <typename Callback, typename... Arguments>
    bool tell(Listeners<Callback> Events::*kind, Arguments... arguments)
    {
        return for_each(kind, [&](Callback callback, void* data) { callback(arguments..., data); });
    }

    void close() noexcept
    {
        const std::lock_guard lock{mutex_};
        closed_.store(true, std::memory_order_release);
    }

    bool is_closed() const noexcept { return closed_.load(std::memory_order_acquire); }

    void after_fork() noexcept { new (&mutex_) QuickLock; }

private:
    QuickLock mutex_;
    std::atomic<bool> closed_{false};
    Events events_;
};

}  // namespace quorvel::platform
