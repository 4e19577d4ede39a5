#include <cstdint>
#include <iterator>

#include "common/Error.h"
#include "common/Hex.h"
#include "platform/system/FileHandle.h"
#include "platform/system/System.h"

namespace ods {

std::string FormatGuid(const std::uint8_t (&bytes)[16]) {
  std::string text;
  text.reserve(36);
  for (std::size_t i = 0; i < std::size(bytes); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    AppendHex(text, bytes[i]);
  }
  return text;
}

std::string NewGuidText() {
  std::uint8_t bytes[16];
  if (!FillWithRandom(bytes, sizeof bytes)) {
    throw Error(error_number::kOwn, "Error generating guid. Function did not return S_OK");
  }
  // RFC 9562, section 5.4: version 4 in the high half of byte 6, variant 10 in the high bits of byte 8.
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0FU) | 0x40U);
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3FU) | 0x80U);
  return FormatGuid(bytes);
}

}  // namespace ods
