#include "ui/SwitchingUserInterface.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>

#include "doubles/FakeServerView.h"
#include "doubles/RecordingUserInterface.h"
#include "log/Log.h"
#include "platform/system/ReadFile.h"
#include "platform/system/System.h"
#include "support/TemporaryFolder.h"

namespace ods {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class SwitchingTest : public testing::Test {
 protected:
  SwitchingTest() {
    auto log = std::make_unique<Log>();
    log->folder = folder_.Path();
    tracer_.SetLog(std::move(log));
    ui_.SetTracer(tracer_);
  }
  void CallEverything() {
    ui_.LetEventsRun();
    ui_.ShowMainWindow();
    ui_.ShowOptionsDialog();
    ui_.MessageBox("t", "x", BoxStyle::kExclamation);
    ui_.UnloadMainWindow();
    ui_.WaitUntilClosed();
  }
  void Switch() {
    auto windows = std::make_unique<test::RecordingUserInterface>();
    windows_ = windows.get();
    ui_.SwitchTo(std::move(windows), server_);
  }
  [[nodiscard]] std::string LogText() const { return ReadFileText(tracer_.GetLog()->PathOf(LocalNow())); }

  test::TemporaryFolder folder_;
  test::FakeServerView server_;
  SwitchingUserInterface ui_;
  test::RecordingUserInterface* windows_ = nullptr;  ///< of ui_
  Tracer tracer_{ui_};
};

TEST_F(SwitchingTest, WithoutWindowsItTracesWhatItDoesNotShow) {
  CallEverything();
  EXPECT_THAT(LogText(), HasSubstr("'Window not shown: main window'"));
  EXPECT_THAT(LogText(), HasSubstr("'Window not shown: message box \"t\": x'"));
}

TEST_F(SwitchingTest, WithWindowsTheyDoTheWork) {
  Switch();
  CallEverything();
  ui_.AddTraceEntry(1, "e");
  EXPECT_EQ(windows_->eventRounds, 1);
  EXPECT_THAT(windows_->calls, ElementsAre("show main window", "options dialog", "warning: t: x", "unload main window",
                                           "wait until closed"));
  EXPECT_THAT(windows_->entries, ElementsAre("e"));
  EXPECT_THAT(windows_->severities, ElementsAre(1));
}

TEST_F(SwitchingTest, ABoxOfAnUnattendedServerIsTracedInstead) {
  server_.unattended = true;
  Switch();
  ui_.MessageBox("", "No decimal factor set", BoxStyle::kInformation);
  EXPECT_THAT(LogText(), HasSubstr("'Window not shown: message box \"\": No decimal factor set'"));
  EXPECT_THAT(windows_->calls, IsEmpty());
  EXPECT_THAT(windows_->entries, ElementsAre("Window not shown: message box \"\": No decimal factor set"));
}

TEST_F(SwitchingTest, AnUnattendedServerShowsItsWindowsStill) {
  server_.unattended = true;
  Switch();
  ui_.ShowMainWindow();
  EXPECT_THAT(windows_->calls, ElementsAre("show main window"));
}

}  // namespace
}  // namespace ods
