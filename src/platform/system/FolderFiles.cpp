#include "platform/system/FolderFiles.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include "common/Error.h"

namespace ods {

namespace {

constexpr mode_t kModeBits = 07777;

FileFacts ToFacts(const struct stat& facts) {
  return {.device = facts.st_dev,
          .inode = facts.st_ino,
          .plain = S_ISREG(facts.st_mode),
          .folder = S_ISDIR(facts.st_mode),
          .mode = facts.st_mode & kModeBits,
          .group = facts.st_gid,
          .size = static_cast<std::uint64_t>(facts.st_size),
          .modified = {facts.st_mtim.tv_sec, facts.st_mtim.tv_nsec},
          .changed = {facts.st_ctim.tv_sec, facts.st_ctim.tv_nsec}};
}

}  // namespace

bool IsSettled(const FileTime& time) {
  // Clocks of file systems go in steps of up to 2 seconds (FAT).
  constexpr std::int64_t kCoarsestSeconds = 2;
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return FileTime{time.seconds + kCoarsestSeconds, time.nanoseconds} < FileTime{now.tv_sec, now.tv_nsec};
}

FileFacts FactsOf(const FileHandle& file) {
  struct stat facts {};
  if (fstat(file.Get(), &facts) != 0) RaiseSystemError("Unable to look at a file", errno);
  return ToFacts(facts);
}

std::optional<FileFacts> FactsOf(const FileHandle& folder, const std::string& name) {
  struct stat facts {};
  if (fstatat(folder.Get(), name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
  return ToFacts(facts);
}

std::optional<FileFacts> FactsOf(const std::string& path) {
  struct stat facts {};
  if (stat(path.c_str(), &facts) != 0) return std::nullopt;
  return ToFacts(facts);
}

FileHandle OpenForReading(const FileHandle& folder, const std::string& name) {
  return FileHandle(openat(folder.Get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

std::string ReadWhole(const FileHandle& file, std::uint64_t limit, const std::string& what) {
  const std::uint64_t size = FactsOf(file).size;
  if (size > limit) {
    throw Error(error_number::kOwn, what + " is larger than " + std::to_string(limit) + " bytes.");
  }
  std::string text(static_cast<std::size_t>(size), '\0');
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t got = pread(file.Get(), text.data() + done, text.size() - done, static_cast<off_t>(done));
    if (got < 0 && errno != EINTR) RaiseSystemError(what + " cannot be read", errno);
    if (got == 0) break;  // it became shorter in the meantime
    if (got > 0) done += static_cast<std::size_t>(got);
  }
  text.resize(done);
  return text;
}

void ForEachName(const FileHandle& folder, const std::function<void(const std::string&)>& visit) {
  const auto closeFolder = [](DIR* open) { closedir(open); };
  // A descriptor of its own: the position of a duplicate would be shared.
  FileHandle listed(openat(folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const std::unique_ptr<DIR, decltype(closeFolder)> names(listed ? fdopendir(listed.Get()) : nullptr, closeFolder);
  if (!names) RaiseSystemError("Unable to list a folder", errno);
  (void)listed.Release();  // closed by closedir
  while (const dirent* entry = readdir(names.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") visit(name);
  }
}

int MoveFile(const FileHandle& from, const std::string& name, const FileHandle& to, const std::string& newName) {
  if (renameat2(from.Get(), name.c_str(), to.Get(), newName.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // This file system lacks the flag. A link is not made over an existing name either.
  if (linkat(from.Get(), name.c_str(), to.Get(), newName.c_str(), 0) != 0) return errno;
  return unlinkat(from.Get(), name.c_str(), 0) == 0 ? 0 : errno;
}

}  // namespace ods
