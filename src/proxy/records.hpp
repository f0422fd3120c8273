#pragma once

#include <rpc-port.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "internal/call_site.hpp"

// A platform may leave this function out; strings are then read one heap block each.
#pragma weak qv_port_parcel_borrow_string

/// Records and arrays: the values with a structure that cross the port.
///
/// A record's fields are data (RecordType), and every operation is written once over them. A record begins
/// with the fields that its header shows; behind them it may keep the texts of a record that came in an array
/// (see `Tail`), so that a list of thousands of records is not tens of thousands of heap blocks. Every other
/// text is a block of its own.
namespace quorvel::proxy {

enum class Kind : std::uint8_t { text, number, bundle, text_list };

/// One field: where its value lies in the record and, for a list, where its count does.
struct Field {
    const char* name;
    Kind kind;
    std::size_t offset;
    std::size_t size_offset;
};

/// A record's own functions, for those who have it only as a type.
struct RecordOperations {
    int (*create)(void** record);
    int (*destroy)(void* record);
    int (*clone)(void* record, void** copy);
};

template <typename Record, auto create, auto destroy, auto clone>
inline constexpr RecordOperations operations = {
    [](void** record) {
        Record made = nullptr;
        const int result = create(&made);
        *record = made;
        return result;
    },
    [](void* record) { return destroy(static_cast<Record>(record)); },
    [](void* record, void** copy) {
        Record made = nullptr;
        const int result = clone(static_cast<Record>(record), &made);
        *copy = made;
        return result;
    },
};

struct RecordType {
    const char* name;
    std::size_t size;
    rpc_port_parcelable_t parcelable;
    std::span<const Field> fields;
    RecordOperations operations;
    const char* clone_name;  ///< "rpc_port_device_s_clone": in whose name a copy reports an empty list
};

struct ArrayType {
    const char* name;           ///< "array_device_s"
    const char* elements_name;  ///< "array_device_ss"
    rpc_port_parcelable_t parcelable;
    const RecordType* element;  ///< nullptr: the elements are strings
    const char* getter_name;    ///< "rpc_port_array_device_s_get_array_device_ss"
};

/// The type of a record or an array, found by its handle; specialised by the generated header of the types.
template <typename Handle>
struct TypeOf;

/// No list is longer: its vector alone would take more than 64 MiB.
inline constexpr int max_list_size = 8'388'608;

// What the generated functions forward to. All answer 0, or -1 with a line in the log.
int create_object(const RecordType& type, void** record, const CallSite& at);
int create_object(const ArrayType& type, void** array, const CallSite& at);
int destroy_object(const RecordType& type, void* record, const CallSite& at);
int destroy_object(const ArrayType& type, void* array, const CallSite& at);
int clone_object(const RecordType& type, const void* record, void** copy, const CallSite& at);
int clone_object(const ArrayType& type, const void* array, void** copy, const CallSite& at);

template <typename Type, typename Handle>
int create_record(const Type& type, Handle* handle, CallSite at = CallSite::here())
{
    if (handle == nullptr)
        return create_object(type, nullptr, at);
    void* made = nullptr;
    const int result = create_object(type, &made, at);
    if (result == 0)
        *handle = static_cast<Handle>(made);
    return result;
}

template <typename Type>
int destroy_record(const Type& type, void* handle, CallSite at = CallSite::here())
{
    return destroy_object(type, handle, at);
}

template <typename Type, typename Handle>
int clone_record(const Type& type, Handle handle, Handle* copy, CallSite at = CallSite::here())
{
    if (copy == nullptr)
        return clone_object(type, handle, nullptr, at);
    void* made = nullptr;
    const int result = clone_object(type, handle, &made, at);
    if (result == 0)
        *copy = static_cast<Handle>(made);
    return result;
}

void write_record(const RecordType& type, rpc_port_parcel_h parcel, void* record,
                  CallSite at = CallSite::here());
void read_record(const RecordType& type, rpc_port_parcel_h parcel, void* record,
                 CallSite at = CallSite::here());
void write_array(const ArrayType& type, rpc_port_parcel_h parcel, void* array,
                 CallSite at = CallSite::here());
void read_array(const ArrayType& type, rpc_port_parcel_h parcel, void* array, CallSite at = CallSite::here());

/// Reads a record or an array with its own routine. False when there was no memory for all of it: where the
/// next value begins is not known then.
bool read_whole(rpc_port_parcel_h parcel, rpc_port_parcelable_t& parcelable, void* object);

int set_text(const RecordType& type, void* record, const Field& field, const char* value,
             CallSite at = CallSite::here());
int get_text(const RecordType& type, const void* record, const Field& field, char** value,
             CallSite at = CallSite::here());
int set_number(const RecordType& type, void* record, const Field& field, int value,
               CallSite at = CallSite::here());
int get_number(const RecordType& type, const void* record, const Field& field, int* value,
               CallSite at = CallSite::here());
int set_bundle(const RecordType& type, void* record, const Field& field, bundle* value,
               CallSite at = CallSite::here());
int get_bundle(const RecordType& type, const void* record, const Field& field, bundle** value,
               CallSite at = CallSite::here());
int set_text_list(const RecordType& type, void* record, const Field& field, const char* const* values,
                  int count, CallSite at = CallSite::here());
int get_text_list(const RecordType& type, const void* record, const Field& field, char*** values, int* count,
                  CallSite at = CallSite::here());

int set_strings(const ArrayType& type, void* array, const char* const* values, int count,
                CallSite at = CallSite::here());
int get_strings(const ArrayType& type, const void* array, char*** values, int* count,
                CallSite at = CallSite::here());
int set_array_elements(const ArrayType& type, void* array, const void* elements, int count,
                       const CallSite& at);
int get_array_elements(const ArrayType& type, const void* array, void*** elements, int* count,
                       const CallSite& at);

template <typename Element>
int set_elements(const ArrayType& type, void* array, Element* elements, int count,
                 CallSite at = CallSite::here())
{
    return set_array_elements(type, array, elements, count, at);
}

template <typename Element>
int get_elements(const ArrayType& type, const void* array, Element** elements, int* count,
                 CallSite at = CallSite::here())
{
    void** copies = nullptr;
    int size = 0;
    const int result = get_array_elements(type, array, elements != nullptr ? &copies : nullptr,
                                          count != nullptr ? &size : nullptr, at);
    if (result == 0 && size > 0) {
        *elements = reinterpret_cast<Element*>(copies);
        *count = size;
    }
    return result;
}

/// Moves the elements out of an array that nobody else holds, instead of copying them and destroying the
/// originals. What can be seen is the same: the vector, and a line for every empty list that a copy would
/// have reported.
void take_elements(const ArrayType& type, void* array, void*** elements, int* count);

}  // namespace quorvel::proxy
