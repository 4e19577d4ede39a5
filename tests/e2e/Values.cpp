// Values that drivers are known to give wrong, or to call by names of their own, as a client gets them.
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "common/Conversions.h"
#include "common/Text.h"
#include "e2e/Sample.h"
#include "e2e/ServerProcess.h"
#include "e2e/StandIn.h"
#include "platform/ado/Ado.h"

namespace ods::test {
namespace {

using Texts = std::vector<std::string>;

/// The values of a field in a page, "null" for null.
Texts Column(const XmlDocument& page, const std::string& field) {
  Texts texts;
  for (const XmlNode& value : page.SelectNodes(("/XML/Records/R/V[@Id='" + field + "']").c_str())) {
    texts.push_back(value.Raw().child("Null") ? "null" : value.Text());
  }
  return texts;
}

std::string Positions(const XmlDocument& page) {
  return "<FirstPos>" + GetNodeText(page, "/XML/FirstPosition") + "</FirstPos><LastPos>" +
         GetNodeText(page, "/XML/LastPosition") + "</LastPos>";
}

/// A sample database and its text of all the digits of the column `weight`.
struct SinglesCase {
  SampleDatabase database;
  std::string text;
};

class Singles : public ::testing::TestWithParam<SinglesCase> {};

TEST_P(Singles, ComeAsTheDatabaseHasThemInPagesOfTen) {
  const auto connectionString = ConnectionStringOf(GetParam().database);
  if (!connectionString) GTEST_SKIP() << GetParam().database.variable << " is not set";
  ServerFolders folders;
  folders.Configure(*connectionString);
  const auto direct = CreateOdbcConnection();
  direct->Open(*connectionString);
  Texts numbers;
  Texts weights;
  for (const auto rows = direct->OpenRecordSet("SELECT no, " + GetParam().text + " FROM item ORDER BY no", 0);
       !rows->AtEnd(); rows->MoveNext()) {
    numbers.push_back(SafeStr(rows->Item(0)));
    weights.push_back(rows->Item(1).IsNull() ? "null" : SafeStr(rows->Item(1)));
  }
  ASSERT_GT(numbers.size(), 200U);

  ServerProcess server(folders);
  QueueClient client(folders);
  std::size_t read = 0;
  std::string from;
  for (bool more = true; more && !HasFailure();) {
    const XmlDocument page = client.AskDocument(
        Request("TableData", "<TableId>[TABLE]item</TableId><PageSize>10</PageSize>" + from +
                                 "<Fields><Field><Id>no</Id></Field><Field><Id>weight</Id></Field></Fields>"));
    ASSERT_EQ(GetNodeText(page, "/XML/Message"), "");
    const Texts pageNumbers = Column(page, "no");
    const Texts pageWeights = Column(page, "weight");
    ASSERT_EQ(pageWeights.size(), pageNumbers.size());
    for (std::size_t i = 0; i < pageNumbers.size(); ++i, ++read) {
      ASSERT_LT(read, numbers.size());
      EXPECT_EQ(pageNumbers[i], numbers[read]);
      if (pageWeights[i] == "null" || weights[read] == "null") {
        EXPECT_EQ(pageWeights[i], weights[read]) << numbers[read];
      } else {
        EXPECT_EQ(std::strtod(pageWeights[i].c_str(), nullptr), std::strtod(weights[read].c_str(), nullptr))
            << numbers[read] << ": " << pageWeights[i];
      }
    }
    more = GetNodeText(page, "/XML/HasNextPage") == "1";
    from = "<Navigate>gotonext</Navigate>" + Positions(page);
  }
  EXPECT_EQ(read, numbers.size());
  EXPECT_EQ(server.Stop(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Sample, Singles,
    ::testing::Values(SinglesCase{kSqlite, "CASE WHEN weight IS NULL THEN NULL ELSE printf('%.15g', weight) END"},
                      SinglesCase{kPostgreSql, "CAST(CAST(weight AS double precision) AS varchar(40))"},
                      SinglesCase{kMariaDb, "CAST(CAST(weight AS DOUBLE) AS CHAR)"}),
    [](const auto& singles) { return singles.param.database.name; });

class SqlServerTypes : public ::testing::Test {
 protected:
  SqlServerTypes() : standIn_("Microsoft SQL Server", ";DefaultDatabase=sales") {
    standIn_.Run(R"(
        CREATE TABLE "dbo.Shift" ("No" int NOT NULL, "Starts" time, "Seen" datetimeoffset, "Doc" xml, "Any" sql_variant,
                                  PRIMARY KEY ("No"));
        INSERT INTO "dbo.Shift" VALUES
          (1, '22:30:00.0000000', '2024-01-31 00:30:00.1234567 +01:00', '<a b="☃"/>', 'text'),
          (2, NULL, NULL, NULL, NULL),
          (3, '06:00:00.5000000', '2024-02-29 23:45:00.0000000 -00:30', '<c>&amp;</c>', 12.5);)");
    standIn_.Connect();
    server_ = std::make_unique<ServerProcess>(standIn_.Folders());
    client_ = std::make_unique<QueueClient>(standIn_.Folders());
  }
  void TearDown() override { EXPECT_EQ(server_->Stop(), 0); }
  XmlDocument Ask(const std::string& elements) {
    return client_->AskDocument(
        Request("TableData", "<TableId>[TABLE][dbo].[Shift]</TableId>" + elements +
                                 "<Fields><Field><Id>No</Id></Field><Field><Id>Starts</Id></Field>"
                                 "<Field><Id>Seen</Id></Field><Field><Id>Doc</Id></Field>"
                                 "<Field><Id>Any</Id></Field></Fields>"));
  }

  StandIn standIn_;
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
};

TEST_F(SqlServerTypes, ComeInAPageThatNamesThem) {
  const XmlDocument page = Ask("<PageSize>10</PageSize>");
  ASSERT_EQ(GetNodeText(page, "/XML/Message"), "");
  Texts types;
  for (const XmlNode& type : page.SelectNodes("/XML/Columns/Column/DataType")) types.push_back(type.Text());
  EXPECT_EQ(types, (Texts{"3", "134", "135", "203", "12"}));
  EXPECT_EQ(Column(page, "Starts"), (Texts{"22:30:00", "null", "06:00:00"}));
  EXPECT_EQ(Column(page, "Seen"), (Texts{"2024-01-30 23:30:00", "null", "2024-03-01 00:15:00"}));
  EXPECT_EQ(Column(page, "Doc"), (Texts{"<a b=\"☃\"/>", "null", "<c>&amp;</c>"}));
  EXPECT_EQ(Column(page, "Any"), (Texts{"text", "null", "12.5"}));
}

TEST_F(SqlServerTypes, AreComparedAsTheirLiteralsSay) {
  const XmlDocument first =
      Ask("<PageSize>1</PageSize><SortColumn>Seen</SortColumn><SortDirection>desc</SortDirection>");
  ASSERT_EQ(GetNodeText(first, "/XML/Message"), "");
  EXPECT_EQ(Column(first, "No"), Texts{"3"});
  (void)standIn_.NewStatements();
  const XmlDocument second =
      Ask("<PageSize>1</PageSize><SortColumn>Seen</SortColumn><SortDirection>desc</SortDirection>"
          "<Navigate>gotonext</Navigate>" +
          Positions(first));
  ASSERT_EQ(GetNodeText(second, "/XML/Message"), "");
  EXPECT_NE(standIn_.NewStatements().find("[Seen]<{ts '2024-03-01 00:15:00'}"), std::string::npos);
  (void)Ask("<PageSize>2</PageSize><SortColumn>Starts</SortColumn><Navigate>gotonext</Navigate>" +
            Positions(Ask("<PageSize>2</PageSize><SortColumn>Starts</SortColumn>")));
  EXPECT_NE(standIn_.NewStatements().find("[Starts]>{t '06:00:00'}"), std::string::npos);
}

TEST_F(SqlServerTypes, AVariantCanBeReadButNotCompared) {
  const XmlDocument answer = Ask("<PageSize>1</PageSize><SortColumn>Any</SortColumn>");
  EXPECT_NE(GetNodeText(answer, "/XML/Message").find("The data type 12 is not in the type table."), std::string::npos)
      << answer.Xml();
}

}  // namespace
}  // namespace ods::test
