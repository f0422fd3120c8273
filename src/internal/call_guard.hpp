#pragma once

#include <cstdint>

namespace quorvel {

/// Memory that an application gave up while other threads may still be using it.
///
/// A handle is a plain pointer, and a disconnect on one thread may overtake a call on another that has
/// already looked at it. So every call counts itself in (CallGuard) before it looks at anything that a
/// disconnect frees; what is given up is retired, and released when all the calls that were counted in before
/// have left. Nobody waits: whoever leaves last releases.
class Retired {
public:
    using Release = void (*)(Retired*) noexcept;

    explicit Retired(Release release) noexcept : release_{release} {}

    /// Releases this when no call that is in progress now can still be using it: at once if there is none.
    void retire() noexcept;

private:
    friend class CallGuard;

    static Retired* take_unused() noexcept;
    static void release_all(Retired* retired) noexcept;

    Release release_;
    Retired* next_ = nullptr;
    std::uint64_t generation_ = 0;  ///< of the calls that were counted in before
    std::uint64_t callers_ = 0;     ///< how many of them have not left yet
};

/// Counts a call in for as long as it lives. Cheap inside another one of the same thread.
class CallGuard {
public:
    CallGuard() noexcept;
    ~CallGuard();
    CallGuard(const CallGuard&) = delete;
    CallGuard& operator=(const CallGuard&) = delete;

private:
    void leave_retired() const noexcept;

    std::uint64_t generation_ = 0;
};

}  // namespace quorvel
