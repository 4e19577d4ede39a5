// Conversions that never fail, and the one fixed text form of every value.
//
// A value that cannot be converted (empty, null, an object, a text that is no number, a number out of range) becomes
// the neutral value of the target type: "", 0, false or the zero date.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "common/Value.h"

namespace ods {

/// Text forms: date `yyyy-mm-dd hh:nn:ss` (the date alone when it is `dateOnly` at midnight), double as `FormatDouble`,
/// decimal and currency with their exact digits, Boolean `True` / `False`. Bytes have no text form: "".
[[nodiscard]] std::string SafeStr(const Value& value);
/// True for the texts True (any case) and of numbers other than 0, and for numbers and dates other than 0.
[[nodiscard]] bool SafeBool(const Value& value);
/// Rounds to the nearest integer, halves to even; true is -1; a date is its serial number.
[[nodiscard]] std::int32_t SafeLng(const Value& value);
[[nodiscard]] double SafeDbl(const Value& value);
/// Text: ISO 8601 forms (with "T" or a blank, seconds and their fraction optional, a trailing "Z" ignored),
/// `yyyy/mm/dd`, day and English month name (`5 March 2009`, `March 5, 2009`, `5-Mar-2009`), a time alone, a serial
/// number of days. Numbers are serial numbers.
[[nodiscard]] Date SafeDate(const Value& value);
/// Replaces a value that is not a string by its `SafeStr` form, in place, and returns the string.
const std::string& StrOf(Value& value);
/// The integer 0 for a number below 0, any other value unchanged.
[[nodiscard]] Value ZeroIfNegative(const Value& value);

/// The fewest digits that read back as the same number, laid out like `%.15G`: exponent form below 1E-04 and from 1E+15
/// with at least two exponent digits ("0.5", "2.5", "1E-05", "1E+20"). Independent of the locale.
[[nodiscard]] std::string FormatDouble(double number);
/// `yyyy-mm-dd hh:nn:ss`, or `yyyy-mm-dd` for a `dateOnly` value at midnight.
[[nodiscard]] std::string FormatDate(const Date& date);
/// Always `yyyy-mm-dd hh:nn:ss`, its day alone, and its time alone.
[[nodiscard]] std::string FormatMoment(const Date& date);
[[nodiscard]] std::string FormatDay(const Date& date);
[[nodiscard]] std::string FormatTime(const Date& date);
/// The same without memory of its own: the text of a moment, and its day and its time.
using MomentText = std::array<char, 19>;
[[nodiscard]] MomentText TextOfMoment(const DateParts& parts);
[[nodiscard]] inline std::string_view MomentOf(const MomentText& moment) { return {moment.data(), moment.size()}; }
[[nodiscard]] inline std::string_view DayOf(const MomentText& moment) { return MomentOf(moment).substr(0, 10); }
[[nodiscard]] inline std::string_view TimeOf(const MomentText& moment) { return MomentOf(moment).substr(11); }
[[nodiscard]] std::string FormatCurrency(Currency amount);
/// `number` in decimal, padded on the left with zeros to `width` digits (the last `width` digits when it has more).
[[nodiscard]] std::string PadNumber(std::int64_t number, int width);

/// The number that a whole text denotes: blanks around, sign, "." and exponent; nothing for any other text.
[[nodiscard]] std::optional<double> ParseNumber(std::string_view text);
/// The date that a whole text denotes (see `SafeDate`, without the serial number); nothing for any other text.
[[nodiscard]] std::optional<Date> ParseDate(std::string_view text);

}  // namespace ods
