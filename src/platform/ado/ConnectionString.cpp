#include "platform/ado/ConnectionString.h"

#include <algorithm>

#include "common/Conversions.h"
#include "common/Text.h"
#include "platform/ado/OdbcRules.h"
#include "platform/system/Registry.h"

namespace ods::odbc {

namespace {

/// Takes the next value off the front: up to the separator, or to the brace that closes it, which doubled stands for
/// itself.
std::string TakeValue(std::string_view& rest) {
  std::string value;
  const std::size_t start = std::min(rest.find_first_not_of(' '), rest.size());
  if (start < rest.size() && rest[start] == '{') {
    rest.remove_prefix(start + 1);
    while (!rest.empty()) {
      const char c = rest.front();
      rest.remove_prefix(1);
      if (c == '}') {
        if (!rest.starts_with('}')) break;
        rest.remove_prefix(1);
      }
      value += c;
    }
    rest.remove_prefix(std::min(rest.find(';'), rest.size()));
  } else {
    const std::size_t end = std::min(rest.find(';'), rest.size());
    value = Trim(rest.substr(0, end));
    rest.remove_prefix(end);
  }
  if (!rest.empty()) rest.remove_prefix(1);
  return value;
}

/// A value of the driver manager's configuration, of the user before that of the machine.
std::string Configured(const std::string& file, const std::string& section, const char* name) {
  for (const char* const root : {"HKCU", "HKLM"}) {
    const std::string text =
        SafeStr(RegRead(std::string(root) + "\\Software\\ODBC\\" + file + "\\" + section + "\\" + name));
    if (!text.empty()) return text;
  }
  return "";
}

}  // namespace

std::string ConnectionStringValue(std::string_view connectionString, std::string_view keyword) {
  const std::string wanted = ToUpper(keyword);
  while (!connectionString.empty()) {
    const std::size_t end = connectionString.find_first_of("=;");
    if (end == std::string_view::npos) break;
    const std::string name = ToUpper(Trim(connectionString.substr(0, end)));
    const bool hasValue = connectionString[end] == '=';
    connectionString.remove_prefix(end + 1);
    if (!hasValue) continue;
    std::string value = TakeValue(connectionString);
    if (name == wanted) return value;
  }
  return "";
}

std::string DriverFileOf(std::string_view connectionString) {
  std::string driver = ConnectionStringValue(connectionString, "DRIVER");
  const std::string source = ConnectionStringValue(connectionString, "DSN");
  if (driver.empty() && !source.empty()) driver = Configured("ODBC.INI", source, "Driver");
  if (driver.empty() || driver.find('/') != std::string::npos) return driver;
  const std::string file = Configured("ODBCINST.INI", driver, "Driver");
  return file.empty() ? driver : file;
}

std::string WithConnectLimit(const std::string& connectionString, int connectSeconds) {
  if (connectSeconds <= 0) return connectionString;
  const DriverRule& rule = RuleOfDriver(DriverFileOf(connectionString));
  if (rule.connectLimit.empty() || !ConnectionStringValue(connectionString, rule.connectLimit).empty()) {
    return connectionString;
  }
  const bool separated = connectionString.empty() || connectionString.ends_with(';');
  return connectionString + (separated ? "" : ";") + std::string(rule.connectLimit) + "=" +
         std::to_string(connectSeconds);
}

}  // namespace ods::odbc
