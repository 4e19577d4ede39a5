#include "exact/ExactTable.h"

#include <algorithm>
#include <utility>

#include "common/Error.h"
#include "common/Text.h"
#include "database/modDescribe.h"
#include "database/modSelect.h"
#include "exact/ExactForm.h"
#include "exact/ExactNames.h"
#include "exact/ExactProduct.h"
#include "exact/ExactSession.h"

namespace ods {

namespace {

bool IsServerSideView(std::string_view table) { return GetTableType(table) == kTypeAppView; }

/// Every word in brackets but one leads to the same table, so all of them share an entry.
std::string CacheKey(std::string_view table) {
  return std::string("[")
      .append(IsServerSideView(table) ? kTypeAppView : kTypeTable)
      .append("]")
      .append(GetBareName(table));
}

/// A product that takes names without regard to case has many for a table: rather than growing beyond this, the cache
/// starts afresh.
constexpr std::size_t kMostCachedBytes = std::size_t{4} << 20U;

std::size_t BytesOf(const OrderTerm& term) {
  return sizeof term + term.expression.size() + term.read.size() + term.field.size();
}

/// About what a table takes in the cache.
std::size_t CachedBytes(const std::string& key, const ExactTable& table) {
  std::size_t bytes = sizeof table + key.size();
  for (const ExactColumn& column : table.columns) {
    bytes += sizeof column + column.name.size() + column.typeName.size() + column.read.size() + column.text.size();
    if (column.order) bytes += BytesOf(*column.order);
    if (column.tieBreaker) bytes += BytesOf(*column.tieBreaker);
    if (column.compared) bytes += column.compared->expression.size();
  }
  for (const ExactKey& each : table.keys) {
    bytes += sizeof each + each.name.size();
    for (const std::string& field : each.fields) bytes += sizeof field + field.size();
    for (const OrderTerm& term : each.terms) bytes += BytesOf(term);
  }
  return bytes;
}

bool HasRoom(const ExactSession& exact, const std::string& key, const ExactTable& table) {
  std::size_t bytes = CachedBytes(key, table);
  for (const auto& [name, cached] : exact.tables) bytes += CachedBytes(name, cached);
  return bytes <= kMostCachedBytes;
}

ExactColumn ColumnOf(const Field& field) {
  ExactColumn column;
  column.name = field.name;
  column.adoType = field.type;
  column.typeName = field.typeName;
  column.size = field.definedSize;
  column.digits = field.digits;
  constexpr std::int32_t kMayBeNull = field_attribute::kIsNullable | field_attribute::kMayBeNull;
  column.nullable = (field.attributes & kMayBeNull) != 0;
  return column;
}

/// A statement without rows that compares and orders by columns: the product refuses it where it cannot.
std::string ProbingStatement(const DataSession& session, const std::string& table,
                             const std::vector<ExactColumn*>& columns) {
  std::string condition;
  std::string order;
  for (const ExactColumn* const column : columns) {
    for (const auto member : {&ExactColumn::order, &ExactColumn::tieBreaker}) {
      if (!(column->*member)) continue;
      const std::string& c = (column->*member)->expression;
      AppendToList(condition, " OR ", c + "<" + c + " OR " + c + "=" + c);
      AppendToList(order, ",", c);
    }
  }
  bool fieldsFixed = false;
  return BuildSelectOne(session, table, {.where = "1=2 AND (" + condition + ")", .orderBy = order, .fields = "1"},
                        fieldsFixed);
}

/// Leaves columns without an order that the product cannot order or compare by.
void ProbeOrders(const DataSession& session, const std::string& table, ExactTable& known) {
  std::vector<ExactColumn*> columns;
  for (ExactColumn& column : known.columns) {
    if (column.order) columns.push_back(&column);
  }
  if (columns.empty() || TrySQL(session, ProbingStatement(session, table, columns))) return;
  for (ExactColumn* const column : columns) {
    if (TrySQL(session, ProbingStatement(session, table, {column}))) continue;
    column->order.reset();
    column->tieBreaker.reset();
  }
}

ExactTable ReadTable(DataSession& session, const std::string& table) {
  const ExactProduct& product = *session.exact->product;
  ExactTable known;
  for (const Field& field : DescribeTableExactly(session, table, known.fieldsFixed)) {
    known.columns.push_back(ColumnOf(field));
  }
  const bool isTable = !IsServerSideView(table);
  const TableName name = isTable ? SplitExactName(session, table) : TableName();
  if (isTable && product.correct != nullptr) product.correct(session, name, known.columns);
  if (!isTable && !known.fieldsFixed && product.correctView != nullptr) {
    product.correctView(session, DescribingStatement(session, table, known.fieldsFixed), known.columns);
  }
  const auto shape = known.fieldsFixed ? ShapeByDriver : product.shape;
  for (ExactColumn& column : known.columns) shape(session, column);
  ProbeOrders(session, table, known);
  if (isTable) product.readKeys(session, name, known);
  return known;
}

}  // namespace

const ExactColumn* ExactTable::Find(std::string_view name) const {
  const auto found = std::ranges::find(columns, name, &ExactColumn::name);
  return found == columns.end() ? nullptr : &*found;
}

const ExactColumn& ExactTable::Require(std::string_view name, std::string_view table) const {
  if (const ExactColumn* const column = Find(name)) return *column;
  throw Error(error_number::kOwn, "Unable to get information about field '" + std::string(name) + "' in table '" +
                                      std::string(table) + "'. Please make sure that the field exist.");
}

const ExactKey* ExactTable::BestKey() const {
  const ExactKey* best = nullptr;
  for (const ExactKey& key : keys) {
    if (!key.TellsRowsApart()) continue;
    const bool better = best == nullptr || (key.declared && !best->declared) ||
                        (key.declared == best->declared && key.fields.size() < best->fields.size());
    if (better) best = &key;
  }
  return best;
}

const ExactTable& LookupExactTable(DataSession& session, const std::string& table) {
  auto& tables = session.exact->tables;
  const std::string key = CacheKey(table);
  if (const auto cached = tables.find(key); cached != tables.end()) return cached->second;
  ExactTable known = ReadTable(session, table);
  if (!HasRoom(*session.exact, key, known)) tables.clear();
  return tables.emplace(key, std::move(known)).first->second;
}

}  // namespace ods
