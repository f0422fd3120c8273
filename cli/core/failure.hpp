// How a command ends: the exit statuses, the library's codes, and an error in three parts.
#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace quorvel::cli {

enum Status {
    ok = 0,
    failed = 1,
    usage = 2,
    no_agent = 3,
    refused = 4,
    too_old = 5,
    no_data = 6,
    timed_out = 7,
    unreachable = 8,
    lost = 9,
    bad_argument = 10,
    bug = 70,
    signalled = 128
};

struct StatusRow {
    int status;
    std::string_view name;
    std::string_view meaning;
};

// The one table of exit statuses: explained, documented and tested from here.
std::span<const StatusRow> statuses();

struct CodeRow {
    int code;
    std::string_view name;
    int status;
    std::string_view why;
    std::string_view next;
};

// Every code of the library, with what qvctl makes of it.
std::span<const CodeRow> codes();
const CodeRow* find_code(int code);

// What happened / where and why / what to type next.
struct Failure : std::runtime_error {
    int status;
    std::string why;
    std::string next;
    std::optional<int> code;

    Failure(int exit_status, const std::string& what, std::string why_, std::string next_,
            std::optional<int> library_code = std::nullopt)
        : std::runtime_error(what),
          status(exit_status),
          why(std::move(why_)),
          next(std::move(next_)),
          code(library_code)
    {
    }
};

// A code of the library as a failure of the function; detail is the agent's own word on it, if it gave one.
Failure code_failure(std::string_view function, int code, std::string_view detail = {});

}  // namespace quorvel::cli
