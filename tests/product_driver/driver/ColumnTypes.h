// The column types of the products: from the type that a table declares to what ODBC tells of a column.
#pragma once

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
#include <string_view>
#include <vector>

namespace ods::product_driver {

struct ColumnType {
  std::string_view name;  ///< in the declaration, lower case
  SQLSMALLINT odbcType = SQL_UNKNOWN_TYPE;
  SQLULEN size = 0;        ///< characters, bytes or digits, by the type; what the declaration says instead, if it does
  SQLSMALLINT digits = 0;  ///< behind the decimal point
  bool isUnsigned = false;
  bool takesSize = false;  ///< a declaration may give the size in parentheses
};

/// All types, in the order of their ODBC numbers as SQLGetTypeInfo wants them.
/// @param ownTypes with those that have numbers of Microsoft SQL Server's own, as its driver tells them (msodbcsql.h)
[[nodiscard]] std::vector<ColumnType> AllColumnTypes(bool ownTypes);

/// The type of a declaration such as "decimal(18,2)" or "INT UNSIGNED". One that is not known, or none, is a variable
/// text of 255 characters.
[[nodiscard]] ColumnType ParseColumnType(std::string_view declaration, bool ownTypes = false);

[[nodiscard]] bool IsExactNumber(const ColumnType& type);
[[nodiscard]] bool IsBinary(const ColumnType& type);

}  // namespace ods::product_driver
