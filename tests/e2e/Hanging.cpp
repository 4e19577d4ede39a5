// Databases and drivers that do not answer, and the real executable on them.
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <thread>

#include "e2e/ServerProcess.h"
#include "e2e/StandIn.h"
#include "support/SilentListener.h"

namespace ods::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using Clock = std::chrono::steady_clock;

const std::string kPage =
    "<XML><Type>TableData</Type><TableId>[TABLE]t</TableId><PrimaryKey>a</PrimaryKey><PageSize>10</PageSize>"
    "<Navigate>gotofirst</Navigate><Fields><Field><Id>a</Id></Field></Fields></XML>";

bool Eventually(const std::function<bool()>& holds) {
  const auto end = Clock::now() + seconds(20);
  while (!holds()) {
    if (Clock::now() > end) return false;
    std::this_thread::sleep_for(milliseconds(5));
  }
  return true;
}

#ifdef __SANITIZE_ADDRESS__
constexpr seconds kBusy(5);  // looking for leaks at the end takes its time
#else
constexpr seconds kBusy(1);  // on a busy machine
#endif

/// Stops a server, which must end in good order within a second.
void ExpectPromptStop(ServerProcess& server) {
  const auto start = Clock::now();
  EXPECT_EQ(server.Stop(), 0);
  EXPECT_LT(Clock::now() - start, seconds(1) + kBusy);
}

void ExpectLogged(const ServerFolders& folders, const std::string& text) {
  EXPECT_NE(folders.LogText().find(text), std::string::npos) << text << "\n" << folders.LogText();
}

std::size_t Waiting(const std::string& folder) {
  std::error_code none;
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator(folder, none), std::filesystem::directory_iterator()));
}

class SilentDatabase : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override { folders_.Configure(std::string("Driver=") + GetParam() + listener_.Target()); }

  SilentListener listener_;
  ServerFolders folders_;
};

INSTANTIATE_TEST_SUITE_P(Drivers, SilentDatabase, testing::Values("PostgreSQL Unicode", "MariaDB Unicode"),
                         [](const auto& row) { return std::string(row.param).substr(0, 7); });

TEST_P(SilentDatabase, RequestsGetTheirErrorDocumentAfterTheLimit) {
  ServerProcess server(folders_, {"/connecttimeout=1"});
  QueueClient client(folders_);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(GetNodeText(client.AskDocument(kPing), "/XML/Error"), "1000");
  }
  ExpectLogged(folders_, "The database did not answer within 1 seconds: connecting was given up.");
  ExpectPromptStop(server);
}

TEST_P(SilentDatabase, AStopEndsAServerThatConnects) {
  ServerProcess server(folders_, {"/connecttimeout=0"});
  ASSERT_TRUE(Eventually([&] { return folders_.LogText().find("Connect to database") != std::string::npos; }));
  std::this_thread::sleep_for(milliseconds(300));
  ExpectPromptStop(server);
  ExpectLogged(folders_, "'Exit main loop'");
}

/// A table of a thousand rows on the stand-in driver. The first page of a session is two statements, each further one
/// is one.
class HangingDriver : public testing::Test {
 protected:
  HangingDriver() : standIn_("Other") {
    standIn_.Run(
        "CREATE TABLE t (a int NOT NULL PRIMARY KEY); WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n "
        "WHERE i<1000) INSERT INTO t SELECT i FROM n");
  }
  [[nodiscard]] const ServerFolders& Folders() const { return standIn_.Folders(); }

  StandIn standIn_;
};

TEST_F(HangingDriver, AStatementThatRunsOutIsCancelledAndTheSessionGoesOn) {
  standIn_.Connect(";HangStatement=1");
  ServerProcess server(Folders(), {"/querytimeout=1"});
  QueueClient client(Folders());
  const XmlDocument answer = client.AskDocument(kPage);
  EXPECT_EQ(GetNodeText(answer, "/XML/Error"), "-2147217871");
  EXPECT_NE(GetNodeText(answer, "/XML/Message").find("The database did not answer within 1 seconds"), std::string::npos)
      << answer.Xml();
  EXPECT_EQ(GetNodeText(client.AskDocument(kPing), "/XML/Ping"), "OK");
  EXPECT_EQ(GetNodeText(client.AskDocument(kPage), "/XML/Error"), "");
  EXPECT_EQ(server.Stop(), 0);
}

TEST_F(HangingDriver, ASessionWhoseDriverIsStuckIsGivenUp) {
  standIn_.Connect(";HangStatement=1;IgnoreCancel=1");
  ServerProcess server(Folders(), {"/querytimeout=1"});
  QueueClient client(Folders());
  EXPECT_EQ(GetNodeText(client.AskDocument(kPage), "/XML/Error"), "-2147217871");
  EXPECT_EQ(GetNodeText(client.AskDocument(kPing), "/XML/Error"), "1000");
  ExpectLogged(Folders(), "The database driver does not come back. The connection is given up.");
  ExpectPromptStop(server);
}

TEST_F(HangingDriver, ASessionWhoseDriverIsStuckIsMendedWithReconnect) {
  standIn_.Connect(";HangStatement=3;IgnoreCancel=1");
  ServerProcess server(Folders(), {"/querytimeout=1", "/reconnect=1"});
  QueueClient client(Folders());
  EXPECT_EQ(GetNodeText(client.AskDocument(kPage), "/XML/Error"), "");
  EXPECT_EQ(GetNodeText(client.AskDocument(kPage), "/XML/Error"), "-2147217871");
  EXPECT_TRUE(Eventually([&] { return GetNodeText(client.AskDocument(kPing), "/XML/Ping") == "OK"; }));
  EXPECT_EQ(GetNodeText(client.AskDocument(kPage), "/XML/Error"), "");
  ExpectPromptStop(server);
}

TEST_F(HangingDriver, AStopLeavesTheMessageInHandToTheNextServer) {
  for (const char* where : {";HangStatement=1;IgnoreCancel=1", ";HangFetch=5;HangCancel=1", ";HangStatement=1"}) {
    standIn_.Connect(where);
    ServerProcess server(Folders(), {"/querytimeout=0"});
    QueueClient client(Folders());
    const std::string id = client.Send(kPage);
    ASSERT_TRUE(Eventually([&] { return Waiting(Folders().Requests() + "/cur") > 0; }));
    std::this_thread::sleep_for(milliseconds(300));
    ExpectPromptStop(server);
    ExpectLogged(Folders(), "is left for the next server: the database driver did not come back before the stop.");
    EXPECT_EQ(Waiting(Folders().Results() + "/new"), 0U);
    standIn_.Connect();
    ServerProcess next(Folders());
    EXPECT_NE(client.Receive(id).find("<HasNextPage>1"), std::string::npos) << where;
    EXPECT_EQ(next.Stop(), 0);
  }
}

TEST_F(HangingDriver, AnAnswerThatComesJustAfterTheStopIsStillSent) {
  standIn_.Connect(";DelayStatement=100");
  ServerProcess server(Folders());
  QueueClient client(Folders());
  const std::string id = client.Send(kPage);
  ASSERT_TRUE(Eventually([&] { return Waiting(Folders().Requests() + "/cur") > 0; }));
  std::this_thread::sleep_for(milliseconds(50));
  ExpectPromptStop(server);
  EXPECT_NE(client.Receive(id, seconds(1)).find("<HasNextPage>1"), std::string::npos);
}

TEST_F(HangingDriver, ALostConnectionIsMendedWithReconnectAlone) {
  for (const bool reconnects : {false, true}) {
    standIn_.Connect(";LoseStatement=4");
    ServerProcess server(Folders(), reconnects ? std::vector<std::string>{"/reconnect=1"} : std::vector<std::string>{});
    QueueClient client(Folders());
    for (int i = 0; i < 10; ++i) {
      const XmlDocument answer = client.AskDocument(kPage);
      EXPECT_EQ(GetNodeText(answer, "/XML/Error").empty(), reconnects || i < 2) << i << answer.Xml();
    }
    EXPECT_EQ(server.Stop(), 0);
  }
}

TEST_F(HangingDriver, ADatabaseThatIsNotThereAtTheStartIsTriedAgain) {
  standIn_.Connect(";FailConnect=1");
  ServerProcess server(Folders(), {"/reconnect=1"});
  QueueClient client(Folders());
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(GetNodeText(client.AskDocument(kPing), "/XML/Error"), "1000");
    std::this_thread::sleep_for(milliseconds(20));
  }
  const std::string log = Folders().LogText();
  EXPECT_EQ(log.find("Error connecting to database"), log.rfind("Error connecting to database")) << "told once";
  EXPECT_EQ(log.find("'Connect to database: "), log.rfind("'Connect to database: "));
  EXPECT_EQ(server.Stop(), 0);
}

TEST(Parameters, ALimitThatIsNoNumberEndsTheServerWithAClearText) {
  for (const char* wrong : {"/connecttimeout=soon", "/querytimeout=-1", "/reconnect=0", "/querytimeout=99999999999"}) {
    const ServerFolders folders;
    EXPECT_EQ(RunProgram({ODS_SERVER_PROGRAM, "/hidden", "/mode=nonsense", "/datafolder=" + folders.Root() + "/data",
                          "/inqueue=" + folders.Requests(), "/outqueue=" + folders.Results(), wrong}),
              1)
        << wrong;
  }
}

}  // namespace
}  // namespace ods::test
