// What the system tells of files.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/system/FileHandle.h"

namespace ods {

/// A moment as the file system keeps it.
struct FileTime {
  std::int64_t seconds = 0;  ///< since 1970
  std::int64_t nanoseconds = 0;

  auto operator<=>(const FileTime&) const = default;
};

/// True when the moment is more than two seconds ago: whatever changes a file from now on gets a later time, however
/// coarse the clock of its file system is. A later time than now is not trusted either.
[[nodiscard]] bool IsSettled(const FileTime& time);

/// What the system tells of a file.
struct FileFacts {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  bool plain = false;
  bool folder = false;
  unsigned mode = 0;  ///< POSIX: the permissions, with the set-user-id, set-group-id and sticky bits
  unsigned group = 0;
  std::uint64_t size = 0;
  FileTime modified;  ///< the content
  FileTime changed;   ///< anything of the file; of a folder: also the names in it

  bool operator==(const FileFacts&) const = default;
  [[nodiscard]] bool IsSameFile(const FileFacts& other) const { return device == other.device && inode == other.inode; }
};

/// The facts of an open file. Raises error 1000.
[[nodiscard]] FileFacts FactsOf(const FileHandle& file);
/// The facts of what a path leads to; nothing when there is none.
[[nodiscard]] std::optional<FileFacts> FactsOf(const std::string& path);
/// All of an open file, in one read where the system gives it at once. Raises error 1000 with `what` when it is longer
/// than `limit` bytes or cannot be read.
[[nodiscard]] std::string ReadWhole(const FileHandle& file, std::uint64_t limit, const std::string& what);
/// The same of a file that was looked at before and then had `size` bytes: where it still has them, nobody looks again.
[[nodiscard]] std::string ReadWhole(const FileHandle& file, std::uint64_t size, std::uint64_t limit,
                                    const std::string& what);

}  // namespace ods
