#include "platform/system/FolderFiles.h"

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <unistd.h>
#include <utility>

#include "platform/system/posix/FileStat.h"

namespace ods {

std::optional<FileFacts> FactsOf(const FileHandle& folder, const std::string& name) {
  struct stat facts {};
  if (fstatat(folder.Get(), name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
  return ToFacts(facts);
}

OpenedFile OpenForReading(const FileHandle& folder, const std::string& name) {
  FileHandle file(openat(folder.Get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  const std::error_code failure = file ? std::error_code() : LastSystemError();
  return {std::move(file), failure};
}

void ForEachName(const FileHandle& folder, const std::function<void(const std::string&)>& visit) {
  const auto closeFolder = [](DIR* open) { closedir(open); };
  // A descriptor of its own: the position of a duplicate would be shared.
  FileHandle listed(openat(folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const std::unique_ptr<DIR, decltype(closeFolder)> names(listed ? fdopendir(listed.Get()) : nullptr, closeFolder);
  if (!names) RaiseSystemError("Unable to list a folder", LastSystemError());
  (void)listed.Release();  // closed by closedir
  while (const dirent* entry = readdir(names.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") visit(name);
  }
}

std::error_code MoveFile(const FileHandle& from, const std::string& name, const FileHandle& to,
                         const std::string& newName) {
  if (renameat2(from.Get(), name.c_str(), to.Get(), newName.c_str(), RENAME_NOREPLACE) == 0) return {};
  if (errno != EINVAL && errno != ENOSYS) return LastSystemError();
  // This file system lacks the flag. A link is not made over an existing name either.
  if (linkat(from.Get(), name.c_str(), to.Get(), newName.c_str(), 0) != 0) return LastSystemError();
  return unlinkat(from.Get(), name.c_str(), 0) == 0 ? std::error_code() : LastSystemError();
}

}  // namespace ods
