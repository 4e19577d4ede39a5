#include "platform/system/IniText.h"

#include <gmock/gmock.h>
#include <string>
#include <string_view>
#include <vector>

namespace ods {
namespace {

using namespace std::string_view_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> SectionNames(std::string_view text) {
  std::vector<std::string> names;
  for (const IniSection& section : ParseIni(text)) names.push_back(section.name);
  return names;
}

/// "name=value" of every entry of a section.
std::vector<std::string> Entries(std::string_view text, std::string_view section) {
  const std::vector<IniSection> sections = ParseIni(text);
  std::vector<std::string> entries;
  const IniSection* found = FindSection(sections, section);
  if (found == nullptr) return {"no section"};
  for (const IniEntry& entry : found->entries) entries.push_back(entry.name + "=" + entry.value);
  return entries;
}

TEST(IniText, SectionsAndValuesComeInTheOrderOfTheText) {
  const std::string text = "[Zeta]\nB=2\nA=1\n\n[alpha]\nC=3\n";
  EXPECT_THAT(SectionNames(text), ElementsAre("Zeta", "alpha"));
  EXPECT_THAT(Entries(text, "Zeta"), ElementsAre("B=2", "A=1"));
  EXPECT_THAT(Entries(text, "alpha"), ElementsAre("C=3"));
}

TEST(IniText, BlanksAroundNamesAndValuesDoNotCount) {
  EXPECT_THAT(Entries("[ One ]\n\t A b \t=\t 1 2  \n", "One"), ElementsAre("A b=1 2"));
}

TEST(IniText, CarriageReturnsBeforeLineBreaksDoNotCount) {
  EXPECT_THAT(Entries("; comment\r\n\r\n[One]\r\nA=1\r\n", "One"), ElementsAre("A=1"));
}

TEST(IniText, QuotationMarksSemicolonsAndEqualsSignsBelongToAValue) {
  EXPECT_THAT(Entries("[One]\nA=\" x \"\nB=a;b #c\nC=a=b\n", "One"), ElementsAre("A=\" x \"", "B=a;b #c", "C=a=b"));
}

TEST(IniText, CommentsArePassedOver) {
  EXPECT_THAT(Entries("# one\n;two\n[One]\n;A=1\n  # B=2\nC=3\n", "One"), ElementsAre("C=3"));
}

TEST(IniText, ALineWithoutAnEqualsSignIsAnEmptyValueAndOneWithoutANameIsNone) {
  EXPECT_THAT(Entries("[One]\nbare\n=x\n", "One"), ElementsAre("bare="));
}

TEST(IniText, TheFirstOfSectionsOfOneNameCounts) {
  const std::string text = "[One]\nA=1\n[Two]\nB=2\n[ONE]\nA=9\nC=3\n";
  EXPECT_THAT(SectionNames(text), ElementsAre("One", "Two"));
  EXPECT_THAT(Entries(text, "one"), ElementsAre("A=1"));
}

TEST(IniText, TheFirstOfValuesOfOneNameCounts) {
  EXPECT_THAT(Entries("[One]\nDriver=first\ndriver=second\n", "One"), ElementsAre("Driver=first"));
}

TEST(IniText, ValuesOfOneNameInTwoSectionsBothCount) {
  EXPECT_THAT(Entries("[One]\nA=1\n[Two]\nA=2\n", "Two"), ElementsAre("A=2"));
}

TEST(IniText, ASectionWithoutAClosingBracketOrWithMoreBehindItCounts) {
  EXPECT_THAT(SectionNames("[One\nA=1\n[Two] rest\n[]\nB=1\n"), ElementsAre("One", "Two"));
}

TEST(IniText, ATextThatDoesNotBeginWithASectionHasNone) {
  EXPECT_THAT(SectionNames("A=1\n[One]\nB=2\n"), IsEmpty());
  EXPECT_THAT(SectionNames("\xEF\xBB\xBF[One]\nB=2\n"), IsEmpty());
  EXPECT_THAT(SectionNames("  [One]\nB=2\n"), IsEmpty());
  EXPECT_THAT(SectionNames("; comment\n   \n[One]\n  [Two]\n"), ElementsAre("One", "Two"));
}

TEST(IniText, NothingAndBytesWithoutMeaningHaveNoSections) {
  EXPECT_THAT(SectionNames(""), IsEmpty());
  EXPECT_THAT(SectionNames("\n\n"), IsEmpty());
  EXPECT_THAT(SectionNames(std::string(100000, '\xFF')), IsEmpty());
  EXPECT_THAT(SectionNames(std::string(100000, '\0')), IsEmpty());
}

TEST(IniText, ALineEndsAtItsFirstNullCharacter) {
  EXPECT_THAT(Entries("[One]\nA=1\0 2\nB\0=2\n"sv, "One"), ElementsAre("A=1", "B="));
}

TEST(IniText, LinesHaveAnyLength) {
  const std::string value(200000, 'x');
  EXPECT_THAT(Entries("[One]\nA=" + value + "\nB=2\n", "One"), ElementsAre("A=" + value, "B=2"));
}

TEST(IniText, AValueIsReplacedInItsLine) {
  EXPECT_EQ(WithIniValue("; c\n[One]\n# d\nMax = 255 \nB=2\n\n[Two]\nMax=1\n", "one", "MAX", "5000"),
            "; c\n[One]\n# d\nMax = 5000\nB=2\n\n[Two]\nMax=1\n");
  EXPECT_EQ(WithIniValue("[One]\r\nMax=255\r\nB=2\r\n", "One", "Max", "5000"), "[One]\r\nMax=5000\r\nB=2\r\n");
  EXPECT_EQ(WithIniValue("[One]\nMax=255", "One", "Max", "5000"), "[One]\nMax=5000");
  EXPECT_EQ(WithIniValue("[One]\nMax\nB=2\n", "One", "Max", "5000"), "[One]\nMax=5000\nB=2\n");
  EXPECT_EQ(WithIniValue("[One]\nMax=\r\n", "One", "Max", "5000"), "[One]\nMax=5000\r\n");
  EXPECT_EQ(WithIniValue("[One]\nMax=1\nMax=2\n", "One", "Max", "5000"), "[One]\nMax=5000\nMax=2\n");
}

TEST(IniText, AnEmptyValueTakesTheOldOneAway) {
  EXPECT_EQ(WithIniValue("[One]\nMax=255\nB=2\n", "One", "Max", ""), "[One]\nMax=\nB=2\n");
}

TEST(IniText, ANewValueGoesBehindTheLastOneOfItsSection) {
  EXPECT_EQ(WithIniValue("[One]\nA=1\n\n; of two\n[Two]\n", "One", "B", "2"), "[One]\nA=1\nB=2\n\n; of two\n[Two]\n");
  EXPECT_EQ(WithIniValue("[One]\r\n\r\n[Two]\r\n", "One", "B", "2"), "[One]\r\nB=2\r\n\r\n[Two]\r\n");
  EXPECT_EQ(WithIniValue("[One]", "One", "B", "2"), "[One]\nB=2");
}

TEST(IniText, AValueIsNotSetInASectionThatIsMissing) {
  EXPECT_EQ(WithIniValue("[One]\nA=1\n", "Two", "B", "2"), std::nullopt);
  EXPECT_EQ(WithIniValue("", "Two", "B", "2"), std::nullopt);
}

TEST(IniText, WhatALineCannotCarryIsRefused) {
  const std::string text = "[One]\nA=1\n";
  EXPECT_EQ(WithIniValue(text, "One", "A", "1\n[Two]"), std::nullopt);
  EXPECT_EQ(WithIniValue(text, "One", "A", "1\r"), std::nullopt);
  EXPECT_EQ(WithIniValue(text, "One", "A", "1\0002"sv), std::nullopt);
  EXPECT_EQ(WithIniValue(text, "One", "B\n", "1"), std::nullopt);
  for (const char* name : {"", "[B", "#B", ";B", "B=C"}) {
    EXPECT_EQ(WithIniValue(text, "One", name, "1"), std::nullopt) << name;
  }
}

TEST(IniText, ANewSectionGoesToTheEnd) {
  EXPECT_EQ(WithIniSection("[One]\nA=1", "Two"), "[One]\nA=1\n\n[Two]\n");
  EXPECT_EQ(WithIniSection("[One]\r\nA=1\r\n", "Two"), "[One]\r\nA=1\r\n\r\n[Two]\r\n");
  EXPECT_EQ(WithIniSection("", "Two"), "[Two]\n");
}

TEST(IniText, ASectionThatIsThereIsNotMadeAgain) { EXPECT_EQ(WithIniSection("[One]\n", "ONE"), "[One]\n"); }

TEST(IniText, ASectionThatCannotBeReadBackIsRefused) {
  for (const char* name : {"", "a]b", "a\nb", " a", "a\r"})
    EXPECT_EQ(WithIniSection("[One]\n", name), std::nullopt) << name;
  EXPECT_EQ(WithIniSection("no ini file\n", "One"), std::nullopt);
}

}  // namespace
}  // namespace ods
