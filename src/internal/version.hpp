#pragma once

namespace quorvel {

/// Shown in the log, and told to agents that ask for it.
inline constexpr auto library_version = "2.4.29";

}  // namespace quorvel
