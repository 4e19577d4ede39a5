// Text and numbers as JSON (RFC 8259).
#pragma once

#include <string>
#include <string_view>

namespace ods::controller {

/// `text` in quotes; what is not well-formed UTF-8 becomes "?".
[[nodiscard]] std::string JsonText(std::string_view text);

}  // namespace ods::controller
