// The user interface of the program: without windows until it is given some.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "common/UserInterface.h"
#include "ui/HeadlessUserInterface.h"
#include "ui/ServerView.h"

namespace ods {

class SwitchingUserInterface final : public UserInterface {
 public:
  /// From here on, what is not shown is traced. `tracer` lives as long as calls come.
  void SetTracer(Tracer& tracer) { headless_.SetTracer(tracer); }
  /// From here on `windows` do the work, except that a box of an unattended server is only traced. `server` lives as
  /// long as calls come.
  void SwitchTo(std::unique_ptr<UserInterface> windows, const ServerView& server);

  void LetEventsRun() override { Shown().LetEventsRun(); }
  void BeginLongWork() override { Shown().BeginLongWork(); }
  void EndLongWork() override { Shown().EndLongWork(); }
  void ShowMainWindow() override { Shown().ShowMainWindow(); }
  void UnloadMainWindow() override { Shown().UnloadMainWindow(); }
  void ShowOptionsDialog() override { Shown().ShowOptionsDialog(); }
  void WaitUntilClosed() override { Shown().WaitUntilClosed(); }
  void MessageBox(const std::string& title, const std::string& text, BoxStyle style) override;
  void AddTraceEntry(std::int32_t severity, const std::string& text) override { Shown().AddTraceEntry(severity, text); }

 private:
  [[nodiscard]] UserInterface& Shown() { return windows_ ? *windows_ : headless_; }

  HeadlessUserInterface headless_;
  std::unique_ptr<UserInterface> windows_;
  const ServerView* server_ = nullptr;
};

}  // namespace ods
