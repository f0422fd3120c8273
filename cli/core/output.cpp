#include "core/output.hpp"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "core/failure.hpp"
#include "core/table.hpp"

namespace quorvel::cli {
namespace {

std::string heading_of(std::string_view field)
{
    std::string heading(field);
    std::ranges::transform(heading, heading.begin(),
                           [](unsigned char c) { return c == '_' ? ' ' : std::toupper(c); });
    return heading;
}

// Control characters in what came from elsewhere must not reach the terminal.
std::string harmless(std::string text)
{
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            c = ' ';
    return text;
}

std::vector<std::string> names_of(const Json& rows)
{
    std::vector<std::string> names;
    for (const Json& row : rows)
        for (const auto& [name, value] : row.items())
            if (std::ranges::find(names, name) == names.end())
                names.push_back(name);
    return names;
}

bool is_list_of_objects(const Json& value)
{
    return value.is_array() && !value.empty()
           && std::ranges::all_of(value, [](const Json& v) { return v.is_object(); });
}

std::string dumped(const Json& value, int indent)
{
    return value.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

void write_stdout(std::string_view text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        std::exit(errno == EPIPE ? signalled + 13 : failed);
}

std::string now()
{
    const auto time = std::chrono::system_clock::now();
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count() % 1000;
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z", fmt::gmtime(std::chrono::system_clock::to_time_t(time)),
                       milliseconds);
}

Json at_path(const Json& value, std::string_view path)
{
    const Json* here = &value;
    while (!path.empty()) {
        // A member whose own name has a dot goes before a member of a member.
        if (here->is_object() && here->contains(path))
            return (*here)[std::string(path)];
        const std::size_t dot = path.find('.');
        const std::string step(path.substr(0, dot));
        path = dot == std::string_view::npos ? std::string_view() : path.substr(dot + 1);
        std::size_t index = 0;
        const auto [end, error] = std::from_chars(step.data(), step.data() + step.size(), index);
        if (here->is_object() && here->contains(step))
            here = &(*here)[step];
        else if (here->is_array() && error == std::errc() && end == step.data() + step.size()
                 && index < here->size())
            here = &(*here)[index];
        else
            return nullptr;
    }
    return *here;
}

std::string cell(const Json& value)
{
    if (value.is_null())
        return {};
    if (value.is_string())
        return harmless(value.get<std::string>());
    if (value.is_array() && std::ranges::none_of(value, [](const Json& v) { return v.is_structured(); })) {
        std::string text;
        for (const Json& one : value)
            text += (text.empty() ? "" : ",") + cell(one);
        return text;
    }
    return harmless(dumped(value, -1));
}

bool holds(const Json& event, std::string_view expression)
{
    const std::size_t at = expression.find_first_of("=!<>");
    const Json value = at_path(event, expression.substr(0, at));
    if (at == std::string_view::npos)
        return !value.is_null() && value != Json(false);
    const bool negated = expression[at] == '!';
    const std::string wanted(expression.substr(at + (negated ? 2 : 1)));
    if (expression[at] == '=' || negated)
        return (cell(value) == wanted) != negated;
    char* end = nullptr;
    const std::string text = cell(value);
    const double number = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0')
        return false;
    const double limit = std::strtod(wanted.c_str(), nullptr);
    return expression[at] == '<' ? number < limit : number > limit;
}

Json Output::select(const Json& value) const
{
    if (fields.empty())
        return value;
    if (value.is_array()) {
        Json list = Json::array();
        for (const Json& one : value)
            list.push_back(select(one));
        return list;
    }
    Json chosen = Json::object();
    for (const std::string& field : fields)
        chosen[field] = at_path(value, field);
    return chosen;
}

void Output::show(const Json& value, const std::vector<std::string>& columns) const
{
    if (value.is_null() && form != Form::json && form != Form::jsonl)
        return;
    const bool rows = is_list_of_objects(value);
    if (form == Form::json) {
        write_stdout(dumped(select(value), 2) + "\n");
        return;
    }
    if (form == Form::jsonl) {
        std::string text;
        if (value.is_array())
            for (const Json& one : value)
                text += dumped(select(one), -1) + "\n";
        else
            text = dumped(select(value), -1) + "\n";
        write_stdout(text);
        return;
    }
    const bool tsv = form == Form::tsv;
    if (value.is_array() && value.empty()) {
        if (!tsv)
            note("none");
        return;
    }
    std::vector<std::string> headings;
    std::vector<std::vector<std::string>> cells;
    if (rows) {
        std::vector<std::string> names = !fields.empty()            ? fields
                                         : !columns.empty() && !tsv ? columns
                                                                    : names_of(value);
        for (std::string& name : names) {
            headings.push_back(tsv ? name : heading_of(name));
            // A column of the command's own may bring its heading along.
            if (const std::size_t colon = name.find(':'); colon != std::string::npos && fields.empty()) {
                headings.back() = name.substr(colon + 1);
                name.resize(colon);
            }
        }
        for (const Json& row : value) {
            cells.emplace_back();
            for (const std::string& name : names)
                cells.back().push_back(cell(at_path(row, name)));
        }
    } else if (value.is_object()) {
        const Json chosen = select(value);
        for (const auto& [name, one] : chosen.items())
            cells.push_back({name, cell(one)});
        headings = {"name", "value"};
    } else if (value.is_array()) {
        for (const Json& one : value)
            cells.push_back({cell(one)});
        headings = {"value"};
    } else {
        // One text: as it is when it is piped or has no odd characters of its own.
        const std::string text = value.is_string() ? value.get<std::string>() : dumped(value, 2);
        write_stdout(text + "\n");
        return;
    }
    if (!tsv) {
        write_stdout(draw_table(headings, cells, {colour, rows, width}));
        return;
    }
    std::string text;
    if (rows)
        text = fmt::format("{}\n", fmt::join(headings, "\t"));
    for (const auto& row : cells)
        text += fmt::format("{}\n", fmt::join(row, "\t"));
    write_stdout(text);
}

void Output::stream(const Json& value) const
{
    write_stdout(dumped(select(value), -1) + "\n");
}

void Output::note(const std::string& text) const
{
    if (!quiet)
        fmt::print(stderr, "{}\n", text);
}

}  // namespace quorvel::cli
