#include "chunk.hpp"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <new>

namespace quorvel::platform {

// A few chunks are kept, so that a steady exchange allocates nothing: standard ones, and one large one, since
// a long list is often followed by the same list again. Not the first of its size: one long list alone is no
// reason to hold so much, and the C library learns from a large block that is freed that such blocks come and
// go here, and stops giving the heap's end back to the kernel after every list.
class ChunkPool {
public:
    Chunk* take(std::size_t capacity) noexcept
    {
        const std::lock_guard lock{mutex_};
        if (capacity <= kStandardChunk)
            return standard_count_ != 0 ? reuse(standard_[--standard_count_]) : nullptr;
        if (large_ == nullptr || large_->capacity() < capacity)
            return nullptr;
        Chunk* chunk = large_;
        large_ = nullptr;
        return reuse(chunk);
    }

    void give(Chunk* chunk) noexcept
    {
        {
            const std::lock_guard lock{mutex_};
            if (chunk->capacity() == kStandardChunk) {
                if (standard_count_ < kMostStandard) {
                    standard_[standard_count_++] = chunk;
                    return;
                }
            } else if (chunk->capacity() > largest_seen_) {
                largest_seen_ = chunk->capacity();
            } else if (chunk->capacity() <= kLargestKept
                       && (large_ == nullptr || large_->capacity() < chunk->capacity())) {
                std::swap(large_, chunk);
            }
        }
        if (chunk != nullptr) {
            chunk->~Chunk();
            std::free(chunk);
        }
    }

    static Chunk* make(std::size_t capacity)
    {
        void* memory = std::malloc(sizeof(Chunk) + capacity);
        if (memory == nullptr)
            throw std::bad_alloc{};
        return new (memory) Chunk{capacity};
    }

    void lock() noexcept { mutex_.lock(); }
    void unlock() noexcept { mutex_.unlock(); }

private:
    static constexpr std::size_t kMostStandard = 4;
    static constexpr std::size_t kLargestKept = std::size_t{16} << 20;

    static Chunk* reuse(Chunk* chunk) noexcept
    {
        const std::size_t capacity = chunk->capacity();
        chunk->~Chunk();
        return new (chunk) Chunk{capacity};
    }

    std::mutex mutex_;
    Chunk* standard_[kMostStandard] = {};
    std::size_t standard_count_ = 0;
    Chunk* large_ = nullptr;
    std::size_t largest_seen_ = 0;
};

namespace {
// Never destroyed: other threads may still hold parcels while the process exits.
constinit union Forever {
    constexpr Forever() : pool() {}
    ~Forever() {}
    ChunkPool pool;
} forever;
}  // namespace

Chunk* Chunk::make(std::size_t capacity)
{
    capacity = std::max(capacity, kStandardChunk);
    Chunk* chunk = forever.pool.take(capacity);
    return chunk != nullptr ? chunk : ChunkPool::make(capacity);
}

Chunk* Chunk::kept(std::size_t capacity) noexcept
{
    return forever.pool.take(capacity);
}

void Chunk::release() noexcept
{
    if (holders_.fetch_sub(1, std::memory_order_acq_rel) == 1)
        forever.pool.give(this);
}

void lock_chunk_pool() noexcept
{
    forever.pool.lock();
}

void unlock_chunk_pool() noexcept
{
    forever.pool.unlock();
}

}  // namespace quorvel::platform
