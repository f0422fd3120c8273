// The platform's own log lines.
#pragma once

#include "exports.hpp"

// Says to the compiler what the C header does not: that the arguments follow a format.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wredundant-decls"
// NOLINTNEXTLINE(readability-redundant-declaration)
extern "C" int dlog_print(log_priority prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
#pragma GCC diagnostic pop

// A macro, so that the arguments are checked against the format where the line is written.
#define QV_LOG(priority, ...) static_cast<void>(dlog_print(priority, "QV_PORT", __VA_ARGS__))
