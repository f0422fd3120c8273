#pragma once

#include <mutex>

/// The library's process-wide locks. Each is held for a few instructions only, never while an application's
/// callback runs, while the agent is asked, or, `requests` aside, while a line is logged. Where two are held,
/// they are taken in the order in which they stand here.
namespace quorvel::locks {

extern std::mutex requests;   ///< the tables of subscriptions and monitoring
extern std::mutex clients;    ///< the live client records and what they hold
extern std::mutex delegates;  ///< the live proxies and their delegate lists
extern std::mutex calls;      ///< the calls in progress and what waits for them

}  // namespace quorvel::locks
