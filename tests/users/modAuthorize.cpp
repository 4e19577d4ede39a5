#include "users/modAuthorize.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/RaisedErrors.h"
#include "support/RunHandler.h"
#include "users/NavisionContext.h"

namespace ods::test {
namespace {

using ::testing::_;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

std::string Authorized(FakeSession& fake, const std::string& elements) {
  const XmlDocument request("<XML><Type>Authorize</Type>" + elements + "</XML>");
  XmlDocument response("<XML><Old/></XML>");
  RunHandler("Authorize", ProcessAuthorize, request, response, fake.session);
  return response.Xml();
}

std::string User(const std::string& id) { return "<UserId>" + id + "</UserId>"; }
std::string Authenticated(const std::string& id) { return "<AuthenticatedUser>" + id + "</AuthenticatedUser>"; }

// ---- by the users file ----

constexpr const char* kUsersFile = R"(<UserData>
  <Users>
    <User Id="ann" Name="Ann Smith"/><User Id="bob" Name="Bob"/><User Id="o'neil" Name="The &quot;O'Neil&quot;"/>
    <User Id="bob" Name="Bob the second"/><User Id="" Name="Nobody"/><User Name="No identifier"/>
  </Users>
  <Groups>
    <Group Id="Sales"><Users><User Id="bob"/><User Id="ann"/></Users></Group>
    <Group Id="Admins"><Users><User Id="ann"/></Users></Group>
    <Group Id="admins"><Users><User Id="bob"/><User Id="stranger"/></Users></Group>
    <Group Id="Empty"/>
    <Group Id="it's"><Users><User Id="o'neil"/></Users></Group>
  </Groups>
</UserData>)";

constexpr const char* kUnknown = "<XML><UserId/><UserName/><Authorized>0</Authorized><Admin>0</Admin><Groups/></XML>";
constexpr const char* kAnn =
    "<XML><UserId>ann</UserId><UserName>Ann Smith</UserName><Authorized>1</Authorized><Admin>1</Admin><Groups>"
    "<Group><Id>Sales</Id></Group><Group><Id>Admins</Id></Group></Groups></XML>";
constexpr const char* kBob =
    "<XML><UserId>bob</UserId><UserName>Bob</UserName><Authorized>1</Authorized><Admin>0</Admin><Groups>"
    "<Group><Id>Sales</Id></Group><Group><Id>admins</Id></Group></Groups></XML>";

class UsersFile : public ::testing::Test {
 protected:
  UsersFile() { Write(kUsersFile); }
  void Write(const std::string& text) { std::ofstream(fake_.folder.Path() + "/users.xml", std::ios::binary) << text; }

  FakeSession fake_{DatabaseKind::DbUnknown};
};

TEST_F(UsersFile, AMemberOfAdminsIsAnAdministrator) { EXPECT_EQ(Authorized(fake_, User("ann")), kAnn); }

TEST_F(UsersFile, AGroupNamedAdminsInLowerCaseGrantsNoAdmin) { EXPECT_EQ(Authorized(fake_, User("bob")), kBob); }

TEST_F(UsersFile, WhoIsNotInItIsUnknownEvenAsAMemberOfAGroup) {
  for (const char* id : {"stranger", "ANN", "ann ", "' or '1'='1", "x'] | //User | //User['"}) {
    EXPECT_EQ(Authorized(fake_, User(id)), kUnknown) << id;
  }
}

TEST_F(UsersFile, AnIdentifierWithAnApostropheIsFound) {
  EXPECT_EQ(Authorized(fake_, User("o'neil")),
            "<XML><UserId>o'neil</UserId><UserName>The \"O'Neil\"</UserName><Authorized>1</Authorized><Admin>0</Admin>"
            "<Groups><Group><Id>it's</Id></Group></Groups></XML>");
}

TEST_F(UsersFile, AnAuthenticatedUserCountsWhenThereIsNoUserId) {
  EXPECT_EQ(Authorized(fake_, Authenticated("ann")), kAnn);
  EXPECT_EQ(Authorized(fake_, User("") + Authenticated("ann")), kAnn);
  EXPECT_EQ(Authorized(fake_, User("bob") + Authenticated("ann")), kBob);
}

TEST_F(UsersFile, WithoutAnyNameTheUserWithTheEmptyIdentifierIsMeant) {
  EXPECT_EQ(GetNodeText(XmlDocument(Authorized(fake_, "")), "/XML/UserName"), "Nobody");
  Write("<UserData><Users><User Name='No identifier'/></Users></UserData>");
  EXPECT_EQ(Authorized(fake_, ""), kUnknown);
}

TEST_F(UsersFile, ThePasswordIsNotLookedAt) {
  EXPECT_EQ(Authorized(fake_, User("ann") + "<Password>wrong</Password>"), kAnn);
}

TEST_F(UsersFile, IsReadAfreshForEachRequest) {
  EXPECT_EQ(Authorized(fake_, User("ann")), kAnn);
  Write("<UserData/>");
  EXPECT_EQ(Authorized(fake_, User("ann")), kUnknown);
  Write(kUsersFile);
  EXPECT_EQ(Authorized(fake_, User("ann")), kAnn);
}

TEST_F(UsersFile, AMissingOrBrokenOneKnowsNobody) {
  for (const char* text : {"", "<UserData>", "<Other/>", "<!DOCTYPE UserData><UserData/>"}) {
    Write(text);
    EXPECT_EQ(Authorized(fake_, User("ann")), kUnknown) << text;
  }
  std::filesystem::remove(fake_.folder.Path() + "/users.xml");
  EXPECT_EQ(Authorized(fake_, User("ann")), kUnknown);
}

TEST_F(UsersFile, LoadsFromTheProgramsFolder) {
  const XmlDocument users = LoadUsersFile(fake_.folder.Path());
  EXPECT_EQ(users.SelectNodes("/UserData/Groups/Group").size(), 5U);
  const XmlDocument none = LoadUsersFile(fake_.folder.Path() + "/nowhere");
  EXPECT_FALSE(none.DocumentElement());
}

TEST_F(UsersFile, SpeaksForEveryDatabaseButNavisionAndRunsNoStatement) {
  for (std::int32_t kind = 0; kind <= 8; ++kind) {
    fake_.Use(static_cast<DatabaseKind>(kind));
    if (fake_.session.dialect->kind == DatabaseKind::DbNavision) continue;
    EXPECT_EQ(Authorized(fake_, User("ann")), kAnn) << kind;
  }
  EXPECT_THAT(fake_.connection->statements, IsEmpty());
}

TEST_F(UsersFile, TheSampleHasAnAdministratorAndOneWhoIsNot) {
  std::filesystem::copy(ODS_SAMPLES_FOLDER "/users.xml", fake_.folder.Path() + "/users.xml",
                        std::filesystem::copy_options::overwrite_existing);
  EXPECT_EQ(GetNodeText(XmlDocument(Authorized(fake_, User("ann"))), "/XML/Admin"), "1");
  EXPECT_THAT(Authorized(fake_, User("bob")), HasSubstr("<Authorized>1</Authorized><Admin>0</Admin>"));
}

// ---- by Navision's tables: the statements ----

constexpr const char* kFind =
    R"(SELECT "User ID" as userid, "Password" as userpassword, "Name" as username FROM "User" WHERE "User ID"='o''neil')";
constexpr const char* kKeep = R"(UPDATE "User" SET "Name"="Password" WHERE "User ID"='o''neil')";
constexpr const char* kTry = R"(UPDATE "User" SET "Password"='it''s hidden' WHERE "User ID"='o''neil')";
constexpr const char* kCompare =
    R"(SELECT "User ID" AS userid FROM "User" WHERE "Name"="Password" AND "User ID"='o''neil')";
constexpr const char* kRestorePassword = R"(UPDATE "User" SET "Password"="Name" WHERE "User ID"='o''neil')";
constexpr const char* kRestoreName = R"(UPDATE "User" SET "Name"='The O''Neil' WHERE "User ID"='o''neil')";
constexpr const char* kRoles = R"(SELECT "Role ID" as roleid FROM "Member Of" WHERE "User ID"='o''neil')";
constexpr const char* kFilters = R"(SELECT * FROM "User Filter" WHERE "User"='o''neil')";

constexpr const char* kNavisionUnknown =
    "<XML xml:space=\"preserve\"><UserId/><UserName/><Authorized>0</Authorized><Admin>0</Admin><Groups/><UserFilter/>"
    "</XML>";

class NavisionStatements : public ::testing::Test {
 protected:
  NavisionStatements() {
    fake_.context.LoadXML(kNavisionContext);
    fake_.StartLog();
    fake_.connection->answer = [this](const std::string& sql) -> std::shared_ptr<RecordSet> {
      if (sql == failing_) throw Error(-2147217900, "near " + sql + ": no");
      if (sql == kFind) return MakeRows(TextColumns({"userid", "userpassword", "username"}), found_);
      if (sql == kCompare) return MakeRows(TextColumns({"userid"}), compared_);
      if (sql == kRoles) return MakeRows(TextColumns({"roleid"}), roles_);
      if (sql == kFilters) return MakeRows(TextColumns({"User", "Customer No.", "Level"}), filters_);
      return MakeRows({});
    };
  }
  std::string Answer() {
    return Authorized(fake_, User("o'neil") + "<Password>" + std::string(kPassword) + "</Password>");
  }
  /// Nothing that a person can read shows the password, in plain or as a literal.
  void ExpectNoPassword(const std::string& more = "") {
    const std::string log = LogText(fake_) + more;
    EXPECT_THAT(log, HasSubstr("SQL: SELECT"));
    EXPECT_THAT(log, Not(HasSubstr("hidden")));
    for (const std::string& entry : fake_.ui.entries) EXPECT_THAT(entry, Not(HasSubstr("hidden")));
  }

  static constexpr const char* kPassword = "it's hidden";
  FakeSession fake_{DatabaseKind::DbNavision};
  std::string failing_;
  std::vector<Row> found_ = {{"O'NEIL", "coded", "The O'Neil"}};
  std::vector<Row> compared_ = {{"O'NEIL"}};
  std::vector<Row> roles_;
  std::vector<Row> filters_;
};

TEST_F(NavisionStatements, TestThePasswordInFiveStepsAndThenReadRolesAndFilters) {
  EXPECT_EQ(
      Answer(),
      "<XML xml:space=\"preserve\"><UserId>O'NEIL</UserId><UserName>The O'Neil</UserName><Authorized>1</Authorized>"
      "<Admin>0</Admin><Groups/><UserFilter/></XML>");
  EXPECT_THAT(fake_.connection->statements,
              ElementsAre(kFind, kKeep, kTry, kCompare, kRestorePassword, kRestoreName, kRoles, kFilters));
}

TEST_F(NavisionStatements, OfAnUnknownUserEndWithTheFirst) {
  found_.clear();
  EXPECT_EQ(Answer(), kNavisionUnknown);
  EXPECT_THAT(fake_.connection->statements, ElementsAre(kFind));
}

TEST_F(NavisionStatements, AfterAWrongPasswordRestoreTheRowAndEnd) {
  compared_.clear();
  EXPECT_EQ(Answer(), kNavisionUnknown);
  EXPECT_THAT(fake_.connection->statements, ElementsAre(kFind, kKeep, kTry, kCompare, kRestorePassword, kRestoreName));
}

TEST_F(NavisionStatements, OfAnAuthenticatedUserUpdateNothing) {
  const std::string elements = User("somebody else") + "<Password>wrong</Password>" + Authenticated("o'neil");
  EXPECT_THAT(Authorized(fake_, elements), HasSubstr("<Authorized>1</Authorized>"));
  EXPECT_THAT(fake_.connection->statements, ElementsAre(kFind, kRoles, kFilters));
}

TEST_F(NavisionStatements, ShowThePasswordNowhere) {
  const std::string answer = Answer();
  ExpectNoPassword(answer);
  EXPECT_THAT(fake_.ui.entries,
              ::testing::Contains(R"(SQL: UPDATE "User" SET "Password"='*****' WHERE "User ID"='o''neil')"));
}

TEST_F(NavisionStatements, ShowThePasswordNowhereWhenTheyFail) {
  for (const char* statement : {kFind, kKeep, kTry, kCompare, kRestorePassword, kRestoreName, kRoles}) {
    failing_ = statement;
    const std::optional<Error> error = ErrorOf([&] { (void)Answer(); });
    ASSERT_TRUE(error) << statement;
    EXPECT_EQ(error->Number(), -2147217900) << statement;
    EXPECT_THAT(error->Description(), HasSubstr(" SQL: ")) << statement;
    ExpectNoPassword(error->Description());
  }
}

TEST_F(NavisionStatements, RestoreTheRowWhenTheTestItselfFails) {
  failing_ = kTry;
  EXPECT_RAISES(
      Answer(), _,
      "The statement failed. The driver's description may quote a secret and is withheld. SQL: UPDATE \"User\" SET "
      "\"Password\"='*****' WHERE \"User ID\"='o''neil'");
  EXPECT_THAT(fake_.connection->statements, ElementsAre(kFind, kKeep, kTry, kRestorePassword, kRestoreName));
  fake_.connection->statements.clear();
  failing_ = kCompare;
  EXPECT_RAISES(Answer(), _, HasSubstr(kCompare));
  EXPECT_THAT(fake_.connection->statements, ElementsAre(kFind, kKeep, kTry, kCompare, kRestorePassword, kRestoreName));
}

TEST_F(NavisionStatements, NeverOverwriteTheOnlyCopyOfThePassword) {
  failing_ = kKeep;
  EXPECT_RAISES(Answer(), -2147217900, _);
  EXPECT_THAT(fake_.connection->statements, ElementsAre(kFind, kKeep)) << "nothing was kept, so nothing is put back";
  fake_.connection->statements.clear();
  failing_ = kRestorePassword;
  EXPECT_RAISES(Answer(), -2147217900, _);
  EXPECT_THAT(fake_.connection->statements, ElementsAre(kFind, kKeep, kTry, kCompare, kRestorePassword))
      << "the name column still holds the password";
}

TEST_F(NavisionStatements, GiveTheGroupsAndMakeSuperAnAdministrator) {
  roles_ = {{"ALL"}, {"SUPER"}};
  EXPECT_THAT(Answer(),
              HasSubstr("<Admin>1</Admin><Groups><Group><Id>ALL</Id></Group><Group><Id>SUPER</Id></Group></Groups>"));
  roles_ = {{"super"}, {"Admins"}};
  EXPECT_THAT(Answer(), HasSubstr("<Admin>0</Admin><Groups><Group><Id>super</Id></Group><Group><Id>Admins</Id>"));
}

TEST_F(NavisionStatements, GiveEveryColumnOfTheFirstFilterRow) {
  filters_ = {{"O'NEIL", "1..9 & \"more\"", Value()}, {"O'NEIL", "second", "2"}};
  EXPECT_THAT(Answer(), HasSubstr("<UserFilter><Filter id=\"User\">O'NEIL</Filter><Filter id=\"Customer No.\">1..9 "
                                  "&amp; \"more\"</Filter><Filter id=\"Level\"/></UserFilter>"));
}

TEST_F(NavisionStatements, WithoutAFilterTableThereAreNoFilters) {
  failing_ = kFilters;
  EXPECT_THAT(Answer(), HasSubstr("<Authorized>1</Authorized><Admin>0</Admin><Groups/><UserFilter/>"));
}

TEST_F(NavisionStatements, AFilterValueOfBlanksKeepsThem) {
  filters_ = {{"O'NEIL", "  ", " x "}};
  EXPECT_THAT(Answer(), HasSubstr("<Filter id=\"Customer No.\">  </Filter><Filter id=\"Level\"> x </Filter>"));
}

// ---- by Navision's tables: in a database ----

class NavisionUsers : public ::testing::Test {
 protected:
  std::string Answer(const std::string& elements) { return Authorized(database_.fake, elements); }
  static std::string Login(const std::string& id, const std::string& password) {
    return User(id) + "<Password>" + password + "</Password>";
  }

  NavisionDatabase database_;
};

TEST_F(NavisionUsers, TheRightPasswordAuthorizesAndTheRowIsAsBefore) {
  EXPECT_EQ(Answer(Login("ANN", "open sesame")),
            "<XML xml:space=\"preserve\"><UserId>ANN</UserId><UserName>Ann O'Hara</UserName><Authorized>1</Authorized>"
            "<Admin>1</Admin><Groups><Group><Id>SUPER</Id></Group><Group><Id>BOSS'S</Id></Group></Groups>"
            "<UserFilter><Filter id=\"User\">ANN</Filter><Filter id=\"Customer No\">1000..1999</Filter>"
            "<Filter id=\"Level\"/></UserFilter></XML>");
  EXPECT_EQ(database_.UserRow("ANN"), "ANN/open sesame/Ann O'Hara");
  EXPECT_EQ(database_.UserRow("BOB"), "BOB/it's/Bob");
}

TEST_F(NavisionUsers, AWrongPasswordAuthorizesNobodyAndTheRowIsAsBefore) {
  for (const char* password : {"", "Open sesame", "Ann O'Hara", "' OR '1'='1"}) {
    EXPECT_EQ(Answer(Login("ANN", password)), kNavisionUnknown) << password;
    EXPECT_EQ(database_.UserRow("ANN"), "ANN/open sesame/Ann O'Hara");
  }
}

TEST_F(NavisionUsers, APasswordMayHoldApostrophesOrBeEmpty) {
  EXPECT_THAT(Answer(Login("BOB", "it's")), HasSubstr("<Authorized>1</Authorized><Admin>0</Admin>"));
  EXPECT_THAT(Answer(Login("EVE", "")), HasSubstr("<Authorized>1</Authorized>"));
  EXPECT_EQ(database_.UserRow("BOB"), "BOB/it's/Bob");
}

TEST_F(NavisionUsers, NobodyElseIsKnown) {
  for (const char* id : {"", "ann", "' OR '1'='1", "ANN' --"}) EXPECT_EQ(Answer(Login(id, "")), kNavisionUnknown) << id;
}

TEST_F(NavisionUsers, AnAuthenticatedUserWinsOverTheUserId) {
  EXPECT_THAT(Answer(User("BOB") + Authenticated("ANN")), HasSubstr("<UserId>ANN</UserId>"));
  EXPECT_THAT(Answer(Authenticated("nobody") + Login("ANN", "open sesame")), HasSubstr("<Authorized>0</Authorized>"));
}

TEST_F(NavisionUsers, ADatabaseWithoutTheFilterTableHasNoFilters) {
  database_.Run(R"(DROP TABLE "User Filter")");
  EXPECT_THAT(Answer(Login("ANN", "open sesame")), HasSubstr("</Groups><UserFilter/></XML>"));
}

TEST_F(NavisionUsers, ThePasswordThatTheDatabaseRefusesIsNotLeftInTheName) {
  database_.Run(R"(CREATE TRIGGER refuse BEFORE UPDATE ON "User" WHEN NEW."Password" = 'too long'
                   BEGIN SELECT RAISE(ABORT, 'too long is too long'); END)");
  EXPECT_RAISES(Answer(Login("ANN", "too long")), _, Not(HasSubstr("too long")));
  EXPECT_EQ(database_.UserRow("ANN"), "ANN/open sesame/Ann O'Hara");
}

TEST_F(NavisionUsers, ThePasswordReachesNoLog) {
  (void)Answer(Login("ANN", "open sesame"));
  (void)Answer(Login("BOB", "never-seen"));
  const std::string log = LogText(database_.fake);
  EXPECT_THAT(log, HasSubstr("=''*****'' WHERE")) << "the log doubles apostrophes";
  EXPECT_THAT(log, Not(HasSubstr("sesame")));
  EXPECT_THAT(log, Not(HasSubstr("never-seen")));
}

}  // namespace
}  // namespace ods::test
