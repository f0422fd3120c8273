// Generated from small.idl by qvidl: change the description, not this file.
#pragma once

#include "catalogue/catalogue.hpp"

namespace quorvel::catalogue {

extern const Interface small;

}  // namespace quorvel::catalogue
