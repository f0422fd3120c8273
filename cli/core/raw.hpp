// Methods of the interface, called without the library: what the agent says itself, code and all.
#pragma once

#include <string>
#include <vector>

#include "core/json.hpp"
#include "core/session.hpp"

namespace quorvel::cli {

// The method and its arguments as they would be sent.
Json raw_request(const std::string& method, const std::vector<std::string>& arguments);
// Sends it, and gives what came back: the outs by name and "returned".
// Waits for the callback of a method that takes a delegate: once for an outcome, else `limit` times, or, when
// it `listens`, for as long as the session's time.
Json raw_call(Session& session, const std::string& method, const std::vector<std::string>& arguments,
              int limit, bool listens);
// The methods that a public function uses, as text: "12 get_device_list".
std::vector<std::string> methods_of(std::string_view function);

}  // namespace quorvel::cli
