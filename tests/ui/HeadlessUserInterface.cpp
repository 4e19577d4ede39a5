#include "ui/HeadlessUserInterface.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "doubles/FakeSession.h"
#include "log/Log.h"
#include "log/Trace.h"
#include "platform/system/ReadFile.h"
#include "platform/system/System.h"

namespace ods {
namespace {

class HeadlessUserInterfaceTest : public testing::Test {
 protected:
  void StartLog() {
    auto log = std::make_unique<Log>();
    log->folder = folder_.Path();
    path_ = log->PathOf(LocalNow());
    tracer_.SetLog(std::move(log));
  }
  [[nodiscard]] std::string LogText() const { return ReadFileText(path_); }
  [[nodiscard]] bool HasLog() const { return FileModificationStamp(path_) != 0; }

  test::TemporaryFolder folder_;
  HeadlessUserInterface ui_;
  Tracer tracer_{ui_};
  std::string path_;
};

TEST_F(HeadlessUserInterfaceTest, TracesWhatItDoesNotShow) {
  ui_.SetTracer(tracer_);
  StartLog();
  ui_.ShowMainWindow();
  ui_.ShowOptionsDialog();
  ui_.MessageBox("Title", "First line\nsecond", BoxStyle::kExclamation);
  const std::string text = LogText();
  EXPECT_NE(text.find(", 1, 0, 'Window not shown: main window'\r\n"), std::string::npos) << text;
  EXPECT_NE(text.find(", 2, 1, 'Window not shown: options dialog'\r\n"), std::string::npos) << text;
  EXPECT_NE(text.find(", 3, 1, 'Window not shown: message box \"Title\": First line\\nsecond'\r\n"), std::string::npos)
      << text;
}

TEST_F(HeadlessUserInterfaceTest, TracesNothingForWhatNeedsNoWindow) {
  ui_.SetTracer(tracer_);
  StartLog();
  ui_.LetEventsRun();
  ui_.UnloadMainWindow();
  ui_.WaitUntilClosed();
  ui_.AddTraceEntry(0, "an entry");
  EXPECT_FALSE(HasLog());
}

TEST_F(HeadlessUserInterfaceTest, WithoutATracerNothingIsTraced) {
  StartLog();
  ui_.ShowMainWindow();
  ui_.MessageBox("Title", "text", BoxStyle::kInformation);
  EXPECT_FALSE(HasLog());
}

}  // namespace
}  // namespace ods
