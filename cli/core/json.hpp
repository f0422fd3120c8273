// The JSON that values travel in inside qvctl; members keep their order.
#pragma once

#include <nlohmann/json.hpp>

namespace quorvel::cli {

using Json = nlohmann::ordered_json;

}  // namespace quorvel::cli
