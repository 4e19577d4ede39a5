// Drivers that do not come back, seen through the system's own connection.
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <thread>

#include "common/Conversions.h"
#include "common/Error.h"
#include "platform/ado/Ado.h"
#include "support/RaisedErrors.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

using std::chrono::milliseconds;

constexpr auto kTimeOut = static_cast<std::int32_t>(0x80040E31);

class Hanging : public ::testing::Test {
 protected:
  void SetUp() override {
    sqlite3* handle = nullptr;
    EXPECT_EQ(sqlite3_open(File().c_str(), &handle), SQLITE_OK);
    sqlite3_exec(handle,
                 "CREATE TABLE t (a int); WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<1000) "
                 "INSERT INTO t SELECT i FROM n",
                 nullptr, nullptr, nullptr);
    sqlite3_close(handle);
  }
  // What a test left hanging comes back by itself, and is gone before the next one.
  void TearDown() override { EXPECT_TRUE(NothingIsStuck()); }

  [[nodiscard]] std::string File() const { return folder_.Path() + "/t.db"; }
  std::shared_ptr<Connection> Open(const std::string& more,
                                   ConnectionLimits limits = {.connectSeconds = 1, .statementSeconds = 1}) {
    auto connection = CreateOdbcConnection();
    connection->SetLimits(std::move(limits));
    connection->Open("DRIVER=" ODS_PRODUCT_DRIVER ";Product=Other;Database=" + File() + more);
    return connection;
  }
  static Error ErrorOf(const std::function<void()>& action) { return test::ErrorOf(action).value_or(Error(0, "")); }
  static bool NothingIsStuck() {
    for (int i = 0; i < 500 && DriverCallsAreStuck(); ++i) std::this_thread::sleep_for(milliseconds(20));
    return !DriverCallsAreStuck();
  }

  test::TemporaryFolder folder_;
};

TEST_F(Hanging, AConnectIsGivenUpAndItsThreadCleansUpByItself) {
  const Error error = ErrorOf([&] { (void)Open(";HangConnect=1;HangMilliseconds=3000"); });
  EXPECT_EQ(error.Number(), kTimeOut);
  EXPECT_EQ(error.Description(), "The database did not answer within 1 seconds: connecting was given up.");
  EXPECT_TRUE(DriverCallsAreStuck());
  EXPECT_EQ(SafeLng(Open("")->OpenRecordSet("SELECT COUNT(*) FROM t", 0)->Item(0)), 1000) << "others go on meanwhile";
}

TEST_F(Hanging, AStatementIsCancelledAndTheConnectionGoesOn) {
  const auto connection = Open(";HangStatement=1");
  const Error error = ErrorOf([&] { (void)connection->OpenRecordSet("SELECT a FROM t", 0); });
  EXPECT_EQ(error.Number(), kTimeOut);
  EXPECT_EQ(error.Description(), "The database did not answer within 1 seconds: the statement was given up.");
  EXPECT_FALSE(connection->IsLost());
  EXPECT_EQ(SafeLng(connection->OpenRecordSet("SELECT COUNT(*) FROM t", 0)->Item(0)), 1000);
}

TEST_F(Hanging, AFetchIsCancelledToo) {
  const auto connection = Open(";HangFetch=600");
  const auto rows = connection->OpenRecordSet("SELECT a FROM t ORDER BY a", 0);
  int last = 0;
  const Error error = ErrorOf([&] {
    for (; !rows->AtEnd(); rows->MoveNext()) last = SafeLng(rows->Item(0));
  });
  EXPECT_EQ(error.Number(), kTimeOut);
  EXPECT_GT(last, 256) << "what was read before is there";
  EXPECT_LT(last, 600);
  EXPECT_FALSE(connection->IsLost());
}

TEST_F(Hanging, ADriverThatIgnoresTheCancelLosesTheConnection) {
  for (const char* stubborn : {";IgnoreCancel=1", ";HangCancel=1"}) {
    const auto connection = Open(std::string(";HangStatement=1;HangMilliseconds=6500") + stubborn);
    EXPECT_EQ(ErrorOf([&] { (void)connection->OpenRecordSet("SELECT a FROM t", 0); }).Number(), kTimeOut);
    EXPECT_TRUE(connection->IsLost());
    EXPECT_TRUE(connection->IsStuck());
    EXPECT_EQ(ErrorOf([&] { (void)connection->OpenRecordSet("SELECT a FROM t", 0); }).Description(),
              "The connection is given up: the database driver did not come back.");
    EXPECT_EQ(ErrorOf([&] { (void)connection->OpenSchema(Schema::kTables); }).Number(), error_number::kGeneralFailure);
  }
}

TEST_F(Hanging, ARecordSetWhoseFetchIsStuckIsAtItsEnd) {
  const auto connection = Open(";HangFetch=600;HangMilliseconds=6500;IgnoreCancel=1");
  const auto rows = connection->OpenRecordSet("SELECT a FROM t ORDER BY a", 0);
  EXPECT_EQ(ErrorOf([&] {
              for (; !rows->AtEnd(); rows->MoveNext()) {
              }
            }).Number(),
            kTimeOut);
  EXPECT_TRUE(rows->AtEnd());
  EXPECT_EQ(ErrorOf([&] { (void)rows->Item(0); }).Number(), error_number::kNoCurrentRecord);
}

TEST_F(Hanging, TheCallerMayGiveUp) {
  const auto start = std::chrono::steady_clock::now();
  bool stop = false;
  const auto connection = Open(";HangStatement=1;HangMilliseconds=1500;IgnoreCancel=1",
                               {.connectSeconds = 0, .statementSeconds = 0, .giveUp = [&] { return stop; }});
  stop = true;
  EXPECT_EQ(ErrorOf([&] { (void)connection->OpenRecordSet("SELECT a FROM t", 0); }).Description(),
            "The call of the database driver was given up: the statement.");
  EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(1000));
  EXPECT_TRUE(connection->IsStuck());
}

TEST_F(Hanging, TheCallerMayGiveUpBetweenManyShortCalls) {
  int asked = 0;
  const auto connection = Open("", {.giveUp = [&] { return ++asked > 5; }});
  int done = 0;
  const Error error = ErrorOf([&] {
    for (; done < 1'000'000; ++done) (void)connection->OpenRecordSet("SELECT a FROM t", 1);
  });
  EXPECT_EQ(error.Number(), error_number::kGeneralFailure);
  EXPECT_GT(done, 5);
}

TEST_F(Hanging, WhatTheCallerRunsMayRaise) {
  bool isOpen = false;  // connecting takes its time too on a busy machine
  const auto connection = Open(";HangStatement=1;HangMilliseconds=800", {.giveUp = [&isOpen]() -> bool {
                                 if (isOpen) throw Error(error_number::kOwn, "no more");
                                 return false;
                               }});
  isOpen = true;
  EXPECT_EQ(ErrorOf([&] { (void)connection->OpenRecordSet("SELECT a FROM t", 0); }).Description(), "no more");
  EXPECT_TRUE(connection->IsStuck());
}

TEST_F(Hanging, NoMoreThanSixteenCallsAreLeftHanging) {
  for (int i = 0; i < 16; ++i) {
    EXPECT_EQ(ErrorOf([&] {
                (void)Open(";HangConnect=1;HangMilliseconds=3000", {.giveUp = [] { return true; }});
              }).Description(),
              "The call of the database driver was given up: connecting.");
  }
  EXPECT_EQ(ErrorOf([&] { (void)Open(""); }).Description(),
            "16 calls of database drivers have not come back: no connection is opened before one does.");
  EXPECT_TRUE(NothingIsStuck());
  EXPECT_EQ(SafeLng(Open("")->OpenRecordSet("SELECT COUNT(*) FROM t", 0)->Item(0)), 1000);
}

TEST_F(Hanging, AConnectionThatBreaksIsLost) {
  const auto connection = Open(";LoseStatement=2");
  EXPECT_EQ(SafeLng(connection->OpenRecordSet("SELECT COUNT(*) FROM t", 0)->Item(0)), 1000);
  EXPECT_FALSE(connection->IsLost());
  EXPECT_NE(ErrorOf([&] { (void)connection->OpenRecordSet("SELECT a FROM t", 0); }).Number(), 0);
  EXPECT_TRUE(connection->IsLost());
  EXPECT_FALSE(connection->IsStuck());
}

}  // namespace
}  // namespace ods
