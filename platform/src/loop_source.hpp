// A source on the default main context that belongs to one of our objects.
#pragma once

#include <glib.h>

#include <atomic>
#include <cstdint>

#include "handles.hpp"

namespace quorvel::platform {

// `Object` has `bool has_work()`, asked before and after every poll, and `bool dispatch(const Ref<Object>&)`,
// which says whether the source stays. The source holds a reference.
//
// GLib hands the source from thread to thread under locks of its own make, which thread sanitizers do not
// know. So the one word of ours in it is passed on by atomic steps that say what happens before what.
template <typename Object>
class LoopSource {
public:
    // May be polled and dispatched again while it is being dispatched: callbacks may run the loop, and
    // forbidding it would cost a change of what is polled, and a wake-up, around every dispatch.
    static GSource* make(const Ref<Object>& object, const char* name)
    {
        static GSourceFuncs functions{prepare, check, dispatch, finalize, nullptr, nullptr};
        GSource* source = g_source_new(&functions, sizeof(Layout));
        slot_of(source).store(reinterpret_cast<std::uintptr_t>(Handles::give_away(object)),
                              std::memory_order_release);
        g_source_set_static_name(source, name);
        g_source_set_can_recurse(source, TRUE);
        return source;
    }

private:
    struct Layout {
        GSource source;
        std::atomic<std::uintptr_t> slot;
    };

    static std::atomic<std::uintptr_t>& slot_of(GSource* source) noexcept
    {
        return reinterpret_cast<Layout*>(source)->slot;
    }

    static Ref<Object> object_of(GSource* source) noexcept
    {
        return Handles::borrow<Object>(
            reinterpret_cast<Slot*>(slot_of(source).fetch_add(0, std::memory_order_acq_rel)));
    }

    static gboolean prepare(GSource* source, gint* timeout) noexcept
    {
        *timeout = -1;
        return object_of(source)->has_work();
    }
    static gboolean check(GSource* source) noexcept { return object_of(source)->has_work(); }
    static gboolean dispatch(GSource* source, GSourceFunc, gpointer)
    {
        const Ref<Object> object = object_of(source);
        return object->dispatch(object) ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
    }
    static void finalize(GSource* source) noexcept
    {
        Handles::take_back(reinterpret_cast<Slot*>(slot_of(source).exchange(0, std::memory_order_acq_rel)));
    }
};

}  // namespace quorvel::platform
