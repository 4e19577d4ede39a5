#include "catalogue/modKeys.h"

#include <fstream>
#include <gtest/gtest.h>

#include "doubles/FakeSession.h"
#include "support/RaisedErrors.h"
#include "support/RunHandler.h"

namespace ods::test {
namespace {

using ::testing::_;

using Names = std::vector<std::string>;

TEST(KeyText, EscapesEverythingButLettersAndUnderscores) {
  EXPECT_EQ(KeyToText({"Order_No", "Line2"}), "Order_No\\09Line\\32");
  EXPECT_EQ(KeyToText({"a b"}), "a\\20b");
  EXPECT_EQ(KeyToText({"\xC3\xBC"}), "\\C3\\BC");
  EXPECT_EQ(KeyToText({"\\"}), "\\5C");
  EXPECT_EQ(KeyToText({}), "");
}

TEST(KeyText, ComesBackAsItWas) {
  for (const Names& fields : {Names{"Order_No", "Line2"}, Names{"a \"b\" [c] 'd'", "😀", "<&>"}, Names{"x"}}) {
    EXPECT_EQ(TextToKey(KeyToText(fields)), fields);
  }
}

TEST(KeyText, CopiesWhatIsNotEscaped) {
  EXPECT_EQ(TextToKey("a b\tc"), (Names{"a b", "c"}));
  EXPECT_EQ(TextToKey("\\3d\\3D"), (Names{"=="}));
  EXPECT_EQ(TextToKey(""), Names{});
  EXPECT_EQ(TextToKey("a\\09a\\09b"), (Names{"a", "b"})) << "a field counts once";
  EXPECT_EQ(TextToKey("\\09"), (Names{""}));
}

TEST(KeyText, RefusesABrokenEscape) {
  for (const char* text : {"\\", "a\\4", "\\zz", "\\4g", "\\+1", "\\ 1"}) {
    EXPECT_RAISES(TextToKey(text), error_number::kTypeMismatch, _) << text;
  }
}

class Keys : public ::testing::Test {
 protected:
  /// Rows of index, unique, type and column.
  void Indexes(std::vector<Row> rows) {
    fake_.connection->schemas[Schema::kIndexes] = [rows] {
      return MakeRows(TextColumns({"INDEX_NAME", "UNIQUE", "TYPE", "ORDINAL_POSITION", "COLUMN_NAME"}), rows);
    };
  }
  void Columns(const std::vector<Field>& fields) {
    fake_.connection->answer = [fields](const std::string&) { return MakeRows(fields); };
  }
  TableKeys Read(const std::string& table = "[TABLE]t") { return GetTableKeys(fake_.session, table); }
  std::string Answer(const std::string& type, RequestHandler handler) {
    const XmlDocument request("<XML><TableId>[TABLE]t</TableId></XML>");
    XmlDocument response;
    RunHandler(type, handler, request, response, fake_.session);
    return response.Xml();
  }

  FakeSession fake_{DatabaseKind::DbUnknown};
};

TEST_F(Keys, ADeclaredPrimaryKeyWinsOverASmallerUniqueIndex) {
  Indexes({{"ux", true, 3, 1, "c"}, {"pk", true, 1, 1, "a"}, {"pk", true, 1, 2, "b"}});
  const TableKeys keys = Read();
  EXPECT_EQ(keys.PrimaryKey, "pk");
  EXPECT_EQ(keys.ConstructedPrimaryKey, (Names{"a", "b"}));
  EXPECT_TRUE(keys.FixedPrimary);
  EXPECT_FALSE(keys.IsConstructed);
  EXPECT_TRUE(keys.Find("pk")->primary);
  EXPECT_FALSE(keys.Find("ux")->primary);
}

TEST_F(Keys, ElseTheSmallestUniqueIndexIsChosenAndTheFirstOfEquals) {
  Indexes({{"two", true, 3, 1, "a"},
           {"two", true, 3, 2, "b"},
           {"any", false, 3, 1, "z"},
           {"one", true, 3, 1, "c"},
           {"uno", true, 3, 1, "d"}});
  const TableKeys keys = Read();
  EXPECT_EQ(keys.PrimaryKey, "one");
  EXPECT_EQ(keys.ConstructedPrimaryKey, Names{"c"});
  EXPECT_FALSE(keys.Find("any")->unique);
}

TEST_F(Keys, RowsWithoutIndexOrColumnNameAreSkipped) {
  Indexes({{Null(), true, 1, 1, "a"}, {"", true, 1, 1, "a"}, {"ix", "true", 3, 1, Null()}, {"ux", "true", 3, 1, "b"}});
  const TableKeys keys = Read();
  ASSERT_EQ(keys.Keys.size(), 1U);
  EXPECT_EQ(keys.PrimaryKey, "ux");
}

TEST_F(Keys, AreConstructedFromColumnsThatAreNeverNull) {
  Indexes({});
  Columns({{"id", ado_type::kInteger, 4, 0},
           {"note", ado_type::kLongVarWChar, 65535, 0},
           {"name", ado_type::kVarWChar, 50, field_attribute::kIsNullable},
           {"maybe", ado_type::kVarWChar, 50, field_attribute::kMayBeNull},
           {"raw", ado_type::kVarBinary, 8, 0},
           {"at", ado_type::kDBTimeStamp, 16, 0}});
  const TableKeys keys = Read();
  EXPECT_EQ(keys.PrimaryKey, "");
  EXPECT_EQ(keys.ConstructedPrimaryKey, (Names{"id", "maybe", "at"}));
  EXPECT_TRUE(keys.IsConstructed);
  EXPECT_FALSE(keys.FixedPrimary);
  EXPECT_EQ(fake_.LastStatement(), "SELECT * FROM \"t\" WHERE (1=2)");
}

TEST_F(Keys, OfASqlServerHeapAreConstructedFromTheIntegerAndNotFromTheLongText) {
  fake_.Use(DatabaseKind::DbSqlServer);
  Indexes({});
  Columns({{"No", ado_type::kInteger, 4, 0}, {"Notes", ado_type::kLongVarWChar, 1073741823, 0}});
  const TableKeys keys = Read("[TABLE][dbo].[Heap]");
  EXPECT_EQ(keys.ConstructedPrimaryKey, Names{"No"});
  EXPECT_TRUE(keys.IsConstructed);
  EXPECT_EQ(Answer("PrimaryKey", ProcessPrimaryKey),
            "<XML><PrimaryKey>No</PrimaryKey><Constructed>1</Constructed></XML>");
}

TEST_F(Keys, UseEveryTypeFitForAKey) {
  std::vector<Field> columns;
  for (std::int32_t type = 0; type <= 206; ++type) columns.push_back({std::to_string(type), type, 1, 0});
  Indexes({});
  Columns(columns);
  EXPECT_EQ(Read().ConstructedPrimaryKey,
            (Names{"2",  "3",  "4",  "5",  "6",   "7",   "8",   "11",  "14",  "16",  "17",  "18",  "19",
                   "20", "21", "64", "72", "129", "130", "131", "133", "134", "135", "139", "200", "202"}));
}

TEST_F(Keys, AreNotConstructedOnNavisionAndUnnamedProducts) {
  for (const DatabaseKind kind : {DatabaseKind::DbNavision, DatabaseKind::DbUnnamed}) {
    fake_.Use(kind);
    Indexes({{"ix", false, 3, 1, "a"}, {"iy", false, 3, 1, "b"}});
    TableKeys keys = Read();
    EXPECT_EQ(keys.PrimaryKey, "");
    EXPECT_EQ(keys.ConstructedPrimaryKey, Names{"a"});
    EXPECT_FALSE(keys.IsConstructed);
    Indexes({});
    keys = Read();
    EXPECT_TRUE(keys.ConstructedPrimaryKey.empty());
    EXPECT_FALSE(keys.IsConstructed);
  }
}

TEST_F(Keys, AFailingIndexSchemaMeansNoIndexes) {
  Columns({{"id", ado_type::kInteger, 4, 0}});
  const TableKeys keys = Read();
  EXPECT_TRUE(keys.Keys.empty());
  EXPECT_EQ(keys.ConstructedPrimaryKey, Names{"id"});
}

TEST_F(Keys, OfAServerSideViewAreConstructedWithoutLookingForIndexes) {
  std::ofstream(fake_.folder.Path() + "/views.xml") << "<Views><View><Id>v</Id><Query>q</Query></View></Views>";
  Indexes({{"pk", true, 1, 1, "a"}});
  Columns({{"id", ado_type::kInteger, 4, 0}, {"maybe", ado_type::kInteger, 4, field_attribute::kIsNullable}});
  const TableKeys keys = Read("[APPVIEW]v");
  EXPECT_TRUE(keys.Keys.empty());
  EXPECT_EQ(keys.ConstructedPrimaryKey, Names{"id"});
  EXPECT_TRUE(fake_.connection->schemaRestrictions.empty());
}

TEST_F(Keys, AskTheIndexSchemaForSchemaAndName) {
  fake_.Use(DatabaseKind::DbSqlServer);
  Indexes({{"pk", true, 1, 1, "a"}});
  (void)Read("[TABLE][sales].[Orders]");
  ASSERT_EQ(fake_.connection->schemaRestrictions.size(), 5U);
  EXPECT_EQ(fake_.connection->schemaRestrictions[1], Value("sales"));
  EXPECT_EQ(fake_.connection->schemaRestrictions[4], Value("Orders"));
  (void)Read("[TABLE]Orders");
  EXPECT_TRUE(fake_.connection->schemaRestrictions[1].IsEmpty());
}

TEST_F(Keys, TheKeyListShowsAllAndWhichOneIsPrimary) {
  Indexes({{"pk", true, 1, 1, "Order_No"}, {"pk", true, 1, 2, "Line2"}, {"ix", false, 3, 1, "City"}});
  EXPECT_EQ(
      Answer("KeyList", ProcessKeyList),
      "<XML><Keys>"
      "<Key><Fields><Field><Id>Order_No</Id><Caption>Order_No</Caption></Field>"
      "<Field><Id>Line2</Id><Caption>Line2</Caption></Field></Fields>"
      "<Id>Order_No\\09Line\\32</Id><Caption>Order_No, Line2</Caption><Unique>1</Unique><Primary>1</Primary></Key>"
      "<Key><Fields><Field><Id>City</Id><Caption>City</Caption></Field></Fields>"
      "<Id>City</Id><Caption>City</Caption><Unique>0</Unique><Primary>0</Primary></Key>"
      "</Keys><ChoosePrimary>0</ChoosePrimary></XML>");
}

TEST_F(Keys, TheClientMayChooseWhenNoIndexIsUnique) {
  Indexes({});
  Columns({});
  EXPECT_EQ(Answer("KeyList", ProcessKeyList), "<XML><Keys/><ChoosePrimary>1</ChoosePrimary></XML>");
}

TEST_F(Keys, ThePrimaryKeyIsAnsweredAsAKeyText) {
  Indexes({{"pk", true, 1, 1, "Order_No"}, {"pk", true, 1, 2, "Line2"}});
  EXPECT_EQ(Answer("PrimaryKey", ProcessPrimaryKey),
            "<XML><PrimaryKey>Order_No\\09Line\\32</PrimaryKey><Constructed>0</Constructed></XML>");
  Indexes({});
  Columns({{"id", ado_type::kInteger, 4, 0}});
  EXPECT_EQ(Answer("PrimaryKey", ProcessPrimaryKey),
            "<XML><PrimaryKey>id</PrimaryKey><Constructed>1</Constructed></XML>");
  Columns({{"id", ado_type::kInteger, 4, 32}});
  EXPECT_EQ(Answer("PrimaryKey", ProcessPrimaryKey), "<XML><PrimaryKey/><Constructed>1</Constructed></XML>");
}

}  // namespace
}  // namespace ods::test
