// PostgreSQL: pg_index.
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

/// A row a field of a B-tree, in the order of the fields; fields that the index only includes have no operator class.
///
/// An index counts for `rowsapart` when it is kept at every statement and holds for all rows that a SELECT gives:
/// tables that inherit from a plain table are not in its indexes. An operator class that is not the type's own may tell
/// other values apart than "=" does; those for patterns compare texts byte by byte.
constexpr const char* kIndexes =
    "SELECT x.relname AS i, CASE WHEN i.indisunique AND i.indimmediate AND i.indisvalid AND NOT (t.relkind='r' AND "
    "EXISTS (SELECT 1 FROM pg_catalog.pg_inherits h WHERE h.inhparent=t.oid)) AND NOT EXISTS (SELECT 1 FROM "
    "pg_catalog.pg_opclass o WHERE o.oid=ANY(i.indclass) AND NOT o.opcdefault AND o.opcname NOT IN "
    "('text_pattern_ops','varchar_pattern_ops','bpchar_pattern_ops')) THEN 1 ELSE 0 END AS u, CASE WHEN "
    "i.indisprimary THEN 1 ELSE 0 END AS p, CASE WHEN i.indpred IS NULL AND i.indexprs IS NULL THEN 1 ELSE 0 END AS f, "
    "a.attname AS c, CASE WHEN i.indcollation[s.k]<>a.attcollation AND i.indcollation[s.k]<>0 THEN (SELECT "
    "n.nspname FROM pg_catalog.pg_collation l JOIN pg_catalog.pg_namespace n ON n.oid=l.collnamespace WHERE "
    "l.oid=i.indcollation[s.k]) END AS n, (SELECT l.collname FROM pg_catalog.pg_collation l WHERE "
    "l.oid=i.indcollation[s.k]) AS l FROM (SELECT q.*, pg_catalog.generate_subscripts(q.indclass, 1) AS k FROM "
    "pg_catalog.pg_index q WHERE q.indrelid=CAST($$TABLE$$ AS pg_catalog.regclass)) s JOIN pg_catalog.pg_index i ON "
    "i.indexrelid=s.indexrelid JOIN pg_catalog.pg_class t ON t.oid=i.indrelid JOIN pg_catalog.pg_class x ON "
    "x.oid=i.indexrelid JOIN pg_catalog.pg_am m ON m.oid=x.relam AND m.amname='btree' LEFT JOIN "
    "pg_catalog.pg_attribute a ON a.attrelid=i.indrelid AND a.attnum=i.indkey[s.k] AND a.attnum<>0 ORDER BY 1, s.k";

}  // namespace

void ReadKeysOfPostgreSql(const DataSession& session, const TableName& table, ExactTable& known) {
  // Found as a statement finds it, also by a name without a schema.
  std::string name = QuoteIdentifier(session, table.name);
  if (!table.schema.empty()) name.insert(0, QuoteIdentifier(session, table.schema) + ".");
  const std::vector<std::pair<std::string, std::string>> parameters = {
      {"$$TABLE$$",
       ExactLiteral(session, LiteralStyle::kQuoted, {.kind = ExactValue::Kind::kText, .text = std::move(name)})}};
  const auto rows = ExecuteSQL(session, kIndexes, 0, {.parameters = parameters});
  std::vector<IndexPart> parts;
  for (; !rows->AtEnd(); rows->MoveNext()) {
    IndexPart part = {.index = SafeStr(rows->Item(0)),
                      .unique = SafeLng(rows->Item(1)) != 0,
                      .declared = SafeLng(rows->Item(2)) != 0,
                      .counts = SafeLng(rows->Item(3)) != 0 && !rows->Item(4).IsNull(),
                      .column = SafeStr(rows->Item(4))};
    const ExactColumn* column = known.Find(part.column);
    if (column != nullptr && column->order && !rows->Item(5).IsNull()) {
      OrderTerm term = *column->order;
      term.expression += " COLLATE " + QuoteIdentifier(session, SafeStr(rows->Item(5))) + "." +
                         QuoteIdentifier(session, SafeStr(rows->Item(6)));
      part.terms.push_back(std::move(term));
    }
    parts.push_back(std::move(part));
  }
  AppendKeys(known, parts);
}

}  // namespace ods
