#include "exact/ExactKeys.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Text.h"
#include "exact/ExactProduct.h"

namespace ods {

namespace {

/// The columns that an index is unequal by; false when one of its parts does not count.
bool AppendPart(const ExactTable& known, const IndexPart& part, ExactKey& key) {
  const ExactColumn* column = part.counts ? known.Find(part.column) : nullptr;
  if (column == nullptr || !column->order) return false;
  if (std::ranges::find(key.fields, part.column) == key.fields.end()) {
    key.fields.push_back(part.column);
    key.nullable = key.nullable || column->nullable;
    if (part.terms.empty()) key.terms.push_back(*column->order);
  }
  // An index may have a column twice, compared in two ways.
  key.terms.insert(key.terms.end(), part.terms.begin(), part.terms.end());
  return true;
}

std::string Upper(const RecordSet& rows, std::string_view column) { return ToUpper(SafeStr(rows.Item(column))); }

/// The parts of the indexes of a table; none where they may be those of several tables.
std::vector<IndexPart> ReadIndexes(const DataSession& session, const TableName& table) {
  constexpr std::string_view kClustered = "1";
  const Value schema = table.schema.empty() ? Value() : Value(table.schema);
  const auto rows =
      session.connection->OpenSchema(Schema::kFilteredIndexes, {Value(), schema, Value(), Value(), table.name});
  std::vector<IndexPart> parts;
  std::unordered_set<std::string> schemas;
  for (; !rows->AtEnd(); rows->MoveNext()) {
    const std::string index = SafeStr(rows->Item("INDEX_NAME"));
    if (index.empty()) continue;
    schemas.insert(SafeStr(rows->Item("TABLE_SCHEMA")));
    const bool unique = Upper(*rows, "UNIQUE") == "TRUE";
    parts.push_back({.index = index,
                     .unique = unique,
                     .declared = unique && SafeStr(rows->Item("TYPE")) == kClustered,
                     .counts = rows->Item("FILTER_CONDITION").IsNull(),
                     .column = SafeStr(rows->Item("COLUMN_NAME"))});
  }
  // Of tables of one name in several schemas.
  if (schemas.size() > 1) parts.clear();
  return parts;
}

}  // namespace

void AppendKeys(ExactTable& known, const std::vector<IndexPart>& parts) {
  std::vector<ExactKey> keys;
  std::unordered_set<std::string> unfit;
  for (const IndexPart& part : parts) {
    auto key = std::ranges::find(keys, part.index, &ExactKey::name);
    if (key == keys.end()) {
      key = keys.emplace(key);
      key->name = part.index;
      key->unique = part.unique;
      key->declared = part.declared;
      key->nullable = false;
    }
    if (!AppendPart(known, part, *key)) unfit.insert(part.index);
  }
  std::erase_if(keys, [&](const ExactKey& key) { return unfit.contains(key.name); });
  known.keys.insert(known.keys.end(), keys.begin(), keys.end());
}

void ReadKeysByDriver(const DataSession& session, const TableName& table, ExactTable& known) {
  try {
    AppendKeys(known, ReadIndexes(session, table));
  } catch (const Error& error) {
    // Some drivers know of no indexes at all; every table can be browsed without.
    session.Trace("No indexes of " + table.name + ": " + error.Description(), -1, severity::kWarning);
  }
}

}  // namespace ods
