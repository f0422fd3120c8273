// Memory that parcels and received frames lie in.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstring>

namespace quorvel::platform {

// Clears bytes that nobody will read: explicit_bzero() with one call instead of two.
inline void wipe(char* bytes, std::size_t size) noexcept
{
    std::memset(bytes, 0, size);
    asm volatile("" : : "r"(bytes) : "memory");
}

// A counted block. A connection receives into a chunk, and the frames it found there are handed out as
// parcels that share it: no copy, no allocation. Whoever puts foreign or private bytes into a chunk wipes
// them before he lets go of it, so that chunks can be kept for reuse as they are.
class Chunk {
public:
    // At least `capacity` bytes; nothing shorter than a standard chunk is made. Throws std::bad_alloc.
    static Chunk* make(std::size_t capacity);
    // One of at least `capacity` bytes if it is there already; nullptr otherwise.
    static Chunk* kept(std::size_t capacity) noexcept;

    Chunk(const Chunk&) = delete;
    Chunk& operator=(const Chunk&) = delete;

    char* bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
    std::size_t capacity() const noexcept { return capacity_; }

    void share() noexcept { holders_.fetch_add(1, std::memory_order_relaxed); }
    void release() noexcept;
    // Whether the caller is the only one left who holds it.
    bool alone() const noexcept { return holders_.load(std::memory_order_acquire) == 1; }

    Chunk* next = nullptr;     // in a chain of received chunks
    std::size_t begin = 0;     // first byte nobody has taken
    std::size_t complete = 0;  // end of the last whole frame
    std::size_t end = 0;       // end of what was received

private:
    explicit Chunk(std::size_t capacity) noexcept : capacity_(capacity) {}
    ~Chunk() = default;

    std::atomic<unsigned> holders_{1};
    std::size_t capacity_;

    friend class ChunkPool;
};

inline constexpr std::size_t kStandardChunk = std::size_t{64} * 1024 - sizeof(Chunk);

// For the fork handlers: the pool is whole in the child.
void lock_chunk_pool() noexcept;
void unlock_chunk_pool() noexcept;

}  // namespace quorvel::platform
