#include "product_driver/driver/Catalogue.h"

#include <algorithm>
#include <initializer_list>
#include <tuple>
#include <utility>
#include <vector>

#include "common/Text.h"
#include "product_driver/driver/DriverError.h"

namespace ods::product_driver {
namespace {

const Cell kNull = std::monostate();

std::vector<Column> Columns(std::initializer_list<std::pair<const char*, const char*>> namesAndTypes) {
  std::vector<Column> columns;
  for (const auto& [name, type] : namesAndTypes) columns.push_back({.name = name, .type = ParseColumnType(type)});
  return columns;
}

const std::string& TextIn(const Cell& cell) { return std::get<std::string>(cell); }
std::int64_t NumberIn(const Cell& cell) { return std::get<std::int64_t>(cell); }
Cell TextOrNull(const std::string& text) { return text.empty() ? kNull : Cell(text); }

struct TableName {
  std::string schema;
  std::string name;
};

TableName SplitName(const Product& product, const std::string& stored) {
  const std::size_t point = product.hasSchemas ? stored.find('.') : std::string::npos;
  if (point == std::string::npos) return {"", stored};
  return {stored.substr(0, point), stored.substr(point + 1)};
}

bool IsWanted(const std::string& type, const std::optional<std::string>& types) {
  if (!types || types->empty() || *types == "%") return true;
  const std::vector<std::string> wanted = Split(*types, ",");
  return std::ranges::any_of(wanted,
                             [&](const std::string& entry) { return Trim(ReplaceAll(entry, "'", "")) == type; });
}

bool Matches(const std::string& name, const std::optional<std::string>& pattern) {
  return !pattern || MatchesPattern(name, *pattern);
}

/// An index of a table, as SQLite tells of it.
struct Index {
  std::string name;
  bool unique = false;
  SQLSMALLINT type = SQL_INDEX_OTHER;
  std::vector<std::string> columns = {};
};

std::vector<std::string> TextColumn(Database& file, const std::string& sql) {
  std::vector<std::string> texts;
  for (const Row& row : file.ReadAll(sql)) texts.push_back(TextIn(row.front()));
  return texts;
}

std::string KeyName(const Product& product, const std::string& table) {
  return ReplaceAll(product.keyName, "{}", table);
}

/// What is behind a table that is kept as a view, because it computes fields.
constexpr std::string_view kData = "$data";

bool HasTable(const Connection& connection, const std::string& stored) {
  return !connection.File()
              .ReadAll("SELECT 1 FROM sqlite_master WHERE type='table' AND name=" + SqliteText(stored))
              .empty();
}

std::vector<Index> IndexesOf(const Connection& connection, const std::string& stored, const std::string& table) {
  Database& file = connection.File();
  const Product& product = connection.DrivenProduct();
  std::vector<Index> indexes;
  const std::string storedText = SqliteText(stored);
  bool hasPrimary = false;
  for (const Row& row : file.ReadAll("SELECT name, \"unique\", origin FROM pragma_index_list(" + storedText + ")")) {
    Index& index = indexes.emplace_back();
    const bool isPrimary = TextIn(row[2]) == "pk";
    hasPrimary = hasPrimary || isPrimary;
    index.name = isPrimary ? KeyName(product, table) : TextIn(row[0]);
    index.unique = NumberIn(row[1]) != 0;
    index.columns = TextColumn(file, "SELECT name FROM pragma_index_info(" + SqliteText(TextIn(row[0])) + ")");
  }
  if (!hasPrimary) {  // SQLite keeps no index for a primary key that is one integer
    Index primary = {.name = KeyName(product, table), .unique = true};
    primary.columns =
        TextColumn(file, "SELECT name FROM pragma_table_info(" + storedText + ") WHERE pk > 0 ORDER BY pk");
    if (!primary.columns.empty()) indexes.push_back(std::move(primary));
  }
  auto clustered = std::ranges::find_if(indexes, [](const Index& index) { return index.name.starts_with("CX_"); });
  if (clustered == indexes.end() && product.clustersPrimaryKey) {
    clustered = std::ranges::find(indexes, KeyName(product, table), &Index::name);
  }
  if (clustered != indexes.end()) clustered->type = SQL_INDEX_CLUSTERED;
  std::ranges::sort(indexes, {}, [](const Index& index) { return std::tuple(!index.unique, index.type, index.name); });
  return indexes;
}

}  // namespace

bool MatchesPattern(std::string_view name, std::string_view pattern) {
  if (pattern.empty()) return name.empty();
  if (pattern.front() == '%') {
    const std::string_view rest = pattern.substr(1);
    for (std::size_t skipped = 0; skipped <= name.size(); ++skipped) {
      if (MatchesPattern(name.substr(skipped), rest)) return true;
    }
    return false;
  }
  if (name.empty()) return false;
  const bool escaped = pattern.front() == '\\' && pattern.size() > 1;
  if (escaped) pattern.remove_prefix(1);
  const bool same = (pattern.front() == '_' && !escaped) || pattern.front() == name.front();
  return same && MatchesPattern(name.substr(1), pattern.substr(1));
}

std::unique_ptr<Rows> ListTables(const Connection& connection, const CatalogueNames& names) {
  const Product& product = connection.DrivenProduct();
  const Cell catalogue = TextOrNull(connection.DefaultDatabase());
  std::vector<Row> rows;
  for (const Row& row : connection.File().ReadAll(
           "SELECT name, type='view' FROM sqlite_master WHERE type IN ('table','view') AND name NOT LIKE 'sqlite%' "
           "AND name<>" +
           SqliteText(kExpressionTypes))) {
    const std::string& stored = TextIn(row[0]);
    // A table of another database, database.schema.table, can be read but is not listed.
    const bool isElsewhere = product.hasSchemas && std::ranges::count(stored, '.') > 1;
    if (stored.ends_with(kData) || isElsewhere) continue;
    const TableName name = SplitName(product, stored);
    const bool isView = NumberIn(row[1]) != 0 && !HasTable(connection, stored + std::string(kData));
    const std::string type = TableTypeOf(product, name.name, isView);
    if (!Matches(name.schema, names.schema) || !Matches(name.name, names.table) || !IsWanted(type, names.types))
      continue;
    rows.push_back({catalogue, TextOrNull(name.schema), name.name, type, kNull});
  }
  const auto order = [](const Row& row) {
    const auto* const schema = std::get_if<std::string>(&row[1]);
    return std::tuple(TextIn(row[3]), schema == nullptr ? std::string() : *schema, TextIn(row[2]));
  };
  std::ranges::sort(rows, {}, order);
  return std::make_unique<MemoryRows>(Columns({{"TABLE_CAT", "nvarchar(128)"},
                                               {"TABLE_SCHEM", "nvarchar(128)"},
                                               {"TABLE_NAME", "nvarchar(128)"},
                                               {"TABLE_TYPE", "nvarchar(32)"},
                                               {"REMARKS", "nvarchar(254)"}}),
                                      std::move(rows));
}

std::unique_ptr<Rows> ListIndexes(const Connection& connection, const CatalogueNames& names, bool uniqueOnly) {
  const Product& product = connection.DrivenProduct();
  if (!product.hasIndexes) throw DriverError(sql_state::kNotImplemented, "The product has no indexes.");
  const std::string table = names.table.value_or("");
  const std::string schema = names.schema.value_or(product.hasSchemas ? "dbo" : "");
  std::string stored = product.hasSchemas ? schema + "." + table : table;
  if (HasTable(connection, stored + std::string(kData))) stored += kData;
  const Cell catalogue = TextOrNull(connection.DefaultDatabase());
  const Cell schemaCell = product.hasSchemas ? Cell(schema) : kNull;
  std::vector<Row> rows;
  if (HasTable(connection, stored)) {
    rows.push_back({catalogue, schemaCell, table, kNull, kNull, kNull, std::int64_t{SQL_TABLE_STAT}, kNull, kNull,
                    kNull, kNull, kNull, kNull});
    for (const Index& index : IndexesOf(connection, stored, table)) {
      if (uniqueOnly && !index.unique) continue;
      std::int64_t position = 0;
      for (const std::string& column : index.columns) {
        rows.push_back({catalogue, schemaCell, table, std::int64_t{index.unique ? SQL_FALSE : SQL_TRUE}, kNull,
                        index.name, std::int64_t{index.type}, ++position, column, std::string("A"), kNull, kNull,
                        kNull});
      }
    }
  }
  return std::make_unique<MemoryRows>(Columns({{"TABLE_CAT", "nvarchar(128)"},
                                               {"TABLE_SCHEM", "nvarchar(128)"},
                                               {"TABLE_NAME", "nvarchar(128)"},
                                               {"NON_UNIQUE", "smallint"},
                                               {"INDEX_QUALIFIER", "nvarchar(128)"},
                                               {"INDEX_NAME", "nvarchar(128)"},
                                               {"TYPE", "smallint"},
                                               {"ORDINAL_POSITION", "smallint"},
                                               {"COLUMN_NAME", "nvarchar(128)"},
                                               {"ASC_OR_DESC", "nchar(1)"},
                                               {"CARDINALITY", "int"},
                                               {"PAGES", "int"},
                                               {"FILTER_CONDITION", "nvarchar(128)"}}),
                                      std::move(rows));
}

std::unique_ptr<Rows> ListTypes(const Product& product, SQLSMALLINT odbcType) {
  std::vector<Row> rows;
  for (const ColumnType& type : AllColumnTypes(product.hasOwnTypes)) {
    if (odbcType != SQL_ALL_TYPES && odbcType != type.odbcType) continue;
    const bool isText = !IsBinary(type) && type.takesSize && !IsExactNumber(type);
    const bool isTime = type.odbcType >= SQL_TYPE_DATE && type.odbcType <= SQL_TYPE_TIMESTAMP;
    const Cell quote = isText || isTime ? Cell(std::string("'")) : kNull;
    const auto number = static_cast<std::int64_t>(type.odbcType);
    const std::int64_t verbose = isTime ? std::int64_t{SQL_DATETIME} : number;
    const Cell subcode = isTime ? Cell(number - SQL_TYPE_DATE + 1) : kNull;
    rows.push_back({std::string(type.name), number, static_cast<std::int64_t>(type.size), quote, quote,
                    type.takesSize ? Cell(std::string("length")) : kNull, std::int64_t{SQL_NULLABLE},
                    std::int64_t{isText ? SQL_TRUE : SQL_FALSE}, std::int64_t{SQL_SEARCHABLE},
                    std::int64_t{type.isUnsigned ? SQL_TRUE : SQL_FALSE}, std::int64_t{SQL_FALSE},
                    std::int64_t{SQL_FALSE}, std::string(type.name), std::int64_t{0},
                    static_cast<std::int64_t>(type.digits), verbose, subcode, kNull, kNull});
  }
  return std::make_unique<MemoryRows>(Columns({{"TYPE_NAME", "nvarchar(128)"},
                                               {"DATA_TYPE", "smallint"},
                                               {"COLUMN_SIZE", "int"},
                                               {"LITERAL_PREFIX", "nvarchar(32)"},
                                               {"LITERAL_SUFFIX", "nvarchar(32)"},
                                               {"CREATE_PARAMS", "nvarchar(32)"},
                                               {"NULLABLE", "smallint"},
                                               {"CASE_SENSITIVE", "smallint"},
                                               {"SEARCHABLE", "smallint"},
                                               {"UNSIGNED_ATTRIBUTE", "smallint"},
                                               {"FIXED_PREC_SCALE", "smallint"},
                                               {"AUTO_UNIQUE_VALUE", "smallint"},
                                               {"LOCAL_TYPE_NAME", "nvarchar(128)"},
                                               {"MINIMUM_SCALE", "smallint"},
                                               {"MAXIMUM_SCALE", "smallint"},
                                               {"SQL_DATA_TYPE", "smallint"},
                                               {"SQL_DATETIME_SUB", "smallint"},
                                               {"NUM_PREC_RADIX", "int"},
                                               {"INTERVAL_PRECISION", "smallint"}}),
                                      std::move(rows));
}

}  // namespace ods::product_driver
