// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace quorvel::home {

using Json = nlohmann::json;

// Writes compact JSON. Bytes that are not UTF-8 (a client may name a device with any bytes) become the
// replacement character instead of an exception.
std::string to_text(const Json& json);

// Reads JSON that came from a client. None when it is not JSON or nests deeper than anything sensible,
// which would overflow the stack of whoever walks it.
std::optional<Json> parse_json(std::string_view text);

// The member as text, or the fallback when it is absent or of another type.
std::string text_at(const Json& object, const char* key, std::string_view fallback = {});

}  // namespace quorvel::home
