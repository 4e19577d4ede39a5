// The driver's connection string.
//
//   DRIVER=<path of the library>;Product=<DBMS name>;Database=<SQLite file>
//
//   DefaultDatabase=<name>   the current catalogue; none without it
//   ScaleDecimals=1          exact numbers come multiplied by 100,000
//   StatementFile=<file>     every statement that comes is appended to this file as it came, one a line
//   ShowMaxRows=1            before a statement that may give n rows at most stands the line "-- max rows n"
//   FailConnect=1            connecting fails
//   FailStatement=<n>        the statement of this number, counted from 1 since connecting, fails
//   FailFetch=<n>            fetching the row of this number of any statement fails
//   LoseStatement=<n>        the connection breaks with the statement of this number
//   ExitStatement=<n>        the statement of this number ends the process with the exit status 42
//   OmitIndicators=1         no indicator is written for a value of fixed size that is not null
//   OverrunBuffers=1         a byte is written behind each bound buffer, which must therefore be guarded
//   DelayStatement=<ms>      every statement takes this much longer
//   HangConnect=1            connecting does not come back
//   HangStatement=<n>        the statement of this number does not come back before it is cancelled
//   HangFetch=<n>            nor does fetching the row of this number of any statement
//   HangMilliseconds=<ms>    what does not come back does so after this time; an hour without it
//   IgnoreCancel=1           cancelling does nothing
//   HangCancel=1             cancelling does not come back either
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace ods::product_driver {

class ConnectionString {
 public:
  /// Takes "name=value" parts separated by ";"; a value that holds one stands in braces. Raises 08001 for a part
  /// without "=".
  explicit ConnectionString(std::string_view text);

  /// The value of a name, in upper or lower case; "" when it is missing.
  [[nodiscard]] std::string Text(std::string_view name) const;
  /// 0 when it is missing. Raises 08001 for what is no number.
  [[nodiscard]] std::int64_t Number(std::string_view name) const;

 private:
  std::map<std::string, std::string> values_;  ///< by upper-case name
};

}  // namespace ods::product_driver
