// Columns of SQLite: each cell has a type of its own, whatever the column declares, and the driver hands out floating
// numbers with 15 digits. So a cell is read as a text that the database writes, which tells its type.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Conversions.h"
#include "common/Text.h"
#include "database/modODBC.h"
#include "database/modSelect.h"
#include "exact/ExactForm.h"
#include "exact/ExactProduct.h"
#include "exact/SqliteReals.h"

namespace ods {

namespace {

// quote() ends a text at its first null character, replaces nothing that is no UTF-8, which the driver then does, and
// gives some reals with one digit too few. With 17 digits behind the point printf() is right down to 1e-250; what is
// nearer to zero is told by its multiple with 2 to the power of 496.
constexpr std::string_view kRead =
    "CASE typeof($) WHEN 'text' THEN 'Z'||hex('ZZ'||$) WHEN 'real' THEN CASE WHEN abs($)<1e-250 AND $<>0.0 "
    "THEN 'S'||printf('%!.17e',$*2.0458691299350887e149) ELSE printf('%!.17e',$) END ELSE quote($) END";
static_assert(kRead.find(kSqliteScale) != std::string_view::npos);
// Texts that a collation takes for equal, and an integer and the same real.
constexpr std::string_view kTieBreaker = "(CASE typeof($) WHEN 'text' THEN $ WHEN 'real' THEN 1 END COLLATE BINARY)";
// Bytes as clients see them.
constexpr std::string_view kText = "CASE typeof($) WHEN 'blob' THEN hex($) ELSE CAST($ AS TEXT) END";

/// By the rules of affinity (SQLite, "Datatypes In SQLite", 3.1), where the driver does not take the name of the type
/// for one of a date or a Boolean.
ValueClass ClassOf(const ExactColumn& column) {
  const std::string type = ToUpper(column.typeName);
  const auto has = [&](std::string_view part) { return type.find(part) != std::string::npos; };
  if (has("INT")) return ValueClass::kInteger;
  if (has("CHAR") || has("CLOB") || has("TEXT")) return ValueClass::kText;
  if (has("BLOB") || has("BINARY") || has("IMAGE")) return ValueClass::kBytes;
  if (type.empty() || type == "ANY") return ValueClass::kOther;
  if (has("REAL") || has("FLOA") || has("DOUB")) return ValueClass::kFloat;
  if (has("NUM") || has("DEC")) return ValueClass::kDecimal;
  // What is left takes numbers and texts alike.
  const ValueClass byDriver = ValueClassOf(column.adoType);
  return byDriver == ValueClass::kText ? ValueClass::kOther : byDriver;
}

/// The digits behind the point that a declared type tells, "decimal(10,2)"; 0 where it tells none.
std::int32_t DigitsOf(std::string_view type) {
  const std::size_t comma = type.find(',', std::min(type.find('('), type.size()));
  if (comma == std::string_view::npos || !type.ends_with(')')) return 0;
  return SafeLng(std::string(type.substr(comma + 1, type.size() - comma - 2)));
}

}  // namespace

void ShapeForSqlite(const DataSession& session, ExactColumn& column) {
  const std::string quoted = QuoteIdentifier(session, column.name);
  column.valueClass = ClassOf(column);
  column.plain = false;
  column.readStyle = ReadStyle::kQuoted;
  column.read = Filled(kRead, quoted);
  column.text = Filled(kText, quoted);
  column.order = TermOf(column, quoted, LiteralStyle::kByKind, column.read, ado_type::kLongVarChar);
  const std::string tie = Filled(kTieBreaker, quoted);
  column.tieBreaker = TermOf(column, tie, LiteralStyle::kByKind, Filled(kRead, tie), ado_type::kLongVarChar);
  column.tieBreaker->nullable = true;
}

void CorrectForSqlite(const DataSession& session, const TableName& table, std::vector<ExactColumn>& columns) {
  const std::string name = CatalogueText(session, table.name);
  const std::string arguments = table.schema.empty() ? name : name + "," + CatalogueText(session, table.schema);
  // The one column of an INTEGER PRIMARY KEY is the rowid, unless the key has an index of its own. Hidden are the
  // columns of a virtual table that "*" leaves out.
  const auto rows =
      ExecuteSQL(session,
                 "SELECT name, type, \"notnull\" OR (pk=1 AND upper(type)='INTEGER' AND (SELECT count(*) "
                 "FROM pragma_table_xinfo(" +
                     arguments + ") WHERE pk>0)=1 AND NOT EXISTS (SELECT 1 FROM pragma_index_list(" + arguments +
                     ") WHERE origin='pk')) FROM pragma_table_xinfo(" + arguments + ") WHERE hidden<>1 ORDER BY cid",
                 0);
  std::vector<ExactColumn> corrected = columns;
  std::size_t count = 0;
  for (; !rows->AtEnd(); rows->MoveNext(), ++count) {
    if (count == corrected.size()) return;
    ExactColumn& column = corrected[count];
    // The driver leaves out what stands before a point in a name.
    column.name = SafeStr(rows->Item(0));
    column.typeName = SafeStr(rows->Item(1));
    column.digits = DigitsOf(column.typeName);
    column.nullable = SafeLng(rows->Item(2)) == 0;
  }
  if (count == corrected.size()) columns = std::move(corrected);
}

}  // namespace ods
