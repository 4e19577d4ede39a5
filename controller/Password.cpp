#include "Password.h"

#include "common/Text.h"

namespace ods::controller {

std::string WithConnectionValue(std::string connection, std::string_view keyword, std::string_view value) {
  if (!connection.empty() && !connection.ends_with(';')) connection += ';';
  connection.append(keyword).append("=");
  const bool plain =
      value.find_first_of("[]{}(),;?*=!@") == std::string_view::npos && Trim(value).size() == value.size();
  if (plain) return connection.append(value);
  return connection + "{" + ReplaceAll(value, "}", "}}") + "}";
}

}  // namespace ods::controller
