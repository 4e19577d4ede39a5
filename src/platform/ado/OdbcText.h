// The driver manager's text as UTF-8, and back.
//
// Internal to this folder. Text travels through the wide (W) functions as UTF-16. A driver that has none of its own is
// called through the narrow ones in UTF-8 instead: the driver manager would otherwise squeeze every character into the
// locale's 8 bits on the way.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "OdbcApi.h"

namespace ods::odbc {

/// UTF-8 as the driver manager's UTF-16. Bytes that are no UTF-8 become U+FFFD. Not null-terminated.
[[nodiscard]] std::vector<SQLWCHAR> ToUtf16(std::string_view text);
/// UTF-16 as UTF-8. A surrogate without its partner becomes U+FFFD.
[[nodiscard]] std::string ToUtf8(std::span<const SQLWCHAR> text);
/// The same, appended to `result`.
void AppendUtf8(std::string& result, std::span<const SQLWCHAR> text);
/// Bytes that a driver without wide functions gave, which hands on whatever the database holds: what is no UTF-8
/// becomes U+FFFD.
[[nodiscard]] std::string FromNarrowText(std::string_view bytes);

/// The text in a buffer up to its closing null, which stands behind `units` units or later: odbc-mariadb understates
/// lengths.
template <typename Unit>
[[nodiscard]] std::span<const Unit> UpToNull(std::span<const Unit> buffer, std::size_t units) {
  while (units < buffer.size() && buffer[units] != 0) ++units;
  return buffer.first(units);
}

}  // namespace ods::odbc
