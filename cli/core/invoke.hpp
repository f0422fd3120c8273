// Calls a public function by its description, with JSON for its arguments and for what it hands out.
//
// One engine instead of 170 bodies: the description comes from the headers (api/describe.py), libffi makes
// the call and the callbacks, and whatever is handed out is turned into JSON and released as its header asks.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "api/api.hpp"
#include "core/json.hpp"
#include "core/session.hpp"

namespace quorvel::cli {

using Arguments = std::map<std::string, Json, std::less<>>;

class Invocation {
public:
    // Gets every call of a callback of the function: the name of the parameter it was given as, and its
    // values.
    using Sink = std::function<void(std::string_view callback, Json values)>;

    Invocation(Session& session, const Function& function, Sink sink = {});
    ~Invocation();
    Invocation(const Invocation&) = delete;
    Invocation& operator=(const Invocation&) = delete;

    // Calls it. A failing code becomes a Failure; otherwise what was handed out, null when there is nothing:
    // the value itself when it is one, an object when they are several.
    Json call(const Arguments& arguments);
    // Whether the function takes an argument from the user here.
    static bool takes(const Parameter& parameter);
    // Whether its callback is called for as long as it is registered, not once.
    static bool streams(const Function& function);

private:
    class Calls;
    Session& session_;
    const Function& function_;
    Sink sink_;
    // Kept for as long as the library may call back.
    std::vector<std::unique_ptr<Calls>> calls_;
};

// A record's properties, by name.
Json record_to_json(const Record& record, void* value);
// The text as JSON when it is an object or a list, as a string otherwise.
Json text_or_json(const char* text);
// A string's text; of everything else its JSON.
std::string text_of(const Json& value);
// A number, or the name of one of the enumeration's values.
int number_of(const Json& value, const Parameter& parameter);

}  // namespace quorvel::cli
