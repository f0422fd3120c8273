#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ostream>

#include "state.hpp"

using scripted::detail::Function;
using scripted::detail::Lock;
using scripted::detail::state;

namespace scripted {
namespace {

LogLine expected(int priority, const char* tag, std::string source, std::string function, std::string text)
{
    LogLine line;
    line.priority = priority;
    line.tag = tag;
    line.source = std::move(source);
    line.function = std::move(function);
    line.text = std::move(text);
    return line;
}

// Takes the part in front of a mark, and the mark, off the rest.
bool take_until(std::string_view& rest, std::string_view mark, std::string& part)
{
    const std::size_t at = rest.find(mark);
    if (at == std::string_view::npos) {
        return false;
    }
    part = rest.substr(0, at);
    rest.remove_prefix(at + mark.size());
    return true;
}

// Finds source, line and function in a printed line; one that has no such prefix is all text.
void take_apart(LogLine& line)
{
    std::string_view rest = line.whole;
    std::string number;
    const bool is_public = line.tag == public_tag && take_until(rest, " (", line.source)
                           && take_until(rest, ") ", number) && take_until(rest, " : ", line.function);
    const bool is_proxy = line.tag == proxy_tag && take_until(rest, ": ", line.source)
                          && take_until(rest, "(", line.function) && take_until(rest, ") > ", number);
    if (is_public || is_proxy) {
        line.text = rest;
        line.line = std::atoi(number.c_str());
    } else {
        line.source.clear();
        line.function.clear();
        line.text = line.whole;
    }
}

const char* name_of_priority(int priority)
{
    static constexpr const char* names[] = {"?", "?", "VERBOSE", "DEBUG", "INFO", "WARN", "ERROR"};
    return priority >= 0 && priority < static_cast<int>(std::size(names)) ? names[priority] : "?";
}

template <typename Condition>
std::vector<LogLine> lines_where(Condition condition)
{
    const Lock lock(state().mutex);
    std::vector<LogLine> lines;
    for (const LogLine& line : state().log) {
        if (condition(line)) {
            lines.push_back(line);
        }
    }
    return lines;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const LogLine& line)
{
    return out << '[' << name_of_priority(line.priority) << ' ' << line.tag << "] " << line.source << ' '
               << line.function << " | " << line.text;
}

std::vector<LogLine> log()
{
    return lines_where([](const LogLine&) { return true; });
}

std::vector<LogLine> log_at(int priority)
{
    return lines_where([priority](const LogLine& line) { return line.priority == priority; });
}

std::vector<LogLine> errors()
{
    return log_at(DLOG_ERROR);
}

std::vector<LogLine> log_of(std::string_view tag)
{
    return lines_where([tag](const LogLine& line) { return line.tag == tag; });
}

void clear_log()
{
    const Lock lock(state().mutex);
    state().log.clear();
}

void keep_log(bool keep)
{
    const Lock lock(state().mutex);
    state().keeps_log = keep;
}

LogLine qc_line(int priority, std::string source, std::string function, std::string text)
{
    return expected(priority, public_tag, std::move(source), std::move(function), std::move(text));
}

LogLine qc_error(std::string source, std::string function, std::string text)
{
    return qc_line(DLOG_ERROR, std::move(source), std::move(function), std::move(text));
}

LogLine qc_info(std::string source, std::string function, std::string text)
{
    return qc_line(DLOG_INFO, std::move(source), std::move(function), std::move(text));
}

LogLine proxy_error(std::string function, std::string text)
{
    return expected(DLOG_ERROR, proxy_tag, "quorvel_client_proxy", std::move(function), std::move(text));
}

LogLine proxy_warning(std::string function, std::string text)
{
    return expected(DLOG_WARN, proxy_tag, "quorvel_client_proxy", std::move(function), std::move(text));
}

LogLine proxy_info(std::string function, std::string text)
{
    return expected(DLOG_INFO, proxy_tag, "quorvel_client_proxy", std::move(function), std::move(text));
}

}  // namespace scripted

int dlog_print(log_priority prio, const char* tag, const char* fmt, ...)
{
    {
        const Lock lock(state().mutex);
        if (const auto code = scripted::detail::use(Function::dlog_print)) {
            return *code;
        }
        if (!state().keeps_log) {
            return 0;
        }
    }
    char* printed = nullptr;
    va_list arguments;
    va_start(arguments, fmt);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"  // the platform's header does not mark it as a format
    const int length = vasprintf(&printed, fmt, arguments);
#pragma GCC diagnostic pop
    va_end(arguments);
    if (length < 0) {
        return RPC_PORT_ERROR_OUT_OF_MEMORY;
    }
    scripted::LogLine line;
    line.priority = prio;
    line.tag = tag ? tag : "";
    line.format = fmt;
    line.whole = printed;
    std::free(printed);
    scripted::take_apart(line);
    const Lock lock(state().mutex);
    state().log.push_back(std::move(line));
    return length;
}
