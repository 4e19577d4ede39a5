// Columns of MariaDB and MySQL: dates and times come as the database's text, everything else by the driver.
#include <algorithm>
#include <array>
#include <cstdint>
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

constexpr std::string_view kAsChar = "CAST($ AS CHAR)";
/// How many characters or bytes a value may have to be sorted by all of them: beyond max_sort_length bytes, 1,024
/// unless it is set, nothing is looked at.
constexpr std::int64_t kSortedWhole = 255;
constexpr std::string_view kBeginning = "LEFT($,255)";
/// Tells texts apart that a collation takes for equal, and long ones that begin alike.
constexpr std::string_view kDigest = "SHA2($,256)";
/// The number by which the database itself orders these.
constexpr std::string_view kNumberOf = "($+0)";

enum class Kind : std::uint8_t { kPlain, kMoment, kYear, kNumbered, kText, kBytes, kBits, kOther };

struct TypeForm {
  std::string_view typeName;
  Kind kind;
  ValueClass valueClass = ValueClass::kOther;
};

/// What the catalogue calls types, where the driver's type does not tell enough.
constexpr auto kForms = std::to_array<TypeForm>({
    {"date", Kind::kMoment, ValueClass::kDate},
    {"datetime", Kind::kMoment, ValueClass::kTimeStamp},
    {"timestamp", Kind::kMoment, ValueClass::kTimeStamp},
    {"time", Kind::kMoment, ValueClass::kTime},
    {"year", Kind::kYear, ValueClass::kInteger},
    {"enum", Kind::kNumbered, ValueClass::kText},
    {"set", Kind::kNumbered, ValueClass::kText},
    {"bit", Kind::kBits, ValueClass::kInteger},
    {"uuid", Kind::kOther, ValueClass::kGuid},
    {"inet4", Kind::kOther},
    {"inet6", Kind::kOther},
});

TypeForm FormOf(const ExactColumn& column) {
  const auto* const form = std::ranges::find(kForms, ToLower(column.typeName), &TypeForm::typeName);
  if (form != kForms.end() && (form->kind != Kind::kBits || column.adoType != ado_type::kBoolean)) return *form;
  const ValueClass valueClass = ValueClassOf(column.adoType);
  switch (valueClass) {
    case ValueClass::kDate:
    case ValueClass::kTime:
    case ValueClass::kTimeStamp:
      return {"", Kind::kMoment, valueClass};
    case ValueClass::kBytes:
      return {"", Kind::kBytes, valueClass};
    case ValueClass::kText:
    case ValueClass::kOther:
      return {"", Kind::kText, ValueClass::kText};
    default:
      return {"", Kind::kPlain, valueClass};
  }
}

LiteralStyle NumberLiteral(const ExactColumn& column) {
  return column.adoType == ado_type::kSingle ? LiteralStyle::kSingle : LiteralStyle::kNumber;
}

/// Texts and bytes, of which a long one is ordered by its beginning.
void ShapeSequence(ExactColumn& column, const std::string& quoted, LiteralStyle literal) {
  const bool isLong = column.adoType == ado_type::kLongVarChar || column.adoType == ado_type::kLongVarWChar ||
                      column.adoType == ado_type::kLongVarBinary || column.size > kSortedWhole;
  // A CHAR whose collation is not told is one of a server-side view, which may be an ENUM.
  const bool mayBeNumbered =
      column.collation.empty() && (column.adoType == ado_type::kChar || column.adoType == ado_type::kWChar);
  const std::string whole = mayBeNumbered ? Filled(kAsChar, quoted) : quoted;
  column.order = TermOf(column, isLong ? Filled(kBeginning, quoted) : whole, literal);
  column.compared = Operand{.expression = quoted, .literal = literal};
  if (!isLong) column.order->read = quoted;
  if (isLong || literal == LiteralStyle::kQuoted) {
    column.tieBreaker = TermOf(column, Filled(kDigest, quoted), LiteralStyle::kQuoted);
    column.tieBreaker->adoType = ado_type::kVarWChar;
  }
}

}  // namespace

void ShapeForMariaDb(const DataSession& session, ExactColumn& column) {
  const TypeForm form = FormOf(column);
  const std::string quoted = QuoteIdentifier(session, column.name);
  column.valueClass = form.valueClass;
  column.read = quoted;
  column.text = Filled(kAsChar, quoted);
  switch (form.kind) {
    case Kind::kYear:
      // A year of one or two digits would be one of this century or the last.
      column.compared = Operand{.expression = Filled(kNumberOf, quoted), .literal = LiteralStyle::kNumber};
      [[fallthrough]];
    case Kind::kMoment:
      column.read = Filled(kAsChar, quoted);
      column.plain = false;
      column.order = TermOf(column, quoted, LiteralStyle::kQuoted, column.read, ado_type::kVarWChar);
      break;
    case Kind::kNumbered:
      column.order = TermOf(column, Filled(kNumberOf, quoted), LiteralStyle::kNumber, Filled(kNumberOf, quoted),
                            ado_type::kBigInt);
      column.compared = Operand{.expression = quoted, .literal = LiteralStyle::kQuoted};
      break;
    case Kind::kBits:
      column.read = Filled(kNumberOf, quoted);
      column.text = "CAST(" + column.read + " AS CHAR)";
      column.plain = false;
      column.adoType = ado_type::kUnsignedBigInt;
      column.order = TermOf(column, column.read, LiteralStyle::kNumber);
      break;
    case Kind::kText:
      column.text = quoted;
      ShapeSequence(column, quoted, LiteralStyle::kQuoted);
      break;
    case Kind::kBytes:
      column.text = "HEX(" + quoted + ")";
      ShapeSequence(column, quoted, LiteralStyle::kBytes);
      break;
    case Kind::kOther:
      column.order = TermOf(column, quoted, LiteralStyle::kQuoted);
      break;
    case Kind::kPlain:
      // The text of a bit is a byte.
      if (column.valueClass == ValueClass::kBoolean) column.text = Filled(kAsChar, Filled(kNumberOf, quoted));
      column.order = TermOf(column, quoted, NumberLiteral(column));
      break;
  }
}

void CorrectForMariaDb(const DataSession& session, const TableName& table, std::vector<ExactColumn>& columns) {
  const auto rows = ExecuteSQL(
      session,
      "SELECT COLUMN_NAME, DATA_TYPE, CASE WHEN IS_NULLABLE='NO' THEN 0 ELSE 1 END, COALESCE(COLLATION_NAME,'') "
      "FROM information_schema.COLUMNS WHERE TABLE_SCHEMA=" +
          (table.schema.empty() ? std::string("DATABASE()") : CatalogueText(session, table.schema)) +
          " AND TABLE_NAME=" + CatalogueText(session, table.name),
      0);
  for (; !rows->AtEnd(); rows->MoveNext()) {
    const std::string field = SafeStr(rows->Item(0));
    for (ExactColumn& column : columns) {
      if (column.name != field) continue;
      column.typeName = SafeStr(rows->Item(1));
      column.nullable = SafeLng(rows->Item(2)) != 0;
      column.collation = SafeStr(rows->Item(3));
    }
  }
}

}  // namespace ods
