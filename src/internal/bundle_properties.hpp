#pragma once

#include <bundle.h>
#include <quorvel_client_proxy_types.hpp>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>

#include "internal/api_call.hpp"
#include "proxy/records.hpp"

/// Properties that a record keeps as texts in its one bundle, each under a key of its own.
///
/// A family is one table, indexed by the property's number; each entry belongs to the getter of its kind. The
/// type of the out-value tells which getter is at work, so that a getter is one line:
///
///     return LocalCall{}.agent(1, 4).then(property_out(device_conf, conf, property_id, value)).result();
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

/// A family's table and its wording: formats of QC_TEXT's, which are given the number of the property.
struct BundleProperties {
    std::span<const BundleProperty> table;
    const char* invalid_id;
    const char* unreadable;
};

/// A family of the records with this handle.
template <typename Handle>
struct BundleFamily : BundleProperties {
};

// Hand out the value of that number, or fail the call. A list that is empty is NULL and 0.
void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, char** text);
void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, int* number);
void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, bool* truth);
void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, char*** texts,
              int* count);
void hand_out(LocalCall& call, const BundleProperties& family, bundle* held, int id, int** numbers,
              int* count);

/// The step that reads a property.
template <typename Handle, typename... Outs>
auto property_out(const BundleFamily<Handle>& family, void* record, int id, Outs... outs)
{
    return [&family, record, id, outs...](LocalCall& call) {
        if (call.require(record != nullptr && (... && (outs != nullptr))).ok())
            hand_out(call, family, static_cast<Handle>(record)->bundle_data, id, outs...);
    };
}

// Add a value; the call's code is the platform's, as it came. What is there is never replaced.
void take_in(LocalCall& call, const BundleProperties& family, bundle*& held, int id, const char* text);
void take_in(LocalCall& call, const BundleProperties& family, bundle*& held, int id, const char* const* texts,
             int count);

/// The step that sets a property.
template <typename Handle, typename... Values>
auto property_in(const BundleFamily<Handle>& family, void* record, int id, Values... values)
{
    return [&family, record, id, values...](LocalCall& call) {
        if (call.require(record != nullptr).ok())
            take_in(call, family, static_cast<Handle>(record)->bundle_data, id, values...);
    };
}

/// A record's own function that makes one, and the name that a failure is reported under.
template <typename Handle>
struct RecordMaker {
    int (*create)(Handle* record);
    const char* name;
};

template <typename Handle>
RecordMaker(int (*)(Handle*), const char*) -> RecordMaker<Handle>;

#define RECORD_MAKER(name) (::quorvel::RecordMaker{rpc_port_##name##_create, "rpc_port_" #name "_create"})

/// Makes a record; NULL when the call failed.
template <typename Call, typename Handle>
Handle new_record(Call& call, const RecordMaker<Handle>& maker)
{
    Handle record = nullptr;
    if (maker.create(&record) != 0)
        call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, QC_TEXT("%s failed"), maker.name);
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
auto record_made(const RecordMaker<Handle>& maker, void** out)
{
    return [maker, out](LocalCall& call) {
        if (!call.require(out != nullptr).ok())
            return;
        const Handle record = new_record(call, maker);
        if (record == nullptr)
            return;
        record->bundle_data = new_bundle(call).release();
        if (call.ok())
            *out = record;
        else
            proxy::destroy_record(proxy::TypeOf<Handle>::type, record);
    };
}

/// The step that releases a record of the application's.
template <typename Handle>
auto record_released(void* record, const char* missing = "invalid parameter")
{
    return [record, missing](LocalCall& call) {
        if (call.require(record != nullptr, missing).ok())
            proxy::destroy_record(proxy::TypeOf<Handle>::type, record);
    };
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
