// Bundles. Nothing can be taken out of a bundle, so keys and values lie in blocks that only grow in number
// and go together, wiped, with the bundle; what is handed out stays where it is until then.
#include "bundle.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string_view>

#include "wire.hpp"

namespace quorvel::platform {
namespace {

enum class Kind : std::int32_t { string = 1, string_array = 2, bytes = 3 };

struct Entry {
    const char* key;
    std::uint32_t key_size;  // with the NUL
    Kind kind;
    void* value;       // char*, const char** or bytes
    std::size_t size;  // of a string with its NUL, of an array in elements, of bytes
};

struct alignas(std::max_align_t) Block {
    Block* next;
    std::size_t size;
    std::size_t used;

    char* bytes() noexcept { return reinterpret_cast<char*>(this + 1); }
};

constexpr std::size_t kFirstBlock = 512;
constexpr std::size_t kFirstEntries = 8;
constexpr std::size_t kLargest = std::size_t{1} << 30;  // keeps every sum below far from overflow
constexpr std::size_t kSortedCheckFrom = 32;

}  // namespace
}  // namespace quorvel::platform

using quorvel::platform::Block;
using quorvel::platform::Entry;
using quorvel::platform::Kind;

struct _bundle_t {
    Block* blocks = nullptr;
    Entry* entries = nullptr;
    std::size_t count = 0;
    std::size_t room = 0;
};

namespace quorvel::platform {
namespace {

bool reserve_bytes(bundle* b, std::size_t size) noexcept
{
    void* memory = std::malloc(sizeof(Block) + size);
    if (memory == nullptr)
        return false;
    b->blocks = new (memory) Block{b->blocks, size, 0};
    return true;
}

void* take(bundle* b, std::size_t size, std::size_t alignment = 1) noexcept
{
    if (size > kLargest)
        return nullptr;
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (b->blocks != nullptr) {
            Block& block = *b->blocks;
            const std::size_t at = (block.used + alignment - 1) / alignment * alignment;
            if (at <= block.size && block.size - at >= size) {
                block.used = at + size;
                return block.bytes() + at;
            }
        }
        if (!reserve_bytes(b, std::max(size, kFirstBlock)))
            return nullptr;
    }
    return nullptr;
}

char* take_copy(bundle* b, const void* from, std::size_t size) noexcept
{
    char* copy = static_cast<char*>(take(b, size));
    if (copy != nullptr && size != 0)
        std::memcpy(copy, from, size);
    return copy;
}

bool reserve_entries(bundle* b, std::size_t room) noexcept
{
    if (room <= b->room)
        return true;
    auto* entries = static_cast<Entry*>(std::realloc(b->entries, room * sizeof(Entry)));
    if (entries == nullptr)
        return false;
    b->entries = entries;
    b->room = room;
    return true;
}

const Entry* find(const bundle* b, std::string_view key) noexcept
{
    for (const Entry* entry = b->entries; entry != b->entries + b->count; ++entry) {
        if (entry->key_size == key.size() + 1 && std::memcmp(entry->key, key.data(), key.size()) == 0)
            return entry;
    }
    return nullptr;
}

const Entry* find(const bundle* b, const char* key, Kind kind) noexcept
{
    const Entry* entry = find(b, key);
    return entry != nullptr && entry->kind == kind ? entry : nullptr;
}

// An entry without its value, not yet counted in; NULL without memory.
Entry* new_entry(bundle* b, std::string_view key, Kind kind) noexcept
{
    if (key.size() > kLargest
        || (b->count == b->room && !reserve_entries(b, std::max(kFirstEntries, 2 * b->room))))
        return nullptr;
    char* copy = static_cast<char*>(take(b, key.size() + 1));
    if (copy == nullptr)
        return nullptr;
    key.copy(copy, key.size());
    copy[key.size()] = '\0';
    return new (&b->entries[b->count])
        Entry{copy, static_cast<std::uint32_t>(key.size() + 1), kind, nullptr, 0};
}

const char** new_string_array(bundle* b, std::size_t count) noexcept
{
    auto** strings =
        static_cast<const char**>(take(b, (count + 1) * sizeof(const char*), alignof(const char*)));
    if (strings != nullptr)
        strings[count] = nullptr;
    return strings;
}

int add(bundle* b, const char* key, Kind kind, auto&& fill_value)
{
    if (b == nullptr || key == nullptr)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    if (find(b, key) != nullptr)
        return BUNDLE_ERROR_KEY_EXISTS;
    Entry* entry = new_entry(b, key, kind);
    if (entry == nullptr || !fill_value(*entry))
        return BUNDLE_ERROR_OUT_OF_MEMORY;
    ++b->count;
    return BUNDLE_ERROR_NONE;
}

bool has_duplicate_key(const bundle* b) noexcept
{
    if (b->count < kSortedCheckFrom) {
        for (std::size_t i = 1; i < b->count; ++i) {
            for (std::size_t k = 0; k < i; ++k) {
                if (b->entries[i].key_size == b->entries[k].key_size
                    && std::memcmp(b->entries[i].key, b->entries[k].key, b->entries[i].key_size) == 0)
                    return true;
            }
        }
        return false;
    }
    // Sorted, since keys chosen by the other end must not make this quadratic.
    auto* keys = static_cast<std::string_view*>(std::malloc(b->count * sizeof(std::string_view)));
    if (keys == nullptr)
        return true;
    for (std::size_t i = 0; i < b->count; ++i)
        new (&keys[i]) std::string_view(b->entries[i].key, b->entries[i].key_size);
    std::sort(keys, keys + b->count);
    const bool duplicate = std::adjacent_find(keys, keys + b->count) != keys + b->count;
    std::free(keys);
    return duplicate;
}

// Takes wire values off a byte range; after the first one that is not there everything is missing.
class Cursor {
public:
    Cursor(const char* at, std::size_t size) noexcept : at_(at), left_(size) {}

    bool intact() const noexcept { return intact_; }
    std::size_t left() const noexcept { return left_; }

    std::int32_t integer() noexcept
    {
        const char* at = skip(sizeof(std::int32_t));
        return at != nullptr ? get<std::int32_t>(at) : 0;
    }

    // A count of things that take at least `smallest` bytes each.
    std::size_t count(std::size_t smallest) noexcept
    {
        const std::int32_t value = integer();
        if (value < 0 || static_cast<std::size_t>(value) > left_ / smallest) {
            intact_ = false;
            return 0;
        }
        return static_cast<std::size_t>(value);
    }

    std::string_view string() noexcept
    {
        const std::size_t size = intact_ ? wire_string_size(at_, left_) : 0;
        if (size == 0) {
            intact_ = false;
            return {};
        }
        const char* text = skip(sizeof(std::int32_t) + size) + sizeof(std::int32_t);
        return {text, size - 1};
    }

    const char* skip(std::size_t size) noexcept
    {
        if (!intact_ || size > left_) {
            intact_ = false;
            return nullptr;
        }
        const char* at = at_;
        at_ += size;
        left_ -= size;
        return at;
    }

private:
    const char* at_;
    std::size_t left_;
    bool intact_ = true;
};

// False without memory; a malformed value shows in the cursor.
bool read_value(bundle* b, Entry& entry, Cursor& cursor) noexcept
{
    switch (entry.kind) {
        case Kind::string: {
            const std::string_view text = cursor.string();
            if (!cursor.intact())
                return true;
            entry.size = text.size() + 1;
            entry.value = take_copy(b, text.data(), entry.size);
            return entry.value != nullptr;
        }
        case Kind::string_array: {
            entry.size = cursor.count(sizeof(std::int32_t) + 1);
            const char** strings = new_string_array(b, entry.size);
            if (strings == nullptr)
                return false;
            entry.value = strings;
            for (std::size_t i = 0; i < entry.size && cursor.intact(); ++i) {
                const std::string_view text = cursor.string();
                if (!cursor.intact())
                    return true;
                strings[i] = take_copy(b, text.data(), text.size() + 1);
                if (strings[i] == nullptr)
                    return false;
            }
            return true;
        }
        case Kind::bytes: {
            entry.size = cursor.count(1);
            const char* bytes = cursor.skip(entry.size);
            if (bytes == nullptr)
                return true;
            entry.value = take_copy(b, bytes, entry.size);
            return entry.value != nullptr;
        }
    }
    return true;
}

BundleRead read_entries(bundle* b, Cursor& cursor) noexcept
{
    // The smallest entry: its kind, an empty key, an empty array or no bytes.
    constexpr std::size_t smallest_entry = 4 + (4 + 1) + 4;
    const std::size_t count = cursor.count(smallest_entry);
    // One block for all: an array's pointers take more than its strings did on the wire, and then a further
    // block is made.
    if (!reserve_entries(b, count) || !reserve_bytes(b, cursor.left()))
        return BundleRead::out_of_memory;
    for (std::size_t i = 0; i < count && cursor.intact(); ++i) {
        const std::int32_t kind = cursor.integer();
        const std::string_view key = cursor.string();
        if (!cursor.intact() || kind < static_cast<std::int32_t>(Kind::string)
            || kind > static_cast<std::int32_t>(Kind::bytes))
            return BundleRead::malformed;
        Entry* entry = new_entry(b, key, static_cast<Kind>(kind));
        if (entry == nullptr || !read_value(b, *entry, cursor))
            return BundleRead::out_of_memory;
        ++b->count;
    }
    return cursor.intact() && cursor.left() == 0 && !has_duplicate_key(b) ? BundleRead::complete
                                                                          : BundleRead::malformed;
}

char* write_string(char* to, const char* text, std::size_t size) noexcept
{
    put(to, static_cast<std::int32_t>(size));
    std::memcpy(to + sizeof(std::int32_t), text, size);
    return to + sizeof(std::int32_t) + size;
}

char* write_value(char* to, const Entry& entry) noexcept
{
    if (entry.kind == Kind::string)
        return write_string(to, static_cast<const char*>(entry.value), entry.size);
    put(to, static_cast<std::int32_t>(entry.size));
    to += sizeof(std::int32_t);
    if (entry.kind == Kind::bytes) {
        if (entry.size != 0)
            std::memcpy(to, entry.value, entry.size);
        return to + entry.size;
    }
    const auto* strings = static_cast<const char**>(entry.value);
    for (std::size_t i = 0; i < entry.size; ++i)
        to = write_string(to, strings[i], std::strlen(strings[i]) + 1);
    return to;
}

std::size_t value_wire_size(const Entry& entry) noexcept
{
    std::size_t size = sizeof(std::int32_t);
    if (entry.kind != Kind::string_array)
        return size + entry.size;
    const auto* strings = static_cast<const char**>(entry.value);
    for (std::size_t i = 0; i < entry.size; ++i)
        size += sizeof(std::int32_t) + std::strlen(strings[i]) + 1;
    return size;
}

}  // namespace

std::size_t bundle_wire_size(const bundle* b) noexcept
{
    std::size_t size = 2 * sizeof(std::int32_t);
    for (std::size_t i = 0; b != nullptr && i < b->count; ++i) {
        size += 2 * sizeof(std::int32_t) + b->entries[i].key_size + value_wire_size(b->entries[i]);
        if (size > kLargest)
            break;
    }
    return size;
}

void write_bundle(const bundle* b, char* to) noexcept
{
    char* const length_at = to;
    to += sizeof(std::int32_t);
    put(to, static_cast<std::int32_t>(b != nullptr ? b->count : 0));
    to += sizeof(std::int32_t);
    for (std::size_t i = 0; b != nullptr && i < b->count; ++i) {
        const Entry& entry = b->entries[i];
        put(to, static_cast<std::int32_t>(entry.kind));
        to = write_string(to + sizeof(std::int32_t), entry.key, entry.key_size);
        to = write_value(to, entry);
    }
    put(length_at,
        static_cast<std::int32_t>(to - length_at - static_cast<std::ptrdiff_t>(sizeof(std::int32_t))));
}

BundleRead read_bundle(const char* from, std::size_t size, bundle** b) noexcept
{
    *b = nullptr;
    const auto release = [](bundle* read) { bundle_free(read); };
    std::unique_ptr<bundle, decltype(release)> made{bundle_create(), release};
    if (made == nullptr)
        return BundleRead::out_of_memory;
    Cursor cursor{from, size};
    const BundleRead result = read_entries(made.get(), cursor);
    if (result == BundleRead::complete)
        *b = made.release();
    return result;
}

}  // namespace quorvel::platform

using namespace quorvel::platform;

bundle* bundle_create(void)
{
    void* memory = std::malloc(sizeof(_bundle_t));
    if (memory == nullptr)
        return nullptr;
    return new (memory) _bundle_t{};
}

int bundle_free(bundle* b)
{
    if (b == nullptr)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    for (Block* block = b->blocks; block != nullptr;) {
        Block* next = block->next;
        explicit_bzero(block->bytes(), block->used);
        std::free(block);
        block = next;
    }
    std::free(b->entries);
    std::free(b);
    return BUNDLE_ERROR_NONE;
}

bundle* bundle_dup(bundle* b)
{
    if (b == nullptr)
        return nullptr;
    bundle* copy = bundle_create();
    if (copy == nullptr)
        return nullptr;
    std::size_t needed = 0;
    for (const Block* block = b->blocks; block != nullptr; block = block->next)
        needed += block->used;
    bool complete = b->count == 0 || (reserve_entries(copy, b->count) && reserve_bytes(copy, needed));
    for (std::size_t i = 0; complete && i < b->count; ++i) {
        const Entry& from = b->entries[i];
        Entry* to = new_entry(copy, {from.key, from.key_size - 1}, from.kind);
        if (to == nullptr) {
            complete = false;
            break;
        }
        to->size = from.size;
        if (from.kind == Kind::string_array) {
            const char** strings = new_string_array(copy, from.size);
            complete = strings != nullptr;
            for (std::size_t k = 0; complete && k < from.size; ++k) {
                const char* text = static_cast<const char**>(from.value)[k];
                strings[k] = take_copy(copy, text, std::strlen(text) + 1);
                complete = strings[k] != nullptr;
            }
            to->value = strings;
        } else {
            to->value = take_copy(copy, from.value, from.size);
            complete = to->value != nullptr;
        }
        ++copy->count;
    }
    if (!complete) {
        bundle_free(copy);
        return nullptr;
    }
    return copy;
}

int bundle_get_count(bundle* b)
{
    return b != nullptr ? static_cast<int>(b->count) : 0;
}

int bundle_add_str(bundle* b, const char* key, const char* str)
{
    if (str == nullptr)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    return add(b, key, Kind::string, [&](Entry& entry) {
        entry.size = std::strlen(str) + 1;
        entry.value = take_copy(b, str, entry.size);
        return entry.value != nullptr;
    });
}

int bundle_get_str(bundle* b, const char* key, char** str)
{
    if (b == nullptr || key == nullptr || str == nullptr)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    const Entry* entry = find(b, key, Kind::string);
    if (entry == nullptr)
        return BUNDLE_ERROR_KEY_NOT_AVAILABLE;
    *str = static_cast<char*>(entry->value);
    return BUNDLE_ERROR_NONE;
}

int bundle_add_str_array(bundle* b, const char* key, const char** strs, const int len)
{
    if (len < 0 || (strs == nullptr && len > 0))
        return BUNDLE_ERROR_INVALID_PARAMETER;
    return add(b, key, Kind::string_array, [&](Entry& entry) {
        entry.size = static_cast<std::size_t>(len);
        const char** copies = new_string_array(b, entry.size);
        if (copies == nullptr)
            return false;
        for (std::size_t i = 0; i < entry.size; ++i) {
            const char* text = strs[i] != nullptr ? strs[i] : "";
            copies[i] = take_copy(b, text, std::strlen(text) + 1);
            if (copies[i] == nullptr)
                return false;
        }
        entry.value = copies;
        return true;
    });
}

const char** bundle_get_str_array(bundle* b, const char* key, int* len)
{
    if (len != nullptr)
        *len = 0;
    const Entry* entry = b != nullptr && key != nullptr ? find(b, key, Kind::string_array) : nullptr;
    if (entry == nullptr)
        return nullptr;
    if (len != nullptr)
        *len = static_cast<int>(entry->size);
    return static_cast<const char**>(entry->value);
}

int bundle_add_byte(bundle* b, const char* key, const void* bytes, const size_t size)
{
    if (bytes == nullptr && size != 0)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    return add(b, key, Kind::bytes, [&](Entry& entry) {
        entry.size = size;
        entry.value = take_copy(b, bytes, size);
        return entry.value != nullptr;
    });
}

int bundle_get_byte(bundle* b, const char* key, void** bytes, size_t* size)
{
    if (b == nullptr || key == nullptr || bytes == nullptr || size == nullptr)
        return BUNDLE_ERROR_INVALID_PARAMETER;
    const Entry* entry = find(b, key, Kind::bytes);
    if (entry == nullptr)
        return BUNDLE_ERROR_KEY_NOT_AVAILABLE;
    *bytes = entry->value;
    *size = entry->size;
    return BUNDLE_ERROR_NONE;
}
