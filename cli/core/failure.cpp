#include "core/failure.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "quorvel_client_types.h"

namespace quorvel::cli {
namespace {

constexpr std::array status_rows{
    StatusRow{ok, "ok", "It worked."},
    StatusRow{failed, "failed", "The agent said that the operation failed."},
    StatusRow{usage, "usage", "The command line cannot be understood."},
    StatusRow{no_agent, "no-agent", "There is no agent: it is not installed, or not running."},
    StatusRow{refused, "refused", "The agent refused the connection or the request."},
    StatusRow{too_old, "too-old", "The agent is older than the function needs."},
    StatusRow{no_data, "no-data", "There is no such thing, or no data."},
    StatusRow{timed_out, "timeout", "The time is over, or --until was not met."},
    StatusRow{unreachable, "unreachable", "The network, the cloud or the device cannot be reached."},
    StatusRow{lost, "lost", "The connection to the agent was lost midway."},
    StatusRow{bad_argument, "argument", "An argument was refused."},
    StatusRow{bug, "bug", "A mistake in qvctl itself."},
    StatusRow{signalled, "signal", "128 + n: ended by signal n."},
};

#define QV_CODE(name, status, why, next)                                              \
    CodeRow                                                                           \
    {                                                                                 \
        QUORVEL_CLIENT_ERROR_##name, "QUORVEL_CLIENT_ERROR_" #name, status, why, next \
    }

constexpr std::array code_rows{
    QV_CODE(NONE, ok, "nothing went wrong", ""),
    QV_CODE(OUT_OF_MEMORY, failed, "memory could not be had", "try again when other programs have ended"),
    QV_CODE(PERMISSION_DENIED, refused, "the agent refused; often nobody is signed in", "qvctl account show"),
    QV_CODE(INVALID_PARAMETER, bad_argument, "an argument is not usable", "qvctl api show FUNCTION"),
    QV_CODE(NO_SPACE, failed, "the agent has no room left", "remove what is not needed any more"),
    QV_CODE(NO_DATA, no_data, "there is no such thing, or no data yet",
            "list what there is, e.g. qvctl device list"),
    QV_CODE(NETWORK_UNREACHABLE, unreachable, "the agent has no way to the network or to the device",
            "qvctl doctor"),
    QV_CODE(NOT_SUPPORTED, failed, "the agent is not installed, or does not support the request",
            "qvctl doctor"),
    QV_CODE(UNKNOWN, failed, "the agent gave no answer, or one that the library does not know",
            "qvctl -v COMMAND shows the library's log"),
    QV_CODE(OPERATION_FAILED, failed, "the operation failed, inside the library or at the agent",
            "qvctl agent log"),
    QV_CODE(AGENT_DEFINED_1, failed,
            "a code of the agent's own; at the reference agent: another client is onboarding",
            "wait until the other one is done"),
    QV_CODE(AGENT_DEFINED_2, failed,
            "a code of the agent's own; at the reference agent: there is one like it already",
            "list what there is"),
    QV_CODE(IO_ERROR, lost, "the connection could not be read or written", "qvctl status"),
    QV_CODE(AGENT_DEFINED_3, failed, "a code of the agent's own; at the reference agent: the device refuses",
            "qvctl core device show DEVICE"),
    QV_CODE(LOWER_VERSION, too_old, "the installed agent is older than the function needs", "qvctl doctor"),
    QV_CODE(AGENT_DEFINED_4, failed, "a code of the agent's own; at the reference agent: it is suspended",
            "qvctl internal suspend off"),
    QV_CODE(ALREADY_CONNECTING, bug, "a connection is being made already", ""),
    QV_CODE(ALREADY_CONNECTED, bug, "a connection exists already", ""),
    QV_CODE(NOT_CONNECTED, lost, "there is no connection, or it is still being made", "qvctl status"),
};
#undef QV_CODE

}  // namespace

std::span<const StatusRow> statuses()
{
    return status_rows;
}
std::span<const CodeRow> codes()
{
    return code_rows;
}

const CodeRow* find_code(int code)
{
    const auto* found = std::ranges::find(code_rows, code, &CodeRow::code);
    return found == code_rows.end() ? nullptr : found;
}

Failure code_failure(std::string_view function, int code, std::string_view detail)
{
    const CodeRow* row = find_code(code);
    if (row == nullptr) {
        return Failure(failed,
                       fmt::format("the agent answered {} (number {}, which has no name)", "a failure", code),
                       detail.empty() ? fmt::format("{}: a number of the agent's own", function)
                                      : fmt::format("{}: {}", function, detail),
                       fmt::format("qvctl api show {}", function), code);
    }
    std::string next(row->next);
    if (const auto at = next.find("FUNCTION"); at != std::string::npos)
        next.replace(at, 8, function);
    return Failure(row->status, fmt::format("{} ({})", row->name, code),
                   fmt::format("{}: {}", function, detail.empty() ? row->why : detail), next, code);
}

}  // namespace quorvel::cli
