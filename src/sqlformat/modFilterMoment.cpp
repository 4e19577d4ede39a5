#include "sqlformat/modFilterMoment.h"

#include <algorithm>
#include <array>

#include "common/Conversions.h"
#include "common/Text.h"

namespace ods {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysIn(int year, int month) {
  constexpr std::array kDays = {31, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};  // month 0 is any month
  return month == 2 && IsLeapYear(year) ? 29 : kDays[static_cast<std::size_t>(month)];
}

/// Reads from the left and writes what it read in its canonical form.
class MomentReader {
 public:
  MomentReader(std::string_view moment, const MomentRules& rules) : rest_(Trim(moment)), rules_(rules) {}

  [[nodiscard]] bool AtEnd() const { return rest_.empty(); }
  bool Take(std::string_view expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(expected.size());
    return true;
  }
  /// The end of the text when it is this.
  bool TakeEnd(std::string_view expected) {
    if (!rest_.ends_with(expected)) return false;
    rest_.remove_suffix(expected.size());
    return true;
  }
  bool Date(bool beforeChrist, int lastYear);
  /// `beyond` is set when the fraction is cut. Beside a date only the times of a day are times.
  bool Time(bool besideDate, int& beyond, bool& isZero);
  bool Zone();
  std::string text;

 private:
  /// A number of so many digits with no further digit after it.
  bool Number(std::size_t fewest, std::size_t most, int& number);
  bool Fraction(bool& wasCut, bool& isZero);
  [[nodiscard]] bool IsDate(int year, int month, int day, bool beforeChrist) const;

  std::string_view rest_;
  const MomentRules& rules_;
};

bool MomentReader::Number(std::size_t fewest, std::size_t most, int& number) {
  const auto length = static_cast<std::size_t>(std::ranges::find_if_not(rest_, IsDigit) - rest_.begin());
  if (length < fewest || length > most) return false;
  number = 0;
  for (const char digit : rest_.substr(0, length)) number = number * 10 + (digit - '0');
  text += rest_.substr(0, length);
  rest_.remove_prefix(length);
  return true;
}

bool MomentReader::IsDate(int year, int month, int day, bool beforeChrist) const {
  const int least = rules_.zeroDates ? 0 : 1;
  if (year < (rules_.zeroDates || rules_.zeroYear ? 0 : 1) || month < least || month > 12 || day < least) return false;
  return day <= DaysIn(beforeChrist ? 1 - year : year, month);
}

bool MomentReader::Date(bool beforeChrist, int lastYear) {
  constexpr std::size_t kFarYear = 7;
  constexpr int kFirstYearBeforeChrist = 4713;
  int year = 0;
  int month = 0;
  int day = 0;
  if (!Number(4, rules_.farDates ? kFarYear : 4, year) || !Take("-")) return false;
  text += '-';
  if (!Number(2, 2, month) || !Take("-")) return false;
  text += '-';
  if (!Number(2, 2, day)) return false;
  return IsDate(year, month, day, beforeChrist) && year <= (beforeChrist ? kFirstYearBeforeChrist : lastYear);
}

bool MomentReader::Fraction(bool& wasCut, bool& isZero) {
  constexpr std::size_t kMostDigits = 9;
  if (!Take(".")) return true;
  const auto length = static_cast<std::size_t>(std::ranges::find_if_not(rest_, IsDigit) - rest_.begin());
  if (length < 1 || length > kMostDigits) return false;
  std::string_view digits = rest_.substr(0, length);
  rest_.remove_prefix(length);
  isZero = isZero && digits.find_first_not_of('0') == std::string_view::npos;
  wasCut = digits.find_first_not_of('0', rules_.fractionDigits) != std::string_view::npos;
  digits = digits.substr(0, rules_.fractionDigits);
  if (!rules_.keepsZeros) digits = digits.substr(0, digits.find_last_not_of('0') + 1);
  if (!digits.empty()) text.append(".").append(digits);
  return true;
}

bool MomentReader::Time(bool besideDate, int& beyond, bool& isZero) {
  constexpr int kLastLongHour = 838;
  const bool isLong = rules_.longTimes && !besideDate;
  const bool negative = isLong && Take("-");
  if (negative) text += '-';
  int hour = 0;
  int minute = 0;
  int second = 0;
  if (!Number(2, isLong ? 3 : 2, hour) || !Take(":")) return false;
  text += ':';
  if (!Number(2, 2, minute)) return false;
  text += ':';
  bool wasCut = false;
  isZero = hour == 0 && minute == 0;
  if (!Take(":")) {
    text += "00";
  } else {
    if (!Number(2, 2, second)) return false;
    isZero = isZero && second == 0;
    bool isWhole = true;
    if (!Fraction(wasCut, isWhole)) return false;
    isZero = isZero && isWhole;
  }
  if (wasCut) beyond = negative ? -1 : 1;
  if (minute > 59 || second > 59) return false;
  if (rules_.farDates && !besideDate && hour == 24) return text == "24:00:00" && !wasCut;
  return hour <= (isLong ? kLastLongHour : 23);
}

bool MomentReader::Zone() {
  constexpr int kMostHours = 15;
  Take(" ");
  if (Take("Z") || Take("z")) {
    text += "+00";
    return true;
  }
  const bool west = Take("-");
  if (!west && !Take("+")) return false;
  text += west ? '-' : '+';
  // +hh, +hh:mm, +hh:mm:ss and +hhmm
  const std::size_t digits = std::min(rest_.find_first_not_of("0123456789"), rest_.size());
  int hour = 0;
  if (digits == 4) {
    int both = 0;
    const std::string before = text;
    if (!Number(4, 4, both)) return false;
    text = before + PadNumber(both / 100, 2) + ":" + PadNumber(both % 100, 2);
    return both / 100 <= kMostHours && both % 100 < 60;
  }
  if (!Number(2, 2, hour) || hour > kMostHours) return false;
  for (int part = 0; part < 2 && Take(":"); ++part) {
    int rest = 0;
    text += ':';
    if (!Number(2, 2, rest) || rest > 59) return false;
  }
  return true;
}

constexpr int kLastYear = 9999;

/// "infinity" and "-infinity".
std::optional<FilterMoment> ParseInfinity(std::string_view text, const MomentRules& rules) {
  const std::string lower = ToLower(Trim(text));
  if (rules.farDates && (lower == "infinity" || lower == "-infinity")) return FilterMoment{lower, 0};
  return std::nullopt;
}

}  // namespace

std::optional<FilterMoment> ParseFilterDate(std::string_view text, const MomentRules& rules) {
  constexpr int kLastFarYear = 5'874'897;
  if (auto infinity = ParseInfinity(text, rules)) return infinity;
  MomentReader reader(text, rules);
  const bool beforeChrist = rules.farDates && reader.TakeEnd(" BC");
  if (!reader.Date(beforeChrist, rules.farDates ? kLastFarYear : kLastYear)) return std::nullopt;
  FilterMoment moment{reader.text, 0};
  if (reader.Take("T") || reader.Take(" ")) {
    int beyond = 0;
    bool isZero = false;
    if (!reader.Time(true, beyond, isZero) || !isZero) return std::nullopt;
  }
  if (!reader.AtEnd()) return std::nullopt;
  if (beforeChrist) moment.text += " BC";
  return moment;
}

std::optional<FilterMoment> ParseFilterTime(std::string_view text, const MomentRules& rules) {
  MomentReader reader(text, rules);
  FilterMoment moment;
  bool isZero = false;
  if (!reader.Time(false, moment.beyond, isZero)) return std::nullopt;
  if (rules.zoned && !reader.AtEnd() && !reader.Zone()) return std::nullopt;
  if (!reader.AtEnd()) return std::nullopt;
  moment.text = reader.text;
  return moment;
}

std::optional<FilterMoment> ParseFilterTimeStamp(std::string_view text, const MomentRules& rules) {
  constexpr int kLastFarYear = 294'276;
  if (auto infinity = ParseInfinity(text, rules)) return infinity;
  MomentReader reader(text, rules);
  const bool beforeChrist = rules.farDates && reader.TakeEnd(" BC");
  if (!reader.Date(beforeChrist, rules.farDates ? kLastFarYear : kLastYear)) return std::nullopt;
  FilterMoment moment;
  reader.text += ' ';
  if (reader.Take("T") || reader.Take(" ")) {
    bool isZero = false;
    if (!reader.Time(true, moment.beyond, isZero)) return std::nullopt;
    if (rules.zoned && !reader.AtEnd() && !reader.Zone()) return std::nullopt;
  } else {
    reader.text += "00:00:00";
  }
  if (!reader.AtEnd()) return std::nullopt;
  moment.text = reader.text + (beforeChrist ? " BC" : "");
  return moment;
}

}  // namespace ods
