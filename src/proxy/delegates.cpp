#include "proxy/delegates.hpp"

#include <new>

#include "internal/locks.hpp"
#include "internal/log.hpp"
#include "proxy/connection.hpp"

namespace quorvel::proxy {

namespace {

const char* truth(bool value)
{
    return value ? "true" : "false";
}

/// Takes one place out of its proxy's list and index. With locks::delegates held.
void unlist(Listing& listing)
{
    if (listing.proxy == nullptr)
        return;
    Proxy& proxy = *std::exchange(listing.proxy, nullptr);
    proxy.index.remove(listing);
    if (proxy.last_delegate == &listing.node)
        proxy.last_delegate = listing.node.prev;
    proxy.delegates = g_list_remove_link(proxy.delegates, &listing.node);
}

void unlist_everywhere(Delegate& delegate)
{
    for (Listing* listing = &delegate.listing; listing != nullptr; listing = listing->next)
        unlist(*listing);
}

/// Ends a delegate's life, once. With locks::delegates held; the caller drops the reference after it has let
/// go of it.
bool end_life(Delegate& delegate)
{
    unlist_everywhere(delegate);
    return !std::exchange(delegate.ended, true);
}

/// A list that no proxy of ours shows is walked as it stands.
Delegate* find_in(GList* const* first, int id, int seq_id)
{
    for (const GList* list = first != nullptr ? *first : nullptr; list != nullptr; list = list->next) {
        auto* const delegate = static_cast<Delegate*>(list->data);
        if (delegate != nullptr && delegate->seq_id == seq_id && delegate->id == id)
            return delegate;
    }
    return nullptr;
}

}  // namespace

Listing*& DelegateIndex::bucket(int id, int seq_id) const
{
    if (buckets_ == nullptr)
        return overflow_;
    // The numbers of each kind count up from 1.
    const unsigned hash = static_cast<unsigned>(seq_id) + static_cast<unsigned>(id) * 33U;
    return buckets_[hash & (bucket_count_ - 1)];
}

void DelegateIndex::insert(Listing& listing)
{
    if (size_ >= bucket_count_)
        grow();
    const auto& delegate = *static_cast<const Delegate*>(listing.node.data);
    Listing*& first = bucket(delegate.id, delegate.seq_id);
    listing.next_indexed = first;
    first = &listing;
    ++size_;
}

void DelegateIndex::remove(Listing& listing)
{
    const auto& delegate = *static_cast<const Delegate*>(listing.node.data);
    Listing** link = &bucket(delegate.id, delegate.seq_id);
    while (*link != nullptr && *link != &listing)
        link = &(*link)->next_indexed;
    if (*link == nullptr)
        return;
    *link = listing.next_indexed;
    --size_;
}

template <typename Matches>
Delegate* DelegateIndex::first_of(int id, int seq_id, Matches matches) const
{
    const Listing* first = nullptr;
    for (const Listing* listing = bucket(id, seq_id); listing != nullptr; listing = listing->next_indexed) {
        const auto& delegate = *static_cast<const Delegate*>(listing->node.data);
        if (delegate.id == id && delegate.seq_id == seq_id && matches(delegate)
            && (first == nullptr || listing->place < first->place))
            first = listing;
    }
    return first != nullptr ? static_cast<Delegate*>(first->node.data) : nullptr;
}

Delegate* DelegateIndex::find(int id, int seq_id) const
{
    return first_of(id, seq_id, [](const Delegate&) { return true; });
}

Delegate* DelegateIndex::find(const DelegateName& name) const
{
    return first_of(name.id, name.seq_id, [&name](const Delegate& found) { return &found == name.address; });
}

// Without memory for more buckets the index works on with those that it has.
void DelegateIndex::grow()
{
    const std::size_t count = bucket_count_ == 0 ? 16 : bucket_count_ * 2;
    auto** const larger = static_cast<Listing**>(std::calloc(count, sizeof(void*)));
    if (larger == nullptr)
        return;
    Listing** const old = std::exchange(buckets_, larger);
    const std::size_t old_count = std::exchange(bucket_count_, count);
    const auto move_all = [this](Listing* listing) {
        while (listing != nullptr) {
            Listing* const next = listing->next_indexed;
            const auto& delegate = *static_cast<const Delegate*>(listing->node.data);
            Listing*& first = bucket(delegate.id, delegate.seq_id);
            listing->next_indexed = first;
            first = listing;
            listing = next;
        }
    };
    move_all(std::exchange(overflow_, nullptr));
    for (std::size_t i = 0; i < old_count; ++i)
        move_all(old[i]);
    std::free(old);
}

void release_memory(Delegate* delegate)
{
    if (delegate->release_kept != nullptr)
        delegate->release_kept(delegate->kept);
    for (Listing* extra = delegate->listing.next; extra != nullptr;)
        std::free(std::exchange(extra, extra->next));
    delegate->~Delegate();
    std::free(delegate);
}

void* create_delegate_object(const DelegateType& type, void (*callback)(), bool once, void* user_data,
                             const CallSite& at)
{
    void* const memory = std::calloc(1, sizeof(Delegate));
    if (memory == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Out of memory"));
        return nullptr;
    }
    Delegate* const delegate = new (memory) Delegate{};
    delegate->type = &type;
    delegate->parcelable = type.parcelable;
    delegate->id = type.id;
    delegate->seq_id = static_cast<int>(type.last_seq_id->fetch_add(1, std::memory_order_relaxed) + 1);
    delegate->callback = callback;
    delegate->once = once;
    delegate->user_data = user_data;
    delegate->references.store(1, std::memory_order_relaxed);
    delegate->listing.node.data = delegate;
    log_proxy(DLOG_INFO, at, PROXY_TEXT("id(%d), seq_id(%d)"), delegate->id, delegate->seq_id);
    return delegate;
}

int destroy_delegate_object(void* handle, const CallSite& at)
{
    if (handle == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Invalid parameter"));
        return -1;
    }
    auto* const delegate = static_cast<Delegate*>(handle);
    bool lived = false;
    {
        const std::lock_guard lock{locks::delegates};
        lived = end_life(*delegate);
    }
    if (lived)
        drop_reference(delegate);
    return 0;
}

int dispose_delegate_object(void* proxy, void* handle, const CallSite& at)
{
    if (proxy == nullptr || handle == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Invalid handle %p %p"), proxy, handle);
        return -1;
    }
    Delegate* delegate = nullptr;
    DelegateName name;
    bool once = false;
    {
        const std::lock_guard lock{locks::delegates};
        // By address: the handle may be that of a delegate that went with an earlier proxy.
        const GList* const element = g_list_find(static_cast<Proxy*>(proxy)->delegates, handle);
        if (element == nullptr)
            return -1;
        delegate = static_cast<Delegate*>(handle);
        name = name_of(delegate);
        once = delegate->once;
        if (!end_life(*delegate))
            return -1;
    }
    log_proxy(DLOG_INFO, at, PROXY_TEXT("id(%d), seq_id(%d), once(%s)"), name.id, name.seq_id, truth(once));
    drop_reference(delegate);
    return 0;
}

void write_delegate(rpc_port_parcel_h parcel, void* handle, CallSite at)
{
    if (handle == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Invalid parameter"));
        return;
    }
    const auto& delegate = *static_cast<const Delegate*>(handle);
    rpc_port_parcel_write_int32(parcel, delegate.id);
    rpc_port_parcel_write_int32(parcel, delegate.seq_id);
    rpc_port_parcel_write_bool(parcel, delegate.once);
    log_proxy(DLOG_INFO, at, PROXY_TEXT("id(%d), seq_id(%d), once(%s)"), delegate.id, delegate.seq_id,
              truth(delegate.once));
}

void read_delegate(rpc_port_parcel_h parcel, void* handle, CallSite at)
{
    if (handle == nullptr) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Invalid parameter"));
        return;
    }
    auto& delegate = *static_cast<Delegate*>(handle);
    int id = delegate.id;
    int seq_id = delegate.seq_id;
    bool once = delegate.once;
    rpc_port_parcel_read_int32(parcel, &id);
    rpc_port_parcel_read_int32(parcel, &seq_id);
    rpc_port_parcel_read_bool(parcel, &once);
    {
        // A listed delegate is indexed under its name, which changes here.
        const std::lock_guard lock{locks::delegates};
        const auto for_each_listing = [&delegate](void (DelegateIndex::*change)(Listing&)) {
            for (Listing* listing = &delegate.listing; listing != nullptr; listing = listing->next) {
                if (listing->proxy != nullptr)
                    (listing->proxy->index.*change)(*listing);
            }
        };
        for_each_listing(&DelegateIndex::remove);
        delegate.id = id;
        delegate.seq_id = seq_id;
        delegate.once = once;
        for_each_listing(&DelegateIndex::insert);
    }
    log_proxy(DLOG_INFO, at, PROXY_TEXT("id(%d), seq_id(%d), once(%s)"), id, seq_id, truth(once));
}

void keep_for_callback(void* delegate, void* kept, void (*release)(void*))
{
    static_cast<Delegate*>(delegate)->kept = kept;
    static_cast<Delegate*>(delegate)->release_kept = release;
}

DelegateName name_of(const void* handle)
{
    if (handle == nullptr)
        return {};
    const auto& delegate = *static_cast<const Delegate*>(handle);
    return {&delegate, delegate.id, delegate.seq_id};
}

bool dispose_named(Proxy& proxy, const DelegateName& name)
{
    DelegateRef delegate;
    {
        const std::lock_guard lock{locks::delegates};
        Delegate* const found = proxy.index.find(name);
        if (found == nullptr)
            return false;
        delegate = DelegateRef{found};
    }
    retire_delegate(delegate);
    return true;
}

bool is_listed(const DelegateRef& delegate)
{
    const std::lock_guard lock{locks::delegates};
    return delegate->listing.proxy != nullptr;
}

bool retire_delegate(const DelegateRef& delegate)
{
    const CallSite at = CallSite::named(delegate->type->dispose_name);
    bool was_listed = false;
    bool fired = false;
    bool lived = false;
    {
        const std::lock_guard lock{locks::delegates};
        was_listed = delegate->listing.proxy != nullptr;
        fired = delegate->fired;
        lived = end_life(*delegate.get());
    }
    if (was_listed)
        log_proxy(DLOG_INFO, at, PROXY_TEXT("id(%d), seq_id(%d), once(%s)"), delegate->id, delegate->seq_id,
                  truth(delegate->once));
    if (lived)
        drop_reference(delegate.get());
    return lived && !fired;
}

bool append_delegate(Proxy& proxy, void* handle)
{
    auto& delegate = *static_cast<Delegate*>(handle);
    const std::lock_guard lock{locks::delegates};
    if (delegate.ended || proxy.is_dead)
        return true;
    Listing* listing = &delegate.listing;
    if (listing->proxy != nullptr) {
        listing = static_cast<Listing*>(std::calloc(1, sizeof(Listing)));
        if (listing == nullptr)
            return false;
        listing->node.data = &delegate;
        listing->next = std::exchange(delegate.listing.next, listing);
    }
    listing->proxy = &proxy;
    listing->place = ++proxy.last_place;
    // Behind the last node, so that the list is not walked.
    GList* const joined = g_list_concat(proxy.last_delegate, &listing->node);
    if (proxy.delegates == nullptr)
        proxy.delegates = joined;
    proxy.last_delegate = &listing->node;
    proxy.index.insert(*listing);
    return true;
}

void end_delegates(Proxy& proxy)
{
    for (;;) {
        Delegate* delegate = nullptr;
        bool lived = false;
        {
            const std::lock_guard lock{locks::delegates};
            if (proxy.delegates == nullptr)
                return;
            delegate = static_cast<Delegate*>(proxy.delegates->data);
            // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): counted, which the analyzer does not follow.
            lived = end_life(*delegate);
        }
        if (lived)
            drop_reference(delegate);
    }
}

Firing::Picked Firing::pick(const Listed& listed, int id, int seq_id)
{
    const std::lock_guard lock{locks::delegates};
    Delegate* const found =
        listed.proxy != nullptr ? listed.proxy->index.find(id, seq_id) : find_in(listed.list, id, seq_id);
    if (found == nullptr || found->ended || found->fired)
        return {};
    found->fired = found->once;
    return {DelegateRef{found}, found->callback, found->user_data, found->once};
}

Firing::Firing(const Listed& listed, int id, int seq_id, const CallSite& at)
    : listed_{listed}, at_{at}, picked_{pick(listed, id, seq_id)}
{
    if (*this)
        log_proxy(DLOG_WARN, at, PROXY_TEXT("Invoke id(%d), seq_id(%d)"), id, seq_id);
}

void Firing::end_once()
{
    bool lived = false;
    {
        const std::lock_guard lock{locks::delegates};
        if (listed_.proxy == nullptr && !picked_.delegate->ended
            && picked_.delegate->listing.proxy == nullptr)
            *listed_.list = g_list_remove(*listed_.list, picked_.delegate.get());
        lived = end_life(*picked_.delegate.get());
    }
    if (!lived)
        return;
    log_proxy(DLOG_WARN, at_, PROXY_TEXT("Dispose"));
    drop_reference(picked_.delegate.get());
}

char* Text::copy_of_next(rpc_port_parcel_h parcel)
{
    char* copy = nullptr;
    rpc_port_parcel_read_string(parcel, &copy);
    return copy;
}

void Text::wipe_copy()
{
    explicit_bzero(copy_, std::strlen(copy_));
    std::free(copy_);
}

void dispatch_callback(Proxy& proxy, rpc_port_parcel_h parcel, const CallSite& at)
{
    int id = 0;
    int seq_id = 0;
    bool once = false;  // the delegate's own flag decides, which is meant so
    rpc_port_parcel_read_int32(parcel, &id);
    rpc_port_parcel_read_int32(parcel, &seq_id);
    rpc_port_parcel_read_bool(parcel, &once);
    log_proxy(DLOG_WARN, at, PROXY_TEXT("id(%d), seq_id(%d)"), id, seq_id);
    if (id < 1 || id > last_delegate_id) {
        log_proxy(DLOG_ERROR, at, PROXY_TEXT("Unknown id(%d)"), id);
        return;
    }
    const DispatchEntry& entry = dispatch_table[id];
    if (entry.run != nullptr)
        entry.run(Listed{&proxy.delegates, &proxy}, parcel, seq_id, id);
}

}  // namespace quorvel::proxy
