// What goes to stdout: one value, or a stream of them, in the form that was asked for.
#pragma once

#include <string>
#include <vector>

#include "core/json.hpp"

namespace quorvel::cli {

enum class Form { table, json, jsonl, tsv };

class Output {
public:
    Form form = Form::table;
    std::vector<std::string> fields;  // --fields; empty for the command's own
    bool colour = false;
    bool quiet = false;
    std::size_t width = 0;  // of the terminal that tables go to; 0 when they go elsewhere

    // Columns are what the table shows when --fields was not given; all of the value's own when empty.
    // "name:HEADING" has a heading that is shorter than its name.
    void show(const Json& value, const std::vector<std::string>& columns = {}) const;
    // One object of a stream: a line, flushed.
    void stream(const Json& value) const;
    // For people, on stderr.
    void note(const std::string& text) const;

private:
    [[nodiscard]] Json select(const Json& value) const;
};

// The value at a.b.0.c; null when there is none.
Json at_path(const Json& value, std::string_view path);
// A cell's text: strings as they are, lists of plain values between commas, everything else as JSON.
std::string cell(const Json& value);
// The time of now, RFC 3339 with milliseconds.
std::string now();
// What --until says of an event: PATH, PATH=VALUE, PATH!=VALUE, PATH<NUMBER, PATH>NUMBER.
bool holds(const Json& event, std::string_view expression);

void write_stdout(std::string_view text);

}  // namespace quorvel::cli
