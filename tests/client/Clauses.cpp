#include "Clauses.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <regex>

#include "ExitStatus.h"

namespace odbc_data {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

const std::vector<Field> kFields = {{.id = "no", .caption = "no"},         {.id = "name", .caption = "Full name"},
                                    {.id = "city", .caption = "city"},     {.id = "size", .caption = "size"},
                                    {.id = "Customer No.", .caption = ""}, {.id = "a,b", .caption = ""},
                                    {.id = "size is", .caption = ""}};

std::string ErrorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const UsageError& error) {
    return error.what();
  }
  return "no error";
}

std::string Shown(const Condition& condition) {
  std::string text = condition.field + "/" + condition.filterOperator;
  for (const std::string& value : condition.values) text += "/" + value;
  return text;
}

TEST(Clauses, AConditionIsAFieldAnOperatorAndValues) {
  struct Case {
    const char* text;
    const char* meaning;
  };
  const std::vector<Case> cases = {
      {"name like A%", "name/like/A%"},
      {"  name   LIKE   A% b  ", "name/like/A% b"},
      {"name like 'A%'", "name/like/A%"},
      {"size between 3 and 5", "size/between/3/5"},
      {"size between 3 AND -5", "size/between/3/-5"},
      {"size between 'x and y' and \"and\"", "size/between/x and y/and"},
      {"size between sand and band", "size/between/sand/band"},
      {"city is null", "city/null"},
      {"city null", "city/null"},
      {"city is not null", "city/notnull"},
      {"city not null", "city/notnull"},
      {"city notnull", "city/notnull"},
      {"city is Oslo", "city/eq/Oslo"},
      {"city is not Oslo", "city/not/Oslo"},
      {"city is nullable", "city/eq/nullable"},
      {"name startswith A", "name/startswith/A"},
      {"name starts with A", "name/startswith/A"},
      {"name begins with A", "name/startswith/A"},
      {"name ends with A", "name/endswith/A"},
      {"name contains A b", "name/contains/A b"},
      {"no in 1|2|3", "no/eq/1/2/3"},
      {"no in (1, 2,3)", "no/eq/1/2/3"},
      {"no in 1,2", "no/eq/1/2"},
      {"no not in 1,2", "no/not/1/2"},
      {"no eq 1|2", "no/eq/1/2"},
      {"no eq 1,2", "no/eq/1,2"},
      {"no=1", "no/eq/1"},
      {"no>=1", "no/gteq/1"},
      {"no >= 1", "no/gteq/1"},
      {"no<>1", "no/not/1"},
      {"no != 1", "no/not/1"},
      {"no<-1", "no/lt/-1"},
      {"no lteq 1", "no/lteq/1"},
      {"no flowfilter 1..3", "no/flowfilter/1..3"},
      {"name eq \"\"", "name/eq/"},
      {"name eq 'it''s | one'|two", "name/eq/it's | one/two"},
      {"name eq O'Hara", "name/eq/O'Hara"},
      {"name eq \xC3\x85rhus", "name/eq/\xC3\x85rhus"},
      {"Full name eq x", "name/eq/x"},
      {"Customer No. eq 5", "Customer No./eq/5"},
      {"\"customer no.\" eq 5", "Customer No./eq/5"},
      {"NAME eq 5", "name/eq/5"},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(Shown(ParseCondition(kFields, one.text)), one.meaning) << one.text;
  }
  EXPECT_EQ(Shown(ParseCondition(kFields, "size is eq 5")), "size is/eq/5") << "the longest name counts";
}

TEST(Clauses, WhatIsNoConditionIsToldWithItsText) {
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"", "A field is missing"},
      {"name", "An operator is missing in: name"},
      {"name like", "A value is missing in: name like"},
      {"name like ''x", "behind a closing quote"},
      {"name like 'x", "A quote is not closed"},
      {"no eq 1|", "A value is missing"},
      {"no eq |1", "A value is missing"},
      {"no in ()", "A value is missing"},
      {"city is null x", "takes no value"},
      {"size between 3", "takes two values"},
      {"size between '3' 5", "takes two values"},
      {"size between 3 and", "takes two values"},
      {"name not like x", "has no operator \"not like\""},
      {"name lik x", "Did you mean \"like\"?"},
      {"nam like x", "There is no field \"nam\". Did you mean \"name\""},
      {"zebra like x", "There is no field \"zebra\". There are \"no\", \"name\""},
  };
  for (const auto& [text, message] : cases) {
    EXPECT_THAT(ErrorOf([text = text] { (void)ParseCondition(kFields, text); }), HasSubstr(message)) << text;
  }
}

TEST(Clauses, AnOrderIsFieldsWithTheirDirections) {
  const auto sort = ParseSort(kFields, "name desc, city ,\"a,b\" ascending,a,b DESC, Customer No. descending");
  std::vector<std::string> shown;
  for (const SortColumn& column : sort) shown.push_back(column.field + (column.descending ? " down" : " up"));
  EXPECT_THAT(shown, ElementsAre("name down", "city up", "a,b up", "a,b down", "Customer No. down"));
  EXPECT_THAT(ErrorOf([] { (void)ParseSort(kFields, "name dsc"); }), HasSubstr("\"dsc\" is not understood"));
  EXPECT_THAT(ErrorOf([] { (void)ParseSort(kFields, "name,"); }), HasSubstr("A field is missing"));
  EXPECT_THAT(ErrorOf([] { (void)ParseSort(kFields, "nmae desc"); }), HasSubstr("Did you mean \"name\""));
}

TEST(Clauses, AListOfFieldsIsSeparatedByCommas) {
  EXPECT_THAT(ParseFieldList(kFields, "no, Full name,a,b , 'size'"), ElementsAre("no", "name", "a,b", "size"));
  EXPECT_THAT(ErrorOf([] { (void)ParseFieldList(kFields, "no name"); }), HasSubstr("\"name\" is not understood"));
  EXPECT_THAT(ErrorOf([] { (void)ParseFieldList(kFields, "no,,name"); }), HasSubstr("A field is missing"));
}

TEST(Clauses, TheHelpNamesEveryKeywordOfTheServer) {
  for (const char* keyword : {"eq", "lt", "gt", "lteq", "gteq", "not", "like", "null", "notnull", "between", "contains",
                              "startswith", "endswith", "flowfilter"}) {
    EXPECT_TRUE(std::regex_search(OperatorHelp(), std::regex("(^|\n)" + std::string(keyword) + "[ \n]"))) << keyword;
  }
}

}  // namespace
}  // namespace odbc_data
