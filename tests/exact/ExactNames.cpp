#include "exact/ExactNames.h"

#include <gtest/gtest.h>

#include "doubles/FakeSession.h"

namespace ods::test {
namespace {

/// A session of a product with schemas.
class ExactNames : public ::testing::Test {
 protected:
  ExactNames() { fake_.session.namesWithSchema = true; }
  void ExpectBack(const std::string& schema, const std::string& name, const std::string& identifier) {
    EXPECT_EQ(ExactIdentifier(fake_.session, "TABLE", {schema, name}), identifier);
    const TableName back = SplitExactName(fake_.session, identifier);
    EXPECT_EQ(back.schema, schema) << identifier;
    EXPECT_EQ(back.name, name) << identifier;
  }
  FakeSession fake_{DatabaseKind::DbUnknown};
};

TEST_F(ExactNames, ComeBackFromTheirIdentifiers) {
  ExpectBack("sales", "order", "[TABLE]\"sales\".\"order\"");
  ExpectBack("a.b", "c\"d", "[TABLE]\"a.b\".\"c\"\"d\"");
  ExpectBack("\"", ".", "[TABLE]\"\"\"\".\".\"");
  ExpectBack("a]b", "[TABLE]", "[TABLE]\"a]b\".\"[TABLE]\"");
  ExpectBack("", "order", "[TABLE]order");
  ExpectBack("", "sales.order", "[TABLE]sales.order");
}

TEST_F(ExactNames, WithoutASchemaThatLookLikePartsInQuotesAreQuoted) {
  ExpectBack("", "\"a\".\"b\"", "[TABLE]\"\"\"a\"\".\"\"b\"\"\"");
  ExpectBack("", "\"a\"", "[TABLE]\"\"\"a\"\"\"");
  ExpectBack("", "\"a", "[TABLE]\"a");
}

TEST_F(ExactNames, AreOnePartWhereTheProductHasNoSchemas) {
  fake_.session.namesWithSchema = false;
  ExpectBack("", "\"a\".\"b\"", "[TABLE]\"a\".\"b\"");
  ExpectBack("", "order", "[TABLE]order");
}

TEST_F(ExactNames, InBracketsStayWhatTheyAre) {
  FakeSession server(DatabaseKind::DbSqlServer);
  const std::string identifier = ExactIdentifier(server.session, "VIEW", {"d]o", "Or]ders"});
  EXPECT_EQ(identifier, "[VIEW][d]]o].[Or]]ders]");
  const TableName back = SplitExactName(server.session, identifier);
  EXPECT_EQ(back.schema, "d]o");
  EXPECT_EQ(back.name, "Or]ders");
}

}  // namespace
}  // namespace ods::test
