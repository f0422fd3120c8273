#include "internal/call_guard.hpp"

#include <atomic>

#include "internal/locks.hpp"

namespace quorvel {

namespace {

// The calls that were counted in since the last retirement, and the number of retirements before, in one
// word: so that a call counts itself in and out without a lock. A retirement is one exchange of the word, so
// every call either counts among those that it waits for, or sees all that was done before it.
using Word = std::uint64_t;
constexpr int generation_shift = 24;
constexpr Word one_caller = 1;
constexpr Word all_callers = (Word{1} << generation_shift) - 1;
std::atomic<Word> current = 0;

constexpr std::uint64_t generation_of(Word word)
{
    return word >> generation_shift;
}

// Guarded by locks::calls.
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
        Word word = current.load(std::memory_order_relaxed);
        while (!current.compare_exchange_weak(word, (generation_of(word) + 1) << generation_shift)) {
        }
        generation_ = generation_of(word);
        callers_ = word & all_callers;
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
    if (depth++ == 0)
        generation_ = generation_of(current.fetch_add(one_caller));
}

CallGuard::~CallGuard()
{
    if (--depth > 0)
        return;
    Word word = current.load(std::memory_order_relaxed);
    while (generation_of(word) == generation_) {
        if (current.compare_exchange_weak(word, word - one_caller))
            return;
    }
    leave_retired();
}

// Something was retired since the call began.
void CallGuard::leave_retired() const noexcept
{
    Retired* unused = nullptr;
    {
        const std::lock_guard lock{locks::calls};
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
