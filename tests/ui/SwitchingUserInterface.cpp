#include "ui/SwitchingUserInterface.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "common/Files.h"
#include "log/Log.h"
#include "platform/system/System.h"
#include "support/TemporaryFolder.h"
#include "ui/windows/FakeServerView.h"

namespace ods {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Windows that remember in a list that outlives them.
class RecordedWindows final : public UserInterface {
 public:
  explicit RecordedWindows(std::vector<std::string>& calls) : calls_(calls) {}
  void LetEventsRun() override { calls_.emplace_back("events"); }
  void ShowMainWindow() override { calls_.emplace_back("show main window"); }
  void UnloadMainWindow() override { calls_.emplace_back("unload main window"); }
  void ShowOptionsDialog() override { calls_.emplace_back("options dialog"); }
  void WaitUntilClosed() override { calls_.emplace_back("wait"); }
  void MessageBox(const std::string& title, const std::string& text, BoxStyle /*style*/) override {
    calls_.push_back("box " + title + ": " + text);
  }
  void AddTraceEntry(std::int32_t severity, const std::string& text) override {
    calls_.push_back("entry " + std::to_string(severity) + ": " + text);
  }

 private:
  std::vector<std::string>& calls_;
};

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
  void Switch() { ui_.SwitchTo(std::make_unique<RecordedWindows>(calls_), server_); }
  [[nodiscard]] std::string LogText() const { return ReadFileText(tracer_.GetLog()->PathOf(LocalNow())); }

  test::TemporaryFolder folder_;
  test::FakeServerView server_;
  std::vector<std::string> calls_;
  SwitchingUserInterface ui_;
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
  EXPECT_THAT(calls_, ElementsAre("events", "show main window", "options dialog", "box t: x", "unload main window",
                                  "wait", "entry 1: e"));
}

TEST_F(SwitchingTest, ABoxOfAnUnattendedServerIsTracedInstead) {
  server_.unattended = true;
  Switch();
  ui_.MessageBox("", "No decimal factor set", BoxStyle::kInformation);
  EXPECT_THAT(LogText(), HasSubstr("'Window not shown: message box \"\": No decimal factor set'"));
  EXPECT_THAT(calls_, ElementsAre("entry 0: Window not shown: message box \"\": No decimal factor set"));
}

TEST_F(SwitchingTest, AnUnattendedServerShowsItsWindowsStill) {
  server_.unattended = true;
  Switch();
  ui_.ShowMainWindow();
  EXPECT_THAT(calls_, ElementsAre("show main window"));
}

}  // namespace
}  // namespace ods
