// Tables for people, behind one function.
#pragma once

#include <string>
#include <vector>

namespace quorvel::cli {

struct TableStyle {
    bool colour = false;
    bool heading = true;
    std::size_t width = 0;  // of the terminal; 0: as wide as need be
};

// Cells beyond the last heading are not shown. Columns are as wide as they need, so that ids stay whole.
std::string draw_table(const std::vector<std::string>& headings,
                       const std::vector<std::vector<std::string>>& rows, const TableStyle& style);

}  // namespace quorvel::cli
