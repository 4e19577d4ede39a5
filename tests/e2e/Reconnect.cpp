// Databases that end sessions and come back, under a server that mends its connection.
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <regex>
#include <thread>
#include <unistd.h>

#include "common/Attempt.h"
#include "common/Conversions.h"
#include "common/Text.h"
#include "e2e/DatabaseServer.h"
#include "e2e/ServerProcess.h"
#include "platform/ado/Ado.h"

namespace ods::test {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr int kRequests = 1000;

/// A product, and what its administrator says. "?" stands for the test's own name, "#" for the number of a session.
struct Product {
  const char* name;
  const char* script;    ///< what makes a server of its own
  const char* variable;  ///< the environment's server
  const char* make;      ///< makes what tells the server's sessions from others: a user or a database
  const char* drop;
  const char* pattern;  ///< the part of the connection string that names it, and what it becomes
  const char* own;
  const char* sessions;
  const char* end;
};

void PrintTo(const Product& product, std::ostream* out) { *out << product.name; }

const Product kProducts[] = {
    {"PostgreSql", "postgresql", "ODS_TEST_POSTGRESQL_SCRATCH", "CREATE ROLE ? LOGIN SUPERUSER PASSWORD 'secret'",
     "DROP ROLE IF EXISTS ?", "UID=[^;]*;PWD=[^;]*", "UID=?;PWD=secret",
     "SELECT pid FROM pg_stat_activity WHERE usename='?'", "SELECT pg_terminate_backend(#)"},
    {"MariaDb", "mariadb", "ODS_TEST_MARIADB_SCRATCH", "CREATE DATABASE ?", "DROP DATABASE IF EXISTS ?",
     "Database=[^;]*", "Database=?", "SELECT ID FROM information_schema.PROCESSLIST WHERE DB='?'", "KILL CONNECTION #"},
};

class Reconnect : public testing::TestWithParam<Product> {
 protected:
  void SetUp() override {
    const char* const connectionString = std::getenv(GetParam().variable);
    if (connectionString == nullptr) GTEST_SKIP() << GetParam().variable << " names no server";
    connectionString_ = connectionString;
  }

  static std::shared_ptr<Connection> Open(const std::string& connectionString) {
    auto connection = CreateOdbcConnection();
    connection->Open(connectionString);
    return connection;
  }
  static void MakeTable(Connection& connection, const std::string& table) {
    (void)connection.OpenRecordSet("DROP TABLE IF EXISTS " + table, 0);
    (void)connection.OpenRecordSet("CREATE TABLE " + table + " (a int NOT NULL PRIMARY KEY, b varchar(20))", 0);
    std::string rows;
    for (int i = 1; i <= 100; ++i)
      rows += (i > 1 ? ",(" : "(") + std::to_string(i) + ",'row " + std::to_string(i) + "')";
    (void)connection.OpenRecordSet("INSERT INTO " + table + " VALUES " + rows, 0);
  }
  static std::string Page(const std::string& table) {
    return Request("TableData", "<TableId>[TABLE]" + table +
                                    "</TableId><PrimaryKey>a</PrimaryKey><PageSize>20</PageSize><Navigate>gotofirst"
                                    "</Navigate><Fields><Field><Id>a</Id></Field><Field><Id>b</Id></Field></Fields>");
  }
  std::string connectionString_;
  ServerFolders folders_;
};

INSTANTIATE_TEST_SUITE_P(Products, Reconnect, testing::ValuesIn(kProducts),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(Reconnect, SessionsThatAreEndedFromOutsideAreNotNoticedByAnyClient) {
  const std::string own = "reconnect_" + std::to_string(getpid());
  const auto mine = [&](const char* text) { return ReplaceAll(text, "?", own); };
  const auto administrator = Open(connectionString_);
  (void)administrator->OpenRecordSet(mine(GetParam().drop), 0);
  (void)administrator->OpenRecordSet(mine(GetParam().make), 0);
  const std::string connectionString =
      std::regex_replace(connectionString_, std::regex(GetParam().pattern), mine(GetParam().own));
  MakeTable(*Open(connectionString), own);
  folders_.Configure(connectionString);
  {
    ServerProcess server(folders_, {"/reconnect=2"});
    QueueClient client(folders_);
    const std::string right = client.Ask(Page(own));
    EXPECT_NE(right.find("row 20"), std::string::npos) << right;
    // Sessions end at any moment of a request, but each one has answered some before.
    std::atomic<int> answered = 0;
    std::atomic<bool> over = false;
    int ended = 0;
    std::thread ender([&] {
      for (int next = 25; !over; std::this_thread::sleep_for(milliseconds(1))) {
        if (answered < next) continue;
        const auto sessions = administrator->OpenRecordSet(mine(GetParam().sessions), 0);
        for (; !sessions->AtEnd(); sessions->MoveNext()) {
          const auto gone = Attempt([&] {  // it may have ended by itself
            (void)administrator->OpenRecordSet(ReplaceAll(GetParam().end, "#", SafeStr(sessions->Item(0))), 0);
          });
          if (!gone) ++ended;
        }
        next = answered + 25;
      }
    });
    int wrong = 0;
    for (int i = 0; i < kRequests; ++i, ++answered) {
      const std::string answer = client.Ask(Page(own));
      if (answer != right && ++wrong == 1) ADD_FAILURE() << i << ": " << answer;
    }
    over = true;
    ender.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(ended, 10);
    EXPECT_EQ(server.Stop(), 0);
  }
  (void)Open(connectionString)->OpenRecordSet("DROP TABLE " + own, 0);
  (void)administrator->OpenRecordSet(mine(GetParam().drop), 0);
}

TEST_P(Reconnect, ADatabaseThatIsNotUpYetAndOneThatIsRestartedAreFoundAgain) {
  DatabaseServer database(GetParam().script);
  MakeTable(*Open(database.ConnectionString()), "t");
  database.Stop();
  folders_.Configure(database.ConnectionString());
  ServerProcess server(folders_, {"/reconnect=1"});
  QueueClient client(folders_);
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(GetNodeText(client.AskDocument(Page("t")), "/XML/Error"), "1000") << "at once, while it is down";
  }
  database.Start();
  const auto end = Clock::now() + std::chrono::seconds(30);
  std::string right;
  while (right.find("row 20") == std::string::npos && Clock::now() < end) right = client.Ask(Page("t"));
  ASSERT_NE(right.find("row 20"), std::string::npos) << right;

  std::thread restarter([&] {
    database.Stop();
    std::this_thread::sleep_for(milliseconds(300));
    database.Start();
  });
  int answered = 0;
  int refused = 0;
  for (bool back = false; answered + refused < kRequests || !back;) {
    const std::string answer = client.Ask(Page("t"));
    back = answer == right;
    if (back) {
      ++answered;
    } else {
      ++refused;
      EXPECT_NE(answer.find("<Error>"), std::string::npos) << "neither the rows nor an error: " << answer;
      std::this_thread::sleep_for(milliseconds(5));
    }
    if (Clock::now() > end + std::chrono::seconds(60)) break;
  }
  restarter.join();
  EXPECT_GT(answered, 0);
  EXPECT_GT(refused, 0) << "the restart was noticed";
  EXPECT_EQ(client.Ask(Page("t")), right);
  EXPECT_EQ(server.Stop(), 0);
}

}  // namespace
}  // namespace ods::test
