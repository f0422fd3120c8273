#pragma once

#include <glib.h>
#include <quorvel_client_types.h>

#include <atomic>

#include "proxy/delegates.hpp"

/// The tables of live subscriptions and of monitored devices: see quorvel_client_qc_api.cpp, which fills
/// them.
namespace quorvel {

/// A key that its entry and its entry's delegate hold together: the delegate's user data is the text, and an
/// event may arrive when the entry is gone already.
class SharedKey {
public:
    SharedKey() = default;
    /// Without memory the key is empty (false).
    explicit SharedKey(const char* text);
    SharedKey(const SharedKey& other) noexcept;
    SharedKey(SharedKey&& other) noexcept : text_{std::exchange(other.text_, nullptr)} {}
    SharedKey& operator=(SharedKey other) noexcept
    {
        std::swap(text_, other.text_);
        return *this;
    }
    ~SharedKey() { release(text_); }

    explicit operator bool() const noexcept { return text_ != nullptr; }
    char* text() const noexcept { return text_; }
    /// Another count on the text, for one who gives it back with `release`.
    void* hold() const noexcept;
    static void release(void* text) noexcept;

private:
    char* text_ = nullptr;
};

/// One live request.
struct RequestEntry {
    quorvel_client_h client;
    char* key_text;
    void (*callback)();
    void* delegate;
    void* user_data;

    SharedKey key;
    proxy::DelegateRef held_delegate;
};

/// A new table; its keys belong to the entries, its entries to the table.
GHashTable* new_request_table();

}  // namespace quorvel
