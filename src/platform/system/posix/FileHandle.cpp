#include "platform/system/FileHandle.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

namespace ods {

namespace {

/// What read(2) or pread(2) gave.
std::error_code TakeCount(ssize_t count, std::size_t& got) {
  got = count > 0 ? static_cast<std::size_t>(count) : 0;
  return count < 0 ? LastSystemError() : std::error_code();
}

}  // namespace

std::error_code FileHandle::Close() noexcept {
  // The descriptor is gone also when close fails (close(2)), so there is never a second attempt.
  const int descriptor = Release();
  return descriptor >= 0 && close(descriptor) != 0 ? LastSystemError() : std::error_code();
}

std::error_code LastSystemError() noexcept { return {errno, std::system_category()}; }

OpenedFile OpenForReading(const std::string& path) {
  FileHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  const std::error_code failure = file ? std::error_code() : LastSystemError();
  return {std::move(file), failure};
}

std::error_code ReadSome(const FileHandle& file, void* buffer, std::size_t size, std::size_t& got) {
  ssize_t count = 0;
  do {
    count = read(file.Get(), buffer, size);
  } while (count < 0 && errno == EINTR);
  return TakeCount(count, got);
}

std::error_code ReadSomeAt(const FileHandle& file, std::uint64_t offset, void* buffer, std::size_t size,
                           std::size_t& got) {
  ssize_t count = 0;
  do {
    count = pread(file.Get(), buffer, size, static_cast<off_t>(offset));
  } while (count < 0 && errno == EINTR);
  return TakeCount(count, got);
}

std::error_code WriteAll(const FileHandle& file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(file.Get(), text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      return LastSystemError();
    }
  }
  return {};
}

bool FillWithRandom(void* bytes, std::size_t size) { return getrandom(bytes, size, 0) == static_cast<ssize_t>(size); }

}  // namespace ods
