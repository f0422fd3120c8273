// SPDX-License-Identifier: Apache-2.0
#include "home/json.hpp"

namespace quorvel::home {

namespace {

constexpr int deepest_json = 64;

bool too_deep(std::string_view text)
{
    int depth = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                quoted = false;
        } else if (c == '"') {
            quoted = true;
        } else if (c == '{' || c == '[') {
            if (++depth > deepest_json)
                return true;
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
    return false;
}

}  // namespace

std::string to_text(const Json& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::optional<Json> parse_json(std::string_view text)
{
    if (too_deep(text))
        return std::nullopt;
    Json json = Json::parse(text.begin(), text.end(), nullptr, false);
    if (json.is_discarded())
        return std::nullopt;
    return json;
}

std::string text_at(const Json& object, const char* key, std::string_view fallback)
{
    if (object.is_object())
        if (const auto found = object.find(key); found != object.end() && found->is_string())
            return found->get<std::string>();
    return std::string{fallback};
}

}  // namespace quorvel::home
