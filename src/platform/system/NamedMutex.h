// Named mutexes: how a server and its controller see each other live.
//
// A mutex is a lock on the file <lock folder>/<name, percent-encoded>.lock: its holders keep a shared flock, and the
// name exists while an exclusive one is refused. The kernel drops the lock when the holder dies; flock(1) takes part
// too.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace ods {

/// A held mutex; destroying the object lets go of it.
class NamedMutex {
 public:
  /// Creates the mutex, without initial ownership; an empty name makes one that nobody else sees. Raises error 1000
  /// "Error creating instance mutex (" + system error number + "). " + system error text.
  explicit NamedMutex(const std::string& name);
  ~NamedMutex();
  NamedMutex(const NamedMutex&) = delete;
  NamedMutex& operator=(const NamedMutex&) = delete;
  NamedMutex(NamedMutex&&) = delete;
  NamedMutex& operator=(NamedMutex&&) = delete;

  /// Lets go of the mutex. Raises error 1000 "Error destroying instance mutex handle (" + number + "). " + text.
  void Destroy();

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

/// True while some process holds the mutex, or when access to it is denied; false for an empty name. Raises error 1000
/// for any other failure. Two processes that test a free name in the same instant may see each other.
[[nodiscard]] bool MutexExists(const std::string& name);

/// The lock folder of this machine: /run/lock/odbc-data-server, or /tmp/odbc-data-server-locks where that cannot be
/// made.
[[nodiscard]] std::string LockFolder();
/// The first of the folders that is there or can be made, writable by all users. Raises error 1000 when none can.
[[nodiscard]] std::string FirstLockFolder(const std::vector<std::string>& candidates);

}  // namespace ods
