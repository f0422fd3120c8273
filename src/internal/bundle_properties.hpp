#pragma once

#include <bundle.h>
#include <quorvel_client_proxy_types.hpp>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>

#include "internal/api_call.hpp"
#include "internal/bundle_records.hpp"
#include "proxy/records.hpp"

/// Properties that a record keeps as texts in its one bundle, each under a key of its own.
///
/// A family is one table, indexed by the property's number; each entry belongs to the getter of its kind. The
/// type of the out-value tells which getter is at work, so that a getter is one line:
///
///     return get_property(easy_setup::device_conf, conf, property_id, value);
///
/// The record's own bundle is read and written, not a copy of it that is stored back: what can be seen is the
/// same, and there is no moment at which a lack of memory loses what the record held.
namespace quorvel {

enum class PropertyKind { text, number, truth, text_list, number_list };

struct BundleProperty {
    const char* key;
    PropertyKind kind;
    /// The line about one that cannot be read, where it is not the family's.
    const char* unreadable = nullptr;
};

/// A family's table, the lowest version of the agent that its functions need, and its wording: formats of
/// QC_TEXT's, which are given the number of the property.
struct BundleProperties {
    struct AgentVersion {
        int major;
        int minor;
    };

    std::span<const BundleProperty> table;
    AgentVersion agent;
    const char* invalid_id;
    const char* unreadable;
};

/// A family of the records with this handle.
template <typename Handle>
struct BundleFamily : BundleProperties {
    const char* missing_record = "invalid parameter";  ///< said when there is none to release
};

// Hand out the value of that number, or fail the call. A list that is empty is NULL and 0.
void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, char** text);
void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, int* number);
void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, bool* truth);
void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, char*** texts,
              int* count);
void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, int** numbers,
              int* count);

/// A getter.
template <typename Handle, typename... Outs>
int get_property_at(const CallSite& at, const BundleFamily<Handle>& family, void* record, int id,
                    Outs... outs)
{
    return LocalCall{LocalCall::Entry::logged, at}
        .agent(family.agent.major, family.agent.minor)
        .require(record != nullptr && (... && (outs != nullptr)))
        .then([&](LocalCall& call) {
            hand_out(call, family, static_cast<Handle>(record)->bundle_data, id, outs...);
        })
        .result();
}

template <typename Handle, typename Out>
int get_property(const BundleFamily<Handle>& family, void* record, int id, Out* value,
                 CallSite at = CallSite::here())
{
    return get_property_at(at, family, record, id, value);
}

template <typename Handle, typename Element>
int get_property(const BundleFamily<Handle>& family, void* record, int id, Element** list, int* count,
                 CallSite at = CallSite::here())
{
    return get_property_at(at, family, record, id, list, count);
}

// Add a value; the call's code is the platform's, as it came. What is there is never replaced.
void take_in(LocalCall& call, const BundleProperties& family, bundle*& held, int id, const char* text);
void take_in(LocalCall& call, const BundleProperties& family, bundle*& held, int id, const char* const* texts,
             int count);

/// A setter.
template <typename Handle, typename... Values>
int set_property_at(const CallSite& at, const BundleFamily<Handle>& family, void* record, int id,
                    Values... values)
{
    return LocalCall{LocalCall::Entry::logged, at}
        .agent(family.agent.major, family.agent.minor)
        .require(record != nullptr)
        .then([&](LocalCall& call) {
            take_in(call, family, static_cast<Handle>(record)->bundle_data, id, values...);
        })
        .result();
}

template <typename Handle>
int set_property(const BundleFamily<Handle>& family, void* record, int id, const char* value,
                 CallSite at = CallSite::here())
{
    return set_property_at(at, family, record, id, value);
}

template <typename Handle>
int set_property(const BundleFamily<Handle>& family, void* record, int id, const char* const* list, int count,
                 CallSite at = CallSite::here())
{
    return set_property_at(at, family, record, id, list, count);
}

/// Makes a record; NULL when the call failed.
template <typename Call, typename Handle>
Handle new_record(Call& call, const RecordKind<Handle>& kind)
{
    Handle record = nullptr;
    if (kind.create(&record) != 0)
        call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, QC_TEXT("%s failed"), kind.create_name);
    return record;
}

struct FreeBundle {
    void operator()(bundle* owned) const { bundle_free(owned); }
};
using OwnedBundle = std::unique_ptr<bundle, FreeBundle>;

/// Makes a bundle; NULL when the call failed.
template <typename Call>
OwnedBundle new_bundle(Call& call)
{
    OwnedBundle made{bundle_create()};
    if (made == nullptr)
        call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, QC_TEXT("bundle_create failed"));
    return made;
}

/// The step that makes a record for the application, with an empty bundle.
template <typename Handle>
auto record_made(const RecordKind<Handle>& kind, void** out)
{
    return [kind, out](LocalCall& call) {
        if (!call.require(out != nullptr).ok())
            return;
        const Handle record = new_record(call, kind);
        if (record == nullptr)
            return;
        record->bundle_data = new_bundle(call).release();
        if (call.ok())
            *out = record;
        else
            kind.destroy(record);
    };
}

/// The step that releases a record of the application's.
template <typename Handle>
auto record_released(const BundleFamily<Handle>& family, void* record)
{
    return [&family, record](LocalCall& call) {
        if (call.require(record != nullptr, family.missing_record).ok())
            proxy::destroy_record(proxy::TypeOf<Handle>::type, record);
    };
}

/// A destroyer.
template <typename Handle>
int release_record(const BundleFamily<Handle>& family, void* record, CallSite at = CallSite::here())
{
    return LocalCall{LocalCall::Entry::logged, at}
        .agent(family.agent.major, family.agent.minor)
        .then(record_released(family, record))
        .result();
}

/// The step that releases a vector of records that ends in NULL, and the records in it.
template <typename Handle>
auto records_released(void** list)
{
    return [list] {
        for (void** record = list; *record != nullptr; ++record)
            proxy::destroy_record(proxy::TypeOf<Handle>::type, *record);
        std::free(list);
    };
}

/// Borrowed from the bundle; NULL when there is no bundle, or no such text in it.
inline const char* bundle_text(bundle* held, const char* key)
{
    char* text = nullptr;
    if (held == nullptr || bundle_get_str(held, key, &text) != BUNDLE_ERROR_NONE)
        return nullptr;
    return text;
}

/// Hands out a copy of a text; an empty or absent one as NULL.
template <typename Call>
void hand_out_copy(Call& call, const char* text, char** out)
{
    char* const copy = is_set(text) ? strdup(text) : nullptr;
    if (is_set(text) && copy == nullptr)
        call.fail(QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY, QC_TEXT("memory allocation is failed"));
    else
        *out = copy;
}

/// One text of the record that a method answers with.
template <typename Handle>
class BundleTextOut {
public:
    BundleTextOut(const char* key, char** out) : key_{key}, out_{out} {}
    ~BundleTextOut()
    {
        if (record_ != nullptr)
            proxy::destroy_record(proxy::TypeOf<Handle>::type, record_);
    }
    BundleTextOut(const BundleTextOut&) = delete;
    BundleTextOut& operator=(const BundleTextOut&) = delete;

    Handle* argument() { return &record_; }
    void settle(ApiCall& call, bool ok)
    {
        if (ok)
            hand_out_copy(call, record_ != nullptr ? bundle_text(record_->bundle_data, key_) : nullptr, out_);
    }

private:
    const char* key_;
    char** out_;
    Handle record_ = nullptr;
};

}  // namespace quorvel
