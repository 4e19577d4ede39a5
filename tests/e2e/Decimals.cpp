// Decimals of Navision, from a driver that hands them out as they are and from one that hands them out multiplied by
// 100,000: a client sees, sorts by, filters by and searches for the same numbers, and pages through the same rows.
#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "common/Text.h"
#include "e2e/ServerProcess.h"
#include "e2e/StandIn.h"

namespace ods::test {
namespace {

using Texts = std::vector<std::string>;

/// Items by price, those of one price by number. None of the prices is a whole number of cents.
constexpr const char* kItems = R"(
    CREATE TABLE "Integer" ("Number" int NOT NULL, PRIMARY KEY ("Number"));
    INSERT INTO "Integer" VALUES (1);
    CREATE TABLE "Item" ("No_" varchar(20) NOT NULL, "Price" decimal(18,5) NOT NULL, PRIMARY KEY ("No_"));
    INSERT INTO "Item" VALUES ('E', 12.5), ('B', 2.50005), ('G', 99999.99), ('A', -1250), ('D', 2.50005), ('C', 0.00001),
                              ('F', 12.5), ('I', 1250000), ('H', 0.07);
    CREATE TABLE "Rate" ("Rate" decimal(18,5) NOT NULL, "Name" varchar(20) NOT NULL, PRIMARY KEY ("Rate"));
    INSERT INTO "Rate" VALUES (0.07, 'low'), (0.25, 'high'), (12.5, 'odd'), (-0.00001, 'least'), (25, 'most');)";

const Texts kByPrice = {"A", "C", "H", "B", "D", "E", "F", "G", "I"};

class Decimals : public ::testing::TestWithParam<bool> {
 protected:
  Decimals()
      : standIn_("Navision", GetParam() ? ";DefaultDatabase=company;ScaleDecimals=1" : ";DefaultDatabase=company") {
    standIn_.Run(kItems);
    standIn_.Connect();
    Start();
    client_ = std::make_unique<QueueClient>(standIn_.Folders());
  }
  void TearDown() override { EXPECT_EQ(server_->Stop(), 0); }

  void Start() { server_ = std::make_unique<ServerProcess>(standIn_.Folders()); }
  XmlDocument Ask(const std::string& table, const std::string& elements) {
    XmlDocument page = client_->AskDocument(
        Request("TableData", "<TableId>[TABLE]" + table + "</TableId>" + elements + "<Fields><Field><Id>" + Key(table) +
                                 "</Id></Field><Field><Id>" + Decimal(table) + "</Id></Field></Fields>"));
    EXPECT_EQ(GetNodeText(page, "/XML/Message"), "");
    return page;
  }
  static std::string Key(const std::string& table) { return table == "Item" ? "No_" : "Name"; }
  static std::string Decimal(const std::string& table) { return table == "Item" ? "Price" : "Rate"; }
  static Texts Column(const XmlDocument& page, const std::string& field) {
    Texts texts;
    for (const XmlNode& value : page.SelectNodes(("/XML/Records/R/V[@Id='" + field + "']").c_str())) {
      texts.push_back(value.Text());
    }
    return texts;
  }
  static std::string From(const XmlDocument& page, const std::string& navigate) {
    return "<Navigate>" + navigate + "</Navigate><FirstPos>" + GetNodeText(page, "/XML/FirstPosition") +
           "</FirstPos><LastPos>" + GetNodeText(page, "/XML/LastPosition") + "</LastPos>";
  }

  /// Walks in pages of two rows from one end to the other and back again, reading every page twice.
  void Walk(const std::string& table, const std::string& elements, const Texts& expected) {
    const std::string begin = "<PageSize>2</PageSize>" + elements;
    const auto append = [&](Texts& rows, const XmlDocument& page) {
      const Texts fresh = Column(page, Key(table));
      EXPECT_EQ(Column(Ask(table, begin + From(page, "")), Key(table)), fresh) << "the same page again";
      rows.insert(rows.end(), fresh.begin(), fresh.end());
      return rows.size() <= expected.size();
    };
    Texts rows;
    XmlDocument page = Ask(table, begin + "<Navigate>gotofirst</Navigate>");
    while (append(rows, page) && GetNodeText(page, "/XML/HasNextPage") == "1") {
      page = Ask(table, begin + From(page, "gotonext"));
    }
    EXPECT_EQ(rows, expected) << "forwards";
    rows.clear();
    page = Ask(table, begin + "<Navigate>gotolast</Navigate>");
    for (bool more = true; more;) {
      Texts before = Column(page, Key(table));
      before.insert(before.end(), rows.begin(), rows.end());
      rows = before;
      more = rows.size() <= expected.size() && GetNodeText(page, "/XML/HasPreviousPage") == "1";
      if (more) page = Ask(table, begin + From(page, "gotoprev"));
    }
    EXPECT_EQ(rows, expected) << "backwards";
  }

  StandIn standIn_;
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
};

constexpr const char* kSorted = "<SortColumn>Price</SortColumn>";
constexpr const char* kSortedDown = "<SortColumn>Price</SortColumn><SortDirection>desc</SortDirection>";

std::string Where(const std::string& op, const std::string& value) {
  return "<Filter><Condition><FieldId>Price</FieldId><FilterOp>" + op + "</FilterOp><Filter>" + value +
         "</Filter></Condition></Filter>";
}

TEST_P(Decimals, AreShownAsTheyAreKept) {
  const Texts exact = {"-1250.00000", "2.50005",     "0.00001", "2.50005",      "12.50000",
                       "12.50000",    "99999.99000", "0.07000", "1250000.00000"};
  const Texts divided = {"-1250", "2.50005", "1E-05", "2.50005", "12.5", "12.5", "99999.99", "0.07", "1250000"};
  EXPECT_EQ(Column(Ask("Item", "<PageSize>9</PageSize>"), "Price"), GetParam() ? divided : exact);
}

TEST_P(Decimals, AreSortedByPageByPageInBothDirections) {
  Walk("Item", kSorted, kByPrice);
  Walk("Item", kSortedDown, Texts(kByPrice.rbegin(), kByPrice.rend()));
}

TEST_P(Decimals, AreFilteredByAndSortedByPageByPage) {
  Walk("Item", Where("gteq", "2.50005") + kSorted, {"B", "D", "E", "F", "G", "I"});
  Walk("Item", Where("lt", "12.5") + kSortedDown, {"D", "B", "H", "C", "A"});
  Walk("Item", Where("eq", "12.5"), {"E", "F"});
  Walk("Item", Where("not", "0.00001") + kSorted, {"A", "H", "B", "D", "E", "F", "G", "I"});
}

TEST_P(Decimals, AreSearchedFor) {
  const std::string fields =
      "<SearchFields><Field><Id>Price</Id><SearchString>{0}</SearchString></Field></SearchFields>";
  Walk("Item", "<SearchString>2.50005</SearchString>" + fields + kSorted, {"B", "D"});
  Walk("Item", "<SearchString>12.5</SearchString>" + fields + kSortedDown, {"F", "E"});
}

TEST_P(Decimals, MayBeThePrimaryKey) {
  Walk("Rate", "", {"least", "low", "high", "odd", "most"});
  Walk("Rate", "<SortColumn>Rate</SortColumn><SortDirection>desc</SortDirection>",
       {"most", "odd", "high", "low", "least"});
}

TEST_P(Decimals, OfAPositionAreUnderstoodByAServerThatHasJustStarted) {
  const std::string begin = std::string("<PageSize>2</PageSize>") + kSorted;
  const XmlDocument first = Ask("Item", begin);
  EXPECT_EQ(server_->Stop(), 0);
  Start();
  const XmlDocument second = Ask("Item", begin + From(first, "gotonext"));
  EXPECT_EQ(Column(second, "No_"), (Texts{"H", "B"}));
}

INSTANTIATE_TEST_SUITE_P(Driver, Decimals, ::testing::Bool(),
                         [](const auto& instance) { return instance.param ? "ThatScales" : "ThatDoesNot"; });

}  // namespace
}  // namespace ods::test
