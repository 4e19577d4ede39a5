// What the server is doing: written by start-up and the main loop, shown by the windows.
#pragma once

#include <cstdint>
#include <string>

#include "common/Value.h"

namespace ods {

/// The status texts.
namespace status_text {
inline constexpr const char* kConnectToDatabase = "Connect to Database";
inline constexpr const char* kConnectToQueue = "Connect to Queue";
inline constexpr const char* kRunning = "Running";
inline constexpr const char* kStopped = "Stopped";
inline constexpr const char* kProcessing = "Processing...";
}  // namespace status_text

/// The button states: "STOP" while polling, "START" while stopped.
namespace button_state {
inline constexpr const char* kStop = "STOP";
inline constexpr const char* kStart = "START";
}  // namespace button_state

struct ServerState {
  Date startTime;                       ///< local time
  bool RunFlag = false;                 ///< cleared to end the main loop
  bool pollingEnabled = false;          ///< requests are taken
  bool databaseConnectPending = false;  ///< the next round connects to the database
  bool queueConnectPending = false;     ///< the next round connects to the queues
  std::string statusText;
  std::string buttonState;
  std::int32_t requestCount = 0;
};

}  // namespace ods
