#include "product_driver/driver/ColumnTypes.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>

#include "common/Text.h"

namespace ods::product_driver {
namespace {

constexpr SQLULEN kLong = 1073741823;  // as products tell of a text or binary column without limit

constexpr std::array<ColumnType, 30> kTypes = {{
    {"guid", SQL_GUID, 36, 0, false, false},
    {"uniqueidentifier", SQL_GUID, 36, 0, false, false},
    {"ntext", SQL_WLONGVARCHAR, kLong, 0, false, false},
    {"nvarchar", SQL_WVARCHAR, 255, 0, false, true},
    {"nchar", SQL_WCHAR, 1, 0, false, true},
    {"bit", SQL_BIT, 1, 0, false, false},
    {"tinyint", SQL_TINYINT, 3, 0, false, false},
    {"byte", SQL_TINYINT, 3, 0, true, false},
    {"bigint", SQL_BIGINT, 19, 0, false, false},
    {"image", SQL_LONGVARBINARY, kLong, 0, false, false},
    {"longbinary", SQL_LONGVARBINARY, kLong, 0, false, false},
    {"varbinary", SQL_VARBINARY, 255, 0, false, true},
    {"binary", SQL_BINARY, 1, 0, false, true},
    {"text", SQL_LONGVARCHAR, kLong, 0, false, false},
    {"longchar", SQL_LONGVARCHAR, kLong, 0, false, false},
    {"char", SQL_CHAR, 1, 0, false, true},
    {"numeric", SQL_NUMERIC, 18, 0, false, true},
    {"decimal", SQL_DECIMAL, 18, 0, false, true},
    {"money", SQL_DECIMAL, 19, 4, false, false},
    {"currency", SQL_DECIMAL, 19, 4, false, false},
    {"integer", SQL_INTEGER, 10, 0, false, false},
    {"int", SQL_INTEGER, 10, 0, false, false},
    {"smallint", SQL_SMALLINT, 5, 0, false, false},
    {"real", SQL_REAL, 7, 0, false, false},
    {"float", SQL_FLOAT, 15, 0, false, false},
    {"double", SQL_DOUBLE, 15, 0, false, false},
    {"varchar", SQL_VARCHAR, 255, 0, false, true},
    {"date", SQL_TYPE_DATE, 10, 0, false, false},
    {"time", SQL_TYPE_TIME, 8, 0, false, false},
    {"datetime", SQL_TYPE_TIMESTAMP, 19, 0, false, false},
}};

constexpr std::array<ColumnType, 4> kOwnTypes = {{
    {"datetimeoffset", -155, 34, 7, false, false},
    {"time", -154, 16, 7, false, false},
    {"xml", -152, 0, 0, false, false},
    {"sql_variant", -150, 8000, 0, false, false},
}};

constexpr ColumnType kUntyped = {"varchar", SQL_VARCHAR, 255, 0, false, true};

/// The numbers in the parentheses of a declaration; 0 for one that is not there.
std::array<int, 2> NumbersIn(std::string_view declaration) {
  std::array<int, 2> numbers = {0, 0};
  std::size_t at = declaration.find('(');
  for (int& number : numbers) {
    if (at == std::string_view::npos) break;
    const char* const end = declaration.data() + declaration.size();
    std::from_chars(declaration.data() + at + 1, end, number);
    at = declaration.find(',', at + 1);
  }
  return numbers;
}

}  // namespace

std::vector<ColumnType> AllColumnTypes(bool ownTypes) {
  std::vector<ColumnType> types;
  if (ownTypes) types.assign(kOwnTypes.begin(), kOwnTypes.end());
  for (const ColumnType& type : kTypes) {
    if (std::ranges::find(types, type.name, &ColumnType::name) == types.end()) types.push_back(type);
  }
  return types;
}

ColumnType ParseColumnType(std::string_view declaration, bool ownTypes) {
  const std::string lowered = ToLower(declaration);
  const std::string name = lowered.substr(0, lowered.find_first_of(" ("));
  if (const auto* const own = std::ranges::find(kOwnTypes, name, &ColumnType::name);
      ownTypes && own != kOwnTypes.end()) {
    return *own;
  }
  const auto* const found = std::ranges::find(kTypes, name, &ColumnType::name);
  if (found == kTypes.end()) return kUntyped;
  ColumnType type = *found;
  const auto [size, digits] = NumbersIn(lowered);
  if (type.takesSize && size > 0) type.size = static_cast<SQLULEN>(size);
  if (type.takesSize && IsExactNumber(type)) type.digits = static_cast<SQLSMALLINT>(digits);
  type.isUnsigned = type.isUnsigned || lowered.find("unsigned") != std::string::npos;
  return type;
}

bool IsExactNumber(const ColumnType& type) { return type.odbcType == SQL_DECIMAL || type.odbcType == SQL_NUMERIC; }

bool IsBinary(const ColumnType& type) {
  return type.odbcType == SQL_BINARY || type.odbcType == SQL_VARBINARY || type.odbcType == SQL_LONGVARBINARY;
}

}  // namespace ods::product_driver
