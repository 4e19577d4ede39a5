// The user interface of a server without windows: nothing is shown, and what would have been shown is traced.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/UserInterface.h"
#include "log/Trace.h"

namespace ods {

class HeadlessUserInterface final : public UserInterface {
 public:
  /// From here on, what is not shown is traced; before, it is dropped. (The tracer needs its user interface first.)
  /// `tracer` lives as long as calls come.
  void SetTracer(Tracer& tracer) { tracer_ = &tracer; }

  void LetEventsRun() override {}
  void ShowMainWindow() override;
  void UnloadMainWindow() override {}
  void ShowOptionsDialog() override;
  void WaitUntilClosed() override {}
  void MessageBox(const std::string& title, const std::string& text, BoxStyle style) override;
  void AddTraceEntry(std::int32_t severity, const std::string& text) override;

 private:
  void TraceNotShown(std::string_view what, std::int32_t severity);

  Tracer* tracer_ = nullptr;
};

}  // namespace ods
