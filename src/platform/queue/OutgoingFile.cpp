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

std::error_code OutgoingFile::FillAndSend(std::string_view text, const Folder& folder, const std::string& fileName,
                                          bool synced) {
  if (!opened_) return opened_.failure;
  folder.Share(opened_.file);
  if (const auto failure = Fill(text, synced)) return failure;
  if (const auto failure = tmp_.Move(name_, folder, fileName)) return failure;
  left_ = false;
  return synced ? folder.Sync() : std::error_code();
}

std::error_code OutgoingFile::Fill(std::string_view text, bool synced) {
  if (!opened_) return opened_.failure;
  if (const auto failure = WriteAll(opened_.file, text)) return failure;
  if (const auto failure = synced ? SyncFile(opened_.file) : std::error_code()) return failure;
  return opened_.file.Close();
}

}  // namespace ods
