#include "Names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ExitStatus.h"

namespace odbc_data {
namespace {

using ::testing::ElementsAre;

const std::vector<Table> kTables = {
    {"[TABLE]\"public\".\"customer\"", "customer"},
    {"[TABLE]\"sales\".\"customer\"", "sales.customer"},
    {"[TABLE]\"sales\".\"order \"\"1\"\"\"", "sales.o1"},
    {"[APPVIEW]totals", "Order totals"},
    {"[VIEW]Totals", "Totals"},
    {"[TABLE][dbo].[a]]b]", "[dbo].[a]]b]"},
};

std::string Found(const std::string& name) {
  try {
    return FindTable(kTables, name);
  } catch (const UsageError& error) {
    return error.what();
  }
}

TEST(Names, CountsWhatMustBeChanged) {
  const std::vector<std::tuple<const char*, const char*, std::size_t>> cases = {{"", "", 0},
                                                                                {"a", "", 1},
                                                                                {"", "abc", 3},
                                                                                {"customer", "CUSTOMER", 0},
                                                                                {"customer", "custmer", 1},
                                                                                {"customer", "cusotmer", 1},
                                                                                {"customer", "costomers", 2},
                                                                                {"ab", "ba", 1},
                                                                                {"kitten", "sitting", 3}};
  for (const auto& [one, other, distance] : cases) {
    EXPECT_EQ(EditDistance(one, other), distance) << one << ' ' << other;
    EXPECT_EQ(EditDistance(other, one), distance) << other << ' ' << one;
  }
}

TEST(Names, OffersWhatIsNearTheNearestFirst) {
  EXPECT_THAT(NearNames({"item", "customer", "custom", "order"}, "custome"), ElementsAre("custom", "customer"));
  EXPECT_THAT(NearNames({"customer_balance", "item"}, "cust"), ElementsAre("customer_balance"));
  EXPECT_THAT(NearNames({"item", "order"}, "zebra"), ElementsAre());
  EXPECT_THAT(NearNames({"aa", "ab", "ac", "ad"}, "ax"), ElementsAre("aa", "ab", "ac")) << "three at most";
}

TEST(Names, TheBareNameIsWithoutKindSchemaAndQuotes) {
  EXPECT_EQ(BareName("[TABLE]customer"), "customer");
  EXPECT_EQ(BareName("[TABLE]\"sales\".\"customer\""), "customer");
  EXPECT_EQ(BareName("[TABLE]\"sales\".\"a \"\"b\"\" c\""), "a \"b\" c");
  EXPECT_EQ(BareName("[TABLE][dbo].[a]]b]"), "a]b");
  EXPECT_EQ(BareName("[TABLE]`x`.`y``z`"), "y`z");
  EXPECT_EQ(BareName("plain"), "plain");
  EXPECT_EQ(BareName("[TABLE]"), "");
  EXPECT_EQ(BareName(""), "");
}

TEST(Names, ATableIsFoundByIdentifierCaptionOrBareName) {
  EXPECT_EQ(Found("[VIEW]Totals"), "[VIEW]Totals");
  EXPECT_EQ(Found("[view]totals"), "[VIEW]Totals");
  EXPECT_EQ(Found("customer"), kTables[0].id) << "a caption comes before a bare name";
  EXPECT_EQ(Found("Sales.Customer"), kTables[1].id);
  EXPECT_EQ(Found("order totals"), "[APPVIEW]totals");
  EXPECT_EQ(Found("order \"1\""), kTables[2].id);
  EXPECT_EQ(Found("a]b"), kTables[5].id);
  EXPECT_EQ(Found("totals"), "[VIEW]Totals") << "a caption in other letters comes before a bare name";
}

TEST(Names, WhatIsNotFoundIsToldWithWhatIsNear) {
  EXPECT_EQ(Found("custmer"), "There is no table \"custmer\". Did you mean \"customer\"?");
  EXPECT_EQ(Found("xyz"), "There is no table \"xyz\". \"odbc-data-client tables\" lists them.");
}

TEST(Names, ANameOfTwoTablesIsNotGuessed) {
  const std::vector<Table> tables = {{"[TABLE]\"a\".\"t\"", "a.t"}, {"[TABLE]\"b\".\"t\"", "b.t"}};
  try {
    (void)FindTable(tables, "t");
    ADD_FAILURE() << "found";
  } catch (const UsageError& error) {
    EXPECT_STREQ(error.what(),
                 "More than one table is called \"t\": \"[TABLE]\"a\".\"t\"\", \"[TABLE]\"b\".\"t\"\". Name it by its "
                 "identifier.");
  }
}

}  // namespace
}  // namespace odbc_data
