// UTF-8, which SQLite and the driver keep, and UTF-16, which the wide functions of ODBC take and give.
#pragma once

#include <sqltypes.h>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ado/OdbcText.h"

namespace ods::product_driver {

using odbc::ToUtf16;

/// `length` counts units; SQL_NTS reads up to the closing null. No pointer gives "".
[[nodiscard]] std::string ToUtf8(const SQLWCHAR* text, SQLLEN length);

/// Puts as much of a text as fits into a buffer of `units` units, with a closing null; true when all of it fitted.
/// `length` is set to the units of the whole text. Either pointer may be null.
template <typename Length>
bool PutText(std::string_view text, SQLWCHAR* buffer, std::size_t units, Length* length) {
  const std::vector<SQLWCHAR> wide = ToUtf16(text);
  if (length != nullptr) *length = static_cast<Length>(wide.size());
  if (buffer == nullptr || units == 0) return buffer == nullptr;
  const std::size_t copied = wide.size() < units ? wide.size() : units - 1;
  for (std::size_t i = 0; i < copied; ++i) buffer[i] = wide[i];
  buffer[copied] = 0;
  return copied == wide.size();
}

/// The same with sizes in bytes, as some functions of ODBC have it.
template <typename Length>
bool PutTextBytes(std::string_view text, void* buffer, std::size_t bytes, Length* length) {
  const bool whole = PutText(text, static_cast<SQLWCHAR*>(buffer), bytes / sizeof(SQLWCHAR), length);
  if (length != nullptr) *length = static_cast<Length>(*length * static_cast<Length>(sizeof(SQLWCHAR)));
  return whole;
}

}  // namespace ods::product_driver
