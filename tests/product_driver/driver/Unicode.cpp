#include "product_driver/driver/Unicode.h"

#include <sql.h>

#include "common/Text.h"

namespace ods::product_driver {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kFirstHighSurrogate = 0xD800;
constexpr char32_t kFirstLowSurrogate = 0xDC00;
constexpr char32_t kPastSurrogates = 0xE000;
constexpr char32_t kFirstSupplementary = 0x10000;

void AppendUtf8(std::string& text, char32_t code) {
  const auto add = [&](char32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
  if (code < 0x80) {
    add(code);
  } else if (code < 0x800) {
    add(0xC0U | (code >> 6U));
    add(0x80U | (code & 0x3FU));
  } else if (code < kFirstSupplementary) {
    add(0xE0U | (code >> 12U));
    add(0x80U | ((code >> 6U) & 0x3FU));
    add(0x80U | (code & 0x3FU));
  } else {
    add(0xF0U | (code >> 18U));
    add(0x80U | ((code >> 12U) & 0x3FU));
    add(0x80U | ((code >> 6U) & 0x3FU));
    add(0x80U | (code & 0x3FU));
  }
}

bool IsHigh(char32_t unit) { return unit >= kFirstHighSurrogate && unit < kFirstLowSurrogate; }
bool IsLow(char32_t unit) { return unit >= kFirstLowSurrogate && unit < kPastSurrogates; }

}  // namespace

std::vector<SQLWCHAR> ToUtf16(std::string_view text) {
  std::vector<SQLWCHAR> units;
  units.reserve(text.size());
  while (!text.empty()) {
    const std::size_t before = text.size();
    char32_t code = NextCharacter(text).value_or(kReplacement);
    if (text.size() == before) text.remove_prefix(1);
    if (code < kFirstSupplementary) {
      units.push_back(static_cast<SQLWCHAR>(code));
    } else {
      code -= kFirstSupplementary;
      units.push_back(static_cast<SQLWCHAR>(kFirstHighSurrogate + (code >> 10U)));
      units.push_back(static_cast<SQLWCHAR>(kFirstLowSurrogate + (code & 0x3FFU)));
    }
  }
  return units;
}

std::string ToUtf8(const SQLWCHAR* text, SQLLEN length) {
  std::string result;
  if (text == nullptr) return result;
  const auto more = [&](SQLLEN i) { return length == SQL_NTS ? text[i] != 0 : i < length; };
  for (SQLLEN i = 0; more(i); ++i) {
    char32_t code = text[i];
    if (IsHigh(code) && more(i + 1) && IsLow(text[i + 1])) {
      code = kFirstSupplementary + ((code - kFirstHighSurrogate) << 10U) + (text[++i] - kFirstLowSurrogate);
    } else if (IsHigh(code) || IsLow(code)) {
      code = kReplacement;
    }
    AppendUtf8(result, code);
  }
  return result;
}

}  // namespace ods::product_driver
