#include "platform/system/FileHandle.h"

#include <algorithm>

#include "platform/system/win32/Win32.h"

namespace ods {

namespace {

/// More than a call takes is done in pieces.
DWORD Piece(std::size_t size) { return static_cast<DWORD>(std::min<std::size_t>(size, std::size_t{1} << 30U)); }

std::error_code Read(const FileHandle& file, void* buffer, std::size_t size, OVERLAPPED* where, std::size_t& got) {
  DWORD count = 0;
  const BOOL read = ::ReadFile(AsHandle(file), buffer, Piece(size), &count, where);
  got = read != 0 ? count : 0;
  const DWORD number = read != 0 ? ERROR_SUCCESS : GetLastError();
  // The end of a file, and of a pipe whose writer is gone, is no failure.
  return number == ERROR_HANDLE_EOF || number == ERROR_BROKEN_PIPE ? std::error_code() : SystemError(number);
}

}  // namespace

std::error_code FileHandle::Close() noexcept {
  const NativeFile handle = Release();
  return handle != kNoFile && CloseHandle(AsHandle(handle)) == 0 ? LastSystemError() : std::error_code();
}

std::error_code LastSystemError() noexcept { return SystemError(GetLastError()); }

OpenedFile OpenForReading(const std::string& path) {
  FileHandle file = OwnHandle(CreateFileW(WidePath(path).c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
  const std::error_code failure = file ? std::error_code() : LastSystemError();
  return {std::move(file), failure};
}

std::error_code ReadSome(const FileHandle& file, void* buffer, std::size_t size, std::size_t& got) {
  return Read(file, buffer, size, nullptr, got);
}

std::error_code ReadSomeAt(const FileHandle& file, std::uint64_t offset, void* buffer, std::size_t size,
                           std::size_t& got) {
  OVERLAPPED where{};
  where.Offset = static_cast<DWORD>(offset & 0xFFFFFFFFU);
  where.OffsetHigh = static_cast<DWORD>(offset >> 32U);
  return Read(file, buffer, size, &where, got);
}

std::error_code WriteAll(const FileHandle& file, std::string_view text) {
  while (!text.empty()) {
    DWORD written = 0;
    if (WriteFile(AsHandle(file), text.data(), Piece(text.size()), &written, nullptr) == 0) return LastSystemError();
    text.remove_prefix(written);
  }
  return {};
}

bool FillWithRandom(void* bytes, std::size_t size) {
  return BCryptGenRandom(nullptr, static_cast<PUCHAR>(bytes), static_cast<ULONG>(size),
                         BCRYPT_USE_SYSTEM_PREFERRED_RNG) == 0;
}

}  // namespace ods
