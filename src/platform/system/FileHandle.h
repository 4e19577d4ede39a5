// What the modules over POSIX files share: an owned descriptor, whole writes, and names that nobody else makes up.
#pragma once

#include <string>
#include <string_view>

namespace ods {

/// An owned file descriptor, closed when the object ends.
class FileHandle {
 public:
  FileHandle() = default;
  explicit FileHandle(int descriptor) noexcept : descriptor_(descriptor) {}
  ~FileHandle() { Close(); }
  FileHandle(FileHandle&& other) noexcept : descriptor_(other.Release()) {}
  FileHandle& operator=(FileHandle&& other) noexcept;
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;

  /// False for the descriptor -1 that a failed call gives.
  explicit operator bool() const noexcept { return descriptor_ >= 0; }
  [[nodiscard]] int Get() const noexcept { return descriptor_; }
  /// Hands the descriptor over to the caller.
  [[nodiscard]] int Release() noexcept;
  /// Closes now; gives the system's error number, 0 when all is well or nothing was open.
  int Close() noexcept;

 private:
  int descriptor_ = -1;
};

/// The system's text for an error number.
[[nodiscard]] std::string SystemErrorText(int number);
/// Raises error 1000 `what` + ": " + the system's text for `number`.
[[noreturn]] void RaiseSystemError(const std::string& what, int number);

/// Writes all of `text`; gives the system's error number, 0 when all is well.
[[nodiscard]] int WriteAll(int descriptor, std::string_view text);
/// Sixteen random hexadecimal digits for a name that nobody else makes up. Raises error 1000 when the system has none.
[[nodiscard]] std::string RandomNamePart();

}  // namespace ods
