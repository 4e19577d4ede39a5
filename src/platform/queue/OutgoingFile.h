// A message on its way into a queue: written beside the waiting ones, then moved among them in one step.
//
// Internal to this folder.
#pragma once

#include <string>
#include <system_error>

#include "common/TextPieces.h"
#include "platform/queue/Folder.h"
#include "platform/system/FileHandle.h"

namespace ods {

/// A new file in `tmp` that is removed unless it was sent.
class OutgoingFile {
 public:
  /// `tmp` must outlive the object.
  explicit OutgoingFile(const Folder& tmp);
  ~OutgoingFile();
  OutgoingFile(const OutgoingFile&) = delete;
  OutgoingFile& operator=(const OutgoingFile&) = delete;
  OutgoingFile(OutgoingFile&&) = delete;
  OutgoingFile& operator=(OutgoingFile&&) = delete;

  /// No error when the message waits in `folder` as `fileName`; `file_exists` when one of that name does.
  /// @param synced the text is on the disk before anybody sees it, and its name before this returns
  [[nodiscard]] std::error_code FillAndSend(const TextPieces& text, const Folder& folder, const std::string& fileName,
                                            bool synced);
  /// No error when all of the text was written.
  [[nodiscard]] std::error_code Fill(const TextPieces& text, bool synced);

 private:
  const Folder& tmp_;
  std::string name_;
  OpenedFile opened_;
  bool left_;  ///< it lies in `tmp`
};

}  // namespace ods
