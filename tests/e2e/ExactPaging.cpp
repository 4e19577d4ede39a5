// Exact paging as a client meets it: positions, equal rows, nulls, totals and errors. That no row is lost or doubled is
// walked through with random tables elsewhere.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "common/Text.h"
#include "e2e/ServerProcess.h"
#include "e2e/StandIn.h"

namespace ods::test {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;
using Texts = std::vector<std::string>;

std::string Fields(const Texts& names) {
  std::string text = "<Fields>";
  for (const std::string& name : names) text.append("<Field><Id>").append(name).append("</Id></Field>");
  return text + "</Fields>";
}

std::string Sort(const std::string& field, const std::string& direction = "asc") {
  return "<Column><Id>" + field + "</Id><Direction>" + direction + "</Direction></Column>";
}

/// The values of a field in a page, "null" for null.
Texts Column(const XmlDocument& page, const std::string& field) {
  Texts texts;
  for (const XmlNode& value : page.SelectNodes(("/XML/Records/R/V[@Id='" + field + "']").c_str())) {
    texts.push_back(value.Raw().child("Null") ? "null" : value.Text());
  }
  return texts;
}

/// A server with exact paging on an SQLite file.
class ExactPaging : public ::testing::Test {
 protected:
  void Start(const std::string& script, const std::vector<std::string>& arguments = {"/exact"}) {
    file_.Run(script);
    file_.Folders().Configure("Driver=SQLite3;Database=" + file_.Folders().Root() + "/product.db");
    server_ = std::make_unique<ServerProcess>(file_.Folders(), arguments);
    client_ = std::make_unique<QueueClient>(file_.Folders());
  }
  void TearDown() override {
    if (server_) {
      EXPECT_EQ(server_->Stop(), 0);
    }
  }
  /// A page that starts at the positions of the last one, which must be no error.
  XmlDocument Page(const std::string& navigate, const std::string& elements) {
    XmlDocument page = Ask(navigate, elements);
    EXPECT_EQ(GetNodeText(page, "/XML/Message"), "");
    first_ = GetNodeText(page, "/XML/FirstPosition");
    last_ = GetNodeText(page, "/XML/LastPosition");
    return page;
  }
  [[nodiscard]] std::string RequestFor(const std::string& navigate, const std::string& elements) const {
    return Request("TableData", "<Navigate>" + navigate + "</Navigate><FirstPos>" + first_ + "</FirstPos><LastPos>" +
                                    last_ + "</LastPos>" + elements);
  }
  XmlDocument Ask(const std::string& navigate, const std::string& elements) {
    return client_->AskDocument(RequestFor(navigate, elements));
  }
  std::string ErrorOf(const std::string& navigate, const std::string& elements) {
    return GetNodeText(Ask(navigate, elements), "/XML/Message");
  }
  /// Of what the schema refuses.
  std::string ErrorOfMalformed(const std::string& navigate, const std::string& elements) {
    return GetNodeText(client_->AskDocument(Malformed(RequestFor(navigate, elements))), "/XML/Message");
  }

  StandIn file_{"none"};
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
  std::string first_;
  std::string last_;
};

const std::string kTowns =
    "CREATE TABLE town (no INTEGER NOT NULL PRIMARY KEY, name TEXT, size INTEGER);"
    "INSERT INTO town VALUES (1,'Oslo',3),(2,NULL,1),(3,'Bergen',2),(4,'Oslo',NULL),(5,NULL,NULL),(6,'Oslo',3);";

std::string Towns(int pageSize, const std::string& more) {
  return "<TableId>[TABLE]town</TableId><PageSize>" + std::to_string(pageSize) + "</PageSize>" +
         Fields({"no", "name", "size"}) + more;
}

TEST_F(ExactPaging, SortsBySeveralColumnsEachInItsDirection) {
  Start(kTowns);
  const std::string sorted = Towns(4, "<Sort>" + Sort("name", "desc") + Sort("size") + "</Sort>");
  const XmlDocument first = Page("gotofirst", sorted);
  // SQLite's nulls are the smallest.
  EXPECT_THAT(Column(first, "no"), ElementsAre("4", "1", "6", "3"));
  EXPECT_EQ(GetNodeText(first, "/XML/HasNextPage"), "1");
  const XmlDocument next = Page("gotonext", sorted);
  EXPECT_THAT(Column(next, "no"), ElementsAre("5", "2"));
  EXPECT_THAT(Column(next, "name"), ElementsAre("null", "null"));
  EXPECT_EQ(GetNodeText(next, "/XML/HasNextPage"), "0");
  EXPECT_THAT(Column(Page("gotoprev", sorted), "no"), ElementsAre("4", "1", "6", "3"));
  EXPECT_THAT(Column(Page("gotolast", sorted), "no"), ElementsAre("6", "3", "5", "2"));
  EXPECT_THAT(Column(Page("", sorted), "no"), ElementsAre("6", "3", "5", "2"));
}

TEST_F(ExactPaging, TakesASingleSortColumnAsWithoutIt) {
  Start(kTowns);
  const std::string sorted = Towns(6, "<SortColumn>size</SortColumn><SortDirection>desc</SortDirection>");
  EXPECT_THAT(Column(Page("gotofirst", sorted), "no"), ElementsAre("6", "1", "3", "2", "5", "4"));
}

TEST_F(ExactPaging, CountsTheRowsThatFilterAndSearchLeave) {
  Start(kTowns);
  EXPECT_EQ(GetNodeText(Page("gotofirst", Towns(1, "")), "/XML/Total"), "");
  EXPECT_EQ(GetNodeText(Page("gotofirst", Towns(1, "<Count>1</Count>")), "/XML/Total"), "6");
  const std::string oslo =
      "<Count>1</Count><Filter><Condition><FieldId>name</FieldId><FilterOp>eq</FilterOp><Filter>Oslo</Filter>"
      "</Condition></Filter>";
  EXPECT_EQ(GetNodeText(Page("gotofirst", Towns(1, oslo)), "/XML/Total"), "3");
  const std::string searched =
      "<Count>1</Count><SearchString>berg</SearchString><SearchFields><Field><Id>name</Id>"
      "<SearchString>%{0}%</SearchString></Field></SearchFields>";
  EXPECT_EQ(GetNodeText(Page("gotofirst", Towns(1, searched)), "/XML/Total"), "1");
}

TEST_F(ExactPaging, GoesOnFromARowThatWasDeletedOrChanged) {
  Start(kTowns);
  Page("gotofirst", Towns(3, ""));
  file_.Run("DELETE FROM town WHERE no = 3");
  EXPECT_THAT(Column(Page("gotonext", Towns(2, "")), "no"), ElementsAre("4", "5"));
  file_.Run("UPDATE town SET no = 40 WHERE no = 4");
  EXPECT_THAT(Column(Page("gotoprev", Towns(2, "")), "no"), ElementsAre("1", "2"));
}

/// A view without a key, whose rows are equal in everything: seven of one kind and two of another.
const std::string kTwins =
    "CREATE TABLE twin (n INTEGER, t TEXT);"
    "INSERT INTO twin VALUES (1,'a'),(1,'a'),(1,'a'),(1,'a'),(1,'a'),(1,'a'),(1,'a'),(2,NULL),(2,NULL);"
    "CREATE VIEW twins AS SELECT n, t FROM twin;";

std::string Twins(int pageSize) {
  return "<TableId>[TABLE]twins</TableId><PageSize>" + std::to_string(pageSize) + "</PageSize>" + Fields({"n", "t"});
}

TEST_F(ExactPaging, StepsOverEqualRowsForwardsAndBackwards) {
  Start(kTwins);
  EXPECT_THAT(Column(Page("gotofirst", Twins(2)), "n"), ElementsAre("1", "1"));
  EXPECT_THAT(Column(Page("gotonext", Twins(2)), "n"), ElementsAre("1", "1"));
  EXPECT_THAT(Column(Page("gotonext", Twins(4)), "n"), ElementsAre("1", "1", "1", "2"));
  EXPECT_THAT(Column(Page("gotonext", Twins(4)), "n"), ElementsAre("2"));
  // Back again over the same rows.
  EXPECT_THAT(Column(Page("gotoprev", Twins(4)), "n"), ElementsAre("1", "1", "1", "2"));
  EXPECT_THAT(Column(Page("gotoprev", Twins(3)), "n"), ElementsAre("1", "1", "1"));
  const XmlDocument start = Page("gotoprev", Twins(3));
  EXPECT_THAT(Column(start, "n"), ElementsAre("1"));
  EXPECT_EQ(GetNodeText(start, "/XML/HasPreviousPage"), "0");
}

TEST_F(ExactPaging, TurnsRoundWithinEqualRowsFromTheEnd) {
  Start(kTwins);
  EXPECT_THAT(Column(Page("gotolast", Twins(3)), "n"), ElementsAre("1", "2", "2"));
  EXPECT_THAT(Column(Page("gotoprev", Twins(2)), "n"), ElementsAre("1", "1"));
  // Behind these two are one of the first kind and the two others.
  const XmlDocument rest = Page("gotonext", Twins(9));
  EXPECT_THAT(Column(rest, "n"), ElementsAre("1", "2", "2"));
  EXPECT_EQ(GetNodeText(rest, "/XML/HasNextPage"), "0");
  EXPECT_THAT(Column(Page("", Twins(9)), "n"), ElementsAre("1", "2", "2"));
  EXPECT_THAT(Column(Page("gotoprev", Twins(9)), "n"), ElementsAre("1", "1", "1", "1", "1", "1"));
}

TEST_F(ExactPaging, KnowsHowManyEqualRowsWereGivenBeyondAThousand) {
  Start(
      "CREATE TABLE many (n INTEGER); CREATE VIEW more AS SELECT n FROM many;"
      "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x+1 FROM c WHERE x<2500) INSERT INTO many SELECT 7 FROM c;"
      "INSERT INTO many VALUES (8);");
  const auto more = [](int pageSize) {
    return "<TableId>[TABLE]more</TableId><PageSize>" + std::to_string(pageSize) + "</PageSize>" + Fields({"n"});
  };
  EXPECT_EQ(Column(Page("gotofirst", more(1200)), "n").size(), 1200U);
  EXPECT_EQ(Column(Page("gotonext", more(1200)), "n").size(), 1200U);
  const Texts rest = Column(Page("gotonext", more(1200)), "n");
  EXPECT_EQ(rest.size(), 101U);
  EXPECT_EQ(rest.back(), "8");
  EXPECT_EQ(Column(Page("gotoprev", more(5000)), "n").size(), 2400U);
}

TEST_F(ExactPaging, ReadsTheWholeOfNoTableForAnInventedCount) {
  Start(kTwins);
  Page("gotofirst", Twins(1));
  // "f,1," becomes "f,4000000000,": more equal rows than there are come before the page.
  last_ = ReplaceAll(last_, "2C662C312C", "2C662C343030303030303030302C");
  EXPECT_THAT(Column(Page("gotonext", Twins(5)), "n"), ElementsAre("2", "2"));
}

TEST_F(ExactPaging, SaysWhenTheLastOrFirstPageComesAgain) {
  Start(kTowns);
  EXPECT_EQ(GetNodeText(Page("gotofirst", Towns(4, "")), "/XML/Navigated"), "gotofirst");
  EXPECT_EQ(GetNodeText(Page("gotonext", Towns(4, "")), "/XML/Navigated"), "gotonext");
  EXPECT_EQ(GetNodeText(Page("", Towns(4, "")), "/XML/Navigated"), "");
  const XmlDocument again = Page("gotonext", Towns(4, ""));
  EXPECT_EQ(GetNodeText(again, "/XML/Navigated"), "gotolast");
  EXPECT_THAT(Column(again, "no"), ElementsAre("3", "4", "5", "6"));
  Page("gotofirst", Towns(4, ""));
  EXPECT_EQ(GetNodeText(Page("gotoprev", Towns(4, "")), "/XML/Navigated"), "gotofirst");
  EXPECT_EQ(GetNodeText(client_->AskDocument(Malformed(RequestFor("sideways", Towns(4, "")))), "/XML/Navigated"),
            "gotofirst");
}

TEST_F(ExactPaging, SaysWhenAPositionIsOfSomethingElse) {
  Start(kTowns + kTwins);
  Page("gotofirst", Towns(1, ""));
  const std::string own = last_;
  EXPECT_THAT(ErrorOf("gotonext", Twins(1)), StartsWith("Type mismatch: the position is one of another table."));
  EXPECT_THAT(ErrorOf("gotonext", Towns(1, "<Sort>" + Sort("name") + "</Sort>")),
              StartsWith("Type mismatch: the position is one of another order: sort columns and keys stay the same "
                         "from page to page."));
  last_ = "0102000000";
  EXPECT_THAT(ErrorOfMalformed("gotonext", Towns(1, "")),
              StartsWith("Type mismatch: the position was not made with exact paging, which this server uses."));
  last_ = own.substr(0, own.size() - 2);
  EXPECT_THAT(ErrorOf("gotonext", Towns(1, "")), StartsWith("Type mismatch: the position is damaged."));
}

TEST_F(ExactPaging, IsNotWhatAServerWithoutItGoesOnFrom) {
  Start(kTowns, {});
  last_ = "exact-31";
  EXPECT_THAT(ErrorOfMalformed("gotonext", Towns(1, "")),
              StartsWith("Type mismatch: the position was made with exact paging, which this server does not use."));
}

TEST_F(ExactPaging, SaysWhatIsWrongWithASort) {
  Start(kTowns);
  EXPECT_THAT(ErrorOfMalformed("gotofirst", Towns(1, "<Sort>" + Sort("name", "down") + "</Sort>")),
              StartsWith("The direction 'down' of the sort column 'name' is neither 'asc' nor 'desc'."));
  EXPECT_THAT(ErrorOf("gotofirst", Towns(1, "<Sort>" + Sort("nope") + "</Sort>")),
              StartsWith("Unable to get information about field 'nope' in table '[TABLE]town'."));
}

TEST_F(ExactPaging, GivesWhatXmlCannotCarryAsHexadecimalDigits) {
  Start(
      "CREATE TABLE odd (id INTEGER PRIMARY KEY, t TEXT, b BLOB);"
      "INSERT INTO odd VALUES (1, 'a'||char(1)||'é', X'0AFF'), (2, 'a'||char(0)||'b', X''), (3, X'FF00', 'text'),"
      "                       (4, char(2), NULL);");
  const XmlDocument page =
      Page("gotofirst", "<TableId>[TABLE]odd</TableId><PageSize>9</PageSize>" + Fields({"id", "t", "b"}));
  EXPECT_THAT(Column(page, "t"), ElementsAre("6101C3A9", "610062", "FF00", "02"));
  EXPECT_THAT(Column(page, "b"), ElementsAre("0AFF", "", "text", "null"));
  Texts encodings;
  for (const XmlNode& value : page.SelectNodes("/XML/Records/R/V[@Id='t']")) {
    encodings.push_back(value.Attribute("Encoding"));
  }
  EXPECT_THAT(encodings, ElementsAre("hex", "hex", "hex", "hex"));
  EXPECT_EQ(page.SelectSingleNode("/XML/Records/R/V[@Id='b']").Attribute("Encoding"), "");
}

TEST_F(ExactPaging, APageOfNoRowsTellsWhetherThereAreAny) {
  Start(kTowns + "CREATE TABLE empty (id INTEGER PRIMARY KEY);");
  EXPECT_EQ(GetNodeText(Page("gotofirst", Towns(0, "")), "/XML/HasNextPage"), "1");
  const XmlDocument page = Page("gotofirst", "<TableId>[TABLE]empty</TableId><PageSize>0</PageSize>" + Fields({"id"}));
  EXPECT_EQ(GetNodeText(page, "/XML/HasNextPage"), "0");
  EXPECT_EQ(GetNodeText(page, "/XML/FirstPosition"), "");
}

TEST_F(ExactPaging, AnyServerOfTheDatabaseGivesTheNextPage) {
  Start(kTwins);
  Page("gotofirst", Twins(3));
  EXPECT_EQ(server_->Stop(), 0);
  server_ = std::make_unique<ServerProcess>(file_.Folders(), std::vector<std::string>{"/exact"});
  EXPECT_THAT(Column(Page("gotonext", Twins(5)), "n"), ElementsAre("1", "1", "1", "1", "2"));
}

TEST_F(ExactPaging, TakesTheFieldsOfTheOrderIntoThePage) {
  Start(kTowns);
  const XmlDocument page = Page("gotofirst", "<TableId>[TABLE]town</TableId><PageSize>1</PageSize>" + Fields({"name"}) +
                                                 "<Sort>" + Sort("size") + "</Sort>");
  Texts columns;
  for (const XmlNode& column : page.SelectNodes("/XML/Columns/Column/Id")) columns.push_back(column.Text());
  EXPECT_THAT(columns, ElementsAre("name", "size", "no"));
}

}  // namespace
}  // namespace ods::test
