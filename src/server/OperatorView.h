// The server as its windows see it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "database/DataSession.h"
#include "server/ServerState.h"
#include "server/Settings.h"
#include "ui/ServerView.h"

namespace ods {

class OperatorView final : public ServerView {
 public:
  /// All is borrowed and outlives the view. `stopRequested` tells whether a stop was asked for from outside; it may be
  /// empty.
  OperatorView(Settings& settings, ServerState& state, ProcessState& process,
               const std::function<bool()>& stopRequested)
      : settings_(settings), state_(state), process_(process), stopRequested_(stopRequested) {}

  [[nodiscard]] std::string ApplicationTitle() const override;
  [[nodiscard]] std::string ProductName() const override;
  [[nodiscard]] std::string Version() const override;

  [[nodiscard]] const std::string& StatusText() const override { return state_.statusText; }
  [[nodiscard]] const std::string& ButtonAction() const override { return state_.buttonState; }
  [[nodiscard]] Date StartTime() const override { return state_.startTime; }
  [[nodiscard]] std::int32_t RequestCount() const override { return state_.requestCount; }

  void ClearRunFlag() override { state_.RunFlag = false; }
  [[nodiscard]] bool StopRequested() const override { return stopRequested_ && stopRequested_(); }
  [[nodiscard]] bool Unattended() const override { return settings_.Unattended; }

  [[nodiscard]] int ConnectTimeout() const override { return settings_.connecttimeout; }

  [[nodiscard]] OperatorSettings GetSettings() const override;
  void SaveSettings(const OperatorSettings& settings) override;
  /// The loop sees the saved file change and loads it again, which brings the settings that are there already.
  void StoreSettings(const OperatorSettings& settings) override;
  [[nodiscard]] std::string DriverPattern() const override;

 private:
  Settings& settings_;
  ServerState& state_;
  ProcessState& process_;
  const std::function<bool()>& stopRequested_;
};

}  // namespace ods
