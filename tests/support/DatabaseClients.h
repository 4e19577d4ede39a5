// The databases' own clients, which tell what a table holds when the drivers are not asked: the SQLite library, psql
// and mariadb.
#pragma once

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sstream>
#include <string>
#include <vector>

#include "support/TemporaryFolder.h"

namespace ods::test {

/// A value of an ODBC connection string without braces; "" when it is missing.
inline std::string ConnectionSetting(const std::string& connectionString, const std::string& name) {
  std::istringstream text(connectionString);
  for (std::string part; std::getline(text, part, ';');) {
    if (part.starts_with(name + "=")) return part.substr(name.size() + 1);
  }
  return "";
}

class DatabaseClient {
 public:
  using Rows = std::vector<std::vector<std::string>>;

  DatabaseClient() = default;
  DatabaseClient(const DatabaseClient&) = delete;
  DatabaseClient& operator=(const DatabaseClient&) = delete;
  DatabaseClient(DatabaseClient&&) = delete;
  DatabaseClient& operator=(DatabaseClient&&) = delete;
  virtual ~DatabaseClient() = default;

  /// Runs statements, each with a semicolon behind it. What fails fails the test.
  virtual void Run(const std::string& script) = 0;
  /// The rows of a query whose cells have neither tabs nor line ends.
  [[nodiscard]] virtual Rows Read(const std::string& query) = 0;
  /// SQL of the hexadecimal digits of a text in UTF-8, "-" for null.
  [[nodiscard]] virtual std::string HexSql(const std::string& expression) const = 0;
};

class SqliteClient final : public DatabaseClient {
 public:
  explicit SqliteClient(const std::string& path) { EXPECT_EQ(sqlite3_open(path.c_str(), &handle_), SQLITE_OK) << path; }
  SqliteClient(const SqliteClient&) = delete;
  SqliteClient& operator=(const SqliteClient&) = delete;
  SqliteClient(SqliteClient&&) = delete;
  SqliteClient& operator=(SqliteClient&&) = delete;
  ~SqliteClient() override { sqlite3_close(handle_); }

  [[nodiscard]] sqlite3* Handle() const { return handle_; }
  void Run(const std::string& script) override {
    EXPECT_EQ(sqlite3_exec(handle_, script.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(handle_);
  }
  [[nodiscard]] Rows Read(const std::string& query) override {
    Rows rows;
    const auto add = [](void* all, int count, char** texts, char**) {
      static_cast<Rows*>(all)->emplace_back(texts, texts + count);
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(handle_, query.c_str(), add, &rows, nullptr), SQLITE_OK) << sqlite3_errmsg(handle_);
    return rows;
  }
  [[nodiscard]] std::string HexSql(const std::string& expression) const override {
    return "CASE WHEN (" + expression + ") IS NULL THEN '-' ELSE hex(CAST(" + expression + " AS TEXT)) END";
  }

 private:
  sqlite3* handle_ = nullptr;
};

/// A client that is a program, which reads SQL from its standard input and writes a row a line.
class ProgramClient : public DatabaseClient {
 public:
  /// `preamble` runs before everything else.
  ProgramClient(std::string command, std::string preamble)
      : command_(std::move(command)), preamble_(std::move(preamble)) {}
  void Run(const std::string& script) override { (void)Lines(script); }
  [[nodiscard]] Rows Read(const std::string& query) override {
    Rows rows;
    for (const std::string& line : Lines(query + ";\n")) {
      std::istringstream cells(line);
      std::vector<std::string>& row = rows.emplace_back();
      for (std::string cell; std::getline(cells, cell, '\t');) row.push_back(cell);
    }
    return rows;
  }

 private:
  std::vector<std::string> Lines(const std::string& script) {
    const std::string input = folder_.Path() + "/script.sql";
    const std::string output = folder_.Path() + "/output";
    std::ofstream(input) << preamble_ << script;
    const std::string command = command_ + " <" + input + " >" + output;
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    std::vector<std::string> lines;
    std::ifstream text(output);
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }

  std::string command_;
  std::string preamble_;
  TemporaryFolder folder_;
};

class PostgreSqlClient final : public ProgramClient {
 public:
  PostgreSqlClient(const std::string& connectionString, std::string preamble)
      : ProgramClient("PGOPTIONS='--client-min-messages=warning' PGCLIENTENCODING=UTF8 PGPASSWORD='" +
                          ConnectionSetting(connectionString, "PWD") +
                          "' psql --no-psqlrc --quiet --set=ON_ERROR_STOP=1 --no-align --tuples-only "
                          "--field-separator='\t' --host=" +
                          ConnectionSetting(connectionString, "Server") +
                          " --port=" + ConnectionSetting(connectionString, "Port") +
                          " --username=" + ConnectionSetting(connectionString, "UID") + " " +
                          ConnectionSetting(connectionString, "Database"),
                      std::move(preamble)) {}
  [[nodiscard]] std::string HexSql(const std::string& expression) const override {
    return "coalesce(encode(convert_to((" + expression + ")::text, 'UTF8'), 'hex'), '-')";
  }
};

class MariaDbClient final : public ProgramClient {
 public:
  MariaDbClient(const std::string& connectionString, const std::string& database, std::string preamble)
      : ProgramClient("MYSQL_PWD='" + ConnectionSetting(connectionString, "PWD") +
                          "' mariadb --no-defaults --host=" + ConnectionSetting(connectionString, "Server") +
                          " --port=" + ConnectionSetting(connectionString, "Port") +
                          " --user=" + ConnectionSetting(connectionString, "UID") +
                          " --default-character-set=utf8mb4 --batch --skip-column-names " + database,
                      std::move(preamble)) {}
  [[nodiscard]] std::string HexSql(const std::string& expression) const override {
    return "COALESCE(HEX(CONVERT(" + expression + " USING utf8mb4)), '-')";
  }
};

}  // namespace ods::test
