// Handles that can be held too long.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace quorvel::platform {

// Something that a handle stands for.
class Counted {
public:
    Counted() noexcept = default;
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    // In a forked child, which has this one thread only: closes the descriptors and makes the locks anew,
    // whatever state they were copied in. What was being changed at that moment is never looked at again.
    virtual void after_fork() noexcept = 0;

protected:
    virtual ~Counted() = default;
    friend class Handles;
};

enum class HandleKind : std::uint8_t { proxy, stub, visitor, client_connection, agent_connection };
// Which side of its object a handle names.
enum class HandleTag : std::uint8_t { main_port = 1, callback_port = 2, owner = 3 };

struct Slot;

// A counted reference to what a handle stands for.
class AnyRef {
public:
    AnyRef() noexcept = default;
    AnyRef(const AnyRef& other) noexcept;
    AnyRef(AnyRef&& other) noexcept : slot_(std::exchange(other.slot_, nullptr)) {}
    AnyRef& operator=(AnyRef other) noexcept
    {
        std::swap(slot_, other.slot_);
        return *this;
    }
    ~AnyRef();
    explicit operator bool() const noexcept { return slot_ != nullptr; }

protected:
    explicit AnyRef(Slot* slot) noexcept : slot_(slot) {}
    Counted* object() const noexcept;
    Slot* slot_ = nullptr;
    friend class Handles;
};

template <typename Object>
class Ref : public AnyRef {
public:
    Ref() noexcept = default;
    Object* operator->() const noexcept { return static_cast<Object*>(object()); }
    Object& operator*() const noexcept { return *operator->(); }

private:
    explicit Ref(Slot* slot) noexcept : AnyRef(slot) {}
    friend class Handles;
};

// The table behind all handles of proxies, stubs and ports. A handle is a number that is never given out
// twice; it finds its object until it is retired, and nothing afterwards. Finding takes no lock: each slot's
// generation and count of references change in one word. An object goes with its last reference, so that
// whoever found it may go on using it while another thread retires its handle.
class Handles {
public:
    // Gives the object its slot; it lives until the handle is retired and the last reference is gone.
    // Throws std::bad_alloc when there is no room, and deletes the object.
    template <typename Object>
    static Ref<Object> add(Object* object, HandleKind kind)
    {
        return Ref<Object>{add_any(object, kind)};
    }

    template <typename Object>
    static Ref<Object> find(const void* handle, HandleKind kind, HandleTag tag = HandleTag::owner) noexcept
    {
        return Ref<Object>{find_any(handle, kind, tag)};
    }

    static HandleTag tag_of(const void* handle) noexcept;
    static void* handle(const AnyRef& object, HandleTag tag) noexcept;
    // The handles find nothing from here on. False when they did not find anything before either.
    static bool retire(const AnyRef& object) noexcept;

    static void lock() noexcept;
    static void unlock() noexcept;
    static void after_fork() noexcept;

    // For a reference that C code carries along: given away, looked at, taken back.
    static Slot* give_away(AnyRef reference) noexcept { return std::exchange(reference.slot_, nullptr); }
    template <typename Object>
    static Ref<Object> borrow(Slot* slot) noexcept
    {
        return Ref<Object>{again(slot)};
    }
    static void take_back(Slot* slot) noexcept { release(slot); }

private:
    static Slot* again(Slot* slot) noexcept;
    static Slot* add_any(Counted* object, HandleKind kind);
    static Slot* find_any(const void* handle, HandleKind kind, HandleTag tag) noexcept;
    static void release(Slot* slot) noexcept;
    static void end(Slot* slot, std::uint64_t state) noexcept;
    friend class AnyRef;
};

}  // namespace quorvel::platform
