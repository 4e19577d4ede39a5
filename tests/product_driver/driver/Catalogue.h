// The catalogue functions: tables, indexes and types, as the product's own driver would list them.
//
// A table of a product with schemas is called schema.table in the file. The index of a declared primary key is named
// as the product names it; an index whose name begins with CX_ is the clustered one of its table. A table with computed
// fields is kept as a view of its name over a table of its name with $data behind it, and listed as one table.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "product_driver/driver/Connection.h"
#include "product_driver/driver/Rows.h"

namespace ods::product_driver {

/// The names that a catalogue function is asked for; nothing for "any".
struct CatalogueNames {
  std::optional<std::string> schema;
  std::optional<std::string> table;
  std::optional<std::string> types;  ///< table types separated by commas, in apostrophes or not
};

/// SQLTables: schema and table are patterns with %, _ and the escape character.
[[nodiscard]] std::unique_ptr<Rows> ListTables(const Connection& connection, const CatalogueNames& names);

/// SQLStatistics: a row about the table, then a row for each column of each index; `uniqueOnly` leaves out the others.
/// Raises HYC00 for a product without indexes.
[[nodiscard]] std::unique_ptr<Rows> ListIndexes(const Connection& connection, const CatalogueNames& names,
                                                bool uniqueOnly);

/// SQLGetTypeInfo: all types, or those of one number.
[[nodiscard]] std::unique_ptr<Rows> ListTypes(const Product& product, SQLSMALLINT odbcType);

/// True when `name` matches a search pattern.
[[nodiscard]] bool MatchesPattern(std::string_view name, std::string_view pattern);

}  // namespace ods::product_driver
