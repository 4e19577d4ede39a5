#include "sqlformat/modFilterValue.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

#include "common/Hex.h"
#include "common/Text.h"
#include "sqlformat/modFilterNumber.h"

namespace ods {
namespace {

using Kind = ExactValue::Kind;
using Result = std::optional<FilterValue>;

/// What a value is parsed for.
struct Place {
  const ExactColumn& column;
  LiteralStyle literal;
  MomentRules rules;

  /// A column that may hold anything, whatever its type.
  [[nodiscard]] bool HoldsAnything() const { return literal == LiteralStyle::kByKind; }
};

FilterValue TextValue(std::string_view text) { return {{Kind::kText, std::string(text)}}; }

// ---- numbers ----

/// NaN and the infinities, as far as the product has them.
Result ParseNoNumber(const Place& place, std::string_view text) {
  struct Name {
    std::string_view lower;
    std::string_view name;
  };
  constexpr std::array kNames = {Name{"nan", "NaN"},
                                 Name{"infinity", "Infinity"},
                                 Name{"inf", "Infinity"},
                                 Name{"+infinity", "Infinity"},
                                 Name{"-infinity", "-Infinity"},
                                 Name{"-inf", "-Infinity"}};
  const auto* const found = std::ranges::find(kNames, ToLower(Trim(text)), &Name::lower);
  if (found == kNames.end()) return std::nullopt;
  const bool isThere = place.literal == LiteralStyle::kQuoted || (place.HoldsAnything() && found->name != "NaN");
  if (!isThere) return std::nullopt;
  return FilterValue{{Kind::kNumber, std::string(found->name)}};
}

/// How many digits a number may have in a statement. A product that brings texts into the column's type (PostgreSQL)
/// has numbers of any length; the others have as many digits as the widest type of all, or as the column itself.
NumberLimits LimitsOf(const Place& place) {
  constexpr NumberLimits kAnyLength = {.before = 131'072, .behind = 16'383, .digits = 1'900};
  constexpr std::int64_t kUsualMost = 38;
  constexpr std::int64_t kMost = 100;
  if (place.literal == LiteralStyle::kQuoted) return kAnyLength;
  const std::int64_t most = std::clamp<std::int64_t>(place.column.size, kUsualMost, kMost);
  return {.before = most, .behind = kUsualMost, .digits = most};
}

FilterValue ExactNumber(const Place& place, DecimalNumber number) {
  constexpr std::int64_t kMostPlain = 150;
  NumberLimits limits = LimitsOf(place);
  if (place.literal != LiteralStyle::kQuoted) {
    limits.behind = std::clamp<std::int64_t>(limits.digits - number.point, 0, limits.behind);
  }
  const int beyond = CutToLimits(number, limits);
  // Beside a number a text in apostrophes takes its type, and one that is too large for that is an error of the
  // database; digits are compared with numbers of any width.
  return {.value = {Kind::kNumber, LayOut(number, kMostPlain)}, .beyond = beyond, .asDigits = true};
}

FilterValue FloatNumber(const Place& place, DecimalNumber number) {
  constexpr std::int64_t kMostPlain = 19;
  const bool isSingle =
      place.literal == LiteralStyle::kSingle || (place.column.adoType == ado_type::kSingle && !place.HoldsAnything());
  const int beyond = isSingle ? CutToSingle(number) : CutToDouble(number);
  return {.value = {Kind::kNumber, LayOut(number, kMostPlain)}, .beyond = beyond};
}

Result ParseInteger(const Place& place, std::string_view text) {
  const std::optional<DecimalNumber> number = ScanDecimal(text);
  if (!number) return place.HoldsAnything() ? ParseNoNumber(place, text) : std::nullopt;
  if (place.HoldsAnything()) return FloatNumber(place, *number);
  const bool isWhole = text.find_first_of(".eE") == std::string_view::npos;
  return isWhole ? Result(ExactNumber(place, *number)) : std::nullopt;
}

Result ParseDecimal(const Place& place, std::string_view text) {
  const std::optional<DecimalNumber> number = ScanDecimal(text);
  if (!number) return ParseNoNumber(place, text);
  return place.HoldsAnything() ? FloatNumber(place, *number) : ExactNumber(place, *number);
}

Result ParseFloat(const Place& place, std::string_view text) {
  const std::optional<DecimalNumber> number = ScanDecimal(text);
  return number ? Result(FloatNumber(place, *number)) : ParseNoNumber(place, text);
}

Result ParseBoolean(const Place& /*place*/, std::string_view text) {
  struct Name {
    std::string_view name;
    std::string_view digit;
  };
  constexpr std::array kNames = {Name{"1", "1"}, Name{"0", "0"}, Name{"true", "1"}, Name{"false", "0"}};
  const auto* const found = std::ranges::find(kNames, ToLower(Trim(text)), &Name::name);
  if (found == kNames.end()) return std::nullopt;
  return FilterValue{{Kind::kNumber, std::string(found->digit)}};
}

// ---- dates and times ----

using MomentParser = std::optional<FilterMoment> (*)(std::string_view text, const MomentRules& rules);

Result MomentValue(const Place& place, std::string_view text, MomentParser parse) {
  const std::optional<FilterMoment> moment = parse(text, place.rules);
  if (!moment) return std::nullopt;
  FilterValue value = TextValue(moment->text);
  value.beyond = moment->beyond;
  // Where a date is but a text, one written differently is another: the client may have it from there.
  if (place.HoldsAnything() && Trim(text) != moment->text) value.otherForm = TextValue(Trim(text)).value;
  return value;
}

/// A column that holds anything may hold a number for a moment: of days, or of seconds.
Result NumberForMoment(const Place& place, std::string_view text) {
  return place.HoldsAnything() ? ParseInteger(place, text) : std::nullopt;
}

Result ParseDateValue(const Place& place, std::string_view text) {
  if (Result date = MomentValue(place, text, &ParseFilterDate)) return date;
  if (!place.HoldsAnything()) return std::nullopt;
  if (Result timeStamp = MomentValue(place, text, &ParseFilterTimeStamp)) return timeStamp;
  return NumberForMoment(place, text);
}

Result ParseTimeValue(const Place& place, std::string_view text) {
  if (Result time = MomentValue(place, text, &ParseFilterTime)) return time;
  return NumberForMoment(place, text);
}

Result ParseTimeStampValue(const Place& place, std::string_view text) {
  if (Result timeStamp = MomentValue(place, text, &ParseFilterTimeStamp)) return timeStamp;
  return NumberForMoment(place, text);
}

// ---- the rest ----

Result ParseGuid(const Place& place, std::string_view text) {
  constexpr std::string_view kForm = "00000000-0000-0000-0000-000000000000";
  std::string_view guid = Trim(text);
  if (guid.size() == kForm.size() + 2 && guid.front() == '{' && guid.back() == '}') {
    guid = guid.substr(1, kForm.size());
  }
  const bool isGuid = std::ranges::equal(
      guid, kForm, [](char given, char wanted) { return wanted == '-' ? given == '-' : HexDigitValue(given) >= 0; });
  if (!isGuid) return std::nullopt;
  // Drivers' GUIDs stand in braces, as they are read.
  const bool ofDriver = place.column.adoType == ado_type::kGUID;
  FilterValue value = TextValue(ofDriver ? "{" + std::string(guid) + "}" : std::string(guid));
  if (place.HoldsAnything() && text != guid) value.otherForm = TextValue(text).value;
  return value;
}

Result ParseBytes(const Place& /*place*/, std::string_view text) {
  const std::string_view digits = Trim(text);
  const bool isHex = std::ranges::all_of(digits, [](char digit) { return HexDigitValue(digit) >= 0; });
  if (!isHex || digits.size() % 2 != 0) return std::nullopt;
  const Bytes bytes = HexToBytes(digits);
  return FilterValue{{Kind::kBytes, std::string(bytes.begin(), bytes.end())}};
}

Result ParseText(const Place& /*place*/, std::string_view text) { return TextValue(text); }

/// The product judges; where the column holds anything, a number is tried as one and as a text.
Result ParseOther(const Place& place, std::string_view text) {
  if (place.HoldsAnything()) {
    if (Result number = ParseInteger(place, text)) {
      number->otherForm = TextValue(text).value;
      return number;
    }
  }
  return TextValue(text);
}

struct ClassRow {
  ValueClass valueClass;
  std::string_view name;
  Result (*parse)(const Place& place, std::string_view text);
};

constexpr std::array kClasses = {
    ClassRow{ValueClass::kInteger, "integer", &ParseInteger},
    ClassRow{ValueClass::kDecimal, "decimal", &ParseDecimal},
    ClassRow{ValueClass::kFloat, "float", &ParseFloat},
    ClassRow{ValueClass::kBoolean, "boolean", &ParseBoolean},
    ClassRow{ValueClass::kDate, "date", &ParseDateValue},
    ClassRow{ValueClass::kTime, "time", &ParseTimeValue},
    ClassRow{ValueClass::kTimeStamp, "timestamp", &ParseTimeStampValue},
    ClassRow{ValueClass::kGuid, "guid", &ParseGuid},
    ClassRow{ValueClass::kBytes, "binary", &ParseBytes},
    ClassRow{ValueClass::kText, "text", &ParseText},
    ClassRow{ValueClass::kOther, "other", &ParseOther},
};

constexpr bool StandInOrder() {
  for (std::size_t i = 0; i < kClasses.size(); ++i) {
    if (static_cast<std::size_t>(kClasses[i].valueClass) != i) return false;
  }
  return true;
}
static_assert(StandInOrder());

const ClassRow& RowOf(ValueClass valueClass) { return kClasses[static_cast<std::size_t>(valueClass)]; }

/// A type whose times have a zone.
bool IsZoned(const ExactColumn& column) {
  const std::string name = ToLower(column.typeName);
  return name.ends_with("tz") || name.ends_with("offset") || name.find("with time zone") != std::string::npos;
}

}  // namespace

Operand ComparedOf(const ExactColumn& column) {
  if (column.compared) return *column.compared;
  if (column.order) return {column.order->expression, column.order->literal};
  return {column.text, LiteralStyle::kQuoted};
}

std::optional<FilterValue> ParseFilterValue(const ExactColumn& column, const MomentRules& rules,
                                            std::string_view text) {
  Place place{column, ComparedOf(column).literal, rules};
  place.rules.zeroYear = place.rules.keepsZeros = place.HoldsAnything();
  place.rules.zoned = place.literal == LiteralStyle::kQuoted && IsZoned(column);
  return RowOf(column.valueClass).parse(place, text);
}

std::string_view ValueClassName(ValueClass valueClass) { return RowOf(valueClass).name; }

}  // namespace ods
