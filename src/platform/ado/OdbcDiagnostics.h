// The diagnostics of the driver manager's handles as errors.
//
// Internal to this folder.
#pragma once

#include <cstdint>
#include <sql.h>
#include <string_view>

namespace ods::odbc {

/// ADO's error number for a five-character SQLSTATE.
[[nodiscard]] std::int32_t ErrorNumberOfState(std::string_view sqlState);

/// Raises the error that a handle's diagnostic records describe: the number by the first record's SQLSTATE, the texts
/// of all of them, each once, joined by "; ".
[[noreturn]] void RaiseDiagnostics(SQLSMALLINT handleType, SQLHANDLE handle);

}  // namespace ods::odbc
