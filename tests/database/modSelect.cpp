#include "database/modSelect.h"

#include <fstream>
#include <gtest/gtest.h>

#include "doubles/FakeSession.h"
#include "support/RaisedErrors.h"

namespace ods::test {
namespace {

using ::testing::_;

std::string Select(FakeSession& fake, const std::string& table, std::int32_t top, const SelectParts& parts) {
  bool fieldsFixed = false;
  return BuildSelect(fake.session, table, top, parts, fieldsFixed);
}

void WriteViews(const FakeSession& fake, const std::string& xml) {
  std::ofstream(fake.folder.Path() + "/views.xml") << xml;
}

TEST(TableIdentifier, BareNameIsTheTextAfterTheFirstBracket) {
  EXPECT_EQ(GetBareName("[TABLE]Customer"), "Customer");
  EXPECT_EQ(GetBareName("[TABLE][dbo].[Order]]s]"), "[dbo].[Order]]s]");
  EXPECT_EQ(GetBareName("Customer"), "Customer");
  EXPECT_EQ(GetBareName(""), "");
  EXPECT_EQ(GetBareName("[TABLE]"), "");
}

TEST(TableIdentifier, TypeIsTheTextInTheLeadingBrackets) {
  EXPECT_EQ(GetTableType("[APPVIEW]Sales"), "APPVIEW");
  EXPECT_EQ(GetTableType("[VIEW][dbo].[v]"), "VIEW");
  EXPECT_EQ(GetTableType("Customer"), "TABLE");
  EXPECT_EQ(GetTableType("x[VIEW]y"), "TABLE");
  EXPECT_EQ(GetTableType("[VIEW"), "TABLE");
  EXPECT_EQ(GetTableType("[]x"), "");
}

TEST(TableIdentifier, OnlySqlServerNamesHaveASchema) {
  const SchemaAndName split = SplitTableName("[TABLE][dbo].[Order]]s]", DialectOf(DatabaseKind::DbSqlServer));
  EXPECT_EQ(split.schema, "dbo");
  EXPECT_EQ(split.name, "Order]]s");
  EXPECT_EQ(SplitTableName("[TABLE]Orders", DialectOf(DatabaseKind::DbSqlServer)).name, "Orders");
  EXPECT_EQ(SplitTableName("[TABLE][a].[b].[c]", DialectOf(DatabaseKind::DbSqlServer)).name, "[a].[b].[c]");
  const SchemaAndName other = SplitTableName("[TABLE][dbo].[x]", DialectOf(DatabaseKind::DbMySql));
  EXPECT_EQ(other.schema, "");
  EXPECT_EQ(other.name, "[dbo].[x]");
}

TEST(TableIdentifier, QuotedNamesDoubleTheClosingQuote) {
  EXPECT_EQ(QuoteIdentifier(FakeSession(DatabaseKind::DbSqlServer).session, "Order]s"), "[Order]]s]");
  EXPECT_EQ(QuoteIdentifier(FakeSession(DatabaseKind::DbMySql).session, "a`b"), "`a``b`");
  EXPECT_EQ(QuoteIdentifier(FakeSession(DatabaseKind::DbUnknown).session, "a\"b"), "\"a\"\"b\"");
  FakeSession bare(DatabaseKind::DbUnknown);
  bare.session.QuotePrefix = bare.session.QuoteSuffix = "";
  EXPECT_EQ(QuoteIdentifier(bare.session, "plain"), "plain");
}

TEST(TableIdentifier, OneOrTwoPartsInQuotesAreToldApart) {
  using Parts = std::vector<std::string>;
  const FakeSession fake(DatabaseKind::DbUnknown);
  const auto split = [&](std::string_view name) { return SplitQuotedName(fake.session, name); };
  EXPECT_EQ(split("\"a\""), (Parts{"a"}));
  EXPECT_EQ(split("\"sales\".\"order\""), (Parts{"sales", "order"}));
  EXPECT_EQ(split("\"a.\"\".b\".\"\"\"\"\"\""), (Parts{"a.\".b", "\"\""})) << "quotes and dots inside";
  for (const char* name : {"", "a", "\"", "\"\"", "\"a", "a\"", "\"a\"\"", "\"a\".", ".\"a\"", "\"a\"..\"b\"",
                           "\"a\".b", "a.\"b\"", "\"a\".\"\"", "\"a\" .\"b\"", "\"a\".\"b\" ", "\"a\"\"b\".\"c",
                           "\"a\"x\"b\"", "\"a\".\"b\".\"c\"", "\"a\"; DROP TABLE t; --\""}) {
    EXPECT_EQ(split(name), Parts{}) << name;
  }
  FakeSession bare(DatabaseKind::DbUnknown);
  bare.session.QuotePrefix = bare.session.QuoteSuffix = "";
  EXPECT_EQ(SplitQuotedName(bare.session, "a"), Parts{});
}

TEST(TableIdentifier, QuotedPartsStandAsTheyAreWhereNamesHaveTheirSchema) {
  FakeSession fake(DatabaseKind::DbUnknown);
  constexpr const char* kName = "\"sales\".\"or\"\"der\"";
  EXPECT_EQ(QuoteTableName(fake.session, kName), "\"\"\"sales\"\".\"\"or\"\"\"\"der\"\"\"");
  fake.session.namesWithSchema = true;
  EXPECT_EQ(QuoteTableName(fake.session, kName), kName);
  EXPECT_EQ(QuoteTableName(fake.session, "order"), "\"order\"");
  EXPECT_EQ(QuoteTableName(fake.session, "sales.order"), "\"sales.order\"");
  EXPECT_EQ(QuoteTableName(fake.session, "\"a\".\"b\";--\""), "\"\"\"a\"\".\"\"b\"\";--\"\"\"");
}

TEST(TableIdentifier, WithoutQuotesANameIsNothingButAName) {
  FakeSession bare(DatabaseKind::DbUnknown);
  bare.session.QuotePrefix = bare.session.QuoteSuffix = "";
  for (const char* name : {"orders", "Schema.Orders_2$", "k\xC3\xA4ufer", "9"}) {
    EXPECT_EQ(QuoteIdentifier(bare.session, name), name);
    EXPECT_EQ(QuoteTableName(bare.session, name), name);
  }
  const auto refusal = [](const std::string& name) {
    return "The name \"" + name +
           "\" cannot be used: this connection has no identifier quotes, and without them a name is made of letters, "
           "digits, \"_\", \"$\" and \".\" only.";
  };
  for (const std::string& name :
       {std::string(), std::string("a b"), std::string("a;b"), std::string("a--b"), std::string("a/*b"),
        std::string("a'b"), std::string("a\"b"), std::string("(SELECT"), std::string("a,b"), std::string("a\\b"),
        std::string("a\nb"), std::string("a#b"), std::string("[a]")}) {
    EXPECT_RAISES(QuoteIdentifier(bare.session, name), 1000, refusal(name));
    EXPECT_RAISES(QuoteTableName(bare.session, name), 1000, refusal(name));
  }
  EXPECT_RAISES(QuoteIdentifier(bare.session, std::string("a\0b", 3)), 1000, _);
  bare.session.QuotePrefix = "\"";
  EXPECT_RAISES(QuoteIdentifier(bare.session, "a b"), 1000, refusal("a b")) << "one quote alone encloses nothing";
}

TEST(StatementSize, IsBounded) {
  EXPECT_NO_THROW(RequireStatementSize(kMaxStatementBytes));
  EXPECT_RAISES(RequireStatementSize(kMaxStatementBytes + 1), 1000,
                "The request makes a statement of more than 16777216 bytes. Ask with shorter or fewer conditions.");
}

TEST(TableIdentifier, SqlServerKeepsWellFormedBracketedNamesAndQuotesTheRest) {
  FakeSession fake(DatabaseKind::DbSqlServer);
  EXPECT_EQ(QuoteTableName(fake.session, "[dbo].[Order]]s]"), "[dbo].[Order]]s]");
  EXPECT_EQ(QuoteTableName(fake.session, "[a].[b].[c]"), "[a].[b].[c]");
  EXPECT_EQ(QuoteTableName(fake.session, "Orders"), "[Orders]");
  EXPECT_EQ(QuoteTableName(fake.session, "[x]; DROP TABLE y --"), "[[x]]; DROP TABLE y --]");
  EXPECT_EQ(QuoteTableName(fake.session, "[x"), "[[x]");
  EXPECT_EQ(QuoteTableName(fake.session, "[]"), "[[]]]");
  EXPECT_EQ(QuoteTableName(fake.session, "[a].[b].[c].[d]"), "[[a]].[b]].[c]].[d]]]");
  EXPECT_EQ(QuoteTableName(FakeSession(DatabaseKind::DbUnknown).session, "[x]"), "\"[x]\"");
}

struct StatementCase {
  DatabaseKind kind;
  std::string statement;
};

TEST(BuildSelect, PutsTheRowLimitWhereTheProductWantsIt) {
  const SelectParts parts{.where = "a=1", .orderBy = "b", .fields = "*"};
  const StatementCase cases[] = {
      {DatabaseKind::DbUnknown, "SELECT * FROM \"t\" WHERE (a=1) ORDER BY b"},
      {DatabaseKind::DbSqlServer, "SELECT TOP 51 * FROM [t] WHERE (a=1) ORDER BY b"},
      {DatabaseKind::DbAccess, "SELECT TOP 51 * FROM [t] WHERE (a=1) ORDER BY b"},
      {DatabaseKind::DbNavision, "SELECT * FROM \"t\" WHERE (a=1) ORDER BY b"},
      {DatabaseKind::DbConcorde, "SELECT * FROM \"t\" WHERE (a=1) ORDER BY b"},
      {DatabaseKind::DbMySql, "SELECT * FROM `t` WHERE (a=1) ORDER BY b LIMIT 51"},
      {DatabaseKind::DbPervasive, "SELECT TOP 51 * FROM \"t\" WHERE (a=1) ORDER BY b"},
      {DatabaseKind::DbExcel, "SELECT * FROM `t` WHERE (a=1) ORDER BY b"},
      {DatabaseKind::DbUnnamed, "SELECT * FROM \"t\" WHERE (a=1) ORDER BY b"},
  };
  for (const StatementCase& expected : cases) {
    FakeSession fake(expected.kind);
    EXPECT_EQ(Select(fake, "[TABLE]t", 51, parts), expected.statement);
  }
}

TEST(BuildSelect, OnMySqlTheLimitComesLastBehindTheOrdering) {
  FakeSession fake(DatabaseKind::DbMySql);
  EXPECT_EQ(Select(fake, "[TABLE]t", 51, {.where = "a=1", .orderBy = "`b` DESC", .fields = "*"}),
            "SELECT * FROM `t` WHERE (a=1) ORDER BY `b` DESC LIMIT 51");
}

TEST(BuildSelect, WithoutTopOrLimitNoRowLimitStandsInTheStatement) {
  for (const DatabaseKind kind : {DatabaseKind::DbUnknown, DatabaseKind::DbNavision, DatabaseKind::DbConcorde,
                                  DatabaseKind::DbExcel, DatabaseKind::DbUnnamed}) {
    FakeSession fake(kind);
    EXPECT_EQ(Select(fake, "[TABLE]t", 51, {.where = "", .orderBy = "b", .fields = "*"}).find("51"), std::string::npos);
  }
}

TEST(BuildSelect, LeavesOutEmptyParts) {
  FakeSession fake(DatabaseKind::DbMySql);
  EXPECT_EQ(Select(fake, "[TABLE]t", 7, {.where = "", .orderBy = "", .fields = "a"}), "SELECT a FROM `t` LIMIT 7");
}

TEST(BuildSelect, OnAccessALimitBelowOneIsRaisedInTheCallersVariableToo) {
  FakeSession fake(DatabaseKind::DbAccess);
  for (std::int32_t top : {0, -5}) {
    bool fieldsFixed = false;
    EXPECT_EQ(BuildSelect(fake.session, "[TABLE]t", top, {.where = "", .orderBy = "", .fields = "*"}, fieldsFixed),
              "SELECT TOP 1 * FROM [t]");
    EXPECT_EQ(top, 1);
  }
}

TEST(BuildSelect, WrapsTheQueryOfAViewAsADerivedTable) {
  const std::string views = "<Views><View><Id>v</Id><Query>SELECT x FROM y</Query></View></Views>";
  const SelectParts parts{.where = "c", .orderBy = "o", .fields = "*"};
  const StatementCase cases[] = {
      {DatabaseKind::DbSqlServer,
       "SELECT TOP 10 * FROM (SELECT x FROM y) AS [KORVANTASUBQUERYNAME] WHERE (c) ORDER BY o"},
      {DatabaseKind::DbMySql,
       "SELECT * FROM (SELECT x FROM y) AS `KORVANTASUBQUERYNAME` WHERE (c) ORDER BY o LIMIT 10"},
      {DatabaseKind::DbUnknown, "SELECT * FROM (SELECT x FROM y) AS \"KORVANTASUBQUERYNAME\" WHERE (c) ORDER BY o"},
  };
  for (const StatementCase& expected : cases) {
    FakeSession fake(expected.kind);
    WriteViews(fake, views);
    bool fieldsFixed = true;
    std::int32_t top = 10;
    EXPECT_EQ(BuildSelect(fake.session, "[APPVIEW]v", top, parts, fieldsFixed), expected.statement);
    EXPECT_TRUE(fieldsFixed) << "the flag belongs to macro mode alone";
  }
}

TEST(BuildSelect, OnSqlServerAViewIsADerivedTableWithTopAndItsAlias) {
  FakeSession fake(DatabaseKind::DbSqlServer);
  WriteViews(fake, "<Views><View><Id>v</Id><Query>SELECT x FROM y</Query></View></Views>");
  EXPECT_EQ(Select(fake, "[APPVIEW]v", 10, {.where = "a=1", .orderBy = "", .fields = "*"}),
            "SELECT TOP 10 * FROM (SELECT x FROM y) AS [KORVANTASUBQUERYNAME] WHERE (a=1)");
}

TEST(BuildSelect, FillsTheMarkersOfAViewInMacroMode) {
  FakeSession fake(DatabaseKind::DbSqlServer);
  WriteViews(fake,
             "<Views><View><Id>v</Id><Query subquery=' No ' top='999' where='1=1' orderby='1' fields='x'>"
             "SELECT TOP 999 x FROM y WHERE 1=1 AND 1=1</Query></View></Views>");
  bool fieldsFixed = true;
  std::int32_t top = 0;
  // The ordering's marker "1" is replaced everywhere too: after the condition's marker is out of the way none is left.
  EXPECT_EQ(
      BuildSelect(fake.session, "[APPVIEW]v", top, {.where = "x = 999", .orderBy = "z", .fields = "a,b"}, fieldsFixed),
      "SELECT TOP 1 a,b FROM y WHERE x = 999 AND x = 999");
  EXPECT_FALSE(fieldsFixed);
  EXPECT_EQ(top, 1);
}

TEST(BuildSelect, EveryOccurrenceOfAMarkerIsReplacedNotOnlyTheIntendedOne) {
  FakeSession fake(DatabaseKind::DbUnknown);
  WriteViews(fake,
             "<Views><View><Id>v</Id><Query subquery='no' where='1=1'>SELECT x FROM (SELECT x FROM y WHERE 1=1) WHERE "
             "1=1 AND z='1=1'</Query></View></Views>");
  EXPECT_EQ(Select(fake, "[APPVIEW]v", 3, {.where = "c", .orderBy = "", .fields = "x"}),
            "SELECT x FROM (SELECT x FROM y WHERE c) WHERE c AND z='c'");
}

TEST(BuildSelect, AValueIsNeverTakenForAnotherMarker) {
  FakeSession fake(DatabaseKind::DbUnknown);
  WriteViews(fake,
             "<Views><View><Id>v</Id><Query subquery='no' top='TOPMARK' where='WHEREMARK' orderby='ORDERMARK' "
             "fields='FIELDMARK'>FIELDMARK TOPMARK WHEREMARK ORDERMARK</Query></View></Views>");
  EXPECT_EQ(Select(fake, "[APPVIEW]v", 3,
                   {.where = "TOPMARK ORDERMARK FIELDMARK", .orderBy = "WHEREMARK", .fields = "ORDERMARK WHEREMARK"}),
            "ORDERMARK WHEREMARK 3 TOPMARK ORDERMARK FIELDMARK WHEREMARK");
}

TEST(BuildSelect, IgnoresWhatAMacroViewHasNoMarkerFor) {
  FakeSession fake(DatabaseKind::DbMySql);
  WriteViews(fake, "<Views><View><Id>v</Id><Query subquery='no'>SELECT 1 WHERE 2</Query></View></Views>");
  bool fieldsFixed = false;
  std::int32_t top = 3;
  EXPECT_EQ(BuildSelect(fake.session, "[APPVIEW]v", top, {.where = "c", .orderBy = "o", .fields = "f"}, fieldsFixed),
            "SELECT 1 WHERE 2");
  EXPECT_TRUE(fieldsFixed);
}

TEST(BuildSelect, KeepsAMacroMarkerThatTheRequestLeavesEmpty) {
  FakeSession fake(DatabaseKind::DbMySql);
  WriteViews(fake,
             "<Views><View><Id>v</Id><Query subquery='no' where='1=1' orderby='ORD' fields='f'>"
             "SELECT f WHERE 1=1 ORDER BY ORD</Query></View></Views>");
  EXPECT_EQ(Select(fake, "[APPVIEW]v", 3, {.where = "", .orderBy = "", .fields = "g"}),
            "SELECT g WHERE 1=1 ORDER BY ORD");
}

TEST(BuildSelect, NamesTheViewThatThereIsNot) {
  FakeSession fake;
  EXPECT_RAISES(Select(fake, "[APPVIEW]it's", 1, {}), 1000, "Unable to locate the view with id [APPVIEW]it's.");
}

}  // namespace
}  // namespace ods::test
