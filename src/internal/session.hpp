#pragma once

#include <glib.h>

#include <atomic>

/// The process's one connection.
namespace quorvel::session {

enum State : int { connected = 0, connecting = 1, disconnected = 2 };

bool is_connected() noexcept;
void set_disconnected() noexcept;

/// The agent's version as major × 100 + minor; -1 while unknown.
int agent_version() noexcept;

/// The two tables of live requests of a connection; guarded by locks::requests. NULL when there is no
/// connection.
struct RequestTables {
    GHashTable* subscriptions = nullptr;
    GHashTable* monitoring = nullptr;
};
RequestTables& request_tables() noexcept;

/// Set while the agent says that it is still caching device data; subscriptions wait for its end.
extern std::atomic<bool> is_caching;

}  // namespace quorvel::session
