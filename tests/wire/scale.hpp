// How much of a full figure a run does, by QUORVEL_TEST_SCALE.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace wire {

// Sanitizers are slow and keep memory: how long something takes, and how much, is not theirs to tell.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
inline constexpr bool kMeasures = false;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
inline constexpr bool kMeasures = false;
#else
inline constexpr bool kMeasures = true;
#endif
#else
inline constexpr bool kMeasures = true;
#endif

/// The count for this run: all of it, the share that CI has time for, or a tenth of that for a quick run.
inline long scaled(long full, long in_ci)
{
    const char* const scale = std::getenv("QUORVEL_TEST_SCALE");
    if (scale != nullptr && std::strcmp(scale, "all") == 0)
        return full;
    if (scale != nullptr && std::strcmp(scale, "quick") == 0)
        return in_ci >= 10 ? in_ci / 10 : 1;
    return in_ci;
}

/// Says what was done, in a form that is easy to collect.
inline void report(const char* what, long done, long full)
{
    std::printf("FIGURE %s: %ld of %ld (%.1f %%)\n", what, done, full,
                full > 0 ? 100.0 * static_cast<double>(done) / static_cast<double>(full) : 100.0);
    std::fflush(stdout);
}

}  // namespace wire
