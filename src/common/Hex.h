// Bytes as hexadecimal text and back: the form in which positions travel. And single digits.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "common/Value.h"

namespace ods {

/// Appends the two upper-case hexadecimal digits of a byte.
void AppendHex(std::string& text, std::uint8_t byte);
/// The value of a hexadecimal digit, upper or lower case; -1 for any other character.
[[nodiscard]] int HexDigitValue(char digit);

/// Two upper-case hexadecimal digits a byte, nothing between; "" for an empty value or no bytes.
/// Raises error 13 when the value is neither empty nor bytes.
[[nodiscard]] std::string BytesToHex(const Value& bytes);
[[nodiscard]] std::string BytesToHex(const Bytes& bytes);

/// The bytes of hexadecimal text, upper or lower case. The number of bytes is half the length, rounded to the nearest
/// integer with halves to even: a last single digit counts as a byte of its own where there is room for it ("ABC" gives
/// AB 0C); where there is none (lengths 1, 5, 9, ...) the text cannot be decoded.
/// Raises error 13 "Type mismatch" for that and for any character that is no hexadecimal digit.
[[nodiscard]] Bytes HexToBytes(std::string_view text);

/// The bytes of pairs of hexadecimal digits as a text; nothing where there is another character, or half a pair.
[[nodiscard]] std::optional<std::string> TextOfHex(std::string_view digits);

}  // namespace ods
