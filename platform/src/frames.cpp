#include "frames.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "wire.hpp"

namespace quorvel::platform {
namespace {

// Below this it pays to begin a new chunk rather than to receive in small pieces.
constexpr std::size_t kLeastRoom = 4096;

}  // namespace

FrameInput::~FrameInput()
{
    while (head_ != nullptr) {
        Chunk* next = head_->next;
        wipe(head_->bytes() + head_->begin, head_->end - head_->begin);
        head_->release();
        head_ = next;
    }
}

FrameInput::Room FrameInput::room()
{
    if (tail_ == nullptr)
        head_ = tail_ = Chunk::make(kStandardChunk);
    if (tail_->begin == tail_->end && tail_->alone()) {
        // What a long frame needed is not kept here: the next one may be long in coming. It was taken from
        // the last chunk, which is therefore the only one.
        if (tail_->capacity() > kStandardChunk) {
            Chunk* const standard = Chunk::make(kStandardChunk);
            std::exchange(tail_, standard)->release();
            head_ = tail_;
        }
        tail_->begin = tail_->complete = tail_->end = 0;
    }
    Chunk& tail = *tail_;

    const std::size_t partial = tail.end - tail.complete;
    const std::size_t free = tail.capacity() - tail.end;
    if (partial < kFrameHead) {
        if (free < kLeastRoom)
            continue_in(Chunk::make(kStandardChunk));
    } else {
        // received() has seen to it that the length can be believed this far.
        const std::size_t whole =
            kFrameHead + static_cast<std::size_t>(get<std::int32_t>(tail.bytes() + tail.complete));
        if (tail.complete + whole > tail.capacity() && (free == 0 || tail.complete != 0)) {
            // Memory that is there already may be as large as what is announced; new memory may not.
            Chunk* const kept = Chunk::kept(whole);
            continue_in(
                kept != nullptr ? kept : Chunk::make(std::min(whole, std::max(kStandardChunk, 2 * partial))));
        }
    }
    return {tail_->bytes() + tail_->end, tail_->capacity() - tail_->end};
}

// The incomplete frame at the end moves to a chunk with more room.
void FrameInput::continue_in(Chunk* chunk) noexcept
{
    Chunk& old = *tail_;
    const std::size_t partial = old.end - old.complete;
    char* from = old.bytes() + old.complete;
    std::memcpy(chunk->bytes(), from, partial);
    wipe(from, partial);
    chunk->end = partial;
    old.end = old.complete;
    old.next = chunk;
    tail_ = chunk;
    if (head_ == &old && old.begin == old.complete) {
        head_ = chunk;
        old.next = nullptr;
        old.release();
    }
}

bool FrameInput::received(std::size_t size) noexcept
{
    Chunk& tail = *tail_;
    tail.end += size;
    while (tail.end - tail.complete >= kFrameHead) {
        const std::int32_t announced = get<std::int32_t>(tail.bytes() + tail.complete);
        if (announced < 0 || static_cast<std::size_t>(announced) > kLongestFrame)
            return false;
        const std::size_t whole = kFrameHead + static_cast<std::size_t>(announced);
        if (tail.end - tail.complete < whole)
            break;
        tail.complete += whole;
        ++frames_;
        bytes_ += whole;
    }
    return true;
}

// Apart, since most frames lie in the chunk of the one before.
[[gnu::noinline]] void FrameInput::leave_emptied() noexcept
{
    while (head_->begin == head_->complete) {
        Chunk* next = head_->next;
        head_->release();
        head_ = next;
    }
}

}  // namespace quorvel::platform
