#include "Sheet.h"

#include <algorithm>
#include <array>
#include <exception>
#include <string_view>

#include "common/Hex.h"
#include "common/Text.h"

namespace odbc_data {

namespace {

struct AdoType {
  std::int32_t number;
  ColumnKind kind;
  bool text;
  std::string_view name;
};

constexpr auto kTypes = std::to_array<AdoType>({
    {2, ColumnKind::kNumber, false, "smallint"},  {3, ColumnKind::kNumber, false, "integer"},
    {4, ColumnKind::kNumber, false, "single"},    {5, ColumnKind::kNumber, false, "double"},
    {6, ColumnKind::kNumber, false, "currency"},  {7, ColumnKind::kText, false, "date and time"},
    {8, ColumnKind::kText, true, "text"},         {11, ColumnKind::kBoolean, false, "boolean"},
    {14, ColumnKind::kNumber, false, "decimal"},  {16, ColumnKind::kNumber, false, "tinyint"},
    {17, ColumnKind::kNumber, false, "tinyint"},  {18, ColumnKind::kNumber, false, "smallint"},
    {19, ColumnKind::kNumber, false, "integer"},  {20, ColumnKind::kNumber, false, "bigint"},
    {21, ColumnKind::kNumber, false, "bigint"},   {72, ColumnKind::kText, false, "guid"},
    {128, ColumnKind::kText, false, "binary"},    {129, ColumnKind::kText, true, "char"},
    {130, ColumnKind::kText, true, "char"},       {131, ColumnKind::kNumber, false, "numeric"},
    {133, ColumnKind::kText, false, "date"},      {134, ColumnKind::kText, false, "time"},
    {135, ColumnKind::kText, false, "timestamp"}, {200, ColumnKind::kText, true, "varchar"},
    {201, ColumnKind::kText, true, "text"},       {202, ColumnKind::kText, true, "varchar"},
    {203, ColumnKind::kText, true, "text"},       {204, ColumnKind::kText, false, "varbinary"},
    {205, ColumnKind::kText, false, "binary"},
});

const AdoType& Find(std::int32_t number) {
  static constexpr AdoType kUnknown{0, ColumnKind::kText, false, "other"};
  const auto* const found = std::ranges::find(kTypes, number, &AdoType::number);
  return found == kTypes.end() ? kUnknown : *found;
}

}  // namespace

ColumnKind KindOf(std::int32_t adoType) { return Find(adoType).kind; }

ColumnKind KindOf(const Field& field) {
  const ColumnKind kind = KindOf(field.type);
  if (kind != ColumnKind::kText) return kind;
  const std::string name = ods::ToUpper(field.typeName);
  return name.starts_with("DECIMAL") || name.starts_with("NUMERIC") ? ColumnKind::kNumber : kind;
}

bool IsTextType(std::int32_t adoType) { return Find(adoType).text; }
std::string TypeNameOf(std::int32_t adoType) { return std::string(Find(adoType).name); }

void CutRows(std::vector<Row>& rows, std::size_t count) {
  for (Row& row : rows) row.resize(std::min(row.size(), count));
}

Row TextRow(std::initializer_list<std::string> texts) {
  Row row;
  for (const std::string& text : texts) row.push_back({.text = text});
  return row;
}

Cell BooleanCell(bool value) { return {.text = value ? "1" : "0"}; }

std::string PlainText(const Cell& cell) {
  if (!cell.isHex) return cell.text;
  try {
    const auto bytes = ods::HexToBytes(cell.text);
    const std::string text(bytes.begin(), bytes.end());
    return ods::IsValidUtf8(text) ? text : cell.text;
  } catch (const std::exception&) {
    return cell.text;  // no digits: shown as they came
  }
}

}  // namespace odbc_data
