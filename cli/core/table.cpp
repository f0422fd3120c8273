#include "core/table.hpp"

#include <libsmartcols.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace quorvel::cli {

namespace {

// Ids are copied with the mouse: they stay in one piece.
bool is_id(std::string_view heading)
{
    return heading == "ID" || heading.ends_with(" ID");
}

}  // namespace

std::string draw_table(const std::vector<std::string>& headings,
                       const std::vector<std::vector<std::string>>& rows, const TableStyle& style)
{
    const std::unique_ptr<libscols_table, decltype(&scols_unref_table)> table(scols_new_table(),
                                                                              scols_unref_table);
    if (!table)
        throw std::bad_alloc();
    scols_table_enable_noheadings(table.get(), style.heading ? 0 : 1);
    scols_table_enable_colors(table.get(), style.colour ? 1 : 0);
    // Nothing is cut off. On a terminal a cell that is too wide goes on below itself.
    if (style.width > 0) {
        scols_table_set_termforce(table.get(), SCOLS_TERMFORCE_ALWAYS);
        scols_table_set_termwidth(table.get(), style.width);
    } else {
        scols_table_enable_nowrap(table.get(), 1);
        scols_table_set_termforce(table.get(), SCOLS_TERMFORCE_NEVER);
    }
    for (const std::string& heading : headings) {
        const int flags = style.width > 0 && !is_id(heading) ? SCOLS_FL_WRAP : 0;
        libscols_column* column = scols_table_new_column(table.get(), heading.c_str(), 0, flags);
        if (column != nullptr && style.colour)
            scols_cell_set_color(scols_column_get_header(column), "bold");
    }
    for (const auto& row : rows) {
        libscols_line* line = scols_table_new_line(table.get(), nullptr);
        for (std::size_t i = 0; line != nullptr && i < row.size() && i < headings.size(); ++i)
            scols_line_set_data(line, i, row[i].c_str());
    }
    char* drawn = nullptr;
    if (scols_print_table_to_string(table.get(), &drawn) != 0 || drawn == nullptr)
        return {};
    std::string text(drawn);
    std::free(drawn);
    if (!text.empty() && text.back() != '\n')
        text += '\n';
    return text;
}

}  // namespace quorvel::cli
