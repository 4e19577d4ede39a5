#include "Password.h"

#include "common/Error.h"
#include "common/Text.h"
#include "platform/system/PrivateFile.h"

namespace ods::controller {

std::string ReadPasswordFile(const std::string& path) {
  std::string text = ReadPrivateFile(path, "The password file");
  if (text.ends_with('\n')) text.pop_back();
  if (text.ends_with('\r')) text.pop_back();
  if (text.empty()) throw Error(error_number::kOwn, "The password file \"" + path + "\" is empty.");
  if (text.find_first_of(std::string_view("\n\r\0", 3)) != std::string::npos) {
    throw Error(error_number::kOwn, "The password file \"" + path + "\" holds more than one line.");
  }
  return text;
}

std::string WithConnectionValue(std::string connection, std::string_view keyword, std::string_view value) {
  if (!connection.empty() && !connection.ends_with(';')) connection += ';';
  connection.append(keyword).append("=");
  const bool plain =
      value.find_first_of("[]{}(),;?*=!@") == std::string_view::npos && Trim(value).size() == value.size();
  if (plain) return connection.append(value);
  return connection + "{" + ReplaceAll(value, "}", "}}") + "}";
}

}  // namespace ods::controller
