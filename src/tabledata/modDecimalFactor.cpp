#include "tabledata/modDecimalFactor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "common/Conversions.h"
#include "database/modODBC.h"

namespace ods {

namespace {

/// The name of what a column of numbers can hold that is no number; "" for a number. A driver gives that of an exact
/// number as its text.
std::string_view NameOfNonNumber(const Value& value) {
  constexpr std::array<std::string_view, 3> kNames = {"NaN", "Infinity", "-Infinity"};
  if (const auto* text = value.GetIf<std::string>()) {
    const auto* const name = std::ranges::find(kNames, *text);
    return name == kNames.end() ? std::string_view() : *name;
  }
  const auto* const number = value.GetIf<double>();
  if (number == nullptr || std::isfinite(*number)) return "";
  return std::isnan(*number) ? kNames[0] : kNames[*number > 0 ? 1 : 2];
}

}  // namespace

bool HasDecimals(std::int32_t type) {
  switch (type) {
    case ado_type::kSingle:
    case ado_type::kDouble:
    case ado_type::kCurrency:
    case ado_type::kDecimal:
    case ado_type::kNumeric:
      return true;
    default:
      return false;
  }
}

bool DecimalFactorIsSettled(const DataSession& session) {
  double& factor = session.process->decimalFactor;
  if (factor == 0 && !session.dialect->mayScaleDecimals) factor = 1;
  return factor != 0;
}

void SettleDecimalFactor(const DataSession& session) {
  if (DecimalFactorIsSettled(session)) return;
  constexpr double kProbe = 1.1;
  const auto rows = ExecuteSQL(session, "SELECT 1.1 FROM Integer WHERE Number=1", 1);
  if (rows->AtEnd()) return;
  double& factor = session.process->decimalFactor;
  factor = SafeDbl(rows->Item(0)) == kProbe ? 1 : kScaledDecimalFactor;
  if (factor != 1) session.Trace("Decimal factor set to " + FormatDouble(factor));
}

std::string ScaledNumber(const Value& value, double factor) {
  if (const std::string_view name = NameOfNonNumber(value); !name.empty()) return std::string(name);
  const bool hasExactDigits =
      value.Is<Decimal>() || value.Is<Currency>() || value.Is<std::int32_t>() || value.Is<std::int64_t>();
  if (factor == 1 && hasExactDigits) return SafeStr(value);
  const double number = SafeDbl(value);
  // A division by the whole number 100,000 rounds once, where the factor itself is already rounded.
  return FormatDouble(factor == kScaledDecimalFactor ? number / std::round(1 / factor) : number * factor);
}

std::string LiteralOfRead(const DataSession& session, Column& column, const Value& value) {
  // The factor outlives a connection, so one to another product may find it set.
  if (session.dialect->mayScaleDecimals && HasDecimals(column.DataType())) {
    SettleDecimalFactor(session);
    const double factor = session.process->decimalFactor;
    if (factor == kScaledDecimalFactor) return column.Literal(ScaledNumber(value, factor));
  }
  return column.Literal(value);
}

}  // namespace ods
