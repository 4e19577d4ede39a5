#include "users/modUsersAndRoles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/RaisedErrors.h"
#include "support/RunHandler.h"
#include "users/NavisionContext.h"

namespace ods::test {
namespace {

using ::testing::_;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kProbe = R"(SELECT "User ID" FROM "User" WHERE 1=2)";
constexpr const char* kUsers = R"(SELECT "User ID" AS userid, "Name" as username FROM "User")";
constexpr const char* kAllRoles = R"(SELECT "Role ID" AS roleid, "Name" as rolename FROM "User Role")";
constexpr const char* kMembers = R"(SELECT "User ID" AS userid, "Role ID" as roleid FROM "Member Of")";

class UsersAndRoles : public ::testing::Test {
 protected:
  UsersAndRoles() {
    fake_.context.LoadXML(kNavisionContext);
    fake_.StartLog();
    fake_.connection->answer = [this](const std::string& sql) -> std::shared_ptr<RecordSet> {
      if (sql == kProbe && probeFails_) throw Error(error_number::kGeneralFailure, "no probe");
      if (sql == failing_) throw Error(-2147217865, "no such table");
      if (sql == kUsers) return MakeRows(TextColumns({"userid", "username"}), users_);
      if (sql == kAllRoles) return MakeRows(TextColumns({"roleid", "rolename"}), roles_);
      if (sql == kMembers) return MakeRows(TextColumns({"userid", "roleid"}), members_);
      return MakeRows(TextColumns({"userid"}));
    };
  }
  std::string Answer() {
    const XmlDocument request("<XML><Type>UsersAndRoles</Type></XML>");
    XmlDocument response;
    RunHandler("UsersAndRoles", ProcessUsersAndRoles, request, response, fake_.session);
    return response.Xml();
  }

  FakeSession fake_{DatabaseKind::DbNavision};
  bool probeFails_ = false;
  std::string failing_;
  std::vector<Row> users_;
  std::vector<Row> roles_;
  std::vector<Row> members_;
};

TEST_F(UsersAndRoles, RunsItsFourStatementsInOrder) {
  EXPECT_EQ(Answer(), "<XML><Users/><Groups/></XML>");
  EXPECT_THAT(fake_.connection->statements, ElementsAre(kProbe, kUsers, kAllRoles, kMembers));
  EXPECT_THAT(fake_.connection->limits, ElementsAre(0, 0, 0, 0));
}

TEST_F(UsersAndRoles, AUserInTwoRolesIsListedOnceAndUnderEachOfThem) {
  users_ = {{"ANN", "Ann Smith"}, {"BOB", "Bob"}};
  roles_ = {{"SUPER", "Superuser"}, {"ALL", "Everybody"}};
  members_ = {{"ANN", "SUPER"}, {"BOB", "ALL"}, {"ANN", "ALL"}};
  EXPECT_EQ(Answer(),
            "<XML><Users><User><Id>ANN</Id><Name>Ann Smith</Name></User><User><Id>BOB</Id><Name>Bob</Name></User>"
            "</Users><Groups>"
            "<Group><Id>SUPER</Id><Name>Superuser</Name><Users><User><Id>ANN</Id></User></Users></Group>"
            "<Group><Id>ALL</Id><Name>Everybody</Name><Users><User><Id>BOB</Id></User><User><Id>ANN</Id></User>"
            "</Users></Group></Groups></XML>");
}

TEST_F(UsersAndRoles, ARoleWithoutMembersHasNoUsersChild) {
  roles_ = {{"NONE", "Nobody"}};
  EXPECT_EQ(Answer(), "<XML><Users/><Groups><Group><Id>NONE</Id><Name>Nobody</Name></Group></Groups></XML>");
}

TEST_F(UsersAndRoles, ValuesAreTextAndNullsAreEmpty) {
  users_ = {{std::int32_t{7}, Value()}, {"<&>", "x\ry"}};
  EXPECT_EQ(Answer(),
            "<XML><Users><User><Id>7</Id><Name/></User><User><Id>&lt;&amp;&gt;</Id><Name>x&#13;y</Name></User></Users>"
            "<Groups/></XML>");
}

TEST_F(UsersAndRoles, ARoleWithAnApostropheIsFound) {
  roles_ = {{"BOSS", "x"}, {"BOSS'S \"OWN\"", "y"}};
  members_ = {{"ANN", "BOSS'S \"OWN\""}};
  EXPECT_EQ(GetNodeText(XmlDocument(Answer()), "/XML/Groups/Group[2]/Users/User/Id"), "ANN");
}

TEST_F(UsersAndRoles, AMembershipInARoleThatIsNotThereIsAnErrorThatNamesBoth) {
  roles_ = {{"super", "x"}};
  members_ = {{"ANN", "SUPER"}};
  EXPECT_RAISES(Answer(), error_number::kObjectMissing, "The role 'SUPER' of user 'ANN' is not in the role table.");
}

TEST_F(UsersAndRoles, AFailingProbeIsAWarningAndChangesNothing) {
  probeFails_ = true;
  users_ = {{"ANN", "Ann"}};
  EXPECT_EQ(Answer(), "<XML><Users><User><Id>ANN</Id><Name>Ann</Name></User></Users><Groups/></XML>");
  EXPECT_THAT(fake_.ui.entries, Contains("SQL Warning: -2147467259 (0x80004005), no probe"));
}

TEST_F(UsersAndRoles, AProbeThatFailsOtherwiseIsTracedAsAnErrorAndChangesNothing) {
  failing_ = kProbe;
  EXPECT_EQ(Answer(), "<XML><Users/><Groups/></XML>");
  EXPECT_THAT(fake_.ui.entries, Contains("SQL Error: -2147217865 (0x80040E37), no such table"));
}

TEST_F(UsersAndRoles, EveryOtherErrorEndsTheRequest) {
  for (const char* statement : {kUsers, kAllRoles, kMembers}) {
    failing_ = statement;
    EXPECT_RAISES(Answer(), -2147217865, "no such table SQL: " + std::string(statement));
  }
}

TEST_F(UsersAndRoles, MissingNamesGiveAStatementThatTheDatabaseRefuses) {
  fake_.context.LoadXML("<Context/>");
  failing_ = R"(SELECT "" AS userid, "" as username FROM "")";
  EXPECT_RAISES(Answer(), _, HasSubstr(failing_));
}

TEST_F(UsersAndRoles, AreAnEmptyDocumentForSqlServerAndEveryOtherProduct) {
  for (std::int32_t kind = 0; kind <= 8; ++kind) {
    fake_.Use(static_cast<DatabaseKind>(kind));
    if (fake_.session.dialect->kind == DatabaseKind::DbNavision) continue;
    EXPECT_EQ(Answer(), "") << kind;
  }
  EXPECT_THAT(fake_.connection->statements, IsEmpty());
}

TEST(UsersAndRolesOfADatabase, AreReadThroughItsDriver) {
  NavisionDatabase database;
  EXPECT_EQ(GetNavisionUsersAndRoles(database.fake.session),
            "<XML><Users><User><Id>ANN</Id><Name>Ann O'Hara</Name></User><User><Id>BOB</Id><Name>Bob</Name></User>"
            "<User><Id>EVE</Id><Name>Eve</Name></User></Users><Groups>"
            "<Group><Id>SUPER</Id><Name>Superuser</Name><Users><User><Id>ANN</Id></User></Users></Group>"
            "<Group><Id>BOSS'S</Id><Name>The boss's</Name><Users><User><Id>BOB</Id></User><User><Id>ANN</Id></User>"
            "</Users></Group><Group><Id>NONE</Id><Name>Nobody</Name></Group></Groups></XML>");
}

}  // namespace
}  // namespace ods::test
