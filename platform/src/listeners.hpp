// Who listens to the events of a proxy or a stub.
#pragma once

#include <cstddef>
#include <mutex>
#include <new>
#include <vector>

#include "exports.hpp"

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
        for (std::size_t i = 0;; ++i) {
            Listener<Callback> listener{};
            {
                const std::lock_guard lock{mutex_};
                if (closed_)
                    return false;
                if (i == (events_.*kind).size())
                    return true;
                listener = (events_.*kind)[i];
            }
            call(listener.callback, listener.data);
        }
    }

    template <typename Callback, typename... Arguments>
    bool tell(Listeners<Callback> Events::*kind, Arguments... arguments)
    {
        return for_each(kind, [&](Callback callback, void* data) { callback(arguments..., data); });
    }

    void close() noexcept
    {
        const std::lock_guard lock{mutex_};
        closed_ = true;
    }

    bool is_closed() noexcept
    {
        const std::lock_guard lock{mutex_};
        return closed_;
    }

    void after_fork() noexcept { new (&mutex_) std::mutex; }

private:
    std::mutex mutex_;
    bool closed_ = false;
    Events events_;
};

}  // namespace quorvel::platform
