// The driver as the driver manager loads it, seen through the system's own connection.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "common/Conversions.h"
#include "common/Error.h"
#include "platform/ado/Ado.h"
#include "platform/ado/GuardedBuffer.h"
#include "support/RaisedErrors.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

using ::testing::_;

/// One product that fetches rows in blocks and one that does not.
constexpr const char* kBothWays[] = {"Microsoft SQL Server", "ACCESS"};

constexpr const char* kBothWaysWithoutSchemas[] = {"Pervasive.SQL", "ACCESS"};

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

TEST_F(Driver, IsReadRightWhenItWritesNoIndicatorOfWhatIsNotNull) {
  for (const char* product : kBothWaysWithoutSchemas) {
    const auto connection = Open(
        "CREATE TABLE t (a int, b bit, c float, d ntext, e float); WITH n(i) AS (SELECT 0 UNION ALL SELECT i+1 FROM n "
        "WHERE i<199) INSERT INTO t SELECT i, CASE WHEN i/64%2=1 THEN i%2 END, CASE WHEN i%2 THEN i*0.5 END, 'x', "
        "CASE WHEN i/64%2=1 THEN i*0.5 END FROM n;",
        product, ";OmitIndicators=1");
    for (const char* sql : {"SELECT a, b, c, e FROM t ORDER BY a", "SELECT d, a, b, c, e FROM t ORDER BY a"}) {
      const auto rows = connection->OpenRecordSet(sql, 0);
      int i = 0;
      for (; !rows->AtEnd(); rows->MoveNext(), ++i) {
        const bool inBlock = i / 64 % 2 == 1;
        EXPECT_EQ(SafeLng(rows->Item("a")), i);
        EXPECT_EQ(rows->Item("b"), inBlock ? Value(i % 2 == 1) : Value(Null{})) << product << ": " << sql << i;
        EXPECT_EQ(rows->Item("c"), i % 2 == 1 ? Value(i * 0.5) : Value(Null{})) << product << ": " << sql << i;
        EXPECT_EQ(rows->Item("e"), inBlock ? Value(i * 0.5) : Value(Null{})) << product << ": " << sql << i;
      }
      EXPECT_EQ(i, 200);
    }
  }
}

TEST_F(Driver, IsFoundOutWhenItWritesBeyondABuffer) {
  if (!odbc::kGuardsBuffers) GTEST_SKIP() << "a release build does not guard its buffers";
  for (const char* product : kBothWaysWithoutSchemas) {
    const auto connection = Open("CREATE TABLE t (a int, b nvarchar(10)); INSERT INTO t VALUES (1, 'x'), (2, 'y');",
                                 product, ";OverrunBuffers=1");
    try {
      (void)connection->OpenRecordSet("SELECT a FROM t", 0);
      ADD_FAILURE() << product << " was not found out";
    } catch (const Error& error) {
      EXPECT_EQ(error.Description(),
                "The database driver 'libproduct-driver.so' wrote beyond the buffer of the field 'a'.");
    }
  }
}

TEST_F(Driver, TellsSqlServersOwnTypes) {
  const auto rows = Open(
                        "CREATE TABLE \"dbo.t\" (a time, b datetimeoffset, c xml, d sql_variant); INSERT INTO "
                        "\"dbo.t\" VALUES ('10:11:12.1234567', '2024-02-29 00:30:00.5 +01:00', '<a>☃</a>', 'ø');",
                        "Microsoft SQL Server")
                        ->OpenRecordSet("SELECT a, b, c, d FROM dbo.t", 0);
  const std::vector<std::int32_t> types = {ado_type::kDBTime, ado_type::kDBTimeStamp, ado_type::kLongVarWChar,
                                           ado_type::kVariant};
  const std::vector<std::string> texts = {"1899-12-30 10:11:12", "2024-02-28 23:30:00", "<a>☃</a>", "ø"};
  for (std::size_t i = 0; i < types.size(); ++i) {
    EXPECT_EQ(rows->Fields()[i].type, types[i]);
    EXPECT_EQ(SafeStr(rows->Item(i)), texts[i]);
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
