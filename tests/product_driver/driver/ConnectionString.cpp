#include "product_driver/driver/ConnectionString.h"

#include <charconv>

#include "common/Text.h"
#include "product_driver/driver/DriverError.h"

namespace ods::product_driver {

ConnectionString::ConnectionString(std::string_view text) {
  while (!text.empty()) {
    const std::size_t equals = text.find('=');
    const std::size_t end = text.find(';');
    if (equals == std::string_view::npos || equals > end) {
      if (!Trim(text.substr(0, end)).empty()) {
        throw DriverError(sql_state::kCannotConnect, "The connection string has a part without '='.");
      }
      text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
      continue;
    }
    const std::string name = ToUpper(Trim(text.substr(0, equals)));
    text.remove_prefix(equals + 1);
    const bool braces = text.starts_with('{');
    const std::size_t valueEnd = std::min(text.size(), text.find(braces ? '}' : ';'));
    values_.try_emplace(name, text.substr(braces ? 1 : 0, valueEnd - (braces ? 1 : 0)));
    const std::size_t next = text.find(';', valueEnd);
    text.remove_prefix(next == std::string_view::npos ? text.size() : next + 1);
  }
}

std::string ConnectionString::Text(std::string_view name) const {
  const auto found = values_.find(ToUpper(name));
  return found == values_.end() ? "" : found->second;
}

std::int64_t ConnectionString::Number(std::string_view name) const {
  const std::string text = Text(name);
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  if (!text.empty() && std::from_chars(text.data(), end, number).ptr != end) {
    throw DriverError(sql_state::kCannotConnect, std::string(name) + " is no number: " + text);
  }
  return number;
}

}  // namespace ods::product_driver
