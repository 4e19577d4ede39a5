// The SQLite file that stands behind a connection.
//
// A column's declared type is the product's. An expression of a view has none in SQLite: the table `expression_types`
// (column_name, declared_type), when the file has it, gives it one by its name. The SQL function
// flow_filter(table, field) gives the value of the flow filter that the statement has set, or null.
#pragma once

#include <memory>
#include <sqlite3.h>
#include <string>
#include <string_view>
#include <vector>

#include "product_driver/driver/Dialect.h"
#include "product_driver/driver/Rows.h"

namespace ods::product_driver {

/// Name of the table that gives expressions their types.
inline constexpr std::string_view kExpressionTypes = "expression_types";

class Database {
 public:
  /// Opens the file read-only. `ownTypes` tells whether columns may have types of the product's own. Raises 08001.
  Database(const std::string& file, bool ownTypes);

  /// Prepares a statement in SQLite's form; the rows live no longer than the database. Exact numbers come multiplied by
  /// `decimalScale`. Raises 42S02, 42S22 and 42000.
  [[nodiscard]] std::unique_ptr<Rows> Select(const std::string& sql, double decimalScale);
  /// The rows of a statement of the driver's own.
  [[nodiscard]] std::vector<Row> ReadAll(const std::string& sql);
  /// True when some table has a column of type binary(n) of this name.
  [[nodiscard]] bool HasBinaryColumn(std::string_view name);
  /// Runs statements of the driver's own that give no rows.
  void Run(const char* script);
  /// Adds a function of SQL, which is given this many values.
  void AddFunction(const char* name, int values, void (*function)(sqlite3_context*, int, sqlite3_value**));
  void SetFlowFilters(std::vector<FlowFilter> filters) { flowFilters_ = std::move(filters); }

 private:
  struct Closer {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
  };
  static void FlowFilterFunction(sqlite3_context* context, int count, sqlite3_value** values);
  [[nodiscard]] std::string ExpressionType(const std::string& column);

  std::unique_ptr<sqlite3, Closer> handle_;
  bool ownTypes_;
  std::vector<FlowFilter> flowFilters_;
};

/// `text` as a literal of SQLite.
[[nodiscard]] std::string SqliteText(std::string_view text);

}  // namespace ods::product_driver
