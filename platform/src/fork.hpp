#pragma once

namespace quorvel::platform {

// From the first call on a forked child is disconnected: what it inherited of ports is closed there, and the
// parent, whose sockets they are, loses nothing. The child may make connections of its own.
void watch_forks() noexcept;

}  // namespace quorvel::platform
