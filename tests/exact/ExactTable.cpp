#include "exact/ExactTable.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>

#include "common/Error.h"
#include "doubles/FakeSession.h"
#include "exact/ExactProduct.h"
#include "exact/ExactSession.h"
#include "support/RaisedErrors.h"
#include "support/TestSystem.h"

namespace ods::test {
namespace {

using ::testing::_;
using ::testing::HasSubstr;

/// A product that nothing is known of, whose tables have these fields.
class Tables : public ::testing::Test {
 protected:
  Tables() {
    fake_.session.exact = std::make_shared<ExactSession>();
    fake_.session.exact->product = &ExactProductOf("");
    fake_.connection->schemas[Schema::kIndexes] = [] { return MakeRows({}); };
    fake_.connection->schemas[Schema::kFilteredIndexes] = [] { return MakeRows({}); };
    fake_.connection->answer = [this](const std::string& sql) -> std::shared_ptr<RecordSet> {
      if (refused_ != "" && sql.find("SELECT 1 ") == 0 && sql.find(refused_) != std::string::npos) {
        throw Error(error_number::kGeneralFailure, "no such comparison");
      }
      return MakeRows(fields_);
    };
  }
  const ExactTable& Look(const std::string& table) { return LookupExactTable(fake_.session, table); }
  const ExactColumn& ColumnOf(const Field& field) {
    fields_ = {field};
    fake_.session.exact->tables.clear();
    return Look("[TABLE]t").columns.at(0);
  }

  FakeSession fake_{DatabaseKind::DbUnknown};
  std::vector<Field> fields_ = {{"a", ado_type::kInteger, 4, 0}, {"b", ado_type::kVarWChar, 20, 32}};
  std::string refused_;
};

TEST_F(Tables, AreAskedForOnce) {
  EXPECT_EQ(Look("[TABLE]t").columns.size(), 2U);
  const std::size_t statements = fake_.connection->statements.size();
  EXPECT_EQ(&Look("[TABLE]t"), &Look("[VIEW]t"));
  EXPECT_EQ(fake_.connection->statements.size(), statements);
  EXPECT_FALSE(Look("[TABLE]t").columns[0].nullable);
  EXPECT_TRUE(Look("[TABLE]t").columns[1].nullable);
}

TEST_F(Tables, AreNotKeptWhenAStatementFails) {
  const auto answer = fake_.connection->answer;
  fake_.connection->answer = [](const std::string&) -> std::shared_ptr<RecordSet> {
    throw Error(error_number::kGeneralFailure, "no such table");
  };
  EXPECT_RAISES(Look("[TABLE]t"), error_number::kGeneralFailure, HasSubstr("no such table"));
  fake_.connection->answer = answer;
  EXPECT_EQ(Look("[TABLE]t").columns.size(), 2U);
}

TEST_F(Tables, OfAnyNumberTakeNoMoreThanSomeMemory) {
  fields_.assign(200, {"field", ado_type::kVarWChar, 20, 0});
  std::size_t most = 0;
  for (int i = 0; i < 200; ++i) {
    EXPECT_EQ(Look("[TABLE]t" + std::to_string(i)).columns.size(), 200U);
    most = std::max(most, fake_.session.exact->tables.size());
  }
  EXPECT_GT(most, 5U);
  EXPECT_LT(most, 60U);
}

TEST_F(Tables, ThatAreWiderThanTheCacheAreKeptAlone) {
  fields_.assign(20000, {"field", ado_type::kVarWChar, 20, 0});
  EXPECT_EQ(Look("[TABLE]wide").columns.size(), 20000U);
  fields_.resize(1);
  EXPECT_EQ(Look("[TABLE]t").columns.size(), 1U);
}

TEST_F(Tables, LearnFromTheProductWhatItCompares) {
  refused_ = "\"b\"";
  fake_.StartLog();
  const ExactTable& table = Look("[TABLE]t");
  EXPECT_TRUE(table.columns[0].order);
  EXPECT_FALSE(table.columns[1].order);
  EXPECT_FALSE(table.columns[1].tieBreaker);
  for (const std::int32_t severity : fake_.ui.severities) EXPECT_NE(severity, severity::kError);
}

TEST_F(Tables, AskForAllComparisonsAtOnce) {
  Look("[TABLE]t");
  EXPECT_EQ(std::ranges::count_if(fake_.connection->statements,
                                  [](const std::string& sql) { return sql.starts_with("SELECT 1 "); }),
            1);
  EXPECT_EQ(fake_.LastStatement(),
            "SELECT 1 FROM \"t\" WHERE (1=2 AND (\"a\"<\"a\" OR \"a\"=\"a\" OR \"b\"<\"b\" OR \"b\"=\"b\")) ORDER BY "
            "\"a\",\"b\"");
}

TEST_F(Tables, HaveTheirFieldsByExactNames) {
  const ExactTable& table = Look("[TABLE]t");
  EXPECT_NE(table.Find("a"), nullptr);
  EXPECT_EQ(table.Find("A"), nullptr);
  EXPECT_EQ(&table.Require("b", "[TABLE]t"), table.Find("b"));
  EXPECT_RAISES(
      table.Require("x", "[TABLE]t"), error_number::kOwn,
      "Unable to get information about field 'x' in table '[TABLE]t'. Please make sure that the field exist.");
}

TEST_F(Tables, HaveABestKey) {
  ExactTable table;
  EXPECT_EQ(table.BestKey(), nullptr);
  const auto add = [&](const char* name, bool unique, bool declared, bool nullable, std::vector<std::string> fields) {
    table.keys.push_back({name, unique, declared, nullable, std::move(fields), {}});
  };
  add("not unique", false, false, false, {"a"});
  add("nullable", true, false, true, {"a"});
  EXPECT_EQ(table.BestKey(), nullptr);
  add("two", true, false, false, {"a", "b"});
  EXPECT_EQ(table.BestKey()->name, "two");
  add("one", true, false, false, {"b"});
  EXPECT_EQ(table.BestKey()->name, "one");
  add("primary", true, true, false, {"a", "b", "c"});
  EXPECT_EQ(table.BestKey()->name, "primary");
}

TEST_F(Tables, OfAViewWithAFixedFieldListAreReadByTheirNames) {
  std::ofstream(fake_.state.configFolder + "/views.xml")
      << "<Views><View><Id>fixed</Id><Query subquery=\"no\" top=\"$TOP\">SELECT TOP $TOP a FROM t</Query></View>"
         "<View><Id>free</Id><Query subquery=\"no\" fields=\"$F\">SELECT $F FROM t</Query></View></Views>";
  fake_.session.exact->product = &ExactProductOf("SQLite");
  const ExactTable& fixed = Look("[APPVIEW]fixed");
  EXPECT_TRUE(fixed.fieldsFixed);
  EXPECT_TRUE(fixed.columns.at(0).plain);
  EXPECT_EQ(fixed.columns.at(0).readStyle, ReadStyle::kDriver);
  const ExactTable& free = Look("[APPVIEW]free");
  EXPECT_FALSE(free.fieldsFixed);
  EXPECT_EQ(free.columns.at(0).readStyle, ReadStyle::kQuoted);
}

TEST(RealTables, OfSqliteTellWhatWasDeclared) {
  FakeSession fake(DatabaseKind::DbUnknown);
  fake.session.connection = CreateOdbcConnection();
  fake.session.connection->Open("Driver=SQLite3;Database=" + test::DriverPath(fake.folder.Path()) + "/t.db");
  OpenExactSession(fake.session);
  const auto run = [&](const char* sql) { (void)fake.session.connection->OpenRecordSet(sql, 0); };
  run("CREATE TABLE t (id integer PRIMARY KEY, n decimal(10,2) NOT NULL, r real, d datetime, x)");
  const ExactTable& table = LookupExactTable(fake.session, "[TABLE]t");
  EXPECT_EQ(table.Require("n", "t").typeName, "decimal(10,2)");
  EXPECT_EQ(table.Require("n", "t").digits, 2);
  EXPECT_EQ(table.Require("r", "t").digits, 0);
  EXPECT_FALSE(table.Require("n", "t").nullable);
  EXPECT_FALSE(table.Require("id", "t").nullable);
  EXPECT_TRUE(table.Require("r", "t").nullable);
  // The key has an index of its own, and is not the number of the row: SQLite takes null for it.
  run("CREATE TABLE u (id integer PRIMARY KEY DESC, n int)");
  run("CREATE TABLE v (a integer, b integer, PRIMARY KEY (a, b))");
  EXPECT_TRUE(LookupExactTable(fake.session, "[TABLE]u").Require("id", "u").nullable);
  EXPECT_TRUE(LookupExactTable(fake.session, "[TABLE]v").Require("a", "v").nullable);
  run("INSERT INTO u VALUES (NULL, 1)");
  EXPECT_TRUE(fake.session.connection->OpenRecordSet("SELECT id FROM u", 0)->Item(0).IsNull());

  EXPECT_EQ(table.Require("id", "t").valueClass, ValueClass::kInteger);
  EXPECT_EQ(table.Require("n", "t").valueClass, ValueClass::kDecimal);
  EXPECT_EQ(table.Require("r", "t").valueClass, ValueClass::kFloat);
  EXPECT_EQ(table.Require("d", "t").valueClass, ValueClass::kTimeStamp);
  EXPECT_EQ(table.Require("x", "t").valueClass, ValueClass::kOther);
}

// ---- by the driver ----

TEST_F(Tables, OfOtherProductsAreReadThroughTheDriver) {
  const ExactColumn& column = ColumnOf({"a\"b", ado_type::kVarWChar, 20, 0});
  EXPECT_EQ(column.read, "\"a\"\"b\"");
  EXPECT_TRUE(column.plain);
  ASSERT_TRUE(column.order);
  EXPECT_EQ(column.order->expression, "\"a\"\"b\"");
  EXPECT_FALSE(column.tieBreaker);
}

TEST_F(Tables, OfOtherProductsHaveTheLiteralsOfTheirTypes) {
  const auto literal = [&](std::int32_t type, const std::string& typeName = "") {
    return ColumnOf({"a", type, 16, 0, typeName}).order->literal;
  };
  EXPECT_EQ(literal(ado_type::kBigInt), LiteralStyle::kNumber);
  EXPECT_EQ(literal(ado_type::kNumeric), LiteralStyle::kNumber);
  EXPECT_EQ(literal(ado_type::kBoolean), LiteralStyle::kNumber);
  EXPECT_EQ(literal(ado_type::kSingle), LiteralStyle::kSingle);
  EXPECT_EQ(literal(ado_type::kDouble), LiteralStyle::kNumber);
  EXPECT_EQ(literal(ado_type::kVarWChar), LiteralStyle::kQuoted);
  EXPECT_EQ(literal(ado_type::kGUID), LiteralStyle::kQuoted);
  EXPECT_EQ(literal(ado_type::kDBDate), LiteralStyle::kDate);
  EXPECT_EQ(literal(ado_type::kDBTime), LiteralStyle::kTime);
  EXPECT_EQ(literal(ado_type::kDBTimeStamp, "datetime2"), LiteralStyle::kTimeStamp);
  EXPECT_EQ(literal(ado_type::kDBTimeStamp, "datetimeoffset"), LiteralStyle::kQuoted);
  EXPECT_EQ(literal(ado_type::kVarBinary), LiteralStyle::kBytes);
}

TEST_F(Tables, OfPervasiveCompareSixteenBytesAsItDoes) {
  fake_.Use(DatabaseKind::DbPervasive);
  EXPECT_EQ(ColumnOf({"a", ado_type::kBinary, 16, 0}).order->expression, "CAST(\"a\" AS BINARY(16))");
  EXPECT_EQ(ColumnOf({"a", ado_type::kBinary, 16, 0}).order->literal, LiteralStyle::kHexText);
  EXPECT_EQ(ColumnOf({"a", ado_type::kBinary, 15, 0}).order->expression, "\"a\"");
  EXPECT_EQ(ColumnOf({"a", ado_type::kVarBinary, 16, 0}).order->literal, LiteralStyle::kBytes);
}

}  // namespace
}  // namespace ods::test
