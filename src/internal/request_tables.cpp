#include "internal/request_tables.hpp"

#include <cstdlib>
#include <cstring>
#include <new>

namespace quorvel {

namespace {

/// The count stands in front of the text.
struct Count {
    std::atomic<unsigned> holders;
};

Count& count_of(void* text)
{
    return *reinterpret_cast<Count*>(static_cast<char*>(text) - sizeof(Count));
}

}  // namespace

SharedKey::SharedKey(const char* text)
{
    const std::size_t size = std::strlen(text) + 1;
    void* const memory = std::malloc(sizeof(Count) + size);
    if (memory == nullptr)
        return;
    new (memory) Count{1};
    text_ = static_cast<char*>(memory) + sizeof(Count);
    std::memcpy(text_, text, size);
}

SharedKey::SharedKey(const SharedKey& other) noexcept : text_{other.text_}
{
    hold();
}

void* SharedKey::hold() const noexcept
{
    if (text_ != nullptr)
        count_of(text_).holders.fetch_add(1, std::memory_order_relaxed);
    return text_;
}

void SharedKey::release(void* text) noexcept
{
    if (text != nullptr && count_of(text).holders.fetch_sub(1, std::memory_order_acq_rel) == 1)
        std::free(&count_of(text));
}

GHashTable* new_request_table()
{
    return g_hash_table_new_full(g_str_hash, g_str_equal, nullptr,
                                 [](void* entry) { delete static_cast<RequestEntry*>(entry); });
}

}  // namespace quorvel
