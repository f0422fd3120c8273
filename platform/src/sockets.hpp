// Unix sockets that only the right user reaches, and the first words spoken on them.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "descriptor.hpp"
#include "frames.hpp"
#include "places.hpp"

namespace quorvel::platform {

// A deadline's rest for poll(), rounded up so that waiting never ends early; 0 when it has passed.
int milliseconds_until(Deadline deadline) noexcept;

// Makes the directory when it is missing. False, logged, unless it is the user's own, closed to everybody
// else, and not reached through a link.
bool secure_directory(const std::string& path);

// The path of an application's port, or nothing, logged, when the names or the length do not allow it.
std::optional<std::string> socket_path(std::string_view app_id, std::string_view port_name);

struct Peer {
    uid_t uid;
    pid_t pid;
};
std::optional<Peer> peer_of(int fd) noexcept;
// Own uid or root's; a stranger is logged.
bool is_trusted(const Peer& peer, const char* what) noexcept;

enum class Reach { connected, absent, busy, refused };
struct Reached {
    Reach result;
    Descriptor socket;
    Peer peer;
};
// Connects without waiting and checks who is there before anything is sent. The socket blocks.
Reached reach(const std::string& path);

// The two sockets of a client introduce themselves with the same token.
using Token = std::array<char, 16>;
bool fill_random(Token& token) noexcept;

enum class PortKind : std::int32_t { main = 0, callback = 1 };
struct Introduction {
    PortKind port;
    Token token;
    std::string sender;
};
void write_introduction(Parcel& parcel, const Introduction& introduction);
std::optional<Introduction> read_introduction(Parcel& parcel);

// The agent's one answer, on the main socket once both have come.
void write_welcome(Parcel& parcel, std::int32_t status);
std::optional<std::int32_t> read_welcome(Parcel& parcel) noexcept;

// Sends all of it or nothing counts; for words that fit in an empty socket.
bool send_at_once(int fd, std::string_view bytes) noexcept;

// A lock that other processes respect, held while the descriptor is open; none while someone else has it.
Descriptor lock_file(const std::string& path) noexcept;

}  // namespace quorvel::platform
