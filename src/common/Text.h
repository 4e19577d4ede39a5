// Small operations on UTF-8 text that several rooms share.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ods {

/// `text` with every occurrence of `from` replaced by `to`, left to right; unchanged when `from` is empty.
[[nodiscard]] std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to);
/// The pieces of `text` between the occurrences of `separator`; empty pieces are kept, so there is at least one.
[[nodiscard]] std::vector<std::string> Split(std::string_view text, std::string_view separator);
/// The pieces with `separator` between them; "" for no piece.
[[nodiscard]] std::string Join(const std::vector<std::string>& pieces, std::string_view separator);
/// Appends a piece to a list that is being written, with `separator` before it unless the list is still empty.
void AppendToList(std::string& list, std::string_view separator, std::string_view piece);
/// `text` without the UTF-8 byte-order mark that it may begin with.
[[nodiscard]] std::string_view WithoutByteOrderMark(std::string_view text);
/// `text` without the blanks (code 32) at both ends.
[[nodiscard]] std::string_view Trim(std::string_view text);
/// ASCII letters in upper, lower case; every other byte stays.
[[nodiscard]] std::string ToUpper(std::string_view text);
[[nodiscard]] std::string ToLower(std::string_view text);
/// An XPath 1.0 string expression that evaluates to exactly `text`: in apostrophes, or a concat() when it holds one.
[[nodiscard]] std::string XPathLiteral(std::string_view text);
/// The first character of `text`, which is then shortened by it; nothing, and `text` unchanged, when it is empty or
/// does not begin with well-formed UTF-8.
[[nodiscard]] std::optional<char32_t> NextCharacter(std::string_view& text);
/// Appends the UTF-8 of a character, which is at most U+10FFFF and no surrogate.
void AppendCharacter(std::string& text, char32_t character);
/// The number of ASCII characters (codes 0 to 127) that `text` begins with.
[[nodiscard]] std::size_t AsciiPrefix(std::string_view text);
/// True when `text` is well-formed UTF-8 (Unicode standard, table 3-7).
[[nodiscard]] bool IsValidUtf8(std::string_view text);

}  // namespace ods
