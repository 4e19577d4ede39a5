#include "exact/ExactLiteral.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

#include "common/Error.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "exact/ExactProduct.h"
#include "exact/ExactSession.h"
#include "exact/SqliteReals.h"

namespace ods {

namespace {

using Kind = ExactValue::Kind;

[[noreturn]] void RaiseMismatch(const ExactValue& value, std::string_view wanted) {
  constexpr std::size_t kShown = 100;
  std::string shown = value.kind == Kind::kBytes ? DisplayText(value) : value.text;
  if (shown.size() > kShown) shown = shown.substr(0, kShown) + "...";
  throw Error(error_number::kTypeMismatch, "Type mismatch: '" + shown + "' is not " + std::string(wanted) + ".");
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// True for a text that has a digit where `form` has "0", and the character of the form everywhere else.
bool HasForm(std::string_view text, std::string_view form) {
  if (text.size() != form.size()) return false;
  for (std::size_t i = 0; i < form.size(); ++i) {
    if (form[i] == '0' ? !IsDigit(text[i]) : text[i] != form[i]) return false;
  }
  return true;
}

constexpr std::string_view kDateForm = "0000-00-00";
constexpr std::string_view kTimeForm = "00:00:00";
constexpr std::string_view kTimeStampForm = "0000-00-00 00:00:00";

/// True for a form with any fraction of a second behind it.
bool HasFormAndFraction(std::string_view text, std::string_view form) {
  if (text.size() <= form.size()) return HasForm(text, form);
  const std::string_view fraction = text.substr(form.size());
  return HasForm(text.substr(0, form.size()), form) && fraction.size() > 1 && fraction.front() == '.' &&
         fraction.find_first_not_of("0123456789", 1) == std::string_view::npos;
}

std::string Escape(const ExactValue& value, std::string_view word, std::string_view form, bool fraction,
                   std::string_view wanted) {
  const bool fits = fraction ? HasFormAndFraction(value.text, form) : HasForm(value.text, form);
  if (value.kind != Kind::kText || !fits) RaiseMismatch(value, wanted);
  return "{" + std::string(word) + " '" + value.text + "'}";
}

std::string Apostrophes(const DataSession& session, std::string_view text) {
  const bool national = session.exact && session.exact->product->nationalTexts && AsciiPrefix(text) < text.size();
  std::string literal = (national ? "N'" : "'") + ReplaceAll(text, "'", "''") + "'";
  return session.dialect->splitsBraces ? ReplaceAll(literal, "{", "{'+'") : literal;
}

std::string Quoted(const DataSession& session, const ExactValue& value) {
  if (value.kind == Kind::kBytes || !IsValidUtf8(value.text)) RaiseMismatch(value, "a text");
  if (value.text.find('\0') != std::string::npos) {
    const std::string_view pattern = session.exact ? session.exact->product->textOfBytes : std::string_view();
    if (!pattern.empty()) return ReplaceAll(pattern, "$", BytesToHex(Bytes(value.text.begin(), value.text.end())));
    throw Error(error_number::kOwn, "A text value holds a NUL character, which no statement can carry.");
  }
  return Apostrophes(session, value.text);
}

const std::string& RequireNumber(const ExactValue& value) {
  if (value.kind == Kind::kBytes || !IsNumberText(value.text)) RaiseMismatch(value, "a number");
  return value.text;
}

template <typename Number>
std::optional<Number> Parse(std::string_view text) {
  Number number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

/// A double with 17 digits, which any parser that errs by less than a unit of the next digit reads as the same.
std::string Digits17(double number) {
  constexpr int kBehindThePoint = 16;
  std::array<char, 48> buffer{};
  const auto* const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                        std::chars_format::scientific, kBehindThePoint)
                              .ptr;
  return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

/// The digits of the double that the nearest single is. What is beyond the singles stays: it is not equal to any.
std::string SingleDigits(const ExactValue& value) {
  const std::string& text = RequireNumber(value);
  const std::optional<float> single = Parse<float>(text);
  return single ? Digits17(static_cast<double>(*single)) : text;
}

std::string HexOf(const ExactValue& value) {
  if (value.kind != Kind::kBytes) RaiseMismatch(value, "a sequence of bytes");
  return BytesToHex(Bytes(value.text.begin(), value.text.end()));
}

std::string BytesLiteral(const DataSession& session, const ExactValue& value) {
  const std::string digits = HexOf(value);
  if (!digits.empty()) return "0x" + digits;
  return std::string(session.exact ? session.exact->product->emptyBytes : ExactProduct().emptyBytes);
}

// ---- SQLite's literals ----

std::string SqliteNumber(const ExactValue& value) {
  if (value.text == "Infinity") return "9e999";
  if (value.text == "-Infinity") return "-9e999";
  const std::string& text = RequireNumber(value);
  const bool isReal = text.find_first_of(".eE") != std::string::npos;
  if (!isReal && Parse<std::int64_t>(text)) return text;
  const std::optional<double> number = Parse<double>(text);
  if (!number) return text;  // out of range, which SQLite makes an infinity or a zero of
  if (*number != 0 && std::abs(*number) < kSqliteLeast) {
    return "(" + Digits17(std::ldexp(*number, kSqliteScaleExponent)) + "/" + std::string(kSqliteScale) + ")";
  }
  return Digits17(*number);
}

/// Pieces between null characters, which a statement cannot carry, joined by char(0).
std::string SqliteTextWithNulls(const DataSession& session, const std::string& text) {
  std::string literal = "(";
  std::string_view separator;
  for (const std::string& piece : Split(text, std::string_view("\0", 1))) {
    literal.append(separator).append(Apostrophes(session, piece));
    separator = "||char(0)||";
  }
  return literal + ")";
}

/// Concatenated, so that it has no affinity, by which SQLite would convert what it is compared with.
std::string SqliteTextOfBytes(const std::string& text) {
  return "(''||CAST(X'" + BytesToHex(Bytes(text.begin(), text.end())) + "' AS TEXT))";
}

std::string SqliteLiteral(const DataSession& session, const ExactValue& value) {
  switch (value.kind) {
    case Kind::kNumber:
      return SqliteNumber(value);
    case Kind::kBytes:
      return "X'" + HexOf(value) + "'";
    case Kind::kText:
      if (!IsValidUtf8(value.text)) return SqliteTextOfBytes(value.text);
      if (value.text.find('\0') != std::string::npos) return SqliteTextWithNulls(session, value.text);
      return Apostrophes(session, value.text);
    case Kind::kNull:
      break;
  }
  RaiseMismatch(value, "a value");
}

}  // namespace

std::string ExactLiteral(const DataSession& session, LiteralStyle style, const ExactValue& value) {
  if (value.IsNull()) RaiseMismatch(value, "a value");
  switch (style) {
    case LiteralStyle::kNumber:
      return RequireNumber(value);
    case LiteralStyle::kSingle:
      return SingleDigits(value);
    case LiteralStyle::kQuoted:
      return Quoted(session, value);
    case LiteralStyle::kBytes:
      return BytesLiteral(session, value);
    case LiteralStyle::kHexText:
      return "'" + HexOf(value) + "'";
    case LiteralStyle::kDate:
      return Escape(value, "d", kDateForm, false, "a date");
    case LiteralStyle::kTime:
      return Escape(value, "t", kTimeForm, true, "a time");
    case LiteralStyle::kTimeStamp:
      return Escape(value, "ts", kTimeStampForm, true, "a date and time");
    case LiteralStyle::kByKind:
      return SqliteLiteral(session, value);
  }
  RaiseMismatch(value, "a value");
}

}  // namespace ods
