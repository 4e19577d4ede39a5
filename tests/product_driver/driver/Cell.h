// One value of a result, and its way into the caller's buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "product_driver/driver/ColumnTypes.h"

namespace ods::product_driver {

using Bytes = std::vector<std::uint8_t>;
/// Null, an integer, a floating-point number, a text (UTF-8; also dates, times and GUIDs), bytes.
using Cell = std::variant<std::monostate, std::int64_t, double, std::string, Bytes>;

/// A cell in the form of an ODBC C type.
struct RenderedCell {
  Bytes bytes;
  std::size_t unit = 0;        ///< bytes of a character, 1 for bytes; 0 for a form of fixed size
  std::size_t terminator = 0;  ///< zero bytes that follow the data in the buffer
};

/// `cell` is not null. SQL_C_DEFAULT is the form that suits the column. Raises 07006 for a C type that the driver does
/// not give, 22003 for a number that does not fit and 22007 for a date that is none.
[[nodiscard]] RenderedCell RenderCell(const Cell& cell, const ColumnType& type, SQLSMALLINT cType);

/// Where a value goes.
struct CellTarget {
  SQLSMALLINT cType = SQL_C_DEFAULT;
  void* buffer = nullptr;
  SQLLEN size = 0;              ///< bytes of the buffer
  SQLLEN* indicator = nullptr;  ///< takes the bytes that were left before this piece, or SQL_NULL_DATA
};

/// Copies what fits of a value from byte `offset` on, which moves behind it. True when the rest of the value fitted.
[[nodiscard]] bool CopyCell(const RenderedCell& cell, const CellTarget& target, std::size_t& offset);

}  // namespace ods::product_driver
