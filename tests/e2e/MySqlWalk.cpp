// The statements for MySQL on a real server of its kin: MariaDB under the name of MySQL.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <set>

#include "common/Text.h"
#include "e2e/Sample.h"
#include "e2e/ServerProcess.h"

namespace ods::test {
namespace {

/// Where MariaDB's driver is; nothing when it is not installed.
std::optional<std::string> MariaDbDriver() {
  for (const char* folder : {"/usr/lib/x86_64-linux-gnu/odbc/", "/usr/lib/aarch64-linux-gnu/odbc/", "/usr/lib/odbc/"}) {
    const std::string path = std::string(folder) + "libmaodbc.so";
    if (std::filesystem::exists(path)) return path;
  }
  return std::nullopt;
}

class MySqlWalk : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto connectionString = ConnectionStringOf(kMariaDb);
    const auto driver = MariaDbDriver();
    if (!connectionString || !driver)
      GTEST_SKIP() << kMariaDb.variable << " is not set, or MariaDB's driver is missing";
    setenv("ODS_PASSTHROUGH_DRIVER", driver->c_str(), 1);
    folders_.Configure(
        ReplaceAll(*connectionString, "Driver=MariaDB Unicode", std::string("Driver=") + ODS_PASSTHROUGH));
    std::filesystem::copy(ODS_SAMPLES_FOLDER "/views.xml", folders_.Config() + "/views.xml");
    std::filesystem::copy(ODS_SAMPLES_FOLDER "/views", folders_.Config() + "/views");
    server_ = std::make_unique<ServerProcess>(folders_);
    client_ = std::make_unique<QueueClient>(folders_);
  }
  void TearDown() override {
    if (!server_) return;
    EXPECT_EQ(server_->Stop(), 0);
  }

  /// The keys of all pages, from the first to the last, of seven rows each.
  std::vector<std::string> Walk(const std::string& table, const std::string& key, const std::string& elements) {
    std::vector<std::string> keys;
    const std::string begin = "<TableId>" + table + "</TableId><PageSize>7</PageSize>" + elements;
    const std::string end = "<Fields><Field><Id>" + key + "</Id></Field></Fields>";
    const std::string cells = "/XML/Records/R/V[@Id='" + key + "']";
    std::string from = "<Navigate>gotofirst</Navigate>";
    for (bool more = true; more;) {
      std::string request = begin;
      request.append(from).append(end);
      const XmlDocument page = client_->AskDocument(Request("TableData", request));
      EXPECT_EQ(GetNodeText(page, "/XML/Message"), "");
      for (const XmlNode& value : page.SelectNodes(cells.c_str())) keys.push_back(value.Text());
      more = GetNodeText(page, "/XML/HasNextPage") == "1";
      from = "<Navigate>gotonext</Navigate><LastPos>" + GetNodeText(page, "/XML/LastPosition") + "</LastPos>";
    }
    return keys;
  }

  ServerFolders folders_;
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
};

TEST_F(MySqlWalk, PagesHaveALimitAndMeetEveryRowOnce) {
  const std::string filter =
      "<Filter><Condition><FieldId>no</FieldId><FilterOp>gt</FilterOp><Filter>6400</Filter></Condition></Filter>";
  const std::vector<std::string> ascending = Walk("[TABLE]customer", "no", filter);
  const std::vector<std::string> byName = Walk("[TABLE]customer", "no", filter + "<SortColumn>name</SortColumn>");
  EXPECT_GT(ascending.size(), 14U);
  EXPECT_TRUE(std::ranges::is_sorted(ascending, {}, [](const std::string& key) { return std::stoi(key); }));
  EXPECT_EQ(std::set<std::string>(ascending.begin(), ascending.end()).size(), ascending.size());
  EXPECT_NE(byName, ascending);
  EXPECT_EQ(std::multiset<std::string>(byName.begin(), byName.end()),
            std::multiset<std::string>(ascending.begin(), ascending.end()));
  const std::string log = folders_.LogText();
  EXPECT_NE(log.find("Property: DBMS Name=MySQL"), std::string::npos);
  EXPECT_NE(log.find("ORDER BY `name`, `no` LIMIT 8"), std::string::npos);
}

TEST_F(MySqlWalk, ViewsOfBothModesHaveALimit) {
  const std::string derived =
      "<PrimaryKey>order_no</PrimaryKey><Filter><Condition><FieldId>order_no</FieldId>"
      "<FilterOp>gteq</FilterOp><Filter>109000</Filter></Condition></Filter>";
  const std::string macro =
      "<PrimaryKey>order_no</PrimaryKey><Filter><Condition><FieldId>name</FieldId>"
      "<FilterOp>like</FilterOp><Filter>%Ann%</Filter></Condition></Filter>";
  EXPECT_GT(Walk("[APPVIEW]order_totals", "order_no", derived).size(), 7U);
  EXPECT_GT(Walk("[APPVIEW]open_orders", "order_no", macro).size(), 7U);
}

TEST_F(MySqlWalk, ABackslashIsACharacterLikeAnyOther) {
  const XmlDocument page = client_->AskDocument(
      Request("TableData",
              "<TableId>[TABLE]customer</TableId><PageSize>7</PageSize><Filter><Condition><FieldId>name"
              "</FieldId><FilterOp>eq</FilterOp><Filter>\\' OR 1=1 -- \\</Filter></Condition></Filter>"
              "<Fields><Field><Id>no</Id></Field></Fields>"));
  EXPECT_EQ(GetNodeText(page, "/XML/Message"), "");
  EXPECT_EQ(page.SelectNodes("/XML/Records/R").size(), 0U);
}

}  // namespace
}  // namespace ods::test
