// Installed packages: a small text file each.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorvel::platform {

struct Package {
    std::string id;
    std::string version;
    std::vector<std::string> command;  // empty when the package cannot be started
};

// Whether a name can stand in a file name: letters, digits and "._-", no dot in front, at most 100 of them.
bool is_plain_name(std::string_view name) noexcept;

// Looks into the directories in their order. What is found but cannot be trusted or understood is logged
// and passed over.
std::optional<Package> find_package(std::string_view id);

}  // namespace quorvel::platform
