// Connection strings that carry a password.
#pragma once

#include <string>
#include <string_view>

namespace ods::controller {

/// `connection` with ";keyword=value", the value in braces where it needs them.
[[nodiscard]] std::string WithConnectionValue(std::string connection, std::string_view keyword, std::string_view value);

}  // namespace ods::controller
