#include "common/Conversions.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "common/Overloaded.h"
#include "common/Text.h"

namespace ods {

namespace {

constexpr std::int64_t kTenThousand = 10000;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::size_t DigitPrefix(std::string_view text) {
  return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsDigit) - text.begin());
}

std::string_view TakePrefix(std::string_view& text, std::size_t length) {
  const std::string_view prefix = text.substr(0, length);
  text.remove_prefix(length);
  return prefix;
}

bool TakeChar(std::string_view& text, char expected) {
  if (!text.starts_with(expected)) return false;
  text.remove_prefix(1);
  return true;
}

// ---- numbers ----

// A text that denotes a number, taken apart.
struct NumberText {
  bool negative = false;
  std::string_view unsignedText;  // all but the sign, as std::from_chars reads it
  std::string_view whole;
  std::string_view fraction;
  bool hasExponent = false;
};

std::optional<NumberText> ScanNumber(std::string_view text) {
  text = Trim(text);
  NumberText number;
  number.negative = TakeChar(text, '-');
  if (!number.negative) TakeChar(text, '+');
  number.unsignedText = text;
  number.whole = TakePrefix(text, DigitPrefix(text));
  if (TakeChar(text, '.')) number.fraction = TakePrefix(text, DigitPrefix(text));
  if (number.whole.empty() && number.fraction.empty()) return std::nullopt;
  if (TakeChar(text, 'e') || TakeChar(text, 'E')) {
    if (!TakeChar(text, '-')) TakeChar(text, '+');
    if (TakePrefix(text, DigitPrefix(text)).empty()) return std::nullopt;
    number.hasExponent = true;
  }
  if (!text.empty()) return std::nullopt;
  return number;
}

std::optional<double> ToDouble(const NumberText& number) {
  double magnitude = 0;
  const char* end = number.unsignedText.data() + number.unsignedText.size();
  if (std::from_chars(number.unsignedText.data(), end, magnitude).ec != std::errc()) return std::nullopt;
  return number.negative ? -magnitude : magnitude;
}

std::optional<std::int32_t> ToLong(std::int64_t number) {
  if (number < std::numeric_limits<std::int32_t>::min() || number > std::numeric_limits<std::int32_t>::max()) {
    return std::nullopt;
  }
  return static_cast<std::int32_t>(number);
}

std::optional<std::int32_t> ToLong(double number) {
  const double rounded = std::nearbyint(number);  // halves to even
  // Written so that a number that is none (NaN) is refused too.
  if (!(rounded >= std::numeric_limits<std::int32_t>::min() && rounded <= std::numeric_limits<std::int32_t>::max())) {
    return std::nullopt;
  }
  return static_cast<std::int32_t>(rounded);
}

// `number` / `unit`, rounded to the nearest integer with halves to even.
std::int64_t DivideRounded(std::int64_t number, std::int64_t unit) {
  std::int64_t quotient = number / unit;
  std::int64_t rest = number % unit;
  if (rest < 0) {
    --quotient;
    rest += unit;
  }
  return rest * 2 > unit || (rest * 2 == unit && quotient % 2 != 0) ? quotient + 1 : quotient;
}

// Rounds the digits themselves: a decimal has more of them than a double can tell apart.
std::optional<std::int32_t> ToLong(const NumberText& number) {
  if (number.hasExponent) {
    const std::optional<double> approximate = ToDouble(number);
    return approximate ? ToLong(*approximate) : std::nullopt;
  }
  std::int64_t magnitude = 0;
  for (const char digit : number.whole) {
    magnitude = magnitude * 10 + (digit - '0');
    if (magnitude > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  }
  if (!number.fraction.empty() && number.fraction.front() >= '5') {
    const bool isHalf =
        number.fraction.front() == '5' && number.fraction.find_first_not_of('0', 1) == std::string_view::npos;
    if (!isHalf || magnitude % 2 != 0) ++magnitude;
  }
  return ToLong(number.negative ? -magnitude : magnitude);
}

template <typename Result>
std::optional<Result> FromNumberText(std::string_view text, std::optional<Result> (*convert)(const NumberText&)) {
  const std::optional<NumberText> number = ScanNumber(text);
  return number ? convert(*number) : std::nullopt;
}

std::optional<double> NumberOf(const Value& value) {
  using Result = std::optional<double>;
  return std::visit(
      Overloaded{
          [](const auto&) -> Result { return std::nullopt; },
          [](std::int32_t number) -> Result { return number; },
          [](std::int64_t number) -> Result { return static_cast<double>(number); },
          [](double number) -> Result { return number; },
          [](const Currency& amount) -> Result { return static_cast<double>(amount.tenThousandths) / kTenThousand; },
          [](const Decimal& decimal) -> Result { return ParseNumber(decimal.digits); },
          [](const Date& date) -> Result { return date.Serial(); },
          [](const std::string& text) -> Result { return ParseNumber(text); },
          [](bool flag) -> Result { return flag ? -1 : 0; },
      },
      value.Get());
}

std::optional<std::int32_t> LongOf(const Value& value) {
  using Result = std::optional<std::int32_t>;
  return std::visit(
      Overloaded{
          [](const auto&) -> Result { return std::nullopt; },
          [](std::int32_t number) -> Result { return number; },
          [](std::int64_t number) -> Result { return ToLong(number); },
          [](double number) -> Result { return ToLong(number); },
          [](const Currency& amount) -> Result { return ToLong(DivideRounded(amount.tenThousandths, kTenThousand)); },
          [](const Decimal& decimal) -> Result { return FromNumberText<std::int32_t>(decimal.digits, ToLong); },
          [](const Date& date) -> Result { return ToLong(DivideRounded(date.seconds, Date::kSecondsPerDay)); },
          [](const std::string& text) -> Result { return FromNumberText<std::int32_t>(text, ToLong); },
          [](bool flag) -> Result { return flag ? -1 : 0; },
      },
      value.Get());
}

// ---- dates ----

constexpr std::array<std::string_view, 12> kMonths{"january",   "february", "march",    "april",
                                                   "may",       "june",     "july",     "august",
                                                   "september", "october",  "november", "december"};
constexpr std::size_t kShortMonth = 3;

// Reads a date text from the left; a failed step leaves the scanner where it was.
class DateScanner {
 public:
  explicit DateScanner(std::string_view text) : rest_(Trim(text)) {}

  [[nodiscard]] bool AtEnd() const { return rest_.empty(); }
  bool Char(char expected) { return TakeChar(rest_, expected); }
  bool Blanks() {
    const std::size_t count = std::min(rest_.find_first_not_of(' '), rest_.size());
    rest_.remove_prefix(count);
    return count > 0;
  }
  /// An unsigned number of `fewest` to `most` digits with no further digit after it.
  bool Number(std::size_t fewest, std::size_t most, int& number) {
    const std::size_t length = DigitPrefix(rest_);
    if (length < fewest || length > most) return false;
    number = 0;
    for (const char digit : TakePrefix(rest_, length)) number = number * 10 + (digit - '0');
    return true;
  }
  /// An English month name, whole or its first three letters, in any case.
  bool Month(int& month) {
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    const auto length =
        static_cast<std::size_t>(std::find_if_not(rest_.begin(), rest_.end(), isLetter) - rest_.begin());
    if (length < kShortMonth || length > kMonths[8].size()) return false;
    const std::string name = ToLower(rest_.substr(0, length));
    const auto* found = std::find_if(kMonths.begin(), kMonths.end(), [&](std::string_view whole) {
      return name == whole || name == whole.substr(0, kShortMonth);
    });
    if (found == kMonths.end()) return false;
    month = static_cast<int>(found - kMonths.begin()) + 1;
    rest_.remove_prefix(length);
    return true;
  }
  /// `hh:nn`, seconds and their fraction optional, a trailing "Z" ignored; the fraction is dropped.
  bool Time(DateParts& parts) {
    if (!(Number(1, 2, parts.hour) && Char(':') && Number(2, 2, parts.minute))) return false;
    parts.second = 0;
    if (Char(':')) {
      if (!Number(2, 2, parts.second)) return false;
      if (Char('.') && TakePrefix(rest_, DigitPrefix(rest_)).empty()) return false;
    }
    Char('Z');
    return true;
  }

 private:
  std::string_view rest_;
};

// 2009-03-05 and 2009/03/05
bool ScanYearFirst(DateScanner& scanner, DateParts& parts) {
  if (!scanner.Number(4, 4, parts.year)) return false;
  const char separator = scanner.Char('-') ? '-' : '/';
  return (separator == '-' || scanner.Char('/')) && scanner.Number(1, 2, parts.month) && scanner.Char(separator) &&
         scanner.Number(1, 2, parts.day);
}

// 5 March 2009 and 5-Mar-2009
bool ScanDayFirst(DateScanner& scanner, DateParts& parts) {
  if (!scanner.Number(1, 2, parts.day)) return false;
  const bool dashed = scanner.Char('-');
  if (!dashed && !scanner.Blanks()) return false;
  return scanner.Month(parts.month) && (dashed ? scanner.Char('-') : scanner.Blanks()) &&
         scanner.Number(4, 4, parts.year);
}

// March 5, 2009, the comma optional
bool ScanMonthFirst(DateScanner& scanner, DateParts& parts) {
  if (!(scanner.Month(parts.month) && scanner.Blanks() && scanner.Number(1, 2, parts.day))) return false;
  const bool comma = scanner.Char(',');
  return (scanner.Blanks() || comma) && scanner.Number(4, 4, parts.year);
}

// What may follow the day: nothing, or "T" or blanks and a time.
bool ScanTimeOfDay(DateScanner& scanner, DateParts& parts) {
  if (scanner.AtEnd()) return true;
  return (scanner.Char('T') || scanner.Blanks()) && scanner.Time(parts) && scanner.AtEnd();
}

constexpr std::array<std::array<char, 2>, 100> MakePairs() {
  std::array<std::array<char, 2>, 100> pairs{};
  for (std::size_t i = 0; i < pairs.size(); ++i) {
    pairs[i] = {static_cast<char>('0' + i / 10), static_cast<char>('0' + i % 10)};
  }
  return pairs;
}
/// Two digits of every number below 100.
constexpr std::array<std::array<char, 2>, 100> kPairs = MakePairs();

template <typename Integer>
std::string FormatInteger(Integer number) {
  std::array<char, 24> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

}  // namespace

std::string SafeStr(const Value& value) {
  return std::visit(Overloaded{
                        [](const auto&) { return std::string(); },
                        [](std::int32_t number) { return FormatInteger(number); },
                        [](std::int64_t number) { return FormatInteger(number); },
                        [](double number) { return FormatDouble(number); },
                        [](const Currency& amount) { return FormatCurrency(amount); },
                        [](const Decimal& decimal) { return decimal.digits; },
                        [](const Date& date) { return FormatDate(date); },
                        [](const std::string& text) { return text; },
                        [](bool flag) { return std::string(flag ? "True" : "False"); },
                    },
                    value.Get());
}

bool SafeBool(const Value& value) {
  if (const auto* flag = value.GetIf<bool>()) return *flag;
  if (const auto* text = value.GetIf<std::string>()) {
    if (ToLower(Trim(*text)) == "true") return true;
  }
  const double number = NumberOf(value).value_or(0);
  return number != 0 && !std::isnan(number);
}

std::int32_t SafeLng(const Value& value) { return LongOf(value).value_or(0); }

double SafeDbl(const Value& value) {
  const double number = NumberOf(value).value_or(0);
  return std::isfinite(number) ? number : 0;
}

Date SafeDate(const Value& value) {
  if (const auto* date = value.GetIf<Date>()) return *date;
  if (const auto* text = value.GetIf<std::string>()) {
    if (const std::optional<Date> date = ParseDate(*text)) return *date;
  }
  return Date::FromSerial(SafeDbl(value)).value_or(Date{});
}

const std::string& StrOf(Value& value) {
  if (!value.Is<std::string>()) value = SafeStr(value);
  return *value.GetIf<std::string>();
}

Value ZeroIfNegative(const Value& value) {
  const bool isText = value.Is<std::string>();
  const bool isNegative = !isText && NumberOf(value).value_or(0) < 0;
  return isNegative ? Value(std::int32_t{0}) : value;
}

std::string FormatDouble(double number) {
  constexpr int kFirstExponentForm = 15;
  constexpr int kLastNegativeFixed = -4;
  if (number == 0 || !std::isfinite(number)) return "0";

  std::array<char, 32> buffer{};
  const char* end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, std::chars_format::scientific).ptr;
  std::string_view text(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
  std::string result(TakeChar(text, '-') ? "-" : "");
  // What is left is d[.ddd]e(+|-)dd[d].
  const std::size_t mark = text.find('e');
  std::string digits(1, text.front());
  if (mark > 1) digits.append(text.substr(2, mark - 2));
  int exponent = 0;
  std::from_chars(text.data() + mark + 2, end, exponent);
  if (text[mark + 1] == '-') exponent = -exponent;

  if (exponent < kLastNegativeFixed || exponent >= kFirstExponentForm) {
    result += digits.front();
    if (digits.size() > 1) result.append(1, '.').append(digits, 1);
    return result.append("E").append(text.substr(mark + 1));
  }
  if (exponent < 0) {
    return result.append("0.").append(static_cast<std::size_t>(-exponent - 1), '0').append(digits);
  }
  const std::size_t whole = static_cast<std::size_t>(exponent) + 1;
  if (digits.size() <= whole) return result.append(digits).append(whole - digits.size(), '0');
  return result.append(digits, 0, whole).append(1, '.').append(digits, whole);
}

std::string FormatDate(const Date& date) {
  return date.dateOnly && date.SecondOfDay() == 0 ? FormatDay(date) : FormatMoment(date);
}

std::string FormatMoment(const Date& date) { return std::string(MomentOf(TextOfMoment(date.Parts()))); }

std::string FormatDay(const Date& date) { return std::string(DayOf(TextOfMoment(date.Parts()))); }

std::string FormatTime(const Date& date) { return std::string(TimeOf(TextOfMoment(date.Parts()))); }

MomentText TextOfMoment(const DateParts& parts) {
  MomentText text;
  const auto putPair = [&](std::size_t at, int number) {
    const auto pair = static_cast<std::size_t>(number) % kPairs.size();
    text[at] = kPairs[pair][0];
    text[at + 1] = kPairs[pair][1];
  };
  putPair(0, parts.year / 100);
  putPair(2, parts.year % 100);
  text[4] = '-';
  putPair(5, parts.month);
  text[7] = '-';
  putPair(8, parts.day);
  text[10] = ' ';
  putPair(11, parts.hour);
  text[13] = ':';
  putPair(14, parts.minute);
  text[16] = ':';
  putPair(17, parts.second);
  return text;
}

std::string FormatCurrency(Currency amount) {
  const bool negative = amount.tenThousandths < 0;
  // In unsigned arithmetic the smallest amount has a magnitude too.
  const auto bits = static_cast<std::uint64_t>(amount.tenThousandths);
  const std::uint64_t magnitude = negative ? 0 - bits : bits;
  std::string text = negative ? "-" : "";
  text += FormatInteger(magnitude / kTenThousand);
  if (const auto rest = static_cast<std::int64_t>(magnitude % kTenThousand); rest != 0) {
    text.append(1, '.').append(PadNumber(rest, 4));
    text.erase(text.find_last_not_of('0') + 1);
  }
  return text;
}

std::string PadNumber(std::int64_t number, int width) {
  const std::string text = FormatInteger(number);
  const auto wanted = static_cast<std::size_t>(std::max(width, 0));
  if (text.size() >= wanted) return text.substr(text.size() - wanted);
  return std::string(wanted - text.size(), '0') + text;
}

std::optional<double> ParseNumber(std::string_view text) { return FromNumberText<double>(text, ToDouble); }

std::optional<Date> ParseDate(std::string_view text) {
  using DayScan = bool (*)(DateScanner&, DateParts&);
  constexpr std::array<DayScan, 3> kDayScans{ScanYearFirst, ScanDayFirst, ScanMonthFirst};
  for (const DayScan scanDay : kDayScans) {
    DateScanner scanner(text);
    DateParts parts;
    if (scanDay(scanner, parts) && ScanTimeOfDay(scanner, parts)) return Date::FromParts(parts);
  }
  DateScanner scanner(text);
  DateParts parts;  // of the zero date
  if (scanner.Time(parts) && scanner.AtEnd()) return Date::FromParts(parts);
  return std::nullopt;
}

}  // namespace ods
