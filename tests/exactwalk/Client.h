// A database reached past the server and past ODBC: by SQLite's library, or by the database's own client program, which
// stays open. What it reads is the truth that pages are compared with.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ods::test {

/// The texts of a row's cells; nothing for null.
using TextRow = std::vector<std::optional<std::string>>;

/// SQLite's columns may hold anything: what is bytes begins with this.
inline constexpr const char* kBytesMark =
    "\x01"
    "bytes ";

class DatabaseClient {
 public:
  DatabaseClient() = default;
  DatabaseClient(const DatabaseClient&) = delete;
  DatabaseClient& operator=(const DatabaseClient&) = delete;
  DatabaseClient(DatabaseClient&&) = delete;
  DatabaseClient& operator=(DatabaseClient&&) = delete;
  virtual ~DatabaseClient() = default;

  /// Runs statements, each ended by ";". Raises std::runtime_error with what the database says to the first that fails.
  virtual void Run(const std::string& script) = 0;
  /// The rows of any statement, each as one text. Raises as `Run`.
  virtual std::vector<std::string> Show(const std::string& statement) = 0;
  /// The rows of "SELECT" `expressions` `rest`. Raises as `Run`.
  virtual std::vector<TextRow> Read(const std::vector<std::string>& expressions, const std::string& rest) = 0;
};

/// Real numbers are in the layout of `FormatDouble`, infinities by their names, bytes are `kBytesMark` and upper-case
/// hexadecimal digits.
[[nodiscard]] std::unique_ptr<DatabaseClient> OpenSqliteClient(const std::string& path);
/// By an ODBC connection string. Times are shown in universal time, intervals in PostgreSQL's own style.
[[nodiscard]] std::unique_ptr<DatabaseClient> OpenPostgreSqlClient(const std::string& connectionString);
[[nodiscard]] std::unique_ptr<DatabaseClient> OpenMariaDbClient(const std::string& connectionString);

}  // namespace ods::test
