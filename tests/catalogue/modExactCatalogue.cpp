#include "catalogue/modExactCatalogue.h"

#include <fstream>
#include <gtest/gtest.h>

#include "doubles/FakeSession.h"
#include "exact/ExactProduct.h"
#include "exact/ExactSession.h"
#include "support/RaisedErrors.h"
#include "support/RunHandler.h"

namespace ods::test {
namespace {

using ::testing::_;

constexpr const char* kList = "SELECT the tables";
constexpr ExactProduct kListing = {.listTables = kList};
constexpr ExactProduct kNotListing = {};

/// A session of exact paging, whose product has schemas and a list of its own.
class ExactCatalogue : public ::testing::Test {
 protected:
  explicit ExactCatalogue(DatabaseKind kind = DatabaseKind::DbUnknown) : fake_(kind) {
    fake_.session.exact = std::make_shared<ExactSession>();
    fake_.session.exact->product = &kListing;
    fake_.session.exact->hasSchemas = true;
    fake_.session.exact->currentSchema = "public";
    fake_.session.namesWithSchema = true;
  }
  ExactTable& Table() { return fake_.session.exact->tables["[TABLE]t"]; }
  std::string Answer(const std::string& type, RequestHandler handler) {
    const XmlDocument request("<XML><TableId>[TABLE]t</TableId></XML>");
    XmlDocument response;
    RunHandler(type, handler, request, response, fake_.session);
    return response.Xml();
  }
  std::string Tables() {
    const XmlDocument answer(Answer("TableList", ProcessExactTableList));
    std::string text;
    for (const XmlNode& table : answer.SelectNodes("/XML/Tables/Table")) {
      text += GetNodeText(table, "Id") + "=" + GetNodeText(table, "Caption") + "\n";
    }
    return text;
  }
  void DriverLists(std::vector<Row> rows) {
    fake_.session.exact->product = &kNotListing;
    fake_.connection->schemas[Schema::kTables] = [rows] {
      return MakeRows(TextColumns({"TABLE_SCHEMA", "TABLE_NAME", "TABLE_TYPE"}), rows);
    };
  }

  FakeSession fake_;
};

TEST_F(ExactCatalogue, TablesAreListedWithTheirSchemas) {
  fake_.connection->answer = [](const std::string& sql) {
    EXPECT_EQ(sql, kList);
    return MakeRows(TextColumns({"s", "n"}), {{"sales", "order"}, {"public", "order"}, {"a.b", "c\"d"}});
  };
  std::ofstream(fake_.folder.Path() + "/views.xml") << "<Views><View><Id>v</Id><Name>A view</Name></View></Views>";
  EXPECT_EQ(Tables(),
            "[APPVIEW]v=A view\n"
            "[TABLE]\"a.b\".\"c\"\"d\"=a.b.c\"d\n"
            "[TABLE]\"public\".\"order\"=order\n"
            "[TABLE]\"sales\".\"order\"=sales.order\n");
}

TEST_F(ExactCatalogue, TablesOfAProductWithoutSchemasHaveTheirNameAlone) {
  fake_.session.exact->hasSchemas = fake_.session.namesWithSchema = false;
  fake_.session.exact->currentSchema = "";
  fake_.connection->answer = [](const std::string&) {
    return MakeRows(TextColumns({"s", "n"}), {{"", "b"}, {"", "a"}});
  };
  EXPECT_EQ(Tables(), "[TABLE]a=a\n[TABLE]b=b\n");
}

TEST_F(ExactCatalogue, TheDriversListIsWithoutTablesOfTheSystem) {
  DriverLists({{"public", "t", "TABLE"},
               {"sys", "s", "SYSTEM TABLE"},
               {"information_schema", "i", "SYSTEM VIEW"},
               {"sales", "v", "VIEW"},
               {"sales", "t", "TABLE"},
               {Null(), "no schema", "SYNONYM"}});
  EXPECT_EQ(Tables(),
            "[TABLE]\"public\".\"t\"=t\n"
            "[TABLE]\"sales\".\"t\"=sales.t\n"
            "[TABLE]\"sales\".\"v\"=sales.v\n"
            "[TABLE]no schema=no schema\n");
  DriverLists({});
  EXPECT_EQ(Tables(), "");
}

TEST_F(ExactCatalogue, TheSheetsOfAWorkbookAreListed) {
  fake_.Use(DatabaseKind::DbExcel);
  fake_.session.exact->hasSchemas = fake_.session.namesWithSchema = false;
  DriverLists({{Null(), "Customer$", "SYSTEM TABLE"}, {Null(), "range", "TABLE"}});
  EXPECT_EQ(Tables(), "[TABLE]Customer$=Customer\n[TABLE]range=range\n");
}

TEST_F(ExactCatalogue, WithoutSchemasWhatTheDriverTellsOfThemIsLeftOut) {
  fake_.session.exact->hasSchemas = fake_.session.namesWithSchema = false;
  DriverLists({{"owner", "t", "TABLE"}});
  EXPECT_EQ(Tables(), "[TABLE]t=t\n");
}

TEST_F(ExactCatalogue, NamesInBracketsStay) {
  FakeSession server(DatabaseKind::DbSqlServer);
  fake_.Use(DatabaseKind::DbSqlServer);
  fake_.session.namesWithSchema = false;
  DriverLists({{"dbo", "t", "TABLE"}, {"sys", "v", "VIEW"}, {"sales", "v", "VIEW"}});
  EXPECT_EQ(Tables(), "[TABLE][dbo].[t]=t\n[VIEW][sales].[v]=sales.v\n");
}

TEST_F(ExactCatalogue, AListThatFailsIsAnError) {
  fake_.connection->answer = [](const std::string&) -> std::shared_ptr<RecordSet> {
    throw Error(error_number::kGeneralFailure, "no list");
  };
  EXPECT_RAISES(Tables(), error_number::kGeneralFailure, _);
}

TEST_F(ExactCatalogue, FieldsTellAllThatIsKnownOfThem) {
  ExactColumn number;
  number.name = "no";
  number.adoType = ado_type::kNumeric;
  number.typeName = "numeric";
  number.size = 18;
  number.digits = 4;
  number.nullable = false;
  ExactColumn text;
  text.name = "a_b";
  text.adoType = ado_type::kVarWChar;
  text.typeName = "varchar";
  text.size = 50;
  Table().columns = {number, text};
  EXPECT_EQ(Answer("FieldList", ProcessExactFieldList),
            "<XML><Fields>"
            "<Field><Id>no</Id><Name>no</Name><Caption>no</Caption><Type>131</Type><Active>1</Active>"
            "<TypeName>numeric</TypeName><Size>18</Size><Digits>4</Digits><Nullable>0</Nullable></Field>"
            "<Field><Id>a_b</Id><Name>a_b</Name><Caption>a_b</Caption><Type>202</Type><Active>1</Active>"
            "<TypeName>varchar</TypeName><Size>50</Size><Digits>0</Digits><Nullable>1</Nullable></Field>"
            "</Fields></XML>");
}

ExactKey KeyOf(const std::string& name, bool unique, bool nullable, const std::vector<std::string>& fields) {
  ExactKey key;
  key.name = name;
  key.unique = unique;
  key.nullable = nullable;
  key.fields = fields;
  return key;
}

TEST_F(ExactCatalogue, KeysAreListedAndTheOneThatTellsRowsApartIsThePrimaryOne) {
  Table().keys = {KeyOf("i", false, false, {"a"}), KeyOf("n", true, true, {"b"}), KeyOf("u", true, false, {"c", "d"})};
  const std::string answer = Answer("KeyList", ProcessExactKeyList);
  const auto key = [](const std::string& fields, const std::string& id, const std::string& caption,
                      const std::string& flags) {
    return "<Key><Fields>" + fields + "</Fields><Id>" + id + "</Id><Caption>" + caption + "</Caption>" + flags +
           "</Key>";
  };
  const auto field = [](const std::string& name) {
    return "<Field><Id>" + name + "</Id><Caption>" + name + "</Caption></Field>";
  };
  EXPECT_EQ(answer, "<XML><Keys>" + key(field("a"), "a", "a", "<Unique>0</Unique><Primary>0</Primary>") +
                        key(field("b"), "b", "b", "<Unique>1</Unique><Primary>0</Primary>") +
                        key(field("c") + field("d"), "c\\09d", "c, d", "<Unique>1</Unique><Primary>1</Primary>") +
                        "</Keys><ChoosePrimary>0</ChoosePrimary></XML>");
  EXPECT_EQ(Answer("PrimaryKey", ProcessExactPrimaryKey),
            "<XML><PrimaryKey>c\\09d</PrimaryKey><Constructed>0</Constructed></XML>");
}

TEST_F(ExactCatalogue, ATableWithoutAKeyThatTellsRowsApartHasNone) {
  Table().keys = {KeyOf("n", true, true, {"b"})};
  EXPECT_EQ(Answer("PrimaryKey", ProcessExactPrimaryKey), "<XML><PrimaryKey/><Constructed>1</Constructed></XML>");
  Table().keys = {};
  EXPECT_EQ(Answer("KeyList", ProcessExactKeyList), "<XML><Keys/><ChoosePrimary>1</ChoosePrimary></XML>");
}

}  // namespace
}  // namespace ods::test
