// The platform's C headers, for those who define what they declare: everything else is hidden.
#pragma once

#pragma GCC visibility push(default)
#include "bundle.h"
#include "dlog.h"
#include "package_info.h"
#include "platform_error.h"
#include "rpc-port.h"
#pragma GCC visibility pop
