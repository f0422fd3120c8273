#include "core/table.hpp"

#include <libsmartcols.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace quorvel::cli {

std::string draw_table(const std::vector<std::string>& headings,
                       const std::vector<std::vector<std::string>>& rows, const TableStyle& style)
{
    const std::unique_ptr<libscols_table, decltype(&scols_unref_table)> table(scols_new_table(),
                                                                              scols_unref_table);
    if (!table)
        throw std::bad_alloc();
    scols_table_enable_noheadings(table.get(), style.heading ? 0 : 1);
    scols_table_enable_colors(table.get(), style.colour ? 1 : 0);
    scols_table_enable_nowrap(table.get(), 1);
    // Nothing is cut off: what is too wide runs over the edge of the terminal.
    scols_table_set_termforce(table.get(), SCOLS_TERMFORCE_NEVER);
    for (const std::string& heading : headings) {
        libscols_column* column = scols_table_new_column(table.get(), heading.c_str(), 0, 0);
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
