// Exact paging on the products that the stand-in driver plays: it refuses what a product would refuse, so each walk
// tells that the statements are ones for the product.
#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "common/Text.h"
#include "e2e/ExactPages.h"
#include "e2e/ServerProcess.h"
#include "e2e/StandIn.h"
#include "platform/system/ReadFile.h"

namespace ods::test {
namespace {

using Texts = std::vector<std::string>;

struct ExactProductCase {
  std::string folder;    ///< under products/, where its data is
  std::string name;      ///< the DBMS name
  std::string settings;  ///< more of the connection string
  std::string table;     ///< table identifier
  std::string source;    ///< its name in the file
  std::string key;       ///< the caption of its primary key; "" where the driver tells none
};

std::string Element(const std::string& name, const std::string& text) {
  return "<" + name + ">" + EscapeXml(text) + "</" + name + ">";
}

class ExactProducts : public ::testing::TestWithParam<ExactProductCase> {
 protected:
  ExactProducts() : standIn_(GetParam().name, GetParam().settings) {
    const std::string folder = std::string(ODS_PRODUCTS_FOLDER) + "/" + GetParam().folder;
    standIn_.Run(ReadFileText(folder + "/data.sql"));
    standIn_.Connect();
    server_ = std::make_unique<ServerProcess>(standIn_.Folders(), Texts{"exact"});
    client_ = std::make_unique<QueueClient>(standIn_.Folders());
  }
  void TearDown() override { EXPECT_EQ(server_->Stop(), 0); }

  XmlDocument Ask(const std::string& type, const std::string& elements = "") {
    XmlDocument answer = client_->AskDocument(Request(type, elements));
    EXPECT_EQ(GetNodeText(answer, "/XML/Message"), "") << type << elements;
    return answer;
  }
  Texts FieldNames() {
    Texts names;
    const XmlDocument list = Ask("FieldList", Element("TableId", GetParam().table));
    for (const XmlNode& field : list.SelectNodes("/XML/Fields/Field")) {
      const std::string name = GetNodeText(field, "Id");
      // Its data plays a driver that hands out an empty text as another one, which the file does not take for empty.
      if (name != "Term") names.push_back(name);
    }
    return names;
  }
  XmlDocument Page(const Texts& fields, const std::string& elements) {
    std::string list;
    for (const std::string& field : fields) list += "<Field>" + Element("Id", field) + "</Field>";
    return Ask("TableData", Element("TableId", GetParam().table) + Element("PageSize", "2") + elements + "<Fields>" +
                                list + "</Fields>");
  }
  /// All rows in pages of two, from one end to the other.
  Texts Walk(const Texts& fields, const std::string& order, bool forwards) {
    constexpr std::size_t kMostRows = 50;
    Texts rows;
    XmlDocument page = Page(fields, order + Element("Navigate", forwards ? "gotofirst" : "gotolast"));
    while (!HasFailure()) {
      const Texts more = RowsOf(page);
      rows.insert(forwards ? rows.end() : rows.begin(), more.begin(), more.end());
      const char* const flag = forwards ? "/XML/HasNextPage" : "/XML/HasPreviousPage";
      if (GetNodeText(page, flag) != "1" || rows.size() > kMostRows) break;
      page = Page(fields, order + From(page, forwards ? "gotonext" : "gotoprev"));
    }
    return rows;
  }

  StandIn standIn_;
  std::unique_ptr<ServerProcess> server_;
  std::unique_ptr<QueueClient> client_;
};

TEST_P(ExactProducts, EachRowComesOnceInEveryOrder) {
  const auto count = static_cast<std::size_t>(standIn_.NumberOf("SELECT COUNT(*) FROM \"" + GetParam().source + "\""));
  const Texts fields = FieldNames();
  ASSERT_GT(fields.size(), 2U);
  Texts orders = {""};
  for (const std::string& field : fields) {
    orders.push_back(Element("SortColumn", field));
    orders.push_back(Element("SortColumn", field) + Element("SortDirection", "desc"));
  }
  Texts all;
  for (const std::string& order : orders) {
    SCOPED_TRACE(order);
    const Texts forwards = Walk(fields, order, true);
    if (HasFailure()) return;
    EXPECT_EQ(Walk(fields, order, false), forwards);
    Texts sorted = forwards;
    std::ranges::sort(sorted);
    if (all.empty()) {
      all = sorted;
      EXPECT_EQ(all.size(), count);
      EXPECT_EQ(std::ranges::adjacent_find(all), all.end());
    }
    EXPECT_EQ(sorted, all);
  }
}

TEST_P(ExactProducts, ARowIsFoundByEachOfItsValues) {
  const Texts fields = FieldNames();
  const XmlDocument page = Page(fields, "");
  const XmlNode record = page.SelectSingleNode("/XML/Records/R");
  for (const XmlNode& value : record.SelectNodes("V")) {
    const bool isNull = static_cast<bool>(value.Raw().child("Null"));
    const std::string field = value.Attribute("Id");
    const std::string condition = Element("FieldId", field) + Element("FilterOp", isNull ? "null" : "eq") +
                                  (isNull ? "" : Element("Value", value.Text()));
    const XmlDocument found = Page(fields, "<Filter><Condition>" + condition + "</Condition></Filter>");
    const Texts rows = RowsOf(found);
    EXPECT_NE(std::ranges::find(rows, RowsOf(page).front()), rows.end()) << condition;
  }
}

TEST_P(ExactProducts, AWildcardInAValueIsACharacter) {
  const auto names = [&](const std::string& operation, const std::string& text) {
    const std::string condition = Element("FieldId", "Name") + Element("FilterOp", operation) + Element("Value", text);
    const XmlDocument page = Page({"Name"}, "<Filter><Condition>" + condition + "</Condition></Filter>");
    Texts found;
    for (const XmlNode& value : page.SelectNodes("/XML/Records/R/V[@Id='Name']")) {
      found.emplace_back(Trim(value.Text()));
    }
    return found;
  };
  EXPECT_EQ(names("contains", "'B"), Texts{"O'Brien"});
  EXPECT_EQ(names("startswith", "An"), Texts{"Ann"});
  for (const char* text : {"%", "_", "[A]nn", "A%", "!", "]"}) EXPECT_EQ(names("contains", text), Texts{}) << text;
}

TEST_P(ExactProducts, TheTableIsListedWithItsKey) {
  const XmlDocument list = Ask("TableList");
  bool listed = false;
  for (const XmlNode& table : list.SelectNodes("/XML/Tables/Table")) {
    const std::string identifier = GetNodeText(table, "Id");
    listed = listed || identifier == GetParam().table;
    EXPECT_EQ(identifier.find("MSys"), std::string::npos);
  }
  EXPECT_TRUE(listed) << list.Xml();
  const XmlDocument keys = Ask("KeyList", Element("TableId", GetParam().table));
  EXPECT_EQ(GetNodeText(keys, "/XML/Keys/Key[Primary='1']/Caption"), GetParam().key) << keys.Xml();
}

INSTANTIATE_TEST_SUITE_P(
    Kind, ExactProducts,
    ::testing::Values(
        ExactProductCase{"0-unknown", "Microsoft SQL Server 2019", "", "[TABLE]Customer", "Customer", "No"},
        ExactProductCase{"1-sql-server", "Microsoft SQL Server", ";DefaultDatabase=sales", "[TABLE][dbo].[Customer]",
                         "dbo.Customer", "No"},
        ExactProductCase{"2-access", "ACCESS", ";DefaultDatabase=/data/sales.mdb", "[TABLE]Customer", "Customer", "No"},
        ExactProductCase{"3-navision", "Company NaviSion 3", ";DefaultDatabase=company", "[TABLE]Customer",
                         "Customer$data", "No_"},
        ExactProductCase{"4-concorde", "My Concorde 2", "", "[TABLE]Customer", "Customer", "No"},
        ExactProductCase{"5-mysql", "MySQL", ";DefaultDatabase=sales", "[TABLE]Customer", "Customer", "No"},
        ExactProductCase{"6-pervasive", "Pervasive.SQL", ";DefaultDatabase=demo", "[TABLE]Customer", "Customer", "No"},
        ExactProductCase{"7-excel", "EXCEL", ";DefaultDatabase=/data/sales", "[TABLE]Customer$", "Customer$", ""},
        ExactProductCase{"8-unnamed", "", "", "[TABLE]Customer_Card", "Customer_Card", "No_"}),
    [](const auto& test) { return ReplaceAll(test.param.folder.substr(2), "-", ""); });

}  // namespace
}  // namespace ods::test
