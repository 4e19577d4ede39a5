#include "platform/system/NamedMutex.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/Error.h"
#include "common/PercentCode.h"
#include "platform/system/FileHandle.h"
#include "platform/system/System.h"
#include "platform/system/posix/LockFolder.h"

namespace ods {

namespace {

constexpr int kOpenFlags = O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
/// How long a holder waits for somebody who tests the name (an instant) or holds it exclusively by flock(1).
constexpr int kLockTries = 2000;

std::string LockFilePath(const std::string& name) { return LockFolder() + "/" + PercentEncode(name) + ".lock"; }

/// True when `path` still names the open file: whoever lets go last unlinks the file, perhaps just before our lock.
bool StillNames(const std::string& path, int descriptor) {
  struct stat named {};
  struct stat opened {};
  return lstat(path.c_str(), &named) == 0 && fstat(descriptor, &opened) == 0 && named.st_dev == opened.st_dev &&
         named.st_ino == opened.st_ino;
}

/// Opens the lock file, making it when missing. Opening an existing one never asks for creation: systems that protect
/// files in sticky folders refuse that to everybody but the owner (proc_sys_fs(5), protected_regular).
FileHandle OpenOrCreate(const std::string& path) {
  FileHandle file(open(path.c_str(), kOpenFlags));
  if (file || errno != ENOENT) return file;
  constexpr mode_t kReadableByAll = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
  file = FileHandle(open(path.c_str(), kOpenFlags | O_CREAT | O_EXCL, kReadableByAll));
  if (file) fchmod(file.Get(), kReadableByAll);  // whatever the file mode creation mask left of it
  return file;
}

[[noreturn]] void RaiseCreating(const std::error_code& failure) {
  RaiseNumberedSystemError("Error creating instance mutex", failure);
}

/// The lock file under a shared lock.
FileHandle AcquireShared(const std::string& path) {
  for (int tries = 0; tries < kLockTries; ++tries) {
    FileHandle file = OpenOrCreate(path);
    if (!file) {
      if (errno == EEXIST) continue;  // made by another holder in the meantime
      RaiseCreating(LastSystemError());
    }
    if (flock(file.Get(), LOCK_SH | LOCK_NB) != 0) {
      if (errno != EWOULDBLOCK && errno != EINTR) RaiseCreating(LastSystemError());
      SleepMilliseconds(1);
    } else if (StillNames(path, file.Get())) {
      return file;
    }
  }
  RaiseCreating(std::make_error_code(std::errc::operation_would_block));
}

/// True when `path` is a folder that this user made just now for all, or that was there.
bool IsUsable(const std::string& path) {
  constexpr mode_t kForAllSticky = S_ISVTX | S_IRWXU | S_IRWXG | S_IRWXO;
  if (mkdir(path.c_str(), kForAllSticky) == 0) return chmod(path.c_str(), kForAllSticky) == 0;
  struct stat facts {};
  return lstat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode);
}

}  // namespace

std::string FirstLockFolder(const std::vector<std::string>& candidates) {
  for (const std::string& candidate : candidates) {
    if (IsUsable(candidate)) return candidate;
  }
  throw Error(error_number::kOwn, "Unable to create the lock folder \"" + candidates.back() + "\"");
}

std::string LockFolder() { return FirstLockFolder({"/run/lock/odbc-data-server", "/tmp/odbc-data-server-locks"}); }

struct NamedMutex::Implementation {
  std::string path;
  FileHandle file;
};

NamedMutex::NamedMutex(const std::string& name) : implementation_(std::make_unique<Implementation>()) {
  if (name.empty()) return;  // a mutex without a name is seen by nobody else
  implementation_->path = LockFilePath(name);
  implementation_->file = AcquireShared(implementation_->path);
}

NamedMutex::~NamedMutex() {
  try {
    Destroy();
  } catch (const Error&) {  // NOLINT(bugprone-empty-catch): the lock is gone with the descriptor in any case
  }
}

void NamedMutex::Destroy() {
  FileHandle& file = implementation_->file;
  const std::string& path = implementation_->path;
  // Only who holds the file alone may remove it, and only while the path names it. Where it cannot be removed (another
  // user made it) it stays, which does no harm: the lock counts, not the file.
  if (file && flock(file.Get(), LOCK_EX | LOCK_NB) == 0 && StillNames(path, file.Get())) unlink(path.c_str());
  if (const auto failure = file.Close()) RaiseNumberedSystemError("Error destroying instance mutex handle", failure);
}

bool MutexExists(const std::string& name) {
  if (name.empty()) return false;
  const std::string path = LockFilePath(name);
  const FileHandle file(open(path.c_str(), kOpenFlags));
  if (!file) {
    if (errno == ENOENT) return false;
    if (errno == EACCES || errno == EPERM) return true;
    RaiseSystemError("Unable to test the mutex \"" + name + "\"", LastSystemError());
  }
  if (flock(file.Get(), LOCK_EX | LOCK_NB) == 0) return false;
  if (errno == EWOULDBLOCK) return true;
  RaiseSystemError("Unable to test the mutex \"" + name + "\"", LastSystemError());
}

}  // namespace ods
