// Whole frames out of a stream of bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "chunk.hpp"
#include "parcel.hpp"
#include "wire.hpp"

namespace quorvel::platform {

// Assembles what one socket delivers. The owner receives into room(), says how much came with received(),
// and takes whole frames from the front, as parcels that share the memory.
//
// Goals: nothing blocks or waits here; no copy, apart from a frame's beginning when it does not fit behind
// its predecessors; in a steady exchange no allocation; memory follows what has arrived, never what a length
// announces; no byte of a frame remains in memory that nobody owns. Not locked: the owner sees to that.
class FrameInput {
public:
    FrameInput() noexcept = default;
    ~FrameInput();
    FrameInput(const FrameInput&) = delete;
    FrameInput& operator=(const FrameInput&) = delete;

    struct Room {
        char* at;
        std::size_t size;
    };
    Room room();  // throws std::bad_alloc

    // False when a length is announced that no frame may have. Frames before it can still be taken.
    bool received(std::size_t size) noexcept;

    // The oldest whole frame, as a fresh parcel.
    bool take(Parcel& parcel, bool is_answer) noexcept
    {
        if (frames_ == 0)
            return false;
        if (head_->begin == head_->complete)
            leave_emptied();
        char* frame = head_->bytes() + head_->begin;
        const auto size = static_cast<std::size_t>(get<std::int32_t>(frame));
        parcel.adopt(head_, frame + kFrameHead, size, is_answer);
        head_->begin += kFrameHead + size;
        --frames_;
        bytes_ -= kFrameHead + size;
        return true;
    }

    std::size_t frames() const noexcept { return frames_; }
    // Whole frames not yet taken, their lengths counted in.
    std::size_t bytes() const noexcept { return bytes_; }

private:
    void continue_in(Chunk* chunk) noexcept;
    void leave_emptied() noexcept;

    Chunk* head_ = nullptr;  // where the oldest frame lies
    Chunk* tail_ = nullptr;  // what is received into
    std::size_t frames_ = 0;
    std::size_t bytes_ = 0;
};

}  // namespace quorvel::platform
