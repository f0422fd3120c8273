// Where C++ ends and C begins.
#pragma once

#include <new>

#include "exports.hpp"

namespace quorvel::platform {

// Runs `body` for a function with C linkage: what we throw ourselves, which is only for want of memory or
// of a thread, becomes its error. What an application's callback throws passes through.
template <typename Body>
int guarded(Body&& body)
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return RPC_PORT_ERROR_OUT_OF_MEMORY;
    }
}

}  // namespace quorvel::platform
