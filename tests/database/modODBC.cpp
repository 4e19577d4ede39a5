#include "database/modODBC.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "doubles/FakeSession.h"
#include "support/RaisedErrors.h"

namespace ods::test {
namespace {

using ::testing::_;
using ::testing::Contains;
using ::testing::ElementsAre;

class Execute : public ::testing::Test {
 protected:
  Execute() {
    fake_.StartLog();
    fake_.connection->answer = [](const std::string&) { return MakeRows({}); };
  }
  void Fail() {
    fake_.connection->answer = [](const std::string&) -> std::shared_ptr<RecordSet> {
      throw Error(-2147217865, "No such table");
    };
  }

  FakeSession fake_;
};

TEST_F(Execute, TracesAndRunsTheStatement) {
  (void)ExecuteSQL(fake_.session, "SELECT 1", 51);
  EXPECT_THAT(fake_.connection->statements, ElementsAre("SELECT 1"));
  EXPECT_THAT(fake_.connection->limits, ElementsAre(51));
  EXPECT_THAT(fake_.ui.entries, ElementsAre("SQL: SELECT 1"));
}

TEST_F(Execute, ReplacesEveryOccurrenceOfAPlaceholder) {
  const std::pair<std::string, std::string> parameters[] = {{"%a%", "1"}};
  (void)ExecuteSQL(fake_.session, "%a%%a% AND %a%", 0, {.expectedErrors = {}, .parameters = parameters});
  EXPECT_EQ(fake_.LastStatement(), "11 AND 1");
}

TEST_F(Execute, ReplacesPlaceholdersPairByPair) {
  const std::pair<std::string, std::string> parameters[] = {{"%a%", "1"}, {"%b%", "%a%"}};
  (void)ExecuteSQL(fake_.session, "%a%,%b%,%a%", 0, {.expectedErrors = {}, .parameters = parameters});
  EXPECT_EQ(fake_.LastStatement(), "1,%a%,1");
}

TEST_F(Execute, OnMySqlARecordSetHasNoMaxRecords) {
  fake_.Use(DatabaseKind::DbMySql);
  (void)ExecuteSQL(fake_.session, "SELECT 1", 51);
  EXPECT_THAT(fake_.connection->limits, ElementsAre(0));
}

TEST_F(Execute, AFailureCarriesTheStatement) {
  Fail();
  EXPECT_RAISES(ExecuteSQL(fake_.session, "SELECT x", 1), -2147217865, "No such table SQL: SELECT x");
  EXPECT_THAT(fake_.ui.entries, Contains("SQL Error: -2147217865 (0x80040E37), No such table"));
}

TEST_F(Execute, AnExpectedFailureIsAWarningInTheLogAndStillRaised) {
  Fail();
  const std::int32_t expected[] = {5, -2147217865};
  EXPECT_RAISES(ExecuteSQL(fake_.session, "SELECT x", 1, {.expectedErrors = expected, .parameters = {}}), -2147217865,
                _);
  EXPECT_THAT(fake_.ui.entries, Contains("SQL Warning: -2147217865 (0x80040E37), No such table"));
}

TEST_F(Execute, AStatementWithASecretIsRunAsItIsAndShownWithout) {
  (void)ExecuteSQL(fake_.session, "SELECT 'secret'", 0, {.shownAs = "SELECT '*****'"});
  EXPECT_EQ(fake_.LastStatement(), "SELECT 'secret'");
  EXPECT_THAT(fake_.ui.entries, ElementsAre("SQL: SELECT '*****'"));
}

TEST_F(Execute, TheFailureOfAStatementWithASecretShowsItNowhere) {
  fake_.connection->answer = [](const std::string&) -> std::shared_ptr<RecordSet> {
    throw Error(-2147217900, "syntax error near 'sec");
  };
  const std::string withheld = "The statement failed. The driver's description may quote a secret and is withheld.";
  EXPECT_RAISES(ExecuteSQL(fake_.session, "SELECT 'secret'", 0, {.shownAs = "SELECT '*****'"}), -2147217900,
                withheld + " SQL: SELECT '*****'");
  EXPECT_THAT(fake_.ui.entries, ElementsAre("SQL: SELECT '*****'", "SQL Error: -2147217900 (0x80040E14), " + withheld));
}

TEST(TableExists, AsksTheTablesSchemaForTheName) {
  FakeSession fake;
  std::vector<Row> rows;
  fake.connection->schemas[Schema::kTables] = [&] { return MakeRows(TextColumns({"TABLE_NAME"}), rows); };
  EXPECT_FALSE(TableExists(fake.session, "x"));
  rows = {{"x"}};
  EXPECT_TRUE(TableExists(fake.session, "x"));
  ASSERT_EQ(fake.connection->schemaRestrictions.size(), 4U);
  EXPECT_EQ(fake.connection->schemaRestrictions[2], Value("x"));
  EXPECT_TRUE(fake.connection->schemaRestrictions[0].IsEmpty());
}

TEST(TableExists, LetsErrorsPass) {
  FakeSession fake;
  EXPECT_RAISES(TableExists(fake.session, "x"), error_number::kGeneralFailure, _);
}

}  // namespace
}  // namespace ods::test
