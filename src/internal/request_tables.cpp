#include "internal/request_tables.hpp"

#include <cstdlib>
#include <cstring>
#include <new>
#include <tuple>
#include <utility>

namespace quorvel {

namespace {

// With locks::requests held.
RequestEntry* look_up(GHashTable* table, const void* key)
{
    return static_cast<RequestEntry*>(g_hash_table_lookup(table, key));
}

RequestEntryPtr take_out(GHashTable* table, const void* key)
{
    RequestEntryPtr entry{look_up(table, key)};
    if (entry != nullptr)
        g_hash_table_steal(table, key);
    return entry;
}

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

bool RequestTable::put(RequestEntryPtr entry, RequestEntryPtr& displaced) const
{
    const std::lock_guard lock{locks::requests};
    if (table() == nullptr)
        return false;
    displaced = take_out(table(), entry->key_text);
    g_hash_table_replace(table(), entry->key_text, entry.get());
    std::ignore = entry.release();
    return true;
}

bool RequestTable::take(const char* key, RequestEntryPtr& taken) const
{
    const std::lock_guard lock{locks::requests};
    if (table() == nullptr)
        return false;
    taken = take_out(table(), key);
    return true;
}

bool RequestTable::take_all(const char* beginning, RequestEntryPtr& taken) const
{
    const std::size_t length = std::strlen(beginning);
    const std::lock_guard lock{locks::requests};
    if (table() == nullptr)
        return false;
    GHashTableIter position;
    g_hash_table_iter_init(&position, table());
    RequestEntryPtr* end = &taken;
    void* key = nullptr;
    void* entry = nullptr;
    while (g_hash_table_iter_next(&position, &key, &entry)) {
        if (std::strncmp(static_cast<const char*>(key), beginning, length) != 0)
            continue;
        g_hash_table_iter_steal(&position);
        end->reset(static_cast<RequestEntry*>(entry));
        end = &(*end)->next;
    }
    return true;
}

void RequestTable::forget(const SharedKey& key) const
{
    RequestEntryPtr entry;
    const std::lock_guard lock{locks::requests};
    const RequestEntry* const present = table() != nullptr ? look_up(table(), key.text()) : nullptr;
    if (present != nullptr && present->key_text == key.text())
        entry = take_out(table(), key.text());
}

Request RequestTable::find(const void* key) const
{
    const std::lock_guard lock{locks::requests};
    if (key == nullptr || table() == nullptr)
        return {};
    const RequestEntry* const entry = look_up(table(), key);
    return entry != nullptr ? Request{entry->callback, entry->user_data} : Request{};
}

void dispose_of(RequestEntryPtr entries)
{
    while (entries != nullptr) {
        proxy::retire_delegate(entries->held_delegate);
        entries = std::exchange(entries->next, nullptr);
    }
}

}  // namespace quorvel
