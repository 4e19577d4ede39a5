// SQLite: the pragmas of a table as tables.
#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/Conversions.h"
#include "common/Text.h"
#include "database/modODBC.h"
#include "database/modSelect.h"
#include "exact/ExactKeys.h"
#include "exact/ExactLiteral.h"
#include "exact/ExactProduct.h"

namespace ods {

namespace {

/// What the pragmas tell besides the indexes.
struct RowidFacts {
  bool table = false;         ///< a table that SQLite keeps itself, no view and no virtual table
  bool withoutRowid = false;  ///< declared so: its rows have no number
  bool primaryIndex = false;  ///< the primary key has an index of its own, so is not the number of the row
};

std::string NameLiteral(const DataSession& session, const std::string& name) {
  return ExactLiteral(session, LiteralStyle::kQuoted, {.kind = ExactValue::Kind::kText, .text = name});
}

bool IsTable(const DataSession& session, const std::string& name) {
  const auto rows = ExecuteSQL(session,
                               "SELECT COUNT(*) FROM sqlite_master WHERE type='table' AND name=" + name +
                                   " COLLATE NOCASE AND sql NOT LIKE 'CREATE VIRTUAL%'",
                               0);
  return !rows->AtEnd() && SafeLng(rows->Item(0)) > 0;
}

/// The term of a column as an index compares it.
std::vector<OrderTerm> Collated(const DataSession& session, const ExactColumn* column, const std::string& collation) {
  if (column == nullptr || !column->order) return {};
  OrderTerm term = *column->order;
  term.expression = QuoteIdentifier(session, column->name) + " COLLATE " + QuoteIdentifier(session, collation);
  return {std::move(term)};
}

std::vector<IndexPart> ReadIndexes(const DataSession& session, const std::string& name, const ExactTable& known,
                                   RowidFacts& facts) {
  const auto rows =
      ExecuteSQL(session,
                 "SELECT l.name AS i, l.\"unique\" AS u, l.origin AS o, l.partial AS p, x.cid AS n, x.name AS c, "
                 "x.coll AS k, x.key AS f, (SELECT COUNT(*) FROM pragma_collation_list AS a WHERE a.name=x.coll "
                 "COLLATE NOCASE) AS h FROM pragma_index_list(" +
                     name + ") AS l, pragma_index_xinfo(l.name) AS x ORDER BY l.seq, x.seqno",
                 0);
  constexpr std::int32_t kRowid = -1;
  std::vector<IndexPart> parts;
  bool rowidInPrimary = false;
  for (; !rows->AtEnd(); rows->MoveNext()) {
    const bool primary = SafeStr(rows->Item(2)) == "pk";
    const bool rowid = SafeLng(rows->Item(4)) == kRowid;
    facts.primaryIndex = facts.primaryIndex || primary;
    rowidInPrimary = rowidInPrimary || (primary && rowid);
    if (SafeLng(rows->Item(7)) == 0) continue;  // what the index holds besides its fields
    const std::string column = SafeStr(rows->Item(5));
    parts.push_back({.index = SafeStr(rows->Item(0)),
                     .unique = SafeLng(rows->Item(1)) != 0,
                     .declared = primary,
                     // A collation that this connection has not got can be used in no statement.
                     .counts = SafeLng(rows->Item(3)) == 0 && !rows->Item(5).IsNull() && SafeLng(rows->Item(8)) != 0,
                     .column = column,
                     .terms = Collated(session, known.Find(column), SafeStr(rows->Item(6)))});
  }
  // Every index of a table whose rows have numbers ends in the number.
  facts.withoutRowid = facts.primaryIndex && !rowidInPrimary;
  return parts;
}

/// The column that is another name of the row's number; "" when there is none.
std::string RowidColumn(const DataSession& session, const std::string& name) {
  const auto rows = ExecuteSQL(session, "SELECT name FROM pragma_table_xinfo(" + name + ") WHERE pk>0", 0);
  if (rows->AtEnd()) return "";
  std::string column = SafeStr(rows->Item(0));
  rows->MoveNext();
  return rows->AtEnd() ? column : "";
}

/// The first name of the row's number that is no column's.
std::string_view FreeRowidName(const ExactTable& known) {
  constexpr std::array<std::string_view, 3> kNames = {"rowid", "_rowid_", "oid"};
  const auto* const free = std::ranges::find_if(kNames, [&](std::string_view name) {
    return std::ranges::none_of(known.columns, [&](const ExactColumn& column) { return ToLower(column.name) == name; });
  });
  return free == kNames.end() ? std::string_view() : *free;
}

}  // namespace

void ReadKeysOfSqlite(const DataSession& session, const TableName& table, ExactTable& known) {
  const std::string name = NameLiteral(session, table.name);
  RowidFacts facts;
  facts.table = IsTable(session, name);
  std::vector<IndexPart> parts = ReadIndexes(session, name, known, facts);
  if (!facts.table) {
    // The module of a virtual table may keep what it declares or not.
    return;
  }
  if (!facts.primaryIndex) {
    const std::string column = RowidColumn(session, name);
    if (!column.empty()) {
      parts.insert(parts.begin(), {.index = column, .unique = true, .declared = true, .column = column});
    }
  }
  AppendKeys(known, parts);
  const std::string_view rowid = FreeRowidName(known);
  if (facts.withoutRowid || rowid.empty()) return;
  // Without quotes: a name in quotes that is no column's is a text to SQLite.
  known.rowIdentifier = OrderTerm{.expression = std::string(rowid),
                                  .read = "quote(" + std::string(rowid) + ")",
                                  .readStyle = ReadStyle::kQuoted,
                                  .literal = LiteralStyle::kNumber,
                                  .adoType = ado_type::kBigInt,
                                  .nullable = false,
                                  .field = ""};
}

}  // namespace ods
