#include "platform/ado/OdbcDiagnostics.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "common/Error.h"
#include "common/Text.h"
#include "platform/ado/OdbcText.h"

namespace ods::odbc {

namespace {

constexpr std::int32_t Signed(std::uint32_t number) { return static_cast<std::int32_t>(number); }

struct StateNumber {
  std::string_view prefix;
  std::int32_t number;
};

/// ADO's numbers by the beginning of the SQLSTATE; a longer beginning stands before a shorter one.
constexpr std::array<StateNumber, 7> kStateNumbers = {{
    {"42S02", Signed(0x80040E37)},  // no such table
    {"HYT00", Signed(0x80040E31)},  // time-out
    {"HYT01", Signed(0x80040E31)},  // connection time-out
    {"42", Signed(0x80040E14)},     // syntax or access rule
    {"28", Signed(0x80040E4D)},     // log-in refused
    {"23", Signed(0x80040E2F)},     // constraint
    {"22", Signed(0x80040E07)},     // data
}};

std::string WithoutTrailingSpace(std::string text) {
  while (!text.empty() && static_cast<unsigned char>(text.back()) <= ' ') text.pop_back();
  return text;
}

struct DiagnosticRecord {
  std::string state;
  std::string text;
  SQLINTEGER native = 0;
};

/// A diagnostic text. Where the driver manager could not convert a narrow driver's text by the locale, it has made
/// every byte a character: such a text is UTF-8 when its characters are taken as bytes again.
std::string FromDiagnosticText(std::span<const SQLWCHAR> text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (const SQLWCHAR unit : text) {
    if (unit > 0xFF) return ToUtf8(text);
    bytes += static_cast<char>(static_cast<unsigned char>(unit));
  }
  return IsValidUtf8(bytes) ? bytes : ToUtf8(text);
}

/// The diagnostic record of a number from 1; nothing past the last.
std::optional<DiagnosticRecord> ReadDiagnostic(SQLSMALLINT handleType, SQLHANDLE handle, SQLSMALLINT number) {
  constexpr std::size_t kMostUnits = 0x7FFF;
  std::array<SQLWCHAR, SQL_SQLSTATE_SIZE + 1> state{};
  std::vector<SQLWCHAR> text(1024);
  SQLINTEGER nativeError = 0;
  SQLSMALLINT given = 0;
  const auto read = [&] {
    return SQL_SUCCEEDED(SQLGetDiagRecW(handleType, handle, number, state.data(), &nativeError, text.data(),
                                        static_cast<SQLSMALLINT>(text.size()), &given));
  };
  if (!read()) return std::nullopt;
  auto units = static_cast<std::size_t>(std::max<SQLSMALLINT>(given, 0));
  if (units >= text.size()) {
    text.resize(std::min(units + 1, kMostUnits));
    if (!read()) return std::nullopt;
    units = std::min(units, text.size() - 1);
  }
  return DiagnosticRecord{ToUtf8(std::span(state).first(SQL_SQLSTATE_SIZE)),
                          WithoutTrailingSpace(FromDiagnosticText(UpToNull(std::span<const SQLWCHAR>(text), units))),
                          nativeError};
}

}  // namespace

std::int32_t ErrorNumberOfState(std::string_view sqlState) {
  const auto* const found = std::find_if(kStateNumbers.begin(), kStateNumbers.end(),
                                         [&](const StateNumber& row) { return sqlState.starts_with(row.prefix); });
  return found == kStateNumbers.end() ? error_number::kGeneralFailure : found->number;
}

void RaiseDiagnostics(SQLSMALLINT handleType, SQLHANDLE handle) {
  constexpr SQLSMALLINT kMostRecords = 16;
  std::string firstState;
  SQLINTEGER firstNative = 0;
  std::vector<std::string> texts;
  for (SQLSMALLINT number = 1; number <= kMostRecords; ++number) {
    std::optional<DiagnosticRecord> record = ReadDiagnostic(handleType, handle, number);
    if (!record) break;
    if (number == 1) {
      firstState = record->state;
      firstNative = record->native;
    }
    const bool isNew = std::find(texts.begin(), texts.end(), record->text) == texts.end();
    if (isNew && !record->text.empty()) texts.push_back(std::move(record->text));
  }
  std::string description;
  for (const std::string& text : texts) description += (description.empty() ? "" : "; ") + text;
  if (description.empty()) description = "The database driver failed without saying why.";
  throw DriverError(std::move(firstState), firstNative, description);
}

}  // namespace ods::odbc
