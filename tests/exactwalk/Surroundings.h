// The databases that walks are made on, each reached by the server's session and by its own client.
#pragma once

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "exactwalk/Client.h"
#include "exactwalk/Pager.h"
#include "exactwalk/Products.h"
#include "support/TemporaryFolder.h"

namespace ods::test {

struct ProductCase {
  const char* name;
  WalkProduct (*product)();
  const char* variable;    ///< that names the database; nullptr for a file of its own
  const char* standInFor;  ///< the DBMS name that the stand-in driver plays on that file, and more of its connection
                           ///< string; nullptr for SQLite's driver
  std::unique_ptr<DatabaseClient> (*openClient)(const std::string& where);
};

inline constexpr ProductCase kProductCases[] = {
    {"SQLite", SqliteProduct, nullptr, nullptr, OpenSqliteClient},
    {"PostgreSQL", PostgreSqlProduct, "ODS_TEST_POSTGRESQL_SCRATCH", nullptr, OpenPostgreSqlClient},
    {"MariaDB", MariaDbProduct, "ODS_TEST_MARIADB_SCRATCH", nullptr, OpenMariaDbClient},
};

inline constexpr ProductCase kStandIns[] = {
    {"SqlServer", StandInProductWithSchemas, nullptr, "Microsoft SQL Server;DefaultDatabase=sales", OpenSqliteClient},
    {"Access", StandInProduct, nullptr, "ACCESS;DefaultDatabase=/data/sales.mdb", OpenSqliteClient},
    {"Navision", StandInProduct, nullptr, "Company NaviSion 3;DefaultDatabase=company", OpenSqliteClient},
    {"Concorde", StandInProduct, nullptr, "My Concorde 2", OpenSqliteClient},
    {"MySQL", StandInProduct, nullptr, "MySQL;DefaultDatabase=sales", OpenSqliteClient},
    {"Pervasive", StandInProduct, nullptr, "Pervasive.SQL;DefaultDatabase=demo", OpenSqliteClient},
    {"Unknown", StandInProduct, nullptr, "Another Database", OpenSqliteClient},
};

/// A test on each of the databases; skipped where one is not at hand.
class OnProduct : public ::testing::TestWithParam<ProductCase> {
 protected:
  void SetUp() override {
    const ProductCase& product = GetParam();
    product_ = product.product();
    if (product.variable == nullptr) {
      const std::string file = folder_.Path() + "/walks.db";
      client_ = product.openClient(file);
      connection_ = "Driver=SQLite3;Database=" + file;
      if (product.standInFor != nullptr) {
        connection_ =
            std::string("DRIVER=") + ODS_PRODUCT_DRIVER + ";Product=" + product.standInFor + ";Database=" + file;
      }
    } else {
      const char* const text = std::getenv(product.variable);
      if (text == nullptr) GTEST_SKIP() << product.variable << " names no server";
      connection_ = text;
      client_ = product.openClient(connection_);
    }
    if (!product_.set.empty()) client_->Run(product_.set);
    pager_ = std::make_unique<Pager>(connection_, true);
  }

  TemporaryFolder folder_;  ///< of SQLite's file
  WalkProduct product_;
  std::string connection_;
  std::unique_ptr<DatabaseClient> client_;
  std::unique_ptr<Pager> pager_;
};

inline std::string NameOfCase(const ::testing::TestParamInfo<ProductCase>& test) { return test.param.name; }

}  // namespace ods::test
