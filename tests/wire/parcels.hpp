// Parcels without a port.
#pragma once

#include <rpc-port.h>

#include <string_view>

namespace wire {

/// A received parcel of these bytes, as the port would hand it out. They end where their heap block ends, so
/// that an address sanitizer sees who reads past them.
rpc_port_parcel_h parcel_of(std::string_view payload, bool is_answer = true);

/// What was written into a parcel.
std::string_view payload_of(rpc_port_parcel_h parcel);

}  // namespace wire
