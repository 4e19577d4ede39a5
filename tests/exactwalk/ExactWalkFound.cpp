// What random walks have found, kept as tests of its own.
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "exactwalk/Surroundings.h"
#include "exactwalk/Walk.h"

namespace ods::test {
namespace {

class ExactWalkFound : public OnProduct {
 protected:
  /// Walks through a table of one column of a type, in every order of it.
  void Walk(const std::string& declaration, const std::string& column, const std::vector<std::string>& values,
            const std::string& text = "$", const std::string& order = "$") {
    product_.types = {{.declaration = declaration, .values = values, .text = text, .order = order}};
    product_.columnNames = {column};
    TableChoice choice;
    choice.columns = {{.nullable = true}};
    // A value for each that has a number, and 0 for null.
    for (unsigned i = 0; i < 2 * values.size(); ++i) choice.rows.push_back({i % 8});
    const WalkTable table(product_, *client_, choice, ++tables_);
    Question question;
    question.steps = {0, 2, 1, 5};
    EXPECT_NO_THROW(WalkThrough(table, *pager_, question));
    question.sort = {{.column = 0, .descending = true}};
    EXPECT_NO_THROW(WalkThrough(table, *pager_, question));
    question.filters = {{.column = 0, .operation = 0}};
    EXPECT_NO_THROW(WalkThrough(table, *pager_, question));
  }

  int tables_ = 0;
};

TEST_P(ExactWalkFound, NumbersNearZeroKeepTheirDigits) {
  if (GetParam().name != std::string("SQLite")) GTEST_SKIP() << "others have no such numbers";
  Walk("double", "number", {"1.5", "-1e-300", "5e-324", "1e-250", "2.2250738585072014e-308"});
}

TEST_P(ExactWalkFound, ANameMayHaveAPoint) { Walk("integer", "A.b", {"1", "2", "3"}); }

TEST_P(ExactWalkFound, ANameMayBeThatOfTheRowIdentifier) {
  for (const char* name : {"rowid", "_rowid_", "oid"}) Walk("integer", name, {"1", "1", "2"});
}

TEST_P(ExactWalkFound, ACompositeOfNullsIsNoNull) {
  if (GetParam().name != std::string("PostgreSQL")) GTEST_SKIP() << "others have no composites";
  Walk("walk_pair", "pair", {"'(1,b)'", "'(,)'", "'(1,)'"}, "CAST($ AS text)", "CAST($ AS text) COLLATE \"C\"");
}

INSTANTIATE_TEST_SUITE_P(Products, ExactWalkFound, ::testing::ValuesIn(kProductCases), NameOfCase);

}  // namespace
}  // namespace ods::test
