// The folders of one queue on disk, and the moves of message files between them.
//
// Everything happens relative to descriptors of the folders and never through a link, so nobody can lead the queue
// elsewhere by exchanging a folder or a file while it works.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/system/FileHandle.h"

namespace ods {

/// What the queue needs to know of a file.
struct FileFacts {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  bool plain = false;
  bool folder = false;
  std::uint64_t size = 0;
  /// The modification time: seconds since 1970 and nanoseconds.
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;

  [[nodiscard]] bool IsSameFile(const FileFacts& other) const { return device == other.device && inode == other.inode; }
};

/// The facts of an open file. Raises error 1000.
[[nodiscard]] FileFacts FactsOf(const FileHandle& file);
/// The facts of a name in a folder (of a link itself); nothing when there is none.
[[nodiscard]] std::optional<FileFacts> FactsOf(const FileHandle& folder, const std::string& name);
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

/// True for the names of messages: they end in ".xml" and do not begin with a dot.
[[nodiscard]] bool IsMessageName(std::string_view name);

/// The four folders.
class QueueFolder {
 public:
  /// Opens the folders, making the missing ones (and missing parents) with mode 0700. Raises error 1000 naming the
  /// folder.
  explicit QueueFolder(std::string path);

  [[nodiscard]] const std::string& Path() const { return path_; }
  [[nodiscard]] std::string NewPath() const { return path_ + "/new"; }
  /// False when the path of the waiting messages names another folder by now, or none.
  [[nodiscard]] bool StillThere() const;

  [[nodiscard]] const FileHandle& Tmp() const { return tmp_; }
  [[nodiscard]] const FileHandle& New() const { return new_; }
  [[nodiscard]] const FileHandle& Cur() const { return cur_; }
  [[nodiscard]] const FileHandle& Failed() const { return failed_; }

  /// How many servers ended over a message by now, and one more; 0 when that cannot be noted.
  [[nodiscard]] int Tries(const std::string& name) const;
  [[nodiscard]] int CountTry(const std::string& name) const;
  void ForgetTries(const std::string& name) const;
  /// A message in `cur` that nobody alive has taken, locked; no handle when there is none.
  [[nodiscard]] FileHandle LockAbandoned(const std::string& name) const;
  /// Puts back the messages in `cur` that nobody alive has taken.
  void PutBackAbandoned() const;
  /// Removes what senders that died left in `tmp` more than 36 hours ago.
  void RemoveStaleParts() const;
  /// Moves a message to `failed` under a free name. False when it is not there any more, or cannot be moved.
  [[nodiscard]] bool MoveToFailed(const FileHandle& from, const std::string& name) const;

 private:
  void PutBack(const std::string& name) const;

  std::string path_;
  FileHandle root_;
  FileHandle tmp_;
  FileHandle new_;
  FileHandle cur_;
  FileHandle failed_;
  FileFacts newFacts_;
};

}  // namespace ods
