#include "platform/system/FileHandle.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <sys/random.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "common/Error.h"

namespace ods {

namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

bool StandsForItself(char letter) {
  return (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z') || (letter >= '0' && letter <= '9') ||
         letter == '.' || letter == '_' || letter == '-';
}

int HexDigitValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

void AppendHex(std::string& text, std::uint8_t byte) {
  text += kHexDigits[byte >> 4U];
  text += kHexDigits[byte & 0x0FU];
}

}  // namespace

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
  if (this != &other) {
    Close();
    descriptor_ = other.Release();
  }
  return *this;
}

int FileHandle::Release() noexcept { return std::exchange(descriptor_, -1); }

int FileHandle::Close() noexcept {
  // The descriptor is gone also when close fails (close(2)), so there is never a second attempt.
  const int descriptor = Release();
  return descriptor >= 0 && close(descriptor) != 0 ? errno : 0;
}

std::string SystemErrorText(int number) { return std::system_category().message(number); }

void RaiseSystemError(const std::string& what, int number) {
  throw Error(error_number::kOwn, what + ": " + SystemErrorText(number));
}

int WriteAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

std::string RandomNamePart() {
  std::array<std::uint8_t, 8> bytes{};
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    RaiseSystemError("Unable to get random bytes", errno);
  }
  std::string text;
  for (const std::uint8_t byte : bytes) AppendHex(text, byte);
  return text;
}

std::string PercentEncode(std::string_view text) {
  std::string encoded;
  encoded.reserve(text.size());
  for (const char letter : text) {
    if (StandsForItself(letter) && !(letter == '.' && encoded.empty())) {
      encoded += letter;
    } else {
      encoded += '%';
      AppendHex(encoded, static_cast<std::uint8_t>(letter));
    }
  }
  return encoded;
}

std::string PercentDecode(std::string_view encoded) {
  std::string text;
  text.reserve(encoded.size());
  for (std::size_t i = 0; i < encoded.size(); ++i) {
    const bool complete = encoded[i] == '%' && i + 2 < encoded.size();
    const int high = complete ? HexDigitValue(encoded[i + 1]) : -1;
    const int low = complete ? HexDigitValue(encoded[i + 2]) : -1;
    if (high >= 0 && low >= 0) {
      text += static_cast<char>(high * 16 + low);
      i += 2;
    } else {
      text += encoded[i];
    }
  }
  return text;
}

}  // namespace ods
