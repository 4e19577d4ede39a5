// File names made from free text, and back.
#pragma once

#include <string>
#include <string_view>

namespace ods {

/// `text` with every byte outside A-Z a-z 0-9 . _ - (and a leading dot) as "%" and two upper-case hexadecimal digits.
[[nodiscard]] std::string PercentEncode(std::string_view text);
/// The text that `encoded` stands for; a "%" without two hexadecimal digits after it stands for itself.
[[nodiscard]] std::string PercentDecode(std::string_view encoded);

}  // namespace ods
