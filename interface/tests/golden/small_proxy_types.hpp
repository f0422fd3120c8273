// Generated from small.idl by qvidl: change the description, not this file.
#pragma once

#include "small_proxy.h"
#include "proxy/records.hpp"

namespace quorvel::proxy {

extern const RecordType lamp_s;
extern const RecordType place_s;
extern const ArrayType array_lamp_s;
extern const ArrayType array_string;

template <>
struct TypeOf<rpc_port_lamp_s_h> {
    static constexpr const RecordType& type = lamp_s;
};

template <>
struct TypeOf<rpc_port_place_s_h> {
    static constexpr const RecordType& type = place_s;
};

template <>
struct TypeOf<rpc_port_array_lamp_s_h> {
    static constexpr const ArrayType& type = array_lamp_s;
};

template <>
struct TypeOf<rpc_port_array_string_h> {
    static constexpr const ArrayType& type = array_string;
};

}  // namespace quorvel::proxy
