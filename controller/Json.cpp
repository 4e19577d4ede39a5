#include "Json.h"

#include <cstdint>
#include <optional>

#include "common/Hex.h"
#include "common/Text.h"

namespace ods::controller {

std::string JsonText(std::string_view text) {
  std::string json = "\"";
  while (!text.empty()) {
    const std::optional<char32_t> character = NextCharacter(text);
    if (!character) {
      text.remove_prefix(1);
      json += '?';
    } else if (*character == U'"' || *character == U'\\') {
      json += '\\';
      json += static_cast<char>(*character);
    } else if (*character < 0x20) {
      json += "\\u00";
      AppendHex(json, static_cast<std::uint8_t>(*character));
    } else {
      AppendCharacter(json, *character);
    }
  }
  return json + "\"";
}

}  // namespace ods::controller
