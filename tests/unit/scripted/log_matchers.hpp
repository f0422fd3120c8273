// Matchers over scripted::log().
#ifndef QUORVEL_TESTS_LOG_MATCHERS_HPP
#define QUORVEL_TESTS_LOG_MATCHERS_HPP

#include <gmock/gmock.h>

#include "scripted.hpp"

namespace scripted {

// EXPECT_THAT(log(), HasLine(qc_error("quorvel_client", "quorvel_client_connect", "connection_state_cb is
// NULL")))
inline auto HasLine(const LogLine& line)
{
    return testing::Contains(line);
}

// The same in words: level, tag, source, function, text.
inline auto HasLine(int priority, const char* tag, const char* source, const char* function, const char* text)
{
    LogLine line;
    line.priority = priority;
    line.tag = tag;
    line.source = source;
    line.function = function;
    line.text = text;
    return testing::Contains(line);
}

inline auto HasLineTimes(const LogLine& line, int times)
{
    return testing::Contains(line).Times(times);
}

inline auto HasNoLine(const LogLine& line)
{
    return testing::Not(testing::Contains(line));
}

// Whatever logged it, and at whatever level.
inline auto HasText(const std::string& text)
{
    return testing::Contains(testing::Field("text", &LogLine::text, text));
}

inline auto HasNoText(const std::string& text)
{
    return testing::Not(HasText(text));
}

// No line, at any level, holds these characters anywhere: for secrets.
inline auto NowhereContains(const std::string& characters)
{
    return testing::Each(
        testing::Field("whole", &LogLine::whole, testing::Not(testing::HasSubstr(characters))));
}

// Exactly these lines in this order: EXPECT_THAT(errors(), Lines(qc_error(...), qc_error(...)))
template <typename... Line>
auto Lines(const Line&... lines)
{
    return testing::ElementsAre(lines...);
}

}  // namespace scripted

#endif
