// The decimal factor. Some Navision drivers hand out decimals as whole numbers, multiplied by 100,000; in a statement a
// decimal is the number itself for them too.
#pragma once

#include <cstdint>
#include <string>

#include "database/DataSession.h"
#include "sqlformat/modSafeVal.h"

namespace ods {

/// The factor of Navision drivers that hand out decimals as whole numbers.
inline constexpr double kScaledDecimalFactor = 0.00001;

/// True for the types of numbers that can have decimals: those are multiplied by the factor.
/// @param type ADO data type number
[[nodiscard]] bool HasDecimals(std::int32_t type);

/// True when the decimal factor of the process is known, after settling it where that takes no statement.
[[nodiscard]] bool DecimalFactorIsSettled(const DataSession& session);
/// Sets the decimal factor of the process if it is not set yet: 1, unless a Navision driver gives another number than
/// 1.1 for 1.1. It stays unset when that statement returns no row. Raises the errors of the statement.
void SettleDecimalFactor(const DataSession& session);

/// The text of `value` multiplied by `factor`: the exact digits for a factor of 1.
[[nodiscard]] std::string ScaledNumber(const Value& value, double factor);

/// The literal for a value that the driver has given for a column of the session: the number that is kept in the
/// database. Settles the decimal factor where it matters. Raises like `Column::Literal`.
[[nodiscard]] std::string LiteralOfRead(const DataSession& session, Column& column, const Value& value);

}  // namespace ods
