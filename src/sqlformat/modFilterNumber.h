// Numbers of filters: a client's text as digits that a statement can carry, whatever its size.
//
// No product takes every number in a statement, though every number can be compared with those that a column holds. One
// that cannot stand there is cut towards 0 to one that can, and it is told on which side of that it lies.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ods {

/// 0.DIGITS times ten to the power of `point`. The digits neither begin nor end with 0; zero has none.
struct DecimalNumber {
  bool negative = false;
  std::string digits;
  std::int64_t point = 0;  ///< this many digits stand before the decimal point; below 0 as many zeros behind it
};

/// The number that a whole text denotes: blanks around, sign, "." and exponent; nothing for any other text.
[[nodiscard]] std::optional<DecimalNumber> ScanDecimal(std::string_view text);

/// "-12.5"; in the form "-1.25E+20" when it would have more than `mostPlain` digits and zeros.
[[nodiscard]] std::string LayOut(const DecimalNumber& number, std::int64_t mostPlain);

/// How large and how fine a number may be in a statement.
struct NumberLimits {
  std::int64_t before = 0;  ///< digits before the decimal point
  std::int64_t behind = 0;  ///< digits and zeros behind it
  std::int64_t digits = 0;  ///< altogether, from the first that is not 0 to the last
};

/// Cuts a number towards 0 so that it is within limits. 1 and -1: it was above or below what it is now; 0: it stays.
int CutToLimits(DecimalNumber& number, const NumberLimits& limits);

/// Makes a number one that floating-point numbers of a width can come to: beyond the largest it becomes that, closer to
/// 0 than the smallest it becomes 0. Returns as `CutToLimits`; digits that a rounding drops do not count.
int CutToDouble(DecimalNumber& number);
int CutToSingle(DecimalNumber& number);

}  // namespace ods
