// A call as C text, and as a whole program that does the same.
#pragma once

#include <string>

#include "api/api.hpp"
#include "core/invoke.hpp"

namespace quorvel::cli {

std::string call_text(const Function& function, const Arguments& arguments);
std::string program_text(const Function& function, const Arguments& arguments, bool cpp);

}  // namespace quorvel::cli
