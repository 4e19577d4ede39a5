// MariaDB and MySQL: information_schema.STATISTICS.
#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "common/Conversions.h"
#include "database/modODBC.h"
#include "database/modSelect.h"
#include "exact/ExactKeys.h"
#include "exact/ExactLiteral.h"
#include "exact/ExactProduct.h"

namespace ods {

namespace {

/// The most characters that the database sorts by, whatever their bytes are.
constexpr std::int32_t kSortedCharacters = 255;

/// A row a field. Engines that gather the rows of several tables, or of other servers', keep no key of their own.
constexpr const char* kIndexes =
    "SELECT s.INDEX_NAME AS i, s.NON_UNIQUE AS n, s.COLUMN_NAME AS c, s.SUB_PART AS p, s.TABLE_NAME AS t, EXISTS "
    "(SELECT "
    "1 FROM information_schema.TABLES AS e WHERE e.TABLE_SCHEMA=DATABASE() AND e.TABLE_NAME=$$TABLE$$ AND e.ENGINE IN "
    "('MRG_MyISAM','FEDERATED','CONNECT','SPIDER')) AS g FROM information_schema.STATISTICS AS s WHERE "
    "s.TABLE_SCHEMA=DATABASE() AND s.TABLE_NAME=$$TABLE$$ AND s.INDEX_TYPE IN ('BTREE','HASH') ORDER BY "
    "s.INDEX_NAME<>'PRIMARY', s.INDEX_NAME, s.SEQ_IN_INDEX";

/// A field with the name of its table.
struct NamedPart {
  std::string table;
  IndexPart part;
};

/// By what an index, which may be over the beginning of the column alone, tells its values apart.
std::vector<OrderTerm> TermsOf(const DataSession& session, const ExactColumn& column, std::int32_t prefix) {
  OrderTerm term = *column.order;
  if (prefix > 0 && prefix <= kSortedCharacters) {
    term.expression = "LEFT(" + QuoteIdentifier(session, column.name) + "," + std::to_string(prefix) + ")";
    term.read = term.expression;
    return {std::move(term)};
  }
  const bool whole = term.expression == QuoteIdentifier(session, column.name) || !column.tieBreaker;
  if (prefix == 0 && whole) return {std::move(term)};
  // More of it is compared than can be ordered by.
  std::vector<OrderTerm> terms = {std::move(term)};
  if (column.tieBreaker) terms.push_back(*column.tieBreaker);
  return terms;
}

}  // namespace

void ReadKeysOfMariaDb(const DataSession& session, const TableName& table, ExactTable& known) {
  const std::vector<std::pair<std::string, std::string>> parameters = {
      {"$$TABLE$$",
       ExactLiteral(session, LiteralStyle::kQuoted, {.kind = ExactValue::Kind::kText, .text = table.name})}};
  const auto rows = ExecuteSQL(session, kIndexes, 0, {.parameters = parameters});
  std::vector<NamedPart> found;
  for (; !rows->AtEnd(); rows->MoveNext()) {
    IndexPart part = {.index = SafeStr(rows->Item(0)),
                      .unique = SafeLng(rows->Item(1)) == 0 && SafeLng(rows->Item(5)) == 0,
                      .counts = !rows->Item(2).IsNull(),
                      .column = SafeStr(rows->Item(2))};
    part.declared = part.index == "PRIMARY" && part.unique;
    const ExactColumn* column = known.Find(part.column);
    if (column != nullptr && column->order) part.terms = TermsOf(session, *column, SafeLng(rows->Item(3)));
    found.push_back({SafeStr(rows->Item(4)), std::move(part)});
  }
  // The catalogue compares names without regard to case and accents, tables may be told apart by these.
  const bool exactly = std::ranges::find(found, table.name, &NamedPart::table) != found.end();
  std::vector<IndexPart> parts;
  for (NamedPart& named : found) {
    if (!exactly || named.table == table.name) parts.push_back(std::move(named.part));
  }
  AppendKeys(known, parts);
}

}  // namespace ods
