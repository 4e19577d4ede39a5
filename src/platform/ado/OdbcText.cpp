#include "platform/ado/OdbcText.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>

#include "common/Text.h"

namespace ods::odbc {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kFirstHighSurrogate = 0xD800;
constexpr char32_t kFirstLowSurrogate = 0xDC00;
constexpr char32_t kPastSurrogates = 0xE000;
constexpr char32_t kFirstSupplementary = 0x10000;

/// How many units at the beginning are ASCII characters.
std::size_t AsciiUnits(std::span<const SQLWCHAR> text) {
  constexpr std::size_t kUnits = sizeof(std::uint64_t) / sizeof(SQLWCHAR);
  std::size_t count = 0;
  for (std::uint64_t block = 0; count + kUnits <= text.size(); count += kUnits) {
    std::memcpy(&block, text.data() + count, sizeof block);
    if ((block & 0xFF80FF80FF80FF80U) != 0) break;
  }
  while (count < text.size() && text[count] < 0x80) ++count;
  return count;
}

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
  AppendUtf8(result, text);
  return result;
}

void AppendUtf8(std::string& result, std::span<const SQLWCHAR> text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (const std::size_t ascii = AsciiUnits(text.subspan(i)); ascii > 0) {
      const std::size_t size = result.size();
      result.resize(size + ascii);
      std::transform(text.data() + i, text.data() + i + ascii, result.data() + size,
                     [](SQLWCHAR unit) { return static_cast<char>(unit); });
      i += ascii;
      if (i == text.size()) return;
    }
    char32_t code = text[i];
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
}

std::string FromNarrowText(std::string_view bytes) {
  return IsValidUtf8(bytes) ? std::string(bytes) : ToUtf8(ToUtf16(bytes));
}

}  // namespace ods::odbc
