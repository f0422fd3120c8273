#pragma once

#include <quorvel_client_proxy_types.hpp>

#include <cstdlib>
#include <cstring>
#include <span>

#include "internal/api_call.hpp"
#include "internal/parameters.hpp"

/// Properties: what an application reads from a record by a number. Each family is a table, indexed by the
/// number; a gap in it is a number that another getter knows, or none.
namespace quorvel {

template <typename Handle>
using TextGetter = int (*)(Handle record, char** value);
template <typename Handle>
using NumberGetter = int (*)(Handle record, int* value);
template <typename Handle>
using TextListGetter = int (*)(Handle record, char*** values, int* count);

/// The entry of a property; fails the call with the family's message when the table has none.
template <typename Entry>
Entry property_entry(LocalCall& call, std::span<const Entry> table, int id, const char* format)
{
    const bool is_known = id >= 0 && static_cast<std::size_t>(id) < table.size();
    const Entry entry = is_known ? table[static_cast<std::size_t>(id)] : Entry{};
    if (entry == Entry{})
        call.fail(QUORVEL_CLIENT_ERROR_INVALID_PARAMETER, format, id);
    return entry;
}

/// Hands a copy out; an empty or missing text reads as NULL.
inline void hand_out_unless_empty(char* copy, char** value)
{
    if (!is_set(copy)) {
        std::free(copy);
        copy = nullptr;
    }
    *value = copy;
}

/// The step that reads a text field.
template <typename Handle, std::size_t size>
auto text_property(const TextGetter<Handle> (&table)[size], void* record, int id, char** value)
{
    return [&table, record, id, value](LocalCall& call) {
        const auto getter =
            property_entry<TextGetter<Handle>>(call, table, id, QC_TEXT("invalid property id [%d]"));
        if (getter == nullptr)
            return;
        char* copy = nullptr;
        getter(static_cast<Handle>(record), &copy);
        hand_out_unless_empty(copy, value);
    };
}

/// The step that reads a number.
template <typename Handle, std::size_t size>
auto number_property(const NumberGetter<Handle> (&table)[size], void* record, int id, int* value)
{
    return [&table, record, id, value](LocalCall& call) {
        const auto getter =
            property_entry<NumberGetter<Handle>>(call, table, id, QC_TEXT("invalid property id [%d]"));
        if (getter != nullptr)
            getter(static_cast<Handle>(record), value);
    };
}

/// The step that reads a list of texts; an empty one reads as NULL and 0. A getter that takes one apart may
/// lack the memory.
template <typename Handle, std::size_t size>
auto text_list_property(const TextListGetter<Handle> (&table)[size], void* record, int id, char*** values,
                        int* count)
{
    return [&table, record, id, values, count](LocalCall& call) {
        const auto getter =
            property_entry<TextListGetter<Handle>>(call, table, id, QC_TEXT("invalid property id [%d]"));
        if (getter == nullptr)
            return;
        char** copies = nullptr;
        int size_read = 0;
        if (getter(static_cast<Handle>(record), &copies, &size_read) == QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY) {
            call.fail(QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
            return;
        }
        *values = copies;
        *count = size_read;
    };
}

/// The step that releases a record.
template <typename Handle>
auto released(void* record)
{
    return [record] { proxy::destroy_record(proxy::TypeOf<Handle>::type, record); };
}

/// A bundle, for as long as it is read.
class BundleCopy {
public:
    /// The copy that a record's getter hands out. A record without a bundle has none, and then no key either.
    template <typename Handle>
    BundleCopy(int (*getter)(Handle, bundle**), void* record)
    {
        getter(static_cast<Handle>(record), &bundle_);
    }
    ~BundleCopy()
    {
        if (bundle_ != nullptr)
            bundle_free(bundle_);
    }
    BundleCopy(const BundleCopy&) = delete;
    BundleCopy& operator=(const BundleCopy&) = delete;

    bundle* get() const { return bundle_; }
    /// Borrowed from the bundle; NULL when the key is absent.
    const char* text(const char* key) const
    {
        char* value = nullptr;
        if (bundle_ == nullptr || bundle_get_str(bundle_, key, &value) != BUNDLE_ERROR_NONE)
            return nullptr;
        return value;
    }

private:
    bundle* bundle_ = nullptr;
};

/// The wording of one family of bundle properties, as formats of QC_TEXT's.
struct PropertyMessages {
    const char* invalid_id;
    const char* absent;
};

/// Hands out a copy of a property's text, NULL for an empty one; fails the call when there is no text.
inline void hand_out_text(LocalCall& call, const char* text, int id, char** value, const char* absent)
{
    if (text == nullptr) {
        call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, absent, id);
        return;
    }
    char* const duplicate = is_set(text) ? strdup(text) : nullptr;
    if (is_set(text) && duplicate == nullptr)
        call.fail(QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY);
    else
        *value = duplicate;
}

/// The step that reads a text from a record's bundle; an empty one reads as NULL.
template <typename Handle, std::size_t size>
auto bundle_text_property(const char* const (&keys)[size], int (*getter)(Handle, bundle**), void* record,
                          int id, char** value, const PropertyMessages& messages)
{
    return [&keys, getter, record, id, value, &messages](LocalCall& call) {
        const BundleCopy copy{getter, record};
        const auto key = property_entry<const char*>(call, keys, id, messages.invalid_id);
        if (key == nullptr)
            return;
        hand_out_text(call, copy.text(key), id, value, messages.absent);
    };
}

}  // namespace quorvel
