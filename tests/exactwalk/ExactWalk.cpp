// Exact paging on random tables: whatever columns, keys and rows a table has, and whatever order, filter and page size
// is asked for, walks through its pages meet each row once, in the order that the database itself gives, forwards,
// backwards and zigzag; and the rows that stay do so while others change.
//
// A failure is shrunken and reported with the statements that make its table and the request. RC_PARAMS="seed=N ..."
// repeats a run; ODS_TEST_LONG runs many more, ODS_TEST_QUICK fewer.
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <rapidcheck.h>
#include <sstream>
#include <string>
#include <vector>

#include "exactwalk/Surroundings.h"
#include "exactwalk/Walk.h"

namespace ods::test {
namespace {

/// A whole number below `bound`, whatever the size of a case.
rc::Gen<unsigned> Below(unsigned bound) { return rc::gen::resize(rc::kNominalSize, rc::gen::inRange(0U, bound)); }
constexpr unsigned kAny = 1000;

/// Mostly 0.
rc::Gen<unsigned> Seldom(unsigned bound) {
  return rc::gen::weightedOneOf<unsigned>({{3, rc::gen::just(0U)}, {1, Below(bound)}});
}

rc::Gen<bool> Coin() {
  return rc::gen::map(Below(2), [](unsigned side) { return side == 1; });
}

template <typename T>
rc::Gen<std::vector<T>> AtMost(unsigned most, rc::Gen<T> element) {
  return rc::gen::mapcat(Below(most + 1),
                         [element](unsigned count) { return rc::gen::container<std::vector<T>>(count, element); });
}

rc::Gen<ColumnChoice> AnyColumn() {
  return rc::gen::build<ColumnChoice>(rc::gen::set(&ColumnChoice::type, Below(kAny)),
                                      rc::gen::set(&ColumnChoice::name, Below(kAny)),
                                      rc::gen::set(&ColumnChoice::nullable, Coin()));
}

rc::Gen<KeyChoice> AnyKey() {
  return rc::gen::build<KeyChoice>(
      rc::gen::set(&KeyChoice::kind, rc::gen::map(Below(KeyChoice::kKinds),
                                                  [](unsigned kind) { return static_cast<KeyChoice::Kind>(kind); })),
      rc::gen::set(&KeyChoice::firstColumn, Below(kMostColumns)), rc::gen::set(&KeyChoice::columns, Below(3)));
}

using RowChoice = std::array<unsigned, kMostColumns>;

rc::Gen<RowChoice> AnyRow() { return rc::gen::container<RowChoice>(Below(48)); }

rc::Gen<TableChoice> AnyTable(bool numbered) {
  return rc::gen::build<TableChoice>(
      rc::gen::set(&TableChoice::kind,
                   rc::gen::map(Seldom(TableChoice::kKinds),
                                [](unsigned kind) { return static_cast<TableChoice::Kind>(kind); })),
      rc::gen::set(&TableChoice::oddName, rc::gen::map(Seldom(2), [](unsigned odd) { return odd == 1; })),
      rc::gen::set(&TableChoice::columns,
                   rc::gen::nonEmpty(rc::gen::resize(5, rc::gen::container<std::vector<ColumnChoice>>(AnyColumn())))),
      rc::gen::set(&TableChoice::keys, AtMost(numbered ? 0 : 2, AnyKey())),
      rc::gen::set(&TableChoice::variety, Below(4)),
      rc::gen::set(&TableChoice::rows, rc::gen::scale(0.6, rc::gen::container<std::vector<RowChoice>>(AnyRow()))),
      rc::gen::set(&TableChoice::numbered, rc::gen::just(numbered)));
}

rc::Gen<SortChoice> AnySort() {
  return rc::gen::build<SortChoice>(rc::gen::set(&SortChoice::column, Below(kMostColumns)),
                                    rc::gen::set(&SortChoice::descending, Coin()));
}

rc::Gen<FilterChoice> AnyFilter() {
  return rc::gen::build<FilterChoice>(
      rc::gen::set(&FilterChoice::column, Below(kMostColumns)), rc::gen::set(&FilterChoice::operation, Below(kAny)),
      rc::gen::set(&FilterChoice::row, Below(kAny)), rc::gen::set(&FilterChoice::otherRow, Below(kAny)),
      rc::gen::set(&FilterChoice::fragment, Below(kAny)));
}

rc::Gen<Question> AnyQuestion() {
  return rc::gen::build<Question>(
      rc::gen::set(&Question::sort, AtMost(3, AnySort())), rc::gen::set(&Question::oldSort, Coin()),
      rc::gen::set(&Question::key, rc::gen::mapcat(Seldom(3),
                                                   [](unsigned count) {
                                                     return rc::gen::container<std::vector<unsigned>>(
                                                         count, Below(kMostColumns));
                                                   })),
      rc::gen::set(&Question::primaryKey, rc::gen::mapcat(Seldom(3),
                                                          [](unsigned count) {
                                                            return rc::gen::container<std::vector<unsigned>>(
                                                                count, Below(kMostColumns));
                                                          })),
      rc::gen::set(&Question::filters, rc::gen::mapcat(Seldom(3),
                                                       [](unsigned count) {
                                                         return rc::gen::container<std::vector<FilterChoice>>(
                                                             count, AnyFilter());
                                                       })),
      rc::gen::set(&Question::search, Seldom(6)), rc::gen::set(&Question::pageSize, Below(20)),
      rc::gen::set(&Question::fields, Seldom(kMostColumns + 1)), rc::gen::set(&Question::count, Coin()),
      rc::gen::set(&Question::steps, AtMost(12, Below(7))));
}

rc::Gen<Change> AnyChange() {
  return rc::gen::build<Change>(
      rc::gen::set(&Change::kind,
                   rc::gen::map(Below(Change::kKinds), [](unsigned kind) { return static_cast<Change::Kind>(kind); })),
      rc::gen::set(&Change::row, Below(kAny)), rc::gen::set(&Change::column, Below(kMostColumns)),
      rc::gen::set(&Change::value, Below(kAny)));
}

class ExactWalk : public OnProduct {
 protected:
  /// Checks a property for so many tables, or what RC_PARAMS says.
  template <typename Testable>
  void Check(const std::string& description, int tables, Testable testable) {
    rc::detail::TestParams parameters = rc::detail::configuration().testParams;
    const char* const given = std::getenv("RC_PARAMS");
    if (given == nullptr || std::string(given).find("max_success") == std::string::npos) {
      constexpr int kLongRun = 40;
      if (std::getenv("ODS_TEST_LONG") != nullptr) tables *= kLongRun;
      if (std::getenv("ODS_TEST_QUICK") != nullptr) tables = std::max(tables / 5, 4);
      parameters.maxSuccess = tables;
    }
    std::cerr << description << " on " << GetParam().name << ": seed=" << parameters.seed
              << " max_success=" << parameters.maxSuccess << '\n';
    rc::detail::TestMetadata metadata;
    metadata.id = description;
    metadata.description = description;
    const rc::detail::TestResult result = rc::detail::checkTestable(testable, metadata, parameters);
    std::ostringstream text;
    rc::detail::printResultMessage(result, text);
    EXPECT_TRUE(result.is<rc::detail::SuccessResult>()) << text.str() << failure_;
    std::cerr << walks_ << " questions to " << tables_ << " tables\n";
  }

  /// Runs a walk; what it raises fails the property. A failure is not shrunken for ever: smaller cases are tried a
  /// while, then the smallest that was found stays.
  void Try(const std::function<void()>& walk) {
    constexpr int kMostSmaller = 400;
    if (!failure_.empty() && ++smaller_ > kMostSmaller) return;
    try {
      walk();
    } catch (const std::exception& error) {
      failure_ = error.what();
      RC_FAIL(failure_);
    }
  }

  int tables_ = 0;
  int walks_ = 0;
  std::string failure_;  ///< the smallest that was found
  int smaller_ = 0;
};

TEST_P(ExactWalk, MeetsEveryRowOnceAndInTheDatabasesOrder) {
  Check("each row once, in order", 16, [this] {
    const auto table = *AnyTable(false);
    const auto questions = *rc::gen::container<std::vector<Question>>(3, AnyQuestion());
    Try([&] {
      const WalkTable made(product_, *client_, table, ++tables_);
      for (const Question& question : questions) {
        ++walks_;
        WalkThrough(made, *pager_, question);
      }
    });
  });
}

TEST_P(ExactWalk, KeepsTheRowsThatStayWhileOthersChange) {
  Check("rows that stay", 12, [this] {
    const auto table = *AnyTable(true);
    const auto question = *AnyQuestion();
    const auto changes = *AtMost(20, AnyChange());
    const auto backwards = *Coin();
    if (table.rows.empty()) return;  // the first tables of a run are the smallest
    Try([&] {
      WalkTable made(product_, *client_, table, ++tables_);
      Question plain = question;
      plain.fields = 0;
      plain.count = false;
      // What a filter or search takes in changes with the rows.
      plain.filters.clear();
      plain.search = 0;
      ++walks_;
      WalkThroughChanges(made, *pager_, plain, changes, backwards);
    });
  });
}

// A harness that sees nothing proves nothing: plain paging is known to lose rows with nulls in the sort column, and to
// keep all where there are none.
TEST_P(ExactWalk, SeesWhatPlainPagingLoses) {
  Pager plain(connection_, false);
  TableChoice tame;
  tame.columns = {{.type = 0, .name = 0, .nullable = true}};
  tame.numbered = true;
  for (unsigned i = 0; i < 20; ++i) tame.rows.push_back({i % 2 + 1});
  Question sorted;
  sorted.sort = {{.column = 0, .descending = false}};
  sorted.oldSort = true;
  sorted.primaryKey = {1};
  sorted.pageSize = 2;
  sorted.steps = {0, 0, 1};
  {
    const WalkTable table(product_, *client_, tame, ++tables_);
    EXPECT_NO_THROW(WalkThrough(table, plain, sorted));
  }
  {
    for (auto& row : tame.rows) row[0] -= 1;
    const WalkTable table(product_, *client_, tame, ++tables_);
    EXPECT_THROW(WalkThrough(table, plain, sorted), std::runtime_error);
  }
}

INSTANTIATE_TEST_SUITE_P(Products, ExactWalk, ::testing::ValuesIn(kProductCases), NameOfCase);
INSTANTIATE_TEST_SUITE_P(StandIns, ExactWalk, ::testing::ValuesIn(kStandIns), NameOfCase);

}  // namespace
}  // namespace ods::test
