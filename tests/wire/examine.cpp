#include "examine.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "parcels.hpp"

namespace wire {

using namespace quorvel::proxy;

bool memory_may_fail = false;

namespace {

// As from one place of the program, which a log line would show.
quorvel::CallSite here()
{
    return quorvel::CallSite::here();
}

template <typename Type>
std::string written(const Type& type, void* object)
{
    rpc_port_parcel_h parcel = nullptr;
    rpc_port_parcel_create(&parcel);
    rpc_port_parcelable_t parcelable = type.parcelable;
    rpc_port_parcel_write(parcel, &parcelable, object);
    std::string bytes{payload_of(parcel)};
    rpc_port_parcel_destroy(parcel);
    return bytes;
}

int copy_of(const RecordType& type, void* record, void** copy)
{
    return type.operations.clone(record, copy);
}

int copy_of(const ArrayType& type, void* array, void** copy)
{
    return clone_object(type, array, copy, here());
}

template <typename Type>
void examine_copies(const Type& type, void* object)
{
    if (memory_may_fail)
        return;
    const std::string bytes = written(type, object);
    void* copy = nullptr;
    require(copy_of(type, object, &copy) == 0, "a value can be copied");
    require(written(type, copy) == bytes, "a copy is written like its original");
    destroy_object(type, copy, here());

    void* again = nullptr;
    require(create_object(type, &again, here()) == 0, "a value can be made");
    rpc_port_parcel_h parcel = parcel_of(bytes);
    rpc_port_parcelable_t parcelable = type.parcelable;
    rpc_port_parcel_read(parcel, &parcelable, again);
    rpc_port_parcel_destroy(parcel);
    require(written(type, again) == bytes, "what was written and read again is the same");
    destroy_object(type, again, here());
}

void examine_field(const RecordType& type, void* record, const Field& field)
{
    char* one = nullptr;
    char** list = nullptr;
    int number = 0;
    bundle* values = nullptr;
    switch (field.kind) {
        case Kind::text:
            if (get_text(type, record, field, &one) == 0)
                examine(one);
            std::free(one);
            break;
        case Kind::number:
            get_number(type, record, field, &number);
            break;
        case Kind::bundle:
            if (get_bundle(type, record, field, &values) == 0 && values != nullptr) {
                bundle_get_count(values);
                bundle_free(values);
            }
            break;
        case Kind::text_list:
            get_text_list(type, record, field, &list, &number);
            for (int i = 0; i < number; ++i) {
                examine(list[i]);
                std::free(list[i]);
            }
            require(list == nullptr || list[number] == nullptr, "a list has one slot more");
            std::free(list);
            break;
    }
}

}  // namespace

void require(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

void examine(const char* text)
{
    // The length is used, or nothing would be read.
    if (text != nullptr)
        require(std::strlen(text) < std::size_t{1} << 31, "a text is no longer than a frame");
}

void examine(const RecordType& type, void* record)
{
    for (const Field& field : type.fields)
        examine_field(type, record, field);
    examine_copies(type, record);
}

void examine(const ArrayType& type, void* array)
{
    int count = 0;
    if (type.element == nullptr) {
        char** texts = nullptr;
        get_strings(type, array, &texts, &count);
        for (int i = 0; i < count; ++i) {
            examine(texts[i]);
            std::free(texts[i]);
        }
        std::free(texts);
    } else {
        void** elements = nullptr;
        get_array_elements(type, array, &elements, &count, here());
        for (int i = 0; i < count; ++i) {
            if (elements[i] == nullptr)
                continue;
            examine(*type.element, elements[i]);
            type.element->operations.destroy(elements[i]);
        }
        require(elements == nullptr || elements[count] == nullptr, "a list has one slot more");
        std::free(elements);
    }
    examine_copies(type, array);
}

}  // namespace wire
