// The sample databases that the end-to-end tests run on, and how their tables are walked.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace ods::test {

/// One product with the sample company loaded.
struct SampleDatabase {
  std::string name;
  const char* variable;  ///< environment variable that says where it is
  std::string quote;     ///< identifier quote character
};

inline const SampleDatabase kSqlite = {"SQLite", "ODS_TEST_SQLITE_SAMPLE", "\""};
inline const SampleDatabase kPostgreSql = {"PostgreSQL", "ODS_TEST_POSTGRESQL", "\""};
inline const SampleDatabase kMariaDb = {"MariaDB", "ODS_TEST_MARIADB", "`"};

/// The ODBC connection string of a sample database; nothing when it was not made.
[[nodiscard]] std::optional<std::string> ConnectionStringOf(const SampleDatabase& database);

/// A table or view of the sample company and what its walks ask for.
struct SampleTable {
  std::string identifier;             ///< table identifier
  std::string source;                 ///< what a direct SELECT names after FROM
  std::vector<std::string> givenKey;  ///< primary key that the client gives, where the server finds none
  std::string sortColumn;             ///< never null
  std::string selectedKey;            ///< column that the client's chosen key orders by, never null
  std::string filterElements;         ///< one condition, which few rows of a large table meet
  std::string filterSql;              ///< the same for a direct SELECT
  std::string searchColumn;           ///< text column
  std::string searchText;             ///< text that few rows of a large table have
};

/// The tables and views of the sample company. `quote` is the identifier quote character of the product.
[[nodiscard]] std::vector<SampleTable> SampleTables(const std::string& quote);

}  // namespace ods::test
