// Recording: the platform writes everything as it was into a file of its own, from which the trace is made at
// the end.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace quorvel::cli::trace {

// A directory of our own, gone with this.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

// A variable of the environment, as it was again with the end of this.
class Variable {
public:
    // An empty value unsets it.
    Variable(std::string name, const std::string& value);
    ~Variable();
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    std::string name_;
    std::string before_;
};

struct Recorded {
    std::size_t calls = 0;
    std::size_t callbacks = 0;
};

// Appends to the trace what was captured, masked unless secrets are wanted.
Recorded keep(const std::filesystem::path& captured, const std::filesystem::path& trace, bool secrets);

// Runs something with every parcel of this process, and of those that it starts, recorded into a trace.
int record_while(const std::string& trace, bool secrets, const std::function<int()>& run,
                 Recorded* recorded = nullptr);

}  // namespace quorvel::cli::trace
