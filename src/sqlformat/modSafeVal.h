// Values as typed SQL literals and fields as column expressions: the only way of a client's value into a statement.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "database/DataSession.h"

namespace ods {

/// A routine of the type table that writes literals.
using LiteralRoutine = std::string (*)(const DataSession& session, const TypeEntry& type, const Value& value);

/// A column of a table as a request uses it: looked up at its first use, and only once.
class Column {
 public:
  /// `session` and `table` outlive the column. Nothing is looked up yet.
  Column(DataSession& session, const std::string& table, std::string field)
      : session_(&session), table_(&table), field_(std::move(field)) {}

  [[nodiscard]] const DataSession& Session() const { return *session_; }
  [[nodiscard]] const std::string& Table() const { return *table_; }
  [[nodiscard]] const std::string& Field() const { return field_; }
  /// The ADO data type number, which the type table need not have. Raises as `RequireField`.
  [[nodiscard]] std::int32_t DataType();
  /// The row of its type in the type table. Raises as `RequireField` and `GetTypeEntry`, as all that follows.
  [[nodiscard]] const TypeEntry& Type();
  /// As `SafeQuote`.
  [[nodiscard]] const std::string& Expression();
  /// As `SafeVal` of a field that the table has.
  [[nodiscard]] std::string Literal(const Value& value);

 private:
  void LookUp();

  DataSession* session_;
  const std::string* table_;
  std::string field_;
  const TypeEntry* type_ = nullptr;  ///< nullptr until the column was looked up
  LiteralRoutine literal_ = nullptr;
  std::optional<std::int32_t> dataType_;
  std::int64_t definedSize_ = 0;
  std::optional<std::string> expression_;
};

/// The literal for `value` as a value of a field. Conversions never fail: an unusable value becomes "", 0 or the zero
/// date. Raises error 1000 "Unsupported datatype in SafeVal funciton: " + routine name for a column type without
/// literals, and error 91 for a field that the table lacks.
[[nodiscard]] std::string SafeVal(DataSession& session, const std::string& table, const std::string& field,
                                  const Value& value);

/// The SQL expression that stands for the column. Raises error 1000 naming field and table for a field that the table
/// lacks, and "Unknown datatype in SafeQuote function: " + routine name.
[[nodiscard]] std::string SafeQuote(DataSession& session, const std::string& table, const std::string& field);

/// The description of a field. Raises error 1000 "Unable to get information about field '...' in table '...'. Please
/// make sure that the field exist." when the table lacks it.
[[nodiscard]] const FieldDescription& RequireField(DataSession& session, const std::string& table,
                                                   const std::string& field);

/// In apostrophes, those inside doubled; where the product asks for it every "{" is kept apart from
/// the escape syntax of ODBC.
/// Raises error 1000 for a text that holds a NUL character, which no statement can carry.
[[nodiscard]] std::string SafeVal_String(const Dialect& dialect, const Value& value);
/// Decimal text of a 32-bit integer; 0 for a value out of that range.
[[nodiscard]] std::string SafeVal_Integer(const Value& value);
[[nodiscard]] std::string SafeVal_Float(const Value& value);
/// "1" or "0".
[[nodiscard]] std::string SafeVal_Boolean(const Value& value);
/// The escapes {d '...'}, {t '...'} and {ts '...'} (ODBC, date, time and timestamp escape sequences), in whole seconds.
[[nodiscard]] std::string SafeVal_Date(const Value& value);
[[nodiscard]] std::string SafeVal_Time(const Value& value);
[[nodiscard]] std::string SafeVal_DBTimeStamp(const Value& value);
/// The hexadecimal digits of bytes, or of a text of such digits. Raises error 1000 for any other value.
[[nodiscard]] std::string SafeVal_Binary(const Value& value);

}  // namespace ods
