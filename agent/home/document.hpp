// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "home/json.hpp"

// A document: a home file, a device model, or one record of a saved state.
//
// All of them are read through this one tree, so that a mistake is reported the same way wherever it
// stands: file, line, column and what was expected there. The tree is filled straight from the parser's
// events, which is some five times faster than going through yaml-cpp's own nodes, and a saved state is
// turned into the same tree, so that there is one reader for each kind of thing.
namespace quorvel::home {

// A file that cannot be used. The message is complete: "home.yaml:12:5: expected a number from 0 to 100".
class DocumentError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Document;

// One value of a document. Reading it as what it is not throws a DocumentError that points at it.
class Node {
public:
    enum class Kind { null, text, list, map };
    struct Entry;

    Kind kind() const { return kind_; }
    bool is_null() const { return kind_ == Kind::null; }
    bool is_text() const { return kind_ == Kind::text; }
    bool is_list() const { return kind_ == Kind::list; }
    bool is_map() const { return kind_ == Kind::map; }

    [[noreturn]] void fail(const std::string& what) const;

    // Maps. `only` refuses keys that are not named, with the nearest one that is.
    const std::vector<Entry>& entries(const char* expected = "a map") const;
    const Node& only(std::initializer_list<std::string_view> keys) const;
    const Node* find(std::string_view key) const;
    const Node& at(std::string_view key) const;
    bool has(std::string_view key) const { return find(key) != nullptr; }

    // Lists.
    const std::vector<Node>& items(const char* expected = "a list") const;
    std::vector<std::string> texts() const;

    // Scalars.
    std::string text() const;
    std::string id() const;  // a text without spaces or control characters
    std::int64_t integer(std::int64_t least, std::int64_t most) const;
    double number(double least, double most) const;
    bool flag() const;
    std::int64_t milliseconds() const;  // 250, 250ms, 30s, 5min, 2h, 1d
    double probability() const;         // 0.005 or 0.5%
    // One of the words; the message lists them and suggests the nearest.
    std::string word(std::initializer_list<std::string_view> words, const char* what) const;

    // Free-form values: numbers, booleans and null are taken as such unless they were quoted.
    Json json() const;

    // Values with a fallback.
    std::string text(std::string_view key, std::string_view fallback) const;
    std::int64_t integer(std::string_view key, std::int64_t least, std::int64_t most,
                         std::int64_t fallback) const;
    double number(std::string_view key, double least, double most, double fallback) const;
    bool flag(std::string_view key, bool fallback) const;
    std::int64_t milliseconds(std::string_view key, std::int64_t fallback) const;
    double probability(std::string_view key, double fallback) const;
    Json json(std::string_view key, Json fallback) const;
    std::vector<std::string> texts(std::string_view key) const;

    // The same tree over JSON; `name` stands in messages where a file name would.
    static Node from(const Json& json, const std::string& name);

private:
    friend class DocumentReader;
    friend class Document;

    static Node from(const Json& json, const std::shared_ptr<const std::string>& name);

    Kind kind_ = Kind::null;
    bool quoted_ = false;
    int line_ = 0;
    int column_ = 0;
    std::shared_ptr<const std::string> file_;
    std::string text_;
    std::vector<Node> items_;
    std::vector<Entry> entries_;
};

struct Node::Entry {
    Node key;
    Node value;
};

// Reads YAML (and JSON, which is YAML). `file` is the name in messages.
Node read_yaml(std::string_view text, const std::string& file);
Node read_yaml_file(const std::string& path);

// " (did you mean 'kitchen'?)" for the nearest word that is near enough, or nothing.
std::string did_you_mean(std::string_view word, const std::vector<std::string_view>& known);

}  // namespace quorvel::home
