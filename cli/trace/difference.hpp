// What differs between two values or two conversations, told by the names of the catalogue.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "trace/conversation.hpp"

namespace quorvel::cli::trace {

struct Difference {
    std::string path;  // "devices[lamp-1].nick"
    Json left;         // discarded when only the other has it
    Json right;
};

using Ignored = std::set<std::string, std::less<>>;

// Texts that hold JSON are compared inside, and lists of things with an id thing by thing.
std::vector<Difference> differences(const Message& left, const Message& right, const Ignored& ignored = {});

// A call with its answer, or a callback.
struct Step {
    std::shared_ptr<Call> call;
    Message callback;
    Record record;

    [[nodiscard]] std::string name() const;
    // What makes two of them the same thing to compare: the method and its arguments, or the delegate.
    [[nodiscard]] std::string key() const;
};

// What applications did, or, where only an agent wrote, what it served.
std::vector<Step> steps_of(const Loaded& loaded);

// How one thing differs: as JSON, with "kind" changed, missing or added.
Json change(const std::string& kind, const std::string& what, const Step& step,
            const std::vector<Difference>& found, bool secrets);
// The same for people: a line for the thing, and one for each value.
std::string change_text(const Json& change);

// All changes from one conversation to the other, in their order.
std::vector<Json> compare(const std::vector<Step>& left, const std::vector<Step>& right,
                          const Ignored& ignored, bool secrets);

}  // namespace quorvel::cli::trace
