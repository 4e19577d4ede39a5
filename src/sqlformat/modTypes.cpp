#include "sqlformat/modTypes.h"

#include <array>
#include <string_view>
#include <utility>

#include "common/Conversions.h"
#include "common/Error.h"
#include "database/modDescribe.h"
#include "database/modSelect.h"

namespace ods {
namespace {

/// The parameters that an entry carries.
enum class Parameters { kNone, kSize1, kSize2, kSize4, kSize8, kApostrophes, kZeroOne, kHexPrefix };

struct TypeRow {
  std::int32_t type;
  std::string_view typeName;
  std::string_view safeVal;
  std::string_view safeFilter;
  Parameters parameters;
};

constexpr std::array kTypeRows = {
    TypeRow{0, "Empty", "Empty", "Empty", Parameters::kNone},
    TypeRow{2, "SmallInt", "Integer", "Integer", Parameters::kSize2},
    TypeRow{3, "Integer", "Integer", "Integer", Parameters::kSize4},
    TypeRow{4, "Single", "Float", "Float", Parameters::kNone},
    TypeRow{5, "Double", "Float", "Float", Parameters::kNone},
    TypeRow{6, "Currency", "Float", "Float", Parameters::kNone},
    TypeRow{7, "Date", "Date", "Date", Parameters::kNone},
    TypeRow{8, "BSTR", "String", "String", Parameters::kApostrophes},
    TypeRow{10, "Error", "Integer", "Integer", Parameters::kNone},
    TypeRow{11, "Boolean", "Boolean", "Boolean", Parameters::kZeroOne},
    TypeRow{14, "Decimal", "Float", "Float", Parameters::kNone},
    TypeRow{16, "TinyInt", "Integer", "Integer", Parameters::kSize1},
    TypeRow{17, "UnsignedTinyInt", "Integer", "Integer", Parameters::kSize1},
    TypeRow{18, "UnsignedSmallInt", "Integer", "Integer", Parameters::kSize2},
    TypeRow{19, "UnsignedInt", "Integer", "Integer", Parameters::kSize4},
    TypeRow{20, "BigInt", "Integer", "Integer", Parameters::kSize8},
    TypeRow{21, "UnsignedBigInt", "Integer", "Integer", Parameters::kSize8},
    TypeRow{64, "FileTime", "Integer", "Integer", Parameters::kNone},
    TypeRow{72, "GUID", "String", "String", Parameters::kApostrophes},
    TypeRow{128, "Binary", "BinaryHex", "BinaryHex", Parameters::kHexPrefix},
    TypeRow{129, "Char", "String", "String", Parameters::kNone},
    TypeRow{130, "WChar", "String", "String", Parameters::kNone},
    TypeRow{131, "Numeric", "Float", "Float", Parameters::kNone},
    TypeRow{133, "DBDate", "Date", "Date", Parameters::kNone},
    TypeRow{134, "DBTime", "Time", "Time", Parameters::kNone},
    TypeRow{135, "DBTimeStamp", "DBTimeStamp", "DateTime", Parameters::kNone},
    TypeRow{200, "VarChar", "String", "String", Parameters::kNone},
    TypeRow{201, "LongVarChar", "String", "String", Parameters::kNone},
    TypeRow{202, "VarWChar", "String", "String", Parameters::kNone},
    TypeRow{203, "LongVarWChar", "String", "String", Parameters::kNone},
    TypeRow{204, "VarBinary", "BinaryHex", "BinaryHex", Parameters::kHexPrefix},
    TypeRow{205, "LongVarBinary", "BinaryHex", "BinaryHex", Parameters::kHexPrefix},
};

std::vector<Value> MakeParameters(Parameters parameters) {
  switch (parameters) {
    case Parameters::kSize1:
      return {Value(1)};
    case Parameters::kSize2:
      return {Value(2)};
    case Parameters::kSize4:
      return {Value(4)};
    case Parameters::kSize8:
      return {Value(8)};
    case Parameters::kApostrophes:
      return {Value("'"), Value("'")};
    case Parameters::kZeroOne:
      return {Value(0), Value(1)};
    case Parameters::kHexPrefix:
      return {Value("0x"), Value("")};
    case Parameters::kNone:
      break;
  }
  return {};
}

/// Every row of a schema rowset as a dictionary of its columns, by the text of the column `keyColumn`.
std::shared_ptr<Dictionary> ReadSchema(const DataSession& session, Schema schema, std::string_view keyColumn) {
  auto result = CreateHalvikDictionary(*session.process->components);
  const auto rows = session.connection->OpenSchema(schema);
  for (; !rows->AtEnd(); rows->MoveNext()) {
    auto row = CreateHalvikDictionary(*session.process->components);
    for (std::size_t i = 0; i < rows->Fields().size(); ++i) row->Set(rows->Fields()[i].name, rows->Item(i));
    result->Set(SafeStr(rows->Item(keyColumn)), Value(std::shared_ptr<Object>(std::move(row))));
  }
  return result;
}

/// The identifier under which a table stands in the cache. Every word in brackets but one leads to the same table, so
/// all of them share an entry: clients can make up any number.
std::string CacheKey(std::string_view table) {
  const std::string_view type = GetTableType(table) == kTypeAppView ? kTypeAppView : kTypeTable;
  return std::string("[").append(type).append("]").append(GetBareName(table));
}

/// What product takes names without regard to case still has many for a table: rather than growing beyond this, the
/// cache starts afresh. Some hundred tables fit.
constexpr std::size_t kMaxCachedBytes = std::size_t{1} << 20U;

/// About what a table takes in the cache.
std::size_t CachedBytes(const std::string& table, const TableFields& fields) {
  constexpr std::size_t kFieldBytes = 200;
  return table.size() + (fields.size() + 1) * kFieldBytes;
}

bool HasRoom(const DataSession& session, const std::string& table, const TableFields& fields) {
  std::size_t bytes = CachedBytes(table, fields);
  for (const auto& [name, cached] : session.fieldCache) bytes += CachedBytes(name, cached);
  return bytes <= kMaxCachedBytes;
}

}  // namespace

TypeTable CreateTypeTable(DatabaseKind kind) {
  TypeTable table;
  const Dialect* dialect = FindDialect(kind);
  if (dialect == nullptr) return table;
  for (const TypeRow& row : kTypeRows) {
    table.emplace(row.type, TypeEntry{std::string(row.typeName), std::string(row.safeVal), std::string(row.safeFilter),
                                      MakeParameters(row.parameters)});
  }
  if (dialect->quotesFixedBinary) table[ado_type::kBinary].SafeValParameters = {Value("'"), Value("'"), Value(-1)};
  return table;
}

TableFields GetTableFields(DataSession& session, const std::string& table) {
  TableFields fields;
  for (const Field& field : DescribeTable(session, table)) {
    fields.insert_or_assign(field.name, FieldDescription{field.name, field.definedSize, field.type});
  }
  return fields;
}

std::shared_ptr<Dictionary> GetProviderTypes(const DataSession& session) {
  return ReadSchema(session, Schema::kProviderTypes, "TYPE_NAME");
}

std::shared_ptr<Dictionary> GetLiterals(const DataSession& session) {
  return ReadSchema(session, Schema::kDBInfoLiterals, "LiteralName");
}

const FieldDescription* LookupField(DataSession& session, const std::string& table, const std::string& field) {
  const std::string key = CacheKey(table);
  auto cached = session.fieldCache.find(key);
  if (cached == session.fieldCache.end()) {
    TableFields fields = GetTableFields(session, table);
    if (!HasRoom(session, key, fields)) session.fieldCache.clear();
    cached = session.fieldCache.emplace(key, std::move(fields)).first;
  }
  const auto found = cached->second.find(field);
  return found == cached->second.end() ? nullptr : &found->second;
}

const TypeEntry& GetTypeEntry(const DataSession& session, std::int32_t type) {
  const auto found = session.typeTable.find(type);
  if (found == session.typeTable.end()) {
    throw Error(error_number::kOwn, "The data type " + std::to_string(type) + " is not in the type table.");
  }
  return found->second;
}

}  // namespace ods
