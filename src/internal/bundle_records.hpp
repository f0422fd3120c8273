#pragma once

#include <bundle.h>
#include <quorvel_client_proxy.h>

#include <cstdlib>
#include <memory>
#include <span>

#include "internal/api_call.hpp"
#include "internal/properties.hpp"

/// Records that keep all their values in one bundle, as texts, each under a key.
namespace quorvel {

/// A type of such records, as the functions that read or make one know it.
template <typename Handle>
struct RecordKind {
    int (*create)(Handle* record);
    int (*destroy)(Handle record);
    int (*get_bundle)(Handle record, bundle** copy);
    int (*set_bundle)(Handle record, bundle* values);
    const char* create_name;
    const char* set_bundle_name;
};

template <typename Handle>
RecordKind(int (*)(Handle*), int (*)(Handle), int (*)(Handle, bundle**), int (*)(Handle, bundle*),
           const char*, const char*) -> RecordKind<Handle>;

#define RECORD(name)                                                                             \
    (::quorvel::RecordKind{rpc_port_##name##_create, rpc_port_##name##_destroy,                  \
                           rpc_port_##name##_get_bundle_data, rpc_port_##name##_set_bundle_data, \
                           "rpc_port_" #name "_create", "rpc_port_" #name "_set_bundle_data"})

struct TextProperty {
    int id;
    const char* key;
};

struct NumberProperty {
    int id;
    const char* key;
    int (*read)(const char* text);
};

/// What the digits at the begin of a text say; 0 without any. A number that is too large is cut, not refused.
inline int leading_number(const char* text)
{
    return static_cast<int>(std::strtol(text, nullptr, 10));
}

/// What the getters say, as formats of QC_TEXT's: of an unknown number, with the number, and of a property
/// that the record does not hold, the one with its number, the other with its key.
struct GetterWording {
    const char* unknown_text = QC_TEXT("Invalid property id[%d]");
    const char* absent_text = QC_TEXT("Failed to get enum[%d]");
    const char* unknown_number = QC_TEXT("Invalid property id[%d]");
    const char* absent_number = QC_TEXT("Failed to get %s");
};

/// A family of records that the application reads by property numbers. With it every getter and the destroyer
/// are one line, and a property is one line of a table:
///
///     constexpr TextProperty texts[] = {{QUORVEL_CORE_ROOM_PROP_ROOM_ID, "roomId"}, …};
///     constexpr RecordFamily<rpc_port_room_s_h> rooms{RECORD(room_s), texts};
template <typename Handle>
struct RecordFamily {
    RecordKind<Handle> kind;
    std::span<const TextProperty> texts;
    std::span<const NumberProperty> numbers = {};
    GetterWording wording = {};
    void (*check_agent)(LocalCall& call) = nullptr;  ///< the getters' first step, where they have one
};

/// The begin of a getter.
template <typename Handle>
LocalCall& begin_getter(LocalCall& call, const RecordFamily<Handle>& family, const void* record,
                        const void* value)
{
    if (family.check_agent != nullptr)
        family.check_agent(call);
    return call.require(record != nullptr && value != nullptr);
}

/// The entry of a property; fails the call when the family has none of that number.
template <typename Property>
const Property* find_property(LocalCall& call, std::span<const Property> properties, int id,
                              const char* unknown)
{
    for (const Property& property : properties) {
        if (property.id == id)
            return &property;
    }
    call.fail(QUORVEL_CLIENT_ERROR_INVALID_PARAMETER, unknown, id);
    return nullptr;
}

template <typename Handle>
int get_text(const RecordFamily<Handle>& family, void* record, int id, char** value,
             CallSite at = CallSite::here())
{
    LocalCall call{LocalCall::Entry::logged, at};
    begin_getter(call, family, record, value).then([&] {
        const BundleCopy values{family.kind.get_bundle, record};
        if (const auto* const property = find_property(call, family.texts, id, family.wording.unknown_text))
            hand_out_text(call, values.text(property->key), id, value, family.wording.absent_text);
    });
    return call.result();
}

template <typename Handle>
int get_number(const RecordFamily<Handle>& family, void* record, int id, int* value,
               CallSite at = CallSite::here())
{
    LocalCall call{LocalCall::Entry::logged, at};
    begin_getter(call, family, record, value).then([&] {
        const BundleCopy values{family.kind.get_bundle, record};
        const auto* const property = find_property(call, family.numbers, id, family.wording.unknown_number);
        if (property == nullptr)
            return;
        if (const char* const text = values.text(property->key))
            *value = property->read(text);
        else
            call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, family.wording.absent_number, property->key);
    });
    return call.result();
}

template <typename Handle>
int destroy(const RecordFamily<Handle>& family, void* record, CallSite at = CallSite::here())
{
    return LocalCall{LocalCall::Entry::logged, at}
        .require(record != nullptr)
        .then([&] { family.kind.destroy(static_cast<Handle>(record)); })
        .result();
}

/// A value of a record for the agent, and the word under which a failure to add it is reported.
struct RecordField {
    const char* key;
    const char* value;
    const char* word = key;
};

/// A parameter of a method: a record of these values. Values that are not there are left out, never sent
/// empty.
template <typename Handle>
class RecordIn {
public:
    /// The fields live as long as the expression that names them.
    template <std::size_t size>
    RecordIn(const RecordKind<Handle>& kind, const RecordField (&fields)[size]) : kind_{kind}, fields_{fields}
    {
    }
    ~RecordIn()
    {
        if (record_ != nullptr)
            kind_.destroy(record_);
    }
    RecordIn(const RecordIn&) = delete;
    RecordIn& operator=(const RecordIn&) = delete;

    bool prepare(ApiCall& call)
    {
        const std::unique_ptr<bundle, int (*)(bundle*)> values{bundle_create(), bundle_free};
        for (const RecordField& field : fields_) {
            if (!is_set(field.value))
                continue;
            if (values == nullptr
                || bundle_add_str(values.get(), field.key, field.value) != BUNDLE_ERROR_NONE) {
                call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, QC_TEXT("Failed to add %s"), field.word);
                return false;
            }
        }
        if (kind_.create(&record_) != 0)
            call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, QC_TEXT("%s failed"), kind_.create_name);
        else if (kind_.set_bundle(record_, values.get()) != 0)
            call.fail(QUORVEL_CLIENT_ERROR_OPERATION_FAILED, QC_TEXT("%s failed"), kind_.set_bundle_name);
        return call.ok();
    }
    Handle argument() const { return record_; }

private:
    RecordKind<Handle> kind_;
    std::span<const RecordField> fields_;
    Handle record_ = nullptr;
};

template <typename Handle, std::size_t size>
RecordIn(const RecordKind<Handle>&, const RecordField (&)[size]) -> RecordIn<Handle>;

}  // namespace quorvel
