#include "platform/queue/Folder.h"

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "platform/system/posix/FileStat.h"
#include "platform/system/posix/PrivateFolder.h"

namespace ods {

namespace {

constexpr mode_t kPrivateFile = S_IRUSR | S_IWUSR;

/// What a call that gives -1 when it fails has come to.
std::error_code Result(int value) { return value < 0 ? LastSystemError() : std::error_code(); }

OpenedFile Opened(int descriptor) {
  const std::error_code failure = Result(descriptor);
  return {FileHandle(descriptor), failure};
}

bool IsShared(const FileFacts& folder) { return (folder.mode & S_ISGID) != 0; }

}  // namespace

Folder::Folder(std::string path, Link link)
    : path_(std::move(path)),
      handle_(open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | (link == Link::kRefused ? O_NOFOLLOW : 0))),
      failure_(handle_ ? std::error_code() : LastSystemError()) {}

Folder Folder::OpenOrMake(const std::string& name) const {
  std::string path = PathIn(path_, name);
  const std::error_code made = MakePrivateFolder(handle_, name);
  if (made && made != std::errc::file_exists)
    RaiseSystemError("Unable to create the queue folder \"" + path + "\"", made);
  OpenedFile opened = Opened(openat(handle_.Get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!opened) RaiseSystemError("Unable to open the queue folder \"" + path + "\"", opened.failure);
  if (!made) {
    const FileFacts own = Facts();
    if (IsShared(own) && fchmod(opened.file.Get(), S_ISGID | S_IRWXU | (own.mode & S_IRWXG)) != 0) {
      RaiseSystemError("Unable to share the queue folder \"" + path + "\"", LastSystemError());
    }
  }
  return {std::move(path), std::move(opened.file)};
}

std::optional<FileFacts> Folder::FactsOf(const std::string& name) const {
  struct stat facts {};
  if (fstatat(handle_.Get(), name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
  return ToFacts(facts);
}

OpenedFile Folder::OpenForReading(const std::string& name) const {
  return Opened(openat(handle_.Get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

OpenedFile Folder::CreateNew(const std::string& name) const {
  constexpr int kNew = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  return Opened(openat(handle_.Get(), name.c_str(), kNew, kPrivateFile));
}

void Folder::Share(const FileHandle& file) const {
  const FileFacts rights = Facts();
  if (!IsShared(rights)) return;
  // The group first: its rights must never be those of another one.
  if (ods::FactsOf(file).group != rights.group && fchown(file.Get(), static_cast<uid_t>(-1), rights.group) != 0) return;
  (void)fchmod(file.Get(), kPrivateFile | (rights.mode & (S_IRGRP | S_IWGRP)));
}

std::error_code Folder::Remove(const std::string& name) const {
  return Result(unlinkat(handle_.Get(), name.c_str(), 0));
}

std::error_code Folder::Move(const std::string& name, const Folder& to, const std::string& newName) const {
  const int from = handle_.Get();
  const int into = to.handle_.Get();
  if (renameat2(from, name.c_str(), into, newName.c_str(), RENAME_NOREPLACE) == 0) return {};
  if (errno != EINVAL && errno != ENOSYS) return LastSystemError();
  // This file system lacks the flag. A link is not made over an existing name either.
  if (linkat(from, name.c_str(), into, newName.c_str(), 0) != 0) return LastSystemError();
  return Remove(name);
}

void Folder::ForEachName(const std::function<void(const std::string&)>& visit) const {
  const auto closeFolder = [](DIR* open) { closedir(open); };
  // A descriptor of its own: the position of a duplicate would be shared.
  FileHandle listed(openat(handle_.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const std::unique_ptr<DIR, decltype(closeFolder)> names(listed ? fdopendir(listed.Get()) : nullptr, closeFolder);
  if (!names) RaiseSystemError("Unable to list a folder", LastSystemError());
  (void)listed.Release();  // closed by closedir
  while (const dirent* entry = readdir(names.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") visit(name);
  }
}

std::error_code Folder::Sync() const { return SyncFile(handle_); }

std::error_code TryLock(const FileHandle& file) { return Result(flock(file.Get(), LOCK_EX | LOCK_NB)); }

std::error_code SyncFile(const FileHandle& file) { return Result(fsync(file.Get())); }

bool IsLackOfRoom(const std::error_code& failure) {
  const int number = failure.value();
  return number == ENOSPC || number == EDQUOT || number == EFBIG;
}

}  // namespace ods
