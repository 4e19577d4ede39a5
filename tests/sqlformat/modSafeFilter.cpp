#include "sqlformat/modSafeFilter.h"

#include <gtest/gtest.h>

#include "doubles/FakeSession.h"
#include "sqlformat/FilterTexts.h"
#include "support/RaisedErrors.h"

namespace ods::test {
namespace {

class Filter : public ::testing::Test {
 protected:
  void SetUp() override { Use(DatabaseKind::DbSqlServer); }

  void Use(DatabaseKind kind) {
    fake_ = std::make_unique<FakeSession>(kind);
    fake_->Describe(kFilteredTable, {{"Name", ado_type::kVarWChar, 50, 0},
                                     {"Id", ado_type::kInteger, 4, 0},
                                     {"Weight", ado_type::kDouble, 8, 0},
                                     {"Blocked", ado_type::kBoolean, 1, 0},
                                     {"Born", ado_type::kDBDate, 6, 0},
                                     {"Changed", ado_type::kDBTimeStamp, 16, 0},
                                     {"Lunch", ado_type::kDBTime, 6, 0},
                                     {"Code", ado_type::kVarBinary, 8, 0},
                                     {"Location Filter", ado_type::kInteger, 4, 0},
                                     {"Date Filter", ado_type::kVarWChar, 20, 0},
                                     {"Odd", ado_type::kEmpty, 0, 0}});
  }
  [[nodiscard]] std::string Normalised(const std::string& field, const Value& value) {
    return SafeFilter(fake_->session, kFilteredTable, field, value);
  }
  [[nodiscard]] std::string Where(const std::string& conditions) {
    const XmlDocument request("<XML><Filter>" + conditions + "</Filter></XML>");
    std::string step;
    return BuildFilter(fake_->session, kFilteredTable, request.DocumentElement(), step);
  }
  [[nodiscard]] std::string Condition(const std::string& field, const std::string& op, const std::string& value) {
    return Where("<Condition><FieldId>" + field + "</FieldId><FilterOp>" + op + "</FilterOp><Filter>" + value +
                 "</Filter></Condition>");
  }
  [[nodiscard]] std::string Search(const std::string& fields, const std::string& text) {
    const XmlDocument request("<XML><SearchFields>" + fields + "</SearchFields></XML>");
    return BuildSearch(fake_->session, kFilteredTable, request.DocumentElement(), text);
  }

  std::unique_ptr<FakeSession> fake_;
};

TEST_F(Filter, NormalisesByTheTypeOfTheField) {
  EXPECT_EQ(Normalised("Name", "a|b"), "a|b");
  EXPECT_EQ(Normalised("Id", " 42 "), "42");
  EXPECT_EQ(Normalised("Weight", "2.50"), "2.5");
  EXPECT_EQ(Normalised("Blocked", "true"), "1");
  EXPECT_EQ(Normalised("Born", "5 March 2009"), "2009-03-05 00:00:00");
  EXPECT_EQ(Normalised("Changed", "2009-03-05 14:07"), "2009-03-05 14:07:00");
  EXPECT_EQ(Normalised("Code", "0a|0b"), "0a|0b");
  EXPECT_EQ(Normalised("Odd", "x"), "");
}

TEST_F(Filter, NormalisesEveryTimeToNothing) {
  EXPECT_EQ(Normalised("Lunch", "12:30"), "");
  EXPECT_EQ(Condition("Lunch", "eq", "12:30"), "([Lunch] = {t '00:00:00'})");
}

TEST_F(Filter, NormalisesATimeStampAsADateWithItsTime) {
  EXPECT_EQ(Normalised("Changed", "5 March 2009 14:07:09"), "2009-03-05 14:07:09");
  EXPECT_EQ(Condition("Changed", "lt", "5 March 2009 14:07:09"), "([Changed] < {ts '2009-03-05 14:07:09'})");
}

TEST_F(Filter, NamesTheFieldThatTheTableLacks) {
  EXPECT_RAISES(
      Normalised("Missing", "x"), 1000,
      "Unable to get information about field 'Missing' in table '[TABLE]Customer'. Please make sure that the field "
      "exist.");
}

TEST_F(Filter, IsEmptyWithoutConditions) { EXPECT_EQ(Where(""), ""); }

TEST_F(Filter, WritesEveryOperator) {
  EXPECT_EQ(Condition("Name", "eq", "Ann|Bob"), "([Name] = 'Ann' OR [Name] = 'Bob')");
  EXPECT_EQ(Condition("Name", "", "Ann"), "([Name] = 'Ann')");
  EXPECT_EQ(Condition("Name", "lt", "A|B"), "([Name] < 'A' OR [Name] < 'B')");
  EXPECT_EQ(Condition("Name", "gt", "A"), "([Name] > 'A')");
  EXPECT_EQ(Condition("Name", "lteq", "A"), "([Name] <= 'A')");
  EXPECT_EQ(Condition("Name", "gteq", "A"), "([Name] >= 'A')");
  EXPECT_EQ(Condition("Name", "not", "Ann|Bob"), "([Name] <> 'Ann' AND [Name] <> 'Bob')");
  EXPECT_EQ(Condition("Name", "like", "A%|B_"), "([Name]  LIKE  'A%' OR [Name]  LIKE  'B_')");
}

TEST_F(Filter, LikeHasTwoBlanksOnEachSideAndAddsNoWildcards) {
  EXPECT_EQ(Condition("Name", "like", "A%"), "([Name]  LIKE  'A%')");
  EXPECT_EQ(Condition("Name", "like", "A"), "([Name]  LIKE  'A')");
}

TEST_F(Filter, AnEmptyValueIsComparedWithTheEmptyText) {
  EXPECT_EQ(Condition("Name", "eq", ""), "([Name] = '')");
  EXPECT_EQ(Condition("Id", "eq", ""), "([Id] = 0)");
}

TEST_F(Filter, AnEmptyAlternativeCountsAsOne) {
  EXPECT_EQ(Condition("Name", "eq", "a||b"), "([Name] = 'a' OR [Name] = '' OR [Name] = 'b')");
  EXPECT_EQ(Condition("Name", "eq", "|"), "([Name] = '' OR [Name] = '')");
}

TEST_F(Filter, AlternativesOfNumbersBooleansAndDatesAreOneValueThatDoesNotConvert) {
  EXPECT_EQ(Condition("Id", "eq", "1|2"), "([Id] = 0)");
  EXPECT_EQ(Condition("Weight", "eq", "1|2"), "([Weight] = 0)");
  EXPECT_EQ(Condition("Blocked", "eq", "1|1"), "([Blocked] = 0)");
  EXPECT_EQ(Condition("Born", "eq", "2009-03-05|2009-03-06"), "([Born] = {d '1899-12-30'})");
  EXPECT_EQ(Condition("Changed", "eq", "2009-03-05|2009-03-06"), "([Changed] = {ts '1899-12-30 00:00:00'})");
}

TEST_F(Filter, WritesTypedLiterals) {
  EXPECT_EQ(Condition("Id", "gt", "42"), "([Id] > 42)");
  EXPECT_EQ(Condition("Born", "eq", "2009-03-05"), "([Born] = {d '2009-03-05'})");
  EXPECT_EQ(Condition("Code", "eq", "0a1b|ff"), "([Code] = 0x0A1B OR [Code] = 0xFF)");
}

TEST_F(Filter, LeavesAnUnknownOperatorAsEmptyParentheses) {
  EXPECT_EQ(Condition("Name", "between", "a"), "()");
  EXPECT_EQ(Condition("Name", "EQ", "a"), "()");
}

TEST_F(Filter, JoinsConditionsWithAnd) {
  EXPECT_EQ(Where("<Condition><FieldId>Id</FieldId><FilterOp>gt</FilterOp><Filter>1</Filter></Condition>"
                  "<Condition><FieldId>Name</FieldId><Filter>x</Filter></Condition>"),
            "([Id] > 1) AND ([Name] = 'x')");
}

TEST_F(Filter, KeepsHostileTextInsideItsLiteral) {
  EXPECT_EQ(Condition("Name", "eq", "x'; DROP TABLE c; --"), "([Name] = 'x''; DROP TABLE c; --')");
}

TEST_F(Filter, WritesTheFlowFilterEscapeOfNavision) {
  Use(DatabaseKind::DbNavision);
  EXPECT_EQ(Condition("Location Filter", "flowfilter", "BLUE..RED"),
            "({pred SetFlowFilter, 'Customer', 'Location Filter', 'BLUE..RED'})");
  EXPECT_EQ(Condition("Location Filter", "flowfilter", "A|{B'"),
            "({pred SetFlowFilter, 'Customer', 'Location Filter', 'A'} OR "
            "{pred SetFlowFilter, 'Customer', 'Location Filter', '{'+'B'''})");
}

TEST_F(Filter, AFlowFilterWithoutAValueIsAComparisonWithItsKeyword) {
  EXPECT_EQ(Condition("Date Filter", "flowfilter", ""), "([Date Filter] flowfilter '')");
  Use(DatabaseKind::DbNavision);
  EXPECT_EQ(Condition("Date Filter", "flowfilter", ""), "(\"Date Filter\" flowfilter '')");
}

constexpr const char* kNameAndCode =
    "<Field><Id>Id</Id><SearchString/></Field>"
    "<Field><Id>Name</Id><SearchString>%{0}%</SearchString></Field>"
    "<Field><Id>Name</Id><SearchString>{0}{0}</SearchString></Field>";

TEST_F(Filter, SearchesFoldedTextByProduct) {
  EXPECT_EQ(Search("<Field><Id>Name</Id><SearchString>%{0}%</SearchString></Field>", "smi"),
            "((UPPER([Name]) LIKE UPPER('%smi%')))");
  EXPECT_EQ(Search(kNameAndCode, "o'x"),
            "((UPPER([Name]) LIKE UPPER('%o''x%')) OR (UPPER([Name]) LIKE UPPER('o''xo''x')))");
  Use(DatabaseKind::DbUnnamed);
  EXPECT_EQ(Search(kNameAndCode, "a"), "((\"Name\" LIKE '%a%') OR (\"Name\" LIKE 'aa'))");
  for (const DatabaseKind kind : {DatabaseKind::DbUnknown, DatabaseKind::DbNavision, DatabaseKind::DbPervasive}) {
    Use(kind);
    EXPECT_EQ(Search(kNameAndCode, "a"), "((UCASE(\"Name\") LIKE UCASE('%a%')) OR (UCASE(\"Name\") LIKE UCASE('aa')))");
  }
  Use(DatabaseKind::DbConcorde);
  EXPECT_EQ(Search("<Field><Id>Name</Id><SearchString>{0}</SearchString></Field>", "a"),
            "((UCASE(RTRIM(LTRIM(\"Name\"))) LIKE UCASE('a')))");
  Use(DatabaseKind::DbAccess);
  EXPECT_EQ(Search("<Field><Id>Name</Id><SearchString>{0}</SearchString></Field>", "a"),
            "((UCASE([Name]) LIKE UCASE('a')))");
  Use(DatabaseKind::DbMySql);
  EXPECT_EQ(Search("<Field><Id>Name</Id><SearchString>{0}</SearchString></Field>", "a"),
            "((UCASE(`Name`) LIKE UCASE('a')))");
  Use(DatabaseKind::DbExcel);
  EXPECT_EQ(Search("<Field><Id>Name</Id><SearchString>{0}</SearchString></Field>", "a"),
            "((UCASE(`Name`) LIKE UCASE('a')))");
}

TEST_F(Filter, NormalisesSearchTextByTheFieldToo) {
  // Of a time nothing is left, where its literal alone would keep the hour.
  EXPECT_EQ(Search("<Field><Id>Lunch</Id><SearchString>{0}</SearchString></Field>", "12:30"),
            "((UPPER([Lunch]) LIKE UPPER({t '00:00:00'})))");
  EXPECT_EQ(Search("<Field><Id>Id</Id><SearchString>{0}</SearchString></Field>", "x"), "((UPPER([Id]) LIKE UPPER(0)))");
}

TEST_F(Filter, ASearchWithoutPatternsLeavesEmptyParentheses) {
  EXPECT_EQ(Search("", "x"), "()");
  EXPECT_EQ(Search("<Field><Id>Name</Id><SearchString/></Field>", "x"), "()");
}

TEST_F(Filter, ASearchTextThatIsRepeatedBeyondAllMeasureIsRefused) {
  // Written out, this pattern would have a million million bytes.
  EXPECT_RAISES(Search("<Field><Id>Name</Id><SearchString>" + Repeat("{0}", 1'000'000) + "</SearchString></Field>",
                       Repeat("x", 1'000'000)),
                1000, kTooLong);
  EXPECT_RAISES(
      Search(Repeat("<Field><Id>Name</Id><SearchString>{0}</SearchString></Field>", 20), Repeat("x", 1'000'000)), 1000,
      kTooLong);
}

TEST_F(Filter, AlternativesAndConditionsBeyondAllMeasureAreRefused) {
  EXPECT_RAISES(Condition("Name", "eq", Repeat("|", 2'000'000)), 1000, kTooLong);
  EXPECT_RAISES(
      Where(
          Repeat("<Condition><FieldId>Name</FieldId><Filter>" + Repeat("x", 1'000'000) + "</Filter></Condition>", 17)),
      1000, kTooLong);
  EXPECT_NO_THROW(static_cast<void>(Condition("Name", "eq", Repeat("|", 100'000))));
}

}  // namespace
}  // namespace ods::test
