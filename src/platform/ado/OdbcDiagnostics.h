// The diagnostics of the driver manager's handles as errors.
//
// Internal to this folder.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "OdbcApi.h"
#include "common/Error.h"

namespace ods::odbc {

/// ADO's error number for a five-character SQLSTATE.
[[nodiscard]] std::int32_t ErrorNumberOfState(std::string_view sqlState);

/// An error that a driver or the driver manager told.
class DriverError : public Error {
 public:
  DriverError(std::string state, std::int32_t native, const std::string& description)
      : Error(ErrorNumberOfState(state), description), state_(std::move(state)), native_(native) {}

  /// The five characters of the first record's SQLSTATE.
  [[nodiscard]] const std::string& State() const { return state_; }
  /// The first record's native error number.
  [[nodiscard]] std::int32_t Native() const { return native_; }

 private:
  std::string state_;
  std::int32_t native_;
};

/// Raises the `DriverError` that a handle's diagnostic records describe: the number by the first record's SQLSTATE, the
/// texts of all of them, each once, joined by "; ".
[[noreturn]] void RaiseDiagnostics(SQLSMALLINT handleType, SQLHANDLE handle);

}  // namespace ods::odbc
