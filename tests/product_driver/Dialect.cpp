#include "product_driver/driver/Dialect.h"

#include <gtest/gtest.h>

#include "product_driver/driver/DriverError.h"

namespace ods::product_driver {
namespace {

std::string Sqlite(const char* product, const std::string& sql, const DialectContext& context = {}) {
  return Translate(FindProduct(product), sql, context).sql;
}

/// The SQLSTATE that refuses a statement; "" when it is taken.
std::string StateOf(const char* product, const std::string& sql, const DialectContext& context = {}) {
  try {
    (void)Translate(FindProduct(product), sql, context);
  } catch (const DriverError& error) {
    return error.State();
  }
  return "";
}

constexpr const char* kSqlServer = "Microsoft SQL Server";
constexpr const char* kPervasive = "Pervasive.SQL";
const std::string kSyntax = sql_state::kSyntax;

TEST(Dialect, TopBecomesALimitAtTheEndOfItsSelect) {
  EXPECT_EQ(Sqlite("ACCESS", "SELECT TOP 3 a FROM t"), "SELECT  a FROM \"t\" LIMIT 3");
  EXPECT_EQ(Sqlite("ACCESS", "SELECT TOP 3 a FROM (SELECT TOP 2 b FROM u) AS v"),
            "SELECT  a FROM (SELECT  b FROM \"u\" LIMIT 2) AS v LIMIT 3");
  EXPECT_EQ(StateOf("ACCESS", "SELECT TOP a FROM t"), kSyntax);
}

TEST(Dialect, EveryProductRefusesTheRowLimitOfAnother) {
  for (const char* product : {kSqlServer, "ACCESS", "MS Jet", kPervasive}) {
    EXPECT_EQ(StateOf(product, "SELECT TOP 1 a FROM t"), "") << product;
    EXPECT_EQ(StateOf(product, "SELECT a FROM t LIMIT 1"), kSyntax) << product;
  }
  for (const char* product : {"", "My NAVISION", "Concorde", "EXCEL", "Other"}) {
    EXPECT_EQ(StateOf(product, "SELECT TOP 1 a FROM t"), kSyntax) << product;
    EXPECT_EQ(StateOf(product, "SELECT a FROM t LIMIT 1"), kSyntax) << product;
  }
  EXPECT_EQ(StateOf("MySQL", "SELECT TOP 1 a FROM t"), kSyntax);
  EXPECT_EQ(StateOf("MySQL", "SELECT a FROM t LIMIT 1"), "");
}

TEST(Dialect, EveryProductHasItsOwnQuotes) {
  struct Case {
    const char* product;
    bool brackets;
    bool backQuotes;
    bool quotes;
  };
  for (const Case& c :
       {Case{kSqlServer, true, false, true}, Case{"ACCESS", true, true, false}, Case{"MySQL", false, true, false},
        Case{"EXCEL", false, true, false}, Case{"Navision", false, false, true}, Case{"Concorde", false, false, true},
        Case{kPervasive, false, false, true}, Case{"", false, false, true}, Case{"Other", false, false, true}}) {
    const std::string name = "SELECT \"a b\" FROM ";
    const auto isName = [&](const std::string& quoted) {
      try {
        return Sqlite(c.product, "SELECT " + quoted + " FROM t").starts_with(name);
      } catch (const DriverError&) {
        return false;
      }
    };
    EXPECT_EQ(isName("[a b]"), c.brackets) << c.product;
    EXPECT_EQ(isName("`a b`"), c.backQuotes) << c.product;
    EXPECT_EQ(isName("\"a b\""), c.quotes) << c.product;
  }
}

TEST(Dialect, AQuoteInANameIsDoubled) {
  EXPECT_EQ(Sqlite(kSqlServer, "SELECT [a]]\"b]"), "SELECT \"a]\"\"b\"");
  EXPECT_EQ(Sqlite("MySQL", "SELECT `a``b`"), "SELECT \"a`b\"");
  EXPECT_EQ(StateOf("MySQL", "SELECT `a"), kSyntax);
  EXPECT_EQ(StateOf("MySQL", "SELECT ``"), kSyntax);
}

TEST(Dialect, ATableOfAProductWithSchemasIsSchemaAndName) {
  EXPECT_EQ(Sqlite(kSqlServer, "SELECT * FROM [sales].[Order]]s]"), "SELECT * FROM \"sales.Order]s\"");
  EXPECT_EQ(Sqlite(kSqlServer, "SELECT * FROM Customer c JOIN sales.Line l"),
            "SELECT * FROM \"dbo.Customer\" c JOIN \"sales.Line\" l");
  EXPECT_EQ(Sqlite("ACCESS", "SELECT * FROM [a.b]"), "SELECT * FROM \"a.b\"");
}

TEST(Dialect, OnlyTheProductsOwnFunctionFoldsTheCase) {
  for (const char* product : {kSqlServer, kPervasive, "MySQL", "Other"}) {
    EXPECT_EQ(Sqlite(product, "SELECT UPPER('a')"), "SELECT UPPER('a')") << product;
  }
  for (const char* product : {"ACCESS", "Navision", "Concorde", "EXCEL", "MySQL", kPervasive, "Other"}) {
    EXPECT_EQ(Sqlite(product, "SELECT UCASE('a')"), "SELECT UPPER('a')") << product;
  }
  EXPECT_EQ(StateOf(kSqlServer, "SELECT UCASE('a')"), kSyntax);
  for (const char* product : {"ACCESS", "Navision", "Concorde", "EXCEL", ""}) {
    EXPECT_EQ(StateOf(product, "SELECT UPPER('a')"), kSyntax) << product;
  }
  EXPECT_EQ(StateOf("", "SELECT UCASE('a')"), kSyntax);
}

TEST(Dialect, DatesAndTimesAreTextsWhenTheyExist) {
  EXPECT_EQ(Sqlite("Other", "a={d '2024-02-29'} b={t '23:59:59'} c={ts '2024-02-05 07:08:09'}"),
            "a='2024-02-29' b='23:59:59' c='2024-02-05 07:08:09'");
  for (const char* escape : {"{d '2023-02-29'}", "{d '2024-13-01'}", "{d '24-01-01'}", "{t '24:00:00'}", "{t '7:00'}",
                             "{ts '2024-02-05'}", "{ts '2024-02-05 07:08:60'}"}) {
    EXPECT_EQ(StateOf("Other", escape), sql_state::kBadDate) << escape;
  }
  for (const char* escape : {"{d 2024}", "{d '2024-01-01'", "{x '2024-01-01'}", "{", "}"}) {
    EXPECT_EQ(StateOf("Other", escape), kSyntax) << escape;
  }
}

TEST(Dialect, FractionsOfASecondAreAsLongAsTheProductTakes) {
  EXPECT_EQ(Sqlite("Other", "a={ts '2024-02-05 07:08:09.123456789'} b={t '07:08:09.5'}"),
            "a='2024-02-05 07:08:09.123456789' b='07:08:09.5'");
  EXPECT_EQ(Sqlite(kSqlServer, "{ts '2024-02-05 07:08:09.123'}"), "'2024-02-05 07:08:09.123'");
  EXPECT_EQ(StateOf(kSqlServer, "{ts '2024-02-05 07:08:09.1234'}"), sql_state::kBadDate);
  for (const char* escape : {"{ts '2024-02-05 07:08:09.5'}", "{t '07:08:09.5'}"}) {
    EXPECT_EQ(StateOf("ACCESS", escape), sql_state::kBadDate) << escape;
  }
  for (const char* escape : {"{d '2024-02-05.5'}", "{t '07:08:09.'}", "{t '07:08:09.x'}", "{t '.5'}",
                             "{ts '2024-02-05.5'}", "{ts '2024-02-05 07:08:09.1234567891'}"}) {
    EXPECT_EQ(StateOf("Other", escape), sql_state::kBadDate) << escape;
  }
}

TEST(Dialect, OnlySomeProductsKnowCaseEscapeAndUnionsWithoutTables) {
  constexpr const char* kCase = "SELECT CASE WHEN a IS NULL THEN 1 ELSE 0 END FROM t";
  constexpr const char* kEscape = "SELECT a FROM t WHERE a LIKE '!%%' ESCAPE '!'";
  constexpr const char* kUnion = "SELECT x FROM (SELECT 1 AS x UNION ALL SELECT NULL) AS t ORDER BY x";
  for (const char* product : {kSqlServer, "MySQL", kPervasive, "Other"}) {
    for (const char* sql : {kCase, kEscape, kUnion}) EXPECT_EQ(StateOf(product, sql), "") << product << ": " << sql;
  }
  for (const char* product : {"ACCESS", "MS Jet", "EXCEL"}) {
    for (const char* sql : {kCase, kEscape, kUnion})
      EXPECT_EQ(StateOf(product, sql), kSyntax) << product << ": " << sql;
    EXPECT_EQ(StateOf(product, "SELECT a FROM t UNION SELECT b FROM u"), "") << product;
  }
}

TEST(Dialect, ACharacterInBracketsIsItselfInAPatternOfSomeProducts) {
  EXPECT_EQ(Sqlite("ACCESS", "a LIKE '%[%][[]x]\\_'"), "a LIKE '%\\%\\[x]\\\\_' ESCAPE '\\'");
  EXPECT_EQ(Sqlite("ACCESS", "a = '[%]'"), "a = '[%]'");
  EXPECT_EQ(Sqlite("Other", "a LIKE '[%]'"), "a LIKE '[%]'");
}

TEST(Dialect, MySqlHasAnInformationSchema) {
  EXPECT_EQ(Sqlite("MySQL", "WHERE a=DATABASE() AND b"), "WHERE a=DATABASE() AND b");
  EXPECT_EQ(StateOf("Other", "WHERE a=DATABASE()"), kSyntax);
  EXPECT_EQ(Sqlite("MySQL", "SELECT a FROM information_schema.TABLES AS t"),
            "SELECT a FROM \"information_schema.TABLES\" AS t");
  EXPECT_EQ(Sqlite("Other", "SELECT a FROM information_schema.TABLES"), "SELECT a FROM \"information_schema\".TABLES");
}

TEST(Dialect, ANationalTextIsOneOfMicrosoftSqlServer) {
  const std::string sql = "SELECT a FROM t WHERE a=N'\xC3\xA9''s'";
  EXPECT_EQ(Sqlite(kSqlServer, sql), "SELECT a FROM \"dbo.t\" WHERE a='\xC3\xA9''s'");
  EXPECT_EQ(StateOf("ACCESS", sql), kSyntax);
  EXPECT_EQ(StateOf("MySQL", sql), kSyntax);
}

TEST(Dialect, BinaryValuesAreHexadecimal) {
  EXPECT_EQ(Sqlite("Other", "a=0x0A1b"), "a=X'0A1b'");
  EXPECT_EQ(Sqlite("Other", "a=0x"), "a=X''");
  EXPECT_EQ(StateOf("Other", "a=0x0G"), kSyntax);
}

TEST(Dialect, PervasiveQuotesValuesOfTypeBinary) {
  const DialectContext context = {.backslashes = false, .isBinary = [](std::string_view name) { return name == "Id"; }};
  EXPECT_EQ(Sqlite(kPervasive, "WHERE CAST(\"Id\" AS BINARY(16))='0A1B'", context), "WHERE \"Id\"=X'0A1B'");
  EXPECT_EQ(Sqlite(kPervasive, "WHERE \"Id\" = '0A1B'", context), "WHERE \"Id\" = X'0A1B'");
  EXPECT_EQ(Sqlite(kPervasive, "WHERE \"Name\" = '0A1B'", context), "WHERE \"Name\" = '0A1B'");
  EXPECT_EQ(Sqlite(kPervasive, "WHERE \"Picture\"=0x0A", context), "WHERE \"Picture\"=X'0A'");
  EXPECT_EQ(StateOf(kPervasive, "WHERE \"Id\"=0x0A", context), kSyntax);
  EXPECT_EQ(StateOf(kPervasive, "WHERE \"Id\"='0G'", context), kSyntax);
  EXPECT_EQ(Sqlite(kPervasive, "CAST(\"a\" AS INTEGER)", context), "CAST(\"a\" AS INTEGER)");
}

TEST(Dialect, NavisionSetsFlowFiltersAndJoinsTextsAtBraces) {
  const Translation translation =
      Translate(FindProduct("Navision"), "({pred SetFlowFilter, 'Customer', 'It''s', 'a{'+'b}..c'}) AND x='{'+'y}'");
  EXPECT_EQ(translation.sql, "(1) AND x='{'||'y}'");
  EXPECT_EQ(translation.flowFilters, (std::vector<FlowFilter>{{"Customer", "It's", "a{b}..c"}}));
  EXPECT_EQ(StateOf("Navision", "x='{y}'"), kSyntax);
  EXPECT_EQ(StateOf("Navision", "{pred SetFlowFilter, 'a', 'b'}"), kSyntax);
  EXPECT_EQ(StateOf("Navision", "{pred Other, 'a', 'b', 'c'}"), kSyntax);
  EXPECT_EQ(StateOf(kSqlServer, "{pred SetFlowFilter, 'a', 'b', 'c'}"), kSyntax);
}

TEST(Dialect, ConcordeComparesWithoutRegardToBlanksAtTheEnd) {
  EXPECT_EQ(Sqlite("Concorde", "RTRIM(LTRIM(\"a\")) = 'b  '"), "RTRIM(LTRIM(\"a\")) = 'b'");
  EXPECT_EQ(Sqlite("Concorde", "\"a\" LIKE 'b  '"), "\"a\" LIKE 'b  '");
  EXPECT_EQ(Sqlite("Concorde", "\"a\">='b  '"), "\"a\">='b' COLLATE RTRIM") << "the column has blanks, too";
  EXPECT_EQ(Sqlite("Other", "\"a\" = 'b  '"), "\"a\" = 'b  '");
}

TEST(Dialect, ABackslashOfMySqlIsAnEscapeUntilTheSessionSaysOtherwise) {
  EXPECT_EQ(Sqlite("MySQL", R"('a\'b')", {.backslashes = true}), "'a''b'");
  EXPECT_EQ(StateOf("MySQL", R"('a\')", {.backslashes = true}), kSyntax);
  EXPECT_EQ(Sqlite("MySQL", R"('a\')"), R"('a\')");
}

TEST(Dialect, EmptyOrUnmatchedParenthesesAreRefused) {
  for (const char* product :
       {kSqlServer, "ACCESS", "Navision", "Concorde", "MySQL", kPervasive, "EXCEL", "", "Other"}) {
    for (const char* sql : {"SELECT a FROM t WHERE (())", "SELECT a FROM t WHERE ((a=1) AND ())", "(", ")"}) {
      EXPECT_EQ(StateOf(product, sql), kSyntax) << product << ": " << sql;
    }
  }
}

TEST(Dialect, SqlServerOrdersADerivedTableOnlyWithTop) {
  EXPECT_EQ(StateOf(kSqlServer, "SELECT a FROM (SELECT a FROM t ORDER BY a) AS x"), kSyntax);
  EXPECT_EQ(StateOf(kSqlServer, "SELECT a FROM (SELECT TOP 5 a FROM t ORDER BY a) AS x ORDER BY a"), "");
}

TEST(Dialect, CommentsAreUnderstoodByTheProductsThatHaveThem) {
  EXPECT_EQ(Sqlite(kSqlServer, "a--b'\nc/*d'*/e"), "a c e");
  EXPECT_EQ(StateOf("ACCESS", "a--b"), kSyntax);
  EXPECT_EQ(StateOf("ACCESS", "a/*b*/"), kSyntax);
}

TEST(Dialect, NumbersAndTextsStayWhatTheyAre) {
  EXPECT_EQ(Sqlite("Other", "a=-1.5E+20 AND b='it''s TOP 1 {d} [x]'"), "a=-1.5E+20 AND b='it''s TOP 1 {d} [x]'");
  EXPECT_EQ(StateOf("Other", "a=1E"), kSyntax);
  EXPECT_EQ(StateOf("Other", "a=1abc"), kSyntax);
  EXPECT_EQ(StateOf("Other", "'abc"), kSyntax);
  EXPECT_EQ(StateOf("Other", "SELECT 1; SELECT 2"), kSyntax);
}

}  // namespace
}  // namespace ods::product_driver
