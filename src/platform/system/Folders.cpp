#include "platform/system/Folders.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>

#include "common/Error.h"
#include "common/Files.h"

namespace ods {

namespace {

namespace fs = std::filesystem;

int MakePrivateFolderAt(int parent, const char* name) {
  if (mkdirat(parent, name, S_IRWXU) != 0) return errno;
  // What the mask has taken of the owner's rights is given back; that it takes those of others is what is wanted.
  struct stat facts {};
  if (fstatat(parent, name, &facts, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  if ((facts.st_mode & S_IRWXU) == S_IRWXU) return 0;
  return fchmodat(parent, name, S_IRWXU, 0) == 0 ? 0 : errno;
}

[[noreturn]] void RaiseFolderError(std::string_view path, const std::error_code& reason, const std::string& step) {
  throw Error(error_number::kOwn,
              "Error creating folder path " + std::string(path) + ": " + reason.message() + ". " + step);
}

bool FolderExists(std::string_view path, const std::string& folder) {
  std::error_code reason;
  const fs::file_status status = fs::status(folder, reason);
  // A missing folder is an answer, anything else that keeps it from being looked at is a failure.
  if (status.type() == fs::file_type::none) RaiseFolderError(path, reason, "Check if '" + folder + "' exists.");
  return fs::is_directory(status);
}

}  // namespace

int MakePrivateFolder(const std::string& path) { return MakePrivateFolderAt(AT_FDCWD, path.c_str()); }

int MakePrivateFolder(const FileHandle& parent, const std::string& name) {
  return MakePrivateFolderAt(parent.Get(), name.c_str());
}

void MkDirRecurse(std::string_view path) {
  for (const std::string& folder : FolderLevels(path)) {
    if (FolderExists(path, folder)) continue;
    const int failure = MakePrivateFolder(folder);
    // Made by somebody else in the meantime, it is there all the same.
    if (failure == 0 || (failure == EEXIST && FolderExists(path, folder))) continue;
    RaiseFolderError(path, std::error_code(failure, std::generic_category()), "Create folder '" + folder + "'.");
  }
}

}  // namespace ods
