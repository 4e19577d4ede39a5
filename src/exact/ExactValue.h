// A value as exact paging carries it: the whole text of what the database holds, and what kind of thing that is.
//
// Nothing of it passes through a number of the processor: every width of integer, every digit of a decimal and every
// fraction of a second stays.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/Value.h"

namespace ods {

struct ExactValue {
  enum class Kind : std::uint8_t {
    kNull,
    kNumber,  ///< `text` is decimal digits, as `IsNumberText` takes them, or the name of what is no number ("NaN")
    kText,    ///< `text` is UTF-8; dates, times and GUIDs too
    kBytes,   ///< `text` is the bytes themselves
  };
  Kind kind = Kind::kNull;
  std::string text;

  friend bool operator==(const ExactValue&, const ExactValue&) = default;
  [[nodiscard]] bool IsNull() const { return kind == Kind::kNull; }
};

/// True for an optional "-", digits, an optional "." with digits, and an optional exponent ("E", sign, digits), of at
/// most 2,000 characters altogether.
[[nodiscard]] bool IsNumberText(std::string_view text);

/// True for the types of columns that hold numbers, of any kind but Booleans.
/// @param adoType ADO data type number
[[nodiscard]] bool IsNumberType(std::int32_t adoType);

/// The exact form of a value that a record set gave in the exact form of reading. Booleans are the numbers 1 and 0, a
/// single has the fewest digits that read back as the same single.
/// @param adoType ADO data type number of the column: tells singles from doubles
[[nodiscard]] ExactValue ExactValueOf(const Value& value, std::int32_t adoType);

/// The exact form of a text that tells kind and value, as SQLite's columns are read:
/// - NULL, an integer, '...', X'...' as quote() writes them,
/// - a number with a point or an exponent, Inf, -Inf: a real, whose exact form has the fewest digits and an exponent,
/// - "S" and a number: the real that is it divided by 2 to the power of 496, for reals too near to zero,
/// - "Z" and hexadecimal digits: the bytes of a text "ZZ" + value in the database's encoding. These need not be valid.
/// Raises error 13 for anything else.
[[nodiscard]] ExactValue ExactValueOfQuoted(std::string_view quoted);

/// The text that clients see: a number laid out as everywhere (`FormatDouble` for one with an exponent), bytes as
/// hexadecimal digits, "" for null. A text need not be valid UTF-8: SQLite keeps any bytes as a text.
[[nodiscard]] std::string DisplayText(const ExactValue& value);

}  // namespace ods
