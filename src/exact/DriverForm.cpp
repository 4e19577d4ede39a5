// Columns of a product that nothing more is known of: read through the driver, with the literals of ODBC.
#include "common/Text.h"
#include "database/modSelect.h"
#include "exact/ExactForm.h"
#include "exact/ExactProduct.h"

namespace ods {

namespace {

LiteralStyle LiteralOf(const DataSession& session, const ExactColumn& column) {
  switch (column.valueClass) {
    case ValueClass::kInteger:
    case ValueClass::kDecimal:
    case ValueClass::kBoolean:
      return LiteralStyle::kNumber;
    case ValueClass::kFloat:
      return column.adoType == ado_type::kSingle ? LiteralStyle::kSingle : LiteralStyle::kNumber;
    case ValueClass::kDate:
      return LiteralStyle::kDate;
    case ValueClass::kTime:
      return LiteralStyle::kTime;
    case ValueClass::kTimeStamp:
      // A moment with its distance from universal time is no timestamp of ODBC.
      return ToLower(column.typeName).find("offset") == std::string::npos ? LiteralStyle::kTimeStamp
                                                                          : LiteralStyle::kQuoted;
    case ValueClass::kBytes:
      return session.dialect->quotesFixedBinary && column.adoType == ado_type::kBinary ? LiteralStyle::kHexText
                                                                                       : LiteralStyle::kBytes;
    case ValueClass::kGuid:
    case ValueClass::kText:
    case ValueClass::kOther:
      break;
  }
  return LiteralStyle::kQuoted;
}

}  // namespace

void ShapeByDriver(const DataSession& session, ExactColumn& column) {
  constexpr std::int64_t kGuidBytes = 16;
  const std::string quoted = QuoteIdentifier(session, column.name);
  column.valueClass = ValueClassOf(column.adoType);
  column.read = quoted;
  column.text = quoted;
  const bool cast =
      session.dialect->castsSixteenBytes && column.valueClass == ValueClass::kBytes && column.size == kGuidBytes;
  column.order = TermOf(column, cast ? "CAST(" + quoted + " AS BINARY(16))" : quoted, LiteralOf(session, column),
                        quoted, column.adoType);
}

}  // namespace ods
