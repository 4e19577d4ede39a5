#include "log/Trace.h"

#include <cmath>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>

#include "common/Text.h"
#include "doubles/RecordingUserInterface.h"
#include "platform/system/ReadFile.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

class TraceTest : public ::testing::Test {
 protected:
  void OpenLog() {
    auto log = std::make_unique<Log>();
    log->folder = folder_;
    log->postfix = ".log";
    tracer_.SetLog(std::move(log));
  }
  [[nodiscard]] std::vector<std::string> Lines() const {
    std::string content;
    for (const auto& file : fs::directory_iterator(folder_)) content += ReadFileText(file.path().string());
    std::vector<std::string> lines = Split(content, "\r\n");
    lines.pop_back();
    return lines;
  }
  // The entry that a call of `Trace` makes.
  std::string EntryOf(std::string_view text, double elapsed = -1) {
    tracer_.Trace(text, elapsed);
    return window_.entries.empty() ? "" : window_.entries.back();
  }

  test::TemporaryFolder temporary_;
  std::string folder_ = temporary_.Path();
  test::RecordingUserInterface window_;
  Tracer tracer_{window_};
};

TEST_F(TraceTest, DoesNothingBeforeTheLogExists) {
  tracer_.Trace("too early");
  EXPECT_THAT(window_.entries, IsEmpty());
  EXPECT_TRUE(fs::is_empty(folder_));
  EXPECT_EQ(tracer_.GetLog(), nullptr);
}

TEST_F(TraceTest, WritesToTheLogAndToTheWindow) {
  OpenLog();
  tracer_.Trace("O'Neil connected", 1.5, severity::kWarning);
  tracer_.Trace("done");
  EXPECT_THAT(window_.entries, ElementsAre("O'Neil connected (1500 ms)", "done"));
  EXPECT_THAT(window_.severities, ElementsAre(severity::kWarning, severity::kInformation));
  EXPECT_THAT(Lines(), ElementsAre(MatchesRegex("'...................', 1, 1, 'O''Neil connected \\(1500 ms\\)'"),
                                   MatchesRegex("'...................', 2, 0, 'done'")));
}

TEST_F(TraceTest, MakesOneLineOfEveryText) {
  OpenLog();
  EXPECT_EQ(EntryOf("a\r\nb"), "a\\nb");
  EXPECT_EQ(EntryOf("a\nb\rc"), "a\\nb\\nc");
  EXPECT_EQ(EntryOf("\r\n\r\n\n\r"), "\\n\\n\\n\\n");
  EXPECT_EQ(EntryOf("C:\\new"), "C:\\\\new");
  EXPECT_EQ(EntryOf("\\\r\n"), "\\\\\\n");
  EXPECT_EQ(EntryOf("line end\r"), "line end\\n");
  EXPECT_EQ(EntryOf(""), "");
  EXPECT_EQ(Lines().size(), 7U);
}

TEST_F(TraceTest, TellsTheElapsedMilliseconds) {
  OpenLog();
  EXPECT_EQ(EntryOf("t", 0.0123), "t (12 ms)");
  EXPECT_EQ(EntryOf("t", 0), "t (0 ms)");
  EXPECT_EQ(EntryOf("t", 0.0009), "t (0 ms)");
  EXPECT_EQ(EntryOf("t", 3600), "t (3600000 ms)");
  EXPECT_EQ(EntryOf("t", -2), "t (-2000 ms)");
  EXPECT_EQ(EntryOf("t", -1), "t");
  EXPECT_EQ(EntryOf("t"), "t");
}

TEST_F(TraceTest, AWildElapsedTimeDoesNoHarm) {
  OpenLog();
  EXPECT_EQ(EntryOf("t", std::nan("")), "t");
  EXPECT_EQ(EntryOf("t", HUGE_VAL), "t (1000000000000000 ms)");
  EXPECT_EQ(EntryOf("t", std::numeric_limits<double>::lowest()), "t (-1000000000000000 ms)");
}

TEST_F(TraceTest, ALogThatCannotBeWrittenIsToldOnceAndStopsNobody) {
  OpenLog();
  const auto trace = [this](const char* text) {
    ::testing::internal::CaptureStderr();
    tracer_.Trace(text);
    return ::testing::internal::GetCapturedStderr();
  };
  const std::string place = folder_ + "/place";
  const auto putAFileThere = [&place] { std::ofstream(place) << "x"; };
  tracer_.GetLog()->folder = place;
  putAFileThere();
  EXPECT_THAT(trace("first"), ::testing::StartsWith("The log cannot be written: "));
  EXPECT_EQ(trace("second"), "");
  fs::remove(place);
  EXPECT_EQ(trace("third"), "") << "the folder is made";
  fs::remove_all(place);
  putAFileThere();
  EXPECT_THAT(trace("fourth"), ::testing::StartsWith("The log cannot be written: "));
  EXPECT_THAT(window_.entries, ElementsAre("first", "second", "third", "fourth"));
}

}  // namespace
}  // namespace ods
