// An open folder, and the files in it by their names: all that the queue asks of a file system.
//
// Nothing here goes through a link, and an open folder stays the same one whatever happens to its path: a POSIX system
// reaches its files through its descriptor, Windows lets nobody move or remove it while it is open. So nobody can lead
// the queue elsewhere by exchanging a folder or a file while it works.
//
// Internal to this folder.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <system_error>

#include "platform/system/FileFacts.h"
#include "platform/system/FileHandle.h"

namespace ods {

class Folder {
 public:
  /// Whether a path itself may be a link to a folder.
  enum class Link { kFollowed, kRefused };

  /// Opens the folder of a path, in UTF-8; where that fails `Failure` says why.
  Folder(std::string path, Link link);

  explicit operator bool() const { return static_cast<bool>(handle_); }
  [[nodiscard]] const std::error_code& Failure() const { return failure_; }
  /// What it was opened by.
  [[nodiscard]] const std::string& Path() const { return path_; }
  /// The facts of the folder itself. Raises error 1000.
  [[nodiscard]] FileFacts Facts() const { return ods::FactsOf(handle_); }

  /// Opens the folder `name` in this one; where it is missing it is made for this user alone, and shared as this folder
  /// is. Raises error 1000 naming the path.
  [[nodiscard]] Folder OpenOrMake(const std::string& name) const;
  /// The facts of a name, of a link itself; nothing when there is none.
  [[nodiscard]] std::optional<FileFacts> FactsOf(const std::string& name) const;
  /// Opens a file for reading and never waits for it. Where there is no plain file the failure or `FactsOf` the opened
  /// one tells; a file that somebody keeps to himself is `device_or_resource_busy`.
  [[nodiscard]] OpenedFile OpenForReading(const std::string& name) const;
  /// Makes a file that is not there yet, for this user alone, and opens it for writing.
  [[nodiscard]] OpenedFile CreateNew(const std::string& name) const;
  /// Shares an open file with those whom the folder is shared with: where the system has it (the set-group-id bit) the
  /// file gets the folder's group and that group's right to read and to write. Else, and where the system refuses, the
  /// file stays as it is.
  void Share(const FileHandle& file) const;
  [[nodiscard]] std::error_code Remove(const std::string& name) const;
  /// Moves a file and never overwrites one: `file_exists` then.
  [[nodiscard]] std::error_code Move(const std::string& name, const Folder& to, const std::string& newName) const;
  /// Calls `visit` for every name, "." and ".." left out. Raises error 1000.
  void ForEachName(const std::function<void(const std::string&)>& visit) const;
  /// Has the names in the folder on the disk.
  [[nodiscard]] std::error_code Sync() const;

 private:
  Folder(std::string path, FileHandle handle) : path_(std::move(path)), handle_(std::move(handle)) {}

  std::string path_;
  FileHandle handle_;
  std::error_code failure_;
};

/// The name of a folder in another one, as a path.
[[nodiscard]] inline std::string PathIn(const std::string& folder, const std::string& name) {
  return folder + "/" + name;
}

/// Locks an open file against all others until it is closed; `operation_would_block` when somebody has it. The lock
/// goes with its process, and keeps nobody from reading or moving the file.
[[nodiscard]] std::error_code TryLock(const FileHandle& file);
/// Has the content of an open file on the disk.
[[nodiscard]] std::error_code SyncFile(const FileHandle& file);
/// True for the failures that a smaller file, or room made by others, can mend.
[[nodiscard]] bool IsLackOfRoom(const std::error_code& failure);

}  // namespace ods
