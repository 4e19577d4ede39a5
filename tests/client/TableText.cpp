#include "TableText.h"

#include <gtest/gtest.h>
#include <sstream>

#include "Width.h"

namespace odbc_data {
namespace {

class TableTextTest : public ::testing::Test {
 protected:
  TableTextTest() { UseUnicode(); }
};

const Cell kNullCell = {.text = "", .isNull = true};

TEST_F(TableTextTest, MeasuresWhatATerminalShows) {
  EXPECT_EQ(DisplayWidth(""), 0U);
  EXPECT_EQ(DisplayWidth("abc"), 3U);
  EXPECT_EQ(DisplayWidth("\xC3\x85rhus"), 5U);
  EXPECT_EQ(DisplayWidth("\xE6\x9D\xB1\xE4\xBA\xAC"), 4U) << "wide characters";
  EXPECT_EQ(DisplayWidth("e\xCC\x81"), 1U) << "an accent that stands on a letter";
  EXPECT_EQ(DisplayWidth("\xF0\x9F\x98\x80"), 2U);
}

TEST_F(TableTextTest, ShowsNothingThatATerminalWouldObey) {
  EXPECT_EQ(VisibleText("a\x1B[31m\nb\t\x7F"),
            "a\xE2\x90\x9B[31m\xE2\x90\x8A"
            "b\xE2\x90\x89\xE2\x90\xA1");
  EXPECT_EQ(VisibleText("\xC2\x9B"
                        "31m"),
            "\xEF\xBF\xBD"
            "31m")
      << "the control characters beyond ASCII";
  EXPECT_EQ(VisibleText("\xFFx"), "\xEF\xBF\xBDx");
}

TEST_F(TableTextTest, CutsAtTheWidthAndNotInACharacter) {
  const std::string tokyo = "\xE6\x9D\xB1\xE4\xBA\xAC\xE9\x83\xBD";
  EXPECT_EQ(CutToWidth("abcdef", 6), "abcdef");
  EXPECT_EQ(CutToWidth("abcdef", 5), "abcd\xE2\x80\xA6");
  EXPECT_EQ(CutToWidth("abcdef", 0), "");
  EXPECT_EQ(CutToWidth(tokyo, 6), tokyo);
  EXPECT_EQ(CutToWidth(tokyo, 5), "\xE6\x9D\xB1\xE4\xBA\xAC\xE2\x80\xA6");
  EXPECT_EQ(CutToWidth(tokyo, 4), "\xE6\x9D\xB1\xE2\x80\xA6") << "a wide character does not fit into one column";
  EXPECT_EQ(BehindWidth("abc", 1), "bc");
  EXPECT_EQ(BehindWidth("abc", 0), "abc");
  EXPECT_EQ(BehindWidth(tokyo, 2), "\xE4\xBA\xAC\xE9\x83\xBD");
  EXPECT_EQ(BehindWidth(tokyo, 1), " \xE4\xBA\xAC\xE9\x83\xBD");
}

TEST_F(TableTextTest, AlignsColumnsAndTellsNullFromEmpty) {
  const Sheet sheet{.columns = {{"no", ColumnKind::kNumber}, {"city"}, {"note"}},
                    .rows = {{{.text = "7"}, {.text = "\xE6\x9D\xB1\xE4\xBA\xAC"}, kNullCell},
                             {{.text = "1042"}, {.text = "\xC3\x85rhus"}, {.text = ""}},
                             {kNullCell, {.text = "a\nb"}, {.text = "x"}}}};
  EXPECT_EQ(FormatTable(sheet, {}),
            "  no  city   note\n"
            "────  ─────  ────\n"
            "   7  東京   NULL\n"
            "1042  Århus\n"
            "NULL  a␊b    x\n");
  EXPECT_EQ(FormatTable({.columns = {{"a"}}, .rows = {}}, {}), "a\n─\n");
}

TEST_F(TableTextTest, ColoursAreForTerminalsOnly) {
  const Sheet sheet{.columns = {{"a"}}, .rows = {{kNullCell}}};
  EXPECT_EQ(FormatTable(sheet, {.width = 0, .coloured = true}), "\x1B[1ma   \x1B[0m\n────\n\x1B[2mNULL\x1B[0m\n");
}

TEST_F(TableTextTest, NoLineIsWiderThanTheTerminal) {
  Sheet sheet;
  for (int i = 0; i < 12; ++i) {
    sheet.columns.push_back({"column" + std::to_string(i), i % 3 == 0 ? ColumnKind::kNumber : ColumnKind::kText});
  }
  for (int row = 0; row < 5; ++row) {
    Row cells;
    for (int i = 0; i < 12; ++i) {
      cells.push_back(
          {.text = i % 3 == 0 ? std::to_string(row * 1000) : std::string(static_cast<std::size_t>(i * 7), 'x')});
    }
    sheet.rows.push_back(cells);
  }
  for (std::size_t width = 1; width < 400; width += 3) {
    std::istringstream lines(FormatTable(sheet, {.width = width}));
    std::string line;
    while (std::getline(lines, line)) EXPECT_LE(DisplayWidth(line), width) << line;
  }
}

TEST_F(TableTextTest, TextGivesWayBeforeNumbersAndTheRightmostColumnsAreNamed) {
  const Sheet sheet{.columns = {{"number", ColumnKind::kNumber}, {"text"}, {"more"}, {"last"}},
                    .rows = {{{.text = "123456789012345"},
                              {.text = std::string(30, 'a')},
                              {.text = std::string(12, 'b')},
                              {.text = std::string(12, 'c')}}}};
  EXPECT_EQ(FormatTable(sheet, {.width = 60}),
            "         number  text             more          last\n"
            "───────────────  ───────────────  ────────────  ────────────\n"
            "123456789012345  aaaaaaaaaaaaaa…  bbbbbbbbbbbb  cccccccccccc\n");
  EXPECT_EQ(FormatTable(sheet, {.width = 40}),
            "         number  text         more\n"
            "───────────────  ───────────  ──────────\n"
            "123456789012345  aaaaaaaaaa…  bbbbbbbbb…\n"
            "Not shown: last\n");
}

}  // namespace
}  // namespace odbc_data
