// The driver as the driver manager loads it, seen through the system's own connection.
#include <filesystem>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "common/Conversions.h"
#include "common/Error.h"
#include "platform/ado/Ado.h"
#include "support/RaisedErrors.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

using ::testing::_;

/// One product that fetches rows in blocks and one that does not.
constexpr const char* kBothWays[] = {"Microsoft SQL Server", "ACCESS"};

class Driver : public ::testing::Test {
 protected:
  std::shared_ptr<Connection> Open(const std::string& script, const std::string& product,
                                   const std::string& more = "") {
    const std::string file = folder_.Path() + "/" + std::to_string(++files_) + " ☃.db";
    sqlite3* handle = nullptr;
    EXPECT_EQ(sqlite3_open(file.c_str(), &handle), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(handle, script.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(handle);
    sqlite3_close(handle);
    auto connection = CreateOdbcConnection();
    connection->Open("DRIVER=" ODS_PRODUCT_DRIVER ";Product={" + product + "};Database=" + file + more);
    return connection;
  }
  /// A number of ADO's as it is known.
  static std::int32_t Hex(std::uint32_t number) { return static_cast<std::int32_t>(number); }

  test::TemporaryFolder folder_;
  int files_ = 0;
};

TEST_F(Driver, GivesEveryRowOfALargeTableAndTextsLongerThanAnyBuffer) {
  for (const char* product : kBothWays) {
    const auto connection = Open(
        "CREATE TABLE \"dbo.t\" (a int, b nvarchar(10), c ntext, d image); CREATE TABLE t (a int, b nvarchar(10), c "
        "ntext, d image); WITH n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<200) INSERT INTO t SELECT i, "
        "replace(hex(zeroblob(i)),'00','ø☃'), replace(hex(zeroblob(i*50)),'00','😀'), zeroblob(i*100) FROM n; INSERT "
        "INTO \"dbo.t\" SELECT * FROM t;",
        product);
    for (const char* sql : {"SELECT a, b FROM t ORDER BY a", "SELECT a, b, c, d FROM t ORDER BY a"}) {
      const auto rows = connection->OpenRecordSet(sql, 0);
      std::size_t count = 0;
      for (; !rows->AtEnd(); rows->MoveNext()) {
        ++count;
        EXPECT_EQ(SafeLng(rows->Item(0)), static_cast<std::int32_t>(count));
        EXPECT_EQ(SafeStr(rows->Item(1)).size(), count * 5);
        if (rows->Fields().size() < 4) continue;
        EXPECT_EQ(SafeStr(rows->Item(2)).size(), count * 200);
        EXPECT_EQ(rows->Item(3).GetIf<Bytes>()->size(), count * 100);
      }
      EXPECT_EQ(count, 200U) << product << ": " << sql;
    }
    EXPECT_EQ(SafeLng(connection->OpenRecordSet("SELECT COUNT(*) FROM t", 5)->Item(0)), 200);
  }
}

TEST_F(Driver, TellsErrorsByTheirStates) {
  const auto connection = Open("CREATE TABLE t (a int);", "Other");
  EXPECT_RAISES(connection->OpenRecordSet("SELECT a FROM nothing", 0), Hex(0x80040E37), _);
  EXPECT_RAISES(connection->OpenRecordSet("SELECT \"nothing\" FROM t", 0), Hex(0x80040E14), _);
  EXPECT_RAISES(connection->OpenRecordSet("SELECT FROM t", 0), Hex(0x80040E14), _);
  EXPECT_RAISES(connection->OpenRecordSet("DELETE FROM t", 0), Hex(0x80040E14), _);
  EXPECT_RAISES(connection->OpenRecordSet("SELECT {d '2023-02-30'}", 0), Hex(0x80040E07), _);
  EXPECT_NO_THROW((void)connection->OpenRecordSet("SELECT a FROM t", 0)) << "and lives on";
  EXPECT_RAISES(CreateOdbcConnection()->OpenRecordSet("SELECT 1", 0), 3704, _) << "closed";
}

TEST_F(Driver, RefusesAConnectionThatItCannotMake) {
  for (const char* settings : {"Product=Other;Database=/nowhere/x.db", "Product=Other;FailConnect=1", "nonsense",
                               "Product=Other;FailFetch=x"}) {
    const auto connection = CreateOdbcConnection();
    EXPECT_RAISES(connection->Open(std::string("DRIVER=" ODS_PRODUCT_DRIVER ";") + settings), Hex(0x80004005), _)
        << settings;
  }
}

TEST_F(Driver, ListsTablesByExactNamesAndTypes) {
  const std::string script =
      "CREATE TABLE a_b (x int); CREATE TABLE aXb (x int); CREATE TABLE MSysObjects (x int); CREATE VIEW v AS SELECT "
      "1;";
  const auto connection = Open(script, "MS Jet");
  const auto named = connection->OpenSchema(Schema::kTables, {Value(), Value(), "a_b", Value()});
  EXPECT_EQ(SafeStr(named->Item("TABLE_NAME")), "a_b");
  named->MoveNext();
  EXPECT_TRUE(named->AtEnd());
  std::string all;
  for (const auto rows = connection->OpenSchema(Schema::kTables); !rows->AtEnd(); rows->MoveNext()) {
    all += SafeStr(rows->Item("TABLE_TYPE")) + " " + SafeStr(rows->Item("TABLE_NAME")) + "; ";
  }
  EXPECT_EQ(all, "SYSTEM TABLE MSysObjects; TABLE aXb; TABLE a_b; VIEW v; ");
}

TEST_F(Driver, ListsIndexesAsTheProductDoes) {
  const std::string script = "CREATE TABLE \"s.t\" (x int, y int, PRIMARY KEY (y, x)); CREATE INDEX i ON \"s.t\" (x);";
  const auto connection = Open(script, "Microsoft SQL Server", ";DefaultDatabase=d");
  EXPECT_EQ(connection->DefaultDatabase(), "d");
  std::string all;
  const auto rows = connection->OpenSchema(Schema::kIndexes, {Value(), "s", Value(), Value(), "t"});
  for (; !rows->AtEnd(); rows->MoveNext()) {
    for (const char* column : {"INDEX_NAME", "UNIQUE", "TYPE", "ORDINAL_POSITION", "COLUMN_NAME"}) {
      all += SafeStr(rows->Item(column)) + " ";
    }
  }
  EXPECT_EQ(all, "PK_t True 1 1 y PK_t True 1 2 x i False 3 1 x ");
  EXPECT_RAISES(Open("", "EXCEL")->OpenSchema(Schema::kIndexes, {Value(), Value(), Value(), Value(), "t"}),
                Hex(0x80004005), _);
}

TEST_F(Driver, TellsTypesAndWhetherAColumnMayBeNull) {
  const auto rows = Open("CREATE TABLE t (a int unsigned NOT NULL, b decimal(9,2), c binary(16), d guid);", "Other")
                        ->OpenRecordSet("SELECT a, b, c, d, a+1 AS e FROM t", 0);
  const std::vector<Field>& fields = rows->Fields();
  EXPECT_EQ(fields[0].type, ado_type::kUnsignedInt);
  EXPECT_EQ(fields[0].attributes, 0);
  EXPECT_EQ(fields[1].type, ado_type::kNumeric);
  EXPECT_EQ(fields[1].attributes, field_attribute::kIsNullable);
  EXPECT_EQ(fields[2].type, ado_type::kBinary);
  EXPECT_EQ(fields[2].definedSize, 16);
  EXPECT_EQ(fields[3].type, ado_type::kGUID);
  EXPECT_EQ(fields[4].attributes, field_attribute::kMayBeNull);
}

}  // namespace
}  // namespace ods
