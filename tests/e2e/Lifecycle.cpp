// Starting, stopping, dying and being watched: the life of the real executable.
#include <filesystem>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "common/Text.h"
#include "e2e/Sample.h"
#include "e2e/ServerProcess.h"
#include "platform/system/NamedMutex.h"
#include "platform/system/ReadFile.h"
#include "platform/system/System.h"

namespace ods::test {
namespace {

namespace fs = std::filesystem;
using std::chrono::seconds;

/// An empty database in the instance's own folder.
std::string OwnDatabase(const ServerFolders& folders) {
  return "Driver=SQLite3;Database=" + folders.Root() + "/own.db";
}

std::ptrdiff_t Occurrences(const std::string& text, const std::string& part) {
  return static_cast<std::ptrdiff_t>(Split(text, part).size()) - 1;
}

unsigned ModeOf(const fs::path& path) { return static_cast<unsigned>(fs::symlink_status(path).permissions()); }

TEST(Lifecycle, StopsInGoodOrderWhenAskedTo) {
  const ServerFolders folders;
  folders.Configure(OwnDatabase(folders));
  ServerProcess server(folders);
  QueueClient client(folders);
  (void)client.Ask(kPing);
  EXPECT_EQ(server.Stop(), 0);
  const std::string log = folders.LogText();
  for (const std::string& entry :
       std::vector<std::string>{"'Starting " + TextOf(fs::path(ODS_SERVER_PROGRAM).filename()) + " version 1.0.0.0'",
                                "'Mode: run'", "'Enter main loop'", "'In main loop'", "'Start Polling'",
                                "'Exit main loop'", "'Signal that data server is stopped'", "'Stop'"}) {
    EXPECT_NE(log.find(entry), std::string::npos) << entry << "\n" << log;
  }
}

TEST(Lifecycle, ARequestInHandSurvivesTheServer) {
  const ServerFolders folders;
  folders.Configure(OwnDatabase(folders));
  const std::string view = folders.Config() + "/views/slow.xml";
  const auto writeView = [&](const std::string& rows) {
    WriteTextFile(
        view, "<View><Query subquery='no'>WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i &lt; " +
                  rows + ") SELECT count(*) AS total FROM n</Query></View>");
  };
  writeView("100000000000");  // hours
  QueueClient client(folders);
  std::string id;
  {
    ServerProcess server(folders);
    (void)client.Ask(kPing);
    id = client.Send(Request("FieldList", "<TableId>[APPVIEW]slow</TableId>"));
    ASSERT_TRUE(Eventually([&] { return fs::exists(folders.Requests() + "/cur/" + id + ".xml"); }));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_TRUE(fs::exists(folders.Requests() + "/cur/" + id + ".xml")) << "the request is in hand";
    server.Kill();
  }
  writeView("3");
  ServerProcess server(folders);
  EXPECT_NE(client.Receive(id).find("<Id>total</Id>"), std::string::npos);
  EXPECT_EQ(server.Stop(), 0);
  EXPECT_TRUE(fs::is_empty(folders.Requests() + "/new"));
  EXPECT_TRUE(fs::is_empty(folders.Requests() + "/cur"));
}

TEST(Lifecycle, ARequestThatKillsTheServerThreeTimesIsGivenUpWithAnAnswer) {
  const ServerFolders folders;
  folders.Configure(OwnDatabase(folders));
  WriteTextFile(folders.Config() + "/views/slow.xml",
                "<View><Query subquery='no'>WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i &lt; "
                "100000000000) SELECT count(*) AS total FROM n</Query></View>");
  QueueClient client(folders);
  const std::string id = client.Send(Request("FieldList", "<TableId>[APPVIEW]slow</TableId>"));
  for (int attempt = 1; attempt <= 3; ++attempt) {
    ServerProcess server(folders);
    // Each server is killed while its statement runs.
    ASSERT_TRUE(Eventually([&] { return Occurrences(folders.LogText(), "SQL: WITH RECURSIVE") == attempt; }))
        << attempt;
    server.Kill();
  }
  ServerProcess server(folders);
  XmlDocument answer;
  ASSERT_TRUE(answer.LoadXML(client.Receive(id)));
  EXPECT_EQ(GetNodeText(answer, "/XML/Error"), "1000");
  EXPECT_TRUE(fs::exists(folders.Requests() + "/failed/" + id + ".xml"));
  EXPECT_EQ(GetNodeText(client.AskDocument(kPing), "/XML/Ping"), "OK");
  EXPECT_EQ(server.Stop(), 0);
}

TEST(Lifecycle, TwoServersOnOneQueueAnswerEveryRequestThoughOneIsKilled) {
  constexpr int kRequests = 90;
  const ServerFolders folders;
  folders.Configure(OwnDatabase(folders));
  ServerProcess killed(folders);
  ServerProcess other(folders);
  QueueClient client(folders);
  std::vector<std::string> ids;
  for (int i = 0; i < kRequests; ++i) {
    ids.push_back(client.Send(kPing));
    if (i == kRequests / 2) killed.Kill();
  }
  for (const std::string& id : ids) EXPECT_NE(client.Receive(id).find("<Ping>OK</Ping>"), std::string::npos);
  EXPECT_EQ(other.Stop(), 0);
  EXPECT_TRUE(fs::is_empty(folders.Requests() + "/new"));
  EXPECT_TRUE(fs::is_empty(folders.Requests() + "/failed"));
}

TEST(Lifecycle, WithoutADatabaseEveryRequestIsCodeOneThousand) {
  const ServerFolders folders;
  folders.Configure("Driver=No such driver");
  ServerProcess server(folders, {"/messagefile=" + folders.MessageFile()});
  QueueClient client(folders);
  for (const Message& request : {Message(kPing), Message(Request("TableList")), Malformed(Request("nonsense"))}) {
    const XmlDocument answer = client.AskDocument(request);
    EXPECT_EQ(GetNodeText(answer, "/XML/Error"), "1000");
    EXPECT_EQ(GetNodeText(answer, "/XML/Message"),
              "The database connection is not open. The database configuration may be invalid.");
  }
  EXPECT_EQ(GetNodeText(client.AskDocument(Malformed(Request("Status"))), "/XML/Error"), "1");
  EXPECT_NE(ReadFileText(folders.MessageFile()).find("<Code>UnableToConnectDB</Code>"), std::string::npos);
  EXPECT_EQ(server.Stop(), 0);
}

TEST(Lifecycle, AnErrorInARequestAsksTheControllerForARestart) {
  const ServerFolders folders;
  folders.Configure(OwnDatabase(folders));
  ServerProcess server(folders, {"/messagefile=" + folders.MessageFile()});
  QueueClient client(folders);
  (void)client.Ask(Request("FieldList", "<TableId>[TABLE]nothing</TableId>"));
  const std::string message = ReadFileText(folders.MessageFile());
  EXPECT_NE(message.find("<Type>Restart</Type><Code>ErrorProcessingMessage</Code>"), std::string::npos) << message;
  EXPECT_EQ(server.Stop(), 0);
}

TEST(Lifecycle, AChangedConfigurationConnectsAgain) {
  const ServerFolders folders;
  ServerProcess server(folders);
  QueueClient client(folders);
  EXPECT_EQ(GetNodeText(client.AskDocument(kPing), "/XML/Error"), "1000");
  folders.Configure(OwnDatabase(folders));
  EXPECT_TRUE(Eventually([&] { return GetNodeText(client.AskDocument(kPing), "/XML/Ping") == "OK"; }));
  // Without a connection string polling stops, and goes on when there is one again.
  folders.Configure("");
  EXPECT_TRUE(Eventually([&] { return folders.LogText().find("'Stop Polling'") != std::string::npos; }));
  const std::string id = client.Send(kPing);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  EXPECT_TRUE(fs::exists(folders.Requests() + "/new/" + id + ".xml")) << "nobody polls";
  folders.Configure(OwnDatabase(folders));
  EXPECT_NE(client.Receive(id).find("OK"), std::string::npos);
  EXPECT_EQ(server.Stop(), 0);
}

TEST(Lifecycle, TheControllerSeesTheServerLiveAndTheServerTheController) {
  const ServerFolders folders;
  folders.Configure(OwnDatabase(folders));
  const std::string running = "e2e running " + NewGuidText();
  const std::string parent = "e2e parent " + NewGuidText();
  auto controller = std::make_unique<NamedMutex>(parent);
  ServerProcess server(folders,
                       {"/runningmutex=" + running, "/parentmutex=" + parent, "/alivefile=" + folders.AliveFile()});
  QueueClient client(folders);
  (void)client.Ask(kPing);
  EXPECT_TRUE(MutexExists(running));
  EXPECT_NE(ReadFileText(folders.AliveFile()).find("<Type>Running</Type>"), std::string::npos);
  controller.reset();
  EXPECT_TRUE(Eventually([&] { return !server.IsRunning(); }));
  EXPECT_FALSE(MutexExists(running));
  EXPECT_NE(folders.LogText().find(")=False'"), std::string::npos);
}

TEST(Lifecycle, FilesAndFoldersArePrivate) {
  const ServerFolders folders;
  folders.Configure(OwnDatabase(folders));
  ServerProcess server(folders);
  QueueClient client(folders);
  (void)client.Ask(kPing);
  for (const auto& entry : fs::directory_iterator(folders.Root() + "/data/Logs"))
    EXPECT_EQ(ModeOf(entry.path()), 0600U);
  for (const char* folder : {"new", "cur", "tmp", "failed"}) {
    EXPECT_EQ(ModeOf(folders.Requests() + "/" + folder), 0700U) << folder;
    EXPECT_EQ(ModeOf(folders.Results() + "/" + folder), 0700U) << folder;
  }
  EXPECT_EQ(server.Stop(), 0);
}

TEST(Lifecycle, AnAnswerThatWaitsAlreadyDoesNotStopTheServer) {
  const ServerFolders folders;
  folders.Configure(OwnDatabase(folders));
  ServerProcess server(folders);
  QueueClient client(folders);
  (void)client.Ask(kPing);
  WriteTextFile(folders.Results() + "/new/twice.xml", "<XML>old</XML>");
  const auto queue = CreateFolderQueue();
  queue->SetFolder(folders.Requests());
  queue->Create();
  queue->SetPackage(kPing);
  queue->Send("twice");
  EXPECT_EQ(GetNodeText(client.AskDocument(kPing), "/XML/Ping"), "OK");
  EXPECT_EQ(ReadFileText(folders.Results() + "/new/twice.xml"), "<XML>old</XML>");
  EXPECT_EQ(server.Stop(), 0);
}

TEST(CommandLine, HelpAndVersionPrintAndEnd) {
  for (const char* argument : {"--help", "-help", "/?", "--version", "-version"}) {
    EXPECT_EQ(RunProgram({ODS_SERVER_PROGRAM, argument}), 0) << argument;
  }
}

TEST(CommandLine, AMissingParameterFileEndsTheServerWithAnError) {
  EXPECT_EQ(RunProgram({ODS_SERVER_PROGRAM, "/hidden", "/parameterfile=/nonexistent/parameters.txt"}), 1);
}

void ExpectThatTheFolderIsFound(const std::string& name) {
  const TemporaryFolder root;
  const std::string folder = root.Path() + "/" + name;
  WriteTextFile(folder + "/config/dataserver.xml",
                "<Settings><ConnectionString>Driver=SQLite3;Database=" + DriverPath(root.Path()) +
                    "/own.db</ConnectionString></Settings>");
  EXPECT_EQ(RunProgram({ODS_SERVER_PROGRAM, "/hidden", "/mode=nonsense", "/datafolder=" + folder,
                        "/inqueue=" + folder + "/in", "/outqueue=" + folder + "/out"}),
            0);
  EXPECT_TRUE(fs::exists(PathOf(folder + "/Logs")));
  EXPECT_TRUE(fs::exists(PathOf(folder + "/in")));
}

TEST(CommandLine, ArgumentsWithBlanksCommasAndQuotesSurvive) { ExpectThatTheFolderIsFound("a b, \"c\" d"); }

TEST(CommandLine, ArgumentsWithBlanksCommasAndOtherAlphabetsSurvive) {
  ExpectThatTheFolderIsFound("a b, \xC3\x9C\xD0\x96\xE6\x97\xA5 d");
}

}  // namespace
}  // namespace ods::test
