// The position of a row in an exact order: the values of the whole order, and which of the rows that are equal in all
// of them it is. Nothing has to be read again to go on from it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "exact/ExactValue.h"

namespace ods {

/// Rows that are equal in the whole order are told apart by counting from the end of the order where reading began.
enum class CountedFrom : std::uint8_t { kFront, kBack };

struct ExactPosition {
  std::uint64_t table = 0;  ///< fingerprint of the table's identifier
  std::uint64_t order = 0;  ///< fingerprint of the order
  CountedFrom from = CountedFrom::kFront;
  /// So many rows from that end on are equal to this one, itself counted; 1 where rows are told apart by the order.
  std::uint32_t count = 1;
  std::vector<ExactValue> values;  ///< one for each term of the order

  friend bool operator==(const ExactPosition&, const ExactPosition&) = default;
};

/// What a position of an exact order begins with. No position of another kind does.
inline constexpr std::string_view kExactPositionMark = "exact-";

/// As clients get it: the mark and hexadecimal digits.
[[nodiscard]] std::string PositionText(const ExactPosition& position);

/// The position of a text from a client. Raises error 13 for a text that is none, and says so when it is a position
/// made without exact paging.
[[nodiscard]] ExactPosition ParsePosition(std::string_view text);

}  // namespace ods
