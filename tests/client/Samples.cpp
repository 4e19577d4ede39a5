// The sample clients, each run as a reader of them would.
#include <filesystem>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <string>

#include "e2e/QueueRelay.h"
#include "e2e/ServerProcess.h"
#include "platform/system/ReadFile.h"
#include "support/TemporaryFolder.h"

namespace odbc_data {
namespace {

constexpr int kCustomers = 250;

/// What a client prints that is started by a shell's command line, with the folders of a server behind it.
std::string PrintedBy(const std::string& command, const ods::test::QueueRelay& server) {
  const ods::test::TemporaryFolder folder;
  const std::string output = folder.Path() + "/printed";
  const std::string line = command + " '" + server.Requests() + "' '" + server.Results() + "' > '" + output + "'";
  EXPECT_EQ(ods::test::RunProgram({"/bin/sh", "-c", line}), 0) << command;
  return ods::ReadFileText(output);
}

TEST(SampleClients, PrintAllCustomers) {
  const ods::test::ServerFolders folders;
  const std::string path = folders.Root() + "/customers.db";
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
  const std::string script =
      "CREATE TABLE customer (no INTEGER PRIMARY KEY, name TEXT);"
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
      std::to_string(kCustomers) + ") INSERT INTO customer SELECT i, CASE WHEN i % 10 THEN 'Zoë & ' || i END FROM n;";
  EXPECT_EQ(sqlite3_exec(database, script.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(database);
  std::string expected;
  for (int i = 1; i <= kCustomers; ++i) {
    const std::string number = std::to_string(i);
    expected += number + "\t" + (i % 10 == 0 ? "NULL" : "Zoë & " + number) + "\n";
  }

  folders.Configure("Driver=SQLite3;Database=" + path);
  ods::test::ServerProcess server(folders, {"/exact"});
  ASSERT_TRUE(ods::test::Eventually([&] { return std::filesystem::exists(folders.Results() + "/new"); }));
  const ods::test::QueueRelay relay(folders);
  EXPECT_EQ(PrintedBy(ODS_SAMPLE_CLIENT, relay), expected);
  EXPECT_EQ(PrintedBy("LC_ALL=C.UTF-8 python3 '" ODS_SAMPLES_FOLDER "/clients/customers.py'", relay), expected);
  EXPECT_GT(relay.Answered(), 4U);
  EXPECT_EQ(server.Stop(), 0);
}

}  // namespace
}  // namespace odbc_data
