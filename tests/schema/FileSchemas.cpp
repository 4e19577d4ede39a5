// The schemas of the files: what they take and refuse, and that the server writes what they describe.
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "common/Text.h"
#include "doubles/RecordingUserInterface.h"
#include "log/Trace.h"
#include "platform/system/ReadFile.h"
#include "server/modConfiguration.h"
#include "server/modSignal.h"
#include "support/MessageSchemas.h"
#include "support/TemporaryFolder.h"

namespace ods::test {
namespace {

std::string FaultOfFile(const std::string& path, const std::string& schema) {
  return FaultOfDocument(ReadFileText(path), "files/" + schema + ".xsd");
}

TEST(FileSchemas, TakeTheSamples) {
  const std::string samples = ODS_SAMPLES_FOLDER;
  EXPECT_EQ(FaultOfFile(samples + "/users.xml", "users"), "");
  EXPECT_EQ(FaultOfFile(samples + "/context.xml", "context"), "");
  EXPECT_EQ(FaultOfFile(samples + "/views.xml", "views"), "");
  EXPECT_EQ(FaultOfFile(samples + "/views/open_orders.xml", "views"), "");
  for (const auto& product : std::filesystem::directory_iterator(ODS_PRODUCTS_FOLDER)) {
    const std::string views = product.path().string() + "/views.xml";
    if (std::filesystem::exists(views)) {
      EXPECT_EQ(FaultOfFile(views, "views"), "");
    }
  }
}

TEST(FileSchemas, TakeWhatTheServerWrites) {
  const TemporaryFolder folder;
  const std::string file = folder.Path() + "/file.xml";
  Configuration configuration;
  LoadConfiguration(file, configuration);  // which makes it
  EXPECT_EQ(FaultOfFile(file, "dataserver"), "");
  configuration.ConnectionString = "DSN=a;PWD=<&>";
  SaveConfiguration(file, configuration);
  EXPECT_EQ(FaultOfFile(file, "dataserver"), "");

  RecordingUserInterface ui;
  Tracer tracer(ui);
  StatusSignals signals(tracer, file, file);
  signals.AliveHeartbeat();
  EXPECT_EQ(FaultOfFile(file, "status"), "");
  signals.ReportStatus("Restart", "ErrorProcessingMessage", "Request a restart. <\x01>");
  EXPECT_EQ(FaultOfFile(file, "status"), "");
  signals.WriteStateTo(file);
  for (const auto state : {connection_state::kNone, connection_state::kOpen, connection_state::kLost}) {
    signals.TellState({.requests = 7, .connection = std::string(state), .failure = "it \xFF is <gone>"});
    EXPECT_EQ(FaultOfFile(file, "state"), "");
    EXPECT_NE(ReadFileText(file).find(state), std::string::npos);
  }
}

TEST(FileSchemas, RefuseWhatIsWrong) {
  struct Refusal {
    const char* schema;
    std::string valid;
    std::vector<std::pair<std::string, std::string>> wrong;
  };
  const std::vector<Refusal> refusals = {
      {"dataserver",
       "<Settings><ConnectionString>a</ConnectionString><DebugMode>1</DebugMode></Settings>",
       {{"ConnectionString", "Connectionstring"}, {"DebugMode>1", "DebugMode>true"}, {"Settings", "Setting"}}},
      {"views",
       "<Views><View><Id>a</Id><Query where='x'>SELECT 1</Query></View></Views>",
       {{"<Id>a</Id>", ""}, {"where", "condition"}, {"Query", "SQL"}}},
      {"views", "<View><Query>SELECT 1</Query></View>", {{"<Query>SELECT 1</Query>", ""}, {"View>", "Views>"}}},
      {"users",
       "<UserData><Users><User Id='a'/></Users><Groups><Group Id='g'><Users><User Id='a'/></Users></Group></Groups>"
       "</UserData>",
       {{"<User Id='a'/></Users><Groups>", "<User Id='b'/></Users><Groups>"},
        {"Id='g'", ""},
        {"<Users><User", "<User"}}},
      {"context",
       "<Context><Users><Table id='2000000002'><TableName>User</TableName><Field id='1'>ID</Field></Table></Users>"
       "</Context>",
       {{"2000000002", "2000000009"}, {"<TableName>User</TableName>", ""}, {"id='1'", "id='9'"}, {"id=", "Id="}}},
      {"status",
       "<XML><Type>Running</Type><Code/><Message/></XML>",
       {{"Running", "Walking"}, {"<Code/>", ""}, {"<Code/>", "<Code>1</Code>"}}},
      {"state",
       "<XML><Requests>0</Requests><Connection>open</Connection><Failure/></XML>",
       {{"0", "-1"}, {"open", "closed"}, {"<Failure/>", ""}}}};
  for (const auto& [schema, valid, wrong] : refusals) {
    const std::string name = "files/" + std::string(schema) + ".xsd";
    EXPECT_EQ(FaultOfDocument(valid, name), "");
    for (const auto& [text, with] : wrong) {
      ASSERT_NE(valid.find(text), std::string::npos) << text;
      EXPECT_NE(FaultOfDocument(ReplaceAll(valid, text, with), name), "") << schema << ": " << text << " -> " << with;
    }
  }
}

}  // namespace
}  // namespace ods::test
