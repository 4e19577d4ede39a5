#include "platform/system/Folders.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "platform/system/posix/PrivateFolder.h"

namespace ods {

namespace {

std::error_code MakePrivateFolderAt(int parent, const char* name) {
  if (mkdirat(parent, name, S_IRWXU) != 0) return LastSystemError();
  // What the mask has taken of the owner's rights is given back; that it takes those of others is what is wanted.
  struct stat facts {};
  if (fstatat(parent, name, &facts, AT_SYMLINK_NOFOLLOW) != 0) return LastSystemError();
  if ((facts.st_mode & S_IRWXU) == S_IRWXU) return {};
  return fchmodat(parent, name, S_IRWXU, 0) == 0 ? std::error_code() : LastSystemError();
}

}  // namespace

std::error_code MakePrivateFolder(const std::string& path) { return MakePrivateFolderAt(AT_FDCWD, path.c_str()); }

std::error_code MakePrivateFolder(const FileHandle& parent, const std::string& name) {
  return MakePrivateFolderAt(parent.Get(), name.c_str());
}

}  // namespace ods
