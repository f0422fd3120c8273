#include "internal/call_guard.hpp"

#include "internal/locks.hpp"

namespace quorvel {

namespace {

// All guarded by locks::calls.
std::uint64_t current_generation = 0;
std::uint64_t current_callers = 0;  // counted in since the last retirement
Retired* oldest = nullptr;
Retired* newest = nullptr;

// A call inside a call of the same thread is counted in already.
thread_local unsigned depth = 0;

}  // namespace

void Retired::retire() noexcept
{
    Retired* unused = nullptr;
    {
        const std::lock_guard lock{locks::calls};
        next_ = nullptr;
        generation_ = current_generation++;
        callers_ = current_callers;
        current_callers = 0;
        (newest != nullptr ? newest->next_ : oldest) = this;
        newest = this;
        unused = take_unused();
    }
    release_all(unused);
}

// What nobody uses any more stands at the front: a later retirement may not overtake an earlier one, whose
// callers may have seen both.
Retired* Retired::take_unused() noexcept
{
    Retired* const first = oldest;
    Retired* last = nullptr;
    while (oldest != nullptr && oldest->callers_ == 0) {
        last = oldest;
        oldest = oldest->next_;
    }
    if (last == nullptr)
        return nullptr;
    last->next_ = nullptr;
    if (oldest == nullptr)
        newest = nullptr;
    return first;
}

void Retired::release_all(Retired* retired) noexcept
{
    while (retired != nullptr) {
        Retired* const next = retired->next_;
        retired->release_(retired);
        retired = next;
    }
}

CallGuard::CallGuard() noexcept
{
    if (depth++ > 0)
        return;
    const std::lock_guard lock{locks::calls};
    generation_ = current_generation;
    ++current_callers;
}

CallGuard::~CallGuard()
{
    if (--depth > 0)
        return;
    Retired* unused = nullptr;
    {
        const std::lock_guard lock{locks::calls};
        if (generation_ == current_generation) {
            --current_callers;
            return;
        }
        // A fork may have left calls of the parent's other threads behind; the one that forked still finds
        // its own.
        for (Retired* retired = oldest; retired != nullptr; retired = retired->next_) {
            if (retired->generation_ == generation_) {
                --retired->callers_;
                break;
            }
        }
        unused = Retired::take_unused();
    }
    Retired::release_all(unused);
}

}  // namespace quorvel
