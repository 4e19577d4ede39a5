#include "platform/system/FileHandle.h"

#include <cerrno>
#include <sys/random.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "common/Error.h"
#include "common/Hex.h"

namespace ods {

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
  Bytes bytes(8);
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    RaiseSystemError("Unable to get random bytes", errno);
  }
  return BytesToHex(bytes);
}

}  // namespace ods
