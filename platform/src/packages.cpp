#include "packages.hpp"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "descriptor.hpp"
#include "exports.hpp"
#include "guard.hpp"
#include "log.hpp"
#include "places.hpp"

namespace quorvel::platform {
namespace {

constexpr off_t kLargestManifest = off_t{64} * 1024;

std::string_view trimmed(std::string_view text) noexcept
{
    constexpr std::string_view blank = " \t\r";
    const std::size_t first = text.find_first_not_of(blank);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blank) - first + 1);
}

std::optional<std::string> read_manifest(const std::string& path)
{
    const Descriptor file{open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK)};
    struct stat info {};
    if (!file || fstat(file.get(), &info) != 0) {
        if (errno != ENOENT && errno != ENOTDIR)
            QV_LOG(DLOG_ERROR, "package file %s cannot be read: %s", path.c_str(), std::strerror(errno));
        return std::nullopt;
    }
    // It names a program that will be run.
    if (!S_ISREG(info.st_mode) || (info.st_uid != geteuid() && info.st_uid != 0)
        || (info.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        QV_LOG(DLOG_ERROR,
               "package file %s is refused: it must be a plain file of yours or of root's that nobody else "
               "can write",
               path.c_str());
        return std::nullopt;
    }
    std::string text(static_cast<std::size_t>(std::min(info.st_size, kLargestManifest)), '\0');
    std::size_t used = 0;
    while (used < text.size()) {
        const ssize_t count = read(file.get(), text.data() + used, text.size() - used);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        used += static_cast<std::size_t>(count);
    }
    text.resize(used);
    return text;
}

std::vector<std::string> split_command(const std::string& line, const std::string& directory)
{
    int count = 0;
    char** words = nullptr;
    if (!g_shell_parse_argv(line.c_str(), &count, &words, nullptr))
        return {};
    const std::unique_ptr<char*, decltype(&g_strfreev)> owned{words, &g_strfreev};
    std::vector<std::string> command(words, words + count);
    // Beside the manifest, so that a tree can be moved.
    if (command.front().front() != '/')
        command.front() = directory + "/" + command.front();
    return command;
}

std::optional<Package> parse_manifest(std::string_view text, std::string_view id, const std::string& path,
                                      const std::string& directory)
{
    Package package;
    for (int number = 1; !text.empty(); ++number) {
        const std::size_t end = text.find('\n');
        const std::string_view line = trimmed(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.empty() || line.front() == '#')
            continue;
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) {
            QV_LOG(DLOG_ERROR, "package file %s:%d: \"key=value\" is expected", path.c_str(), number);
            return std::nullopt;
        }
        const std::string_view key = trimmed(line.substr(0, equals));
        const std::string value{trimmed(line.substr(equals + 1))};
        if (key == "id") {
            package.id = value;
        } else if (key == "version") {
            package.version = value;
        } else if (key == "exec" && !value.empty()) {
            package.command = split_command(value, directory);
            if (package.command.empty()) {
                QV_LOG(DLOG_ERROR, "package file %s:%d: the command line cannot be understood", path.c_str(),
                       number);
                return std::nullopt;
            }
        }
    }
    if (package.id != id) {
        QV_LOG(DLOG_ERROR, "package file %s: it must say id=%.*s, after its name", path.c_str(),
               static_cast<int>(id.size()), id.data());
        return std::nullopt;
    }
    return package;
}

}  // namespace

bool is_plain_name(std::string_view name) noexcept
{
    constexpr std::size_t longest = 100;
    return !name.empty() && name.size() <= longest && name.front() != '.'
           && std::all_of(name.begin(), name.end(), [](char c) {
                  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '_' || c == '-';
              });
}

std::optional<Package> find_package(std::string_view id)
{
    if (!is_plain_name(id))
        return std::nullopt;
    for (const std::string& directory : package_directories()) {
        const std::string path = directory + "/" + std::string(id) + ".package";
        const std::optional<std::string> text = read_manifest(path);
        if (!text)
            continue;
        if (std::optional<Package> package = parse_manifest(*text, id, path, directory))
            return package;
    }
    return std::nullopt;
}

}  // namespace quorvel::platform

using namespace quorvel::platform;

int package_info_create(const char* package_id, package_info_h* info)
{
    if (package_id == nullptr || info == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    *info = nullptr;
    return guarded([&] {
        std::optional<Package> package = find_package(package_id);
        if (!package)
            return PACKAGE_MANAGER_ERROR_NO_SUCH_PACKAGE;
        *info = new Package{std::move(*package)};
        return PACKAGE_MANAGER_ERROR_NONE;
    });
}

int package_info_get_version(package_info_h info, char** version)
{
    if (info == nullptr || version == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    const std::string& text = static_cast<const Package*>(info)->version;
    if (text.empty())
        return RPC_PORT_ERROR_IO_ERROR;
    *version = strdup(text.c_str());
    return *version != nullptr ? PACKAGE_MANAGER_ERROR_NONE : RPC_PORT_ERROR_OUT_OF_MEMORY;
}

int package_info_destroy(package_info_h info)
{
    if (info == nullptr)
        return RPC_PORT_ERROR_INVALID_PARAMETER;
    delete static_cast<Package*>(info);
    return PACKAGE_MANAGER_ERROR_NONE;
}
