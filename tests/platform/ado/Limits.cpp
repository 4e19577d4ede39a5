// Limits of connecting and of statements, and connections that are lost, on real drivers.
#include <chrono>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

#include "platform/ado/AdoTestSupport.h"
#include "platform/ado/ConnectionString.h"
#include "support/SilentListener.h"

namespace ods {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr std::uint32_t kTimeOut = 0x80040E31;

/// A product, and how its sessions are seen and ended from another one.
struct Server {
  const char* name;
  const char* variable;
  const char* driver;
  const char* sleep;       ///< runs for a minute
  const char* sleeping;    ///< counts the statements that sleep
  const char* ownSession;  ///< the number of the session
  const char* endSession;  ///< ends the session of a number, which stands in for "?"
};

const Server kServers[] = {
    {"PostgreSql", "ODS_TEST_POSTGRESQL_SCRATCH", "PostgreSQL Unicode", "SELECT 1 FROM pg_sleep(60.25)",
     "SELECT COUNT(*) FROM pg_stat_activity WHERE state='active' AND query LIKE '%pg_sleep(60.25)%' AND "
     "pid<>pg_backend_pid()",
     "SELECT pg_backend_pid()", "SELECT pg_terminate_backend(?)"},
    {"MariaDb", "ODS_TEST_MARIADB_SCRATCH", "MariaDB Unicode", "SELECT SLEEP(60.25)",
     "SELECT COUNT(*) FROM information_schema.PROCESSLIST WHERE INFO LIKE '%SLEEP(60.25)%' AND ID<>CONNECTION_ID()",
     "SELECT CONNECTION_ID()", "KILL CONNECTION ?"},
};

class Limits : public testing::TestWithParam<Server> {
 protected:
  void SetUp() override {
    const char* const connectionString = std::getenv(GetParam().variable);
    if (connectionString == nullptr) GTEST_SKIP() << GetParam().variable << " names no server";
    connectionString_ = connectionString;
  }
  [[nodiscard]] std::shared_ptr<Connection> Open(ConnectionLimits limits = {}) const {
    auto connection = CreateOdbcConnection();
    connection->SetLimits(std::move(limits));
    connection->Open(connectionString_);
    return connection;
  }
  [[nodiscard]] bool SleepEnds() const {
    const auto watcher = Open();
    for (int i = 0; i < 100; ++i) {
      if (SafeLng(ReadOne(*watcher, GetParam().sleeping)) == 0) return true;
      std::this_thread::sleep_for(milliseconds(20));
    }
    return false;
  }

  std::string connectionString_;
};

INSTANTIATE_TEST_SUITE_P(Servers, Limits, testing::ValuesIn(kServers),
                         [](const auto& row) { return std::string(row.param.name); });

/// The seconds that an action takes.
double SecondsOf(const std::function<void()>& action) {
  const auto start = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST_P(Limits, AServerThatIsSilentIsGivenUpAfterTheLimit) {
  const test::SilentListener listener;
  const auto connection = CreateOdbcConnection();
  connection->SetLimits({.connectSeconds = 1});
  const double took = SecondsOf([&] {
    EXPECT_RAISES(connection->Open(std::string("Driver=") + GetParam().driver + listener.Target()), Hex(kTimeOut),
                  "The database did not answer within 1 seconds: connecting was given up.");
  });
  EXPECT_GE(took, 1);
  EXPECT_LT(took, 10);
  for (int i = 0; i < 500 && DriverCallsAreStuck(); ++i) std::this_thread::sleep_for(milliseconds(20));
  EXPECT_FALSE(DriverCallsAreStuck()) << "the driver keeps the limit by itself in the end";
}

TEST_P(Limits, AStatementThatRunsOutIsEndedInTheDatabaseAndTheSessionGoesOn) {
  const auto connection = Open({.statementSeconds = 1});
  EXPECT_RAISES(connection->OpenRecordSet(GetParam().sleep, 0), Hex(kTimeOut),
                "The database did not answer within 1 seconds: the statement was given up.");
  EXPECT_TRUE(SleepEnds());
  EXPECT_FALSE(connection->IsLost());
  EXPECT_EQ(SafeLng(ReadOne(*connection, "SELECT 7")), 7);
}

TEST_P(Limits, WithoutALimitOfTheDriverTheStatementIsCancelledAllTheSame) {
  int asked = 0;
  const auto connection = Open({.statementSeconds = 0, .giveUp = [&] { return ++asked > 20; }});
  EXPECT_RAISES(connection->OpenRecordSet(GetParam().sleep, 0), error_number::kGeneralFailure,
                "The call of the database driver was given up: the statement.");
  EXPECT_GT(asked, 20);
  EXPECT_TRUE(SleepEnds());
}

TEST_P(Limits, TheCallersThreadRunsMeanwhile) {
  const auto caller = std::this_thread::get_id();
  int asked = 0;
  const auto connection = Open({.statementSeconds = 1, .giveUp = [&] {
                                  EXPECT_EQ(std::this_thread::get_id(), caller);
                                  ++asked;
                                  return false;
                                }});
  asked = 0;
  EXPECT_THROW((void)connection->OpenRecordSet(GetParam().sleep, 0), Error);
  EXPECT_GE(asked, 20) << "several times a second";
}

TEST_P(Limits, ASessionThatIsEndedFromOutsideIsLost) {
  const auto connection = Open();
  EXPECT_THROW((void)connection->OpenRecordSet("SELECT nonsense", 0), Error);
  EXPECT_FALSE(connection->IsLost()) << "a wrong statement costs nothing but an error";
  const std::string session = SafeStr(ReadOne(*connection, GetParam().ownSession));
  std::string end = GetParam().endSession;
  end.replace(end.find('?'), 1, session);
  (void)Open()->OpenRecordSet(end, 0);
  std::this_thread::sleep_for(milliseconds(200));
  EXPECT_THROW((void)connection->OpenRecordSet("SELECT 7", 0), Error);
  EXPECT_TRUE(connection->IsLost());
  EXPECT_FALSE(connection->IsStuck());
}

TEST(ConnectionString, ValuesAreFoundByTheirKeywords) {
  using odbc::ConnectionStringValue;
  EXPECT_EQ(ConnectionStringValue("DSN=a;uid=b", "UID"), "b");
  EXPECT_EQ(ConnectionStringValue("Driver = {a;b}}c} ;DSN=d", "driver"), "a;b}c");
  EXPECT_EQ(ConnectionStringValue("Driver={a;b}}c} ;DSN=d", "dsn"), "d");
  EXPECT_EQ(ConnectionStringValue("DSN=first;DSN=second", "DSN"), "first");
  EXPECT_EQ(ConnectionStringValue("PWD={a=b;DSN=x};DSN=y", "DSN"), "y");
  for (const char* none : {"", ";", "=", "DSN", "DSN=", ";;DSN;", "UID={"})
    EXPECT_EQ(ConnectionStringValue(none, "DSN"), "") << none;
}

TEST(ConnectionString, ADriverThatTakesItsLimitThereGetsIt) {
  using odbc::WithConnectLimit;
  EXPECT_EQ(WithConnectLimit("Driver=/x/libmaodbc.so;UID=u", 3), "Driver=/x/libmaodbc.so;UID=u;CONN_TIMEOUT=3");
  EXPECT_EQ(WithConnectLimit("Driver=/x/libmaodbc.so;", 3), "Driver=/x/libmaodbc.so;CONN_TIMEOUT=3");
  EXPECT_EQ(WithConnectLimit("Driver=/x/libmaodbc.so;UID=u", 0), "Driver=/x/libmaodbc.so;UID=u");
  EXPECT_EQ(WithConnectLimit("Driver=/x/libmaodbc.so;conn_timeout=9", 3), "Driver=/x/libmaodbc.so;conn_timeout=9");
  EXPECT_EQ(WithConnectLimit("Driver=/x/other.so;UID=u", 3), "Driver=/x/other.so;UID=u");
  EXPECT_EQ(WithConnectLimit("DSN=there is none", 3), "DSN=there is none");
}

}  // namespace
}  // namespace ods
