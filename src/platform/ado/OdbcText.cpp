#include "platform/ado/OdbcText.h"

#include <optional>

#include "common/Text.h"

namespace ods::odbc {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kFirstHighSurrogate = 0xD800;
constexpr char32_t kFirstLowSurrogate = 0xDC00;
constexpr char32_t kPastSurrogates = 0xE000;
constexpr char32_t kFirstSupplementary = 0x10000;

}  // namespace

std::vector<SQLWCHAR> ToUtf16(std::string_view text) {
  std::vector<SQLWCHAR> units;
  units.reserve(text.size() + 1);
  while (!text.empty()) {
    const std::size_t ascii = AsciiPrefix(text);
    units.insert(units.end(), text.begin(), text.begin() + static_cast<std::ptrdiff_t>(ascii));
    text.remove_prefix(ascii);
    if (text.empty()) break;
    const std::optional<char32_t> character = NextCharacter(text);
    if (!character) text.remove_prefix(1);
    const char32_t code = character.value_or(kReplacement);
    if (code < kFirstSupplementary) {
      units.push_back(static_cast<SQLWCHAR>(code));
    } else {
      units.push_back(static_cast<SQLWCHAR>(kFirstHighSurrogate + ((code - kFirstSupplementary) >> 10U)));
      units.push_back(static_cast<SQLWCHAR>(kFirstLowSurrogate + ((code - kFirstSupplementary) & 0x3FFU)));
    }
  }
  return units;
}

std::string ToUtf8(std::span<const SQLWCHAR> text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t code = text[i];
    if (code < 0x80) {
      result += static_cast<char>(code);
      continue;
    }
    if (code >= kFirstHighSurrogate && code < kPastSurrogates) {
      const char32_t next = i + 1 < text.size() ? text[i + 1] : U'\0';
      if (code < kFirstLowSurrogate && next >= kFirstLowSurrogate && next < kPastSurrogates) {
        code = kFirstSupplementary + ((code - kFirstHighSurrogate) << 10U) + (next - kFirstLowSurrogate);
        ++i;
      } else {
        code = kReplacement;
      }
    }
    AppendCharacter(result, code);
  }
  return result;
}

std::string FromNarrowText(std::string_view bytes) {
  return IsValidUtf8(bytes) ? std::string(bytes) : ToUtf8(ToUtf16(bytes));
}

}  // namespace ods::odbc
