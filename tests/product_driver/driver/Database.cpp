#include "product_driver/driver/Database.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "common/Text.h"
#include "product_driver/driver/DriverError.h"

namespace ods::product_driver {
namespace {

struct Finalizer {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Prepared = std::unique_ptr<sqlite3_stmt, Finalizer>;

[[noreturn]] void RaiseSqlite(sqlite3* database, const char* state) {
  throw DriverError(state, sqlite3_errmsg(database));
}

const char* StateOf(std::string_view message) {
  if (message.starts_with("no such table")) return sql_state::kNoTable;
  if (message.starts_with("no such column")) return sql_state::kNoColumn;
  return sql_state::kSyntax;
}

Prepared Prepare(sqlite3* database, const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  const char* tail = nullptr;
  const int result = sqlite3_prepare_v2(database, sql.c_str(), static_cast<int>(sql.size()), &statement, &tail);
  if (result != SQLITE_OK) RaiseSqlite(database, StateOf(sqlite3_errmsg(database)));
  if (!Trim(tail).empty()) throw DriverError(sql_state::kSyntax, "One statement at a time.");
  return Prepared(statement);
}

const char* OrEmpty(const char* text) { return text == nullptr ? "" : text; }

Cell CellOf(sqlite3_stmt* statement, int column) {
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_NULL:
      return std::monostate();
    case SQLITE_INTEGER:
      return static_cast<std::int64_t>(sqlite3_column_int64(statement, column));
    case SQLITE_FLOAT:
      return sqlite3_column_double(statement, column);
    case SQLITE_BLOB: {
      const auto* const bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement, column));
      return Bytes(bytes, bytes + sqlite3_column_bytes(statement, column));
    }
    default:
      return std::string(reinterpret_cast<const char*>(sqlite3_column_text(statement, column)),
                         static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
  }
}

bool StepOver(sqlite3_stmt* statement) {
  const int result = sqlite3_step(statement);
  if (result != SQLITE_ROW && result != SQLITE_DONE) RaiseSqlite(sqlite3_db_handle(statement), sql_state::kGeneral);
  return result == SQLITE_ROW;
}

Row CurrentRow(sqlite3_stmt* statement) {
  Row row;
  const int count = sqlite3_column_count(statement);
  for (int i = 0; i < count; ++i) row.push_back(CellOf(statement, i));
  return row;
}

class SqliteRows final : public Rows {
 public:
  SqliteRows(Prepared statement, std::vector<Column> columns, double decimalScale)
      : statement_(std::move(statement)), columns_(std::move(columns)), decimalScale_(decimalScale) {}

  [[nodiscard]] const std::vector<Column>& Columns() const override { return columns_; }
  bool Next(Row& row) override {
    // A further step beyond the end would start again.
    if (!statement_ || !StepOver(statement_.get())) {
      statement_.reset();
      return false;
    }
    row = CurrentRow(statement_.get());
    if (decimalScale_ != 1) Scale(row);
    return true;
  }

 private:
  void Scale(Row& row) const {
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (!IsExactNumber(columns_[i].type)) continue;
      if (const auto* whole = std::get_if<std::int64_t>(&row[i]))
        row[i] = static_cast<double>(*whole) * decimalScale_;
      else if (const auto* number = std::get_if<double>(&row[i]))
        row[i] = std::round(*number * decimalScale_);
    }
  }

  Prepared statement_;
  std::vector<Column> columns_;
  double decimalScale_;
};

/// A column of a table knows whether it may be null; of an expression nobody knows.
SQLSMALLINT NullableOf(sqlite3* database, sqlite3_stmt* statement, int column) {
  const char* const table = sqlite3_column_table_name(statement, column);
  const char* const origin = sqlite3_column_origin_name(statement, column);
  if (table == nullptr || origin == nullptr) return SQL_NULLABLE_UNKNOWN;
  int notNull = 0;
  if (sqlite3_table_column_metadata(database, "main", table, origin, nullptr, nullptr, &notNull, nullptr, nullptr) !=
      SQLITE_OK) {
    return SQL_NULLABLE_UNKNOWN;
  }
  return notNull != 0 ? SQL_NO_NULLS : SQL_NULLABLE;
}

/// True for a column that is a number with a decimal point, and nothing else.
bool IsDecimalLiteral(std::string_view name) {
  return name.find_first_not_of("0123456789.") == std::string_view::npos && name.find('.') != std::string_view::npos;
}

}  // namespace

std::string SqliteText(std::string_view text) { return "'" + ReplaceAll(text, "'", "''") + "'"; }

Database::Database(const std::string& file, bool ownTypes) : ownTypes_(ownTypes) {
  sqlite3* handle = nullptr;
  const int result = sqlite3_open_v2(file.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr);
  handle_.reset(handle);
  if (result != SQLITE_OK)
    throw DriverError(sql_state::kCannotConnect, "Cannot open the database file '" + file + "'.");
  // A name in quotes that no column has must not turn into a text.
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
  sqlite3_create_function(handle, "flow_filter", 2, SQLITE_UTF8, this, FlowFilterFunction, nullptr, nullptr);
}

void Database::FlowFilterFunction(sqlite3_context* context, int /*count*/, sqlite3_value** values) {
  const auto* const self = static_cast<const Database*>(sqlite3_user_data(context));
  const auto text = [&](int i) {
    return std::string(OrEmpty(reinterpret_cast<const char*>(sqlite3_value_text(values[i]))));
  };
  const auto found = std::ranges::find_if(
      self->flowFilters_, [&](const FlowFilter& filter) { return filter.table == text(0) && filter.field == text(1); });
  if (found == self->flowFilters_.end()) return sqlite3_result_null(context);
  sqlite3_result_text(context, found->value.c_str(), static_cast<int>(found->value.size()), SQLITE_TRANSIENT);
}

std::unique_ptr<Rows> Database::Select(const std::string& sql, double decimalScale) {
  Prepared statement = Prepare(handle_.get(), sql);
  if (!statement) throw DriverError(sql_state::kSyntax, "The statement is empty.");
  if (sqlite3_stmt_readonly(statement.get()) == 0) throw DriverError(sql_state::kSyntax, "The driver only reads.");
  std::vector<Column> columns;
  const int count = sqlite3_column_count(statement.get());
  for (int i = 0; i < count; ++i) {
    Column& column = columns.emplace_back();
    column.name = OrEmpty(sqlite3_column_name(statement.get(), i));
    const char* const declared = sqlite3_column_decltype(statement.get(), i);
    column.type = ParseColumnType(declared != nullptr ? std::string(declared) : ExpressionType(column.name), ownTypes_);
    column.nullable = NullableOf(handle_.get(), statement.get(), i);
  }
  return std::make_unique<SqliteRows>(std::move(statement), std::move(columns), decimalScale);
}

std::vector<Row> Database::ReadAll(const std::string& sql) {
  const Prepared statement = Prepare(handle_.get(), sql);
  std::vector<Row> rows;
  while (StepOver(statement.get())) rows.push_back(CurrentRow(statement.get()));
  return rows;
}

void Database::Run(const char* script) {
  if (sqlite3_exec(handle_.get(), script, nullptr, nullptr, nullptr) != SQLITE_OK) {
    RaiseSqlite(handle_.get(), sql_state::kGeneral);
  }
}

void Database::AddFunction(const char* name, int values, void (*function)(sqlite3_context*, int, sqlite3_value**)) {
  sqlite3_create_function(handle_.get(), name, values, SQLITE_UTF8, nullptr, function, nullptr, nullptr);
}

std::string Database::ExpressionType(const std::string& column) {
  if (IsDecimalLiteral(column)) return "decimal(18,5)";
  const std::string table(kExpressionTypes);
  if (ReadAll("SELECT 1 FROM sqlite_master WHERE name=" + SqliteText(table)).empty()) return "";
  const std::vector<Row> rows =
      ReadAll("SELECT declared_type FROM " + table + " WHERE column_name=" + SqliteText(column));
  return rows.empty() ? "" : std::get<std::string>(rows.front().front());
}

bool Database::HasBinaryColumn(std::string_view name) {
  return !ReadAll("SELECT 1 FROM sqlite_master AS t, pragma_table_info(t.name) AS c WHERE t.type='table' AND c.name=" +
                  SqliteText(name) + " AND lower(c.type) LIKE 'binary(%'")
              .empty();
}

}  // namespace ods::product_driver
