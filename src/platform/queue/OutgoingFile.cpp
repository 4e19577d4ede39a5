#include "platform/queue/OutgoingFile.h"

#include "platform/system/System.h"

namespace ods {

OutgoingFile::OutgoingFile(const Folder& tmp)
    : tmp_(tmp),
      name_(std::to_string(CurrentProcessId()) + "." + RandomNamePart()),
      opened_(tmp.CreateNew(name_)),
      left_(opened_) {}

OutgoingFile::~OutgoingFile() {
  if (!left_) return;
  opened_.file.Close();
  (void)tmp_.Remove(name_);
}

std::error_code OutgoingFile::FillAndSend(const TextPieces& text, const Folder& folder, const std::string& fileName,
                                          bool synced) {
  if (!opened_) return opened_.failure;
  folder.Share(opened_.file);
  if (const auto failure = Fill(text, synced)) return failure;
  if (const auto failure = tmp_.Move(name_, folder, fileName)) return failure;
  left_ = false;
  return synced ? folder.Sync() : std::error_code();
}

std::error_code OutgoingFile::Fill(const TextPieces& text, bool synced) {
  if (!opened_) return opened_.failure;
  for (const std::string_view piece : text.Pieces()) {
    if (piece.empty()) continue;
    if (const auto failure = WriteAll(opened_.file, piece)) return failure;
  }
  if (const auto failure = synced ? SyncFile(opened_.file) : std::error_code()) return failure;
  return opened_.file.Close();
}

}  // namespace ods
