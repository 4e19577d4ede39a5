// Where the files of the named mutexes lie.
#pragma once

#include <string>
#include <vector>

namespace ods {

/// The lock folder of this machine: /run/lock/odbc-data-server, or /tmp/odbc-data-server-locks where that cannot be
/// made.
[[nodiscard]] std::string LockFolder();
/// The first of the folders that is there or can be made, writable by all users. Raises error 1000 when none can.
[[nodiscard]] std::string FirstLockFolder(const std::vector<std::string>& candidates);

}  // namespace ods
