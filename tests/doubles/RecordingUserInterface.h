// A user interface that remembers what it was asked for.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "common/UserInterface.h"
#include "log/Trace.h"

namespace ods::test {

class RecordingUserInterface final : public UserInterface {
 public:
  void LetEventsRun() override {
    ++eventRounds;
    if (onEvents) onEvents();
  }
  void BeginLongWork() override { isWorking = true; }
  void EndLongWork() override { isWorking = false; }
  void ShowMainWindow() override {
    calls.emplace_back("show main window");
    if (onMainWindow) onMainWindow();
  }
  void UnloadMainWindow() override { calls.emplace_back("unload main window"); }
  void ShowOptionsDialog() override { calls.emplace_back("options dialog"); }
  void WaitUntilClosed() override { calls.emplace_back("wait until closed"); }
  void MessageBox(const std::string& title, const std::string& text, BoxStyle style) override {
    if (onBox) onBox();
    calls.push_back((style == BoxStyle::kExclamation ? "warning: " : "information: ") + title + ": " + text);
  }
  void AddTraceEntry(std::int32_t severity, const std::string& text) override {
    severities.push_back(severity);
    entries.push_back(text);
    if (severity == severity::kWarning) warnings.push_back(text);
  }

  [[nodiscard]] int CountOf(const std::string& entry) const {
    return static_cast<int>(std::count(entries.begin(), entries.end(), entry));
  }

  int eventRounds = 0;
  std::function<void()> onEvents;
  std::function<void()> onMainWindow;
  std::function<void()> onBox;
  bool isWorking = false;                ///< at something that takes long
  std::vector<std::string> calls;        ///< windows and boxes, in their order
  std::vector<std::string> entries;      ///< of the trace log
  std::vector<std::int32_t> severities;  ///< of these entries
  std::vector<std::string> warnings;     ///< those of the entries that are
};

}  // namespace ods::test
