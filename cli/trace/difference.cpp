#include "trace/difference.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "trace/view.hpp"

namespace quorvel::cli::trace {
namespace {

using catalogue::Kind;

const Json nothing(Json::value_t::discarded);

// The member by which a thing in a list is known: its first that is an id.
std::string id_of(const Json& value)
{
    if (value.is_object())
        for (const auto& [key, one] : value.items())
            if ((key == "id" || key.ends_with("_id") || key.ends_with("Id")) && one.is_string())
                return one.get<std::string>();
    if (value.is_object() && value.size() == 1)
        return id_of(*value.begin());
    return {};
}

// Each thing by its id; empty unless every one has one of its own.
std::map<std::string, const Json*> by_id(const Json& list)
{
    std::map<std::string, const Json*> found;
    for (const Json& one : list) {
        const std::string id = id_of(one);
        if (id.empty() || !found.emplace(id, &one).second)
            return {};
    }
    return found;
}

void walk(const Json& left, const Json& right, const std::string& path, const Ignored& ignored,
          std::vector<Difference>& found);

void walk_member(const Json& left, const Json& right, const std::string& path, const std::string& key,
                 const Ignored& ignored, std::vector<Difference>& found)
{
    if (!ignored.contains(key))
        walk(left, right, path.empty() ? key : path + "." + key, ignored, found);
}

void walk_objects(const Json& left, const Json& right, const std::string& path, const Ignored& ignored,
                  std::vector<Difference>& found)
{
    for (const auto& [key, one] : left.items()) {
        const auto other = right.find(key);
        walk_member(one, other == right.end() ? nothing : *other, path, key, ignored, found);
    }
    for (const auto& [key, one] : right.items())
        if (!left.contains(key))
            walk_member(nothing, one, path, key, ignored, found);
}

void walk_lists(const Json& left, const Json& right, const std::string& path, const Ignored& ignored,
                std::vector<Difference>& found)
{
    const auto lefts = by_id(left);
    const auto rights = by_id(right);
    if (lefts.size() == left.size() && rights.size() == right.size() && !(lefts.empty() && rights.empty())) {
        for (const auto& [id, one] : lefts) {
            const auto other = rights.find(id);
            walk(*one, other == rights.end() ? nothing : *other->second, fmt::format("{}[{}]", path, id),
                 ignored, found);
        }
        for (const auto& [id, one] : rights)
            if (!lefts.contains(id))
                walk(nothing, *one, fmt::format("{}[{}]", path, id), ignored, found);
        return;
    }
    for (std::size_t i = 0; i < std::max(left.size(), right.size()); ++i)
        walk(i < left.size() ? left[i] : nothing, i < right.size() ? right[i] : nothing,
             fmt::format("{}[{}]", path, i), ignored, found);
}

void walk(const Json& left, const Json& right, const std::string& path, const Ignored& ignored,
          std::vector<Difference>& found)
{
    if (left.is_discarded() || right.is_discarded()) {
        found.push_back({path, left, right});
    } else if (left.is_object() && right.is_object()) {
        walk_objects(left, right, path, ignored, found);
    } else if (left.is_array() && right.is_array()) {
        walk_lists(left, right, path, ignored, found);
    } else if (left != right) {
        if (left.is_string() && right.is_string()) {
            const Json left_inside = json_in(left.get_ref<const std::string&>());
            const Json right_inside = json_in(right.get_ref<const std::string&>());
            if (left_inside.type() == right_inside.type() && left_inside.is_structured()) {
                walk(left_inside, right_inside, path, ignored, found);
                return;
            }
        }
        found.push_back({path, left, right});
    }
}

Json object_of(const Message& message)
{
    Json object = Json::object();
    for (const Value& value : message.values) {
        Json json = value.json;
        // Numbers of delegates are the client's own, and differ from run to run.
        if (value.type.kind == Kind::delegate)
            json.erase("sequence");
        object[std::string(value.name)] = std::move(json);
    }
    if (!message.problem.empty())
        object["problem"] = message.problem;
    return object;
}

// The longest common order of two lists of keys, as pairs of places.
std::vector<std::pair<std::size_t, std::size_t>> align(const std::vector<std::string>& left,
                                                       const std::vector<std::string>& right)
{
    std::vector<std::pair<std::size_t, std::size_t>> pairs;
    std::size_t begin = 0;
    while (begin < left.size() && begin < right.size() && left[begin] == right[begin]) {
        pairs.emplace_back(begin, begin);
        ++begin;
    }
    std::size_t left_end = left.size();
    std::size_t right_end = right.size();
    std::vector<std::pair<std::size_t, std::size_t>> behind;
    while (left_end > begin && right_end > begin && left[left_end - 1] == right[right_end - 1])
        behind.emplace_back(--left_end, --right_end);
    const std::size_t rows = left_end - begin;
    const std::size_t columns = right_end - begin;
    // Two long conversations that have nothing in common at either end are compared one by one.
    if (rows * columns <= 16'000'000) {
        std::vector<std::vector<std::uint32_t>> best(rows + 1, std::vector<std::uint32_t>(columns + 1, 0));
        for (std::size_t i = rows; i-- > 0;)
            for (std::size_t j = columns; j-- > 0;)
                best[i][j] = left[begin + i] == right[begin + j] ? best[i + 1][j + 1] + 1
                                                                 : std::max(best[i + 1][j], best[i][j + 1]);
        for (std::size_t i = 0, j = 0; i < rows && j < columns;) {
            if (left[begin + i] == right[begin + j])
                pairs.emplace_back(begin + i++, begin + j++);
            else if (best[i + 1][j] >= best[i][j + 1])
                ++i;
            else
                ++j;
        }
    } else {
        for (std::size_t i = 0; i < std::min(rows, columns); ++i)
            if (left[begin + i] == right[begin + i])
                pairs.emplace_back(begin + i, begin + i);
    }
    pairs.insert(pairs.end(), behind.rbegin(), behind.rend());
    return pairs;
}

void add_changes(std::vector<Json>& changes, const Step& left, const Step& right, const Ignored& ignored,
                 bool secrets)
{
    if (left.call == nullptr) {
        if (const auto found = differences(left.callback, right.callback, ignored); !found.empty())
            changes.push_back(change("changed", "callback", left, found, secrets));
        return;
    }
    if (const auto found = differences(left.call->request, right.call->request, ignored); !found.empty())
        changes.push_back(change("changed", "arguments", left, found, secrets));
    if (left.call->answered && right.call->answered) {
        if (const auto found = differences(left.call->answer, right.call->answer, ignored); !found.empty())
            changes.push_back(change("changed", "answer", left, found, secrets));
    } else if (left.call->answered != right.call->answered) {
        changes.push_back(change(left.call->answered ? "missing" : "added", "answer", left, {}, secrets));
    }
}

}  // namespace

std::vector<Difference> differences(const Message& left, const Message& right, const Ignored& ignored)
{
    std::vector<Difference> found;
    walk(object_of(left), object_of(right), "", ignored, found);
    return found;
}

std::string Step::name() const
{
    return call != nullptr ? method_name(call->request)
                           : std::string(callback.delegate == nullptr ? "?" : callback.delegate->name);
}

std::string Step::key() const
{
    return call != nullptr
               ? name() + object_of(call->request).dump(-1, ' ', false, Json::error_handler_t::replace)
               : name();
}

std::vector<Step> steps_of(const Loaded& loaded)
{
    const bool by_agent =
        std::ranges::none_of(loaded.records, [](const Record& record) { return !record.by_agent; });
    Conversation conversation;
    std::vector<Step> steps;
    for (const Record& record : loaded.records) {
        if (record.by_agent != by_agent)
            continue;
        const Entry entry = conversation.add(record);
        if (entry.kind == Entry::Kind::request || entry.kind == Entry::Kind::callback)
            steps.push_back({entry.call, entry.message, record});
    }
    return steps;
}

Json change(const std::string& kind, const std::string& what, const Step& step,
            const std::vector<Difference>& found, bool secrets)
{
    const auto readable = [&](const Message& message) { return secrets ? message : masked(message); };
    Json result{{"kind", kind},
                {"what", what},
                {"offset", step.record.offset},
                {"at", step.call ? request_text(readable(step.call->request), false)
                                 : callback_text(readable(step.callback), false)}};
    Json values = Json::array();
    for (const Difference& one : found) {
        Json value{{"path", one.path}};
        for (const auto& [name, side] : {std::pair{"left", &one.left}, std::pair{"right", &one.right}}) {
            if (side->is_discarded())
                continue;
            // The last name of the path decides whether the value may be seen.
            const std::string leaf = one.path.substr(one.path.find_last_of('.') + 1);
            const Message& message = step.call == nullptr ? step.callback
                                     : what == "answer"   ? step.call->answer
                                                          : step.call->request;
            const Value* top = message.value(one.path.substr(0, one.path.find_first_of(".[")));
            value[name] = shown(
                secrets ? *side
                        : masked(leaf.substr(0, leaf.find('[')), top != nullptr && top->is_secret, *side));
        }
        values.push_back(std::move(value));
    }
    result["values"] = std::move(values);
    return result;
}

std::string change_text(const Json& change)
{
    const std::string kind = change.value("kind", "");
    const char* sign = kind == "missing" ? "-" : kind == "added" ? "+" : "~";
    std::string text =
        fmt::format("{} {}: {} {}\n", sign, change.value("at", ""), change.value("what", ""), kind);
    const auto side = [](const Json& value, const char* name) {
        return value.contains(name) ? value[name].dump(-1, ' ', false, Json::error_handler_t::replace)
                                    : std::string("nothing");
    };
    for (const Json& value : change["values"])
        text += fmt::format("    {}: {} -> {}\n", value.value("path", ""), side(value, "left"),
                            side(value, "right"));
    return text;
}

std::vector<Json> compare(const std::vector<Step>& left, const std::vector<Step>& right,
                          const Ignored& ignored, bool secrets)
{
    const auto keys = [](const std::vector<Step>& steps) {
        std::vector<std::string> all;
        all.reserve(steps.size());
        for (const Step& step : steps)
            all.push_back(step.key());
        return all;
    };
    auto pairs = align(keys(left), keys(right));
    pairs.emplace_back(left.size(), right.size());
    std::vector<Json> changes;
    std::size_t at_left = 0;
    std::size_t at_right = 0;
    for (const auto& [next_left, next_right] : pairs) {
        // Between two things that agree: calls of the same method with other arguments belong together.
        for (; at_left < next_left; ++at_left) {
            std::size_t same = at_right;
            while (same < next_right && right[same].name() != left[at_left].name())
                ++same;
            if (same == next_right) {
                changes.push_back(
                    change("missing", left[at_left].call ? "call" : "callback", left[at_left], {}, secrets));
                continue;
            }
            for (; at_right < same; ++at_right)
                changes.push_back(change("added", right[at_right].call ? "call" : "callback", right[at_right],
                                         {}, secrets));
            add_changes(changes, left[at_left], right[at_right++], ignored, secrets);
        }
        for (; at_right < next_right; ++at_right)
            changes.push_back(
                change("added", right[at_right].call ? "call" : "callback", right[at_right], {}, secrets));
        if (next_left < left.size() && next_right < right.size())
            add_changes(changes, left[at_left++], right[at_right++], ignored, secrets);
    }
    return changes;
}

}  // namespace quorvel::cli::trace
