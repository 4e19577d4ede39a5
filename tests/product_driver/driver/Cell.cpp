#include "product_driver/driver/Cell.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "product_driver/driver/DriverError.h"
#include "product_driver/driver/Unicode.h"

namespace ods::product_driver {
namespace {

template <typename T>
RenderedCell Fixed(const T& value) {
  RenderedCell rendered;
  rendered.bytes.resize(sizeof value);
  std::memcpy(rendered.bytes.data(), &value, sizeof value);
  return rendered;
}

template <typename... Number>
std::string Print(const char* format, Number... numbers) {
  std::array<char, 400> buffer{};
  const int length = std::snprintf(buffer.data(), buffer.size(), format, numbers...);
  return {buffer.data(), static_cast<std::size_t>(length)};
}

std::string DoubleText(double number) {
  std::array<char, 40> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
  return {buffer.data(), result.ptr};
}

std::string HexText(const Bytes& bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) text += Print("%02X", static_cast<unsigned>(byte));
  return text;
}

double NumberOf(const Cell& cell) {
  if (const auto* number = std::get_if<double>(&cell)) return *number;
  if (const auto* number = std::get_if<std::int64_t>(&cell)) return static_cast<double>(*number);
  const auto* text = std::get_if<std::string>(&cell);
  if (text == nullptr) throw DriverError(sql_state::kWrongCType, "Bytes are no number.");
  double number = 0;
  const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
  if (error != std::errc() || end != text->data() + text->size()) {
    throw DriverError(sql_state::kOutOfRange, "The text '" + *text + "' is no number.");
  }
  return number;
}

/// A GUID is kept in braces, so that a literal in braces equals it; ODBC's text has none.
std::string TextOf(const Cell& cell, const ColumnType& type) {
  if (const auto* bytes = std::get_if<Bytes>(&cell)) return HexText(*bytes);
  if (const auto* text = std::get_if<std::string>(&cell)) {
    const bool braces = type.odbcType == SQL_GUID && text->starts_with('{') && text->ends_with('}');
    return braces ? text->substr(1, text->size() - 2) : *text;
  }
  if (IsExactNumber(type)) return Print("%.*f", static_cast<int>(type.digits), NumberOf(cell));
  if (const auto* number = std::get_if<std::int64_t>(&cell)) return std::to_string(*number);
  return DoubleText(std::get<double>(cell));
}

template <typename Integer>
RenderedCell IntegerCell(const Cell& cell) {
  std::int64_t number = 0;
  if (const auto* whole = std::get_if<std::int64_t>(&cell)) {
    number = *whole;
  } else {
    const double given = std::trunc(NumberOf(cell));
    constexpr double kTwoTo63 = 9223372036854775808.0;
    if (!(given >= -kTwoTo63 && given < kTwoTo63)) throw DriverError(sql_state::kOutOfRange, "A number is too large.");
    number = static_cast<std::int64_t>(given);
  }
  if (number < std::numeric_limits<Integer>::min() || number > std::numeric_limits<Integer>::max()) {
    throw DriverError(sql_state::kOutOfRange, "The number " + std::to_string(number) + " does not fit its buffer.");
  }
  return Fixed(static_cast<Integer>(number));
}

RenderedCell BitCell(const Cell& cell) { return Fixed(static_cast<std::uint8_t>(NumberOf(cell) != 0 ? 1 : 0)); }

/// The numbers in a text of the form 0000-00-00 00:00:00 from `at` on, in which digits stand for digits.
template <std::size_t kCount>
std::array<int, kCount> Numbers(const std::string& text,
                                const std::array<std::pair<std::size_t, std::size_t>, kCount>& where) {
  std::array<int, kCount> numbers{};
  for (std::size_t i = 0; i < kCount; ++i) {
    const auto [at, length] = where[i];
    const char* const begin = text.data() + std::min(at, text.size());
    const char* const end = text.data() + std::min(at + length, text.size());
    if (std::from_chars(begin, end, numbers[i]).ptr != begin + length) {
      throw DriverError(sql_state::kBadDate, "The text '" + text + "' is no date or time.");
    }
  }
  return numbers;
}

/// The billionths of a second in a text that has digits behind a "." at 19.
SQLUINTEGER FractionOf(const std::string& text) {
  constexpr std::size_t kPoint = 19;
  constexpr std::size_t kDigits = 9;
  if (text.size() <= kPoint || text[kPoint] != '.') return 0;
  std::string digits = text.substr(kPoint + 1, kDigits);
  digits.resize(kDigits, '0');
  return static_cast<SQLUINTEGER>(Numbers<1>(digits, {{{0, kDigits}}})[0]);
}

RenderedCell DateCell(const std::string& text) {
  const auto [year, month, day] = Numbers<3>(text, {{{0, 4}, {5, 2}, {8, 2}}});
  SQL_DATE_STRUCT date{};
  date.year = static_cast<SQLSMALLINT>(year);
  date.month = static_cast<SQLUSMALLINT>(month);
  date.day = static_cast<SQLUSMALLINT>(day);
  return Fixed(date);
}

RenderedCell TimeCell(const std::string& text) {
  const auto [hour, minute, second] = Numbers<3>(text, {{{0, 2}, {3, 2}, {6, 2}}});
  SQL_TIME_STRUCT time{};
  time.hour = static_cast<SQLUSMALLINT>(hour);
  time.minute = static_cast<SQLUSMALLINT>(minute);
  time.second = static_cast<SQLUSMALLINT>(second);
  return Fixed(time);
}

RenderedCell TimeStampCell(const std::string& text) {
  const auto [year, month, day, hour, minute, second] =
      Numbers<6>(text, {{{0, 4}, {5, 2}, {8, 2}, {11, 2}, {14, 2}, {17, 2}}});
  SQL_TIMESTAMP_STRUCT stamp{};
  stamp.year = static_cast<SQLSMALLINT>(year);
  stamp.month = static_cast<SQLUSMALLINT>(month);
  stamp.day = static_cast<SQLUSMALLINT>(day);
  stamp.hour = static_cast<SQLUSMALLINT>(hour);
  stamp.minute = static_cast<SQLUSMALLINT>(minute);
  stamp.second = static_cast<SQLUSMALLINT>(second);
  stamp.fraction = FractionOf(text);
  return Fixed(stamp);
}

RenderedCell NarrowCell(const std::string& text) {
  return {.bytes = Bytes(text.begin(), text.end()), .unit = 1, .terminator = 1};
}

RenderedCell WideCell(const std::string& text) {
  const std::vector<SQLWCHAR> units = ToUtf16(text);
  RenderedCell rendered = {
      .bytes = Bytes(units.size() * sizeof(SQLWCHAR)), .unit = sizeof(SQLWCHAR), .terminator = sizeof(SQLWCHAR)};
  if (!units.empty()) std::memcpy(rendered.bytes.data(), units.data(), rendered.bytes.size());
  return rendered;
}

RenderedCell BinaryCell(const Cell& cell, const ColumnType& type) {
  if (const auto* bytes = std::get_if<Bytes>(&cell)) return {.bytes = *bytes, .unit = 1, .terminator = 0};
  const std::string text = TextOf(cell, type);
  return {.bytes = Bytes(text.begin(), text.end()), .unit = 1, .terminator = 0};
}

SQLSMALLINT DefaultCType(const ColumnType& type) {
  switch (type.odbcType) {
    case SQL_BIT:
      return SQL_C_BIT;
    case SQL_TINYINT:
    case SQL_SMALLINT:
    case SQL_INTEGER:
      return SQL_C_SLONG;
    case SQL_BIGINT:
      return SQL_C_SBIGINT;
    case SQL_REAL:
      return SQL_C_FLOAT;
    case SQL_FLOAT:
    case SQL_DOUBLE:
      return SQL_C_DOUBLE;
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIME:
    case SQL_TYPE_TIMESTAMP:
      return type.odbcType;
    default:
      return IsBinary(type) ? SQL_C_BINARY : SQL_C_WCHAR;
  }
}

}  // namespace

RenderedCell RenderCell(const Cell& cell, const ColumnType& type, SQLSMALLINT cType) {
  switch (cType == SQL_C_DEFAULT ? DefaultCType(type) : cType) {
    case SQL_C_CHAR:
      return NarrowCell(TextOf(cell, type));
    case SQL_C_WCHAR:
      return WideCell(TextOf(cell, type));
    case SQL_C_BINARY:
      return BinaryCell(cell, type);
    case SQL_C_BIT:
      return BitCell(cell);
    case SQL_C_SHORT:
    case SQL_C_SSHORT:
      return IntegerCell<SQLSMALLINT>(cell);
    case SQL_C_LONG:
    case SQL_C_SLONG:
      return IntegerCell<SQLINTEGER>(cell);
    case SQL_C_SBIGINT:
      return IntegerCell<std::int64_t>(cell);
    case SQL_C_FLOAT:
      return Fixed(static_cast<float>(NumberOf(cell)));
    case SQL_C_DOUBLE:
      return Fixed(NumberOf(cell));
    case SQL_C_TYPE_DATE:
      return DateCell(TextOf(cell, type));
    case SQL_C_TYPE_TIME:
      return TimeCell(TextOf(cell, type));
    case SQL_C_TYPE_TIMESTAMP:
      return TimeStampCell(TextOf(cell, type));
    default:
      throw DriverError(sql_state::kWrongCType, "The driver gives no C type " + std::to_string(cType) + ".");
  }
}

bool CopyCell(const RenderedCell& cell, const CellTarget& target, std::size_t& offset) {
  const std::size_t left = cell.bytes.size() - offset;
  if (target.indicator != nullptr) *target.indicator = static_cast<SQLLEN>(left);
  auto* const buffer = static_cast<std::uint8_t*>(target.buffer);
  if (buffer == nullptr) return true;
  const auto size = static_cast<std::size_t>(std::max<SQLLEN>(target.size, 0));
  std::size_t copied = left;
  if (cell.unit > 0) {
    const std::size_t room = size < cell.terminator ? 0 : size - cell.terminator;
    copied = std::min(left, room / cell.unit * cell.unit);
    if (size >= cell.terminator) std::fill_n(buffer + copied, cell.terminator, std::uint8_t{0});
  }
  std::copy_n(cell.bytes.begin() + static_cast<std::ptrdiff_t>(offset), copied, buffer);
  offset += copied;
  return copied == left;
}

}  // namespace ods::product_driver
