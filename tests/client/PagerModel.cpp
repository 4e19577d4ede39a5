#include "PagerModel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ExitStatus.h"
#include "Width.h"

namespace odbc_data {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

/// The pager over a table of `rows_` rows that a routine plays: position n is the n-th row.
class PagerModelTest : public ::testing::Test {
 protected:
  PagerModelTest() { UseUnicode(); }

  PagerModel Make() {
    Question question{.table = "[TABLE]customer", .fields = {"no", "name", "city"}};
    return {table_, question, [this](const Question& asked, Navigate navigate, const Place& from) {
              asked_.push_back(asked);
              if (error_) throw Failure("The server is away.");
              return Answer(asked, navigate, from);
            }};
  }

  [[nodiscard]] Page Answer(const Question& asked, Navigate navigate, const Place& from) const {
    const int size = static_cast<int>(asked.pageSize);
    int first = 1;
    Page page;
    if (navigate == Navigate::kLast) first = std::max(1, rows_ - size + 1);
    if (navigate == Navigate::kNext) first = std::stoi(from.last) + 1;
    if (navigate == Navigate::kPrevious) first = std::max(1, std::stoi(from.first) - size);
    if (navigate == Navigate::kSame) first = std::stoi(from.first);
    if (first > rows_ && rows_ > 0) {
      first = std::max(1, rows_ - size + 1);
      page.again = true;
    }
    const int last = std::min(first + size - 1, rows_);
    for (int i = first; i <= last; ++i) {
      page.rows.push_back({{.text = std::to_string(i)},
                           {.text = "name " + std::to_string(i)},
                           {.text = "", .isNull = true},
                           {.text = "a key that nobody asked for"}});
    }
    page.first = std::to_string(first);
    page.last = std::to_string(last);
    page.hasPrevious = first > 1;
    page.hasNext = last < rows_;
    if (asked.count) page.total = rows_;
    return page;
  }

  static std::vector<std::string> TextOf(const PagerModel& model) {
    std::vector<std::string> lines;
    for (const Line& line : model.Draw()) {
      std::string text;
      for (const Span& span : line) text += span.text;
      lines.push_back(text.substr(0, text.find_last_not_of(' ') + 1));
    }
    return lines;
  }

  static void Type(PagerModel& model, const std::string& letters) {
    for (const char letter : letters) model.Press({.key = KeyName::kLetter, .letter = std::string(1, letter)});
  }

  KnownTable table_{.id = "[TABLE]customer",
                    .fields = {{.id = "no", .caption = "no", .type = 3, .exact = true},
                               {.id = "name", .caption = "name", .type = 202, .exact = true},
                               {.id = "city", .caption = "city", .type = 202, .exact = true}}};
  int rows_ = 20;
  bool error_ = false;
  std::vector<Question> asked_;
};

TEST_F(PagerModelTest, ShowsAPageThatFillsTheScreen) {
  PagerModel model = Make();
  model.Resize(60, 7);
  model.Start(false);
  EXPECT_THAT(TextOf(model),
              ElementsAre(" customer  rows 1 to 4 of 20", "no  name    city", " 1  name 1  NULL", " 2  name 2  NULL",
                          " 3  name 3  NULL", " 4  name 4  NULL", "n p g G  / s f  \xE2\x86\x90\xE2\x86\x92  q"));
}

TEST_F(PagerModelTest, KeysGoThroughThePages) {
  PagerModel model = Make();
  model.Resize(80, 10);
  model.Start(false);
  const auto title = [&] { return TextOf(model).front(); };
  Type(model, "n");
  EXPECT_EQ(title(), " customer  rows 8 to 14 of 20");
  Type(model, " ");
  EXPECT_EQ(title(), " customer  rows 15 to 20 of 20");
  Type(model, "n");
  EXPECT_EQ(title(), " customer  rows 15 to 20 of 20");
  EXPECT_EQ(TextOf(model).back(), "This is the last page.");
  Type(model, "p");
  EXPECT_EQ(title(), " customer  rows 8 to 14 of 20");
  EXPECT_THAT(TextOf(model).back(), HasSubstr("q quit")) << "what was told is gone with the next key";
  model.Press({.key = KeyName::kPageUp});
  EXPECT_EQ(title(), " customer  rows 1 to 7 of 20");
  Type(model, "G");
  EXPECT_EQ(title(), " customer  rows 14 to 20 of 20");
  Type(model, "g");
  EXPECT_EQ(title(), " customer  rows 1 to 7 of 20");
  EXPECT_FALSE(model.Ended());
  Type(model, "q");
  EXPECT_TRUE(model.Ended());
}

TEST_F(PagerModelTest, BeginsAtTheEndWhenToldSo) {
  PagerModel model = Make();
  model.Resize(80, 10);
  model.Start(true);
  EXPECT_EQ(TextOf(model).front(), " customer  rows 14 to 20 of 20");
}

TEST_F(PagerModelTest, RowsAreCountedOnceAQuestion) {
  PagerModel model = Make();
  model.Resize(80, 10);
  model.Start(false);
  Type(model, "nGg");
  ASSERT_EQ(asked_.size(), 4U);
  EXPECT_TRUE(asked_[0].count);
  for (std::size_t i = 1; i < asked_.size(); ++i) EXPECT_FALSE(asked_[i].count);
}

TEST_F(PagerModelTest, ANewSizeShowsAsManyRowsAsFitFromTheSameOneOn) {
  PagerModel model = Make();
  model.Resize(80, 10);
  model.Start(false);
  Type(model, "n");
  model.Resize(80, 6);
  EXPECT_EQ(TextOf(model).front(), " customer  rows 8 to 10 of 20");
  model.Resize(80, 12);
  EXPECT_EQ(TextOf(model).front(), " customer  rows 8 to 16 of 20");
  const std::size_t asked = asked_.size();
  model.Resize(40, 12);
  EXPECT_EQ(asked_.size(), asked) << "another width needs no other rows";
}

TEST_F(PagerModelTest, NoLineIsWiderThanTheScreenAndThereAreAsManyAsItHas) {
  for (std::size_t width = 1; width < 100; width += 3) {
    for (std::size_t height = 1; height < 30; height += 2) {
      PagerModel model = Make();
      model.Resize(width, height);
      model.Start(false);
      Type(model, width % 2 == 0 ? "/some text that is longer than many a screen" : "");
      const auto lines = TextOf(model);
      EXPECT_EQ(lines.size(), height);
      for (const std::string& line : lines) EXPECT_LE(DisplayWidth(line), width) << line;
    }
  }
}

TEST_F(PagerModelTest, ArrowsScrollTheColumns) {
  PagerModel model = Make();
  model.Resize(12, 6);
  model.Start(false);
  EXPECT_EQ(TextOf(model)[1], "no  name");
  model.Press({.key = KeyName::kLeft});
  EXPECT_EQ(TextOf(model)[1], "no  name");
  model.Press({.key = KeyName::kRight});
  EXPECT_EQ(TextOf(model)[1], "name    city");
  EXPECT_EQ(TextOf(model)[2], "name 1  NULL");
  model.Press({.key = KeyName::kRight});
  EXPECT_EQ(TextOf(model)[1], "name    city") << "the last column is there";
  model.Press({.key = KeyName::kLeft});
  EXPECT_EQ(TextOf(model)[1], "no  name");
}

TEST_F(PagerModelTest, SearchSortAndFilterAskAnew) {
  PagerModel model = Make();
  model.Resize(100, 10);
  model.Start(false);
  Type(model, "n/smith");
  EXPECT_EQ(TextOf(model).back(), "Search: smith");
  EXPECT_EQ(model.Cursor(), 13U);
  model.Press({.key = KeyName::kBackspace});
  model.Press({.key = KeyName::kEnter});
  EXPECT_EQ(model.Cursor(), std::nullopt);
  EXPECT_EQ(TextOf(model).front(), " customer  rows 1 to 7 of 20  search: smit");
  EXPECT_EQ(asked_.back().search, "smit");
  EXPECT_THAT(asked_.back().searchFields, ElementsAre("name", "city"));
  EXPECT_TRUE(asked_.back().count);
  Type(model, "sname desc, no");
  model.Press({.key = KeyName::kEnter});
  Type(model, "fno > 3");
  model.Press({.key = KeyName::kEnter});
  EXPECT_EQ(TextOf(model).front(), " customer  rows 1 to 7 of 20  sort: name desc, no  search: smit  filter: no gt 3");
  Type(model, "f");
  model.Press({.key = KeyName::kEnter});
  EXPECT_TRUE(asked_.back().conditions.empty()) << "an empty one takes them away";
  Type(model, "s");
  EXPECT_EQ(TextOf(model).back(), "Sort by: name desc, no") << "to be changed";
  model.Press({.key = KeyName::kClear});
  model.Press({.key = KeyName::kEnter});
  EXPECT_TRUE(asked_.back().sort.empty());
}

TEST_F(PagerModelTest, EscapeLeavesThingsAsTheyWere) {
  PagerModel model = Make();
  model.Start(false);
  Type(model, "/q");
  EXPECT_FALSE(model.Ended()) << "a letter that is typed is no command";
  model.Press({.key = KeyName::kEscape});
  EXPECT_EQ(asked_.size(), 1U);
  EXPECT_THAT(TextOf(model).front(), Not(HasSubstr("search")));
}

TEST_F(PagerModelTest, WhatIsWrongIsShownAndChangesNothing) {
  PagerModel model = Make();
  model.Resize(80, 10);
  model.Start(false);
  Type(model, "snam");
  model.Press({.key = KeyName::kEnter});
  EXPECT_EQ(TextOf(model).back(), "There is no field \"nam\". Did you mean \"name\"?");
  EXPECT_EQ(model.Draw().back().front().style, LineStyle::kError);
  error_ = true;
  Type(model, "n");
  EXPECT_EQ(TextOf(model).back(), "The server is away.");
  EXPECT_EQ(TextOf(model).front(), " customer  rows 1 to 7 of 20");
  Type(model, "/x");
  model.Press({.key = KeyName::kEnter});
  EXPECT_THAT(TextOf(model).front(), Not(HasSubstr("search")));
  error_ = false;
  Type(model, "n");
  EXPECT_EQ(TextOf(model).front(), " customer  rows 8 to 14 of 20");
}

TEST_F(PagerModelTest, AServerThatIsAwayAtTheStartIsAnError) {
  PagerModel model = Make();
  error_ = true;
  EXPECT_THROW(model.Start(false), Failure);
}

TEST_F(PagerModelTest, ATableWithoutRowsIsShown) {
  rows_ = 0;
  PagerModel model = Make();
  model.Resize(80, 5);
  model.Start(false);
  EXPECT_THAT(TextOf(model), ElementsAre(" customer  no rows", "no  name  city", "", "", HasSubstr("q quit")));
}

}  // namespace
}  // namespace odbc_data
