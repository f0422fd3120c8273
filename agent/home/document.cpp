// SPDX-License-Identifier: Apache-2.0
#include "home/document.hpp"

#include <fmt/format.h>
#include <yaml-cpp/anchor.h>
#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/exceptions.h>
#include <yaml-cpp/mark.h>
#include <yaml-cpp/parser.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <istream>
#include <limits>
#include <map>
#include <streambuf>

namespace quorvel::home {

namespace {

// More than a home could need is an attempt to exhaust the reader, above all by aliases of aliases.
constexpr std::size_t most_nodes = 8'000'000;
constexpr std::size_t most_aliased = 200'000;
constexpr int deepest = 64;

std::string shown(std::string_view text)
{
    constexpr std::size_t longest = 40;
    std::string line;
    for (const char c : text.substr(0, longest))
        line += c == '\n' || c == '\t' || c == '\r' ? ' ' : c;
    return text.size() > longest ? line + "…" : line;
}

class TextBuffer : public std::streambuf {
public:
    explicit TextBuffer(std::string_view text)
    {
        char* begin = const_cast<char*>(text.data());
        setg(begin, begin, begin + text.size());
    }
};

// How many letters must be changed, added, removed or swapped with their neighbour.
std::size_t distance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> before;
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        before = std::exchange(last, row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], before[j - 2] + 1);
        }
    }
    return row[b.size()];
}

std::string listed(const std::vector<std::string_view>& words)
{
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i)
        text += fmt::format("{}{}", i == 0 ? "" : i + 1 == words.size() ? " or " : ", ", words[i]);
    return text;
}

std::string plain(double number)
{
    return std::abs(number) < 1e15 && number == std::floor(number) ? fmt::format("{:.0f}", number)
                                                                   : fmt::format("{}", number);
}

std::optional<double> as_number(std::string_view text)
{
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<std::int64_t> as_integer(std::string_view text)
{
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

}  // namespace

std::string did_you_mean(std::string_view word, const std::vector<std::string_view>& known)
{
    std::string_view nearest;
    std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const auto& candidate : known)
        if (const auto steps = distance(word, candidate); steps < least) {
            least = steps;
            nearest = candidate;
        }
    return nearest.empty() ? std::string{} : fmt::format(" (did you mean '{}'?)", nearest);
}

// Builds the tree from the parser's events.
class DocumentReader : public YAML::EventHandler {
public:
    explicit DocumentReader(const std::string& file) : file_(std::make_shared<const std::string>(file)) {}

    void OnDocumentStart(const YAML::Mark&) override {}
    void OnDocumentEnd() override {}
    void OnNull(const YAML::Mark& mark, YAML::anchor_t anchor) override
    {
        put(make(mark, Node::Kind::null), anchor);
    }
    void OnAlias(const YAML::Mark& mark, YAML::anchor_t anchor) override
    {
        const auto found = anchors_.find(anchor);
        if (found == anchors_.end())
            make(mark, Node::Kind::null).fail("expected an anchor that is complete before it is used");
        aliased_ += weight(found->second);
        if (aliased_ > most_aliased)
            too_large(make(mark, Node::Kind::null));
        put(Node{found->second}, 0);
    }
    void OnScalar(const YAML::Mark& mark, const std::string& tag, YAML::anchor_t anchor,
                  const std::string& value) override
    {
        Node node = make(mark, Node::Kind::text);
        node.text_ = value;
        node.quoted_ = tag == "!";
        if (!node.quoted_ && (value == "~" || value == "null" || value.empty()))
            node.kind_ = Node::Kind::null;
        put(std::move(node), anchor);
    }
    void OnSequenceStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor,
                         YAML::EmitterStyle::value) override
    {
        open(mark, Node::Kind::list, anchor);
    }
    void OnSequenceEnd() override { close(); }
    void OnMapStart(const YAML::Mark& mark, const std::string&, YAML::anchor_t anchor,
                    YAML::EmitterStyle::value) override
    {
        open(mark, Node::Kind::map, anchor);
    }
    void OnMapEnd() override { close(); }

    Node take() { return std::move(root_); }
    Node make(const YAML::Mark& mark, Node::Kind kind) const
    {
        Node node;
        node.kind_ = kind;
        node.line_ = mark.line + 1;
        node.column_ = mark.column + 1;
        node.file_ = file_;
        return node;
    }

private:
    struct Open {
        Node node;
        YAML::anchor_t anchor;
        std::optional<Node> key;
    };

    static std::size_t weight(const Node& node)
    {
        std::size_t sum = 1;
        for (const auto& item : node.items_)
            sum += weight(item);
        for (const auto& [key, value] : node.entries_)
            sum += 1 + weight(value);
        return sum;
    }

    [[noreturn]] static void too_large(const Node& at)
    {
        at.fail("expected a smaller file: this one holds more than any home could need");
    }
    void count(const Node& at)
    {
        if (++nodes_ > most_nodes)
            too_large(at);
    }

    void open(const YAML::Mark& mark, Node::Kind kind, YAML::anchor_t anchor)
    {
        Node node = make(mark, kind);
        count(node);
        if (open_.size() >= deepest)
            node.fail("expected a file that nests less deeply");
        open_.push_back({std::move(node), anchor, std::nullopt});
    }

    void close()
    {
        Open done = std::move(open_.back());
        open_.pop_back();
        put(std::move(done.node), done.anchor);
    }

    void put(Node node, YAML::anchor_t anchor)
    {
        count(node);
        if (anchor != 0)
            anchors_[anchor] = node;
        if (open_.empty()) {
            root_ = std::move(node);
            return;
        }
        Open& parent = open_.back();
        if (parent.node.kind_ == Node::Kind::list) {
            parent.node.items_.push_back(std::move(node));
        } else if (!parent.key) {
            if (node.kind_ == Node::Kind::null)
                node.kind_ = Node::Kind::text;  // a key that is written ~ is that text
            if (!node.is_text())
                node.fail("expected a plain key");
            parent.key = std::move(node);
        } else {
            parent.node.entries_.push_back({std::move(*parent.key), std::move(node)});
            parent.key.reset();
        }
    }

    std::shared_ptr<const std::string> file_;
    std::vector<Open> open_;
    std::map<YAML::anchor_t, Node> anchors_;
    std::size_t nodes_ = 0;
    std::size_t aliased_ = 0;
    Node root_;
};

Node read_yaml(std::string_view text, const std::string& file)
{
    TextBuffer buffer{text};
    std::istream stream{&buffer};
    DocumentReader reader{file};
    try {
        YAML::Parser parser{stream};
        if (!parser.HandleNextDocument(reader))
            reader.make(YAML::Mark{}, Node::Kind::null).fail("expected a map, found an empty file");
        Node root = reader.take();
        if (DocumentReader second{file}; parser.HandleNextDocument(second) && !second.take().is_null())
            root.fail("expected one document in the file, found a second one");
        return root;
    } catch (const YAML::Exception& error) {
        reader.make(error.mark, Node::Kind::null).fail("not YAML: " + error.msg);
    }
}

Node read_yaml_file(const std::string& path)
{
    std::ifstream file{path, std::ios::binary};
    if (!file)
        throw DocumentError(fmt::format("{}: cannot be read", path));
    const std::string text{std::istreambuf_iterator<char>{file}, {}};
    if (file.bad())
        throw DocumentError(fmt::format("{}: cannot be read", path));
    return read_yaml(text, path);
}

void Node::fail(const std::string& what) const
{
    if (line_ == 0)
        throw DocumentError(fmt::format("{}: {}", file_ ? *file_ : "?", what));
    throw DocumentError(fmt::format("{}:{}:{}: {}", file_ ? *file_ : "?", line_, column_, what));
}

const std::vector<Node::Entry>& Node::entries(const char* expected) const
{
    if (!is_map() && !is_null())
        fail(fmt::format("expected {}, found {}", expected, is_list() ? "a list" : "'" + shown(text_) + "'"));
    return entries_;
}

const Node& Node::only(std::initializer_list<std::string_view> keys) const
{
    const auto& all = entries();
    for (std::size_t i = 0; i < all.size(); ++i) {
        const Node& key = all[i].key;
        if (std::find(keys.begin(), keys.end(), key.text_) == keys.end()) {
            const std::vector<std::string_view> known{keys};
            const std::string near = did_you_mean(key.text_, known);
            key.fail(fmt::format("unknown key '{}'{}", shown(key.text_),
                                 near.empty() ? ", expected " + listed(known) : near));
        }
        for (std::size_t j = 0; j < i; ++j)
            if (all[j].key.text_ == key.text_)
                key.fail(fmt::format("key '{}' given twice, first in line {}", key.text_, all[j].key.line_));
    }
    return *this;
}

const Node* Node::find(std::string_view key) const
{
    for (const auto& entry : entries())
        if (entry.key.text_ == key)
            return entry.value.is_null() ? nullptr : &entry.value;
    return nullptr;
}

const Node& Node::at(std::string_view key) const
{
    if (const Node* found = find(key))
        return *found;
    fail(fmt::format("expected the key '{}'", key));
}

const std::vector<Node>& Node::items(const char* expected) const
{
    if (!is_list() && !is_null())
        fail(fmt::format("expected {}, found {}", expected, is_map() ? "a map" : "'" + shown(text_) + "'"));
    return items_;
}

std::vector<std::string> Node::texts() const
{
    std::vector<std::string> all;
    for (const auto& item : items("a list of texts"))
        all.push_back(item.text());
    return all;
}

std::string Node::text() const
{
    if (!is_text())
        fail(fmt::format("expected a text, found {}", is_map() ? "a map" : is_list() ? "a list" : "nothing"));
    return text_;
}

std::string Node::id() const
{
    std::string id = text();
    const bool bad = std::any_of(id.begin(), id.end(),
                                 [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == 0x7f; });
    if (id.empty() || bad || id.size() > 90)
        fail(fmt::format("expected an id (1 to 90 characters, no spaces), found '{}'", shown(id)));
    return id;
}

std::int64_t Node::integer(std::int64_t least, std::int64_t most) const
{
    const auto value = is_text() ? as_integer(text_) : std::nullopt;
    if (!value || *value < least || *value > most)
        fail(fmt::format("expected a whole number from {} to {}{}", least, most,
                         is_text() ? ", found '" + shown(text_) + "'" : ""));
    return *value;
}

double Node::number(double least, double most) const
{
    const auto value = is_text() ? as_number(text_) : std::nullopt;
    if (!value || *value < least || *value > most)
        fail(fmt::format("expected a number from {} to {}{}", plain(least), plain(most),
                         is_text() ? ", found '" + shown(text_) + "'" : ""));
    return *value;
}

bool Node::flag() const
{
    if (is_text() && (text_ == "true" || text_ == "yes" || text_ == "on"))
        return true;
    if (is_text() && (text_ == "false" || text_ == "no" || text_ == "off"))
        return false;
    fail(fmt::format("expected true or false{}", is_text() ? ", found '" + shown(text_) + "'" : ""));
}

std::int64_t Node::milliseconds() const
{
    static constexpr std::pair<std::string_view, double> units[] = {
        {"ms", 1}, {"min", 60'000}, {"s", 1'000}, {"h", 3'600'000}, {"d", 86'400'000}};
    if (is_text()) {
        std::string_view amount = text_;
        double unit = 1;
        for (const auto& [suffix, factor] : units)
            if (amount.size() > suffix.size() && amount.ends_with(suffix)) {
                amount.remove_suffix(suffix.size());
                unit = factor;
                break;
            }
        if (const auto value = as_number(amount); value && *value >= 0 && *value * unit <= 3.2e12)
            return static_cast<std::int64_t>(std::llround(*value * unit));
    }
    fail(fmt::format("expected a time such as 250ms, 30s or 5min{}",
                     is_text() ? ", found '" + shown(text_) + "'" : ""));
}

double Node::probability() const
{
    if (is_text()) {
        std::string_view amount = text_;
        const bool percent = amount.ends_with('%');
        if (percent)
            amount.remove_suffix(1);
        const auto value = as_number(amount);
        if (value && *value >= 0 && *value <= (percent ? 100 : 1))
            return percent ? *value / 100 : *value;
    }
    fail(fmt::format("expected a probability such as 0.5% or 0.005{}",
                     is_text() ? ", found '" + shown(text_) + "'" : ""));
}

std::string Node::word(std::initializer_list<std::string_view> words, const char* what) const
{
    std::string value = text();
    if (std::find(words.begin(), words.end(), value) == words.end()) {
        const std::vector<std::string_view> known{words};
        fail(fmt::format("expected {} ({}), found '{}'{}", what, listed(known), shown(value),
                         did_you_mean(value, known)));
    }
    return value;
}

Json Node::json() const
{
    switch (kind_) {
        case Kind::null:
            return nullptr;
        case Kind::list: {
            Json list = Json::array();
            for (const auto& item : items_)
                list.push_back(item.json());
            return list;
        }
        case Kind::map: {
            Json map = Json::object();
            for (const auto& [key, value] : entries_)
                map[key.text_] = value.json();
            return map;
        }
        case Kind::text:
            break;
    }
    if (quoted_)
        return text_;
    if (text_ == "true" || text_ == "false")
        return text_ == "true";
    if (const auto whole = as_integer(text_))
        return *whole;
    if (const auto real = as_number(text_))
        return *real;
    return text_;
}

std::string Node::text(std::string_view key, std::string_view fallback) const
{
    const Node* found = find(key);
    return found ? found->text() : std::string{fallback};
}

std::int64_t Node::integer(std::string_view key, std::int64_t least, std::int64_t most,
                           std::int64_t fallback) const
{
    const Node* found = find(key);
    return found ? found->integer(least, most) : fallback;
}

double Node::number(std::string_view key, double least, double most, double fallback) const
{
    const Node* found = find(key);
    return found ? found->number(least, most) : fallback;
}

bool Node::flag(std::string_view key, bool fallback) const
{
    const Node* found = find(key);
    return found ? found->flag() : fallback;
}

std::int64_t Node::milliseconds(std::string_view key, std::int64_t fallback) const
{
    const Node* found = find(key);
    return found ? found->milliseconds() : fallback;
}

double Node::probability(std::string_view key, double fallback) const
{
    const Node* found = find(key);
    return found ? found->probability() : fallback;
}

Json Node::json(std::string_view key, Json fallback) const
{
    const Node* found = find(key);
    return found ? found->json() : std::move(fallback);
}

std::vector<std::string> Node::texts(std::string_view key) const
{
    const Node* found = find(key);
    return found ? found->texts() : std::vector<std::string>{};
}

Node Node::from(const Json& json, const std::shared_ptr<const std::string>& name)
{
    Node node;
    node.file_ = name;
    if (json.is_object()) {
        node.kind_ = Kind::map;
        node.entries_.reserve(json.size());
        for (const auto& [key, value] : json.items()) {
            Node label;
            label.kind_ = Kind::text;
            label.text_ = key;
            label.file_ = name;
            node.entries_.push_back({std::move(label), from(value, name)});
        }
    } else if (json.is_array()) {
        node.kind_ = Kind::list;
        node.items_.reserve(json.size());
        for (const auto& value : json)
            node.items_.push_back(from(value, name));
    } else if (!json.is_null()) {
        node.kind_ = Kind::text;
        node.quoted_ = json.is_string();
        node.text_ = json.is_string() ? json.get<std::string>() : json.dump();
    }
    return node;
}

Node Node::from(const Json& json, const std::string& name)
{
    return from(json, std::make_shared<const std::string>(name));
}

}  // namespace quorvel::home
