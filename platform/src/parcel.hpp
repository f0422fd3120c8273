// Parcels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "chunk.hpp"
#include "exports.hpp"
#include "wire.hpp"

namespace quorvel::platform {

inline constexpr std::size_t kFrameHead = 4;                         // int32 length of the payload
inline constexpr std::size_t kLongestFrame = std::size_t{64} << 20;  // payload

// A sequence of values, being written or being read. The bytes lie behind room for the length that a frame
// begins with, so that a parcel is sent as it is, in one piece. A small parcel that is written lies within
// the object, a received one in the chunk that it arrived in. Finished parcels are kept for the next call,
// a few a thread, and their bytes are wiped first.
class Parcel {
public:
    static Parcel* make();  // throws std::bad_alloc
    void destroy() noexcept;

    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

    // A fresh one becomes the received frame whose payload of `size` bytes starts at `payload`, a byte of
    // `chunk`.
    void adopt(Chunk* chunk, char* payload, std::size_t size, bool is_answer) noexcept;

    char* payload() noexcept { return payload_; }
    std::size_t size() const noexcept { return size_; }
    // The whole frame, its length filled in.
    std::string_view frame() noexcept;

    // Writing; throws std::bad_alloc. A received parcel cannot be written to: nullptr.
    char* append(std::size_t size)
    {
        char* at = room(size).data();
        filled(size);
        return at;
    }
    // The same in two steps, for whoever does not know beforehand how much it will be.
    std::span<char> room(std::size_t least)
    {
        if (capacity_ - size_ < least)
            grow(size_ + least);
        return {payload_ + size_, capacity_ - size_};
    }
    void filled(std::size_t size) noexcept { size_ += size; }
    bool writable() const noexcept { return capacity_ != 0; }
    // A value that could not be written: what is there must not be sent as if it were whole.
    void note_write_error(int error) noexcept { write_error_ = error; }
    int write_error() const noexcept { return write_error_; }

    // Reading. Once something was missing, everything is.
    bool failed() const noexcept { return failed_; }
    void fail() noexcept
    {
        failed_ = true;
        position_ = size_;
    }
    std::size_t left() const noexcept { return size_ - position_; }
    const char* at() const noexcept { return payload_ + position_; }
    const char* skip(std::size_t size) noexcept
    {
        if (left() < size)
            fail();
        if (failed_)
            return nullptr;
        const char* at = payload_ + position_;
        position_ += size;
        return at;
    }
    // The next integer. Where something was missing before, nothing is left.
    template <typename Integer>
    bool read(Integer& value) noexcept
    {
        const std::size_t end = position_ + sizeof value;
        if (end > size_) {
            fail();
            return false;
        }
        value = get<Integer>(payload_ + position_);
        position_ = end;
        return true;
    }
    // The next string, where it lies, and its length; nullptr where there is none.
    const char* next_string(std::size_t& length) noexcept;
    // On to what is behind so many bytes that are known to be there.
    void pass(std::size_t size) noexcept { position_ += size; }

private:
    Parcel() noexcept { reset(); }
    ~Parcel() = default;

    void reset() noexcept;
    void wipe() noexcept;
    void grow(std::size_t payload_size);

    static constexpr std::size_t kObject = 1024;
    static constexpr std::size_t kFields = 56;

    char* payload_;
    Chunk* chunk_;
    std::size_t size_;
    std::size_t capacity_;  // 0 in a received parcel
    std::size_t position_;
    int write_error_;
    bool failed_;
    bool is_answer_;
    char within_[kObject - kFields];
};

struct ParcelDestroyer {
    void operator()(Parcel* parcel) const noexcept { parcel->destroy(); }
};
using OwnedParcel = std::unique_ptr<Parcel, ParcelDestroyer>;

}  // namespace quorvel::platform
