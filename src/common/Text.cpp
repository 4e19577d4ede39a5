#include "common/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace ods {

namespace {

// One row of the table of well-formed UTF-8 (Unicode standard, table 3-7): the first byte's range, the range of the
// second byte, and the length. Bytes from the third on are 80 to BF in every row.
struct Utf8Row {
  std::uint8_t firstLow, firstHigh, secondLow, secondHigh, length;
};

constexpr std::array<Utf8Row, 9> kUtf8Rows{{
    {0x00, 0x7F, 0x00, 0x00, 1},
    {0xC2, 0xDF, 0x80, 0xBF, 2},
    {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3},
    {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4},
}};

constexpr std::array<std::uint8_t, 256> MakeRowOfFirst() {
  std::array<std::uint8_t, 256> rows{};
  for (std::size_t byte = 0; byte < rows.size(); ++byte) {
    std::uint8_t row = 0;
    while (row < kUtf8Rows.size() && (byte < kUtf8Rows[row].firstLow || byte > kUtf8Rows[row].firstHigh)) ++row;
    rows[byte] = row;
  }
  return rows;
}
/// The row of a first byte; the number of rows for one that begins no character.
constexpr std::array<std::uint8_t, 256> kRowOfFirst = MakeRowOfFirst();

char UpperLetter(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
char LowerLetter(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

template <typename Letter>
std::string MapLetters(std::string_view text, Letter letter) {
  std::string mapped(text);
  std::transform(mapped.begin(), mapped.end(), mapped.begin(), letter);
  return mapped;
}

}  // namespace

std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to) {
  std::string result;
  if (from.empty()) return result.assign(text);
  result.reserve(text.size());
  std::size_t start = 0;
  for (std::size_t hit = text.find(from); hit != std::string_view::npos; hit = text.find(from, start)) {
    result.append(text, start, hit - start).append(to);
    start = hit + from.size();
  }
  return result.append(text, start);
}

std::vector<std::string> Split(std::string_view text, std::string_view separator) {
  std::vector<std::string> pieces;
  std::size_t start = 0;
  if (!separator.empty()) {
    for (std::size_t hit = text.find(separator); hit != std::string_view::npos; hit = text.find(separator, start)) {
      pieces.emplace_back(text.substr(start, hit - start));
      start = hit + separator.size();
    }
  }
  pieces.emplace_back(text.substr(start));
  return pieces;
}

std::string Join(const std::vector<std::string>& pieces, std::string_view separator) {
  std::string text;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (i > 0) text += separator;
    text += pieces[i];
  }
  return text;
}

void AppendToList(std::string& list, std::string_view separator, std::string_view piece) {
  if (!list.empty()) list += separator;
  list += piece;
}

std::string_view WithoutByteOrderMark(std::string_view text) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  return text;
}

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string ToUpper(std::string_view text) { return MapLetters(text, UpperLetter); }

std::string ToLower(std::string_view text) { return MapLetters(text, LowerLetter); }

std::string XPathLiteral(std::string_view text) {
  if (text.find('\'') == std::string_view::npos) return "'" + std::string(text) + "'";
  return "concat('" + ReplaceAll(text, "'", "',\"'\",'") + "')";
}

std::optional<char32_t> NextCharacter(std::string_view& text) {
  if (text.empty()) return std::nullopt;
  const auto byteAt = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t first = byteAt(0);
  const Utf8Row* const row = kUtf8Rows.data() + kRowOfFirst[first];
  if (row == kUtf8Rows.data() + kUtf8Rows.size() || text.size() < row->length) return std::nullopt;
  if (row->length > 1 && (byteAt(1) < row->secondLow || byteAt(1) > row->secondHigh)) return std::nullopt;
  // The first byte carries 7, 5, 4 or 3 bits.
  char32_t character = row->length == 1 ? first : first & (0x7FU >> row->length);
  for (std::size_t i = 1; i < row->length; ++i) {
    if ((byteAt(i) & 0xC0) != 0x80) return std::nullopt;
    character = character << 6 | (byteAt(i) & 0x3FU);
  }
  text.remove_prefix(row->length);
  return character;
}

void AppendCharacter(std::string& text, char32_t character) {
  const auto append = [&](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
  const auto appendFollowing = [&](unsigned shift) { append(0x80U | ((character >> shift) & 0x3FU)); };
  if (character < 0x80) {
    append(character);
  } else if (character < 0x800) {
    append(0xC0U | (character >> 6U));
    appendFollowing(0);
  } else if (character < 0x10000) {
    append(0xE0U | (character >> 12U));
    appendFollowing(6);
    appendFollowing(0);
  } else {
    append(0xF0U | (character >> 18U));
    appendFollowing(12);
    appendFollowing(6);
    appendFollowing(0);
  }
}

std::size_t AsciiPrefix(std::string_view text) {
  std::size_t length = 0;
  for (std::uint64_t block = 0; length + sizeof block <= text.size(); length += sizeof block) {
    std::memcpy(&block, text.data() + length, sizeof block);
    if ((block & 0x8080808080808080U) != 0) break;
  }
  while (length < text.size() && static_cast<std::uint8_t>(text[length]) < 0x80) ++length;
  return length;
}

bool IsValidUtf8(std::string_view text) {
  for (text.remove_prefix(AsciiPrefix(text)); !text.empty(); text.remove_prefix(AsciiPrefix(text))) {
    if (!NextCharacter(text)) return false;
  }
  return true;
}

}  // namespace ods
