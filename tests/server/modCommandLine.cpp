#include "server/modCommandLine.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Text.h"
#include "doubles/FakeSession.h"
#include "server/Parameters.h"
#include "support/RaisedErrors.h"

namespace ods {
namespace {

using testing::HasSubstr;
using Parameters = std::map<std::string, std::string>;

Parameters ToMap(const Dictionary& dictionary) {
  Parameters parameters;
  for (const auto& [name, value] : dictionary.Entries()) parameters[name] = SafeStr(value);
  return parameters;
}

Parameters Parse(std::string_view line) { return ToMap(*ParseCommandLine(line)); }

TEST(ParseCommandLine, ReadsNamesAndValues) {
  EXPECT_EQ(Parse("/instance=7 /mode=run /inqueue=C:\\q\\in /hidden"),
            (Parameters{{"instance", "7"}, {"mode", "run"}, {"inqueue", "C:\\q\\in"}, {"hidden", ""}}));
}

TEST(ParseCommandLine, AnEmptyOrBlankLineHasNoParameters) {
  EXPECT_EQ(Parse(""), Parameters{});
  EXPECT_EQ(Parse("    "), Parameters{});
}

TEST(ParseCommandLine, SeparatesByBlanksAndCommas) {
  EXPECT_EQ(Parse("a=1,b=2 , c  d,e"), (Parameters{{"a", "1"}, {"b", "2"}, {"c", ""}, {"", ""}, {"d", ""}, {"e", ""}}));
}

TEST(ParseCommandLine, OnlyTheBlankSeparates) { EXPECT_EQ(Parse("a=1\tb\nc"), (Parameters{{"a", "1\tb\nc"}})); }

TEST(ParseCommandLine, DropsASlashOrOneOrTwoHyphensBeforeAName) {
  EXPECT_EQ(
      Parse("/a -b --c=1 //d -/e \"/f\" \"--g\"=2 ---h /--i"),
      (Parameters{
          {"a", ""}, {"b", ""}, {"c", "1"}, {"/d", ""}, {"/e", ""}, {"f", ""}, {"g", "2"}, {"-h", ""}, {"--i", ""}}));
}

TEST(ParseCommandLine, LowersNamesAndKeepsValues) { EXPECT_EQ(Parse("MODE=Run"), (Parameters{{"mode", "Run"}})); }

TEST(ParseCommandLine, ALaterDuplicateOverwrites) {
  const auto parameters = ParseCommandLine("a=1 b=2 A=3");
  EXPECT_EQ(parameters->Keys(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(SafeStr(parameters->Item("a")), "3");
}

TEST(ParseCommandLine, ReadsQuotedNamesAndValues) {
  EXPECT_EQ(Parse(R"("the name"="a value, with = and ""quotes""" next)"),
            (Parameters{{"the name", "a value, with = and \"quotes\""}, {"next", ""}}));
  EXPECT_EQ(Parse(R"("a""b")"), (Parameters{{"a\"b", ""}}));
  EXPECT_EQ(Parse(R"(a="")"), (Parameters{{"a", ""}}));
  EXPECT_EQ(Parse(R"(a="""")"), (Parameters{{"a", "\""}}));
}

TEST(ParseCommandLine, AQuotedPartThatNobodyClosesRunsToTheEnd) {
  EXPECT_EQ(Parse(R"(a="b c)"), (Parameters{{"a", "b c"}}));
  EXPECT_EQ(Parse(R"("a b)"), (Parameters{{"a b", ""}}));
  EXPECT_EQ(Parse("\""), (Parameters{{"", ""}}));
}

TEST(ParseCommandLine, WhatFollowsAQuotedPartDirectlyIsTheNextParameter) {
  EXPECT_EQ(Parse(R"("a"b=1)"), (Parameters{{"a", ""}, {"b", "1"}}));
  EXPECT_EQ(Parse(R"(x="1"y)"), (Parameters{{"x", "1"}, {"y", ""}}));
}

TEST(ParseCommandLine, TrimsQuotedParts) { EXPECT_EQ(Parse("\" a \"=\" 1 \""), (Parameters{{"a", "1"}})); }

TEST(ParseCommandLine, AValueStartsRightAfterTheEqualsSign) {
  EXPECT_EQ(Parse("a= b"), (Parameters{{"a", ""}, {"b", ""}}));
  EXPECT_EQ(Parse("a =b"), (Parameters{{"a", ""}, {"", "b"}}));
  EXPECT_EQ(Parse("a=b=c"), (Parameters{{"a", "b=c"}}));
  EXPECT_EQ(Parse("=x"), (Parameters{{"", "x"}}));
}

std::string RandomText(std::mt19937& random, std::size_t maxLength) {
  constexpr std::string_view kAlphabet(" ,=\"/-aB\\\r\n\t\0\xC3\xA9", 15);
  std::string text(random() % (maxLength + 1), ' ');
  for (char& c : text) c = kAlphabet[random() % kAlphabet.size()];
  return text;
}

TEST(ParseCommandLine, EveryTextParsesIntoLowerCaseNames) {
  std::mt19937 random(20240229);
  for (int i = 0; i < 30000; ++i) {
    const std::string line = RandomText(random, 40);
    std::size_t length = 0;
    for (const auto& [name, value] : Parse(line)) {
      EXPECT_EQ(name, ToLower(name));
      EXPECT_EQ(value, Trim(value));
      length += name.size() + value.size();
    }
    EXPECT_LE(length, line.size());
  }
}

TEST(RebuildCommandLine, WritesPlainArgumentsAsTheyAre) {
  EXPECT_EQ(RebuildCommandLine({"/instance=7", "hidden", "inqueue=/q/in"}), "/instance=7 hidden inqueue=/q/in");
  EXPECT_EQ(RebuildCommandLine({}), "");
}

TEST(RebuildCommandLine, QuotesWhatTheGrammarWouldSplit) {
  EXPECT_EQ(RebuildCommandLine({"config=/my folder/a,b.xml", "a b", "x=say \"hi\"", "y=a=b"}),
            R"(config="/my folder/a,b.xml" "a b" x="say ""hi""" y=a=b)");
}

TEST(RebuildCommandLine, LeavesOutEmptyArguments) { EXPECT_EQ(RebuildCommandLine({"", "a=1", ""}), "a=1"); }

TEST(CommandLineToParse, IsTheWrittenLineWhereItIsKnown) {
  EXPECT_EQ(CommandLineToParse(R"(/datafolder="C:\a b\" hidden,exact "a b"="x=y")", {"not", "looked", "at"}),
            R"(/datafolder="C:\a b\" hidden,exact "a b"="x=y")");
  EXPECT_EQ(CommandLineToParse("", {}), "");
  EXPECT_EQ(CommandLineToParse(std::nullopt, {"/datafolder=/a b", "hidden"}), R"(/datafolder="/a b" hidden)");
}

TEST(CommandLineToParse, IsRebuiltWhereAWholeArgumentIsQuoted) {
  const Parameters wanted = {{"datafolder", "C:\\a b"}, {"hidden", ""}, {"config", "D:\\c=d,e.xml"}};
  const std::vector<std::string> arguments = {"/datafolder=C:\\a b", "--hidden", "config=D:\\c=d,e.xml"};
  for (const char* line : {R"("/datafolder=C:\a b" --hidden "config=D:\c=d,e.xml")",
                           R"(/datafolder="C:\a b" --hidden "config=D:\c=d,e.xml")",
                           R"("/datafolder=C:\a b" --hidden config="D:\c=d,e.xml")"}) {
    EXPECT_EQ(Parse(CommandLineToParse(line, arguments)), wanted) << line;
  }
  // Of what the grammar reads itself nothing is left to the system's rules, which have other ideas of a backslash.
  EXPECT_EQ(Parse(CommandLineToParse(R"(/datafolder="C:\a b\" hidden)", {"/datafolder=C:\\a b\" hidden"})),
            (Parameters{{"datafolder", "C:\\a b\\"}, {"hidden", ""}}));
}

TEST(RebuildCommandLine, EveryArgumentSurvivesTheGrammar) {
  std::mt19937 random(20231231);
  for (int i = 0; i < 10000; ++i) {
    std::vector<std::string> arguments;
    Parameters expected;
    for (std::size_t n = random() % 4; n > 0; --n) {
      const std::string argument = ReplaceAll(RandomText(random, 12), std::string(1, '\0'), "0");
      arguments.push_back(argument);
      if (argument.empty()) continue;
      const std::size_t equals = argument.find('=');
      std::string name(Trim(std::string_view(argument).substr(0, equals)));
      if (name.starts_with('/') || name.starts_with('-')) name.erase(0, name.starts_with("--") ? 2 : 1);
      expected[ToLower(name)] =
          equals == std::string::npos ? "" : std::string(Trim(std::string_view(argument).substr(equals + 1)));
    }
    EXPECT_EQ(Parse(RebuildCommandLine(arguments)), expected) << RebuildCommandLine(arguments);
  }
}

class ParameterFile : public testing::Test {
 protected:
  Parameters Read(const std::string& content, const std::string& commandLine = "") {
    std::ofstream(path_, std::ios::binary) << content;
    const auto parameters = ParseCommandLine(commandLine);
    ReadParameterFile(path_, *parameters);
    return ToMap(*parameters);
  }

  test::TemporaryFolder folder_;
  std::string path_ = folder_.Path() + "/server.par";
};

TEST_F(ParameterFile, ALineBreakSeparates) {
  EXPECT_EQ(Read("a=1\r\nb=2\nc=3\rd"), (Parameters{{"a", "1"}, {"b", "2"}, {"c", "3"}, {"d", ""}}));
}

TEST_F(ParameterFile, ALineBreakInQuotesIsOneBlank) {
  EXPECT_EQ(Read("a=\"x\r\ny\nz\""), (Parameters{{"a", "x y z"}}));
}

TEST_F(ParameterFile, AByteOrderMarkIsSkipped) {
  EXPECT_EQ(Read("\xEF\xBB\xBFinstance=\xC3\xA9"), (Parameters{{"instance", "\xC3\xA9"}}));
}

TEST_F(ParameterFile, TheCommandLineWins) {
  EXPECT_EQ(Read("MODE=config instance=file", "mode=run"), (Parameters{{"mode", "run"}, {"instance", "file"}}));
}

TEST_F(ParameterFile, AnEmptyFileAddsNothing) { EXPECT_EQ(Read("", "a=1"), (Parameters{{"a", "1"}})); }

TEST_F(ParameterFile, AMissingFileIsAnErrorThatNamesIt) {
  const auto parameters = ParseCommandLine("");
  EXPECT_RAISES(ReadParameterFile(path_, *parameters), error_number::kFileNotFound,
                testing::StartsWith("Error reading parameter file " + path_ + ". Error 53. "));
}

TEST(AskedInformation, KnowsTheWaysToAsk) {
  for (const char* help : {"-help", "--help", "/help", "/?", "--HELP"})
    EXPECT_EQ(AskedInformation({help}), Information::kHelp);
  for (const char* version : {"-version", "--version", "/version"})
    EXPECT_EQ(AskedInformation({version}), Information::kVersion);
  for (const char* other : {"help", "version", "-h", "--help=1", "/hidden", "---help", "?", ""}) {
    EXPECT_EQ(AskedInformation({other}), Information::kNone) << other;
  }
  EXPECT_EQ(AskedInformation({}), Information::kNone);
  EXPECT_EQ(AskedInformation({"a=1", "--version", "--help"}), Information::kVersion);
}

TEST(UnknownParameters, AreTheNamesThatTheTableLacks) {
  EXPECT_EQ(UnknownParameters(*ParseCommandLine("--outqueue=/q outqeue=/q hidden \"a b\" MODE=run Mod=run")),
            (std::vector<std::string>{"outqeue", "a b", "mod"}));
}

TEST(UnknownParameters, AValueWithoutANameIsOneTwoSeparatorsAreNone) {
  EXPECT_TRUE(UnknownParameters(*ParseCommandLine("hidden ,, mode=run -")).empty());
  EXPECT_EQ(UnknownParameters(*ParseCommandLine("=5")), std::vector<std::string>{""});
}

TEST(UnknownParameters, NoNameOfTheTableIsOne) {
  std::string line;
  for (const ParameterRow& parameter : kParameters) line.append(" --").append(parameter.name).append("=x");
  EXPECT_TRUE(UnknownParameters(*ParseCommandLine(line)).empty());
}

TEST(InformationText, TheHelpNamesEveryParameter) {
  const std::string help = InformationText(Information::kHelp);
  for (const char* name :
       {"parameterfile=<file>", "instance", "runningmutex", "parentmutex", "messagefile", "alivefile", "config",
        "hidden ", "mode=run|config ", "datafolder", "configfolder", "context", "inqueue", "outqueue"}) {
    EXPECT_THAT(help, HasSubstr("\n  " + std::string(name)));
  }
  for (const ParameterRow& parameter : kParameters) {
    EXPECT_THAT(help, HasSubstr("\n  " + std::string(parameter.name)));
    EXPECT_THAT(help, HasSubstr(" " + std::string(parameter.meaning) + "\n"));
  }
  EXPECT_THAT(help, HasSubstr("-version"));
}

TEST(InformationText, TheVersionNamesTheProduct) {
  EXPECT_EQ(InformationText(Information::kVersion), "Korvanta - ODBC Data Server 1.0.0\n");
}

}  // namespace
}  // namespace ods
