#include "platform/system/System.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "platform/system/TestFolder.h"
#include "support/EnvironmentValue.h"

namespace ods {
namespace {

using testing::ReadText;
using testing::TestFolder;
using testing::WriteText;

using Clock = std::chrono::steady_clock;

TEST(Guid, IsWrittenInByteOrderWithoutBraces) {
  const std::uint8_t bytes[16] = {0x0A, 0x1B, 0x2C, 0x3D, 0x00, 0x01, 0x00, 0xFF,
                                  0x8A, 0x9B, 0x00, 0xC0, 0xFF, 0xEE, 0x01, 0x23};
  EXPECT_EQ(FormatGuid(bytes), "0A1B2C3D-0001-00FF-8A9B-00C0FFEE0123");
}

TEST(Guid, IsRandomOfVersionFour) {
  const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const std::string text = NewGuidText();
    EXPECT_TRUE(std::regex_match(text, form)) << text;
    seen.insert(text);
  }
  EXPECT_EQ(seen.size(), 1000U);
}

TEST(Process, ReadsEnvironmentVariables) {
  {
    const test::EnvironmentValue value("ODS_TEST_VARIABLE", "some value \xC3\xA4");
    EXPECT_EQ(EnvironmentVariable("ODS_TEST_VARIABLE"), "some value \xC3\xA4");
    const test::EnvironmentValue longValue("ODS_TEST_VARIABLE", std::string(5000, 'x'));
    EXPECT_EQ(EnvironmentVariable("ODS_TEST_VARIABLE"), std::string(5000, 'x'));
  }
  EXPECT_EQ(EnvironmentVariable("ODS_TEST_VARIABLE"), "");
}

TEST(Time, OfAMissingFileIsZero) {
  const TestFolder folder;
  EXPECT_EQ(FileModificationTime(folder / "none"), Date{});
  EXPECT_EQ(FileModificationStamp(folder / "none"), 0);
}

TEST(Time, StampsTellChanges) {
  const TestFolder folder;
  const std::string path = folder / "file";
  WriteText(path, "");
  EXPECT_NE(FileModificationStamp(path), 0);
  EXPECT_EQ(FileModificationStamp(path), FileModificationStamp(path));
  const std::int64_t stamp = FileModificationStamp(path);
  std::filesystem::last_write_time(path, std::filesystem::last_write_time(path) + std::chrono::seconds(2));
  EXPECT_NE(FileModificationStamp(path), stamp);
}

TEST(Time, OfAFileIsThatOfNow) {
  const TestFolder folder;
  WriteText(folder / "file", "");
  EXPECT_NEAR(static_cast<double>(FileModificationTime(folder / "file").seconds),
              static_cast<double>(LocalNow().seconds), 10);
}

TEST(Sleep, TakesItsTime) {
  const auto start = Clock::now();
  SleepMilliseconds(30);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(30));
  SleepMilliseconds(-1);
}

TEST(CanAppendTo, TellsWhetherAFileCanBeOpened) {
  const TestFolder folder;
  EXPECT_TRUE(CanAppendTo(folder / "log"));
  EXPECT_FALSE(CanAppendTo(folder / "no/log"));
  EXPECT_FALSE(CanAppendTo(folder.Path()));
}

TEST(AppendToPrivateFile, AppendsAndTellsTheSize) {
  const TestFolder folder;
  const std::string path = folder / "log \xC3\xA4";
  EXPECT_EQ(AppendToPrivateFile(path, "one\n"), 4U);
  EXPECT_EQ(AppendToPrivateFile(path, "two\r\n"), 9U);
  EXPECT_EQ(AppendToPrivateFile(path, ""), 9U);
  EXPECT_EQ(ReadText(path), "one\ntwo\r\n");
}

TEST(Folder, IsWritableWhenFilesCanBeMadeInIt) {
  const TestFolder folder;
  EXPECT_TRUE(IsWritableFolder(folder.Path()));
  EXPECT_FALSE(IsWritableFolder(folder / "missing"));
}

TEST(ProgramArguments, AreWithoutTheProgramsName) {
  const char* const arguments[] = {"program", "a b", ""};
  if (RawCommandLine()) GTEST_SKIP() << "the system tells them itself";
  EXPECT_EQ(ProgramArguments(3, arguments), (std::vector<std::string>{"a b", ""}));
  EXPECT_EQ(ProgramArguments(1, arguments), std::vector<std::string>{});
  EXPECT_EQ(ProgramArguments(0, nullptr), std::vector<std::string>{});
}

}  // namespace
}  // namespace ods
