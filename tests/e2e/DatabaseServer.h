// A database server of a test's own, which the test may stop and start.
#pragma once

#include <cstdio>
#include <string>
#include <sys/types.h>

#include "support/TemporaryFolder.h"

namespace ods::test {

class DatabaseServer {
 public:
  /// Makes and starts a server of a product, "postgresql" or "mariadb". Raises std::runtime_error when it does not come
  /// up.
  explicit DatabaseServer(const std::string& product);
  ~DatabaseServer();
  DatabaseServer(const DatabaseServer&) = delete;
  DatabaseServer& operator=(const DatabaseServer&) = delete;
  DatabaseServer(DatabaseServer&&) = delete;
  DatabaseServer& operator=(DatabaseServer&&) = delete;

  /// Of its empty database "sample".
  [[nodiscard]] const std::string& ConnectionString() const { return connectionString_; }
  /// Ends the server, as its administrator would, and returns when it is gone.
  void Stop() { Tell("stop"); }
  /// Starts it again, on its data, and returns when it takes connections.
  void Start() { Tell("start"); }

 private:
  void Tell(const char* word);
  [[nodiscard]] std::string ReadLine();

  TemporaryFolder folder_;
  pid_t pid_ = -1;
  std::FILE* words_ = nullptr;
  std::FILE* answers_ = nullptr;
  std::string connectionString_;
};

}  // namespace ods::test
