#include "log/Log.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <regex>
#include <unistd.h>

#include "common/Error.h"
#include "common/Files.h"
#include "common/Text.h"
#include "platform/system/ReadFile.h"
#include "platform/system/System.h"
#include "support/RaisedErrors.h"
#include "support/TemporaryFolder.h"
#include "support/TestSystem.h"

namespace ods {
namespace {

namespace fs = std::filesystem;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kStampPattern = R"('\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}')";

class LogTest : public ::testing::Test {
 protected:
  LogTest() {
    log_.folder = folder_;
    log_.postfix = "-DBSRV-%PID%.log";
  }

  // The log's one file. (A test that runs over midnight sees the newer of two.)
  [[nodiscard]] std::string File() const {
    std::string newest;
    for (const auto& entry : fs::directory_iterator(folder_)) newest = std::max(newest, entry.path().string());
    return newest;
  }
  [[nodiscard]] std::vector<std::string> Lines() const {
    std::vector<std::string> lines = Split(ReadFileText(File()), "\r\n");
    EXPECT_EQ(lines.back(), "");
    lines.pop_back();
    return lines;
  }
  // What stands after the timestamp of a line.
  [[nodiscard]] std::string AfterStamp(const std::string& line) const {
    std::smatch match;
    EXPECT_TRUE(std::regex_match(line, match, std::regex(std::string(kStampPattern) + ", (.*)"))) << line;
    return match[1];
  }

  test::TemporaryFolder temporary_;
  std::string folder_ = temporary_.Path();
  Log log_;
};

TEST_F(LogTest, WritesOneLineAnEntry) {
  log_.LogEntry(2, "Server started");
  log_.LogEntry(-5, "second");
  const std::vector<std::string> lines = Lines();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(AfterStamp(lines[0]), "1, 2, 'Server started'");
  EXPECT_EQ(AfterStamp(lines[1]), "2, -5, 'second'");
  EXPECT_THAT(ReadFileText(File()), EndsWith("'second'\r\n"));
}

TEST_F(LogTest, StampsWithTheLocalTime) {
  const std::int64_t before = LocalNow().seconds;
  log_.LogEntry(0, "now");
  const std::int64_t after = LocalNow().seconds;
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
  ASSERT_EQ(
      std::sscanf(Lines().front().c_str(), "'%4d-%2d-%2d %2d:%2d:%2d'", &year, &month, &day, &hour, &minute, &second),
      6);
  const std::int64_t stamp = Date::FromParts({year, month, day, hour, minute, second}).value().seconds;
  EXPECT_GE(stamp, before);
  EXPECT_LE(stamp, after);
}

TEST_F(LogTest, DoublesApostrophes) {
  log_.LogEntry(0, "Name 'O'Neil'");
  EXPECT_EQ(AfterStamp(Lines().front()), "1, 0, 'Name ''O''Neil'''");
}

TEST_F(LogTest, WritesEachItemOfAnArray) {
  log_.LogEntry(1, std::vector<Value>{"O'Neil", std::int32_t{7}, 2.5, true, Null{}, Value(), Date{}});
  EXPECT_EQ(AfterStamp(Lines().front()), "1, 1, 'O''Neil', '7', '2.5', 'True', '', '', '1899-12-30 00:00:00'");
  log_.LogEntry(1, std::vector<Value>{});
  EXPECT_EQ(AfterStamp(Lines().back()), "2, 1");
}

TEST_F(LogTest, WritesUserComputerAndProcess) {
  log_.LogSysEntry();
  const std::string message =
      "User=" + CurrentUserName() + ", Computer=" + ComputerName() + ", Process=" + std::to_string(::getpid());
  EXPECT_EQ(AfterStamp(Lines().front()), "1, 0, '" + ReplaceAll(message, "'", "''") + "'");
}

TEST_F(LogTest, NamesTheFileByDayAndProcess) {
  const Date day = *Date::FromParts({2009, 3, 5, 23, 59, 59});
  EXPECT_EQ(log_.PathOf(day), JoinPath(folder_, "20090305-DBSRV-" + std::to_string(::getpid()) + ".log"));
  log_.prefix = "%PID%-%PID%-";
  log_.postfix = "%pid%";
  const std::string processId = std::to_string(::getpid());
  EXPECT_EQ(log_.PathOf(day), JoinPath(folder_, processId + "-" + processId + "-20090305%pid%"));
}

TEST_F(LogTest, WritesIntoTheFileOfToday) {
  const std::string before = log_.PathOf(LocalNow());
  log_.LogEntry(0, "a");
  EXPECT_THAT((std::vector<std::string>{before, log_.PathOf(LocalNow())}), ::testing::Contains(File()));
}

TEST_F(LogTest, TakesTheTemporaryFolderWhenItHasNone) {
  Log log;
  log.postfix = "-log-test-%PID%.log";
  EXPECT_EQ(log.PathOf(Date{}),
            JoinPath(SystemTempFolder(), "18991230-log-test-" + std::to_string(::getpid()) + ".log"));
  EXPECT_EQ(log.folder, "");
  log.LogEntry(0, "a");
  EXPECT_EQ(log.folder, SystemTempFolder());
  const std::string path = log.PathOf(LocalNow());
  EXPECT_TRUE(fs::remove(path));
}

TEST_F(LogTest, IsOpenWhereItsFileCanBeAppendedTo) {
  EXPECT_TRUE(log_.isOpen());
  log_.folder = folder_ + "/missing";
  EXPECT_FALSE(log_.isOpen());
  // A folder in the file's place cannot be appended to, whoever asks.
  log_.folder = folder_;
  log_.prefix = "x";
  fs::create_directory(log_.PathOf(LocalNow()));
  EXPECT_FALSE(log_.isOpen());
}

TEST_F(LogTest, AFolderThatIsMissingIsMade) {
  log_.LogEntry(0, "a");
  fs::remove_all(folder_);
  log_.LogEntry(0, "b");
  EXPECT_EQ(AfterStamp(Lines().front()), "2, 0, 'b'");
  EXPECT_TRUE(test::IsPrivate(folder_));
  folder_ += "/deeper/still";
  log_.folder = folder_;
  log_.LogEntry(0, "c");
  EXPECT_EQ(AfterStamp(Lines().front()), "3, 0, 'c'");
}

TEST_F(LogTest, RaisesWhatKeepsItFromWriting) {
  // A folder in the file's place cannot be appended to, whoever asks.
  fs::create_directory(log_.PathOf(LocalNow()));
  EXPECT_RAISES(log_.LogEntry(0, "a"), 1000, HasSubstr(log_.PathOf(LocalNow())));
}

TEST_F(LogTest, TheCounterDoesNotOverflow) {
  Log log(std::numeric_limits<std::int32_t>::max() - 1);
  log.folder = folder_;
  log.LogEntry(0, "last");
  EXPECT_EQ(AfterStamp(Lines().back()), "2147483647, 0, 'last'");
  EXPECT_RAISES(log.LogEntry(0, "one too many"), 6, "Overflow");
  EXPECT_EQ(Lines().size(), 1U);
}

// ---- the limit ----

class LogLimitTest : public LogTest {
 protected:
  LogLimitTest() { log_.maxsize = 100000; }

  // Writes numbered entries until the file has become smaller; gives the number of the last one.
  int WriteUntilTrimmed() {
    std::uintmax_t size = 0;
    for (int number = 1; number < 10000; ++number) {
      log_.LogEntry(0, "entry " + std::to_string(number) + " of some length with O'Neil in it");
      const std::uintmax_t now = fs::file_size(File());
      EXPECT_LE(now, 100000U);
      if (now < size) return number;
      size = now;
    }
    ADD_FAILURE() << "the file was never trimmed";
    return 0;
  }
};

TEST_F(LogLimitTest, KeepsTheNewestFourFifthsInWholeLines) {
  const int last = WriteUntilTrimmed();
  const std::uintmax_t size = fs::file_size(File());
  EXPECT_LE(size, 80001U);
  EXPECT_GT(size, 79800U);
  const std::vector<std::string> lines = Lines();
  int number = last - static_cast<int>(lines.size()) + 1;
  for (const std::string& line : lines) {
    const std::string start = std::to_string(number) + ", 0, 'entry ";
    ASSERT_EQ(AfterStamp(line), start + std::to_string(number) + " of some length with O''Neil in it'");
    ++number;
  }
  EXPECT_EQ(number, last + 1);
}

TEST_F(LogLimitTest, KeepsTheFilePrivate) {
  WriteUntilTrimmed();
  EXPECT_TRUE(test::IsPrivate(File()));
}

TEST_F(LogLimitTest, GoesOnAfterATrim) {
  const int last = WriteUntilTrimmed();
  log_.LogEntry(0, "after");
  EXPECT_EQ(AfterStamp(Lines().back()), std::to_string(last + 1) + ", 0, 'after'");
}

// Lines whose length the test knows: the stamp and the rest take 31 characters and the line break, the message the
// rest.
TEST_F(LogLimitTest, CutsAtTheExactCharacter) {
  log_.maxsize = 100;
  const std::string path = log_.PathOf(LocalNow());
  std::ofstream(path, std::ios::binary) << "123456789\r\n"
                                        << std::string(20, 'a') << "\r\n"
                                        << std::string(30, 'b') << "\r\n";
  log_.LogEntry(0, "");  // 'yyyy-mm-dd hh:nn:ss', 1, 0, '' and the line break: 21 + 2 + 1 + 2 + 1 + 2 + 2 + 2 = 33
  const std::string content = ReadFileText(path);
  ASSERT_EQ(path, log_.PathOf(LocalNow())) << "midnight came in between";
  // 98 characters do not exceed the limit yet.
  EXPECT_THAT(content, StartsWith("123456789\r\n"));
  ASSERT_EQ(content.size(), 11U + 22U + 32U + 33U);
  log_.LogEntry(0, "");
  // 131 characters: from the 51st, in the middle of the line of "b", to the end; that line goes.
  EXPECT_EQ(Lines().size(), 2U);
  EXPECT_THAT(ReadFileText(path), StartsWith("'"));
  EXPECT_EQ(fs::file_size(path), 66U);
}

TEST_F(LogLimitTest, TheLineAtTheCutGoesAlsoWhenItIsWhole) {
  log_.maxsize = 100;
  const std::string path = log_.PathOf(LocalNow());
  // The entry makes it 133 characters, and the cut falls on the 53rd, which is the first of the line of "b".
  std::ofstream(path, std::ios::binary) << std::string(50, 'a') << "\r\n" << std::string(46, 'b') << "\r\n";
  log_.LogEntry(0, "");
  EXPECT_EQ(Lines().size(), 1U);
  EXPECT_EQ(fs::file_size(path), 33U);
}

TEST_F(LogLimitTest, AnEntryLongerThanTheLimitLeavesNothing) {
  log_.maxsize = 100;
  log_.LogEntry(0, std::string(200, 'x'));
  EXPECT_EQ(ReadFileText(File()), "");
}

TEST_F(LogLimitTest, ZeroOrLessIsNoLimit) {
  for (const std::int32_t limit : {0, -1}) {
    log_.maxsize = limit;
    const std::uintmax_t before = File().empty() ? 0 : fs::file_size(File());
    log_.LogEntry(0, std::string(200000, 'x'));
    EXPECT_GT(fs::file_size(File()), before + 200000);
  }
}

}  // namespace
}  // namespace ods
