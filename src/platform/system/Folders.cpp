#include "platform/system/Folders.h"

#include <filesystem>
#include <system_error>

#include "common/Error.h"
#include "common/Files.h"

namespace ods {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void RaiseFolderError(std::string_view path, const std::error_code& reason, const std::string& step) {
  throw Error(error_number::kOwn,
              "Error creating folder path " + std::string(path) + ": " + reason.message() + ". " + step);
}

bool FolderExists(std::string_view path, const std::string& folder) {
  std::error_code reason;
  const fs::file_status status = fs::status(PathOf(folder), reason);
  // A missing folder is an answer, anything else that keeps it from being looked at is a failure.
  if (status.type() == fs::file_type::none) RaiseFolderError(path, reason, "Check if '" + folder + "' exists.");
  return fs::is_directory(status);
}

}  // namespace

void MkDirRecurse(std::string_view path) {
  for (const std::string& folder : FolderLevels(path)) {
    if (FolderExists(path, folder)) continue;
    const std::error_code failure = MakePrivateFolder(folder);
    // Made by somebody else in the meantime, it is there all the same.
    if (!failure || (failure == std::errc::file_exists && FolderExists(path, folder))) continue;
    RaiseFolderError(path, failure, "Create folder '" + folder + "'.");
  }
}

}  // namespace ods
