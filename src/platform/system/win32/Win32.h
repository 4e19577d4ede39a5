// The system's headers with what they would break held back, UTF-8 in and out of the system's UTF-16, and its handles.
#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
// clang-format off: the others need the first.
#include <aclapi.h>
#include <bcrypt.h>
#include <sddl.h>
#include <shellapi.h>
#include <windows.h>
// clang-format on
// Names of the system's functions that are macros there, and functions of this project.
#undef MessageBox
#undef MoveFile
#undef ReplaceFile

#include <memory>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/system/FileHandle.h"

namespace ods {

/// UTF-8 as the system's UTF-16 and back; what is malformed becomes U+FFFD.
[[nodiscard]] std::wstring ToWide(std::string_view text);
[[nodiscard]] std::string FromWide(std::wstring_view text);
/// A path as the system's calls take it: with "\" only, and in the form without a limit where it is long.
[[nodiscard]] std::wstring WidePath(std::string_view path);

[[nodiscard]] inline HANDLE AsHandle(NativeFile file) { return reinterpret_cast<HANDLE>(file); }
[[nodiscard]] inline HANDLE AsHandle(const FileHandle& file) { return AsHandle(file.Get()); }
/// Both of the system's signs of a failed call, INVALID_HANDLE_VALUE and nullptr, give no handle.
[[nodiscard]] inline FileHandle OwnHandle(HANDLE handle) {
  return handle == nullptr ? FileHandle() : FileHandle(reinterpret_cast<NativeFile>(handle));
}
[[nodiscard]] inline std::error_code SystemError(DWORD number) {
  return {static_cast<int>(number), std::system_category()};
}

/// Everybody else may read, write, move and remove the file meanwhile, as on other systems.
inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// What the system hands out by LocalAlloc.
struct LocalDeleter {
  void operator()(void* memory) const { LocalFree(memory); }
};
template <typename Type>
using LocalMemory = std::unique_ptr<Type, LocalDeleter>;

/// Who may use what is made with it: this user and the system, nobody else, and what is made in a folder likewise.
class PrivateSecurity {
 public:
  PrivateSecurity();

  /// nullptr, by which the system chooses, where it does not tell who this user is.
  [[nodiscard]] SECURITY_ATTRIBUTES* Attributes() { return descriptor_ ? &attributes_ : nullptr; }
  [[nodiscard]] SECURITY_DESCRIPTOR* Descriptor() const { return descriptor_.get(); }

 private:
  LocalMemory<SECURITY_DESCRIPTOR> descriptor_;
  SECURITY_ATTRIBUTES attributes_{};
};

/// Set when a stop from outside was asked for. Everybody who waits waits for it as well.
[[nodiscard]] HANDLE StopEvent();

}  // namespace ods
