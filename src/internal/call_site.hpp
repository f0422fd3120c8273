#pragma once

namespace quorvel {

/// Where a log line comes from: taken by default arguments, so that a step that many functions share still
/// speaks in the name of the function that was called. The build maps every source's path to its stem, which
/// is what the log shows.
struct CallSite {
    const char* source;
    int line;
    const char* function;

    static constexpr CallSite here(const char* source = __builtin_FILE(), int line = __builtin_LINE(),
                                   const char* function = __builtin_FUNCTION()) noexcept
    {
        return {source, line, function};
    }

    /// This place, in the name of another function.
    static constexpr CallSite named(const char* function, const char* source = __builtin_FILE(),
                                    int line = __builtin_LINE()) noexcept
    {
        return {source, line, function};
    }
};

}  // namespace quorvel
