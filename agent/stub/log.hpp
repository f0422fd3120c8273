#pragma once

#include <dlog.h>

/// One line for a person to act on.
#define STUB_LOG_ERROR(...) dlog_print(DLOG_ERROR, "RPC_PORT_STUB", __VA_ARGS__)
