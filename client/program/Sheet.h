// What the program prints: columns and rows, whatever they came from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "OdbcDataClient.h"

namespace odbc_data {

enum class ColumnKind : std::uint8_t { kText, kNumber, kBoolean };

struct SheetColumn {
  std::string name;
  ColumnKind kind = ColumnKind::kText;
};

struct Sheet {
  std::vector<SheetColumn> columns;
  std::vector<Row> rows;
};

/// What the values of an ADO data type are.
[[nodiscard]] ColumnKind KindOf(std::int32_t adoType);
/// The same of a field: where the driver calls a decimal a text, the database's own name of the type tells.
[[nodiscard]] ColumnKind KindOf(const Field& field);
/// True for types whose values are text.
[[nodiscard]] bool IsTextType(std::int32_t adoType);
/// What people call an ADO data type, for a server that does not tell the database's own name.
[[nodiscard]] std::string TypeNameOf(std::int32_t adoType);

/// Leaves the first `count` values of each row: a server may add those of the keys.
void CutRows(std::vector<Row>& rows, std::size_t count);

/// A row of texts.
[[nodiscard]] Row TextRow(std::initializer_list<std::string> texts);
[[nodiscard]] Cell BooleanCell(bool value);

/// The text of a value as it stood in the database: hexadecimal digits of a text that XML cannot carry are turned back,
/// unless they are no text either.
[[nodiscard]] std::string PlainText(const Cell& cell);

}  // namespace odbc_data
