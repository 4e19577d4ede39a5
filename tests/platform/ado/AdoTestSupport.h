// What the tests of this folder share: results as tables, and the servers that may be at hand.
#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "common/Conversions.h"
#include "platform/ado/Ado.h"
#include "support/RaisedErrors.h"

namespace ods {

/// ADO's error numbers as they are known in hexadecimal.
inline std::int32_t Hex(std::uint32_t number) { return static_cast<std::int32_t>(number); }

using Row = std::vector<Value>;

/// A name that no other test process uses at the same time.
inline std::string UniqueName() { return "ado_test_" + std::to_string(getpid()); }

/// All rows that are left.
inline std::vector<Row> ReadAll(RecordSet& records) {
  std::vector<Row> rows;
  for (; !records.AtEnd(); records.MoveNext()) {
    Row& row = rows.emplace_back();
    for (std::size_t i = 0; i < records.Fields().size(); ++i) row.push_back(records.Item(i));
  }
  return rows;
}

inline std::vector<Row> ReadAll(Connection& connection, const std::string& sql, std::int32_t maxRecords = 0) {
  return ReadAll(*connection.OpenRecordSet(sql, maxRecords));
}

/// The one value that a statement gives.
inline Value ReadOne(Connection& connection, const std::string& sql) {
  const std::vector<Row> rows = ReadAll(connection, sql);
  return rows.size() == 1 && rows[0].size() == 1 ? rows[0][0] : Value("not one value");
}

/// A date of its parts.
inline Date DateOf(const DateParts& parts, bool dateOnly = false) {
  Date date = Date::FromParts(parts).value();
  date.dateOnly = dateOnly;
  return date;
}

inline std::string Repeat(const std::string& text, std::size_t times) {
  std::string result;
  result.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i) result += text;
  return result;
}

/// gtest prints a value by its type and text.
inline void PrintTo(const Value& value, std::ostream* out) {
  const std::string text = SafeStr(value);
  *out << value.TypeName() << " " << (text.size() > 100 ? text.substr(0, 100) + "..." : text);
}

}  // namespace ods
