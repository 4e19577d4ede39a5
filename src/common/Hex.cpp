#include "common/Hex.h"

#include <array>
#include <utility>

#include "common/Error.h"

namespace ods {

namespace {

constexpr std::string_view kDigits = "0123456789ABCDEF";
constexpr std::int8_t kNoDigit = -1;

constexpr std::array<std::int8_t, 256> MakeDigitValues() {
  std::array<std::int8_t, 256> values{};
  values.fill(kNoDigit);
  for (std::int8_t digit = 0; digit < 16; ++digit) {
    const char upper = kDigits[static_cast<std::size_t>(digit)];
    values[static_cast<std::uint8_t>(upper)] = digit;
    if (digit >= 10) values[static_cast<std::uint8_t>(upper - 'A' + 'a')] = digit;
  }
  return values;
}

constexpr std::array<std::int8_t, 256> kDigitValues = MakeDigitValues();

std::uint8_t DigitValue(char digit) {
  const int value = HexDigitValue(digit);
  if (value == kNoDigit) throw Error(error_number::kTypeMismatch, "Type mismatch");
  return static_cast<std::uint8_t>(value);
}

}  // namespace

void AppendHex(std::string& text, std::uint8_t byte) {
  text += kDigits[byte >> 4U];
  text += kDigits[byte & 0x0FU];
}

int HexDigitValue(char digit) { return kDigitValues[static_cast<std::uint8_t>(digit)]; }

std::string BytesToHex(const Bytes& bytes) {
  std::string text(bytes.size() * 2, '-');
  auto digit = text.begin();
  for (const std::uint8_t byte : bytes) {
    *digit++ = kDigits[byte >> 4];
    *digit++ = kDigits[byte & 0x0F];
  }
  return text;
}

std::string BytesToHex(const Value& bytes) {
  if (bytes.IsEmpty()) return {};
  if (const auto* held = bytes.GetIf<Bytes>()) return BytesToHex(*held);
  throw Error(error_number::kTypeMismatch, "Type mismatch");
}

Bytes HexToBytes(std::string_view text) {
  // Half the length, halves to even: of an odd length the last digit finds room only in every other case.
  const std::size_t half = text.size() / 2;
  const std::size_t size = text.size() % 2 == 0 ? half : half + half % 2;
  if (size < half + text.size() % 2) throw Error(error_number::kTypeMismatch, "Type mismatch");
  Bytes bytes(size);
  for (std::size_t i = 0; i < half; ++i) {
    bytes[i] = static_cast<std::uint8_t>(DigitValue(text[2 * i]) << 4 | DigitValue(text[2 * i + 1]));
  }
  if (half < size) bytes[half] = DigitValue(text.back());
  return bytes;
}

std::optional<std::string> TextOfHex(std::string_view digits) {
  if (digits.size() % 2 != 0) return std::nullopt;
  std::string text(digits.size() / 2, '\0');
  int all = 0;  // negative once one of them was
  const char* digit = digits.data();
  for (char& byte : text) {
    const int high = HexDigitValue(*digit++);
    const int low = HexDigitValue(*digit++);
    all |= high | low;
    byte = static_cast<char>(high * 16 + low);
  }
  return all < 0 ? std::nullopt : std::optional(std::move(text));
}

}  // namespace ods
