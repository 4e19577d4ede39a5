#include "exact/ExactValue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <system_error>
#include <utility>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "exact/SqliteReals.h"
#include "platform/ado/Ado.h"

namespace ods {

namespace {

using Kind = ExactValue::Kind;

constexpr std::string_view kNotANumber = "NaN";
constexpr std::string_view kInfinity = "Infinity";
constexpr std::string_view kMinusInfinity = "-Infinity";

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::size_t SkipDigits(std::string_view text, std::size_t at) {
  while (at < text.size() && IsDigit(text[at])) ++at;
  return at;
}

bool HasExponent(std::string_view number) { return number.find_first_of("Ee") != std::string_view::npos; }

/// The number that a text of digits is nearest to; nothing beyond the range.
template <typename Number>
std::optional<Number> ParseExactly(std::string_view text) {
  Number number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// The fewest digits that read back as the same number, in the exponent form: "1.5E+00".
template <typename Number>
std::string ScientificText(Number number) {
  std::array<char, 48> buffer{};
  const auto* const end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, std::chars_format::scientific).ptr;
  return ToUpper({buffer.data(), static_cast<std::size_t>(end - buffer.data())});
}

std::string_view NameOfNoNumber(double number) {
  if (std::isnan(number)) return kNotANumber;
  return number < 0 ? kMinusInfinity : kInfinity;
}

/// As everywhere, but a zero keeps its sign.
std::string DoubleText(double number) {
  if (!std::isfinite(number)) return std::string(NameOfNoNumber(number));
  return number == 0 && std::signbit(number) ? "-0" : FormatDouble(number);
}

std::string SingleText(double number) {
  // A driver may give what is no single from a column that it only calls so.
  const auto single = static_cast<float>(
      std::clamp<double>(number, std::numeric_limits<float>::lowest(), std::numeric_limits<float>::max()));
  if (!std::isfinite(number) || static_cast<double>(single) != number) return DoubleText(number);
  // A double tells any two decimals apart that have no more digits than a single needs.
  return DoubleText(ParseExactly<double>(ScientificText(single)).value_or(number));
}

bool IsNameOfNoNumber(std::string_view text) {
  return text == kNotANumber || text == kInfinity || text == kMinusInfinity;
}

[[noreturn]] void RaiseNotQuoted(std::string_view quoted) {
  throw Error(error_number::kTypeMismatch,
              "Type mismatch: '" + std::string(quoted.substr(0, 100)) + "' is not how a value is read.");
}

std::string BytesOf(std::string_view quoted, std::string_view digits) {
  std::optional<std::string> bytes = TextOfHex(digits);
  if (!bytes) RaiseNotQuoted(quoted);
  return *std::move(bytes);
}

/// The text behind a marker of two "Z", by which the encoding is told: UTF-8, or UTF-16 in either order of bytes.
std::string EncodedText(std::string_view quoted, std::string_view digits) {
  constexpr std::string_view kUtf8("5A5A");
  if (digits.starts_with(kUtf8)) return BytesOf(quoted, digits.substr(kUtf8.size()));
  const std::string bytes = BytesOf(quoted, digits);
  constexpr std::string_view kLittleEndian("Z\0Z\0", 4);
  constexpr std::string_view kBigEndian("\0Z\0Z", 4);
  const bool little = bytes.starts_with(kLittleEndian);
  if ((!little && !bytes.starts_with(kBigEndian)) || bytes.size() % 2 != 0) RaiseNotQuoted(quoted);
  const auto unit = [&](std::size_t at) {
    const auto low = static_cast<std::uint8_t>(bytes[little ? at : at + 1]);
    const auto high = static_cast<std::uint8_t>(bytes[little ? at + 1 : at]);
    return static_cast<char32_t>(high << 8U | low);
  };
  constexpr char32_t kReplacement = 0xFFFD;
  constexpr char32_t kHigh = 0xD800;
  constexpr char32_t kLow = 0xDC00;
  constexpr char32_t kPast = 0xE000;
  constexpr char32_t kSupplementary = 0x10000;
  std::string text;
  for (std::size_t at = kLittleEndian.size(); at < bytes.size(); at += 2) {
    char32_t code = unit(at);
    if (code >= kHigh && code < kPast) {
      const char32_t next = at + 2 < bytes.size() ? unit(at + 2) : U'\0';
      const bool pair = code < kLow && next >= kLow && next < kPast;
      code = pair ? kSupplementary + ((code - kHigh) << 10U) + (next - kLow) : kReplacement;
      if (pair) at += 2;
    }
    AppendCharacter(text, code);
  }
  return text;
}

/// A real as SQLite writes it. Its exact form has an exponent, which tells it from an integer.
ExactValue RealOf(std::string_view quoted, std::string_view number, int exponentOfTwo) {
  const std::optional<double> real = IsNumberText(number) ? ParseExactly<double>(number) : std::nullopt;
  if (!real) RaiseNotQuoted(quoted);
  return {Kind::kNumber, ScientificText(std::ldexp(*real, exponentOfTwo))};
}

}  // namespace

bool IsNumberText(std::string_view text) {
  constexpr std::size_t kLongest = 2000;
  if (text.size() > kLongest) return false;
  std::size_t at = text.starts_with('-') ? 1 : 0;
  const std::size_t whole = SkipDigits(text, at);
  if (whole == at) return false;
  at = whole;
  if (at < text.size() && text[at] == '.') {
    const std::size_t fraction = SkipDigits(text, at + 1);
    if (fraction == at + 1) return false;
    at = fraction;
  }
  if (at < text.size() && (text[at] == 'E' || text[at] == 'e')) {
    ++at;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) ++at;
    const std::size_t exponent = SkipDigits(text, at);
    if (exponent == at) return false;
    at = exponent;
  }
  return at == text.size();
}

bool IsNumberType(std::int32_t adoType) {
  constexpr auto kTypes = std::to_array<std::int32_t>(
      {ado_type::kSmallInt, ado_type::kInteger, ado_type::kSingle, ado_type::kDouble, ado_type::kCurrency,
       ado_type::kDecimal, ado_type::kTinyInt, ado_type::kUnsignedTinyInt, ado_type::kUnsignedSmallInt,
       ado_type::kUnsignedInt, ado_type::kBigInt, ado_type::kUnsignedBigInt, ado_type::kNumeric,
       ado_type::kVarNumeric});
  return std::ranges::find(kTypes, adoType) != kTypes.end();
}

ExactValue ExactValueOf(const Value& value, std::int32_t adoType) {
  if (value.IsNull() || value.IsEmpty()) return {};
  if (const auto* number = value.GetIf<double>()) {
    return {Kind::kNumber, adoType == ado_type::kSingle ? SingleText(*number) : DoubleText(*number)};
  }
  if (const auto* flag = value.GetIf<bool>()) return {Kind::kNumber, *flag ? "1" : "0"};
  if (const auto* bytes = value.GetIf<Bytes>()) return {Kind::kBytes, std::string(bytes->begin(), bytes->end())};
  const bool isNumber =
      value.Is<std::int32_t>() || value.Is<std::int64_t>() || value.Is<Decimal>() || value.Is<Currency>();
  std::string text = SafeStr(value);
  if (isNumber || (IsNumberType(adoType) && (IsNumberText(text) || IsNameOfNoNumber(text)))) {
    return {Kind::kNumber, std::move(text)};
  }
  return {Kind::kText, std::move(text)};
}

ExactValue ExactValueOfQuoted(std::string_view quoted) {
  if (quoted == "NULL") return {};
  if (quoted == "Inf") return {Kind::kNumber, std::string(kInfinity)};
  if (quoted == "-Inf") return {Kind::kNumber, std::string(kMinusInfinity)};
  if (quoted.starts_with('Z')) return {Kind::kText, EncodedText(quoted, quoted.substr(1))};
  if (quoted.starts_with('S')) return RealOf(quoted, quoted.substr(1), -kSqliteScaleExponent);
  const bool closed = quoted.ends_with('\'');
  if (closed && quoted.size() >= 2 && quoted.starts_with('\'')) {
    const std::string text = ReplaceAll(quoted.substr(1, quoted.size() - 2), "''", "'");
    return {Kind::kText, text};
  }
  if (closed && quoted.size() >= 3 && quoted.starts_with("X'")) {
    return {Kind::kBytes, BytesOf(quoted, quoted.substr(2, quoted.size() - 3))};
  }
  if (!IsNumberText(quoted)) RaiseNotQuoted(quoted);
  if (quoted.find_first_of(".eE") != std::string_view::npos) return RealOf(quoted, quoted, 0);
  return {Kind::kNumber, std::string(quoted)};
}

std::string DisplayText(const ExactValue& value) {
  if (value.kind == Kind::kBytes) return BytesToHex(Bytes(value.text.begin(), value.text.end()));
  if (value.kind == Kind::kNumber && HasExponent(value.text)) {
    if (const std::optional<double> number = ParseExactly<double>(value.text)) return DoubleText(*number);
  }
  return value.text;
}

}  // namespace ods
