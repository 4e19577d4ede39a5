#include "exact/ExactForm.h"

#include <algorithm>
#include <array>
#include <utility>

#include "common/Error.h"
#include "common/Text.h"
#include "database/modODBC.h"
#include "exact/ExactLiteral.h"

namespace ods {

namespace {

namespace t = ado_type;

struct ClassRow {
  std::int32_t adoType;
  ValueClass valueClass;
};

constexpr auto kClasses = std::to_array<ClassRow>({
    {t::kSmallInt, ValueClass::kInteger},
    {t::kInteger, ValueClass::kInteger},
    {t::kTinyInt, ValueClass::kInteger},
    {t::kUnsignedTinyInt, ValueClass::kInteger},
    {t::kUnsignedSmallInt, ValueClass::kInteger},
    {t::kUnsignedInt, ValueClass::kInteger},
    {t::kBigInt, ValueClass::kInteger},
    {t::kUnsignedBigInt, ValueClass::kInteger},
    {t::kCurrency, ValueClass::kDecimal},
    {t::kDecimal, ValueClass::kDecimal},
    {t::kNumeric, ValueClass::kDecimal},
    {t::kVarNumeric, ValueClass::kDecimal},
    {t::kSingle, ValueClass::kFloat},
    {t::kDouble, ValueClass::kFloat},
    {t::kBoolean, ValueClass::kBoolean},
    {t::kDBDate, ValueClass::kDate},
    {t::kDBTime, ValueClass::kTime},
    {t::kDBTimeStamp, ValueClass::kTimeStamp},
    {t::kDate, ValueClass::kTimeStamp},
    {t::kGUID, ValueClass::kGuid},
    {t::kBinary, ValueClass::kBytes},
    {t::kVarBinary, ValueClass::kBytes},
    {t::kLongVarBinary, ValueClass::kBytes},
    {t::kVariant, ValueClass::kOther},
});

}  // namespace

ValueClass ValueClassOf(std::int32_t adoType) {
  const auto* const row = std::ranges::find(kClasses, adoType, &ClassRow::adoType);
  return row == kClasses.end() ? ValueClass::kText : row->valueClass;
}

OrderTerm TermOf(const ExactColumn& column, const std::string& expression, LiteralStyle literal) {
  return TermOf(column, expression, literal, expression, column.adoType);
}

OrderTerm TermOf(const ExactColumn& column, const std::string& expression, LiteralStyle literal, std::string read,
                 std::int32_t adoType) {
  return {.expression = expression,
          .read = std::move(read),
          .readStyle = column.readStyle,
          .literal = literal,
          .adoType = adoType,
          .nullable = column.nullable,
          .field = column.name};
}

std::string Filled(std::string_view pattern, std::string_view expression) {
  return ReplaceAll(pattern, "$", expression);
}

std::string CatalogueText(const DataSession& session, std::string_view text) {
  return ExactLiteral(session, LiteralStyle::kQuoted, {.kind = ExactValue::Kind::kText, .text = std::string(text)});
}

std::shared_ptr<RecordSet> TrySQL(const DataSession& session, const std::string& sql) {
  try {
    return ExecuteSQL(session, sql, 0, {.mayFail = true, .exact = true});
  } catch (const Error&) {
    if (session.connection->IsLost()) throw;
    return nullptr;
  }
}

}  // namespace ods
