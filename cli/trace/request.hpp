// What a call of the library would put on the wire, without an agent that does anything.
#pragma once

#include <string>
#include <vector>

#include "api/api.hpp"
#include "command.hpp"
#include "core/invoke.hpp"

namespace quorvel::cli {

// For --dry-run: each request decoded, and its bytes below it.
std::string parcels_text(const Context& context, const Function& function, const Arguments& arguments);
std::string parcels_text(const Context& context, const std::string& method,
                         const std::vector<std::string>& arguments);

// The two ends that parcels_text() starts: one that answers every request with nothing, and one that calls.
int answer_everything();
int call_once(const std::string& call);

}  // namespace quorvel::cli
