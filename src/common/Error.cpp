#include "common/Error.h"

#include <cstdio>

namespace ods {

std::string ErrorNumberHex(std::int32_t number) {
  char text[9];
  std::snprintf(text, sizeof text, "%X", static_cast<std::uint32_t>(number));
  return text;
}

}  // namespace ods
