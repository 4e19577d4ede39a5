// What the tests of both kinds of filters share.
#pragma once

#include <cstddef>
#include <string>

namespace ods::test {

inline const std::string kFilteredTable = "[TABLE]Customer";

inline constexpr const char* kTooLong =
    "The request makes a statement of more than 16777216 bytes. Ask with shorter or fewer conditions.";

inline std::string Repeat(const std::string& piece, std::size_t times) {
  std::string text;
  while (times-- > 0) text += piece;
  return text;
}

}  // namespace ods::test
