// Users through the queue of the real executable: what lies beside it, and what a client learns of it.
#include <filesystem>
#include <gtest/gtest.h>

#include "e2e/ServerProcess.h"

namespace ods::test {
namespace {

/// A server that runs from a folder of its own on an empty SQLite file.
class Users : public ::testing::Test {
 protected:
  Users() {
    folders_.Configure("Driver=SQLite3;Database=" + folders_.Root() + "/own.db");
    std::filesystem::create_directory(ProgramFolder());
    std::filesystem::copy_file(ODS_SERVER_PROGRAM, ProgramFolder() + "/server");
    std::filesystem::copy_file(ODS_SAMPLES_FOLDER "/users.xml", UsersFile());
    server_ = std::make_unique<ServerProcess>(folders_, std::vector<std::string>{}, ProgramFolder() + "/server");
    client_ = std::make_unique<QueueClient>(folders_);
  }
  void TearDown() override { EXPECT_EQ(server_->Stop(), 0); }

  [[nodiscard]] std::string ProgramFolder() const { return folders_.Root() + "/program"; }
  [[nodiscard]] std::string UsersFile() const { return ProgramFolder() + "/users.xml"; }
  /// The answer without its data session.
  std::string Answer(const std::string& type, const std::string& elements = "") {
    const XmlDocument answer = client_->AskDocument(Request(type, elements));
    answer.DocumentElement().RemoveChild(answer.SelectSingleNode("/XML/DataSession"));
    return answer.Xml();
  }

  ServerFolders folders_;
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
};

constexpr const char* kUnknown = "<XML><UserId/><UserName/><Authorized>0</Authorized><Admin>0</Admin><Groups/></XML>";

TEST_F(Users, AClientIsToldWhatTheServerCanDo) {
  EXPECT_EQ(Answer("Initialize", "<UserMode>DETECT</UserMode>"),
            "<XML><Authorization/><Name>Generic ODBC</Name><ColumnSorting>1</ColumnSorting><IdIsCaption>1</IdIsCaption>"
            "<UserManagement>0</UserManagement><UserCount>0</UserCount>"
            "<FilterOperators>eq,lt,gt,lteq,gteq,not,like</FilterOperators></XML>");
}

TEST_F(Users, EveryInitializeStartsANewDataSession) {
  const auto session = [&](const std::string& type) {
    return GetNodeText(client_->AskDocument(Request(type)), "/XML/DataSession");
  };
  const std::string first = session("Ping");
  const std::string second = session("Initialize");
  EXPECT_NE(second, first);
  EXPECT_EQ(session("Ping"), second);
  EXPECT_NE(session("Initialize"), second);
}

TEST_F(Users, AreAuthorizedByTheFileBesideTheExecutable) {
  EXPECT_EQ(Answer("Authorize", "<UserId>ann</UserId>"),
            "<XML><UserId>ann</UserId><UserName>Ann Smith</UserName><Authorized>1</Authorized><Admin>1</Admin><Groups>"
            "<Group><Id>Admins</Id></Group><Group><Id>Sales</Id></Group></Groups></XML>");
  EXPECT_EQ(Answer("Authorize", "<AuthenticatedUser>bob</AuthenticatedUser>"),
            "<XML><UserId>bob</UserId><UserName>Bob O'Hara</UserName><Authorized>1</Authorized><Admin>0</Admin><Groups>"
            "<Group><Id>Sales</Id></Group></Groups></XML>");
  EXPECT_EQ(Answer("Authorize", "<UserId>stranger</UserId>"), kUnknown);
  EXPECT_EQ(Answer("Authorize"), kUnknown);
}

TEST_F(Users, AnEditOfTheFileTakesEffectAtOnce) {
  WriteTextFile(UsersFile(), "<UserData><Users><User Id=\"o'neil\" Name=\"New\"/></Users></UserData>");
  EXPECT_EQ(Answer("Authorize", "<UserId>o'neil</UserId>"),
            "<XML><UserId>o'neil</UserId><UserName>New</UserName><Authorized>1</Authorized><Admin>0</Admin><Groups/>"
            "</XML>");
  EXPECT_EQ(Answer("Authorize", "<UserId>ann</UserId>"), kUnknown);
  std::filesystem::remove(UsersFile());
  EXPECT_EQ(Answer("Authorize", "<UserId>o'neil</UserId>"), kUnknown);
}

TEST_F(Users, NoLogHoldsThePasswordOfARequest) {
  EXPECT_EQ(Answer("Authorize", "<UserId>nobody</UserId><Password>open sesame</Password>"), kUnknown);
  EXPECT_EQ(folders_.LogText().find("sesame"), std::string::npos);
}

TEST_F(Users, AHostileIdentifierIsNobodyOrAnErrorAndTheServerGoesOn) {
  for (const char* id : {"' or '1'='1", "x'] | //User | //User['", "concat('a')", "&lt;User/&gt;", "$x"}) {
    EXPECT_EQ(Answer("Authorize", std::string("<UserId>") + id + "</UserId>"), kUnknown) << id;
  }
  const std::string apostrophes(100'000, '\'');
  (void)client_->AskDocument(Request("Authorize", "<UserId>" + apostrophes + "</UserId>"));
  EXPECT_EQ(Answer("Ping"), "<XML><Ping>OK</Ping></XML>");
}

TEST_F(Users, OfADatabaseWithoutRolesAreTheStampAlone) { EXPECT_EQ(Answer("UsersAndRoles"), "<XML/>"); }

}  // namespace
}  // namespace ods::test
