#include "users/modInitialize.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "common/Text.h"
#include "exact/ExactSession.h"
#include "support/RaisedErrors.h"
#include "support/RunHandler.h"
#include "users/NavisionContext.h"

namespace ods::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::string Initialized(FakeSession& fake, const std::string& elements = "") {
  const XmlDocument request("<XML><Type>Initialize</Type>" + elements + "</XML>");
  XmlDocument response("<XML><Old/></XML>");
  RunHandler("Initialize", ProcessInitialize, request, response, fake.session);
  return response.Xml();
}

std::string Mode(const std::string& mode) { return "<UserMode>" + mode + "</UserMode>"; }

std::string Expected(const std::string& management, const std::string& count, const std::string& moreOperators = "") {
  return "<XML><Authorization/><Name>Generic ODBC</Name><ColumnSorting>1</ColumnSorting><IdIsCaption>1</IdIsCaption>"
         "<UserManagement>" +
         management + "</UserManagement><UserCount>" + count +
         "</UserCount><FilterOperators>eq,lt,gt,lteq,gteq,not,like" + moreOperators + "</FilterOperators></XML>";
}

TEST(Initialize, WithoutAUserModeThereIsNoUserManagementOnAnyDatabase) {
  for (std::int32_t kind = 0; kind <= 8; ++kind) {
    FakeSession fake(static_cast<DatabaseKind>(kind));
    EXPECT_EQ(Initialized(fake), Expected("0", "0", kind == 3 ? ",flowfilter" : "")) << kind;
    EXPECT_THAT(fake.connection->statements, IsEmpty());
  }
}

TEST(Initialize, ExactPagingSaysSoAndListsItsOperators) {
  for (const char* operators : {"", ",flowfilter"}) {
    FakeSession fake(*operators == 0 ? DatabaseKind::DbUnknown : DatabaseKind::DbNavision);
    fake.session.exact = std::make_shared<ExactSession>();
    const XmlDocument request("<XML><Type>Initialize</Type></XML>");
    XmlDocument response;
    RunHandler("Initialize", ProcessExactInitialize, request, response, fake.session);
    const std::string all = operators + std::string(",null,notnull,between,contains,startswith,endswith");
    EXPECT_EQ(response.Xml(), ReplaceAll(Expected("0", "0", all), "</XML>", "<Exact>1</Exact></XML>"));
  }
}

TEST(Initialize, OnSqlServerAndEveryOtherProductButNavisionThereIsNoUserManagement) {
  for (std::int32_t kind = 0; kind <= 8; ++kind) {
    if (kind == static_cast<std::int32_t>(DatabaseKind::DbNavision)) continue;
    for (const char* mode : {"DETECT", "DATASERVER"}) {
      FakeSession fake(static_cast<DatabaseKind>(kind));
      EXPECT_EQ(Initialized(fake, Mode(mode)), Expected("0", "0")) << kind;
      EXPECT_THAT(fake.connection->statements, IsEmpty());
    }
  }
}

TEST(Initialize, AuthorizationIsThereAndEmptyInEveryAnswer) {
  NavisionDatabase navision;
  FakeSession other;
  for (FakeSession* fake : {&navision.fake, &other}) {
    for (const char* mode : {"", "DETECT"}) {
      const XmlDocument answer(Initialized(*fake, Mode(mode)));
      ASSERT_EQ(answer.SelectNodes("/XML/Authorization").size(), 1U);
      EXPECT_EQ(GetNodeText(answer, "/XML/Authorization"), "");
    }
  }
}

TEST(Initialize, OnNavisionTheUsersAreCountedAndTheOperatorsEndInFlowFilter) {
  NavisionDatabase database;
  for (const char* mode : {"DETECT", "DATASERVER"}) {
    EXPECT_EQ(Initialized(database.fake, Mode(mode)), Expected("1", "3", ",flowfilter")) << mode;
  }
}

TEST(Initialize, ADatabaseWithoutUsersHasUserManagementAllTheSame) {
  NavisionDatabase database;
  database.Run(R"(DELETE FROM "Member Of")");
  database.Run(R"(DELETE FROM "User")");
  EXPECT_EQ(Initialized(database.fake, Mode("DETECT")), Expected("1", "0", ",flowfilter"));
}

TEST(Initialize, TheUserModeComparesExactlySoLowerCaseDetectIsNone) {
  NavisionDatabase database;
  for (const char* mode : {"detect", "DataServer", "DETECT ", "NONE", ""}) {
    EXPECT_EQ(Initialized(database.fake, Mode(mode)), Expected("0", "0", ",flowfilter")) << mode;
  }
}

TEST(Initialize, EveryOneStartsANewDataSession) {
  FakeSession fake;
  fake.state.ServerSessionId = "before";
  (void)Initialized(fake);
  const std::string first = fake.state.ServerSessionId;
  EXPECT_EQ(first.size(), 36U);
  (void)Initialized(fake);
  EXPECT_EQ(fake.state.ServerSessionId.size(), 36U);
  EXPECT_NE(fake.state.ServerSessionId, first);
}

TEST(Initialize, AUserListThatFailsEndsTheRequest) {
  FakeSession fake(DatabaseKind::DbNavision);
  fake.context.LoadXML(kNavisionContext);
  EXPECT_RAISES(Initialized(fake, Mode("DETECT")), error_number::kGeneralFailure,
                ::testing::HasSubstr(R"( SQL: SELECT "User ID" AS userid)"));
}

}  // namespace
}  // namespace ods::test
