// The characters and names of XML 1.0 (fifth edition), for the files of this module only.
#pragma once

#include <cstddef>
#include <string_view>

namespace ods::xml {

/// Production 2, Char.
[[nodiscard]] bool IsChar(char32_t character);
/// The length in bytes of the name (production 5) that `text` begins with; 0 when it begins with none.
[[nodiscard]] std::size_t NamePrefix(std::string_view text);
[[nodiscard]] inline bool IsName(std::string_view text) { return !text.empty() && NamePrefix(text) == text.size(); }

}  // namespace ods::xml
