// ODBC connection strings: "keyword=value" pairs separated by ";", a value that holds one in braces.
//
// Internal to this folder.
#pragma once

#include <string>
#include <string_view>

namespace ods::odbc {

/// The value of a keyword, without regard to ASCII case; the first one counts. "" when it is missing.
[[nodiscard]] std::string ConnectionStringValue(std::string_view connectionString, std::string_view keyword);

/// The file name of the driver that a connection string names, by itself or through its data source; the text that it
/// names it by where nothing more is known of it. "" when it names none.
[[nodiscard]] std::string DriverFileOf(std::string_view connectionString);

/// The connection string with what makes its driver keep a limit of `connectSeconds` that it does not keep otherwise.
/// What the string says already stays.
[[nodiscard]] std::string WithConnectLimit(const std::string& connectionString, int connectSeconds);

}  // namespace ods::odbc
