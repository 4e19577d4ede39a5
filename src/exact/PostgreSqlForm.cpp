// Columns of PostgreSQL: dates, times and amounts come as the database's text, everything else by the driver, which
// hands on the text of whatever type it does not know.
#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "common/Conversions.h"
#include "common/Text.h"
#include "database/modODBC.h"
#include "database/modSelect.h"
#include "exact/ExactForm.h"
#include "exact/ExactProduct.h"

namespace ods {

namespace {

constexpr std::string_view kColumn = "$";
constexpr std::string_view kAsText = "CAST($ AS text)";
/// As the database shows it: a cast adds the bits of the network to an inet.
constexpr std::string_view kAsShown = "CASE WHEN $ IS NULL THEN NULL ELSE concat($) END";
/// Of a bounded size, so that the driver fetches it in blocks.
constexpr std::string_view kAsShortText = "CAST($ AS varchar(64))";
constexpr std::string_view kAsNumber = "CAST($ AS oid)";
constexpr std::string_view kAsBytes = "(CAST($ AS text) COLLATE \"C\")";
constexpr std::string_view kAsNumeric = "CAST($ AS numeric)";

/// What two values that the database takes for equal can be.
enum class Equality : std::uint8_t {
  kIdentical,
  kByCollation,  ///< identical, unless the collation says otherwise
  kLoose,        ///< 1.0 and 1.00, say
};

struct TypeForm {
  std::string_view typeName;
  ValueClass valueClass;
  std::string_view read = kColumn;
  Equality equality = Equality::kIdentical;
  std::string_view text = kAsText;
  std::string_view order = kColumn;
  std::string_view tie = kAsText;   ///< tells apart what is equal
  std::string_view orderRead = {};  ///< where that differs from `read`
  LiteralStyle literal = LiteralStyle::kQuoted;
  std::string_view compared = {};  ///< by clients' conditions; "" for `order`
};

constexpr auto kForms = std::to_array<TypeForm>({
    {.typeName = "int2", .valueClass = ValueClass::kInteger},
    {.typeName = "int4", .valueClass = ValueClass::kInteger},
    {.typeName = "int8", .valueClass = ValueClass::kInteger},
    // Compared with a number out of its range it is an error, or another number.
    {.typeName = "oid", .valueClass = ValueClass::kInteger, .compared = "CAST($ AS bigint)"},
    {.typeName = "float4", .valueClass = ValueClass::kFloat, .equality = Equality::kLoose},
    {.typeName = "float8", .valueClass = ValueClass::kFloat, .equality = Equality::kLoose},
    {.typeName = "numeric", .valueClass = ValueClass::kDecimal, .equality = Equality::kLoose},
    // The text of an amount depends on the locale of the database.
    {.typeName = "money", .valueClass = ValueClass::kDecimal, .read = kAsNumeric, .order = kAsNumeric},
    {.typeName = "bool", .valueClass = ValueClass::kBoolean, .text = "CAST(CAST($ AS int) AS text)"},
    {.typeName = "uuid", .valueClass = ValueClass::kGuid},
    // Without a length it may have blanks at its end that are not compared.
    {.typeName = "bpchar", .valueClass = ValueClass::kText, .equality = Equality::kLoose, .tie = kAsShown},
    {.typeName = "varchar", .valueClass = ValueClass::kText, .equality = Equality::kByCollation},
    {.typeName = "text", .valueClass = ValueClass::kText, .equality = Equality::kByCollation},
    {.typeName = "name", .valueClass = ValueClass::kText},
    {.typeName = "citext", .valueClass = ValueClass::kText, .equality = Equality::kLoose},
    {.typeName = "bytea",
     .valueClass = ValueClass::kBytes,
     .text = "upper(encode($,'hex'))",
     .literal = LiteralStyle::kBytes},
    {.typeName = "date", .valueClass = ValueClass::kDate, .read = kAsShortText},
    {.typeName = "time", .valueClass = ValueClass::kTime, .read = kAsShortText},
    {.typeName = "timestamp", .valueClass = ValueClass::kTimeStamp, .read = kAsShortText},
    {.typeName = "timestamptz", .valueClass = ValueClass::kTimeStamp, .read = kAsShortText},
    {.typeName = "timetz", .valueClass = ValueClass::kTime, .read = kAsShortText, .equality = Equality::kLoose},
    {.typeName = "interval", .valueClass = ValueClass::kOther, .read = kAsShortText, .equality = Equality::kLoose},
    // A literal has no anonymous type. And one all of whose parts are null passes for null, but its text does not.
    {.typeName = "record", .valueClass = ValueClass::kOther, .order = kAsBytes},
});
// The names of things in the catalogue, "reg" and a word, are compared by the number that they stand for.
constexpr TypeForm kCatalogueForm = {
    .typeName = {}, .valueClass = ValueClass::kOther, .text = kAsShown, .orderRead = kAsNumber, .compared = kAsShown};
constexpr TypeForm kOtherForm = {
    .typeName = {}, .valueClass = ValueClass::kOther, .equality = Equality::kLoose, .text = kAsShown};

const TypeForm& FormOf(std::string_view typeName) {
  const auto* const form = std::ranges::find(kForms, typeName, &TypeForm::typeName);
  if (form != kForms.end()) return *form;
  return typeName.starts_with("reg") ? kCatalogueForm : kOtherForm;
}

/// The statement that gives names, types, nullability and loose collations of columns, from one of their names, whether
/// they are never null, their collations and types. A domain is what it is made of.
std::string FactsStatement(const std::string& columns) {
  return "WITH RECURSIVE columns(name, never_null, coll, type) AS (" + columns +
         " UNION ALL SELECT c.name, c.never_null, c.coll, t.typbasetype FROM columns c "
         "JOIN pg_catalog.pg_type t ON t.oid = c.type WHERE t.typtype = 'd') "
         "SELECT c.name, CASE WHEN t.typtype = 'c' THEN 'record' ELSE t.typname END, "
         "CASE WHEN c.never_null THEN 1 ELSE 0 END, "
         "CASE WHEN l.collisdeterministic THEN '' ELSE coalesce(l.collname, '') END "
         "FROM columns c JOIN pg_catalog.pg_type t ON t.oid = c.type AND t.typtype <> 'd' "
         "LEFT JOIN pg_catalog.pg_collation l ON l.oid = c.coll";
}

void TakeFacts(RecordSet& rows, std::vector<ExactColumn>& columns) {
  for (; !rows.AtEnd(); rows.MoveNext()) {
    const std::string field = SafeStr(rows.Item(0));
    for (ExactColumn& column : columns) {
      if (column.name != field) continue;
      column.typeName = SafeStr(rows.Item(1));
      column.nullable = SafeLng(rows.Item(2)) == 0;
      column.collation = SafeStr(rows.Item(3));
    }
  }
}

}  // namespace

void ShapeForPostgreSql(const DataSession& session, ExactColumn& column) {
  const TypeForm& form = FormOf(column.typeName);
  const std::string quoted = QuoteIdentifier(session, column.name);
  const bool isText = form.valueClass == ValueClass::kText && form.read == kColumn;
  const bool folds = isText && !column.collation.empty();
  column.valueClass = form.valueClass;
  column.read = Filled(form.read, quoted);
  column.plain = form.read == kColumn;
  // LIKE takes no collation that folds.
  column.text = Filled(form.text, quoted) + (folds ? " COLLATE \"default\"" : "");
  const std::string orderRead = form.orderRead.empty() ? column.read : Filled(form.orderRead, quoted);
  column.order = TermOf(column, Filled(form.order, quoted), form.literal, orderRead, column.adoType);
  if (!form.compared.empty()) column.compared = Operand{Filled(form.compared, quoted), form.literal};
  if (form.equality == Equality::kLoose || (form.equality == Equality::kByCollation && folds)) {
    const std::string text = Filled(form.tie, quoted);
    column.tieBreaker =
        TermOf(column, "(" + text + " COLLATE \"C\")", LiteralStyle::kQuoted, text, ado_type::kLongVarWChar);
  }
}

void CorrectForPostgreSql(const DataSession& session, const TableName& table, std::vector<ExactColumn>& columns) {
  std::string name = QuoteIdentifier(session, table.name);
  if (!table.schema.empty()) name = QuoteIdentifier(session, table.schema) + "." + name;
  TakeFacts(*ExecuteSQL(session,
                        FactsStatement("SELECT a.attname, a.attnotnull, a.attcollation, a.atttypid "
                                       "FROM pg_catalog.pg_attribute a WHERE a.attrelid = " +
                                       CatalogueText(session, name) + "::regclass AND a.attnum > 0"),
                        0),
            columns);
}

void CorrectViewForPostgreSql(const DataSession& session, const std::string& statement,
                              std::vector<ExactColumn>& columns) {
  std::string names;
  std::string types;
  for (const ExactColumn& column : columns) {
    AppendToList(names, ",", CatalogueText(session, column.name));
    AppendToList(types, ",", "CAST(pg_typeof(v." + QuoteIdentifier(session, column.name) + ") AS oid)");
  }
  // One row, in which everything is null and has its type.
  const auto rows = TrySQL(
      session, FactsStatement("SELECT u.name, false, CAST(NULL AS oid), u.type FROM (SELECT ARRAY[" + names +
                              "] AS names, ARRAY[" + types + "] AS types FROM (SELECT 1 AS one) AS o LEFT JOIN (" +
                              statement + ") AS v ON TRUE) AS x, unnest(x.names, x.types) AS u(name, type)"));
  if (!rows) return;
  TakeFacts(*rows, columns);
  for (ExactColumn& column : columns) column.collation = "?";  // which it is cannot be asked
}

}  // namespace ods
