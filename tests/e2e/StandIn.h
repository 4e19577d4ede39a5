// The stand-in driver of a product on an SQLite file of its own, for a server to connect to.
#pragma once

#include <cstdint>
#include <ios>
#include <string>

#include "e2e/ServerProcess.h"

namespace ods::test {

class StandIn {
 public:
  /// @param product  the DBMS name
  /// @param settings more of the connection string, from its first ";" on
  explicit StandIn(std::string product, std::string settings = "");

  /// Writes the configuration of a server on the stand-in, with `more` at the end of its connection string.
  void Connect(const std::string& more = "") const;
  [[nodiscard]] const ServerFolders& Folders() const { return folders_; }

  /// Runs statements of SQLite on the file, behind the server's back; fails the test when one fails.
  void Run(const std::string& script) const;
  /// The number in the first column of the first row.
  [[nodiscard]] std::int64_t NumberOf(const std::string& sql) const;

  /// The statements that have come to the driver since the last call, as they came, one a line; a line break within one
  /// is "\n".
  [[nodiscard]] std::string NewStatements();

 private:
  [[nodiscard]] std::string DatabaseFile() const { return folders_.Root() + "/product.db"; }
  [[nodiscard]] std::string StatementFile() const { return folders_.Root() + "/statements.sql"; }

  std::string product_;
  std::string settings_;
  ServerFolders folders_;
  std::streamoff seen_ = 0;  ///< bytes of the statement file
};

}  // namespace ods::test
