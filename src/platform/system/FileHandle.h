// Open files: an owned one, whole writes and pieces of reading, what the system says of a failure, and names that
// nobody else makes up.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

#include "NativeFile.h"

namespace ods {

/// An owned open file, or what else the system hands out like one, closed when the object ends.
class FileHandle {
 public:
  FileHandle() = default;
  explicit FileHandle(NativeFile file) noexcept : file_(file) {}
  ~FileHandle() { Close(); }
  FileHandle(FileHandle&& other) noexcept : file_(other.Release()) {}
  FileHandle& operator=(FileHandle&& other) noexcept;
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;

  /// False for what a failed call gives.
  explicit operator bool() const noexcept { return file_ != kNoFile; }
  [[nodiscard]] NativeFile Get() const noexcept { return file_; }
  /// Hands the open file over to the caller.
  [[nodiscard]] NativeFile Release() noexcept;
  /// Closes now; no error when all is well or nothing was open.
  std::error_code Close() noexcept;

 private:
  NativeFile file_ = kNoFile;
};

/// An open file, or why there is none.
struct OpenedFile {
  FileHandle file;
  std::error_code failure;

  explicit operator bool() const noexcept { return static_cast<bool>(file); }
};

/// Why the last call of the system in this thread failed.
[[nodiscard]] std::error_code LastSystemError() noexcept;
/// Raises error 1000 `what` + ": " + the system's text for `failure`.
[[noreturn]] void RaiseSystemError(const std::string& what, const std::error_code& failure);
/// Raises error 1000 `what` + " (" + its number + "). " + the system's text for `failure`.
[[noreturn]] void RaiseNumberedSystemError(const std::string& what, const std::error_code& failure);

/// Opens a file for reading, from its beginning.
[[nodiscard]] OpenedFile OpenForReading(const std::string& path);
/// Reads at most `size` bytes from where the file stands; `got` of them, 0 at its end.
[[nodiscard]] std::error_code ReadSome(const FileHandle& file, void* buffer, std::size_t size, std::size_t& got);
/// The same from `offset` bytes behind the file's beginning, wherever it stands.
[[nodiscard]] std::error_code ReadSomeAt(const FileHandle& file, std::uint64_t offset, void* buffer, std::size_t size,
                                         std::size_t& got);
/// Writes all of `text`.
[[nodiscard]] std::error_code WriteAll(const FileHandle& file, std::string_view text);

/// Random bytes of the system; false when it has none.
[[nodiscard]] bool FillWithRandom(void* bytes, std::size_t size);
/// Sixteen random hexadecimal digits for a name that nobody else makes up. Raises error 1000 when the system has none.
[[nodiscard]] std::string RandomNamePart();

}  // namespace ods
