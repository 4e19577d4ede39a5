// Values as typed SQL literals and fields as column expressions: the only way of a client's value into a statement.
#pragma once

#include <string>

#include "database/DataSession.h"

namespace ods {

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
