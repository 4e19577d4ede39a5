// A file system of a test's own: one that fills up, or one with a coarse clock.
#pragma once

#include <cerrno>
#include <fstream>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <unistd.h>

#include "support/TemporaryFolder.h"

namespace ods::test {

/// Mounts a file system on a temporary folder, for this process and those that it starts. Root does so at once; another
/// user in name spaces of the process's own, in which the process keeps its user.
class MountedFolder {
 public:
  MountedFolder(const char* type, const char* options) {
    mounted_ = Mount(type, options) || (EnterNameSpaces() && Mount(type, options));
  }
  ~MountedFolder() {
    if (mounted_) umount2(Path().c_str(), MNT_DETACH);
  }
  MountedFolder(const MountedFolder&) = delete;
  MountedFolder& operator=(const MountedFolder&) = delete;
  MountedFolder(MountedFolder&&) = delete;
  MountedFolder& operator=(MountedFolder&&) = delete;

  /// False where the system lets nobody mount anything: then the folder is an ordinary one.
  [[nodiscard]] bool Mounted() const { return mounted_; }
  [[nodiscard]] std::string Path() const { return folder_.Path(); }

 private:
  [[nodiscard]] bool Mount(const char* type, const char* options) const {
    return mount("ods-test", Path().c_str(), type, MS_NOSUID | MS_NODEV, options) == 0;
  }
  static bool EnterNameSpaces() {
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << user << " " << user << " 1";
    std::ofstream("/proc/self/gid_map") << group << " " << group << " 1";
    return geteuid() == static_cast<uid_t>(std::stoul(user));
  }

  TemporaryFolder folder_;
  bool mounted_ = false;
};

/// Fills a file system to its last byte; gives the file that has to be removed to make room.
inline std::string FillUp(const std::string& folder) {
  const std::string path = folder + "/filling";
  std::ofstream file(path, std::ios::binary);
  while (file.write("0123456789abcdef", 16).flush()) {
  }
  return path;
}

}  // namespace ods::test
