#include "platform/system/FileFacts.h"

#include "platform/system/win32/Win32.h"

namespace ods {

namespace {

std::uint64_t Joined(DWORD high, DWORD low) { return (std::uint64_t{high} << 32U) | low; }

/// Of the system's count of 100 nanoseconds since 1601.
FileTime ToTime(std::int64_t ticks) {
  constexpr std::int64_t kTicksPerSecond = 10'000'000;
  constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;
  return {.seconds = ticks / kTicksPerSecond - kSecondsTo1970, .nanoseconds = ticks % kTicksPerSecond * 100};
}

FileTime ToTime(const FILETIME& time) {
  return ToTime(static_cast<std::int64_t>(Joined(time.dwHighDateTime, time.dwLowDateTime)));
}

/// True for a link, also to a folder. Other files that the system has something to add to (of a cloud, say) are plain.
bool IsLink(const FileHandle& file, DWORD attributes) {
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return false;
  FILE_ATTRIBUTE_TAG_INFO tag{};
  return GetFileInformationByHandleEx(AsHandle(file), FileAttributeTagInfo, &tag, sizeof tag) == 0 ||
         IsReparseTagNameSurrogate(tag.ReparseTag);
}

}  // namespace

FileFacts FactsOf(const FileHandle& file) {
  BY_HANDLE_FILE_INFORMATION facts{};
  if (GetFileInformationByHandle(AsHandle(file), &facts) == 0) {
    const std::error_code failure = LastSystemError();
    if (GetFileType(AsHandle(file)) != FILE_TYPE_DISK) return {};  // a device or a pipe has nothing to tell
    RaiseSystemError("Unable to look at a file", failure);
  }
  FILE_BASIC_INFO times{};
  const bool changeKnown = GetFileInformationByHandleEx(AsHandle(file), FileBasicInfo, &times, sizeof times) != 0;
  const bool isFolder = (facts.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  const bool isLink = IsLink(file, facts.dwFileAttributes);
  const FileTime modified = ToTime(facts.ftLastWriteTime);
  return {.device = facts.dwVolumeSerialNumber,
          .inode = Joined(facts.nFileIndexHigh, facts.nFileIndexLow),
          .plain = !isFolder && !isLink,
          .folder = isFolder && !isLink,
          .size = Joined(facts.nFileSizeHigh, facts.nFileSizeLow),
          .modified = modified,
          .changed = changeKnown && times.ChangeTime.QuadPart != 0 ? ToTime(times.ChangeTime.QuadPart) : modified};
}

std::optional<FileFacts> FactsOf(const std::string& path) {
  const FileHandle file = OwnHandle(CreateFileW(WidePath(path).c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  if (!file) return std::nullopt;
  return FactsOf(file);
}

}  // namespace ods
