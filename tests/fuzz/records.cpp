// Fuzzes the reading of records and arrays: every getter, copy, write and second reading of what came.
#include "examine.hpp"
#include "fake_port.hpp"
#include "input.hpp"
#include "interface.hpp"

namespace {

template <typename Type>
void read_and_examine(const Type& type, std::string_view payload)
{
    void* object = nullptr;
    wire::require(create_object(type, &object, quorvel::CallSite::here()) == 0, "a value can be made");
    rpc_port_parcel_h parcel = wire::parcel_of(payload);
    rpc_port_parcelable_t parcelable = type.parcelable;
    rpc_port_parcel_read(parcel, &parcelable, object);
    rpc_port_parcel_destroy(parcel);
    wire::examine(type, object);
    destroy_object(type, object, quorvel::CallSite::here());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input{data, size};
    const auto kinds = wire::objects();
    const wire::ObjectKind& kind = kinds[input.byte() % kinds.size()];
    if (kind.record != nullptr)
        read_and_examine(*kind.record, input.all());
    else
        read_and_examine(*kind.array, input.all());
    return 0;
}
