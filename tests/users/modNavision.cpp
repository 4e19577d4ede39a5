#include "users/modNavision.h"

#include <gtest/gtest.h>

#include "users/NavisionContext.h"

namespace ods::test {
namespace {

TEST(NavisionTexts, ALiteralDoublesApostrophes) {
  EXPECT_EQ(SqlQuote(""), "''");
  EXPECT_EQ(SqlQuote("it's 'so'"), "'it''s ''so'''");
  EXPECT_EQ(SqlQuote(R"(back\slash "quote" {brace})"), R"('back\slash "quote" {brace}')");
}

TEST(NavisionTexts, ANameDoublesQuotes) {
  EXPECT_EQ(NavQuoteName(""), "\"\"");
  EXPECT_EQ(NavQuoteName("User ID"), "\"User ID\"");
  EXPECT_EQ(NavQuoteName(R"(a"b's)"), R"("a""b's")");
}

TEST(NavisionNames, ComeFromTheContextDocumentByTheNumbersOfTheTables) {
  const NavisionTables tables = ReadNavisionTables(XmlDocument(kNavisionContext));
  EXPECT_EQ(tables.user.table, "\"User\"");
  EXPECT_EQ(tables.user.userId, "\"User ID\"");
  EXPECT_EQ(tables.user.password, "\"Password\"");
  EXPECT_EQ(tables.user.name, "\"Name\"");
  EXPECT_EQ(tables.membership.table, "\"Member Of\"");
  EXPECT_EQ(tables.membership.userId, "\"User ID\"");
  EXPECT_EQ(tables.membership.roleId, "\"Role ID\"");
  EXPECT_EQ(tables.role.table, "\"User Role\"");
  EXPECT_EQ(tables.role.roleId, "\"Role ID\"");
  EXPECT_EQ(tables.role.name, "\"Name\"");
  EXPECT_EQ(tables.userFilter.table, "\"User Filter\"");
  EXPECT_EQ(tables.userFilter.userId, "\"User\"");
}

TEST(NavisionNames, OfAnEmptyContextAreEmptyNames) {
  const NavisionTables tables = ReadNavisionTables(XmlDocument());
  EXPECT_EQ(tables.user.table, "\"\"");
  EXPECT_EQ(tables.userFilter.userId, "\"\"");
}

TEST(NavisionNames, OfTheSampleAreComplete) {
  XmlDocument context;
  ASSERT_TRUE(context.Load(ODS_SAMPLES_FOLDER "/context.xml"));
  const NavisionTables tables = ReadNavisionTables(context);
  for (const std::string& name :
       {tables.user.table, tables.user.userId, tables.user.password, tables.user.name, tables.membership.table,
        tables.membership.userId, tables.membership.roleId, tables.role.table, tables.role.roleId, tables.role.name,
        tables.userFilter.table, tables.userFilter.userId}) {
    EXPECT_GT(name.size(), 2U);
  }
}

}  // namespace
}  // namespace ods::test
