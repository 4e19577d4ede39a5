#include "platform/ado/OdbcTypes.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "common/Conversions.h"
#include "common/Text.h"
#include "platform/ado/Ado.h"
#include "platform/ado/OdbcText.h"

namespace ods::odbc {

namespace {

namespace t = ado_type;

// Types of Microsoft SQL Server's own, from its drivers' documentation (msodbcsql.h).
constexpr SQLSMALLINT kSqlServerTime = -154;
constexpr SQLSMALLINT kSqlServerTimeStampOffset = -155;
constexpr SQLSMALLINT kSqlServerXml = -152;
constexpr SQLSMALLINT kSqlServerVariant = -150;

constexpr std::array<ColumnType, 29> kColumnTypes = {{
    {SQL_CHAR, t::kChar, t::kChar, CellKind::kText, 0, false},
    {SQL_VARCHAR, t::kVarChar, t::kVarChar, CellKind::kText, 0, false},
    {SQL_LONGVARCHAR, t::kLongVarChar, t::kLongVarChar, CellKind::kText, 0, true},
    {SQL_WCHAR, t::kWChar, t::kWChar, CellKind::kText, 0, false},
    {SQL_WVARCHAR, t::kVarWChar, t::kVarWChar, CellKind::kText, 0, false},
    {SQL_WLONGVARCHAR, t::kLongVarWChar, t::kLongVarWChar, CellKind::kText, 0, true},
    {SQL_DECIMAL, t::kNumeric, t::kNumeric, CellKind::kDecimal, 19, false},
    {SQL_NUMERIC, t::kNumeric, t::kNumeric, CellKind::kDecimal, 19, false},
    {SQL_SMALLINT, t::kSmallInt, t::kUnsignedSmallInt, CellKind::kInteger, 2, false},
    {SQL_INTEGER, t::kInteger, t::kUnsignedInt, CellKind::kInteger, 4, false},
    {SQL_BIGINT, t::kBigInt, t::kUnsignedBigInt, CellKind::kInteger, 8, false},
    {SQL_TINYINT, t::kTinyInt, t::kUnsignedTinyInt, CellKind::kInteger, 1, false},
    {SQL_REAL, t::kSingle, t::kSingle, CellKind::kSingle, 4, false},
    {SQL_FLOAT, t::kDouble, t::kDouble, CellKind::kDouble, 8, false},
    {SQL_DOUBLE, t::kDouble, t::kDouble, CellKind::kDouble, 8, false},
    {SQL_BIT, t::kBoolean, t::kBoolean, CellKind::kBoolean, 2, false},
    {SQL_BINARY, t::kBinary, t::kBinary, CellKind::kBytes, 0, false},
    {SQL_VARBINARY, t::kVarBinary, t::kVarBinary, CellKind::kBytes, 0, false},
    {SQL_LONGVARBINARY, t::kLongVarBinary, t::kLongVarBinary, CellKind::kBytes, 0, true},
    {SQL_TYPE_DATE, t::kDBDate, t::kDBDate, CellKind::kDate, 6, false},
    {SQL_TYPE_TIME, t::kDBTime, t::kDBTime, CellKind::kTime, 6, false},
    {SQL_TYPE_TIMESTAMP, t::kDBTimeStamp, t::kDBTimeStamp, CellKind::kTimeStamp, 16, false},
    {SQL_GUID, t::kGUID, t::kGUID, CellKind::kGuid, 16, false},
    // Drivers of ODBC 2 that answer past the driver manager's own mapping.
    {SQL_TIMESTAMP, t::kDBTimeStamp, t::kDBTimeStamp, CellKind::kTimeStamp, 16, false},
    {kSqlServerTime, t::kDBTime, t::kDBTime, CellKind::kTime, 6, false},
    {kSqlServerTimeStampOffset, t::kDBTimeStamp, t::kDBTimeStamp, CellKind::kTextTimeStamp, 16, false},
    {kSqlServerXml, t::kLongVarWChar, t::kLongVarWChar, CellKind::kText, 0, true},
    {kSqlServerVariant, t::kVariant, t::kVariant, CellKind::kText, 0, false},
    {SQL_UNKNOWN_TYPE, t::kVariant, t::kVariant, CellKind::kText, 0, false},
}};

// Integers are fetched at full width whatever their column says: SQLite keeps 64 bits in any integer column. Singles
// are fetched as doubles: odbc-mariadb writes those of a block 8 bytes apart. Times are fetched as text: drivers refuse
// the whole row for one that is no time of day, such as MariaDB's 838:59:59.
constexpr std::array<CellFormat, 18> kCellFormats = {{
    {SQL_C_SBIGINT, sizeof(std::int64_t), 0, 0},                 // kInteger
    {SQL_C_CHAR, 0, 1, 1},                                       // kUnsignedBigInteger
    {SQL_C_DOUBLE, sizeof(double), 0, 0},                        // kSingle
    {SQL_C_DOUBLE, sizeof(double), 0, 0},                        // kDouble
    {SQL_C_BIT, 1, 0, 0},                                        // kBoolean
    {SQL_C_CHAR, 0, 1, 1},                                       // kDecimal
    {SQL_C_WCHAR, 0, sizeof(SQLWCHAR), sizeof(SQLWCHAR)},        // kText
    {SQL_C_CHAR, 0, 1, 1},                                       // kNarrowText
    {SQL_C_CHAR, 0, 1, 1},                                       // kGuid
    {SQL_C_BINARY, 0, 1, 0},                                     // kBytes
    {SQL_C_TYPE_DATE, sizeof(SQL_DATE_STRUCT), 0, 0},            // kDate
    {SQL_C_CHAR, 0, 1, 1},                                       // kTime
    {SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT), 0, 0},  // kTimeStamp
    {SQL_C_CHAR, 0, 1, 1},                                       // kTextDate
    {SQL_C_CHAR, 0, 1, 1},                                       // kTextTimeStamp
    {SQL_C_TYPE_DATE, sizeof(SQL_DATE_STRUCT), 0, 0},            // kExactDate
    {SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT), 0, 0},  // kExactTimeStamp
    {SQL_C_CHAR, 0, 1, 1},                                       // kExactMoment
}};
static_assert(kCellFormats.size() == static_cast<std::size_t>(CellKind::kExactMoment) + 1);

/// The C structure at the beginning of a cell, which need not be aligned for it.
template <typename T>
T Load(std::span<const std::byte> cell) {
  T value{};
  std::memcpy(&value, cell.data(), std::min(sizeof value, cell.size()));
  return value;
}

std::string_view Characters(std::span<const std::byte> cell) {
  return {reinterpret_cast<const char*>(cell.data()), cell.size()};
}

std::span<const SQLWCHAR> Units(std::span<const std::byte> cell) {
  // The buffers come from operator new and cells begin at multiples of the unit, so the cast is aligned.
  return {reinterpret_cast<const SQLWCHAR*>(cell.data()), cell.size() / sizeof(SQLWCHAR)};
}

CellView IntegerView(std::int64_t number, std::int32_t adoType) {
  const bool wide = adoType == t::kUnsignedInt || adoType == t::kBigInt || adoType == t::kUnsignedBigInt;
  const bool fits =
      number >= std::numeric_limits<std::int32_t>::min() && number <= std::numeric_limits<std::int32_t>::max();
  if (wide || !fits) return number;
  return static_cast<std::int32_t>(number);
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// Whether a text is in the form of `Decimal` already.
bool IsDecimal(std::string_view text) {
  const auto* const end = text.data() + text.size();
  const auto* const whole = text.data() + (text.starts_with('-') ? 1 : 0);
  const auto* const point = std::find_if_not(whole, end, IsDigit);
  if (point == whole) return false;
  return point == end || (*point == '.' && point + 1 < end && std::all_of(point + 1, end, IsDigit));
}

/// Digits with an optional sign and at most one decimal point, which may be a comma where a driver follows the locale:
/// brought into the form of `Decimal`. Any other text stays a text.
CellView DecimalView(std::string_view text, std::string& digits) {
  text = Trim(text);
  if (IsDecimal(text)) return DecimalDigits{text};
  digits.clear();
  bool point = false;
  bool digit = false;
  std::size_t position = 0;
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
    if (text[0] == '-') digits += '-';
    position = 1;
  }
  for (; position < text.size(); ++position) {
    const char c = text[position];
    if (IsDigit(c)) {
      digit = true;
      digits += c;
    } else if ((c == '.' || c == ',') && !point) {
      if (!digit) digits += '0';
      point = true;
      digits += '.';
    } else {
      return text;
    }
  }
  if (point && digits.back() == '.') digits.pop_back();
  if (!digit) return text;
  return DecimalDigits{digits};
}

CellView UnsignedBigIntegerView(std::string_view text, std::string& scratch) {
  text = Trim(text);
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc() && end == text.data() + text.size()) return number;
  return DecimalView(text, scratch);
}

CellView NarrowTextView(std::string_view text, std::string& scratch) {
  if (IsValidUtf8(text)) return text;
  return std::string_view(scratch = FromNarrowText(text));
}

std::string GuidText(std::string_view text) {
  text = Trim(text);
  if (text.starts_with('{') && text.ends_with('}')) text = text.substr(1, text.size() - 2);
  return "{" + ToUpper(text) + "}";
}

CellView DateView(const DateParts& parts, bool dateOnly) {
  if (!parts.AreOfCalendar()) return Null{};
  return Moment{parts, dateOnly};
}

CellView TimeStampView(const SQL_TIMESTAMP_STRUCT& stamp) {
  return DateView({stamp.year, stamp.month, stamp.day, stamp.hour, stamp.minute, stamp.second}, false);
}

/// The parts as they are, whether or not they name a moment.
std::string DateText(SQLSMALLINT year, SQLUSMALLINT month, SQLUSMALLINT day) {
  constexpr int kMostOfFourDigits = 9999;
  if (year >= 0 && year <= kMostOfFourDigits) {
    return std::string(DayOf(TextOfMoment({.year = year, .month = month, .day = day})));
  }
  const int number = std::abs(static_cast<int>(year));
  return (year < 0 ? "-" : "") + (number > kMostOfFourDigits ? std::to_string(number) : PadNumber(number, 4)) + "-" +
         PadNumber(month, 2) + "-" + PadNumber(day, 2);
}

/// The same with the fraction, whose nanoseconds end before their last zeros.
std::string TimeStampText(const SQL_TIMESTAMP_STRUCT& stamp) {
  const MomentText moment = TextOfMoment({stamp.year, stamp.month, stamp.day, stamp.hour, stamp.minute, stamp.second});
  std::string text = DateText(stamp.year, stamp.month, stamp.day) + " ";
  text += TimeOf(moment);
  constexpr int kFractionDigits = 9;
  if (stamp.fraction != 0) {
    text += "." + PadNumber(stamp.fraction, kFractionDigits);
    text.erase(text.find_last_not_of('0') + 1);
  }
  return text;
}

/// The nearest single. A text of the largest one, read as a double, may lie just beyond it; what is larger still, as a
/// driver may give from a column that it only calls single, stays as it is.
double SingleValue(double number) {
  constexpr double kLargest = std::numeric_limits<float>::max();
  constexpr double kRoundsToLargest = 0x1.ffffffp127;
  if (!(std::abs(number) < kRoundsToLargest)) return number;
  return static_cast<double>(static_cast<float>(std::clamp(number, -kLargest, kLargest)));
}

/// The numbers that stand in `text` where `form` has digits ("00:00"); nothing when one is none, or when another
/// character of the form is not there.
template <std::size_t kCount>
std::optional<std::array<int, kCount>> NumbersIn(std::string_view text, std::string_view form) {
  if (text.size() < form.size()) return std::nullopt;
  std::array<int, kCount> numbers{};
  std::size_t current = 0;
  for (std::size_t i = 0; i < form.size(); ++i) {
    if (form[i] != '0') {
      if (text[i] != form[i]) return std::nullopt;
      ++current;
    } else if (text[i] < '0' || text[i] > '9') {
      return std::nullopt;
    } else {
      numbers[current] = numbers[current] * 10 + (text[i] - '0');
    }
  }
  return numbers;
}

/// "hh:mm:ss" with any fraction behind it, which is dropped.
CellView TimeView(std::string_view text) {
  constexpr std::string_view kForm = "00:00:00";
  text = Trim(text);
  const auto numbers = NumbersIn<3>(text, kForm);
  if (!numbers || (text.size() > kForm.size() && text[kForm.size()] != '.')) return Null{};
  DateParts parts;  // the zero date
  parts.hour = (*numbers)[0];
  parts.minute = (*numbers)[1];
  parts.second = (*numbers)[2];
  return DateView(parts, false);
}

/// "yyyy-mm-dd" and nothing else.
CellView TextDateView(std::string_view text) {
  constexpr std::string_view kForm = "0000-00-00";
  text = Trim(text);
  const auto numbers = NumbersIn<3>(text, kForm);
  if (!numbers || text.size() != kForm.size()) return Null{};
  const auto [year, month, day] = *numbers;
  return DateView({year, month, day, 0, 0, 0}, true);
}

/// "yyyy-mm-dd hh:mm:ss" with any fraction, which is dropped, and nothing or "+hh:mm" or "-hh:mm" behind it. With that
/// it is the moment in universal time, which is what the product compares a literal without an offset as.
CellView TextTimeStampView(std::string_view text) {
  constexpr std::string_view kForm = "0000-00-00 00:00:00";
  constexpr std::string_view kOffsetForm = "00:00";
  text = Trim(text);
  const auto numbers = NumbersIn<6>(text, kForm);
  if (!numbers) return Null{};
  const auto [year, month, day, hour, minute, second] = *numbers;
  const DateParts parts = {year, month, day, hour, minute, second};
  if (!parts.AreOfCalendar()) return Null{};
  text.remove_prefix(kForm.size());
  if (text.starts_with('.')) text.remove_prefix(std::min(text.find_first_not_of("0123456789", 1), text.size()));
  text = Trim(text);
  if (text.empty()) return Moment{parts};
  const auto offset = NumbersIn<2>(text.substr(1), kOffsetForm);
  if ((text[0] != '+' && text[0] != '-') || !offset || text.size() != kOffsetForm.size() + 1) return Null{};
  constexpr int kMinuteSeconds = 60;
  const int seconds = ((*offset)[0] * kMinuteSeconds + (*offset)[1]) * kMinuteSeconds;
  std::optional<Date> date = Date::FromParts(parts);
  if (!date) return Null{};
  date->seconds += text[0] == '+' ? -seconds : seconds;
  return date->IsInRange() ? CellView(Moment{date->Parts()}) : CellView(Null{});
}

}  // namespace

const ColumnType& FindColumnType(SQLSMALLINT odbcType) {
  const auto* const found = std::find_if(kColumnTypes.begin(), kColumnTypes.end(),
                                         [&](const ColumnType& row) { return row.odbcType == odbcType; });
  return found == kColumnTypes.end() ? kColumnTypes.back() : *found;
}

CellKind AsTextDate(CellKind kind) {
  if (kind == CellKind::kDate) return CellKind::kTextDate;
  return kind == CellKind::kTimeStamp ? CellKind::kTextTimeStamp : kind;
}

CellKind AsExact(CellKind kind) {
  switch (kind) {
    case CellKind::kDate:
      return CellKind::kExactDate;
    case CellKind::kTimeStamp:
      return CellKind::kExactTimeStamp;
    case CellKind::kTime:
    case CellKind::kTextDate:
    case CellKind::kTextTimeStamp:
      return CellKind::kExactMoment;
    default:
      return kind;
  }
}

const CellFormat& FormatOf(CellKind kind) { return kCellFormats[static_cast<std::size_t>(kind)]; }

CellView ViewOfCell(CellKind kind, std::int32_t adoType, std::span<const std::byte> cell, std::string& scratch) {
  const auto inScratch = [&](std::string text) { return std::string_view(scratch = std::move(text)); };
  switch (kind) {
    case CellKind::kInteger:
      return IntegerView(Load<std::int64_t>(cell), adoType);
    case CellKind::kUnsignedBigInteger:
      return UnsignedBigIntegerView(Characters(cell), scratch);
    case CellKind::kSingle:
      return SingleValue(Load<double>(cell));
    case CellKind::kDouble:
      return Load<double>(cell);
    case CellKind::kBoolean:
      return Load<std::uint8_t>(cell) != 0;
    case CellKind::kDecimal:
      return DecimalView(Characters(cell), scratch);
    case CellKind::kText:
      scratch.clear();
      AppendUtf8(scratch, Units(cell));
      return std::string_view(scratch);
    case CellKind::kNarrowText:
      return NarrowTextView(Characters(cell), scratch);
    case CellKind::kGuid:
      return inScratch(GuidText(Characters(cell)));
    case CellKind::kBytes:
      return std::span(reinterpret_cast<const std::uint8_t*>(cell.data()), cell.size());
    case CellKind::kDate: {
      const auto date = Load<SQL_DATE_STRUCT>(cell);
      return DateView({date.year, date.month, date.day, 0, 0, 0}, true);
    }
    case CellKind::kTime:
      return TimeView(Characters(cell));
    case CellKind::kTimeStamp:
      return TimeStampView(Load<SQL_TIMESTAMP_STRUCT>(cell));
    case CellKind::kTextDate:
      return TextDateView(Characters(cell));
    case CellKind::kTextTimeStamp:
      return TextTimeStampView(Characters(cell));
    case CellKind::kExactDate: {
      const auto date = Load<SQL_DATE_STRUCT>(cell);
      return inScratch(DateText(date.year, date.month, date.day));
    }
    case CellKind::kExactTimeStamp:
      return inScratch(TimeStampText(Load<SQL_TIMESTAMP_STRUCT>(cell)));
    case CellKind::kExactMoment:
      return NarrowTextView(Trim(Characters(cell)), scratch);
  }
  return Null{};
}

Value CellValue(CellKind kind, std::int32_t adoType, std::span<const std::byte> cell) {
  std::string scratch;
  return ValueOf(ViewOfCell(kind, adoType, cell, scratch));
}

}  // namespace ods::odbc
