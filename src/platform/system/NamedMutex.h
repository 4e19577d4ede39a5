// Named mutexes: how a server and its controller see each other live.
//
// POSIX systems have none. There a mutex is a lock on the file <lock folder>/<name, percent-encoded>.lock: its holders
// keep a shared flock, and the name exists while an exclusive one is refused. The kernel drops the lock when the holder
// dies; flock(1) takes part too.
//
// On Windows it is the system's own. A name without "\\" is made and looked for in the session and, besides, as
// "Global\\" + name, so that sessions see each other's; a name with a prefix is taken as it is.
#pragma once

#include <memory>
#include <string>

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

}  // namespace ods
