#include "parcel.hpp"

#include <pthread.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>

#include "bundle.hpp"
#include "exports.hpp"
#include "guard.hpp"
#include "log.hpp"
#include "wire.hpp"

namespace quorvel::platform {
namespace {

constexpr std::size_t kSpareParcels = 4;

// Spare parcels of a thread. Plain words, so that reaching them costs no check; the key below brings the
// destructor that runs when the thread ends.
struct Spares {
    Parcel* parcels[kSpareParcels];
    std::size_t count;
    bool ends_watched;
};

constinit thread_local Spares spares{};

void free_spares(void*) noexcept
{
    while (spares.count != 0)
        std::free(spares.parcels[--spares.count]);
    spares.ends_watched = false;
}

[[gnu::noinline]] bool watch_end_of_thread() noexcept
{
    static const auto key = [] {
        pthread_key_t made{};
        return pthread_key_create(&made, free_spares) == 0 ? std::optional{made} : std::nullopt;
    }();
    // Any value but NULL makes the destructor run.
    return key.has_value() && pthread_setspecific(*key, &spares) == 0;
}

}  // namespace

Parcel* Parcel::make()
{
    if (spares.count != 0)
        return spares.parcels[--spares.count];
    static_assert(sizeof(Parcel) <= kObject);
    void* memory = std::malloc(sizeof(Parcel));
    if (memory == nullptr)
        throw std::bad_alloc{};
    return new (memory) Parcel;
}

void Parcel::destroy() noexcept
{
    if (is_answer_ && !failed_ && position_ > sizeof(std::int32_t) && position_ < size_) {
        QV_LOG(DLOG_WARN, "an answer is %zu bytes longer than what was read of it: the agent may be newer",
               size_ - position_);
    }
    wipe();
    reset();
    if (!spares.ends_watched)
        spares.ends_watched = watch_end_of_thread();
    if (spares.ends_watched && spares.count < kSpareParcels)
        spares.parcels[spares.count++] = this;
    else
        std::free(this);
}

void Parcel::reset() noexcept
{
    payload_ = within_ + kFrameHead;
    chunk_ = nullptr;
    size_ = 0;
    capacity_ = sizeof within_ - kFrameHead;
    position_ = 0;
    write_error_ = 0;
    failed_ = false;
    is_answer_ = false;
}

void Parcel::wipe() noexcept
{
    platform::wipe(payload_ - kFrameHead, kFrameHead + size_);
    if (chunk_ != nullptr)
        chunk_->release();
}

void Parcel::adopt(Chunk* chunk, char* payload, std::size_t size, bool is_answer) noexcept
{
    assert(chunk_ == nullptr && size_ == 0 && position_ == 0);
    chunk->share();
    chunk_ = chunk;
    payload_ = payload;
    size_ = size;
    capacity_ = 0;
    is_answer_ = is_answer;
}

const char* Parcel::next_string(std::size_t& length) noexcept
{
    std::size_t size = quick_wire_string_size(at(), left());
    if (size == 0)
        size = wire_string_size(at(), left());
    if (size == 0) {
        fail();
        return nullptr;
    }
    const char* text = at() + sizeof(std::int32_t);
    length = size - 1;
    pass(sizeof(std::int32_t) + size);
    return text;
}

std::string_view Parcel::frame() noexcept
{
    put(payload_ - kFrameHead, static_cast<std::int32_t>(size_));
    return {payload_ - kFrameHead, kFrameHead + size_};
}

void Parcel::grow(std::size_t payload_size)
{
    // In large steps while it is small, since every step copies and wipes.
    constexpr std::size_t small = std::size_t{1} << 20;
    const std::size_t ample = capacity_ < small ? 4 * capacity_ : 2 * capacity_;
    Chunk* chunk = Chunk::make(kFrameHead + std::max(payload_size, ample));
    char* payload = chunk->bytes() + kFrameHead;
    std::memcpy(payload, payload_, size_);
    wipe();
    chunk_ = chunk;
    payload_ = payload;
    capacity_ = chunk->capacity() - kFrameHead;
}

namespace {

Parcel* parcel_of(rpc_port_parcel_h h) noexcept
{
    return static_cast<Parcel*>(h);
}

// Runs a write that needs `size` more bytes: `fill` puts them where it is told.
template <typename Fill>
int write(rpc_port_parcel_h h, std::size_t size, Fill&& fill)
{
    if (h == nullptr || !parcel_of(h)->writable())
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    const int result = guarded([&] {
        if (size > kLongestFrame)
            return static_cast<int>(RPC_PORT_ERROR_INVALID_PARAMETER);
        fill(parcel_of(h)->append(size));
        return static_cast<int>(RPC_PORT_ERROR_NONE);
    });
    if (result != RPC_PORT_ERROR_NONE)
        parcel_of(h)->note_write_error(result);
    return result;
}

template <typename Integer>
int write_integer(rpc_port_parcel_h h, Integer value)
{
    return write(h, sizeof value, [value](char* at) { put(at, value); });
}

// A missing value leaves its target as it was.
template <typename Integer, typename Target>
int read_integer(rpc_port_parcel_h h, Target* target)
{
    if (h == nullptr || target == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    Integer value{};
    if (!parcel_of(h)->read(value))
        return RPC_PORT_ERROR_IO_ERROR;
    *target = static_cast<Target>(value);
    return RPC_PORT_ERROR_NONE;
}

char* copy_text(std::string_view text) noexcept
{
    char* copy = static_cast<char*>(std::malloc(text.size() + 1));
    if (copy != nullptr) {
        if (!text.empty())
            std::memcpy(copy, text.data(), text.size());
        copy[text.size()] = '\0';
    }
    return copy;
}

}  // namespace
}  // namespace quorvel::platform

using namespace quorvel::platform;

int rpc_port_parcel_create(rpc_port_parcel_h* h)
{
    if (h == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    *h = nullptr;
    return guarded([h] {
        *h = Parcel::make();
        return RPC_PORT_ERROR_NONE;
    });
}

int rpc_port_parcel_destroy(rpc_port_parcel_h h)
{
    if (h == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    parcel_of(h)->destroy();
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_parcel_write_int32(rpc_port_parcel_h h, int i)
{
    return write_integer(h, static_cast<std::int32_t>(i));
}

int rpc_port_parcel_write_int64(rpc_port_parcel_h h, long long i)
{
    return write_integer(h, static_cast<std::int64_t>(i));
}

int rpc_port_parcel_write_bool(rpc_port_parcel_h h, bool b)
{
    return write_integer(h, static_cast<std::uint8_t>(b));
}

int rpc_port_parcel_write_string(rpc_port_parcel_h h, const char* str)
{
    const char* text = str != nullptr ? str : "";
    const std::size_t size = std::strlen(text) + 1;
    return write(h, sizeof(std::int32_t) + size, [text, size](char* at) {
        put(at, static_cast<std::int32_t>(size));
        std::memcpy(at + sizeof(std::int32_t), text, size);
    });
}

int rpc_port_parcel_write_bundle(rpc_port_parcel_h h, bundle* b)
{
    return write(h, bundle_wire_size(b), [b](char* at) { write_bundle(b, at); });
}

int rpc_port_parcel_write_array_count(rpc_port_parcel_h h, int count)
{
    return rpc_port_parcel_write_int32(h, count);
}

int rpc_port_parcel_write(rpc_port_parcel_h h, rpc_port_parcelable_t* parcelable, void* data)
{
    if (h == nullptr || parcelable == nullptr || parcelable->to == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    parcelable->to(h, data);
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_parcel_read_int32(rpc_port_parcel_h h, int* i)
{
    return read_integer<std::int32_t>(h, i);
}

int rpc_port_parcel_read_int64(rpc_port_parcel_h h, long long* i)
{
    return read_integer<std::int64_t>(h, i);
}

int rpc_port_parcel_read_bool(rpc_port_parcel_h h, bool* b)
{
    return read_integer<std::uint8_t>(h, b);
}

int rpc_port_parcel_read_string(rpc_port_parcel_h h, char** str)
{
    if (h == nullptr || str == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    std::size_t length = 0;
    const char* text = parcel_of(h)->next_string(length);
    *str = copy_text({text != nullptr ? text : "", length});
    if (*str == nullptr) {
        parcel_of(h)->fail();
        return RPC_PORT_ERROR_OUT_OF_MEMORY;
    }
    return text != nullptr ? RPC_PORT_ERROR_NONE : RPC_PORT_ERROR_IO_ERROR;
}

int rpc_port_parcel_read_bundle(rpc_port_parcel_h h, bundle** b)
{
    if (h == nullptr || b == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    *b = nullptr;
    Parcel& parcel = *parcel_of(h);
    const char* length_at = parcel.skip(sizeof(std::int32_t));
    const std::int32_t length = length_at != nullptr ? get<std::int32_t>(length_at) : -1;
    const char* bytes = length >= 0 ? parcel.skip(static_cast<std::size_t>(length)) : nullptr;
    const BundleRead result =
        bytes != nullptr ? read_bundle(bytes, static_cast<std::size_t>(length), b) : BundleRead::malformed;
    if (result == BundleRead::complete)
        return RPC_PORT_ERROR_NONE;
    parcel.fail();
    return result == BundleRead::out_of_memory ? RPC_PORT_ERROR_OUT_OF_MEMORY : RPC_PORT_ERROR_IO_ERROR;
}

int rpc_port_parcel_read_array_count(rpc_port_parcel_h h, int* count)
{
    if (h == nullptr || count == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    *count = 0;
    Parcel& parcel = *parcel_of(h);
    const char* at = parcel.skip(sizeof(std::int32_t));
    const std::int32_t announced = at != nullptr ? get<std::int32_t>(at) : -1;
    // Each element takes four bytes at the least, so that a count cannot ask for more than was sent.
    if (announced < 0 || static_cast<std::size_t>(announced) > parcel.left() / sizeof(std::int32_t)) {
        parcel.fail();
        return RPC_PORT_ERROR_IO_ERROR;
    }
    *count = announced;
    return RPC_PORT_ERROR_NONE;
}

int rpc_port_parcel_read(rpc_port_parcel_h h, rpc_port_parcelable_t* parcelable, void* data)
{
    if (h == nullptr || parcelable == nullptr || parcelable->from == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    parcelable->from(h, data);
    return RPC_PORT_ERROR_NONE;
}
