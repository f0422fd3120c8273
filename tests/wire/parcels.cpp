#include "parcels.hpp"

#include <cstring>

#include "parcel.hpp"

using quorvel::platform::Chunk;
using quorvel::platform::Parcel;

namespace wire {

rpc_port_parcel_h parcel_of(std::string_view payload, bool is_answer)
{
    const std::size_t least = quorvel::platform::kFrameHead + payload.size();
    Chunk* const chunk = Chunk::make(least);
    char* const at = chunk->bytes() + chunk->capacity() - payload.size();
    if (!payload.empty())
        std::memcpy(at, payload.data(), payload.size());
    Parcel* const parcel = Parcel::make();
    parcel->adopt(chunk, at, payload.size(), is_answer);
    chunk->release();
    return parcel;
}

std::string_view payload_of(rpc_port_parcel_h parcel)
{
    Parcel& inside = *static_cast<Parcel*>(parcel);
    return {inside.payload(), inside.size()};
}

}  // namespace wire
