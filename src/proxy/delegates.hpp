#pragma once

#include <glib.h>
#include <rpc-port.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "internal/call_site.hpp"
#include "proxy/records.hpp"

/// Delegates: the client's end of the callbacks that the agent makes.
///
/// A delegate's memory is counted. One count is its life: it stands for the creator's and then for the list's
/// hold, and `destroy`, `dispose`, the one call of a once delegate or the end of its proxy drop it. A
/// dispatch that has picked the delegate holds another, and so does whoever keeps a DelegateRef. So a
/// callback may do anything to its own registration, and nothing that is freed is touched afterwards.
///
/// The list is the GList that the proxy's record shows. The nodes of it are part of the delegates, so
/// registering takes no memory; an index by (id, seq_id) stands beside it. Both are guarded by
/// locks::delegates, which is never held while a callback runs.
namespace quorvel::proxy {

struct Proxy;
struct Delegate;

struct DelegateType {
    const char* name;
    const char* dispose_name;  ///< "rpc_port_proxy_qv_client_device_list_cb_dispose": in whose name the
                               ///< library disposes
    int id;
    rpc_port_parcelable_t parcelable;
    std::atomic<unsigned>* last_seq_id;  ///< never reset while the process runs
};

/// One place in the list of one proxy.
struct Listing {
    GList node;             ///< its data is the delegate
    Proxy* proxy;           ///< nullptr: not in a list
    std::uint64_t place;    ///< in that list: what was appended later has a larger one
    Listing* next_indexed;  ///< in the same bucket of the proxy's index
    Listing* next;          ///< another place of the same delegate, when it was given to several calls
};

/// The record that every delegate's header describes, and behind the fields that it shows, our own.
struct Delegate {
    rpc_port_parcelable_t parcelable;
    int id;
    int seq_id;
    void (*callback)();
    bool once;
    void* user_data;

    const DelegateType* type;
    std::atomic<unsigned> references;
    bool ended;  ///< its life was dropped: it is found no more, and no list takes it
    bool fired;  ///< a once delegate whose call was picked
    void (*release_kept)(void* kept);
    void* kept;
    Listing listing;
};

/// Names one delegate for good: an address alone may be that of a later one. Never dereferenced.
struct DelegateName {
    const void* address = nullptr;
    int id = 0;
    int seq_id = 0;

    explicit operator bool() const noexcept { return address != nullptr; }
    bool operator==(const DelegateName&) const = default;
};

/// Where to find the delegates in a proxy's list by their numbers. Guarded by locks::delegates.
class DelegateIndex {
public:
    DelegateIndex() = default;
    ~DelegateIndex() { std::free(buckets_); }
    DelegateIndex(const DelegateIndex&) = delete;
    DelegateIndex& operator=(const DelegateIndex&) = delete;

    void insert(Listing& listing);
    void remove(Listing& listing);
    /// The one that a walk of the list would find: the first, should several go by the same number.
    Delegate* find(int id, int seq_id) const;
    /// That very delegate, if it is in the list and still goes by that number.
    Delegate* find(const DelegateName& name) const;

private:
    template <typename Matches>
    Delegate* first_of(int id, int seq_id, Matches matches) const;
    Listing*& bucket(int id, int seq_id) const;
    void grow();

    Listing** buckets_ = nullptr;
    std::size_t bucket_count_ = 0;
    std::size_t size_ = 0;
    mutable Listing* overflow_ = nullptr;  ///< the one bucket while there is no memory for more
};

/// Where a dispatch looks: a proxy of ours, or a bare list that is perhaps another program's.
struct Listed {
    GList** list;
    Proxy* proxy = nullptr;
};

void release_memory(Delegate* delegate);

inline void drop_reference(Delegate* delegate)
{
    if (delegate->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        release_memory(delegate);
}

/// A counted hold on a delegate.
class DelegateRef {
public:
    DelegateRef() = default;
    explicit DelegateRef(void* delegate) noexcept : delegate_{static_cast<Delegate*>(delegate)} { hold(); }
    DelegateRef(const DelegateRef& other) noexcept : delegate_{other.delegate_} { hold(); }
    DelegateRef(DelegateRef&& other) noexcept : delegate_{std::exchange(other.delegate_, nullptr)} {}
    DelegateRef& operator=(DelegateRef other) noexcept
    {
        std::swap(delegate_, other.delegate_);
        return *this;
    }
    ~DelegateRef() { drop(); }

    explicit operator bool() const noexcept { return delegate_ != nullptr; }
    Delegate* operator->() const noexcept { return delegate_; }
    Delegate* get() const noexcept { return delegate_; }

private:
    void hold() noexcept
    {
        if (delegate_ != nullptr)
            delegate_->references.fetch_add(1, std::memory_order_relaxed);
    }
    void drop() noexcept
    {
        if (delegate_ != nullptr)
            // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): counted, which the analyzer does not follow.
            drop_reference(delegate_);
    }

    Delegate* delegate_ = nullptr;
};

void* create_delegate_object(const DelegateType& type, void (*callback)(), bool once, void* user_data,
                             const CallSite& at);
int destroy_delegate_object(void* delegate, const CallSite& at);
int dispose_delegate_object(void* proxy, void* delegate, const CallSite& at);
void write_delegate(rpc_port_parcel_h parcel, void* delegate, CallSite at = CallSite::here());
void read_delegate(rpc_port_parcel_h parcel, void* delegate, CallSite at = CallSite::here());

template <typename Handle, typename Callback>
Handle create_delegate(const DelegateType& type, Callback callback, bool once, void* user_data,
                       CallSite at = CallSite::here())
{
    return static_cast<Handle>(
        create_delegate_object(type, reinterpret_cast<void (*)()>(callback), once, user_data, at));
}

inline int destroy_delegate(void* delegate, CallSite at = CallSite::here())
{
    return destroy_delegate_object(delegate, at);
}

inline int dispose_delegate(void* proxy, void* delegate, CallSite at = CallSite::here())
{
    return dispose_delegate_object(proxy, delegate, at);
}

// For the layer above.

/// Lets a delegate keep something that its callback needs: it is released with the delegate's memory.
void keep_for_callback(void* delegate, void* kept, void (*release)(void* kept));

DelegateName name_of(const void* delegate);

/// Disposes the delegate of that name, if the proxy still holds it; answers whether it did.
bool dispose_named(Proxy& proxy, const DelegateName& name);

/// What a failed command or a replaced registration does with a delegate that it holds: takes it out of its
/// list, if it is in one, and ends its life. Answers whether no call of it was picked before: then none will
/// be.
bool retire_delegate(const DelegateRef& delegate);

bool is_listed(const DelegateRef& delegate);

// For the call frame and the proxy.

/// Appends the delegate to the proxy's list, unless its life has ended. Answers false when there is no
/// memory.
bool append_delegate(Proxy& proxy, void* delegate);
/// Ends the life of every delegate in the proxy's list.
void end_delegates(Proxy& proxy);

/// A dispatch between finding the delegate and the end of its call.
class Firing {
public:
    Firing(const Listed& listed, int id, int seq_id, const CallSite& at);
    // Also on the way of an exception that an application's callback threw.
    ~Firing()
    {
        if (picked_.once)
            end_once();
    }
    Firing(const Firing&) = delete;
    Firing& operator=(const Firing&) = delete;

    explicit operator bool() const noexcept { return static_cast<bool>(picked_.delegate); }

    template <typename... Parameters>
    void call(Parameters... parameters) const
    {
        using Callback = void (*)(void*, Parameters...);
        if (picked_.callback != nullptr)
            reinterpret_cast<Callback>(picked_.callback)(picked_.user_data, parameters...);
    }

private:
    /// What is called, as it was when it was found.
    struct Picked {
        DelegateRef delegate;
        void (*callback)();
        void* user_data;
        bool once;
    };

    static Picked pick(const Listed& listed, int id, int seq_id);
    void end_once();

    const Listed& listed_;
    const CallSite& at_;
    const Picked picked_;
};

// The parameters of a delegate, each read from the parcel and released after the call.

/// A callback's parcel. Nothing is read behind a value that there was no memory for.
struct Incoming {
    rpc_port_parcel_h parcel;
    bool is_broken_off = false;

    template <typename Value>
    void read(int (*read_value)(rpc_port_parcel_h, Value*), Value& value)
    {
        if (!is_broken_off)
            read_value(parcel, &value);
    }
};

class Number {
public:
    explicit Number(Incoming& from) { from.read(rpc_port_parcel_read_int32, value_); }
    int value() const { return value_; }

private:
    int value_ = 0;
};

class LongNumber {
public:
    explicit LongNumber(Incoming& from) { from.read(rpc_port_parcel_read_int64, value_); }
    long long value() const { return value_; }

private:
    long long value_ = 0;
};

class Flag {
public:
    explicit Flag(Incoming& from) { from.read(rpc_port_parcel_read_bool, value_); }
    bool value() const { return value_; }

private:
    bool value_ = false;
};

/// A text where it lies in the parcel, or, where the platform cannot lend it, a copy that is wiped.
class Text {
public:
    explicit Text(const Incoming& from)
    {
        if (from.is_broken_off)
            return;
        if (qv_port_parcel_borrow_string != nullptr) {
            int length = 0;
            qv_port_parcel_borrow_string(from.parcel, &value_, &length);
        } else {
            value_ = copy_ = copy_of_next(from.parcel);
        }
    }
    ~Text()
    {
        if (copy_ != nullptr)
            wipe_copy();
    }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
    const char* value() const { return value_; }

private:
    static char* copy_of_next(rpc_port_parcel_h parcel);
    void wipe_copy();

    const char* value_ = nullptr;
    char* copy_ = nullptr;
};

using SecretText = Text;

template <typename Handle>
class Object {
public:
    explicit Object(Incoming& from, CallSite at = CallSite::here())
    {
        if (from.is_broken_off)
            return;
        from.is_broken_off = create_record(TypeOf<Handle>::type, &value_, at) != 0
                             || !read_whole(from.parcel, value_->parcelable, value_);
        // One that is incomplete is none: whoever wants a copy of it then tells that there is none.
        if (from.is_broken_off)
            release();
    }
    ~Object() { release(); }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    Handle value() const { return value_; }

private:
    void release()
    {
        if (value_ != nullptr)
            destroy_record(TypeOf<Handle>::type, std::exchange(value_, nullptr));
    }

    Handle value_ = nullptr;
};

/// Calls the delegate that a callback is for, if there is one, with the parameters that were read for it.
struct Delivery {
    template <typename... Parameters>
    Delivery(const Listed& listed, int id, int seq_id, const CallSite& at, const Parameters&... parameters)
    {
        const Firing firing{listed, id, seq_id, at};
        if (firing)
            firing.call(parameters.value()...);
    }
};

/// One callback from the agent.
template <typename... Parameters>
struct Dispatch {
    void run(const Listed& listed, [[maybe_unused]] rpc_port_parcel_h parcel, int seq_id, int id,
             CallSite at = CallSite::here()) const
    {
        // Braces read the parameters in their order; all of them live until the call is over.
        [[maybe_unused]] Incoming incoming{parcel};
        Delivery{listed, id, seq_id, at, Parameters{incoming}...};
    }
};

struct DispatchEntry {
    const char* name;
    void (*run)(Listed listed, rpc_port_parcel_h parcel, int seq_id, int id);
};

/// By delegate id; entry 0 is empty. Made by the generator.
inline constexpr int last_delegate_id = 38;
extern const DispatchEntry dispatch_table[last_delegate_id + 1];

/// A callback parcel whose command has been read.
void dispatch_callback(Proxy& proxy, rpc_port_parcel_h parcel, const CallSite& at);

}  // namespace quorvel::proxy
