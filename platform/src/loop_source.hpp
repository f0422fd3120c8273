// A source on the default main context that belongs to one of our objects.
#pragma once

#include <glib.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>
#include <utility>

#include "handles.hpp"
#include "places.hpp"

namespace quorvel::platform {

// The source holds a reference to the object and calls its `bool dispatch(const Ref<Object>&)`, which says
// whether the source stays: when a watched descriptor is ready, and when it is due.
//
// GLib hands sources from thread to thread under locks of its own make, which thread sanitizers do not know.
// So nothing of ours lies within the source: it only carries the object's slot, which every thread may read,
// and there is no prepare or check function, which would be given no more than the source.
class LoopSource {
public:
    static constexpr gint64 kNow = 0;
    static constexpr gint64 kNever = -1;
    // Both clocks count from the same moment.
    static gint64 at(Deadline deadline) noexcept
    {
        return std::chrono::ceil<std::chrono::microseconds>(deadline.time_since_epoch()).count();
    }

    LoopSource() noexcept = default;
    LoopSource(const LoopSource&) = delete;
    LoopSource& operator=(const LoopSource&) = delete;

    template <typename Object>
    void make(const Ref<Object>& object, const char* name)
    {
        static GSourceFuncs functions{nullptr, nullptr, dispatch<Object>, nullptr, nullptr, nullptr};
        const std::lock_guard lock{mutex_};
        source_ = g_source_new(&functions, sizeof(GSource));
        g_source_set_static_name(source_, name);
        // Callbacks may run the loop themselves; and a source that may not recurse costs a change of what is
        // polled, and a wake-up, around every dispatch.
        g_source_set_can_recurse(source_, TRUE);
        // The dispatch calls the object itself; only what it gets stands for a callback.
        g_source_set_callback(source_, nullptr, Handles::give_away(object), take_back);
        handed_over.fetch_add(1, std::memory_order_release);
    }

    // Does `use(source)` while the source is there, which it may stop to be at any moment.
    template <typename Use>
    bool with(Use&& use)
    {
        const std::lock_guard lock{mutex_};
        if (source_ == nullptr)
            return false;
        use(source_);
        return true;
    }

    // Sees to it that the object is dispatched when `due()` says. Asked under the lock, so that of two
    // threads the later one also sees what the other changed; GLib is only told of a difference, since it
    // wakes the loop for that.
    template <typename Due>
    void schedule(Due&& due)
    {
        const std::lock_guard lock{mutex_};
        if (source_ == nullptr)
            return;
        const gint64 time = due();
        if (time != due_)
            g_source_set_ready_time(source_, due_ = time);
    }

    // From any thread, also within a dispatch; nothing is dispatched any more once it returned.
    void drop() noexcept
    {
        GSource* source = nullptr;
        {
            const std::lock_guard lock{mutex_};
            source = std::exchange(source_, nullptr);
        }
        if (source != nullptr) {
            g_source_destroy(source);
            g_source_unref(source);
        }
    }

    // The child's loop finds the descriptors closed, and then drops the source by itself.
    void after_fork() noexcept
    {
        new (&mutex_) std::mutex;
        source_ = nullptr;
    }

private:
    template <typename Object>
    static gboolean dispatch(GSource*, GSourceFunc, gpointer slot)
    {
        static_cast<void>(handed_over.load(std::memory_order_acquire));
        const Ref<Object> object = Handles::borrow<Object>(static_cast<Slot*>(slot));
        return object->dispatch(object) ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    }
    // What the thread sanitizer sees of the hand-over of a slot to the thread that runs the loop.
    static inline std::atomic<std::uint64_t> handed_over{0};

    static void take_back(gpointer slot) noexcept { Handles::take_back(static_cast<Slot*>(slot)); }

    std::mutex mutex_;
    GSource* source_ = nullptr;
    gint64 due_ = kNever;
};

}  // namespace quorvel::platform
