#include "common/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace ods {
namespace {

using ::testing::ElementsAre;

TEST(Join, PutsTheSeparatorBetweenThePieces) {
  EXPECT_EQ(Join({}, ", "), "");
  EXPECT_EQ(Join({"a"}, ", "), "a");
  EXPECT_EQ(Join({"a", "b", "c"}, ", "), "a, b, c");
  EXPECT_EQ(Join({"", "", "x", ""}, "\t"), "\t\tx\t") << "empty pieces count";
}

TEST(AppendToList, SeparatesFromWhatIsThere) {
  std::string list;
  AppendToList(list, " AND ", "a");
  EXPECT_EQ(list, "a");
  AppendToList(list, " AND ", "b");
  EXPECT_EQ(list, "a AND b");
}

TEST(WithoutByteOrderMark, TakesOneOffTheFront) {
  EXPECT_EQ(WithoutByteOrderMark("\xEF\xBB\xBFtext"), "text");
  EXPECT_EQ(WithoutByteOrderMark("text\xEF\xBB\xBF"), "text\xEF\xBB\xBF");
  EXPECT_EQ(WithoutByteOrderMark("\xEF\xBB"), "\xEF\xBB");
  EXPECT_EQ(WithoutByteOrderMark(""), "");
}

TEST(ReplaceAllTest, ReplacesEveryOccurrenceFromTheLeft) {
  EXPECT_EQ(ReplaceAll("a.b.c", ".", "--"), "a--b--c");
  EXPECT_EQ(ReplaceAll("aaa", "aa", "b"), "ba");
  EXPECT_EQ(ReplaceAll("O'Neil", "'", "''"), "O''Neil");
  EXPECT_EQ(ReplaceAll("", "a", "b"), "");
  EXPECT_EQ(ReplaceAll("text", "", "b"), "text");
}

TEST(SplitTest, KeepsEmptyPieces) {
  EXPECT_THAT(Split("a,b,,c,", ","), ElementsAre("a", "b", "", "c", ""));
  EXPECT_THAT(Split("a\r\nb\nc", "\r\n"), ElementsAre("a", "b\nc"));
  EXPECT_THAT(Split("", ","), ElementsAre(""));
  EXPECT_THAT(Split("a", ""), ElementsAre("a"));
}

TEST(TrimTest, DropsBlanksOnlyAndOnlyAtTheEnds) {
  EXPECT_EQ(Trim("  a b "), "a b");
  EXPECT_EQ(Trim("\ta\n"), "\ta\n");
  EXPECT_EQ(Trim("   "), "");
  EXPECT_EQ(Trim(""), "");
}

TEST(CaseTest, ChangesAsciiLettersOnly) {
  EXPECT_EQ(ToUpper("abz{Ñ ñ"), "ABZ{Ñ ñ");
  EXPECT_EQ(ToLower("ABZ[Ñ ñ"), "abz[Ñ ñ");
}

TEST(XPathLiteralTest, EnclosesInApostrophesWhereItCan) {
  EXPECT_EQ(XPathLiteral(""), "''");
  EXPECT_EQ(XPathLiteral("Customer"), "'Customer'");
  EXPECT_EQ(XPathLiteral("say \"so\""), "'say \"so\"'");
}

TEST(XPathLiteralTest, BuildsAConcatForApostrophes) {
  EXPECT_EQ(XPathLiteral("it's"), R"(concat('it',"'",'s'))");
  EXPECT_EQ(XPathLiteral("'"), R"(concat('',"'",''))");
  EXPECT_EQ(XPathLiteral("''"), R"(concat('',"'",'',"'",''))");
  EXPECT_EQ(XPathLiteral("O'Brien"), R"(concat('O',"'",'Brien'))");
}

TEST(Utf8Test, AcceptsTheWholeRangeOfEachLength) {
  for (const char* text : {"", "plain", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
                           "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF", "123456789 \xC3\xA9 123456789"}) {
    EXPECT_TRUE(IsValidUtf8(text)) << text;
  }
}

TEST(Utf8Test, RefusesEverythingElse) {
  for (const char* text : {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC2", "\xC2\x41", "\xE0\x9F\xBF", "\xE1\x80",
                           "\xED\xA0\x80", "\xEF\xBF\x41", "\xF0\x8F\xBF\xBF", "\xF1\x80\x80", "\xF4\x90\x80\x80",
                           "\xF5\x80\x80\x80", "\xFF", "12345678\xFF", "1234567\xC3"}) {
    EXPECT_FALSE(IsValidUtf8(text)) << text;
  }
}

TEST(Utf8Test, TakesOneCharacterAtATime) {
  std::string_view text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xFF";
  EXPECT_EQ(NextCharacter(text), U'a');
  EXPECT_EQ(NextCharacter(text), U'\u00E9');
  EXPECT_EQ(NextCharacter(text), U'\u20AC');
  EXPECT_EQ(NextCharacter(text), U'\U0001F600');
  EXPECT_EQ(NextCharacter(text), std::nullopt);
  EXPECT_EQ(text, "\xFF");
}

TEST(Utf8Test, AppendsWhatIsReadAgain) {
  for (const char32_t character : {U'\0', U'a', U'\x7F', U'\x80', U'\u07FF', U'\u0800', U'\uD7FF', U'\uE000', U'\uFFFD',
                                   U'\uFFFF', U'\U00010000', U'\U0010FFFF'}) {
    std::string text = "x";
    AppendCharacter(text, character);
    std::string_view rest = std::string_view(text).substr(1);
    EXPECT_EQ(NextCharacter(rest), character);
    EXPECT_TRUE(rest.empty());
  }
}

TEST(Utf8Test, CountsTheAsciiAtTheStart) {
  EXPECT_EQ(AsciiPrefix(""), 0U);
  EXPECT_EQ(AsciiPrefix("12345678901"), 11U);
  for (std::size_t length = 0; length < 20; ++length) {
    EXPECT_EQ(AsciiPrefix(std::string(length, 'a') + "\xC3\xA9 and more"), length);
  }
}

}  // namespace
}  // namespace ods
