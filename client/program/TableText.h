// Rows as an aligned table.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Sheet.h"

namespace odbc_data {

struct TableStyle {
  std::size_t width = 0;  ///< columns of the terminal; 0: as wide as it becomes
  bool coloured = false;  ///< bold names and faint nulls, by escape sequences
};

/// The widths of the columns of a table that are shown; those that do not fit are left out from the right.
struct TableLayout {
  std::vector<std::size_t> widths;
  std::size_t hidden = 0;  ///< the columns left out
};

/// A value as a table shows it: in one line, nulls as NULL.
[[nodiscard]] std::string ShownValue(const Cell& cell);

/// How wide columns are that would need `natural` widths, side by side in `width` columns with two blanks between.
/// Columns of text give way first, the widest of them most, but none becomes narrower than ten.
[[nodiscard]] TableLayout LayOut(const std::vector<SheetColumn>& columns, std::vector<std::size_t> natural,
                                 std::size_t width);

/// The natural widths of the columns of a sheet.
[[nodiscard]] std::vector<std::size_t> NaturalWidths(const Sheet& sheet);

/// `text` in a column: cut or filled up to its width, numbers to the right.
[[nodiscard]] std::string InColumn(const std::string& text, std::size_t width, ColumnKind kind);

/// The whole table: names, a rule, rows; and a line that names the columns that did not fit.
[[nodiscard]] std::string FormatTable(const Sheet& sheet, const TableStyle& style);

}  // namespace odbc_data
