#include "catalogue/modTableList.h"

#include <fstream>
#include <gtest/gtest.h>

#include "doubles/FakeSession.h"
#include "support/RaisedErrors.h"
#include "support/RunHandler.h"

namespace ods::test {
namespace {

using ::testing::_;

class TableList : public ::testing::Test {
 protected:
  /// Rows of schema, name and type.
  void Tables(FakeSession& fake, std::vector<Row> rows) {
    fake.connection->schemas[Schema::kTables] = [rows] {
      return MakeRows(TextColumns({"TABLE_SCHEMA", "TABLE_NAME", "TABLE_TYPE"}), rows);
    };
  }
  [[nodiscard]] static std::string Answer(FakeSession& fake) {
    const XmlDocument request("<XML><Type>TableList</Type></XML>");
    XmlDocument response;
    RunHandler("TableList", ProcessTableList, request, response, fake.session);
    std::string text;
    for (const XmlNode& table : response.SelectNodes("/XML/Tables/Table")) {
      text += GetNodeText(table, "Id") + "=" + GetNodeText(table, "Caption") + "\n";
    }
    return text;
  }
};

TEST_F(TableList, IsEmptyForAnEmptyDatabase) {
  FakeSession fake;
  Tables(fake, {});
  const XmlDocument request("<XML/>");
  XmlDocument response;
  RunHandler("TableList", ProcessTableList, request, response, fake.session);
  EXPECT_EQ(response.Xml(), "<XML><Tables/></XML>");
}

TEST_F(TableList, WithoutViewsFilesNoServerSideViewIsListed) {
  FakeSession fake(DatabaseKind::DbUnknown);
  Tables(fake, {{"", "a", "TABLE"}});
  EXPECT_EQ(Answer(fake), "[TABLE]a=a\n");
}

TEST_F(TableList, OfSqlServerHoldsTablesAndViewsWithTheirSchemaAndNothingElse) {
  FakeSession fake(DatabaseKind::DbSqlServer);
  Tables(fake, {{"dbo", "Orders", "TABLE"},
                {"DBO", "Upper", "TABLE"},
                {"sales", "Orders", "VIEW"},
                {"dbo", "alias", "SYNONYM"},
                {"dbo", "odd", "SYSTEM TABLE"},
                {"dbo", "lower", "table"}});
  EXPECT_EQ(Answer(fake),
            "[TABLE][DBO].[Upper]=Upper\n"
            "[TABLE][dbo].[Orders]=Orders\n"
            "[VIEW][sales].[Orders]=sales.Orders\n");
}

TEST_F(TableList, OfSqlServerLeavesOutViewsOfTheSystemsSchemasButNotTheirTables) {
  FakeSession fake(DatabaseKind::DbSqlServer);
  Tables(fake, {{"sys", "objects", "VIEW"},
                {"SYS", "columns", "VIEW"},
                {"INFORMATION_SCHEMA", "TABLES", "VIEW"},
                {"information_schema", "VIEWS", "VIEW"},
                {"sys", "kept", "TABLE"},
                {"INFORMATION_SCHEMA", "kept", "TABLE"}});
  EXPECT_EQ(Answer(fake),
            "[TABLE][INFORMATION_SCHEMA].[kept]=INFORMATION_SCHEMA.kept\n"
            "[TABLE][sys].[kept]=sys.kept\n");
}

TEST_F(TableList, OfSqlServerDoublesAClosingBracketInTheIdentifierOnly) {
  FakeSession fake(DatabaseKind::DbSqlServer);
  Tables(fake, {{"dbo", "Order]s", "TABLE"}, {"a]b", "c]d", "VIEW"}});
  EXPECT_EQ(Answer(fake),
            "[TABLE][dbo].[Order]]s]=Order]s\n"
            "[VIEW][a]]b].[c]]d]=a]b.c]d\n");
}

TEST_F(TableList, OfAccessLeavesOutSystemTablesAndNoOtherProductDoes) {
  const std::vector<Row> rows = {{"", "MSysObjects", "SYSTEM TABLE"}, {"", "a_b", "TABLE"}, {"", "q", "VIEW"}};
  FakeSession access(DatabaseKind::DbAccess);
  Tables(access, rows);
  EXPECT_EQ(Answer(access), "[TABLE]a_b=a_b\n[TABLE]q=q\n");
  for (const DatabaseKind kind : {DatabaseKind::DbUnknown, DatabaseKind::DbConcorde, DatabaseKind::DbMySql,
                                  DatabaseKind::DbPervasive, DatabaseKind::DbExcel}) {
    FakeSession fake(kind);
    Tables(fake, rows);
    EXPECT_EQ(Answer(fake), "[TABLE]MSysObjects=MSysObjects\n[TABLE]a_b=a_b\n[TABLE]q=q\n");
  }
}

TEST_F(TableList, OnNavisionAndUnnamedProductsCaptionsHaveDotsForUnderscores) {
  for (const DatabaseKind kind : {DatabaseKind::DbNavision, DatabaseKind::DbUnnamed}) {
    FakeSession fake(kind);
    Tables(fake, {{"", "G_L_Entry", "TABLE"}, {"", "Sheet1$", "TABLE"}});
    EXPECT_EQ(Answer(fake), "[TABLE]G_L_Entry=G.L.Entry\n[TABLE]Sheet1$=Sheet1$\n");
  }
}

TEST_F(TableList, OnExcelTheCaptionOfASheetLacksItsLastDollar) {
  FakeSession excel(DatabaseKind::DbExcel);
  Tables(excel, {{"", "Sheet1$", "TABLE"}, {"", "x$$", "TABLE"}, {"", "$a_b", "TABLE"}});
  EXPECT_EQ(Answer(excel), "[TABLE]$a_b=$a_b\n[TABLE]Sheet1$=Sheet1\n[TABLE]x$$=x$\n");
}

TEST_F(TableList, PutsServerSideViewsFirstAndSortsByIdentifier) {
  FakeSession fake(DatabaseKind::DbUnknown);
  Tables(fake, {{"", "b", "TABLE"}, {"", "a", "TABLE"}, {"", "a", "VIEW"}, {"", "B", "TABLE"}});
  std::ofstream(fake.folder.Path() + "/views.xml")
      << "<Views><View><Id>z</Id><Name>Ze &lt;&amp;&gt; 😀</Name></View><View><Id>y</Id></View><View/></Views>";
  EXPECT_EQ(Answer(fake), "[APPVIEW]=\n[APPVIEW]y=\n[APPVIEW]z=Ze <&> 😀\n[TABLE]B=B\n[TABLE]a=a\n[TABLE]b=b\n");
}

TEST_F(TableList, OfViewsWithTheSameIdOnlyTheLaterOneSurvives) {
  FakeSession fake(DatabaseKind::DbUnknown);
  Tables(fake, {});
  std::ofstream(fake.folder.Path() + "/views.xml")
      << "<Views><View><Id>z</Id><Name>first</Name></View><View><Id>z</Id><Name>second</Name></View></Views>";
  EXPECT_EQ(Answer(fake), "[APPVIEW]z=second\n");
}

TEST_F(TableList, LetsErrorsPass) {
  FakeSession fake;
  EXPECT_RAISES(Answer(fake), error_number::kGeneralFailure, _);
}

}  // namespace
}  // namespace ods::test
