// MariaDB through its wide driver. The server is named by the environment variable ODS_TEST_MARIADB_SCRATCH, an ODBC
// connection string with a user who may create databases.
#include <cstdlib>
#include <gtest/gtest.h>
#include <limits>

#include "platform/ado/Ado.h"
#include "platform/ado/AdoTestSupport.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using ::testing::HasSubstr;

class MariaDbTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* const connectionString = std::getenv("ODS_TEST_MARIADB_SCRATCH");
    if (connectionString == nullptr) GTEST_SKIP() << "ODS_TEST_MARIADB_SCRATCH names no server";
    connectionString_ = connectionString;
    connection_ = CreateOdbcConnection();
    connection_->Open(connectionString_);
    Run("DROP DATABASE IF EXISTS " + database_);
    Run("CREATE DATABASE " + database_ + " CHARACTER SET utf8mb4");
    Run("USE " + database_);
    Run("SET sql_mode = ''");
  }
  void TearDown() override {
    if (connection_) Run("DROP DATABASE IF EXISTS " + database_);
  }
  void Run(const std::string& sql) { (void)connection_->OpenRecordSet(sql, 0); }
  std::vector<Row> Read(const std::string& sql, std::int32_t maxRecords = 0) {
    return ReadAll(*connection_, sql, maxRecords);
  }

  std::string connectionString_;
  std::string database_ = UniqueName();
  std::shared_ptr<Connection> connection_;
};

TEST_F(MariaDbTest, PropertiesAndLiterals) {
  EXPECT_EQ(connection_->Property("DBMS Name"), "MariaDB");
  EXPECT_EQ(ReadAll(*connection_->OpenSchema(Schema::kDBInfoLiterals)),
            (std::vector<Row>{{"QUOTE", "`"}, {"QUOTE_SUFFIX", "`"}}));
}

TEST_F(MariaDbTest, EveryTypeGivesItsValueAndItsField) {
  Run("CREATE TABLE t (i int NOT NULL, v varchar(5), c char(3), n decimal(10,2), si smallint, su smallint unsigned,"
      " iu int unsigned, bi bigint, bu bigint unsigned, ti tinyint, tu tinyint unsigned, r float, d double, b bit(1),"
      " bin binary(3), vb varbinary(20), da date, tm time, ts datetime(3), y year, tx text, bl blob)");
  Run("INSERT INTO t VALUES (-5, '\xC3\xA4\xF0\x9F\x98\x80\xE2\x82\xACyz', 'x', -0.5, -7, 65535, 4294967295, "
      "-9223372036854775808,"
      " 18446744073709551615, -128, 255, 0.1, 1e300, 1, 'ab', 0x0A1B, '2020-02-29', '10:11:12',"
      " '2020-01-02 10:11:12.750', 2020, 'long', 0x0A1B00)");
  Run("INSERT INTO t (i, bu) VALUES (6, 7)");
  const auto records = connection_->OpenRecordSet("SELECT * FROM t ORDER BY i", 0);
  const std::vector<std::int32_t> types = {3, 202, 130, 131, 2,   18,  19,  20,  21, 16,  17,
                                           4, 5,   11,  128, 204, 133, 134, 135, 18, 203, 205};
  ASSERT_EQ(records->Fields().size(), types.size());
  for (std::size_t i = 0; i < types.size(); ++i) {
    const Field& field = records->Fields()[i];
    EXPECT_EQ(field.type, types[i]) << field.name;
    EXPECT_EQ(field.attributes, i == 0 ? 0 : field_attribute::kIsNullable) << field.name;
  }
  EXPECT_EQ(records->Fields()[1].definedSize, 5);
  EXPECT_EQ(records->Fields()[15].definedSize, 20);
  const std::vector<Row> rows = ReadAll(*records);
  ASSERT_EQ(rows.size(), 2U);
  const Row expected = {-5,
                        "\xC3\xA4\xF0\x9F\x98\x80\xE2\x82\xACyz",
                        "x",
                        Decimal{"-0.50"},
                        -7,
                        65535,
                        std::int64_t{4294967295},
                        std::numeric_limits<std::int64_t>::min(),
                        Decimal{"18446744073709551615"},
                        -128,
                        255,
                        static_cast<double>(0.1F),
                        1e300,
                        true,
                        Bytes{'a', 'b', 0},
                        Bytes{0x0A, 0x1B},
                        DateOf({2020, 2, 29}, true),
                        DateOf({1899, 12, 30, 10, 11, 12}),
                        DateOf({2020, 1, 2, 10, 11, 12}),
                        2020,
                        "long",
                        Bytes{0x0A, 0x1B, 0x00}};
  EXPECT_EQ(rows[0], expected);
  Row nulls(types.size(), Null{});
  nulls[0] = 6;
  nulls[8] = std::int64_t{7};
  EXPECT_EQ(rows[1], nulls);
  // The same without long columns goes through blocks.
  const std::vector<Row> block =
      Read("SELECT i, v, c, n, si, su, iu, bi, bu, ti, tu, r, d, b, bin, vb, da, tm, ts, y FROM t ORDER BY i");
  EXPECT_EQ(block[0], Row(expected.begin(), expected.begin() + 20));
  EXPECT_EQ(block[1], Row(nulls.begin(), nulls.begin() + 20));
}

TEST_F(MariaDbTest, DatesAndTimesThatAreNoneAreNullAndDoNotSpoilTheirBlock) {
  Run("CREATE TABLE t (da date, tm time, ts datetime)");
  Run("INSERT INTO t VALUES ('0000-00-00', '838:59:59', '0000-00-00 00:00:00'), ('2020-02-00', '-10:00:00', NULL),"
      " ('2020-01-02', '23:59:59', '2020-01-02')");
  const std::vector<Row> rows = Read("SELECT * FROM t");
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_EQ(rows[0], Row(3, Null{}));
  EXPECT_EQ(rows[1], Row(3, Null{}));
  EXPECT_EQ(rows[2], (Row{DateOf({2020, 1, 2}, true), DateOf({1899, 12, 30, 23, 59, 59}), DateOf({2020, 1, 2})}));
}

TEST_F(MariaDbTest, LongColumnsAreReadInPieces) {
  Run("CREATE TABLE t (a int, tx longtext, b varchar(10), bl longblob, c int)");
  Run("INSERT INTO t VALUES (1, concat('x', repeat('\xF0\x9F\x98\x80', 750000)), 'short', repeat(x'00ff', 1500000), "
      "2)");
  const std::vector<Row> rows = Read("SELECT * FROM t");
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0][0], Value(1));
  EXPECT_EQ(rows[0][1], Value("x" + Repeat("\xF0\x9F\x98\x80", 750000)));
  EXPECT_EQ(rows[0][2], Value("short"));
  ASSERT_EQ(rows[0][3].GetIf<Bytes>()->size(), 3000000U);
  EXPECT_EQ(rows[0][3].GetIf<Bytes>()->back(), 0xFF);
  EXPECT_EQ(rows[0][4], Value(2));
}

TEST_F(MariaDbTest, BlocksAndMaxRecords) {
  Run("CREATE TABLE n (i int, word varchar(20))");
  Run("INSERT INTO n SELECT seq, concat('word ', seq) FROM seq_1_to_200");
  const std::vector<Row> rows = Read("SELECT i, word FROM n ORDER BY i");
  ASSERT_EQ(rows.size(), 200U);
  for (int i = 1; i <= 200; ++i) {
    EXPECT_EQ(rows[static_cast<std::size_t>(i) - 1], (Row{i, "word " + std::to_string(i)}));
  }
  for (const std::int32_t most : {1, 63, 64, 65, 199}) {
    EXPECT_EQ(Read("SELECT * FROM n", most).size(), static_cast<std::size_t>(most));
  }
  // The bound belongs to its statement, not to the connection.
  EXPECT_EQ(Read("SELECT * FROM n").size(), 200U);
}

TEST_F(MariaDbTest, TheSystemsSqlIsUnderstood) {
  EXPECT_EQ(ReadOne(*connection_, "SELECT UCASE('abc')"), Value("ABC"));
  EXPECT_EQ(ReadOne(*connection_, "SELECT 0x0A1B"), Value(Bytes{0x0A, 0x1B}));
}

TEST_F(MariaDbTest, ErrorsCarryAdosNumbersAndTheDriversTexts) {
  EXPECT_RAISES(Run("SELECT * FROM nothing"), Hex(0x80040E37),
                HasSubstr("Table '" + database_ + ".nothing' doesn't exist"));
  EXPECT_RAISES(Run("SELEC"), Hex(0x80040E14), HasSubstr("You have an error in your SQL syntax"));
  Run("CREATE TABLE t (i int PRIMARY KEY)");
  Run("INSERT INTO t VALUES (1)");
  EXPECT_RAISES(Run("INSERT INTO t VALUES (1)"), Hex(0x80040E2F), HasSubstr("Duplicate entry"));
  EXPECT_EQ(ReadOne(*connection_, "SELECT i FROM t"), Value(1));
  const auto other = CreateOdbcConnection();
  EXPECT_RAISES(other->Open(connectionString_ + ";UID=nobody_\xC3\xA4;PWD=wrong"), Hex(0x80040E4D),
                HasSubstr("Access denied"));
}

TEST_F(MariaDbTest, TheTextOfAnErrorIsNeverTakenForAFormat) {
  for (const std::string name : {"%n", "%s%s%s%s%s%s%s%s%s%s%s%s%s%s%s%s", "100 %d", "%99999999d"}) {
    EXPECT_RAISES(Run("SELECT * FROM `" + name + "`"), Hex(0x80040E37),
                  HasSubstr("Table '" + database_ + "." + name + "' doesn't exist"));
  }
}

TEST_F(MariaDbTest, NoTableNameIsTooLongToAskForItsIndexes) {
  constexpr std::size_t kLongestPossible = 256;
  for (const std::string character : {"a", "'", "\xE2\x98\x83", "\xF0\x9F\x98\x80"}) {
    for (const std::size_t count : {64U, 65U, 85U, 86U, 128U, 192U, 256U, 257U, 600U, 100'000U}) {
      const std::string name = Repeat(character, count);
      const auto open = [&] {
        return connection_->OpenSchema(Schema::kIndexes, {Value(), Value(), Value(), Value(), name});
      };
      if (name.size() > kLongestPossible) {
        EXPECT_RAISES(open(), error_number::kGeneralFailure, HasSubstr("longer than any can be"));
      } else {
        EXPECT_TRUE(open()->AtEnd()) << name;
      }
    }
  }
}

TEST_F(MariaDbTest, AStatementThatIsTooLongForTheServerIsAnErrorAndTheConnectionStays) {
  const auto longest = static_cast<std::size_t>(SafeLng(ReadOne(*connection_, "SELECT @@max_allowed_packet")));
  const auto select = [](std::size_t length) { return "SELECT 'x', '" + std::string(length, 'y') + "'"; };
  EXPECT_RAISES(Run(select(longest)), error_number::kGeneralFailure, HasSubstr("bytes; the database takes at most"));
  EXPECT_EQ(ReadOne(*connection_, "SELECT 1"), Value(1));
  const std::vector<Row> rows = Read(select(longest - 200));
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(SafeStr(rows[0][1]).size(), longest - 200);
}

TEST_F(MariaDbTest, SchemaRowsets) {
  Run("CREATE TABLE `50%_\xC3\xA4` (a int PRIMARY KEY, b int, c int, INDEX by_cb (c, b))");
  Run("CREATE TABLE `50%x\xC3\xA4` (a int)");
  const Value name("50%_\xC3\xA4");
  EXPECT_EQ(ReadAll(*connection_->OpenSchema(Schema::kTables, {Value(), Value(), name})),
            (std::vector<Row>{{database_, Null{}, name, "TABLE"}}));
  EXPECT_EQ(ReadAll(*connection_->OpenSchema(Schema::kTables, {database_, Value(), name, "TABLE"})).size(), 1U);
  EXPECT_TRUE(connection_->OpenSchema(Schema::kTables, {"mysql", Value(), name})->AtEnd());
  const std::vector<Row> expected = {{"PRIMARY", true, 3, 1, "a", Null{}, Null{}, name},
                                     {"by_cb", false, 3, 1, "c", Null{}, Null{}, name},
                                     {"by_cb", false, 3, 2, "b", Null{}, Null{}, name}};
  EXPECT_EQ(ReadAll(*connection_->OpenSchema(Schema::kIndexes, {Value(), Value(), Value(), Value(), name})), expected);
  EXPECT_NE(ReadAll(*connection_->OpenSchema(Schema::kProviderTypes)).size(), 0U);
}

TEST_F(MariaDbTest, CharactersThatTheDriverMiscountsComeWhole) {
  // In UTF-16 the low bytes of these characters look like halves of pairs.
  const std::string text = "\xC3\x98resund \xD7\xA2\xD7\x91\xD7\xA8\xD7\x99\xD7\xAA \xC3\x9B";
  const auto rows = connection_->OpenRecordSet("SELECT '" + text + "' AS `" + text + "`", 0);
  EXPECT_EQ(rows->Item(0), Value(text));
  EXPECT_EQ(rows->Fields()[0].name, text);
  EXPECT_RAISES(Run("SELECT * FROM `" + text + "!`"), Hex(0x80040E37), HasSubstr(text + "!' doesn't exist"));
}

TEST_F(MariaDbTest, AStatementWithALimitOfItsOwnMayBeBoundedToo) {
  EXPECT_EQ(Read("SELECT 1 UNION SELECT 2 UNION SELECT 3 LIMIT 3", 2).size(), 2U);
  EXPECT_EQ(Read("SELECT 1 UNION SELECT 2 UNION SELECT 3 LIMIT 1", 2).size(), 1U);
}

TEST_F(MariaDbTest, ABackslashInALiteralIsACharacterLikeAnyOther) {
  connection_->Open(connectionString_);  // the set-up took the mode away
  const auto rows = connection_->OpenRecordSet("SELECT 'a\\', '\\'' OR 1=1 -- '", 0);
  EXPECT_EQ(rows->Item(0), Value("a\\"));
  EXPECT_EQ(rows->Item(1), Value("\\' OR 1=1 -- "));
}

TEST_F(MariaDbTest, OnlyTheTablesOfTheCurrentDatabaseAreListed) {
  Run("CREATE TABLE one (i int)");
  EXPECT_EQ(ReadAll(*connection_->OpenSchema(Schema::kTables)),
            (std::vector<Row>{{database_, Null{}, "one", "TABLE"}}));
}

TEST_F(MariaDbTest, ARecordSetReadInPartMayBeDroppedAndTheTableWritten) {
  Run("CREATE TABLE n AS SELECT seq AS i FROM seq_1_to_1000");
  auto records = connection_->OpenRecordSet("SELECT i FROM n", 0);
  records->MoveNext();
  records.reset();
  Run("DROP TABLE n");
}

}  // namespace
}  // namespace ods
