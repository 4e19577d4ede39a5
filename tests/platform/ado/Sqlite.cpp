// The whole way through the driver manager to a database file. SQLite's driver has only narrow functions, keeps any
// text in any column whatever its declared size, and cannot re-read a cell within a block.
#include <algorithm>
#include <clocale>
#include <filesystem>
#include <gtest/gtest.h>
#include <stdlib.h>

#include "common/Text.h"
#include "platform/ado/Ado.h"
#include "platform/ado/AdoTestSupport.h"
#include "support/GatheredRows.h"
#include "support/RaisedErrors.h"
#include "support/TemporaryFolder.h"
#include "support/TestSystem.h"

namespace ods {
namespace {

using ::testing::HasSubstr;

constexpr const char* kSpecials = "\xC3\xA4\xC3\x96\xC3\x9F \xE2\x82\xAC \xF0\x9F\x98\x80 it's \"quoted\" \\ %_";

class SqliteTest : public ::testing::Test {
 protected:
  SqliteTest() {
    connection_ = CreateOdbcConnection();
    connection_->Open(ConnectionString("main.db"));
  }
  [[nodiscard]] std::string Path(const std::string& file) const { return (folder_ / file).string(); }
  [[nodiscard]] std::string ConnectionString(const std::string& file) const {
    return "Driver=SQLite3;Database=" + test::DriverPath(Path(file));
  }
  void Run(const std::string& sql) { (void)connection_->OpenRecordSet(sql, 0); }
  std::vector<Row> Read(const std::string& sql, std::int32_t maxRecords = 0) {
    return ReadAll(*connection_, sql, maxRecords);
  }
  /// A table `n` of the numbers from 1, with a text and a square.
  void MakeNumbers(std::int32_t count) {
    Run("CREATE TABLE n (id INTEGER PRIMARY KEY, square BIGINT, word VARCHAR(20))");
    Run("WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM c WHERE i < " + std::to_string(count) +
        ") INSERT INTO n SELECT i, i * i, 'word ' || i FROM c");
  }

  test::TemporaryFolder temporary_;
  std::filesystem::path folder_ = temporary_.Path();
  std::shared_ptr<Connection> connection_;
};

TEST_F(SqliteTest, PropertiesComeInTheirOrderWithoutThePassword) {
  connection_->Open(ConnectionString("main.db") + ";UID=somebody;PWD=secret-word");
  std::vector<std::string> names;
  for (const ConnectionProperty& property : connection_->Properties()) {
    names.push_back(property.name);
    EXPECT_EQ(property.value.find("secret-word"), std::string::npos) << property.name;
  }
  const std::vector<std::string> expected = {
      "DBMS Name",      "DBMS Version",        "Current Catalog", "Data Source Name", "Driver Name",
      "Driver Version", "Driver ODBC Version", "Server Name",     "User Name",        "Identifier Quote Character"};
  EXPECT_EQ(names, expected);
  EXPECT_EQ(connection_->Property("DBMS Name"), "SQLite");
  EXPECT_EQ(connection_->Property("Identifier Quote Character"), "\"");
  EXPECT_EQ(connection_->Property("Data Source Name"), "");
  EXPECT_EQ(connection_->Property("Nothing"), "");
  EXPECT_EQ(connection_->Property("Current Catalog"), Path("main.db"));
  EXPECT_EQ(connection_->DefaultDatabase(), Path("main.db"));
}

TEST_F(SqliteTest, AValueThatNoResponseCanCarryIsRefused) {
  Run("CREATE TABLE large (b BLOB)");
  Run("INSERT INTO large VALUES (zeroblob(80000000))");
  EXPECT_RAISES(Read("SELECT b FROM large"), 1000, HasSubstr("A value of the field 'b' has more than 67108864 bytes."));
}

TEST_F(SqliteTest, EveryTypeGivesItsValueAndItsField) {
  Run("CREATE TABLE t (i INTEGER, v VARCHAR(30), tx TEXT, dec DECIMAL(10,2), si SMALLINT, bi BIGINT, ti TINYINT, r "
      "REAL,"
      " d DOUBLE, b BIT, bl BLOB, vb VARBINARY(10), da DATE, tm TIME, ts TIMESTAMP, u INT UNSIGNED)");
  Run("INSERT INTO t VALUES (-5, 'abc', 'long', '12.50', -7, 9223372036854775807, 200, 0.1, 1e300, 1, x'0A1B00',"
      " x'FF', '2020-02-29', '10:11:12', '2020-01-02 10:11:12.75', 4294967295)");
  const auto records = connection_->OpenRecordSet("SELECT * FROM t", 0);
  const std::vector<std::int32_t> types = {3, 200, 201, 200, 2, 20, 16, 5, 5, 11, 128, 204, 133, 134, 135, 19};
  const std::vector<std::int64_t> sizes = {4, 30, 65536, 10, 2, 8, 1, 8, 8, 2, 255, 10, 6, 6, 16, 4};
  ASSERT_EQ(records->Fields().size(), types.size());
  for (std::size_t i = 0; i < types.size(); ++i) {
    const Field& field = records->Fields()[i];
    EXPECT_EQ(field.type, types[i]) << field.name;
    EXPECT_EQ(field.definedSize, sizes[i]) << field.name;
    EXPECT_EQ(field.attributes, field_attribute::kIsNullable) << field.name;
  }
  const std::vector<Row> rows = ReadAll(*records);
  ASSERT_EQ(rows.size(), 1U);
  const Row expected = {-5,
                        "abc",
                        "long",
                        "12.5",
                        -7,
                        std::int64_t{9223372036854775807},
                        200,
                        0.1,
                        1e300,
                        true,
                        Bytes{0x0A, 0x1B, 0x00},
                        Bytes{0xFF},
                        DateOf({2020, 2, 29}, true),
                        DateOf({1899, 12, 30, 10, 11, 12}),
                        DateOf({2020, 1, 2, 10, 11, 12}),
                        std::int64_t{4294967295}};
  EXPECT_EQ(rows[0], expected);
}

TEST_F(SqliteTest, NullIsNullInEveryTypeAndEveryWayOfFetching) {
  Run("CREATE TABLE t (i INTEGER, d DOUBLE, da DATE, v VARCHAR(30), bl BLOB, tx TEXT, b BIT)");
  Run("INSERT INTO t DEFAULT VALUES");
  Run("INSERT INTO t (i) VALUES (1)");
  EXPECT_EQ(Read("SELECT * FROM t")[0], Row(7, Null{}));
  EXPECT_EQ(Read("SELECT i, d, da, b FROM t")[0], Row(4, Null{}));
  EXPECT_EQ(Read("SELECT v FROM t")[0], Row(1, Null{}));
}

TEST_F(SqliteTest, AnIntegerColumnKeepsItsSixtyFourBits) {
  Run("CREATE TABLE t (i INTEGER)");
  Run("INSERT INTO t VALUES (5000000000), (7)");
  EXPECT_EQ(Read("SELECT i FROM t"), (std::vector<Row>{{std::int64_t{5000000000}}, {7}}));
}

TEST_F(SqliteTest, DatesThatAreNoneAreNullAndDoNotSpoilTheirBlock) {
  Run("CREATE TABLE t (da DATE, tm TIME, ts TIMESTAMP)");
  Run("INSERT INTO t VALUES ('0000-00-00', '25:99:00', '0000-00-00 00:00:00'), ('rubbish', 'rubbish', 'rubbish'),"
      " ('2020-01-02', '00:00:00', '2020-01-02 00:00:00')");
  const std::vector<Row> rows = Read("SELECT * FROM t");
  ASSERT_EQ(rows.size(), 3U);
  EXPECT_EQ(rows[0], Row(3, Null{}));
  EXPECT_EQ(rows[1], Row(3, Null{}));
  EXPECT_EQ(rows[2], (Row{DateOf({2020, 1, 2}, true), DateOf({}), DateOf({2020, 1, 2})}));
}

TEST_F(SqliteTest, CharactersBeyondAsciiTravelBothWaysInTextsAndNames) {
  Run("CREATE TABLE \"T\xC3\xA4\xF0\x9F\x98\x80\" (\"\xC3\xBC \xE2\x82\xAC\" VARCHAR(100), long TEXT)");
  std::string literal = ReplaceAll(kSpecials, "'", "''");
  Run("INSERT INTO \"T\xC3\xA4\xF0\x9F\x98\x80\" VALUES ('" + literal + "', '" + literal + "')");
  const auto records = connection_->OpenRecordSet("SELECT * FROM \"T\xC3\xA4\xF0\x9F\x98\x80\"", 0);
  EXPECT_EQ(records->Fields()[0].name, "\xC3\xBC \xE2\x82\xAC");
  EXPECT_EQ(records->Item(0), Value(kSpecials));
  EXPECT_EQ(records->Item("long"), Value(kSpecials));
}

TEST_F(SqliteTest, AFileNameBeyondAsciiIsThatFile) {
  const std::string name = "Auftr\xC3\xA4ge \xE2\x82\xAC.db";
  connection_->Open(ConnectionString(name));
  Run("CREATE TABLE t (i INTEGER)");
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder_))
    files.push_back(entry.path().filename().string());
  std::sort(files.begin(), files.end());
  EXPECT_EQ(files.front(), name);
  EXPECT_LE(files.size(), 2U);
}

TEST_F(SqliteTest, BytesThatAreNoUtf8AreReplacedAndAnEmptyTextIsNotNull) {
  Run("CREATE TABLE t (v VARCHAR(10))");
  Run("INSERT INTO t VALUES (CAST(x'61E47A' AS TEXT)), ('')");
  EXPECT_EQ(Read("SELECT v FROM t"), (std::vector<Row>{{"a\xEF\xBF\xBDz"}, {""}}));
}

TEST_F(SqliteTest, ManyRowsComeInOrderThroughBlocksAndRowByRow) {
  constexpr std::int32_t kCount = 200;
  MakeNumbers(kCount);
  for (const char* columns : {"id, square", "id, square, word", "id, square, CAST(word AS TEXT)"}) {
    const std::vector<Row> rows = Read(std::string("SELECT ") + columns + " FROM n ORDER BY id");
    ASSERT_EQ(rows.size(), static_cast<std::size_t>(kCount));
    for (std::int32_t i = 1; i <= kCount; ++i) {
      const Row& row = rows[static_cast<std::size_t>(i) - 1];
      EXPECT_EQ(row[0], Value(i));
      EXPECT_EQ(row[1], Value(std::int64_t{i} * i));
      if (row.size() > 2) {
        EXPECT_EQ(row[2], Value("word " + std::to_string(i)));
      }
    }
  }
}

TEST_F(SqliteTest, AFullBlockIsFollowedByTheEnd) {
  for (const std::int32_t count : {1, 63, 64, 65, 128}) {
    EXPECT_EQ(Read("WITH RECURSIVE c(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM c WHERE i < " + std::to_string(count) +
                   ") SELECT i FROM c")
                  .size(),
              static_cast<std::size_t>(count));
  }
}

TEST_F(SqliteTest, MaxRecordsBoundsTheRecords) {
  MakeNumbers(200);
  for (const char* columns : {"id", "id, word", "id, CAST(word AS TEXT)"}) {
    for (const std::int32_t most : {1, 2, 63, 64, 65, 199, 200}) {
      EXPECT_EQ(Read(std::string("SELECT ") + columns + " FROM n", most).size(), static_cast<std::size_t>(most));
    }
    EXPECT_EQ(Read(std::string("SELECT ") + columns + " FROM n", 201).size(), 200U);
    EXPECT_EQ(Read(std::string("SELECT ") + columns + " FROM n", 0).size(), 200U);
    EXPECT_EQ(Read(std::string("SELECT ") + columns + " FROM n", -1).size(), 200U);
  }
}

TEST_F(SqliteTest, NothingIsLostWhenTextsAreLongerThanTheirColumnSays) {
  Run("CREATE TABLE t (id INTEGER, v VARCHAR(5), bl VARBINARY(5), d DECIMAL(5,2))");
  const std::string text = Repeat("\xC3\xA4\xF0\x9F\x98\x80z", 3334);
  for (int i = 0; i < 100; ++i) {
    std::string sql = "INSERT INTO t VALUES (" + std::to_string(i) + ", '";
    if (i % 3 == 0) {
      sql.append(text).append(std::to_string(i)).append("', zeroblob(10000), '").append(300, '9').append("')");
    } else {
      sql.append(std::to_string(i)).append(i % 2 == 0 ? "', x'00', '1.5')" : "', x'0102030405', '1.5')");
    }
    Run(sql);
  }
  const std::vector<Row> rows = Read("SELECT * FROM t ORDER BY id");
  ASSERT_EQ(rows.size(), 100U);
  for (int i = 0; i < 100; ++i) {
    const Row& row = rows[static_cast<std::size_t>(i)];
    EXPECT_EQ(row[0], Value(i));
    EXPECT_EQ(row[1], Value(i % 3 == 0 ? text + std::to_string(i) : std::to_string(i)));
    EXPECT_EQ(row[2].GetIf<Bytes>()->size(), i % 3 == 0 ? 10000U : i % 2 == 0 ? 1U : 5U);
  }
}

TEST_F(SqliteTest, TextsAroundTheSizeOfTheirBufferAreWhole) {
  Run("CREATE TABLE t (v VARCHAR(5))");
  for (std::size_t size = 250; size <= 260; ++size) Run("INSERT INTO t VALUES ('" + std::string(size, 'x') + "')");
  const std::vector<Row> rows = Read("SELECT v FROM t");
  for (std::size_t i = 0; i < rows.size(); ++i) EXPECT_EQ(rows[i][0], Value(std::string(250 + i, 'x')));
}

TEST_F(SqliteTest, LongColumnsAreReadInPiecesWhereverTheyStand) {
  Run("CREATE TABLE t (a INTEGER, tx TEXT, b VARCHAR(10), bl BLOB, c DOUBLE, tx2 TEXT, d INTEGER)");
  const std::string megabytes = Repeat("0123456789\xC3\xA4\xF0\x9F\x98\x80", 200000);
  Run("INSERT INTO t VALUES (1, '" + megabytes + "', 'short', zeroblob(3000001), 2.5, NULL, 3)");
  Run("INSERT INTO t VALUES (4, '', NULL, zeroblob(0), NULL, 'x', 5)");
  const std::vector<Row> rows = Read("SELECT * FROM t ORDER BY a");
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0], (Row{1, megabytes, "short", Bytes(3000001), 2.5, Null{}, 3}));
  EXPECT_EQ(rows[1], (Row{4, "", Null{}, Bytes{}, Null{}, "x", 5}));
}

TEST_F(SqliteTest, PieceBoundariesLoseNothing) {
  Run("CREATE TABLE t (tx TEXT, bl BLOB)");
  for (std::size_t size = 8189; size <= 8194; ++size) {
    Run("INSERT INTO t VALUES ('" + std::string(size, 'x') + "', zeroblob(" + std::to_string(size) + "))");
  }
  const std::vector<Row> rows = Read("SELECT * FROM t");
  ASSERT_EQ(rows.size(), 6U);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i][0], Value(std::string(8189 + i, 'x')));
    EXPECT_EQ(rows[i][1], Value(Bytes(8189 + i)));
  }
}

TEST_F(SqliteTest, AStatementWithoutResultGivesARecordSetWithoutFields) {
  const auto records = connection_->OpenRecordSet("CREATE TABLE t (i INTEGER)", 10);
  EXPECT_TRUE(records->Fields().empty());
  EXPECT_TRUE(records->AtEnd());
  EXPECT_RAISES(records->MoveNext(), 3021, HasSubstr("There is no current record."));
  EXPECT_RAISES(records->Item(0), 3265, HasSubstr("The record set has no field number 0."));
  EXPECT_TRUE(connection_->OpenRecordSet("DELETE FROM t", 0)->AtEnd());
}

TEST_F(SqliteTest, AnEmptyResultHasItsFields) {
  MakeNumbers(3);
  const auto records = connection_->OpenRecordSet("SELECT * FROM n WHERE 1=2", 1);
  EXPECT_TRUE(records->AtEnd());
  ASSERT_EQ(records->Fields().size(), 3U);
  EXPECT_EQ(records->Fields()[1].name, "square");
  EXPECT_RAISES(records->Item(0), 3021, HasSubstr("There is no current record."));
}

TEST_F(SqliteTest, ARecordSetReadInPartMayBeDroppedAndTheTableWritten) {
  MakeNumbers(500);
  for (const char* columns : {"id", "id, word", "id, CAST(word AS TEXT)"}) {
    auto records = connection_->OpenRecordSet(std::string("SELECT ") + columns + " FROM n", 0);
    records->MoveNext();
    records->MoveNext();
    records.reset();
    const auto other = CreateOdbcConnection();
    other->Open(ConnectionString("main.db") + ";Timeout=100");
    (void)other->OpenRecordSet("INSERT INTO n (word) VALUES ('new')", 0);
    Run("DELETE FROM n WHERE word = 'new'");
  }
  EXPECT_EQ(ReadOne(*connection_, "SELECT COUNT(*) FROM n"), Value(500));
}

TEST_F(SqliteTest, ARecordSetAtItsEndHoldsNoLock) {
  MakeNumbers(70);
  const auto records = connection_->OpenRecordSet("SELECT id FROM n", 3);
  while (!records->AtEnd()) records->MoveNext();
  const auto other = CreateOdbcConnection();
  other->Open(ConnectionString("main.db") + ";Timeout=100");
  (void)other->OpenRecordSet("DELETE FROM n", 0);
  EXPECT_EQ(ReadOne(*connection_, "SELECT COUNT(*) FROM n"), Value(0));
}

TEST_F(SqliteTest, ARecordSetOutlivesItsConnection) {
  MakeNumbers(200);
  const auto records = connection_->OpenRecordSet("SELECT id FROM n", 0);
  connection_.reset();
  EXPECT_EQ(ReadAll(*records).size(), 200U);
}

TEST_F(SqliteTest, SeveralRecordSetsAreReadSideBySide) {
  MakeNumbers(100);
  const auto first = connection_->OpenRecordSet("SELECT id FROM n ORDER BY id", 0);
  const auto second = connection_->OpenRecordSet("SELECT word FROM n ORDER BY id DESC", 0);
  for (; !first->AtEnd(); first->MoveNext(), second->MoveNext()) {
    const std::int32_t id = SafeLng(first->Item(0));
    EXPECT_EQ(second->Item(0), Value("word " + std::to_string(101 - id)));
  }
  EXPECT_TRUE(second->AtEnd());
}

TEST_F(SqliteTest, OpeningAnOpenConnectionClosesTheOldOne) {
  Run("CREATE TABLE first_only (i INTEGER)");
  connection_->Open(ConnectionString("second.db"));
  EXPECT_EQ(connection_->DefaultDatabase(), Path("second.db"));
  EXPECT_RAISES(Run("SELECT * FROM first_only"), Hex(0x80004005), HasSubstr("no such table: first_only"));
}

TEST_F(SqliteTest, AFailedOpenLeavesNoConnection) {
  EXPECT_RAISES(connection_->Open("Driver=SQLite3;Database=/nonexistent-folder/x.db"), Hex(0x80004005),
                HasSubstr("connect failed"));
  EXPECT_TRUE(connection_->Properties().empty());
  EXPECT_RAISES(Run("SELECT 1"), 3704, HasSubstr("The connection is closed."));
  EXPECT_RAISES(connection_->Open("Driver=NoSuchDriver"), Hex(0x80004005), HasSubstr("NoSuchDriver"));
  EXPECT_RAISES(connection_->Open("DSN=no-such-source"), Hex(0x80004005), HasSubstr("Data source name not found"));
  EXPECT_RAISES(connection_->Open(std::string(40000, 'x')), Hex(0x80004005),
                HasSubstr("The connection string is too long."));
}

TEST_F(SqliteTest, ErrorsCarryTheDriversText) {
  // This driver gives one SQLSTATE, HY000, for everything.
  EXPECT_RAISES(Run("SELECT * FROM missing"), Hex(0x80004005), HasSubstr("no such table: missing"));
  EXPECT_RAISES(Run("SELEC"), Hex(0x80004005), HasSubstr("syntax error"));
  EXPECT_RAISES(Run("SELECT '\xE2\x82\xAC\xF0\x9F\x98\x80"), Hex(0x80004005),
                HasSubstr("\xE2\x82\xAC\xF0\x9F\x98\x80"));
  EXPECT_RAISES(Run(std::string("SELECT 1\0 FROM missing", 22)), Hex(0x80004005),
                HasSubstr("The statement contains a null character."));
}

/// Sets the locale of the whole process while it lives.
class LocaleGuard {
 public:
  explicit LocaleGuard(const char* name) : old_(std::setlocale(LC_ALL, nullptr)) {
    taken_ = std::setlocale(LC_ALL, name) != nullptr;
  }
  LocaleGuard(const LocaleGuard&) = delete;
  LocaleGuard& operator=(const LocaleGuard&) = delete;
  LocaleGuard(LocaleGuard&&) = delete;
  LocaleGuard& operator=(LocaleGuard&&) = delete;
  ~LocaleGuard() { std::setlocale(LC_ALL, old_.c_str()); }
  [[nodiscard]] bool Taken() const { return taken_; }

 private:
  std::string old_;
  bool taken_ = false;
};

// The driver manager converts by the locale that the process had when it connected.
TEST_F(SqliteTest, TextAndErrorsAreTheSameInEveryLocale) {
  for (const char* locale : {"C", "C.UTF-8"}) {
    const LocaleGuard guard(locale);
    ASSERT_TRUE(guard.Taken()) << locale;
    connection_->Open(ConnectionString("main.db"));
    for (const char* text : {"\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"}) {
      EXPECT_EQ(ReadOne(*connection_, std::string("SELECT '") + text + "'"), Value(text)) << locale;
      EXPECT_RAISES(Run(std::string("SELECT * FROM \"") + text + "\""), Hex(0x80004005),
                    HasSubstr(std::string("no such table: ") + text));
    }
  }
}

TEST_F(SqliteTest, NumbersDoNotDependOnTheLocale) {
  const LocaleGuard guard("de_DE.UTF-8");
  if (!guard.Taken()) GTEST_SKIP() << "the system has no locale de_DE.UTF-8";
  connection_->Open(ConnectionString("main.db"));
  Run("CREATE TABLE t (d DOUBLE, r REAL, n DECIMAL(5,2))");
  Run("INSERT INTO t VALUES (2.25, 0.5, 1.5)");
  EXPECT_EQ(Read("SELECT * FROM t"), (std::vector<Row>{{2.25, 0.5, "1.5"}}));
}

TEST_F(SqliteTest, TheSystemsSqlIsUnderstood) {
  EXPECT_EQ(ReadOne(*connection_, "SELECT UCASE('abc')"), Value("ABC"));
  EXPECT_EQ(ReadOne(*connection_, "SELECT {fn UCASE('abc')}"), Value("ABC"));
  EXPECT_EQ(ReadOne(*connection_, "SELECT 0x0A1B"), Value(Bytes{0x0A, 0x1B}));
}

TEST_F(SqliteTest, AnErrorOnTheWayIsRaisedAndNotTakenForTheEnd) {
  Run("CREATE TABLE t (i BIGINT, v VARCHAR(10))");
  Run("INSERT INTO t SELECT id, 'x' FROM (WITH RECURSIVE c(id) AS (SELECT 1 UNION ALL SELECT id + 1 FROM c WHERE id < "
      "100)"
      " SELECT id FROM c)");
  Run("INSERT INTO t VALUES (-9223372036854775808, 'y')");
  for (const char* columns : {"i", "i, v", "i, CAST(v AS TEXT)"}) {
    EXPECT_RAISES(Read(std::string("SELECT ") + columns + " FROM t WHERE abs(i) > 0 ORDER BY rowid"), Hex(0x80004005),
                  HasSubstr("integer overflow"));
  }
}

TEST_F(SqliteTest, AStreamGivesASinkAllRowsAcrossHandOvers) {
  constexpr std::size_t kRows = 10'000;  // more than one hand-over has
  const std::string sql = "WITH RECURSIVE s(n) AS (SELECT 1 UNION ALL SELECT n+1 FROM s WHERE n<" +
                          std::to_string(kRows) + ") SELECT n, 'row '||n AS t FROM s";
  const auto rows = std::make_shared<test::GatheredRows>();
  connection_->OpenStream(sql, 0, false, rows)->ReadToEnd();
  ASSERT_EQ(rows->rows.size(), kRows);
  for (std::size_t i = 0; i < kRows; ++i) {
    ASSERT_EQ(SafeStr(rows->rows[i][0]), std::to_string(i + 1));
    ASSERT_EQ(SafeStr(rows->rows[i][1]), "row " + std::to_string(i + 1));
  }
  const auto few = std::make_shared<test::GatheredRows>();
  connection_->OpenStream(sql, 7, false, few)->ReadToEnd();
  EXPECT_EQ(few->rows.size(), 7U);
}

TEST_F(SqliteTest, ASinkGetsTheFieldsOfAResultWithoutRows) {
  const auto rows = std::make_shared<test::GatheredRows>();
  connection_->OpenStream("SELECT 1 AS one, 'x' AS x WHERE 1=0", 0, false, rows)->ReadToEnd();
  ASSERT_EQ(rows->fields.size(), 2U);
  EXPECT_EQ(rows->fields[0].name, "one");
  EXPECT_TRUE(rows->rows.empty());
}

TEST_F(SqliteTest, ASinkThatHasEnoughEndsItsStatement) {
  Run("CREATE TABLE enough (id INTEGER)");
  Run("INSERT INTO enough WITH RECURSIVE s(n) AS (SELECT 1 UNION ALL SELECT n+1 FROM s WHERE n<500) SELECT n FROM s");
  const auto rows = std::make_shared<test::GatheredRows>();
  rows->wanted = 3;
  const auto stream = connection_->OpenStream("SELECT id FROM enough ORDER BY id", 0, false, rows);
  stream->ReadToEnd();
  EXPECT_EQ(rows->rows.size(), 3U);
  Run("DROP TABLE enough");  // no lock is left while the stream is there
  stream->ReadToEnd();
  EXPECT_EQ(rows->rows.size(), 3U);
}

/// Raises an error at a row, or at the fields.
class RaisingSink final : public RowSink {
 public:
  explicit RaisingSink(int row) : row_(row) {}
  void Begin(const std::vector<Field>& /*fields*/) override {
    if (row_ == 0) throw Error(error_number::kOwn, "fields");
  }
  [[nodiscard]] bool Take(std::span<const CellView> /*row*/) override {
    if (++taken == row_) throw Error(error_number::kOwn, "row " + std::to_string(row_));
    return true;
  }
  int taken = 0;

 private:
  int row_;
};

TEST_F(SqliteTest, AnErrorOfTheSinkIsRaisedByTheReading) {
  for (const int row : {0, 1, 2}) {
    const auto sink = std::make_shared<RaisingSink>(row);
    const auto stream = connection_->OpenStream("SELECT 1 UNION SELECT 2 UNION SELECT 3", 0, false, sink);
    EXPECT_RAISES(stream->ReadToEnd(), error_number::kOwn, row == 0 ? "fields" : "row " + std::to_string(row));
    EXPECT_EQ(sink->taken, row);
    stream->ReadToEnd();
    EXPECT_EQ(sink->taken, row) << "nothing is given to it any more";
  }
}

TEST_F(SqliteTest, ADriversErrorOnTheWayOfAStreamIsRaisedAtItsRow) {
  const auto rows = std::make_shared<test::GatheredRows>();
  const std::string sql = "SELECT abs(n) FROM (SELECT 1 AS n UNION ALL SELECT -9223372036854775807-1)";
  EXPECT_RAISES(connection_->OpenStream(sql, 0, false, rows)->ReadToEnd(), error_number::kGeneralFailure,
                ::testing::HasSubstr("integer overflow"));
}

TEST_F(SqliteTest, TheTablesSchemaMatchesANameAsItIs) {
  for (const char* name : {"a_b", "axb", "50%_x", "50ab_x", "back\\slash", "\xC3\xA4_\xF0\x9F\x98\x80"}) {
    Run(std::string("CREATE TABLE \"") + name + "\" (i INTEGER)");
  }
  Run("CREATE VIEW v AS SELECT 1 AS one");
  for (const char* name : {"a_b", "50%_x", "back\\slash", "\xC3\xA4_\xF0\x9F\x98\x80"}) {
    const auto records = connection_->OpenSchema(Schema::kTables, {Value(), Value(), name, Value()});
    ASSERT_EQ(records->Fields().size(), 4U);
    ASSERT_FALSE(records->AtEnd()) << name;
    EXPECT_EQ(records->Item("TABLE_NAME"), Value(name));
    EXPECT_EQ(records->Item("TABLE_TYPE"), Value("TABLE"));
    EXPECT_TRUE(records->Item("TABLE_CATALOG").IsNull());
    EXPECT_TRUE(records->Item("TABLE_SCHEMA").IsNull());
    records->MoveNext();
    EXPECT_TRUE(records->AtEnd()) << name;
  }
  for (const char* pattern : {"a%", "%", "A_B", "___"}) {
    EXPECT_TRUE(connection_->OpenSchema(Schema::kTables, {Value(), Value(), pattern})->AtEnd()) << pattern;
  }
  EXPECT_EQ(ReadAll(*connection_->OpenSchema(Schema::kTables)).size(), 7U);
  EXPECT_EQ(ReadAll(*connection_->OpenSchema(Schema::kTables, {Value(), Null{}, "", "VIEW"})).size(), 1U);
  EXPECT_TRUE(connection_->OpenSchema(Schema::kTables, {Value(), "other", "a_b"})->AtEnd());
}

TEST_F(SqliteTest, TheIndexesSchemaMayTellWhatIndexesLeaveOut) {
  Run("CREATE TABLE f (a INTEGER, b INTEGER)");
  Run("CREATE UNIQUE INDEX u ON f (a, b)");
  const std::vector<Value> table = {Value(), Value(), Value(), Value(), "f"};
  const auto records = connection_->OpenSchema(Schema::kFilteredIndexes, table);
  ASSERT_EQ(records->Fields().size(), connection_->OpenSchema(Schema::kIndexes, table)->Fields().size() + 1);
  EXPECT_EQ(records->Fields().back().name, "FILTER_CONDITION");
  const std::vector<Row> rows = ReadAll(*records);
  ASSERT_EQ(rows.size(), 2U);
  for (const Row& row : rows) EXPECT_TRUE(row.back().IsNull());
}

TEST_F(SqliteTest, TheIndexesSchemaListsTheColumnsOfEveryIndex) {
  Run("CREATE TABLE \"50%_x\" (id INTEGER PRIMARY KEY, a INTEGER, b INTEGER)");
  Run("CREATE INDEX \"by \xC3\xA4\" ON \"50%_x\" (b, a)");
  Run("CREATE UNIQUE INDEX u ON \"50%_x\" (a)");
  Run("CREATE TABLE \"50ab_x\" (id INTEGER PRIMARY KEY)");
  const auto records = connection_->OpenSchema(Schema::kIndexes, {Value(), Value(), Value(), Value(), "50%_x"});
  std::vector<std::string> names;
  for (const Field& field : records->Fields()) names.push_back(field.name);
  EXPECT_EQ(names, (std::vector<std::string>{"INDEX_NAME", "UNIQUE", "TYPE", "ORDINAL_POSITION", "COLUMN_NAME",
                                             "PRIMARY_KEY", "TABLE_SCHEMA", "TABLE_NAME"}));
  std::vector<Row> rows = ReadAll(*records);
  for (Row& row : rows) {
    EXPECT_EQ(row[7], Value("50%_x"));
    row.resize(6);
  }
  const std::vector<Row> expected = {{"sqlite_autoindex_0", true, 3, 1, "id", Null{}},
                                     {"u", true, 3, 1, "a", Null{}},
                                     {"by \xC3\xA4", false, 3, 1, "b", Null{}},
                                     {"by \xC3\xA4", false, 3, 2, "a", Null{}}};
  EXPECT_TRUE(std::is_permutation(rows.begin(), rows.end(), expected.begin(), expected.end()))
      << ::testing::PrintToString(rows);
  EXPECT_EQ(ReadAll(*connection_->OpenSchema(Schema::kIndexes, {Value(), Value(), "u", Value(), "50%_x"})).size(), 1U);
  EXPECT_TRUE(connection_->OpenSchema(Schema::kIndexes, {Value(), Value(), Value(), Value(), "none"})->AtEnd());
  EXPECT_RAISES(connection_->OpenSchema(Schema::kIndexes, {}), Hex(0x80004005),
                HasSubstr("The schema of indexes needs a table name."));
}

TEST_F(SqliteTest, ProviderTypesHaveAllColumnsOfTheDriver) {
  const auto records = connection_->OpenSchema(Schema::kProviderTypes);
  EXPECT_EQ(records->Fields().size(), 19U);
  std::vector<std::string> names;
  for (; !records->AtEnd(); records->MoveNext()) names.push_back(SafeStr(records->Item("TYPE_NAME")));
  EXPECT_NE(std::find(names.begin(), names.end(), "varchar"), names.end());
  EXPECT_NE(std::find(names.begin(), names.end(), "integer"), names.end());
}

TEST_F(SqliteTest, LiteralsGiveTheQuoteCharacters) {
  const std::vector<Row> rows = ReadAll(*connection_->OpenSchema(Schema::kDBInfoLiterals));
  EXPECT_EQ(rows, (std::vector<Row>{{"QUOTE", "\""}, {"QUOTE_SUFFIX", "\""}}));
}

TEST_F(SqliteTest, AnUnknownSchemaIsAnError) {
  EXPECT_RAISES(connection_->OpenSchema(static_cast<Schema>(4)), Hex(0x80004005),
                HasSubstr("There is no schema rowset number 4."));
}

}  // namespace
}  // namespace ods
