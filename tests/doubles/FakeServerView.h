// A server as the windows see it, of which tests say everything.
#pragma once

#include <string>
#include <vector>

#include "common/Error.h"
#include "ui/ServerView.h"

namespace ods::test {

class FakeServerView final : public ServerView {
 public:
  [[nodiscard]] std::string ApplicationTitle() const override { return "ODBC Data Server"; }
  [[nodiscard]] std::string ProductName() const override { return "Korvanta"; }
  [[nodiscard]] std::string Version() const override { return version; }
  [[nodiscard]] const std::string& StatusText() const override { return statusText; }
  [[nodiscard]] const std::string& ButtonAction() const override { return buttonAction; }
  [[nodiscard]] Date StartTime() const override { return startTime; }
  [[nodiscard]] std::int32_t RequestCount() const override { return requestCount; }
  void ClearRunFlag() override { runFlag = false; }
  [[nodiscard]] bool StopRequested() const override { return stopRequested; }
  [[nodiscard]] bool Unattended() const override { return unattended; }
  [[nodiscard]] OperatorSettings GetSettings() const override { return settings; }
  [[nodiscard]] int ConnectTimeout() const override { return connectTimeout; }
  void SaveSettings(const OperatorSettings& newSettings) override {
    calls.emplace_back("save");
    if (!saveFailure.empty()) throw Error(error_number::kOwn, saveFailure);
    saved = newSettings;
  }
  void StoreSettings(const OperatorSettings& newSettings) override {
    settings = newSettings;
    calls.emplace_back("store");
  }
  [[nodiscard]] std::string DriverPattern() const override { return driverPattern; }

  std::string version = "1.0.0";
  std::string statusText = "Running";
  std::string buttonAction = button_state::kStop;
  Date startTime{4'000'000'000};
  std::int32_t requestCount = 0;
  bool runFlag = true;
  bool stopRequested = false;
  bool unattended = false;
  int connectTimeout = 15;
  OperatorSettings settings;
  OperatorSettings saved;
  std::string driverPattern;
  std::string saveFailure;
  std::vector<std::string> calls;
};

}  // namespace ods::test
