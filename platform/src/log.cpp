// The log service: a filter from the environment, and one write a line to the terminal or the journal.
#include "log.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <string_view>

namespace {

constexpr int kSilent = DLOG_ERROR + 1;
constexpr int kUnknownLevel = -1;
constexpr std::size_t kMaxRules = 32;
constexpr std::size_t kMaxTag = 48;
constexpr std::size_t kShortLine = 1024;
constexpr std::size_t kLongestLine = 65536;

struct Rule {
    char tag[kMaxTag] = {};
    int level = DLOG_ERROR;
};

struct Filter {
    Rule rules[kMaxRules] = {};
    std::size_t count = 0;
    int fallback = DLOG_ERROR;
    int lowest = DLOG_ERROR;
    bool to_journal = false;

    int level_of(const char* tag) const noexcept
    {
        for (std::size_t i = 0; i < count; ++i) {
            if (std::strcmp(rules[i].tag, tag) == 0)
                return rules[i].level;
        }
        return fallback;
    }
};

constinit Filter filter;
constinit std::once_flag filter_read;
// What passes for any tag at all. Until the environment has been read everything passes this first gate.
constinit std::atomic<int> lowest_level{DLOG_VERBOSE};

int parse_level(std::string_view word) noexcept
{
    struct Name {
        std::string_view word;
        int level;
    };
    static constexpr Name names[] = {{"verbose", DLOG_VERBOSE}, {"debug", DLOG_DEBUG}, {"info", DLOG_INFO},
                                     {"warn", DLOG_WARN},       {"error", DLOG_ERROR}, {"silent", kSilent}};
    for (const Name& name : names) {
        if (name.word == word)
            return name.level;
    }
    return kUnknownLevel;
}

// Whether the standard error stream leads to the journal, which then takes the priority from a prefix.
bool stderr_is_journal() noexcept
{
    const char* stream = std::getenv("JOURNAL_STREAM");
    if (stream == nullptr)
        return false;
    struct stat info {};
    if (fstat(STDERR_FILENO, &info) != 0)
        return false;
    char here[48];
    static_cast<void>(std::snprintf(here, sizeof here, "%llu:%llu",
                                    static_cast<unsigned long long>(info.st_dev),
                                    static_cast<unsigned long long>(info.st_ino)));
    return std::strcmp(stream, here) == 0;
}

void write_line(int priority, const char* tag, const char* text) noexcept;

void read_filter() noexcept
{
    filter.to_journal = stderr_is_journal();
    const char* setting = std::getenv("QUORVEL_LOG");
    std::string_view rest = setting != nullptr ? setting : "";
    bool understood = true;
    while (!rest.empty()) {
        const std::size_t end = rest.find_first_of(", ");
        const std::string_view word = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (word.empty())
            continue;
        const std::size_t colon = word.rfind(':');
        const std::string_view tag = colon == std::string_view::npos ? "*" : word.substr(0, colon);
        const int level = parse_level(colon == std::string_view::npos ? word : word.substr(colon + 1));
        if (level == kUnknownLevel || tag.size() >= kMaxTag || filter.count == kMaxRules) {
            understood = false;
        } else if (tag == "*") {
            filter.fallback = level;
        } else {
            Rule& rule = filter.rules[filter.count++];
            tag.copy(rule.tag, tag.size());
            rule.tag[tag.size()] = '\0';
            rule.level = level;
        }
    }
    filter.lowest = filter.fallback;
    for (std::size_t i = 0; i < filter.count; ++i) {
        if (filter.rules[i].level < filter.lowest)
            filter.lowest = filter.rules[i].level;
    }
    lowest_level.store(filter.lowest, std::memory_order_release);
    if (!understood) {
        write_line(DLOG_ERROR, "QV_PORT",
                   "QUORVEL_LOG is not understood: write LEVEL or TAG:LEVEL, comma-separated; LEVEL is one "
                   "of verbose, debug, info, warn, error, silent");
    }
}

// Lines come from other programs too: what could end a line or drive a terminal is shown, not obeyed.
std::size_t escape(const char* text, char* out, std::size_t room) noexcept
{
    static constexpr char digits[] = "0123456789abcdef";
    std::size_t used = 0;
    for (; *text != '\0'; ++text) {
        const auto byte = static_cast<unsigned char>(*text);
        if ((byte >= 0x20 && byte != 0x7f) || byte == '\t') {
            if (used + 1 > room)
                break;
            out[used++] = *text;
        } else {
            if (used + 4 > room)
                break;
            out[used++] = '\\';
            out[used++] = 'x';
            out[used++] = digits[byte >> 4];
            out[used++] = digits[byte & 15];
        }
    }
    return used;
}

void write_line(int priority, const char* tag, const char* text) noexcept
{
    const std::size_t room = kMaxTag + 64 + 4 * std::strlen(text);
    char near[kShortLine];
    std::unique_ptr<char, decltype(&std::free)> far{nullptr, &std::free};
    char* line = near;
    std::size_t size = sizeof near;
    if (room > sizeof near) {
        far.reset(static_cast<char*>(std::malloc(room)));
        if (far != nullptr) {
            line = far.get();
            size = room;
        }
    }

    int head = 0;
    if (filter.to_journal) {
        static constexpr int syslog_priority[] = {7, 7, 7, 7, 6, 4, 3};
        head = std::snprintf(line, size, "<%d>%.40s: ", syslog_priority[priority], tag);
    } else {
        // UTC, since looking up a time zone takes a lock that a forked child may find taken.
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        const int seconds = static_cast<int>(now.tv_sec % 86400);
        head = std::snprintf(line, size, "%02d:%02d:%02d.%03d %c/%.40s[%d] ", seconds / 3600,
                             seconds / 60 % 60, seconds % 60, static_cast<int>(now.tv_nsec / 1000000),
                             "??VDIWE"[priority], tag, static_cast<int>(getpid()));
    }
    std::size_t used = static_cast<std::size_t>(head);
    used += escape(text, line + used, size - used - 1);
    line[used++] = '\n';

    // One write keeps lines of several threads and processes whole; a log that cannot be written is lost.
    ssize_t written = 0;
    do {
        written = write(STDERR_FILENO, line, used);
    } while (written < 0 && errno == EINTR);
}

// Apart, so that a line that nobody sees does not pay for the frame of this function.
[[gnu::noinline, gnu::format(printf, 3, 0)]] int print(log_priority prio, const char* tag, const char* fmt,
                                                       va_list arguments)
{
    if (tag == nullptr || fmt == nullptr || prio < DLOG_VERBOSE || prio > DLOG_ERROR)
        return -EINVAL;
    const int saved_errno = errno;
    std::call_once(filter_read, read_filter);
    if (prio >= filter.level_of(tag)) {
        char near[kShortLine];
        va_list again;
        va_copy(again, arguments);
        const int length = std::vsnprintf(near, sizeof near, fmt, arguments);
        if (length >= 0 && static_cast<std::size_t>(length) < sizeof near) {
            write_line(prio, tag, near);
        } else if (length >= 0) {
            std::size_t size = static_cast<std::size_t>(length) + 1;
            size = size < kLongestLine ? size : kLongestLine;
            const std::unique_ptr<char, decltype(&std::free)> far{static_cast<char*>(std::malloc(size)),
                                                                  &std::free};
            if (far != nullptr) {
                static_cast<void>(std::vsnprintf(far.get(), size, fmt, again));
                write_line(prio, tag, far.get());
            } else {
                write_line(prio, tag, near);  // cut short, but better than nothing
            }
        }
        va_end(again);
    }
    errno = saved_errno;
    return 0;
}

}  // namespace

// There is nothing on its stack that could be overrun, and a guard there would make a line that nobody sees
// cost a third more.
__attribute__((no_stack_protector)) int dlog_print(log_priority prio, const char* tag, const char* fmt, ...)
{
    if (prio < lowest_level.load(std::memory_order_acquire))
        return 0;
    va_list arguments;
    va_start(arguments, fmt);
    const int result = print(prio, tag, fmt, arguments);
    va_end(arguments);
    return result;
}
