#pragma once

#include <dlog.h>

#include "internal/call_site.hpp"

// The text of a log line, behind the prefix of its layer.
#define QC_TEXT(text) "%s (%d) %s : " text
#define PROXY_TEXT(text) "%s: %s(%d) > " text

namespace quorvel {

/// A line of the public layer. The format is one of QC_TEXT's, so the place comes first.
template <typename... Values>
void log_api(log_priority priority, const CallSite& at, const char* format, Values... values)
{
    dlog_print(priority, "QC_API", format, at.source, at.line, at.function, values...);
}

/// A line of the proxy layer, with a format of PROXY_TEXT's.
template <typename... Values>
void log_proxy(log_priority priority, const CallSite& at, const char* format, Values... values)
{
    dlog_print(priority, "RPC_PORT_PROXY", format, at.source, at.function, at.line, values...);
}

/// What a log line shows for a text that may be missing.
inline const char* shown(const char* text) noexcept
{
    return text != nullptr ? text : "(null)";
}

}  // namespace quorvel
