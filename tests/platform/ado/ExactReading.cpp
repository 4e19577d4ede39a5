// The exact form of reading, which keeps of dates and times what the driver gives.
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "platform/ado/AdoTestSupport.h"
#include "platform/ado/OdbcTypes.h"
#include "support/TemporaryFolder.h"
#include "support/TestSystem.h"

namespace ods {
namespace {

using odbc::CellKind;
using odbc::CellValue;

Value OfText(CellKind kind, std::string_view text) {
  return CellValue(odbc::AsExact(kind), 0, std::as_bytes(std::span(text)));
}

template <typename T>
Value OfStruct(CellKind kind, const T& value) {
  return CellValue(odbc::AsExact(kind), 0, std::as_bytes(std::span(&value, 1)));
}

TEST(ExactReading, DatesAreTheirPartsWhateverTheyAre) {
  EXPECT_EQ(OfStruct(CellKind::kDate, SQL_DATE_STRUCT{2020, 2, 29}), Value("2020-02-29"));
  EXPECT_EQ(OfStruct(CellKind::kDate, SQL_DATE_STRUCT{1, 1, 1}), Value("0001-01-01"));
  EXPECT_EQ(OfStruct(CellKind::kDate, SQL_DATE_STRUCT{0, 0, 0}), Value("0000-00-00"));
  EXPECT_EQ(OfStruct(CellKind::kDate, SQL_DATE_STRUCT{-44, 3, 15}), Value("-0044-03-15"));
  EXPECT_EQ(OfStruct(CellKind::kDate, SQL_DATE_STRUCT{12345, 13, 32}), Value("12345-13-32"));
}

TEST(ExactReading, TimestampsHaveTheFractionThatTheyHave) {
  const auto text = [](SQLUINTEGER fraction) {
    return OfStruct(CellKind::kTimeStamp, SQL_TIMESTAMP_STRUCT{2020, 2, 29, 10, 11, 12, fraction});
  };
  EXPECT_EQ(text(0), Value("2020-02-29 10:11:12"));
  EXPECT_EQ(text(500000000), Value("2020-02-29 10:11:12.5"));
  EXPECT_EQ(text(1000), Value("2020-02-29 10:11:12.000001"));
  EXPECT_EQ(text(999999999), Value("2020-02-29 10:11:12.999999999"));
}

TEST(ExactReading, TextsStayWithoutTheBlanksAroundThem) {
  for (const CellKind kind : {CellKind::kTime, CellKind::kTextDate, CellKind::kTextTimeStamp}) {
    for (const char* text :
         {"10:11:12.5", "838:59:59", "0000-00-00", "2020-02-29 10:11:12.1234567 +05:30", "infinity"}) {
      EXPECT_EQ(OfText(kind, std::string(" ") + text + " "), Value(text));
    }
  }
}

TEST(ExactReading, OtherKindsStay) {
  for (const CellKind kind : {CellKind::kInteger, CellKind::kDecimal, CellKind::kText, CellKind::kBytes,
                              CellKind::kGuid, CellKind::kSingle, CellKind::kDouble, CellKind::kBoolean}) {
    EXPECT_EQ(odbc::AsExact(kind), kind);
  }
}

/// A column of a database, and what the driver alone makes of it in the exact form.
struct ExactColumnCase {
  std::string type;
  std::string value;  ///< in the database's SQL
  std::string text;
  std::string typeName;
  int digits = 0;
};

void Compare(Connection& connection, const std::string& table, const std::vector<ExactColumnCase>& cases) {
  std::string columns;
  std::string values;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    columns += (i > 0 ? ", c" : "c") + std::to_string(i) + " " + cases[i].type;
    values += (i > 0 ? ", " : "") + cases[i].value;
  }
  (void)connection.OpenRecordSet("CREATE TABLE " + table + " (" + columns + ")", 0);
  (void)connection.OpenRecordSet("INSERT INTO " + table + " VALUES (" + values + ")", 0);
  const auto rows = connection.OpenExactRecordSet("SELECT * FROM " + table, 0);
  ASSERT_FALSE(rows->AtEnd());
  for (std::size_t i = 0; i < cases.size(); ++i) {
    EXPECT_EQ(SafeStr(rows->Item(i)), cases[i].text) << cases[i].type;
    EXPECT_EQ(rows->Fields().at(i).typeName, cases[i].typeName) << cases[i].type;
    EXPECT_EQ(rows->Fields().at(i).digits, cases[i].digits) << cases[i].type;
  }
  // Only where it is asked for.
  const auto usual = connection.OpenRecordSet("SELECT * FROM " + table, 0);
  EXPECT_EQ(usual->Fields().at(0).typeName, "");
  (void)connection.OpenRecordSet("DROP TABLE " + table, 0);
}

TEST(ExactReading, OfSqlite) {
  const test::TemporaryFolder folder;
  const auto connection = CreateOdbcConnection();
  connection->Open("Driver=SQLite3;Database=" + test::DriverPath(folder.Path()) + "/e.db");
  EXPECT_FALSE(connection->HasSchemas());
  Compare(*connection, "t",
          {{"date", "'2020-02-29'", "2020-02-29", "date", 0},
           {"time", "'10:11:12.5'", "10:11:12.5", "time", 0},
           {"timestamp", "'2020-02-29 10:11:12.345'", "2020-02-29 10:11:12.345", "timestamp", 0},
           {"decimal(10,2)", "1.5", "1.5", "decimal", 0},
           {"integer", "1", "1", "INTEGER", 0}});
}

TEST(ExactReading, OfPostgreSql) {
  const char* const text = std::getenv("ODS_TEST_POSTGRESQL_SCRATCH");
  if (text == nullptr) GTEST_SKIP() << "ODS_TEST_POSTGRESQL_SCRATCH names no server";
  const auto connection = CreateOdbcConnection();
  connection->Open(text);
  EXPECT_TRUE(connection->HasSchemas());
  Compare(
      *connection, UniqueName() + "_exact",
      {{"date", "'2020-02-29'", "2020-02-29", "date", 0},
       {"time", "'10:11:12.5'", "10:11:12.5", "time", 6},
       {"timestamp", "'2020-02-29 10:11:12.000001'", "2020-02-29 10:11:12.000001", "timestamp without time zone", 6},
       {"timestamp(3)", "'2020-02-29 10:11:12.5'", "2020-02-29 10:11:12.5", "timestamp without time zone", 3},
       {"numeric(10,2)", "1.5", "1.50", "numeric", 2},
       {"int4range", "'[1,2)'", "[1,2)", "unknown", 0}});
}

TEST(ExactReading, OfMariaDb) {
  const char* const text = std::getenv("ODS_TEST_MARIADB_SCRATCH");
  if (text == nullptr) GTEST_SKIP() << "ODS_TEST_MARIADB_SCRATCH names no server";
  const auto connection = CreateOdbcConnection();
  connection->Open(text);
  EXPECT_FALSE(connection->HasSchemas());
  Compare(*connection, UniqueName() + "_exact",
          {{"date", "'2020-02-29'", "2020-02-29", "date", 0},
           {"date", "'0000-00-00'", "", "date", 0},  // the driver says null
           {"time", "'838:59:59'", "838:59:59", "time", 0},
           {"time(6)", "'10:11:12.5'", "10:11:12.500000", "time", 6},
           {"datetime(6)", "'2020-02-29 10:11:12.000001'", "2020-02-29 10:11:12.000001", "datetime", 6},
           {"decimal(10,2)", "1.5", "1.50", "decimal", 2},
           {"enum('a','b')", "'b'", "b", "char", 0}});
}

}  // namespace
}  // namespace ods
