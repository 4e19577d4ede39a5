// A context document that says what Navision's user tables are called, and the tables themselves in a real database.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "common/Conversions.h"
#include "doubles/FakeSession.h"
#include "platform/ado/Ado.h"
#include "support/TestSystem.h"

namespace ods::test {

inline constexpr const char* kNavisionContext = R"(<Context><Users>
  <Table id="2000000002"><TableName>User</TableName>
    <Field id="1">User ID</Field><Field id="2">Password</Field><Field id="3">Name</Field></Table>
  <Table id="2000000003"><TableName>Member Of</TableName>
    <Field id="1">User ID</Field><Field id="2">User Name</Field><Field id="3">Role ID</Field></Table>
  <Table id="2000000004"><TableName>User Role</TableName>
    <Field id="1">Role ID</Field><Field id="2">Name</Field></Table>
  <Table id="UserFilter"><TableName>User Filter</TableName><Field id="UserId">User</Field></Table>
</Users></Context>)";

/// Everything that was logged in the session's folder: its log files have the date for a name.
inline std::string LogText(const FakeSession& fake) {
  std::ostringstream text;
  for (const auto& entry : std::filesystem::directory_iterator(fake.folder.Path())) {
    if (!entry.path().has_extension()) text << std::ifstream(entry.path()).rdbuf();
  }
  return text.str();
}

/// A session on a new SQLite file that holds the tables as Navision has them.
class NavisionDatabase {
 public:
  NavisionDatabase() {
    fake.context.LoadXML(kNavisionContext);
    fake.StartLog();
    fake.session.connection = CreateOdbcConnection();
    fake.session.connection->Open("Driver=SQLite3;Database=" + test::DriverPath(fake.folder.Path()) + "/navision.db");
    for (const char* statement : {
             R"(CREATE TABLE "User" ("User ID" VARCHAR(20) PRIMARY KEY, "Password" VARCHAR(20), "Name" VARCHAR(30)))",
             R"(CREATE TABLE "Member Of" ("User ID" VARCHAR(20), "Role ID" VARCHAR(20)))",
             R"(CREATE TABLE "User Role" ("Role ID" VARCHAR(20) PRIMARY KEY, "Name" VARCHAR(30)))",
             R"(CREATE TABLE "User Filter" ("User" VARCHAR(20), "Customer No" VARCHAR(20), "Level" INTEGER))",
             R"(INSERT INTO "User" VALUES ('ANN', 'open sesame', 'Ann O''Hara'), ('BOB', 'it''s', 'Bob'))",
             R"(INSERT INTO "User" VALUES ('EVE', '', 'Eve'))",
             R"(INSERT INTO "User Role" VALUES ('SUPER', 'Superuser'), ('BOSS''S', 'The boss''s'), ('NONE', 'Nobody'))",
             R"(INSERT INTO "Member Of" VALUES ('ANN', 'SUPER'), ('BOB', 'BOSS''S'), ('ANN', 'BOSS''S'))",
             R"(INSERT INTO "User Filter" VALUES ('ANN', '1000..1999', NULL), ('ANN', 'second row', 2))",
         }) {
      Run(statement);
    }
  }
  void Run(const std::string& statement) { (void)fake.session.connection->OpenRecordSet(statement, 0); }
  /// Identifier, password and name of a user.
  [[nodiscard]] std::string UserRow(const std::string& userId) {
    const auto rows =
        fake.session.connection->OpenRecordSet(R"(SELECT * FROM "User" WHERE "User ID"=')" + userId + "'", 0);
    return SafeStr(rows->Item(0)) + "/" + SafeStr(rows->Item(1)) + "/" + SafeStr(rows->Item(2));
  }

  FakeSession fake{DatabaseKind::DbNavision};
};

}  // namespace ods::test
