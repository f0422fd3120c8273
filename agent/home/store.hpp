// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorvel::home {

// Where a home is kept: one row a thing, its body as JSON in the grammar of the home file.
//
// Everything that one request changed is written in one transaction, and the request is answered only
// when that is done, so a process that is killed at any moment loses no acknowledged write and leaves no
// half of one. (The journal is not forced to the disk with each write: that would guard against a power
// cut, which a simulated home does not have.)
class Store {
public:
    struct Row {
        std::string kind;
        std::string id;
        std::uint64_t order = 0;
        std::optional<std::string> body;  // none: removed
    };

    // Throws DocumentError with a message that names the file, when it cannot be used.
    explicit Store(const std::string& path);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    bool empty() const;
    // Every row of a kind in order.
    void each(const std::string& kind,
              const std::function<void(const std::string& id, std::uint64_t order, const std::string& body)>&
                  visit) const;
    // All rows or none; false, with the reason in `problem`, when they could not be written.
    bool write(const std::vector<Row>& rows, std::string& problem);
    // Replaces everything.
    bool replace(const std::vector<Row>& rows, std::string& problem);

    const std::string& path() const { return path_; }

private:
    struct Inside;
    std::string path_;
    std::unique_ptr<Inside> inside_;
};

}  // namespace quorvel::home
