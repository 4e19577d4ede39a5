#include "tabledata/modDecimalFactor.h"

#include <cmath>

#include "common/Conversions.h"
#include "database/modODBC.h"
#include "sqlformat/modSafeVal.h"

namespace ods {

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

void SettleDecimalFactor(const DataSession& session) {
  double& factor = session.process->decimalFactor;
  if (factor != 0) return;
  if (!session.dialect->mayScaleDecimals) {
    factor = 1;
    return;
  }
  constexpr double kProbe = 1.1;
  const auto rows = ExecuteSQL(session, "SELECT 1.1 FROM Integer WHERE Number=1", 1);
  if (rows->AtEnd()) return;
  factor = SafeDbl(rows->Item(0)) == kProbe ? 1 : kScaledDecimalFactor;
  if (factor != 1) session.Trace("Decimal factor set to " + FormatDouble(factor));
}

std::string ScaledNumber(const Value& value, double factor) {
  const bool hasExactDigits =
      value.Is<Decimal>() || value.Is<Currency>() || value.Is<std::int32_t>() || value.Is<std::int64_t>();
  if (factor == 1 && hasExactDigits) return SafeStr(value);
  const double number = SafeDbl(value);
  // A division by the whole number 100,000 rounds once, where the factor itself is already rounded.
  return FormatDouble(factor == kScaledDecimalFactor ? number / std::round(1 / factor) : number * factor);
}

std::string LiteralOfRead(DataSession& session, const std::string& table, const std::string& field,
                          const Value& value) {
  // The factor outlives a connection, so one to another product may find it set.
  if (session.dialect->mayScaleDecimals && HasDecimals(RequireField(session, table, field).Type)) {
    SettleDecimalFactor(session);
    const double factor = session.process->decimalFactor;
    if (factor == kScaledDecimalFactor) return SafeVal(session, table, field, ScaledNumber(value, factor));
  }
  return SafeVal(session, table, field, value);
}

}  // namespace ods
