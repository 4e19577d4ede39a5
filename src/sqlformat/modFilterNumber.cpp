#include "sqlformat/modFilterNumber.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

#include "common/Conversions.h"
#include "common/Text.h"

namespace ods {
namespace {

/// Enough for every number that any product holds; the exponents of clients may be anything.
constexpr std::int64_t kMostExponent = 1'000'000'000;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool TakeOneOf(std::string_view& text, std::string_view characters) {
  if (text.empty() || characters.find(text.front()) == std::string_view::npos) return false;
  text.remove_prefix(1);
  return true;
}

std::string_view TakeDigits(std::string_view& text) {
  const auto length = static_cast<std::size_t>(std::ranges::find_if_not(text, IsDigit) - text.begin());
  const std::string_view digits = text.substr(0, length);
  text.remove_prefix(length);
  return digits;
}

/// The exponent that a text ends with; nothing when something else stands there.
std::optional<std::int64_t> TakeExponent(std::string_view text) {
  if (text.empty()) return 0;
  if (!TakeOneOf(text, "eE")) return std::nullopt;
  const bool negative = text.starts_with('-');
  TakeOneOf(text, "+-");
  const std::string_view digits = TakeDigits(text);
  if (digits.empty() || !text.empty()) return std::nullopt;
  std::int64_t exponent = 0;
  for (const char digit : digits) exponent = std::min(exponent * 10 + (digit - '0'), kMostExponent);
  return negative ? -exponent : exponent;
}

/// Drops the zeros at both ends.
void Normalise(DecimalNumber& number) {
  number.digits.erase(number.digits.find_last_not_of('0') + 1);
  const std::size_t zeros = std::min(number.digits.find_first_not_of('0'), number.digits.size());
  number.digits.erase(0, zeros);
  number.point -= static_cast<std::int64_t>(zeros);
  if (number.digits.empty()) number = {};
}

std::int64_t Length(const DecimalNumber& number) { return static_cast<std::int64_t>(number.digits.size()); }

int Sign(const DecimalNumber& number) { return number.negative ? -1 : 1; }

template <typename Float>
int CutToFloat(DecimalNumber& number) {
  // Far more digits than rounding to the nearest ever asks for.
  constexpr std::size_t kMostDigits = 1000;
  if (number.digits.size() > kMostDigits) number.digits.resize(kMostDigits);
  Normalise(number);
  const std::string text = LayOut(number, 0);
  Float nearest = 0;
  if (std::from_chars(text.data(), text.data() + text.size(), nearest).ec != std::errc::result_out_of_range) return 0;
  const int sign = Sign(number);
  const bool isLarge = number.point > 0;
  number = isLarge ? *ScanDecimal(FormatDouble(std::numeric_limits<Float>::max())) : DecimalNumber{};
  number.negative = isLarge && sign < 0;
  return sign;
}

}  // namespace

std::optional<DecimalNumber> ScanDecimal(std::string_view text) {
  text = Trim(text);
  DecimalNumber number;
  number.negative = text.starts_with('-');
  TakeOneOf(text, "+-");
  number.digits = TakeDigits(text);
  number.point = Length(number);
  if (TakeOneOf(text, ".")) number.digits += TakeDigits(text);
  const std::optional<std::int64_t> exponent = TakeExponent(text);
  if (number.digits.empty() || !exponent) return std::nullopt;
  number.point += *exponent;
  Normalise(number);
  return number;
}

std::string LayOut(const DecimalNumber& number, std::int64_t mostPlain) {
  if (number.digits.empty()) return "0";
  std::string text(number.negative ? "-" : "");
  const std::int64_t plain = std::max(number.point, Length(number)) - std::min<std::int64_t>(number.point, 0);
  if (plain > mostPlain) {
    text += number.digits.front();
    if (number.digits.size() > 1) text.append(".").append(number.digits, 1);
    const std::int64_t exponent = number.point - 1;
    return text.append(exponent < 0 ? "E-" : "E+").append(std::to_string(exponent < 0 ? -exponent : exponent));
  }
  if (number.point <= 0) {
    return text.append("0.").append(static_cast<std::size_t>(-number.point), '0').append(number.digits);
  }
  if (Length(number) <= number.point) {
    return text.append(number.digits).append(static_cast<std::size_t>(number.point - Length(number)), '0');
  }
  const auto whole = static_cast<std::size_t>(number.point);
  return text.append(number.digits, 0, whole).append(".").append(number.digits, whole);
}

int CutToLimits(DecimalNumber& number, const NumberLimits& limits) {
  const int sign = Sign(number);
  if (number.point > limits.before) {
    number.digits.assign(static_cast<std::size_t>(std::min(limits.before, limits.digits)), '9');
    number.point = limits.before;
    return sign;
  }
  const std::int64_t most = std::max<std::int64_t>(std::min(limits.digits, number.point + limits.behind), 0);
  if (Length(number) <= most) return 0;
  number.digits.resize(static_cast<std::size_t>(most));
  Normalise(number);
  return sign;
}

int CutToDouble(DecimalNumber& number) { return CutToFloat<double>(number); }

int CutToSingle(DecimalNumber& number) { return CutToFloat<float>(number); }

}  // namespace ods
