#include "platform/system/FileHandle.h"

#include <utility>

#include "common/Error.h"
#include "common/Hex.h"

namespace ods {

FileHandle& FileHandle::operator=(FileHandle&& other) noexcept {
  if (this != &other) {
    Close();
    file_ = other.Release();
  }
  return *this;
}

NativeFile FileHandle::Release() noexcept { return std::exchange(file_, kNoFile); }

void RaiseSystemError(const std::string& what, const std::error_code& failure) {
  throw Error(error_number::kOwn, what + ": " + failure.message());
}

void RaiseNumberedSystemError(const std::string& what, const std::error_code& failure) {
  throw Error(error_number::kOwn, what + " (" + std::to_string(failure.value()) + "). " + failure.message());
}

std::string RandomNamePart() {
  Bytes bytes(8);
  if (!FillWithRandom(bytes.data(), bytes.size())) {
    throw Error(error_number::kOwn, "The system gives no random bytes.");
  }
  return BytesToHex(bytes);
}

}  // namespace ods
