// The files of an open folder. Names are looked up in the folder itself and never through a link, so nobody can lead
// the work elsewhere by exchanging the folder's path or a file.
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
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
  unsigned mode = 0;  ///< the permissions, with the set-user-id, set-group-id and sticky bits
  unsigned group = 0;
  std::uint64_t size = 0;
  FileTime modified;  ///< the content
  FileTime changed;   ///< anything of the file; of a folder: also the names in it

  bool operator==(const FileFacts&) const = default;
  [[nodiscard]] bool IsSameFile(const FileFacts& other) const { return device == other.device && inode == other.inode; }
};

/// The facts of an open file. Raises error 1000.
[[nodiscard]] FileFacts FactsOf(const FileHandle& file);
/// The facts of a name in a folder (of a link itself); nothing when there is none.
[[nodiscard]] std::optional<FileFacts> FactsOf(const FileHandle& folder, const std::string& name);
/// The facts of what a path leads to; nothing when there is none.
[[nodiscard]] std::optional<FileFacts> FactsOf(const std::string& path);
/// Opens a file of a folder for reading; never follows a link and never waits. Failed: no handle and errno.
[[nodiscard]] FileHandle OpenForReading(const FileHandle& folder, const std::string& name);
/// All of an open file, in one read where the system gives it at once. Raises error 1000 with `what` when it is longer
/// than `limit` bytes or cannot be read.
[[nodiscard]] std::string ReadWhole(const FileHandle& file, std::uint64_t limit, const std::string& what);
/// Calls `visit` for every name in a folder, "." and ".." left out. Raises error 1000.
void ForEachName(const FileHandle& folder, const std::function<void(const std::string&)>& visit);
/// Moves a file and never overwrites one: gives the system's error number (EEXIST), 0 when it was moved.
[[nodiscard]] int MoveFile(const FileHandle& from, const std::string& name, const FileHandle& to,
                           const std::string& newName);

}  // namespace ods
