// The folders of one queue on disk, and the moves of message files between them.
//
// Everything happens in the open folders and never through a link (`Folder`), so nobody can lead the queue elsewhere by
// exchanging a folder or a file while it works.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/queue/Folder.h"
#include "platform/system/FileFacts.h"
#include "platform/system/FileHandle.h"

namespace ods {

/// True for the names of messages: they end in ".xml" and do not begin with a dot.
[[nodiscard]] bool IsMessageName(std::string_view name);

/// The four folders.
class QueueFolders {
 public:
  /// Opens the folders, making the missing ones (and missing parents) for this user alone (mode 0700). Where the
  /// queue's folder was prepared with the set-group-id bit, folders made in it get its group, that bit and its group's
  /// rights. Raises error 1000 naming the folder.
  explicit QueueFolders(std::string path);

  [[nodiscard]] const std::string& Path() const { return path_; }
  /// False when the path names another folder by now, or none, or when one of the four is gone or exchanged. One look
  /// at the queue's folder, unless that changed lately.
  [[nodiscard]] bool StillThere() const;
  /// True when the queue's folder had a file "sync" as it was opened.
  [[nodiscard]] bool WantsSync() const { return wantsSync_; }
  /// Has the names of the four folders on the disk. Raises error 1000.
  void Sync() const;
  /// The same as `StillThere` of the four only.
  [[nodiscard]] bool HasAllParts() const;

  [[nodiscard]] const Folder& Tmp() const { return tmp_.folder; }
  [[nodiscard]] const Folder& New() const { return new_.folder; }
  [[nodiscard]] const Folder& Cur() const { return cur_.folder; }
  [[nodiscard]] const Folder& Failed() const { return failed_.folder; }

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
  [[nodiscard]] bool MoveToFailed(const Folder& from, const std::string& name) const;

 private:
  struct Part {
    Folder folder;
    FileFacts facts;
  };

  [[nodiscard]] Part OpenPart(const std::string& name) const;
  void PutBack(const std::string& name) const;

  std::string path_;
  Folder root_;
  FileFacts rootFacts_;
  bool wantsSync_;
  Part tmp_;
  Part new_;
  Part cur_;
  Part failed_;
  /// When the queue's folder had changed last as all parts were found in it. A part that comes or goes changes it.
  mutable std::optional<FileTime> complete_;
};

}  // namespace ods
