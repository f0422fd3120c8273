// Looks at everything in a value that came from the wire, and at what can be done with it: an address
// sanitizer, or a comparison here, finds what is wrong.
#pragma once

#include <quorvel_client_proxy_types.hpp>

namespace wire {

/// Ends the process with that sentence unless it holds.
void require(bool holds, const char* what);

/// Set while allocations are made to fail: copies may then lack what their original has.
extern bool memory_may_fail;

/// Every getter; a copy is the same; what is written and read again is the same.
void examine(const quorvel::proxy::RecordType& type, void* record);
void examine(const quorvel::proxy::ArrayType& type, void* array);

/// Reads every byte of it; there may be none.
void examine(const char* text);

}  // namespace wire
