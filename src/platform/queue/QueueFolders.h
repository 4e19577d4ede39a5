// The folders of one queue on disk, and the moves of message files between them.
//
// Everything happens relative to descriptors of the folders and never through a link, so nobody can lead the queue
// elsewhere by exchanging a folder or a file while it works.
#pragma once

#include <string>
#include <string_view>

#include "platform/system/FileHandle.h"
#include "platform/system/FolderFiles.h"

namespace ods {

/// True for the names of messages: they end in ".xml" and do not begin with a dot.
[[nodiscard]] bool IsMessageName(std::string_view name);

/// The four folders.
class QueueFolders {
 public:
  /// Opens the folders, making the missing ones (and missing parents) with mode 0700. Raises error 1000 naming the
  /// folder.
  explicit QueueFolders(std::string path);

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
