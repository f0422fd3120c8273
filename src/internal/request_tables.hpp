#pragma once

#include <glib.h>
#include <quorvel_client_types.h>

#include <atomic>
#include <memory>

#include "internal/client.hpp"
#include "internal/parameters.hpp"
#include "internal/session.hpp"
#include "proxy/delegates.hpp"

/// The tables of live requests, subscriptions and monitored devices: every step that touches one.
///
/// An application's threads subscribe and unsubscribe while events arrive on the loop thread, and a
/// disconnected event may destroy both tables under all of them. So a table is looked at under
/// locks::requests only, in steps that log nothing and call nobody; what is found is copied, and what is
/// removed is disposed of afterwards by whoever removed it.
namespace quorvel {

/// A key that its entry and its entry's delegate hold together: the delegate's user data is the text, and an
/// event may arrive when the entry is gone already. For as long as one is held, no other has its address.
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
    std::unique_ptr<RequestEntry> next;  ///< of those that were taken out together
};
using RequestEntryPtr = std::unique_ptr<RequestEntry>;

/// A new table; its keys belong to the entries, its entries to the table.
GHashTable* new_request_table();

/// One of the two tables of whatever connection there is.
class RequestTable {
public:
    using Member = GHashTable* session::RequestTables::*;

    explicit constexpr RequestTable(Member member) : member_{member} {}

    // Each answers false when there is no table: the connection has gone meanwhile.
    static constexpr auto missing = "quorvel_client is not connected";
    static constexpr int missing_code = QUORVEL_CLIENT_ERROR_NOT_CONNECTED;

    /// Puts an entry in, and hands back the one that had its key.
    bool put(RequestEntryPtr entry, RequestEntryPtr& displaced) const;
    /// Takes the entry of that key out, if there is one.
    bool take(const char* key, RequestEntryPtr& taken) const;
    /// Takes out all entries whose keys begin with that.
    bool take_all(const char* beginning, RequestEntryPtr& taken) const;

    /// Removes the entry that holds this very key. Another thread may have put one of the same text in its
    /// place.
    void forget(const SharedKey& key) const;
    /// A copy of what the application gave; NULLs when the entry is gone.
    Request find(const void* key) const;

private:
    GHashTable* table() const { return session::request_tables().*member_; }

    Member member_;
};

inline constexpr RequestTable subscriptions{&session::RequestTables::subscriptions};
inline constexpr RequestTable monitoring{&session::RequestTables::monitoring};

/// Disposes of the delegates of entries that were taken out of their table, and frees both.
void dispose_of(RequestEntryPtr entries);

/// A repeating delegate whose events find the application's callback through a table.
template <typename Handle, typename Handler>
class TabledDelegate {
public:
    /// Whether the entry stands while the agent is asked, or only once the agent has agreed.
    enum class Entered { before_asking, when_agreed };

    TabledDelegate(RequestTable table, Entered entered, const char* key, const char* already,
                   const DelegateKind<Handle, Handler>& kind, Handler handler, void (*callback)(),
                   void* user_data)
        : table_{table},
          entered_{entered},
          key_text_{key},
          already_{already},
          kind_{kind},
          handler_{handler},
          callback_{callback},
          user_data_{user_data}
    {
    }

    bool prepare(ApiCall& call)
    {
        if (entered_ == Entered::when_agreed) {
            RequestEntryPtr earlier;
            call.require(table_.take(key_text_, earlier), RequestTable::missing, RequestTable::missing_code);
            replaced(call, std::move(earlier));
        }
        make(call);
        if (entered_ == Entered::before_asking)
            enter(call);
        return call.ok();
    }
    Handle argument() const { return static_cast<Handle>(static_cast<void*>(delegate_.get())); }
    void settle(ApiCall& call, bool)
    {
        if (!delegate_)
            return;
        if (entered_ == Entered::when_agreed)
            enter(call);
        // One that never came into the proxy's list is nobody's.
        if (!call.ok() || !proxy::is_listed(delegate_))
            proxy::retire_delegate(delegate_);
        if (!call.ok())
            table_.forget(key_);
    }

private:
    void replaced(const ApiCall& call, RequestEntryPtr earlier) const
    {
        if (earlier == nullptr)
            return;
        log_api(DLOG_DEBUG, call.at(), QC_TEXT("%s"), already_);
        dispose_of(std::move(earlier));
    }

    void make(ApiCall& call)
    {
        if (!call.ok())
            return;
        key_ = SharedKey{key_text_};
        entry_.reset(new (std::nothrow) RequestEntry{});
        call.require(key_ && entry_ != nullptr, "memory allocation is failed",
                     QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
        if (!call.ok())
            return;
        const Handle delegate = kind_.create(handler_, false, key_.text());
        if (delegate == nullptr) {
            call.fail(QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY, QC_TEXT("%s is failed"), kind_.create_name);
            return;
        }
        proxy::keep_for_callback(delegate, key_.hold(), SharedKey::release);
        delegate_ = proxy::DelegateRef{delegate};
        *entry_ = {&call.client(), key_.text(), callback_, delegate, user_data_, key_, delegate_, nullptr};
    }

    void enter(ApiCall& call)
    {
        if (!call.ok())
            return;
        RequestEntryPtr earlier;
        call.require(table_.put(std::move(entry_), earlier), RequestTable::missing,
                     RequestTable::missing_code);
        replaced(call, std::move(earlier));
    }

    RequestTable table_;
    Entered entered_;
    const char* key_text_;
    const char* already_;
    DelegateKind<Handle, Handler> kind_;
    Handler handler_;
    void (*callback_)();
    void* user_data_;

    SharedKey key_;
    RequestEntryPtr entry_;
    proxy::DelegateRef delegate_;
};

/// One whose entry stands while the agent is asked, and goes when it refuses.
template <typename Handle, typename Handler, typename Callback>
TabledDelegate<Handle, Handler*> tabled_before_asking(RequestTable table, const char* key,
                                                      const char* already,
                                                      const DelegateKind<Handle, Handler*>& kind,
                                                      Handler* handler, Callback callback, void* user_data)
{
    return {table,
            TabledDelegate<Handle, Handler*>::Entered::before_asking,
            key,
            already,
            kind,
            handler,
            reinterpret_cast<void (*)()>(callback),
            user_data};
}

/// One whose entry stands once the agent has agreed; an earlier one of its key goes before the agent is
/// asked.
template <typename Handle, typename Handler, typename Callback>
TabledDelegate<Handle, Handler*> tabled_when_agreed(RequestTable table, const char* key, const char* already,
                                                    const DelegateKind<Handle, Handler*>& kind,
                                                    Handler* handler, Callback callback, void* user_data)
{
    return {table,
            TabledDelegate<Handle, Handler*>::Entered::when_agreed,
            key,
            already,
            kind,
            handler,
            reinterpret_cast<void (*)()>(callback),
            user_data};
}

}  // namespace quorvel
