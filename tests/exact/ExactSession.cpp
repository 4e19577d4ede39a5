#include "exact/ExactSession.h"

#include <cstdlib>
#include <gtest/gtest.h>

#include "common/Error.h"
#include "doubles/FakeSession.h"
#include "exact/ExactProduct.h"
#include "support/RaisedErrors.h"
#include "support/TestSystem.h"

namespace ods::test {
namespace {

constexpr const char* kAscending = "SELECT x FROM (SELECT 1 AS x UNION ALL SELECT NULL) AS t ORDER BY x";
constexpr const char* kDescending = "SELECT x FROM (SELECT 1 AS x UNION ALL SELECT NULL) AS t ORDER BY x DESC";

class Sessions : public ::testing::Test {
 protected:
  Sessions() { fake_.session.exact.reset(); }
  /// What the product answers to the two statements: whether null comes first.
  void Answer(bool ascending, bool descending) {
    fake_.connection->answer = [=](const std::string& sql) -> std::shared_ptr<RecordSet> {
      if (sql == kAscending || sql == kDescending) {
        const bool first = sql == kAscending ? ascending : descending;
        return MakeRows(TextColumns({"x"}), first ? std::vector<Row>{{Null{}}, {1}} : std::vector<Row>{{1}, {Null{}}});
      }
      return MakeRows({});
    };
  }
  NullOrder Open() {
    OpenExactSession(fake_.session);
    return fake_.session.exact->nullOrder;
  }

  FakeSession fake_{DatabaseKind::DbUnknown};
};

TEST_F(Sessions, AskForTheOrderOfNulls) {
  Answer(true, false);
  EXPECT_EQ(Open(), NullOrder::kFirst);
  Answer(false, true);
  EXPECT_EQ(Open(), NullOrder::kLast);
}

TEST_F(Sessions, DoNotKnowAnOrderThatIsNotTurnedRound) {
  Answer(true, true);
  EXPECT_EQ(Open(), NullOrder::kUnknown);
  Answer(false, false);
  EXPECT_EQ(Open(), NullOrder::kUnknown);
}

TEST_F(Sessions, DoNotKnowAnOrderThatCannotBeAsked) {
  fake_.StartLog();
  EXPECT_EQ(Open(), NullOrder::kUnknown);  // every statement fails
  EXPECT_EQ(fake_.connection->statements, (std::vector<std::string>{kAscending, kDescending}));
  for (const std::int32_t severity : fake_.ui.severities) EXPECT_NE(severity, severity::kError);
  EXPECT_EQ(fake_.ui.warnings.size(), 2U);
}

TEST_F(Sessions, AreSetUpAsTheProductNeedsIt) {
  Answer(true, false);
  fake_.connection->properties = {{"DBMS Name", "MariaDB"}};
  Open();
  EXPECT_EQ(fake_.connection->statements.front(), "SET time_zone = '+00:00'");
  EXPECT_EQ(fake_.session.exact->product->dbmsName, "MariaDB");
}

TEST_F(Sessions, ThatCannotBeSetUpAreAnError) {
  fake_.connection->properties = {{"DBMS Name", "MariaDB"}};
  EXPECT_RAISES(OpenExactSession(fake_.session), ::testing::_, ::testing::HasSubstr("SET time_zone"));
  EXPECT_EQ(fake_.session.exact, nullptr);
}

/// What the three products really do.
struct ProductCase {
  const char* variable;  ///< of the environment; "" for SQLite
  NullOrder nullOrder;
  bool hasSchemas;
  const char* schema;
};

class RealSessions : public ::testing::TestWithParam<ProductCase> {};

TEST_P(RealSessions, KnowTheProduct) {
  FakeSession fake(DatabaseKind::DbUnknown);
  std::string connectionString = "Driver=SQLite3;Database=" + test::DriverPath(fake.folder.Path()) + "/s.db";
  if (*GetParam().variable != '\0') {
    const char* const text = std::getenv(GetParam().variable);
    if (text == nullptr) GTEST_SKIP() << GetParam().variable << " names no server";
    connectionString = text;
  }
  fake.session.connection = CreateOdbcConnection();
  fake.session.connection->Open(connectionString);
  OpenExactSession(fake.session);
  EXPECT_EQ(fake.session.exact->nullOrder, GetParam().nullOrder);
  EXPECT_EQ(fake.session.exact->hasSchemas, GetParam().hasSchemas);
  EXPECT_EQ(fake.session.namesWithSchema, GetParam().hasSchemas);
  EXPECT_EQ(fake.session.exact->currentSchema, GetParam().schema);
}

INSTANTIATE_TEST_SUITE_P(Products, RealSessions,
                         ::testing::Values(ProductCase{"", NullOrder::kFirst, false, ""},
                                           ProductCase{"ODS_TEST_POSTGRESQL_SCRATCH", NullOrder::kLast, true, "public"},
                                           ProductCase{"ODS_TEST_MARIADB_SCRATCH", NullOrder::kFirst, false, ""}));

}  // namespace
}  // namespace ods::test
