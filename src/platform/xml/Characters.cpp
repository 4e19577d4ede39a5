#include "platform/xml/Characters.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <optional>

#include "common/Text.h"
#include "platform/xml/Xml.h"

namespace ods::xml {

namespace {

struct Range {
  char32_t first, last;
};

// Production 4, NameStartChar, in ascending order.
constexpr std::array<Range, 16> kNameStart{{{':', ':'},
                                            {'A', 'Z'},
                                            {'_', '_'},
                                            {'a', 'z'},
                                            {0xC0, 0xD6},
                                            {0xD8, 0xF6},
                                            {0xF8, 0x2FF},
                                            {0x370, 0x37D},
                                            {0x37F, 0x1FFF},
                                            {0x200C, 0x200D},
                                            {0x2070, 0x218F},
                                            {0x2C00, 0x2FEF},
                                            {0x3001, 0xD7FF},
                                            {0xF900, 0xFDCF},
                                            {0xFDF0, 0xFFFD},
                                            {0x10000, 0xEFFFF}}};

// What production 4a, NameChar, adds to it.
constexpr std::array<Range, 5> kNameMore{{{'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}}};

template <typename Ranges>
constexpr bool IsIn(const Ranges& ranges, char32_t character) {
  return std::any_of(std::begin(ranges), std::end(ranges),
                     [character](const Range& range) { return character >= range.first && character <= range.last; });
}

enum AsciiKind : unsigned char { kNoName, kNameOnly, kStartsName };

constexpr std::array<AsciiKind, 128> MakeAsciiKinds() {
  std::array<AsciiKind, 128> kinds{};
  for (char32_t c = 0; c < kinds.size(); ++c) {
    if (IsIn(kNameStart, c)) {
      kinds[c] = kStartsName;
    } else if (IsIn(kNameMore, c)) {
      kinds[c] = kNameOnly;
    }
  }
  return kinds;
}

constexpr std::array<AsciiKind, 128> kAsciiKinds = MakeAsciiKinds();

AsciiKind KindOf(char32_t character) {
  if (character < kAsciiKinds.size()) return kAsciiKinds[character];
  if (IsIn(kNameStart, character)) return kStartsName;
  return IsIn(kNameMore, character) ? kNameOnly : kNoName;
}

// The number of bytes at the start of `text` that are ASCII from the blank on: what needs no closer look.
std::size_t PlainPrefix(std::string_view text) {
  constexpr std::uint64_t kOnes = 0x0101010101010101U;
  constexpr std::uint64_t kHighs = 0x8080808080808080U;
  std::size_t length = 0;
  for (std::uint64_t block = 0; length + sizeof block <= text.size(); length += sizeof block) {
    std::memcpy(&block, text.data() + length, sizeof block);
    // A byte below the blank borrows from its highest bit; one from 128 on has it set.
    if (((block | (block - kOnes * 0x20)) & kHighs) != 0) break;
  }
  while (length < text.size() && static_cast<std::uint8_t>(text[length]) >= 0x20 &&
         static_cast<std::uint8_t>(text[length]) < 0x80) {
    ++length;
  }
  return length;
}

/// True for the bytes of a text that are written as they are, and are a character by themselves.
constexpr std::array<bool, 256> MakeUnescaped() {
  std::array<bool, 256> unescaped{};
  for (std::size_t c = 0x20; c < 0x80; ++c) unescaped[c] = c != '&' && c != '<' && c != '>';
  unescaped['\t'] = unescaped['\n'] = true;
  return unescaped;
}
constexpr std::array<bool, 256> kUnescaped = MakeUnescaped();

/// True when one of the eight bytes in `block` is not an unescaped one from the blank on.
bool NeedsALook(std::uint64_t block) {
  constexpr std::uint64_t kOnes = 0x0101010101010101U;
  constexpr std::uint64_t kHighs = 0x8080808080808080U;
  // A byte that is 0 borrows from its highest bit, as one below the blank does when that is taken from it. A byte that
  // is taken for one of these wrongly lies behind one that is.
  const auto zeros = [](std::uint64_t bytes) { return (bytes - kOnes) & ~bytes; };
  const std::uint64_t lessOrGreater = (block | kOnes * 0x02) ^ kOnes * '>';  // "<" and ">" differ in that bit
  const std::uint64_t ampersand = block ^ kOnes * '&';
  const std::uint64_t control = (block - kOnes * 0x20) & ~block;
  return ((block | zeros(lessOrGreater) | zeros(ampersand) | control) & kHighs) != 0;
}

/// Copies the unescaped bytes that `text` begins with to `to`, and takes them from it. There is room for all of it.
char* CopyUnescaped(std::string_view& text, char* to) {
  const char* from = text.data();
  const char* const end = from + text.size();
  for (std::uint64_t block = 0; end - from >= static_cast<std::ptrdiff_t>(sizeof block); from += sizeof block) {
    std::memcpy(&block, from, sizeof block);
    if (NeedsALook(block)) break;
    std::memcpy(to, &block, sizeof block);
    to += sizeof block;
  }
  while (from < end && kUnescaped[static_cast<std::uint8_t>(*from)]) *to++ = *from++;
  text = {from, end};
  return to;
}

/// What a character is written as that would be markup; "" for any other.
std::string_view EntityOf(char c) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    default:
      return {};
  }
}

// Takes one character that may stand in a document; nothing taken when there is none.
bool TakeXmlCharacter(std::string_view& text) {
  std::string_view rest = text;
  const std::optional<char32_t> character = NextCharacter(rest);
  if (!character || !IsChar(*character)) return false;
  text = rest;
  return true;
}

}  // namespace

bool IsChar(char32_t character) {
  if (character < 0x20) return character == '\t' || character == '\n' || character == '\r';
  return character <= 0xD7FF || (character >= 0xE000 && character <= 0xFFFD) ||
         (character >= 0x10000 && character <= 0x10FFFF);
}

std::size_t NamePrefix(std::string_view text) {
  std::string_view rest = text;
  for (AsciiKind needed = kStartsName; !rest.empty(); needed = kNameOnly) {
    std::string_view next = rest;
    const std::optional<char32_t> character = NextCharacter(next);
    if (!character || KindOf(*character) < needed) break;
    rest = next;
  }
  return text.size() - rest.size();
}

}  // namespace ods::xml

namespace ods {

bool IsXmlText(std::string_view text) {
  for (text.remove_prefix(xml::PlainPrefix(text)); !text.empty(); text.remove_prefix(xml::PlainPrefix(text))) {
    if (!xml::TakeXmlCharacter(text)) return false;
  }
  return true;
}

bool AppendXmlText(TextBuffer& xml, std::string_view text, std::string_view before, std::string_view after) {
  constexpr std::string_view kCarriageReturn = "&#13;";  // which would be lost at the next parser
  constexpr std::size_t kPiece = 4096;
  constexpr std::size_t kLongest = kCarriageReturn.size();  // that one byte becomes
  const std::size_t size = xml.Size();
  // Pieces end anywhere: what is cut is looked at as a whole, since a character is taken from the text itself.
  std::string_view piece = text.substr(0, kPiece);
  char* to = TextBuffer::Put(xml.Room(before.size() + piece.size() * kLongest + after.size()), before);
  while (true) {
    const std::size_t pieceSize = piece.size();
    to = xml::CopyUnescaped(piece, to);
    text.remove_prefix(pieceSize - piece.size());
    if (piece.empty()) {
      if (text.empty()) break;
      xml.EndAt(to);
      piece = text.substr(0, kPiece);
      to = xml.Room(piece.size() * kLongest + after.size());
      continue;
    }
    const std::string_view rest = text;
    const std::string_view entity = text.front() == '\r' ? kCarriageReturn : xml::EntityOf(text.front());
    if (!entity.empty()) {
      to = TextBuffer::Put(to, entity);
      text.remove_prefix(1);
    } else if (xml::TakeXmlCharacter(text)) {
      to = TextBuffer::Put(to, rest.substr(0, rest.size() - text.size()));
    } else {
      xml.Truncate(size);
      return false;
    }
    piece.remove_prefix(std::min(piece.size(), rest.size() - text.size()));
  }
  xml.EndAt(TextBuffer::Put(to, after));
  return true;
}

std::string EscapeXml(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  while (!text.empty()) {
    const std::string_view before = text;
    if (const std::string_view entity = xml::EntityOf(text.front()); !entity.empty()) {
      escaped += entity;
    } else {
      if (xml::TakeXmlCharacter(text)) {
        escaped += before.substr(0, before.size() - text.size());
        continue;
      }
      // A forbidden character leaves as a whole, of invalid UTF-8 one byte.
      escaped += '?';
      if (NextCharacter(text)) continue;
    }
    text.remove_prefix(1);
  }
  return escaped;
}

}  // namespace ods
