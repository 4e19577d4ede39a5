#include "Width.h"

#include <optional>

#include "CharacterWidth.h"
#include "common/Text.h"

namespace odbc_data {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

int WidthOf(char32_t character) { return character >= 0x20 && character < 0x7F ? 1 : CharacterWidth(character); }

char32_t Picture(char32_t character) {
  if (character < 0x20) return 0x2400 + character;
  if (character == 0x7F) return 0x2421;
  return WidthOf(character) < 0 ? kReplacement : character;
}

/// Calls `take` with each character and its bytes, until it gives false.
template <typename Take>
void ForEachCharacter(std::string_view text, Take take) {
  while (!text.empty()) {
    const std::string_view before = text;
    const std::optional<char32_t> character = ods::NextCharacter(text);
    if (!character) text.remove_prefix(1);
    if (!take(character.value_or(kReplacement), before.substr(0, before.size() - text.size()))) return;
  }
}

std::size_t ShownWidth(char32_t character) {
  const int width = WidthOf(character);
  return width > 0 ? static_cast<std::size_t>(width) : 0;
}

}  // namespace

std::string VisibleText(std::string_view text) {
  std::string visible;
  visible.reserve(text.size());
  ForEachCharacter(text, [&](char32_t character, std::string_view /*bytes*/) {
    ods::AppendCharacter(visible, Picture(character));
    return true;
  });
  return visible;
}

std::size_t DisplayWidth(std::string_view text) {
  std::size_t width = 0;
  ForEachCharacter(text, [&](char32_t character, std::string_view /*bytes*/) {
    width += ShownWidth(character);
    return true;
  });
  return width;
}

std::string CutToWidth(std::string_view text, std::size_t width) {
  if (DisplayWidth(text) <= width) return std::string(text);
  if (width == 0) return "";
  std::string cut;
  std::size_t used = 1;  // the ellipsis
  ForEachCharacter(text, [&](char32_t character, std::string_view bytes) {
    used += ShownWidth(character);
    if (used > width) return false;
    cut += bytes;
    return true;
  });
  return cut.append(kEllipsis);
}

std::string BehindWidth(std::string_view text, std::size_t columns) {
  std::string rest;
  std::size_t used = 0;
  ForEachCharacter(text, [&](char32_t character, std::string_view bytes) {
    const std::size_t width = ShownWidth(character);
    if (used >= columns && (width > 0 || used > columns || columns == 0)) {
      rest += bytes;
    } else if (used + width > columns) {
      rest += ' ';
    }
    used += width;
    return true;
  });
  return rest;
}

}  // namespace odbc_data
