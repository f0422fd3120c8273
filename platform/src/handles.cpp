#include "handles.hpp"

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>

namespace quorvel::platform {

static_assert(sizeof(void*) == 8, "a handle holds a generation, an index and a tag in a pointer's bits");

struct Slot {
    // Generation (32 bits), whether the handle is alive (1), references (31), changed together.
    std::atomic<std::uint64_t> state{std::uint64_t{1} << 32};
    Counted* object = nullptr;
    Slot* next_free = nullptr;
    std::uint16_t index = 0;
    std::atomic<HandleKind> kind = HandleKind::proxy;
};

namespace {

constexpr std::uint64_t kAlive = std::uint64_t{1} << 31;
constexpr std::uint64_t kReferences = kAlive - 1;
constexpr int kGenerationShift = 32;

// A handle: generation from bit 16 on, index in 14 bits, tag in 2.
constexpr int kTagBits = 2;
constexpr std::size_t kSlotsInGroup = 64;
constexpr std::size_t kGroups = 256;

struct Table {
    std::mutex mutex;
    std::atomic<Slot*> groups[kGroups] = {};
    std::size_t group_count = 0;
    Slot* first_free = nullptr;
    Slot* last_free = nullptr;

    // Slots are taken in turn, so that generations advance as slowly as they can.
    void give(Slot* slot) noexcept
    {
        slot->next_free = nullptr;
        if (last_free != nullptr)
            last_free->next_free = slot;
        else
            first_free = slot;
        last_free = slot;
    }

    void add_group()
    {
        if (group_count == kGroups)
            throw std::bad_alloc{};
        Slot* group = new Slot[kSlotsInGroup];
        for (std::size_t i = 0; i < kSlotsInGroup; ++i) {
            group[i].index = static_cast<std::uint16_t>(group_count * kSlotsInGroup + i);
            give(&group[i]);
        }
        groups[group_count++].store(group, std::memory_order_release);
    }
};

constinit union Forever {
    constexpr Forever() : table() {}
    ~Forever() {}
    Table table;
} forever;

std::uint64_t generation(std::uint64_t state) noexcept
{
    return state >> kGenerationShift;
}

}  // namespace

Slot* Handles::add_any(Counted* object, HandleKind kind)
{
    Table& table = forever.table;
    Slot* slot = nullptr;
    try {
        const std::lock_guard lock{table.mutex};
        if (table.first_free == nullptr)
            table.add_group();
        slot = table.first_free;
        table.first_free = slot->next_free;
        if (table.first_free == nullptr)
            table.last_free = nullptr;
    } catch (...) {
        delete object;
        throw;
    }
    slot->object = object;
    slot->kind.store(kind, std::memory_order_relaxed);
    // One reference for the handle, one for the caller.
    slot->state.fetch_add(kAlive + 2, std::memory_order_release);
    return slot;
}

Slot* Handles::find_any(const void* handle, HandleKind kind, HandleTag tag) noexcept
{
    const auto number = reinterpret_cast<std::uintptr_t>(handle);
    const std::size_t index = (number >> kTagBits) & (kGroups * kSlotsInGroup - 1);
    Slot* group = forever.table.groups[index / kSlotsInGroup].load(std::memory_order_acquire);
    if (group == nullptr || tag_of(handle) != tag)
        return nullptr;
    Slot* slot = &group[index % kSlotsInGroup];
    std::uint64_t state = slot->state.load(std::memory_order_acquire);
    do {
        // A slot's kind stays as long as its generation does.
        if (generation(state) != number >> 16 || (state & kAlive) == 0
            || slot->kind.load(std::memory_order_relaxed) != kind)
            return nullptr;
    } while (!slot->state.compare_exchange_weak(state, state + 1, std::memory_order_acquire));
    return slot;
}

HandleTag Handles::tag_of(const void* handle) noexcept
{
    return static_cast<HandleTag>(reinterpret_cast<std::uintptr_t>(handle) & ((1 << kTagBits) - 1));
}

void* Handles::handle(const AnyRef& object, HandleTag tag) noexcept
{
    const std::uint64_t state = object.slot_->state.load(std::memory_order_relaxed);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a handle is a number, which only looks like an address.
    return reinterpret_cast<void*>(generation(state) << 16
                                   | static_cast<std::uintptr_t>(object.slot_->index) << kTagBits
                                   | static_cast<std::uintptr_t>(tag));
}

bool Handles::retire(const AnyRef& object) noexcept
{
    if ((object.slot_->state.fetch_and(~kAlive, std::memory_order_acq_rel) & kAlive) == 0)
        return false;
    release(object.slot_);
    return true;
}

void Handles::release(Slot* slot) noexcept
{
    const std::uint64_t before = slot->state.fetch_sub(1, std::memory_order_acq_rel);
    if ((before & kReferences) == 1)
        end(slot, before);
}

// Apart, so that letting go of what others hold costs no more than that.
[[gnu::noinline]] void Handles::end(Slot* slot, std::uint64_t state) noexcept
{
    delete slot->object;
    slot->object = nullptr;
    slot->state.store((generation(state) + 1) << kGenerationShift, std::memory_order_release);
    const std::lock_guard lock{forever.table.mutex};
    forever.table.give(slot);
}

void Handles::lock() noexcept
{
    forever.table.mutex.lock();
}

void Handles::unlock() noexcept
{
    forever.table.mutex.unlock();
}

void Handles::after_fork() noexcept
{
    for (std::atomic<Slot*>& group : forever.table.groups) {
        Slot* slots = group.load(std::memory_order_acquire);
        for (std::size_t i = 0; slots != nullptr && i < kSlotsInGroup; ++i) {
            if ((slots[i].state.load(std::memory_order_acquire) & kReferences) != 0)
                slots[i].object->after_fork();
        }
    }
}

Slot* Handles::again(Slot* slot) noexcept
{
    if (slot != nullptr)
        slot->state.fetch_add(1, std::memory_order_acq_rel);
    return slot;
}

AnyRef::AnyRef(const AnyRef& other) noexcept : slot_(Handles::again(other.slot_)) {}

AnyRef::~AnyRef()
{
    if (slot_ != nullptr)
        Handles::release(slot_);
}

Counted* AnyRef::object() const noexcept
{
    return slot_->object;
}

}  // namespace quorvel::platform
