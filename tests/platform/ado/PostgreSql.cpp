// PostgreSQL through its wide driver, which reads blocks and re-reads cells in them. The server is named by the
// environment variable ODS_TEST_POSTGRESQL_SCRATCH, an ODBC connection string.
#include <cstdlib>
#include <gtest/gtest.h>

#include "platform/ado/Ado.h"
#include "platform/ado/AdoTestSupport.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using ::testing::HasSubstr;

class PostgreSqlTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* const connectionString = std::getenv("ODS_TEST_POSTGRESQL_SCRATCH");
    if (connectionString == nullptr) GTEST_SKIP() << "ODS_TEST_POSTGRESQL_SCRATCH names no server";
    connectionString_ = connectionString;
    connection_ = CreateOdbcConnection();
    connection_->Open(connectionString_);
    Run("DROP SCHEMA IF EXISTS " + schema_ + " CASCADE");
    Run("CREATE SCHEMA " + schema_);
    Run("SET search_path TO " + schema_);
  }
  void TearDown() override {
    if (connection_) Run("DROP SCHEMA IF EXISTS " + schema_ + " CASCADE");
  }
  void Run(const std::string& sql) { (void)connection_->OpenRecordSet(sql, 0); }
  std::vector<Row> Read(const std::string& sql, std::int32_t maxRecords = 0) {
    return ReadAll(*connection_, sql, maxRecords);
  }

  std::string connectionString_;
  std::string schema_ = UniqueName();
  std::shared_ptr<Connection> connection_;
};

TEST_F(PostgreSqlTest, ABackslashInALiteralIsACharacterLikeAnyOther) {
  EXPECT_EQ(connection_->OpenRecordSet("SELECT 'a\\'", 0)->Item(0), Value("a\\"));
}

TEST_F(PostgreSqlTest, PropertiesAndLiterals) {
  EXPECT_EQ(connection_->Property("DBMS Name"), "PostgreSQL");
  EXPECT_NE(connection_->DefaultDatabase(), "");
  EXPECT_EQ(connection_->DefaultDatabase(), connection_->Property("Current Catalog"));
  EXPECT_EQ(ReadAll(*connection_->OpenSchema(Schema::kDBInfoLiterals)),
            (std::vector<Row>{{"QUOTE", "\""}, {"QUOTE_SUFFIX", "\""}}));
}

TEST_F(PostgreSqlTest, EveryTypeGivesItsValueAndItsField) {
  Run("CREATE TABLE t (i integer NOT NULL, v varchar(5), c char(3), n numeric(10,2), si smallint, bi bigint, r real,"
      " d double precision, b boolean, da date, tm time, ts timestamp, g uuid, o oid, tx text, bl bytea)");
  Run("INSERT INTO t VALUES (-5, 'abc', 'x', -0.5, -7, 9223372036854775807, 0.1, 1e300, true, '2020-02-29',"
      " '10:11:12.5', '2020-01-02 10:11:12.75', 'a0eebc99-9c0b-4ef8-bb6d-6bb9bd380a11', 4294967295, 'long', "
      "'\\x0A1B00')");
  Run("INSERT INTO t (i) VALUES (6)");
  const auto records = connection_->OpenRecordSet("SELECT * FROM t ORDER BY i", 0);
  const std::vector<std::int32_t> types = {3, 202, 130, 131, 2, 20, 4, 5, 200, 133, 134, 135, 72, 19, 203, 205};
  const std::vector<std::int64_t> sizes = {4, 5, 3, 19, 2, 8, 4, 8, 5, 6, 6, 16, 16, 4, 8190, 0};
  ASSERT_EQ(records->Fields().size(), types.size());
  for (std::size_t i = 0; i < types.size(); ++i) {
    const Field& field = records->Fields()[i];
    EXPECT_EQ(field.type, types[i]) << field.name;
    EXPECT_EQ(field.definedSize, sizes[i]) << field.name;
    EXPECT_EQ(field.attributes, i == 0 ? 0 : field_attribute::kIsNullable) << field.name;
  }
  const std::vector<Row> rows = ReadAll(*records);
  ASSERT_EQ(rows.size(), 2U);
  const Row expected = {-5,
                        "abc",
                        "x  ",
                        Decimal{"-0.50"},
                        -7,
                        std::int64_t{9223372036854775807},
                        static_cast<double>(0.1F),
                        1e300,
                        "1",
                        DateOf({2020, 2, 29}, true),
                        DateOf({1899, 12, 30, 10, 11, 12}),
                        DateOf({2020, 1, 2, 10, 11, 12}),
                        "{A0EEBC99-9C0B-4EF8-BB6D-6BB9BD380A11}",
                        std::int64_t{4294967295},
                        "long",
                        Bytes{0x0A, 0x1B, 0x00}};
  EXPECT_EQ(rows[0], expected);
  Row nulls(types.size(), Null{});
  nulls[0] = 6;
  EXPECT_EQ(rows[1], nulls);
  // The same without long columns goes through blocks.
  const std::vector<Row> block = Read("SELECT i, v, c, n, si, bi, r, d, b, da, tm, ts, g, o FROM t ORDER BY i");
  EXPECT_EQ(block[0], Row(expected.begin(), expected.begin() + 14));
  EXPECT_EQ(block[1], Row(nulls.begin(), nulls.begin() + 14));
}

TEST_F(PostgreSqlTest, NothingIsLostWhenValuesAreLongerThanTheDriverSays) {
  Run("CREATE TABLE t (i integer, j json, n numeric)");
  Run("INSERT INTO t SELECT i, ('\"' || repeat('\xC3\xA4\xF0\x9F\x98\x80', CASE WHEN i % 3 = 0 THEN 1 ELSE 1000 END) "
      "|| i || '\"')::json,"
      " (repeat('9', CASE WHEN i % 2 = 0 THEN 5 ELSE 500 END))::numeric FROM generate_series(0, 199) AS i");
  const std::vector<Row> rows = Read("SELECT i, j, n FROM t ORDER BY i");
  ASSERT_EQ(rows.size(), 200U);
  for (int i = 0; i < 200; ++i) {
    const Row& row = rows[static_cast<std::size_t>(i)];
    EXPECT_EQ(row[1],
              Value("\"" + Repeat("\xC3\xA4\xF0\x9F\x98\x80", i % 3 == 0 ? 1 : 1000) + std::to_string(i) + "\""));
    EXPECT_EQ(row[2], Value(Decimal{std::string(i % 2 == 0 ? 5 : 500, '9')}));
  }
}

TEST_F(PostgreSqlTest, WhatTheDriverMakesOfDatesBeyondItsCalendar) {
  Run("CREATE TABLE t (i integer, d date, ts timestamp, tm time)");
  Run("INSERT INTO t VALUES (1, 'infinity', 'infinity', '24:00:00'), (2, '-infinity', '-infinity', NULL),"
      " (3, '0044-03-15 BC', '0044-03-15 10:00:00 BC', NULL), (4, '12345-01-02', '12345-01-02', NULL),"
      " (5, '2020-01-02', '2020-01-02', '10:11:12')");
  const std::vector<Row> rows = Read("SELECT d, ts, tm FROM t ORDER BY i");
  ASSERT_EQ(rows.size(), 5U);
  EXPECT_EQ(rows[0], (Row{Null{}, DateOf({9999, 12, 31, 23, 59, 59}), Null{}}));
  EXPECT_EQ(rows[1], (Row{Null{}, Null{}, Null{}}));
  EXPECT_EQ(rows[2], (Row{DateOf({44, 3, 15}, true), Null{}, Null{}})) << "the date has lost its era";
  EXPECT_EQ(rows[3], (Row{Null{}, Null{}, Null{}}));
  EXPECT_EQ(rows[4], (Row{DateOf({2020, 1, 2}, true), DateOf({2020, 1, 2}), DateOf({1899, 12, 30, 10, 11, 12})}));
}

TEST_F(PostgreSqlTest, LongColumnsAreReadInPieces) {
  Run("CREATE TABLE t (a integer, tx text, b varchar(10), bl bytea, c integer)");
  Run("INSERT INTO t VALUES (1, 'x' || repeat('\xF0\x9F\x98\x80', 750000), 'short', decode(repeat('00ff', 1500000), "
      "'hex'), 2)");
  const std::vector<Row> rows = Read("SELECT * FROM t");
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0][0], Value(1));
  EXPECT_EQ(rows[0][1], Value("x" + Repeat("\xF0\x9F\x98\x80", 750000)));
  EXPECT_EQ(rows[0][2], Value("short"));
  ASSERT_EQ(rows[0][3].GetIf<Bytes>()->size(), 3000000U);
  EXPECT_EQ(rows[0][3].GetIf<Bytes>()->back(), 0xFF);
  EXPECT_EQ(rows[0][4], Value(2));
}

TEST_F(PostgreSqlTest, BlocksAndMaxRecords) {
  Run("CREATE TABLE n AS SELECT i, ('word ' || i)::varchar(20) AS word FROM generate_series(1, 200) AS i");
  const std::vector<Row> rows = Read("SELECT i, word FROM n ORDER BY i");
  ASSERT_EQ(rows.size(), 200U);
  for (int i = 1; i <= 200; ++i) {
    EXPECT_EQ(rows[static_cast<std::size_t>(i) - 1], (Row{i, "word " + std::to_string(i)}));
  }
  for (const std::int32_t most : {1, 63, 64, 65, 199}) {
    EXPECT_EQ(Read("SELECT * FROM n", most).size(), static_cast<std::size_t>(most));
    EXPECT_EQ(Read("SELECT * FROM n LIMIT 200; -- all", most).size(), static_cast<std::size_t>(most));
  }
  EXPECT_EQ(Read("SELECT * FROM n -- c", 5).size(), 5U);
}

TEST_F(PostgreSqlTest, TheSystemsSqlIsUnderstood) {
  EXPECT_EQ(ReadOne(*connection_, "SELECT UCASE('abc')"), Value("ABC"));
  EXPECT_EQ(ReadOne(*connection_, "SELECT {fn UCASE('abc')}"), Value("ABC"));
  EXPECT_EQ(ReadOne(*connection_, "SELECT 0x0A1B"), Value(Bytes{0x0A, 0x1B}));
}

TEST_F(PostgreSqlTest, ErrorsCarryAdosNumbersAndTheDriversTexts) {
  EXPECT_RAISES(Run("SELECT * FROM nothing"), Hex(0x80040E14), HasSubstr("relation \"nothing\" does not exist"));
  EXPECT_RAISES(Run("SELEC"), Hex(0x80040E14), HasSubstr("syntax error at or near \"SELEC\""));
  EXPECT_RAISES(Run("SELECT 1/0"), Hex(0x80040E07), HasSubstr("division by zero"));
  EXPECT_RAISES(Run("SELECT '\xC3\xA4\xE2\x82\xAC'::integer"), Hex(0x80040E07), HasSubstr("\xC3\xA4\xE2\x82\xAC"));
  Run("CREATE TABLE t (i integer PRIMARY KEY)");
  Run("INSERT INTO t VALUES (1)");
  EXPECT_RAISES(Run("INSERT INTO t VALUES (1)"), Hex(0x80040E2F), HasSubstr("duplicate key"));
  // The connection is good for more after all of them.
  EXPECT_EQ(ReadOne(*connection_, "SELECT i FROM t"), Value(1));
  EXPECT_RAISES(connection_->Open(connectionString_ + ";Database=no_such_database"), Hex(0x80004005),
                HasSubstr("no_such_database"));
  connection_->Open(connectionString_);
}

TEST_F(PostgreSqlTest, SchemaRowsets) {
  Run("CREATE TABLE \"50%_\xC3\xA4\" (a integer PRIMARY KEY, b integer, c integer)");
  Run("CREATE INDEX by_cb ON \"50%_\xC3\xA4\" (c, b)");
  Run("CREATE TABLE \"50%x\xC3\xA4\" (a integer)");
  const Value name("50%_\xC3\xA4");
  const std::vector<Row> tables = ReadAll(*connection_->OpenSchema(Schema::kTables, {Value(), schema_, name, "TABLE"}));
  ASSERT_EQ(tables.size(), 1U);
  EXPECT_EQ(tables[0], (Row{connection_->DefaultDatabase(), schema_, name, "TABLE"}));
  EXPECT_TRUE(connection_->OpenSchema(Schema::kTables, {Value(), "public", name})->AtEnd());
  EXPECT_TRUE(connection_->OpenSchema(Schema::kTables, {Value(), "ado%", name})->AtEnd());

  const std::vector<Row> indexes =
      ReadAll(*connection_->OpenSchema(Schema::kIndexes, {Value(), schema_, Value(), Value(), name}));
  const std::vector<Row> expected = {{"50%_\xC3\xA4_pkey", true, 3, 1, "a", Null{}, schema_, name},
                                     {"by_cb", false, 3, 1, "c", Null{}, schema_, name},
                                     {"by_cb", false, 3, 2, "b", Null{}, schema_, name}};
  EXPECT_EQ(indexes, expected);
  EXPECT_NE(ReadAll(*connection_->OpenSchema(Schema::kProviderTypes)).size(), 0U);
}

TEST_F(PostgreSqlTest, ARecordSetReadInPartMayBeDroppedAndTheTableWritten) {
  Run("CREATE TABLE n AS SELECT i FROM generate_series(1, 1000) AS i");
  auto records = connection_->OpenRecordSet("SELECT i FROM n", 0);
  records->MoveNext();
  records.reset();
  Run("DROP TABLE n");
}

}  // namespace
}  // namespace ods
