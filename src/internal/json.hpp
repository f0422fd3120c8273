#pragma once

#include <cjson/cJSON.h>

#include <cstdlib>
#include <cstring>

namespace quorvel {

/// A JSON text of the agent's, for as long as it is read. One that cannot be parsed, for whatever reason, has
/// no members; the parser refuses a text that is nested too deeply.
class Json {
public:
    explicit Json(const char* text) : root_{cJSON_Parse(text)} {}
    ~Json() { cJSON_Delete(root_); }
    Json(const Json&) = delete;
    Json& operator=(const Json&) = delete;

    /// The first member of that name, however its letters are cased; NULL when there is none.
    const cJSON* member(const char* name) const { return cJSON_GetObjectItem(root_, name); }

private:
    cJSON* root_;
};

/// A copy of a string's text; NULL for anything else.
inline char* copy_text(const cJSON* item)
{
    const char* const text = cJSON_GetStringValue(item);
    return text != nullptr ? strdup(text) : nullptr;
}

}  // namespace quorvel
