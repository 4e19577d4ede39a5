#include "common/PercentCode.h"

#include <cstddef>
#include <cstdint>

#include "common/Hex.h"

namespace ods {

namespace {

bool StandsForItself(char letter) {
  return (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z') || (letter >= '0' && letter <= '9') ||
         letter == '.' || letter == '_' || letter == '-';
}

}  // namespace

std::string PercentEncode(std::string_view text) {
  std::string encoded;
  encoded.reserve(text.size());
  for (const char letter : text) {
    if (StandsForItself(letter) && !(letter == '.' && encoded.empty())) {
      encoded += letter;
    } else {
      encoded += '%';
      AppendHex(encoded, static_cast<std::uint8_t>(letter));
    }
  }
  return encoded;
}

std::string PercentDecode(std::string_view encoded) {
  std::string text;
  text.reserve(encoded.size());
  for (std::size_t i = 0; i < encoded.size(); ++i) {
    const bool complete = encoded[i] == '%' && i + 2 < encoded.size();
    const int high = complete ? HexDigitValue(encoded[i + 1]) : -1;
    const int low = complete ? HexDigitValue(encoded[i + 2]) : -1;
    if (high >= 0 && low >= 0) {
      text += static_cast<char>(high * 16 + low);
      i += 2;
    } else {
      text += encoded[i];
    }
  }
  return text;
}

}  // namespace ods
