#include "qv-port-room.h"

#include <new>

#include "parcel.hpp"

using quorvel::platform::kLongestFrame;
using quorvel::platform::Parcel;

char* qv_port_parcel_room(rpc_port_parcel_h parcel, size_t least, size_t* size)
{
    auto* const written = static_cast<Parcel*>(parcel);
    if (written == nullptr || size == nullptr || !written->writable() || least > kLongestFrame)
        return nullptr;
    try {
        const std::span<char> room = written->room(least);
        *size = room.size();
        return room.data();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void qv_port_parcel_filled(rpc_port_parcel_h parcel, size_t size)
{
    static_cast<Parcel*>(parcel)->filled(size);
}
