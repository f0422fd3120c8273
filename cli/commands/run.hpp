// What commands over public functions have in common.
#pragma once

#include "api/api.hpp"
#include "command.hpp"
#include "core/invoke.hpp"

namespace quorvel::cli {

const Function& function_named(std::string_view name);

// The function's answer: what it hands out, or what its callback brought.
Json ask(Context& context, std::string_view function, const Arguments& arguments = {});

// Registers each function of a pair, streams what they bring, and takes them back with the pair's second (if
// any).
struct Watched {
    std::string set;
    std::string unset;
};
int watch(Context& context, const std::vector<Watched>& pairs, const Arguments& arguments = {});

// --dry-run and --code; true when there is nothing left to do.
bool only_shown(Context& context, std::string_view function, const Arguments& arguments);

}  // namespace quorvel::cli
