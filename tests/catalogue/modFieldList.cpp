#include "catalogue/modFieldList.h"

#include <fstream>
#include <gtest/gtest.h>

#include "doubles/FakeSession.h"
#include "support/RaisedErrors.h"
#include "support/RunHandler.h"

namespace ods::test {
namespace {

using ::testing::_;

std::string Answer(FakeSession& fake, const std::string& table) {
  const XmlDocument request("<XML><Type>FieldList</Type><TableId>" + table + "</TableId></XML>");
  XmlDocument response;
  RunHandler("FieldList", ProcessFieldList, request, response, fake.session);
  return response.Xml();
}

TEST(FieldList, DescribesTheColumnsOfAnEmptyResult) {
  FakeSession fake(DatabaseKind::DbSqlServer);
  fake.connection->answer = [](const std::string&) {
    return MakeRows({{"Posting_Date", ado_type::kDBTimeStamp, 16, 0}, {"<&>", ado_type::kVarWChar, 5, 32}});
  };
  EXPECT_EQ(Answer(fake, "[TABLE][dbo].[Customer]"),
            "<XML><Fields>"
            "<Field><Id>Posting_Date</Id><Name>Posting_Date</Name><Caption>Posting_Date</Caption><Type>135</Type>"
            "<Active>1</Active></Field>"
            "<Field><Id>&lt;&amp;&gt;</Id><Name>&lt;&amp;&gt;</Name><Caption>&lt;&amp;&gt;</Caption><Type>202</Type>"
            "<Active>1</Active></Field>"
            "</Fields></XML>");
  EXPECT_EQ(fake.LastStatement(), "SELECT TOP 1 * FROM [dbo].[Customer] WHERE (1=2)");
}

TEST(FieldList, OfATableWithoutColumnsIsEmpty) {
  FakeSession fake;
  fake.connection->answer = [](const std::string&) { return MakeRows({}); };
  EXPECT_EQ(Answer(fake, "[TABLE]customer"), "<XML><Fields/></XML>");
}

TEST(FieldList, AsksMySqlWithALimit) {
  FakeSession fake(DatabaseKind::DbMySql);
  fake.connection->answer = [](const std::string&) { return MakeRows({}); };
  (void)Answer(fake, "[TABLE]customer");
  EXPECT_EQ(fake.LastStatement(), "SELECT * FROM `customer` WHERE (1=2) LIMIT 1");
}

TEST(FieldList, CaptionsHaveDotsOnNavisionAndUnnamedProducts) {
  for (const DatabaseKind kind : {DatabaseKind::DbNavision, DatabaseKind::DbUnnamed}) {
    FakeSession fake(kind);
    fake.connection->answer = [](const std::string&) { return MakeRows({{"Posting_Date", 135, 16, 0}}); };
    EXPECT_EQ(Answer(fake, "[TABLE]G"),
              "<XML><Fields><Field><Id>Posting_Date</Id><Name>Posting_Date</Name><Caption>Posting.Date</Caption>"
              "<Type>135</Type><Active>1</Active></Field></Fields></XML>");
  }
}

TEST(FieldList, RunsTheOwnQueryOfAMacroViewWithoutMarkers) {
  FakeSession fake(DatabaseKind::DbUnknown);
  std::ofstream(fake.folder.Path() + "/views.xml")
      << "<Views><View><Id>v</Id><Query subquery='no'>SELECT a FROM b</Query></View></Views>";
  fake.connection->answer = [](const std::string&) { return MakeRows({{"a", 3, 4, 0}}, {{1}, {2}}); };
  EXPECT_NE(Answer(fake, "[APPVIEW]v").find("<Id>a</Id>"), std::string::npos);
  EXPECT_EQ(fake.LastStatement(), "SELECT a FROM b");
}

TEST(FieldList, OfAViewThatIsNotThereIsAnError) {
  FakeSession fake(DatabaseKind::DbUnknown);
  EXPECT_RAISES(Answer(fake, "[APPVIEW]none"), 1000, "Unable to locate the view with id [APPVIEW]none.");
}

TEST(FieldList, WithoutATableIsAskedOfAnEmptyNameAndFailsInTheDriver) {
  FakeSession fake(DatabaseKind::DbUnknown);
  EXPECT_RAISES(Answer(fake, ""), _,
                "unexpected statement: SELECT * FROM \"\" WHERE (1=2) SQL: SELECT * FROM \"\" WHERE (1=2)");
}

}  // namespace
}  // namespace ods::test
